// The wizard engine as a user goes through it: forward and back, disabled steps, the veto,
// enabling a step from inside another, finishing and cancelling with the pool kept, a new
// start, and the operations the document publishes on the way.

#include <gtest/gtest.h>

#include "WizardTestSupport.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/core/StringResources.h"

namespace {

using W = MOperationWizard;

class WizardEngine : public testing::Test {
 protected:
  WizardEngine() {
    for (const char* id : {"a", "b", "c"}) {
      auto* step = new LoggingStep(id, &log);
      steps.push_back(step);
      wizard.AddStep(step);
    }
  }
  /// Starts with a new pool and forgets the calls of the start.
  void Start() {
    pool = new PlanPool(&pool_deleted);
    ASSERT_TRUE(SendWizard(wizard, W::ACTION_WIZARD_START, nullptr, pool));
    log.clear();
  }

  CallLog log;
  Ostrum::DeferredTaskManager::ScopedSession session;
  ObservingDocument doc{&log};
  TestWizard wizard;
  std::vector<LoggingStep*> steps;  // owned by the wizard
  PlanPool* pool = nullptr;         // owned by the wizard once started
  bool pool_deleted = false;
};

TEST_F(WizardEngine, AUserGoesForwardAndBackAndFinishesWithThePoolKept) {
  EXPECT_TRUE(wizard.HasMoreEnabledSteps()) << "before the start, from the first step";
  EXPECT_FALSE(wizard.HasMoreEnabledBackSteps());
  pool = new PlanPool(&pool_deleted);
  ASSERT_TRUE(SendWizard(wizard, W::ACTION_WIZARD_START, nullptr, pool));
  EXPECT_EQ(log, (Calls{"a.Create", "b.Create", "c.Create", "a.Retrieve(1)", "a.Show", "op:76500", "ui:76500"}));
  EXPECT_TRUE(wizard.IsRunning());
  EXPECT_EQ(wizard.GetInfoPool(), pool);
  EXPECT_FALSE(wizard.HasMoreEnabledBackSteps());

  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "a.Store", "a.Hide", "b.Retrieve(2)", "b.Show", "op:76503", "ui:76503"}));
  EXPECT_TRUE(wizard.HasMoreEnabledBackSteps());
  EXPECT_TRUE(wizard.HasMoreEnabledSteps());

  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_PREVIOUS);
  EXPECT_EQ(log, (Calls{"b.Store", "b.Hide", "a.Retrieve(1)", "a.Show", "op:76504", "ui:76504"}));
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_PREVIOUS);
  EXPECT_EQ(log, (Calls{"a.Store", "a.Hide", "a.Retrieve(1)", "a.Show", "op:76504", "ui:76504"}))
      << "back from the first step shows it anew";

  SendWizard(wizard, W::ACTION_WIZARD_GOTO, L"c");
  EXPECT_EQ(wizard.Current(), 2u);
  EXPECT_FALSE(wizard.HasMoreEnabledSteps());
  log.clear();
  // Next on the last step finishes through an operation of its own, inside the Next.
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"c.Check", "c.Store", "c.Hide", "a.Destroy", "b.Destroy", "c.Destroy", "op:76502",
                        "ui:76502", "op:76503", "ui:76503"}));
  EXPECT_FALSE(wizard.IsRunning());
  EXPECT_EQ(wizard.Current(), MWizard::NO_STEP);
  ASSERT_EQ(wizard.GetInfoPool(), pool) << "the host reads the results after the end";
  EXPECT_FALSE(pool_deleted);
  EXPECT_EQ(pool->stored_by, (std::vector<std::string>{"a", "b", "a", "a", "c"}));
}

