#include "ostrum/undo/private/DiscardActionsTask.h"

#include "ostrum/deferred/DeferredTaskManager.h"

namespace Ostrum::Undo::Private {

namespace {
constinit DiscardActionsTask::LeftHistoryHook g_left_history = nullptr;
}  // namespace

void DiscardActionsTask::SetLeftHistoryHook(LeftHistoryHook hook) { g_left_history = hook; }

DiscardActionsTask& DiscardActionsTask::Instance() {
  static DiscardActionsTask task;
  return task;
}

DiscardActionsTask::~DiscardActionsTask() {
  if (m_task && m_task->Discard()) return;
  _Perform();
}

void DiscardActionsTask::ScheduleDiscard(IAction* action) {
  if (!action) return;
  if (g_left_history) g_left_history(action);
  DiscardActionsTask& task = Instance();
  task.m_actions.push_back(action);
  if (!task.m_task) task.m_task = DeferredTaskManager::RegisterTask(&task, DeferredTaskManager::IDLE_PRIORITY, 0);
}

void DiscardActionsTask::_Perform() {
  // Cleared first, so that an action discarded by the actions below schedules a new task
  // instead of joining this run.
  m_task = nullptr;
  std::vector<IAction*> actions;
  actions.swap(m_actions);
  for (IAction* action : actions) {
    try {
      action->Discard();
    } catch (...) {
      // One action's failure to go must not keep the others alive.
    }
  }
}

void DiscardActionsTask::_Discard() { _Perform(); }

}  // namespace Ostrum::Undo::Private
