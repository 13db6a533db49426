// The entry of outside input: the desktop's state changes at once, and a raw record goes to the
// queue of the thread that will own the event. Routing to a window happens at retrieval
// (InputRouting.cpp).

#include "ostrum/foundation/platform/Input.h"

#include <algorithm>
#include <memory>

#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/KeyState.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/private/DesktopInput.h"
#include "ostrum/foundation/platform/private/InputRouting.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace Ostrum::Desktop {

namespace {

using Private::DesktopInput;
using Private::DesktopState;
using Private::RawInput;
using Private::RawKind;
using Private::ThreadQueue;
using Private::WindowTable;

DWORD Now() { return static_cast<DWORD>(GetDesktopBackend().GetTickCount64()); }

std::shared_ptr<ThreadQueue> QueueOfWindow(HWND hwnd) {
  if (!hwnd) return nullptr;
  auto window = WindowTable::Get().Find(hwnd);
  return window ? window->queue : nullptr;
}

// The queue the mouse goes to: the capturing thread's, else the one of the window under the
// cursor.
std::shared_ptr<ThreadQueue> MouseQueue(DWORD capture_thread, POINT screen) {
  if (capture_thread)
    if (auto queue = Private::FindQueue(capture_thread)) return queue;
  const HWND under = WindowTable::Get().Locked(
      [&](const Private::WindowStore& store) { return store.WindowFromPoint(screen); });
  return QueueOfWindow(under);
}

// The queue keys and text go to: the foreground window's thread.
std::shared_ptr<ThreadQueue> KeyQueue(HWND foreground) { return QueueOfWindow(foreground); }

// A record stamped with the desktop's state after `change` ran on it.
template <class Change>
RawInput Stamp(RawKind kind, UINT message, UINT qs_kind, Change&& change, DesktopState* copy = nullptr) {
  RawInput record;
  record.kind = kind;
  record.message = message;
  record.qs_kind = qs_kind;
  record.time = Now();
  DesktopInput::Get().Locked([&](DesktopState& state) {
    change(state);
    record.screen = state.cursor;
    record.keys = state.Logical();
    if (copy) *copy = state;
  });
  return record;
}

bool IsExtendedKey(UINT vk) {
  switch (vk) {
    case VK_PRIOR:
    case VK_NEXT:
    case VK_END:
    case VK_HOME:
    case VK_LEFT:
    case VK_UP:
    case VK_RIGHT:
    case VK_DOWN:
    case VK_INSERT:
    case VK_DELETE:
    case VK_DIVIDE:
    case VK_NUMLOCK:
    case VK_RCONTROL:
    case VK_RMENU:
      return true;
    default:
      return false;
  }
}

UINT ButtonMessage(MouseButton logical, bool down) {
  switch (logical) {
    case MouseButton::Left:
      return down ? WM_LBUTTONDOWN : WM_LBUTTONUP;
    case MouseButton::Right:
      return down ? WM_RBUTTONDOWN : WM_RBUTTONUP;
    case MouseButton::Middle:
      return down ? WM_MBUTTONDOWN : WM_MBUTTONUP;
    case MouseButton::X1:
    case MouseButton::X2:
      return down ? WM_XBUTTONDOWN : WM_XBUTTONUP;
  }
  return 0;
}

UINT ButtonKey(MouseButton physical) {
  switch (physical) {
    case MouseButton::Left:
      return VK_LBUTTON;
    case MouseButton::Right:
      return VK_RBUTTON;
    case MouseButton::Middle:
      return VK_MBUTTON;
    case MouseButton::X1:
      return VK_XBUTTON1;
    case MouseButton::X2:
      return VK_XBUTTON2;
  }
  return 0;
}

}  // namespace

bool InputMouseMove(POINT screen) {
  const RECT bounds = GetDesktopBackend().GetScreenRect();
  DesktopState state;
  RawInput record = Stamp(
      RawKind::Mouse, WM_MOUSEMOVE, QS_MOUSEMOVE,
      [&](DesktopState& s) {
        RECT area = bounds;
        if (s.cursor_clipped) IntersectRect(&area, &bounds, &s.cursor_clip);
        if (IsRectEmpty(&area)) area = bounds;
        s.cursor = POINT{std::clamp<LONG>(screen.x, area.left, std::max(area.left, area.right - 1)),
                         std::clamp<LONG>(screen.y, area.top, std::max(area.top, area.bottom - 1))};
      },
      &state);
  auto queue = MouseQueue(state.capture_thread, record.screen);
  return queue && queue->PutInput(record);
}

