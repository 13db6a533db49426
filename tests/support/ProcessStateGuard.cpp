// A guard around every test of a suite: the framework's process-wide settings that a test may
// change (the undo directory and budget, the desktop backend)
// are put back as they were before the test, and a test that leaves a living document or a
// process-wide repository behind fails, so that no test depends on the order they run in.

#include <gtest/gtest.h>

#include "ostrum/coordinates/MTransformRepository.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MUndoHandler.h"

namespace {

class ProcessStateGuard : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override {
    m_undo_directory = MUndoHandler::GetUndoTempDir();
    m_undo_budget = MDocument::GetUndoDiskSpace();
    m_backend = &Ostrum::Desktop::GetDesktopBackend();
  }

  void OnTestEnd(const testing::TestInfo&) override {
    MUndoHandler::mg_temp_directory = m_undo_directory;
    MDocument::SetUndoDiskSpace(m_undo_budget);
    Ostrum::Desktop::SetDesktopBackend(m_backend);
    if (MDocument::GetActiveDocument() || MOperation::GetDocument()) {
      ADD_FAILURE() << "the test left a living document behind";
      MDocument::mgp_doc_instance = nullptr;
      MOperation::mgp_document = nullptr;
    }
    EXPECT_EQ(MTransformRepository::GetInstance(), nullptr)
        << "the test left the process-wide repository of coordinate systems behind";
  }

  MFileName m_undo_directory;
  long long m_undo_budget = 0;
  Ostrum::Desktop::IDesktopBackend* m_backend = nullptr;
};

// Registered when the suite's program starts, before any test runs.
const bool kRegistered = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new ProcessStateGuard);
  return true;
}();

}  // namespace
