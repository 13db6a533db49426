#include "ostrum/coordinates/MTransformRepositoryEx.h"

#include "ostrum/coordinates/MTransformRepositoryException.h"
#include "ostrum/foundation/core/MUnit.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

MTransformRepositoryEx::MTransformRepositoryEx() {
  // From here on, while this object is what it is, GetInstance answers it (the base
  // destructor takes the mark back as the object stops being an application repository).
  _MarkApplicationRepository();
  _SetAbsoluteWorldUnit(L"stl units");
  MMTransformMatrix scale;
  scale.MakeScale1D(MUnit::GetIE());
  m_system_mm = CreateNewSystem(scale, GetAbsoluteWorld(), L"mm");
  m_system_ui = CreateNewSystem(MMTransformMatrix(), m_system_mm, L"ui");
  _SetVersionLatest();
}

MTransformRepositoryEx::~MTransformRepositoryEx() {
  m_resolved.clear();
  m_system_ui.SetUndefined();
  m_system_mm.SetUndefined();
}

MTransformRepositoryEx* MTransformRepositoryEx::GetInstance() {
  // The mark answers what a run-time cast would, without its search of the class hierarchy.
  MTransformRepository* const instance = MTransformRepository::GetInstance();
  return instance && instance->_IsApplicationRepository() ? static_cast<MTransformRepositoryEx*>(instance)
                                                          : nullptr;
}

MTransformRepositoryEx* MTransformRepositoryEx::CreateInstance() {
  auto* instance = new MTransformRepositoryEx();
  instance->_NotifyWokeUp();
  return instance;
}

void MTransformRepositoryEx::DeleteInstance() {
  // Only an application repository: a plain one belongs to whoever made it. The destructor
  // clears the instance.
  delete GetInstance();
}

bool MTransformRepositoryEx::IsCoordinateSystemDefault(MCoordinateSystem const& system) const {
  return system == GetAbsoluteWorld() || system == m_system_mm || system == m_system_ui;
}

void MTransformRepositoryEx::SetDependentCoordinateSystem(MCoordinateSystem const& system,
                                                          MCoordinateSystem const& parent) {
  if (IsCoordinateSystemDefault(system))
    throw MTransformRepositoryException(MTransformRepositoryException::RepExceptionDefaultSystem);
  MTransformRepository::SetDependentCoordinateSystem(system, parent);
}

MCoordinateSystem MTransformRepositoryEx::GetDependentCoordinateSystem(
    MCoordinateSystem const& system) const {
  if (system.IsDefined()) return MTransformRepository::GetDependentCoordinateSystem(system);
  MTransformRepositoryEx const* instance = GetInstance();
  return (instance ? instance : this)->m_system_mm;
}

MCoordinateSystem MTransformRepositoryEx::GetEyeFromWindow(MCoordinateSystem const& window) const {
  MCoordinateSystem eye;
  if (window.IsDefined()) eye.SetInternalSystem(window.GetInternalSystem()->GetTo());
  return eye;
}

void MTransformRepositoryEx::_SetGUIUnit(bool inch) {
  m_inch = inch;
  SetUnit(m_system_ui, inch ? L"inch" : L"mm");
  MMTransformMatrix scale;
  scale.MakeScale1D(inch ? 25.4 : 1.0);
  // Replaced whatever kind the transform is (a loaded one may be no matrix); empties the cache.
  ReplaceTransform(scale, m_system_ui);
}

void MTransformRepositoryEx::SetGUIUnitMm() { _SetGUIUnit(false); }

void MTransformRepositoryEx::SetGUIUnitInch() { _SetGUIUnit(true); }

std::int32_t MTransformRepositoryEx::GetSystemUIToStl() const {
  return static_cast<std::int32_t>(GetTransformMatrix(m_system_ui, GetAbsoluteWorld()).GetScale());
}

std::int32_t MTransformRepositoryEx::GetSystemMmToStl() const {
  return static_cast<std::int32_t>(GetTransformMatrix(m_system_mm, GetAbsoluteWorld()).GetScale());
}
