#pragma once
// Ostrum::Undo::Transaction: the handle of an open grouping of undo actions.

#include "ostrum/Export.h"

namespace Ostrum::Undo {

/// A transaction collects the actions registered while it is open and decides at its end
/// whether they become one undo step (Commit), are played back at once (Rollback) or are dropped
/// (Terminate). Transactions nest: only the commit of the outermost one (the primary) makes a
/// step; a nested one hands its actions to its parent.
///
/// A Transaction* is an opaque handle, not an address: it is the transaction's key in a
/// process-wide table, never dereferenced. It stays safe to use after the transaction has
/// ended, also when it ended because an enclosing one ended or the manager was cleaned up:
/// every member then answers as for a stale handle (false, or null). A null handle behaves as a
/// stale one. Handles belong to the thread of their manager.
class OSTRUM_API Transaction {
 public:
  Transaction() = delete;
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  /// Whether the transaction is still open.
  bool IsValid() const;
  /// Whether it is open and the outermost open transaction of its manager.
  bool IsPrimary() const;
  /// Whether it is open and the innermost open transaction, the one that receives actions.
  bool IsCurrent() const;
  /// The text for the user of the step it makes ("" until set); null for a stale handle.
  wchar_t const* GetActionString() const;
  /// Sets that text when the handle is valid and `action_string` is not null. Always true.
  bool SetActionString(wchar_t const* action_string);
  /// Ends the transaction and every transaction open inside it, keeping their actions: a
  /// primary makes one undo step of them (none when there are none) and clears the redo
  /// history; a nested one gives them to its parent. False for a stale handle.
  bool Commit();
  /// Ends the transaction (and those inside it) and performs its actions at once, the newest
  /// first, with registration disabled, so nothing is recorded. False for a stale handle, and
  /// false if an action cleaned the manager up while the rollback ran. An exception of an
  /// action passes to the caller after the manager has emptied its history.
  bool Rollback();
  /// Ends the transaction (and those inside it) and drops its actions unperformed; they are
  /// destroyed at idle time. False for a stale handle.
  bool Terminate();
};

}  // namespace Ostrum::Undo
