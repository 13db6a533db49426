// The interactive window as a user moves across it: hover tracked by capture, tool events
// without losses or doubles, drags that leave and come back, capture stolen mid-drag, the
// application sent to the background, repeated moves, accelerators and the active frame.

#include <string>
#include <utility>

#include "ToolSupport.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MApplicationController.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/platform/Accelerator.h"
#include "ostrum/foundation/platform/CView.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Resources.h"
#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/foundation/platform/DeviceContext.h"
#include "ostrum/foundation/platform/WindowImage.h"
#include "ostrum/scene/MSceneEx.h"

namespace {

/// A tool that also logs entering and leaving, with the window it was told of.
class HoverTool : public RecordingMouse {
 public:
  HoverTool(CallLog* log) : RecordingMouse("tool", log) { log_moves = true; }
  void OnMouseEnterWindow(UIWnd* wnd) override { Log("enter " + Name(wnd)); }
  void OnMouseLeaveWindow(UIWnd* wnd) override { Log("leave " + Name(wnd)); }
  static std::string Name(UIWnd* wnd) { return wnd ? std::to_string(wnd->GetDlgCtrlID()) : "null"; }
};

class Document : public MDocument {
 public:
  /// Hands the document a database for the length of a test, as a host's _CreateContents does.
  struct UsingDataBase {
    explicit UsingDataBase(MDataBase* database) { _SetDataBasePointer(database); }
    ~UsingDataBase() { _SetDataBasePointer(nullptr); }
  };

 protected:
  bool _CreateContents() override { return true; }
};

/// A window as a derived class sees it: its frame width and stored scene, and the scene calls.
class ProbeWnd : public UIWnd {
 public:
  explicit ProbeWnd(int frame_width = 1) { m_frame_width = frame_width; }
  void SetActiveScene(const unsigned long long& id) override {
    ++scene_sets;
    UIWnd::SetActiveScene(id);
  }
  unsigned long long StoredScene() const { return m_active_scene; }
  int scene_sets = 0;
};

/// A view that logs the activation message its windows send.
class LoggingView : public CView {
 public:
  explicit LoggingView(CallLog* log) : m_log(log) {}

 protected:
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
    if (message == UIWnd::WM_UIWND_ACTIVATED) LogCall(m_log, "view activated by " + std::to_string(wParam));
    return CView::WindowProc(message, wParam, lParam);
  }

 private:
  CallLog* m_log;
};

/// A main frame that logs the commands it receives.
class CommandFrame : public CFrameWnd {
 public:
  explicit CommandFrame(CallLog* log) : m_log(log) {}

 protected:
  BOOL OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) override {
    if (message == WM_COMMAND) LogCall(m_log, "frame command " + std::to_string(wParam));
    return CFrameWnd::OnWndMsg(message, wParam, lParam, result);
  }

 private:
  CallLog* m_log;
};

/// A main frame with a view holding two interactive windows side by side (ids 1 and 2, 200 by
/// 200 each, 10 apart), a document whose handler runs a hover-logging tool.
class InteractiveWindow : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    ASSERT_TRUE(frame.CreateEx(0, kWindowClass, L"main", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 800, 600, nullptr, 0));
    ASSERT_TRUE(view.CreateEx(0, kWindowClass, L"view", WS_CHILD | WS_VISIBLE, 0, 0, 700, 500, frame.GetSafeHwnd(), 7));
    ASSERT_TRUE(left.Create(0, CRect(10, 10, 210, 210), &view, 1));
    ASSERT_TRUE(right.Create(WS_POPUP, CRect(220, 10, 420, 210), &view, 2));
    m_previous_main = std::exchange(AfxGetThread()->m_pMainWnd, &frame);
    ASSERT_TRUE(document.CreateContents());
    tool = new HoverTool(&log);
    document.GetMouseHandler()->SelectMouse(tool, false);
    log.clear();
  }
  void TearDown() override {
    document.DeleteContents();
    AfxGetThread()->m_pMainWnd = m_previous_main;
    DesktopTest::TearDown();
  }
  Calls Take() { return std::exchange(log, {}); }
  UIMouseHandler& Handler() { return *document.GetMouseHandler(); }

  CallLog log;
  CommandFrame frame{&log};
  LoggingView view{&log};
  UIWnd left;
  UIWnd right;
  Document document;
  HoverTool* tool = nullptr;

 private:
  CWnd* m_previous_main = nullptr;
};

