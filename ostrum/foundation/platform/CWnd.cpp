// CWnd: the object's life with its window (creation, attachment, the model letting go) and the
// thin calls on its window. Message routing is in CWndMessages.cpp.

#include "ostrum/foundation/platform/CWnd.h"

#include <memory>
#include <utility>
#include <unordered_map>

#include "ostrum/foundation/platform/Activation.h"
#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/Capture.h"
#include "ostrum/foundation/platform/Focus.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/Paint.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Timer.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/platform/private/CWndLink.h"
#include "ostrum/foundation/platform/private/StaticThreadLocal.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

IMPLEMENT_DYNAMIC(CWnd, CCmdTarget)

using Ostrum::Desktop::Private::CWndLink;
using Ostrum::Desktop::Private::WindowTable;

namespace {

// Whether the table attaches `object` to `hwnd`: a handle set by hand, or one whose window has
// gone, is not the object's window.
bool IsAttached(const CWnd* object, HWND hwnd) { return hwnd && WindowTable::Get().ObjectOf(hwnd) == object; }

// The object CWnd::CreateEx waits to attach to the window it is making.
OSTRUM_STATIC_TLS thread_local CWnd* t_creating = nullptr;

// Temporary objects of windows that have none, per thread, until their window goes.
std::unordered_map<HWND, std::unique_ptr<CWnd>>& Temporaries() {
  thread_local std::unordered_map<HWND, std::unique_ptr<CWnd>> temporaries;
  return temporaries;
}

}  // namespace

namespace Ostrum::Desktop::Private {

void CWndLink::SetCreating(CWnd* object) { t_creating = object; }

CWnd* CWndLink::TakeCreating() { return std::exchange(t_creating, nullptr); }

void CWndLink::AttachNew(CWnd& object, HWND hwnd) {
  if (!WindowTable::Get().Attach(hwnd, &object)) return;
  object.m_hWnd = hwnd;
  // The window's messages go to the object from now on; the class's procedure becomes the
  // object's default handling.
  const WNDPROC old = WindowTable::Get().SetProc(hwnd, AfxWndProc);
  object.m_super_proc = old == AfxWndProc ? nullptr : old;
}

void CWndLink::WindowGone(HWND hwnd, CWnd* permanent) {
  if (permanent && permanent->m_hWnd == hwnd) {
    permanent->m_hWnd = nullptr;
    permanent->m_super_proc = nullptr;
  }
  Temporaries().erase(hwnd);
}

}  // namespace Ostrum::Desktop::Private

CWnd::~CWnd() {
  if (!IsAttached(this, m_hWnd)) return;
  if (GetWindowThreadProcessId(m_hWnd, nullptr) == GetCurrentThreadId()) {
    ::DestroyWindow(m_hWnd);  // detaches this object on the way
  } else {
    Detach();
  }
}

CWnd* CWnd::GetParent() const {
  if (m_hWnd && IsWindow(m_hWnd)) return FromHandle(::GetParent(m_hWnd));
  return m_parent;
}

CWnd* CWnd::SetParent(CWnd* parent) {
  CWnd* old = GetParent();
  m_parent = parent;
  if (IsAttached(this, m_hWnd) && parent && IsAttached(parent, parent->m_hWnd)) ::SetParent(m_hWnd, parent->m_hWnd);
  return old;
}

BOOL CWnd::PreCreateWindow(CREATESTRUCTW&) { return TRUE; }

BOOL CWnd::CreateEx(DWORD ex_style, LPCWSTR class_name, LPCWSTR window_name, DWORD style, int x, int y, int width,
                    int height, HWND parent, UINT_PTR id, LPVOID param) {
  if (IsAttached(this, m_hWnd)) return FALSE;
  CREATESTRUCTW cs;
  cs.lpCreateParams = param;
  cs.hMenu = reinterpret_cast<HMENU>(id);
  cs.hwndParent = parent;
  cs.cy = height;
  cs.cx = width;
  cs.y = y;
  cs.x = x;
  cs.style = static_cast<LONG>(style);
  cs.lpszName = window_name;
  cs.lpszClass = class_name;
  cs.dwExStyle = ex_style;
  if (!PreCreateWindow(cs)) {
    PostNcDestroy();
    return FALSE;
  }
  CWndLink::SetCreating(this);
  const HWND hwnd = CreateWindowExW(cs.dwExStyle, cs.lpszClass, cs.lpszName, static_cast<DWORD>(cs.style), cs.x, cs.y,
                                    cs.cx, cs.cy, cs.hwndParent, cs.hMenu, cs.hInstance, cs.lpCreateParams);
  if (CWndLink::TakeCreating() == this) return FALSE;  // never reached the window table
  return hwnd && m_hWnd == hwnd ? TRUE : FALSE;
}

BOOL CWnd::Create(LPCWSTR class_name, LPCWSTR window_name, DWORD style, const RECT& rect, CWnd* parent, UINT id,
                  LPVOID param) {
  return CreateEx(0, class_name, window_name, style, rect.left, rect.top, rect.right - rect.left,
                  rect.bottom - rect.top, parent ? parent->m_hWnd : nullptr, id, param);
}

BOOL CWnd::DestroyWindow() {
  if (!IsAttached(this, m_hWnd)) return FALSE;
  return ::DestroyWindow(m_hWnd);
}

void CWnd::PostNcDestroy() {}

BOOL CWnd::Attach(HWND hwnd) {
  if (IsAttached(this, m_hWnd) || !WindowTable::Get().Attach(hwnd, this)) return FALSE;
  m_hWnd = hwnd;
  Temporaries().erase(hwnd);
  return TRUE;
}

