#include "ostrum/deferred/DeferredTask.h"

#include "ostrum/deferred/private/DeferredTaskTable.h"
#include "ostrum/action/IAction.h"

namespace Ostrum {

namespace Private {

Generic::BasicDescriptorTable& DeferredTaskTable() {
  // Never destroyed: handles are used by static objects' destructors at exit.
  static auto* table = new Generic::BasicDescriptorTable(1024, 0);
  return *table;
}

namespace {
// Makes the table when the library loads, as the first task would otherwise do.
[[maybe_unused]] const bool g_table_made = (DeferredTaskTable(), true);
}  // namespace

}  // namespace Private

bool DeferredTask::IsValid() const {
  return Private::DeferredTaskTable().GetObjectByKey(Private::ToKey(this)) != nullptr;
}

bool DeferredTask::Discard() {
  auto* action = static_cast<IAction*>(Private::DeferredTaskTable().UnregisterObject(Private::ToKey(this)));
  if (!action) return false;
  action->Discard();
  return true;
}

}  // namespace Ostrum
