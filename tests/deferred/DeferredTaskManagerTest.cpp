// The deferred-task manager on one thread: order of posted tasks, the idle queue with its timer
// and its yield to waiting input, expiry, handles that work once, sessions and their end.

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "support/CallLog.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/TickCount.h"
#include "ostrum/foundation/platform/Timer.h"
#include "ostrum/foundation/platform/Window.h"
#include "undo/RecordingAction.h"

namespace {

using Ostrum::DeferredTask;
using Ostrum::DeferredTaskManager;
using Entries = std::vector<std::string>;

constexpr unsigned int kIdle = DeferredTaskManager::IDLE_PRIORITY;
constexpr UINT kRunPosted = 0x8100;

class DeferredTaskManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Drain();
    DeferredTaskManager::StartDeferredTaskManagerSession();
    m_alive = RecordingAction::Alive();
  }
  void TearDown() override {
    DeferredTaskManager::EndDeferredTaskManagerSession();
    Drain();
    EXPECT_EQ(RecordingAction::Alive(), m_alive) << "every task was performed or discarded";
  }
  static void Drain() {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    }
  }

  RecordingAction* Action(const std::string& name, RecordingAction::Reaction on_perform = {}) {
    return new RecordingAction(name, &m_log, std::move(on_perform));
  }
  DeferredTask* Register(const std::string& name, unsigned int priority, unsigned int timeout = 0,
                         RecordingAction::Reaction on_perform = {}) {
    return DeferredTaskManager::RegisterTask(Action(name, std::move(on_perform)), priority, timeout);
  }
  // Takes every waiting run-posted message out of the queue, to count them before dispatching.
  static std::vector<MSG> TakeRunPosted() {
    std::vector<MSG> taken;
    MSG msg;
    while (PeekMessageW(&msg, nullptr, kRunPosted, kRunPosted, PM_REMOVE)) taken.push_back(msg);
    return taken;
  }
  // The next idle run: the one-shot timer comes due 10 ms after it was set.
  void RunIdle() { Ostrum::Desktop::RunFor(10); }
  void PutInput() { ASSERT_TRUE(m_driver.InjectInput(nullptr, WM_KEYDOWN, 'I')); }

  CallLog m_log;
  Ostrum::Desktop::HeadlessDriver m_driver;
  int m_alive = 0;
};

TEST_F(DeferredTaskManagerTest, PostedTasksRunInOneMessageByPriorityThenArrival) {
  DeferredTask* five = Register("a5", 5);
  Register("b1", 1);
  Register("c5", 5);
  Register("d1", 1);
  Register("e0", 0);
  ASSERT_NE(five, nullptr);
  EXPECT_TRUE(five->IsValid());
  EXPECT_TRUE(m_log.empty()) << "nothing runs inside RegisterTask";

  std::vector<MSG> posted = TakeRunPosted();
  ASSERT_EQ(posted.size(), 1u) << "one posted message serves the whole burst";
  DispatchMessageW(&posted[0]);
  EXPECT_EQ(m_log, (Entries{"perform e0", "perform b1", "perform d1", "perform a5", "perform c5"}));
  EXPECT_FALSE(five->IsValid()) << "a handle finds nothing after its task ran";
  EXPECT_FALSE(five->Discard());
}

TEST_F(DeferredTaskManagerTest, ATaskRegisteredByARunWaitsForALaterRun) {
  Register("first", 1, 0, [this] { Register("second", 0); });
  Register("sibling", 2);
  std::vector<MSG> posted = TakeRunPosted();
  ASSERT_EQ(posted.size(), 1u);
  DispatchMessageW(&posted[0]);
  EXPECT_EQ(m_log, (Entries{"perform first", "perform sibling"})) << "the new task waits, despite priority 0";
  posted = TakeRunPosted();
  ASSERT_EQ(posted.size(), 1u) << "a second message was posted for it";
  DispatchMessageW(&posted[0]);
  EXPECT_EQ(m_log.back(), "perform second");

  m_log.clear();
  Register("outer", kIdle, 0, [this] { Register("inner", kIdle); });
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"perform outer"}));
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"perform outer", "perform inner"}));
}

TEST_F(DeferredTaskManagerTest, AHandleWorksOnceDiscardBeforeTheMessageArrives) {
  DeferredTask* task = Register("gone", 1);
  Register("kept", 1);
  EXPECT_TRUE(task->Discard());
  EXPECT_EQ(m_log, (Entries{"discard gone"}));
  EXPECT_FALSE(task->IsValid());
  EXPECT_FALSE(task->Discard()) << "the key works only once";
  Ostrum::Desktop::PumpWaitingMessages();
  EXPECT_EQ(m_log, (Entries{"discard gone", "perform kept"})) << "the run finds nothing for it";
}

