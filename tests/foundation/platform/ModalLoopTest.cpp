// Modal loops: what a frame takes from the rest of the thread's windows and gives back, how
// frames nest and end, WM_QUIT inside a frame, frames nobody answers, and input while a frame
// runs.

#include <gtest/gtest.h>

#include <string>

#include "support/CallLog.h"
#include "support/DesktopFixture.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/MessageQueue.h"

namespace {

using Ostrum::Desktop::EndModalFrame;
using Ostrum::Desktop::GetModalFrame;
using Ostrum::Desktop::ModalFrame;
using Ostrum::Desktop::RunModalLoop;

class ModalLoop : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    owner = Frame({100, 100, 600, 500});
    view = Child(owner, {10, 10, 210, 110});
    popup = Frame({200, 200, 400, 300}, WS_POPUP | WS_CAPTION | WS_VISIBLE, owner);
    user.Wait(0);
    trace.Label(owner, "owner").Label(view, "view").Label(popup, "popup");
    trace.Clear();
  }

  HWND owner = nullptr;
  HWND view = nullptr;
  HWND popup = nullptr;
  MessageTrace trace;
};

TEST_F(ModalLoop, AFrameTakesTheCaptureAndItsOwnerAndGivesTheOwnerBackBeforeHidingItsWindow) {
  SetActiveWindow(owner);
  SetCapture(view);
  trace.Clear();
  ModalFrame frame;
  frame.owner = view;  // its top-level window is what gets disabled
  frame.window = popup;
  frame.hide_window_at_end = true;
  frame.description = L"options";
  desk.ExpectModal("options", [&](ModalFrame& running) {
    EXPECT_EQ(&running, &frame);
    EXPECT_EQ(GetModalFrame(0), &frame);
    EXPECT_FALSE(IsWindowEnabled(owner));
    EXPECT_EQ(desk.Capture(), nullptr);
    EXPECT_EQ(desk.Active(), popup);
    EndModalFrame(running, 7);
  });
  EXPECT_EQ(RunModalLoop(frame), 7);
  EXPECT_EQ(trace.Only({WM_CAPTURECHANGED, WM_ENABLE, WM_ACTIVATE, WM_ENTERIDLE, WM_SHOWWINDOW}),
            (Trace{"view:WM_CAPTURECHANGED", "owner:WM_ENABLE", "owner:WM_ACTIVATE", "popup:WM_ACTIVATE",
                   "view:WM_ENTERIDLE", "owner:WM_ENABLE", "popup:WM_SHOWWINDOW", "popup:WM_ACTIVATE",
                   "owner:WM_ACTIVATE"}));
  EXPECT_EQ(trace.Of(WM_ENTERIDLE)[0].wParam, MSGF_DIALOGBOX);
  EXPECT_EQ(trace.Of(WM_ENTERIDLE)[0].lParam, reinterpret_cast<LPARAM>(popup));
  EXPECT_TRUE(IsWindowEnabled(owner));
  EXPECT_FALSE(IsWindowVisible(popup));
  EXPECT_EQ(desk.Active(), owner);
  EXPECT_EQ(GetModalFrame(0), nullptr);
}

TEST_F(ModalLoop, FramesReturnInnermostFirstAndEndingAnOuterOneOnlyMarksIt) {
  ModalFrame outer, inner;
  outer.owner = owner;
  outer.window = popup;
  inner.owner = popup;
  Calls log;
  React(owner, [&](HWND, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
    if (message != WM_APP) return std::nullopt;
    log.push_back("inner starts");
    log.push_back("inner returned " + std::to_string(RunModalLoop(inner)));
    return 0;
  });
  React(popup, [&](HWND, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
    if (message != WM_APP + 1) return std::nullopt;
    log.push_back("inner still runs at depth " + std::to_string(GetModalFrame(1) == &outer ? 2 : 0));
    EndModalFrame(inner, 2);
    return 0;
  });
  desk.ExpectModal("outer", [&](ModalFrame&) { PostMessageW(owner, WM_APP, 0, 0); });
  desk.ExpectModal("inner", [&](ModalFrame&) {
    EndModalFrame(outer, 1);
    log.push_back("outer ended");
    PostMessageW(popup, WM_APP + 1, 0, 0);
  });
  log.push_back("outer returned " + std::to_string(RunModalLoop(outer)));
  EXPECT_EQ(log, (Calls{"inner starts", "outer ended", "inner still runs at depth 2", "inner returned 2",
                        "outer returned 1"}));
  EXPECT_TRUE(IsWindowEnabled(owner));
  EXPECT_TRUE(IsWindowEnabled(popup));
}

TEST_F(ModalLoop, QuitEndsTheFrameAndIsPostedAgainForTheLoopOutside) {
  ModalFrame frame;
  frame.owner = owner;
  desk.ExpectModal("quit", [](ModalFrame&) { PostQuitMessage(5); });
  EXPECT_EQ(RunModalLoop(frame), -1);
  MSG msg;
  ASSERT_TRUE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(msg.message, UINT{WM_QUIT});
  EXPECT_EQ(msg.wParam, 5u);
  EXPECT_TRUE(IsWindowEnabled(owner));
}

TEST_F(ModalLoop, AFrameNobodyAnswersEndsWithItsDefaultAnswerAndIsLogged) {
  ModalFrame frame;
  frame.owner = owner;
  frame.default_answer = 2;
  frame.description = L"save changes?";
  EXPECT_EQ(RunModalLoop(frame), 2);
  EXPECT_TRUE(frame.unanswered);
  EXPECT_EQ(Ostrum::Desktop::GetHeadlessBackend().TakeUnansweredModals(), (std::vector<std::wstring>{L"save changes?"}));
  EXPECT_TRUE(IsWindowEnabled(owner));
}

// A window whose modal loop ends on Escape.
class EscapeWnd : public CWnd {
 protected:
  void OnKeyUp(UINT key, UINT, UINT) {
    if (key == VK_ESCAPE) EndModalLoop(2);
  }
  DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(EscapeWnd, CWnd)
  ON_WM_KEYUP()
END_MESSAGE_MAP()

TEST_F(ModalLoop, WhileAWindowsLoopRunsItsDisabledOwnerGetsNoInput) {
  EscapeWnd dialog;
  ASSERT_TRUE(dialog.CreateEx(0, kWindowClass, L"options", WS_POPUP | WS_VISIBLE, 300, 300, 200, 100, owner, 0));
  trace.Label(dialog.GetSafeHwnd(), "dialog");
  POINT on_view{5, 5};
  ClientToScreen(view, &on_view);
  desk.ExpectModal("options", [&](ModalFrame& frame) {
    EXPECT_EQ(frame.window, dialog.GetSafeHwnd());
    Ostrum::Desktop::InputMouseMove(on_view);
    Ostrum::Desktop::InputMouseButton(MouseButton::Left, true);
    Ostrum::Desktop::InputMouseButton(MouseButton::Left, false);
    Ostrum::Desktop::InputKey(VK_ESCAPE, true);
    Ostrum::Desktop::InputKey(VK_ESCAPE, false);
  });
  trace.Clear();
  EXPECT_EQ(dialog.RunModalLoop(), 2);
  EXPECT_EQ(trace.Only({WM_LBUTTONDOWN, WM_LBUTTONUP, WM_KEYDOWN, WM_KEYUP}),
            (Trace{"dialog:WM_KEYDOWN", "dialog:WM_KEYUP"}));
  EXPECT_TRUE(IsWindowEnabled(owner));
}

}  // namespace
