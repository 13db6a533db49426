#include "ostrum/undo/private/ActionGroup.h"

#include "ostrum/undo/private/TransactionHandler.h"

namespace Ostrum::Undo::Private {

ActionGroup::ActionGroup(Transaction* tx) { TakeOver(tx); }

SharedRef<ActionEntry> ActionGroup::MakeEntryWithRoom(IAction* action, char const* id) {
  void* room = nullptr;
  void* memory = Paired::AllocatePair(sizeof(ActionEntry), sizeof(ActionGroup), &room);
  ActionEntry* entry;
  try {
    entry = ::new (memory) ActionEntry(action, id);
  } catch (...) {
    Paired::Free(memory);
    throw;
  }
  entry->m_group_room = room;
  return SharedRef<ActionEntry>(entry, SharedRef<ActionEntry>::ADOPT);
}

SharedRef<ActionGroup> ActionGroup::MakeFrom(Transaction* tx) {
  ActionEntry* oldest = tx->GetActions().Back();
  if (void* room = oldest ? oldest->TakeGroupRoom() : nullptr) {
    auto* group = ::new (room) ActionGroup(tx);  // takes over by swapping: nothing to throw
    Paired::Adopt(room);
    return SharedRef<ActionGroup>(group, SharedRef<ActionGroup>::ADOPT);
  }
  return MakeShared<ActionGroup>(tx);
}

void ActionGroup::TakeOver(Transaction* tx) {
  m_actions.Swap(tx->GetActions());
  m_action_string.swap(tx->GetActionText());
}

ActionGroup::~ActionGroup() noexcept(false) { SetOwner(nullptr); }

void ActionGroup::OnOwnerChanged(ActionGroupStack*) {
  if (!GetOwner()) m_actions.Clear();
}

void ActionGroup::Enumerate(IActionEnumAgent* agent, IActionFilter const* filter) {
  _Walk(agent, filter, false);
}

void ActionGroup::Extract(IActionEnumAgent* agent, IActionFilter const* filter) {
  _Walk(agent, filter, true);
}

// Agents and filters are foreign code that may clean the manager up, which takes this group off
// its stack and releases its actions. After every call the group checks that it still has its
// stack; only then are `previous` and the list still what they were.
void ActionGroup::_Walk(IActionEnumAgent* agent, IActionFilter const* filter, bool extract) {
  if (!filter) filter = IActionFilter::TransparentFilter();
  SharedRef<ActionGroup> hold(this, SharedRef<ActionGroup>::ADD_REF);
  agent->OnBeginGroup(m_action_string.c_str());
  if (!GetOwner()) return;
  ActionEntry* previous = nullptr;  // the last entry left in the group
  for (ActionEntry* current = m_actions.Front(); current;) {
    SharedRef<ActionEntry> entry(current, SharedRef<ActionEntry>::ADD_REF);
    const bool matched = filter->IsActionMatched(entry->PeekAction(), entry->GetId());
    if (!GetOwner()) return;
    if (!matched) {
      previous = current;
    } else if (extract) {
      m_actions.RemoveAfter(previous);
      agent->OnAction(entry->TakeAction(), entry->GetId());
    } else {
      agent->OnAction(static_cast<IAction const*>(entry->PeekAction()), entry->GetId());
      previous = current;
    }
    if (!GetOwner()) return;
    current = previous ? RefList<ActionEntry>::Next(previous) : m_actions.Front();
  }
  agent->OnEndGroup();
}

}  // namespace Ostrum::Undo::Private
