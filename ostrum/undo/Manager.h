#pragma once
// Ostrum::Undo::Manager: the undo history of a document, as a pair of stacks of action groups.

#include "ostrum/Export.h"
#include "ostrum/action/IAction.h"
#include "ostrum/undo/IActionEnumAgent.h"
#include "ostrum/undo/IActionFilter.h"
#include "ostrum/undo/Transaction.h"

namespace Ostrum::Undo {

namespace Private {
class ManagerCore;
}

/// Actions are registered inside transactions; the commit of the outermost one makes one undo
/// step (a group). Undo performs the top group's actions, the newest first, and what they
/// register while they run becomes the group on the redo stack, and the other way round: redo
/// is never stored as a separate concept.
///
/// Every call belongs to the thread of the manager, and actions, agents and filters may call
/// back into it: what a call means then depends on what the manager is doing (an Undo during an
/// undo is ignored, a transaction during an enumeration is refused). A call that cannot apply
/// does nothing or answers null or false. After Shutdown every call takes that path.
///
/// Managers can be put in front of one another (SubstituteManager): every manager of such a
/// chain then forwards to the front one's history until it is popped.
class OSTRUM_API Manager {
 public:
  /// Turns registration off for the life of the scope; a null manager makes it do nothing.
  class OSTRUM_API AutoDisablerUndoRegistration {
   public:
    explicit AutoDisablerUndoRegistration(Manager* manager);
    ~AutoDisablerUndoRegistration();
    AutoDisablerUndoRegistration(const AutoDisablerUndoRegistration&) = delete;
    AutoDisablerUndoRegistration& operator=(const AutoDisablerUndoRegistration&) = delete;

   private:
    Manager* m_manager;
  };

  /// A manager with empty histories, registration enabled and auto-grouping off.
  Manager();
  /// Ends every manager's history stacked in front of this one, then its own (see Shutdown).
  ~Manager();
  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;

  /// Drops both histories, ends open transactions (their handles go stale) and every running
  /// undo, redo or walk, and enables registration again. Actions go to the deferred discard.
  /// The auto-grouping flag is kept.
  void Cleanup();
  /// Cleanup, then the history this manager forwards to is destroyed for good. Called on a
  /// manager of a substitution chain it ends the front manager's history (popping it first):
  /// that manager is shut down, the others forward to the one below.
  void Shutdown();

  /// True while an undo, redo, transaction or walk runs, and after Shutdown.
  bool IsBusy() const;
  /// Whether an undo runs now (an action asking this is being undone).
  bool IsUndoing() const;
  /// Whether a redo runs now.
  bool IsRedoing() const;
  /// Performs the top undo group, the newest action first; what the actions register becomes
  /// the top redo group. Nothing while busy or with nothing to undo. If an action throws, the
  /// manager empties both histories and the exception passes on.
  void Undo();
  /// Performs the top redo group, as Undo does for the undo group.
  void Redo();
  /// Whether there is a step to undo and the manager is not busy; costs no walk.
  bool CanUndo() const;
  /// Whether there is a step to redo and the manager is not busy; costs no walk.
  bool CanRedo() const;
  /// Adds `action`, owned from now on, to the current transaction under `id` (null: the
  /// transaction's id). Outside a transaction the action goes to the deferred discard; while
  /// registration is disabled it is discarded at once. Nothing for a null action, and nothing
  /// after Shutdown (the caller then keeps the action).
  void RegisterAction(IAction* action, char const* id);
  /// The top undo group's text: null while busy or with nothing to undo, "" for a group made
  /// without one. Valid until the stack changes.
  wchar_t const* GetUndoActionString() const;
  /// The top redo group's text, as GetUndoActionString.
  wchar_t const* GetRedoActionString() const;
  /// Opens a transaction (nested in the current one, if any) and gives `action_string` (when
  /// not null) to it. A null `id` takes the enclosing transaction's. Null while registration is
  /// disabled, during an enumeration or extraction, and after Shutdown; an action being undone
  /// gets a nested one. Throws std::bad_alloc ("bad allocation") when no handle can be made.
  Transaction* BeginTransaction(wchar_t const* action_string, char const* id);
  /// The outermost open transaction, null if none.
  Transaction* GetPrimaryTransaction();
  Transaction const* GetPrimaryTransaction() const;
  /// The innermost open transaction, the one that receives actions; null if none.
  Transaction* GetCurrentTransaction();
  Transaction const* GetCurrentTransaction() const;

