// The handle as a movable thing (degrees on the handle; radians or degrees on ITransformable as
// its operations say) and as a converter of points and vectors.

#include <gtest/gtest.h>

#include <typeinfo>

#include "CoordinatesTestSupport.h"

namespace coordinates_test {
namespace {

class CoordinateSystemHandle : public ::testing::Test {
 protected:
  CoordinateSystemHandle() : rep(*MTransformRepositoryEx::CreateInstance()) {}
  ~CoordinateSystemHandle() override {
    s.SetUndefined();
    MTransformRepositoryEx::DeleteInstance();
  }
  // Where a point of s lies in its parent, after resetting s to the identity and applying `move`.
  template <class Move>
  MMPoint3d<double> Moved(Move move, MMPoint3d<double> const& p) {
    rep.ReplaceTransform(MMTransformMatrix(), s);
    move();
    return rep.GetTransform(s, rep.GetSystemMm())(p);
  }

  MTransformRepositoryEx& rep;
  MCoordinateSystem s = rep.CreateNewSystem(MMTransformMatrix(), rep.GetSystemMm());
};

TEST_F(CoordinateSystemHandle, MovesApplyAfterThePresentTransformInDegrees) {
  auto move_then_turn = [&] {
    s.Translate({1, 0, 0});
    s.Rotate({0, 0, 0}, 0.f, 0.f, 90.f);
  };
  EXPECT_TRUE(NearPoint(Moved(move_then_turn, {0, 0, 0}), {0, 1, 0}));
  // x first, then y: (0, 1, 0) goes to (0, 0, 1), then to (1, 0, 0).
  EXPECT_TRUE(NearPoint(Moved([&] { s.Rotate({0, 0, 0}, 90.f, 90.f, 0.f); }, {0, 1, 0}), {1, 0, 0}));
  EXPECT_TRUE(NearPoint(Moved([&] { s.Rotate({1, 0, 0}, {0, 0, 1}, 90.f); }, {2, 0, 0}), {1, 1, 0}));
  EXPECT_TRUE(NearPoint(Moved([&] { s.Rescale({1, 0, 0}, 2.f, 2.f, 2.f); }, {1, 0, 0}), {1, 0, 0}));
  EXPECT_TRUE(NearPoint(Moved([&] { s.Rescale({1, 0, 0}, 2.f, 2.f, 2.f); }, {2, 0, 0}), {3, 0, 0}));

  // Through ITransformable: three angles z first, then y, then x; the axis form in radians.
  ITransformable& movable = s;
  EXPECT_TRUE(NearPoint(Moved([&] { movable.Rotate(MMPoint3d<double>(), 90.0, 90.0, 0.0); }, {0, 1, 0}),
                        {0, 0, 1}));
  EXPECT_TRUE(NearPoint(
      Moved([&] { movable.Rotate(MMPoint3d<double>(1, 0, 0), MMPoint3d<double>(0, 0, 1), 1.5707963267948966); },
            {2, 0, 0}),
      {1, 1, 0}));
  EXPECT_TRUE(NearPoint(Moved([&] { movable.Rescale(MMPoint3d<double>(1, 0, 0), 2.0, 3.0, 4.0); }, {2, 1, 1}),
                        {3, 3, 4}));
}

// A transform that is no matrix.
class NotAMatrix : public MMTransform {
 public:
  MMTransform* Clone() const override { return new NotAMatrix; }
  bool Invert() override { return true; }
  bool IsIdentity() const override { return true; }
  void ConvertDouble16(double* out) const override {
    for (int i = 0; i < 16; ++i) out[i] = i % 5 == 0;
  }

 protected:
  void _Apply(double* out, double const* in, bool) const override { std::copy(in, in + 3, out); }
  void _ApplyInverse(double* out, double const* in, bool) const override { std::copy(in, in + 3, out); }
};

TEST_F(CoordinateSystemHandle, OnlyMatricesMoveASystem) {
  EXPECT_THROW(s.Transform(static_cast<MMTransform const&>(NotAMatrix())), std::bad_cast);
  MCoordinateSystem none;
  none.Translate({1, 2, 3});  // nothing to move, and no fault
  rep.ReplaceTransform(NotAMatrix(), s);
  s.Translate({1, 0, 0});
  EXPECT_EQ(rep.AccessTransformMatrix(s), nullptr);
  EXPECT_EQ(X(rep.GetTransform(s, rep.GetSystemMm()), 5), 5.0);
}

TEST_F(CoordinateSystemHandle, PointsAndVectorsConvertIntoTheSystem) {
  // s: scale 2 after a move by 5 along x, in millimetres.
  s.Translate({5, 0, 0});
  s.Rescale({0, 0, 0}, 2.f, 2.f, 2.f);
  MCoordinateSystem const& mm = rep.GetSystemMm();
  MCoordinateSystem const none;
  MMPoint3d<double> out;
  mm.GetPoint3dCoordinateSystemToThis(out, {1, 2, 3}, nullptr);
  EXPECT_EQ(out, MMPoint3d<double>(1, 2, 3)) << "null stands for millimetres";
  rep.GetSystemStl().GetPoint3dCoordinateSystemToThis(out, {1, 2, 3}, nullptr);
  EXPECT_EQ(out, MMPoint3d<double>(10000, 20000, 30000));
  s.GetPoint3dCoordinateSystemToThis(out, {11, 2, 0}, &mm);
  EXPECT_TRUE(NearPoint(out, {0.5, 1, 0}));
  s.GetPoint3dCoordinateSystemToThis(out, {150000, 0, 0}, &none);
  EXPECT_TRUE(NearPoint(out, {2.5, 0, 0})) << "an undefined source of a point is the world";
  // A vector keeps the scale, not the move; a null or undefined source is millimetres.
  ICoordinateSystem const* const sources[] = {&mm, nullptr, &none};
  for (ICoordinateSystem const* source : sources) {
    s.GetVector3dCoordinateSystemToThis(out, {11, 2, 0}, source);
    EXPECT_TRUE(NearPoint(out, {5.5, 1, 0}));
  }
}

}  // namespace
}  // namespace coordinates_test
