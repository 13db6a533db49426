#include "ostrum/foundation/geometry/MMTransform.h"

#include <cmath>
#include <limits>

MMTransform::~MMTransform() = default;

// The float forms widen to double, apply, and round back, so that all forms agree to float
// precision. The input is copied first, which lets the caller pass the output as the input.

void MMTransform::Transform(MMPoint3d<double>& out, MMPoint3d<double> const& in,
                            bool direction) const {
  double const a[3] = {in.x, in.y, in.z};
  double b[3];
  _Apply(b, a, direction);
  out.Set(b[0], b[1], b[2]);
}

void MMTransform::Transform(MMPoint3d<float>& out, MMPoint3d<float> const& in,
                            bool direction) const {
  double const a[3] = {in.x, in.y, in.z};
  double b[3];
  _Apply(b, a, direction);
  out = MMPoint3d<float>(MMPoint3d<double>(b[0], b[1], b[2]));
}

void MMTransform::Transform(float* out, float x, float y, float z, bool direction) const {
  double const a[3] = {x, y, z};
  double b[3];
  _Apply(b, a, direction);
  for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(b[i]);
}

void MMTransform::Transform(float* out, float const* in, bool direction) const {
  Transform(out, in[0], in[1], in[2], direction);
}

void MMTransform::InverseTransform(MMPoint3d<double>& out, MMPoint3d<double> const& in,
                                   bool direction) const {
  double const a[3] = {in.x, in.y, in.z};
  double b[3];
  _ApplyInverse(b, a, direction);
  out.Set(b[0], b[1], b[2]);
}

void MMTransform::InverseTransform(MMPoint3d<float>& out, MMPoint3d<float> const& in,
                                   bool direction) const {
  double const a[3] = {in.x, in.y, in.z};
  double b[3];
  _ApplyInverse(b, a, direction);
  out = MMPoint3d<float>(MMPoint3d<double>(b[0], b[1], b[2]));
}

void MMTransform::InverseTransform(float* out, float x, float y, float z, bool direction) const {
  double const a[3] = {x, y, z};
  double b[3];
  _ApplyInverse(b, a, direction);
  for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(b[i]);
}

void MMTransform::InverseTransform(float* out, float const* in, bool direction) const {
  InverseTransform(out, in[0], in[1], in[2], direction);
}

MMPoint3d<double> MMTransform::operator()(MMPoint3d<double> const& p) const {
  MMPoint3d<double> out;
  Transform(out, p, false);
  return out;
}

MMPoint3d<float> MMTransform::operator()(MMPoint3d<float> const& p) const {
  MMPoint3d<float> out;
  Transform(out, p, false);
  return out;
}

void MMTransform::TransformBoundingBox(M3DBoundingBox<float>& box) const {
  if (!box.IsUsable()) return;
  double lo[3], hi[3];
  for (int i = 0; i < 8; ++i) {
    MMPoint3d<float> const c = box.GetCorner(i);
    double const a[3] = {c.x, c.y, c.z};
    double b[3];
    _Apply(b, a, false);
    for (int k = 0; k < 3; ++k) {
      lo[k] = i == 0 ? b[k] : std::fmin(lo[k], b[k]);
      hi[k] = i == 0 ? b[k] : std::fmax(hi[k], b[k]);
    }
  }
  // Round outwards: the float box must hold the exact images and also their float roundings.
  constexpr float inf = std::numeric_limits<float>::infinity();
  float fl[3], fh[3];
  for (int k = 0; k < 3; ++k) {
    fl[k] = static_cast<float>(lo[k]);
    if (fl[k] > lo[k]) fl[k] = std::nextafter(fl[k], -inf);
    fh[k] = static_cast<float>(hi[k]);
    if (fh[k] < hi[k]) fh[k] = std::nextafter(fh[k], inf);
  }
  box.Set(MMPoint3d<float>(fl[0], fl[1], fl[2]), MMPoint3d<float>(fh[0], fh[1], fh[2]));
}

bool MMTransform::operator==(MMTransform const& other) const {
  if (this == &other) return true;
  double a[16], b[16];
  ConvertDouble16(a);
  other.ConvertDouble16(b);
  for (int i = 0; i < 16; ++i)
    if (a[i] != b[i]) return false;
  return true;
}
