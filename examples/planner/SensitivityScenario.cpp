#include "SensitivityScenario.h"

#include <chrono>
#include <cmath>
#include <cwchar>
#include <limits>
#include <memory>
#include <numbers>
#include <utility>
#include <vector>

#include "PlannerTrace.h"
#include "StlReader.h"
#include "Window3DHost.h"
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
#include "ostrum/interaction/IPickInfo.h"
#include "ostrum/interaction/IPickable.h"
#include "ostrum/interaction/MPickerBase.h"
#include "ostrum/interaction/MPickerPriorityDependent.h"
#include "ostrum/interaction/UIMouse.h"
#include "ostrum/interaction/UIMouseHandler.h"
#include "ostrum/interaction/UIWnd3D.h"
#include "ostrum/notification/ControllerPostSwitchNotification.h"
#include "ostrum/notification/NotificationCenter.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/picking/TriangleMeshIntersector.h"
#include "ostrum/scene/MOperationView.h"
#include "ostrum/scene/MSceneEx.h"
#include "ostrum/sensitivity/ObjectSensitivityManager.h"

namespace planner {

namespace {

using P = MMPoint3d<double>;
using Ostrum::TriangleMeshIntersector;

std::wstring Wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// A document object whose geometry is a triangle mesh, pickable through the mesh helper: the
// line of sight through the pick point, taken into the object's system, meets the mesh, and
// the hit nearest to the viewer (largest window depth) is reported at its window coordinates.
// What a mesh hit records for the planner: the point on the surface in the object's own system.
struct SurfacePoint : IPickInfo {
  explicit SurfacePoint(const MMPoint3d<double>& at) : point(at) {}
  MMPoint3d<double> point;
};

class PickableMesh : public UIObject, public IPickable {
 public:
  PickableMesh(const std::wstring& label, const std::vector<float>& xyz, const std::vector<uint32_t>& triangles) {
    SetLabel(label.c_str());
    for (size_t i = 0; i + 2 < xyz.size(); i += 3) m_box.Extend(MMPoint3d<float>(xyz[i], xyz[i + 1], xyz[i + 2]));
    m_mesh.SetMesh(xyz.data(), xyz.size() / 3, triangles.data(), triangles.size() / 3);
  }
  using UIObject::Render;

  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long scene, const MCoordinateSystem* system) const override {
    box = M3DBoundingBox<float>();
    if (!IsVisible(scene)) return;
    box = m_box;
    if (system) MTransformRepositoryEx::GetInstance()->GetTransform(GetCoordinateSystem(), *system).TransformBoundingBox(box);
  }
  const M3DBoundingBox<float>& Box() const { return m_box; }

  /// Where the line of sight through window point (x, y) first meets the mesh, seen from the
  /// viewer: the point in the object's system and in the window's. False if it misses.
  bool SurfaceUnder(const MCoordinateSystem& window, double x, double y, P& object_point, P& window_point) const {
    MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
    P a, b;
    {
      const MMTransform& to_object = repository->GetTransform(window, GetCoordinateSystem());
      to_object.Transform(a, P(x, y, 0.0));
      to_object.Transform(b, P(x, y, 1.0));
    }
    std::vector<TriangleMeshIntersector::Hit> hits;
    if (m_mesh.All({a, b - a, -std::numeric_limits<double>::infinity()}, hits) == 0) return false;
    const MMTransform& to_window = repository->GetTransform(GetCoordinateSystem(), window);
    bool found = false;
    for (const auto& hit : hits) {
      P w;
      to_window.Transform(w, hit.point);
      if (!found || w.z > window_point.z) {
        found = true;
        window_point = w;
        object_point = hit.point;
      }
    }
    return found;
  }

  void GetLineIntersections(MPickerBase* picker) override {
    P object_point, window_point;
    if (!SurfaceUnder(picker->GetWindowCoordinateSystem(), picker->GetXPickCoordinate(), picker->GetYPickCoordinate(),
                      object_point, window_point))
      return;
    MPickerBase::MIntersection hit;
    hit.m_object = this;
    hit.m_x = window_point.x;
    hit.m_y = window_point.y;
    hit.m_z = window_point.z;
    hit.m_priority = GetPriority();
    hit.m_info = new SurfacePoint(object_point);  // the picker's from here on
    picker->AddIntersection(hit);
  }

