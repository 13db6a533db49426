#include "ostrum/foundation/platform/Timer.h"

#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::Private::CurrentQueue;
using Ostrum::Desktop::Private::FindOwnWindowOrFail;

// Timers of a window are set and killed on the window's own thread, where they are delivered.
UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapse_ms, TIMERPROC proc) {
  if (hwnd && !FindOwnWindowOrFail(hwnd)) return 0;
  return CurrentQueue().SetTimer(hwnd, id, elapse_ms, proc);
}

BOOL KillTimer(HWND hwnd, UINT_PTR id) {
  if (hwnd && !FindOwnWindowOrFail(hwnd)) return FALSE;
  return CurrentQueue().KillTimer(hwnd, id) ? TRUE : FALSE;
}
