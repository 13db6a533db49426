// The stages of MDocument::DoOperation, and the agents that keep the undo files within the
// document's disk budget.

#include "ostrum/document/private/OperationDoer.h"

#include <cstdio>
#include <exception>
#include <deque>
#include <unordered_set>
#include <utility>
#include <vector>

#include "ostrum/document/private/OperationWrapper.h"
#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/IActionEnumAgent.h"
#include "ostrum/undo/IActionFilter.h"
#include "ostrum/undo/Manager.h"
#include "ostrum/undo/Transaction.h"

using Doer = MDocument::_UndoRedo::OperationDoer;
using Wrapper = MDocument::_UndoRedo::OperationWrapper;

namespace {

// Sums the sizes on disk of the undo files of the wrappers it is shown.
class UndoDiskUsageAgent : public Ostrum::Undo::IActionEnumAgent {
 public:
  using IActionEnumAgent::OnAction;
  void OnAction(Ostrum::IAction const* action, char const*) override {
    auto* wrapper = dynamic_cast<Wrapper const*>(action);
    if (wrapper && !wrapper->GetUndoFile().IS_EMPTY()) m_total += wrapper->GetUndoFile().FILE_SIZE();
  }
  long long m_total = 0;
};

// Collects the undo stack by groups, the oldest group at the front (the stack is walked from
// the top), and tags the actions of the oldest groups whose removal brings the total within
// the limit.
class OversizeActionsTaggerAgent : public Ostrum::Undo::IActionEnumAgent {
 public:
  using Group = std::vector<std::pair<Ostrum::IAction const*, char const*>>;
  using IActionEnumAgent::OnAction;

  void OnBeginGroup(wchar_t const*) override { m_groups.emplace_front(); }
  void OnAction(Ostrum::IAction const* action, char const* id) override {
    if (m_groups.empty()) m_groups.emplace_front();
    m_groups.front().emplace_back(action, id);
  }

  void Tag(long long total, long long limit) {
    long long released = 0;
    for (const Group& group : m_groups) {
      if (!(limit < total - released)) break;
      UndoDiskUsageAgent usage;
      for (const auto& [action, id] : group) usage.OnAction(action, id);
      released += usage.m_total;
      for (const auto& entry : group) m_tagged.push_back(entry.first);
    }
  }

  std::deque<Group> m_groups;
  std::vector<Ostrum::IAction const*> m_tagged;
};

// Matches the tagged actions.
class TaggedActionsFilter : public Ostrum::Undo::IActionFilter {
 public:
  explicit TaggedActionsFilter(const std::vector<Ostrum::IAction const*>& tagged)
      : m_tagged(tagged.begin(), tagged.end()) {}
  bool IsActionMatched(Ostrum::IAction const* action, char const*) const override {
    return m_tagged.count(action) != 0;
  }

 private:
  std::unordered_set<Ostrum::IAction const*> m_tagged;
};

}  // namespace

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
// go, oldest first. The new operation's own state is not on disk yet, so the budget can be
// exceeded by one operation.
void Doer::EnforceUndoDiskLimit() {
  Ostrum::Undo::Manager* manager = m_document->GetUndoManager();
  if (!manager || manager->IsInSubstitutionStack() || manager->IsBusy()) return;
  UndoDiskUsageAgent usage;
  manager->EnumerateUndoActions(&usage, nullptr);
  const long long limit = MDocument::GetUndoDiskSpace();
  if (usage.m_total <= limit) return;
  OversizeActionsTaggerAgent tagger;
  manager->EnumerateUndoActions(&tagger, nullptr);
  tagger.Tag(usage.m_total, limit);
  if (tagger.m_tagged.empty()) return;
  TaggedActionsFilter filter(tagger.m_tagged);
  manager->ExtractUndoActions(nullptr, &filter);
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
  m_wrapper = new Wrapper(m_document, m_operation);
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

// 8. Objects deleted by the operation die in the database's recycling, after observers and
// windows have seen the operation. Without a database there is nothing to recycle.
void Doer::RecycleGarbage() {}

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