  /// Shows `agent` the undo history from the top, each group's newest action first, leaving it
  /// as it is; `filter` (null: all) chooses the actions shown. Nothing for a null agent or while
  /// busy. An exception of the agent or the filter passes on; the history is kept, but the
  /// manager stays busy until its next Cleanup.
  void EnumerateUndoActions(IActionEnumAgent* agent, IActionFilter const* filter);
  /// As EnumerateUndoActions, over the redo history.
  void EnumerateRedoActions(IActionEnumAgent* agent, IActionFilter const* filter);
  /// Takes the actions that `filter` (null: all) matches out of the undo history and hands them
  /// to `agent` (null: the deferred discard), which owns them from then on; groups left empty
  /// leave the stack. Nothing while busy. An exception of the agent or the filter empties the
  /// manager's history and passes on.
  void ExtractUndoActions(IActionEnumAgent* agent, IActionFilter const* filter);
  /// As ExtractUndoActions, over the redo history.
  void ExtractRedoActions(IActionEnumAgent* agent, IActionFilter const* filter);

  /// True exactly when the disable counter is zero; false after Shutdown.
  bool IsUndoRegistrationEnabled() const;
  /// Raises the disable counter. Calls are counted, not clamped.
  void DisableUndoRegistration();
  /// Lowers the disable counter; below zero counts as disabled.
  void EnableUndoRegistration();

  /// A flag kept for the host, off at start, kept by Cleanup. Nothing depends on it: an action
  /// registered outside a transaction is dropped either way.
  bool IsAutoGroupingOn() const;
  void TurnAutoGroupingOn();
  void TurnAutoGroupingOff();

  /// Puts this manager in front of `other`: from now on every call on `other` (and on the
  /// managers `other` forwards to) goes to this manager's history, while theirs rests as it
  /// was. False, changing nothing, when `other` is null, shut down or this manager, or when
  /// this manager is shut down or already in a chain.
  bool SubstituteManager(Manager* other);
  /// Whether the history this manager forwards to stands in front of another: true for every
  /// manager of a chain.
  bool IsInSubstitutionStack() const;
  /// Whether this manager is in a chain and forwards to its front: true for every manager of
  /// a chain, since all of them forward to the front.
  bool IsOnTopOfSubstitutionStack() const;
  /// Takes the front history off the chain (asked through any manager of it): its manager
  /// stands alone again, the others forward to the one below. Answers the manager whose
  /// history is now the front; null, changing nothing, when not in a chain or while busy.
  Manager* PopFromSubstitutionStack();

 private:
  /// Takes `front` off its chain; answers the manager of the core below it.
  static Manager* _PopCore(Private::ManagerCore* front);

  Private::ManagerCore* m_core;  // the history this manager forwards to; null after Shutdown
};

/// Performs `action` (owned from now on) inside a transaction of its own under `action_string`
/// and `id`, so that what it registers becomes one undo step. Without a manager the action is
/// discarded. If performing or committing throws, the transaction is rolled back (terminated if
/// that throws too), an action whose _Perform threw gets Discard, and the call returns normally:
/// the caller is told nothing. Nothing for a null action.
OSTRUM_API void DoAction(IAction* action, Manager* manager, wchar_t const* action_string, char const* id);
/// Registers `action` (owned from now on) as one undo step without performing it. Discarded
/// when there is no manager or it opens no transaction (registration disabled, busy).
OSTRUM_API void RegisterAction(IAction* action, Manager* manager, wchar_t const* action_string, char const* id);
/// Moves the undo actions of `source` that `filter` (null: all) matches onto the undo stack of
/// `target`, keeping groups, their order and their texts; with an `action_string` everything
/// arrives as one group under that text. `target` must be another history than `source`'s.
OSTRUM_API void TransferUndoActions(Manager& target, Manager& source, wchar_t const* action_string,
                                    IActionFilter const* filter);
/// Takes the undo actions that `filter` (null: all) matches off the stack and performs them,
/// the newest first. What they register is lost. With `registration_enabled` false the
/// manager's registration is disabled while they run (and stays raised if an exception passes).
OSTRUM_API void RevertUndoActions(Manager& manager, bool registration_enabled, IActionFilter const* filter);

}  // namespace Ostrum::Undo
