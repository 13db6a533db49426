#pragma once
// The desktop's rectangle calls on RECT and POINT. A rectangle holds the points with
// left <= x < right and top <= y < bottom; one with no such point is empty.

#include <algorithm>

#include "ostrum/foundation/platform/WinTypes.h"

inline BOOL SetRect(LPRECT rect, int left, int top, int right, int bottom) {
  if (!rect) return FALSE;
  *rect = RECT{left, top, right, bottom};
  return TRUE;
}
inline BOOL SetRectEmpty(LPRECT rect) { return SetRect(rect, 0, 0, 0, 0); }
inline BOOL CopyRect(LPRECT to, LPCRECT from) {
  if (!to || !from) return FALSE;
  *to = *from;
  return TRUE;
}
/// TRUE if the rectangle holds no point (also for a null pointer).
inline BOOL IsRectEmpty(LPCRECT rect) { return !rect || rect->right <= rect->left || rect->bottom <= rect->top; }
inline BOOL EqualRect(LPCRECT a, LPCRECT b) {
  return a && b && a->left == b->left && a->top == b->top && a->right == b->right && a->bottom == b->bottom;
}
/// Whether the point lies in the rectangle: its right and bottom edges are outside.
inline BOOL PtInRect(LPCRECT rect, POINT pt) {
  return rect && pt.x >= rect->left && pt.x < rect->right && pt.y >= rect->top && pt.y < rect->bottom;
}
inline BOOL OffsetRect(LPRECT rect, int dx, int dy) {
  if (!rect) return FALSE;
  rect->left += dx;
  rect->right += dx;
  rect->top += dy;
  rect->bottom += dy;
  return TRUE;
}
/// Grows each side by dx, dy (shrinks for negative values).
inline BOOL InflateRect(LPRECT rect, int dx, int dy) {
  if (!rect) return FALSE;
  rect->left -= dx;
  rect->right += dx;
  rect->top -= dy;
  rect->bottom += dy;
  return TRUE;
}
/// The common part of two rectangles; empty (all zero) and FALSE if they do not meet.
inline BOOL IntersectRect(LPRECT out, LPCRECT a, LPCRECT b) {
  if (!out || !a || !b) return FALSE;
  const RECT common{std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
                    std::min(a->bottom, b->bottom)};
  if (IsRectEmpty(&common)) {
    *out = RECT{};
    return FALSE;
  }
  *out = common;
  return TRUE;
}
/// The smallest rectangle holding both; an empty one does not count. FALSE if the result is empty.
inline BOOL UnionRect(LPRECT out, LPCRECT a, LPCRECT b) {
  if (!out || !a || !b) return FALSE;
  if (IsRectEmpty(a)) {
    *out = IsRectEmpty(b) ? RECT{} : *b;
  } else if (IsRectEmpty(b)) {
    *out = *a;
  } else {
    *out = RECT{std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right),
                std::max(a->bottom, b->bottom)};
  }
  return IsRectEmpty(out) ? FALSE : TRUE;
}
