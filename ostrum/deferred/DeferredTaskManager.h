#pragma once
// Ostrum::DeferredTaskManager: runs actions later on the same thread, soon or when the thread
// has nothing better to do.
//
// Each thread that wants deferred tasks has a session, with a message-only window of the class
// "OSTRUM_DTM_MessageOnlyWindowClass": through it a posted message and a timer reach this code
// on this thread from whatever message loop the host runs. Posted tasks run together, in order
// of priority, when message 0x8100 (WM_APP + 0x100) arrives. Idle tasks run 10 ms after the
// first of them was registered, one by one, yielding after every task as long as anything waits
// in the thread's queue.

#include "ostrum/Export.h"
#include "ostrum/deferred/DeferredTask.h"
#include "ostrum/action/IAction.h"

namespace Ostrum {

class OSTRUM_API DeferredTaskManager {
 public:
  DeferredTaskManager() = delete;

  /// `priority` of RegisterTask that makes an idle task.
  static constexpr unsigned int IDLE_PRIORITY = 0xFFFFFFFFu;

  /// Gives the calling thread a session, unless it has one already (which is kept).
  static void StartDeferredTaskManagerSession();
  /// Ends the calling thread's session, if any: every task still waiting gets IAction::Discard
  /// (idle tasks first, then posted ones), none is performed; then the window is destroyed.
  static void EndDeferredTaskManagerSession();
  /// Registers `action` to run on the calling thread. `priority` IDLE_PRIORITY makes an idle
  /// task; any other value a posted task, lower values first and equal values in order of
  /// registration. `timeout` in milliseconds of GetTickCount, 0 for none: a task reached after
  /// its time has passed is discarded instead of performed. The manager owns the action until
  /// it performs or discards it, exactly once. Null, leaving the action with the caller, if
  /// the thread has no session or the action is null.
  static DeferredTask* RegisterTask(IAction* action, unsigned int priority, unsigned int timeout);

  /// Starts the calling thread's session for the life of the scope and ends it afterwards (also
  /// a session the thread had before).
  class ScopedSession {
   public:
    ScopedSession() { StartDeferredTaskManagerSession(); }
    ~ScopedSession() { EndDeferredTaskManagerSession(); }
    ScopedSession(const ScopedSession&) = delete;
    ScopedSession& operator=(const ScopedSession&) = delete;
  };
};

}  // namespace Ostrum
