// Timers on the model clock, and the loops that headless hosts and tests run.

#include <gtest/gtest.h>

#include <thread>

#include "RecordingWindow.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/Timer.h"

namespace {

using Ostrum::Desktop::HeadlessDriver;

class TimerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    }
    m_hwnd = m_class.MessageOnly();
    ASSERT_NE(m_hwnd, nullptr);
    t_received.clear();
  }
  void TearDown() override { DestroyWindow(m_hwnd); }

  // Ticks relative to the start of the test at which the window received WM_TIMER `id`.
  std::vector<DWORD> TimerTicks(WPARAM id) const {
    std::vector<DWORD> ticks;
    for (const Received& r : t_received)
      if (r.message == WM_TIMER && r.wParam == id) ticks.push_back(r.tick - m_start);
    return ticks;
  }
  static bool TimerWaits() { return (GetQueueStatus(QS_TIMER) >> 16) == QS_TIMER; }

  RecordingClass m_class{L"Model.Timers"};
  HWND m_hwnd = nullptr;
  HeadlessDriver m_driver;
  DWORD m_start = GetTickCount();
};

using Ticks = std::vector<DWORD>;

TEST_F(TimerTest, DueAfterItsPeriodThenAgainAfterBeingTaken) {
  EXPECT_EQ(m_driver.Now(), GetTickCount()) << "the driver moves the clock GetTickCount reads";
  ASSERT_EQ(SetTimer(m_hwnd, 1, 30, nullptr), 1u);
  m_driver.AdvanceClock(29);
  EXPECT_FALSE(TimerWaits());
  m_driver.AdvanceClock(1);
  EXPECT_EQ(GetQueueStatus(QS_ALLEVENTS), (QS_TIMER << 16) | QS_TIMER) << "due, and new since the last look";
  EXPECT_EQ(GetQueueStatus(QS_ALLEVENTS), QS_TIMER << 16);

  m_driver.AdvanceClock(100);  // due several times over: still one message
  MSG msg;
  ASSERT_TRUE(PeekMessageW(&msg, nullptr, 0, 0, PM_NOREMOVE));
  EXPECT_EQ(msg.message, WM_TIMER);
  ASSERT_TRUE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(msg.hwnd, m_hwnd);
  EXPECT_EQ(msg.wParam, 1u);
  EXPECT_FALSE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) << "the next period counts from the taking";
  m_driver.AdvanceClock(30);
  EXPECT_TRUE(TimerWaits());
  EXPECT_TRUE(KillTimer(m_hwnd, 1));
  EXPECT_FALSE(TimerWaits()) << "a killed timer's due message is not delivered";
  EXPECT_FALSE(KillTimer(m_hwnd, 1));
}

TEST_F(TimerTest, PeriodsAreClampedAndSettingAgainRestarts) {
  SetTimer(m_hwnd, 1, 1, nullptr);
  m_driver.AdvanceClock(9);
  EXPECT_FALSE(TimerWaits()) << "periods below 10 ms are raised to 10";
  m_driver.AdvanceClock(1);
  EXPECT_TRUE(TimerWaits());

  SetTimer(m_hwnd, 1, 30, nullptr);
  EXPECT_FALSE(TimerWaits()) << "setting again restarts with the new period";
  m_driver.AdvanceClock(29);
  EXPECT_FALSE(TimerWaits());
  m_driver.AdvanceClock(1);
  EXPECT_TRUE(TimerWaits());
  KillTimer(m_hwnd, 1);
}

TEST_F(TimerTest, ThreadTimersGetIdsOfTheirOwnAndWindowsOfOtherThreadsAreRefused) {
  const UINT_PTR id = SetTimer(nullptr, 12345, 10, nullptr);
  ASSERT_NE(id, 0u);
  EXPECT_EQ(SetTimer(nullptr, id, 20, nullptr), id) << "an existing thread timer is reset";
  const UINT_PTR second = SetTimer(nullptr, 0, 10, nullptr);
  EXPECT_NE(second, id);
  m_driver.AdvanceClock(10);
  MSG msg;
  ASSERT_TRUE(PeekMessageW(&msg, HWND_THREAD_MESSAGES, 0, 0, PM_REMOVE));
  EXPECT_EQ(msg.message, WM_TIMER);
  EXPECT_EQ(msg.wParam, second);
  EXPECT_TRUE(KillTimer(nullptr, id));
  EXPECT_TRUE(KillTimer(nullptr, second));

  UINT_PTR from_other = 1;
  DWORD error = 0;
  std::thread([&] {
    from_other = SetTimer(m_hwnd, 1, 10, nullptr);
    error = GetLastError();
  }).join();
  EXPECT_EQ(from_other, 0u);
  EXPECT_EQ(error, ERROR_ACCESS_DENIED);
}

TEST_F(TimerTest, RunForFiresTimersAtTheirDueTimes) {
  SetTimer(m_hwnd, 10, 10, nullptr);
  SetTimer(m_hwnd, 25, 25, nullptr);
  Ostrum::Desktop::RunFor(60);
  EXPECT_EQ(GetTickCount() - m_start, 60u);
  EXPECT_EQ(TimerTicks(10), (Ticks{10, 20, 30, 40, 50, 60}));
  EXPECT_EQ(TimerTicks(25), (Ticks{25, 50}));
  KillTimer(m_hwnd, 10);
  KillTimer(m_hwnd, 25);
}

TEST_F(TimerTest, RunUntilIdleEndsWithTheLastTimerOrAtItsLimit) {
  int fired = 0;
  t_reaction = [&](HWND hwnd, UINT message, WPARAM wParam, LPARAM) -> std::optional<LRESULT> {
    if (message == WM_TIMER && ++fired == 3) KillTimer(hwnd, wParam);
    return std::nullopt;
  };
  SetTimer(m_hwnd, 1, 15, nullptr);
  EXPECT_EQ(Ostrum::Desktop::RunUntilIdle(), 3);
  EXPECT_EQ(TimerTicks(1), (Ticks{15, 30, 45}));
  EXPECT_EQ(GetTickCount() - m_start, 45u) << "no time passes once nothing is left";

  t_received.clear();
  m_start = GetTickCount();
  SetTimer(m_hwnd, 2, 100, nullptr);  // never killed by the reaction (fired is past 3)
  Ostrum::Desktop::RunUntilIdle(250);
  EXPECT_EQ(TimerTicks(2), (Ticks{100, 200}));
  EXPECT_EQ(GetTickCount() - m_start, 250u);
  KillTimer(m_hwnd, 2);
}

TEST_F(TimerTest, PumpDispatchesWhatProceduresPostAndStopsAtQuit) {
  t_reaction = [](HWND hwnd, UINT message, WPARAM wParam, LPARAM) -> std::optional<LRESULT> {
    if (message == WM_APP && wParam < 3) PostMessageW(hwnd, WM_APP, wParam + 1, 0);
    if (message == WM_APP && wParam == 3) PostQuitMessage(9);
    return std::nullopt;
  };
  PostMessageW(m_hwnd, WM_APP, 0, 0);
  const DWORD before = GetTickCount();
  EXPECT_EQ(Ostrum::Desktop::PumpWaitingMessages(), 4);
  EXPECT_EQ(GetTickCount(), before) << "pumping does not move the clock";
  MSG msg;
  ASSERT_TRUE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) << "WM_QUIT is left for the host's loop";
  EXPECT_EQ(msg.message, WM_QUIT);
  EXPECT_EQ(msg.wParam, 9u);
}

}  // namespace
