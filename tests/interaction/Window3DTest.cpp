// The 3D window in a host, drawn by the recording renderer: navigation by the right button
// through view operations of the document, what a repaint costs, fast drawing during a drag,
// visibility per scene with undo, the scene's camera lock, the cursor kept in the window, and
// the projection handed to the renderer landing on the camera's pixels.

#include <algorithm>
#include <cmath>
#include <string>

#include "ToolSupport.h"
#include "ostrum/document/MLocker.h"
#include "ostrum/foundation/platform/Cursor.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/render/IVRenderStats.h"
#include "ostrum/foundation/render/RecordingRender.h"
#include "support/Window3DHost.h"

namespace {

using wnd3d_test::Part;

/// The window as a subclass sees it: fast drawing on demand, the invalid mark readable.
class Probe3D : public UIWnd3D {
 public:
  using UIWnd3D::UIWnd3D;
  bool fast = false;
  bool _NeedsFastRedraw(IVRender&) override { return fast; }
  bool IsDisplayInvalid() const { return m_display_invalid; }
  int Width() const { return m_width; }
  int Height() const { return m_height; }
  static std::wstring FrameRateText(DWORD ms) { return _FormatFrameRate(ms); }
};

/// A tool that claims every right press, as a tool with its own right-button use does.
class ClaimingTool : public RecordingMouse {
 public:
  using RecordingMouse::RecordingMouse;
  bool OnRButtonDown(UIWnd* wnd, unsigned flags, CPoint point) override {
    RecordingMouse::OnRButtonDown(wnd, flags, point);
    return true;
  }
};

class Window3D : public wnd3d_test::Window3DHost {
 protected:
  void SetUp() override {
    Window3DHost::SetUp();
    recorder = UseRecordingRenderer();
    ASSERT_NE(recorder, nullptr);
    cube = &Add(new Part(L"cube", {-10, -10, -10}, {10, 10, 10}));
    tool = new RecordingMouse("tool", &log);
    tool->log_moves = true;
    doc.GetMouseHandler()->SelectMouse(tool, false);
  }

  Probe3D& OpenProbe(bool wrap, bool extended, CRect rect = CRect(10, 10, 410, 310)) {
    return Open(std::make_unique<Probe3D>(wrap, extended), rect);
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& call : recorder->GetCalls()) names.push_back(call.name);
    return names;
  }
  /// The index of the first call `name` at or after `from`; -1 without one.
  int Find(const std::string& name, int from = 0) const {
    const auto names = Names();
    for (int i = from; i < static_cast<int>(names.size()); ++i)
      if (names[static_cast<size_t>(i)] == name) return i;
    return -1;
  }
  size_t Count(const std::string& name) const { return recorder->GetCalls(name).size(); }
  MSceneEx& ActiveScene(UIWnd3D& window) { return *doc.db().GetScene(static_cast<size_t>(window.GetActiveScene())); }
  const IVRenderStats& Stats() { return recorder->GetStatistics(); }

  Ostrum::RecordingRender* recorder = nullptr;
  Part* cube = nullptr;
  RecordingMouse* tool = nullptr;
  CallLog log;
};

