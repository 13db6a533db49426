// Input as the user makes it at the screen, routed when the thread takes it: the window under
// the cursor or the capture, WM_SETCURSOR and WM_MOUSEACTIVATE on the way, double clicks, keys
// to the focus, the key state of a message and of the hand, and what disabled windows get.

#include <gtest/gtest.h>

#include "support/DesktopFixture.h"
#include "ostrum/foundation/platform/MessageQueue.h"

namespace {

class InputRouting : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    frame = Frame({100, 100, 600, 500});  // client area from (108, 131)
    view = Child(frame, {10, 10, 210, 110});
    user.Wait(0);  // the first paints
    trace.Label(frame, "frame").Label(view, "view");
    trace.Clear();
  }

  HWND frame = nullptr;
  HWND view = nullptr;
  MessageTrace trace;
};

TEST_F(InputRouting, TheWindowUnderTheCursorGetsTheMoveAfterWmSetCursorAskedItsParentsFirst) {
  SetCursor(LoadCursorW(nullptr, IDC_WAIT));
  user.MoveTo(view, {5, 7});
  EXPECT_EQ(trace.Labelled(), (Trace{"view:WM_SETCURSOR", "frame:WM_SETCURSOR", "view:WM_MOUSEMOVE"}));
  const TracedMessage setcursor = trace.Of(WM_SETCURSOR, frame)[0];
  EXPECT_EQ(setcursor.wParam, reinterpret_cast<WPARAM>(view)) << "the parent hears which window is under the cursor";
  EXPECT_EQ(setcursor.lParam, MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
  EXPECT_EQ(setcursor.depth, 2) << "sent from inside the child's default handling";
  const TracedMessage move = trace.Of(WM_MOUSEMOVE)[0];
  EXPECT_EQ(move.lParam, MAKELPARAM(5, 7));
  EXPECT_TRUE(move.queued);
  EXPECT_EQ(desk.CursorPos(), (POINT{123, 148}));
  EXPECT_EQ(desk.CursorShape(), 32512) << "the class cursor of the window under the cursor";

  // A parent that answers TRUE decides the shape.
  React(frame, [](HWND, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
    if (message != WM_SETCURSOR) return std::nullopt;
    SetCursor(LoadCursorW(nullptr, IDC_HAND));
    return TRUE;
  });
  user.MoveTo(view, {6, 7});
  EXPECT_EQ(desk.CursorShape(), 32649);

  // On the frame's border: WM_SETCURSOR with the hit code, and no mouse message.
  trace.Clear();
  user.MoveTo(nullptr, {103, 300});
  EXPECT_EQ(trace.Labelled(), (Trace{"frame:WM_SETCURSOR"}));
  EXPECT_EQ(LOWORD(static_cast<uintptr_t>(trace.Of(WM_SETCURSOR)[0].lParam)), HTBORDER);
  user.MoveTo(nullptr, {2000, 2000});
  EXPECT_EQ(desk.CursorPos(), (POINT{1919, 1079})) << "the cursor stays on the screen";
}

TEST_F(InputRouting, TheCaptureTakesEveryMouseMessageWithClientCoordinatesThatMayBeNegative) {
  SetCapture(view);
  trace.Clear();
  user.MoveTo(nullptr, {100, 120});  // over the frame's border, left of and above the view
  user.Press(MouseButton::Left);
  user.Release(MouseButton::Left);
  EXPECT_EQ(trace.Labelled(), (Trace{"view:WM_MOUSEMOVE", "view:WM_LBUTTONDOWN", "view:WM_LBUTTONUP"}))
      << "no WM_SETCURSOR or WM_MOUSEACTIVATE under the capture";
  EXPECT_EQ(trace.Of(WM_MOUSEMOVE)[0].lParam, MAKELPARAM(-18, -21));
  EXPECT_EQ(GET_X_LPARAM(trace.Of(WM_MOUSEMOVE)[0].lParam), -18);
  EXPECT_EQ(desk.Capture(), view) << "a button release does not end the capture";

  ReleaseCapture();
  trace.Clear();
  user.MoveTo(nullptr, {120, 150});
  EXPECT_EQ(trace.Labelled({WM_SETCURSOR}), (Trace{"view:WM_MOUSEMOVE"}));
  user.MoveTo(nullptr, {400, 400});
  EXPECT_EQ(trace.Labelled({WM_SETCURSOR}), (Trace{"view:WM_MOUSEMOVE", "frame:WM_MOUSEMOVE"}));
}

TEST_F(InputRouting, CaptureChangesTellTheWindowLosingIt) {
  const HWND other = Child(frame, {300, 10, 400, 110});
  user.Wait(0);
  trace.Label(other, "other");
  std::vector<HWND> capture_seen;  // by the view while it hears that it lost the capture
  React(view, [&](HWND, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
    if (message == WM_CAPTURECHANGED) capture_seen.push_back(GetCapture());
    return std::nullopt;
  });
  struct Step {
    std::function<void()> act;
    HWND capture_after;
    Trace messages;
    LPARAM lParam;  // of the WM_CAPTURECHANGED, if any
  };
  const Step steps[] = {
      {[&] { SetCapture(view); }, view, {}, 0},
      {[&] { SetCapture(view); }, view, {}, 0},
      {[&] { SetCapture(other); }, other, {"view:WM_CAPTURECHANGED"}, reinterpret_cast<LPARAM>(other)},
      {[&] { SetCapture(view); }, view, {"other:WM_CAPTURECHANGED"}, reinterpret_cast<LPARAM>(view)},
      {[&] { ReleaseCapture(); }, nullptr, {"view:WM_CAPTURECHANGED"}, 0},
      {[&] { ReleaseCapture(); }, nullptr, {}, 0},
  };
  int index = 0;
  for (const Step& step : steps) {
    trace.Clear();
    step.act();
    EXPECT_EQ(desk.Capture(), step.capture_after) << "step " << index;
    EXPECT_EQ(trace.Labelled(), step.messages) << "step " << index;
    if (!step.messages.empty()) {
      EXPECT_EQ(trace.All()[0].lParam, step.lParam) << "step " << index;
    }
    ++index;
  }
  EXPECT_EQ(capture_seen, (std::vector<HWND>{other, nullptr})) << "the change is made before it is told";

  // The user switching to another application takes capture, activation and focus.
  SetCapture(view);
  SetFocus(view);
  trace.Clear();
  user.SwitchToOtherApp();
  EXPECT_EQ(trace.Labelled(),
            (Trace{"view:WM_CAPTURECHANGED", "frame:WM_ACTIVATE", "frame:WM_ACTIVATEAPP", "view:WM_KILLFOCUS"}));
  EXPECT_EQ(trace.Of(WM_ACTIVATEAPP)[0].wParam, WPARAM{FALSE});
  EXPECT_EQ(desk.Foreground(), nullptr);
  EXPECT_EQ(desk.Active(), nullptr);
  EXPECT_EQ(desk.Focus(), nullptr);

  // A captured window that is destroyed hears of it first.
  SetCapture(other);
  trace.Clear();
  DestroyWindow(other);
  EXPECT_EQ(trace.Labelled(), (Trace{"other:WM_CAPTURECHANGED", "other:WM_DESTROY", "other:WM_NCDESTROY"}));
}

TEST_F(InputRouting, AClickOnAnInactiveWindowActivatesItThroughWmMouseActivate) {
  const HWND second = Frame({700, 100, 1000, 400});
  const HWND panel = Child(second, {0, 0, 100, 100});
  SetActiveWindow(frame);
  user.Wait(0);
  trace.Label(second, "second").Label(panel, "panel");
  trace.Clear();
  user.Click(panel, {10, 10});
  EXPECT_EQ(trace.Labelled({WM_MOUSEMOVE, WM_NCPAINT, WM_ERASEBKGND, WM_PAINT}),
            (Trace{"panel:WM_SETCURSOR", "second:WM_SETCURSOR",                                 // the move
                   "panel:WM_MOUSEACTIVATE", "second:WM_MOUSEACTIVATE",                         // the press
                   "frame:WM_ACTIVATE", "second:WM_ACTIVATE", "frame:WM_KILLFOCUS", "second:WM_SETFOCUS",
                   "panel:WM_SETCURSOR", "second:WM_SETCURSOR", "panel:WM_LBUTTONDOWN",
                   "panel:WM_SETCURSOR", "second:WM_SETCURSOR", "panel:WM_LBUTTONUP"}));
  EXPECT_EQ(LOWORD(trace.Of(WM_ACTIVATE, second)[0].wParam), WA_CLICKACTIVE);
  EXPECT_EQ(trace.Of(WM_ACTIVATE, second)[0].lParam, reinterpret_cast<LPARAM>(frame));
  EXPECT_EQ(trace.Of(WM_MOUSEACTIVATE, panel)[0].wParam, reinterpret_cast<WPARAM>(second));
  EXPECT_EQ(trace.Of(WM_MOUSEACTIVATE, panel)[0].lParam, MAKELPARAM(HTCLIENT, WM_LBUTTONDOWN));
  EXPECT_EQ(desk.Foreground(), second);
  EXPECT_EQ(GetTopWindow(nullptr), second);

  // What WM_MOUSEACTIVATE answers decides activation and whether the press arrives.
  struct Case {
    LRESULT answer;
    bool activates;
    bool press_arrives;
  };
  for (const Case& c : {Case{MA_ACTIVATE, true, true}, Case{MA_ACTIVATEANDEAT, true, false},
                        Case{MA_NOACTIVATE, false, true}, Case{MA_NOACTIVATEANDEAT, false, false}}) {
    SetActiveWindow(second);
    Answer(view, WM_MOUSEACTIVATE, c.answer);
    trace.Clear();
    user.Wait(600);  // no double click with the press before
    user.Click(view, {20, 20});
    EXPECT_EQ(desk.Active() == frame, c.activates) << "answer " << c.answer;
    EXPECT_EQ(trace.Count(WM_LBUTTONDOWN, view), c.press_arrives ? 1 : 0) << "answer " << c.answer;
    EXPECT_EQ(trace.Count(WM_LBUTTONUP, view), 1) << "only the press is eaten";
  }
}

TEST_F(InputRouting, ASecondPressSoonAndNearIsADoubleClickForAClassThatAsksForIt) {
  const HWND plain = Child(frame, {300, 10, 400, 110}, 0, WS_CHILD | WS_VISIBLE, kPlainClass);
  trace.Label(plain, "plain");
  const std::set<UINT> buttons{WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK};

  user.DoubleClick(view, {20, 20});
  user.Click(view, {20, 20});
  EXPECT_EQ(trace.Only(buttons), (Trace{"view:WM_LBUTTONDOWN", "view:WM_LBUTTONUP", "view:WM_LBUTTONDBLCLK",
                                        "view:WM_LBUTTONUP", "view:WM_LBUTTONDOWN", "view:WM_LBUTTONUP"}))
      << "a third press starts over";

  struct Case {
    uint32_t pause_ms;
    POINT second_press;
    bool double_click;
  };
  for (const Case& c : {Case{500, {22, 22}, true}, Case{501, {20, 20}, false}, Case{0, {23, 20}, false}}) {
    user.Wait(1000);
    trace.Clear();
    user.Click(view, {20, 20});
    user.Wait(c.pause_ms);
    user.Click(view, c.second_press);
    EXPECT_EQ(trace.Count(WM_LBUTTONDBLCLK), c.double_click ? 1 : 0)
        << c.pause_ms << " ms, at (" << c.second_press.x << "," << c.second_press.y << ")";
  }

  trace.Clear();
  user.DoubleClick(plain, {5, 5});
  EXPECT_EQ(trace.Only(buttons), (Trace{"plain:WM_LBUTTONDOWN", "plain:WM_LBUTTONUP", "plain:WM_LBUTTONDOWN",
                                        "plain:WM_LBUTTONUP"}))
      << "without CS_DBLCLKS the second press stays a press";
}

TEST_F(InputRouting, KeysGoToTheFocusWithTheKeyStateOfTheirMessage) {
  SetFocus(view);
  trace.Clear();
  user.Key('A');
  {
    auto shift = user.Hold(VK_SHIFT);
    user.Key('B');
    user.Key('2');
  }
  user.Type(L"\u00e9");
  std::vector<WPARAM> typed;
  for (const TracedMessage& m : trace.Of(WM_CHAR, view)) typed.push_back(m.wParam);
  EXPECT_EQ(typed, (std::vector<WPARAM>{L'a', L'B', L'@', 0xE9}));
  EXPECT_EQ(trace.Count(WM_KEYDOWN, view), 4);
  EXPECT_EQ(trace.Count(WM_KEYDOWN, frame), 0);

  // Alt makes system keys and characters; a key repeated carries the previous-state bit.
  trace.Clear();
  {
    auto alt = user.Hold(VK_MENU);
    user.KeyDown('X');
    user.KeyDown('X');
    user.KeyUp('X');
  }
  EXPECT_EQ(trace.Labelled(), (Trace{"view:WM_SYSKEYDOWN", "view:WM_SYSKEYDOWN", "view:WM_SYSCHAR",
                                     "view:WM_SYSKEYDOWN", "view:WM_SYSCHAR", "view:WM_SYSKEYUP", "view:WM_SYSKEYUP"}));
  const auto presses = trace.Of(WM_SYSKEYDOWN);
  EXPECT_EQ(presses[1].lParam & (LPARAM{1} << 29), LPARAM{1} << 29) << "the context code: Alt is down";
  EXPECT_EQ(presses[1].lParam & (LPARAM{1} << 30), 0) << "first press";
  EXPECT_EQ(presses[2].lParam & (LPARAM{1} << 30), LPARAM{1} << 30) << "repeat";

  // Without a focus, keys go to the active window as system keys.
  SetFocus(nullptr);
  trace.Clear();
  user.Key(VK_F2);
  EXPECT_EQ(trace.Labelled(), (Trace{"frame:WM_SYSKEYDOWN", "frame:WM_SYSKEYUP"}));

  // The thread's key state follows the messages it took; the desktop's, the hand.
  SetFocus(view);
  user.SetAutoPump(false);
  user.KeyDown(VK_CONTROL);
  EXPECT_LT(GetAsyncKeyState(VK_CONTROL), 0);
  EXPECT_GE(GetKeyState(VK_CONTROL), 0) << "not yet retrieved";
  user.Pump();
  EXPECT_LT(GetKeyState(VK_CONTROL), 0);
  user.KeyUp(VK_CONTROL);
  user.Pump();
  EXPECT_EQ(GetKeyState(VK_CAPITAL) & 1, 0);
  user.Key(VK_CAPITAL);
  user.Pump();
  EXPECT_EQ(GetKeyState(VK_CAPITAL) & 1, 1) << "a press toggles";
}

TEST_F(InputRouting, MouseMessagesCarryTheKeysAndTheLogicalButtons) {
  {
    auto control = user.Hold(VK_CONTROL);
    user.Drag(view, {10, 10}, {30, 30}, {MouseButton::Left, 2});
  }
  const auto down = trace.Of(WM_LBUTTONDOWN)[0];
  EXPECT_EQ(down.wParam, MK_LBUTTON | MK_CONTROL);
  const auto moves = trace.Of(WM_MOUSEMOVE);
  EXPECT_EQ(moves.back().wParam, MK_LBUTTON | MK_CONTROL) << "moves during the drag";
  EXPECT_EQ(trace.Of(WM_LBUTTONUP)[0].wParam, MK_CONTROL) << "the released button is up";

  // Swapped, the left button of the hand sends right-button messages.
  user.SwapButtons(true);
  EXPECT_EQ(GetSystemMetrics(SM_SWAPBUTTON), 1);
  trace.Clear();
  user.Wait(600);
  user.MoveTo(view, {40, 40});
  user.Press(MouseButton::Left);
  EXPECT_EQ(trace.Count(WM_RBUTTONDOWN, view), 1);
  EXPECT_EQ(trace.Of(WM_RBUTTONDOWN)[0].wParam, MK_RBUTTON);
  EXPECT_LT(GetAsyncKeyState(VK_LBUTTON), 0) << "the physical button";
  EXPECT_LT(GetKeyState(VK_RBUTTON), 0) << "the logical one";
  user.Release(MouseButton::Left);
  user.SwapButtons(false);

  // The wheel reaches the focus window; a child passes it up.
  SetFocus(view);
  trace.Clear();
  user.Wheel(-WHEEL_DELTA);
  EXPECT_EQ(trace.Labelled(), (Trace{"view:WM_MOUSEWHEEL", "frame:WM_MOUSEWHEEL"}));
  EXPECT_EQ(GET_WHEEL_DELTA_WPARAM(trace.All()[0].wParam), -WHEEL_DELTA);
  EXPECT_EQ(trace.All()[0].lParam, MAKELPARAM(158, 181)) << "in screen coordinates";
}

TEST_F(InputRouting, MovesNotYetTakenBecomeOneAndInputWaitsInOrder) {
  user.SetAutoPump(false);
  user.MoveTo(view, {1, 1});
  user.MoveTo(view, {2, 2});
  user.MoveTo(view, {3, 3});
  EXPECT_EQ(GetQueueStatus(QS_INPUT), (QS_MOUSEMOVE << 16) | QS_MOUSEMOVE);
  user.Press(MouseButton::Left);
  user.MoveTo(view, {4, 4});
  user.Release(MouseButton::Left);
  EXPECT_EQ(GetQueueStatus(QS_INPUT) >> 16, QS_MOUSEMOVE | QS_MOUSEBUTTON);
  user.Pump();
  EXPECT_EQ(trace.Labelled({WM_SETCURSOR, WM_MOUSEACTIVATE}),
            (Trace{"view:WM_MOUSEMOVE", "view:WM_LBUTTONDOWN", "view:WM_MOUSEMOVE", "view:WM_LBUTTONUP"}));
  EXPECT_EQ(trace.Of(WM_MOUSEMOVE)[0].lParam, MAKELPARAM(3, 3));
  EXPECT_EQ(GetQueueStatus(QS_INPUT), 0u);
}

TEST_F(InputRouting, ADisabledWindowAndWhatLiesInItGetNoInput) {
  EnableWindow(frame, FALSE);
  trace.Clear();
  user.Click(view, {5, 5});
  user.Close(frame);
  EXPECT_TRUE(trace.All().empty()) << "inside a disabled parent: " << trace.Labelled().size() << " messages";
  EXPECT_TRUE(IsWindow(frame));
  EnableWindow(frame, TRUE);
  const HWND disabled_child = Child(frame, {300, 10, 400, 110}, 0, WS_CHILD | WS_VISIBLE | WS_DISABLED);
  trace.Clear();
  user.Wait(600);
  user.Click(disabled_child, {5, 5});
  EXPECT_EQ(trace.Only({WM_LBUTTONDOWN, WM_LBUTTONUP}), (Trace{"frame:WM_LBUTTONDOWN", "frame:WM_LBUTTONUP"}))
      << "a disabled child lets the click through to its parent";
}

}  // namespace
