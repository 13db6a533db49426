#pragma once
// CDC: the framework's object for a device context (DeviceContext.h), and the three that take
// one for a window and give it back when they go: CWindowDC (the whole window, frame included),
// CClientDC (the client area) and CPaintDC (BeginPaint and EndPaint, in a WM_PAINT handler).
// Objects selected through a CDC come back as framework objects (CGdiObject::FromHandle). A CDC
// without a DC (its window was gone) fails every call cleanly.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CGdiObject.h"
#include "ostrum/foundation/platform/CObject.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/foundation/platform/CRect.h"
#include "ostrum/foundation/platform/CSize.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/foundation/platform/DeviceContext.h"
#include "ostrum/foundation/platform/Paint.h"

class CWnd;

class OSTRUM_API CDC : public CObject {
  DECLARE_DYNAMIC(CDC)

 public:
  CDC() = default;
  CDC(const CDC&) = delete;
  CDC& operator=(const CDC&) = delete;
  /// Deletes a DC it owns (DeleteDC); the window DCs below give theirs back first.
  ~CDC() override;

  /// The object owning `hdc`, or a temporary one standing in for it until the DC is given back;
  /// null for null.
  static CDC* FromHandle(HDC hdc);
  HDC GetSafeHdc() const { return m_hDC; }
  operator HDC() const { return m_hDC; }
  /// Takes ownership of a DC; FALSE if the object holds one or `hdc` is null.
  BOOL Attach(HDC hdc);
  HDC Detach();
  BOOL DeleteDC();

  /// Selects and answers the object of the same kind the DC had; null on failure.
  CGdiObject* SelectObject(CGdiObject* object);
  CPen* SelectObject(CPen* pen);
  CBrush* SelectObject(CBrush* brush);
  CFont* SelectObject(CFont* font);
  /// Selects a stock object (GetStockObject) and answers what it replaced.
  CGdiObject* SelectStockObject(int index);
  int GetDeviceCaps(int index) const { return ::GetDeviceCaps(m_hDC, index); }

  CPoint MoveTo(int x, int y);
  CPoint MoveTo(POINT point) { return MoveTo(point.x, point.y); }
  BOOL LineTo(int x, int y) { return ::LineTo(m_hDC, x, y); }
  BOOL LineTo(POINT point) { return LineTo(point.x, point.y); }
  BOOL Rectangle(int left, int top, int right, int bottom) { return ::Rectangle(m_hDC, left, top, right, bottom); }
  BOOL Rectangle(LPCRECT rect) { return Rectangle(rect->left, rect->top, rect->right, rect->bottom); }
  void FillRect(LPCRECT rect, CBrush* brush);
  /// Fills with a colour, leaving the background colour set to it, as the desktop does.
  void FillSolidRect(LPCRECT rect, COLORREF color);
  void FillSolidRect(int x, int y, int cx, int cy, COLORREF color);
  COLORREF GetPixel(int x, int y) const { return ::GetPixel(m_hDC, x, y); }
  COLORREF GetPixel(POINT point) const { return GetPixel(point.x, point.y); }

  COLORREF SetTextColor(COLORREF color) { return ::SetTextColor(m_hDC, color); }
  COLORREF GetTextColor() const { return ::GetTextColor(m_hDC); }
  COLORREF SetBkColor(COLORREF color) { return ::SetBkColor(m_hDC, color); }
  COLORREF GetBkColor() const { return ::GetBkColor(m_hDC); }
  int SetBkMode(int mode) { return ::SetBkMode(m_hDC, mode); }
  int GetBkMode() const { return ::GetBkMode(m_hDC); }

  BOOL TextOut(int x, int y, LPCWSTR text, int count) { return ::TextOutW(m_hDC, x, y, text, count); }
  BOOL TextOut(int x, int y, const CString& text) { return TextOut(x, y, text.GetString(), text.GetLength()); }
  int DrawText(LPCWSTR text, int count, LPRECT rect, UINT format) { return ::DrawTextW(m_hDC, text, count, rect, format); }
  int DrawText(const CString& text, LPRECT rect, UINT format) {
    return DrawText(text.GetString(), text.GetLength(), rect, format);
  }
  /// The text's extent in the selected font; (0, 0) on failure.
  CSize GetTextExtent(const CString& text) const;

  HDC m_hDC = nullptr;

 private:
  friend struct CDCAccess;
  bool m_temporary = false;  // stands in for a DC it does not own
};

/// A DC on the whole window, frame included, given back when the object goes.
class OSTRUM_API CWindowDC : public CDC {
 public:
  explicit CWindowDC(CWnd* window);
  ~CWindowDC() override;

 protected:
  HWND m_hWnd = nullptr;
};

/// A DC on the client area, given back when the object goes.
class OSTRUM_API CClientDC : public CDC {
 public:
  explicit CClientDC(CWnd* window);
  ~CClientDC() override;

 protected:
  HWND m_hWnd = nullptr;
};

/// BeginPaint at construction (the update region is validated, the frame and background drawn
/// by their messages) and EndPaint at destruction; m_ps is what BeginPaint filled in.
class OSTRUM_API CPaintDC : public CDC {
 public:
  explicit CPaintDC(CWnd* window);
  ~CPaintDC() override;

  PAINTSTRUCT m_ps;

 protected:
  HWND m_hWnd = nullptr;
};
