#pragma once
// Message loops for headless hosts and tests. A desktop host runs its own
// GetMessageW/TranslateMessage/DispatchMessageW loop; these run the same steps on the calling
// thread for a bounded stretch, moving the model clock through the backend.

#include <cstdint>

#include "ostrum/Export.h"

namespace Ostrum::Desktop {

/// Retrieves, pre-translates (AfxPreTranslateMessage), translates and dispatches every message
/// of the calling thread that waits now, including what the procedures post on the way, paints
/// and timers that are due; the clock does not move. Stops early at WM_QUIT, which stays in the queue for the host's loop. Answers the
/// number of messages dispatched.
OSTRUM_API int PumpWaitingMessages();
/// Lets `ms` of model time pass on the calling thread: the clock is moved through the backend
/// from one timer's due time to the next (the headless backend jumps there at once), and at
/// each step what waits is dispatched. Stops early at WM_QUIT. Answers the messages dispatched.
OSTRUM_API int RunFor(uint32_t ms);
/// Like RunFor, but returns as soon as the calling thread has no message waiting and no timer
/// set, or when `limit_ms` of model time have passed (a timer that is never killed would
/// otherwise run for ever). Answers the messages dispatched.
OSTRUM_API int RunUntilIdle(uint32_t limit_ms = 60000);

}  // namespace Ostrum::Desktop
