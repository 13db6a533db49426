// The thread's message queue: posting, input, the queue status, the order of retrieval,
// filters, translation and dispatch, and posting between threads.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "RecordingWindow.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Timer.h"

namespace {

using Ostrum::Desktop::HeadlessDriver;

class MessageQueueTest : public ::testing::Test {
 protected:
  void SetUp() override {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    }
    GetQueueStatus(QS_ALLINPUT);  // forget what arrived before
    m_hwnd = m_class.MessageOnly();
    ASSERT_NE(m_hwnd, nullptr);
  }
  void TearDown() override { DestroyWindow(m_hwnd); }

  // The messages that can be taken now, in order, as (message, wParam).
  static std::vector<std::pair<UINT, WPARAM>> Drain() {
    std::vector<std::pair<UINT, WPARAM>> taken;
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) taken.emplace_back(msg.message, msg.wParam);
    return taken;
  }

  RecordingClass m_class{L"Model.Queue"};
  HWND m_hwnd = nullptr;
  HeadlessDriver m_driver;
};

using Taken = std::vector<std::pair<UINT, WPARAM>>;

TEST_F(MessageQueueTest, PostedMessagesKeepTheirOrderAndShowInTheStatus) {
  EXPECT_EQ(GetQueueStatus(QS_ALLEVENTS), 0u);
  for (WPARAM i = 1; i <= 3; ++i) ASSERT_TRUE(PostMessageW(m_hwnd, WM_APP + 1, i, 0));
  // Waiting now (high word) and arrived since the last look (low word); the second look finds
  // nothing new.
  EXPECT_EQ(GetQueueStatus(QS_ALLEVENTS), (QS_POSTMESSAGE << 16) | QS_POSTMESSAGE);
  EXPECT_EQ(GetQueueStatus(QS_ALLEVENTS), QS_POSTMESSAGE << 16);
  EXPECT_EQ(GetQueueStatus(QS_ALLPOSTMESSAGE), QS_ALLPOSTMESSAGE << 16);
  EXPECT_EQ(GetQueueStatus(QS_INPUT), 0u) << "kinds outside the flags are not reported";

  MSG msg;
  ASSERT_TRUE(PeekMessageW(&msg, nullptr, 0, 0, PM_NOREMOVE));
  EXPECT_EQ(msg.wParam, 1u) << "a peek without removal leaves the message";
  ASSERT_EQ(GetMessageW(&msg, nullptr, 0, 0), 1);
  EXPECT_EQ(msg.hwnd, m_hwnd);
  EXPECT_EQ(msg.message, WM_APP + 1);
  EXPECT_EQ(msg.wParam, 1u);
  EXPECT_EQ(Drain(), (Taken{{WM_APP + 1, 2}, {WM_APP + 1, 3}}));
  EXPECT_EQ(GetQueueStatus(QS_ALLEVENTS), 0u);
}

TEST_F(MessageQueueTest, InputIsReportedByKindAndTakenAfterPostedMessages) {
  ASSERT_TRUE(m_driver.InjectInput(m_hwnd, WM_KEYDOWN, 'A'));
  EXPECT_EQ(GetQueueStatus(QS_ALLEVENTS), (QS_KEY << 16) | QS_KEY);
  ASSERT_TRUE(m_driver.InjectInput(m_hwnd, WM_MOUSEMOVE));
  ASSERT_TRUE(m_driver.InjectInput(m_hwnd, WM_LBUTTONDOWN));
  EXPECT_EQ(GetQueueStatus(QS_ALLEVENTS) >> 16, QS_KEY | QS_MOUSEMOVE | QS_MOUSEBUTTON);
  EXPECT_EQ(GetQueueStatus(QS_MOUSE) >> 16, QS_MOUSE);
  ASSERT_TRUE(PostMessageW(m_hwnd, WM_APP, 9, 0));
  EXPECT_FALSE(m_driver.InjectInput(m_hwnd, WM_APP)) << "only input can be injected";

  EXPECT_EQ(Drain(), (Taken{{WM_APP, 9}, {WM_KEYDOWN, 'A'}, {WM_MOUSEMOVE, 0}, {WM_LBUTTONDOWN, 0}}));
  EXPECT_EQ(GetQueueStatus(QS_ALLEVENTS), 0u);
}

