#include "ostrum/undo/private/ActionEntry.h"

#include "ostrum/undo/private/DiscardActionsTask.h"

namespace Ostrum::Undo::Private {

ActionEntry::~ActionEntry() noexcept(false) { DiscardAction(); }

void ActionEntry::PerformAction() {
  if (IAction* action = TakeAction()) action->Perform();
}

void ActionEntry::DiscardAction() {
  if (IAction* action = TakeAction()) DiscardActionsTask::ScheduleDiscard(action);
}

}  // namespace Ostrum::Undo::Private
