#include "ostrum/undo/private/TransactionHandler.h"

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
    delete child;
    child = inner;
  }
  m_parent = nullptr;
  m_child = nullptr;
  SetOwner(nullptr);
}

TransactionHandler::~TransactionHandler() noexcept(false) { _DropTransactions(); }

Transaction* TransactionHandler::_Begin(char const* id) {
  Transaction* tx = new Transaction(m_current, id ? std::string(id) : m_current ? m_current->m_id : std::string(),
                                    ++m_serial);
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
    delete tx;
  }
}

void TransactionHandler::Commit(Transaction* tx) {
  tx->_Detach();
  if (m_primary) {
    m_current->m_actions.SpliceFront(tx->m_actions);
    delete tx;
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

void TransactionHandler::_OnTerminate(Transaction* tx) { delete tx; }

}  // namespace Ostrum::Undo::Private
