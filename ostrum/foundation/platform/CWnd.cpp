#include "ostrum/foundation/platform/CWnd.h"

#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::Private::WindowTable;

namespace {

// Whether the table attaches `object` to `hwnd`: a handle set by hand, or one whose window has
// gone, is not the object's window.
bool IsAttached(const CWnd* object, HWND hwnd) {
  return hwnd && WindowTable::Get().ObjectOf(hwnd) == object;
}

}  // namespace

CWnd::~CWnd() {
  if (!IsAttached(this, m_hWnd)) return;
  if (GetWindowThreadProcessId(m_hWnd, nullptr) == GetCurrentThreadId()) {
    ::DestroyWindow(m_hWnd);  // detaches this object on the way
  } else {
    Detach();
  }
}

void CWnd::SetParent(CWnd* parent) {
  m_parent = parent;
  if (IsAttached(this, m_hWnd) && parent && IsAttached(parent, parent->m_hWnd))
    WindowTable::Get().SetParent(m_hWnd, parent->m_hWnd);
}

BOOL CWnd::CreateEx(DWORD ex_style, LPCWSTR class_name, LPCWSTR window_name, DWORD style, int x, int y,
                    int width, int height, HWND parent, UINT_PTR id, LPVOID param) {
  if (IsAttached(this, m_hWnd)) return FALSE;
  HWND hwnd = CreateWindowExW(ex_style, class_name, window_name, style, x, y, width, height, parent,
                              reinterpret_cast<HMENU>(id), nullptr, param);
  if (!hwnd || !Attach(hwnd)) return FALSE;
  if (parent && parent != HWND_MESSAGE) m_parent = FromHandlePermanent(parent);
  return TRUE;
}

BOOL CWnd::DestroyWindow() {
  if (!IsAttached(this, m_hWnd)) return FALSE;
  return ::DestroyWindow(m_hWnd);
}

BOOL CWnd::Attach(HWND hwnd) {
  if (IsAttached(this, m_hWnd) || !WindowTable::Get().Attach(hwnd, this)) return FALSE;
  m_hWnd = hwnd;
  return TRUE;
}

HWND CWnd::Detach() {
  HWND hwnd = m_hWnd;
  if (IsAttached(this, hwnd)) WindowTable::Get().Detach(hwnd);
  m_hWnd = nullptr;
  return hwnd;
}

CWnd* CWnd::FromHandlePermanent(HWND hwnd) { return hwnd ? WindowTable::Get().ObjectOf(hwnd) : nullptr; }
