#pragma once
// What the scenes ask of the modules above them: the top of the active document's tree, whose
// objects a scene's bounding box holds. The document fills it when the library loads; empty,
// a scene has no objects.

class UIObject;

namespace Ostrum::Private {

struct SceneLinks {
  UIObject* (*active_root)() = nullptr;
};

extern SceneLinks g_scene_links;

}  // namespace Ostrum::Private
