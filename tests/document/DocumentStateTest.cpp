#include <gtest/gtest.h>

#include <string>

#include "support/TestDocument.h"
#include "support/TestOperation.h"

namespace {

bool RunWithFlags(TestDocument& doc, OperationProbe& probe, uint32_t flags) {
  auto* op = new TestOperation("op", probe);
  op->SetFlags(flags);
  return doc.DoOperation(op, nullptr);
}

TEST(DocumentTitle, EachChangeOfALoadedDocumentAppendsAModifiedMark) {
  OperationProbe probe;
  TestDocument doc;
  doc.SetTitle(L"plan");

  // Not loaded yet: however much changes, no mark.
  RunWithFlags(doc, probe, MOperation::FLAGS_DEFAULT);
  RunWithFlags(doc, probe, MOperation::FLAGS_DEFAULT);
  EXPECT_FALSE(doc.IsModified());
  EXPECT_EQ(doc.GetTitle(), L"plan");

  doc.SetDocLoaded(true);
  RunWithFlags(doc, probe, MOperation::FLAGS_DEFAULT);
  EXPECT_TRUE(doc.IsModified());
  EXPECT_EQ(doc.GetTitle(), L"plan*");
  RunWithFlags(doc, probe, MOperation::FLAG_CAUSES_DOCUMENT_CHANGE);
  EXPECT_EQ(doc.GetTitle(), L"plan**") << "every refresh of a modified title adds one mark";

  // Operations that change nothing, or never run, leave the title.
  RunWithFlags(doc, probe, MOperation::FLAGS_DEFAULT & ~MOperation::FLAG_CAUSES_DOCUMENT_CHANGE);
  probe.prepare_answer = false;
  EXPECT_FALSE(RunWithFlags(doc, probe, MOperation::FLAGS_DEFAULT));
  EXPECT_EQ(doc.GetTitle(), L"plan**");

  doc.SetTitle(L"other");
  EXPECT_EQ(doc.GetTitle(), L"other*");
  doc.SetModifiedFlag(false);
  doc.SetTitle(L"other");
  EXPECT_EQ(doc.GetTitle(), L"other");
  EXPECT_EQ(probe.destroyed, 6);
}

TEST(DocumentRegistry, NewestDocumentIsActiveAndReceivesTheOperations) {
  auto* first = new TestDocument;
  {
    TestDocument second;
    EXPECT_EQ(MDocument::GetActiveDocument(), &second);
    EXPECT_EQ(MOperation::GetDocument(), &second);
    delete first;  // not the active one: the active one stays
    EXPECT_EQ(MDocument::GetActiveDocument(), &second);
    EXPECT_EQ(MOperation::GetDocument(), &second);
  }
  EXPECT_EQ(MDocument::GetActiveDocument(), nullptr);
  EXPECT_EQ(MOperation::GetDocument(), nullptr);
}

}  // namespace
