// The stages of MDocument::DoOperation.
//
// The stages that keep undo state (the disk budget, the transaction, the undo file, the
// registration and the commit) act only when the document has an undo manager; without one
// the operation runs as one that cannot be undone, and is deleted at the end of the call.

#include "ostrum/document/private/OperationDoer.h"

#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/operations/MOperation.h"

using Doer = MDocument::_UndoRedo::OperationDoer;

Doer::~OperationDoer() {
  // No undo action exists without an undo manager, so only the operation can be left here.
  delete m_operation;
}

bool Doer::Do() {
  CheckUndoAbility();
  if (m_operation->CanBeUndone()) EnforceUndoDiskLimit();
  if (!Prepare()) return m_result;
  if (!StoreUndoState()) return m_result;
  Execute();
  Publish();
  Finish();
  RecycleGarbage();
  return m_result;
}

bool Doer::_IsUndoable() const {
  return m_operation->CanBeUndone() && m_document->GetUndoManager() != nullptr;
}

// 1. An operation started from inside an undo or a redo, or under the undo lock, is never
// itself undoable.
void Doer::CheckUndoAbility() {
  if (m_document->IsUndoRedo() && m_operation->CanBeUndone())
    m_operation->RemoveFlags(MOperation::FLAG_CAN_BE_UNDONE);
  if (m_document->IsUndoLocked() && m_operation->CanBeUndone())
    m_operation->RemoveFlags(MOperation::FLAG_CAN_BE_UNDONE);
}

// 2. Trims the undo files to the document's budget before new state is written. Without an
// undo manager there are no undo files to trim.
void Doer::EnforceUndoDiskLimit() {
  if (!m_document->GetUndoManager()) return;
}

// 3. Opens the transaction (with an undo manager), then asks the operation and, if it agreed,
// the document to prepare. A refusal rolls back.
bool Doer::Prepare() {
  if (!m_operation->HasToBePrepared()) return true;
  if (m_operation->_PrepareOperation() && m_document->_PrepareOperation(m_operation)) return true;
  Rollback();
  return false;
}

// 4. Writes the objects' state to an undo file for an undoable operation. Without an undo
// manager nothing is kept.
bool Doer::StoreUndoState() {
  if (!_IsUndoable()) return true;
  return true;
}

// 5. Registration (before the doing, so that whatever the objects do in turn lands behind it
// in the same transaction), then the operation's and the document's share. The document is
// asked even when the operation failed.
void Doer::Execute() {
  if (m_operation->HasToBeDone()) {
    if (m_transaction) _RegisterUndoAction();
    m_result &= m_operation->_DoOperation();
    IUIUpdate::_SetOperationBeingDone();
    m_result &= m_document->_DoOperation(m_operation);
  } else if (_IsUndoable()) {
    // Nothing was done, so nothing is registered; the operation is marked as one to be done
    // and leaves with the doer.
    m_operation->AddFlags(MOperation::FLAG_HAS_TO_BE_DONE);
  }
}

void Doer::_RegisterUndoAction() {}

// 6. The modified mark, the observers of the operation's objects, then frame and views.
void Doer::Publish() {
  if (m_operation->CausesDocumentChange() && m_document->IsDocLoaded()) {
    m_document->SetModifiedFlag(true);
    m_document->SetTitle(m_document->GetTitle());
  }
  if (m_operation->NeedsUpdateObservers()) m_document->_UpdateObservers(*m_operation);
  if (m_operation->NeedsUpdateUI()) m_document->DoUpdateUI(m_operation, m_param, 0);
}

// 7. The transaction commits (the undo system then holds the operation); an operation that
// leaves no undo entry dies here.
void Doer::Finish() {
  if (m_operation && !_IsUndoable()) {
    delete m_operation;
    m_operation = nullptr;
  }
}

// 8. Objects deleted by the operation die in the database's recycling, after observers and
// windows have seen the operation. Without a database there is nothing to recycle.
void Doer::RecycleGarbage() {}

void Doer::Rollback() {
  delete m_operation;
  m_operation = nullptr;
  m_result = false;
}
