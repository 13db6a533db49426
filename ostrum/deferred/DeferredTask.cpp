#include "ostrum/deferred/DeferredTask.h"

#include "ostrum/deferred/private/DeferredTaskTable.h"
#include "ostrum/action/IAction.h"

namespace Ostrum {

bool DeferredTask::IsValid() const { return Private::DeferredTaskTable::Get().Contains(Private::ToKey(this)); }

bool DeferredTask::Discard() {
  IAction* action = Private::DeferredTaskTable::Get().Take(Private::ToKey(this));
  if (!action) return false;
  action->Discard();
  return true;
}

}  // namespace Ostrum
