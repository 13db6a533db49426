// The 3D window's cost on the OpenGL renderer, headless:
//
//  1. full redraws per second of a document holding a 1M-triangle mesh, through UIWnd3D (the
//     invalidation, the paint message, the scene path with lights, background, clipping planes
//     and the walk of the tree) against the renderer drawing the same buffer into the same
//     surface directly (the same clear, lights, transforms and draw), interleaved round by
//     round; the ratio of the medians is printed (window fps / direct fps, 1.0 is parity);
//  2. the time from a mouse move injected during a rotation drag to the end of the frame that
//     shows it (the move dispatched, the view operation through the document, the camera
//     turned, the paint), against the time of one full redraw.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "common/Interleaved.h"
#include "common/Window3DHost.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/document/MMainFrame.h"
#include "ostrum/document/MView.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Input.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/Paint.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/foundation/render/IVRenderFactory.h"
#include "ostrum/foundation/render/IVRenderStats.h"
#include "ostrum/gl/OstrumGL.h"
#include "ostrum/interaction/UIWnd3D.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/scene/MOperationView.h"
#include "ostrum/scene/MSceneEx.h"

namespace {

constexpr int kSize = 512;  // pixels of the window's square client area

// A bumpy square grid of n x n cells (2 n^2 triangles) with normals, 100 mm wide.
struct Grid {
  std::vector<float> positions, normals;
  std::vector<std::uint32_t> indices;
  explicit Grid(int n) {
    const int v = n + 1;
    for (int j = 0; j < v; ++j)
      for (int i = 0; i < v; ++i) {
        const float x = -1.0f + 2.0f * i / n, y = -1.0f + 2.0f * j / n;
        const float z = 0.05f * std::sin(9 * x) * std::cos(7 * y);
        const float dx = 0.45f * std::cos(9 * x) * std::cos(7 * y), dy = -0.35f * std::sin(9 * x) * std::sin(7 * y);
        const float len = std::sqrt(dx * dx + dy * dy + 1);
        positions.insert(positions.end(), {50 * x, 50 * y, 50 * z});
        normals.insert(normals.end(), {-dx / len, -dy / len, -1 / len});
      }
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i) {
        const std::uint32_t a = j * v + i, b = a + 1, c = a + v + 1, d = a + v;
        indices.insert(indices.end(), {a, b, c, a, c, d});
      }
  }
};

const MColor kColor(0.9f, 0.8f, 0.7f, 1.0f);

// The document's one object: the grid, kept by the renderer.
class GridPart : public UIObject {
 public:
  explicit GridPart(const Grid& grid) : m_grid(grid) {
    m_box.Extend(MMPoint3d<float>(-50, -50, -5));
    m_box.Extend(MMPoint3d<float>(50, 50, 5));
  }
  using UIObject::Render;
  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long, const MCoordinateSystem* system) const override {
    box = m_box;
    if (system) MTransformRepositoryEx::GetInstance()->GetTransform(GetCoordinateSystem(), *system).TransformBoundingBox(box);
  }
  void Render(IVRender& renderer, const MSceneEx& scene) override {
    if (IsVisible(scene.GetSceneID())) {
      _SetRenderTransformObjectWorld(renderer);
      renderer.EnableLighting(true);
      renderer.SetColorFront(kColor);
      renderer.DrawMesh(Buffer(renderer));
    }
    UIObject::Render(renderer, scene);
  }
  const IVRenderBuffer& Buffer(IVRender& renderer) {
    if (!m_buffer) {
      IVMesh mesh;
      mesh.positions = m_grid.positions.data();
      mesh.normals = m_grid.normals.data();
      mesh.vertex_count = m_grid.positions.size() / 3;
      mesh.indices = m_grid.indices.data();
      mesh.index_count = m_grid.indices.size();
      m_buffer.reset(renderer.CreateMeshBuffer(mesh));
    }
    return *m_buffer;
  }
  void DestroyRenderOptimisations() override { m_buffer.reset(); }

 private:
  const Grid& m_grid;
  M3DBoundingBox<float> m_box;
  std::unique_ptr<IVRenderBuffer> m_buffer;
};

