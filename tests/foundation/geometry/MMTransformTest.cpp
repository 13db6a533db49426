#include <gtest/gtest.h>

#include <Eigen/LU>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "GeometryTestSupport.h"
#include "ostrum/foundation/geometry/Concat.h"
#include "ostrum/foundation/geometry/MMTransform.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

using namespace geometry_test;

namespace {

// A transform that is no matrix: a shift, as a host might write one.
class Shift : public MMTransform {
 public:
  Shift(double x, double y, double z) : m_d{x, y, z} {}
  MMTransform* Clone() const override { return new Shift(*this); }
  bool Invert() override {
    for (double& v : m_d) v = -v;
    return true;
  }
  bool IsIdentity() const override { return m_d[0] == 0 && m_d[1] == 0 && m_d[2] == 0; }
  void ConvertDouble16(double* out) const override {
    for (int i = 0; i < 16; ++i) out[i] = i % 5 == 0 ? 1.0 : 0.0;
    out[3] = m_d[0];
    out[7] = m_d[1];
    out[11] = m_d[2];
  }

 protected:
  void _Apply(double* out, double const* in, bool direction) const override {
    for (int i = 0; i < 3; ++i) out[i] = in[i] + (direction ? 0 : m_d[i]);
  }
  void _ApplyInverse(double* out, double const* in, bool direction) const override {
    for (int i = 0; i < 3; ++i) out[i] = in[i] - (direction ? 0 : m_d[i]);
  }

 private:
  double m_d[3];
};

}  // namespace

TEST(MMTransform, AllFormsOfTransformAgreeAndInverseComesBack) {
  Random rnd(21);
  for (int c = Class::eIdentity; c <= Class::eGeneral; ++c) {
    SCOPED_TRACE(testing::Message() << "class " << c);
    for (int trial = 0; trial < 20; ++trial) {
      MMTransformMatrix const m = rnd.Make(Class(c));
      MMTransform const& t = m;
      MMPoint3d<double> const p = rnd.Point(3);
      Eigen::Vector4d const q = m.GetMatrix() * Eigen::Vector4d(p.x, p.y, p.z, 1.0);
      MMPoint3d<double> d, dir, back;
      t.Transform(d, p, false);
      EXPECT_TRUE(NearPoint(d, {q[0] / q[3], q[1] / q[3], q[2] / q[3]}));
      t.InverseTransform(back, d, false);
      EXPECT_TRUE(NearPoint(back, p, 1e-7));

      // The float forms agree with each other, in place too.
      MMPoint3d<float> const pf(p);
      MMPoint3d<float> f;
      t.Transform(f, pf, false);
      float a[3] = {pf.x, pf.y, pf.z}, b[3];
      t.Transform(b, pf.x, pf.y, pf.z, false);
      t.Transform(a, a, false);
      EXPECT_EQ(MMPoint3d<float>(a[0], a[1], a[2]), f);
      EXPECT_EQ(MMPoint3d<float>(b[0], b[1], b[2]), f);

      // A direction takes the 3x3 part only.
      t.Transform(dir, p, true);
      Eigen::Vector3d const lin = m.GetMatrix().topLeftCorner<3, 3>() * Eigen::Vector3d(p.x, p.y, p.z);
      EXPECT_TRUE(NearPoint(dir, {lin[0], lin[1], lin[2]}));
      t.InverseTransform(back, dir, true);
      if (m.GetMatrix().row(3) == Eigen::RowVector4d(0, 0, 0, 1)) {  // a projective map has no linear inverse
        EXPECT_TRUE(NearPoint(back, p, 1e-7));
      }
    }
  }
}

// The moved box is the tightest one around the eight moved corners, up to the outward rounding to
// float; an empty box stays empty.
TEST(MMTransform, TransformBoundingBoxHoldsEveryTransformedCorner) {
  Random rnd(31);
  for (int trial = 0; trial < 300; ++trial) {
    Class const c = Class(trial % 6);  // the affine classes
    MMTransformMatrix const m = rnd.Make(c == Class::eIdentity ? Class::eGeneral : c);
    if (m.GetMatrix().row(3) != Eigen::RowVector4d(0, 0, 0, 1)) continue;
    MMPoint3d<float> const lo(rnd.Point(50)), size(rnd.Uniform(0, 9), rnd.Uniform(0, 9), rnd.Uniform(0, 9));
    M3DBoundingBox<float> const box(lo, lo + size);
    M3DBoundingBox<float> moved = box;
    m.TransformBoundingBox(moved);
    MMPoint3d<double> lowest(1e30, 1e30, 1e30), highest(-1e30, -1e30, -1e30);
    for (int i = 0; i < 8; ++i) {
      MMPoint3d<double> const exact = m(MMPoint3d<double>(box.GetCorner(i)));
      for (int k = 0; k < 3; ++k) {
        lowest[k] = std::min(lowest[k], exact[k]);
        highest[k] = std::max(highest[k], exact[k]);
      }
    }
    for (int k = 0; k < 3; ++k) {
      EXPECT_LE(moved.GetMin()[k], lowest[k]);
      EXPECT_GE(moved.GetMax()[k], highest[k]);
      EXPECT_NEAR(moved.GetMin()[k], lowest[k], 1e-5 * std::max(1.0, std::abs(lowest[k])));
      EXPECT_NEAR(moved.GetMax()[k], highest[k], 1e-5 * std::max(1.0, std::abs(highest[k])));
    }
  }
  M3DBoundingBox<float> empty;
  rnd.Make(Class::eOrthoGonal).TransformBoundingBox(empty);
  EXPECT_EQ(empty, M3DBoundingBox<float>());
}

