// The desktop's default handling (DefWindowProcW) as windows rely on it, and the order of the
// focus and activation messages.

#include <gtest/gtest.h>

#include "support/DesktopFixture.h"

namespace {

class DefaultHandling : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    frame = Frame({100, 100, 600, 500});
    view = Child(frame, {10, 10, 210, 110});
    inner = Child(view, {5, 5, 55, 55});
    user.Wait(0);
    trace.Label(frame, "frame").Label(view, "view").Label(inner, "inner");
    trace.Clear();
  }

  HWND frame = nullptr;
  HWND view = nullptr;
  HWND inner = nullptr;
  MessageTrace trace;
};

TEST_F(DefaultHandling, ARightButtonReleaseAsksForAContextMenuUpTheParentChainInScreenCoordinates) {
  user.RightClick(inner, {3, 4});
  EXPECT_EQ(trace.Only({WM_RBUTTONUP, WM_CONTEXTMENU}),
            (Trace{"inner:WM_RBUTTONUP", "inner:WM_CONTEXTMENU", "view:WM_CONTEXTMENU", "frame:WM_CONTEXTMENU"}));
  for (const TracedMessage& m : trace.Of(WM_CONTEXTMENU)) {
    EXPECT_EQ(m.wParam, reinterpret_cast<WPARAM>(inner)) << "the window clicked, all the way up";
    EXPECT_EQ(m.lParam, MAKELPARAM(108 + 10 + 5 + 3, 131 + 10 + 5 + 4));
  }
  // A window that handles it ends the chain.
  Answer(view, WM_CONTEXTMENU, 0);
  trace.Clear();
  user.Wait(600);
  user.RightClick(inner, {3, 4});
  EXPECT_EQ(trace.Only({WM_CONTEXTMENU}), (Trace{"inner:WM_CONTEXTMENU", "view:WM_CONTEXTMENU"}));
}

TEST_F(DefaultHandling, ClosingAsksTheWindowWhichDestroysItselfUnlessItDeclines) {
  Answer(frame, WM_CLOSE, 0);
  user.Close(frame);
  EXPECT_EQ(trace.Labelled(), (Trace{"frame:WM_SYSCOMMAND", "frame:WM_CLOSE"}));
  EXPECT_TRUE(trace.Of(WM_SYSCOMMAND)[0].queued) << "the user's request is retrieved like input";
  EXPECT_EQ(trace.Of(WM_SYSCOMMAND)[0].wParam, SC_CLOSE);
  EXPECT_TRUE(IsWindow(frame)) << "a window may refuse";

  t_reactions.clear();
  SetFocus(inner);
  trace.Clear();
  {
    auto alt = user.Hold(VK_MENU);
    user.Key(VK_F4);
  }
  EXPECT_FALSE(IsWindow(frame)) << "Alt+F4 in a child closes its top-level window";
  EXPECT_EQ(trace.Only({WM_SYSKEYDOWN, WM_SYSCOMMAND, WM_CLOSE, WM_DESTROY}),
            (Trace{"inner:WM_SYSKEYDOWN", "inner:WM_SYSKEYDOWN", "frame:WM_SYSCOMMAND", "frame:WM_CLOSE",
                   "frame:WM_DESTROY", "view:WM_DESTROY", "inner:WM_DESTROY"}));
}

TEST_F(DefaultHandling, MouseActivationAsksTheParentsWhoseAnswerStands) {
  const HWND other = Frame({700, 100, 900, 300});
  user.Wait(0);
  ASSERT_EQ(desk.Active(), other);
  Answer(view, WM_MOUSEACTIVATE, MA_NOACTIVATEANDEAT);
  trace.Clear();
  user.Click(inner, {1, 1});
  EXPECT_EQ(trace.Only({WM_MOUSEACTIVATE, WM_LBUTTONDOWN, WM_LBUTTONUP}),
            (Trace{"inner:WM_MOUSEACTIVATE", "view:WM_MOUSEACTIVATE", "inner:WM_LBUTTONUP"}));
  EXPECT_EQ(desk.Active(), other);
}

