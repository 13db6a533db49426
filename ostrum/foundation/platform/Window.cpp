#include "ostrum/foundation/platform/Window.h"

#include <algorithm>
#include <optional>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/platform/private/CWndLink.h"
#include "ostrum/foundation/platform/private/InputState.h"
#include "ostrum/foundation/platform/private/Painting.h"
#include "ostrum/foundation/platform/private/ProcedureCall.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowPlacement.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::WindowChange;
using Ostrum::Desktop::Private::CurrentInput;
using Ostrum::Desktop::Private::CurrentQueue;
using Ostrum::Desktop::Private::CurrentQueueShared;
using Ostrum::Desktop::Private::CWndLink;
using Ostrum::Desktop::Private::FindOwnWindowOrFail;
using Ostrum::Desktop::Private::FindWindowOrFail;
using Ostrum::Desktop::Private::NotifyWindowChanged;
using Ostrum::Desktop::Private::SendToWindow;
using Ostrum::Desktop::Private::WindowRecord;
using Ostrum::Desktop::Private::WindowStore;
using Ostrum::Desktop::Private::WindowTable;

namespace {

// Where a top-level window goes when its maker lets the model choose: a fixed place and size,
// so that runs are repeatable.
constexpr int kDefaultX = 26;
constexpr int kDefaultY = 26;
constexpr int kDefaultWidth = 1024;
constexpr int kDefaultHeight = 768;

// Takes a window out of the model after its last message: what waits for it is dropped, the
// thread's input state forgets it and an attached CWnd loses the handle.
void Remove(HWND hwnd) {
  Ostrum::Desktop::Private::ValidateWindow(hwnd, false);
  CurrentQueue().ForgetWindow(hwnd);
  auto& input = CurrentInput();
  if (input.capture == hwnd) input.capture = nullptr;
  if (input.focus == hwnd) input.focus = nullptr;
  if (input.active == hwnd) input.active = nullptr;
  if (input.last_click.hwnd == hwnd) input.last_click = {};
  const bool shown = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    return record && !record->message_only;
  });
  if (shown) NotifyWindowChanged(hwnd, WindowChange::Destroyed);
  CWnd* object = WindowTable::Get().RemoveWindow(hwnd);
  CWndLink::WindowGone(hwnd, object);
}

// The client area from WM_NCCALCSIZE's answer: the distances of its edges from the window's.
void StoreClientArea(HWND hwnd, const RECT& client) {
  WindowTable::Get().Locked([&](WindowStore& store) {
    if (WindowRecord* record = store.Find(hwnd)) {
      const RECT& w = record->window;
      record->insets = RECT{std::max(0, client.left - w.left), std::max(0, client.top - w.top),
                            std::max(0, w.right - client.right), std::max(0, w.bottom - client.bottom)};
    }
  });
}

}  // namespace

namespace Ostrum::Desktop::Private {

// Sends WM_SIZE and WM_MOVE with the window's client size and the client origin in the
// parent's client coordinates.
void SendSizeAndMove(HWND hwnd, bool size, bool move) {
  const auto client = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    return record ? std::optional<RECT>(record->ClientInParent()) : std::nullopt;
  });
  if (!client) return;
  if (size) {
    SendToWindow(hwnd, WM_SIZE, SIZE_RESTORED,
                 MAKELPARAM(std::max(0L, static_cast<long>(client->right - client->left)),
                            std::max(0L, static_cast<long>(client->bottom - client->top))));
  }
  if (move && IsWindow(hwnd)) SendToWindow(hwnd, WM_MOVE, 0, MAKELPARAM(client->left, client->top));
}

// Asks the procedure for the client area of a window whose rectangle is `window` now and was
// `old_window` before (equal at creation, when WM_NCCALCSIZE carries one RECT).
void CalculateClientArea(HWND hwnd, const RECT& window, const RECT* old_window, const RECT* old_client) {
  if (!old_window) {
    RECT rect = window;
    SendToWindow(hwnd, WM_NCCALCSIZE, FALSE, reinterpret_cast<LPARAM>(&rect));
    StoreClientArea(hwnd, rect);
    return;
  }
  NCCALCSIZE_PARAMS params;
  params.rgrc[0] = window;
  params.rgrc[1] = *old_window;
  params.rgrc[2] = old_client ? *old_client : *old_window;
  SendToWindow(hwnd, WM_NCCALCSIZE, TRUE, reinterpret_cast<LPARAM>(&params));
  StoreClientArea(hwnd, params.rgrc[0]);
}

}  // namespace Ostrum::Desktop::Private

