// MCamera: its two systems, the projection and the mouse conversions.

#include "ostrum/scene/MCamera.h"

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/scene/MCameraMemento.h"

namespace {

// The application's repository: the active document's, or the process's in a program without
// a document (they are the same instance).
MTransformRepositoryEx* Repository() { return MTransformRepositoryEx::GetInstance(); }

// The pixel (x, y) at the depths z0 and z1 taken back through `t`, as MMTransform's
// InverseTransform takes a point back. A matrix's kept inverse is read once and applied here to
// both points: the conversions run on every mouse move, and a call chain per point would cost
// more than the arithmetic.
void PixelBack(const MMTransform& t, float x, float y, float z0, float z1, float* p0, float* p1) {
  const MMTransformMatrix* m = t.AsMatrix();
  if (!m) {
    t.InverseTransform(p0, x, y, z0);
    t.InverseTransform(p1, x, y, z1);
    return;
  }
  const Eigen::Matrix4d& inverse = m->GetInverse();
  const bool affine = m->GetClass() != MMTransformMatrix::eGeneral;
  const double dx = x, dy = y;
  // Row by row in the order MMTransformMatrix applies a matrix, so the results are the same.
  auto back = [&](double z, float* out) {
    double o0 = inverse(0, 0) * dx + inverse(0, 1) * dy + inverse(0, 2) * z + inverse(0, 3);
    double o1 = inverse(1, 0) * dx + inverse(1, 1) * dy + inverse(1, 2) * z + inverse(1, 3);
    double o2 = inverse(2, 0) * dx + inverse(2, 1) * dy + inverse(2, 2) * z + inverse(2, 3);
    if (!affine) {
      const double w = inverse(3, 0) * dx + inverse(3, 1) * dy + inverse(3, 2) * z + inverse(3, 3);
      o0 /= w, o1 /= w, o2 /= w;
    }
    out[0] = static_cast<float>(o0), out[1] = static_cast<float>(o1), out[2] = static_cast<float>(o2);
  };
  back(z0, p0);
  back(z1, p1);
}

}  // namespace

MCamera::MCamera() { MTransformRepository::SubscribeNotifyDelete(this); }

MCamera::MCamera(const MCamera& other)
    : ITransformRepositoryNotifyDelete(other),
      m_eye(other.m_eye),
      m_window(other.m_window),
      m_cache_systems(other.m_cache_systems),
      m_parent_view(other.m_parent_view),
      m_window_rect(other.m_window_rect),
      m_volume(other.m_volume),
      m_rotation_center(other.m_rotation_center),
      m_perspective(other.m_perspective),
      m_zoom_center(other.m_zoom_center),
      m_unzoom_factor(other.m_unzoom_factor),
      m_unzoomed_left(other.m_unzoomed_left),
      m_unzoomed_right(other.m_unzoomed_right),
      m_unzoomed_top(other.m_unzoomed_top),
      m_unzoomed_bottom(other.m_unzoomed_bottom),
      m_unzoomed_near(other.m_unzoomed_near),
      m_unzoomed_far(other.m_unzoomed_far),
      m_unzoomed_center(other.m_unzoomed_center),
      m_unzoomed_reach(other.m_unzoomed_reach),
      m_pan_limit(other.m_pan_limit),
      m_zoom_limit_min(other.m_zoom_limit_min),
      m_zoom_limit_max(other.m_zoom_limit_max),
      m_panoramic(other.m_panoramic) {
  for (int i = 0; i < 6; ++i) m_custom_box[i] = other.m_custom_box[i];
  MTransformRepository::SubscribeNotifyDelete(this);
}

MCamera::~MCamera() { MTransformRepository::UnsubscribeNotifyDelete(this); }

void MCamera::TransformRepositoryWasDeleted() { ForgetCoordinateSystems(); }

void MCamera::TransformRepositoryWokeUpAgain() {}

void MCamera::ForgetCoordinateSystems() {
  m_window.SetUndefined();
  m_eye.SetUndefined();
}

// ---- setup ----

void MCamera::Reset() {
  MMTransformMatrix identity;
  Reset(identity);
}

void MCamera::Reset(MMTransformMatrix& eye_world) {
  MTransformRepositoryEx* repository = Repository();
  if (!repository) return;
  if (m_cache_systems && m_eye.IsDefined())
    repository->ReplaceTransform(eye_world, m_eye);
  else
    m_eye = repository->CreateNewSystemNotSaved(eye_world, repository->GetSystemRenderWorld(), L"camera.view");
  _Reset();
}

