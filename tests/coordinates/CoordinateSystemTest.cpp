// The handle as a movable thing (degrees on the handle; radians or degrees on ITransformable as
// its operations say) and as a converter of points and vectors.

#include <gtest/gtest.h>

#include <functional>

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
  MTransformRepositoryEx& rep;
  MCoordinateSystem s = rep.CreateNewSystem(MMTransformMatrix(), rep.GetSystemMm());
};

TEST_F(CoordinateSystemHandle, MovesApplyAfterThePresentTransformInTheirUnitsAndOrder) {
  ITransformable& movable = s;
  struct Row {
    char const* name;
    std::function<void()> move;
    MMPoint3d<double> from, to;  // a point of s and where it lies in its parent afterwards
  };
  Row const rows[] = {
      {"move, then turn about z", [&] { s.Translate({1, 0, 0}), s.Rotate({0, 0, 0}, 0.f, 0.f, 90.f); }, {0, 0, 0},
       {0, 1, 0}},
      // x first, then y: (0, 1, 0) goes to (0, 0, 1), then to (1, 0, 0).
      {"handle angles in degrees", [&] { s.Rotate({0, 0, 0}, 90.f, 90.f, 0.f); }, {0, 1, 0}, {1, 0, 0}},
      {"handle axis in degrees", [&] { s.Rotate({1, 0, 0}, {0, 0, 1}, 90.f); }, {2, 0, 0}, {1, 1, 0}},
      {"handle rescale about a point", [&] { s.Rescale({1, 0, 0}, 2.f, 2.f, 2.f); }, {2, 0, 0}, {3, 0, 0}},
      // Three angles z first, then y, then x.
      {"ITransformable angles", [&] { movable.Rotate(MMPoint3d<double>(), 90.0, 90.0, 0.0); }, {0, 1, 0}, {0, 0, 1}},
      {"ITransformable axis in radians",
       [&] { movable.Rotate(MMPoint3d<double>(1, 0, 0), MMPoint3d<double>(0, 0, 1), 1.5707963267948966); },
       {2, 0, 0}, {1, 1, 0}},
      {"ITransformable rescale per axis", [&] { movable.Rescale(MMPoint3d<double>(1, 0, 0), 2.0, 3.0, 4.0); },
       {2, 1, 1}, {3, 3, 4}},
  };
  for (Row const& row : rows) {
    rep.ReplaceTransform(MMTransformMatrix(), s);
    row.move();
    EXPECT_TRUE(NearPoint(rep.GetTransform(s, rep.GetSystemMm())(row.from), row.to)) << row.name;
  }
}

TEST_F(CoordinateSystemHandle, PointsAndVectorsConvertIntoTheSystem) {
  // s: scale 2 after a move by 5 along x, in millimetres.
  s.Translate({5, 0, 0});
  s.Rescale({0, 0, 0}, 2.f, 2.f, 2.f);
  MCoordinateSystem const& mm = rep.GetSystemMm();
  MCoordinateSystem const none;
  MMPoint3d<double> out;
  rep.GetSystemStl().GetPoint3dCoordinateSystemToThis(out, {1, 2, 3}, nullptr);
  EXPECT_EQ(out, MMPoint3d<double>(10000, 20000, 30000)) << "null stands for millimetres";
  s.GetPoint3dCoordinateSystemToThis(out, {11, 2, 0}, &mm);
  EXPECT_TRUE(NearPoint(out, {0.5, 1, 0}));
  s.GetPoint3dCoordinateSystemToThis(out, {150000, 0, 0}, &none);
  EXPECT_TRUE(NearPoint(out, {2.5, 0, 0})) << "an undefined source of a point is the world";
  // A vector keeps the scale, not the move; a null or undefined source is millimetres.
  for (ICoordinateSystem const* source : std::initializer_list<ICoordinateSystem const*>{&mm, nullptr, &none}) {
    s.GetVector3dCoordinateSystemToThis(out, {11, 2, 0}, source);
    EXPECT_TRUE(NearPoint(out, {5.5, 1, 0}));
  }
}

}  // namespace
}  // namespace coordinates_test
