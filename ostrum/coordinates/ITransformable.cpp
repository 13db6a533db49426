#include "ostrum/coordinates/ITransformable.h"

#include "ostrum/foundation/geometry/MMTransformMatrix.h"

ITransformable::~ITransformable() = default;

void ITransformable::Translate(MMPoint3d<double> d) {
  if (!CanTranslate()) return;
  MMTransformMatrix m;
  m.MakeTranslation(d);
  Transform(m);
}

void ITransformable::Rotate(MMPoint3d<double> const& center, MMPoint3d<double> const& axis,
                            double angle) {
  if (!CanRotate()) return;
  MMTransformMatrix m;
  m.MakeRotation(center, axis, angle);
  Transform(m);
}

void ITransformable::Rotate(MMPoint3d<double> const& center, double x, double y, double z) {
  if (!CanRotate()) return;
  MMTransformMatrix r;
  r.MakeRotationZYX(x, y, z);
  r.SetRotationCenter(center);
  Transform(r);
}

void ITransformable::Rescale(MMPoint3d<double> const& center, double sx, double sy, double sz) {
  if (!CanRescale()) return;
  MMTransformMatrix s;
  s.MakeScale3D(sx, sy, sz);
  s.SetRotationCenter(center);
  Transform(s);
}

void ITransformable::Mirror(MMPlaneEq<double> const&) {}

bool ITransformable::CanMirror() const { return false; }
