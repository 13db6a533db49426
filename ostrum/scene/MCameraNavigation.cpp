// MCamera: navigation. Rotations change the eye's transform; zoom and pan change the view
// volume, and with it the window's transform. Every call does nothing while the camera has no
// systems.

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/objects/IRender.h"
#include "ostrum/scene/MCamera.h"
#include "ostrum/scene/private/SceneLinks.h"

namespace {

constexpr float kEmptyMin = 3.4028235e38f;
constexpr float kEmptyMax = -3.4028235e38f;
constexpr double kPi = 3.141592653589793;
constexpr unsigned long long kDefaultScene = 0xFFFFFFFF;

MTransformRepositoryEx* Repository() { return MTransformRepositoryEx::GetInstance(); }

MMPoint3d<float> Apply(const MMTransform& t, const MMPoint3d<float>& p) {
  MMPoint3d<float> out;
  t.Transform(out, p);
  return out;
}

MMPoint3d<float> ApplyInverse(const MMTransform& t, const MMPoint3d<float>& p) {
  MMPoint3d<float> out;
  t.InverseTransform(out, p);
  return out;
}

// The eye node's matrix (eye to render world), or null.
MMTransformMatrix* EyeMatrix(const MCoordinateSystem& eye) {
  MTransformRepositoryEx* repository = Repository();
  return repository ? repository->AccessTransformMatrix(eye) : nullptr;
}

}  // namespace

// ---- the box of the scene ----

void MCamera::GetBBox(M3DBoundingBox<float>& box, std::list<IRender*>& objects, const MCoordinateSystem& system,
                      unsigned long long scene) const {
  if (_HasCustomBBox()) {
    box.Set(MMPoint3d<float>(m_custom_box[0], m_custom_box[1], m_custom_box[2]),
            MMPoint3d<float>(m_custom_box[3], m_custom_box[4], m_custom_box[5]));
    return;
  }
  // 1. Shared by all cameras: a scene that lost its objects keeps its last extent.
  static M3DBoundingBox<float> last_box(MMPoint3d<float>(kEmptyMin, kEmptyMin, kEmptyMin),
                                        MMPoint3d<float>(kEmptyMax, kEmptyMax, kEmptyMax));
  // 2.
  for (IRender* object : objects) {
    if (!object) continue;
    M3DBoundingBox<float> one(MMPoint3d<float>(kEmptyMin, kEmptyMin, kEmptyMin),
                              MMPoint3d<float>(kEmptyMax, kEmptyMax, kEmptyMax));
    object->GetBoundingBox(one, scene, &system);
    if (!one.IsUsable()) continue;
    if (!box.IsUsable())
      box = one;
    else
      box.Extend(one);
  }
  // 3, 4.
  MMPoint3d<float> min = box.GetMin(), max = box.GetMax();
  for (int i = 0; i < 3; ++i) {
    if (min[i] == kEmptyMin) min[i] = last_box.GetMin()[i];
    if (max[i] == kEmptyMax) max[i] = last_box.GetMax()[i];
  }
  box.Set(min, max);
  last_box = box;
  // 5.
  for (int i = 0; i < 3; ++i) {
    if (min[i] == kEmptyMin) min[i] = -1.0f;
    if (max[i] == kEmptyMax) max[i] = 1.0f;
  }
  box.Set(min, max);
}

// ---- rotation ----

void MCamera::StartRotation(std::list<IRender*>& objects, unsigned long long scene) {
  if (objects.empty() || !AreCoordinateSystemsValid()) return;
  _CalcRotateCenter(objects, scene);
}

void MCamera::_CalcRotateCenter(std::list<IRender*>& objects, unsigned long long scene) {
  if (IsZoomedIn())
    _CalcRotateCenterFace(objects);
  else
    _CalcRotateCenterBoundingBox(objects, scene);
}

void MCamera::_CalcRotateCenterBoundingBox(std::list<IRender*>& objects, unsigned long long scene) {
  M3DBoundingBox<float> box(MMPoint3d<float>(kEmptyMin, kEmptyMin, kEmptyMin),
                            MMPoint3d<float>(kEmptyMax, kEmptyMax, kEmptyMax));
  GetBBox(box, objects, m_eye, scene);
  m_rotation_center = MMPoint3d<double>(box.GetCenter());
}