 private:
  TriangleMeshIntersector m_mesh;
  M3DBoundingBox<float> m_box;
};

// The two classes the planner has a mode for.
class BoneModel : public PickableMesh {
 public:
  using PickableMesh::PickableMesh;
};
class ScrewModel : public PickableMesh {
 public:
  using PickableMesh::PickableMesh;
};

// The planner's screw-placing controller: while it is current, the pointer's object decides
// the mode.
struct ScrewPlanningController {};

// A cylinder of `radius` from `from` to `to`, closed at both ends, in 24 segments.
void Cylinder(const P& from, const P& to, double radius, std::vector<float>& xyz, std::vector<uint32_t>& triangles) {
  const P axis = (to - from) * (1.0 / (to - from).Length());
  P side = std::abs(axis.x) < 0.9 ? P(1, 0, 0) : P(0, 1, 0);
  side = side - axis * (side.x * axis.x + side.y * axis.y + side.z * axis.z);
  side = side * (1.0 / side.Length());
  const P up(axis.y * side.z - axis.z * side.y, axis.z * side.x - axis.x * side.z, axis.x * side.y - axis.y * side.x);
  constexpr uint32_t kSegments = 24;
  const auto put = [&](const P& p) { xyz.insert(xyz.end(), {float(p.x), float(p.y), float(p.z)}); };
  put(from);
  put(to);
  for (uint32_t i = 0; i < kSegments; ++i) {
    const double angle = 2 * std::numbers::pi * i / kSegments;
    const P ring = side * (radius * std::cos(angle)) + up * (radius * std::sin(angle));
    put(from + ring);
    put(to + ring);
  }
  for (uint32_t i = 0; i < kSegments; ++i) {
    const uint32_t a = 2 + 2 * i, b = 2 + 2 * ((i + 1) % kSegments);
    triangles.insert(triangles.end(), {a, b, b + 1, a, b + 1, a + 1, 0, b, a, 1, a + 1, b + 1});
  }
}

void Send(MDocument& doc, uint32_t action) {
  auto* operation = new MOperationView;
  operation->SetAction(action);
  doc.DoOperation(operation, nullptr);
}

std::wstring Pt(CPoint p) { return L"(" + std::to_wstring(p.x) + L", " + std::to_wstring(p.y) + L")"; }

// What a pick found, as the planner tells it: the object, where the line of sight met it in
// its own system, and how long the pick took.
std::wstring Describe(const MPickerBase& picker, double us) {
  auto* object = dynamic_cast<UIObject*>(picker.GetPickedObject());
  const auto* surface = dynamic_cast<const SurfacePoint*>(picker.GetPickedInfo());
  wchar_t took[32], where[96] = L"";
  std::swprintf(took, 32, L"%.1f", us);
  if (surface)
    std::swprintf(where, 96, L" at (%.2f, %.2f, %.2f) in its own system", surface->point.x, surface->point.y,
                  surface->point.z);
  return (object ? std::wstring(object->GetLabel()) : std::wstring(L"nothing")) + where + L"; the pick took " + took +
         L" us";
}

template <class Picker>
double TimedPick(Picker& picker) {
  const auto start = std::chrono::steady_clock::now();
  picker.Operate();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

// The planner's picking tool: a left click picks the nearest object under the pointer in the
// window clicked and says what it was. The click is the tool's, so the camera stays put.
class PickTool : public UIMouse {
 public:
  std::vector<UIObject*> picked;  // one entry per click, null where nothing was hit

  bool OnLButtonDown(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnLButtonDown(wnd, flags, point);
    auto* window = dynamic_cast<UIWnd3D*>(wnd);
    if (!window) return false;
    MPickerBase picker(window);
    picker.SetPickCoordinates(point.x, point.y);
    const double us = TimedPick(picker);
    picked.push_back(dynamic_cast<UIObject*>(picker.GetPickedObject()));
    Trace(L"click at " + Pt(point) + L" picked " + Describe(picker, us));
    return true;
  }
  bool OnLButtonUp(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnLButtonUp(wnd, flags, point);
    return true;
  }
};

}  // namespace

bool RunSensitivityScenario(const std::string& stl_path) {
  Heading(L"object sensitivity and picking: the pointer's object switches the planner's modes, a click picks");
  StlMesh stl;
  std::string error;
  if (!ReadStlFile(stl_path, stl, error)) {
    Trace(L"the mesh could not be read: " + Wide(error));
    return false;
  }
  std::vector<uint32_t> corners(stl.positions.size() / 3);
  for (uint32_t i = 0; i < corners.size(); ++i) corners[i] = i;

  // Nothing here needs pixels: the recording renderer stands in for the screen.
  IVRenderFactory::RegisterRenderer(RENDER_TYPE_RECORDING, [] { return std::make_unique<Ostrum::RecordingRender>(); });
  IVRenderFactory::SelectIVRender(RENDER_TYPE_RECORDING, false);
  bool screw_mode_seen = false, clicks_as_aimed = false;
  {
    Window3DFrame host(L"Planner.Sensitivity", 480, 380);
    Window3DView& view = host.view;
    {
      Window3DDocument doc;
      doc.AddView(&view);
      doc.CreateContents();
      auto* bone = new BoneModel(Wide(stl.name.empty() ? std::string("knob") : stl.name), stl.positions, corners);
      {
        auto* add = new UIOperation(MOperation::ACTION_ADD);
        add->AddObject(bone);
        doc.DoOperation(add, nullptr);
      }
      UIWnd3D window(true, false);
      window.Create(0, CRect(10, 10, 410, 310), &view, 2);
      view.window = &window;
      window.ResetCamera();
      Send(doc, MOperationView::ViewActionUnzoom);
      const MCoordinateSystem& window_system = window.GetCoordinateSystemWindow();

      // Three screws standing out of the bone's surface towards the viewer, a little tilted,
      // left of, at and right of the middle of the window.
      const M3DBoundingBox<float>& box = bone->Box();
      const double size = box.GetSize().Length();
      MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
      std::vector<ScrewModel*> screws;
      for (int i = 0; i < 3; ++i) {
        const double x = 200 + 60 * (i - 1), y = 150;
        P surface, surface_window;
        if (!bone->SurfaceUnder(window_system, x, y, surface, surface_window)) continue;
        // Towards the viewer is towards a larger window depth.
        P nearer, sideways;
        const MMTransform& to_bone = repository->GetTransform(window_system, bone->GetCoordinateSystem());
        to_bone.Transform(nearer, P(x, y, surface_window.z + 0.01));
        to_bone.Transform(sideways, P(x + 10, y, surface_window.z));
        const P toward = (nearer - surface) * (1.0 / (nearer - surface).Length());
        const P tilt = (sideways - surface) * (1.0 / (sideways - surface).Length());
        const P axis = toward + tilt * 0.4;
        std::vector<float> xyz;
        std::vector<uint32_t> triangles;
        Cylinder(surface + axis * (0.02 * size), surface + axis * (0.25 * size), 0.03 * size, xyz, triangles);
        screws.push_back(new ScrewModel(L"screw " + std::to_wstring(i + 1), xyz, triangles));
      }
      {
        auto* add = new UIOperation(MOperation::ACTION_ADD);
        for (ScrewModel* screw : screws) add->AddObject(screw);
        doc.DoOperation(add, nullptr);
      }
      Trace(L"document: the bone model \"" + std::wstring(bone->GetLabel()) + L"\" (" +
            std::to_wstring(stl.TriangleCount()) + L" triangles) and " + std::to_wstring(screws.size()) +
            L" screws in front of it, in a 400 x 300 3D window");

      // The planner's modes, one per class.
      Ostrum::ObjectSensitivityManager sensitivity(Ostrum::MApplicationController::GetInstance()->GetWndMessageHandlerChain());
      const auto label = [](IPickable& object) { return std::wstring(dynamic_cast<UIObject&>(object).GetLabel()); };
      sensitivity.RegisterMode<BoneModel>([&](IPickable& object) { Trace(L"mode on: BoneModel " + label(object)); },
                                          [] { Trace(L"mode off: BoneModel"); });
      sensitivity.RegisterMode<ScrewModel>(
          [&](IPickable& object) {
            screw_mode_seen = true;
            Trace(L"mode on: ScrewModel " + label(object));
          },
          [] { Trace(L"mode off: ScrewModel"); });
      sensitivity.AddObjectSensitiveController<ScrewPlanningController>();

      // The pointer's path: where each screw shows, and the bone between and below them.
      const auto pixel = [&](const P& point, const MCoordinateSystem& system) {
        P w;
        repository->GetTransform(system, window_system).Transform(w, point);
        return CPoint(static_cast<int>(std::lround(w.x)), static_cast<int>(std::lround(w.y)));
      };
      const CPoint nothing_before(4, 4), nothing_after(396, 296), bone_below(200, 200), bone_again(185, 212);
      CPoint screw_point = bone_again;
      if (!screws.empty()) {
        const ScrewModel& screw = *screws[screws.size() / 2];
        const MMPoint3d<float> middle = screw.Box().GetCenter();
        screw_point = pixel(P(middle.x, middle.y, middle.z), screw.GetCoordinateSystem());
      }
      const HWND hwnd = window.GetSafeHwnd();
      const auto move = [&](CPoint to, const wchar_t* aim) {
        Trace(L"pointer to " + Pt(to) + L", aimed at " + aim + L":");
        TraceScope scope;
        POINT screen{to.x, to.y};
        ClientToScreen(hwnd, &screen);
        Ostrum::Desktop::InputMouseMove(screen);
        Ostrum::Desktop::PumpWaitingMessages();
        // The pick the manager made in that move, once more on its own and timed.
        Ostrum::MPickerPriorityDependent picker(&window);
        picker.SetPickCoordinates(to.x, to.y);
        const double us = TimedPick(picker);
        Trace(L"under the pointer: " + Describe(picker, us));
      };

      move(bone_below, L"the bone, before any controller is current");
      Trace(L"the screw-planning controller becomes current");
      Ostrum::NotificationCenter::GetDefaultCenter().NotifyObservers(
          nullptr, Ostrum::ControllerPostSwitchNotification(typeid(ScrewPlanningController)));
      Trace(L"object sensitivity active: " + std::wstring(sensitivity.IsObjectSensitivityActive() ? L"yes" : L"no"));
      move(nothing_before, L"nothing");
      move(bone_below, L"the bone");
      move(screw_point, L"the middle screw");
      move(bone_again, L"the bone");
      move(nothing_after, L"nothing");
      sensitivity.DeactivateLastActiveController();
      if (!screw_mode_seen) Trace(L"the screw's mode never came on");

      // Clicks through the desktop: the picking tool is chosen, the pointer goes to the bone
      // and to the middle screw, and the left button goes down and up at each.
      Trace(L"the picking tool is chosen; the user clicks on the bone and on the middle screw");
      auto* tool = new PickTool;  // the mouse handler's from here on
      doc.GetMouseHandler()->SelectMouse(tool, false);
      const auto click = [&](CPoint at) {
        POINT screen{at.x, at.y};
        ClientToScreen(hwnd, &screen);
        TraceScope scope;
        Ostrum::Desktop::InputMouseMove(screen);
        Ostrum::Desktop::InputMouseButton(Ostrum::Desktop::MouseButton::Left, true);
        Ostrum::Desktop::PumpWaitingMessages();
        Ostrum::Desktop::InputMouseButton(Ostrum::Desktop::MouseButton::Left, false);
        Ostrum::Desktop::PumpWaitingMessages();
      };
      click(bone_below);
      click(screw_point);
      const std::vector<UIObject*> expected{bone, screws.empty() ? static_cast<UIObject*>(bone) : screws[screws.size() / 2]};
      clicks_as_aimed = tool->picked == expected;
      if (!clicks_as_aimed) Trace(L"the clicks did not pick the bone and then the screw");
      doc.GetMouseHandler()->SelectMouse(nullptr, false);

      view.window = nullptr;
      window.DestroyWindow();
      doc.RemoveView(&view);
    }
  }
  IVRenderFactory::Reset();
  return screw_mode_seen && clicks_as_aimed;
}

}  // namespace planner