TEST_F(Window3D, ARightDragTurnsTheViewThroughTheDocumentLeavingNoHistoryAndAClickOpensTheMenu) {
  Probe3D& window = OpenProbe(true, true);
  const HWND hwnd = window.GetSafeHwnd();
  // Pixels per millimetre, and the front and back centres of the cube before the turn.
  const float scale = (Pixel(window, 10, 0, -10).x - Pixel(window, 0, 0, -10).x) / 10;
  const MMPoint3d<float> front = Pixel(window, 0, 0, -10), back = Pixel(window, 0, 0, 10);
  ASSERT_GT(scale, 1.0f);
  view.view_actions.clear();
  log.clear();

  user.Drag(hwnd, {100, 150}, {140, 150}, {MouseButton::Right, 4});

  // The first move anchors; the three after it turn, each as a rotation of the document.
  EXPECT_EQ(view.view_actions, (std::vector<uint32_t>{206, 206, 206}));
  CRect client;
  window.GetClientRect(&client);
  const double degrees = 180.0 * 30 / std::min(client.Width(), client.Height());
  const double moved = scale * 10 * std::sin(degrees * 3.14159265358979 / 180.0);
  // The front of the model follows the cursor to the right, the back goes the other way, and
  // nothing moves up or down.
  EXPECT_NEAR(Pixel(window, 0, 0, -10).x - front.x, moved, 0.05);
  EXPECT_NEAR(Pixel(window, 0, 0, 10).x - back.x, -moved, 0.05);
  EXPECT_NEAR(Pixel(window, 0, 0, -10).y, front.y, 0.01);
  // The moves of the drag reached no tool; its release lets the tool catch up with the cursor.
  EXPECT_EQ(log, (Calls{"tool.OnMouseMove(100,150)", "tool.OnRButtonDown(100,150)", "tool.OnRButtonUp(140,150)",
                        "tool.OnMouseMove(140,150)"}));
  // No view operation is in the history: one undo takes back the cube's addition.
  ASSERT_TRUE(doc.UndoOperation());
  EXPECT_TRUE(cube->IsRemoved());
  EXPECT_FALSE(doc.GetUndoManager()->CanUndo());
  ASSERT_TRUE(doc.RedoOperation());

  // A right click without a move is no navigation: the context menu comes, with the tool's item.
  tool->items = {{4711, L"Measure"}};
  desk.ExpectPopupMenu(L"Measure");
  log.clear();
  view.view_actions.clear();
  user.RightClick(hwnd, {200, 100});
  EXPECT_TRUE(view.view_actions.empty());
  EXPECT_NE(std::find(log.begin(), log.end(), "tool.OnAppendMenu context(200,100)"), log.end())
      << testing::PrintToString(log);
}

TEST_F(Window3D, ACtrlRightDragZoomsAboutItsFirstMoveAndAMiddleDragPans) {
  Probe3D& window = OpenProbe(true, true);
  const HWND hwnd = window.GetSafeHwnd();
  // The point of the front face under (120, 80), the first move of the drag below, before the
  // zoom: the move that starts the zoom gives its centre.
  float point[3], direction[3];
  window.GetMouseInObjectCoordinates(point, direction, 120, 80, cube);
  const float t = (-10 - point[2]) / direction[2];
  const float under[3] = {point[0] + t * direction[0], point[1] + t * direction[1], -10};
  view.view_actions.clear();
  {
    auto control = user.Hold(VK_CONTROL);
    user.Drag(hwnd, {120, 100}, {120, 40}, {MouseButton::Right, 3});
  }
  // Every move sends a zoom, the first only setting the centre: the factor grows as
  // 2^(40 / (h / 4)) over the two moves after it.
  EXPECT_EQ(view.view_actions, (std::vector<uint32_t>{203, 203, 203}));
  CRect client;
  window.GetClientRect(&client);
  EXPECT_NEAR(window.GetCamera().GetZoomFactor(), std::exp2(40.0 / (client.Height() / 4.0)), 1e-3);
  const MMPoint3d<float> pixel = Pixel(window, under[0], under[1], under[2]);
  EXPECT_NEAR(pixel.x, 120, 0.05) << "the point under the zoom centre stays under it";
  EXPECT_NEAR(pixel.y, 80, 0.05);
  // The middle button pans: the content follows the cursor.
  const MMPoint3d<float> before = Pixel(window, 0, 0, -10);
  user.Drag(hwnd, {200, 150}, {230, 130}, {MouseButton::Middle, 2});
  EXPECT_NEAR(Pixel(window, 0, 0, -10).x - before.x, 15, 0.01) << "the second of two moves";
  EXPECT_NEAR(Pixel(window, 0, 0, -10).y - before.y, -10, 0.01);
}