TEST_F(MessageQueueTest, QuitComesAfterPostedAndInputAndBeforeTimers) {
  ASSERT_NE(SetTimer(m_hwnd, 5, 10, nullptr), 0u);
  m_driver.AdvanceClock(10);
  ASSERT_TRUE(m_driver.InjectInput(m_hwnd, WM_KEYUP, 'Q'));
  PostQuitMessage(3);
  ASSERT_TRUE(PostMessageW(m_hwnd, WM_USER, 1, 0));

  MSG msg;
  EXPECT_EQ(GetMessageW(&msg, nullptr, 0, 0), 1);
  EXPECT_EQ(msg.message, WM_USER);
  EXPECT_EQ(GetMessageW(&msg, nullptr, 0, 0), 1);
  EXPECT_EQ(msg.message, WM_KEYUP);
  EXPECT_EQ(GetMessageW(&msg, nullptr, WM_USER, WM_USER), 0) << "WM_QUIT passes any filter";
  EXPECT_EQ(msg.message, WM_QUIT);
  EXPECT_EQ(msg.wParam, 3u);
  EXPECT_EQ(GetMessageW(&msg, nullptr, 0, 0), 1);
  EXPECT_EQ(msg.message, WM_TIMER);
  EXPECT_EQ(msg.wParam, 5u);
  KillTimer(m_hwnd, 5);
}

TEST_F(MessageQueueTest, FiltersChooseByWindowAndNumber) {
  HWND other = m_class.MessageOnly();
  PostMessageW(other, WM_APP, 1, 0);
  PostMessageW(m_hwnd, WM_USER, 2, 0);
  PostMessageW(nullptr, WM_APP, 3, 0);  // a message of the thread
  PostMessageW(m_hwnd, WM_APP, 4, 0);

  MSG msg;
  ASSERT_TRUE(PeekMessageW(&msg, m_hwnd, WM_APP, WM_APP, PM_REMOVE));
  EXPECT_EQ(msg.wParam, 4u);
  ASSERT_TRUE(PeekMessageW(&msg, HWND_THREAD_MESSAGES, 0, 0, PM_REMOVE));
  EXPECT_EQ(msg.wParam, 3u);
  EXPECT_EQ(msg.hwnd, nullptr);
  EXPECT_FALSE(PeekMessageW(&msg, HWND_THREAD_MESSAGES, 0, 0, PM_REMOVE));
  ASSERT_TRUE(PeekMessageW(&msg, other, 0, 0, PM_REMOVE));
  EXPECT_EQ(msg.wParam, 1u);
  EXPECT_EQ(Drain(), (Taken{{WM_USER, 2}}));

  DestroyWindow(other);
  EXPECT_EQ(GetMessageW(&msg, other, 0, 0), -1) << "a filter on no window is an error";
  EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
}

TEST_F(MessageQueueTest, PostingFailsForNoWindowAndBeyondTheQuota) {
  EXPECT_FALSE(PostMessageW(reinterpret_cast<HWND>(uintptr_t{0x8}), WM_APP, 0, 0));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
  EXPECT_FALSE(PostMessageW(HWND_BROADCAST, WM_APP, 0, 0));
  for (UINT i = 0; i < POSTED_MESSAGE_QUOTA; ++i) ASSERT_TRUE(PostMessageW(m_hwnd, WM_APP, i, 0)) << i;
  EXPECT_FALSE(PostMessageW(m_hwnd, WM_APP, 0, 0));
  EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_QUOTA);
  EXPECT_EQ(Drain().size(), POSTED_MESSAGE_QUOTA);
  EXPECT_TRUE(PostMessageW(m_hwnd, WM_APP, 0, 0)) << "room again once drained";
}

