// The stages of MDocument::DoOperation.

#include "ostrum/document/private/OperationDoer.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <vector>

#include "ostrum/database/MDataBase.h"
#include "ostrum/undo/IActionFilter.h"
#include "ostrum/document/private/OperationWrapper.h"
#include "ostrum/document/private/UndoBudget.h"
#include "ostrum/document/private/UndoFiles.h"
#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/Manager.h"
#include "ostrum/undo/Transaction.h"

using Doer = MDocument::_UndoRedo::OperationDoer;
using Wrapper = MDocument::_UndoRedo::OperationWrapper;

Doer::OperationDoer(MDocument* document, MOperation* operation, void* param)
    : m_document(document),
      m_operation(operation),
      m_param(param),
      m_exceptions_at_start(std::uncaught_exceptions()) {}

Doer::~OperationDoer() {
  if (m_transaction && std::uncaught_exceptions() > m_exceptions_at_start) m_transaction->Terminate();
  if (m_wrapper)
    m_wrapper->Discard();
  else if (m_owns_operation)
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

// 2. Trims the undo files to the document's budget before new state is written: whole groups
// go, oldest first, and their files at once, so the disk never holds more than the budget and
// the one step about to be written.
void Doer::EnforceUndoDiskLimit() {
  Ostrum::Undo::Manager* manager = m_document->GetUndoManager();
  if (!manager) return;
  Ostrum::Private::TrimUndoFiles(*manager, m_document->m_undo_files->bytes, MDocument::GetUndoDiskSpace(), false);
}

// 3. Opens the transaction, named before anything is done, then asks the operation and, if it
// agreed, the document to prepare. A refusal rolls back.
bool Doer::Prepare() {
  if (_IsUndoable()) {
    m_transaction = m_document->GetUndoManager()->BeginTransaction(nullptr, nullptr);
    if (m_transaction) m_transaction->SetActionString(m_operation->GetActionString());
  }
  if (!m_operation->HasToBePrepared()) return true;
  if (m_operation->_PrepareOperation() && m_document->_PrepareOperation(m_operation)) return true;
  Rollback();
  return false;
}

// 4. The wrapper takes the operation and writes the objects' state to its undo file. A file
// that cannot be made cancels the operation, unless it is to be undone once at most.
bool Doer::StoreUndoState() {
  if (!_IsUndoable()) return true;
  m_wrapper = new Wrapper(m_document, m_operation, m_document->m_undo_files);
  m_owns_operation = false;
  if (!m_wrapper->StoreUndoState() && !m_operation->ShouldUndoOnce()) {
    Rollback();
    return false;
  }
  return true;
}

// 5. Registration (before the doing, so that whatever the objects do in turn lands behind it
// in the same transaction), then the operation's and the document's share. The document is
// asked even when the operation failed.
void Doer::Execute() {
  if (m_operation->HasToBeDone()) {
    if (m_transaction && m_transaction->IsValid()) _RegisterUndoAction();
    m_result &= m_operation->_DoOperation();
    IUIUpdate::_SetOperationBeingDone();
    m_result &= m_document->_DoOperation(m_operation);
  } else if (_IsUndoable()) {
    // Nothing was done, so nothing is registered: the wrapper leaves with the doer and the
    // transaction commits empty.
    m_operation->AddFlags(MOperation::FLAG_HAS_TO_BE_DONE);
  }
}

void Doer::_RegisterUndoAction() {
  if (!m_wrapper) return;
  char tag[16] = {};
  const uint32_t key = m_operation->GetTemporaryOperationKey();
  if (key != MOperation::NO_TEMPORARY_KEY) std::snprintf(tag, sizeof tag, "%x", static_cast<unsigned>(key));
  Wrapper* wrapper = m_wrapper;
  m_wrapper = nullptr;
  m_document->GetUndoManager()->RegisterAction(wrapper, key != MOperation::NO_TEMPORARY_KEY ? tag : nullptr);
}

// 6. The modified mark, the observers of the operation's objects, then frame and views.
void Doer::Publish() {
  m_document->_MarkModified(*m_operation);
  if (m_operation->NeedsUpdateObservers()) m_document->_UpdateObservers(*m_operation);
  if (m_operation->NeedsUpdateUI()) m_document->DoUpdateUI(m_operation, m_param, 0);
}

// 7. The commit hands the operation to the undo system; an operation that leaves no undo entry
// dies here.
void Doer::Finish() {
  if (m_transaction) {
    m_transaction->Commit();
    m_transaction = nullptr;
    if (!m_wrapper) m_operation = nullptr;  // registered: the manager holds it now
  }
  if (m_operation && m_owns_operation && !_IsUndoable()) {
    delete m_operation;
    m_operation = nullptr;
  }
}

namespace {

// Objects that died while their document's undo manager could not be changed (an operation
// group open, an operation nested in another, an undo running): the steps naming them are taken
// out as soon as it can be. Only the addresses are kept, compared and never followed. The
// database and its garbage belong to the document's thread, and so does this list.
struct DeadWhileBusy {
  const MDocument* document;
  const IObject* object;
};
std::vector<DeadWhileBusy>& PendingDead() {
  thread_local std::vector<DeadWhileBusy> pending;
  return pending;
}

}  // namespace

// 8. Objects deleted by the operation die in the database's recycling, after observers and
// windows have seen the operation. Steps of this document's history that still name one of
// them would reach freed memory when undone or redone; a host is to take them out with
// RemoveAllOperationsForObject before such a deletion (which itself cannot be undone), and
// whatever it left is taken out here, the same way, before the objects die, or once the
// manager is free again when it is busy now.
void Doer::RecycleGarbage() {
  const std::vector<IObject*>& garbage = MObjectList::_GetGarbage();
  if (!garbage.empty() && m_document->GetUndoManager()) {
    std::vector<DeadWhileBusy>& pending = PendingDead();
    for (const IObject* object : garbage) pending.push_back({m_document, object});
    RemoveStepsOfTheDead(m_document);
  }
  MDataBase::RecycleGarbage();
}

void Doer::RemoveStepsOfTheDead(MDocument* document) {
  std::vector<DeadWhileBusy>& pending = PendingDead();
  Ostrum::Undo::Manager* manager = document->GetUndoManager();
  if (pending.empty() || !manager || manager->IsBusy()) return;
  std::vector<const IObject*> dead;
  std::erase_if(pending, [&](const DeadWhileBusy& entry) {
    if (entry.document != document) return false;
    dead.push_back(entry.object);
    return true;
  });
  std::sort(dead.begin(), dead.end());
  RemoveStepsNaming(*manager, dead.data(), dead.data() + dead.size());
}

void Doer::ForgetTheDeadOf(const MDocument* document) {
  std::erase_if(PendingDead(), [&](const DeadWhileBusy& entry) { return entry.document == document; });
}

void Doer::RemoveStepsNaming(Ostrum::Undo::Manager& manager, const IObject* const* begin, const IObject* const* end) {
  // Matches the wrappers whose operation names one of the objects.
  class ActionFilterByObject : public Ostrum::Undo::IActionFilter {
   public:
    ActionFilterByObject(const IObject* const* begin, const IObject* const* end) : m_begin(begin), m_end(end) {}
    bool IsActionMatched(Ostrum::IAction const* action, char const*) const override {
      auto* wrapper = dynamic_cast<Wrapper const*>(action);
      if (!wrapper || !wrapper->GetOperation()) return false;
      // The constant list: asking for the other one marks it handed out for changing.
      const MOperation* operation = wrapper->GetOperation();
      for (IObject* named : operation->GetObjectList())
        if (std::binary_search(m_begin, m_end, static_cast<const IObject*>(named))) return true;
      return false;
    }

   private:
    const IObject* const* m_begin;
    const IObject* const* m_end;
  };
  if (begin == end) return;
  ActionFilterByObject filter(begin, end);
  manager.ExtractUndoActions(nullptr, &filter);
  manager.ExtractRedoActions(nullptr, &filter);
}

void Doer::Rollback() {
  if (m_transaction && m_transaction->IsValid()) m_transaction->Rollback();
  m_transaction = nullptr;
  if (m_wrapper) {
    Wrapper* wrapper = m_wrapper;
    m_wrapper = nullptr;
    wrapper->Discard();  // and the operation it owns
  } else if (m_owns_operation) {
    delete m_operation;
  }
  m_operation = nullptr;
  m_owns_operation = false;
  m_result = false;
}
