#pragma once
// Ostrum::MPickerPriorityDependent: a picker in which an object's importance beats its depth.
// Hits reported by depth alone take the priority of their UIObject, and the result is the hit
// of the lowest priority number, the nearest among equals: a screw in front of a bone is picked
// although the bone's surface lies nearer at that point, when the screw's number is lower.
// GetFirstIntersection still gives the nearest hit.

#include "ostrum/Export.h"
#include "ostrum/interaction/MPickerBase.h"

namespace Ostrum {

class OSTRUM_API MPickerPriorityDependent : public MPickerBase {
 public:
  using MPickerBase::MPickerBase;
  using MPickerBase::AddIntersection;

  /// As in the base, with m_priority set to UIObject::GetPriority() when `object` is a
  /// UIObject (0 otherwise). A complete hit keeps the priority its caller gave it.
  void AddIntersection(double z, IPickable* object, IPickInfo* info) override;
  /// The hit of the lowest priority number; of equal numbers the nearest, and of those the
  /// first in the list's order. Null without a hit.
  const MIntersection* GetIntersection() const override;
};

}  // namespace Ostrum