void MCamera::_CalcRotateCenterFace(std::list<IRender*>& objects) {
  MTransformRepositoryEx* repository = Repository();
  if (!repository) return;
  // 1.
  float left, bottom, right, top, near, far;
  bool perspective;
  m_volume.GetViewVolume(left, bottom, right, top, near, far, perspective);
  // 2.
  const MMTransform& t = repository->GetTransform(m_eye, m_window);
  const MMPoint3d<float> a = Apply(t, MMPoint3d<float>(left, bottom, far));
  const MMPoint3d<float> b = Apply(t, MMPoint3d<float>(right, top, far));
  // 3, 4.
  MMPoint3d<double> center((left + right) / 2.0f, (bottom + top) / 2.0f, m_rotation_center.z);
  const float px = (a.x + b.x) / 2, py = (a.y + b.y) / 2;
  // 5. The probe may query transforms of its own: the transform is asked for again.
  float z = 0;
  if (_SearchZFromZBuffer(z, px, py)) {
    const MMPoint3d<float> hit = ApplyInverse(repository->GetTransform(m_eye, m_window), MMPoint3d<float>(px, py, z));
    center.z = hit.z;
    m_rotation_center = center;
    return;
  }
  // 6.
  _CalcRotateCenterBoundingBox(objects, kDefaultScene);
}

bool MCamera::_SearchZFromZBuffer(float& z, float x, float y) const {
  const auto search = Ostrum::Private::g_scene_links.search_z;
  if (!m_parent_view || !search) return false;
  return search(m_parent_view, z, std::lround(x), std::lround(y));
}

void MCamera::SetRotation(float x, float y, float z) {
  if (!AreCoordinateSystemsValid()) return;
  MMTransformMatrix* eye = EyeMatrix(m_eye);
  if (!eye) return;
  eye->MakeRotationZYX(x, y, z);
  eye->SetRotationCenter(m_rotation_center);
  eye->Invert();
}

void MCamera::Rotate(std::list<IRender*>& objects, float x, float y, float z) {
  if (objects.empty() || !AreCoordinateSystemsValid()) return;
  MMTransformMatrix* eye = EyeMatrix(m_eye);
  if (!eye) return;
  MMTransformMatrix rotation;
  rotation.MakeRotationZYX(x, y, z);
  rotation.SetRotationCenter(m_rotation_center);
  // After what is there, in eye coordinates, about the centre.
  eye->Invert();
  eye->PreMultiply(rotation);
  eye->Invert();
}

void MCamera::RotateWorldZ(std::list<IRender*>& objects, float x, float y, float z) {
  // 1.
  MTransformRepositoryEx* repository = Repository();
  if (objects.empty() || !AreCoordinateSystemsValid() || !repository) return;
  // 2. The z axis of the millimetre system, as the eye sees it.
  MMPoint3d<double> axis;
  repository->GetTransform(repository->GetSystemMm(), m_eye).Transform(axis, MMPoint3d<double>(0, 0, 1), true);
  // 3-5.
  MMTransformMatrix turn, tilt, roll;
  turn.MakeRotation(m_rotation_center, axis, -y * kPi / 180.0);
  tilt.MakeRotation(m_rotation_center, MMPoint3d<double>(1, 0, 0), -x * kPi / 180.0);
  roll.MakeRotationXYZ(0, 0, z);
  roll.SetRotationCenter(m_rotation_center);
  // 6.
  MMTransformMatrix* eye = EyeMatrix(m_eye);
  if (!eye) return;
  eye->Invert();
  eye->PreMultiply(roll);
  eye->PreMultiply(turn);
  eye->PreMultiply(tilt);
  eye->Invert();
}

// ---- fitting ----

void MCamera::Unzoom(std::list<IRender*>& objects, unsigned long long scene) {
  MTransformRepositoryEx* repository = Repository();
  if (!AreCoordinateSystemsValid() || objects.empty() || !repository) return;
  M3DBoundingBox<float> box(MMPoint3d<float>(kEmptyMin, kEmptyMin, kEmptyMin),
                            MMPoint3d<float>(kEmptyMax, kEmptyMax, kEmptyMax));
  GetBBox(box, objects, repository->GetSystemMm(), scene);
  Unzoom(box);
}

