#include "ostrum/foundation/platform/CDC.h"

#include <memory>
#include <unordered_map>

#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/MessageMap.h"
#include "ostrum/foundation/platform/private/DeviceContexts.h"
#include "ostrum/foundation/platform/private/ResetHooks.h"

IMPLEMENT_DYNAMIC(CDC, CObject)

struct CDCAccess {
  static void MarkTemporary(CDC& dc) { dc.m_temporary = true; }
};

namespace {

// The thread's CDC objects by handle: owners, and temporaries standing in for DCs met without
// one (the DC a WM_ERASEBKGND carries). Objects that outlive the table only give back.
struct DCWrappers {
  std::unordered_map<HDC, CDC*> owners;
  std::unordered_map<HDC, std::unique_ptr<CDC>> temporaries;
  ~DCWrappers() { gone = true; }
  static thread_local bool gone;
};
thread_local bool DCWrappers::gone = false;
thread_local DCWrappers t_table;

DCWrappers* Table() { return DCWrappers::gone ? nullptr : &t_table; }

[[maybe_unused]] const bool g_reset_registered = Ostrum::Desktop::Private::AddResetHook([] {
  if (DCWrappers* table = Table()) table->temporaries.clear();
});

}  // namespace

namespace Ostrum::Desktop {

CDC* DeviceContextObjectOf(HDC hdc) { return CDC::FromHandle(hdc); }

namespace Private {

void ForgetDeviceContextWrapper(HDC hdc) {
  if (DCWrappers* table = Table()) table->temporaries.erase(hdc);
}

}  // namespace Private

}  // namespace Ostrum::Desktop

CDC::~CDC() {
  if (m_hDC && !m_temporary) ::DeleteDC(Detach());
}

CDC* CDC::FromHandle(HDC hdc) {
  DCWrappers* table = Table();
  if (!hdc || !table) return nullptr;
  if (auto it = table->owners.find(hdc); it != table->owners.end()) return it->second;
  auto& temporary = table->temporaries[hdc];
  if (!temporary) {
    temporary = std::make_unique<CDC>();
    temporary->m_hDC = hdc;
    CDCAccess::MarkTemporary(*temporary);
  }
  return temporary.get();
}

BOOL CDC::Attach(HDC hdc) {
  if (m_hDC || !hdc) return FALSE;
  m_hDC = hdc;
  if (DCWrappers* table = Table()) table->owners[hdc] = this;
  return TRUE;
}

HDC CDC::Detach() {
  HDC hdc = m_hDC;
  if (DCWrappers* table = Table(); hdc && table) {
    auto it = table->owners.find(hdc);
    if (it != table->owners.end() && it->second == this) table->owners.erase(it);
  }
  m_hDC = nullptr;
  return hdc;
}

BOOL CDC::DeleteDC() {
  if (!m_hDC || m_temporary) return FALSE;
  return ::DeleteDC(Detach());
}

CGdiObject* CDC::SelectObject(CGdiObject* object) {
  if (!object) return nullptr;
  return CGdiObject::FromHandle(::SelectObject(m_hDC, object->m_hObject));
}
CPen* CDC::SelectObject(CPen* pen) { return static_cast<CPen*>(SelectObject(static_cast<CGdiObject*>(pen))); }
CBrush* CDC::SelectObject(CBrush* brush) { return static_cast<CBrush*>(SelectObject(static_cast<CGdiObject*>(brush))); }
CFont* CDC::SelectObject(CFont* font) { return static_cast<CFont*>(SelectObject(static_cast<CGdiObject*>(font))); }

CGdiObject* CDC::SelectStockObject(int index) {
  HGDIOBJ stock = GetStockObject(index);
  return stock ? CGdiObject::FromHandle(::SelectObject(m_hDC, stock)) : nullptr;
}

CPoint CDC::MoveTo(int x, int y) {
  POINT previous{};
  ::MoveToEx(m_hDC, x, y, &previous);
  return CPoint(previous.x, previous.y);
}

void CDC::FillRect(LPCRECT rect, CBrush* brush) {
  if (brush) ::FillRect(m_hDC, rect, static_cast<HBRUSH>(brush->m_hObject));
}

void CDC::FillSolidRect(LPCRECT rect, COLORREF color) {
  if (!rect || ::SetBkColor(m_hDC, color) == CLR_INVALID) return;
  HBRUSH brush = ::CreateSolidBrush(color);
  ::FillRect(m_hDC, rect, brush);
  ::DeleteObject(brush);
}

void CDC::FillSolidRect(int x, int y, int cx, int cy, COLORREF color) {
  const RECT rect{x, y, x + cx, y + cy};
  FillSolidRect(&rect, color);
}

CSize CDC::GetTextExtent(const CString& text) const {
  SIZE size{};
  ::GetTextExtentPoint32W(m_hDC, text.GetString(), text.GetLength(), &size);
  return CSize(size);
}

CWindowDC::CWindowDC(CWnd* window) : m_hWnd(window ? window->GetSafeHwnd() : nullptr) {
  if (m_hWnd) Attach(::GetWindowDC(m_hWnd));
}

CWindowDC::~CWindowDC() {
  if (m_hDC) ::ReleaseDC(m_hWnd, Detach());
}

CClientDC::CClientDC(CWnd* window) : m_hWnd(window ? window->GetSafeHwnd() : nullptr) {
  if (m_hWnd) Attach(::GetDC(m_hWnd));
}

CClientDC::~CClientDC() {
  if (m_hDC) ::ReleaseDC(m_hWnd, Detach());
}

CPaintDC::CPaintDC(CWnd* window) : m_hWnd(window ? window->GetSafeHwnd() : nullptr) {
  if (m_hWnd) Attach(::BeginPaint(m_hWnd, &m_ps));
}

CPaintDC::~CPaintDC() {
  if (m_hWnd) {
    Detach();
    ::EndPaint(m_hWnd, &m_ps);
  }
}
