#pragma once
// What the scenes and cameras ask of the modules above them: the top of the active document's
// tree, whose objects a scene's bounding box holds (filled by the document), and the depth of
// the surface under a pixel of a 3D window (filled by the windows' picking). Empty, a scene has
// no objects and a camera finds no surface.

class UIObject;
class UIWnd3D;

namespace Ostrum::Private {

struct SceneLinks {
  UIObject* (*active_root)() = nullptr;
  /// The window depth of what `view` shows at pixel (x, y); false when nothing is there.
  bool (*search_z)(UIWnd3D* view, float& z, long x, long y) = nullptr;
};

extern SceneLinks g_scene_links;

}  // namespace Ostrum::Private
