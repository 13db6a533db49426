// MCameraInteraction: the steps a navigation drag turns into, the ring that turns about the
// line of sight, the lock modes and the end of a drag.

#include <gtest/gtest.h>

#include <cmath>

#include "ostrum/foundation/stage/MCameraInteraction.h"

namespace {

const CRect kWindow(0, 0, 400, 200);

TEST(CameraInteraction, PanAndZoomStepsAreMeasuredFromThePreviousPointAndTheFirstZoomStepOnlyCentres) {
  MCameraInteraction interaction;
  interaction.Pan(CPoint(5, 5));
  EXPECT_EQ(interaction.GetDeltaX(), 0.0f) << "no step before the start";
  interaction.StartPan(CPoint(100, 100));
  EXPECT_TRUE(interaction.GetIsPanning());
  interaction.Pan(CPoint(110, 95));
  EXPECT_EQ(interaction.GetDeltaX(), 10.0f);
  EXPECT_EQ(interaction.GetDeltaY(), -5.0f);
  interaction.Pan(CPoint(111, 95));
  EXPECT_EQ(interaction.GetDeltaX(), 1.0f);
  EXPECT_EQ(interaction.GetDeltaY(), 0.0f);
  // A cursor put back by the program is no movement.
  interaction.OverridePreviousMousePosition(CPoint(2, 95));
  interaction.Pan(CPoint(4, 95));
  EXPECT_EQ(interaction.GetDeltaX(), 2.0f);
  EXPECT_TRUE(interaction.Stop());
  EXPECT_FALSE(interaction.Stop()) << "nothing runs any more";

  interaction.StartZoom(kWindow, CPoint(300, 150));
  EXPECT_EQ(interaction.GetZoomFactor(), 0.0f);
  EXPECT_EQ(interaction.GetZoomCenter(), CPoint(300, 150));
  interaction.Zoom(CPoint(310, 100));  // a quarter of the height up
  EXPECT_FLOAT_EQ(interaction.GetZoomFactor(), 2.0f);
  interaction.Zoom(CPoint(310, 125));
  EXPECT_FLOAT_EQ(interaction.GetZoomFactor(), std::exp2(-0.5f)) << "an eighth down";
  EXPECT_EQ(interaction.GetZoomCenter(), CPoint(300, 150)) << "the centre stays where the drag began";
  EXPECT_TRUE(interaction.Stop());
}

TEST(CameraInteraction, ARotationTurnsByTheShorterSideAndAPressInTheRingTurnsAboutTheLineOfSight) {
  MCameraInteraction interaction;
  interaction.StartRotate(kWindow, CPoint(200, 100));
  EXPECT_TRUE(interaction.GetIsRotating());
  EXPECT_FALSE(interaction.GetIsRotationZ());
  interaction.Rotate(CPoint(220, 110));
  // 180 degrees over the 200 pixels of the shorter side; right turns about -y, down about -x.
  EXPECT_FLOAT_EQ(interaction.GetDeltaY(), -18.0f);
  EXPECT_FLOAT_EQ(interaction.GetDeltaX(), -9.0f);
  EXPECT_EQ(interaction.GetDeltaZ(), 0.0f);
  EXPECT_TRUE(interaction.Stop());

  // Near the right edge: clockwise on the screen (down there) is a negative turn about z.
  interaction.StartRotate(kWindow, CPoint(390, 100));
  EXPECT_TRUE(interaction.GetIsRotationZ());
  interaction.Rotate(CPoint(390, 300));
  const float expected = -static_cast<float>(std::atan2(200.0, 190.0) * 180.0 / 3.14159265358979);
  EXPECT_NEAR(interaction.GetDeltaZ(), expected, 1e-4);
  EXPECT_EQ(interaction.GetDeltaX(), 0.0f);
  EXPECT_EQ(interaction.GetDeltaY(), 0.0f);
  interaction.Stop();
  EXPECT_FALSE(interaction.GetIsRotationZ());
}

TEST(CameraInteraction, LockModesKeepTheDragRunningButMakeItsStepsChangeNothing) {
  MCameraInteraction interaction;
  interaction.SetLockMode(MCameraInteraction::LOCK_ROTATION | MCameraInteraction::LOCK_PAN |
                          MCameraInteraction::LOCK_ZOOM);
  interaction.StartRotate(kWindow, CPoint(200, 100));
  interaction.Rotate(CPoint(250, 150));
  EXPECT_EQ(interaction.GetDeltaX(), 0.0f);
  EXPECT_EQ(interaction.GetDeltaY(), 0.0f);
  EXPECT_TRUE(interaction.Stop()) << "still a drag, not a click";
  interaction.StartPan(CPoint(10, 10));
  interaction.Pan(CPoint(30, 30));
  EXPECT_EQ(interaction.GetDeltaX(), 0.0f);
  interaction.Stop();
  interaction.StartZoom(kWindow, CPoint(10, 10));
  interaction.Zoom(CPoint(10, 0));
  EXPECT_EQ(interaction.GetZoomFactor(), 1.0f);
  interaction.Stop();

  // A turntable: no tilt, and the ring rotates as the middle does.
  interaction.SetLockMode(MCameraInteraction::LOCK_ROTATION_X | MCameraInteraction::LOCK_ROTATION_Z);
  interaction.StartRotate(kWindow, CPoint(395, 100));
  EXPECT_FALSE(interaction.GetIsRotationZ());
  interaction.Rotate(CPoint(375, 140));
  EXPECT_FLOAT_EQ(interaction.GetDeltaY(), 18.0f);
  EXPECT_EQ(interaction.GetDeltaX(), 0.0f);
  // A lock set during the drag takes effect at the next step.
  interaction.SetLockMode(MCameraInteraction::LOCK_ROTATION);
  interaction.Rotate(CPoint(300, 140));
  EXPECT_EQ(interaction.GetDeltaY(), 0.0f);
}

}  // namespace
