// The filter family.

#include "ostrum/objects/IUIObjectFilter.h"

#include <algorithm>
#include <cwctype>

#include "ostrum/objects/UIObject.h"
#include "ostrum/objects/UIObjectFilterComposite.h"
#include "ostrum/objects/UIObjectFilters.h"

IUIObjectFilter::~IUIObjectFilter() = default;

IUIObjectFilter* IUIObjectFilter::Clone() const { return nullptr; }

void IUIObjectFilter::FilterList(std::vector<UIObject*>& list) const {
  list.erase(std::remove_if(list.begin(), list.end(), [this](const UIObject* o) { return !IsObjectMatched(o); }),
             list.end());
}

void IUIObjectFilter::FilterList(const std::vector<UIObject*>& list, std::vector<UIObject*>& matched) const {
  for (UIObject* object : list)
    if (IsObjectMatched(object)) matched.push_back(object);
}

std::size_t IUIObjectFilter::GetNumberOfObjectsThatMatchFilter(const std::vector<UIObject*>& list) const {
  return static_cast<std::size_t>(
      std::count_if(list.begin(), list.end(), [this](const UIObject* o) { return IsObjectMatched(o); }));
}

bool UIObjectFilterSelected::IsObjectMatched(const UIObject* object) const { return object->IsSelected(); }

bool UIObjectFilterVisible::IsObjectMatched(const UIObject* object) const { return object->IsVisible(m_scene_id); }

bool UIObjectFilterTypeInfo::IsObjectMatched(const UIObject* object) const { return typeid(*object) == *m_type; }

bool UIObjectFilterByPointer::IsObjectMatched(const UIObject* object) const {
  return static_cast<const IObject*>(object) == m_object;
}

bool UIObjectSelectedByName::IsObjectMatched(const UIObject* object) const {
  if (!m_name) return true;
  const wchar_t* label = object->GetLabel();
  if (!m_ignore_case) return std::wcscmp(label, m_name) == 0;
  for (const wchar_t* a = label, *b = m_name;; ++a, ++b) {
    if (std::towlower(static_cast<wint_t>(*a)) != std::towlower(static_cast<wint_t>(*b))) return false;
    if (*a == 0) return true;
  }
}

bool UIObjectFilterInSet::IsObjectMatched(const UIObject* object) const {
  return m_objects.count(const_cast<IObject*>(static_cast<const IObject*>(object))) != 0;
}

// ---- composite ----

UIObjectFilterComposite::~UIObjectFilterComposite() { Clear(); }

bool UIObjectFilterComposite::IsObjectMatched(const UIObject* object) const {
  if (m_operation != BOOLEAN_AND && m_operation != BOOLEAN_OR && m_operation != BOOLEAN_NOT) return false;
  for (const Entry& entry : m_filters) {
    const bool matched = entry.first->IsObjectMatched(object);
    if (m_operation == BOOLEAN_AND && !matched) return false;
    if (m_operation == BOOLEAN_OR && matched) return true;
    if (m_operation == BOOLEAN_NOT) return !matched;
  }
  return m_operation != BOOLEAN_OR;
}

IUIObjectFilter* UIObjectFilterComposite::Clone() const {
  auto* copy = new UIObjectFilterComposite(m_operation);
  for (const Entry& entry : m_filters) {
    if (!entry.second) {
      copy->m_filters.push_back(entry);
    } else if (IUIObjectFilter* clone = entry.first->Clone()) {
      copy->m_filters.emplace_back(clone, true);
    }
  }
  return copy;
}

bool UIObjectFilterComposite::_Contains(const IUIObjectFilter* filter) const {
  return std::any_of(m_filters.begin(), m_filters.end(), [filter](const Entry& e) { return e.first == filter; });
}

void UIObjectFilterComposite::Attach(const IUIObjectFilter* filter) {
  if (filter && !_Contains(filter)) m_filters.emplace_back(filter, false);
}

void UIObjectFilterComposite::AddOwned(IUIObjectFilter* filter) {
  if (filter && !_Contains(filter)) m_filters.emplace_back(filter, true);
}

bool UIObjectFilterComposite::ErasePredicate(const Entry& entry) {
  if (!entry.second) return false;
  delete entry.first;
  return true;
}

void UIObjectFilterComposite::DestroyAllOwnedFilters() {
  // The list is shortened too: entries left behind would name deleted filters.
  m_filters.erase(std::remove_if(m_filters.begin(), m_filters.end(), ErasePredicate), m_filters.end());
}

void UIObjectFilterComposite::Clear() {
  for (const Entry& entry : m_filters)
    if (entry.second) delete entry.first;
  m_filters.clear();
}
