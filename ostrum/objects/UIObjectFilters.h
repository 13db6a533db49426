#pragma once
// The simple members of the filter family: by selection, visibility, exact run-time type,
// pointer, label, set membership, and the filter that matches nothing.

#include <set>
#include <typeinfo>

#include "ostrum/Export.h"
#include "ostrum/objects/IUIObjectFilter.h"

class IObject;

/// The selected objects.
class OSTRUM_API UIObjectFilterSelected : public IUIObjectFilter {
 public:
  bool IsObjectMatched(const UIObject* object) const override;
  IUIObjectFilter* Clone() const override { return new UIObjectFilterSelected(*this); }
};

/// The objects visible in a scene (the default scene unless another is given).
class OSTRUM_API UIObjectFilterVisible : public IUIObjectFilter {
 public:
  explicit UIObjectFilterVisible(unsigned long long scene_id = 0xFFFFFFFF) : m_scene_id(scene_id) {}
  bool IsObjectMatched(const UIObject* object) const override;
  IUIObjectFilter* Clone() const override { return new UIObjectFilterVisible(*this); }

 private:
  unsigned long long m_scene_id;
};

/// The objects whose run-time type is exactly the one given; a derived class does not match.
class OSTRUM_API UIObjectFilterTypeInfo : public IUIObjectFilter {
 public:
  explicit UIObjectFilterTypeInfo(const std::type_info& type) : m_type(&type) {}
  bool IsObjectMatched(const UIObject* object) const override;
  IUIObjectFilter* Clone() const override { return new UIObjectFilterTypeInfo(*this); }

 private:
  const std::type_info* m_type;
};

/// The one object given, by pointer.
class OSTRUM_API UIObjectFilterByPointer : public IUIObjectFilter {
 public:
  explicit UIObjectFilterByPointer(const IObject* object) : m_object(object) {}
  bool IsObjectMatched(const UIObject* object) const override;
  IUIObjectFilter* Clone() const override { return new UIObjectFilterByPointer(*this); }

 private:
  const IObject* m_object;
};

/// The objects labelled `name` (exactly, or ignoring case); every object when `name` is null.
/// The text is not copied: the caller keeps it alive as long as this filter or a clone lives.
class OSTRUM_API UIObjectSelectedByName : public IUIObjectFilter {
 public:
  UIObjectSelectedByName(const wchar_t* name, bool ignore_case) : m_name(name), m_ignore_case(ignore_case) {}
  bool IsObjectMatched(const UIObject* object) const override;
  IUIObjectFilter* Clone() const override { return new UIObjectSelectedByName(*this); }

 private:
  const wchar_t* m_name;
  bool m_ignore_case;
};

/// Nothing.
class OSTRUM_API UIObjectFilterNoneObjects : public IUIObjectFilter {
 public:
  bool IsObjectMatched(const UIObject*) const override { return false; }
  IUIObjectFilter* Clone() const override { return new UIObjectFilterNoneObjects(*this); }
};

/// The objects of a set.
class OSTRUM_API UIObjectFilterInSet : public IUIObjectFilter {
 public:
  bool IsObjectMatched(const UIObject* object) const override;
  IUIObjectFilter* Clone() const override { return new UIObjectFilterInSet(*this); }
  void Add(IObject* object) { m_objects.insert(object); }
  void Remove(IObject* object) { m_objects.erase(object); }

 private:
  std::set<IObject*> m_objects;
};
