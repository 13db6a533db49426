#include "ostrum/foundation/platform/Timer.h"

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::Private::CurrentQueue;
using Ostrum::Desktop::Private::WindowTable;

namespace {

// Timers of a window are set and killed on the window's own thread, where they are delivered.
bool OwnWindow(HWND hwnd) {
  if (hwnd == nullptr) return true;
  auto window = WindowTable::Get().Find(hwnd);
  if (!window) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return false;
  }
  if (window->thread_id != GetCurrentThreadId()) {
    SetLastError(ERROR_ACCESS_DENIED);
    return false;
  }
  return true;
}

}  // namespace

UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapse_ms, TIMERPROC proc) {
  if (!OwnWindow(hwnd)) return 0;
  return CurrentQueue().SetTimer(hwnd, id, elapse_ms, proc);
}

BOOL KillTimer(HWND hwnd, UINT_PTR id) {
  if (hwnd != nullptr && !OwnWindow(hwnd)) return FALSE;
  return CurrentQueue().KillTimer(hwnd, id) ? TRUE : FALSE;
}
