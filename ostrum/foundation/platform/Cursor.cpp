#include "ostrum/foundation/platform/Cursor.h"

#include <algorithm>
#include <utility>

#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/Input.h"
#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/private/DesktopInput.h"
#include "ostrum/foundation/platform/private/ResetHooks.h"

using Ostrum::Desktop::Private::DesktopInput;
using Ostrum::Desktop::Private::DesktopState;

namespace {

// System cursors are fixed handles in a range of their own: the id over a base.
constexpr uintptr_t kSystemCursorBase = 0x00C00000;
constexpr WORD kSystemCursors[] = {32512, 32513, 32514, 32515, 32516, 32642, 32643,
                                   32644, 32645, 32646, 32648, 32649, 32650, 32651};

bool IsSystemCursorId(uintptr_t id) {
  for (WORD known : kSystemCursors)
    if (known == id) return true;
  return false;
}

}  // namespace

HCURSOR LoadCursorW(HINSTANCE instance, LPCWSTR name) {
  const auto id = reinterpret_cast<uintptr_t>(name);
  if (instance || !IS_INTRESOURCE(name) || !IsSystemCursorId(id)) {
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return nullptr;
  }
  return reinterpret_cast<HCURSOR>(kSystemCursorBase + id);
}

HCURSOR SetCursor(HCURSOR cursor) {
  const HCURSOR old = DesktopInput::Get().Locked([&](DesktopState& state) { return std::exchange(state.shape, cursor); });
  if (old != cursor) Ostrum::Desktop::GetDesktopBackend().OnCursorChanged(cursor);
  return old;
}

HCURSOR GetCursor() {
  return DesktopInput::Get().Locked([](const DesktopState& state) { return state.shape; });
}

namespace {
// A test's clip rectangle does not outlive the test.
[[maybe_unused]] const bool g_reset_registered = Ostrum::Desktop::Private::AddResetHook([] { ClipCursor(nullptr); });
}  // namespace

BOOL SetCursorPos(int x, int y) {
  // The desktop reports a cursor moved by the program as a mouse move, like one by the hand.
  Ostrum::Desktop::InputMouseMove(POINT{x, y});
  return TRUE;
}

BOOL ClipCursor(const RECT* rect) {
  const RECT screen = Ostrum::Desktop::GetDesktopBackend().GetScreenRect();
  RECT area{};
  if (rect && !IntersectRect(&area, rect, &screen)) area = RECT{};
  const POINT moved = DesktopInput::Get().Locked([&](DesktopState& state) {
    state.cursor_clipped = rect != nullptr && !IsRectEmpty(&area);
    state.cursor_clip = area;
    if (state.cursor_clipped) {
      state.cursor.x = std::clamp<LONG>(state.cursor.x, area.left, area.right - 1);
      state.cursor.y = std::clamp<LONG>(state.cursor.y, area.top, area.bottom - 1);
    }
    return state.cursor;
  });
  (void)moved;
  return TRUE;
}

BOOL GetClipCursor(LPRECT rect) {
  if (!rect) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const RECT screen = Ostrum::Desktop::GetDesktopBackend().GetScreenRect();
  *rect = DesktopInput::Get().Locked(
      [&](const DesktopState& state) { return state.cursor_clipped ? state.cursor_clip : screen; });
  return TRUE;
}

BOOL GetCursorPos(LPPOINT point) {
  if (!point) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  *point = Ostrum::Desktop::Private::CursorPosition();
  return TRUE;
}

namespace Ostrum::Desktop {

WORD SystemCursorId(HCURSOR cursor) {
  const auto value = reinterpret_cast<uintptr_t>(cursor);
  if (value < kSystemCursorBase) return 0;
  const uintptr_t id = value - kSystemCursorBase;
  return IsSystemCursorId(id) ? static_cast<WORD>(id) : 0;
}

}  // namespace Ostrum::Desktop

namespace Ostrum::Desktop {

namespace {
thread_local int t_wait_count = 0;
thread_local HCURSOR t_before_wait = nullptr;
}  // namespace

void BeginWaitCursor() {
  if (t_wait_count++ == 0) t_before_wait = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
}

void EndWaitCursor() {
  if (t_wait_count == 0) return;
  if (--t_wait_count == 0) SetCursor(t_before_wait);
}

int GetWaitCursorCount() { return t_wait_count; }

}  // namespace Ostrum::Desktop