TEST_F(Window3D, ARightPressClaimedByAToolKeepsTheCameraStillAndTheMovesGoToTheTool) {
  auto* claiming = new ClaimingTool("claim", &log);
  claiming->log_moves = true;
  doc.GetMouseHandler()->SelectMouse(claiming, false);
  Probe3D& window = OpenProbe(true, true);
  const MMPoint3d<float> front = Pixel(window, 0, 0, -10);
  view.view_actions.clear();
  log.clear();
  user.Drag(window.GetSafeHwnd(), {100, 150}, {160, 150}, {MouseButton::Right, 3});
  EXPECT_TRUE(view.view_actions.empty());
  EXPECT_EQ(Pixel(window, 0, 0, -10).x, front.x);
  EXPECT_EQ(log, (Calls{"claim.OnMouseMove(100,150)", "claim.OnRButtonDown(100,150)", "claim.OnMouseMove(120,150)",
                        "claim.OnMouseMove(140,150)", "claim.OnMouseMove(160,150)", "claim.OnRButtonUp(160,150)"}))
      << "no context menu either";
}

TEST_F(Window3D, APlainRepaintCopiesTheSurfaceAndOnlyAnInvalidationRebuildsTheScene) {
  Probe3D& window = OpenProbe(true, true);
  MSceneEx& scene = ActiveScene(window);
  scene.SetBackgroundColor(MColor(0.25f, 0.5f, 1.0f, 1));
  scene.SetLightAmbient(MColor(0.1f, 0.2f, 0.3f, 1));
  window.SetColorBackground(0x0000FF);  // the plain path's colour: not used here
  window.InvalidateDisplaySurface();
  Paint(window);
  EXPECT_FALSE(window.IsDisplayInvalid());
  const uint64_t frames = Stats().GetFrameCount();
  const int draws = cube->full_draws;
  recorder->Clear();

  // Uncovered, not invalidated: one copy of the surface, nothing drawn, no frame counted.
  window.Invalidate(FALSE);
  Paint(window);
  EXPECT_EQ(Names(), std::vector<std::string>{"Surface.Present"});
  EXPECT_EQ(Stats().GetFrameCount(), frames);
  EXPECT_EQ(cube->full_draws, draws);

  // Invalidated: the whole frame, in order, then the copy. (The recording surface has no
  // bitmap, so the overlay, which draws after the frame, has nowhere to go.)
  recorder->Clear();
  window.InvalidateDisplaySurface();
  Paint(window);
  const int start = Find("StartFrame"), ambient = Find("SetGlobalAmbient"), clear = Find("Surface.Clear"),
            view_transform = Find("SetViewTransform"), planes = Find("EnableClippingPlane"),
            mesh = Find("DrawMesh"), stop = Find("StopFrame"), present = Find("Surface.Present");
  EXPECT_TRUE(start == 0 && start < ambient && ambient < clear && clear < view_transform &&
              view_transform < planes && planes < mesh && mesh < stop && stop < present)
      << recorder->Describe();
  EXPECT_EQ(Count("2D.Start"), 0u);
  EXPECT_EQ(Count("DrawMesh"), 1u);
  EXPECT_EQ(Count("CreateMeshBuffer"), 0u) << "the cube keeps its mesh";
  EXPECT_EQ(Stats().GetFrameCount(), frames + 1);
  EXPECT_EQ(Stats().GetFullFrameCount(), Stats().GetFrameCount());
  // The scene's lights and background, each channel rounded to a byte.
  EXPECT_EQ(recorder->GetCalls("SetGlobalAmbient")[0].numbers, (std::vector<double>{0.1f, 0.2f, 0.3f}));
  const std::vector<double> cleared = recorder->GetCalls("Surface.Clear")[0].numbers;
  EXPECT_NEAR(cleared[0], 64 / 255.0, 1e-6);
  EXPECT_NEAR(cleared[1], 128 / 255.0, 1e-6);
  EXPECT_NEAR(cleared[2], 1.0, 1e-6);
  // The scene's three planes are handed over (disabled) once they exist.
  EXPECT_EQ(Count("EnableClippingPlane"), 3u);

  // A change of the document reaches the window through its view and is drawn at the next paint.
  recorder->Clear();
  Add(new Part(L"second", {20, 0, 0}, {30, 10, 10}));
  Paint(window);
  EXPECT_EQ(Count("DrawMesh"), 2u);
  EXPECT_EQ(Count("CreateMeshBuffer"), 1u);
}

