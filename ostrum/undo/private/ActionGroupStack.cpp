#include "ostrum/undo/private/ActionGroupStack.h"

namespace Ostrum::Undo::Private {

ActionGroupStack::~ActionGroupStack() noexcept(false) { SetOwner(nullptr); }

void ActionGroupStack::OnOwnerChanged(Controller*) {
  if (!GetOwner()) Clear();
}

void ActionGroupStack::Push(SharedRef<ActionGroup> group) {
  group->SetOwner(this);
  m_groups.PushFront(std::move(group));
}

SharedRef<ActionGroup> ActionGroupStack::Pop() {
  SharedRef<ActionGroup> group = m_groups.PopFront();
  if (group) group->SetOwner(nullptr);
  return group;
}

void ActionGroupStack::Clear() {
  RefList<ActionGroup> groups;
  groups.Swap(m_groups);
  for (ActionGroup* group = groups.Front(); group; group = RefList<ActionGroup>::Next(group)) {
    try {
      group->SetOwner(nullptr);
    } catch (...) {
      // A group that fails to let go of its actions still leaves the stack.
    }
  }
}

void ActionGroupStack::Enumerate(IActionEnumAgent* agent, IActionFilter const* filter) {
  SharedRef<ActionGroupStack> hold(this, SharedRef<ActionGroupStack>::ADD_REF);
  for (ActionGroup* current = m_groups.Front(); current;) {
    SharedRef<ActionGroup> group(current, SharedRef<ActionGroup>::ADD_REF);
    group->Enumerate(agent, filter);
    if (!GetOwner()) return;
    current = RefList<ActionGroup>::Next(current);
  }
}

// As in the group's walk, the links are trusted only while the stack still has its controller:
// losing it is the one change foreign code can make to a stack during a walk.
void ActionGroupStack::Extract(IActionEnumAgent* agent, IActionFilter const* filter) {
  SharedRef<ActionGroupStack> hold(this, SharedRef<ActionGroupStack>::ADD_REF);
  ActionGroup* previous = nullptr;  // the last group left on the stack
  for (ActionGroup* current = m_groups.Front(); current;) {
    SharedRef<ActionGroup> group(current, SharedRef<ActionGroup>::ADD_REF);
    group->Extract(agent, filter);
    if (!GetOwner()) return;
    if (group->IsEmpty()) {
      m_groups.RemoveAfter(previous);
      group->SetOwner(nullptr);
    } else {
      previous = current;
    }
    current = previous ? RefList<ActionGroup>::Next(previous) : m_groups.Front();
  }
}

}  // namespace Ostrum::Undo::Private
