// The camera as two systems of the repository: its set-up and projection, the mouse brought
// into objects and back for random placements, windows and views, the cache while objects and
// the eye move in turn, mementos, and the repository deleted under a camera. Expected values
// are products of Eigen matrices made here (CameraTestSupport.h).

#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <random>

#include "CameraTestSupport.h"
#include "coordinates/AllocationCount.h"
#include "ostrum/scene/MCameraMemento.h"

namespace {

using namespace camera_test;

// ---- the view volume ----

TEST(IVViewVolume, PutsEachPairInOrderAndRecentersOnlyWhenAsked) {
  IVViewVolume volume;
  float l, b, r, t, n, f, parameter, x, y;
  bool perspective;
  volume.GetViewVolume(l, b, r, t, n, f, parameter, perspective);
  EXPECT_EQ((std::vector<float>{l, b, r, t, n, f, parameter}), (std::vector<float>{-1, -1, 1, 1, -1, 1, 1}));
  EXPECT_FALSE(perspective);
  EXPECT_TRUE(volume.IsParallelProjection() && volume.IsKeepAspect());

  volume.SetViewVolume(2, 0, -2, 1, 5, -5, true, true, false);
  volume.GetViewVolume(l, b, r, t, n, f, parameter, perspective);
  EXPECT_EQ((std::vector<float>{l, b, r, t, n, f, parameter}), (std::vector<float>{-2, 0, 2, 1, -5, 5, 0}));
  EXPECT_TRUE(perspective && volume.IsPerspectiveProjection() && !volume.IsKeepAspect());
  volume.GetPerspectiveCenter(x, y);
  EXPECT_EQ(x, 0.0f);
  EXPECT_EQ(y, 0.5f);

  volume.SetViewVolume(10, 20, 30, 40, 0, 1, 7.5f, false, false, true);
  volume.GetPerspectiveCenter(x, y);
  EXPECT_EQ(x, 0.0f) << "the box moved, the centre stays";
  EXPECT_EQ(y, 0.5f);
  parameter = -3;
  volume.GetViewVolume(l, b, r, t, n, f, perspective);
  volume.GetViewVolume(l, b, r, t, n, f, parameter, perspective);
  EXPECT_EQ(parameter, 7.5f) << "reading six numbers leaves the seventh";

  IVViewVolume other = volume;
  EXPECT_EQ(other, volume);
  other.SetViewVolume(10, 20, 30, 40, 0, 1, 7.25f, false, false, true);
  EXPECT_NE(other, volume) << "the seventh number counts";
  other.SetViewVolume(10, 20, 30, 40, 0, 1, 7.5f, false, true, true);
  EXPECT_NE(other, volume) << "so does the perspective centre";
}

// ---- set-up and projection ----

using MCameraSetup = CameraFixture;

TEST_F(MCameraSetup, ANewCameraIsUndefinedUntilResetAndThenLooksDownTheWorldsAxes) {
  MCamera camera;
  EXPECT_FALSE(camera.AreCoordinateSystemsValid());
  EXPECT_EQ(camera.GetParentView(), nullptr);
  CRect rect;
  camera.GetWindowRect(rect);
  EXPECT_EQ((std::vector<long>{rect.left, rect.top, rect.right, rect.bottom}), (std::vector<long>{-1, 1, 1, -1}));
  EXPECT_EQ(camera.GetViewVolume(), IVViewVolume());
  EXPECT_FALSE(camera.IsZoomedIn());
  EXPECT_FALSE(camera.IsPanoramic());

  const std::size_t systems = repository.GetNumberOfSystems();
  camera.Reset();
  ASSERT_TRUE(camera.AreCoordinateSystemsValid());
  EXPECT_EQ(repository.GetNumberOfSystems(), systems + 2);
  EXPECT_TRUE(camera.GetCoordinateSystemEye().ChildOf(repository.GetSystemRenderWorld(), true));
  EXPECT_TRUE(camera.GetCoordinateSystemWindow().ChildOf(camera.GetCoordinateSystemEye(), true));
  EXPECT_EQ(camera.GetCoordinateSystemEye().GetUnit(), L"camera.view");
  EXPECT_EQ(camera.GetCoordinateSystemWindow().GetUnit(), L"camera.window");
  EXPECT_TRUE(repository.GetTransform(repository.GetSystemRenderWorld(), camera.GetCoordinateSystemEye()).IsIdentity());
  EXPECT_EQ(camera.GetRotationCenter(), Point());
  // The corners of the volume on the corners of the window rect (-1, 1) and (1, -1).
  EXPECT_TRUE(Near(V(ToWindow(camera, Point(-1, -1, 0))), Vec(-1, 1, 0), 10 * 1.1920929e-7));
  EXPECT_TRUE(Near(V(ToWindow(camera, Point(1, 1, 0))), Vec(1, -1, 0), 10 * 1.1920929e-7));

  // Each reset makes a new pair, and the old pair goes with its handles.
  const MCoordinateSystem first_eye = camera.GetCoordinateSystemEye();
  camera.Reset();
  EXPECT_NE(camera.GetCoordinateSystemEye(), first_eye);
  EXPECT_EQ(repository.GetNumberOfSystems(), systems + 3) << "the first eye lives on in this test's handle only";
  // With cached systems a reset keeps the pair and puts its transforms back.
  camera.SetCacheCoordinateSystems(true);
  const MCoordinateSystem eye = camera.GetCoordinateSystemEye(), window = camera.GetCoordinateSystemWindow();
  camera.SetRotation(30, 40, 50);
  camera.Reset();
  EXPECT_EQ(camera.GetCoordinateSystemEye(), eye);
  EXPECT_EQ(camera.GetCoordinateSystemWindow(), window);
  EXPECT_TRUE(repository.GetTransform(repository.GetSystemRenderWorld(), eye).IsIdentity());

  // A reset onto an eye of the host's: the window comes anew below it.
  MCoordinateSystem hosts = repository.CreateNewSystem(Matrix(Translation(Vec(1, 2, 3))), eye);
  camera.Reset(hosts);
  EXPECT_EQ(camera.GetCoordinateSystemEye(), hosts);
  EXPECT_TRUE(camera.GetCoordinateSystemWindow().ChildOf(hosts, true));
  EXPECT_NE(camera.GetCoordinateSystemWindow(), window);
  // A reset with a matrix puts it in the eye, which takes the eye into the render world.
  camera.SetCacheCoordinateSystems(false);
  MMTransformMatrix placed = Matrix(RotationZYX(5, 6, 7, Vec(1, 1, 1)));
  camera.Reset(placed);
  EXPECT_TRUE(NearMatrix(
      MatrixOf(repository.GetTransform(camera.GetCoordinateSystemEye(), repository.GetSystemRenderWorld())),
      RotationZYX(5, 6, 7, Vec(1, 1, 1)), 1e-12));
}

TEST_F(MCameraSetup, TheProjectionSwitchKeepsTheVolumesNumbersAndCentre) {
  MCamera camera;
  Open(camera, 300, 200);
  IVViewVolume volume;
  volume.SetViewVolume(-3, -1, 5, 4, 2, 9, false, true, false);
  camera.SetViewVolume(volume);
  camera.SetPerspective(true);
  float l, b, r, t, n, f, x, y;
  bool perspective;
  camera.GetViewVolume().GetViewVolume(l, b, r, t, n, f, perspective);
  EXPECT_EQ((std::vector<float>{l, b, r, t, n, f}), (std::vector<float>{-3, -1, 5, 4, 2, 9}));
  EXPECT_TRUE(perspective);
  EXPECT_TRUE(camera.GetViewVolume().IsKeepAspect());
  camera.GetViewVolume().GetPerspectiveCenter(x, y);
  EXPECT_EQ(x, 1.0f);
  EXPECT_EQ(y, 1.5f);
  // Both projections frame the volume's middle depth alike.
  const Point middle(-3, 4, 5.5);
  const Point seen = ToWindow(camera, middle);
  camera.SetPerspective(false);
  EXPECT_TRUE(Near(XY(ToWindow(camera, middle)), XY(seen), 1e-9));
}

TEST_F(MCameraSetup, AWindowOf200By100ShowsTheDefaultVolumeWidenedInX) {
  MCamera camera;
  Open(camera, 200, 100);
  EXPECT_TRUE(Near(XY(ToWindow(camera, Point(-1, -1, -1))), Eigen::Vector2d(50, 100), 1e-9));
  EXPECT_TRUE(Near(XY(ToWindow(camera, Point(1, 1, 1))), Eigen::Vector2d(150, 0), 1e-9));
  EXPECT_TRUE(Near(XY(ToWindow(camera, Point(-2, 1, 0))), Eigen::Vector2d(0, 0), 1e-9))
      << "x runs from -2 to 2";
}

TEST_F(MCameraSetup, TheEyesMatrixIsSetFromTheWorldAndReadTowardsIt) {
  MCamera camera;
  Open(camera, 300, 200);
  MMTransformMatrix world_to_eye;
  world_to_eye.MakeScale3D(2, 4, 1);
  camera.SetTransformationWorldToEye(world_to_eye);
  EXPECT_TRUE(Near(V(ToEye(camera, Point(1, 1, 1))), Vec(2, 4, 1), 1e-12));
  EXPECT_TRUE(NearMatrix(MatrixOf(camera.GetTransformationWorldToEye()), MatrixOf(world_to_eye).inverse(), 1e-12))
      << "the node's own matrix, from the eye to the world";

  const Mat rotation = RotationZYX(10, 20, 30, Vec(1, 2, 3));
  MMTransformMatrix m = Matrix(rotation);
  camera.SetTransformationWorldToEye(m);
  const Point vector = camera.GetEyeVector();
  EXPECT_TRUE(Near(V(vector), rotation.block<1, 3>(2, 0).transpose(), 1e-12))
      << "the third row of the world-to-eye matrix: the world seen along the eye's z";
}

TEST_F(MCameraSetup, AVolumeWithoutDepthLeavesTheWindowAsItWas) {
  MCamera camera;
  Open(camera, 320, 240);
  const Mat before = MatrixOf(repository.GetTransform(camera.GetCoordinateSystemEye(), camera.GetCoordinateSystemWindow()));
  IVViewVolume flat;
  flat.SetViewVolume(-3, -3, 5, 5, 2, 2, false, true, true);
  camera.SetViewVolume(flat);
  EXPECT_EQ(camera.GetViewVolume(), flat);
  EXPECT_EQ(MatrixOf(repository.GetTransform(camera.GetCoordinateSystemEye(), camera.GetCoordinateSystemWindow())),
            before);
}

// ---- the mouse into objects and back ----

// A random view: a window, a projection, a volume fitted to a box, turned, zoomed and panned.
// The eye's transform is returned as the product made here.
Mat RandomView(MCamera& camera, std::mt19937& rng, bool perspective) {
  std::uniform_int_distribution<int> size(60, 1600);
  std::uniform_real_distribution<double> unit(-1, 1), angle(-180, 180);
  const CRect rect(0, 0, size(rng), size(rng));
  camera.SetWindowRect(rect);
  camera.SetPerspective(perspective);
  const Vec center(20 * unit(rng), 20 * unit(rng), 20 * unit(rng));
  camera.SetRotationCenter(P(center));
  const double x = angle(rng), y = angle(rng), z = angle(rng);
  camera.SetRotation(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
  M3DBoundingBox<float> box(MMPoint3d<float>(-40, -30, -20), MMPoint3d<float>(35, 45, 25));
  camera.Unzoom(box);
  camera.SetZoomCenter(CPoint(static_cast<int>(rect.Width() * (0.5 + 0.4 * unit(rng))),
                              static_cast<int>(rect.Height() * (0.5 + 0.4 * unit(rng)))));
  camera.Zoom(static_cast<float>(1.5 + unit(rng)));
  camera.TranslateView(static_cast<float>(30 * unit(rng)), static_cast<float>(30 * unit(rng)));
  return RotationZYX(x, y, z, center);
}

using MCameraMouse = CameraFixture;

TEST_F(MCameraMouse, APixelGoesIntoAnyObjectAndBackForRandomPlacementsWindowsAndViews) {
  std::mt19937 rng(20240611);
  std::uniform_real_distribution<double> unit(0, 1);
  MCamera camera;
  camera.Reset();
  const MCoordinateSystem& mm = repository.GetSystemMm();
  for (int round = 0; round < 60; ++round) {
    const bool perspective = round % 2 == 1;
    const Mat world_to_eye = RandomView(camera, rng, perspective);
    CRect rect;
    camera.GetWindowRect(rect);
    // The object two systems below the millimetre system.
    const Mat upper = RandomPlacement(rng, 100), lower = RandomPlacement(rng, 30);
    const MCoordinateSystem parent = repository.CreateNewSystem(Matrix(upper), mm);
    Body object(Point(-1, -1, -1), Point(1, 1, 1));
    object.SetCoordinateSystem(repository.CreateNewSystem(Matrix(lower), parent));

    const Mat to_window = EyeToWindow(camera.GetViewVolume(), rect) * world_to_eye * upper * lower;
    ASSERT_TRUE(NearMatrix(MatrixOf(repository.GetTransform(object.GetCoordinateSystem(), camera.GetCoordinateSystemWindow())),
                           to_window, 1e-6))
        << "round " << round << (perspective ? ", perspective" : ", parallel");

    for (int i = 0; i < 4; ++i) {
      const long x = static_cast<long>(unit(rng) * rect.Width()), y = static_cast<long>(unit(rng) * rect.Height());
      float point[3], direction[3];
      ASSERT_TRUE(camera.GetMouseInObjectCoordinates(point, direction, x, y, &object));
      const Vec near = Apply(to_window.inverse(), Vec(x, y, -1)), far = Apply(to_window.inverse(), Vec(x, y, 1));
      const double scale = 1 + std::max(near.cwiseAbs().maxCoeff(), far.cwiseAbs().maxCoeff());
      EXPECT_TRUE(Near(F3(point), near, 1e-5 * scale)) << "round " << round << ", pixel " << x << ", " << y;
      EXPECT_TRUE(Near(F3(direction), far - near, 1e-5 * scale)) << "round " << round;
      // The same numbers as the transform's own inverse application, to the bit.
      float same[3];
      repository.GetTransform(object.GetCoordinateSystem(), camera.GetCoordinateSystemWindow())
          .InverseTransform(same, static_cast<float>(x), static_cast<float>(y), -1.0f);
      EXPECT_EQ(F3(point), F3(same)) << "round " << round;
      // Any point of the ray goes back to the pixel.
      for (const double along : {0.0, 0.3, 1.0}) {
        const Vec on_ray = F3(point) + along * F3(direction);
        EXPECT_TRUE(Near(Apply(to_window, on_ray).head<2>(), Eigen::Vector2d(x, y), 2e-3))
            << "round " << round << ", " << along << " along the ray";
      }
    }
  }
}

TEST_F(MCameraMouse, APixelInTheEyeAndInMillimetresIsThePixelAtDepthZero) {
  std::mt19937 rng(77);
  MCamera camera;
  camera.Reset();
  for (const bool perspective : {false, true}) {
    const Mat world_to_eye = RandomView(camera, rng, perspective);
    CRect rect;
    camera.GetWindowRect(rect);
    const Mat eye_to_window = EyeToWindow(camera.GetViewVolume(), rect);
    const long x = rect.Width() / 3, y = rect.Height() / 4;
    const Vec eye = Apply(eye_to_window.inverse(), Vec(x, y, 0));
    float point[3], direction[3];
    camera.GetMouseInEyeCoordinates(point, direction, x, y);
    EXPECT_TRUE(Near(F3(point), eye, 1e-4 * (1 + eye.norm())));
    EXPECT_EQ(F3(direction), Vec(0, 0, 1));

    // In millimetres: the eye point with its depth dropped; the direction stays the eye's.
    camera.GetMouseInSystemMmCoordinates(point, direction, x, y);
    const Vec mm = Apply(world_to_eye.inverse(), Vec(eye.x(), eye.y(), 0));
    EXPECT_TRUE(Near(F3(point), mm, 1e-4 * (1 + mm.norm())));
    EXPECT_EQ(F3(direction), Vec(0, 0, 1));

    // The ray: from depth 0 towards depth -1, not normalised.
    camera.GetRayInSystemMmCoordinates(point, direction, x, y);
    const Vec start = Apply(world_to_eye.inverse(), eye);
    const Vec towards = Apply(world_to_eye.inverse(), Apply(eye_to_window.inverse(), Vec(x, y, -1)));
    EXPECT_TRUE(Near(F3(point), start, 1e-4 * (1 + start.norm())));
    EXPECT_TRUE(Near(F3(direction), towards - start, 1e-4 * (1 + towards.norm())));
  }
}

TEST_F(MCameraMouse, AConversionFromTheWarmCacheAllocatesNothing) {
  MCamera camera;
  Open(camera, 640, 480);
  Body object(Point(-1, -1, -1), Point(1, 1, 1));
  object.SetCoordinateSystem(repository.CreateNewSystem(Matrix(RotationZYX(10, 20, 30)), repository.GetSystemMm()));
  float point[3], direction[3];
  camera.GetMouseInObjectCoordinates(point, direction, 10, 20, &object);
  camera.GetMouseInSystemMmCoordinates(point, direction, 10, 20);
  camera.GetRayInSystemMmCoordinates(point, direction, 10, 20);
  const long before = coordinates_test::AllocationCount();
  for (long x = 0; x < 100; ++x) {
    camera.GetMouseInObjectCoordinates(point, direction, x, 2 * x, &object);
    camera.GetMouseInEyeCoordinates(point, direction, x, 2 * x);
    camera.GetMouseInSystemMmCoordinates(point, direction, x, 2 * x);
    camera.GetRayInSystemMmCoordinates(point, direction, x, 2 * x);
  }
  EXPECT_EQ(coordinates_test::AllocationCount(), before);
}

// The eye, the window and an object's systems move in turn, in every way the repository offers;
// after each move the conversions answer from the cache what the product of the present
// matrices gives.
TEST_F(MCameraMouse, TheCacheNeverServesAProductThatAMoveOfTheObjectOrTheEyeMadeStale) {
  std::mt19937 rng(5);
  std::uniform_real_distribution<double> unit(-1, 1), angle(-90, 90);
  const MCoordinateSystem& mm = repository.GetSystemMm();
  MCamera camera;
  Open(camera, 500, 400);
  Body object(Point(-20, -20, -20), Point(20, 20, 20));
  std::list<IRender*> objects{&object};
  Mat placement[3] = {RandomPlacement(rng, 50), RandomPlacement(rng, 50), RandomPlacement(rng, 50)};
  MCoordinateSystem first = repository.CreateNewSystem(Matrix(placement[0]), mm);
  MCoordinateSystem second = repository.CreateNewSystem(Matrix(placement[1]), mm);
  MCoordinateSystem own = repository.CreateNewSystem(Matrix(placement[2]), first);
  MCoordinateSystem other = repository.CreateNewSystem(Matrix(RandomPlacement(rng, 50)), mm);
  Mat other_placement = MatrixOf(repository.GetTransform(other, mm));
  object.SetCoordinateSystem(own);
  int parent = 0;           // 0: own hangs below first, 1: below second
  bool on_other = false;    // the object uses `other` instead of `own`
  M3DBoundingBox<float> fit(MMPoint3d<float>(-100, -100, -100), MMPoint3d<float>(100, 100, 100));
  camera.Unzoom(fit);
  Mat world_to_eye = Mat::Identity();
  Vec center = Vec::Zero();

  for (int step = 0; step < 400; ++step) {
    const int move = static_cast<int>(rng() % 12);
    switch (move) {
      case 0:
        placement[2] = RandomPlacement(rng, 50);
        repository.ReplaceTransform(Matrix(placement[2]), own);
        break;
      case 1: {
        const Vec d(unit(rng), unit(rng), unit(rng));
        own.Translate(P(d));
        placement[2] = Translation(d) * placement[2];
        break;
      }
      case 2: {
        const Vec c(unit(rng), unit(rng), unit(rng)), axis(unit(rng), unit(rng), 1);
        const float degrees = static_cast<float>(angle(rng));
        (parent == 0 ? first : second).Rotate(P(c), P(axis), degrees);
        placement[parent] = Turn(c, axis, degrees) * placement[parent];
        break;
      }
      case 3:
        placement[parent] = RandomPlacement(rng, 50);
        *repository.AccessTransformMatrix(parent == 0 ? first : second) = Matrix(placement[parent]);
        break;
      case 4:
        parent = 1 - parent;
        repository.SetDependentCoordinateSystem(own, parent == 0 ? first : second);
        break;
      case 5:
        on_other = !on_other;
        object.SetCoordinateSystem(on_other ? other : own);
        break;
      case 6: {
        center = Vec(10 * unit(rng), 10 * unit(rng), 10 * unit(rng));
        camera.SetRotationCenter(P(center));
        const double x = angle(rng), y = angle(rng), z = angle(rng);
        camera.Rotate(objects, static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
        world_to_eye = RotationZYX(x, y, z, center) * world_to_eye;
        break;
      }
      case 7: {
        const double x = angle(rng), y = angle(rng), z = angle(rng);
        camera.RotateWorldZ(objects, static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
        const Vec axis = world_to_eye.block<3, 3>(0, 0) * Vec::UnitZ();
        world_to_eye = Turn(center, Vec::UnitX(), -x) * Turn(center, axis, -y) * Turn(center, Vec::UnitZ(), z) *
                       world_to_eye;
        break;
      }
      case 8:
        camera.Zoom(static_cast<float>(1 + 0.2 * unit(rng)));
        break;
      case 9:
        camera.TranslateView(static_cast<float>(20 * unit(rng)), static_cast<float>(20 * unit(rng)));
        break;
      case 10:
        camera.SetWindowRect(CRect(0, 0, 200 + static_cast<int>(rng() % 800), 200 + static_cast<int>(rng() % 600)));
        break;
      case 11:
        camera.SetPerspective(!camera.GetViewVolume().IsPerspectiveProjection());
        break;
    }
    CRect rect;
    camera.GetWindowRect(rect);
    const Mat object_to_mm = on_other ? other_placement : placement[parent] * placement[2];
    const Mat to_window = EyeToWindow(camera.GetViewVolume(), rect) * world_to_eye * object_to_mm;
    const Mat back = to_window.inverse();
    for (int again = 0; again < 2; ++again) {
      const long x = static_cast<long>(rng() % rect.Width()), y = static_cast<long>(rng() % rect.Height());
      float point[3], direction[3];
      camera.GetMouseInObjectCoordinates(point, direction, x, y, &object);
      const Vec near = Apply(back, Vec(x, y, -1)), far = Apply(back, Vec(x, y, 1));
      const double scale = 1 + std::max(near.cwiseAbs().maxCoeff(), far.cwiseAbs().maxCoeff());
      ASSERT_TRUE(Near(F3(point), near, 1e-5 * scale)) << "step " << step << ", move " << move << ", query " << again;
      ASSERT_TRUE(Near(F3(point) + F3(direction), far, 1e-5 * scale)) << "step " << step << ", move " << move;
    }
  }
}

// ---- mementos ----

using MCameraMementos = CameraFixture;

// Everything a memento holds, and the pixels of a few points, bit for bit.
struct ViewState {
  ViewState(const MTransformRepositoryEx& repository, const MCamera& camera)
      : eye(MatrixOf(repository.GetTransform(camera.GetCoordinateSystemEye(), repository.GetSystemRenderWorld()))),
        volume(camera.GetViewVolume()),
        center(camera.GetRotationCenter()) {
    for (const Point& p : {Point(1, 2, 3), Point(-40, 7, 12), Point(0, 0, -30)})
      pixels.push_back(repository.GetTransform(repository.GetSystemRenderWorld(), camera.GetCoordinateSystemWindow())(p));
  }
  bool operator==(const ViewState&) const = default;
  Mat eye;
  IVViewVolume volume;
  Point center;
  std::vector<Point> pixels;
};

TEST_F(MCameraMementos, AMementoAfterResetAndOneAfterNavigatingBothComeBack) {
  MCamera camera;
  camera.Reset();
  std::unique_ptr<MCameraMemento> reset(camera.CreateMemento());
  EXPECT_TRUE(reset->GetEyeWorld().IsIdentity());

  Body object(Point(-5, -5, -5), Point(5, 5, 5));
  std::list<IRender*> objects{&object};
  camera.SetWindowRect(CRect(0, 0, 640, 480));
  camera.Unzoom(objects, kDefaultScene);
  camera.StartRotation(objects, kDefaultScene);
  camera.Rotate(objects, 45, 34, 56);
  camera.Zoom(3.4f);
  std::unique_ptr<MCameraMemento> navigated(camera.CreateMemento());
  const Point pixel = ToWindow(camera, Point(1, 2, 3));

  camera.ApplyMemento(reset.get(), false);
  EXPECT_TRUE(repository.GetTransform(repository.GetSystemRenderWorld(), camera.GetCoordinateSystemEye()).IsIdentity());
  EXPECT_EQ(camera.GetRotationCenter(), Point());
  EXPECT_FALSE(camera.GetViewVolume().IsPerspectiveProjection());
  float l, b, r, t, n, f;
  bool perspective;
  camera.GetViewVolume().GetViewVolume(l, b, r, t, n, f, perspective);
  EXPECT_EQ((std::vector<float>{l, b, r, t, n, f}), (std::vector<float>{-1, -1, 1, 1, -1, 1}));

  camera.ApplyMemento(navigated.get(), false);
  EXPECT_LE((ToWindow(camera, Point(1, 2, 3)) - pixel).Length(), 1.4901161193847656e-8);
}

TEST_F(MCameraMementos, ARandomViewComesBackBitForBitWhateverHappenedMeanwhile) {
  std::mt19937 rng(99);
  std::uniform_real_distribution<double> unit(-1, 1);
  MCamera camera;
  camera.Reset();
  Body object(Point(-30, -10, -5), Point(25, 40, 15));
  std::list<IRender*> objects{&object};
  for (int round = 0; round < 20; ++round) {
    RandomView(camera, rng, round % 2 == 0);
    const ViewState before(repository, camera);
    std::unique_ptr<MCameraMemento> memento(camera.CreateMemento());

    // Anything but the window rect, which a memento does not hold.
    camera.SetPerspective(round % 2 == 0);
    camera.StartRotation(objects, kDefaultScene);
    camera.Rotate(objects, static_cast<float>(90 * unit(rng)), static_cast<float>(90 * unit(rng)), 12);
    camera.RotateWorldZ(objects, 20, static_cast<float>(90 * unit(rng)), 0);
    camera.Unzoom(objects, kDefaultScene);
    camera.Zoom(2.5f);
    camera.TranslateView(40, -25);
    camera.SetClippingPlanes(objects, kDefaultScene);
    ASSERT_NE(ViewState(repository, camera), before);

    if (round % 3 == 0) {
      // The eye kept: only the volume, centre and projection come back.
      const Mat eye = MatrixOf(repository.GetTransform(camera.GetCoordinateSystemEye(), repository.GetSystemRenderWorld()));
      camera.ApplyMemento(memento.get(), true);
      EXPECT_EQ(MatrixOf(repository.GetTransform(camera.GetCoordinateSystemEye(), repository.GetSystemRenderWorld())), eye);
      EXPECT_EQ(camera.GetViewVolume(), before.volume);
    }
    camera.ApplyMemento(memento.get(), false);
    EXPECT_EQ(ViewState(repository, camera), before) << "round " << round;

    // Another camera with the same window takes the view over; an undefined one resets first.
    MCamera second;
    CRect rect;
    camera.GetWindowRect(rect);
    second.SetWindowRect(rect);
    second.ApplyMemento(memento.get(), false);
    ASSERT_TRUE(second.AreCoordinateSystemsValid());
    EXPECT_EQ(ViewState(repository, second), before) << "round " << round;
  }
}

// ---- the repository deleted under a camera ----

using MCameraRepositoryGone = CameraFixture;

TEST_F(MCameraRepositoryGone, TheCameraAndItsCopiesForgetTheirSystemsDoNothingAndResetOnTheNextRepository) {
  auto camera = std::make_unique<MCamera>();
  Open(*camera, 400, 300);
  camera->SetCacheCoordinateSystems(true);
  Body object(Point(-5, -5, -5), Point(5, 5, 5));
  std::list<IRender*> objects{&object};
  camera->Unzoom(objects, kDefaultScene);
  MCamera copy(*camera);
  ASSERT_TRUE(copy.AreCoordinateSystemsValid());
  EXPECT_EQ(copy.GetCoordinateSystemEye(), camera->GetCoordinateSystemEye());
  std::unique_ptr<MCameraMemento> memento(camera->CreateMemento());
  const IVViewVolume volume = camera->GetViewVolume();

  MTransformRepositoryEx::DeleteInstance();
  EXPECT_FALSE(camera->AreCoordinateSystemsValid());
  EXPECT_FALSE(copy.AreCoordinateSystemsValid());

  // Navigation does nothing, the mouse answers the pixel, a memento holds the identity.
  camera->SetRotation(10, 20, 30);
  camera->StartRotation(objects, kDefaultScene);
  camera->Rotate(objects, 10, 20, 30);
  camera->RotateWorldZ(objects, 10, 20, 30);
  camera->Unzoom(objects, kDefaultScene);
  camera->UnzoomXY(objects);
  camera->Zoom(2.0f);
  camera->Zoom(CRect(10, 10, 50, 50));
  camera->TranslateView(5, 5);
  camera->SetClippingPlanes(objects, kDefaultScene);
  camera->EnsureVisible(1000);
  camera->SetWindowRect(CRect(0, 0, 200, 100));
  EXPECT_EQ(camera->GetViewVolume(), volume);
  float point[3], direction[3];
  EXPECT_TRUE(camera->GetMouseInObjectCoordinates(point, direction, 12, 34, &object));
  EXPECT_EQ(F3(point), Vec(12, 34, 0));
  EXPECT_TRUE(camera->GetMouseInSystemMmCoordinates(point, direction, 12, 34));
  EXPECT_TRUE(camera->GetRayInSystemMmCoordinates(point, direction, 12, 34));
  EXPECT_EQ(F3(point), Vec(12, 34, 0));
  std::unique_ptr<MCameraMemento> without(camera->CreateMemento());
  EXPECT_TRUE(without->GetEyeWorld().IsIdentity());
  camera->ApplyMemento(memento.get(), false);
  EXPECT_FALSE(camera->AreCoordinateSystemsValid()) << "no repository to reset on";
  camera->Reset();
  EXPECT_FALSE(camera->AreCoordinateSystemsValid());

  // The next repository: the owner resets and the camera works in it.
  MTransformRepositoryEx& next = *MTransformRepositoryEx::CreateInstance();
  EXPECT_FALSE(camera->AreCoordinateSystemsValid()) << "waking up resets nothing";
  camera->Reset();
  ASSERT_TRUE(camera->AreCoordinateSystemsValid());
  EXPECT_EQ(next.GetNumberOfSystems(), 2u + 2u) << "the unit systems and the new pair";
  EXPECT_TRUE(Near(XY(ToWindow(*camera, Point(-1, -1, -1))), Eigen::Vector2d(50, 100), 1e-9));
  camera->ApplyMemento(memento.get(), false);
  EXPECT_EQ(camera->GetViewVolume(), volume);
  camera.reset();  // its handles go into the living repository; the copy's were forgotten
  MTransformRepositoryEx::DeleteInstance();
  EXPECT_FALSE(copy.AreCoordinateSystemsValid());
}

}  // namespace
