// Undoable operations through the document: the state files of each step, undo and redo of the
// stock actions, groups and temporary steps, and what real faults of the undo directory leave
// behind. (The disk budget is held at the handler, MUndoHandlerTest, and on disk through the
// document, UndoFaultsTest; removing an object's steps likewise at the handler and through the
// document in the registry's model runs.) Every test has an undo directory of its own, so its
// files can be counted.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/MLocker.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/undo/MStreamUndo.h"
#include "ostrum/undo/MUndoHandler.h"
#include "ostrum/undo/Manager.h"
#include "document/UndoableOperations.h"
#include "support/ChildProcess.h"

namespace {

using namespace undo_test;

struct RoundTripRow {
  const char* name;
  uint32_t action;
  bool undo_state, redo_state;  // whether each file holds state
  Calls undo_calls, redo_calls;
};
void PrintTo(const RoundTripRow& row, std::ostream* out) { *out << row.name; }

struct RoundTrip : UndoableOperations, testing::WithParamInterface<RoundTripRow> {};

TEST_P(RoundTrip, UndoAndRedoRestoreTheStateByteForByte) {
  const RoundTripRow& row = GetParam();
  if (row.action == MOperation::ACTION_ADD) s.present = false;
  const auto before = s.Snap();
  MOperation* op = Op(row.action, {&s}, row.action == MOperation::ACTION_CHANGE_LABEL ? L"renamed" : nullptr);
  op->AddFlags(MOperation::FLAG_NEEDS_UPDATE_OBSERVERS);
  ASSERT_TRUE(Do(op));
  const auto after = s.Snap();
  ASSERT_NE(before, after);
  ASSERT_EQ(Files("~varn_undo").size(), 1u);
  EXPECT_EQ(Files("~varn_undo")[0] > 0, row.undo_state);
  EXPECT_TRUE(Files("~varn_redo").empty());

  log.clear();
  doc.UndoOperation();
  EXPECT_EQ(log, row.undo_calls);
  EXPECT_EQ(s.Snap(), before);
  ASSERT_EQ(Files("~varn_redo").size(), 1u);
  EXPECT_EQ(Files("~varn_redo")[0] > 0, row.redo_state);
  EXPECT_FALSE(manager().CanUndo());

  log.clear();
  doc.RedoOperation();
  EXPECT_EQ(log, row.redo_calls);
  EXPECT_EQ(s.Snap(), after);
  // A second undo keeps the redo file written at the first.
  doc.UndoOperation();
  EXPECT_EQ(s.Snap(), before);
  EXPECT_EQ(FileCount(), 2u);
}

const RoundTripRow kRoundTrips[] = {
    {"Add", MOperation::ACTION_ADD, false, true,
     {"s.SaveState(op)", "s.Undo", "doc._UndoOperation(0)", "o.Update", "ui:undone:1"},
     {"s.LoadState(op)", "s.Redo", "doc._RedoOperation", "o.Update", "ui:redone:0"}},
    {"Remove", MOperation::ACTION_REMOVE, true, false,
     {"s.LoadState(op)", "s.Undo", "doc._UndoOperation(1)", "o.Update", "ui:undone:0"},
     {"s.Redo", "doc._RedoOperation", "o.Update", "ui:redone:1"}},
    {"Relabel", MOperation::ACTION_CHANGE_LABEL, true, true,
     {"s.SaveState(op)", "s.LoadState(op)", "s.Undo", "doc._UndoOperation(4)", "o.Update", "ui:undone:4"},
     {"s.LoadState(op)", "s.Redo", "doc._RedoOperation", "o.Update", "ui:redone:4"}},
    // Undone by doing the reversed operation; neither file holds state.
    {"Reversible", MOperation::ACTION_REVERSIBLE_FORWARD, false, false,
     {"s.Do", "doc._DoOperation", "o.Update", "ui:done:6"},
     {"s.Do", "doc._DoOperation", "o.Update", "ui:done:5"}},
};
INSTANTIATE_TEST_SUITE_P(Actions, RoundTrip, testing::ValuesIn(kRoundTrips),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(UndoableOperations, OperationsDoneDuringAnUndoOrUnderTheLockLeaveNoStep) {
  bool inner_result = false;
  s.on_undo = [&] { inner_result = Do(Op(MOperation::ACTION_CHANGE_LABEL, {&t}, L"inner")); };
  ASSERT_TRUE(Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"outer")));
  doc.UndoOperation();
  EXPECT_TRUE(inner_result);
  EXPECT_EQ(t.label, L"inner");
  EXPECT_FALSE(manager().CanUndo());
  EXPECT_EQ(Redos().groups.size(), 1u);
  EXPECT_EQ(FileCount(), 2u);  // the outer step's undo and redo files only