void MCamera::Reset(MCoordinateSystem& eye) {
  m_eye = eye;
  _Reset();
}

void MCamera::_Reset() {
  MTransformRepositoryEx* repository = Repository();
  m_volume = IVViewVolume();
  m_rotation_center = MMPoint3d<double>();
  if (!repository || !m_eye.IsDefined()) return;
  const MMTransformMatrix identity;
  if (m_cache_systems && AreCoordinateSystemsValid() && m_window.ChildOf(m_eye, true))
    repository->ReplaceTransform(identity, m_window);
  else
    m_window = repository->CreateNewSystemNotSaved(identity, m_eye, L"camera.window");
  _UpdateEyeWindowFromViewVolume();
  SetPerspective(false);
}

void MCamera::SetWindowRect(CRect rect) {
  m_window_rect = rect;
  _UpdateEyeWindowFromViewVolume();
}

void MCamera::SetPerspective(bool perspective) {
  m_perspective = perspective;
  float l, b, r, t, n, f;
  bool unused;
  m_volume.GetViewVolume(l, b, r, t, n, f, unused);
  m_volume.SetViewVolume(l, b, r, t, n, f, perspective, false, true);
  _UpdateEyeWindowFromViewVolume();
}

void MCamera::SetViewVolume(const IVViewVolume& volume) {
  _SetViewVolume(volume);
  _UpdateEyeWindowFromViewVolume();
}

void MCamera::_SetSides(float left, float bottom, float right, float top) {
  float l, b, r, t, n, f;
  bool perspective;
  m_volume.GetViewVolume(l, b, r, t, n, f, perspective);
  m_volume.SetViewVolume(left, bottom, right, top, n, f, perspective, false, true);
  _UpdateEyeWindowFromViewVolume();
}

// ---- projection ----

void MCamera::_GetAspectAdjustedViewVolume(float& left, float& top, float& right, float& bottom, float& near,
                                           float& far) const {
  bool perspective;
  m_volume.GetViewVolume(left, bottom, right, top, near, far, perspective);
  const float h = top - bottom;
  const float w = right - left;
  if (h == 0.0f) return;
  const float view = w / h;
  const float win = static_cast<float>(m_window_rect.Width()) / static_cast<float>(m_window_rect.Height());
  if (win > view) {
    const float d = (win * h - w) / 2;
    left -= d;
    right += d;
  } else {
    const float w2 = w / win;
    const float d = (w2 - h) / 2;
    bottom -= d;
    top += d;
  }
}

void MCamera::_UpdateEyeWindowFromViewVolume() {
  // 1, 2.
  MTransformRepositoryEx* repository = Repository();
  if (!m_window.IsDefined() || !repository) return;
  MMTransformMatrix* m = repository->AccessTransformMatrix(m_window);
  if (!m) return;
  // 3.
  float left, top, right, bottom, near, far;
  _GetAspectAdjustedViewVolume(left, top, right, bottom, near, far);
  if (left == right || top == bottom || near == far) return;
  // 4.
  if (m_volume.IsParallelProjection())
    m->MakeOrthoGraphicProjection(left, right, top, bottom, far, near);
  else
    m->MakePerspectiveProjection(left, right, top, bottom, far, near, 30.0);
  // 5, 6. Integer division, as the pixels are whole; y turns from up to down.
  const int w = m_window_rect.Width();
  const int h = m_window_rect.Height();
  MMTransformMatrix scale;
  scale.MakeScale3D(w / 2, (-h) / 2, w / 2);
  MMTransformMatrix shift;
  shift.MakeTranslation(m_window_rect.right / 2, m_window_rect.bottom / 2, 0);
  // 7, 8. The node takes the window into the eye.
  m->PreMultiply(scale);
  m->PreMultiply(shift);
  m->Invert();
}

// ---- transforms ----

void MCamera::SetTransformationWorldToEye(MMTransformMatrix& world_to_eye) {
  MTransformRepositoryEx* repository = Repository();
  MMTransformMatrix* eye = repository && m_eye.IsDefined() ? repository->AccessTransformMatrix(m_eye) : nullptr;
  if (!eye) return;
  *eye = world_to_eye;
  eye->Invert();
}

MMTransformMatrix MCamera::GetTransformationWorldToEye() const {
  MTransformRepositoryEx* repository = Repository();
  const MMTransformMatrix* eye = repository && m_eye.IsDefined() ? repository->AccessTransformMatrix(m_eye) : nullptr;
  return eye ? *eye : MMTransformMatrix();
}

