#include "ostrum/undo/private/ControllerStates.h"

#include <stdexcept>

#include "ostrum/undo/private/ActionGroup.h"

namespace Ostrum::Undo::Private {

// ---- _StateNeutral ----

_StateNeutral::_StateNeutral()
    : m_undo_stack(MakeShared<ActionGroupStack>()), m_redo_stack(MakeShared<ActionGroupStack>()) {}

_StateNeutral::~_StateNeutral() noexcept(false) { SetOwner(nullptr); }

void _StateNeutral::OnOwnerChanged(Controller*) {
  m_undo_stack->SetOwner(GetOwner());
  m_redo_stack->SetOwner(GetOwner());
}

void _StateNeutral::Undo() { _PerformTop(true); }
void _StateNeutral::Redo() { _PerformTop(false); }

void _StateNeutral::_PerformTop(bool undo) {
  const SharedRef<ActionGroupStack>& source = undo ? m_undo_stack : m_redo_stack;
  const SharedRef<ActionGroupStack>& target = undo ? m_redo_stack : m_undo_stack;
  if (source->IsEmpty()) return;
  SharedRef<_StatePerformingUndoRedo> state;
  if (m_spare_performing && m_spare_performing->IsReusable()) {
    state = m_spare_performing;
    state->Prepare(source, target, undo);
  } else {
    state = MakeShared<_StatePerformingUndoRedo>(source, target, undo);
    m_spare_performing = state;
  }
  GetOwner()->PushState(state);
  state->_Start();
}

wchar_t const* _StateNeutral::GetUndoActionString() const {
  ActionGroup* top = m_undo_stack->Top();
  return top ? top->GetActionString() : nullptr;
}

wchar_t const* _StateNeutral::GetRedoActionString() const {
  ActionGroup* top = m_redo_stack->Top();
  return top ? top->GetActionString() : nullptr;
}

Transaction* _StateNeutral::BeginTransaction(char const* id) {
  SharedRef<_StateBuildingActionGroup> state;
  if (m_spare_building && m_spare_building->IsReusable()) {
    state = m_spare_building;
  } else {
    state = MakeShared<_StateBuildingActionGroup>(m_undo_stack, m_redo_stack);
    m_spare_building = state;
  }
  GetOwner()->PushState(state);
  try {
    return state->BeginTransaction(id);
  } catch (...) {
    state->GetOwner()->PopState();
    throw;
  }
}

void _StateNeutral::EnumerateUndoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  _Walk(m_undo_stack, agent, filter, true);
}
void _StateNeutral::EnumerateRedoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  _Walk(m_redo_stack, agent, filter, true);
}
void _StateNeutral::ExtractUndoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  _Walk(m_undo_stack, agent ? agent : IActionEnumAgent::DisacrdActionsAgent(), filter, false);
}
void _StateNeutral::ExtractRedoActions(IActionEnumAgent* agent, IActionFilter const* filter) {
  _Walk(m_redo_stack, agent ? agent : IActionEnumAgent::DisacrdActionsAgent(), filter, false);
}

void _StateNeutral::_Walk(const SharedRef<ActionGroupStack>& stack, IActionEnumAgent* agent,
                          IActionFilter const* filter, bool enumerate_only) {
  auto state = MakeShared<_StateEnumeratingActions>(stack, enumerate_only);
  GetOwner()->PushState(state);
  state->Run(agent, filter);
}

// ---- _StateEnumeratingActions ----

void _StateEnumeratingActions::Run(IActionEnumAgent* agent, IActionFilter const* filter) {
  SharedRef<_State> hold(this, SharedRef<_State>::ADD_REF);
  try {
    agent->OnStart();
    if (IsCurrentState()) {
      if (m_enumerate_only)
        m_stack->Enumerate(agent, filter);
      else
        m_stack->Extract(agent, filter);
      if (IsCurrentState()) {
        agent->OnFinish();
        _PopSelf();
        return;
      }
    }
    agent->OnAbort();
  } catch (...) {
    // OnAbort is the agent's chance to let go of what it holds; a failure there must not hide
    // the first one nor stop the clean-up.
    try {
      agent->OnAbort();
    } catch (...) {
    }
    if (!m_enumerate_only && GetOwner()) GetOwner()->CleanupManager();
    throw;
  }
}

// ---- _StateHandlingTransaction ----

void _StateHandlingTransaction::OnOwnerChanged(Controller*) {
  if (!GetOwner()) _DropTransactions();
}

TransactionTable* _StateHandlingTransaction::GetTransactionTable() const {
  return GetOwner() ? GetOwner()->GetTransactionTable() : nullptr;
}

ActionText _StateHandlingTransaction::ShareText(wchar_t const* text) {
  return GetOwner() ? GetOwner()->ShareText(text) : ActionText::Copy(text);
}

void _StateHandlingTransaction::RegisterAction(SharedRef<ActionEntry> entry) {
  if (Transaction* current = GetCurrent())
    current->AddAction(std::move(entry));
  else
    _State::RegisterAction(std::move(entry));
}

Transaction* _StateHandlingTransaction::BeginTransaction(char const* id) {
  // A state that has lost its controller opens nothing: its transactions would outlive the
  // history they were meant for.
  return GetOwner() ? _Begin(id) : nullptr;
}