TEST_F(InteractiveWindow, CreationGivesTheFixedStyleAndClassWhateverTheStyleAskedAndTheDefaults) {
  EXPECT_EQ(left.GetStyle(), right.GetStyle()) << "the style argument is ignored";
  EXPECT_EQ(left.GetStyle() & 0xFFFF0000u, UIWnd::kStyle);
  wchar_t name[32] = {};
  GetClassNameW(left.GetSafeHwnd(), name, 32);
  EXPECT_EQ(std::wstring(name), L"UIWnd");
  EXPECT_EQ(left.GetParent(), &view);
  // Dynamically creatable from its run-time record.
  CObject* made = RUNTIME_CLASS(UIWnd)->CreateObject();
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CWnd)));
  delete made;
  EXPECT_EQ(left.GetActiveColor(), 0xFF0000u);
  EXPECT_EQ(left.GetInactiveColor(), GetSysColor(COLOR_WINDOW));
  EXPECT_FALSE(left.HasCapture());
  // The frame takes a pixel on each side of the window.
  CRect window, client;
  left.GetWindowRect(&window);
  left.GetClientRect(&client);
  EXPECT_EQ(client.Width(), window.Width() - 2);
  EXPECT_EQ(client.Height(), window.Height() - 2);
}

TEST_F(InteractiveWindow, EnteringTakesTheCaptureAndLeavingGivesItBackWithEveryMoveToTheToolOnce) {
  user.MoveTo(view.GetSafeHwnd(), {5, 300});
  EXPECT_EQ(Take(), Calls{}) << "outside both windows";
  user.MoveTo(left.GetSafeHwnd(), {20, 20});
  EXPECT_TRUE(left.HasCapture());
  EXPECT_EQ(desk.Capture(), left.GetSafeHwnd());
  // The cursor query enters; the move that follows is the tool's first move.
  EXPECT_EQ(Take(), (Calls{"tool.enter 1", "tool.OnMouseMove(20,20)"}));
  user.MoveTo(left.GetSafeHwnd(), {30, 25});
  user.MoveTo(left.GetSafeHwnd(), {40, 25});
  EXPECT_EQ(Take(), (Calls{"tool.OnMouseMove(30,25)", "tool.OnMouseMove(40,25)"}));
  user.MoveTo(view.GetSafeHwnd(), {5, 300});
  EXPECT_FALSE(left.HasCapture());
  EXPECT_EQ(desk.Capture(), nullptr);
  EXPECT_EQ(Take(), Calls{"tool.leave 1"});
}

TEST_F(InteractiveWindow, MovingBetweenTwoWindowsLeavesOneAndEntersTheOther) {
  user.MoveTo(left.GetSafeHwnd(), {100, 100});
  user.MoveTo(right.GetSafeHwnd(), {100, 100});
  // The move that leaves lands in the left window, which holds the capture; the right one
  // enters at the next move or cursor query.
  user.MoveTo(right.GetSafeHwnd(), {101, 100});
  EXPECT_FALSE(left.HasCapture());
  EXPECT_TRUE(right.HasCapture());
  EXPECT_EQ(desk.Capture(), right.GetSafeHwnd());
  EXPECT_EQ(Take(), (Calls{"tool.enter 1", "tool.OnMouseMove(100,100)", "tool.leave 1", "tool.enter 2",
                           "tool.OnMouseMove(101,100)"}));
}

TEST_F(InteractiveWindow, ADragThatLeavesTheWindowKeepsTheToolAndComesBackWithoutANewEnter) {
  tool->capture_on_press = true;
  user.MoveTo(left.GetSafeHwnd(), {50, 50});
  user.Press(MouseButton::Left);
  EXPECT_EQ(desk.Focus(), left.GetSafeHwnd()) << "a press activates the view and takes the focus";
  EXPECT_EQ(frame.GetActiveView(), &view);
  user.MoveTo(left.GetSafeHwnd(), {300, 50});   // out, over the other window
  user.MoveTo(left.GetSafeHwnd(), {60, 60});    // and back
  user.Release(MouseButton::Left);
  EXPECT_TRUE(left.HasCapture()) << "the pointer is inside again";
  EXPECT_FALSE(right.HasCapture()) << "a dragging tool keeps the other window from entering";
  const Calls calls = Take();
  EXPECT_EQ(calls, (Calls{"tool.enter 1", "tool.OnMouseMove(50,50)", "view activated by 1", "view activated by 1", "tool.OnLButtonDown(50,50)",
                          "tool.OnMouseMove(300,50)", "tool.OnMouseMove(60,60)", "tool.OnLButtonUp(60,60)"}));
}

