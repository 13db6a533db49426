#pragma once
// ActionGroup: one step of undo history, the actions of one committed transaction.

#include "ostrum/undo/IActionEnumAgent.h"
#include "ostrum/undo/IActionFilter.h"
#include "ostrum/undo/private/ActionEntry.h"
#include "ostrum/undo/private/ActionText.h"
#include "ostrum/undo/private/RefList.h"
#include "ostrum/undo/private/SharedObject.h"

namespace Ostrum::Undo::Private {

class ActionGroupStack;
class Transaction;

/// Owned by the stack it lies on. A group that loses its stack releases its actions, which go
/// to the deferred discard.
class ActionGroup : public SharedObject,
                    public OwnedObject<ActionGroup, ActionGroupStack>,
                    public RefListItem<ActionGroup> {
 public:
  /// Takes over the actions and the action string of `tx`, leaving the transaction empty;
  /// nothing is copied.
  explicit ActionGroup(Transaction* tx);
  static void* operator new(std::size_t size) { return Paired::AllocateAlone(size); }
  static void operator delete(void* object) { Paired::Free(object); }
  /// An entry for the first action of a primary transaction, made with room for the group that
  /// the transaction's commit makes (MakeFrom), so that a step of one action costs one
  /// allocation.
  static SharedRef<ActionEntry> MakeEntryWithRoom(IAction* action, char const* id);
  /// The group of a committed transaction (see the constructor), made in the room of its oldest
  /// entry when that entry has one.
  static SharedRef<ActionGroup> MakeFrom(Transaction* tx);

  /// Takes over the actions and the text of `tx` into this empty, ownerless group, as the
  /// constructor does: an undo makes the group it consumed into the group it produces.
  void TakeOver(Transaction* tx);
  ~ActionGroup() noexcept(false) override;

  bool IsEmpty() const { return m_actions.IsEmpty(); }
  /// The text for the user, "" when none was given; valid until the string is set again.
  wchar_t const* GetActionString() const { return m_action_string.c_str(); }
  /// The text itself, for moving it out without a copy.
  ActionText& GetActionText() { return m_action_string; }
  /// Adds `entry` as the newest action.
  void AddAction(SharedRef<ActionEntry> entry) { m_actions.PushFront(std::move(entry)); }
  /// Takes out the newest action's entry; an empty reference for an empty group.
  SharedRef<ActionEntry> PopFrontEntry() { return m_actions.PopFront(); }

  /// Shows the agent the group and its actions that `filter` (null: all) matches, the newest
  /// first, leaving them in place. Stops without OnEndGroup if the group loses its stack.
  void Enumerate(IActionEnumAgent* agent, IActionFilter const* filter);
  /// Like Enumerate, but every matched action is taken out of the group and handed over to
  /// the agent.
  void Extract(IActionEnumAgent* agent, IActionFilter const* filter);

 protected:
  void OnOwnerChanged(ActionGroupStack* old_owner) override;

 private:
  void _Walk(IActionEnumAgent* agent, IActionFilter const* filter, bool extract);

  RefList<ActionEntry> m_actions;  // the newest at the front
  ActionText m_action_string;
};

}  // namespace Ostrum::Undo::Private