TEST_F(DeferredTaskManagerTest, TasksReachedAfterTheirTimeAreDiscarded) {
  Register("late posted", 1, 100);
  Register("early posted", 1, 200);
  Register("late idle", kIdle, 100);
  Register("just in time idle", kIdle, 161);
  m_driver.AdvanceClock(150);
  Ostrum::Desktop::PumpWaitingMessages();  // the posted run at +150; the idle timer too is due
  EXPECT_EQ(m_log, (Entries{"discard late posted", "perform early posted", "discard late idle",
                                      "perform just in time idle"}))
     ;

  Register("at its expiry", 1, 10);
  m_driver.AdvanceClock(10);
  Ostrum::Desktop::PumpWaitingMessages();
  EXPECT_EQ(m_log.back(), "discard at its expiry") << "performed only while the clock is below";
}

TEST_F(DeferredTaskManagerTest, IdleTasksRunTenMillisecondsLaterOnAOneShotTimer) {
  Register("a", kIdle);
  m_driver.AdvanceClock(9);
  Register("b", kIdle);
  Ostrum::Desktop::PumpWaitingMessages();
  EXPECT_TRUE(m_log.empty());
  m_driver.AdvanceClock(1);  // 10 ms after the first idle task, whatever came later
  Ostrum::Desktop::PumpWaitingMessages();
  EXPECT_EQ(m_log, (Entries{"perform a", "perform b"}));
  MSG msg;
  m_driver.AdvanceClock(10);
  EXPECT_FALSE(PeekMessageW(&msg, nullptr, WM_TIMER, WM_TIMER, PM_NOREMOVE)) << "the handler killed the timer";
}

TEST_F(DeferredTaskManagerTest, IdleRunYieldsToWaitingInputAndResumesWhenTheQueueHasDrained) {
  std::vector<DWORD> ticks;
  const DWORD start = GetTickCount();
  auto note = [&] { ticks.push_back(GetTickCount() - start); };
  Register("1", kIdle, 0, [&] {
    note();
    PutInput();  // the user presses a key while the first task runs
  });
  DeferredTask* second = Register("2", kIdle, 0, note);
  Register("3", kIdle, 0, note);

  m_driver.AdvanceClock(10);
  MSG timer;
  ASSERT_TRUE(PeekMessageW(&timer, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE));
  DispatchMessageW(&timer);
  EXPECT_EQ(m_log, (Entries{"perform 1"})) << "one task, then the key comes first";
  EXPECT_TRUE(second->IsValid());

  // The host's loop takes the key, then the timer set again 10 ms later resumes the run.
  Ostrum::Desktop::RunUntilIdle();
  EXPECT_EQ(m_log, (Entries{"perform 1", "perform 2", "perform 3"}));
  EXPECT_EQ(ticks, (std::vector<DWORD>{10, 20, 20}));
}

TEST_F(DeferredTaskManagerTest, IdleRunYieldsAlsoToPostedWorkAndDropsDiscardedEntries) {
  DeferredTask* third = nullptr;
  Register("1", kIdle, 0, [&] {
    Register("posted", 1);  // its message now waits in the queue
    third->Discard();
  });
  Register("2", kIdle);
  third = Register("3", kIdle);
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"perform 1", "discard 3", "perform posted"}));
  RunIdle();
  EXPECT_EQ(m_log.back(), "perform 2");
  EXPECT_EQ(m_log.size(), 4u);
}

TEST_F(DeferredTaskManagerTest, IdleRunYieldsToAMessageFromAnotherThreadAndToADueTimer) {
  // Another thread posts to this one while the first task runs.
  const DWORD me = GetCurrentThreadId();
  Register("1", kIdle, 0, [me] { std::thread([me] { EXPECT_TRUE(PostThreadMessageW(me, WM_APP + 7, 0, 0)); }).join(); });
  Register("2", kIdle);
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"perform 1"}));
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"perform 1", "perform 2"}));

  // A timer of the host's comes due with the idle timer, set after it: the idle run goes
  // first, and after one task the due timer is waiting.
  m_log.clear();
  Register("3", kIdle);
  Register("4", kIdle);
  const UINT_PTR host_timer = SetTimer(nullptr, 0, 10, nullptr);
  ASSERT_NE(host_timer, 0u);
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"perform 3"}));
  KillTimer(nullptr, host_timer);
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"perform 3", "perform 4"}));
}

TEST_F(DeferredTaskManagerTest, IdleTasksRegisteredByAnInterruptedRunRunAfterItsRest) {
  // The run yields to input after a task that registered another idle task: its unfinished
  // entry and the new one both wait, the unfinished first, and both run once the queue drained.
  DeferredTask* inner = nullptr;
  Register("1", kIdle, 0, [&] {
    inner = Register("inner", kIdle);
    PutInput();
  });
  DeferredTask* rest = Register("2", kIdle);
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"perform 1"}));
  ASSERT_NE(inner, nullptr);
  EXPECT_TRUE(inner->IsValid() && rest->IsValid()) << "both still wait";
  Ostrum::Desktop::RunUntilIdle();
  EXPECT_EQ(m_log, (Entries{"perform 1", "perform 2", "perform inner"}));
  EXPECT_FALSE(inner->IsValid());
  EXPECT_FALSE(rest->Discard()) << "a task that ran is gone from the table";
}

