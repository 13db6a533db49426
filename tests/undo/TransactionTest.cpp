// Transactions as a host meets them: nesting and ending at every depth, identifiers that stick,
// and handles used after their transaction has ended.

#include "UndoTestKit.h"

namespace undo_test {
namespace {

using TransactionTest = UndoTest;

// Three nested transactions, each with one action ("a1" in the outermost): one of them is
// ended by commit, rollback or terminate, then whatever is still open is committed.
TEST_F(TransactionTest, EndingEachDepthOfThreeNestedTransactions) {
  struct Row {
    int depth;
    const char* end;
    const char* performed;  // what the end performed at once
    const char* stacks;     // after everything was committed
  };
  const Row rows[] = {
      // The primary's empty text takes the first text of those it closes implicitly; an
      // explicitly committed nested transaction's text is lost.
      {1, "commit", "", "undo [two: a3 a2 a1] | redo "},
      {2, "commit", "", "undo [: a3 a2 a1] | redo "},
      {3, "commit", "", "undo [: a3 a2 a1] | redo "},
      {1, "rollback", "a3a2a1", "undo  | redo [old: old]"},
      {2, "rollback", "a3a2", "undo [: a1] | redo "},
      {3, "rollback", "a3", "undo [: a2 a1] | redo "},
      {1, "terminate", "", "undo  | redo [old: old]"},
      {2, "terminate", "", "undo [: a1] | redo "},
      {3, "terminate", "", "undo [: a2 a1] | redo "},
  };
  const wchar_t* texts[] = {nullptr, L"two", L"three"};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.end) + " at depth " + std::to_string(row.depth));
    manager = std::make_unique<Manager>();
    Step(L"old", {"old"});
    manager->Undo();  // a redo step, which a commit with actions clears
    log.clear();
    Transaction* tx[3];
    for (int level = 0; level < 3; ++level) {
      tx[level] = manager->BeginTransaction(texts[level], nullptr);
      manager->RegisterAction(Action("a" + std::to_string(level + 1)), nullptr);
    }
    Transaction* ended = tx[row.depth - 1];
    const bool done = row.end == std::string("commit")     ? ended->Commit()
                      : row.end == std::string("rollback") ? ended->Rollback()
                                                           : ended->Terminate();
    EXPECT_TRUE(done);
    std::string performed;
    for (const std::string& entry : log) performed += entry;
    EXPECT_EQ(performed, row.performed);
    for (int level = 0; level < 3; ++level)
      EXPECT_EQ(tx[level]->IsValid(), level < row.depth - 1) << "handle of depth " << level + 1;
    if (row.depth > 1) {
      EXPECT_TRUE(tx[row.depth - 2]->IsCurrent()) << "the parent is current again";
      EXPECT_EQ(manager->GetCurrentTransaction(), tx[row.depth - 2]);
      while (Transaction* open = manager->GetCurrentTransaction()) open->Commit();
    }
    EXPECT_FALSE(manager->IsBusy());
    // A step with actions clears the redo history; no step leaves it as it was.
    EXPECT_EQ(Stacks(*manager), row.stacks);
    manager.reset();
    RunIdle();
  }
}

TEST_F(TransactionTest, IdentifiersStickToActionsThroughNestingAndUndo) {
  Transaction* outer = manager->BeginTransaction(L"move", "1f");
  manager->BeginTransaction(nullptr, nullptr);
  manager->RegisterAction(Action("a"), nullptr);
  manager->RegisterAction(Action("b"), "b7");
  manager->BeginTransaction(nullptr, "2a");
  manager->RegisterAction(Action("c"), nullptr);
  outer->Commit();
  EXPECT_EQ(Stacks(*manager), "undo [move: c#2a b#b7 a#1f] | redo ");
  manager->Undo();  // the actions register themselves again without an identifier
  EXPECT_EQ(Stacks(*manager), "undo  | redo [move: a#1f b#b7 c#2a]");
}

TEST_F(TransactionTest, HandlesAfterTheirEndAndNullHandlesAnswerLikeNothing) {
  Transaction* ended = manager->BeginTransaction(L"x", nullptr);
  ended->Commit();
  Transaction* cleaned = manager->BeginTransaction(L"y", nullptr);
  manager->RegisterAction(Action("y"), nullptr);
  manager->Cleanup();
  EXPECT_FALSE(manager->IsBusy()) << "a clean-up ends open transactions";
  for (Transaction* tx : {ended, cleaned, static_cast<Transaction*>(nullptr)}) {
    EXPECT_FALSE(Ask(tx, &Transaction::IsValid));
    EXPECT_FALSE(Ask(tx, &Transaction::IsPrimary));
    EXPECT_FALSE(Ask(tx, &Transaction::IsCurrent));
    EXPECT_EQ(Ask(tx, &Transaction::GetActionString), nullptr);
    EXPECT_FALSE(Ask(tx, &Transaction::Commit));
    EXPECT_FALSE(Ask(tx, &Transaction::Rollback));
    EXPECT_FALSE(Ask(tx, &Transaction::Terminate));
  }
  EXPECT_TRUE(cleaned->SetActionString(L"z")) << "answers true even for a stale handle";
  Transaction* fresh = manager->BeginTransaction(L"z", nullptr);
  EXPECT_NE(fresh, cleaned) << "keys are never reused";
  EXPECT_STREQ(fresh->GetActionString(), L"z");
  fresh->Commit();
  EXPECT_EQ(Stacks(*manager), "undo  | redo ") << "an empty primary makes no step, whatever its text";
  RunIdle();
  EXPECT_EQ(log, (Calls{"discard y"}));
}

TEST_F(TransactionTest, DisabledRegistrationRefusesTransactionsAndDiscardsAtOnce) {
  {
    Manager::AutoDisablerUndoRegistration off(manager.get()), no_manager(nullptr);
    EXPECT_EQ(manager->BeginTransaction(L"t", nullptr), nullptr);
    Ostrum::Undo::RegisterAction(Action("free"), manager.get(), L"t", nullptr);
    EXPECT_EQ(log, (Calls{"discard free"})) << "discarded during the call, not at idle time";
    manager->EnableUndoRegistration(), manager->EnableUndoRegistration();
    EXPECT_FALSE(manager->IsUndoRegistrationEnabled()) << "the counter is not clamped: -1 is disabled";
    manager->TurnAutoGroupingOn();
  }
  manager->Cleanup();
  EXPECT_TRUE(manager->IsUndoRegistrationEnabled()) << "a clean-up resets the counter";
  EXPECT_TRUE(manager->IsAutoGroupingOn()) << "and keeps the auto-grouping flag";
}

}  // namespace
}  // namespace undo_test