bool _StateHandlingTransaction::_OnRollback(Transaction* tx) {
  SharedRef<_State> hold(this, SharedRef<_State>::ADD_REF);
  Controller* controller = GetOwner();
  if (!controller) {
    _Dispose(tx);
    return false;
  }
  controller->DisableRegistration();
  RefList<ActionEntry> actions;
  actions.Swap(tx->GetActions());
  _Dispose(tx);
  try {
    while (!actions.IsEmpty()) {
      actions.PopFront()->PerformAction();
      // Whatever replaced this state has reset the counter; it is not ours to touch any more.
      if (!IsCurrentState()) return false;
    }
  } catch (...) {
    if (GetOwner() == controller) controller->CleanupManager();
    throw;
  }
  controller->EnableRegistration();
  if (!GetCurrent()) _PopSelf();
  return true;
}

void _StateHandlingTransaction::_OnTerminate(Transaction* tx) {
  _Dispose(tx);
  if (GetOwner() && !GetCurrent()) _PopSelf();
}

// ---- _StateBuildingActionGroup ----

_StateBuildingActionGroup::~_StateBuildingActionGroup() noexcept(false) = default;

void _StateBuildingActionGroup::_OnCommitPrimary(Transaction* tx) {
  if (!tx->IsEmpty()) {
    m_undo_stack_ref->Push(ActionGroup::MakeFrom(tx));
    m_redo_stack_ref->Clear();
  }
  _Dispose(tx);
  _PopSelf();
}

// ---- _StatePerformingUndoRedo ----

_StatePerformingUndoRedo::~_StatePerformingUndoRedo() noexcept(false) = default;

void _StatePerformingUndoRedo::OnOwnerChanged(Controller* old_owner) {
  if (!GetOwner()) m_primary = nullptr;  // dropped with the other transactions
  _StateHandlingTransaction::OnOwnerChanged(old_owner);
}

void _StatePerformingUndoRedo::_Start() {
  SharedRef<_State> hold(this, SharedRef<_State>::ADD_REF);
  Controller* controller = GetOwner();
  try {
    SharedRef<ActionGroup> group = m_source->Peek();
    m_primary = _Begin(nullptr);
    // The group's text is not read while the run lasts (the state is not neutral), and the
    // group leaves the stack at its end, so the text is moved rather than copied.
    m_primary->GetActionText().swap(group->GetActionText());
    while (!group->IsEmpty()) {
      SharedRef<ActionEntry> entry = group->PopFrontEntry();
      Transaction* nested = _Begin(entry->GetId());
      const std::uint64_t serial = nested->GetSerial();
      // The entry, emptied, is offered to the controller for what the action registers in turn,
      // so that an action moving to the other stack costs no new entry.
      IAction* action = entry->TakeAction();
      controller->OfferSpareEntry(std::move(entry));
      if (action) action->Perform();
      // The action may have ended its transaction itself, or the manager's history with it.
      if (Transaction* open = _FindOpen(nested, serial)) Commit(open);
      if (!IsCurrentState() || !m_primary) break;
    }
    if (IsCurrentState() && m_primary && GetPrimary() == m_primary) {
      m_finishing = true;
      m_consumed = group.Get();
      Commit(m_primary);
      m_consumed = nullptr;
      if (m_source->Top() == group.Get()) m_source->Pop();
      return;
    }
    throw std::logic_error("undo/redo performer became to unexpected state");
  } catch (...) {
    m_consumed = nullptr;
    if (controller && GetOwner() == controller) controller->CleanupManager();
    throw;
  }
}

void _StatePerformingUndoRedo::_OnCommitPrimary(Transaction* tx) {
  const bool legal = m_finishing && tx == m_primary;
  m_primary = nullptr;
  if (!legal) {
    // Only the run itself ends its primary. An action that commits it leaves the run without
    // one; the run then fails and takes the history with it.
    _Dispose(tx);
    return;
  }
  if (!tx->IsEmpty()) {
    // The group just consumed, now empty, becomes the new one, unless anything but the source
    // stack and the run still holds it. Taking it off the source stack first calls no foreign
    // code: an empty group that loses its stack has nothing to release.
    SharedRef<ActionGroup> group;
    if (m_consumed && m_consumed->IsEmpty() && m_consumed->HasRefCount(2) && m_source->Top() == m_consumed) {
      group = m_source->Pop();
      group->TakeOver(tx);
    } else {
      group = ActionGroup::MakeFrom(tx);
    }
    m_target->Push(std::move(group));
  }
  _Dispose(tx);
  _PopSelf();
}

bool _StatePerformingUndoRedo::_OnRollback(Transaction* tx) {
  if (tx == m_primary) {
    m_primary = nullptr;
    _Dispose(tx);
    throw std::logic_error("attempt to rollback primary transaction");
  }
  return _StateHandlingTransaction::_OnRollback(tx);
}

void _StatePerformingUndoRedo::_OnTerminate(Transaction* tx) {
  if (tx == m_primary) {
    // Not a legal call from inside an action: the run finds its primary gone and fails.
    m_primary = nullptr;
    _Dispose(tx);
    return;
  }
  _StateHandlingTransaction::_OnTerminate(tx);
}

}  // namespace Ostrum::Undo::Private
