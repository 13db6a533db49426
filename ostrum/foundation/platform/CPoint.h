#pragma once
// CPoint: the desktop framework's point, a POINT with arithmetic.

#include "ostrum/foundation/platform/WinTypes.h"

class CPoint : public POINT {
 public:
  constexpr CPoint() : POINT{0, 0} {}
  constexpr CPoint(int x_, int y_) : POINT{x_, y_} {}
  constexpr CPoint(POINT pt) : POINT(pt) {}  // NOLINT: implicit as on the desktop
  /// The point packed in a mouse message's lParam: two signed 16-bit values.
  explicit constexpr CPoint(LPARAM packed) : POINT{GET_X_LPARAM(packed), GET_Y_LPARAM(packed)} {}

  void Offset(int dx, int dy) {
    x += dx;
    y += dy;
  }
  CPoint& operator+=(POINT other) {
    Offset(other.x, other.y);
    return *this;
  }
  CPoint& operator-=(POINT other) {
    Offset(-other.x, -other.y);
    return *this;
  }
  friend constexpr CPoint operator+(CPoint a, POINT b) { return CPoint(a.x + b.x, a.y + b.y); }
  friend constexpr CPoint operator-(CPoint a, POINT b) { return CPoint(a.x - b.x, a.y - b.y); }
  constexpr CPoint operator-() const { return CPoint(-x, -y); }
  friend constexpr bool operator==(const CPoint& a, const CPoint& b) { return a.x == b.x && a.y == b.y; }
};
