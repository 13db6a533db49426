#include "ostrum/foundation/platform/WindowPos.h"

#include <algorithm>
#include <optional>

#include "ostrum/foundation/platform/Activation.h"
#include "ostrum/foundation/platform/Focus.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/private/InputState.h"
#include "ostrum/foundation/platform/private/Painting.h"
#include "ostrum/foundation/platform/private/ProcedureCall.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowPlacement.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::WindowChange;
using Ostrum::Desktop::Private::CurrentInput;
using Ostrum::Desktop::Private::FindOwnWindowOrFail;
using Ostrum::Desktop::Private::NotifyWindowChanged;
using Ostrum::Desktop::Private::SendToWindow;
using Ostrum::Desktop::Private::WindowRecord;
using Ostrum::Desktop::Private::WindowStore;
using Ostrum::Desktop::Private::WindowTable;

namespace Ostrum::Desktop::Private {

bool PlaceWindow(HWND hwnd, const RECT& rect, bool repaint) {
  struct Before {
    RECT window;
    RECT client;
  };
  const auto before = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    return record ? std::optional<Before>(Before{record->window, record->ClientInParent()}) : std::nullopt;
  });
  if (!before) return false;
  const RECT target{rect.left, rect.top, std::max(rect.left, rect.right), std::max(rect.top, rect.bottom)};
  const bool moved = target.left != before->window.left || target.top != before->window.top;
  const bool sized = target.right - target.left != before->window.right - before->window.left ||
                     target.bottom - target.top != before->window.bottom - before->window.top;
  if (!moved && !sized) return true;
  WindowTable::Get().Locked([&](WindowStore& store) {
    if (WindowRecord* record = store.Find(hwnd)) record->window = target;
  });
  CalculateClientArea(hwnd, target, &before->window, &before->client);
  if (sized && repaint) InvalidateWindow(hwnd, nullptr, kInvalidateErase | kInvalidateFrame);
  SendSizeAndMove(hwnd, sized, moved);
  NotifyWindowChanged(hwnd, WindowChange::Geometry);
  return true;
}

}  // namespace Ostrum::Desktop::Private

BOOL MoveWindow(HWND hwnd, int x, int y, int width, int height, BOOL repaint) {
  if (!FindOwnWindowOrFail(hwnd)) return FALSE;
  return Ostrum::Desktop::Private::PlaceWindow(hwnd, RECT{x, y, x + width, y + height}, repaint != FALSE) ? TRUE
                                                                                                        : FALSE;
}

BOOL SetWindowPos(HWND hwnd, HWND insert_after, int x, int y, int width, int height, UINT flags) {
  if (!FindOwnWindowOrFail(hwnd)) return FALSE;
  struct Before {
    RECT window;
    bool top_level;
    bool moved_in_order;
    bool valid_after;
  };
  const Before before = WindowTable::Get().Locked([&](WindowStore& store) {
    WindowRecord* record = store.Find(hwnd);
    Before state{record->window, record->parent == nullptr, false, true};
    if ((flags & SWP_NOZORDER) || record->message_only) return state;
    std::vector<HWND>& siblings = store.SiblingsOf(*record);
    const std::vector<HWND> old_order = siblings;
    if (insert_after == HWND_TOP) {
      store.Raise(hwnd);
    } else if (insert_after == HWND_BOTTOM) {
      auto it = std::find(siblings.begin(), siblings.end(), hwnd);
      if (it != siblings.end()) std::rotate(it, it + 1, siblings.end());
    } else if (insert_after != hwnd) {
      auto anchor = std::find(siblings.begin(), siblings.end(), insert_after);
      if (anchor == siblings.end()) {
        state.valid_after = false;
        return state;
      }
      siblings.erase(std::find(siblings.begin(), siblings.end(), hwnd));
      anchor = std::find(siblings.begin(), siblings.end(), insert_after);
      siblings.insert(anchor + 1, hwnd);
    }
    state.moved_in_order = siblings != old_order;
    return state;
  });
  if (!before.valid_after) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (before.moved_in_order) {
    NotifyWindowChanged(hwnd, WindowChange::ZOrder);
    if (!(flags & SWP_NOREDRAW))
      Ostrum::Desktop::Private::InvalidateWindow(hwnd, nullptr, Ostrum::Desktop::Private::kInvalidateErase | Ostrum::Desktop::Private::kInvalidateFrame | Ostrum::Desktop::Private::kInvalidateChildren);
  }
  if ((flags & (SWP_NOMOVE | SWP_NOSIZE)) != (SWP_NOMOVE | SWP_NOSIZE)) {
    RECT rect = before.window;
    if (!(flags & SWP_NOMOVE)) {
      rect.right = x + (rect.right - rect.left);
      rect.bottom = y + (rect.bottom - rect.top);
      rect.left = x;
      rect.top = y;
    }
    if (!(flags & SWP_NOSIZE)) {
      rect.right = rect.left + width;
      rect.bottom = rect.top + height;
    }
    Ostrum::Desktop::Private::PlaceWindow(hwnd, rect, !(flags & SWP_NOREDRAW));
  }
  if (flags & SWP_SHOWWINDOW) ShowWindow(hwnd, SW_SHOWNA);
  if (flags & SWP_HIDEWINDOW) ShowWindow(hwnd, SW_HIDE);
  if (!(flags & SWP_NOACTIVATE) && before.top_level && IsWindow(hwnd)) SetActiveWindow(hwnd);
  return TRUE;
}

