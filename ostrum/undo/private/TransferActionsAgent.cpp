#include "ostrum/undo/private/TransferActionsAgent.h"

#include "ostrum/undo/Manager.h"
#include "ostrum/undo/private/DiscardActionsTask.h"

namespace Ostrum::Undo::Private {

TransferActionsAgent::~TransferActionsAgent() { OnAbort(); }

void TransferActionsAgent::OnBeginGroup(wchar_t const* action_string) {
  Group& group = m_groups.emplace_back();
  group.has_action_string = action_string != nullptr;
  if (action_string) group.action_string = action_string;
}

void TransferActionsAgent::OnEndGroup() {
  if (!m_groups.empty() && m_groups.back().actions.empty()) m_groups.pop_back();
}

void TransferActionsAgent::OnAction(IAction* action, char const* id) {
  if (m_groups.empty()) m_groups.emplace_back();
  m_groups.back().actions.emplace_back(action, id ? id : "");
}

void TransferActionsAgent::OnFinish() {
  while (!m_groups.empty()) {
    Group& group = m_groups.back();
    Transaction* tx = m_target.BeginTransaction(group.has_action_string ? group.action_string.c_str() : nullptr, nullptr);
    while (!group.actions.empty()) {
      auto [action, id] = std::move(group.actions.back());
      group.actions.pop_back();
      m_target.RegisterAction(action, id.empty() ? nullptr : id.c_str());
    }
    m_groups.pop_back();
    if (tx) tx->Commit();
  }
}

void TransferActionsAgent::OnAbort() {
  std::vector<Group> groups;
  groups.swap(m_groups);
  for (Group& group : groups)
    for (auto& [action, id] : group.actions) DiscardActionsTask::ScheduleDiscard(action);
}

}  // namespace Ostrum::Undo::Private
