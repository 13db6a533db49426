#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/geometry/MColor.h"
#include "ostrum/foundation/geometry/MMPlane.h"
#include "ostrum/foundation/geometry/MMPlaneEq.h"

TEST(M3DBoundingBox, EmptyIsUnusableAndExtendingMakesItUsable) {
  M3DBoundingBox<float> box;
  EXPECT_FALSE(box.IsUsable());
  EXPECT_EQ(box.GetMin(), MMPoint3d<float>(3.4028235e38f, 3.4028235e38f, 3.4028235e38f));
  EXPECT_EQ(box.GetMax(), MMPoint3d<float>(-3.4028235e38f, -3.4028235e38f, -3.4028235e38f));

  box.Extend(MMPoint3d<float>(1, 2, 3));
  EXPECT_TRUE(box.IsUsable()) << "a one-point box is usable";
  EXPECT_EQ(box.GetMin(), box.GetMax());

  box.Extend(M3DBoundingBox<float>());  // an empty box adds nothing
  EXPECT_EQ(box.GetMax(), MMPoint3d<float>(1, 2, 3));
  box.Extend(M3DBoundingBox<float>({-1, 5, 0}, {0, 6, 1}));
  EXPECT_EQ(box.GetMin(), MMPoint3d<float>(-1, 2, 0));
  EXPECT_EQ(box.GetMax(), MMPoint3d<float>(1, 6, 3));

  // One inverted axis, or a NaN bound, is enough to make a box unusable.
  EXPECT_FALSE(M3DBoundingBox<float>({0, 0, 1}, {1, 1, 0}).IsUsable());
  float const nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FALSE(M3DBoundingBox<float>({0, 0, nan}, {1, 1, 1}).IsUsable());
  box.MakeEmpty();
  EXPECT_EQ(box, M3DBoundingBox<float>());
}

TEST(MColor, NewColourIsUnsetAndThreeComponentsLeaveTheFourthUnset) {
  MColor const c;
  EXPECT_EQ(c, MColor(-1, -1, -1, -1));
  EXPECT_FALSE(c.IsSet());
  MColor const grey(0.5f, 0.5f, 0.5f);
  EXPECT_TRUE(grey.IsSet());
  EXPECT_EQ(grey.a, -1.0f);
}

TEST(MMPlaneEq, DistanceIsSignedAlongTheNormalWhateverItsLength) {
  MMPlane const plane({0, 0, 5}, {0, 0, 2});
  MMPlaneEq<double> const eq(plane.GetPoint(), plane.GetNormal());
  EXPECT_DOUBLE_EQ(eq.Distance({1, 1, 8}), 3);
  EXPECT_DOUBLE_EQ(eq.Distance({7, -3, 4}), -1);
  EXPECT_EQ(eq.Distance({2, 2, 5}), 0);
  MMPlaneEq<double> const tilted({1, 1, 0}, {1, 1, 0});
  EXPECT_NEAR(tilted.Distance({2, 2, 9}), std::sqrt(2.0), 1e-15);
  EXPECT_EQ(MMPlaneEq<double>({1, 2, 3}, {0, 0, 0}).Distance({4, 5, 6}), 0);
}
