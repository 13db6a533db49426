#pragma once
// CRect: the desktop framework's rectangle, a RECT with the rectangle calls as members.

#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/foundation/platform/CSize.h"
#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CRect : public RECT {
 public:
  constexpr CRect() : RECT{0, 0, 0, 0} {}
  constexpr CRect(int l, int t, int r, int b) : RECT{l, t, r, b} {}
  constexpr CRect(const RECT& rect) : RECT(rect) {}  // NOLINT: implicit as on the desktop
  constexpr CRect(POINT top_left, SIZE size) : RECT{top_left.x, top_left.y, top_left.x + size.cx, top_left.y + size.cy} {}

  constexpr int Width() const { return right - left; }
  constexpr int Height() const { return bottom - top; }
  constexpr CSize Size() const { return CSize(Width(), Height()); }
  constexpr CPoint TopLeft() const { return CPoint(left, top); }
  constexpr CPoint BottomRight() const { return CPoint(right, bottom); }
  constexpr CPoint CenterPoint() const { return CPoint((left + right) / 2, (top + bottom) / 2); }
  BOOL IsRectEmpty() const { return ::IsRectEmpty(this); }
  BOOL PtInRect(POINT pt) const { return ::PtInRect(this, pt); }
  void SetRect(int l, int t, int r, int b) { ::SetRect(this, l, t, r, b); }
  void SetRectEmpty() { ::SetRectEmpty(this); }
  void OffsetRect(int dx, int dy) { ::OffsetRect(this, dx, dy); }
  void OffsetRect(POINT by) { ::OffsetRect(this, by.x, by.y); }
  void InflateRect(int dx, int dy) { ::InflateRect(this, dx, dy); }
  void DeflateRect(int dx, int dy) { ::InflateRect(this, -dx, -dy); }
  BOOL IntersectRect(LPCRECT a, LPCRECT b) { return ::IntersectRect(this, a, b); }
  BOOL UnionRect(LPCRECT a, LPCRECT b) { return ::UnionRect(this, a, b); }
  operator LPRECT() { return this; }               // NOLINT
  operator LPCRECT() const { return this; }        // NOLINT
  friend bool operator==(const CRect& a, const CRect& b) { return ::EqualRect(&a, &b) != FALSE; }
};