  s.on_undo = nullptr;
  {
    MLocker lock(doc.GetUndoLockCounter());
    EXPECT_TRUE(Do(Op(MOperation::ACTION_CHANGE_LABEL, {&t}, L"locked")));
  }
  EXPECT_EQ(t.label, L"locked");
  EXPECT_FALSE(manager().CanUndo());
  EXPECT_EQ(FileCount(), 2u);
}

TEST_F(UndoableOperations, GroupUndoesAsOneStepAndAbortRollsBack) {
  const auto s0 = s.Snap(), t0 = t.Snap();
  long long group = doc.BeginOperationGroup(L"both", false);
  ASSERT_NE(group, -1);
  Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"s1"));
  Do(Op(MOperation::ACTION_REVERSIBLE_FORWARD, {&t}));
  EXPECT_TRUE(doc.EndOperationGroup(group));
  EXPECT_EQ(group, -1);
  EXPECT_FALSE(doc.EndOperationGroup(group));
  const auto s1 = s.Snap(), t1 = t.Snap();
  doc.UndoOperation();
  EXPECT_EQ(s.Snap(), s0);
  EXPECT_EQ(t.Snap(), t0);
  EXPECT_FALSE(manager().CanUndo());
  doc.RedoOperation();
  EXPECT_EQ(s.Snap(), s1);
  EXPECT_EQ(t.Snap(), t1);

  group = doc.BeginOperationGroup(L"aborted", false);
  Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"s2"));
  Do(Op(MOperation::ACTION_CHANGE_LABEL, {&t}, L"t2"));
  EXPECT_TRUE(doc.AbortOperationGroup(group));
  EXPECT_EQ(s.Snap(), s1);
  EXPECT_EQ(t.Snap(), t1);
  EXPECT_EQ(Undos().groups.size(), 1u);
  Ostrum::Desktop::RunUntilIdle();
  EXPECT_EQ(FileCount(), 4u);  // the first group's two undo and two redo files
}

TEST_F(UndoableOperations, TemporaryStepsGoByTheirKeyFromBothStacks) {
  Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"plain"));
  long long group = doc.BeginTemporaryOperationGroup(L"drag", 255, false);
  Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"drag 1"));
  Do(Op(MOperation::ACTION_CHANGE_LABEL, {&t}, L"drag 2"));
  doc.EndOperationGroup(group);
  for (uint32_t key : {0x1ffu, 255u, 0xfu}) {
    MOperation* op = Op(MOperation::ACTION_REVERSIBLE_FORWARD, {&t});
    op->SetTemporaryOperation(key);
    Do(op);
  }
  using Groups = std::vector<std::vector<std::string>>;
  EXPECT_EQ(Undos().groups, (Groups{{"f"}, {"ff"}, {"1ff"}, {"ff", "ff"}, {""}}));
  doc.UndoOperation();
  doc.UndoOperation();
  doc.RemoveTemporaryOperations(255);
  EXPECT_EQ(Undos().groups, (Groups{{"1ff"}, {""}}));
  EXPECT_EQ(Redos().groups, (Groups{{"f"}}));
  Ostrum::Desktop::RunUntilIdle();
  EXPECT_EQ(FileCount(), 4u);  // three undo files, one redo file
}