TEST_F(Window3D, ThePlainPathDrawsTheTreeAtEveryPaintOnceInvalidAndNothingWhileTheWindowsAreLocked) {
  Probe3D& window = OpenProbe(true, false);
  window.SetColorBackground(0x0000FF);
  window.InvalidateDisplaySurface();
  Paint(window);
  recorder->Clear();
  window.Invalidate(FALSE);
  Paint(window);
  EXPECT_EQ(Count("DrawMesh"), 1u) << "the plain path does not clear the invalid mark";
  ASSERT_EQ(Count("Surface.Clear"), 1u);
  EXPECT_EQ(recorder->GetCalls("Surface.Clear")[0].numbers, (std::vector<double>{1, 0, 0, 1, 1, 1}));
  EXPECT_EQ(Count("SetGlobalAmbient"), 0u) << "no scene lights on the plain path";

  recorder->Clear();
  {
    MLocker lock(doc.GetWndLockCounter());
    window.Invalidate(FALSE);
    Paint(window);
  }
  EXPECT_TRUE(recorder->GetCalls().empty()) << recorder->Describe();
  EXPECT_TRUE(window.IsDisplayInvalid());
}

TEST_F(Window3D, TheProjectionHandedToTheRendererLandsEveryPointOnTheCamerasPixel) {
  Probe3D& window = OpenProbe(true, true, CRect(10, 10, 411, 252));  // odd sizes
  user.Drag(window.GetSafeHwnd(), {100, 100}, {160, 130}, {MouseButton::Right, 3});
  for (bool perspective : {false, true}) {
    if (perspective) Send(MOperationView::ViewActionPerspective);
    window.InvalidateDisplaySurface();
    Paint(window);
    const auto& v = recorder->GetViewTransform();
    const auto& p = recorder->GetProjectionTransform();
    CRect client;
    window.GetClientRect(&client);
    for (const MMPoint3d<float>& point : {MMPoint3d<float>(10, -10, -10), MMPoint3d<float>(-10, 10, 10),
                                          MMPoint3d<float>(3, 7, -2)}) {
      double eye[4], clip[4];
      const double in[4] = {point.x, point.y, point.z, 1};
      for (int r = 0; r < 4; ++r) {
        eye[r] = 0;
        for (int c = 0; c < 4; ++c) eye[r] += v[size_t(4 * r + c)] * in[c];
      }
      for (int r = 0; r < 4; ++r) {
        clip[r] = 0;
        for (int c = 0; c < 4; ++c) clip[r] += p[size_t(4 * r + c)] * eye[c];
      }
      const double ndc_x = clip[0] / clip[3], ndc_y = clip[1] / clip[3];
      const MMPoint3d<float> pixel = Pixel(window, point.x, point.y, point.z);
      // Normalised device coordinates run from -1 at the left and bottom to 1 at the right
      // and top edges of the client area.
      EXPECT_NEAR((ndc_x + 1) / 2 * client.Width(), pixel.x, 0.01) << "perspective " << perspective;
      EXPECT_NEAR((1 - ndc_y) / 2 * client.Height(), pixel.y, 0.01) << "perspective " << perspective;
      EXPECT_LT(std::abs(clip[2] / clip[3]), 1.0) << "the cube lies between near and far";
    }
  }
}

TEST_F(Window3D, ADragDrawsFastAndAtOnceAndTheReleaseDrawsInFullQuality) {
  Probe3D& window = OpenProbe(true, true);
  window.fast = true;
  Paint(window);
  const uint64_t full = Stats().GetFullFrameCount(), frames = Stats().GetFrameCount();
  const int full_draws = cube->full_draws;
  const HWND hwnd = window.GetSafeHwnd();
  user.MoveTo(hwnd, {100, 100});
  user.Press(MouseButton::Right);
  user.SetAutoPump(false);
  for (int x : {110, 120, 130}) {
    user.MoveTo(hwnd, {x, 100});
    // Dispatching the move alone draws the frame: a fast move does not wait for WM_PAINT.
    MSG msg;
    ASSERT_TRUE(PeekMessageW(&msg, hwnd, WM_MOUSEMOVE, WM_MOUSEMOVE, PM_REMOVE));
    const int fast_before = cube->fast_draws;
    DispatchMessageW(&msg);
    EXPECT_EQ(cube->fast_draws, fast_before + 1) << "at x " << x;
    EXPECT_TRUE(window.IsFastRendering());
  }
  user.SetAutoPump(true);
  user.Pump();
  EXPECT_EQ(Stats().GetFullFrameCount(), full) << "no full frame during the drag";
  EXPECT_EQ(Stats().GetFrameCount(), frames + 3);
  EXPECT_EQ(cube->full_draws, full_draws);
  user.Release(MouseButton::Right);
  EXPECT_FALSE(window.IsFastRendering());
  Paint(window);
  EXPECT_EQ(Stats().GetFullFrameCount(), full + 1);
  EXPECT_EQ(cube->full_draws, full_draws + 1);
}