void MCamera::Unzoom(M3DBoundingBox<float>& box) {
  // 1.
  MTransformRepositoryEx* repository = Repository();
  if (!AreCoordinateSystemsValid() || !repository) return;
  // 2.
  const MMTransform& to_eye = repository->GetTransform(repository->GetSystemMm(), m_eye);
  const MMPoint3d<float> min = Apply(to_eye, box.GetMin());
  const MMPoint3d<float> max = Apply(to_eye, box.GetMax());
  // 3, 4. The half diagonal: any rotation of the model still fits.
  const MMPoint3d<float> c = (min + max) / 2.0f;
  float r = (min - c).Length();
  r *= static_cast<float>(1.0 - m_unzoom_factor / 100.0);
  // 5, 6.
  m_volume.SetViewVolume(c.x - r, c.y - r, c.x + r, c.y + r, c.z - r, c.z + r, m_perspective, true, true);
  _UpdateEyeWindowFromViewVolume();
  // 7.
  bool perspective;
  m_volume.GetViewVolume(m_unzoomed_left, m_unzoomed_bottom, m_unzoomed_right, m_unzoomed_top, m_unzoomed_near,
                         m_unzoomed_far, perspective);
  // 8-10.
  const MMTransform& to_mm = repository->GetTransform(m_eye, repository->GetSystemMm());
  m_unzoomed_center = Apply(to_mm, c);
  m_unzoomed_reach = Apply(to_mm, min);
  const MMPoint3d<float> d = m_unzoomed_center - m_unzoomed_reach;
  const float m = std::max({std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)});
  m_unzoomed_reach = m_unzoomed_center + MMPoint3d<float>(m, 0, 0);
}

void MCamera::UnzoomXY(std::list<IRender*>& objects) {
  // 1.
  MTransformRepositoryEx* repository = Repository();
  if (objects.empty() || !AreCoordinateSystemsValid() || !repository) return;
  // 2.
  M3DBoundingBox<float> box(MMPoint3d<float>(kEmptyMin, kEmptyMin, kEmptyMin),
                            MMPoint3d<float>(kEmptyMax, kEmptyMax, kEmptyMax));
  MMPoint3d<float> a, b;
  if (m_panoramic) {
    GetBBox(box, objects, repository->GetSystemMm(), kDefaultScene);
    const MMTransform& to_eye = repository->GetTransform(repository->GetSystemMm(), m_eye);
    a = Apply(to_eye, box.GetMin());
    b = Apply(to_eye, box.GetMax());
  } else {
    GetBBox(box, objects, m_eye, kDefaultScene);
    a = box.GetMin();
    b = box.GetMax();
  }
  // 3, 4.
  float lo[3], hi[3];
  for (int i = 0; i < 3; ++i) {
    lo[i] = std::min(a[i], b[i]);
    hi[i] = std::max(a[i], b[i]);
  }
  if (hi[2] - lo[2] < 10.0 * 0.00034526697709225) {
    lo[2] -= 1.0f;
    hi[2] += 1.0f;
  }
  // 5.
  m_volume.SetViewVolume(lo[0], lo[1], hi[0], hi[1], lo[2], hi[2], m_perspective, true, true);
  _UpdateEyeWindowFromViewVolume();
  bool perspective;
  m_volume.GetViewVolume(m_unzoomed_left, m_unzoomed_bottom, m_unzoomed_right, m_unzoomed_top, m_unzoomed_near,
                         m_unzoomed_far, perspective);
  // 6.
  m_unzoomed_center = MMPoint3d<float>();
  m_unzoomed_reach = MMPoint3d<float>();
}

// ---- zoom ----

float MCamera::GetZoomFactor() const {
  float left, bottom, right, top, near, far;
  bool perspective;
  m_volume.GetViewVolume(left, bottom, right, top, near, far, perspective);
  const float w = right - left;
  if (w < 0.0001f) return 1.0f;
  return (m_unzoomed_right - m_unzoomed_left) / w;
}

void MCamera::SetZoomCenter(CPoint point) {
  MTransformRepositoryEx* repository = Repository();
  if (!AreCoordinateSystemsValid() || !repository) return;
  const MMPoint3d<float> eye = ApplyInverse(repository->GetTransform(m_eye, m_window),
                                            MMPoint3d<float>(static_cast<float>(point.x), static_cast<float>(point.y), 0));
  m_zoom_center.Set(eye.x, eye.y);
}

