// Transactions as a host meets them: nesting and ending at every depth, identifiers that stick,
// and handles used after their transaction has ended.

#include <atomic>
#include <thread>
#include <unordered_set>

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
  Transaction* cleaned = manager->BeginTransaction(L"y", nullptr);  // made over from the one ended
  EXPECT_FALSE(ended->Commit());
  EXPECT_TRUE(cleaned->IsCurrent()) << "the old handle does not reach the transaction made over from its own";
  manager->RegisterAction(Action("y"), nullptr);
  manager->Cleanup();
  EXPECT_FALSE(manager->IsBusy()) << "a clean-up ends open transactions";
  // A manager that goes ends its transactions; the next one takes over its table of handles.
  Transaction* of_gone = nullptr;
  {
    Manager gone;
    of_gone = gone.BeginTransaction(L"g", nullptr);
  }
  Manager successor;
  Transaction* successors = successor.BeginTransaction(L"g", nullptr);
  EXPECT_NE(successors, of_gone);
  EXPECT_TRUE(successors->IsValid());
  for (Transaction* tx : {ended, cleaned, of_gone, static_cast<Transaction*>(nullptr)}) {
    EXPECT_FALSE(Ask(tx, &Transaction::IsValid));
    EXPECT_FALSE(Ask(tx, &Transaction::IsPrimary));
    EXPECT_FALSE(Ask(tx, &Transaction::IsCurrent));
    EXPECT_EQ(Ask(tx, &Transaction::GetActionString), nullptr);
    EXPECT_FALSE(Ask(tx, &Transaction::Commit));
    EXPECT_FALSE(Ask(tx, &Transaction::Rollback));
    EXPECT_FALSE(Ask(tx, &Transaction::Terminate));
  }
  EXPECT_TRUE(successors->IsValid()) << "stale handles reach nothing";
  successors->Commit();
  EXPECT_TRUE(cleaned->SetActionString(L"z")) << "answers true even for a stale handle";
  Transaction* fresh = manager->BeginTransaction(L"z", nullptr);
  EXPECT_NE(fresh, cleaned) << "keys are never reused";
  EXPECT_STREQ(fresh->GetActionString(), L"z");
  fresh->Commit();
  EXPECT_EQ(Stacks(*manager), "undo  | redo ") << "an empty primary makes no step, whatever its text";
  RunIdle();
  EXPECT_EQ(log, (Calls{"discard y"}));
}

// A thousand transactions open at once take slots well past the table's first chunks; every
// handle finds its own transaction, and after the outermost commit none finds anything, also
// once the slots are taken again.
TEST_F(TransactionTest, AThousandNestedHandlesStayApartAndGoStaleTogether) {
  std::vector<Transaction*> first;
  for (int depth = 0; depth < 1000; ++depth) {
    first.push_back(manager->BeginTransaction(depth == 0 ? L"outer" : nullptr, nullptr));
    ASSERT_TRUE(first.back()->IsCurrent()) << "depth " << depth;
  }
  EXPECT_EQ(manager->GetPrimaryTransaction(), first.front());
  int primaries = 0;
  for (Transaction* tx : first) primaries += tx->IsValid() && tx->IsPrimary();
  EXPECT_EQ(primaries, 1);
  first[500]->Commit();
  EXPECT_TRUE(first[499]->IsCurrent()) << "the inner half ended with it";
  EXPECT_FALSE(first[999]->IsValid());
  first.front()->Commit();
  std::vector<Transaction*> second;
  for (int depth = 0; depth < 1000; ++depth) second.push_back(manager->BeginTransaction(nullptr, nullptr));
  size_t valid = 0;
  for (Transaction* tx : first) valid += tx->IsValid();
  EXPECT_EQ(valid, 0u) << "the slots taken again carry new keys";
  std::unordered_set<Transaction*> keys(first.begin(), first.end());
  for (Transaction* tx : second) EXPECT_TRUE(keys.insert(tx).second);
  EXPECT_EQ(manager->GetCurrentTransaction(), second.back());
  second.front()->Terminate();
  EXPECT_FALSE(manager->IsBusy());
}

// Transactions opened with the same text share it; changing the text of one changes nothing of
// the others, open or already steps.
TEST_F(TransactionTest, ATextSharedWithOtherTransactionsChangesOnlyForItsOwn) {
  Step(L"Move screw", {"a"});
  const wchar_t* made_before = manager->GetUndoActionString();
  Transaction* outer = manager->BeginTransaction(L"Move screw", nullptr);
  outer->SetActionString(L"Rotate screw");
  EXPECT_STREQ(made_before, L"Move screw") << "the step made before keeps its text";
  manager->RegisterAction(Action("b"), nullptr);
  Transaction* inner = manager->BeginTransaction(L"Rotate screw", nullptr);
  inner->SetActionString(L"Tilt");
  EXPECT_STREQ(outer->GetActionString(), L"Rotate screw");
  inner->Commit();
  outer->Commit();
  EXPECT_EQ(Stacks(*manager), "undo [Rotate screw: b] [Move screw: a] | redo ");
  manager->Undo();
  EXPECT_EQ(Stacks(*manager), "undo [Move screw: a] | redo [Rotate screw: b]") << "the text goes with the step";
  Step(L"Move screw", {"c"});
  EXPECT_EQ(Stacks(*manager), "undo [Move screw: c] [Move screw: a] | redo ");
}

// A handle is a key that any thread may look up, though only the manager's thread may use the
// transaction. Managers of two threads opening and ending transactions at once never hand out
// the same key, and a key once ended stays stale.
TEST_F(TransactionTest, HandlesOfManagersOnTwoThreadsNeverMeet) {
  Transaction* open = manager->BeginTransaction(L"open", nullptr);
  std::thread([open] { EXPECT_TRUE(open->IsValid()) << "found from another thread"; }).join();
  open->Commit();
  std::thread([open] { EXPECT_FALSE(open->IsValid()) << "and stale there once ended"; }).join();

  constexpr int kRounds = 20000;
  std::atomic<Transaction*> latest{nullptr};  // the worker's transaction opened last
  std::atomic<bool> done{false};
  std::vector<Transaction*> theirs, mine;
  theirs.reserve(kRounds);
  int their_faults = 0, my_faults = 0;
  std::thread worker([&] {
    Manager other;
    for (int i = 0; i < kRounds; ++i) {
      Transaction* tx = other.BeginTransaction(L"w", nullptr);
      latest.store(tx);
      their_faults += !tx->IsCurrent();
      tx->Commit();
      their_faults += tx->IsValid();
      theirs.push_back(tx);
    }
    done.store(true);
  });
  while (!done.load()) {
    Transaction* tx = manager->BeginTransaction(L"m", nullptr);
    // Whatever the other thread is doing, looking its handle up (null before its first) is safe.
    (void)Ask(latest.load(), &Transaction::IsValid);
    my_faults += !tx->IsCurrent();
    tx->Commit();
    my_faults += tx->IsValid();
    mine.push_back(tx);
  }
  worker.join();
  EXPECT_EQ(their_faults, 0);
  EXPECT_EQ(my_faults, 0);
  std::unordered_set<Transaction*> keys(theirs.begin(), theirs.end());
  EXPECT_EQ(keys.size(), theirs.size()) << "every key is new";
  size_t shared = 0, valid = 0;
  for (Transaction* tx : mine) shared += !keys.insert(tx).second;
  for (Transaction* tx : keys) valid += tx->IsValid();
  EXPECT_EQ(shared, 0u) << "no key of one manager is a key of the other";
  EXPECT_EQ(valid, 0u);
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
