// What object sensitivity adds to one mouse move in a 3D window, headless on the recording
// renderer: a document of 1,000 pickable objects (a closed bumpy surface of about 1M triangles,
// as a scanned bone would be, and 999 small screw-like boxes around it, all on the mesh
// helper). The same moves are timed with the manager switched on (each move picks with the
// priority picker and switches the picked class's mode off and on) and switched off (the move
// passes the manager's dispatcher and goes on to the window), interleaved round by round; one
// pick on its own is timed beside them. Printed: the medians per move, their ratio, and the
// time sensitivity adds to a move (aim <= 50 us).
//
//   bench_sensitivity [scale]   (scale multiplies the number of rounds; default 1)

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "common/Interleaved.h"
#include "common/Window3DHost.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MApplicationController.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/document/MMainFrame.h"
#include "ostrum/document/MView.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Input.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/render/IVRenderFactory.h"
#include "ostrum/foundation/render/RecordingRender.h"
#include "ostrum/interaction/IPickable.h"
#include "ostrum/interaction/MPickerPriorityDependent.h"
#include "ostrum/interaction/UIWnd3D.h"
#include "ostrum/notification/ControllerPostSwitchNotification.h"
#include "ostrum/notification/NotificationCenter.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/picking/TriangleMeshIntersector.h"
#include "ostrum/scene/MOperationView.h"
#include "ostrum/sensitivity/ObjectSensitivityManager.h"

namespace {

using P = MMPoint3d<double>;
using Ostrum::TriangleMeshIntersector;

constexpr int kSize = 512;  // pixels of the window's square client area

// A mesh object picked through the mesh helper, as a host writes one: the line of sight is
// taken into the object's system, and the hit nearest to the viewer is reported.
class PickableMesh : public UIObject, public IPickable {
 public:
  PickableMesh(const std::vector<float>& xyz, const std::vector<uint32_t>& triangles) {
    for (size_t i = 0; i + 2 < xyz.size(); i += 3) m_box.Extend(MMPoint3d<float>(xyz[i], xyz[i + 1], xyz[i + 2]));
    m_mesh.SetMesh(xyz.data(), xyz.size() / 3, triangles.data(), triangles.size() / 3);
  }
  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long scene, const MCoordinateSystem* system) const override {
    box = M3DBoundingBox<float>();
    if (!IsVisible(scene)) return;
    box = m_box;
    if (system) MTransformRepositoryEx::GetInstance()->GetTransform(GetCoordinateSystem(), *system).TransformBoundingBox(box);
  }
  void GetLineIntersections(MPickerBase* picker) override {
    MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
    const MCoordinateSystem window = picker->GetWindowCoordinateSystem();
    const double x = picker->GetXPickCoordinate(), y = picker->GetYPickCoordinate();
    P a, b;
    {
      const MMTransform& to_object = repository->GetTransform(window, GetCoordinateSystem());
      to_object.Transform(a, P(x, y, 0.0));
      to_object.Transform(b, P(x, y, 1.0));
    }
    m_hits.clear();
    if (m_mesh.All({a, b - a, -std::numeric_limits<double>::infinity()}, m_hits) == 0) return;
    const MMTransform& to_window = repository->GetTransform(GetCoordinateSystem(), window);
    MPickerBase::MIntersection nearest;
    bool found = false;
    for (const auto& hit : m_hits) {
      P w;
      to_window.Transform(w, hit.point);
      if (!found || w.z > nearest.m_z) {
        found = true;
        nearest.m_x = w.x;
        nearest.m_y = w.y;
        nearest.m_z = w.z;
      }
    }
    nearest.m_object = this;
    nearest.m_priority = GetPriority();
    picker->AddIntersection(nearest);
  }

 private:
  TriangleMeshIntersector m_mesh;
  M3DBoundingBox<float> m_box;
  std::vector<TriangleMeshIntersector::Hit> m_hits;
};
class BoneModel : public PickableMesh {
 public:
  using PickableMesh::PickableMesh;
};
class ScrewModel : public PickableMesh {
 public:
  using PickableMesh::PickableMesh;
};
struct PlanningController {};

