// Actions leaving an undo history, handed to the discarding agent: disposed of at idle time in
// one run, whatever they do while going, and still disposed of when the session ends.

#include <gtest/gtest.h>

#include <stdexcept>

#include "RecordingAction.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/undo/IActionEnumAgent.h"

namespace {

using Ostrum::DeferredTaskManager;
using Ostrum::IAction;
using Entries = std::vector<std::string>;

class DiscardActionsTaskTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DeferredTaskManager::StartDeferredTaskManagerSession();
    m_alive = RecordingAction::Alive();
  }
  void TearDown() override {
    DeferredTaskManager::EndDeferredTaskManagerSession();
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    }
    EXPECT_EQ(RecordingAction::Alive(), m_alive) << "every action handed over is deleted in the end";
  }
  RecordingAction* Action(const std::string& name, RecordingAction::Reaction on_discard = {}) {
    return new RecordingAction(name, &m_log, {}, std::move(on_discard));
  }
  static void Extract(IAction* action) { Ostrum::Undo::IActionEnumAgent::DisacrdActionsAgent()->OnAction(action, "id"); }
  static void RunIdle() { Ostrum::Desktop::RunFor(10); }  // the idle task comes due 10 ms after it was registered

  CallLog m_log;
  Ostrum::Desktop::HeadlessDriver m_driver;
  int m_alive = 0;
};

// Owned by the test; throws when disposed of.
struct ThrowingAction : IAction {
  ~ThrowingAction() override = default;
  int discards = 0;
  void _Perform() override {}
  void _Discard() override {
    ++discards;
    throw std::runtime_error("cannot go");
  }
};

TEST_F(DiscardActionsTaskTest, OneIdleRunTakesTheQueueInOrderPastAFailureButNotLaterArrivals) {
  // The first discard makes input wait, so the idle run yields after its first task: if each
  // action had a task of its own, the others would wait for the next run.
  ThrowingAction failing;
  Extract(Action("a", [this] {
    m_driver.InjectInput(nullptr, WM_KEYDOWN, 'X');
    Extract(Action("late"));
  }));
  Extract(&failing);
  Extract(Action("b"));
  Ostrum::Desktop::PumpWaitingMessages();
  EXPECT_TRUE(m_log.empty()) << "nothing goes during the hand-over or before the idle time";
  m_driver.AdvanceClock(10);
  MSG timer;
  ASSERT_TRUE(PeekMessageW(&timer, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE));
  EXPECT_NO_THROW(DispatchMessageW(&timer));
  EXPECT_EQ(failing.discards, 1);
  EXPECT_EQ(m_log, (Entries{"discard a", "discard b"}));
  EXPECT_EQ(RecordingAction::Alive(), m_alive + 1) << "the late action waits for a run of its own";
  RunIdle();
  EXPECT_EQ(m_log.back(), "discard late");
}

TEST_F(DiscardActionsTaskTest, TheEndOfASessionDisposesAndWithoutOneActionsWait) {
  Extract(Action("a"));
  DeferredTaskManager::EndDeferredTaskManagerSession();
  EXPECT_EQ(m_log, (Entries{"discard a"})) << "the task is discarded, and that disposes";
  Extract(Action("early"));
  RunIdle();
  EXPECT_EQ(m_log.size(), 1u) << "no session, no task: the action waits in the list";
  DeferredTaskManager::StartDeferredTaskManagerSession();
  Extract(Action("next"));
  RunIdle();
  EXPECT_EQ(m_log, (Entries{"discard a", "discard early", "discard next"}));
}

}  // namespace
