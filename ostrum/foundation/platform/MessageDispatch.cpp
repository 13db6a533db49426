#include "ostrum/foundation/platform/MessageDispatch.h"

#include "ostrum/foundation/platform/TickCount.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"

using Ostrum::Desktop::Private::CurrentQueue;

namespace {

// The character a key types, or 0 for a key that types none.
wchar_t TypedCharacter(WPARAM key) {
  if (key >= 'A' && key <= 'Z') return static_cast<wchar_t>(key - 'A' + 'a');
  if (key >= '0' && key <= '9') return static_cast<wchar_t>(key);
  switch (key) {
    case 0x08:  // backspace
    case 0x09:  // tab
    case 0x0D:  // return
    case 0x1B:  // escape
    case 0x20:  // space
      return static_cast<wchar_t>(key);
    default:
      return 0;
  }
}

}  // namespace

BOOL TranslateMessage(const MSG* msg) {
  if (!msg || (msg->message != WM_KEYDOWN && msg->message != WM_SYSKEYDOWN)) return FALSE;
  const wchar_t typed = TypedCharacter(msg->wParam);
  if (typed == 0) return FALSE;
  const UINT character = msg->message == WM_KEYDOWN ? WM_CHAR : WM_SYSCHAR;
  // The character is read next, before anything posted meanwhile, as if the key had typed it.
  return CurrentQueue().Post(msg->hwnd, character, static_cast<WPARAM>(typed), msg->lParam, true) ? TRUE
                                                                                                  : FALSE;
}

LRESULT DispatchMessageW(const MSG* msg) {
  if (!msg) return 0;
  if (msg->message == WM_TIMER && msg->lParam != 0) {
    auto proc = reinterpret_cast<TIMERPROC>(msg->lParam);
    // Only a timer that still exists calls its procedure: lParam is not trusted as a pointer.
    if (CurrentQueue().HasTimerProc(msg->hwnd, msg->wParam, proc)) proc(msg->hwnd, WM_TIMER, msg->wParam, GetTickCount());
    return 0;
  }
  if (msg->hwnd == nullptr) return 0;
  // A window of this thread gets the message as if it were sent to it.
  return SendMessageW(msg->hwnd, msg->message, msg->wParam, msg->lParam);
}
