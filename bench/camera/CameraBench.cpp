// The camera's mouse conversion against the same arithmetic written directly with Eigen.
//
// Warm: a pixel brought into an object two systems below the millimetre system, with the
// transform from the object to the window already in the repository's cache, against the
// composed matrix's inverse kept ready and applied to the pixel at depths -1 and 1. Parallel
// and perspective windows.
//
// Cold: one rotation step of the view (which writes the eye's transform and so empties the
// cache), then one conversion, which composes the path from the object to the window again and
// inverts it; against the same step in Eigen: the turn about the rotation centre applied to the
// world-to-eye matrix, the product window * eye * placements, its inverse, the two points.
//
// Each case converts 1,000 pixels a run; runs are timed round by round, and the ratios of the
// medians are printed at the end.

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <cstdio>
#include <list>
#include <vector>

#include "common/Interleaved.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/scene/MCamera.h"

namespace {

using Mat = Eigen::Matrix4d;
using Vec = Eigen::Vector3d;

constexpr int kPixels = 1000;
constexpr int kWidth = 640, kHeight = 480;
constexpr double kDegree = 3.141592653589793 / 180.0;

Mat MatrixOf(const MMTransform& t) {
  double e[16];
  t.ConvertDouble16(e);
  return Eigen::Map<Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(e);
}

Mat Placement(double rx, double ry, double rz, const Vec& t, double scale) {
  Mat m = Mat::Identity();
  m.block<3, 3>(0, 0) = (Eigen::AngleAxisd(rz * kDegree, Vec::UnitZ()) * Eigen::AngleAxisd(ry * kDegree, Vec::UnitY()) *
                         Eigen::AngleAxisd(rx * kDegree, Vec::UnitX()))
                            .toRotationMatrix() *
                        scale;
  m.block<3, 1>(0, 3) = t;
  return m;
}

// The turn of a rotation step: about z, then y, then x, about `center`, as the camera turns.
Mat Turn(double x, double y, double z, const Vec& center) {
  Mat r = Mat::Identity();
  r.block<3, 3>(0, 0) = (Eigen::AngleAxisd(x * kDegree, Vec::UnitX()) * Eigen::AngleAxisd(y * kDegree, Vec::UnitY()) *
                         Eigen::AngleAxisd(z * kDegree, Vec::UnitZ()))
                            .toRotationMatrix();
  Mat to = Mat::Identity(), from = Mat::Identity();
  to.block<3, 1>(0, 3) = center;
  from.block<3, 1>(0, 3) = -center;
  return to * r * from;
}

// The ray through pixel (x, y) by the window-to-object matrix `back`, as the camera answers it.
inline void Ray(const Mat& back, float* point, float* direction, long x, long y) {
  const Eigen::Vector4d a = back * Eigen::Vector4d(double(x), double(y), -1, 1);
  const Eigen::Vector4d b = back * Eigen::Vector4d(double(x), double(y), 1, 1);
  const Vec p = a.head<3>() / a.w(), q = b.head<3>() / b.w();
  for (int i = 0; i < 3; ++i) {
    point[i] = static_cast<float>(p[i]);
    direction[i] = static_cast<float>(q[i]) - static_cast<float>(p[i]);
  }
}

inline long PixelX(int i) { return (i * 37) % kWidth; }
inline long PixelY(int i) { return (i * 53) % kHeight; }

// A camera over a box, turned and zoomed, and an object two systems below the millimetres.
struct Scene {
  explicit Scene(bool perspective) {
    MTransformRepositoryEx& r = *MTransformRepositoryEx::GetInstance();
    const Mat upper = Placement(10, 20, 30, Vec(40, -25, 12), 1.0);
    const Mat lower = Placement(-35, 5, 60, Vec(3, 8, -2), 1.5);
    parent = r.CreateNewSystem(MMTransformMatrix(upper), r.GetSystemMm());
    object.SetCoordinateSystem(r.CreateNewSystem(MMTransformMatrix(lower), parent));
    placements = upper * lower;
    camera.Reset();
    camera.SetWindowRect(CRect(0, 0, kWidth, kHeight));
    camera.SetPerspective(perspective);
    M3DBoundingBox<float> box(MMPoint3d<float>(-60, -50, -40), MMPoint3d<float>(70, 55, 45));
    camera.Unzoom(box);
    camera.SetRotationCenter(MMPoint3d<double>(5, -3, 2));
    camera.SetRotation(25, -40, 15);
    camera.Zoom(1.6f);
    objects.push_back(&object);
    world_to_eye = MatrixOf(r.GetTransform(r.GetSystemRenderWorld(), camera.GetCoordinateSystemEye()));
    eye_to_window = MatrixOf(r.GetTransform(camera.GetCoordinateSystemEye(), camera.GetCoordinateSystemWindow()));
    back = (eye_to_window * world_to_eye * placements).inverse();
  }

