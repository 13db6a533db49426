// The 3D window's picking, and the camera's way to it: a rotation about what lies under the
// pointer asks the window for the depth there through the scene module's link, filled here
// when the library loads.

#include <limits>

#include "ostrum/interaction/MPickerBase.h"
#include "ostrum/interaction/UIWnd3D.h"
#include "ostrum/scene/private/SceneLinks.h"

bool UIWnd3D::Pick(MPickerBase& picker) { return picker.Operate(); }

float UIWnd3D::PickZValue(int x, int y) {
  MPickerBase picker(this);
  picker.SetPickCoordinates(x, y);
  Pick(picker);
  if (!picker.ValidPick()) return std::numeric_limits<float>::max();
  float point[3];
  picker.GetPickedPointInWindowCoordinates(point);
  return point[2];
}

namespace {

const bool g_search_z_linked = [] {
  Ostrum::Private::g_scene_links.search_z = [](UIWnd3D* view, float& z, long x, long y) {
    if (!view) return false;
    MPickerBase picker(view);
    picker.SetPickCoordinates(x, y);
    view->Pick(picker);
    if (!picker.ValidPick()) return false;
    float point[3];
    picker.GetPickedPointInWindowCoordinates(point);
    z = point[2];
    return true;
  };
  return true;
}();

}  // namespace