void MCamera::Zoom(float factor) {
  if (!AreCoordinateSystemsValid()) return;
  // 1-3.
  const float z = GetZoomFactor();
  if (m_zoom_limit_min > 0.001f && m_zoom_limit_min > factor * z) factor = m_zoom_limit_min / z;
  if (m_zoom_limit_max > 0.001f && factor * z > m_zoom_limit_max) factor = m_zoom_limit_max / z;
  // 4. The zoom centre stays where it is on the screen.
  float left, bottom, right, top, near, far;
  bool perspective;
  m_volume.GetViewVolume(left, bottom, right, top, near, far, perspective);
  const float keep = 1 / factor, pull = (factor - 1) / factor;
  left = left * keep + m_zoom_center.x * pull;
  right = right * keep + m_zoom_center.x * pull;
  bottom = bottom * keep + m_zoom_center.y * pull;
  top = top * keep + m_zoom_center.y * pull;
  // 5.
  _SetSides(left, bottom, right, top);
}

void MCamera::Zoom(CRect rect) {
  MTransformRepositoryEx* repository = Repository();
  if (!AreCoordinateSystemsValid() || !repository) return;
  // 1.
  const MMTransform& t = repository->GetTransform(m_eye, m_window);
  MMPoint3d<float> p = ApplyInverse(t, MMPoint3d<float>(static_cast<float>(rect.left), static_cast<float>(rect.top), 0));
  MMPoint3d<float> q =
      ApplyInverse(t, MMPoint3d<float>(static_cast<float>(rect.right), static_cast<float>(rect.bottom), 0));
  // 2, 3.
  const float unzoomed_width = m_unzoomed_right - m_unzoomed_left;
  const float f = unzoomed_width / std::max(q.x - p.x, 1e-5f);
  if (m_zoom_limit_max > 0.001f && f > m_zoom_limit_max) {
    const MMPoint3d<float> center = (p + q) / 2.0f;
    const float half_w = unzoomed_width / m_zoom_limit_max / 2;
    const float half_h = (m_unzoomed_bottom - m_unzoomed_top) / m_zoom_limit_max / 2;  // negative: the swap mends it
    p.Set(center.x - half_w, center.y - half_h, p.z);
    q.Set(center.x + half_w, center.y + half_h, q.z);
  }
  // 4.
  _SetSides(p.x, p.y, q.x, q.y);
}

// ---- pan ----

void MCamera::TranslateView(float dx, float dy) {
  MTransformRepositoryEx* repository = Repository();
  if (!AreCoordinateSystemsValid() || !repository) return;
  float left, bottom, right, top, near, far;
  bool perspective;
  m_volume.GetViewVolume(left, bottom, right, top, near, far, perspective);
  // 1. In the plane of far.
  const MMTransform& t = repository->GetTransform(m_eye, m_window);
  MMPoint3d<float> w1 = Apply(t, MMPoint3d<float>(left, bottom, far));
  MMPoint3d<float> w2 = Apply(t, MMPoint3d<float>(right, top, far));
  w1.x -= dx, w1.y -= dy, w2.x -= dx, w2.y -= dy;
  MMPoint3d<float> q1 = ApplyInverse(t, w1);
  MMPoint3d<float> q2 = ApplyInverse(t, w2);
  // 2. Pushed back within the pan limit.
  if (m_pan_limit > 0.001f) {
    float al, at, ar, ab, an, af;
    _GetAspectAdjustedViewVolume(al, at, ar, ab, an, af);
    MMPoint3d<float> v1 = Apply(t, MMPoint3d<float>(al, at, far));
    MMPoint3d<float> v2 = Apply(t, MMPoint3d<float>(ar, ab, far));
    v1.x -= dx, v1.y += dy, v2.x -= dx, v2.y += dy;
    const MMPoint3d<float> e1 = ApplyInverse(t, v1);
    const MMPoint3d<float> e2 = ApplyInverse(t, v2);
    const MMTransform& to_eye = repository->GetTransform(repository->GetSystemMm(), m_eye);
    const MMPoint3d<float> c = Apply(to_eye, m_unzoomed_center);
    const MMPoint3d<float> u = Apply(to_eye, m_unzoomed_reach);
    const float r = (c - u).Length();
    float L, R, T, B;
    if (r != 0.0f) {
      L = c.x - r, R = c.x + r, B = c.y - r, T = c.y + r;
    } else {
      L = m_unzoomed_left, R = m_unzoomed_right, T = m_unzoomed_top, B = m_unzoomed_bottom;
    }
    const float k = m_pan_limit / GetZoomFactor();
    const float W = R - L, H = T - B;
    const float inner_l = L + k * W, inner_r = L + (1 - k) * W;
    const float inner_b = B + k * H, inner_t = B + (1 - k) * H;
    float cx = 0, cy = 0;
    if (inner_l > e2.x) cx += inner_l - e2.x;
    if (e1.x > inner_r) cx -= e1.x - inner_r;
    if (inner_b > e1.y) cy -= inner_b - e1.y;
    if (e2.y > inner_t) cy += e2.y - inner_t;
    q1.x += cx, q2.x += cx, q1.y -= cy, q2.y -= cy;
  }
  // 3.
  _SetSides(q1.x, q1.y, q2.x, q2.y);
}