TEST_F(DeferredTaskManagerTest, EndingTheSessionDiscardsEverythingIdleFirstAndASecondStartKeepsIt) {
  Register("posted 3", 3);
  Register("idle a", kIdle);
  DeferredTaskManager::StartDeferredTaskManagerSession();  // keeps the session and its queues
  Register("posted 1", 1);
  Register("idle b", kIdle, 0);
  RecordingAction* orphan = Action("orphan");
  DeferredTask* again = reinterpret_cast<DeferredTask*>(1);
  DeferredTaskManager::RegisterTask(new RecordingAction("last", &m_log, {}, [&] {
                                      again = DeferredTaskManager::RegisterTask(orphan, 1, 0);
                                    }),
                                    kIdle, 0);
  DeferredTaskManager::EndDeferredTaskManagerSession();
  EXPECT_EQ(m_log, (Entries{"discard idle a", "discard idle b", "discard last", "discard posted 1",
                            "discard posted 3"}));
  EXPECT_EQ(again, nullptr) << "what a discard registers at the end finds no session";
  EXPECT_EQ(Ostrum::Desktop::RunUntilIdle(), 0) << "the window is gone with its message and timer";

  EXPECT_EQ(DeferredTaskManager::RegisterTask(orphan, 1, 0), nullptr) << "no session, no task";
  EXPECT_EQ(m_log.size(), 5u) << "and the action stays with the caller";
  orphan->Discard();
  DeferredTaskManager::EndDeferredTaskManagerSession();  // nothing to end: no effect
}

TEST_F(DeferredTaskManagerTest, ATaskThatEndsTheSessionLeavesTheRestDiscarded) {
  Register("ender", 1, 0, [] { DeferredTaskManager::EndDeferredTaskManagerSession(); });
  Register("after", 2);
  Ostrum::Desktop::PumpWaitingMessages();
  EXPECT_EQ(m_log, (Entries{"perform ender", "discard after"}));
}

TEST_F(DeferredTaskManagerTest, AThrowingTaskLeavesTheRestOfItsQueueToItsHolders) {
  Register("throws", 1, 0, [] { throw std::runtime_error("task failed"); });
  DeferredTask* stranded = Register("stranded", 2);
  std::vector<MSG> posted = TakeRunPosted();
  ASSERT_EQ(posted.size(), 1u);
  EXPECT_THROW(DispatchMessageW(&posted[0]), std::runtime_error) << "the exception leaves the handler";
  EXPECT_EQ(m_log, (Entries{"perform throws"}));
  EXPECT_TRUE(stranded->IsValid()) << "neither run nor discarded";

  Register("next", 1);
  Ostrum::Desktop::PumpWaitingMessages();
  EXPECT_EQ(m_log.back(), "perform next") << "the session goes on with a new queue";
  EXPECT_TRUE(stranded->Discard());
}

TEST_F(DeferredTaskManagerTest, NullActionIsNotRegistered) {
  EXPECT_EQ(DeferredTaskManager::RegisterTask(nullptr, 1, 0), nullptr);
  EXPECT_EQ(DeferredTaskManager::RegisterTask(nullptr, kIdle, 0), nullptr);
  EXPECT_EQ(Ostrum::Desktop::RunUntilIdle(), 0) << "and nothing was scheduled for it";
}

TEST(DeferredTaskManagerThreads, AThreadWithoutSessionKeepsItsActionAndAnotherThreadHasItsOwn) {
  CallLog log;
  const DWORD main_thread = GetCurrentThreadId();
  DeferredTaskManager::StartDeferredTaskManagerSession();
  DeferredTaskManager::RegisterTask(new RecordingAction("main", &log), 1, 0);

  DWORD ran_on = 0;
  CallLog thread_log;
  std::thread([&] {
    RecordingAction* kept = new RecordingAction("kept", &thread_log);
    EXPECT_EQ(DeferredTaskManager::RegisterTask(kept, 1, 0), nullptr);
    EXPECT_TRUE(thread_log.empty());
    kept->Discard();
    thread_log.clear();

    DeferredTaskManager::StartDeferredTaskManagerSession();
    DeferredTaskManager::RegisterTask(new RecordingAction("thread", &thread_log, [&] { ran_on = GetCurrentThreadId(); }),
                                      1, 0);
    Ostrum::Desktop::RunUntilIdle();
    DeferredTaskManager::EndDeferredTaskManagerSession();
  }).join();

  EXPECT_EQ(thread_log, (Entries{"perform thread"}));
  EXPECT_NE(ran_on, 0u);
  EXPECT_NE(ran_on, main_thread);
  EXPECT_TRUE(log.empty()) << "the main thread's task waits for the main thread's loop";
  Ostrum::Desktop::RunUntilIdle();
  EXPECT_EQ(log, (Entries{"perform main"}));
  DeferredTaskManager::EndDeferredTaskManagerSession();
}

}  // namespace
