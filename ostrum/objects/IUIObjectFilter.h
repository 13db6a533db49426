#pragma once
// IUIObjectFilter: says yes or no for one tree object; the members of the family combine
// through UIObjectFilterComposite.

#include <cstddef>
#include <vector>

#include "ostrum/Export.h"

class UIObject;

class OSTRUM_API IUIObjectFilter {
 public:
  virtual ~IUIObjectFilter();

  virtual bool IsObjectMatched(const UIObject* object) const = 0;
  /// A new filter of the same class with the same data, owned by the caller; null here.
  virtual IUIObjectFilter* Clone() const;

  /// Erases from `list` every object that does not match, keeping the order of the others.
  void FilterList(std::vector<UIObject*>& list) const;
  /// Appends to `matched` the objects of `list` that match, in order; `matched` is not emptied.
  void FilterList(const std::vector<UIObject*>& list, std::vector<UIObject*>& matched) const;
  std::size_t GetNumberOfObjectsThatMatchFilter(const std::vector<UIObject*>& list) const;

 protected:
  IUIObjectFilter() = default;
  IUIObjectFilter(const IUIObjectFilter&) = default;
  IUIObjectFilter& operator=(const IUIObjectFilter&) = default;
};
