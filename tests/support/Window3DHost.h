#pragma once
// A host of 3D windows as a planning program builds one: a main frame with one view holding
// the windows, a document with a real database and undo history, and Part, a box-shaped object
// that keeps its mesh in the renderer. The view hands every operation of the document to its
// windows' DoOperation and then invalidates their display, as a host's view does. The
// renderer is chosen by the test (the recording one, or the OpenGL one in tests/gl).

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/DatabaseHost.h"
#include "support/DesktopFixture.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/document/MMainFrame.h"
#include "ostrum/document/MView.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/foundation/render/IVRenderFactory.h"
#include "ostrum/foundation/render/RecordingRender.h"
#include "ostrum/interaction/UIWnd3D.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/scene/MOperationView.h"
#include "ostrum/scene/MSceneEx.h"

namespace wnd3d_test {

/// A box from `lo` to `hi` in its own system: twelve triangles, drawn in full quality as a mesh
/// the renderer keeps, fast as its twelve edges. It draws only in the scenes it is visible in.
class Part : public UIObject {
 public:
  Part(const std::wstring& label, MMPoint3d<float> lo, MMPoint3d<float> hi, MColor color = MColor(0.2f, 0.4f, 0.9f, 1))
      : m_color(color) {
    SetLabel(label.c_str());
    m_box.Extend(lo);
    m_box.Extend(hi);
    for (int c = 0; c < 8; ++c)
      m_positions.insert(m_positions.end(), {(c & 1) ? hi.x : lo.x, (c & 2) ? hi.y : lo.y, (c & 4) ? hi.z : lo.z});
    // Two triangles per face, counter-clockwise seen from outside.
    m_indices = {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4,
                 2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5};
  }

  int full_draws = 0;
  int fast_draws = 0;

  using UIObject::Render;
  using UIObject::RenderFast;

  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long scene, const MCoordinateSystem* system) const override {
    box = M3DBoundingBox<float>();
    if (!IsVisible(scene)) return;
    box = m_box;
    MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
    if (system && repository) repository->GetTransform(GetCoordinateSystem(), *system).TransformBoundingBox(box);
  }
  void Render(IVRender& renderer, const MSceneEx& scene) override {
    if (IsVisible(scene.GetSceneID())) _Draw(renderer);
    UIObject::Render(renderer, scene);
  }
  void Render(IVRender& renderer, const MCoordinateSystem& system) override {
    _Draw(renderer);
    UIObject::Render(renderer, system);
  }
  void RenderFast(IVRender& renderer, const MSceneEx& scene) override {
    if (IsVisible(scene.GetSceneID())) {
      ++fast_draws;
      _SetRenderTransformObjectWorld(renderer);
      static constexpr int kEdges[24] = {0, 1, 2, 3, 4, 5, 6, 7, 0, 2, 1, 3, 4, 6, 5, 7, 0, 4, 1, 5, 2, 6, 3, 7};
      std::vector<float> lines;
      for (int corner : kEdges) lines.insert(lines.end(), m_positions.begin() + 3 * corner, m_positions.begin() + 3 * corner + 3);
      renderer.DrawLines(lines.data(), 24, 1);
    }
    UIObject::RenderFast(renderer, scene);
  }
  void DestroyRenderOptimisations() override {
    m_buffer.reset();
    UIObject::DestroyRenderOptimisations();
  }
  const M3DBoundingBox<float>& Box() const { return m_box; }

 private:
  void _Draw(IVRender& renderer) {
    ++full_draws;
    _SetRenderTransformObjectWorld(renderer);
    if (!m_buffer) {
      IVMesh mesh;
      mesh.positions = m_positions.data();
      mesh.vertex_count = m_positions.size() / 3;
      mesh.indices = m_indices.data();
      mesh.index_count = m_indices.size();
      m_buffer.reset(renderer.CreateMeshBuffer(mesh));
    }
    if (!m_buffer) return;
    renderer.SetColorFront(m_color);
    renderer.DrawMesh(*m_buffer);
  }

  MColor m_color;
  M3DBoundingBox<float> m_box;
  std::vector<float> m_positions;
  std::vector<std::uint32_t> m_indices;
  std::unique_ptr<IVRenderBuffer> m_buffer;
};

