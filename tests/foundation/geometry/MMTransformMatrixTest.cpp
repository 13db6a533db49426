#include <gtest/gtest.h>

#include <Eigen/LU>
#include <cmath>

#include "GeometryTestSupport.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

using namespace geometry_test;

namespace {

constexpr double kPi = 3.141592653589793;

// Reaches the per-class inverses, which hosts do not call.
class ProbeMatrix : public MMTransformMatrix {
 public:
  explicit ProbeMatrix(MMTransformMatrix const& m) : MMTransformMatrix(m) {}
  bool ComputeBy(Class c) const { return _ComputeInverseAs(c); }
};

}  // namespace

TEST(MMTransformMatrix, EachClassInverseMatchesGeneralInverse) {
  Random rnd(7);
  for (int c = Class::eIdentity; c <= Class::eGeneral; ++c) {
    SCOPED_TRACE(testing::Message() << "class " << c);
    for (int trial = 0; trial < 200; ++trial) {
      MMTransformMatrix const m = rnd.Make(Class(c));
      ASSERT_EQ(m.GetClass(), c);
      // The elements must say the same as the way the matrix was made.
      MMTransformMatrix verified(m);
      EXPECT_EQ(verified.VerifyAndSetClass(), c) << m.GetMatrix();

      Eigen::Matrix4d const expected = m.GetMatrix().inverse();
      ProbeMatrix probe(m);
      ASSERT_TRUE(probe.ComputeBy(Class(c)));
      EXPECT_TRUE(Near(probe.GetInverse(), expected));
      EXPECT_TRUE(Near(m.GetInverse(), expected));

      // Invert exchanges matrix and inverse, keeps a valid class, and comes back. The class
      // claimed after a turn must invert by its own method (the inverse of orthogonal columns
      // may have none).
      MMTransformMatrix inverted(m);
      ASSERT_TRUE(inverted.Invert());
      EXPECT_TRUE(Near(inverted.GetMatrix(), expected));
      EXPECT_TRUE(Near(inverted.GetInverse(), m.GetMatrix()));
      ProbeMatrix turned(inverted);
      ASSERT_TRUE(turned.ComputeBy(turned.GetClass())) << "claims " << turned.GetClass();
      EXPECT_TRUE(Near(turned.GetInverse(), m.GetMatrix())) << "claims " << turned.GetClass();
      ASSERT_TRUE(inverted.Invert());
      EXPECT_TRUE(Near(inverted.GetMatrix(), m.GetMatrix()));
      EXPECT_EQ(inverted.GetClass(), m.GetClass()) << "a turn and back gives the class back";

      // InvertKept turns only a matrix whose inverse is kept, and leaves any other alone.
      MMTransformMatrix fresh;
      fresh.SetMatrix(m.GetMatrix());
      EXPECT_FALSE(fresh.InvertKept());
      EXPECT_EQ(fresh.GetMatrix(), m.GetMatrix());
      ASSERT_TRUE(fresh.HasInverse());
      EXPECT_TRUE(fresh.InvertKept());
      EXPECT_TRUE(Near(fresh.GetMatrix(), expected));
    }
  }
}

// PreMultiply(A) applies A after the matrix, *= A before it; whatever class a product claims, its
// cheap inverse must be the true one, and the cheap classes are claimed where they are sure.
TEST(MMTransformMatrix, ProductsComposeInOrderAndClaimOnlyValidClasses) {
  Random rnd(11);
  for (int a = Class::eIdentity; a <= Class::eGeneral; ++a) {
    for (int b = Class::eIdentity; b <= Class::eGeneral; ++b) {
      for (int trial = 0; trial < 20; ++trial) {
        MMTransformMatrix const ma = rnd.Make(Class(a)), mb = rnd.Make(Class(b));
        // The same value held as the turned-round inverse of itself, and with a kept inverse
        // that a product must not leave standing.
        MMTransformMatrix turned(mb);
        if (turned.Invert()) turned.Invert();
        for (MMTransformMatrix const& target : {mb, turned}) {
          MMTransformMatrix pre(target), post(target);
          pre.PreMultiply(ma);
          post *= ma;
          EXPECT_TRUE(Near(pre.GetMatrix(), ma.GetMatrix() * mb.GetMatrix()));
          EXPECT_TRUE(Near(post.GetMatrix(), mb.GetMatrix() * ma.GetMatrix()));
          EXPECT_TRUE(Near((target * ma).GetMatrix(), post.GetMatrix()));
          for (MMTransformMatrix const* p : {&pre, &post})
            EXPECT_TRUE(Near(p->GetInverse(), p->GetMatrix().inverse()))
                << a << " with " << b << " claims " << p->GetClass();
        }
        // A matrix times itself.
        MMTransformMatrix square(turned);
        square.PreMultiply(square);
        EXPECT_TRUE(Near(square.GetMatrix(), mb.GetMatrix() * mb.GetMatrix()));
      }
    }
  }
  auto product_class = [&](Class after, Class first) {
    MMTransformMatrix m = rnd.Make(first);
    m.PreMultiply(rnd.Make(after));
    return m.GetClass();
  };
  EXPECT_EQ(product_class(Class::eScale1D, Class::eTranslation), Class::eScale1D);
  EXPECT_EQ(product_class(Class::eOrthoNormal, Class::eOrthoNormal), Class::eOrthoNormal);
  EXPECT_EQ(product_class(Class::eOrthoNormal, Class::eScale3D), Class::eOrthoGonal);
  // A scale by axis after a rotation shears the columns: only the general class is valid.
  EXPECT_EQ(product_class(Class::eScale3D, Class::eOrthoNormal), Class::eGeneral);
}

