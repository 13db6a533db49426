#pragma once
// The states of the controller. Only the neutral state pushes another one, so in normal
// running the stack holds the neutral state and at most one of the others above it.

#include "ostrum/undo/private/ActionGroupStack.h"
#include "ostrum/undo/private/Controller.h"
#include "ostrum/undo/private/TransactionHandler.h"

namespace Ostrum::Undo::Private {

class _StateBuildingActionGroup;
class _StatePerformingUndoRedo;

/// The bottom of every state stack and the owner of the two histories: it answers the
/// questions about them and starts undo, redo, transactions and walks.
class _StateNeutral : public Controller::_State {
 public:
  _StateNeutral();
  ~_StateNeutral() noexcept(false) override;

  bool IsBusy() const override { return false; }
  void Undo() override;
  void Redo() override;
  wchar_t const* GetUndoActionString() const override;
  wchar_t const* GetRedoActionString() const override;
  Transaction* BeginTransaction(char const* id) override;
  void EnumerateUndoActions(IActionEnumAgent* agent, IActionFilter const* filter) override;
  void EnumerateRedoActions(IActionEnumAgent* agent, IActionFilter const* filter) override;
  void ExtractUndoActions(IActionEnumAgent* agent, IActionFilter const* filter) override;
  void ExtractRedoActions(IActionEnumAgent* agent, IActionFilter const* filter) override;

 protected:
  /// The histories follow the state's controller: a state that loses it clears them both.
  void OnOwnerChanged(Controller* old_owner) override;

 private:
  void _PerformTop(bool undo);
  void _Walk(const SharedRef<ActionGroupStack>& stack, IActionEnumAgent* agent, IActionFilter const* filter,
             bool enumerate_only);

  SharedRef<ActionGroupStack> m_undo_stack;
  SharedRef<ActionGroupStack> m_redo_stack;
  // The state pushed last for a transaction and for an undo or redo. One that has been popped
  // and that nothing else holds any more is pushed again instead of a new one.
  SharedRef<_StateBuildingActionGroup> m_spare_building;
  SharedRef<_StatePerformingUndoRedo> m_spare_performing;
};

/// An enumeration or extraction running over one history. Everything but the walk is refused:
/// transactions are not opened and registered actions go to the deferred discard.
class _StateEnumeratingActions : public Controller::_State {
 public:
  _StateEnumeratingActions(SharedRef<ActionGroupStack> stack, bool enumerate_only)
      : m_stack(std::move(stack)), m_enumerate_only(enumerate_only) {}

  /// Runs the walk: OnStart, the stack's walk, then OnFinish, or OnAbort if the state was
  /// replaced on the way. An exception passes on after OnAbort; an extraction that fails this
  /// way costs the manager its history, an enumeration leaves the state in place.
  void Run(IActionEnumAgent* agent, IActionFilter const* filter);

 private:
  SharedRef<ActionGroupStack> m_stack;
  bool m_enumerate_only;
};

/// A state with open transactions: actions go to the current transaction and transactions
/// nest. It pops itself when its last transaction has ended.
class _StateHandlingTransaction : public Controller::_State, private TransactionHandler {
 public:
  void RegisterAction(SharedRef<ActionEntry> entry) override;
  Transaction* BeginTransaction(char const* id) override;
  Transaction* GetPrimaryTransaction() override { return GetPrimary(); }
  Transaction* GetCurrentTransaction() override { return GetCurrent(); }
  TransactionTable* GetTransactionTable() const override;
  ActionText ShareText(wchar_t const* text) override;
  /// Whether the state may be pushed again: popped, no transaction open, and held by nobody
  /// but its one keeper.
  bool IsReusable() const { return !GetOwner() && !GetPrimary() && HasRefCount(1); }

 protected:
  _StateHandlingTransaction() = default;
  /// A state that loses its controller ends its open transactions: their handles go stale and
  /// their actions are dropped.
  void OnOwnerChanged(Controller* old_owner) override;

  /// Performs the actions of `tx`, the newest first, with registration disabled, and deletes
  /// it. False if an action replaced this state. An exception of an action cleans the manager
  /// up and passes on.
  bool _OnRollback(Transaction* tx) override;
  /// Deletes `tx`; pops the state when no transaction is left open.
  void _OnTerminate(Transaction* tx) override;

  using TransactionHandler::_Begin;
  using TransactionHandler::_Dispose;
  using TransactionHandler::_FindOpen;
  using TransactionHandler::Commit;
  using TransactionHandler::GetCurrent;
  using TransactionHandler::GetPrimary;
};

/// A transaction opened by the host: its primary's commit makes a new undo step.
class _StateBuildingActionGroup : public _StateHandlingTransaction {
 public:
  _StateBuildingActionGroup(SharedRef<ActionGroupStack> undo_stack, SharedRef<ActionGroupStack> redo_stack)
      : m_undo_stack_ref(std::move(undo_stack)), m_redo_stack_ref(std::move(redo_stack)) {}
  ~_StateBuildingActionGroup() noexcept(false) override;

  bool IsBusy() const override { return true; }
  bool _StartsGroup() const override {
    return GetCurrent() && GetCurrent() == GetPrimary() && GetCurrent()->IsEmpty();
  }

 protected:
  /// A primary with actions becomes a group on the undo stack and clears the redo stack; an
  /// empty one changes nothing. Then the state pops itself.
  void _OnCommitPrimary(Transaction* tx) override;

 private:
  SharedRef<ActionGroupStack> m_undo_stack_ref;
  SharedRef<ActionGroupStack> m_redo_stack_ref;
};

/// An undo or a redo: the top group of the source is performed, the newest action first, each
/// in a nested transaction; what the actions register becomes the group on the target.
class _StatePerformingUndoRedo : public _StateHandlingTransaction {
 public:
  _StatePerformingUndoRedo(SharedRef<ActionGroupStack> source, SharedRef<ActionGroupStack> target, bool is_undo)
      : m_source(std::move(source)), m_target(std::move(target)), m_is_undo(is_undo) {}
  ~_StatePerformingUndoRedo() noexcept(false) override;
  /// Sets a reusable state up for another run, as the constructor does.
  void Prepare(const SharedRef<ActionGroupStack>& source, const SharedRef<ActionGroupStack>& target, bool is_undo) {
    m_source = source;
    m_target = target;
    m_is_undo = is_undo;
    m_primary = nullptr;
    m_finishing = false;
  }

  bool IsBusy() const override { return true; }
  bool IsUndoing() const override { return m_is_undo; }
  bool IsRedoing() const override { return !m_is_undo; }

  /// Runs the undo or redo to its end. Any exception, and a run that finds itself replaced or
  /// its primary transaction ended from inside an action ("undo/redo performer became to
  /// unexpected state"), empties the manager's history and passes on.
  void _Start();

 protected:
  void OnOwnerChanged(Controller* old_owner) override;
  void _OnCommitPrimary(Transaction* tx) override;
  /// Refuses the primary ("attempt to rollback primary transaction"); nested ones roll back.
  bool _OnRollback(Transaction* tx) override;
  void _OnTerminate(Transaction* tx) override;

 private:
  SharedRef<ActionGroupStack> m_source;
  SharedRef<ActionGroupStack> m_target;
  Transaction* m_primary = nullptr;  // the open primary, null before and after the run
  bool m_is_undo;
  bool m_finishing = false;          // set while _Start itself commits the primary
  ActionGroup* m_consumed = nullptr; // the group performed, while _Start commits the primary
};

}  // namespace Ostrum::Undo::Private
