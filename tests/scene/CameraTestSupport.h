#pragma once
// Shared by the camera tests: a repository made and deleted around each test, a scene object
// with a box in a system of its own, and the camera's transforms worked out again with Eigen
// (rotations, the window's projection from the view volume and window rect, random placements)
// so that what the camera answers is compared with products computed here.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <cmath>
#include <random>
#include <sstream>

#include "coordinates/CoordinatesTestSupport.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/scene/IVViewVolume.h"
#include "ostrum/scene/MCamera.h"

namespace camera_test {

using Point = MMPoint3d<double>;
using Vec = Eigen::Vector3d;
using Mat = Eigen::Matrix4d;

constexpr unsigned long long kDefaultScene = 0xFFFFFFFF;
constexpr double kDegree = 3.141592653589793 / 180.0;

/// A scene object whose box is given in its own system; it reports the box in the system
/// asked for (the corners' images boxed), and only in the scenes it is visible in.
class Body : public UIObject {
 public:
  Body(Point min, Point max) : m_box(MMPoint3d<float>(min), MMPoint3d<float>(max)) {}
  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long scene,
                      const MCoordinateSystem* system) const override {
    if (!IsVisible(scene)) return;
    M3DBoundingBox<float> own = m_box;
    if (system) MTransformRepositoryEx::GetInstance()->GetTransform(GetCoordinateSystem(), *system).TransformBoundingBox(own);
    box.Extend(own);
  }
  M3DBoundingBox<float> m_box;
};

/// Every test of a camera runs with an application repository of its own.
class CameraFixture : public testing::Test {
 protected:
  CameraFixture() : repository(*MTransformRepositoryEx::CreateInstance()) {}
  ~CameraFixture() override {
    if (MTransformRepositoryEx::GetInstance()) MTransformRepositoryEx::DeleteInstance();
  }

  /// A reset camera with a window of w by h pixels.
  static void Open(MCamera& camera, int w, int h) {
    camera.Reset();
    camera.SetWindowRect(CRect(0, 0, w, h));
  }
  /// A point of the render world in the eye and in the window, through the present repository.
  static Point ToEye(const MCamera& camera, const Point& world) {
    const MTransformRepositoryEx& r = *MTransformRepositoryEx::GetInstance();
    return r.GetTransform(r.GetSystemRenderWorld(), camera.GetCoordinateSystemEye())(world);
  }
  static Point ToWindow(const MCamera& camera, const Point& world) {
    const MTransformRepositoryEx& r = *MTransformRepositoryEx::GetInstance();
    return r.GetTransform(r.GetSystemRenderWorld(), camera.GetCoordinateSystemWindow())(world);
  }

  MTransformRepositoryEx& repository;
};

// ---- Eigen ----

using coordinates_test::MatrixOf;
/// Matrices equal within `tolerance` of their largest element.
using coordinates_test::NearMatrix;

inline Vec V(const Point& p) { return Vec(p.x, p.y, p.z); }
inline Point P(const Vec& v) { return Point(v.x(), v.y(), v.z()); }

/// The point p through m, divided by the fourth component.
inline Vec Apply(const Mat& m, const Vec& p) {
  const Eigen::Vector4d h = m * p.homogeneous();
  return h.head<3>() / h.w();
}

inline Mat Translation(const Vec& t) {
  Mat m = Mat::Identity();
  m.block<3, 1>(0, 3) = t;
  return m;
}

inline Mat Linear(const Eigen::Matrix3d& l) {
  Mat m = Mat::Identity();
  m.block<3, 3>(0, 0) = l;
  return m;
}

/// Right-handed rotation by `degrees` about the line through `center` along `axis`.
inline Mat Turn(const Vec& center, const Vec& axis, double degrees) {
  return Translation(center) * Linear(Eigen::AngleAxisd(degrees * kDegree, axis.normalized()).toRotationMatrix()) *
         Translation(-center);
}

/// The camera's rotation by angles: about z first, then y, then x (x, y, z in degrees).
inline Mat RotationZYX(double x, double y, double z, const Vec& center = Vec::Zero()) {
  return Turn(center, Vec::UnitX(), x) * Turn(center, Vec::UnitY(), y) * Turn(center, Vec::UnitZ(), z);
}