// ---- depth and visibility ----

void MCamera::SetClippingPlanes(std::list<IRender*>& objects, unsigned long long scene) {
  if (objects.empty() || !AreCoordinateSystemsValid()) return;
  M3DBoundingBox<float> box(MMPoint3d<float>(kEmptyMin, kEmptyMin, kEmptyMin),
                            MMPoint3d<float>(kEmptyMax, kEmptyMax, kEmptyMax));
  GetBBox(box, objects, m_eye, scene);
  const float min_z = std::min(box.GetMin().z, box.GetMax().z);
  const float max_z = std::max(box.GetMin().z, box.GetMax().z);
  float n = min_z - 1.1920929e-7f, f = max_z + 1.1920929e-7f;
  const float d = (f - n) / 100.0f;
  n -= d;
  f += d;
  float left, bottom, right, top, near, far;
  bool perspective;
  m_volume.GetViewVolume(left, bottom, right, top, near, far, perspective);
  m_volume.SetViewVolume(left, bottom, right, top, n, f, perspective, false, true);
  _UpdateEyeWindowFromViewVolume();
}

void MCamera::EnsureVisible(float x) {
  if (!AreCoordinateSystemsValid()) return;
  // The inner 80 percent of the adjusted volume's width.
  auto inner = [this](float& l, float& r) {
    float top, bottom, near, far;
    _GetAspectAdjustedViewVolume(l, top, r, bottom, near, far);
    const float mid = (l + r) / 2, half = (r - l) * (0.5f - 0.1f);
    l = mid - half;
    r = mid + half;
  };
  // 1, 2.
  float l1, r1;
  inner(l1, r1);
  const float t = (x - l1) / (r1 - l1);
  if (t >= 0 && t < 1) return;
  // 3.
  float left, bottom, right, top, near, far;
  bool perspective;
  m_volume.GetViewVolume(left, bottom, right, top, near, far, perspective);
  const float half = (right - left) * 0.5f;
  left = x - half;
  right = x + half;
  _SetSides(left, bottom, right, top);
  // 4, 5.
  float l2, r2;
  inner(l2, r2);
  float lo = m_unzoomed_left, hi = m_unzoomed_right;
  if (_HasCustomBBox()) {
    MTransformRepositoryEx* repository = Repository();
    if (m_panoramic && repository) {
      const MMTransform& to_eye = repository->GetTransform(repository->GetSystemRenderWorld(), m_eye);
      lo = Apply(to_eye, MMPoint3d<float>(m_custom_box[0], m_custom_box[1], m_custom_box[2])).x;
      hi = Apply(to_eye, MMPoint3d<float>(m_custom_box[3], m_custom_box[4], m_custom_box[5])).x;
    } else {
      lo = m_custom_box[0];
      hi = m_custom_box[3];
    }
  }
  // 6, 7.
  float shift = 0;
  if (t < 0 && lo > l2) shift = lo - l2;
  if (t > 1 && r2 > hi) shift = hi - r2;
  if (shift == 0) return;
  _SetSides(left + shift, bottom, right + shift, top);
}

void MCamera::SetCustomBBox(float min_x, float min_y, float min_z, float max_x, float max_y, float max_z) {
  m_custom_box[0] = min_x, m_custom_box[1] = min_y, m_custom_box[2] = min_z;
  m_custom_box[3] = max_x, m_custom_box[4] = max_y, m_custom_box[5] = max_z;
}
