#include "ostrum/scene/MSceneEx.h"

#include <cmath>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/geometry/MMTransform.h"
#include "ostrum/foundation/render/IVRender.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/objects/private/ObjectLinks.h"
#include "ostrum/scene/IMSceneOwner.h"
#include "ostrum/scene/private/SceneLinks.h"
#include "ostrum/undo/MStreamUndo.h"

namespace Ostrum::Private {
constinit SceneLinks g_scene_links;
}  // namespace Ostrum::Private

namespace {

using Plane = MSceneEx::MClippingPlane;

// An object's answer for a scene is the scene's id.
[[maybe_unused]] const bool kLinked = [] {
  Ostrum::Private::g_object_links.id_of_scene = [](const MSceneEx& scene) { return scene.GetSceneID(); };
  return true;
}();

Plane& Make(Plane*& plane) {
  if (!plane) plane = new Plane;
  return *plane;
}

// a, b, c is the axis's normal, d places the point `position` of that axis on the plane.
void PlaneFromPointAndNormal(Plane& plane, int axis, double position) {
  plane.a = axis == 0 ? 1 : 0;
  plane.b = axis == 1 ? 1 : 0;
  plane.c = axis == 2 ? 1 : 0;
  plane.d = -position;
}

bool Clips(const Plane* plane, double x, double y, double z) {
  return plane && plane->enabled && plane->a * x + plane->b * y + plane->c * z + plane->d <= 0;
}

}  // namespace

IMSceneOwner::~IMSceneOwner() = default;

MSceneEx::MSceneEx(const std::wstring& label) : MScene(label) {}

MSceneEx::~MSceneEx() {
  delete m_plane_x;
  delete m_plane_y;
  delete m_plane_z;
}

MSceneEx& MSceneEx::operator=(const MSceneEx& other) {
  MScene::operator=(other);
  m_plane_x = other.m_plane_x;
  m_plane_y = other.m_plane_y;
  m_plane_z = other.m_plane_z;
  m_camera = other.m_camera;
  m_owner = other.m_owner;
  return *this;
}

MSceneEx::MClippingPlane& MSceneEx::_GetClippingPlaneX() { return Make(m_plane_x); }
MSceneEx::MClippingPlane& MSceneEx::_GetClippingPlaneY() { return Make(m_plane_y); }
MSceneEx::MClippingPlane& MSceneEx::_GetClippingPlaneZ() { return Make(m_plane_z); }

void MSceneEx::EnableClippingPlaneX(bool enable) { _GetClippingPlaneX().enabled = enable; }
void MSceneEx::EnableClippingPlaneY(bool enable) { _GetClippingPlaneY().enabled = enable; }
void MSceneEx::EnableClippingPlaneZ(bool enable) { _GetClippingPlaneZ().enabled = enable; }
bool MSceneEx::IsClippingPlaneXEnabled() const { return m_plane_x && m_plane_x->enabled; }
bool MSceneEx::IsClippingPlaneYEnabled() const { return m_plane_y && m_plane_y->enabled; }
bool MSceneEx::IsClippingPlaneZEnabled() const { return m_plane_z && m_plane_z->enabled; }

namespace {
void Reverse(Plane* plane) {
  if (!plane) return;
  plane->a = -plane->a;
  plane->b = -plane->b;
  plane->c = -plane->c;
  plane->d = -plane->d;
}
}  // namespace

void MSceneEx::ToggleClippingPlaneX() { Reverse(m_plane_x); }
void MSceneEx::ToggleClippingPlaneY() { Reverse(m_plane_y); }
void MSceneEx::ToggleClippingPlaneZ() { Reverse(m_plane_z); }
bool MSceneEx::IsClippingPlaneXReversed() const { return m_plane_x && m_plane_x->a < 0; }
bool MSceneEx::IsClippingPlaneYReversed() const { return m_plane_y && m_plane_y->b < 0; }
bool MSceneEx::IsClippingPlaneZReversed() const { return m_plane_z && m_plane_z->c < 0; }

void MSceneEx::SetClippingPlaneXAtAbsolute(double p) { PlaneFromPointAndNormal(_GetClippingPlaneX(), 0, p); }
void MSceneEx::SetClippingPlaneYAtAbsolute(double p) { PlaneFromPointAndNormal(_GetClippingPlaneY(), 1, p); }
void MSceneEx::SetClippingPlaneZAtAbsolute(double p) { PlaneFromPointAndNormal(_GetClippingPlaneZ(), 2, p); }

void MSceneEx::SetClippingPlaneXAtRelative(double percent) {
  _UpdateBoundingBox();
  const double lo = m_bounding_box.GetMin().x, hi = m_bounding_box.GetMax().x;
  SetClippingPlaneXAtAbsolute(lo + percent * std::abs(hi - lo) / 100.0);
}

void MSceneEx::SetClippingPlaneYAtRelative(double percent) {
  _UpdateBoundingBox();
  const double lo = m_bounding_box.GetMin().y, hi = m_bounding_box.GetMax().y;
  SetClippingPlaneYAtAbsolute(lo + percent * std::abs(hi - lo) / 100.0);
}

