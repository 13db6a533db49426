// The free functions of Ostrum::Undo declared with the manager.

#include "ostrum/undo/Manager.h"
#include "ostrum/undo/private/TransferActionsAgent.h"

namespace Ostrum::Undo {

void DoAction(IAction* action, Manager* manager, wchar_t const* action_string, char const* id) {
  if (!action) return;
  if (!manager) {
    action->Discard();
    return;
  }
  Transaction* tx = manager->BeginTransaction(action_string, id);
  bool performed = false;
  try {
    action->Perform();
    performed = true;
    if (tx) tx->Commit();
  } catch (...) {
    try {
      tx->Rollback();  // a null or stale handle does nothing
    } catch (...) {
      try {
        tx->Terminate();
      } catch (...) {
      }
    }
    // An action whose _Perform threw has not been consumed and is disposed of here. One that
    // was performed belongs to whatever it did: a failed commit rolled back what it registered.
    if (!performed) action->Discard();
  }
}

void RegisterAction(IAction* action, Manager* manager, wchar_t const* action_string, char const* id) {
  if (!action) return;
  if (manager) {
    if (Transaction* tx = manager->BeginTransaction(action_string, id)) {
      manager->RegisterAction(action, id);
      tx->Commit();
      return;
    }
  }
  action->Discard();
}

void TransferUndoActions(Manager& target, Manager& source, wchar_t const* action_string,
                         IActionFilter const* filter) {
  Transaction* tx = action_string ? target.BeginTransaction(action_string, nullptr) : nullptr;
  Private::TransferActionsAgent agent(target);
  source.ExtractUndoActions(&agent, filter);
  if (tx) tx->Commit();
}

void RevertUndoActions(Manager& manager, bool registration_enabled, IActionFilter const* filter) {
  if (!registration_enabled) manager.DisableUndoRegistration();
  Private::RevertActionsAgent agent;
  manager.ExtractUndoActions(&agent, filter);
  if (!registration_enabled) manager.EnableUndoRegistration();
}

}  // namespace Ostrum::Undo
