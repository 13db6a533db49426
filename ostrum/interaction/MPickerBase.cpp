#include "ostrum/interaction/MPickerBase.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "ostrum/coordinates/MCoordinateSystem.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/geometry/MMPlaneEq.h"
#include "ostrum/foundation/geometry/MMTransform.h"
#include "ostrum/interaction/IPickInfo.h"
#include "ostrum/interaction/IPickable.h"
#include "ostrum/interaction/UIWnd3D.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/objects/UIObjectIterator.h"
#include "ostrum/scene/MSceneEx.h"

IPickInfo::~IPickInfo() = default;
IPickable::~IPickable() = default;

namespace {

// The cast of tree objects to IPickable, worked out once per dynamic type for one pick. The
// cast crosses from one base to another, which walks the type's whole graph of bases, and a pick
// asks it of every object shown: a quarter of a pick among 1,000 objects went there. Objects
// whose UIObject part has the same table of virtual functions are of the same type, seen from
// the same base, so the IPickable part lies at the same distance from it, or is missing, in all
// of them; the first cast of a type answers for the others.
class PickableCast {
 public:
  IPickable* operator()(UIObject* object) {
    if (!object) return nullptr;
    const void* type;
    std::memcpy(&type, static_cast<const void*>(object), sizeof type);  // the UIObject part's table
    Slot& slot = m_slots[(reinterpret_cast<std::uintptr_t>(type) >> 4) % kSlots];
    if (slot.type != type) {
      IPickable* const pickable = dynamic_cast<IPickable*>(object);
      slot.type = type;
      slot.offset = pickable ? reinterpret_cast<char*>(pickable) - reinterpret_cast<char*>(object) : kNone;
      return pickable;
    }
    return slot.offset == kNone ? nullptr : reinterpret_cast<IPickable*>(reinterpret_cast<char*>(object) + slot.offset);
  }

 private:
  static constexpr std::ptrdiff_t kNone = PTRDIFF_MIN;
  static constexpr std::size_t kSlots = 16;
  struct Slot {
    const void* type = nullptr;
    std::ptrdiff_t offset = kNone;
  };
  Slot m_slots[kSlots];
};

}  // namespace

// --- the list ---

void MPickerBase::MIntersectionList::AddIntersection(const MIntersection& intersection) {
  const auto [at, inserted] = m_set.insert(intersection);
  // A hit already there: the newcomer's record has no hit to belong to. The same record twice
  // (a list added to a copy of itself) is the stored one and must stay.
  if (!inserted && intersection.m_info != at->m_info) delete intersection.m_info;
}

void MPickerBase::MIntersectionList::AddIntersections(const MIntersectionList& other) {
  if (&other == this) return;  // every hit is there already, each with its own record
  for (const MIntersection& intersection : other.m_set) AddIntersection(intersection);
}

// --- the picker ---

MPickerBase::MPickerBase(UIWnd3D* wnd3d) : m_wnd3d(wnd3d) {}

MPickerBase::~MPickerBase() {
  ClearPicker();
  delete m_object_to_window;
}

void MPickerBase::ClearPicker() {
  for (const MIntersection& intersection : m_intersections.m_set) delete intersection.m_info;
  m_intersections.m_set.clear();
}

bool MPickerBase::Operate() {
  ClearPicker();
  MDataBase* database = MDocument::GetActiveDocument() ? MDocument::GetDataBase() : nullptr;
  if (database && m_wnd3d) {
    // The scene first: what it shows in front of the objects (a reference grid, a clipping
    // plane's handle) is asked before any object.
    if (auto* scene = dynamic_cast<IPickable*>(database->GetScene(static_cast<std::size_t>(m_wnd3d->GetActiveScene()))))
      AddLineIntersections(scene);
    const UIObjectIterator end = database->GetEndUIObject();
    PickableCast as_pickable;
    for (UIObjectIterator it = database->GetBeginUIObject(); it != end; ++it) {
      UIObject* object = it;
      // Visibility first: an object the window does not show costs one call.
      if (!m_wnd3d->IsObjectVisible(object)) continue;
      if (IPickable* pickable = as_pickable(object)) AddLineIntersections(pickable);
    }
  }
  _PostProcess();
  return ValidPick();
}