TEST_F(InteractiveWindow, CaptureStolenMidDragGivesTheToolItsAbortAndTheReleaseReachesNoOne) {
  tool->capture_on_press = true;
  user.MoveTo(left.GetSafeHwnd(), {50, 50});
  user.Press(MouseButton::Left);
  user.MoveTo(left.GetSafeHwnd(), {70, 50});
  Take();
  // Another window of the application takes the capture, as a dialog would.
  HWND other = Child(frame.GetSafeHwnd(), {500, 300, 600, 400});
  SetCapture(other);
  EXPECT_FALSE(left.HasCapture());
  EXPECT_FALSE(Handler().HasCapture());
  EXPECT_EQ(desk.Capture(), other) << "the abort leaves the new owner its capture";
  user.Release(MouseButton::Left);
  EXPECT_EQ(Take(), Calls{"tool.OnAbort"});
}

TEST_F(InteractiveWindow, InTheBackgroundTheWindowIsNotEnteredAndLosingTheForegroundAborts) {
  user.SwitchToOtherApp();
  user.MoveTo(left.GetSafeHwnd(), {50, 50});
  user.MoveTo(left.GetSafeHwnd(), {60, 50});
  EXPECT_FALSE(left.HasCapture());
  EXPECT_EQ(Take(), Calls{});
  user.Activate(frame.GetSafeHwnd());
  user.MoveTo(left.GetSafeHwnd(), {70, 50});
  EXPECT_TRUE(left.HasCapture());
  EXPECT_EQ(Take(), (Calls{"tool.enter 1", "tool.OnMouseMove(70,50)"}));
  // Another application comes to the front: the capture goes, and with it the tool's hover.
  user.SwitchToOtherApp();
  EXPECT_EQ(desk.Capture(), nullptr);
  EXPECT_FALSE(left.HasCapture());
  EXPECT_EQ(Take(), Calls{"tool.OnAbort"});
}

TEST_F(InteractiveWindow, RepeatedMovesAtThePressPointAreDroppedUntilTheFirstDifferentOne) {
  user.MoveTo(left.GetSafeHwnd(), {50, 50});
  user.Press(MouseButton::Left);
  Take();
  const HWND hwnd = left.GetSafeHwnd();
  // The system repeats the move at the press point without any movement.
  for (int i = 0; i < 3; ++i) SendMessageW(hwnd, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(50, 50));
  EXPECT_EQ(Take(), Calls{});
  SendMessageW(hwnd, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(51, 50));
  SendMessageW(hwnd, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(50, 50));
  EXPECT_EQ(Take(), (Calls{"tool.OnMouseMove(51,50)", "tool.OnMouseMove(50,50)"})) << "the press point is forgotten";
  user.Release(MouseButton::Left);
  // A right press stored while the left one is elsewhere: a move there clears the left point.
  user.Press(MouseButton::Right);
  user.Release(MouseButton::Right);
  Take();
  SendMessageW(hwnd, WM_MOUSEMOVE, 0, MAKELPARAM(50, 50));
  EXPECT_EQ(Take(), Calls{});
}

TEST_F(InteractiveWindow, AClickBeforeEnteringActivatesTheViewButReachesNoTool) {
  const HWND hwnd = left.GetSafeHwnd();
  SendMessageW(hwnd, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(30, 30));
  SendMessageW(hwnd, WM_LBUTTONUP, 0, MAKELPARAM(30, 30));
  EXPECT_EQ(Take(), Calls{"view activated by 1"}) << "only the message entry activated the view";
  EXPECT_EQ(desk.Focus(), hwnd);
}

TEST_F(InteractiveWindow, TheRightPressActivatesTheViewWithoutTheFocusAndAClickOutsideIsALeave) {
  user.MoveTo(right.GetSafeHwnd(), {50, 50});
  SetFocus(view.GetSafeHwnd());
  Take();
  const HWND hwnd = right.GetSafeHwnd();
  SendMessageW(hwnd, WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(40, 40));
  EXPECT_EQ(desk.Focus(), hwnd) << "the message entry gave the focus";
  EXPECT_EQ(Take(), (Calls{"view activated by 2", "view activated by 2", "tool.OnRButtonDown(40,40)"}));
  // A press outside the client area while inside: the window leaves, the tool gets no press.
  SendMessageW(hwnd, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(-30, 40));
  EXPECT_FALSE(right.HasCapture());
  EXPECT_EQ(Take(), (Calls{"view activated by 2", "tool.leave 2"}));
}

