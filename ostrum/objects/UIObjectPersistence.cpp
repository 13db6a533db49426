// The child list of a UIObject in a project file.

#include "ostrum/foundation/markup/MSAXReader.h"
#include "ostrum/foundation/markup/MSAXTagWriter.h"
#include "ostrum/foundation/markup/MSAXWriter.h"
#include "ostrum/objects/MSAXUIObjectChildren.h"
#include "ostrum/objects/UIObject.h"

bool UIObject::_WriteChildrenIDs(MSAXWriter& writer) const {
  if (m_children.empty()) return true;
  MSAXUIObjectChildren children(const_cast<UIObject*>(this));
  if (!children.HasChildrenToSave()) return true;
  MSAXTagWriter element(writer, L"Children");
  return element.IsOpen() && children.Write(writer);
}

bool UIObject::_HandleTagChildrenIDs(const std::wstring& tag, MSAXReader& reader) {
  if (tag != L"Children") return false;
  reader.DelegateElement(new MSAXUIObjectChildren(this), true);
  return true;
}
