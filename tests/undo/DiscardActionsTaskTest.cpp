// The deferred discard of actions leaving undo history, reached as the undo stacks reach it:
// through the discarding agent, with a deferred-task session on the thread.

#include <gtest/gtest.h>

#include <stdexcept>

#include "RecordingAction.h"
#include "ostrum/document/DeferredTaskManager.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/undo/IActionEnumAgent.h"

namespace {

using Ostrum::DeferredTaskManager;
using Ostrum::IAction;
using Ostrum::Undo::IActionEnumAgent;
using Entries = std::vector<std::string>;

class DiscardActionsTaskTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DeferredTaskManager::StartDeferredTaskManagerSession();
    m_alive = RecordingAction::Alive();
  }
  void TearDown() override {
    DeferredTaskManager::EndDeferredTaskManagerSession();  // disposes of anything still queued
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    }
    EXPECT_EQ(RecordingAction::Alive(), m_alive) << "every action handed over is deleted in the end";
  }

  RecordingAction* Action(const std::string& name, RecordingAction::Reaction on_discard = {}) {
    return new RecordingAction(name, &m_log, {}, std::move(on_discard));
  }
  static void Extract(IAction* action) { IActionEnumAgent::DisacrdActionsAgent()->OnAction(action, "id"); }
  // The idle task runs 10 ms after it was registered.
  static void RunIdle() { Ostrum::Desktop::RunFor(10); }

  CallLog m_log;
  Ostrum::Desktop::HeadlessDriver m_driver;
  int m_alive = 0;
};

TEST_F(DiscardActionsTaskTest, ActionsAreDestroyedAtIdleTimeNotDuringTheCall) {
  Extract(Action("a"));
  EXPECT_TRUE(m_log.empty()) << "nothing is destroyed inside the call that hands it over";
  EXPECT_EQ(RecordingAction::Alive(), m_alive + 1);
  Ostrum::Desktop::PumpWaitingMessages();
  EXPECT_TRUE(m_log.empty()) << "not before the idle time";
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"discard a"}));
  EXPECT_EQ(RecordingAction::Alive(), m_alive);
}

TEST_F(DiscardActionsTaskTest, ActionsQueuedBeforeARunShareOneTaskAndGoInOrder) {
  // The first discard makes input wait, so the idle run yields after its first task. If each
  // action had a task of its own, "b" would wait for the next run.
  Extract(Action("a", [this] { m_driver.InjectInput(nullptr, WM_KEYDOWN, 'X'); }));
  Extract(Action("b"));
  Extract(Action("c"));
  m_driver.AdvanceClock(10);
  MSG timer;
  ASSERT_TRUE(PeekMessageW(&timer, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE));
  DispatchMessageW(&timer);
  EXPECT_EQ(m_log, (Entries{"discard a", "discard b", "discard c"}));
}

TEST_F(DiscardActionsTaskTest, DiscardingFromInsideARunSchedulesANewRun) {
  Extract(Action("a", [this] { Extract(Action("late")); }));
  Extract(Action("b"));
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"discard a", "discard b"})) << "the late action does not join this run";
  EXPECT_EQ(RecordingAction::Alive(), m_alive + 1);
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"discard a", "discard b", "discard late"}));
}

// Throws when disposed of; owned by the test.
class ThrowingAction : public IAction {
 public:
  ~ThrowingAction() override = default;
  int discards = 0;

 protected:
  void _Perform() override {}
  void _Discard() override {
    ++discards;
    throw std::runtime_error("cannot go");
  }
};

TEST_F(DiscardActionsTaskTest, AFailingActionDoesNotKeepTheOthers) {
  ThrowingAction failing;
  Extract(Action("a"));
  Extract(&failing);
  Extract(Action("b"));
  EXPECT_NO_THROW(RunIdle());
  EXPECT_EQ(failing.discards, 1);
  EXPECT_EQ(m_log, (Entries{"discard a", "discard b"}));
}

TEST_F(DiscardActionsTaskTest, WithoutASessionActionsWaitForTheNextScheduling) {
  DeferredTaskManager::EndDeferredTaskManagerSession();
  Extract(Action("early"));
  RunIdle();
  EXPECT_TRUE(m_log.empty()) << "no session, no task: the action waits in the list";
  EXPECT_EQ(RecordingAction::Alive(), m_alive + 1);

  DeferredTaskManager::StartDeferredTaskManagerSession();
  Extract(Action("next"));
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"discard early", "discard next"}));
}

TEST_F(DiscardActionsTaskTest, EndOfTheSessionStillDisposesOfTheQueue) {
  Extract(Action("a"));
  Extract(Action("b"));
  DeferredTaskManager::EndDeferredTaskManagerSession();
  EXPECT_EQ(m_log, (Entries{"discard a", "discard b"})) << "the task is discarded, and that disposes";
  DeferredTaskManager::StartDeferredTaskManagerSession();
  Extract(Action("c"));
  RunIdle();
  EXPECT_EQ(m_log.back(), "discard c") << "a later scheduling registers a new task";
}

}  // namespace