// The window with what the direct drawing shares with it reachable.
class BenchWindow : public UIWnd3D {
 public:
  BenchWindow() : UIWnd3D(false, true) {}
  IVDisplaySurface& Surface() { return *m_display_surface; }
  void SetTransforms(IVRender& renderer) { _SetTransforms(renderer); }
};

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const double scale = argc > 1 ? std::atof(argv[1]) : 1.0;
  Ostrum::GL::RegisterRenderers();
  IVRender* renderer = IVRenderFactory::SelectIVRender(RENDER_TYPE_HARDWARE, false);
  if (!renderer) {
    std::fprintf(stderr, "the OpenGL renderer could not start: %s\n", Ostrum::GL::GetLastError().c_str());
    return 1;
  }
  std::printf("renderer: %s\n", Ostrum::GL::DescribeRender(*renderer).c_str());
  WNDCLASSEXW wc{};
  wc.cbSize = sizeof wc;
  wc.lpfnWndProc = DefWindowProcW;
  wc.lpszClassName = L"Bench.Window";
  RegisterClassExW(&wc);
  const Grid grid(707);  // 999,698 triangles
  {
    MMainFrame frame;
    frame.CreateEx(0, L"Bench.Window", L"bench", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, kSize + 60, kSize + 80, nullptr, 0);
    ostrum_bench::Window3DView view;
    view.CreateEx(0, L"Bench.Window", L"view", WS_CHILD | WS_VISIBLE, 0, 0, kSize + 20, kSize + 20, frame.GetSafeHwnd(), 1);
    frame.SetActiveView(&view);
    AfxGetThread()->m_pMainWnd = &frame;
    ostrum_bench::Window3DDocument doc;
    doc.AddView(&view);
    doc.CreateContents();
    MSceneEx* scene = doc.Database().GetScenes().front();
    scene->SetBackgroundColor(MColor(0.1f, 0.1f, 0.2f, 1));
    scene->SetLightAmbient(MColor(0.2f, 0.2f, 0.2f, 1));
    scene->SetLightDiffuse(MColor(0.8f, 0.8f, 0.8f, 1));
    scene->SetLightSpecular(MColor(0, 0, 0, 1));
    auto* part = new GridPart(grid);
    auto* add = new UIOperation(MOperation::ACTION_ADD);
    add->AddObject(part);
    doc.DoOperation(add, nullptr);
    BenchWindow window;
    window.Create(0, CRect(0, 0, kSize + 2, kSize + 2), &view, 2);
    view.window = &window;
    window.ResetCamera();
    auto* unzoom = new MOperationView;
    unzoom->SetAction(MOperationView::ViewActionDefaultView);
    unzoom->SetDefaultView(MOperationView::DefaultView6);
    doc.DoOperation(unzoom, nullptr);
    const HWND hwnd = window.GetSafeHwnd();
    Ostrum::Desktop::PumpWaitingMessages();

    // 1. Full redraws: through the window, and the same frame drawn directly.
    std::vector<ostrum_bench::TimedCase> cases(2);
    cases[0].name = "UIWnd3D full redraw, 1M triangles";
    cases[0].body = [&] {
      window.InvalidateDisplaySurface();
      ::UpdateWindow(hwnd);
    };
    cases[1].name = "IVRender direct, same buffer and surface";
    cases[1].body = [&] {
      IVDisplaySurface& surface = window.Surface();
      renderer->StartFrame(&surface, nullptr, false);
      renderer->GetStatistics().StartFrame(true);
      renderer->SetGlobalAmbient(0.2f, 0.2f, 0.2f);
      renderer->SetGlobalDiffuse(0.8f, 0.8f, 0.8f);
      renderer->SetGlobalSpecular(0, 0, 0);
      surface.Clear(MColor(0.1f, 0.1f, 0.2f, 1), true, true);
      window.SetTransforms(*renderer);
      const float identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
      renderer->SetModelTransform(identity);
      renderer->EnableLighting(true);
      renderer->SetColorFront(kColor);
      renderer->DrawMesh(part->Buffer(*renderer));
      renderer->EnableLighting(false);
      renderer->StopFrame();
      renderer->GetStatistics().StopFrame();
    };
    ostrum_bench::RunInterleaved(cases, std::max(3, static_cast<int>(9 * scale)));
    const uint64_t triangles = renderer->GetStatistics().GetLastFrameTriangles();

    // 2. A rotation drag: each injected move is timed until its frame is finished.
    POINT point{kSize / 2, kSize / 2};
    ClientToScreen(hwnd, &point);
    Ostrum::Desktop::InputMouseMove(point);
    Ostrum::Desktop::PumpWaitingMessages();
    Ostrum::Desktop::InputMouseButton(Ostrum::Desktop::MouseButton::Right, true);
    Ostrum::Desktop::PumpWaitingMessages();
    point.x += 3;
    Ostrum::Desktop::InputMouseMove(point);  // the anchoring move
    Ostrum::Desktop::PumpWaitingMessages();
    // Each move is paired with a full redraw timed beside it, in alternating order, so that
    // the load of the shared machine falls on both alike.
    std::vector<double> latencies, redraws, differences;
    const uint64_t frames_before = renderer->GetStatistics().GetFrameCount();
    const int moves = std::max(3, static_cast<int>(9 * scale));
    for (int i = 0; i < moves; ++i) {
      double latency = 0, redraw = 0;
      auto time_move = [&] {
        point.x += (i % 2 == 0) ? 4 : -3;
        const auto start = std::chrono::steady_clock::now();
        Ostrum::Desktop::InputMouseMove(point);
        Ostrum::Desktop::PumpWaitingMessages();
        latency = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
      };
      auto time_redraw = [&] {
        const auto start = std::chrono::steady_clock::now();
        window.InvalidateDisplaySurface();
        ::UpdateWindow(hwnd);
        redraw = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
      };
      if (i % 2 == 0) {
        time_move();
        time_redraw();
      } else {
        time_redraw();
        time_move();
      }
      latencies.push_back(latency);
      redraws.push_back(redraw);
      differences.push_back(latency - redraw);
    }
    const uint64_t frames_drawn = renderer->GetStatistics().GetFrameCount() - frames_before;
    Ostrum::Desktop::InputMouseButton(Ostrum::Desktop::MouseButton::Right, false);
    Ostrum::Desktop::PumpWaitingMessages();

    const double window_ms = 1e3 * cases[0].median_seconds, direct_ms = 1e3 * cases[1].median_seconds;
    std::printf("\nFull redraws of %llu triangles in a %d x %d window (median of interleaved rounds):\n",
                static_cast<unsigned long long>(triangles), kSize, kSize);
    std::printf("  through UIWnd3D %7.2f fps (%.1f ms), direct IVRender %7.2f fps (%.1f ms), ratio %.3f (aim >= 0.9)\n",
                1e3 / window_ms, window_ms, 1e3 / direct_ms, direct_ms, direct_ms / window_ms);
    const double latency = Median(latencies), redraw = Median(redraws);
    std::printf("Injected move during a rotation drag to its finished frame (median of %d moves, each beside a\n"
                "full redraw; %llu frames drawn):\n",
                moves, static_cast<unsigned long long>(frames_drawn));
    std::printf("  %.1f ms against a full redraw of %.1f ms: %.2f frames; per pair, move minus redraw %+.1f ms\n"
                "  (median; aim <= one frame + 1 ms)\n",
                latency, redraw, latency / redraw, Median(differences));
    view.window = nullptr;
    window.DestroyWindow();
    doc.RemoveView(&view);
  }
  IVRenderFactory::Reset();
  return 0;
}
