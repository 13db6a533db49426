#include "ostrum/foundation/geometry/MMTransform.h"

#include <cmath>
#include <limits>

MMTransform::~MMTransform() = default;

// The float forms widen to double, apply, and round back, so that all forms agree to float
// precision. The input is copied first, which lets the caller pass the output as the input.
MMPoint3d<double> MMTransform::_Map(double x, double y, double z, bool direction, bool inverse) const {
  double const a[3] = {x, y, z};
  double b[3];
  if (inverse)
    _ApplyInverse(b, a, direction);
  else
    _Apply(b, a, direction);
  return MMPoint3d<double>(b[0], b[1], b[2]);
}

namespace {

void Store(float* out, MMPoint3d<double> const& p) {
  out[0] = static_cast<float>(p.x);
  out[1] = static_cast<float>(p.y);
  out[2] = static_cast<float>(p.z);
}

}  // namespace

void MMTransform::Transform(MMPoint3d<double>& out, MMPoint3d<double> const& in,
                            bool direction) const {
  // The commonest use (a pick takes two points per object through it) goes straight to the
  // transform: _Map is an exported member, reached through the library's linkage table, and
  // returns its point through memory.
  double const a[3] = {in.x, in.y, in.z};
  double b[3];
  _Apply(b, a, direction);
  out.x = b[0];
  out.y = b[1];
  out.z = b[2];
}

void MMTransform::Transform(MMPoint3d<float>& out, MMPoint3d<float> const& in,
                            bool direction) const {
  out = MMPoint3d<float>(_Map(in.x, in.y, in.z, direction, false));
}

void MMTransform::Transform(float* out, float x, float y, float z, bool direction) const {
  Store(out, _Map(x, y, z, direction, false));
}

void MMTransform::Transform(float* out, float const* in, bool direction) const {
  Transform(out, in[0], in[1], in[2], direction);
}

void MMTransform::InverseTransform(MMPoint3d<double>& out, MMPoint3d<double> const& in,
                                   bool direction) const {
  out = _Map(in.x, in.y, in.z, direction, true);
}

void MMTransform::InverseTransform(MMPoint3d<float>& out, MMPoint3d<float> const& in,
                                   bool direction) const {
  out = MMPoint3d<float>(_Map(in.x, in.y, in.z, direction, true));
}

void MMTransform::InverseTransform(float* out, float x, float y, float z, bool direction) const {
  Store(out, _Map(x, y, z, direction, true));
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
    MMPoint3d<double> const b = _Map(c.x, c.y, c.z, false, false);
    for (std::size_t k = 0; k < 3; ++k) {
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