TEST_F(WizardEngine, DisabledStepsAreSkippedAndCountedOutOfThePositions) {
  Start();
  // Enabling and disabling refresh nothing: no frame or view hears of them.
  SendWizard(wizard, W::ACTION_WIZARD_DISABLE, L"b");
  EXPECT_EQ(log, (Calls{"op:76507"}));
  EXPECT_FALSE(wizard.Enabled(1));
  EXPECT_EQ(wizard.EnabledIndex(L"a"), 1u);
  EXPECT_EQ(wizard.EnabledIndex(L"b"), 1u) << "a disabled step counts the enabled ones before it";
  EXPECT_EQ(wizard.EnabledIndex(L"c"), 2u);
  EXPECT_EQ(wizard.EnabledIndex(L"x"), 0u);
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "a.Store", "a.Hide", "c.Retrieve(2)", "c.Show", "op:76503", "ui:76503"}));
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_PREVIOUS);
  EXPECT_EQ(log, (Calls{"c.Store", "c.Hide", "a.Retrieve(1)", "a.Show", "op:76504", "ui:76504"}));

  // All later steps disabled: Next ends the wizard; the disabled steps are destroyed too.
  SendWizard(wizard, W::ACTION_WIZARD_DISABLE, L"c");
  EXPECT_FALSE(wizard.HasMoreEnabledSteps());
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "a.Store", "a.Hide", "a.Destroy", "b.Destroy", "c.Destroy", "op:76502",
                        "ui:76502", "op:76503", "ui:76503"}));
  EXPECT_FALSE(wizard.IsRunning());

  // A new start enables every step again.
  Start();
  EXPECT_TRUE(wizard.Enabled(1));
  EXPECT_TRUE(wizard.Enabled(2));
}

TEST_F(WizardEngine, AGoToOrAnEnableOfAnUnknownStepActsOnTheFirst) {
  Start();
  SendWizard(wizard, W::ACTION_WIZARD_GOTO, L"c");
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_GOTO, L"nowhere");
  EXPECT_EQ(log, (Calls{"c.Store", "c.Hide", "a.Retrieve(1)", "a.Show", "op:76505", "ui:76505"}));
  SendWizard(wizard, W::ACTION_WIZARD_DISABLE, L"nowhere");
  EXPECT_FALSE(wizard.Enabled(0));
  EXPECT_EQ(wizard.StepIndex(L"nowhere"), 0u);
  EXPECT_EQ(wizard.GetStep(CString(L"b")), steps[1]);
  EXPECT_EQ(wizard.GetStep(CString(L"nowhere")), nullptr);
  EXPECT_EQ(wizard.GetStep(size_t{3}), nullptr);
}

TEST_F(WizardEngine, OnlyNextIsVetoedByTheCurrentStep) {
  Start();
  steps[0]->integrity = false;
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "op:76503", "ui:76503"})) << "the step stays, untouched";
  EXPECT_EQ(wizard.Current(), 0u);
  EXPECT_FALSE(wizard.CheckInfoPoolIntegrity());

  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_GOTO, L"c");
  EXPECT_EQ(log, (Calls{"a.Store", "a.Hide", "c.Retrieve(3)", "c.Show", "op:76505", "ui:76505"}))
      << "a go-to asks no step";
  // The veto also holds the wizard on its last step.
  steps[2]->integrity = false;
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"c.Check", "op:76503", "ui:76503"}));
  EXPECT_TRUE(wizard.IsRunning());
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_PREVIOUS);
  EXPECT_EQ(log, (Calls{"c.Store", "c.Hide", "b.Retrieve(2)", "b.Show", "op:76504", "ui:76504"}))
      << "going back asks no step";
  // Cancelling is never vetoed, and keeps what the step held.
  steps[1]->integrity = false;
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_END);
  EXPECT_EQ(log, (Calls{"b.Store", "b.Hide", "a.Destroy", "b.Destroy", "c.Destroy", "op:76501", "ui:76501"}));
  EXPECT_FALSE(wizard.IsRunning());
  EXPECT_EQ(pool->stored_by.back(), "b");
}

TEST_F(WizardEngine, AStepEnablesALaterStepFromInsideAndTheNextMoveLandsOnIt) {
  wizard.AddStep(new LoggingStep("d", &log));
  Start();
  SendWizard(wizard, W::ACTION_WIZARD_DISABLE, L"b");
  SendWizard(wizard, W::ACTION_WIZARD_DISABLE, L"c");
  // While the first page shows, the user asks for a long screw, which needs the step b.
  steps[0]->on_show = [&] { return SendWizard(wizard, W::ACTION_WIZARD_ENABLE, L"b"); };
  SendWizard(wizard, W::ACTION_WIZARD_PREVIOUS);
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "a.Store", "a.Hide", "b.Retrieve(2)", "b.Show", "op:76503", "ui:76503"}));

  // An enable from inside StoreInfo comes after Next chose its target: it counts for the
  // position of the step shown, and for the moves after.
  steps[0]->on_show = nullptr;
  SendWizard(wizard, W::ACTION_WIZARD_DISABLE, L"b");
  SendWizard(wizard, W::ACTION_WIZARD_GOTO, L"a");
  steps[0]->on_store = [&] { SendWizard(wizard, W::ACTION_WIZARD_ENABLE, L"c"); };
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "a.Store", "op:76506", "a.Hide", "d.Retrieve(3)", "d.Show", "op:76503",
                        "ui:76503"}));
  steps[0]->on_store = nullptr;
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_PREVIOUS);
  EXPECT_EQ(log, (Calls{"d.Store", "d.Hide", "c.Retrieve(2)", "c.Show", "op:76504", "ui:76504"}));
}

