#include "ostrum/interaction/MPickerPriorityDependent.h"

#include "ostrum/interaction/IPickable.h"
#include "ostrum/objects/UIObject.h"

namespace Ostrum {

void MPickerPriorityDependent::AddIntersection(double z, IPickable* object, IPickInfo* info) {
  MIntersection intersection;
  intersection.m_object = object;
  intersection.m_info = info;
  intersection.m_z = z;
  if (const auto* ui_object = dynamic_cast<const UIObject*>(object)) intersection.m_priority = ui_object->GetPriority();
  m_intersections.AddIntersection(intersection);
}

const MPickerBase::MIntersection* MPickerPriorityDependent::GetIntersection() const {
  if (!ValidPick()) return nullptr;
  const MIntersection* chosen = &*m_intersections.begin();
  for (const MIntersection& intersection : m_intersections) {
    if (intersection.m_priority < chosen->m_priority ||
        (intersection.m_priority == chosen->m_priority && intersection.m_z > chosen->m_z))
      chosen = &intersection;
  }
  return chosen;
}

}  // namespace Ostrum