TEST_F(Window3D, AnObjectHiddenInTheActiveSceneDisappearsAndComesBackWithUndo) {
  Part& second = Add(new Part(L"second", {20, 0, 0}, {30, 10, 10}));
  Probe3D& window = OpenProbe(true, true);
  const unsigned long long scene = window.GetActiveScene();
  Paint(window);
  auto* hide = new UIOperation(UIOperation::ACTION_HIDE);
  hide->SetSceneID(scene);
  hide->AddObject(&second);
  ASSERT_TRUE(doc.DoOperation(hide, nullptr));
  recorder->Clear();
  Paint(window);
  EXPECT_EQ(Count("DrawMesh"), 1u) << recorder->Describe();
  EXPECT_EQ(Count("DeleteMeshBuffer"), 0u) << "freed when hidden, before this paint";
  const int drawn = second.full_draws;

  ASSERT_TRUE(doc.UndoOperation());
  recorder->Clear();
  Paint(window);
  EXPECT_EQ(Count("DrawMesh"), 2u) << recorder->Describe();
  EXPECT_EQ(second.full_draws, drawn + 1);
  EXPECT_EQ(Count("CreateMeshBuffer"), 1u) << "its mesh is made anew";
}

TEST_F(Window3D, TheScenesCameraLockHoldsTheViewWhileTheDragIsStillADrag) {
  Probe3D& window = OpenProbe(true, true);
  MSceneEx& locked = ActiveScene(window);
  locked.SetCameraLockMode(MCameraInteraction::LOCK_ROTATION);
  window.SetActiveScene(locked.GetSceneID());
  EXPECT_EQ(window.GetCameraInteraction().GetLockMode(), MCameraInteraction::LOCK_ROTATION);
  const MMPoint3d<float> front = Pixel(window, 0, 0, -10);
  user.Drag(window.GetSafeHwnd(), {100, 150}, {160, 190}, {MouseButton::Right, 3});
  EXPECT_EQ(Pixel(window, 0, 0, -10).x, front.x);
  EXPECT_EQ(Pixel(window, 0, 0, -10).y, front.y);
  // The lock does not stop panning, and another scene without a lock turns freely.
  {
    auto shift = user.Hold(VK_SHIFT);
    user.Drag(window.GetSafeHwnd(), {100, 150}, {130, 150}, {MouseButton::Right, 3});
  }
  EXPECT_NEAR(Pixel(window, 0, 0, -10).x - front.x, 20, 0.01) << "two of three moves pan";
  MSceneEx* free = doc.db().RegisterScene(L"free");
  window.SetActiveScene(free->GetSceneID());
  EXPECT_EQ(window.GetCameraInteraction().GetLockMode(), MCameraInteraction::LOCK_NONE);
  const MMPoint3d<float> before = Pixel(window, 0, 0, -10);
  user.Drag(window.GetSafeHwnd(), {100, 150}, {160, 150}, {MouseButton::Right, 3});
  EXPECT_GT(Pixel(window, 0, 0, -10).x - before.x, 1.0f);
}

