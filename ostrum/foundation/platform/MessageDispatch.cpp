#include "ostrum/foundation/platform/MessageDispatch.h"

#include "ostrum/foundation/platform/KeyState.h"
#include "ostrum/foundation/platform/TickCount.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/private/ProcedureCall.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::Private::CurrentInput;
using Ostrum::Desktop::Private::CurrentQueue;

namespace {

// The character a key types with the key state of its message (a US keyboard), or 0 for a key
// that types none.
wchar_t TypedCharacter(WPARAM key) {
  const auto& keys = CurrentInput().keys;
  const bool shift = keys.IsDown(VK_SHIFT);
  const bool control = keys.IsDown(VK_CONTROL);
  const bool caps = keys.toggled.test(VK_CAPITAL);
  if (key >= 'A' && key <= 'Z') {
    if (control) return static_cast<wchar_t>(key - 'A' + 1);  // Ctrl+A is 1, as on the desktop
    return static_cast<wchar_t>(shift != caps ? key : key - 'A' + 'a');
  }
  if (control) return 0;
  if (key >= '0' && key <= '9') return shift ? L")!@#$%^&*("[key - '0'] : static_cast<wchar_t>(key);
  switch (key) {
    case VK_BACK:
    case VK_TAB:
    case VK_RETURN:
    case VK_ESCAPE:
    case VK_SPACE:
      return static_cast<wchar_t>(key);
    case VK_OEM_1:
      return shift ? L':' : L';';
    case VK_OEM_PLUS:
      return shift ? L'+' : L'=';
    case VK_OEM_COMMA:
      return shift ? L'<' : L',';
    case VK_OEM_MINUS:
      return shift ? L'_' : L'-';
    case VK_OEM_PERIOD:
      return shift ? L'>' : L'.';
    case VK_OEM_2:
      return shift ? L'?' : L'/';
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
  auto window = Ostrum::Desktop::Private::FindOwnWindowOrFail(msg->hwnd);
  if (!window) return 0;
  return Ostrum::Desktop::Private::CallProcedure(window->proc, msg->hwnd, msg->message, msg->wParam, msg->lParam,
                                                 true);
}
