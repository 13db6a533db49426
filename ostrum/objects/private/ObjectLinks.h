#pragma once
// What the object model asks of the modules above it: the active document's database, the
// operations an object receives, the scenes it is drawn in. Each module that can answer fills
// its part when the library loads (see "Calls up the layers" in the architecture notes); an
// empty part answers as if there were no such thing (no database: known to none; no scene).

#include <cstdint>

class IObject;
class MOperation;
class MSceneEx;
class UIObject;

namespace Ostrum::Private {

struct ObjectLinks {
  // The active document's database.
  bool (*is_object_removed)(const IObject* object) = nullptr;
  bool (*is_object_registered)(const IObject* object) = nullptr;
  bool (*is_object_selected)(const UIObject* object) = nullptr;
  /// Brings a removed object back into the database, as a hierarchy is loaded.
  void (*restore_object)(UIObject* object) = nullptr;
  /// Whether a document is being loaded (new objects then leave their system to the loader).
  bool is_loading = false;

  // Operations.
  std::uint32_t (*action_of)(const MOperation& operation) = nullptr;
  const wchar_t* (*label_of)(const MOperation& operation) = nullptr;
  /// The scene a show or hide acts on.
  unsigned long long (*scene_id_of)(const MOperation& operation) = nullptr;
  /// Sends, through the document, an operation that adds `clone`.
  void (*send_add)(UIObject* clone) = nullptr;

  // Scenes.
  unsigned long long (*id_of_scene)(const MSceneEx& scene) = nullptr;
};

/// The one set of links of the process.
extern ObjectLinks g_object_links;

}  // namespace Ostrum::Private