TEST_F(Window3D, OnlyAWrappingWindowConfinesTheCursorAndItWrapsAtTheEdgeWithoutATurn) {
  Probe3D& plain = OpenProbe(false, true, CRect(10, 10, 210, 210));
  Probe3D& wrapping = OpenProbe(true, true, CRect(300, 10, 500, 210));
  RECT screen;
  GetClipCursor(&screen);
  for (Probe3D* window : {&plain, &wrapping}) {
    const HWND hwnd = window->GetSafeHwnd();
    user.MoveTo(hwnd, {100, 100});
    user.Press(MouseButton::Right);
    user.MoveTo(hwnd, {150, 100});
    user.MoveTo(hwnd, {160, 100});
    CRect client;
    window->GetClientRect(&client);
    window->ClientToScreen(&client);
    RECT clip;
    GetClipCursor(&clip);
    if (window == &wrapping) {
      EXPECT_EQ(clip, static_cast<RECT>(client));
      // Past the right edge: the cursor is held in the window and lands on the left side;
      // the jump turns nothing.
      const MMPoint3d<float> front = Pixel(*window, 0, 0, -10);
      user.MoveTo(hwnd, {400, 100});
      POINT cursor = desk.CursorPos();
      ScreenToClient(hwnd, &cursor);
      EXPECT_EQ(cursor, (POINT{2, 100}));
      const float turned = Pixel(*window, 0, 0, -10).x - front.x;
      // Only the way to the edge (160 to 197) turns, not the way back to the left.
      EXPECT_GT(turned, 0.0f);
      user.MoveTo(hwnd, {12, 100});
      EXPECT_GT(Pixel(*window, 0, 0, -10).x - front.x, turned);
    } else {
      EXPECT_EQ(clip, screen);
    }
    user.Release(MouseButton::Right);
    user.MoveTo(hwnd, {50, 50});
    GetClipCursor(&clip);
    EXPECT_EQ(clip, screen) << "released once no navigation runs";
  }
}

TEST_F(Window3D, SizesFramesAndTheFrameRateTextFollowTheirRules) {
  Probe3D& window = OpenProbe(true, true);
  EXPECT_EQ(window.GetActiveColor(), UIWnd3D::kActiveFrameColor);
  EXPECT_EQ(window.GetInactiveColor(), UIWnd3D::kInactiveFrameColor);
  EXPECT_EQ(window.GetColorBackground(), UIWnd3D::kDefaultBackground);
  EXPECT_EQ(window.GetCamera().GetParentView(), &window);
  window.MoveWindow(0, 0, 0, 0);
  EXPECT_EQ(window.Width(), 2);
  EXPECT_EQ(window.Height(), 2);
  CRect rect;
  window.GetCamera().GetWindowRect(rect);
  EXPECT_EQ(static_cast<RECT>(rect), (RECT{0, 0, 2, 2}));
  EXPECT_TRUE(window.IsDisplayInvalid());
  EXPECT_EQ(Probe3D::FrameRateText(0), L"FpS: 100");
  EXPECT_EQ(Probe3D::FrameRateText(8), L"FpS: 125.00");
  EXPECT_EQ(Probe3D::FrameRateText(3), L"FpS: 333.33");
  // Made from its run-time record: wrapping, plain path.
  CObject* made = RUNTIME_CLASS(UIWnd3D)->CreateObject();
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(UIWnd)));
  delete made;
}

TEST_F(Window3D, TheSurfaceGoesWithARendererSwitchAndAStaleSceneHealsWithTheFirst) {
  Probe3D& window = OpenProbe(true, true);
  recorder->Clear();
  Send(MOperationView::ViewActionSwitchRenderer);
  EXPECT_EQ(Count("DestroySurface"), 1u);
  window.InvalidateDisplaySurface();
  Paint(window);
  EXPECT_EQ(Count("StartFrame"), 0u) << "nothing to draw into until a new surface comes";
  // A new surface: made, sized to the client area, and drawn into at once.
  recorder->Clear();
  window.SetActiveScene(123456);  // no such scene
  ASSERT_TRUE(window._CreateDisplaySurface());
  EXPECT_EQ(Find("CreateSurface"), 0);
  EXPECT_EQ(Count("Surface.Resize"), 1u);
  EXPECT_EQ(Count("DrawMesh"), 1u) << recorder->Describe();
  EXPECT_EQ(window.GetActiveScene(), doc.db().GetScenes().front()->GetSceneID());
}

}  // namespace
