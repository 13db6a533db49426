// The object model's links to the operations it receives (see objects/private/ObjectLinks.h).

#include "ostrum/objects/private/ObjectLinks.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/operations/UIOperation.h"

namespace {

[[maybe_unused]] const bool kLinked = [] {
  Ostrum::Private::ObjectLinks& links = Ostrum::Private::g_object_links;
  links.action_of = [](const MOperation& operation) { return operation.GetAction(); };
  links.label_of = [](const MOperation& operation) { return operation.GetLabel().c_str(); };
  links.scene_id_of = [](const MOperation& operation) {
    const auto* ui = dynamic_cast<const UIOperation*>(&operation);
    return ui ? ui->GetSceneID() : 0xFFFFFFFFull;
  };
  return true;
}();

}  // namespace
