// Retrieval-time routing of raw input: the thread that takes a record decides, with the
// capture, windows and focus of that moment, which window gets what.

#include "ostrum/foundation/platform/private/InputRouting.h"

#include <cstdlib>

#include "ostrum/foundation/platform/KeyState.h"
#include "ostrum/foundation/platform/ModalLoop.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/SystemMetrics.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/platform/private/InputState.h"
#include "ostrum/foundation/platform/private/ProcedureCall.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowPlacement.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace Ostrum::Desktop::Private {

namespace {

bool IsButtonDown(UINT message) {
  return message == WM_LBUTTONDOWN || message == WM_RBUTTONDOWN || message == WM_MBUTTONDOWN ||
         message == WM_XBUTTONDOWN;
}

WPARAM MouseKeys(const KeySnapshot& keys) {
  WPARAM flags = 0;
  if (keys.IsDown(VK_LBUTTON)) flags |= MK_LBUTTON;
  if (keys.IsDown(VK_RBUTTON)) flags |= MK_RBUTTON;
  if (keys.IsDown(VK_SHIFT)) flags |= MK_SHIFT;
  if (keys.IsDown(VK_CONTROL)) flags |= MK_CONTROL;
  if (keys.IsDown(VK_MBUTTON)) flags |= MK_MBUTTON;
  if (keys.IsDown(VK_XBUTTON1)) flags |= MK_XBUTTON1;
  if (keys.IsDown(VK_XBUTTON2)) flags |= MK_XBUTTON2;
  return flags;
}

// Where on the window a screen point lies: the client area, the caption band of a captioned
// window, or the rest of its frame.
int HitTest(const WindowStore& store, HWND hwnd, POINT screen) {
  const WindowRecord* record = store.Find(hwnd);
  const POINT origin = store.ClientOrigin(hwnd);
  const RECT client = record->ClientInParent();
  const RECT on_screen{origin.x, origin.y, origin.x + (client.right - client.left),
                       origin.y + (client.bottom - client.top)};
  if (screen.x >= on_screen.left && screen.x < on_screen.right && screen.y >= on_screen.top &&
      screen.y < on_screen.bottom)
    return HTCLIENT;
  if ((record->style & WS_CAPTION) == WS_CAPTION && screen.y < on_screen.top &&
      screen.y >= on_screen.top - GetSystemMetrics(SM_CYCAPTION))
    return HTCAPTION;
  return HTBORDER;
}

bool IsOwnWindow(const WindowStore& store, HWND hwnd) {
  const WindowRecord* record = store.Find(hwnd);
  return record && record->thread_id == GetCurrentThreadId() && !record->destroying;
}

RoutedInput ResolveMouse(const RawInput& record, const ThreadInput& input) {
  RoutedInput routed;
  const bool wheel = record.message == WM_MOUSEWHEEL || record.message == WM_MOUSEHWHEEL;
  const bool captured = !wheel && input.capture && IsWindow(input.capture);
  POINT origin{};
  const bool found = WindowTable::Get().Locked([&](const WindowStore& store) {
    if (wheel) {
      routed.target = input.focus ? input.focus : input.active;
    } else if (captured) {
      routed.target = input.capture;
      routed.hit = HTCLIENT;
    } else {
      routed.target = store.WindowFromPoint(record.screen);
    }
    // Another thread's window, or one disabled (by itself or a parent, as a modal loop's owner
    // is), gets nothing.
    if (!routed.target || !IsOwnWindow(store, routed.target) || !store.IsEnabled(routed.target)) return false;
    if (!wheel && !captured) routed.hit = HitTest(store, routed.target, record.screen);
    origin = store.ClientOrigin(routed.target);
    return true;
  });
  if (!found) return RoutedInput{};
  const WPARAM keys = MouseKeys(record.keys);
  if (wheel) {
    routed.has_message = true;
    routed.msg = MSG{routed.target, record.message, MAKEWPARAM(static_cast<int>(keys), static_cast<int>(record.wParam)),
                     MAKELPARAM(record.screen.x, record.screen.y), record.time, record.screen};
    return routed;
  }
  // Points on the frame give WM_SETCURSOR with their hit code, and no message.
  if (routed.hit != HTCLIENT) return routed;
  routed.has_message = true;
  routed.msg = MSG{routed.target, record.message, keys | (record.wParam << 16),
                   MAKELPARAM(record.screen.x - origin.x, record.screen.y - origin.y), record.time, record.screen};
  return routed;
}

RoutedInput ResolveKey(const RawInput& record, const ThreadInput& input) {
  RoutedInput routed;
  bool no_focus = false;
  if (record.hwnd) {
    routed.target = record.hwnd;
  } else if (input.focus) {
    routed.target = input.focus;
  } else {
    routed.target = input.active;
    no_focus = true;
  }
  const bool own = routed.target && WindowTable::Get().Locked(
                                        [&](const WindowStore& store) { return IsOwnWindow(store, routed.target); });
  if (!own) return RoutedInput{};
  UINT message = record.message;
  LPARAM lParam = record.lParam;
  if (record.kind == RawKind::Key) {
    const UINT vk = static_cast<UINT>(record.wParam);
    // Alt held without Ctrl, F10 and Alt itself are system keys; so is every key while no
    // window has the focus.
    const bool system = (record.keys.IsDown(VK_MENU) && !record.keys.IsDown(VK_CONTROL)) || vk == VK_F10 ||
                        vk == VK_MENU || vk == VK_LMENU || vk == VK_RMENU || no_focus;
    if (system) {
      message = message == WM_KEYDOWN ? WM_SYSKEYDOWN : WM_SYSKEYUP;
    } else {
      lParam &= ~(LPARAM{1} << 29);  // the context code is 0 for a plain key message
    }
  }
  routed.has_message = true;
  routed.msg = MSG{routed.target, message, record.wParam, lParam, record.time, record.screen};
  return routed;
}

// A window of the calling thread named by a record of the user's, or null.
HWND OwnWindow(HWND hwnd) {
  if (!hwnd) return nullptr;
  return WindowTable::Get().Locked([&](const WindowStore& store) { return IsOwnWindow(store, hwnd); }) ? hwnd
                                                                                                      : nullptr;
}

void ActivateByUser(HWND top) {
  const bool enabled = WindowTable::Get().Locked([&](const WindowStore& store) { return store.IsEnabled(top); });
  if (!enabled) {
    // A window disabled by a modal loop hands the activation to the loop's window.
    ModalFrame* frame = GetModalFrame(0);
    if (!frame || !frame->window || !IsWindow(frame->window)) return;
    top = WindowTable::Get().Locked([&](const WindowStore& store) { return store.Root(frame->window); });
  }
  ActivateTopLevel(top, WA_ACTIVE, true);
}

// The second press of a double click becomes *BUTTONDBLCLK for a class that asks for it.
void MakeDoubleClick(const RawInput& record, RoutedInput& routed, LastClick& last) {
  const HWND target = routed.target;
  const bool qualifies = last.message == record.message && last.hwnd == target &&
                         record.time - last.time <= GetDoubleClickTime() &&
                         std::abs(record.screen.x - last.screen.x) <= GetSystemMetrics(SM_CXDOUBLECLK) / 2 &&
                         std::abs(record.screen.y - last.screen.y) <= GetSystemMetrics(SM_CYDOUBLECLK) / 2;
  if (!qualifies) {
    last = LastClick{record.message, target, record.screen, record.time};
    return;
  }
  last = LastClick{};
  const bool wants = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* window = store.Find(target);
    return window && (window->class_style & CS_DBLCLKS);
  });
  // The double-click messages follow their button-down messages by two.
  if (wants) routed.msg.message += 2;
}

}  // namespace

