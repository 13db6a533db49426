#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostrum/operations/MOperationContext.h"
#include "support/TestDocument.h"
#include "support/TestObjects.h"
#include "support/TestOperation.h"

namespace {

using Calls = std::vector<std::string>;

// Until the document has an undo manager, no group can begin, and ending a handle only
// clears it.
TEST(DocumentGroups, WithoutAnUndoManagerNoGroupBeginsAndEndingClearsTheHandle) {
  TestDocument doc;
  EXPECT_EQ(doc.GetUndoManager(), nullptr);
  EXPECT_EQ(doc.BeginOperationGroup(L"move", false), -1);
  EXPECT_EQ(doc.BeginOperationGroup(L"move", true), -1);
  EXPECT_EQ(doc.BeginTemporaryOperationGroup(L"drag", 0x2a, false), -1);
  EXPECT_EQ(MOperation::BeginOperationGroup(L"move", false), -1);
  EXPECT_EQ(MOperation::BeginTemporaryOperationGroup(L"drag", 0x2a, false), -1);

  using End = bool (*)(TestDocument&, long long&);
  struct Ending {
    const char* name;
    End end;
  };
  const Ending endings[] = {
      {"End", [](TestDocument& d, long long& h) { return d.EndOperationGroup(h); }},
      {"Abort", [](TestDocument& d, long long& h) { return d.AbortOperationGroup(h); }},
      {"Kill", [](TestDocument& d, long long& h) { return d.KillOperationGroup(h); }},
      {"MOperation::End", [](TestDocument&, long long& h) { return MOperation::EndOperationGroup(h); }},
      {"MOperation::Abort", [](TestDocument&, long long& h) { return MOperation::AbortOperationGroup(h); }},
      {"MOperation::Kill", [](TestDocument&, long long& h) { return MOperation::KillOperationGroup(h); }},
  };
  for (const Ending& ending : endings) {
    SCOPED_TRACE(ending.name);
    long long handle = -1;
    EXPECT_FALSE(ending.end(doc, handle));
    EXPECT_EQ(handle, -1);
    handle = 0x5000;
    EXPECT_FALSE(ending.end(doc, handle));
    EXPECT_EQ(handle, -1);
  }
}

TEST(DocumentGroups, TemporaryKeysCountUpFromEveryEntryPoint) {
  TestDocument doc;
  const uint32_t first = MDocument::GetUniqueTemporaryOperationKey();
  EXPECT_GE(first, 1u) << "the counter answers the incremented value: 1 in a fresh process, never 0";
  EXPECT_EQ(MOperation::GetUniqueTemporaryOperationKey(), first + 1);
  EXPECT_EQ(doc.GetUniqueTemporaryOperationKey(), first + 2);
}

TEST(DocumentUndo, HistoryCallsAnswerFalseWithoutAnUndoManager) {
  TestDocument doc;
  EXPECT_FALSE(doc.GoToOperation(0, false));
  EXPECT_FALSE(doc.PurgeUndoStack());
  EXPECT_FALSE(doc.UndoOperation());
  EXPECT_FALSE(doc.RedoOperation());
  EXPECT_FALSE(doc.IsUndoRedo());
}

TEST(MOperationRunning, WithoutADocumentTheOperationIsDeletedAndFails) {
  { TestDocument doc; }
  ASSERT_EQ(MOperation::GetDocument(), nullptr);
  OperationProbe probe;
  EXPECT_FALSE((new TestOperation("op", probe))->DoOperation(nullptr));
  EXPECT_EQ(probe.destroyed, 1);
  EXPECT_EQ(MOperation::BeginOperationGroup(L"g", false), -1);
  long long handle = 0x5000;
  EXPECT_FALSE(MOperation::EndOperationGroup(handle));
}

TEST(MOperationRunning, DoOperationHandsTheOperationAndParameterToTheDocument) {
  CallLog log;
  TestDocument doc(&log);
  TestObject a("a", &log);
  OperationProbe probe{&log};
  auto* op = new TestOperation("op", probe);
  op->SetFlags(MOperation::FLAG_HAS_TO_BE_DONE);
  op->AddObject(&a);
  EXPECT_TRUE(op->DoOperation(nullptr));
  EXPECT_EQ(log.Entries(), (Calls{"op._DoOperation", "a.Do", "doc._DoOperation", "op.~"})) << log;

  a.do_answer = false;
  op = new TestOperation("op", probe);
  op->AddObject(&a);
  EXPECT_FALSE(op->DoOperation(nullptr)) << "the document's answer comes back";
  EXPECT_EQ(probe.destroyed, 2);
}

TEST(MOperationRunning, ExecuteRunsARemovalOfTheContextsObjectsAndAnswersFalse) {
  CallLog log;
  TestDocument doc(&log);
  TestObject a("a", &log), b("b", &log);
  MOperationContext context;
  EXPECT_FALSE(MOperation::IsExecutePossible(context, MOperation::ACTION_REMOVE));
  context.AddObject(&a);
  context.AddObject(&b);
  EXPECT_TRUE(MOperation::IsExecutePossible(context, MOperation::ACTION_REMOVE));
  for (uint32_t other : {0u, 3u, 4u, 60000u}) EXPECT_FALSE(MOperation::IsExecutePossible(context, other)) << other;

  EXPECT_FALSE(MOperation::Execute(context, MOperation::ACTION_REMOVE));
  EXPECT_EQ(log.Entries(), (Calls{"a.Prepare", "b.Prepare", "doc._PrepareOperation", "a.Do", "b.Do",
                                  "doc._DoOperation", "doc.DoUpdateUI"}))
      << log;
}

}  // namespace