TEST(MMTransform, ConcatComposesFarEndFirstInTheListThenExtra) {
  Random rnd(41);
  for (int trial = 0; trial < 50; ++trial) {
    MMTransformMatrix a = rnd.Make(Class(trial % 7)), b = rnd.Make(Class((trial + 3) % 7)),
                      c = rnd.Make(Class((trial + 5) % 7)), e = rnd.Make(Class(trial % 5));
    MMTransform* extra = &e;
    std::unique_ptr<MMTransform> r(Concat({&a, &b, &c}, &extra));
    auto const& rm = dynamic_cast<MMTransformMatrix const&>(*r);
    Eigen::Matrix4d const direct = e.GetMatrix() * a.GetMatrix() * b.GetMatrix() * c.GetMatrix();
    EXPECT_TRUE(Near(rm.GetMatrix(), direct));
    EXPECT_TRUE(Near(rm.GetInverse(), direct.inverse(), 1e-7)) << "claims class " << rm.GetClass();
  }

  MMTransformMatrix s1;
  s1.MakeScale1D(2);
  std::unique_ptr<MMTransform> none(Concat({}, nullptr));
  EXPECT_TRUE(none->IsIdentity());
  MMTransform* null_extra = nullptr;
  std::unique_ptr<MMTransform> nulls(Concat({nullptr, &s1, nullptr}, &null_extra));
  EXPECT_EQ(*nulls, s1);

  // Transforms that are no matrix enter by their elements, and compare by them.
  Shift shift(1, 2, 3);
  MMTransform* shift_extra = &shift;
  std::unique_ptr<MMTransform> mixed(Concat({&s1}, &shift_extra));
  EXPECT_TRUE(NearPoint((*mixed)(MMPoint3d<double>(1, 1, 1)), {3, 4, 5}));
  EXPECT_EQ(mixed->AsMatrix()->GetClass(), Class::eScale1D);
  MMTransformMatrix moved;
  moved.MakeTranslation(1, 2, 3);
  EXPECT_TRUE(moved == shift);
  moved.SetElement(2, 2, 1.0000001, true);
  EXPECT_FALSE(moved == shift);
}

TEST(MMTransformAllocator, PoolReusesBlocksPerThreadAndReleasesThem) {
  MMTransformAllocator::ReleasePooledBlocks();
  ASSERT_EQ(MMTransformAllocator::GetPooledBlockCount(), 0u);
  MMTransformMatrix* a = new MMTransformMatrix();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(a) % 64, 0u);
  void* const first = a;
  delete a;
  EXPECT_EQ(MMTransformAllocator::GetPooledBlockCount(), 1u);
  MMTransform* b = Concat({}, nullptr);  // same size class: the pooled block comes back
  EXPECT_EQ(static_cast<void*>(b), first);
  EXPECT_EQ(MMTransformAllocator::GetPooledBlockCount(), 0u);

  // Made here, freed on another thread: that thread pools it and gives it back as it ends.
  std::thread([b] {
    delete b;
    EXPECT_EQ(MMTransformAllocator::GetPooledBlockCount(), 1u);
    std::vector<MMTransform*> many;
    for (int i = 0; i < 1000; ++i) many.push_back(new MMTransformMatrix());
    for (MMTransform* t : many) delete t;
    EXPECT_LE(MMTransformAllocator::GetPooledBlockCount(), 200u) << "idle blocks are bounded";
  }).join();
  EXPECT_EQ(MMTransformAllocator::GetPooledBlockCount(), 0u);

  // Threads working on their own transforms at once.
  std::vector<std::thread> workers;
  for (int w = 0; w < 4; ++w)
    workers.emplace_back([w] {
      Random rnd(100 + w);
      for (int i = 0; i < 2000; ++i) {
        MMTransformMatrix a = rnd.Make(Class::eOrthoNormal), b = rnd.Make(Class::eScale3D);
        std::unique_ptr<MMTransform> r(Concat({&a, &b}, nullptr));
        ASSERT_TRUE(Near(r->AsMatrix()->GetMatrix(), a.GetMatrix() * b.GetMatrix()));
      }
    });
  for (std::thread& t : workers) t.join();
  MMTransformAllocator::ReleasePooledBlocks();
  EXPECT_EQ(MMTransformAllocator::GetPooledBlockCount(), 0u);
}

#if defined(__SANITIZE_ADDRESS__)
// A block resting in the pool is poisoned: touching a deleted transform is still reported.
TEST(MMTransformAllocatorDeathTest, UseOfADeletedTransformIsReported) {
  EXPECT_DEATH(
      {
        MMTransformMatrix* m = new MMTransformMatrix();
        delete m;
        volatile double x = m->GetMatrix()(0, 0);
        (void)x;
      },
      "use-after-poison");
}
#endif
