#pragma once
// DiscardActionsTask: the deferred disposal of actions that leave a stack of undo history.
//
// Actions are not destroyed where they leave a stack, because that can be deep inside a
// callback of the very object they refer to. They are queued here and destroyed when the
// thread has nothing else to do, by one idle task of the deferred-task manager.

#include <vector>

#include "ostrum/deferred/DeferredTask.h"
#include "ostrum/action/IAction.h"

namespace Ostrum::Undo::Private {

/// The one task of the process that disposes of queued actions. Not locked: the queue belongs
/// to the thread of the documents and is shared by all undo managers of the process.
class DiscardActionsTask final : public IAction {
 public:
  /// Queues `action` (owned from now on) for Discard at idle time. The first action queued
  /// after a run registers the idle task; without a deferred-task session on the calling thread
  /// the action waits until a later call finds one.
  static void ScheduleDiscard(IAction* action);

  /// Told of every action the moment it is queued: it has left the history for good, though it
  /// is destroyed only at idle time. The document links its own function here when the
  /// library loads, so that an undo step's files go at once (see "Calls up the layers").
  using LeftHistoryHook = void (*)(IAction* action);
  static void SetLeftHistoryHook(LeftHistoryHook hook);

 protected:
  /// Disposes of everything queued, in order; an exception from one action is swallowed and the
  /// next follows. What is queued during the run waits for a new task.
  void _Perform() override;
  /// A task discarded rather than run (at the end of a session) still disposes of the queue.
  /// The object is static and is not deleted.
  void _Discard() override;

 private:
  DiscardActionsTask() = default;
  /// Disposes of the queue at unload: through the pending task, or at once when no session
  /// ever took one.
  ~DiscardActionsTask() override;
  static DiscardActionsTask& Instance();

  DeferredTask* m_task = nullptr;      // the pending idle task, null when none is registered
  std::vector<IAction*> m_actions;     // in order of scheduling
};

}  // namespace Ostrum::Undo::Private