void MSceneEx::SetClippingPlaneZAtRelative(double percent) {
  _UpdateBoundingBox();
  const double lo = m_bounding_box.GetMin().z, hi = m_bounding_box.GetMax().z;
  SetClippingPlaneZAtAbsolute(lo + percent * std::abs(hi - lo) / 100.0);
}

double MSceneEx::GetClippingPlaneXAbsolute() const { return m_plane_x ? -m_plane_x->d : 0.0; }
double MSceneEx::GetClippingPlaneYAbsolute() const { return m_plane_y ? -m_plane_y->d : 0.0; }
double MSceneEx::GetClippingPlaneZAbsolute() const { return m_plane_z ? -m_plane_z->d : 0.0; }

bool MSceneEx::IsPointClipped(double x, double y, double z) const {
  return Clips(m_plane_x, x, y, z) || Clips(m_plane_y, x, y, z) || Clips(m_plane_z, x, y, z);
}

bool MSceneEx::UpdateClippingPlanes(IVRender& renderer) {
  if (renderer.GetNumClippingPlanes() < 3) return false;
  Plane** planes[3] = {&m_plane_x, &m_plane_y, &m_plane_z};
  for (int index = 0; index < 3; ++index) {
    const Plane* plane = *planes[index];
    if (!plane) {
      Make(*planes[index]).enabled = false;  // made disabled for next time; the renderer hears nothing
      continue;
    }
    renderer.EnableClippingPlane(index, plane->enabled);
    if (plane->enabled)
      renderer.SetClippingPlane(index, static_cast<float>(plane->a), static_cast<float>(plane->b),
                                static_cast<float>(plane->c), static_cast<float>(plane->d));
  }
  return true;
}

void MSceneEx::_SaveStateClippingPlane(MStreamUndoOut& out, const MClippingPlane* plane) {
  out << (plane != nullptr);
  if (plane) out << plane->a << plane->b << plane->c << plane->d << plane->enabled;
}

void MSceneEx::_LoadStateClippingPlane(MStreamUndoIn& in, MClippingPlane* plane) {
  bool exists = false;
  in >> exists;
  if (!exists) return;
  // The saved plane is read into the existing one (a plane never goes before its scene);
  // without one the values are read and dropped, so the stream stays in step.
  MClippingPlane ignored;
  MClippingPlane& target = plane ? *plane : ignored;
  in >> target.a >> target.b >> target.c >> target.d >> target.enabled;
}

void MSceneEx::SaveState(MStreamUndoOut& out) {
  out << GetLabel();
  _SaveStateClippingPlane(out, m_plane_x);
  _SaveStateClippingPlane(out, m_plane_y);
  _SaveStateClippingPlane(out, m_plane_z);
  for (const MColor* color : {&GetBackgroundColor(), &GetLightAmbient(), &GetLightDiffuse(), &GetLightSpecular()})
    out << color->r << color->g << color->b << color->a;
  out << static_cast<long>(GetCameraLockMode()) << IsPersistent();
}

void MSceneEx::LoadState(MStreamUndoIn& in) {
  std::wstring label = GetLabel();
  in >> label;
  SetLabel(label);
  _LoadStateClippingPlane(in, m_plane_x);
  _LoadStateClippingPlane(in, m_plane_y);
  _LoadStateClippingPlane(in, m_plane_z);
  MColor colors[4] = {GetBackgroundColor(), GetLightAmbient(), GetLightDiffuse(), GetLightSpecular()};
  for (MColor& color : colors) in >> color.r >> color.g >> color.b >> color.a;
  SetBackgroundColor(colors[0]);
  SetLightAmbient(colors[1]);
  SetLightDiffuse(colors[2]);
  SetLightSpecular(colors[3]);
  long lock_mode = GetCameraLockMode();
  bool persistent = IsPersistent();
  in >> lock_mode >> persistent;
  SetCameraLockMode(static_cast<int32_t>(lock_mode));
  SetPersistent(persistent);
}

void MSceneEx::_UpdateBoundingBox() const {
  // 1.
  m_bounding_box = M3DBoundingBox<float>();
  // 2. The objects of the active document visible in this scene, in the render world.
  MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
  UIObject* root = Ostrum::Private::g_scene_links.active_root ? Ostrum::Private::g_scene_links.active_root() : nullptr;
  if (root && repository) {
    const unsigned long long id = GetSceneID();
    for (UIObjectIterator it = root->Begin(); it != root->End(); ++it) {
      UIObject& object = *it;
      if (!object.IsVisible(id)) continue;
      M3DBoundingBox<float> box;
      object.GetBoundingBox(box, id);
      if (!box.IsUsable()) continue;
      repository->GetTransform(object.GetCoordinateSystem(), repository->GetSystemRenderWorld()).TransformBoundingBox(box);
      m_bounding_box.Extend(box);
    }
  }
  // 3.
  if (!m_bounding_box.IsUsable())
    m_bounding_box = M3DBoundingBox<float>(MMPoint3d<float>(-10, -10, -10), MMPoint3d<float>(10, 10, 10));
}