HWND CreateWindowExW(DWORD ex_style, LPCWSTR class_name, LPCWSTR window_name, DWORD style, int x, int y,
                     int width, int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID param) {
  WindowTable& table = WindowTable::Get();
  // The object parked by CWnd::CreateEx belongs to this window, whatever becomes of it.
  CWnd* creating = CWndLink::TakeCreating();
  const bool message_only = parent == HWND_MESSAGE;
  const bool child = !message_only && (style & WS_CHILD) != 0;
  HWND real_parent = nullptr;
  HWND owner = nullptr;
  if (!message_only && parent) {
    if (!FindWindowOrFail(parent)) return nullptr;
    if (child) {
      real_parent = parent;
    } else {
      owner = GetAncestor(parent, GA_ROOT);
    }
  } else if (child) {
    SetLastError(ERROR_TLW_WITH_WSCHILD);
    return nullptr;
  }
  auto cls = table.ReserveClass(class_name, instance);
  if (!cls) {
    SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
    return nullptr;
  }
  if (x == CW_USEDEFAULT) {
    x = child || message_only ? 0 : kDefaultX;
    y = child || message_only ? 0 : kDefaultY;
  }
  if (width == CW_USEDEFAULT) {
    width = child || message_only ? 0 : kDefaultWidth;
    height = child || message_only ? 0 : kDefaultHeight;
  }

  WindowRecord record;
  record.atom = cls->atom;
  record.proc = cls->proc;
  record.queue = CurrentQueueShared();
  record.thread_id = GetCurrentThreadId();
  record.instance = instance;
  record.class_style = cls->style;
  record.class_cursor = cls->cursor;
  record.class_brush = cls->background;
  record.parent = real_parent;
  record.owner = owner;
  record.message_only = message_only;
  record.style = style & ~WS_VISIBLE;  // shown once made, as the desktop does
  record.ex_style = ex_style;
  record.id = child ? reinterpret_cast<UINT_PTR>(menu) : 0;
  record.menu = child ? nullptr : menu;
  record.window = RECT{x, y, x + std::max(0, width), y + std::max(0, height)};
  // The class reservation becomes the window's.
  const HWND hwnd = table.AddWindow(std::move(record));
  if (creating) CWndLink::AttachNew(*creating, hwnd);

  CREATESTRUCTW create;
  create.lpCreateParams = param;
  create.hInstance = instance;
  create.hMenu = menu;
  create.hwndParent = parent;
  create.cy = height;
  create.cx = width;
  create.y = y;
  create.x = x;
  create.style = static_cast<LONG>(style);
  create.lpszName = window_name;
  create.lpszClass = class_name;
  create.dwExStyle = ex_style;
  const auto create_param = reinterpret_cast<LPARAM>(&create);

  if (SendToWindow(hwnd, WM_NCCREATE, 0, create_param) == 0) {
    // Refused before it existed for its procedure: only WM_NCDESTROY follows.
    if (table.BeginDestroy(hwnd)) {
      SendToWindow(hwnd, WM_NCDESTROY, 0, 0);
      Remove(hwnd);
    }
    return nullptr;
  }
  if (!IsWindow(hwnd)) return nullptr;  // the procedure destroyed it already
  Ostrum::Desktop::Private::CalculateClientArea(hwnd, RECT{x, y, x + std::max(0, width), y + std::max(0, height)},
                                                nullptr, nullptr);
  if (SendToWindow(hwnd, WM_CREATE, 0, create_param) == -1) {
    DestroyWindow(hwnd);
    return nullptr;
  }
  if (!IsWindow(hwnd)) return nullptr;
  Ostrum::Desktop::Private::SendSizeAndMove(hwnd, true, true);
  if (!IsWindow(hwnd)) return nullptr;
  if (!message_only) NotifyWindowChanged(hwnd, WindowChange::Created);
  if (style & WS_VISIBLE) ShowWindow(hwnd, (ex_style & WS_EX_NOACTIVATE) ? SW_SHOWNA : SW_SHOW);
  return IsWindow(hwnd) ? hwnd : nullptr;
}

BOOL DestroyWindow(HWND hwnd) {
  WindowTable& table = WindowTable::Get();
  auto window = FindOwnWindowOrFail(hwnd);
  if (!window || window->destroying) return FALSE;
  // The windows it owns go first, before it hears anything.
  for (HWND owned : table.OwnedBy(hwnd)) DestroyWindow(owned);
  if (!table.BeginDestroy(hwnd)) return FALSE;  // already on its way out, further up the stack
  Ostrum::Desktop::Private::ValidateWindow(hwnd, true);
  Ostrum::Desktop::Private::LeaveWindow(hwnd);
  SendToWindow(hwnd, WM_DESTROY, 0, 0);
  for (HWND child : table.ChildrenOf(hwnd)) {
    // A child of another thread cannot be destroyed from here; it is left without parent.
    if (!DestroyWindow(child)) table.SetParent(child, nullptr);
  }
  SendToWindow(hwnd, WM_NCDESTROY, 0, 0);
  Remove(hwnd);
  return TRUE;
}

BOOL IsWindow(HWND hwnd) { return hwnd && WindowTable::Get().Find(hwnd) ? TRUE : FALSE; }

LRESULT SendMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  auto window = FindOwnWindowOrFail(hwnd);
  if (!window) return 0;
  return Ostrum::Desktop::Private::CallProcedure(window->proc, hwnd, message, wParam, lParam);
}

LRESULT CallWindowProcW(WNDPROC proc, HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  return proc ? proc(hwnd, message, wParam, lParam) : 0;
}

