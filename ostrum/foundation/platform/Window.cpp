#include "ostrum/foundation/platform/Window.h"

#include <algorithm>

#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::Private::CurrentQueue;
using Ostrum::Desktop::Private::CurrentQueueShared;
using Ostrum::Desktop::Private::FindOwnWindowOrFail;
using Ostrum::Desktop::Private::FindWindowOrFail;
using Ostrum::Desktop::Private::NewWindow;
using Ostrum::Desktop::Private::WindowTable;

namespace {

// Takes a window out of the model after its last message: what waits for it is dropped and
// an attached CWnd loses the handle.
void Remove(HWND hwnd) {
  CurrentQueue().ForgetWindow(hwnd);
  if (CWnd* object = WindowTable::Get().RemoveWindow(hwnd)) object->m_hWnd = nullptr;
}

}  // namespace

HWND CreateWindowExW(DWORD ex_style, LPCWSTR class_name, LPCWSTR window_name, DWORD style, int x, int y,
                     int width, int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID param) {
  WindowTable& table = WindowTable::Get();
  const bool message_only = parent == HWND_MESSAGE;
  const HWND real_parent = message_only ? nullptr : parent;
  if (real_parent && !FindWindowOrFail(real_parent)) return nullptr;
  auto cls = table.ReserveClass(class_name, instance);
  if (!cls) {
    SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
    return nullptr;
  }
  // The class reservation becomes the window's.
  const HWND hwnd = table.AddWindow(
      NewWindow{cls->atom, cls->proc, CurrentQueueShared(), GetCurrentThreadId(), real_parent, message_only});

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

  if (cls->proc(hwnd, WM_NCCREATE, 0, create_param) == 0) {
    // Refused before it existed for its procedure: only WM_NCDESTROY follows.
    if (table.BeginDestroy(hwnd)) {
      cls->proc(hwnd, WM_NCDESTROY, 0, 0);
      Remove(hwnd);
    }
    return nullptr;
  }
  if (!IsWindow(hwnd)) return nullptr;  // the procedure destroyed it already
  if (cls->proc(hwnd, WM_CREATE, 0, create_param) == -1) {
    DestroyWindow(hwnd);
    return nullptr;
  }
  return IsWindow(hwnd) ? hwnd : nullptr;
}

BOOL DestroyWindow(HWND hwnd) {
  WindowTable& table = WindowTable::Get();
  auto window = FindOwnWindowOrFail(hwnd);
  if (!window) return FALSE;
  if (!table.BeginDestroy(hwnd)) return FALSE;  // already on its way out, further up the stack
  window->proc(hwnd, WM_DESTROY, 0, 0);
  for (HWND child : table.ChildrenOf(hwnd)) {
    // A child of another thread cannot be destroyed from here; it is left without parent.
    if (!DestroyWindow(child)) table.SetParent(child, nullptr);
  }
  window->proc(hwnd, WM_NCDESTROY, 0, 0);
  Remove(hwnd);
  return TRUE;
}

BOOL IsWindow(HWND hwnd) { return hwnd && WindowTable::Get().Find(hwnd) ? TRUE : FALSE; }

LRESULT DefWindowProcW(HWND hwnd, UINT message, WPARAM, LPARAM) {
  switch (message) {
    case WM_NCCREATE:
      return TRUE;
    case WM_CLOSE:
      DestroyWindow(hwnd);
      return 0;
    default:
      return 0;
  }
}

LRESULT SendMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  auto window = FindOwnWindowOrFail(hwnd);
  if (!window) return 0;
  return window->proc(hwnd, message, wParam, lParam);
}

DWORD GetWindowThreadProcessId(HWND hwnd, DWORD* process_id) {
  auto window = FindWindowOrFail(hwnd);
  if (!window) return 0;
  if (process_id) *process_id = GetCurrentProcessId();
  return window->thread_id;
}

HWND GetParent(HWND hwnd) {
  auto window = FindWindowOrFail(hwnd);
  return window ? window->parent : nullptr;
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
