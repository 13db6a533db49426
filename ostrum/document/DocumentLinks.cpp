// The links of the object model and of the scenes to the document (see
// objects/private/ObjectLinks.h and scene/private/SceneLinks.h): an object asks the active
// document's database about itself, an object that receives a copy sends its clone to the
// document as a new operation, and a scene finds the objects it holds under the database's root.

#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/objects/private/ObjectLinks.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/scene/private/SceneLinks.h"

namespace {

[[maybe_unused]] const bool kLinked = [] {
  auto& links = Ostrum::Private::g_object_links;
  links.is_object_removed = [](const IObject* object) {
    const MDataBase* database = MDocument::GetDataBase();
    return database && database->IsObjectRemoved(object);
  };
  links.is_object_registered = [](const IObject* object) {
    const MDataBase* database = MDocument::GetDataBase();
    return database && database->IsObjectRegistered(object);
  };
  links.is_object_selected = [](const UIObject* object) {
    const MDataBase* database = MDocument::GetDataBase();
    return database && database->IsObjectSelected(object);
  };
  links.restore_object = [](UIObject* object) {
    if (MDataBase* database = MDocument::GetDataBase()) database->RestoreObject(object);
  };
  Ostrum::Private::g_scene_links.active_root = []() -> UIObject* {
    MDataBase* database = MDocument::GetDataBase();
    return database ? &database->GetRootUIObject() : nullptr;
  };
  links.send_add = [](UIObject* clone) {
    auto* add = new UIOperation(MOperation::ACTION_ADD);
    add->AddObject(clone);
    add->DoOperation(nullptr);
  };
  return true;
}();

}  // namespace
