#include "ostrum/undo/private/TransactionHandler.h"

#include <utility>

namespace Ostrum::Undo::Private {

Transaction::~Transaction() noexcept(false) = default;

void Transaction::AddAction(SharedRef<ActionEntry> entry) {
  if (!entry->HasId() && !m_id.empty()) entry->SetId(m_id);
  m_actions.PushFront(std::move(entry));
}

void Transaction::_Detach() {
  TransactionHandler* handler = GetOwner();
  handler->m_current = m_parent;
  if (m_parent)
    m_parent->m_child = nullptr;
  else
    handler->m_primary = nullptr;
  // The transactions open inside end implicitly, their actions kept for whatever this end
  // decides. Each inner one's actions are newer than the outer ones', so they go in front.
  for (Transaction* child = m_child; child;) {
    Transaction* inner = child->m_child;
    m_actions.SpliceFront(child->m_actions);
    if (m_action_string.empty()) m_action_string = child->m_action_string;
    handler->_Dispose(child);
    child = inner;
  }
  m_parent = nullptr;
  m_child = nullptr;
  SetOwner(nullptr);
}

TransactionHandler::~TransactionHandler() noexcept(false) {
  _DropTransactions();
  while (Transaction* spare = m_spare) {
    m_spare = spare->m_parent;
    delete spare;
  }
}

Transaction* TransactionHandler::_Begin(char const* id) {
  Transaction* tx;
  if (m_spare) {
    // An ended transaction made over: detached, empty, without key or text.
    tx = m_spare;
    m_spare = tx->m_parent;
    --m_spare_count;
    tx->m_parent = m_current;
    if (id)
      tx->m_id.assign(id);
    else if (m_current)
      tx->m_id = m_current->m_id;
    else
      tx->m_id.clear();
    tx->m_serial = ++m_serial;
  } else {
    tx = new Transaction(m_current, id ? std::string(id) : m_current ? m_current->m_id : std::string(), ++m_serial);
  }
  tx->SetOwner(this);
  if (m_current)
    m_current->m_child = tx;
  else
    m_primary = tx;
  m_current = tx;
  return tx;
}

Transaction* TransactionHandler::_FindOpen(Transaction* tx, std::uint64_t serial) const {
  for (Transaction* open = m_primary; open; open = open->m_child)
    if (open == tx) return open->m_serial == serial ? open : nullptr;
  return nullptr;
}

void TransactionHandler::_DropTransactions() {
  if (Transaction* tx = m_primary) {
    tx->_Detach();
    _Dispose(tx);
  }
}

void TransactionHandler::_Dispose(Transaction* tx) {
  if (m_spare_count >= kSpareTransactions) {
    delete tx;
    return;
  }
  // What deleting it would do, in the same order: the key goes, then the actions and the text.
  tx->SetOwner(nullptr);
  tx->m_child = nullptr;
  tx->m_actions.Clear();
  tx->m_action_string.Reset();
  tx->m_parent = m_spare;  // the list of spares is linked through the parent
  m_spare = tx;
  ++m_spare_count;
}

void TransactionHandler::Commit(Transaction* tx) {
  tx->_Detach();
  if (m_primary) {
    m_current->m_actions.SpliceFront(tx->m_actions);
    _Dispose(tx);
  } else {
    _OnCommitPrimary(tx);
  }
}

bool TransactionHandler::Rollback(Transaction* tx) {
  tx->_Detach();
  return _OnRollback(tx);
}

void TransactionHandler::Terminate(Transaction* tx) {
  tx->_Detach();
  _OnTerminate(tx);
}

void TransactionHandler::_OnTerminate(Transaction* tx) { _Dispose(tx); }

}  // namespace Ostrum::Undo::Private
