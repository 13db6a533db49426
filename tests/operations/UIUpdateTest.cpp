#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostrum/operations/IUIUpdate.h"
#include "support/TestDocument.h"
#include "support/TestOperation.h"

namespace {

using Calls = std::vector<std::string>;

class RecordingWindow : public IUIUpdate {
 public:
  CallLog log;
  const MOperation* operation = nullptr;
  void* param = nullptr;

  void OnUpdateUI(MOperation& op, void* p) override { Record("OnUpdateUI", op, p); }
  void OnUpdateUIDo(MOperation& op, void* p) override { Record("OnUpdateUIDo", op, p); }
  void OnUpdateUIUndo(MOperation& op, void* p) override { Record("OnUpdateUIUndo", op, p); }
  void OnUpdateUIRedo(MOperation& op, void* p) override { Record("OnUpdateUIRedo", op, p); }

 private:
  void Record(const char* call, MOperation& op, void* p) {
    log.Add(call);
    operation = &op;
    param = p;
  }
};

// The marks are process-wide and only the document's pipeline sets them; nothing in this
// program runs the pipeline before this test unless the tests are shuffled or repeated.
TEST(IUIUpdate, WithoutAMarkOnlyTheCommonHookRuns) {
  if (IUIUpdate::IsOperationBeingDone() || IUIUpdate::IsOperationBeingUndone() ||
      IUIUpdate::IsOperationBeingRedone())
    GTEST_SKIP() << "an earlier test in this process has set a mark";
  RecordingWindow window;
  MOperation op;
  window.DoUpdateUI(op, &window);
  EXPECT_EQ(window.log.Entries(), Calls{"OnUpdateUI"}) << window.log;
}

TEST(IUIUpdate, DoneMarkRoutesToTheDoHookAfterTheCommonOne) {
  OperationProbe probe;
  TestDocument doc;
  ASSERT_TRUE(doc.DoOperation(new TestOperation("op", probe), nullptr));
  EXPECT_TRUE(doc.done_mark_in_do) << "the mark stands before the document's share of doing";
  EXPECT_TRUE(IUIUpdate::IsOperationBeingDone());
  EXPECT_FALSE(IUIUpdate::IsOperationBeingUndone());
  EXPECT_FALSE(IUIUpdate::IsOperationBeingRedone());

  RecordingWindow window;
  MOperation op;
  int param = 0;
  window.DoUpdateUI(op, &param);
  EXPECT_EQ(window.log.Entries(), (Calls{"OnUpdateUI", "OnUpdateUIDo"})) << window.log;
  EXPECT_EQ(window.operation, &op);
  EXPECT_EQ(window.param, &param);
}

}  // namespace
