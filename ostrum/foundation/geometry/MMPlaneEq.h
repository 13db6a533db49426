#pragma once
// MMPlaneEq: the equation a x + b y + c z + d = 0 of a plane, built from a point on the plane
// and its normal. The normal is scaled to unit length, so Distance is a true signed distance:
// positive on the side the normal points to, negative behind, zero on the plane.

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMVector.h"

template <class T>
class OSTRUM_API MMPlaneEq {
 public:
  using Vector = MMVector<T, 3>;

  /// The degenerate equation 0 = 0: every point is at distance 0.
  constexpr MMPlaneEq() = default;
  /// Plane through point with the given normal (any non-zero length). A zero normal gives the
  /// degenerate equation.
  MMPlaneEq(Vector const& point, Vector const& normal) {
    Vector const n = normal.Normalized();
    m_a = n[0];
    m_b = n[1];
    m_c = n[2];
    m_d = -n.Dot(point);
  }

  /// Signed distance of p from the plane, in the units of the plane's coordinates.
  T Distance(Vector const& p) const { return m_a * p[0] + m_b * p[1] + m_c * p[2] + m_d; }

  T GetA() const { return m_a; }
  T GetB() const { return m_b; }
  T GetC() const { return m_c; }
  T GetD() const { return m_d; }

 private:
  T m_a{0}, m_b{0}, m_c{0}, m_d{0};
};