/// The host's view: every operation goes to the windows, which then draw anew. The actions of
/// the view operations that came through are kept.
class Host3DView : public MView {
 public:
  std::vector<UIWnd3D*> windows;
  std::vector<uint32_t> view_actions;

  void OnUpdate(CView*, LPARAM hint, CObject*) override {
    auto* operation = reinterpret_cast<MOperation*>(hint);
    if (!operation) return;
    if (dynamic_cast<MOperationView*>(operation)) view_actions.push_back(operation->GetAction());
    for (UIWnd3D* window : windows) {
      window->DoOperation(*operation);
      window->InvalidateDisplaySurface();
    }
  }
};

/// The desktop, the document with its database, a main frame 800 by 600 with the view, and
/// windows opened on it. The test selects a renderer before opening windows.
class Window3DHost : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    ASSERT_TRUE(frame.CreateEx(0, kWindowClass, L"planner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 800, 600, nullptr, 0));
    ASSERT_TRUE(view.CreateEx(0, kWindowClass, L"view", WS_CHILD | WS_VISIBLE, 0, 0, 780, 560, frame.GetSafeHwnd(), 7));
    doc.AddView(&view);
    frame.SetActiveView(&view);
    m_previous_main = std::exchange(AfxGetThread()->m_pMainWnd, &frame);
    ASSERT_TRUE(doc.CreateContents());
  }
  void TearDown() override {
    // Surfaces and kept meshes go before their renderer.
    for (auto& window : m_windows) window->DestroyWindow();
    m_windows.clear();
    view.windows.clear();
    doc.DeleteContents();
    Ostrum::Desktop::RunUntilIdle();
    MDataBase::RecycleGarbage();
    IVRenderFactory::Reset();
    AfxGetThread()->m_pMainWnd = m_previous_main;
    DesktopTest::TearDown();
  }

  /// Opens `window` at `rect` of the view (it is owned by the fixture), resets its camera and
  /// fits the document into it.
  template <class Window = UIWnd3D>
  Window& Open(std::unique_ptr<Window> window, CRect rect) {
    Window& made = *window;
    EXPECT_TRUE(made.Create(0, rect, &view, static_cast<unsigned>(m_windows.size() + 1)));
    view.windows.push_back(&made);
    m_windows.push_back(std::move(window));
    made.ResetCamera();
    Send(MOperationView::ViewActionUnzoom);
    return made;
  }
  /// Registers the recording renderer and selects it for the windows opened from now on.
  static Ostrum::RecordingRender* UseRecordingRenderer() {
    IVRenderFactory::RegisterRenderer(RENDER_TYPE_RECORDING, [] { return std::make_unique<Ostrum::RecordingRender>(); });
    return static_cast<Ostrum::RecordingRender*>(IVRenderFactory::SelectIVRender(RENDER_TYPE_RECORDING, false));
  }
  /// A view operation of `action` through the document.
  bool Send(uint32_t action) {
    auto* operation = new MOperationView;
    operation->SetAction(action);
    return doc.DoOperation(operation, nullptr);
  }
  /// Adds `part` to the document (undoably).
  Part& Add(Part* part) {
    EXPECT_TRUE(doc.DoOperation(db_test::DatabaseHost::Op(MOperation::ACTION_ADD, {part}), nullptr));
    return *part;
  }
  /// Where a point of the render world shows in `window`, in pixels.
  static MMPoint3d<float> Pixel(UIWnd3D& window, float x, float y, float z) {
    float out[3];
    window.TransformToWindow(out, x, y, z, MTransformRepositoryEx::GetInstance()->GetSystemRenderWorld(), false);
    return MMPoint3d<float>(out[0], out[1], out[2]);
  }
  /// Paints `window` now if anything waits.
  static void Paint(UIWnd3D& window) { ::UpdateWindow(window.GetSafeHwnd()); }

  Ostrum::DeferredTaskManager::ScopedSession session;
  PrivateUndoDirectory undo_directory;
  db_test::DatabaseDocument doc;
  MMainFrame frame;
  Host3DView view;

 private:
  std::vector<std::unique_ptr<UIWnd3D>> m_windows;
  CWnd* m_previous_main = nullptr;
};

}  // namespace wnd3d_test
