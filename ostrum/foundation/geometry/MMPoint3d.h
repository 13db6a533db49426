#pragma once
// MMPoint3d: a point or a direction in three dimensions, in float or double. Arithmetic is by
// component; the same type serves for positions and for directions, and the transforms say by
// their bool argument which of the two they are given.

#include <cmath>
#include <cstddef>

#include "ostrum/Export.h"

template <class T>
class OSTRUM_API MMPoint3d {
 public:
  T x{0}, y{0}, z{0};

  /// The origin.
  constexpr MMPoint3d() = default;
  constexpr MMPoint3d(T px, T py, T pz) : x(px), y(py), z(pz) {}
  /// From the other precision; narrowing from double rounds to the nearest float.
  template <class U>
  constexpr explicit MMPoint3d(MMPoint3d<U> const& o)
      : x(static_cast<T>(o.x)), y(static_cast<T>(o.y)), z(static_cast<T>(o.z)) {}

  /// Component 0, 1 or 2 (x, y, z); the index is not checked.
  constexpr T& operator[](std::size_t i) { return i == 0 ? x : (i == 1 ? y : z); }
  constexpr T const& operator[](std::size_t i) const { return i == 0 ? x : (i == 1 ? y : z); }

  constexpr void Set(T px, T py, T pz) { x = px; y = py; z = pz; }

  constexpr MMPoint3d& operator+=(MMPoint3d const& o) { x += o.x; y += o.y; z += o.z; return *this; }
  constexpr MMPoint3d& operator-=(MMPoint3d const& o) { x -= o.x; y -= o.y; z -= o.z; return *this; }
  /// Component by component.
  constexpr MMPoint3d& operator*=(MMPoint3d const& o) { x *= o.x; y *= o.y; z *= o.z; return *this; }
  /// Component by component; a zero component gives an infinity or NaN as the language does.
  constexpr MMPoint3d& operator/=(MMPoint3d const& o) { x /= o.x; y /= o.y; z /= o.z; return *this; }
  constexpr MMPoint3d& operator*=(T s) { x *= s; y *= s; z *= s; return *this; }
  constexpr MMPoint3d& operator/=(T s) { x /= s; y /= s; z /= s; return *this; }

  friend constexpr MMPoint3d operator+(MMPoint3d a, MMPoint3d const& b) { return a += b; }
  friend constexpr MMPoint3d operator-(MMPoint3d a, MMPoint3d const& b) { return a -= b; }
  friend constexpr MMPoint3d operator*(MMPoint3d a, MMPoint3d const& b) { return a *= b; }
  friend constexpr MMPoint3d operator/(MMPoint3d a, MMPoint3d const& b) { return a /= b; }
  friend constexpr MMPoint3d operator*(MMPoint3d a, T s) { return a *= s; }
  friend constexpr MMPoint3d operator*(T s, MMPoint3d a) { return a *= s; }
  friend constexpr MMPoint3d operator/(MMPoint3d a, T s) { return a /= s; }
  friend constexpr MMPoint3d operator-(MMPoint3d const& a) { return MMPoint3d(-a.x, -a.y, -a.z); }
  /// Exact comparison of the three components.
  friend constexpr bool operator==(MMPoint3d const&, MMPoint3d const&) = default;

  constexpr T Dot(MMPoint3d const& o) const { return x * o.x + y * o.y + z * o.z; }
  constexpr MMPoint3d Cross(MMPoint3d const& o) const {
    return MMPoint3d(y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x);
  }
  /// Euclidean length.
  T Length() const { return std::sqrt(Dot(*this)); }
  /// The point scaled to length 1; the zero vector stays zero.
  MMPoint3d Normalized() const {
    T const len = Length();
    return len > T(0) ? *this / len : *this;
  }
};