TEST_F(WizardEngine, AStartOfARunningWizardReplacesThePoolAndPreparesTheStepsAgain) {
  Start();
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  PlanPool* first = pool;
  bool second_deleted = false;
  auto* second = new PlanPool(&second_deleted);
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_START, nullptr, second);
  EXPECT_TRUE(pool_deleted) << "the old pool goes";
  EXPECT_EQ(wizard.GetInfoPool(), second);
  (void)first;
  // The step shown before is neither stored nor hidden: the start goes to the first step, and
  // the move away from the step showing stores and hides it.
  EXPECT_EQ(log, (Calls{"a.Create", "b.Create", "c.Create", "b.Store", "b.Hide", "a.Retrieve(1)", "a.Show",
                        "op:76500", "ui:76500"}));
  EXPECT_EQ(second->stored_by, (std::vector<std::string>{"b"}));
}

TEST_F(WizardEngine, MovesWithoutAStepShowingDoNothing) {
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  SendWizard(wizard, W::ACTION_WIZARD_PREVIOUS);
  EXPECT_EQ(log, (Calls{"op:76503", "ui:76503", "op:76504", "ui:76504"}));
  EXPECT_FALSE(wizard.IsRunning());
  EXPECT_FALSE(wizard.CheckInfoPoolIntegrity());
}

TEST(OperationWizard, WizardActionsAreNeitherUndoableNorPreparedNorDocumentChanges) {
  MOperationWizard start(MOperationWizard::ACTION_WIZARD_START);
  EXPECT_EQ(start.GetFlags(), 0x740000u);
  for (uint32_t action = 76500; action <= 76505; ++action) {
    MOperationWizard op(action);
    EXPECT_EQ(op.GetFlags(), 0x740000u) << action;
  }
  MOperationWizard enable(MOperationWizard::ACTION_WIZARD_ENABLE);
  EXPECT_EQ(enable.GetFlags(), 0x440000u) << "enabling refreshes no window";
  MOperationWizard disable(MOperationWizard::ACTION_WIZARD_DISABLE);
  EXPECT_EQ(disable.GetFlags(), 0x440000u);
  MOperationWizard refresh(MOperation::ACTION_REFRESH);
  EXPECT_EQ(refresh.GetFlags(), MOperation(MOperation::ACTION_REFRESH).GetFlags()) << "other actions keep the base's";
  MOperationWizard beyond(76508);
  EXPECT_EQ(beyond.GetFlags(), MOperation(76508).GetFlags());

  // Texts and fields.
  VarnResSetString(MOperation::GetActionTextID(76503), L"Wizard step");
  MOperationWizard next(MOperationWizard::ACTION_WIZARD_NEXT);
  EXPECT_STREQ(next.GetActionString(), L"Wizard step");
  EXPECT_EQ(next.GetWizard(), nullptr);
  EXPECT_EQ(next.GetInfoPool(), nullptr);
  next.SetStep(L"screw");
  EXPECT_EQ(next.GetStep().Str(), L"screw");
  VarnResRemoveString(MOperation::GetActionTextID(76503));
}

TEST(OperationWizard, WithoutADocumentTheOperationIsDroppedAndThePoolStaysWithItsMaker) {
  ASSERT_EQ(MOperation::GetDocument(), nullptr);
  TestWizard wizard;
  CallLog log;
  wizard.AddStep(new LoggingStep("a", &log));
  PlanPool pool;
  EXPECT_FALSE(SendWizard(wizard, MOperationWizard::ACTION_WIZARD_START, nullptr, &pool));
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(wizard.GetInfoPool(), nullptr);
}

}  // namespace
