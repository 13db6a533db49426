#pragma once
// A look at every message a procedure of the calling thread receives, in order, for test
// drivers and diagnostics: sent messages (the procedure runs inside the sender's call) and
// dispatched ones (retrieved from the queue), with how deeply they nest.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop {

struct ObservedMessage {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  bool queued;  ///< handed over by DispatchMessageW; false for a sent message
  int depth;    ///< 1 for a procedure called from no other, 2 for one called inside that, ...
};

/// Called before the window's procedure runs, on the thread that runs it.
using MessageObserver = void (*)(const ObservedMessage& message, void* context);

/// Makes `observer` (null: none) see the calling thread's messages from now on; answers the
/// observer set before and its context in `old_context`.
OSTRUM_API MessageObserver SetMessageObserver(MessageObserver observer, void* context,
                                              void** old_context = nullptr);

}  // namespace Ostrum::Desktop
