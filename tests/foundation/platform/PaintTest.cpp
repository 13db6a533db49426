// The painting stage: one update rectangle per window, WM_PAINT made at retrieval for
// parents before children and after posted messages and input but before timers, and
// BeginPaint's frame, background and validation.

#include <gtest/gtest.h>

#include "support/DesktopFixture.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/Timer.h"

namespace {

class Painting : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    back = Frame({0, 0, 400, 300});
    back_child = Child(back, {0, 0, 100, 100});
    front = Frame({500, 0, 900, 300});
    front_a = Child(front, {0, 0, 100, 100});
    front_b = Child(front, {100, 0, 200, 100});
    trace.Label(back, "back").Label(back_child, "back_child").Label(front, "front");
    trace.Label(front_a, "front_a").Label(front_b, "front_b");
    trace.Clear();
  }

  HWND back = nullptr, back_child = nullptr, front = nullptr, front_a = nullptr, front_b = nullptr;
  MessageTrace trace;
};

TEST_F(Painting, WindowsArePaintedParentsFirstFromTheTopAfterPostedMessagesAndBeforeTimers) {
  EXPECT_EQ(GetQueueStatus(QS_PAINT), (QS_PAINT << 16) | QS_PAINT);
  EXPECT_EQ(GetQueueStatus(QS_PAINT), QS_PAINT << 16);
  SetTimer(back, 1, 10, nullptr);
  Ostrum::Desktop::HeadlessDriver().AdvanceClock(10);  // the timer is due, nothing retrieved yet
  trace.Clear();
  PostMessageW(back_child, WM_APP, 0, 0);
  user.Wait(0);
  EXPECT_EQ(trace.Only({WM_APP, WM_PAINT, WM_TIMER}),
            (Trace{"back_child:0x8000", "front:WM_PAINT", "front_b:WM_PAINT", "front_a:WM_PAINT", "back:WM_PAINT",
                   "back_child:WM_PAINT", "back:WM_TIMER"}));
  for (const TracedMessage& paint : trace.Of(WM_PAINT)) EXPECT_TRUE(paint.queued);
  EXPECT_EQ(GetQueueStatus(QS_PAINT), 0u) << "the default handling validated every window";
  KillTimer(back, 1);
}

TEST_F(Painting, BeginPaintDrawsTheFrameThenTheBackgroundThenValidates) {
  user.Wait(0);
  // A window that erases nothing leaves the background to its painter.
  std::vector<PAINTSTRUCT> painted;
  React(front_a, [&](HWND hwnd, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
    if (message == WM_ERASEBKGND) return 0;
    if (message != WM_PAINT) return std::nullopt;
    PAINTSTRUCT paint;
    BeginPaint(hwnd, &paint);
    EXPECT_EQ(desk.UpdateRect(hwnd), (RECT{})) << "validated inside BeginPaint";
    EndPaint(hwnd, &paint);
    painted.push_back(paint);
    return 0;
  });
  MoveWindow(front_a, 0, 0, 120, 110, TRUE);  // resized: the frame and all of it
  InvalidateRect(front_a, nullptr, FALSE);
  trace.Clear();
  user.Wait(0);
  EXPECT_EQ(trace.Names(front_a), (std::vector<std::string>{"WM_PAINT", "WM_NCPAINT", "WM_ERASEBKGND"}));
  ASSERT_EQ(painted.size(), 1u);
  EXPECT_EQ(painted[0].rcPaint, (RECT{0, 0, 120, 110}));
  EXPECT_TRUE(painted[0].fErase) << "the background was not erased";

  // Without erase and frame requests, only the union of what was invalidated.
  const RECT left{10, 10, 20, 20};
  const RECT right{50, 30, 60, 40};
  InvalidateRect(front_a, &left, FALSE);
  InvalidateRect(front_a, &right, FALSE);
  const RECT outside{500, 500, 600, 600};
  InvalidateRect(front_a, &outside, TRUE);
  EXPECT_EQ(desk.UpdateRect(front_a), (RECT{10, 10, 60, 40})) << "one rectangle, clipped to the client area";
  trace.Clear();
  user.Wait(0);
  EXPECT_EQ(trace.Names(front_a), (std::vector<std::string>{"WM_PAINT"}));
  EXPECT_EQ(painted.back().rcPaint, (RECT{10, 10, 60, 40}));
  EXPECT_FALSE(painted.back().fErase);
}

TEST_F(Painting, ValidatingAPartLeavesTheSmallestRectangleAroundTheRest) {
  user.Wait(0);
  struct Case {
    RECT update;
    RECT valid;
    RECT left;
  };
  const Case cases[] = {
      {{0, 0, 100, 100}, {0, 0, 100, 40}, {0, 40, 100, 100}},    // a band across the top
      {{0, 0, 100, 100}, {-5, 70, 105, 120}, {0, 0, 100, 70}},   // across the bottom
      {{0, 0, 100, 100}, {0, -1, 30, 101}, {30, 0, 100, 100}},   // down the left side
      {{0, 0, 100, 100}, {20, 20, 80, 80}, {0, 0, 100, 100}},    // a hole: the whole stays
      {{10, 10, 50, 50}, {0, 0, 100, 100}, {0, 0, 0, 0}},        // all of it
  };
  for (const Case& c : cases) {
    InvalidateRect(front_a, &c.update, FALSE);
    ValidateRect(front_a, &c.valid);
    EXPECT_EQ(desk.UpdateRect(front_a), c.left) << "validating " << c.valid << " of " << c.update;
    ValidateRect(front_a, nullptr);
  }
}

TEST_F(Painting, UpdateWindowPaintsAtOnceOnlyWhatWaits) {
  user.Wait(0);
  trace.Clear();
  UpdateWindow(front);
  EXPECT_TRUE(trace.All().empty()) << "nothing to paint";
  InvalidateRect(front, nullptr, TRUE);
  InvalidateRect(front_a, nullptr, TRUE);
  UpdateWindow(front);
  EXPECT_EQ(trace.Labelled(), (Trace{"front:WM_PAINT", "front:WM_ERASEBKGND"}));
  EXPECT_FALSE(trace.Of(WM_PAINT)[0].queued) << "sent, inside the call";
  EXPECT_EQ(desk.UpdateRect(front_a), (RECT{0, 0, 100, 100})) << "a child waits for the queue";

  // A procedure that takes WM_PAINT without validating gets it again at every retrieval.
  Answer(front_b, WM_PAINT, 0);
  InvalidateRect(front_b, nullptr, FALSE);
  MSG msg;
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(PeekMessageW(&msg, front_b, 0, 0, PM_REMOVE));
    EXPECT_EQ(msg.message, UINT{WM_PAINT});
    DispatchMessageW(&msg);
  }
  ValidateRect(front_b, nullptr);
  EXPECT_FALSE(PeekMessageW(&msg, front_b, 0, 0, PM_REMOVE));
}

}  // namespace