// A fault of the undo directory or of the process's limits.
struct FaultRow {
  const char* name;
  void (*arrange)(UndoableOperations&);
  bool in_child;  // the fault is a limit on the process: arranged and checked in a child
};
void PrintTo(const FaultRow& row, std::ostream* out) { *out << row.name; }
struct Faults : UndoableOperations, testing::WithParamInterface<std::tuple<FaultRow, bool>> {
  void Check(ChildChecks& c, bool undo_once) {
    const auto before = s.Snap();
    MOperation* op = Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"changed");
    if (undo_once) op->AddFlags(MOperation::FLAG_SHOULD_UNDO_ONCE);
    const bool result = Do(op);
    const auto after = s.Snap();
    if (!undo_once) {
      c.Check(!result, "an operation without its undo file fails");
      c.Check(after == before, "and changes nothing");
      c.Check(!manager().CanUndo(), "and leaves no step");
    } else {
      c.Check(result, "an operation to be undone once at most runs without its undo file");
      c.Check(after != before, "and changes the object");
      c.Check(!doc.UndoOperation(), "while the fault lasts its redo state cannot be written: the undo does not go ahead");
      c.Check(s.Snap() == after && manager().CanUndo() && !manager().CanRedo(), "and nothing moved");
    }
    Ostrum::Desktop::RunUntilIdle();
    c.Check(FileCount() == 0, "no undo file is left");
  }
};

TEST_P(Faults, FailWithNothingChangedOrRunWithoutUndoData) {
  const auto& [row, undo_once] = GetParam();
  s.bytes.resize(64 * 1024);
  const auto run = [&](ChildChecks& c) {
    row.arrange(*this);
    Check(c, undo_once);
  };
  if (row.in_child) {
    EXPECT_EQ(RunInChild(run), "");
  } else {
    ChildChecks checks;
    run(checks);
    EXPECT_EQ(checks.Failures(), "");
  }
  EXPECT_EQ(FileCount(), 0u);
}

// No undo file can be opened (a missing directory: the undo directory tests go through refused,
// removed and moved ones), or one stops part-way.
const FaultRow kFaults[] = {
    {"MissingDirectory", [](UndoableOperations& t) { t.SetDir(t.dir / "missing"); }, false},
    // Writes stop part-way at the process's file size limit.
    {"FileSizeLimit",
     [](UndoableOperations&) {
       signal(SIGXFSZ, SIG_IGN);
       const rlimit limit{4096, 4096};
       setrlimit(RLIMIT_FSIZE, &limit);
     },
     true},
};
INSTANTIATE_TEST_SUITE_P(Undo, Faults, testing::Combine(testing::ValuesIn(kFaults), testing::Bool()),
                         [](const auto& info) {
                           return std::string(std::get<0>(info.param).name) +
                                  (std::get<1>(info.param) ? "_UndoOnce" : "_Strict");
                         });

// Throws from the object's state streams during an undo: the exception reaches the caller, the
// history is emptied and no file of its steps is left.
struct ThrowingState : UndoableOperations, testing::WithParamInterface<bool StateObject::*> {};

TEST_P(ThrowingState, EmptiesTheHistoryAndLeavesNoFile) {
  Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"one"));
  Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"two"));
  doc.UndoOperation();
  s.*GetParam() = true;
  EXPECT_THROW(doc.UndoOperation(), std::runtime_error);
  EXPECT_FALSE(manager().CanUndo());
  EXPECT_FALSE(manager().CanRedo());
  Ostrum::Desktop::RunUntilIdle();
  EXPECT_EQ(FileCount(), 0u);
  s.*GetParam() = false;
  Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"three"));
  doc.UndoOperation();
  EXPECT_EQ(s.label, L"one");
}
INSTANTIATE_TEST_SUITE_P(Streams, ThrowingState, testing::Values(&StateObject::throw_on_save, &StateObject::throw_on_load),
                         [](const auto& info) { return std::string(info.index ? "Load" : "Save"); });

TEST_F(UndoableOperations, NoFileOutlivesCleanUpOrTheDocument) {
  auto second = std::make_unique<UndoDocument>(nullptr);
  for (MDocument* document : {static_cast<MDocument*>(&doc), static_cast<MDocument*>(second.get())}) {
    document->DoOperation(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"a"), nullptr);
    document->DoOperation(Op(MOperation::ACTION_REMOVE, {&t}), nullptr);
    document->UndoOperation();
  }
  EXPECT_EQ(FileCount(), 6u);
  EXPECT_TRUE(doc.CleanUpUndoHandler());
  EXPECT_FALSE(manager().CanUndo());
  Ostrum::Desktop::RunUntilIdle();
  EXPECT_EQ(FileCount(), 3u);
  second.reset();
  Ostrum::Desktop::RunUntilIdle();
  EXPECT_EQ(FileCount(), 0u);
}

}  // namespace
