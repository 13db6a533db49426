#pragma once
// ActionGroupStack: one history, undo or redo, as a stack of groups.

#include "ostrum/undo/IActionEnumAgent.h"
#include "ostrum/undo/IActionFilter.h"
#include "ostrum/undo/private/ActionGroup.h"
#include "ostrum/undo/private/RefList.h"
#include "ostrum/undo/private/SharedObject.h"

namespace Ostrum::Undo::Private {

class Controller;

/// Owned by the controller through its neutral state; a stack that loses its controller clears
/// itself, and with it every group and action it held.
class ActionGroupStack : public SharedObject, public OwnedObject<ActionGroupStack, Controller> {
 public:
  ActionGroupStack() = default;
  ~ActionGroupStack() noexcept(false) override;

  bool IsEmpty() const { return m_groups.IsEmpty(); }
  /// Puts `group` on top; the stack becomes its owner.
  void Push(SharedRef<ActionGroup> group);
  /// Takes the top group off, disowned (and so emptied); an empty reference for an empty stack.
  SharedRef<ActionGroup> Pop();
  /// The top group, left in place; an empty reference for an empty stack.
  SharedRef<ActionGroup> Peek() const {
    return SharedRef<ActionGroup>(m_groups.Front(), SharedRef<ActionGroup>::ADD_REF);
  }
  /// The top group without a reference, for the questions asked on every update of a command.
  ActionGroup* Top() const { return m_groups.Front(); }
  /// Disowns and releases every group.
  void Clear();

  /// Enumerates every group from the top down; stops when the stack loses its controller.
  void Enumerate(IActionEnumAgent* agent, IActionFilter const* filter);
  /// Extracts from every group from the top down, taking off the groups left empty; stops when
  /// the stack loses its controller.
  void Extract(IActionEnumAgent* agent, IActionFilter const* filter);

 protected:
  void OnOwnerChanged(Controller* old_owner) override;

 private:
  RefList<ActionGroup> m_groups;  // the top at the front
};

}  // namespace Ostrum::Undo::Private
