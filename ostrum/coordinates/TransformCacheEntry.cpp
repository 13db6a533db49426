#include "ostrum/coordinates/TransformCacheEntry.h"

#include <typeinfo>
#include <utility>

#include "ostrum/coordinates/MCoordinateSystem.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

TransformCacheEntry::~TransformCacheEntry() { delete m_transform; }

bool TransformCacheEntry::Matches(MCoordinateSystem const& from, MCoordinateSystem const& to) const {
  return Matches(from.GetInternalSystem(), to.GetInternalSystem());
}

void TransformCacheEntry::SetEntry(MCoordinateSystem const& from, MCoordinateSystem const& to,
                                   MMTransform* t) {
  SetEntry(from.GetInternalSystem(), to.GetInternalSystem(), t);
}

void TransformCacheEntry::SetEntry(MTransformRepositoryCoordinateSystem const* from,
                                   MTransformRepositoryCoordinateSystem const* to, MMTransform* t) {
  m_from = from;
  m_to = to;
  if (t != m_transform) delete m_transform;
  m_transform = t;
  m_plain = t && typeid(*t) == typeid(MMTransformMatrix) ? static_cast<MMTransformMatrix*>(t) : nullptr;
}

void TransformCacheEntry::ClearEntry() {
  m_from = nullptr;
  m_to = nullptr;
  delete m_transform;
  m_transform = nullptr;
  m_plain = nullptr;
}

void TransformCacheEntry::TakeReversed() {
  std::swap(m_from, m_to);
  if (m_transform && !(m_plain && m_plain->InvertKept())) m_transform->Invert();
}