RoutedInput ResolveInput(const RawInput& record) {
  const ThreadInput& input = CurrentInput();
  switch (record.kind) {
    case RawKind::Targeted: {
      RoutedInput routed;
      routed.target = record.hwnd;
      routed.has_message = true;
      routed.msg = MSG{record.hwnd, record.message, record.wParam, record.lParam, record.time, record.screen};
      return routed;
    }
    case RawKind::Mouse:
      return ResolveMouse(record, input);
    case RawKind::Key:
    case RawKind::Char:
      return ResolveKey(record, input);
    case RawKind::Activate:
    case RawKind::Resize: {
      RoutedInput routed;
      routed.target = OwnWindow(record.hwnd);
      return routed;
    }
    case RawKind::Close: {
      RoutedInput routed;
      routed.target = OwnWindow(record.hwnd);
      const bool enabled = routed.target && WindowTable::Get().Locked(
                                                [&](const WindowStore& store) { return store.IsEnabled(routed.target); });
      if (!enabled) return RoutedInput{};
      routed.has_message = true;
      routed.msg = MSG{routed.target, WM_SYSCOMMAND, SC_CLOSE, MAKELPARAM(record.screen.x, record.screen.y),
                       record.time, record.screen};
      return routed;
    }
  }
  return RoutedInput{};
}

bool CarryOutInput(const RawInput& record, RoutedInput& routed) {
  ThreadInput& input = CurrentInput();
  switch (record.kind) {
    case RawKind::Targeted:
    case RawKind::Close:
      return routed.has_message;
    case RawKind::Activate:
      if (!record.hwnd) {
        DeactivateForOtherApplication();
      } else if (routed.target) {
        ActivateByUser(routed.target);
      }
      return false;
    case RawKind::Resize:
      if (routed.target) {
        RECT rect;
        if (GetWindowRect(routed.target, &rect)) {
          PlaceWindow(routed.target,
                      RECT{rect.left, rect.top, rect.left + static_cast<LONG>(record.wParam),
                           rect.top + static_cast<LONG>(record.lParam)},
                      true);
        }
      }
      return false;
    case RawKind::Key:
    case RawKind::Char:
      if (record.kind == RawKind::Key) input.keys = record.keys;
      return routed.has_message;
    case RawKind::Mouse:
      break;
  }
  input.keys = record.keys;
  const HWND target = routed.target;
  if (!target) return false;
  const bool wheel = record.message == WM_MOUSEWHEEL || record.message == WM_MOUSEHWHEEL;
  const bool captured = input.capture == target && routed.hit == HTCLIENT && !wheel;
  if (!wheel && !captured) {
    if (IsButtonDown(record.message)) {
      const HWND top = GetAncestor(target, GA_ROOT);
      const LRESULT answer = SendToWindow(target, WM_MOUSEACTIVATE, reinterpret_cast<WPARAM>(top),
                                          MAKELPARAM(routed.hit, static_cast<int>(record.message)));
      if ((answer == MA_ACTIVATE || answer == MA_ACTIVATEANDEAT) && IsWindow(top))
        ActivateTopLevel(top, WA_CLICKACTIVE, true);
      if (answer == MA_ACTIVATEANDEAT || answer == MA_NOACTIVATEANDEAT) return false;
      if (!IsWindow(target)) return false;
    }
    SendToWindow(target, WM_SETCURSOR, reinterpret_cast<WPARAM>(target),
                 MAKELPARAM(routed.hit, static_cast<int>(record.message)));
  }
  if (!routed.has_message || !IsWindow(target)) return false;
  if (IsButtonDown(record.message)) MakeDoubleClick(record, routed, input.last_click);
  return true;
}

}  // namespace Ostrum::Desktop::Private