// About 4 * bands^2 triangles, radius about 50 mm.
void BumpySphere(int bands, std::vector<float>& xyz, std::vector<uint32_t>& triangles) {
  const int around = 2 * bands;
  for (int i = 0; i <= bands; ++i)
    for (int j = 0; j < around; ++j) {
      const double theta = std::numbers::pi * i / bands, phi = 2 * std::numbers::pi * j / around;
      const double r = 50.0 * (1.0 + 0.05 * std::sin(7 * theta) * std::cos(5 * phi));
      xyz.insert(xyz.end(), {float(r * std::sin(theta) * std::cos(phi)), float(r * std::sin(theta) * std::sin(phi)),
                             float(r * std::cos(theta))});
    }
  const auto at = [&](int i, int j) { return static_cast<uint32_t>(i * around + j % around); };
  for (int i = 0; i < bands; ++i)
    for (int j = 0; j < around; ++j)
      triangles.insert(triangles.end(), {at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j), at(i + 1, j + 1), at(i, j + 1)});
}

// A box from lo to hi: twelve triangles.
void Box(const P& lo, const P& hi, std::vector<float>& xyz, std::vector<uint32_t>& triangles) {
  for (int c = 0; c < 8; ++c)
    xyz.insert(xyz.end(), {float((c & 1) ? hi.x : lo.x), float((c & 2) ? hi.y : lo.y), float((c & 4) ? hi.z : lo.z)});
  triangles = {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4, 2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5};
}

const char* Name(IPickable* object) {
  if (dynamic_cast<BoneModel*>(object)) return "the 1M-triangle mesh";
  if (dynamic_cast<ScrewModel*>(object)) return "a screw";
  return "nothing";
}

}  // namespace

