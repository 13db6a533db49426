#include "ostrum/objects/UIObjectList.h"

#include <algorithm>

#include "ostrum/objects/UIObject.h"

UIObjectList::~UIObjectList() = default;

void UIObjectList::AddBasedOnPriority(UIObject* object) {
  const int32_t priority = object->GetPriority();
  auto it = std::find_if(begin(), end(), [priority](const UIObject* o) { return o->GetPriority() < priority; });
  insert(it, object);
}

bool UIObjectList::RemoveObject(UIObject* object) {
  auto it = std::find(begin(), end(), object);
  if (it == end()) return false;
  erase(it);
  return true;
}

bool UIObjectList::ContainsObject(const UIObject* object) const { return std::find(begin(), end(), object) != end(); }
