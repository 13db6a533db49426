#pragma once
// MMPoint2d: a point in a plane, such as a zoom centre in eye coordinates.

#include "ostrum/Export.h"

template <class T>
class OSTRUM_API MMPoint2d {
 public:
  T x{0}, y{0};

  /// The origin.
  constexpr MMPoint2d() = default;
  constexpr MMPoint2d(T px, T py) : x(px), y(py) {}

  constexpr void Set(T px, T py) { x = px; y = py; }

  constexpr MMPoint2d& operator+=(MMPoint2d const& o) { x += o.x; y += o.y; return *this; }
  constexpr MMPoint2d& operator-=(MMPoint2d const& o) { x -= o.x; y -= o.y; return *this; }
  constexpr MMPoint2d& operator*=(T s) { x *= s; y *= s; return *this; }
  friend constexpr MMPoint2d operator+(MMPoint2d a, MMPoint2d const& b) { return a += b; }
  friend constexpr MMPoint2d operator-(MMPoint2d a, MMPoint2d const& b) { return a -= b; }
  friend constexpr MMPoint2d operator*(MMPoint2d a, T s) { return a *= s; }
  /// Exact comparison of both components.
  friend constexpr bool operator==(MMPoint2d const&, MMPoint2d const&) = default;
};
