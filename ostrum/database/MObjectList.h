#pragma once
// MObjectList: the registry of a document's objects: those that exist for the user (live) and
// those kept only so that an undo can bring them back (removed). Both lists own their objects;
// a deleted object waits in the garbage, shared by all lists, until the next recycling.

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "ostrum/Export.h"

class IObject;

class OSTRUM_API MObjectList {
 public:
  MObjectList() = default;
  MObjectList(const MObjectList&) = delete;
  MObjectList& operator=(const MObjectList&) = delete;
  /// Destroys the objects of both lists.
  ~MObjectList();

  /// Registers `object` as removed (not live yet); true, also when it was registered already.
  bool RegisterObject(IObject* object);
  /// Live → removed, calling its OnRemove when `call_hook`; false if it is not live.
  bool RemoveObject(IObject* object, bool call_hook);
  /// Removed → live (at the end), calling its OnRestore; false if it is not removed.
  bool RestoreObject(IObject* object);
  /// Takes the object out of whichever list holds it, calling no hook: nobody owns it now but
  /// the caller. False if it is in neither.
  bool RetractObject(IObject* object);
  /// Retracts the object and puts it in the garbage; false if it was in neither list.
  bool DeleteObject(IObject* object);
  /// Destroys the objects of the lists asked for, after emptying them.
  void ClearList(bool live, bool removed);

  std::size_t GetNumObjects() const { return m_live.Count(); }
  std::size_t GetNumRemovedObjects() const { return m_removed.Count(); }
  std::size_t GetNumRegisteredObjects() const { return GetNumObjects() + GetNumRemovedObjects(); }
  /// Indices are not checked. The live objects in order of becoming live.
  IObject* GetObjectW(std::size_t index) const { return m_live.At(index, m_where); }
  IObject* GetRemovedObject(std::size_t index) const { return m_removed.At(index, m_where); }
  /// The live objects first, then the removed ones.
  IObject* GetRegisteredObject(std::size_t index) const;
  /// Constant time.
  bool IsObjectRegistered(const IObject* object) const { return m_where.count(object) != 0; }
  bool IsObjectRemoved(const IObject* object) const;

  /// Destroys the garbage: each object that is a subject first tells its observers of its
  /// deletion (an operation of action 3). What lands in the garbage meanwhile waits.
  static void RecycleGarbage();
  /// The objects waiting in the garbage.
  static std::size_t GetGarbageCount();
  /// The objects waiting in the garbage, in the order they were deleted; the next recycling
  /// destroys them.
  static const std::vector<IObject*>& _GetGarbage();

 private:
  // Where an object stands: which list, and its slot there.
  struct Place {
    bool removed;
    std::size_t slot;
  };
  using Index = std::unordered_map<const IObject*, Place>;

  // A list in its order. Taking an object out leaves a hole, so that it costs constant time;
  // the holes go (and the slots of the index with them) at the next access by position, or
  // when they outnumber the objects.
  class Slots {
   public:
    std::size_t Count() const { return m_items.size() - m_holes; }
    std::size_t Append(IObject* object) {
      m_items.push_back(object);
      return m_items.size() - 1;
    }
    /// Leaves a hole; once holes are the most of the list they go, so that a long run of
    /// removals and restorations without access by position keeps the list small.
    void Erase(std::size_t slot, Index& where) {
      m_items[slot] = nullptr;
      if (++m_holes > 16 && m_holes * 2 > m_items.size()) _Compact(where);
    }
    IObject* At(std::size_t index, Index& where) const;
    /// The objects in order, the list left empty.
    std::vector<IObject*> TakeAll();

   private:
    void _Compact(Index& where) const;
    mutable std::vector<IObject*> m_items;
    mutable std::size_t m_holes = 0;
  };

  bool _Take(IObject* object);

  Slots m_live;
  Slots m_removed;
  mutable Index m_where;
};