TEST(MMTransformMatrix, RotationsDegreesRadiansAndOrder) {
  MMTransformMatrix deg, rad;
  deg.MakeRotationZYX(0, 0, 90);
  rad.MakeRotation({0, 0, 0}, {0, 0, 3}, kPi / 2);  // the axis length does not matter
  EXPECT_TRUE(Near(deg.GetMatrix(), rad.GetMatrix(), 1e-15));
  EXPECT_TRUE(NearPoint(deg(MMPoint3d<double>(1, 0, 0)), {0, 1, 0}, 1e-15));  // right-handed
  rad.MakeRotation({5, 5, 5}, {0, 0, 1}, kPi);
  EXPECT_TRUE(NearPoint(rad(MMPoint3d<double>(6, 5, 0)), {4, 5, 0}, 1e-12));

  // A centre fixes the point the rotation turns about.
  MMTransformMatrix m;
  m.MakeRotationZYX(180, 90, 90);
  m.SetRotationCenter({0, 1, 0});
  EXPECT_TRUE(NearPoint(m(MMPoint3d<double>(1, 0, 0)), {0, 0, 1}, 1e-12));
  EXPECT_TRUE(NearPoint(m(MMPoint3d<double>(0, 1, 0)), {0, 1, 0}, 1e-12));
  EXPECT_EQ(m.GetClass(), Class::eOrthoNormal);

  // Each named order is the product of single-axis rotations in that order.
  MMTransformMatrix rx, ry, rz, xyz, zyx;
  rx.MakeRotation({0, 0, 0}, {1, 0, 0}, 30 * kPi / 180);
  ry.MakeRotation({0, 0, 0}, {0, 1, 0}, -50 * kPi / 180);
  rz.MakeRotation({0, 0, 0}, {0, 0, 1}, 70 * kPi / 180);
  xyz.MakeRotationXYZ(30, -50, 70);
  zyx.MakeRotationZYX(30, -50, 70);
  EXPECT_TRUE(Near(xyz.GetMatrix(), (rz * ry * rx).GetMatrix(), 1e-14));
  EXPECT_TRUE(Near(zyx.GetMatrix(), (rx * ry * rz).GetMatrix(), 1e-14));
}

TEST(MMTransformMatrix, VerifyAndSetClassRecognisesEachShapeAfterSetElement) {
  Random rnd(3);
  for (int c = Class::eIdentity; c <= Class::eGeneral; ++c) {
    MMTransformMatrix const source = rnd.Make(Class(c));
    MMTransformMatrix m;
    m.MakeScale3D(3, 4, 5);  // a stale class and inverse to get rid of, turned round
    ASSERT_TRUE(m.Invert());
    for (int r = 0; r < 4; ++r)
      for (int k = 0; k < 4; ++k) m.SetElement(r, k, source.GetElement(r, k), false);
    EXPECT_EQ(m.GetClass(), Class::eGeneral) << "a half-set matrix claims nothing cheap";
    EXPECT_EQ(m.VerifyAndSetClass(), c);
    EXPECT_TRUE(m._ComputeInverse());
    EXPECT_TRUE(Near(m.GetInverse(), source.GetMatrix().inverse()));
  }

  // Rounding noise below the tolerance keeps a shape; a real shear does not.
  MMTransformMatrix m;
  m.SetElement(0, 1, 1e-16, true);
  EXPECT_EQ(m.GetClass(), Class::eIdentity);
  m.SetElement(0, 0, 2.0, false);
  m.SetElement(1, 1, 2.0, false);
  m.SetElement(2, 2, 2.0 * (1 + 1e-15), true);
  EXPECT_EQ(m.GetClass(), Class::eScale1D);
  m.SetElement(0, 1, 1e-6, true);
  EXPECT_EQ(m.GetClass(), Class::eGeneral);
  EXPECT_NEAR(m.GetElement(0, 1, true), -1e-6 / 4, 1e-18);  // the kept inverse was refreshed
}