bool InputMouseButton(MouseButton button, bool down) {
  DesktopState state;
  bool swapped = false;
  RawInput record = Stamp(
      RawKind::Mouse, 0, QS_MOUSEBUTTON,
      [&](DesktopState& s) {
        s.physical.Set(ButtonKey(button), down);
        swapped = s.swap_buttons;
      },
      &state);
  MouseButton logical = button;
  if (swapped && button == MouseButton::Left) logical = MouseButton::Right;
  if (swapped && button == MouseButton::Right) logical = MouseButton::Left;
  record.message = ButtonMessage(logical, down);
  if (logical == MouseButton::X1 || logical == MouseButton::X2)
    record.wParam = logical == MouseButton::X1 ? XBUTTON1 : XBUTTON2;
  auto queue = MouseQueue(state.capture_thread, record.screen);
  return queue && queue->PutInput(record);
}

bool InputMouseWheel(int delta, bool horizontal) {
  DesktopState state;
  RawInput record = Stamp(RawKind::Mouse, horizontal ? WM_MOUSEHWHEEL : WM_MOUSEWHEEL, QS_MOUSEBUTTON,
                          [](DesktopState&) {}, &state);
  record.wParam = static_cast<WPARAM>(static_cast<WORD>(static_cast<SHORT>(delta)));
  auto queue = KeyQueue(state.foreground);
  return queue && queue->PutInput(record);
}

namespace Private {

bool QueueKey(HWND target, UINT vk, bool down) {
  DesktopState state;
  bool was_down = false;
  RawInput record = Stamp(
      RawKind::Key, down ? WM_KEYDOWN : WM_KEYUP, QS_KEY,
      [&](DesktopState& s) {
        was_down = s.physical.IsDown(vk);
        s.physical.Set(vk, down);
      },
      &state);
  record.hwnd = target;
  record.wParam = vk;
  // Repeat count 1; the extended-key, context (Alt), previous-state and transition bits.
  LPARAM flags = 1;
  if (IsExtendedKey(vk)) flags |= LPARAM{1} << 24;
  if (record.keys.IsDown(VK_MENU)) flags |= LPARAM{1} << 29;
  if (was_down) flags |= LPARAM{1} << 30;
  if (!down) flags |= LPARAM{1} << 31;
  record.lParam = flags;
  auto queue = target ? QueueOfWindow(target) : KeyQueue(state.foreground);
  return queue && queue->PutInput(record);
}

}  // namespace Private

bool InputKey(UINT vk, bool down) { return Private::QueueKey(nullptr, vk, down); }

bool InputText(std::wstring_view text) {
  bool taken = !text.empty();
  for (wchar_t unit : text) {
    DesktopState state;
    RawInput record = Stamp(RawKind::Char, WM_CHAR, QS_KEY, [](DesktopState&) {}, &state);
    record.wParam = static_cast<WPARAM>(unit);
    record.lParam = 1;
    auto queue = KeyQueue(state.foreground);
    taken = queue && queue->PutInput(record) && taken;
  }
  return taken;
}

bool InputActivate(HWND top) {
  DesktopState state;
  RawInput record = Stamp(RawKind::Activate, 0, QS_MOUSEBUTTON, [](DesktopState&) {}, &state);
  record.hwnd = top;
  if (top) {
    auto queue = QueueOfWindow(top);
    return queue && queue->PutInput(record);
  }
  // Away to another application: the thread with the foreground gives it up when it retrieves
  // this; with nobody holding it, the desktop just notes that another application has it.
  if (auto queue = KeyQueue(state.foreground)) return queue->PutInput(record);
  DesktopInput::Get().Locked([](DesktopState& s) { s.other_application = true; });
  return true;
}

bool InputResize(HWND top, int cx, int cy) {
  RawInput record = Stamp(RawKind::Resize, 0, QS_MOUSEBUTTON, [](DesktopState&) {});
  record.hwnd = top;
  record.wParam = static_cast<WPARAM>(std::max(0, cx));
  record.lParam = std::max(0, cy);
  auto queue = QueueOfWindow(top);
  return queue && queue->PutInput(record);
}

bool InputCloseRequest(HWND top) {
  RawInput record = Stamp(RawKind::Close, WM_SYSCOMMAND, QS_MOUSEBUTTON, [](DesktopState&) {});
  record.hwnd = top;
  record.wParam = SC_CLOSE;
  auto queue = QueueOfWindow(top);
  return queue && queue->PutInput(record);
}

}  // namespace Ostrum::Desktop
