#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/geometry/MMPlaneEq.h"

TEST(M3DBoundingBox, EmptyIsUnusableAndExtendingMakesItUsable) {
  M3DBoundingBox<float> box;
  EXPECT_FALSE(box.IsUsable());
  box.Extend(MMPoint3d<float>(1, 2, 3));
  EXPECT_TRUE(box.IsUsable()) << "a one-point box is usable";
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

TEST(MMPlaneEq, DistanceIsSignedAlongTheNormalWhateverItsLength) {
  MMPlaneEq<double> const eq({0, 0, 5}, {0, 0, 2});
  EXPECT_DOUBLE_EQ(eq.Distance({1, 1, 8}), 3);
  EXPECT_DOUBLE_EQ(eq.Distance({7, -3, 4}), -1);
  MMPlaneEq<double> const tilted({1, 1, 0}, {1, 1, 0});
  EXPECT_NEAR(tilted.Distance({2, 2, 9}), std::sqrt(2.0), 1e-15);
  EXPECT_EQ(MMPlaneEq<double>({1, 2, 3}, {0, 0, 0}).Distance({4, 5, 6}), 0);
}
