#pragma once
// MPickerBase: what lies under a point of a 3D window. A picker is made on the stack for one
// window, given the point (and, if the caller wants, a tolerance, clipping planes and the
// transform of the object it cares about), and run with Operate. It asks the active scene, if
// that is pickable, and then every visible pickable object of the document for the hits of the
// line of sight through the point; the objects report them with AddIntersection. The picker
// keeps them in one ordered set, nearest first, drops those behind the clipping planes, and
// gives out the chosen one: the nearest here, the one of the lowest priority number in
// Ostrum::MPickerPriorityDependent.
//
//   MPickerBase picker(wnd3d);
//   picker.SetPickCoordinates(point.x, point.y);
//   if (wnd3d->Pick(picker)) use(picker.GetPickedObject(), picker.GetPickedInfo());
//
// The records (IPickInfo) attached to hits belong to the picker: it deletes them when it is
// cleared, run again or destroyed, and at once for a hit it does not keep.

#include <cstdint>
#include <set>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMPlane.h"

class IPickable;
class IPickInfo;
class MCoordinateSystem;
class MMTransform;
class UIWnd3D;

class OSTRUM_API MPickerBase {
 public:
  /// One hit, a plain value. The set orders hits nearest first: by larger z (window depth, larger
  /// is nearer to the viewer), then by higher priority, then those with m_sort_late false, then
  /// by lower m_sub_order, then by the object's address. m_sort_late and m_sub_order mean
  /// whatever the reporting pickable makes them mean; the picker only sorts by them.
  struct MIntersection {
    IPickable* m_object = nullptr;  ///< the object hit; not owned
    IPickInfo* m_info = nullptr;    ///< the object's record, owned by the list holding the hit
    int32_t m_sub_order = 0;
    double m_x = 0.0;  ///< window coordinates of the hit
    double m_y = 0.0;
    double m_z = 0.0;
    int32_t m_priority = 0;
    bool m_sort_late = true;
    bool m_ignore_clipping = false;  ///< the hit survives every clipping plane

    bool operator<(const MIntersection& b) const {
      if (m_z > b.m_z) return true;
      if (b.m_z > m_z) return false;
      if (m_priority > b.m_priority) return true;
      if (m_priority < b.m_priority) return false;
      if (m_sort_late != b.m_sort_late) return !m_sort_late;
      if (m_sub_order < b.m_sub_order) return true;
      if (m_sub_order > b.m_sub_order) return false;
      return m_object < b.m_object;
    }
    bool operator>(const MIntersection& b) const { return b < *this; }
  };

  /// The hits found, in the order above, each at most once. Copies share the records; the list
  /// never deletes a record on its own destruction (the picker does, see ClearPicker).
  class OSTRUM_API MIntersectionList {
   public:
    using Set = std::set<MIntersection>;
    using const_iterator = Set::const_iterator;

    /// Inserts the hit; if an equal one (by the order's keys) is there already, the list stays
    /// as it is and the new hit's record is deleted, unless it is the record already stored.
    void AddIntersection(const MIntersection& intersection);
    /// Adds each hit of `other` in its order, by the same rule.
    void AddIntersections(const MIntersectionList& other);

    const_iterator begin() const { return m_set.begin(); }
    const_iterator end() const { return m_set.end(); }
    std::size_t size() const { return m_set.size(); }
    bool empty() const { return m_set.empty(); }

   private:
    friend class MPickerBase;
    Set m_set;
  };

  explicit MPickerBase(UIWnd3D* wnd3d);
  /// Copies are memberwise: the records and the transform are shared, not cloned, so at most
  /// one of a picker and its copies may be destroyed.
  MPickerBase(const MPickerBase&) = default;
  MPickerBase& operator=(const MPickerBase&) = default;
  /// Deletes every record of the list and the transform.
  virtual ~MPickerBase();

