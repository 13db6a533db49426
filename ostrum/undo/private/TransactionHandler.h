#pragma once
// The private side of transactions: the open transaction with its actions, and the handler
// that keeps the chain of open transactions of one state of the controller.

#include <cstdint>
#include <string>

#include "ostrum/undo/Transaction.h"
#include "ostrum/undo/private/ActionEntry.h"
#include "ostrum/undo/private/ActionText.h"
#include "ostrum/undo/private/RefList.h"
#include "ostrum/undo/private/TransactionTable.h"

namespace Ostrum::Undo::Private {

class TransactionHandler;

/// An open transaction. Owned by its handler; registered in the transaction table exactly while
/// it is open. Open transactions form a single chain from the primary inward, since only the
/// current (innermost) one can gain a child.
class Transaction : public ReferredObject<Transaction, TransactionHandler, Undo::Transaction> {
 public:
  ~Transaction() noexcept(false) override;

  /// Adds `entry` as the newest action. An entry registered without an identifier takes the
  /// transaction's, so an action that registers itself again during undo keeps its old one.
  void AddAction(SharedRef<ActionEntry> entry);
  bool IsEmpty() const { return m_actions.IsEmpty(); }
  /// The actions, the newest at the front: the order in which they are undone.
  RefList<ActionEntry>& GetActions() { return m_actions; }
  /// The text for the user, "" until set.
  wchar_t const* GetActionString() const { return m_action_string.c_str(); }
  /// The text itself, for moving it out without a copy.
  ActionText& GetActionText() { return m_action_string; }
  void SetActionText(ActionText text) { m_action_string = std::move(text); }
  const std::string& GetId() const { return m_id; }
  /// Tells this transaction from a later one that the allocator put at the same address.
  std::uint64_t GetSerial() const { return m_serial; }

 private:
  friend class TransactionHandler;
  Transaction(Transaction* parent, std::string id, std::uint64_t serial)
      : m_parent(parent), m_id(std::move(id)), m_serial(serial) {}

  /// The common first step of every end: unlinks the transaction from its handler, folds the
  /// transactions open inside it into it (their actions in front, the first non-empty action
  /// string if it has none) and deletes them, and gives up the owner, which makes the handle
  /// stale.
  void _Detach();

  Transaction* m_parent;            // the enclosing open transaction, null for the primary
  Transaction* m_child = nullptr;   // the open transaction directly inside, null if none
  RefList<ActionEntry> m_actions;   // the newest at the front
  ActionText m_action_string;
  std::string m_id;
  std::uint64_t m_serial;           // unique among the transactions of its handler
};

/// Keeps the chain of open transactions and decides what their ends mean. The derived state
/// says what the commit of the primary and a rollback do.
class TransactionHandler {
 public:
  TransactionHandler(const TransactionHandler&) = delete;
  TransactionHandler& operator=(const TransactionHandler&) = delete;
  /// Drops the transactions still open, without calling back into the derived state.
  virtual ~TransactionHandler() noexcept(false);

  Transaction* GetPrimary() const { return m_primary; }
  /// The table that the handles of this handler's transactions are registered in; null when
  /// there is none to be had.
  virtual TransactionTable* GetTransactionTable() const = 0;
  /// `text` as a shared text, the same one as for the previous transaction when it reads the
  /// same. Null gives the empty text.
  virtual ActionText ShareText(wchar_t const* text) { return ActionText::Copy(text); }
  Transaction* GetCurrent() const { return m_current; }

  /// Ends `tx`; a nested one hands its actions to its parent, the primary goes to
  /// _OnCommitPrimary.
  void Commit(Transaction* tx);
  /// Ends `tx` and answers what _OnRollback does with it.
  bool Rollback(Transaction* tx);
  /// Ends `tx` and hands it to _OnTerminate.
  void Terminate(Transaction* tx);

 protected:
  TransactionHandler() = default;

  /// Opens a transaction inside the current one (or as the primary) and makes it current.
  /// A null `id` inherits the parent's. Throws std::bad_alloc if the table cannot take it.
  Transaction* _Begin(char const* id);
  /// Ends the open transactions without calling back: their actions are dropped.
  void _DropTransactions();
  /// Disposes of an ended (detached) transaction: its actions are released (to the deferred
  /// discard), and the object is kept for the next _Begin or deleted. In place of `delete`.
  void _Dispose(Transaction* tx);
  /// `tx` if it is still open here and is the transaction that carried `serial`; null otherwise.
  Transaction* _FindOpen(Transaction* tx, std::uint64_t serial) const;

  /// The primary `tx` was committed and detached; the derived state must delete it.
  virtual void _OnCommitPrimary(Transaction* tx) = 0;
  /// `tx` was detached for a rollback; the derived state must delete it.
  virtual bool _OnRollback(Transaction* tx) = 0;
  /// `tx` was detached for termination; the default deletes it, which drops its actions.
  virtual void _OnTerminate(Transaction* tx);

 private:
  friend class Transaction;
  Transaction* m_primary = nullptr;
  Transaction* m_current = nullptr;
  std::uint64_t m_serial = 0;  // of the transaction opened last
  // Ended transactions kept for the next _Begin: an undo opens two at a time (the run's primary
  // and one per action).
  static constexpr int kSpareTransactions = 2;
  Transaction* m_spare = nullptr;  // linked through m_parent
  int m_spare_count = 0;
};

}  // namespace Ostrum::Undo::Private
