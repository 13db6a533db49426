#include "ostrum/foundation/platform/Focus.h"

#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/platform/private/InputState.h"
#include "ostrum/foundation/platform/private/ProcedureCall.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::Private::CurrentInput;
using Ostrum::Desktop::Private::SendToWindow;

namespace Ostrum::Desktop::Private {

HWND MoveFocus(HWND hwnd) {
  ThreadInput& input = CurrentInput();
  const HWND old = input.focus;
  if (old == hwnd) return old;
  // The window losing the focus hears it first, while it still has it.
  if (old && IsWindow(old)) SendToWindow(old, WM_KILLFOCUS, reinterpret_cast<WPARAM>(hwnd), 0);
  input.focus = hwnd && IsWindow(hwnd) ? hwnd : nullptr;
  if (input.focus) SendToWindow(input.focus, WM_SETFOCUS, reinterpret_cast<WPARAM>(old), 0);
  return old;
}

}  // namespace Ostrum::Desktop::Private

HWND SetFocus(HWND hwnd) {
  if (!hwnd) return Ostrum::Desktop::Private::MoveFocus(nullptr);
  if (!Ostrum::Desktop::Private::FindOwnWindowOrFail(hwnd)) return nullptr;
  const HWND previous = CurrentInput().focus;
  const HWND top = GetAncestor(hwnd, GA_ROOT);
  const bool message_only = Ostrum::Desktop::Private::WindowTable::Get().Locked(
      [&](const Ostrum::Desktop::Private::WindowStore& store) {
        const auto* record = store.Find(top);
        return !record || record->message_only;
      });
  if (!message_only && CurrentInput().active != top)
    Ostrum::Desktop::Private::ActivateTopLevel(top, WA_ACTIVE, false);
  if (!IsWindow(hwnd)) return nullptr;
  Ostrum::Desktop::Private::MoveFocus(hwnd);
  return previous;
}

HWND GetFocus() { return CurrentInput().focus; }