bool MPickerBase::Operate(std::vector<IPickable*>& candidates) {
  ClearPicker();
  for (IPickable* candidate : candidates) {
    if (!candidate) continue;
    // Only tree objects can be hidden; without a window none of them is shown.
    if (const auto* object = dynamic_cast<const UIObject*>(candidate))
      if (!m_wnd3d || !m_wnd3d->IsObjectVisible(object)) continue;
    AddLineIntersections(candidate);
  }
  _PostProcess();
  return ValidPick();
}

bool MPickerBase::ValidPick() const { return !m_intersections.empty(); }

void MPickerBase::AddIntersection(const MIntersection& intersection) { m_intersections.AddIntersection(intersection); }

void MPickerBase::AddIntersection(double z, IPickable* object, IPickInfo* info) {
  MIntersection intersection;
  intersection.m_object = object;
  intersection.m_info = info;
  intersection.m_z = z;
  m_intersections.AddIntersection(intersection);
}

void MPickerBase::AddIntersections(const MIntersectionList& intersections) {
  m_intersections.AddIntersections(intersections);
}

const MPickerBase::MIntersection* MPickerBase::GetFirstIntersection() const {
  return ValidPick() ? &*m_intersections.begin() : nullptr;
}

const MPickerBase::MIntersection* MPickerBase::GetIntersection() const { return GetFirstIntersection(); }

IPickable* MPickerBase::GetPickedObject() const {
  if (!ValidPick()) return nullptr;
  const MIntersection* chosen = GetIntersection();
  return chosen ? chosen->m_object : nullptr;
}

IPickInfo* MPickerBase::GetPickedInfo() const {
  if (!ValidPick()) return nullptr;
  const MIntersection* chosen = GetIntersection();
  return chosen ? chosen->m_info : nullptr;
}

double MPickerBase::GetPickedZCoordinate() const {
  if (!ValidPick()) return 0.0;
  const MIntersection* chosen = GetIntersection();
  return chosen ? chosen->m_z : 0.0;
}

void MPickerBase::GetPickedPointInWindowCoordinates(float* out) const {
  out[0] = m_pick_x;
  out[1] = m_pick_y;
  // Held within the positive float range: a depth of zero or below comes out as the smallest
  // normal float, so that callers reading the value as a depth never see 0 or a sign.
  constexpr double kLow = std::numeric_limits<float>::min();
  constexpr double kHigh = std::numeric_limits<float>::max();
  const double z = GetPickedZCoordinate();
  if (z < kLow)
    out[2] = std::numeric_limits<float>::min();
  else if (z > kHigh)
    out[2] = std::numeric_limits<float>::max();
  else
    out[2] = static_cast<float>(z);
}

void MPickerBase::AddLineIntersections(IPickable* pickable) {
  if (pickable) pickable->GetLineIntersections(this);
}

void MPickerBase::InitObjectToWindowTransformation(const MCoordinateSystem& system) {
  MTransformRepositoryEx* repository = MDocument::GetTransformRep();
  if (!repository) return;
  MMTransform* copy = repository->GetTransform(system, GetWindowCoordinateSystem()).Clone();
  delete m_object_to_window;
  m_object_to_window = copy;
}

MCoordinateSystem MPickerBase::GetWindowCoordinateSystem() {
  return m_wnd3d ? m_wnd3d->GetCoordinateSystemWindow() : MCoordinateSystem();
}

void MPickerBase::_PostProcess() {
  if (m_clipping_planes.empty() || m_intersections.empty()) return;
  MTransformRepositoryEx* repository = MDocument::GetTransformRep();
  if (!repository) return;  // no system to hold the planes against: nothing can be clipped
  // Taken once for every plane: no other transform is asked for meanwhile, so the cache's
  // entry stays what it is.
  const MMTransform& window_to_mm = repository->GetTransform(GetWindowCoordinateSystem(), repository->GetSystemMm());
  for (const MMPlane& plane : m_clipping_planes) {
    const MMPlaneEq<double> equation(plane.GetPoint(), plane.GetNormal());
    MIntersectionList kept;
    for (const MIntersection& intersection : m_intersections.m_set) {
      if (!intersection.m_ignore_clipping) {
        MMPoint3d<double> mm;
        window_to_mm.Transform(mm, MMPoint3d<double>(intersection.m_x, intersection.m_y, intersection.m_z));
        if (equation.Distance(MMVector<double, 3>(mm.x, mm.y, mm.z)) < 0.0) {
          delete intersection.m_info;
          continue;
        }
      }
      kept.m_set.insert(kept.m_set.end(), intersection);
    }
    std::swap(m_intersections.m_set, kept.m_set);
  }
}
