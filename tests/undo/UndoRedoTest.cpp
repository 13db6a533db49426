// Undo and redo as a host meets them: groups moving between the stacks, and actions that
// throw, clean up, end the running transaction or call back into the manager from inside
// _Perform, with the history left as the manager promises.

#include <stdexcept>

#include "RecordingAction.h"
#include "UndoTestKit.h"

namespace undo_test {
namespace {

using UndoRedoTest = UndoTest;

std::string Joined(const CallLog& log) {
  std::string text;
  for (const std::string& entry : log) text += (text.empty() ? "" : " ") + entry;
  return text;
}

TEST_F(UndoRedoTest, AnActionThatRegistersNothingLeavesNoStepToRedo) {
  Step(L"A", {"a"});
  Transaction* tx = manager->BeginTransaction(L"C", nullptr);
  manager->RegisterAction(new RecordingAction("c", &log), nullptr);
  tx->Commit();
  manager->Undo();
  EXPECT_EQ(Stacks(*manager), "undo [A: a] | redo ");
}

// Undo of the group [G: c b a], where b does something from inside its _Perform. Below it lies
// [Z: z]; the redo stack holds [Y: y].
TEST_F(UndoRedoTest, WhatAnActionDoesFromInsideAnUndo) {
  struct Row {
    const char* name;
    std::function<void(Manager&)> inside;
    const char* error;   // what the Undo call throws, "" for nothing
    const char* stacks;  // afterwards
    const char* log;     // after idle time
  };
  const Row rows[] = {
      // What the run had collected goes first, then the history from the top down. An action
      // that registers itself again after the clean-up is outside any transaction: dropped.
      {"throws", [](Manager&) { throw std::runtime_error("boom"); }, "boom", "undo  | redo ",
       "c b discard c discard a discard z discard y"},
      {"cleans up", [](Manager& m) { m.Cleanup(); }, "undo/redo performer became to unexpected state",
       "undo  | redo ", "c b discard c discard a discard z discard y discard b"},
      {"rolls back the primary", [](Manager& m) { m.GetPrimaryTransaction()->Rollback(); },
       "attempt to rollback primary transaction", "undo  | redo ", "c b discard c discard a discard z discard y"},
      {"commits the primary", [](Manager& m) { m.GetPrimaryTransaction()->Commit(); },
       "undo/redo performer became to unexpected state", "undo  | redo ",
       "c b discard c discard b discard a discard z discard y"},
      {"terminates the primary", [](Manager& m) { m.GetPrimaryTransaction()->Terminate(); },
       "undo/redo performer became to unexpected state", "undo  | redo ",
       "c b discard c discard b discard a discard z discard y"},
      {"asks to undo and redo", [](Manager& m) { m.Undo(), m.Redo(); }, "", "undo [Z: z] | redo [G: a b c] [Y: y]",
       "c b a"},
      {"opens a transaction and registers",
       [this](Manager& m) {
         Transaction* tx = m.BeginTransaction(L"ignored", "n1");
         m.RegisterAction(Action("n"), nullptr);
         EXPECT_TRUE(m.IsUndoing());
         tx->Commit();
       },
       "", "undo [Z: z] | redo [G: a b n#n1 c] [Y: y]", "c b a"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    manager = std::make_unique<Manager>();
    RunIdle();
    log.clear();
    Step(L"Z", {"z"});
    Transaction* tx = manager->BeginTransaction(L"G", nullptr);
    manager->RegisterAction(Action("a"), nullptr);
    manager->RegisterAction(Action("b", [&, m = manager.get(), once = true]() mutable {
                              if (std::exchange(once, false)) row.inside(*m);
                            }),
                            nullptr);
    manager->RegisterAction(Action("c"), nullptr);
    tx->Commit();
    Step(L"Y", {"y"});
    manager->Undo();
    log.clear();
    std::string error;
    try {
      manager->Undo();
    } catch (const std::exception& e) {
      error = e.what();
    }
    EXPECT_EQ(error, row.error);
    EXPECT_FALSE(manager->IsBusy());
    EXPECT_EQ(Stacks(*manager), row.stacks);
    RunIdle();
    EXPECT_EQ(Joined(log), row.log);
    // The states, transactions, entries and groups of the run are made over for later runs
    // only when nothing holds them any more: after every one of these ends the manager works on
    // as before.
    log.clear();
    Step(L"after", {"x"});
    manager->Undo();
    EXPECT_EQ(manager->GetRedoActionString(), std::wstring(L"after"));
    manager->Redo();
    EXPECT_EQ(log, (Calls{"x", "x"}));
    EXPECT_EQ(Stacks(*manager).rfind("undo [after: x]", 0), 0u) << Stacks(*manager);
    EXPECT_FALSE(manager->IsBusy());
  }
}

TEST_F(UndoRedoTest, AnActionThrowingDuringRollbackEmptiesTheHistory) {
  Step(L"Z", {"z"});
  Transaction* tx = manager->BeginTransaction(L"T", nullptr);
  manager->RegisterAction(Action("a"), nullptr);
  manager->RegisterAction(Action("b", [] { throw std::runtime_error("boom"); }), nullptr);
  manager->RegisterAction(Action("c"), nullptr);
  EXPECT_THROW(tx->Rollback(), std::runtime_error);
  EXPECT_TRUE(manager->IsUndoRegistrationEnabled()) << "the clean-up resets the disable counter";
  EXPECT_EQ(Stacks(*manager), "undo  | redo ");
  RunIdle();
  EXPECT_EQ(Joined(log), "c b discard z discard a") << "the history, then what the rollback had not reached";
}

// Owned by the test; its _Perform registers a reversing action and then fails.
class FailingAction : public IAction {
 public:
  FailingAction(Manager& m, CallLog& log) : m_manager(m), m_log(log) {}
  ~FailingAction() override = default;
  std::function<IAction*()> reverse;

 protected:
  void _Perform() override {
    m_manager.RegisterAction(reverse(), nullptr);
    throw std::runtime_error("fails");
  }
  void _Discard() override { LogCall(&m_log, "discard failing"); }

 private:
  Manager& m_manager;
  CallLog& m_log;
};

TEST_F(UndoRedoTest, DoActionRollsBackASilentFailureAndStepsOtherwise) {
  FailingAction failing(*manager, log);
  failing.reverse = [this] { return Action("r"); };
  EXPECT_NO_THROW(Ostrum::Undo::DoAction(&failing, manager.get(), L"F", nullptr));
  EXPECT_EQ(Joined(log), "r discard failing") << "the reversing action ran at once, the failed one was discarded";
  EXPECT_FALSE(manager->IsBusy());
  EXPECT_FALSE(manager->CanUndo());

  log.clear();
  Ostrum::Undo::DoAction(Action("d", [this] { manager->RegisterAction(Action("e"), nullptr); }), manager.get(), L"D",
                         "k");
  EXPECT_EQ(Stacks(*manager), "undo [D: d#k e#k] | redo ");
  Ostrum::Undo::DoAction(Action("lost"), nullptr, L"X", nullptr);
  EXPECT_EQ(Joined(log), "d discard lost");
}

}  // namespace
}  // namespace undo_test
