#include "ostrum/foundation/platform/CDC.h"

#include <cwchar>

#include "ostrum/foundation/platform/CWnd.h"

CFont::~CFont() = default;

BOOL CFont::CreatePointFont(int point_size, LPCWSTR face_name, CDC*) {
  m_point_size = point_size;
  m_face_name = face_name ? face_name : L"";
  return TRUE;
}

CDC::~CDC() = default;

CDC* CDC::FromHandle(HDC hdc) {
  thread_local CDC temporary;
  temporary.m_hDC = hdc;
  return &temporary;
}

CFont* CDC::SelectObject(CFont* font) {
  CFont* before = m_font;
  m_font = font;
  return before;
}

int CDC::SetBkMode(int mode) {
  const int before = m_bk_mode;
  m_bk_mode = mode;
  return before;
}

COLORREF CDC::SetTextColor(COLORREF color) {
  const COLORREF before = m_text_color;
  m_text_color = color;
  return before;
}

int CDC::DrawText(LPCWSTR text, int count, LPRECT rect, UINT) {
  if (!text || !rect) return 0;
  const std::size_t length = count < 0 ? std::wcslen(text) : static_cast<std::size_t>(count);
  if (length == 0) return 0;
  // One line in the font's height: a point is 96/72 pixels.
  const int tenths = m_font ? m_font->GetPointSize() : 100;
  return (tenths * 96 + 719) / 720;
}

CPaintDC::CPaintDC(CWnd* window) : m_hWnd(window ? window->GetSafeHwnd() : nullptr) {
  m_hDC = m_hWnd ? ::BeginPaint(m_hWnd, &m_ps) : nullptr;
}

CPaintDC::~CPaintDC() {
  if (m_hWnd) ::EndPaint(m_hWnd, &m_ps);
}

CClientDC::CClientDC(CWnd* window) : m_hWnd(window ? window->GetSafeHwnd() : nullptr) {}

CClientDC::~CClientDC() = default;
