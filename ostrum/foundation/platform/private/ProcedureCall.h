#pragma once
// The one way the model calls a window procedure, so that the thread's message observer sees
// every message and knows how deeply calls nest.

#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop::Private {

/// Calls `proc` for the message; `queued` for a message DispatchMessageW hands over.
LRESULT CallProcedure(WNDPROC proc, HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, bool queued = false);
/// Calls the current procedure of a window of the calling thread (0 if it is gone).
LRESULT SendToWindow(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, bool queued = false);

}  // namespace Ostrum::Desktop::Private