TEST_F(InteractiveWindow, KeysReachTheToolAndAltDuringADragIsDropped) {
  user.MoveTo(left.GetSafeHwnd(), {50, 50});
  SetFocus(left.GetSafeHwnd());
  Take();
  user.Key('A');
  EXPECT_EQ(Take(), Calls{"tool.OnKeyDown 65"});
  user.Press(MouseButton::Left);
  Take();
  user.KeyDown(VK_MENU);
  EXPECT_TRUE(left.HasCapture()) << "no abort while a button is down";
  user.KeyUp(VK_MENU);
  user.Release(MouseButton::Left);
  Take();
  // Without a button, a system key releases the capture: the tool gets its abort.
  user.KeyDown(VK_MENU);
  EXPECT_FALSE(left.HasCapture());
  EXPECT_EQ(Take(), Calls{"tool.OnAbort"});
  user.KeyUp(VK_MENU);
}

TEST_F(InteractiveWindow, EveryMessagePassesTheApplicationsWindowChainWhichMaySwallowItAfterTheViewIsActivated) {
  struct Swallow : MFCA::WndMessageDispatcher {
    CallLog* log = nullptr;
    bool DispatchMessage(const MFCA::WndMessage& message) override {
      if (&message.GetWindow() != log_window || message.GetMessage() != WM_LBUTTONDOWN) return false;
      LogCall(log, "chain swallowed a press");
      return true;
    }
    CWnd* log_window = nullptr;
  } swallow;
  swallow.log = &log;
  swallow.log_window = &left;
  auto& chain = Ostrum::MApplicationController::GetInstance()->GetWndMessageHandlerChain();
  ASSERT_TRUE(chain.AppendMessageDispatcher(&swallow));
  user.MoveTo(left.GetSafeHwnd(), {50, 50});
  Take();
  user.Press(MouseButton::Left);
  user.Release(MouseButton::Left);
  chain.RemoveMessageDispatcher(&swallow);
  EXPECT_EQ(Take(), (Calls{"view activated by 1", "chain swallowed a press", "tool.OnLButtonUp(50,50)"}));
}

TEST_F(InteractiveWindow, AcceleratorsOfTheApplicationsResourcesReachTheMainWindowMarkedAsSuch) {
  Ostrum::Desktop::Resources::SetAccelerators(AfxGetResourceHandle(), UIWnd::kAcceleratorResource,
                                              {ACCEL{FVIRTKEY | FCONTROL, 'Z', 300}, ACCEL{0, 'q', 301}});
  UIWnd third;
  ASSERT_TRUE(third.Create(0, CRect(10, 220, 210, 420), &view, 3));
  third.SetFocus();
  Take();
  auto control = user.Hold(VK_CONTROL);
  Take();
  MSG msg{};
  msg.hwnd = third.GetSafeHwnd();
  msg.message = WM_KEYDOWN;
  msg.wParam = 'Z';
  EXPECT_TRUE(third.PreTranslateMessage(&msg));
  msg.wParam = 'Y';
  EXPECT_FALSE(third.PreTranslateMessage(&msg));
  EXPECT_FALSE(left.PreTranslateMessage(&msg)) << "made before the table was there";
  msg.message = WM_CHAR;
  msg.wParam = 'q';
  EXPECT_TRUE(third.PreTranslateMessage(&msg));
  EXPECT_EQ(Take(), Calls{"frame command " + std::to_string(300 | 0x10000)}) << "a character goes as a system command";
}

/// How many pixels of the window's image have `color`: on its outermost `band` pixels, and
/// further in.
struct FramePixels {
  int border = 0;
  int inside = 0;
  int border_size = 0;
};
FramePixels FrameColour(HWND wnd, COLORREF color, int band = 1) {
  Ostrum::Desktop::BitmapPixels pixels;
  Ostrum::Desktop::GetWindowImage(wnd, pixels);
  FramePixels count;
  for (int y = 0; y < pixels.height; ++y)
    for (int x = 0; x < pixels.width; ++x) {
      const bool border = x < band || y < band || x >= pixels.width - band || y >= pixels.height - band;
      count.border_size += border;
      if (pixels.At(x, y) == color) (border ? count.border : count.inside)++;
    }
  return count;
}

