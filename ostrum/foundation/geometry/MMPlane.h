#pragma once
// MMPlane: a plane kept as its two defining vectors, a point on it and its normal, in that
// order; MMPlaneEq<double>(GetPoint(), GetNormal()) turns it into an equation.

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMVector.h"

class OSTRUM_API MMPlane {
 public:
  using Vector = MMVector<double, 3>;

  /// Both vectors zero: a plane without a normal, at distance 0 from everything.
  MMPlane() = default;
  MMPlane(Vector const& point, Vector const& normal) : m_point(point), m_normal(normal) {}
  MMPlane(MMPlane const&) = default;
  MMPlane& operator=(MMPlane const&) = default;
  virtual ~MMPlane();

  Vector const& GetPoint() const { return m_point; }
  Vector const& GetNormal() const { return m_normal; }
  void SetPoint(Vector const& p) { m_point = p; }
  /// The normal as given, not normalised.
  void SetNormal(Vector const& n) { m_normal = n; }

 private:
  Vector m_point;
  Vector m_normal;
};
