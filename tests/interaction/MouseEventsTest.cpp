// Events through UIMouseHandler: what reaches the top tool, what a refusing window keeps from
// it, what the handler records of the last event, capture and aborts, and the button state.

#include <gtest/gtest.h>

#include "ToolSupport.h"
#include "ostrum/foundation/platform/CCmdUI.h"

namespace {

class Listener : public IMouseListener {
 public:
  explicit Listener(CallLog* log) : m_log(log) {}
  void OnMouseMove(UIWnd*, unsigned, CPoint point) override { LogCall(m_log, "listener.OnMouseMove" + PointText(point)); }
  void OnMouseEnterWindow(UIWnd*) override { LogCall(m_log, "listener.OnMouseEnterWindow"); }
  void OnMouseLeaveWindow(UIWnd*) override { LogCall(m_log, "listener.OnMouseLeaveWindow"); }

 private:
  CallLog* m_log;
};

class MouseEvents : public DesktopTest {
 protected:
  Calls Take() { return std::exchange(log, {}); }
  CallLog log;
  TestWnd wnd{&log};
  UIMouseHandler handler;
};

TEST_F(MouseEvents, AWindowThatRefusesTheToolKeepsEveryPointerEventFromItAndRecordsNothing) {
  auto* tool = new MeasureTool("tool", &log);
  tool->log_moves = true;
  handler.SelectMouse(tool, false);
  Take();
  wnd.supported = false;
  EXPECT_FALSE(handler.OnLButtonDown(&wnd, 0, CPoint(5, 6)));
  handler.OnMouseMove(&wnd, 0, CPoint(7, 8));
  handler.OnMouseEnterWindow(&wnd);
  EXPECT_EQ(Take(), (Calls{"wnd.SetCursorMouseNotSupported", "wnd.MouseIsMoving", "wnd.SetCursorMouseNotSupported",
                           "wnd.SetCursorMouseNotSupported"}));
  EXPECT_EQ(desk.CursorShape(), 32648) << "IDC_NO";
  CPoint last;
  EXPECT_FALSE(handler.GetLastMousePosition(last)) << "nothing was recorded";
  EXPECT_FALSE(handler.IsWindowOfLastEvent(&wnd));
  // Keys and commands ask no window.
  handler.OnKeyDown('A', 1, 0);
  EXPECT_TRUE(handler.OnCommand(&wnd, 7));
  EXPECT_EQ(Take(), (Calls{"tool.OnKeyDown 65", "tool.OnCommand 7 at (0,0)"}));
  EXPECT_TRUE(handler.IsWindowOfLastEvent(&wnd)) << "a command records its window";

  wnd.supported = true;
  EXPECT_TRUE(handler.OnLButtonDown(&wnd, MK_LBUTTON, CPoint(5, 6)));
  handler.OnMouseMove(&wnd, MK_LBUTTON, CPoint(9, 9));
  handler.OnMouseLeaveWindow(&wnd);
  EXPECT_EQ(Take(), (Calls{"tool.OnLButtonDown(5,6)", "wnd.MouseIsMoving", "tool.OnMouseMove(9,9)"}));
  ASSERT_TRUE(handler.GetLastMousePosition(last));
  EXPECT_EQ(last, CPoint(9, 9)) << "a leave records the window only";
  EXPECT_TRUE(tool->IsLeftDown());
  // A command carries the last point, as it has none of its own.
  EXPECT_TRUE(handler.OnCommand(&wnd, 8));
  CCmdUI cmd_ui;
  cmd_ui.m_nID = 8;
  EXPECT_FALSE(handler.OnUpdateCommandUI(&wnd, &cmd_ui)) << "the tool does not answer";
  EXPECT_EQ(Take(), Calls{"tool.OnCommand 8 at (9,9)"});
}

TEST_F(MouseEvents, WithoutAToolEventsAreDroppedButACommandStillRecordsItsWindow) {
  EXPECT_FALSE(handler.OnLButtonDown(&wnd, 0, CPoint(1, 1)));
  EXPECT_FALSE(handler.HasCapture());
  EXPECT_FALSE(handler.OnCommand(&wnd, 3));
  EXPECT_TRUE(handler.IsWindowOfLastEvent(&wnd));
  CPoint last(4, 4);
  ASSERT_TRUE(handler.GetLastMousePosition(last));
  EXPECT_EQ(last, CPoint(0, 0));
  EXPECT_EQ(Take(), Calls{});
}

TEST_F(MouseEvents, AnAbortReleasesTheCaptureEvenWhenTheToolForgetsToUnlessTheWindowRefusesIt) {
  auto* tool = new MeasureTool("tool", &log);
  tool->capture_on_press = true;
  tool->call_base_on_abort = false;
  handler.SelectMouse(tool, false);
  handler.OnLButtonDown(&wnd, 0, CPoint(1, 1));
  EXPECT_TRUE(handler.HasCapture());
  wnd.supported = false;
  handler.OnAbort(&wnd);
  EXPECT_TRUE(handler.HasCapture()) << "a refusing window's abort does not reach the tool";
  wnd.supported = true;
  handler.OnAbort(&wnd);
  EXPECT_FALSE(handler.HasCapture());
  EXPECT_EQ(Take(), (Calls{"tool.OnSelect", "tool.OnLButtonDown(1,1)", "wnd.SetCursorMouseNotSupported", "tool.OnAbort"}));
}

TEST_F(MouseEvents, TheDefaultHandlersTellTheListenerAndKeepTheButtonFlags) {
  Listener listener(&log);
  UIMouse* tool = new UIMouse(&listener);
  handler.SelectMouse(tool, false);
  handler.OnMouseEnterWindow(&wnd);
  handler.OnMouseMove(&wnd, 0, CPoint(3, 4));
  handler.OnMouseLeaveWindow(&wnd);
  EXPECT_FALSE(handler.OnRButtonDown(&wnd, 0, CPoint(3, 4))) << "the base handles nothing";
  EXPECT_TRUE(tool->IsRightDown());
  handler.OnRButtonUp(&wnd, 0, CPoint(3, 4));
  EXPECT_FALSE(tool->IsRightDown());
  EXPECT_EQ(Take(), (Calls{"listener.OnMouseEnterWindow", "wnd.MouseIsMoving", "listener.OnMouseMove(3,4)",
                           "listener.OnMouseLeaveWindow"}));
  // A copy carries the capture flag only.
  tool->SetCapture();
  UIMouse copy(*tool);
  EXPECT_TRUE(copy.GetCapture());
  handler.OnMouseEnterWindow(&wnd);
  copy.OnMouseEnterWindow(&wnd);
  EXPECT_EQ(Take(), Calls{"listener.OnMouseEnterWindow"}) << "the copy has no listener";
}

TEST_F(MouseEvents, ButtonStateFollowsTheHandThroughASwapOfTheButtons) {
  HWND frame = Frame();
  user.MoveTo(frame, {20, 20});
  user.Press(MouseButton::Left);
  EXPECT_TRUE(UIMouseHandler::IsLButtonDown());
  EXPECT_FALSE(UIMouseHandler::IsRButtonDown());
  EXPECT_TRUE(UIMouseHandler::IsButtonDown());
  user.Release(MouseButton::Left);
  EXPECT_FALSE(UIMouseHandler::IsButtonDown());
  // Swapped, the right button of the hand is the logical left one.
  user.SwapButtons(true);
  user.Press(MouseButton::Right);
  EXPECT_TRUE(UIMouseHandler::IsLButtonDown());
  EXPECT_FALSE(UIMouseHandler::IsRButtonDown());
  user.Release(MouseButton::Right);
  user.SwapButtons(false);
}

}  // namespace
