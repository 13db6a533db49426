#include "ostrum/undo/Manager.h"

#include "ostrum/undo/private/ManagerCore.h"
#include "ostrum/undo/private/TransactionHandler.h"

namespace Ostrum::Undo {

using Private::ManagerCore;

namespace {

Transaction* HandleOf(Private::Transaction* tx) { return tx ? tx->GetHandle() : nullptr; }

}  // namespace

Manager::AutoDisablerUndoRegistration::AutoDisablerUndoRegistration(Manager* manager) : m_manager(manager) {
  if (m_manager) m_manager->DisableUndoRegistration();
}

Manager::AutoDisablerUndoRegistration::~AutoDisablerUndoRegistration() {
  if (m_manager) m_manager->EnableUndoRegistration();
}

Manager::Manager() : m_core(new ManagerCore(this)) {}

// One Shutdown ends the front core of the chain this manager is in; the loop goes on until
// this manager's own core has gone too, so no core is left pointing at a destroyed manager.
Manager::~Manager() {
  while (m_core) Shutdown();
}

// Through a public manager the core reached is always the front of its chain (every manager of
// a chain forwards to the front), so Cleanup and Shutdown act on the front core.
void Manager::Cleanup() {
  if (m_core) m_core->m_controller.Cleanup();
}

void Manager::Shutdown() {
  ManagerCore* core = m_core;
  if (!core) return;
  if (core->m_substituted) _PopCore(core);
  core->m_controller.Cleanup();
  core->m_manager->m_core = nullptr;
  delete core;
}

bool Manager::IsBusy() const { return !m_core || m_core->m_controller.IsBusy(); }
bool Manager::IsUndoing() const { return m_core && m_core->m_controller.IsUndoing(); }
bool Manager::IsRedoing() const { return m_core && m_core->m_controller.IsRedoing(); }

void Manager::Undo() {
  if (m_core) m_core->m_controller.Undo();
}

void Manager::Redo() {
  if (m_core) m_core->m_controller.Redo();
}

bool Manager::CanUndo() const { return GetUndoActionString() != nullptr; }
bool Manager::CanRedo() const { return GetRedoActionString() != nullptr; }

void Manager::RegisterAction(IAction* action, char const* id) {
  if (action && m_core) m_core->m_controller.RegisterAction(action, id);
}

wchar_t const* Manager::GetUndoActionString() const {
  return m_core ? m_core->m_controller.GetUndoActionString() : nullptr;
}

wchar_t const* Manager::GetRedoActionString() const {
  return m_core ? m_core->m_controller.GetRedoActionString() : nullptr;
}

Transaction* Manager::BeginTransaction(wchar_t const* action_string, char const* id) {
  Private::Transaction* tx = m_core ? m_core->m_controller.BeginTransaction(action_string, id) : nullptr;
  if (!tx) return nullptr;
  try {
    return tx->GetHandle();
  } catch (...) {
    tx->GetOwner()->Terminate(tx);  // a transaction nobody can reach must not stay open
    throw;
  }
}

Transaction* Manager::GetPrimaryTransaction() {
  return m_core ? HandleOf(m_core->m_controller.GetPrimaryTransaction()) : nullptr;
}

Transaction const* Manager::GetPrimaryTransaction() const {
  return m_core ? HandleOf(m_core->m_controller.GetPrimaryTransaction()) : nullptr;
}

Transaction* Manager::GetCurrentTransaction() {
  return m_core ? HandleOf(m_core->m_controller.GetCurrentTransaction()) : nullptr;
}

Transaction const* Manager::GetCurrentTransaction() const {
  return m_core ? HandleOf(m_core->m_controller.GetCurrentTransaction()) : nullptr;
}

void Manager::EnumerateUndoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  if (agent && m_core) m_core->m_controller.EnumerateUndoActions(agent, filter);
}

void Manager::EnumerateRedoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  if (agent && m_core) m_core->m_controller.EnumerateRedoActions(agent, filter);
}

void Manager::ExtractUndoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  if (m_core) m_core->m_controller.ExtractUndoActions(agent, filter);
}

void Manager::ExtractRedoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  if (m_core) m_core->m_controller.ExtractRedoActions(agent, filter);
}

bool Manager::IsUndoRegistrationEnabled() const { return m_core && m_core->m_controller.IsRegistrationEnabled(); }

void Manager::DisableUndoRegistration() {
  if (m_core) m_core->m_controller.DisableRegistration();
}

void Manager::EnableUndoRegistration() {
  if (m_core) m_core->m_controller.EnableRegistration();
}

bool Manager::IsAutoGroupingOn() const { return m_core && m_core->m_controller.IsAutoGroupingOn(); }

void Manager::TurnAutoGroupingOn() {
  if (m_core) m_core->m_controller.SetAutoGrouping(true);
}

void Manager::TurnAutoGroupingOff() {
  if (m_core) m_core->m_controller.SetAutoGrouping(false);
}

bool Manager::SubstituteManager(Manager* other) {
  if (!other || !other->m_core || !m_core || IsInSubstitutionStack() || other == this) return false;
  ManagerCore* front = m_core;
  front->m_substituted = other->m_core;
  // A failure in the front history cleans up through the manager the one below reported to.
  front->m_controller.SetManager(other->m_core->m_controller.GetManager());
  for (ManagerCore* core = front->m_substituted; core; core = core->m_substituted) core->m_manager->m_core = front;
  return true;
}

bool Manager::IsInSubstitutionStack() const { return m_core && m_core->m_substituted; }

// The core a manager reaches is always the front of its chain, so being in a chain is being on
// its top.
bool Manager::IsOnTopOfSubstitutionStack() const { return IsInSubstitutionStack(); }

Manager* Manager::PopFromSubstitutionStack() {
  if (!IsOnTopOfSubstitutionStack() || m_core->m_controller.IsBusy()) return nullptr;
  return _PopCore(m_core);
}

Manager* Manager::_PopCore(ManagerCore* front) {
  ManagerCore* below = front->m_substituted;
  for (ManagerCore* core = below; core; core = core->m_substituted) core->m_manager->m_core = below;
  front->m_controller.SetManager(front->m_manager);
  front->m_substituted = nullptr;
  return below->m_manager;
}

}  // namespace Ostrum::Undo
