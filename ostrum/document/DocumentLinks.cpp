// The object model's links to the document (see objects/private/ObjectLinks.h): an object that
// receives a copy sends its clone to the document as a new operation.

#include "ostrum/objects/UIObject.h"
#include "ostrum/objects/private/ObjectLinks.h"
#include "ostrum/operations/UIOperation.h"

namespace {

[[maybe_unused]] const bool kLinked = [] {
  Ostrum::Private::g_object_links.send_add = [](UIObject* clone) {
    auto* add = new UIOperation(MOperation::ACTION_ADD);
    add->AddObject(clone);
    add->DoOperation(nullptr);
  };
  return true;
}();

}  // namespace