TEST_F(MessageQueueTest, TranslatedCharacterIsReadNext) {
  PostMessageW(m_hwnd, WM_APP, 0, 0);
  ASSERT_TRUE(m_driver.InjectKeyPress(m_hwnd, 'K'));
  MSG msg;
  ASSERT_TRUE(PeekMessageW(&msg, nullptr, WM_KEYFIRST, WM_KEYLAST, PM_REMOVE));
  ASSERT_EQ(msg.message, WM_KEYDOWN);
  EXPECT_TRUE(TranslateMessage(&msg));
  EXPECT_EQ(Drain(), (Taken{{WM_CHAR, L'k'}, {WM_APP, 0}, {WM_KEYUP, 'K'}}));

  MSG shift{m_hwnd, WM_KEYDOWN, 0x10, 0, 0, {}};
  EXPECT_FALSE(TranslateMessage(&shift)) << "a key that types nothing";
  MSG up{m_hwnd, WM_KEYUP, 'K', 0, 0, {}};
  EXPECT_FALSE(TranslateMessage(&up));
  EXPECT_TRUE(Drain().empty());
}

void CALLBACK CountingTimerProc(HWND, UINT, UINT_PTR, DWORD);
int g_timer_proc_calls = 0;
void CALLBACK CountingTimerProc(HWND, UINT, UINT_PTR, DWORD) { ++g_timer_proc_calls; }

TEST_F(MessageQueueTest, DispatchCallsTheWindowOrTheLiveTimersProcedure) {
  t_received.clear();
  MSG to_window{m_hwnd, WM_USER + 3, 1, 2, 0, {}};
  DispatchMessageW(&to_window);
  EXPECT_EQ(ReceivedMessages(m_hwnd), (std::vector<UINT>{WM_USER + 3}));

  MSG to_thread{nullptr, WM_USER, 0, 0, 0, {}};
  EXPECT_EQ(DispatchMessageW(&to_thread), 0);

  g_timer_proc_calls = 0;
  ASSERT_NE(SetTimer(m_hwnd, 2, 10, CountingTimerProc), 0u);
  m_driver.AdvanceClock(10);
  MSG msg;
  ASSERT_TRUE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE));
  ASSERT_EQ(msg.message, WM_TIMER);
  t_received.clear();
  DispatchMessageW(&msg);
  EXPECT_EQ(g_timer_proc_calls, 1);
  EXPECT_TRUE(t_received.empty()) << "a timer procedure replaces the window's";
  KillTimer(m_hwnd, 2);
  DispatchMessageW(&msg);
  EXPECT_EQ(g_timer_proc_calls, 1) << "a killed timer's procedure is not called from a stale message";
}

TEST_F(MessageQueueTest, AnotherThreadsPostWakesAWaitingGetMessage) {
  const DWORD me = GetCurrentThreadId();
  std::atomic<bool> waiting{false};
  std::thread poster([&] {
    while (!waiting.load()) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    PostMessageW(m_hwnd, WM_APP + 7, 1, 0);
    PostThreadMessageW(me, WM_APP + 8, 2, 0);
    m_driver.InjectInput(m_hwnd, WM_KEYDOWN, 'Z');
  });
  waiting = true;
  MSG msg;
  ASSERT_EQ(GetMessageW(&msg, nullptr, 0, 0), 1) << "blocks until the post arrives (no timer is set)";
  EXPECT_EQ(msg.message, WM_APP + 7);
  poster.join();
  EXPECT_EQ(Drain(), (Taken{{WM_APP + 8, 2}, {WM_KEYDOWN, 'Z'}}));
  EXPECT_FALSE(PostThreadMessageW(0xFFFFFFF0u, WM_APP, 0, 0));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_THREAD_ID);
}

TEST_F(MessageQueueTest, EachThreadHasItsOwnQueue) {
  PostMessageW(nullptr, WM_APP, 1, 0);
  DWORD seen_by_other = 1;
  std::thread([&] { seen_by_other = GetQueueStatus(QS_ALLEVENTS); }).join();
  EXPECT_EQ(seen_by_other, 0u);
  EXPECT_NE(GetQueueStatus(QS_ALLEVENTS), 0u);
  EXPECT_EQ(Drain(), (Taken{{WM_APP, 1}}));
}

}  // namespace