TEST_F(InteractiveWindow, TheActiveFrameIsDrawnInTheActiveColourOnTheActiveWindowOnly) {
  user.Wait(0);  // the first paint draws both frames
  const COLORREF active = left.GetActiveColor();
  const COLORREF inactive = left.GetInactiveColor();
  ASSERT_NE(active, inactive);
  FramePixels l = FrameColour(left.GetSafeHwnd(), inactive), r = FrameColour(right.GetSafeHwnd(), inactive);
  EXPECT_EQ(l.border, l.border_size) << "painted with the inactive colour";
  EXPECT_EQ(r.border, r.border_size);

  left.SetActive(true);
  right.SetActive(false);
  l = FrameColour(left.GetSafeHwnd(), active);
  r = FrameColour(right.GetSafeHwnd(), active);
  EXPECT_EQ(l.border, l.border_size) << "every frame pixel of the active window, at once";
  EXPECT_EQ(l.inside, 0) << "the one-pixel frame covers the non-client band only";
  EXPECT_EQ(r.border + r.inside, 0) << "nothing in the active colour on the other window";
  EXPECT_EQ(FrameColour(right.GetSafeHwnd(), inactive).border, r.border_size);
  EXPECT_EQ(Ostrum::Desktop::CountDeviceContexts(), 0u) << "the window DC was given back";

  // A repaint of the client leaves the frame; deactivation redraws it.
  left.Invalidate(TRUE);
  user.Wait(0);
  EXPECT_EQ(FrameColour(left.GetSafeHwnd(), active).border, l.border_size);
  left.SetActive(false);
  EXPECT_EQ(FrameColour(left.GetSafeHwnd(), active).border, 0);
  EXPECT_EQ(left.GetDrawnFrame().color, inactive);
}

TEST_F(InteractiveWindow, AWiderFrameFillsItsWholeBandAndAFrameOfWidthZeroDrawsNothing) {
  ProbeWnd wide(3), none(0);
  ASSERT_TRUE(wide.Create(0, CRect(10, 220, 110, 300), &view, 3));
  ASSERT_TRUE(none.Create(0, CRect(120, 220, 220, 300), &view, 4));
  user.Wait(0);
  CRect client;
  wide.GetClientRect(&client);
  EXPECT_EQ(client, CRect(0, 0, 94, 74)) << "the non-client band is the frame's width";
  wide.SetActive(true);
  const FramePixels band = FrameColour(wide.GetSafeHwnd(), wide.GetActiveColor(), 3);
  EXPECT_EQ(band.border, band.border_size);
  EXPECT_EQ(band.inside, 0);
  none.GetClientRect(&client);
  EXPECT_EQ(client, CRect(0, 0, 100, 80));
  none.SetActive(true);
  EXPECT_EQ(FrameColour(none.GetSafeHwnd(), none.GetActiveColor()).border, 0);
  EXPECT_EQ(none.GetDrawnFrame().count, 0);
}

TEST_F(InteractiveWindow, AWindowWhoseSceneWasRemovedHealsWithTheFirstSceneOfTheDatabase) {
  MDataBase database;
  Document::UsingDataBase using_database(&database);
  MSceneEx* plan = database.RegisterScene(CString(L"Plan"));
  ASSERT_NE(plan, nullptr);
  const unsigned long long plan_id = plan->GetSceneID();
  ProbeWnd wnd;
  ASSERT_TRUE(wnd.Create(0, CRect(10, 220, 110, 300), &view, 3));
  wnd.SetActiveScene(plan_id);
  wnd.scene_sets = 0;
  EXPECT_EQ(wnd.GetActiveScene(), plan_id) << "a live scene stays";
  EXPECT_EQ(wnd.scene_sets, 0);

  ASSERT_TRUE(database.RemoveScene(static_cast<std::size_t>(plan_id)));
  const std::vector<MSceneEx*> left_over = database.GetScenes();
  ASSERT_FALSE(left_over.empty());
  const unsigned long long first = left_over.front()->GetSceneID();
  ASSERT_NE(first, plan_id);
  EXPECT_EQ(wnd.GetActiveScene(), first);
  EXPECT_EQ(wnd.StoredScene(), first) << "healed through the virtual setter";
  EXPECT_EQ(wnd.scene_sets, 1);
  EXPECT_EQ(wnd.GetActiveScene(), first);
  EXPECT_EQ(wnd.scene_sets, 1) << "once healed, nothing more to do";
}

TEST_F(InteractiveWindow, TheSceneWithoutADatabaseIsTheNoSceneAndStaysStored) {
  left.SetActiveScene(42);
  EXPECT_EQ(left.GetActiveScene(), 0xFFFFFFFFu);
  right.SetActiveScene(7);
  EXPECT_EQ(left.GetActiveScene(), 0xFFFFFFFFu);
}

}  // namespace
