#pragma once
// TestDocument: a host document that logs the pipeline's calls into its own hooks and can be
// told to refuse a prepare or fail its share of doing.

#include <cstdint>

#include "ostrum/document/MDocument.h"
#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/operations/MOperation.h"
#include "support/CallLog.h"

class TestDocument : public MDocument {
 public:
  explicit TestDocument(CallLog* log = nullptr) : m_log(log) {}

  bool prepare_answer = true;
  bool do_answer = true;
  /// The done mark as the document's share of doing saw it.
  bool done_mark_in_do = false;

  /// A host sets this after a successful load or save; tests set it directly.
  void SetDocLoaded(bool loaded) { m_doc_loaded = loaded; }

  void DoUpdateUI(MOperation* operation, void* param, uint32_t unused) override {
    LogCall(m_log, "doc.DoUpdateUI");
    MDocument::DoUpdateUI(operation, param, unused);
  }

 protected:
  bool _PrepareOperation(MOperation* operation) override {
    LogCall(m_log, "doc._PrepareOperation");
    return MDocument::_PrepareOperation(operation) && prepare_answer;
  }
  bool _DoOperation(MOperation* operation) override {
    LogCall(m_log, "doc._DoOperation");
    done_mark_in_do = IUIUpdate::IsOperationBeingDone();
    return MDocument::_DoOperation(operation) && do_answer;
  }

 private:
  CallLog* m_log;
};