DWORD GetWindowThreadProcessId(HWND hwnd, DWORD* process_id) {
  auto window = FindWindowOrFail(hwnd);
  if (!window) return 0;
  if (process_id) *process_id = GetCurrentProcessId();
  return window->thread_id;
}

HWND GetParent(HWND hwnd) {
  HWND answer = nullptr;
  const bool found = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    if (!record) return false;
    answer = record->parent ? record->parent : (record->style & WS_POPUP) ? record->owner : nullptr;
    return true;
  });
  if (!found) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return answer;
}

int GetClassNameW(HWND hwnd, LPWSTR buffer, int size) {
  const std::wstring name = WindowTable::Get().ClassNameOf(hwnd);
  if (name.empty()) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return 0;
  }
  if (!buffer || size <= 0) return 0;
  const auto length = std::min<std::size_t>(name.size(), static_cast<std::size_t>(size - 1));
  std::copy_n(name.begin(), length, buffer);
  buffer[length] = L'\0';
  return static_cast<int>(length);
}

BOOL SetWindowTextW(HWND hwnd, LPCWSTR text) {
  if (!FindOwnWindowOrFail(hwnd)) return FALSE;
  return SendToWindow(hwnd, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) ? TRUE : FALSE;
}

int GetWindowTextW(HWND hwnd, LPWSTR buffer, int size) {
  auto window = FindWindowOrFail(hwnd);
  if (!window || !buffer || size <= 0) return 0;
  if (window->thread_id == GetCurrentThreadId())
    return static_cast<int>(SendToWindow(hwnd, WM_GETTEXT, static_cast<WPARAM>(size), reinterpret_cast<LPARAM>(buffer)));
  // Another thread's window: its text as the model holds it, without calling its procedure.
  const std::wstring text = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    return record ? record->text : std::wstring();
  });
  const auto length = std::min<std::size_t>(text.size(), static_cast<std::size_t>(size - 1));
  std::copy_n(text.begin(), length, buffer);
  buffer[length] = L'\0';
  return static_cast<int>(length);
}

int GetWindowTextLengthW(HWND hwnd) {
  auto window = FindWindowOrFail(hwnd);
  if (!window) return 0;
  if (window->thread_id == GetCurrentThreadId())
    return static_cast<int>(SendToWindow(hwnd, WM_GETTEXTLENGTH, 0, 0));
  return WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    return record ? static_cast<int>(record->text.size()) : 0;
  });
}

LONG_PTR GetWindowLongPtrW(HWND hwnd, int index) {
  std::optional<LONG_PTR> value;
  const bool found = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    if (!record) return false;
    switch (index) {
      case GWL_STYLE:
        value = static_cast<LONG_PTR>(record->style);
        break;
      case GWL_EXSTYLE:
        value = static_cast<LONG_PTR>(record->ex_style);
        break;
      case GWLP_ID:
        value = static_cast<LONG_PTR>(record->id);
        break;
      case GWLP_USERDATA:
        value = record->user_data;
        break;
      case GWLP_WNDPROC:
        value = reinterpret_cast<LONG_PTR>(record->proc);
        break;
      case GWLP_HINSTANCE:
        value = reinterpret_cast<LONG_PTR>(record->instance);
        break;
      case GWLP_HWNDPARENT:
        value = reinterpret_cast<LONG_PTR>(record->owner);
        break;
      default:
        break;
    }
    return true;
  });
  if (!found) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return 0;
  }
  if (!value) SetLastError(ERROR_INVALID_INDEX);
  return value.value_or(0);
}

LONG_PTR SetWindowLongPtrW(HWND hwnd, int index, LONG_PTR value) {
  if (!FindOwnWindowOrFail(hwnd)) return 0;
  std::optional<LONG_PTR> old;
  bool hidden = false;
  WindowTable::Get().Locked([&](WindowStore& store) {
    WindowRecord* record = store.Find(hwnd);
    if (!record) return;
    switch (index) {
      case GWL_STYLE:
        old = static_cast<LONG_PTR>(record->style);
        hidden = (record->style & WS_VISIBLE) && !(static_cast<DWORD>(value) & WS_VISIBLE);
        record->style = static_cast<DWORD>(value);
        break;
      case GWL_EXSTYLE:
        old = static_cast<LONG_PTR>(record->ex_style);
        record->ex_style = static_cast<DWORD>(value);
        break;
      case GWLP_ID:
        old = static_cast<LONG_PTR>(record->id);
        record->id = static_cast<UINT_PTR>(value);
        break;
      case GWLP_USERDATA:
        old = record->user_data;
        record->user_data = value;
        break;
      case GWLP_WNDPROC:
        if (!value) break;
        old = reinterpret_cast<LONG_PTR>(record->proc);
        record->proc = reinterpret_cast<WNDPROC>(value);
        break;
      default:
        break;
    }
  });
  if (!old) {
    SetLastError(ERROR_INVALID_INDEX);
    return 0;
  }
  if (hidden) Ostrum::Desktop::Private::ValidateWindow(hwnd, true);
  return *old;
}

int GetDlgCtrlID(HWND hwnd) { return static_cast<int>(GetWindowLongPtrW(hwnd, GWLP_ID)); }
