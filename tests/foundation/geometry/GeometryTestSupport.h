#pragma once
// Random transforms of each class and matrix comparisons shared by the geometry tests.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <random>
#include <sstream>

#include "ostrum/foundation/geometry/MMTransformMatrix.h"

namespace geometry_test {

using Class = MMTransformMatrix::EMatrixClass;

class Random {
 public:
  explicit Random(unsigned seed) : m_engine(seed) {}
  double Uniform(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(m_engine); }
  /// A factor of either sign, kept away from zero.
  double Factor() { return (Uniform(0, 1) < 0.5 ? -1 : 1) * Uniform(0.2, 5.0); }
  MMPoint3d<double> Point(double range = 10.0) {
    return {Uniform(-range, range), Uniform(-range, range), Uniform(-range, range)};
  }

  /// A random matrix made through the public operations so that it carries `c` as its class.
  MMTransformMatrix Make(Class c) {
    MMTransformMatrix m, t;
    t.MakeTranslation(Point());
    switch (c) {
      case Class::eIdentity: break;
      case Class::eTranslation: m = t; break;
      case Class::eScale1D: m.MakeScale1D(Factor()); m.PreMultiply(t); break;
      case Class::eScale3D: m.MakeScale3D(Factor(), Factor(), Factor()); m.PreMultiply(t); break;
      case Class::eOrthoNormal: m.MakeRotation(Point(), Point(1.0), Uniform(-6.0, 6.0)); break;
      case Class::eOrthoGonal: {
        // A rotation applied after a scale by axis: Q * D.
        MMTransformMatrix r;
        r.MakeRotation(Point(), Point(1.0), Uniform(-6.0, 6.0));
        m.MakeScale3D(Factor(), Factor(), Factor());
        m.PreMultiply(r);
        break;
      }
      case Class::eGeneral: {
        Eigen::Matrix4d e;
        for (int i = 0; i < 16; ++i) e(i / 4, i % 4) = Uniform(-2, 2);
        if (Uniform(0, 1) < 0.5) e.row(3) << 0, 0, 0, 1;  // half of them affine
        m.SetMatrix(e);
        break;
      }
    }
    return m;
  }

 private:
  std::mt19937 m_engine;
};

/// Relative closeness of two matrices, with the offending pair printed on failure.
inline ::testing::AssertionResult Near(Eigen::Matrix4d const& a, Eigen::Matrix4d const& b, double tolerance = 1e-9) {
  double const scale = std::max(1.0, std::max(a.cwiseAbs().maxCoeff(), b.cwiseAbs().maxCoeff()));
  if ((a - b).cwiseAbs().maxCoeff() <= tolerance * scale) return ::testing::AssertionSuccess();
  std::ostringstream s;
  s << "\n" << a << "\nis not\n" << b;
  return ::testing::AssertionFailure() << s.str();
}

inline ::testing::AssertionResult NearPoint(MMPoint3d<double> const& a, MMPoint3d<double> const& b,
                                            double tolerance = 1e-9) {
  if ((a - b).Length() <= tolerance * std::max(1.0, b.Length())) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ") is not (" << b.x << ", "
                                       << b.y << ", " << b.z << ")";
}

}  // namespace geometry_test
