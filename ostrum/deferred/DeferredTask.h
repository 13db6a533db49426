#pragma once
// Ostrum::DeferredTask: the handle of a task registered with the deferred-task manager.

#include "ostrum/Export.h"

namespace Ostrum {

/// An opaque handle: a DeferredTask* is the task's key in the process's table of waiting tasks,
/// not an address, so it is safe to keep after the task has run and then finds nothing. A task
/// leaves the table the moment it is taken for running or discarding, so a handle works at most
/// once. Both calls may be made from any thread.
class OSTRUM_API DeferredTask {
 public:
  DeferredTask() = delete;
  DeferredTask(const DeferredTask&) = delete;
  DeferredTask& operator=(const DeferredTask&) = delete;

  /// Whether the task still waits: neither run nor discarded.
  bool IsValid() const;
  /// Takes the task out; if it was still waiting its action gets IAction::Discard (on the
  /// calling thread) and the answer is true. False if it had run or been discarded already.
  bool Discard();
};

}  // namespace Ostrum