  /// Clears the picker, asks the candidates in order (a UIObject among them only if the window
  /// shows it; any other always), drops what lies behind the planes; whether something is hit.
  /// The scene is not asked.
  virtual bool Operate(std::vector<IPickable*>& candidates);
  /// Clears the picker, asks the active scene if it is pickable, then each pickable UIObject of
  /// the database that the window shows, in the walk's order, and drops what lies behind the
  /// planes; whether something is hit.
  virtual bool Operate();
  /// Whether the list holds a hit.
  virtual bool ValidPick() const;
  /// Inserts a complete hit (see MIntersectionList::AddIntersection); the record is the
  /// picker's from now on.
  virtual void AddIntersection(const MIntersection& intersection);
  /// Inserts a hit of `object` at depth `z` with window x and y 0 and the other fields at their
  /// defaults; the record is the picker's from now on.
  virtual void AddIntersection(double z, IPickable* object, IPickInfo* info);
  virtual void AddIntersections(const MIntersectionList& intersections);
  /// m_object of GetIntersection(); null without a hit.
  virtual IPickable* GetPickedObject() const;
  /// The hit that counts as the result: here the first of the list; null without a hit.
  virtual const MIntersection* GetIntersection() const;
  /// m_info of GetIntersection(); null without a hit.
  virtual IPickInfo* GetPickedInfo() const;
  /// The nearest hit; null without a hit.
  virtual const MIntersection* GetFirstIntersection() const;
  /// Has `pickable` report its hits to this picker.
  virtual void AddLineIntersections(IPickable* pickable);
  /// Drops, plane by plane, every hit that lies behind a clipping plane (negative distance in
  /// the millimetre system), deleting its record; hits marked m_ignore_clipping stay.
  virtual void _PostProcess();

  void SetWnd3D(UIWnd3D* wnd3d) { m_wnd3d = wnd3d; }
  UIWnd3D* GetWnd3D() const { return m_wnd3d; }
  void SetPickCoordinates(long x, long y) {
    m_pick_x = static_cast<float>(x);
    m_pick_y = static_cast<float>(y);
  }
  float GetXPickCoordinate() const { return m_pick_x; }
  float GetYPickCoordinate() const { return m_pick_y; }
  /// A tolerance in window units for the pickables; the picker does not read it.
  void SetPickRadius(float radius) { m_pick_radius = radius; }
  float GetPickRadius() const { return m_pick_radius; }
  /// Keeps a copy of the active repository's transform from `system` to the window's system
  /// (replacing an earlier one), for pickables to read.
  void InitObjectToWindowTransformation(const MCoordinateSystem& system);
  /// The transform InitObjectToWindowTransformation kept; the picker must have been prepared.
  const MMTransform& GetObjectToWindowTransformation() const { return *m_object_to_window; }
  /// A plane in the repository's millimetre system; hits on its negative side are dropped.
  void AddClippingPlane(const MMPlane& plane) { m_clipping_planes.push_back(plane); }
  /// The window's coordinate system; an undefined handle without a window.
  MCoordinateSystem GetWindowCoordinateSystem();
  /// Deletes every record of the list and empties it; point, radius, planes and transform stay.
  void ClearPicker();

  const MIntersectionList& GetIntersectionList() const { return m_intersections; }
  /// m_z of GetIntersection(); 0.0 without a hit.
  double GetPickedZCoordinate() const;
  double GetPickedZValue() const { return GetPickedZCoordinate(); }
  /// out[0], out[1]: the pick point; out[2]: GetPickedZCoordinate() held within the positive
  /// float range, from the smallest normal float (also for zero and negative z) to the largest.
  void GetPickedPointInWindowCoordinates(float* out) const;

 protected:
  UIWnd3D* m_wnd3d = nullptr;
  MIntersectionList m_intersections;
  float m_pick_x = 0.0f;
  float m_pick_y = 0.0f;
  float m_pick_radius = 0.0f;
  MMTransform* m_object_to_window = nullptr;
  std::vector<MMPlane> m_clipping_planes;
};
