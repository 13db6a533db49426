#include "ostrum/foundation/platform/MessageQueue.h"

#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/private/DesktopInput.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::Private::CurrentQueue;
using Ostrum::Desktop::Private::CurrentQueueShared;
using Ostrum::Desktop::Private::FindQueue;
using Ostrum::Desktop::Private::FindWindowOrFail;
using Ostrum::Desktop::Private::MessageFilter;

namespace {

// A window filter must name a window of the model (or be null or the thread filter).
bool ValidFilter(HWND hwnd) {
  return hwnd == nullptr || hwnd == HWND_THREAD_MESSAGES || FindWindowOrFail(hwnd);
}

UINT InputKind(UINT message) {
  if (message == WM_MOUSEMOVE) return QS_MOUSEMOVE;
  if (message > WM_MOUSEFIRST && message <= WM_MOUSELAST) return QS_MOUSEBUTTON;
  if (message >= WM_KEYFIRST && message <= WM_KEYLAST) return QS_KEY;
  if (message == WM_INPUT) return QS_RAWINPUT;
  return 0;
}

}  // namespace

BOOL PostMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (hwnd == nullptr) return CurrentQueue().Post(nullptr, message, wParam, lParam) ? TRUE : FALSE;
  auto window = FindWindowOrFail(hwnd);
  if (!window) return FALSE;
  return window->queue->Post(hwnd, message, wParam, lParam) ? TRUE : FALSE;
}

BOOL PostThreadMessageW(DWORD thread_id, UINT message, WPARAM wParam, LPARAM lParam) {
  auto queue = FindQueue(thread_id);
  if (!queue) {
    SetLastError(ERROR_INVALID_THREAD_ID);
    return FALSE;
  }
  return queue->Post(nullptr, message, wParam, lParam) ? TRUE : FALSE;
}

void PostQuitMessage(int exit_code) { CurrentQueue().SetQuit(exit_code); }

BOOL GetMessageW(MSG* msg, HWND hwnd, UINT filter_min, UINT filter_max) {
  if (!msg) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return -1;
  }
  if (!ValidFilter(hwnd)) return -1;
  auto& queue = CurrentQueue();
  const MessageFilter filter{hwnd, filter_min, filter_max};
  Ostrum::Desktop::IDesktopBackend& backend = Ostrum::Desktop::GetDesktopBackend();
  while (!queue.Take(*msg, filter, true)) backend.WaitForMessage(queue.NextTimerDue(filter), queue.Wakeup());
  return msg->message == WM_QUIT ? 0 : 1;
}

BOOL PeekMessageW(MSG* msg, HWND hwnd, UINT filter_min, UINT filter_max, UINT remove) {
  if (!msg) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (!ValidFilter(hwnd)) return FALSE;
  auto& queue = CurrentQueue();
  const MessageFilter filter{hwnd, filter_min, filter_max};
  const bool take = (remove & PM_REMOVE) != 0;
  if (queue.Take(*msg, filter, take)) return TRUE;
  // Nothing here: a backend that collects input lazily brings it in, and the queue looks again.
  Ostrum::Desktop::GetDesktopBackend().PollEvents();
  return queue.Take(*msg, filter, take) ? TRUE : FALSE;
}

DWORD GetQueueStatus(UINT flags) { return CurrentQueue().Status(flags); }

namespace Ostrum::Desktop {

BOOL DeliverInputMessage(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  const UINT kind = InputKind(message);
  if (kind == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  std::shared_ptr<Private::ThreadQueue> queue;
  if (hwnd == nullptr) {
    queue = CurrentQueueShared();
  } else if (auto window = FindWindowOrFail(hwnd)) {
    queue = window->queue;
  } else {
    return FALSE;
  }
  Private::RawInput record;
  record.kind = Private::RawKind::Targeted;
  record.message = message;
  record.wParam = wParam;
  record.lParam = lParam;
  record.hwnd = hwnd;
  record.time = static_cast<DWORD>(GetDesktopBackend().GetTickCount64());
  record.screen = Private::CursorPosition();
  record.qs_kind = kind;
  return queue->PutInput(record) ? TRUE : FALSE;
}

}  // namespace Ostrum::Desktop