/// What the window shows of a view volume: the volume grown about its middle, in x or in y, to
/// the window's shape.
struct Shown {
  double left, bottom, right, top, near, far;
};
inline Shown ShownOf(const IVViewVolume& volume, const CRect& rect) {
  float l, b, r, t, n, f;
  bool perspective;
  volume.GetViewVolume(l, b, r, t, n, f, perspective);
  const double cx = (double(l) + r) / 2, cy = (double(b) + t) / 2;
  double hw = (double(r) - l) / 2, hh = (double(t) - b) / 2;
  const double window = double(rect.Width()) / rect.Height();
  if (window > hw / hh)
    hw = hh * window;
  else
    hh = hw / window;
  return {cx - hw, cy - hh, cx + hw, cy + hh, n, f};
}

/// The transform from eye coordinates into window coordinates (pixels, depth scaled by half
/// the width) that the camera's volume and window rect stand for. The shown box goes onto
/// [-1, 1]^3: straight in parallel projection; in perspective from an eye on the box's axis,
/// with a vertical opening of 30 degrees, placed so that the box's middle depth fills the
/// opening, near at -1 and far at 1. Then x to [0, width], y downwards, with whole pixels as
/// the camera counts them.
inline Mat EyeToWindow(const IVViewVolume& volume, const CRect& rect) {
  const Shown s = ShownOf(volume, rect);
  const double hw = (s.right - s.left) / 2, hh = (s.top - s.bottom) / 2;
  const double cx = (s.left + s.right) / 2, cy = (s.bottom + s.top) / 2;
  Mat ndc = Mat::Identity();
  if (volume.IsParallelProjection()) {
    ndc(0, 0) = 1 / hw, ndc(0, 3) = -cx / hw;
    ndc(1, 1) = 1 / hh, ndc(1, 3) = -cy / hh;
    ndc(2, 2) = 2 / (s.far - s.near), ndc(2, 3) = -(s.far + s.near) / (s.far - s.near);
  } else {
    const double d = hh / std::tan(15 * kDegree);
    const double eye = (s.near + s.far) / 2 - d;
    // In depths from the eye: x and y shrink with depth as d / depth; depth s goes to
    // (a s + b) / s, which is -1 at the near plane and 1 at the far one.
    const double sn = s.near - eye, sf = s.far - eye;
    const double a = (sf + sn) / (sf - sn), b = -2 * sf * sn / (sf - sn);
    ndc = Mat::Zero();
    ndc(0, 0) = d / hw, ndc(0, 2) = 0, ndc(0, 3) = -d * cx / hw;
    ndc(1, 1) = d / hh, ndc(1, 3) = -d * cy / hh;
    ndc(2, 2) = a, ndc(2, 3) = b - a * eye;
    ndc(3, 2) = 1, ndc(3, 3) = -eye;
  }
  const int w = rect.Width(), h = rect.Height();
  Mat pixels = Mat::Identity();
  pixels(0, 0) = w / 2, pixels(1, 1) = (-h) / 2, pixels(2, 2) = w / 2;
  pixels(0, 3) = rect.right / 2, pixels(1, 3) = rect.bottom / 2;
  return pixels * ndc;
}

/// An affine placement: a rotation, a scale by axis between 0.5 and 2, a translation within
/// +-`reach`.
inline Mat RandomPlacement(std::mt19937& rng, double reach) {
  std::uniform_real_distribution<double> angle(-180, 180), scale(0.5, 2), shift(-reach, reach);
  const Mat s = Linear(Eigen::Vector3d(scale(rng), scale(rng), scale(rng)).asDiagonal());
  return Translation(Vec(shift(rng), shift(rng), shift(rng))) * RotationZYX(angle(rng), angle(rng), angle(rng)) * s;
}

inline MMTransformMatrix Matrix(const Mat& m) { return MMTransformMatrix(m); }

template <class A, class B>
::testing::AssertionResult Near(const Eigen::MatrixBase<A>& found, const Eigen::MatrixBase<B>& expected,
                                double tolerance) {
  if ((found - expected).cwiseAbs().maxCoeff() <= tolerance) return ::testing::AssertionSuccess();
  std::ostringstream s;
  s << "(" << found.transpose() << ") is not (" << expected.transpose() << ") within " << tolerance;
  return ::testing::AssertionFailure() << s.str();
}

/// The pixel of a window point, without its depth.
inline Eigen::Vector2d XY(const Point& p) { return Eigen::Vector2d(p.x, p.y); }

inline Vec F3(const float* v) { return Vec(v[0], v[1], v[2]); }

}  // namespace camera_test
