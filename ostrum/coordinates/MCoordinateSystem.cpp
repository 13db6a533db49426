#include "ostrum/coordinates/MCoordinateSystem.h"

#include "ostrum/coordinates/MTransformRepository.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

namespace {

constexpr double kRadiansPerDegree = 3.141592653589793 / 180.0;

// The handle a conversion reads from: `source` itself when it is a handle; otherwise the
// millimetre system of the application's repository, or the world of a plain one.
MCoordinateSystem const& SourceSystem(MTransformRepository const& repository,
                                      ICoordinateSystem const* source, bool undefined_is_mm) {
  auto const* handle = dynamic_cast<MCoordinateSystem const*>(source);
  if (handle && (handle->IsDefined() || !undefined_is_mm)) return *handle;
  auto const* application = dynamic_cast<MTransformRepositoryEx const*>(&repository);
  return application ? application->GetSystemMm() : repository.GetAbsoluteWorld();
}

// The transform from `source` into `target` through the process-wide repository; null when
// there is none, and the conversion then leaves its input as it is.
MMTransform const* TransformToThis(MCoordinateSystem const& target, ICoordinateSystem const* source,
                                   bool undefined_is_mm) {
  MTransformRepository const* repository = MTransformRepository::GetInstance();
  if (!repository) return nullptr;
  return &repository->GetTransform(SourceSystem(*repository, source, undefined_is_mm), target);
}

}  // namespace

bool MCoordinateSystem::ChildOf(MCoordinateSystem const& parent, bool direct) const {
  if (!m_system || !parent.m_system) return false;
  return m_system->ChildOf(parent.m_system, direct);
}

MMTransformMatrix* MCoordinateSystem::_AccessMatrix() const {
  MTransformRepository* repository = MTransformRepository::GetInstance();
  return repository ? repository->AccessTransformMatrix(*this) : nullptr;
}

void MCoordinateSystem::Transform(MMTransformMatrix const& m) {
  if (MMTransformMatrix* own = _AccessMatrix()) own->PreMultiply(m);
}

void MCoordinateSystem::Transform(MMTransform const& t) {
  Transform(dynamic_cast<MMTransformMatrix const&>(t));
}

void MCoordinateSystem::Translate(MMPoint3d<double> d) {
  MMTransformMatrix m;
  m.MakeTranslation(d);
  Transform(m);
}

void MCoordinateSystem::Rotate(MMPoint3d<double> center, float x, float y, float z) {
  MMTransformMatrix* own = _AccessMatrix();
  if (!own) return;
  // One step per axis, x first; a zero angle still makes its step.
  MMPoint3d<double> const axes[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  float const angles[3] = {x, y, z};
  for (int i = 0; i < 3; ++i) {
    MMTransformMatrix r;
    r.MakeRotation(center, axes[i], angles[i] * kRadiansPerDegree);
    own->PreMultiply(r);
  }
}

void MCoordinateSystem::Rotate(MMPoint3d<double> center, MMPoint3d<double> axis, float angle) {
  MMTransformMatrix* own = _AccessMatrix();
  if (!own) return;
  MMTransformMatrix r;
  r.MakeRotation(center, axis, angle * kRadiansPerDegree);
  own->PreMultiply(r);
}

void MCoordinateSystem::Rescale(MMPoint3d<double> center, float sx, float sy, float sz) {
  MMTransformMatrix* own = _AccessMatrix();
  if (!own) return;
  MMTransformMatrix to_origin, scale, back;
  to_origin.MakeTranslation(-center);
  scale.MakeScale3D(sx, sy, sz);
  back.MakeTranslation(center);
  own->PreMultiply(to_origin);
  own->PreMultiply(scale);
  own->PreMultiply(back);
}

void MCoordinateSystem::GetPoint3dCoordinateSystemToThis(MMPoint3d<double>& out,
                                                         MMPoint3d<double> const& in,
                                                         ICoordinateSystem const* source) const {
  if (MMTransform const* t = TransformToThis(*this, source, false))
    t->Transform(out, in);
  else
    out = in;
}

void MCoordinateSystem::GetVector3dCoordinateSystemToThis(MMPoint3d<double>& out,
                                                          MMPoint3d<double> const& in,
                                                          ICoordinateSystem const* source) const {
  MMTransform const* t = TransformToThis(*this, source, true);
  if (!t) {
    out = in;
    return;
  }
  // The image of the vector's tip less that of the origin: the translation cancels, a scale or
  // a projection stays.
  MMPoint3d<double> tip, origin;
  t->Transform(tip, in);
  t->Transform(origin, MMPoint3d<double>());
  out = tip - origin;
}