  MCoordinateSystem parent;
  UIObject object;
  std::list<IRender*> objects;
  MCamera camera;
  Mat placements, world_to_eye, eye_to_window, back;
};

}  // namespace

int main() {
  MTransformRepositoryEx::CreateInstance();
  double sink = 0;
  float point[3], direction[3];
  {
    Scene parallel(false), perspective(true);
    Scene turning(false);
    const Vec center(5, -3, 2);
    constexpr float kStep[3] = {0.4f, -0.3f, 0.1f};

    std::vector<ostrum_bench::TimedCase> cases = {
        {"warm: GetMouseInObjectCoordinates, parallel", [&] {
           for (int i = 0; i < kPixels; ++i) {
             parallel.camera.GetMouseInObjectCoordinates(point, direction, PixelX(i), PixelY(i), &parallel.object);
             sink += point[0] + direction[2];
           }
         }},
        {"warm: Eigen, kept inverse, parallel", [&] {
           for (int i = 0; i < kPixels; ++i) {
             Ray(parallel.back, point, direction, PixelX(i), PixelY(i));
             sink += point[0] + direction[2];
           }
         }},
        {"warm: GetMouseInObjectCoordinates, perspective", [&] {
           for (int i = 0; i < kPixels; ++i) {
             perspective.camera.GetMouseInObjectCoordinates(point, direction, PixelX(i), PixelY(i),
                                                            &perspective.object);
             sink += point[0] + direction[2];
           }
         }},
        {"warm: Eigen, kept inverse, perspective", [&] {
           for (int i = 0; i < kPixels; ++i) {
             Ray(perspective.back, point, direction, PixelX(i), PixelY(i));
             sink += point[0] + direction[2];
           }
         }},
        {"cold: Rotate, then GetMouseInObjectCoordinates", [&] {
           for (int i = 0; i < kPixels; ++i) {
             turning.camera.Rotate(turning.objects, kStep[0], kStep[1], kStep[2]);
             turning.camera.GetMouseInObjectCoordinates(point, direction, PixelX(i), PixelY(i), &turning.object);
             sink += point[0] + direction[2];
           }
         }},
        {"cold: Eigen, turn, product, inverse", [&] {
           for (int i = 0; i < kPixels; ++i) {
             turning.world_to_eye = Turn(kStep[0], kStep[1], kStep[2], center) * turning.world_to_eye;
             const Mat back = (turning.eye_to_window * turning.world_to_eye * turning.placements).inverse();
             Ray(back, point, direction, PixelX(i), PixelY(i));
             sink += point[0] + direction[2];
           }
         }},
    };
    ostrum_bench::RunInterleaved(cases, 101);
    std::printf("One pixel into an object two systems below the millimetres, %d pixels a run:\n", kPixels);
    ostrum_bench::PrintMedians(cases, kPixels);
    std::printf("\nRatios (framework time / floor time, lower is better):\n");
    ostrum_bench::PrintRatio("warm conversion, parallel (aim <= 1.5)", cases[0], cases[1]);
    ostrum_bench::PrintRatio("warm conversion, perspective (aim <= 1.5)", cases[2], cases[3]);
    ostrum_bench::PrintRatio("rotation step and cold conversion (aim <= 2)", cases[4], cases[5]);
  }
  MTransformRepositoryEx::DeleteInstance();
  std::printf("(checksum %g)\n", sink);
  return 0;
}