BOOL ShowWindow(HWND hwnd, int command) {
  if (!FindOwnWindowOrFail(hwnd)) return FALSE;
  struct State {
    bool visible;
    bool top_level;
    bool message_only;
  };
  const State state = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    return State{(record->style & WS_VISIBLE) != 0, record->parent == nullptr, record->message_only};
  });
  if (state.message_only) return FALSE;
  if (command == SW_HIDE) {
    if (!state.visible) return FALSE;
    SendToWindow(hwnd, WM_SHOWWINDOW, FALSE, 0);
    Ostrum::Desktop::Private::ValidateWindow(hwnd, true);
    WindowTable::Get().Locked([&](WindowStore& store) {
      if (WindowRecord* record = store.Find(hwnd)) record->style &= ~WS_VISIBLE;
    });
    Ostrum::Desktop::Private::LeaveWindow(hwnd);
    NotifyWindowChanged(hwnd, WindowChange::Hidden);
    return TRUE;
  }
  if (!state.visible) {
    SendToWindow(hwnd, WM_SHOWWINDOW, TRUE, 0);
    if (!IsWindow(hwnd)) return FALSE;
    WindowTable::Get().Locked([&](WindowStore& store) {
      if (WindowRecord* record = store.Find(hwnd)) record->style |= WS_VISIBLE;
    });
    Ostrum::Desktop::Private::InvalidateWindow(
        hwnd, nullptr,
        Ostrum::Desktop::Private::kInvalidateErase | Ostrum::Desktop::Private::kInvalidateFrame |
            Ostrum::Desktop::Private::kInvalidateChildren);
    NotifyWindowChanged(hwnd, WindowChange::Shown);
  }
  const bool activates = command == SW_SHOW || command == SW_SHOWNORMAL || command == SW_SHOWMAXIMIZED ||
                         command == SW_RESTORE || command == SW_SHOWDEFAULT;
  if (activates && state.top_level && CurrentInput().active != hwnd)
    Ostrum::Desktop::Private::ActivateTopLevel(hwnd, WA_ACTIVE, false);
  return state.visible ? TRUE : FALSE;
}

BOOL IsWindowVisible(HWND hwnd) {
  return WindowTable::Get().Locked([&](const WindowStore& store) { return store.IsVisible(hwnd); }) ? TRUE : FALSE;
}

BOOL EnableWindow(HWND hwnd, BOOL enable) {
  if (!FindOwnWindowOrFail(hwnd)) return FALSE;
  const bool was_disabled = WindowTable::Get().Locked([&](WindowStore& store) {
    WindowRecord* record = store.Find(hwnd);
    const bool disabled = record->IsDisabledSelf();
    if (enable) {
      record->style &= ~WS_DISABLED;
    } else {
      record->style |= WS_DISABLED;
    }
    return disabled;
  });
  if (was_disabled == !enable) return was_disabled ? TRUE : FALSE;
  if (!enable) {
    const HWND focus = GetFocus();
    const bool holds_focus = focus && WindowTable::Get().Locked(
                                          [&](const WindowStore& store) { return store.IsSelfOrAncestor(hwnd, focus); });
    if (holds_focus) SetFocus(nullptr);
  }
  SendToWindow(hwnd, WM_ENABLE, enable ? TRUE : FALSE, 0);
  NotifyWindowChanged(hwnd, WindowChange::Enabled);
  return was_disabled ? TRUE : FALSE;
}

BOOL IsWindowEnabled(HWND hwnd) {
  return WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    return record && !record->IsDisabledSelf();
  })
             ? TRUE
             : FALSE;
}