HWND CWnd::Detach() {
  HWND hwnd = m_hWnd;
  if (IsAttached(this, hwnd)) {
    WindowTable::Get().Detach(hwnd);
    // A routed window keeps its procedure: AfxWndProc gives a window without object the
    // default handling.
  }
  m_hWnd = nullptr;
  m_super_proc = nullptr;
  return hwnd;
}

CWnd* CWnd::FromHandlePermanent(HWND hwnd) { return hwnd ? WindowTable::Get().ObjectOf(hwnd) : nullptr; }

CWnd* CWnd::FromHandle(HWND hwnd) {
  if (!hwnd) return nullptr;
  if (CWnd* permanent = FromHandlePermanent(hwnd)) return permanent;
  if (!IsWindow(hwnd)) return nullptr;
  auto& temporaries = Temporaries();
  std::unique_ptr<CWnd>& temporary = temporaries[hwnd];
  if (!temporary) {
    temporary = std::make_unique<CWnd>();
    temporary->m_hWnd = hwnd;  // not the table's: destroying the temporary leaves the window alone
  }
  return temporary.get();
}

LRESULT CWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  return ::SendMessageW(m_hWnd, message, wParam, lParam);
}

BOOL CWnd::PostMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  return ::PostMessageW(m_hWnd, message, wParam, lParam);
}

BOOL CWnd::ShowWindow(int command) { return ::ShowWindow(m_hWnd, command); }
BOOL CWnd::IsWindowVisible() const { return ::IsWindowVisible(m_hWnd); }
BOOL CWnd::EnableWindow(BOOL enable) { return ::EnableWindow(m_hWnd, enable); }
BOOL CWnd::IsWindowEnabled() const { return ::IsWindowEnabled(m_hWnd); }
void CWnd::MoveWindow(int x, int y, int width, int height, BOOL repaint) {
  ::MoveWindow(m_hWnd, x, y, width, height, repaint);
}
void CWnd::MoveWindow(LPCRECT rect, BOOL repaint) {
  ::MoveWindow(m_hWnd, rect->left, rect->top, rect->right - rect->left, rect->bottom - rect->top, repaint);
}
void CWnd::GetWindowRect(LPRECT rect) const { ::GetWindowRect(m_hWnd, rect); }
void CWnd::GetClientRect(LPRECT rect) const { ::GetClientRect(m_hWnd, rect); }
void CWnd::ClientToScreen(LPPOINT point) const { ::ClientToScreen(m_hWnd, point); }
void CWnd::ClientToScreen(LPRECT rect) const { ::MapWindowPoints(m_hWnd, nullptr, reinterpret_cast<LPPOINT>(rect), 2); }
void CWnd::ScreenToClient(LPPOINT point) const { ::ScreenToClient(m_hWnd, point); }
void CWnd::ScreenToClient(LPRECT rect) const { ::MapWindowPoints(nullptr, m_hWnd, reinterpret_cast<LPPOINT>(rect), 2); }
DWORD CWnd::GetStyle() const { return static_cast<DWORD>(::GetWindowLongPtrW(m_hWnd, GWL_STYLE)); }
DWORD CWnd::GetExStyle() const { return static_cast<DWORD>(::GetWindowLongPtrW(m_hWnd, GWL_EXSTYLE)); }
int CWnd::GetDlgCtrlID() const { return ::GetDlgCtrlID(m_hWnd); }
void CWnd::SetWindowText(LPCWSTR text) { ::SetWindowTextW(m_hWnd, text); }
void CWnd::GetWindowText(CString& text) const {
  std::wstring buffer(static_cast<std::size_t>(::GetWindowTextLengthW(m_hWnd)) + 1, L'\0');
  const int length = ::GetWindowTextW(m_hWnd, buffer.data(), static_cast<int>(buffer.size()));
  buffer.resize(static_cast<std::size_t>(length));
  text = CString(std::move(buffer));
}
CWnd* CWnd::GetTopLevelParent() const { return FromHandle(::GetAncestor(m_hWnd, GA_ROOT)); }
BOOL CWnd::IsChild(const CWnd* window) const { return window && ::IsChild(m_hWnd, window->m_hWnd); }
void CWnd::Invalidate(BOOL erase) { ::InvalidateRect(m_hWnd, nullptr, erase); }
void CWnd::InvalidateRect(LPCRECT rect, BOOL erase) { ::InvalidateRect(m_hWnd, rect, erase); }
void CWnd::ValidateRect(LPCRECT rect) { ::ValidateRect(m_hWnd, rect); }
void CWnd::UpdateWindow() { ::UpdateWindow(m_hWnd); }
UINT_PTR CWnd::SetTimer(UINT_PTR id, UINT elapse_ms, TIMERPROC proc) { return ::SetTimer(m_hWnd, id, elapse_ms, proc); }
BOOL CWnd::KillTimer(UINT_PTR id) { return ::KillTimer(m_hWnd, id); }
CWnd* CWnd::SetFocus() { return FromHandle(::SetFocus(m_hWnd)); }
CWnd* CWnd::GetFocus() { return FromHandle(::GetFocus()); }
CWnd* CWnd::SetCapture() { return FromHandle(::SetCapture(m_hWnd)); }
CWnd* CWnd::GetCapture() { return FromHandle(::GetCapture()); }
CWnd* CWnd::SetActiveWindow() { return FromHandle(::SetActiveWindow(m_hWnd)); }
CWnd* CWnd::GetActiveWindow() { return FromHandle(::GetActiveWindow()); }
CWnd* CWnd::GetForegroundWindow() { return FromHandle(::GetForegroundWindow()); }
