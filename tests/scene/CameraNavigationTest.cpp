// The camera's navigation: rotations about the computed centre, fitting the scene, zoom by a
// factor and by a rectangle with its limits, the pan and its limit, the clipping planes, making
// a point visible, and the scene's box. Expected values are worked out with Eigen or follow from
// what the window shows.

#include <gtest/gtest.h>

#include <cstdlib>
#include <list>

#include "CameraTestSupport.h"

namespace {

using namespace camera_test;

class MCameraNavigation : public CameraFixture {
 protected:
  MCameraNavigation() { camera.Reset(); }

  // The volume's six numbers.
  struct Sides {
    float left, bottom, right, top, near, far;
  };
  Sides Volume() const {
    Sides s;
    bool perspective;
    camera.GetViewVolume().GetViewVolume(s.left, s.bottom, s.right, s.top, s.near, s.far, perspective);
    return s;
  }
  Vec Eye(const Vec& world) const { return V(ToEye(camera, P(world))); }
  Eigen::Vector2d Pixel(const Vec& world) const { return XY(ToWindow(camera, P(world))); }

  MCamera camera;
  Body centred{Point(-5, -5, -5), Point(5, 5, 5)};
  Body off_centre{Point(0, 0, 0), Point(10, 10, 10)};
  std::list<IRender*> none;
};

// ---- rotations ----

TEST_F(MCameraNavigation, SetRotationTurnsAboutTheRotationCentreAndReplacesWhatWasThere) {
  camera.SetRotationCenter(Point(0, 0, 0));
  camera.SetRotation(0, 0, 90);
  EXPECT_TRUE(Near(Eye(Vec(1, 0, 0)), Vec(0, 1, 0), 1e-12));
  camera.SetRotationCenter(Point(0, 1, 0));
  camera.SetRotation(0, 0, 90);
  EXPECT_TRUE(Near(Eye(Vec(1, 0, 0)), Vec(1, 2, 0), 1e-12));
  camera.SetRotation(0, 90, 90);
  EXPECT_TRUE(Near(Eye(Vec(1, 0, 0)), Vec(0, 2, -1), 1e-12)) << "z first, then y";
  camera.SetRotation(180, 90, 90);
  EXPECT_TRUE(Near(Eye(Vec(1, 0, 0)), Vec(0, 0, 1), 1e-12)) << "then x";
  camera.SetRotation(12, -34, 56);
  EXPECT_TRUE(Near(Eye(Vec(3, -2, 7)), Apply(RotationZYX(12, -34, 56, Vec(0, 1, 0)), Vec(3, -2, 7)), 1e-12));
}

TEST_F(MCameraNavigation, RotateTurnsAfterWhatIsThereAboutTheCentreOfTheObjectsBox) {
  std::list<IRender*> objects{&centred};
  camera.StartRotation(objects, kDefaultScene);
  camera.Rotate(objects, 0, 0, 90);
  EXPECT_TRUE(Near(Eye(Vec(1, 0, 0)), Vec(0, 1, 0), 1e-6));
  camera.Rotate(objects, 0, 0, 90);
  EXPECT_TRUE(Near(Eye(Vec(1, 0, 0)), Vec(-1, 0, 0), 1e-6));

  camera.Reset();
  std::list<IRender*> off{&off_centre};
  camera.StartRotation(off, kDefaultScene);
  EXPECT_TRUE(Near(V(camera.GetRotationCenter()), Vec(5, 5, 5), 1e-6));
  camera.Rotate(off, 0, 0, 90);
  EXPECT_TRUE(Near(Eye(Vec(5, 0, 0)), Vec(10, 5, 0), 1e-5));
  camera.Rotate(off, 0, 0, 90);
  EXPECT_TRUE(Near(Eye(Vec(5, 0, 0)), Vec(5, 10, 0), 1e-5));
  camera.StartRotation(off, kDefaultScene);  // the box's centre, now seen from the turned eye
  camera.Rotate(off, 0, 0, 90);
  EXPECT_TRUE(Near(Eye(Vec(5, 0, 0)), Vec(0, 5, 0), 1e-5));

  // Over an empty scene nothing turns and the centre stays.
  const Mat before = MatrixOf(repository.GetTransform(repository.GetSystemRenderWorld(), camera.GetCoordinateSystemEye()));
  camera.StartRotation(none, kDefaultScene);
  camera.Rotate(none, 10, 20, 30);
  camera.RotateWorldZ(none, 10, 20, 30);
  EXPECT_TRUE(Near(V(camera.GetRotationCenter()), Vec(5, 5, 5), 1e-5));
  EXPECT_EQ(MatrixOf(repository.GetTransform(repository.GetSystemRenderWorld(), camera.GetCoordinateSystemEye())), before);
}

TEST_F(MCameraNavigation, TheRotationCentreIsTheBoxCentreSeenFromTheEyeInTheSceneAskedFor) {
  // A turned eye and an object in a placed system, visible in scene 7 only.
  std::mt19937 rng(3);
  const Mat placement = RandomPlacement(rng, 40);
  off_centre.SetCoordinateSystem(repository.CreateNewSystem(Matrix(placement), repository.GetSystemMm()));
  off_centre.SetVisible(false);
  off_centre.SetVisible(true, 7);
  camera.SetRotation(20, -50, 70);
  Eigen::Vector3d lo = Vec::Constant(1e30), hi = Vec::Constant(-1e30);
  for (int corner = 0; corner < 8; ++corner) {
    const Vec p = Eye(Apply(placement, Vec(corner & 1 ? 10 : 0, corner & 2 ? 10 : 0, corner & 4 ? 10 : 0)));
    lo = lo.cwiseMin(p);
    hi = hi.cwiseMax(p);
  }
  std::list<IRender*> objects{&centred, &off_centre};
  centred.SetVisible(false);
  camera.StartRotation(objects, 7);
  EXPECT_TRUE(Near(V(camera.GetRotationCenter()), (lo + hi) / 2, 1e-4));

  // Zoomed in, the centre would be the surface under the middle of the view; a camera without
  // a window finds none and takes the box of the default scene, where only `centred` shows.
  centred.SetVisible(true);
  camera.SetWindowRect(CRect(0, 0, 300, 300));
  camera.Unzoom(objects, 7);
  camera.Zoom(2.0f);
  ASSERT_TRUE(camera.IsZoomedIn());
  camera.StartRotation(objects, 7);
  EXPECT_TRUE(Near(V(camera.GetRotationCenter()), Eye(Vec(0, 0, 0)), 1e-4));
}

TEST_F(MCameraNavigation, RotateWorldZTurnsAboutTheMillimetreSystemsZAndTiltsAboutTheEyesX) {
  std::list<IRender*> objects{&centred};
  camera.StartRotation(objects, kDefaultScene);
  camera.RotateWorldZ(objects, 0, 90, 0);
  EXPECT_TRUE(Near(Eye(Vec(1, 0, 0)), Vec(0, -1, 0), 1e-6));
  camera.RotateWorldZ(objects, 90, 0, 0);
  EXPECT_TRUE(Near(Eye(Vec(1, 0, 0)), Vec(0, 0, 1), 1e-6));
  camera.RotateWorldZ(objects, 0, 90, 0);
  EXPECT_TRUE(Near(Eye(Vec(1, 0, 0)), Vec(-1, 0, 0), 1e-6));

  // Any steps about any centre, against the same turns composed with Eigen; the world's z axis
  // keeps its place in the eye under the turn alone.
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> angle(-60, 60), unit(-1, 1);
  Mat world_to_eye = MatrixOf(repository.GetTransform(repository.GetSystemRenderWorld(), camera.GetCoordinateSystemEye()));
  for (int step = 0; step < 20; ++step) {
    const Vec center(5 * unit(rng), 5 * unit(rng), 5 * unit(rng));
    camera.SetRotationCenter(P(center));
    const double x = angle(rng), y = angle(rng), z = angle(rng);
    camera.RotateWorldZ(objects, static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
    const Vec axis = world_to_eye.block<3, 3>(0, 0) * Vec::UnitZ();
    world_to_eye = Turn(center, Vec::UnitX(), -static_cast<float>(x)) * Turn(center, axis, -static_cast<float>(y)) *
                   Turn(center, Vec::UnitZ(), static_cast<float>(z)) * world_to_eye;
    ASSERT_TRUE(NearMatrix(
        MatrixOf(repository.GetTransform(repository.GetSystemRenderWorld(), camera.GetCoordinateSystemEye())),
        world_to_eye, 1e-9))
        << "step " << step;
  }
  const Vec z_before = Eye(Vec(0, 0, 1)) - Eye(Vec(0, 0, 0));
  camera.RotateWorldZ(objects, 0, 33, 0);
  EXPECT_TRUE(Near(Eye(Vec(0, 0, 1)) - Eye(Vec(0, 0, 0)), z_before, 1e-9));
}

// ---- fitting the scene ----

TEST_F(MCameraNavigation, UnzoomFitsTheHalfDiagonalOfTheBoxSeenFromTheEyeWhateverTheRotation) {
  camera.SetWindowRect(CRect(0, 0, 200, 100));
  std::list<IRender*> objects{&centred};
  camera.Unzoom(objects, kDefaultScene);
  EXPECT_FALSE(camera.IsZoomedIn());
  EXPECT_EQ(camera.GetZoomFactor(), 1.0f);
  double min_x = 1e9, max_x = -1e9, min_y = 1e9, max_y = -1e9;
  for (int corner = 0; corner < 8; ++corner) {
    const Eigen::Vector2d p = Pixel(Vec(corner & 1 ? 5 : -5, corner & 2 ? 5 : -5, corner & 4 ? 5 : -5));
    EXPECT_TRUE(p.x() > 0 && p.x() < 200 && p.y() > 0 && p.y() < 100) << p.transpose();
    min_x = std::min(min_x, p.x()), max_x = std::max(max_x, p.x());
    min_y = std::min(min_y, p.y()), max_y = std::max(max_y, p.y());
  }
  EXPECT_GT(max_x - min_x, 50);
  EXPECT_GT(max_y - min_y, 50);

  // A turned eye, an off-centre box and a tighter fit: the volume is the centre of the corners'
  // images plus and minus their half diagonal, shrunk by the percentage.
  camera.SetRotationCenter(Point(1, 2, 3));
  camera.SetRotation(25, 35, 45);
  camera.SetUnzoomFactor(20);
  M3DBoundingBox<float> box(MMPoint3d<float>(-4, 1, 2), MMPoint3d<float>(12, 7, 30));
  camera.Unzoom(box);
  const Vec a = Eye(Vec(-4, 1, 2)), b = Eye(Vec(12, 7, 30)), c = (a + b) / 2;
  const double r = (a - c).norm() * 0.8;
  const Sides s = Volume();
  EXPECT_TRUE(Near(Eigen::Matrix<double, 6, 1>(s.left, s.bottom, s.right, s.top, s.near, s.far),
                   Eigen::Matrix<double, 6, 1>(c.x() - r, c.y() - r, c.x() + r, c.y() + r, c.z() - r, c.z() + r), 1e-4));
  EXPECT_EQ(camera.GetZoomFactor(), 1.0f);
}

TEST_F(MCameraNavigation, UnzoomXYFitsTheBoxExactlyInXAndY) {
  camera.SetWindowRect(CRect(0, 0, 400, 200));
  Body flat(Point(-6, -2, 4), Point(6, 2, 4));
  std::list<IRender*> objects{&flat};
  camera.UnzoomXY(objects);
  const Sides s = Volume();
  EXPECT_TRUE(Near(Eigen::Vector4d(s.left, s.bottom, s.right, s.top), Eigen::Vector4d(-6, -2, 6, 2), 1e-6));
  EXPECT_TRUE(Near(Eigen::Vector2d(s.near, s.far), Eigen::Vector2d(3, 5), 1e-6)) << "a flat box gains depth";
  // 12 by 4 in a window of 2 to 1: the width fills the window.
  EXPECT_TRUE(Near(Pixel(Vec(-6, 0, 4)), Eigen::Vector2d(0, 100), 1e-6));
  EXPECT_TRUE(Near(Pixel(Vec(6, 0, 4)), Eigen::Vector2d(400, 100), 1e-6));
  EXPECT_EQ(camera.GetZoomFactor(), 1.0f);

  // Panoramic: the box taken in millimetres and its two corners brought into the turned eye.
  camera.SetRotation(0, 0, 90);
  camera.SetPanoramic(true);
  camera.UnzoomXY(objects);
  const Sides p = Volume();
  EXPECT_TRUE(Near(Eigen::Vector4d(p.left, p.bottom, p.right, p.top), Eigen::Vector4d(-2, -6, 2, 6), 1e-5));
}

// ---- zoom ----

TEST_F(MCameraNavigation, ZoomKeepsTheZoomCentreOnItsPixelAndMultipliesTheFactor) {
  camera.SetWindowRect(CRect(0, 0, 400, 300));
  std::list<IRender*> objects{&off_centre};
  camera.SetRotation(10, 20, 30);
  camera.Unzoom(objects, kDefaultScene);
  camera.SetZoomCenter(CPoint(300, 80));
  float point[3], direction[3];
  camera.GetMouseInSystemMmCoordinates(point, direction, 300, 80);
  const Vec under_centre = F3(point);
  camera.Zoom(2.0f);
  EXPECT_NEAR(camera.GetZoomFactor(), 2.0f, 1e-5);
  EXPECT_TRUE(camera.IsZoomedIn());
  EXPECT_TRUE(Near(Pixel(under_centre), Eigen::Vector2d(300, 80), 1e-3));
  camera.Zoom(1.5f);
  EXPECT_NEAR(camera.GetZoomFactor(), 3.0f, 1e-5);
  EXPECT_TRUE(Near(Pixel(under_centre), Eigen::Vector2d(300, 80), 1e-3));

  // Zoomed in is strictly above 1.5.
  Body wide(Point(-1.5, -1, -1), Point(1.5, 1, 1));
  std::list<IRender*> w{&wide};
  camera.SetRotation(0, 0, 0);
  camera.UnzoomXY(w);
  IVViewVolume volume;
  volume.SetViewVolume(-1, -1, 1, 1, -1, 1, false, true, true);
  camera.SetViewVolume(volume);
  EXPECT_EQ(camera.GetZoomFactor(), 1.5f);
  EXPECT_FALSE(camera.IsZoomedIn());
  volume.SetViewVolume(-0.999f, -1, 0.999f, 1, -1, 1, false, true, true);
  camera.SetViewVolume(volume);
  EXPECT_TRUE(camera.IsZoomedIn());
}

TEST_F(MCameraNavigation, ZoomByARectangleShowsItInTheWindow) {
  camera.SetWindowRect(CRect(0, 0, 400, 300));
  std::list<IRender*> objects{&centred};
  camera.Unzoom(objects, kDefaultScene);
  float point[3], direction[3];
  camera.GetMouseInSystemMmCoordinates(point, direction, 100, 50);
  const Vec top_left = F3(point);
  camera.GetMouseInSystemMmCoordinates(point, direction, 200, 125);
  const Vec bottom_right = F3(point);
  camera.Zoom(CRect(100, 50, 200, 125));  // the window's shape, a quarter of its width
  EXPECT_TRUE(Near(Pixel(top_left), Eigen::Vector2d(0, 0), 1e-3));
  EXPECT_TRUE(Near(Pixel(bottom_right), Eigen::Vector2d(400, 300), 1e-3));
  // The factor compares volumes: the unzoomed one is square and shows widened to 4:3.
  EXPECT_NEAR(camera.GetZoomFactor(), 3.0f, 1e-4);
}

TEST_F(MCameraNavigation, TheZoomLimitsHoldFromEitherSideAndZeroMeansNone) {
  camera.SetWindowRect(CRect(0, 0, 400, 300));
  std::list<IRender*> objects{&centred};
  camera.Unzoom(objects, kDefaultScene);
  const Sides unzoomed = Volume();

  // At factor 1 with a minimum of 1, zooming out keeps the view.
  camera.SetZoomLimits(1.0f, 0);
  camera.Zoom(0.5f);
  EXPECT_EQ(camera.GetZoomFactor(), 1.0f);
  EXPECT_EQ(Volume().left, unzoomed.left);

  camera.SetZoomLimits(0.5f, 4.0f);
  float min, max;
  camera.GetZoomLimits(min, max);
  EXPECT_EQ(min, 0.5f);
  EXPECT_EQ(max, 4.0f);
  // Up to the maximum in steps, from below: never past it, and ending on it.
  float previous = camera.GetZoomFactor();
  for (int i = 0; i < 12; ++i) {
    camera.Zoom(1.3f);
    EXPECT_GE(camera.GetZoomFactor(), previous * (1 - 1e-6f));
    EXPECT_LE(camera.GetZoomFactor(), 4.0f * (1 + 1e-6f));
    previous = camera.GetZoomFactor();
  }
  EXPECT_NEAR(camera.GetZoomFactor(), 4.0f, 1e-5);
  // Down to the minimum from above, in steps, and the whole way in one step each way.
  for (int i = 0; i < 12; ++i) {
    camera.Zoom(0.7f);
    EXPECT_LE(camera.GetZoomFactor(), previous * (1 + 1e-6f));
    EXPECT_GE(camera.GetZoomFactor(), 0.5f * (1 - 1e-6f));
    previous = camera.GetZoomFactor();
  }
  EXPECT_NEAR(camera.GetZoomFactor(), 0.5f, 1e-6);
  camera.Zoom(1000.0f);
  EXPECT_NEAR(camera.GetZoomFactor(), 4.0f, 1e-5);
  camera.Zoom(0.001f);
  EXPECT_NEAR(camera.GetZoomFactor(), 0.5f, 1e-6);

  // A rectangle: the maximum holds about the rectangle's centre; the minimum does not apply.
  camera.Zoom(2.0f);
  float point[3], direction[3];
  camera.GetMouseInSystemMmCoordinates(point, direction, 102, 61);
  const Vec centre = F3(point);
  camera.Zoom(CRect(100, 60, 104, 62));
  EXPECT_NEAR(camera.GetZoomFactor(), 4.0f, 1e-4);
  EXPECT_TRUE(Near(Pixel(centre), Eigen::Vector2d(200, 150), 1e-2));
  camera.Zoom(CRect(-4000, -3000, 4400, 3300));
  EXPECT_LT(camera.GetZoomFactor(), 0.5f * 0.9f);

  // Limits at 0.001 or below are none.
  camera.SetZoomLimits(0.001f, 0.0f);
  const float before = camera.GetZoomFactor();
  camera.Zoom(100.0f);
  EXPECT_NEAR(camera.GetZoomFactor(), 100 * before, 1e-3 * before);
}

// ---- pan ----

TEST_F(MCameraNavigation, APanMovesEveryPixelByTheDeltaInParallelAndThePlaneOfFarInPerspective) {
  camera.SetWindowRect(CRect(0, 0, 500, 300));
  std::list<IRender*> objects{&off_centre};
  camera.SetRotation(30, 0, 60);
  camera.Unzoom(objects, kDefaultScene);
  camera.Zoom(1.7f);
  const Vec points[] = {Vec(0, 0, 0), Vec(10, 3, -2), Vec(4, 9, 7)};
  Eigen::Vector2d before[3];
  for (int i = 0; i < 3; ++i) before[i] = Pixel(points[i]);
  camera.TranslateView(23, -11);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(Near(Pixel(points[i]), before[i] + Eigen::Vector2d(23, -11), 1e-3));

  camera.SetPerspective(true);
  const Sides s = Volume();
  const Vec eye_far((s.left + s.right) / 2 + 1, s.bottom + 2, s.far);
  const Mat eye_to_world =
      MatrixOf(repository.GetTransform(camera.GetCoordinateSystemEye(), repository.GetSystemRenderWorld()));
  const Vec on_far = Apply(eye_to_world, eye_far);
  const Eigen::Vector2d far_before = Pixel(on_far);
  camera.TranslateView(-17, 9);
  EXPECT_TRUE(Near(Pixel(on_far), far_before + Eigen::Vector2d(-17, 9), 1e-3));
}

TEST_F(MCameraNavigation, ThePanLimitStopsTheViewsEdgesInsideTheSceneFromEitherSide) {
  // A square window over the centred box: the scene reaches 5 to either side of the middle.
  camera.SetWindowRect(CRect(0, 0, 400, 400));
  std::list<IRender*> objects{&centred};
  camera.Unzoom(objects, kDefaultScene);
  camera.SetPanLimit(0.25f);
  EXPECT_EQ(camera.GetPanLimit(), 0.25f);
  const float width = Volume().right - Volume().left;

  // Within the limit a pan is a plain pan.
  const Eigen::Vector2d middle = Pixel(Vec(0, 0, 0));
  camera.TranslateView(12, 0);
  EXPECT_TRUE(Near(Pixel(Vec(0, 0, 0)), middle + Eigen::Vector2d(12, 0), 1e-3));

  // At zoom 1 the left edge stops a quarter short of the scene's right end, and the right edge
  // a quarter short of its left end.
  for (int i = 0; i < 3; ++i) camera.TranslateView(-3000, 0);
  EXPECT_NEAR(Volume().left, 2.5f, 1e-4);
  EXPECT_NEAR(Volume().right - Volume().left, width, 1e-4);
  for (int i = 0; i < 3; ++i) camera.TranslateView(3000, 0);
  EXPECT_NEAR(Volume().right, -2.5f, 1e-4);
  // One pan across the whole scene lands on the other stop.
  camera.TranslateView(-20000, 0);
  EXPECT_NEAR(Volume().left, 2.5f, 1e-3);

  // At zoom 2 the margin halves: an eighth of the scene.
  camera.Unzoom(objects, kDefaultScene);
  camera.Zoom(2.0f);
  camera.TranslateView(-5000, 0);
  EXPECT_NEAR(Volume().left, 3.75f, 1e-4);
  camera.TranslateView(5000, 0);
  EXPECT_NEAR(Volume().right, -3.75f, 1e-4);

  // No limit: the view goes where the pan takes it.
  camera.SetPanLimit(0.001f);
  camera.TranslateView(-5000, 0);
  EXPECT_GT(Volume().left, 20);
}

// ---- depth and visibility ----

TEST_F(MCameraNavigation, TheClippingPlanesHoldTheBoxSeenFromTheEyeWithAPercentToSpare) {
  camera.SetWindowRect(CRect(0, 0, 300, 200));
  std::list<IRender*> objects{&off_centre};
  camera.SetRotation(40, -25, 10);
  camera.Unzoom(objects, kDefaultScene);
  const Sides sides = Volume();
  camera.SetClippingPlanes(objects, kDefaultScene);
  double lo = 1e30, hi = -1e30;
  for (int corner = 0; corner < 8; ++corner) {
    const double z = Eye(Vec(corner & 1 ? 10 : 0, corner & 2 ? 10 : 0, corner & 4 ? 10 : 0)).z();
    lo = std::min(lo, z), hi = std::max(hi, z);
  }
  const double margin = (hi - lo) / 100;
  const Sides s = Volume();
  EXPECT_NEAR(s.near, lo - margin, 1e-4);
  EXPECT_NEAR(s.far, hi + margin, 1e-4);
  EXPECT_EQ((std::vector<float>{s.left, s.bottom, s.right, s.top}),
            (std::vector<float>{sides.left, sides.bottom, sides.right, sides.top}));
  // Every corner lies between the planes in the window: depth within (-w/2, w/2).
  for (int corner = 0; corner < 8; ++corner) {
    const double z = ToWindow(camera, Point(corner & 1 ? 10 : 0, corner & 2 ? 10 : 0, corner & 4 ? 10 : 0)).z;
    EXPECT_GT(z, -150);
    EXPECT_LT(z, 150);
  }
}

TEST_F(MCameraNavigation, EnsureVisibleCentresAPointOutsideTheInnerPartButNotPastTheScene) {
  camera.SetWindowRect(CRect(0, 0, 200, 200));
  Body wide(Point(-50, -5, -5), Point(50, 5, 5));
  std::list<IRender*> objects{&wide};
  camera.UnzoomXY(objects);  // the view from -50 to 50, also the unzoomed bounds
  camera.Zoom(4.0f);         // -12.5 to 12.5
  const Sides start = Volume();
  camera.EnsureVisible(0);
  EXPECT_EQ(Volume().left, start.left) << "the middle is visible";
  camera.EnsureVisible(9.9f);
  EXPECT_EQ(Volume().left, start.left) << "within the inner 80 percent";

  camera.EnsureVisible(20);
  EXPECT_NEAR(Volume().left, 7.5f, 1e-5) << "centred on it";
  EXPECT_NEAR(Volume().right, 32.5f, 1e-5);
  // Near the scene's end the view stops with its inner part at the end.
  camera.EnsureVisible(49);
  EXPECT_NEAR(Volume().right - 0.1f * 25, 50, 1e-4);
  camera.EnsureVisible(-49);
  EXPECT_NEAR(Volume().left + 0.1f * 25, -50, 1e-4);

  // A custom box bounds it instead.
  camera.SetCustomBBox(-20, -5, -5, 20, 5, 5);
  camera.EnsureVisible(45);
  EXPECT_NEAR(Volume().right - 0.1f * 25, 20, 1e-4);
}

// ---- the scene's box ----

TEST_F(MCameraNavigation, TheBoxMergesTheObjectsInTheSystemAskedForOrIsTheCustomBox) {
  std::mt19937 rng(8);
  const Mat placement = RandomPlacement(rng, 20);
  off_centre.SetCoordinateSystem(repository.CreateNewSystem(Matrix(placement), repository.GetSystemMm()));
  Body nothing(Point(1, 1, 1), Point(-1, -1, -1));  // reports no usable box
  std::list<IRender*> objects{&nothing, &centred, &off_centre};
  camera.SetRotation(15, 25, 35);
  M3DBoundingBox<float> box;
  camera.GetBBox(box, objects, camera.GetCoordinateSystemEye(), kDefaultScene);
  Eigen::Vector3d lo = Vec::Constant(1e30), hi = Vec::Constant(-1e30);
  for (int corner = 0; corner < 8; ++corner) {
    const Vec a = Eye(Vec(corner & 1 ? 5 : -5, corner & 2 ? 5 : -5, corner & 4 ? 5 : -5));
    const Vec b = Eye(Apply(placement, Vec(corner & 1 ? 10 : 0, corner & 2 ? 10 : 0, corner & 4 ? 10 : 0)));
    lo = lo.cwiseMin(a).cwiseMin(b);
    hi = hi.cwiseMax(a).cwiseMax(b);
  }
  EXPECT_TRUE(Near(V(Point(box.GetMin())), lo, 1e-4));
  EXPECT_TRUE(Near(V(Point(box.GetMax())), hi, 1e-4));

  // A scene that lost its objects keeps the last extent.
  M3DBoundingBox<float> again;
  camera.GetBBox(again, none, camera.GetCoordinateSystemEye(), kDefaultScene);
  EXPECT_EQ(again, box);

  camera.SetCustomBBox(-1, -2, -3, 4, 5, 6);
  camera.GetBBox(again, objects, repository.GetSystemMm(), kDefaultScene);
  EXPECT_EQ(again, M3DBoundingBox<float>(MMPoint3d<float>(-1, -2, -3), MMPoint3d<float>(4, 5, 6)));
  camera.SetCustomBBox(1, 0, 0, 1, 0, 0);  // no width in x: not in use
  again = M3DBoundingBox<float>();
  camera.GetBBox(again, objects, camera.GetCoordinateSystemEye(), kDefaultScene);
  EXPECT_EQ(again, box);
}

TEST(MCameraFreshProcess, TheBoxOfAnEmptySceneIsTheCubeFromMinusOneToOne) {
  // The last extent is kept for the whole process: only a fresh one shows where it starts.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        MCamera camera;
        std::list<IRender*> none;
        M3DBoundingBox<float> box;
        camera.GetBBox(box, none, MCoordinateSystem(), kDefaultScene);
        std::_Exit(box == M3DBoundingBox<float>(MMPoint3d<float>(-1, -1, -1), MMPoint3d<float>(1, 1, 1)) ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