TEST_F(DefaultHandling, FocusMovesWithTheOldWindowToldFirstAndActivatesItsTopLevelWindow) {
  const HWND other = Frame({700, 100, 900, 300});
  trace.Label(other, "other");
  user.Wait(0);
  trace.Clear();
  EXPECT_EQ(SetFocus(inner), other) << "answers the focus before";
  EXPECT_EQ(trace.Labelled(), (Trace{"other:WM_ACTIVATE", "frame:WM_ACTIVATE", "other:WM_KILLFOCUS",
                                     "frame:WM_SETFOCUS", "frame:WM_KILLFOCUS", "inner:WM_SETFOCUS"}));
  EXPECT_EQ(trace.Of(WM_KILLFOCUS, frame)[0].wParam, reinterpret_cast<WPARAM>(inner)) << "the window gaining it";
  EXPECT_EQ(trace.Of(WM_SETFOCUS, inner)[0].wParam, reinterpret_cast<WPARAM>(frame)) << "the window losing it";
  EXPECT_EQ(LOWORD(trace.Of(WM_ACTIVATE, other)[0].wParam), WA_INACTIVE);
  EXPECT_EQ(trace.Of(WM_ACTIVATE, other)[0].lParam, reinterpret_cast<LPARAM>(frame));
  EXPECT_EQ(desk.Focus(), inner);

  // Disabling a window takes the focus from inside it.
  trace.Clear();
  EnableWindow(view, FALSE);
  EXPECT_EQ(trace.Labelled(), (Trace{"inner:WM_KILLFOCUS", "view:WM_ENABLE"}));
  EXPECT_EQ(desk.Focus(), nullptr);
  EnableWindow(view, TRUE);

  // Away to another application and back.
  SetFocus(view);
  user.SwitchToOtherApp();
  EXPECT_FALSE(SetForegroundWindow(other)) << "the program cannot take the foreground back";
  EXPECT_EQ(desk.Foreground(), nullptr);
  EXPECT_EQ(desk.Active(), other) << "but its thread's active window changes";
  trace.Clear();
  user.Activate(frame);
  EXPECT_EQ(trace.Labelled(), (Trace{"other:WM_ACTIVATE", "frame:WM_ACTIVATEAPP", "other:WM_ACTIVATEAPP",
                                     "frame:WM_ACTIVATE", "other:WM_KILLFOCUS", "frame:WM_SETFOCUS"}));
  EXPECT_EQ(trace.Of(WM_ACTIVATEAPP)[0].wParam, WPARAM{TRUE});
  EXPECT_EQ(desk.Foreground(), frame);
}

TEST_F(DefaultHandling, DestroyingTheActiveWindowActivatesTheNextOne) {
  const HWND back = Frame({700, 100, 900, 300});
  const HWND front = Frame({700, 400, 900, 600});
  trace.Label(back, "back").Label(front, "front");
  SetFocus(view);
  SetActiveWindow(front);
  trace.Clear();
  DestroyWindow(front);
  EXPECT_EQ(desk.Active(), frame) << "the topmost of the rest";
  EXPECT_EQ(desk.Foreground(), frame);
  EXPECT_EQ(trace.Only({WM_ACTIVATE, WM_DESTROY}), (Trace{"front:WM_ACTIVATE", "frame:WM_ACTIVATE", "front:WM_DESTROY"}));
  (void)back;
}

TEST_F(DefaultHandling, TheWindowTextIsKeptByTheDefaultHandlingOfItsMessages) {
  EXPECT_TRUE(SetWindowTextW(frame, L"Planner - screw.prj"));
  EXPECT_EQ(trace.Labelled(), (Trace{"frame:WM_SETTEXT"}));
  EXPECT_EQ(GetWindowTextLengthW(frame), 19);
  wchar_t text[8];
  EXPECT_EQ(GetWindowTextW(frame, text, 8), 7) << "cut to the buffer";
  EXPECT_STREQ(text, L"Planner");
  Answer(view, WM_GETTEXT, 0);
  EXPECT_EQ(GetWindowTextW(view, text, 8), 0) << "the procedure's answer counts";
}

}  // namespace
