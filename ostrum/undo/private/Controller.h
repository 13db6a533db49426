#pragma once
// Controller: what stands behind a manager. A small stack of state objects; every public call
// of the manager goes to the top state, and what it means depends on that state.

#include <cstdint>
#include <vector>

#include "ostrum/action/IAction.h"
#include "ostrum/undo/IActionEnumAgent.h"
#include "ostrum/undo/IActionFilter.h"
#include "ostrum/undo/Transaction.h"
#include "ostrum/undo/private/ActionEntry.h"
#include "ostrum/undo/private/ActionText.h"
#include "ostrum/undo/private/SharedObject.h"

namespace Ostrum::Undo {
class Manager;
}

namespace Ostrum::Undo::Private {

class Transaction;
class TransactionTable;

class Controller {
 public:
  /// Base of the states. The bodies here are what a state does with a call it has no use for:
  /// ignore it, answer null or false, and send a registered action to the deferred discard.
  class _State : public SharedObject, public OwnedObject<_State, Controller> {
   public:
    ~_State() noexcept(false) override;

    virtual bool IsBusy() const;
    virtual bool IsUndoing() const;
    virtual bool IsRedoing() const;
    virtual void Undo();
    virtual void Redo();
    virtual void RegisterAction(SharedRef<ActionEntry> entry);
    virtual wchar_t const* GetUndoActionString() const;
    virtual wchar_t const* GetRedoActionString() const;
    virtual Transaction* BeginTransaction(char const* id);
    virtual Transaction* GetPrimaryTransaction();
    virtual Transaction* GetCurrentTransaction();
    virtual void EnumerateUndoActions(IActionEnumAgent* agent, IActionFilter const* filter);
    virtual void EnumerateRedoActions(IActionEnumAgent* agent, IActionFilter const* filter);
    virtual void ExtractUndoActions(IActionEnumAgent* agent, IActionFilter const* filter);
    virtual void ExtractRedoActions(IActionEnumAgent* agent, IActionFilter const* filter);

    /// Whether the next action registered will be the first of a primary transaction, whose
    /// entry is then made with room for the step's group.
    virtual bool _StartsGroup() const { return false; }

    /// Whether the state has a controller and is the top of its stack: a state that runs foreign
    /// code asks this after every call to know that it may go on.
    bool IsCurrentState() const;

   protected:
    _State() = default;
    /// Pops this state if it is still the current one; nothing otherwise.
    void _PopSelf();
  };

  /// A controller with a neutral state and two empty histories. `manager` is the public
  /// manager through which a failure cleans up (see CleanupManager).
  explicit Controller(Manager* manager);
  Controller(const Controller&) = delete;
  Controller& operator=(const Controller&) = delete;
  /// Pops every state, the histories with them; exceptions of the states are swallowed.
  ~Controller();

  bool IsBusy() const { return Top()->IsBusy(); }
  bool IsUndoing() const { return Top()->IsUndoing(); }
  bool IsRedoing() const { return Top()->IsRedoing(); }
  void Undo();
  void Redo();
  /// Discards `action` at once while registration is disabled; otherwise hands it to the top
  /// state in a new entry.
  void RegisterAction(IAction* action, char const* id);
  wchar_t const* GetUndoActionString() const { return Top()->GetUndoActionString(); }
  wchar_t const* GetRedoActionString() const { return Top()->GetRedoActionString(); }
  /// Null while registration is disabled or when the top state refuses.
  Transaction* BeginTransaction(wchar_t const* action_string, char const* id);
  Transaction* GetPrimaryTransaction() const { return Top()->GetPrimaryTransaction(); }
  Transaction* GetCurrentTransaction() const { return Top()->GetCurrentTransaction(); }
  void EnumerateUndoActions(IActionEnumAgent* agent, IActionFilter const* filter);
  void EnumerateRedoActions(IActionEnumAgent* agent, IActionFilter const* filter);
  void ExtractUndoActions(IActionEnumAgent* agent, IActionFilter const* filter);
  void ExtractRedoActions(IActionEnumAgent* agent, IActionFilter const* filter);

  /// Registration is enabled exactly while the counter is zero; it is not clamped.
  bool IsRegistrationEnabled() const { return m_registration_disabled == 0; }
  void DisableRegistration() { ++m_registration_disabled; }
  void EnableRegistration() { --m_registration_disabled; }
  bool IsAutoGroupingOn() const { return m_auto_grouping; }
  void SetAutoGrouping(bool on) { m_auto_grouping = on; }

  void PushState(SharedRef<_State> state);
  void PopState();
  _State* Top() const { return m_state_stack.back().Get(); }

  /// Drops both histories and every state, leaving a fresh neutral state alone and the
  /// registration counter at zero; the auto-grouping flag and the manager stay.
  void Cleanup();
  /// Cleans up through the public manager, which reaches the core it currently forwards to.
  void CleanupManager();
  Manager* GetManager() const { return m_manager; }
  void SetManager(Manager* manager) { m_manager = manager; }

  /// The table the handles of this controller's transactions are registered in; null if none
  /// could be had (BeginTransaction then throws std::bad_alloc).
  TransactionTable* GetTransactionTable() const { return m_table; }
  /// `text` as a shared text: the one made last when it reads the same, a new one otherwise.
  ActionText ShareText(wchar_t const* text);
  /// An entry emptied by an undo or redo, for the next RegisterAction to fill instead of making
  /// a new one. Kept only while nothing else holds it.
  void OfferSpareEntry(SharedRef<ActionEntry> entry) {
    if (entry->HasRefCount(1) && !entry->PeekAction()) m_spare_entry = std::move(entry);
  }

 private:
  SharedRef<_State> _HoldTop() const { return m_state_stack.back(); }

  std::vector<SharedRef<_State>> m_state_stack;  // the top at the back
  Manager* m_manager;
  std::int32_t m_registration_disabled = 0;
  bool m_auto_grouping = false;
  TransactionTable* m_table;
  ActionText m_last_text;                 // the text handed out last, shared when asked again
  SharedRef<ActionEntry> m_spare_entry;   // empty; see OfferSpareEntry
};

}  // namespace Ostrum::Undo::Private
