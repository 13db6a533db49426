#pragma once
// One event of the world outside, as Input.h queues it for a thread: what happened and the
// state around it. The thread's retrieval turns it into a message (InputRouting.cpp), at the
// moment it is taken, against the capture, windows and focus of that moment.

#include <cstdint>

#include "ostrum/foundation/platform/WinTypes.h"
#include "ostrum/foundation/platform/private/KeySnapshot.h"

namespace Ostrum::Desktop::Private {

enum class RawKind {
  Mouse,     // message: WM_MOUSEMOVE, a logical button message or WM_MOUSE(H)WHEEL
  Key,       // message: WM_KEYDOWN or WM_KEYUP; wParam the key, lParam its flags
  Char,      // message: WM_CHAR; wParam the character
  Activate,  // hwnd: the top-level window to activate; null: the application loses the foreground
  Resize,    // hwnd: the top-level window; wParam, lParam: the new width and height
  Close,     // hwnd: the top-level window whose closing the user asked for
  Targeted,  // a message for `hwnd` as given (DeliverInputMessage, for tests and backends)
};

struct RawInput {
  RawKind kind = RawKind::Targeted;
  UINT message = 0;
  WPARAM wParam = 0;
  LPARAM lParam = 0;
  HWND hwnd = nullptr;
  POINT screen;          // the cursor at the event
  DWORD time = 0;        // the model clock at the event
  KeySnapshot keys;      // logical keys and buttons just after the event
  UINT qs_kind = 0;      // the QS_ bit the queue status shows for it
  uint64_t serial = 0;   // order in the queue
};

}  // namespace Ostrum::Desktop::Private
