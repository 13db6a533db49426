// The active window of a thread and the foreground window, and the model's own moves of
// activation (on destruction, hiding, and the user's switching).

#include "ostrum/foundation/platform/Activation.h"

#include "ostrum/foundation/platform/Capture.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/platform/private/DesktopInput.h"
#include "ostrum/foundation/platform/private/InputState.h"
#include "ostrum/foundation/platform/private/ProcedureCall.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace Ostrum::Desktop::Private {

namespace {

struct Foreground {
  HWND window;
  bool other_application;
};

Foreground ReadForeground() {
  return DesktopInput::Get().Locked(
      [](const DesktopState& state) { return Foreground{state.foreground, state.other_application}; });
}

void WriteForeground(HWND window, bool other_application) {
  DesktopInput::Get().Locked([&](DesktopState& state) {
    state.foreground = window;
    state.other_application = other_application;
  });
}

bool IsOwnThreads(HWND hwnd) { return hwnd && GetWindowThreadProcessId(hwnd, nullptr) == GetCurrentThreadId(); }

// The thread's top-level windows from the top of the z-order, not those on their way out.
std::vector<HWND> OwnTopLevels() {
  const DWORD me = GetCurrentThreadId();
  return WindowTable::Get().Locked([&](const WindowStore& store) {
    std::vector<HWND> tops;
    for (HWND top : store.top_levels) {
      const WindowRecord* record = store.Find(top);
      if (record && record->thread_id == me && !record->destroying) tops.push_back(top);
    }
    return tops;
  });
}

void SendActivateApp(bool active) {
  for (HWND top : OwnTopLevels())
    if (IsWindow(top)) SendToWindow(top, WM_ACTIVATEAPP, active ? TRUE : FALSE, 0);
}

bool Inside(HWND container, HWND hwnd) {
  return hwnd && WindowTable::Get().Locked([&](const WindowStore& store) { return store.IsSelfOrAncestor(container, hwnd); });
}

// The window to activate when `leaving` stops being active: its owner if that can take it,
// else the topmost visible and enabled top-level window of the thread outside `leaving`.
HWND NextActive(HWND leaving) {
  const DWORD me = GetCurrentThreadId();
  return WindowTable::Get().Locked([&](const WindowStore& store) -> HWND {
    auto can_take = [&](HWND top) {
      const WindowRecord* record = store.Find(top);
      if (!record || top == leaving || record->thread_id != me || !store.IsVisible(top) || !store.IsEnabled(top))
        return false;
      for (const WindowRecord* owner = record; owner && owner->owner; owner = store.Find(owner->owner))
        if (owner->owner == leaving) return false;
      return true;
    };
    if (const WindowRecord* record = store.Find(leaving); record && record->owner && can_take(record->owner))
      return record->owner;
    for (HWND top : store.top_levels)
      if (can_take(top)) return top;
    return nullptr;
  });
}

}  // namespace

void ActivateTopLevel(HWND top, UINT state, bool by_user) {
  ThreadInput& input = CurrentInput();
  const Foreground foreground = ReadForeground();
  const bool ours = IsOwnThreads(foreground.window);
  // The user may always take the foreground; the program only while nobody else has it.
  const bool may_take = by_user || ours || (!foreground.window && !foreground.other_application);
  const bool gains_foreground = may_take && !ours;
  if (may_take) WriteForeground(top, false);
  const bool raised = WindowTable::Get().Locked([&](WindowStore& store) {
    const bool at_top = !store.top_levels.empty() && store.top_levels.front() == top;
    store.Raise(top);
    return !at_top;
  });
  if (raised) NotifyWindowChanged(top, WindowChange::ZOrder);
  const HWND old = input.active;
  if (old == top && !gains_foreground) return;
  if (old && old != top && IsWindow(old)) SendToWindow(old, WM_ACTIVATE, MAKEWPARAM(WA_INACTIVE, 0), reinterpret_cast<LPARAM>(top));
  if (!IsWindow(top)) return;
  input.active = top;
  if (gains_foreground) SendActivateApp(true);
  if (!IsWindow(top)) return;
  const bool minimized = (GetWindowLongPtrW(top, GWL_STYLE) & WS_MINIMIZE) != 0;
  SendToWindow(top, WM_ACTIVATE, MAKEWPARAM(static_cast<int>(state), minimized ? 1 : 0),
               reinterpret_cast<LPARAM>(old == top ? nullptr : old));
}

