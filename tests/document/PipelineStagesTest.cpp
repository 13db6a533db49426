#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "ostrum/document/MLocker.h"
#include "support/TestDocument.h"
#include "support/TestObjects.h"
#include "support/TestOperation.h"

namespace {

using Calls = std::vector<std::string>;

// A document, one object `a` with an observer `o`, and the log that all of them write into.
class DocumentPipeline : public testing::Test {
 protected:
  DocumentPipeline() { a.Attach(&o); }

  /// A new operation on the given objects; the document will own it.
  TestOperation* NewOperation(std::vector<TestObject*> objects) {
    auto* op = new TestOperation("op", probe);
    for (TestObject* object : objects) op->AddObject(object);
    return op;
  }

  CallLog log;
  OperationProbe probe{&log};
  TestDocument doc{&log};
  TestObject a{"a", &log};
  RecordingObserver o{"o", &log};
};

struct StageRow {
  const char* name;
  uint32_t flags;
  bool loaded;
  Calls calls;
};

// Shows a row by its name in test listings instead of as raw bytes.
void PrintTo(const StageRow& row, std::ostream* out) { *out << row.name; }

class DocumentPipelineByFlags : public DocumentPipeline, public testing::WithParamInterface<StageRow> {};

TEST_P(DocumentPipelineByFlags, RunsTheStagesTheFlagsAskFor) {
  const StageRow& row = GetParam();
  doc.SetDocLoaded(row.loaded);
  TestOperation* op = NewOperation({&a});
  op->SetFlags(row.flags);
  EXPECT_TRUE(doc.DoOperation(op, nullptr));
  EXPECT_EQ(log.Entries(), row.calls) << log;
  EXPECT_EQ(probe.destroyed, 1);
}

const Calls kPrepare = {"op._PrepareOperation", "a.Prepare", "doc._PrepareOperation"};
const Calls kDo = {"op._DoOperation", "a.Do", "doc._DoOperation"};
const Calls kModified = {"doc.SetModifiedFlag(true)", "doc.SetTitle"};

Calls Join(std::initializer_list<Calls> parts) {
  Calls all;
  for (const Calls& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

INSTANTIATE_TEST_SUITE_P(
    Stages, DocumentPipelineByFlags,
    testing::Values(
        StageRow{"Default", 0x770008, true, Join({kPrepare, kDo, kModified, {"o.Update", "doc.DoUpdateUI", "op.~"}})},
        StageRow{"DefaultNotLoaded", 0x770008, false, Join({kPrepare, kDo, {"o.Update", "doc.DoUpdateUI", "op.~"}})},
        StageRow{"NoLogBitChangesNothing", 0x1770008, true,
                 Join({kPrepare, kDo, kModified, {"o.Update", "doc.DoUpdateUI", "op.~"}})},
        StageRow{"Refresh", 0x700000, true, {"o.Update", "doc.DoUpdateUI", "op.~"}},
        StageRow{"DoAndWindowsOnly", 0x340000, true, Join({kDo, {"doc.DoUpdateUI", "op.~"}})},
        StageRow{"PrepareAndDoOnly", 0x50000, true, Join({kPrepare, kDo, {"op.~"}})},
        StageRow{"ObserversOnly", 0x400000, true, {"o.Update", "op.~"}},
        StageRow{"FrameOnly", 0x100000, true, {"doc.DoUpdateUI", "op.~"}},
        StageRow{"ViewsOnly", 0x200000, true, {"doc.DoUpdateUI", "op.~"}},
        StageRow{"ChangeOnly", 0x8, true, Join({kModified, {"op.~"}})},
        StageRow{"UndoableButNotDone", 0x20000, true, {"op.~"}},
        StageRow{"Nothing", 0, true, {"op.~"}}),
    [](const testing::TestParamInfo<StageRow>& info) { return std::string(info.param.name); });

TEST_F(DocumentPipeline, RefusingObjectStillPublishes) {
  TestObject b("b", &log);
  b.do_answer = false;
  EXPECT_FALSE(doc.DoOperation(NewOperation({&b, &a}), nullptr));
  EXPECT_EQ(log.Entries(), (Calls{"op._PrepareOperation", "b.Prepare", "a.Prepare", "doc._PrepareOperation",
                                  "op._DoOperation", "b.Do", "a.Do", "doc._DoOperation", "o.Update",
                                  "doc.DoUpdateUI", "op.~"}))
      << log;

  log.Clear();
  doc.do_answer = false;
  EXPECT_FALSE(doc.DoOperation(NewOperation({&a}), nullptr));
  EXPECT_EQ(log.Entries(), Join({kPrepare, kDo, {"o.Update", "doc.DoUpdateUI", "op.~"}})) << log;
  EXPECT_EQ(probe.destroyed, 2);
}

TEST_F(DocumentPipeline, FailedPrepareDropsTheOperationBeforeAnythingIsDone) {
  doc.SetDocLoaded(true);
  TestObject b("b", &log);
  b.prepare_answer = false;
  EXPECT_FALSE(doc.DoOperation(NewOperation({&b, &a}), nullptr));
  EXPECT_EQ(log.Entries(), (Calls{"op._PrepareOperation", "b.Prepare", "a.Prepare", "op.~"})) << log;

  log.Clear();
  probe.prepare_answer = false;  // the operation's own share refuses
  EXPECT_FALSE(doc.DoOperation(NewOperation({&a}), nullptr));
  EXPECT_EQ(log.Entries(), (Calls{"op._PrepareOperation", "a.Prepare", "op.~"})) << log;

  log.Clear();
  probe.prepare_answer = true;
  doc.prepare_answer = false;
  EXPECT_FALSE(doc.DoOperation(NewOperation({&a}), nullptr));
  EXPECT_EQ(log.Entries(), Join({kPrepare, {"op.~"}})) << log;

  EXPECT_EQ(probe.destroyed, 3);
  EXPECT_FALSE(doc.IsModified());

  log.Clear();
  EXPECT_FALSE(doc.DoOperation(nullptr, nullptr));
  EXPECT_TRUE(log.Entries().empty()) << log;
}

TEST_F(DocumentPipeline, UndoLockTakesTheUndoFlagAwayBeforePrepare) {
  EXPECT_TRUE(doc.DoOperation(NewOperation({&a}), nullptr));
  EXPECT_TRUE(probe.flags_at_prepare & MOperation::FLAG_CAN_BE_UNDONE) << "no lock: the flag stays";
  {
    MLocker outer(doc.GetUndoLockCounter());
    MLocker inner(doc.GetUndoLockCounter());
    EXPECT_EQ(doc.GetUndoLockCounter().GetCount(), 2u);
    log.Clear();
    EXPECT_TRUE(doc.DoOperation(NewOperation({&a}), nullptr));
    EXPECT_EQ(probe.flags_at_prepare, 0x750008u);
    EXPECT_EQ(log.Entries(), Join({kPrepare, kDo, {"o.Update", "doc.DoUpdateUI", "op.~"}})) << log;
  }
  EXPECT_FALSE(doc.IsUndoLocked());
  EXPECT_TRUE(doc.DoOperation(NewOperation({&a}), nullptr));
  EXPECT_TRUE(probe.flags_at_prepare & MOperation::FLAG_CAN_BE_UNDONE);
  EXPECT_EQ(probe.destroyed, 3);
}

TEST_F(DocumentPipeline, ExceptionFromAnObjectPassesThroughAndTheOperationIsDeleted) {
  a.on_do = [](MOperation&) { throw std::runtime_error("object failed"); };
  EXPECT_THROW(doc.DoOperation(NewOperation({&a}), nullptr), std::runtime_error);
  EXPECT_EQ(log.Entries(), (Calls{"op._PrepareOperation", "a.Prepare", "doc._PrepareOperation",
                                  "op._DoOperation", "a.Do", "op.~"}))
      << log;
  EXPECT_EQ(probe.destroyed, 1);

  // Thrown while the observers are told, inside the walk over them.
  a.on_do = nullptr;
  o.on_update = [](const MOperation&) { throw std::runtime_error("observer failed"); };
  EXPECT_THROW(doc.DoOperation(NewOperation({&a}), nullptr), std::runtime_error);
  EXPECT_EQ(probe.destroyed, 2);

  // The document goes on working.
  o.on_update = nullptr;
  log.Clear();
  EXPECT_TRUE(doc.DoOperation(NewOperation({&a}), nullptr));
  EXPECT_EQ(log.Entries(), Join({kPrepare, kDo, {"o.Update", "doc.DoUpdateUI", "op.~"}})) << log;
}

TEST_F(DocumentPipeline, NestedOperationFromAnObjectRunsWholeInsideTheOuterOne) {
  TestObject clone("clone", &log);
  OperationProbe inner_probe{&log};
  bool inner_result = false;
  a.on_do = [&](MOperation&) {
    auto* inner = new TestOperation("inner", inner_probe);
    inner->AddObject(&clone);
    inner_result = inner->DoOperation(nullptr);  // through the document of operations
  };
  EXPECT_TRUE(doc.DoOperation(NewOperation({&a}), nullptr));
  EXPECT_TRUE(inner_result);
  EXPECT_EQ(log.Entries(),
            (Calls{"op._PrepareOperation", "a.Prepare", "doc._PrepareOperation", "op._DoOperation", "a.Do",
                   "inner._PrepareOperation", "clone.Prepare", "doc._PrepareOperation", "inner._DoOperation",
                   "clone.Do", "doc._DoOperation", "doc.DoUpdateUI", "inner.~", "doc._DoOperation", "o.Update",
                   "doc.DoUpdateUI", "op.~"}))
      << log;
  EXPECT_EQ(inner_probe.destroyed, 1);
  EXPECT_EQ(probe.destroyed, 1);

  // A failing nested operation is the nested caller's business: the outer one succeeds.
  clone.prepare_answer = false;
  EXPECT_TRUE(doc.DoOperation(NewOperation({&a}), nullptr));
  EXPECT_FALSE(inner_result);
  EXPECT_EQ(inner_probe.destroyed, 2);
  EXPECT_EQ(probe.destroyed, 2);
}

}  // namespace
