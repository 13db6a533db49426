#pragma once
// UIObjectList: an ordered list of tree objects, highest priority first. A parent's children
// and the database's selection are such lists. It does not own the objects.

#include <cstddef>
#include <vector>

#include "ostrum/Export.h"

class UIObject;

class OSTRUM_API UIObjectList : public std::vector<UIObject*> {
 public:
  UIObjectList() = default;
  UIObjectList(const UIObjectList&) = default;
  UIObjectList& operator=(const UIObjectList&) = default;
  UIObjectList(UIObjectList&&) noexcept = default;
  UIObjectList& operator=(UIObjectList&&) noexcept = default;
  virtual ~UIObjectList();

  /// Inserts `object` before the first element of strictly lower priority, or at the end: the
  /// list stays in descending priority, and among equals the newest stands last.
  void AddBasedOnPriority(UIObject* object);
  /// Erases the first occurrence of `object`; false when it is not in the list.
  bool RemoveObject(UIObject* object);
  bool ContainsObject(const UIObject* object) const;
  /// The element at `index`, which is not checked.
  UIObject* GetObjectW(std::size_t index) const { return (*this)[index]; }
};