TEST(MMTransformMatrix, SingularInvertAnswersFalseAndKeepsTheMatrix) {
  Random rnd(5);
  std::vector<MMTransformMatrix> singular(4);
  singular[0].MakeScale1D(2);
  ASSERT_TRUE(singular[0].Invert());  // the inverse it keeps must not outlive the next change
  singular[0].MakeScale1D(0);
  singular[1].MakeScale3D(1, 0, 2);
  MMTransformMatrix turn;
  turn.MakeRotation({1, 2, 3}, {1, 1, 0}, 0.7);
  singular[2].MakeScale3D(2, 3, 0);
  singular[2].PreMultiply(turn);  // orthogonal class with a zero column
  Eigen::Matrix4d e = rnd.Make(Class::eGeneral).GetMatrix();
  e.col(1) = e.col(0) - e.col(3);
  singular[3].SetMatrix(e);
  // An affine one, whose 3x3 part alone is singular: inverted by the affine way.
  Eigen::Matrix4d a = rnd.Make(Class::eGeneral).GetMatrix();
  a.row(3) << 0, 0, 0, 1;
  a.col(2) = 2.0 * a.col(0);
  singular.emplace_back(a);
  for (MMTransformMatrix& m : singular) {
    Eigen::Matrix4d const before = m.GetMatrix();
    MMTransformMatrix::EMatrixClass const cls = m.GetClass();
    EXPECT_FALSE(m.HasInverse()) << before;
    EXPECT_FALSE(m.Invert()) << before;
    EXPECT_FALSE(m.InvertKept()) << before;
    EXPECT_EQ(m.GetMatrix(), before);
    EXPECT_EQ(m.GetClass(), cls);
    MMPoint3d<double> back;
    m.InverseTransform(back, {1, 2, 3});
    EXPECT_TRUE(std::isnan(back.x) && std::isnan(m.GetElement(0, 0, true)));
  }
}

TEST(MMTransformMatrix, ElementListsRunRowByRowAndScaleIsTheCubeRootOfTheVolume) {
  MMTransformMatrix m;
  m.MakeTranslation(7, 8, 9);
  double d[16];
  float f[16];
  m.ConvertToDouble16(d);
  m.ConvertFloat16(f);
  EXPECT_EQ(d[7], 8);
  EXPECT_EQ(f[11], 9.0f);
  m.MakeScale3D(2, -4, -1);
  EXPECT_DOUBLE_EQ(m.GetScale(), 2);
}

TEST(MMTransformMatrix, ProjectionsMapTheViewVolumeOntoTheUnitCube) {
  MMTransformMatrix ortho;
  ortho.MakeOrthoGraphicProjection(-2, 2, 1, -1, 1, -1);
  EXPECT_EQ(ortho.GetClass(), Class::eScale3D);
  EXPECT_TRUE(NearPoint(ortho(MMPoint3d<double>(-2, -1, -1)), {-1, -1, -1}));
  EXPECT_TRUE(NearPoint(ortho(MMPoint3d<double>(2, 1, 1)), {1, 1, 1}));

  MMTransformMatrix persp;
  persp.MakePerspectiveProjection(-2, 6, 3, -1, 10, 4, 30);
  EXPECT_EQ(persp.GetClass(), Class::eGeneral);
  auto at = [&persp](double x, double y, double z) { return persp(MMPoint3d<double>(x, y, z)); };
  // The rectangle at the middle depth 7 maps as the parallel projection maps it.
  EXPECT_TRUE(NearPoint(at(-2, -1, 7), {-1, -1, at(2, 1, 7).z}));
  EXPECT_TRUE(NearPoint(at(6, 3, 7), {1, 1, at(2, 1, 7).z}));
  EXPECT_NEAR(at(2, 1, 4).z, -1, 1e-12);
  EXPECT_NEAR(at(2, 1, 10).z, 1, 1e-12);
  // Nearer is larger, farther smaller, and depth grows with z.
  EXPECT_GT(at(6, 3, 4).x, 1);
  EXPECT_LT(at(6, 3, 10).x, 1);
  EXPECT_LT(at(2, 1, 6).z, at(2, 1, 8).z);
  MMPoint3d<double> back;
  persp.InverseTransform(back, at(0.5, 2, 9));
  EXPECT_TRUE(NearPoint(back, {0.5, 2, 9}));
}
