// The root of the desktop framework's class tree and its run-time records.

#include "ostrum/foundation/platform/CObject.h"

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
  for (const CRuntimeClass* type = this; type; type = type->m_pfnGetBaseClass ? type->m_pfnGetBaseClass() : nullptr)
    if (type == base) return true;
  return false;
}

CObject::~CObject() = default;

const CRuntimeClass* CObject::GetThisClass() {
  static const CRuntimeClass record{"CObject", static_cast<int>(sizeof(CObject)), nullptr, nullptr};
  return &record;
}

const CRuntimeClass* CObject::GetRuntimeClass() const { return GetThisClass(); }