MMPoint3d<double> MCamera::GetEyeVector() const {
  MTransformRepositoryEx* repository = Repository();
  const MMTransformMatrix* eye = repository && m_eye.IsDefined() ? repository->AccessTransformMatrix(m_eye) : nullptr;
  if (!eye) return MMPoint3d<double>();
  return MMPoint3d<double>(eye->GetElement(2, 0, true), eye->GetElement(2, 1, true), eye->GetElement(2, 2, true));
}

MCameraMemento* MCamera::CreateMemento() const {
  auto* memento = new MCameraMemento;
  MTransformRepositoryEx* repository = Repository();
  if (repository && m_eye.IsDefined())
    memento->SetEyeWorld(repository->GetTransform(m_eye, repository->GetSystemRenderWorld()));
  else
    memento->SetEyeWorld(MMTransformMatrix());
  memento->SetViewVolume(m_volume);
  memento->SetRotationCenter(m_rotation_center);
  memento->SetPerpsective(m_perspective);
  return memento;
}

void MCamera::ApplyMemento(MCameraMemento* memento, bool keep_eye) {
  if (!memento) return;
  if (!m_eye.IsDefined()) Reset();
  MTransformRepositoryEx* repository = Repository();
  if (!keep_eye && repository && m_eye.IsDefined() && memento->m_eye_world)
    repository->ReplaceTransform(memento->GetEyeWorld(), m_eye);
  _SetViewVolume(memento->GetViewVolume());
  SetRotationCenter(memento->GetRotationCenter());
  SetPerspective(memento->GetPerspective());
  _UpdateEyeWindowFromViewVolume();
}

// ---- the mouse in space ----
// Each answers from the repository's cached transform and allocates nothing. A camera without
// systems answers the pixel itself, so that callers never read undefined values.

bool MCamera::GetMouseInObjectCoordinates(float* point, float* direction, long x, long y, UIObject* object) const {
  MTransformRepositoryEx* repository = Repository();
  if (!repository || !AreCoordinateSystemsValid() || !object) {
    point[0] = static_cast<float>(x), point[1] = static_cast<float>(y), point[2] = 0;
    direction[0] = 0, direction[1] = 0, direction[2] = 1;
    return true;
  }
  float far_point[3];
  PixelBack(repository->GetTransform(object->GetCoordinateSystem(), m_window), static_cast<float>(x),
            static_cast<float>(y), -1.0f, 1.0f, point, far_point);
  for (int i = 0; i < 3; ++i) direction[i] = far_point[i] - point[i];
  return true;
}

bool MCamera::GetMouseInEyeCoordinates(float* point, float* direction, long x, long y) const {
  direction[0] = 0, direction[1] = 0, direction[2] = 1;
  MTransformRepositoryEx* repository = Repository();
  if (!repository || !AreCoordinateSystemsValid()) {
    point[0] = static_cast<float>(x), point[1] = static_cast<float>(y), point[2] = 0;
    return true;
  }
  repository->GetTransform(m_eye, m_window).InverseTransform(point, static_cast<float>(x), static_cast<float>(y), 0.0f);
  return true;
}

bool MCamera::GetMouseInSystemMmCoordinates(float* point, float* direction, long x, long y) const {
  GetMouseInEyeCoordinates(point, direction, x, y);
  MTransformRepositoryEx* repository = Repository();
  if (!repository || !AreCoordinateSystemsValid()) return true;
  // The eye's depth is dropped; the direction stays the eye's.
  repository->GetTransform(repository->GetSystemMm(), m_eye).InverseTransform(point, point[0], point[1], 0.0f);
  return true;
}

bool MCamera::GetRayInSystemMmCoordinates(float* point, float* direction, long x, long y) const {
  MTransformRepositoryEx* repository = Repository();
  if (!repository || !AreCoordinateSystemsValid()) {
    point[0] = static_cast<float>(x), point[1] = static_cast<float>(y), point[2] = 0;
    direction[0] = 0, direction[1] = 0, direction[2] = -1;
    return true;
  }
  float e0[3], e1[3];
  const MMTransform& t = repository->GetTransform(m_eye, m_window);
  t.InverseTransform(e0, static_cast<float>(x), static_cast<float>(y), 0.0f);
  t.InverseTransform(e1, static_cast<float>(x), static_cast<float>(y), -1.0f);
  const MMTransform& u = repository->GetTransform(repository->GetSystemMm(), m_eye);
  u.InverseTransform(point, e0);
  u.InverseTransform(direction, e1);
  for (int i = 0; i < 3; ++i) direction[i] -= point[i];
  return true;
}
