#include "ostrum/undo/private/Controller.h"

#include "ostrum/undo/Manager.h"
#include "ostrum/undo/private/ActionGroup.h"
#include "ostrum/undo/private/ControllerStates.h"
#include "ostrum/undo/private/TransactionTable.h"

namespace Ostrum::Undo::Private {

// ---- the base state: every call ignored ----

Controller::_State::~_State() noexcept(false) = default;
bool Controller::_State::IsBusy() const { return true; }
bool Controller::_State::IsUndoing() const { return false; }
bool Controller::_State::IsRedoing() const { return false; }
void Controller::_State::Undo() {}
void Controller::_State::Redo() {}
void Controller::_State::RegisterAction(SharedRef<ActionEntry> entry) { entry->DiscardAction(); }
wchar_t const* Controller::_State::GetUndoActionString() const { return nullptr; }
wchar_t const* Controller::_State::GetRedoActionString() const { return nullptr; }
Transaction* Controller::_State::BeginTransaction(char const*) { return nullptr; }
Transaction* Controller::_State::GetPrimaryTransaction() { return nullptr; }
Transaction* Controller::_State::GetCurrentTransaction() { return nullptr; }
void Controller::_State::EnumerateUndoActions(IActionEnumAgent*, IActionFilter const*) {}
void Controller::_State::EnumerateRedoActions(IActionEnumAgent*, IActionFilter const*) {}
void Controller::_State::ExtractUndoActions(IActionEnumAgent*, IActionFilter const*) {}
void Controller::_State::ExtractRedoActions(IActionEnumAgent*, IActionFilter const*) {}

bool Controller::_State::IsCurrentState() const {
  Controller* controller = GetOwner();
  return controller && controller->Top() == this;
}

void Controller::_State::_PopSelf() {
  if (IsCurrentState()) GetOwner()->PopState();
}

// ---- the controller ----

Controller::Controller(Manager* manager) : m_manager(manager), m_table(TransactionTable::Acquire()) {
  m_state_stack.reserve(4);
  PushState(MakeShared<_StateNeutral>());
}

Controller::~Controller() {
  while (!m_state_stack.empty()) {
    try {
      PopState();
    } catch (...) {
    }
  }
  // Every transaction ended with its state, so the table holds no key any more.
  TransactionTable::Release(m_table);
}

ActionText Controller::ShareText(wchar_t const* text) {
  if (!m_last_text.Equals(text)) m_last_text = ActionText::Copy(text);
  return m_last_text;
}

// Each call holds the top state: the state may be popped, and the controller itself destroyed,
// by what the call sets off.
void Controller::Undo() { _HoldTop()->Undo(); }
void Controller::Redo() { _HoldTop()->Redo(); }

void Controller::RegisterAction(IAction* action, char const* id) {
  if (m_registration_disabled != 0) {
    action->Discard();
    return;
  }
  SharedRef<ActionEntry> entry;
  if (m_spare_entry && m_spare_entry->HasRefCount(1)) {
    entry = std::move(m_spare_entry);
    entry->Refill(action, id);
  } else if (Top()->_StartsGroup()) {
    entry = ActionGroup::MakeEntryWithRoom(action, id);
  } else {
    entry = MakeShared<ActionEntry>(action, id);
  }
  _HoldTop()->RegisterAction(std::move(entry));
}

Transaction* Controller::BeginTransaction(wchar_t const* action_string, char const* id) {
  if (m_registration_disabled != 0) return nullptr;
  Transaction* tx = _HoldTop()->BeginTransaction(id);
  if (tx && action_string) tx->SetActionText(ShareText(action_string));
  return tx;
}

void Controller::EnumerateUndoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  _HoldTop()->EnumerateUndoActions(agent, filter);
}
void Controller::EnumerateRedoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  _HoldTop()->EnumerateRedoActions(agent, filter);
}
void Controller::ExtractUndoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  _HoldTop()->ExtractUndoActions(agent, filter);
}
void Controller::ExtractRedoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  _HoldTop()->ExtractRedoActions(agent, filter);
}

void Controller::PushState(SharedRef<_State> state) {
  _State* raw = state.Get();
  m_state_stack.push_back(std::move(state));
  raw->SetOwner(this);
}

void Controller::PopState() {
  SharedRef<_State> top = std::move(m_state_stack.back());
  m_state_stack.pop_back();
  top->SetOwner(nullptr);
}

void Controller::Cleanup() {
  std::vector<SharedRef<_State>> old_states;
  old_states.swap(m_state_stack);
  m_state_stack.reserve(4);
  PushState(MakeShared<_StateNeutral>());
  // The old states go from the top down; each clears what it held as it loses this controller.
  while (!old_states.empty()) {
    SharedRef<_State> state = std::move(old_states.back());
    old_states.pop_back();
    try {
      state->SetOwner(nullptr);
      state.Reset();
    } catch (...) {
    }
  }
  m_registration_disabled = 0;
}

void Controller::CleanupManager() {
  if (m_manager) m_manager->Cleanup();
}

}  // namespace Ostrum::Undo::Private