int main(int argc, char** argv) {
  const double scale = argc > 1 ? std::atof(argv[1]) : 1.0;
  IVRenderFactory::RegisterRenderer(RENDER_TYPE_RECORDING, [] { return std::make_unique<Ostrum::RecordingRender>(); });
  IVRenderFactory::SelectIVRender(RENDER_TYPE_RECORDING, false);
  WNDCLASSEXW wc{};
  wc.cbSize = sizeof wc;
  wc.lpfnWndProc = DefWindowProcW;
  wc.lpszClassName = L"Bench.Sensitivity";
  RegisterClassExW(&wc);
  {
    MMainFrame frame;
    frame.CreateEx(0, L"Bench.Sensitivity", L"bench", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, kSize + 60, kSize + 80, nullptr, 0);
    ostrum_bench::Window3DView view;
    view.CreateEx(0, L"Bench.Sensitivity", L"view", WS_CHILD | WS_VISIBLE, 0, 0, kSize + 20, kSize + 20, frame.GetSafeHwnd(), 1);
    frame.SetActiveView(&view);
    CWnd* previous_main = std::exchange(AfxGetThread()->m_pMainWnd, &frame);
    ostrum_bench::Window3DDocument doc;
    doc.AddView(&view);
    doc.CreateContents();

    // The document: the mesh and 999 screws on a shell around it, pointing outwards.
    size_t mesh_triangles = 0;
    {
      auto* add = new UIOperation(MOperation::ACTION_ADD);
      std::vector<float> xyz;
      std::vector<uint32_t> triangles;
      BumpySphere(500, xyz, triangles);
      mesh_triangles = triangles.size() / 3;
      add->AddObject(new BoneModel(xyz, triangles));
      std::mt19937 rng(11);
      std::normal_distribution<double> normal;
      std::uniform_real_distribution<double> radius(56.0, 80.0);
      for (int i = 0; i < 999; ++i) {
        P direction(normal(rng), normal(rng), normal(rng));
        const P centre = direction * (radius(rng) / direction.Length());
        xyz.clear();
        Box(centre - P(1.5, 1.5, 1.5), centre + P(1.5, 1.5, 1.5), xyz, triangles);
        add->AddObject(new ScrewModel(xyz, triangles));
      }
      doc.DoOperation(add, nullptr);
    }
    UIWnd3D window(true, false);
    window.Create(0, CRect(0, 0, kSize, kSize), &view, 2);
    view.window = &window;
    window.ResetCamera();
    auto* unzoom = new MOperationView;
    unzoom->SetAction(MOperationView::ViewActionUnzoom);
    doc.DoOperation(unzoom, nullptr);
    const HWND hwnd = window.GetSafeHwnd();
    Ostrum::Desktop::PumpWaitingMessages();

    Ostrum::ObjectSensitivityManager sensitivity(Ostrum::MApplicationController::GetInstance()->GetWndMessageHandlerChain());
    long long modes_on = 0, modes_off = 0;
    sensitivity.RegisterMode<BoneModel>([&](IPickable&) { ++modes_on; }, [&] { ++modes_off; });
    sensitivity.RegisterMode<ScrewModel>([&](IPickable&) { ++modes_on; }, [&] { ++modes_off; });
    sensitivity.AddObjectSensitiveController<PlanningController>();
    Ostrum::NotificationCenter::GetDefaultCenter().NotifyObservers(
        nullptr, Ostrum::ControllerPostSwitchNotification(typeid(PlanningController)));

    // The pointer goes to and fro between two points near the middle of the window.
    const CPoint points[2] = {CPoint(kSize / 2, kSize / 2), CPoint(kSize / 2 + 7, kSize / 2 - 5)};
    for (const CPoint& point : points) {
      Ostrum::MPickerPriorityDependent picker(&window);
      picker.SetPickCoordinates(point.x, point.y);
      picker.Operate();
      std::printf("at (%ld, %ld): %s\n", static_cast<long>(point.x), static_cast<long>(point.y), Name(picker.GetPickedObject()));
    }
    constexpr int kMoves = 10;  // moves per timed run
    int next = 0;
    const auto moves = [&] {
      for (int i = 0; i < kMoves; ++i) {
        POINT screen{points[next].x, points[next].y};
        next ^= 1;
        ClientToScreen(hwnd, &screen);
        Ostrum::Desktop::InputMouseMove(screen);
        Ostrum::Desktop::PumpWaitingMessages();
      }
    };
    std::vector<ostrum_bench::TimedCase> cases(3);
    cases[0].name = "mouse move, object sensitivity on";
    cases[0].body = [&] {
      sensitivity.SwitchObjectSensitivityState(true);
      moves();
    };
    cases[1].name = "mouse move, object sensitivity off";
    cases[1].body = [&] {
      sensitivity.SwitchObjectSensitivityState(false);
      moves();
    };
    cases[2].name = "one pick alone (priority picker)";
    cases[2].body = [&] {
      for (int i = 0; i < kMoves; ++i) {
        Ostrum::MPickerPriorityDependent picker(&window);
        picker.SetPickCoordinates(points[i % 2].x, points[i % 2].y);
        picker.Operate();
      }
    };
    const int rounds = std::max(11, static_cast<int>(101 * scale));
    const long long on_before = modes_on;
    ostrum_bench::RunInterleaved(cases, rounds);
    const long long switched = modes_on - on_before;

    std::printf("\nOne mouse move in a %d x %d 3D window; %zu objects, one of %zu triangles (median of %d interleaved\n"
                "rounds of %d moves each; quartiles in brackets):\n",
                kSize, kSize, doc.Database().GetNumObjects(), mesh_triangles, rounds, kMoves);
    for (const auto& c : cases)
      std::printf("  %-40s %9.2f us  [%.2f .. %.2f]\n", c.name.c_str(), 1e6 * c.median_seconds / kMoves,
                  1e6 * c.low_seconds / kMoves, 1e6 * c.high_seconds / kMoves);
    const double on = 1e6 * cases[0].median_seconds / kMoves, off = 1e6 * cases[1].median_seconds / kMoves;
    std::printf("  ratio on / off %.2f; added per move %.2f us (aim <= 50 us); modes switched on in the timed\n"
                "  moves: %lld (expected %d)\n",
                on / off, on - off, switched, (rounds + 1) * kMoves);
    sensitivity.DeactivateLastActiveController();
    view.window = nullptr;
    window.DestroyWindow();
    doc.RemoveView(&view);
    AfxGetThread()->m_pMainWnd = previous_main;
  }
  IVRenderFactory::Reset();
  return 0;
}