void DeactivateForOtherApplication() {
  ThreadInput& input = CurrentInput();
  if (input.capture) ReleaseCapture();
  const HWND old = input.active;
  const bool had_foreground = IsOwnThreads(ReadForeground().window);
  if (had_foreground || !ReadForeground().window) WriteForeground(nullptr, true);
  input.active = nullptr;
  if (old && IsWindow(old)) SendToWindow(old, WM_ACTIVATE, MAKEWPARAM(WA_INACTIVE, 0), 0);
  if (had_foreground || old) SendActivateApp(false);
  if (const HWND focus = input.focus) {
    input.focus = nullptr;
    if (IsWindow(focus)) SendToWindow(focus, WM_KILLFOCUS, 0, 0);
  }
}

void LeaveWindow(HWND hwnd) {
  ThreadInput& input = CurrentInput();
  if (Inside(hwnd, input.capture)) ReleaseCapture();
  if (input.active == hwnd) {
    if (const HWND next = NextActive(hwnd)) {
      ActivateTopLevel(next, WA_ACTIVE, false);
    } else {
      input.active = nullptr;
      if (ReadForeground().window == hwnd) WriteForeground(nullptr, false);
      SendToWindow(hwnd, WM_ACTIVATE, MAKEWPARAM(WA_INACTIVE, 0), 0);
    }
  }
  if (Inside(hwnd, input.focus)) {
    const HWND focus = input.focus;
    input.focus = nullptr;
    SendToWindow(focus, WM_KILLFOCUS, 0, 0);
  }
}

}  // namespace Ostrum::Desktop::Private

using Ostrum::Desktop::Private::CurrentInput;
using Ostrum::Desktop::Private::FindOwnWindowOrFail;

namespace {

// The top-level window an activation of `hwnd` means; null (with the last error) for no window,
// another thread's, or a message-only one.
HWND TopLevelToActivate(HWND hwnd) {
  if (!FindOwnWindowOrFail(hwnd)) return nullptr;
  using Ostrum::Desktop::Private::WindowStore;
  const HWND top = Ostrum::Desktop::Private::WindowTable::Get().Locked([&](const WindowStore& store) -> HWND {
    const HWND root = store.Root(hwnd);
    const auto* record = store.Find(root);
    return record && !record->message_only ? root : nullptr;
  });
  if (!top) SetLastError(ERROR_INVALID_PARAMETER);
  return top;
}

}  // namespace

HWND SetActiveWindow(HWND hwnd) {
  const HWND top = TopLevelToActivate(hwnd);
  if (!top) return nullptr;
  const HWND previous = CurrentInput().active;
  if (previous != top) Ostrum::Desktop::Private::ActivateTopLevel(top, WA_ACTIVE, false);
  return previous;
}

HWND GetActiveWindow() { return CurrentInput().active; }

HWND GetForegroundWindow() {
  using Ostrum::Desktop::Private::DesktopState;
  return Ostrum::Desktop::Private::DesktopInput::Get().Locked([](const DesktopState& state) { return state.foreground; });
}

BOOL SetForegroundWindow(HWND hwnd) {
  const HWND top = TopLevelToActivate(hwnd);
  if (!top) return FALSE;
  Ostrum::Desktop::Private::ActivateTopLevel(top, WA_ACTIVE, false);
  return GetForegroundWindow() == top ? TRUE : FALSE;
}
