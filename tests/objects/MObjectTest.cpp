#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostrum/objects/MObject.h"
#include "support/TestDocument.h"
#include "support/TestObjects.h"
#include "support/TestOperation.h"

namespace {

using Calls = std::vector<std::string>;

// The do-nothing object answers false where an answer is asked: an operation naming it fails,
// while the other objects and the document still take their share.
TEST(MObject, DefaultAnswersMakeTheOperationFail) {
  CallLog log;
  TestDocument doc(&log);
  MObject plain;
  TestObject tree("tree", &log);
  OperationProbe probe{&log};

  auto* op = new TestOperation("op", probe);
  op->AddObject(&plain);
  op->AddObject(&tree);
  EXPECT_FALSE(doc.DoOperation(op, nullptr));
  EXPECT_EQ(log.Entries(), (Calls{"op._PrepareOperation", "tree.Prepare", "op.~"})) << log;

  log.Clear();
  op = new TestOperation("op", probe);
  op->SetFlags(MOperation::FLAG_HAS_TO_BE_DONE);
  op->AddObject(&plain);
  op->AddObject(&tree);
  EXPECT_FALSE(doc.DoOperation(op, nullptr));
  EXPECT_EQ(log.Entries(), (Calls{"op._DoOperation", "tree.Do", "doc._DoOperation", "op.~"})) << log;

  log.Clear();
  op = new TestOperation("op", probe);
  op->SetFlags(MOperation::FLAG_HAS_TO_BE_DONE);
  op->AddObject(&tree);
  EXPECT_TRUE(doc.DoOperation(op, nullptr)) << "a tree object alone lets the operation succeed";
  EXPECT_EQ(probe.destroyed, 3);
}

}  // namespace
