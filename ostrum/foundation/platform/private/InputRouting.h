#pragma once
// Retrieval-time routing: what a raw input record becomes for the calling thread at the moment
// it is taken, and the work the desktop does on the way (WM_SETCURSOR, WM_MOUSEACTIVATE and
// activation, double clicks, the key state; activation, resizing and closing on the user's
// request).

#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/private/RawInput.h"

namespace Ostrum::Desktop::Private {

struct RoutedInput {
  bool has_message = false;  // a message to retrieve
  MSG msg;
  HWND target = nullptr;     // the window the event is for, also when no message comes of it
  int hit = HTNOWHERE;       // where on `target` a mouse event lies
};

/// Routes a record for the calling thread, without calling any procedure: capture, else the
/// window under the cursor (its own thread's, visible and enabled) for the mouse; focus, else
/// the active window for keys and characters. A record for no window answers no target.
RoutedInput ResolveInput(const RawInput& record);
/// Does what the desktop does when the record is taken: the sends and state changes of
/// routing, and turning a second click into a double click. Answers whether `routed`'s message
/// (possibly changed) is still to be retrieved: false if a procedure ate it or its window went.
bool CarryOutInput(const RawInput& record, RoutedInput& routed);

/// Queues a key event like InputKey; with a `target`, for that window (bypassing the focus)
/// rather than for the foreground thread's focus. For test drivers that address a window.
bool QueueKey(HWND target, UINT vk, bool down);

}  // namespace Ostrum::Desktop::Private
