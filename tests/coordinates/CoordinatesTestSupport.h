#pragma once
// Shared by the coordinate-system tests: a repository that opens its internals to the tests,
// transforms made in one line, and comparisons that print what differs.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <Eigen/LU>
#include <sstream>
#include <vector>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

namespace coordinates_test {

using Node = MTransformRepositoryCoordinateSystem;
using Path = std::vector<Node const*>;

class ProbeRepository : public MTransformRepository {
 public:
  using MTransformRepository::_AddTransformToCache;
  using MTransformRepository::_CacheInvalidate;
  using MTransformRepository::_CreateNewSystem;
  using MTransformRepository::_FillInPathToWorld;
  using MTransformRepository::_FillInShortestPath;
  using MTransformRepository::_GetCacheNext;
  using MTransformRepository::_GetCacheSlot;

  bool Cached(MCoordinateSystem const& from, MCoordinateSystem const& to) const {
    std::int16_t slot;
    return _CanGetTransformFromCache(slot, from, to);
  }
  int CachedEntries() const {
    int n = 0;
    for (std::int16_t i = 0; i < kCacheSize; ++i) n += _GetCacheSlot(i).GetTransform() != nullptr;
    return n;
  }
};

inline MMTransformMatrix Scale(double s) {
  MMTransformMatrix m;
  m.MakeScale1D(s);
  return m;
}

inline MMTransformMatrix Translation(double x, double y = 0, double z = 0) {
  MMTransformMatrix m;
  m.MakeTranslation(x, y, z);
  return m;
}

/// The image of (x, 0, 0): enough to read a scale or a translation along x.
inline double X(MMTransform const& t, double x = 1) { return t(MMPoint3d<double>(x, 0, 0)).x; }

inline Eigen::Matrix4d MatrixOf(MMTransform const& t) {
  double e[16];
  t.ConvertDouble16(e);
  return Eigen::Map<Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(e);
}

inline ::testing::AssertionResult NearMatrix(Eigen::Matrix4d const& a, Eigen::Matrix4d const& b,
                                             double tolerance = 1e-9) {
  double const scale = std::max(1.0, std::max(a.cwiseAbs().maxCoeff(), b.cwiseAbs().maxCoeff()));
  if ((a - b).cwiseAbs().maxCoeff() <= tolerance * scale) return ::testing::AssertionSuccess();
  std::ostringstream s;
  s << "\n" << a << "\nis not\n" << b;
  return ::testing::AssertionFailure() << s.str();
}

inline ::testing::AssertionResult NearPoint(MMPoint3d<double> const& a, MMPoint3d<double> const& b) {
  if ((a - b).Length() <= 1e-9 * std::max(1.0, b.Length())) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ") is not ("
                                       << b.x << ", " << b.y << ", " << b.z << ")";
}

}  // namespace coordinates_test
