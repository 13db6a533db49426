#pragma once
// MCamera: the 3D camera of a window. It is no matrix of its own: it lives in the repository
// of coordinate systems as two systems, the eye below the render world and the window below
// the eye, so that any object projects to a pixel with GetTransform(object's system, window)
// and a pixel comes back with the inverse of the same cached transform.
//
// Rotations change the eye's transform; zoom and pan change the view volume and with it the
// window's transform. Every navigation call does nothing while the systems are undefined (a
// new camera, or after the repository went); Reset defines them.

#include <list>

#include "ostrum/Export.h"
#include "ostrum/coordinates/ITransformRepositoryNotifyDelete.h"
#include "ostrum/coordinates/MCoordinateSystem.h"
#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/geometry/MMPoint2d.h"
#include "ostrum/foundation/geometry/MMPoint3d.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/foundation/platform/CRect.h"
#include "ostrum/scene/IVViewVolume.h"

class IRender;
class MCameraMemento;
class MMTransformMatrix;
class UIObject;
class UIWnd3D;

class OSTRUM_API MCamera : public ITransformRepositoryNotifyDelete {
 public:
  /// Undefined until Reset; listens for the repository's deletion.
  MCamera();
  /// The same state; it listens for the repository's deletion too, so that its handles never
  /// outlive the repository.
  MCamera(const MCamera& other);
  MCamera& operator=(const MCamera&) = delete;
  ~MCamera() override;

  /// The repository went: both systems become undefined.
  void TransformRepositoryWasDeleted() override;
  /// Nothing: the owner resets the camera.
  void TransformRepositoryWokeUpAgain() override;

  // --- setup ---

  /// The eye anew below the render world with an identity transform (or, with cached systems,
  /// the eye's transform reset), then the window, the default volume and parallel projection.
  void Reset();
  /// `eye` becomes the eye; then as Reset.
  void Reset(MCoordinateSystem& eye);
  /// As Reset, with `eye_world` (eye to render world) in place of the identity.
  void Reset(MMTransformMatrix& eye_world);
  /// With it on, a reset reuses the two systems instead of making new ones.
  void SetCacheCoordinateSystems(bool cache) { m_cache_systems = cache; }
  void SetParentView(UIWnd3D* view) { m_parent_view = view; }
  UIWnd3D* GetParentView() const { return m_parent_view; }
  /// The client area in pixels; the window's transform follows.
  void SetWindowRect(CRect rect);
  void GetWindowRect(CRect& rect) const { rect = m_window_rect; }
  MCoordinateSystem& GetCoordinateSystemEye() { return m_eye; }
  const MCoordinateSystem& GetCoordinateSystemEye() const { return m_eye; }
  MCoordinateSystem& GetCoordinateSystemWindow() { return m_window; }
  const MCoordinateSystem& GetCoordinateSystemWindow() const { return m_window; }
  bool AreCoordinateSystemsValid() const { return m_eye.IsDefined() && m_window.IsDefined(); }
  void ForgetCoordinateSystems();
  /// The volume keeps its numbers and takes the projection; keep aspect on.
  void SetPerspective(bool perspective);
  void SetViewVolume(const IVViewVolume& volume);
  const IVViewVolume& GetViewVolume() const { return m_volume; }

  // --- transforms ---

  /// `world_to_eye` takes the render world into the eye; the eye's node keeps its inverse.
  void SetTransformationWorldToEye(MMTransformMatrix& world_to_eye);
  /// The eye node's matrix as it stands (eye to render world, not inverted). Clears the
  /// repository's cache: not for a render loop.
  MMTransformMatrix GetTransformationWorldToEye() const;
  /// The third row of the eye node's kept inverse. Clears the cache too.
  MMPoint3d<double> GetEyeVector() const;
  /// A new memento of the camera, owned by the caller.
  MCameraMemento* CreateMemento() const;
  /// Restores `memento` (the eye's transform unless `keep_eye`); resets first if undefined.
  void ApplyMemento(MCameraMemento* memento, bool keep_eye);

  // --- the mouse in space; x and y are window pixels, point and direction three floats ---

  /// The ray through pixel (x, y) in `object`'s system, from depth -1 to depth 1.
  bool GetMouseInObjectCoordinates(float* point, float* direction, long x, long y, UIObject* object) const;
  /// The pixel at depth 0 in eye coordinates; the direction is the eye's z axis.
  bool GetMouseInEyeCoordinates(float* point, float* direction, long x, long y) const;
  /// The pixel in the millimetre system (eye depth dropped); the direction stays the eye's z.
  bool GetMouseInSystemMmCoordinates(float* point, float* direction, long x, long y) const;
  /// The ray through the pixel in the millimetre system, from depth 0 towards depth -1.
  bool GetRayInSystemMmCoordinates(float* point, float* direction, long x, long y) const;

  // --- navigation ---

  /// The box of `objects` in `scene`, expressed in `system` (the custom box when one is set);
  /// a list without usable boxes keeps the extent of the last call, -1 to 1 at first.
  void GetBBox(M3DBoundingBox<float>& box, std::list<IRender*>& objects, const MCoordinateSystem& system,
               unsigned long long scene) const;
  void SetRotationCenter(MMPoint3d<double> center) { m_rotation_center = center; }
  MMPoint3d<double> GetRotationCenter() const { return m_rotation_center; }
  /// The eye turned by absolute angles in degrees about the rotation centre.
  void SetRotation(float x, float y, float z);
  /// Computes the rotation centre for the rotations that follow: the surface under the view's
  /// centre when zoomed in, otherwise the centre of the objects' box.
  void StartRotation(std::list<IRender*>& objects, unsigned long long scene);
  /// Turns the view by (x, y, z) degrees about the rotation centre, after what is there.
  void Rotate(std::list<IRender*>& objects, float x, float y, float z);
  /// Turns the model about the z axis of the millimetre system (y) and tilts it about the
  /// eye's x axis (x), then about the eye's z (z); degrees.
  void RotateWorldZ(std::list<IRender*>& objects, float x, float y, float z);
  /// Fits the objects of `scene` into the window, whatever their rotation.
  void Unzoom(std::list<IRender*>& objects, unsigned long long scene);
  /// Fits `box`, given in millimetres.
  void Unzoom(M3DBoundingBox<float>& box);
  /// Fits the objects exactly in x and y, without margin.
  void UnzoomXY(std::list<IRender*>& objects);
  /// Shows the window rectangle `rect`.
  void Zoom(CRect rect);
  /// Multiplies the zoom by `factor` about the zoom centre, within the zoom limits.
  void Zoom(float factor);
  void SetZoomCenter(CPoint point);
  MMPoint2d<float> GetZoomCenter() const { return m_zoom_center; }
  /// Percent by which Unzoom tightens its fit.
  void SetUnzoomFactor(int percent) { m_unzoom_factor = percent; }
  /// The zoom relative to the last unzoom (0 before the first).
  float GetZoomFactor() const;
  bool IsZoomedIn() const { return GetZoomFactor() > 1.5f; }
  /// Bounds of the zoom factor; a bound of 0.001 or less is none.
  void SetZoomLimits(float min, float max) {
    m_zoom_limit_min = min;
    m_zoom_limit_max = max;
  }
  void GetZoomLimits(float& min, float& max) const {
    min = m_zoom_limit_min;
    max = m_zoom_limit_max;
  }
  /// Pans by window pixels, within the pan limit.
  void TranslateView(float dx, float dy);
  /// How far into the scene the view's edges must reach, as a fraction of it at zoom 1.
  void SetPanLimit(float limit) { m_pan_limit = limit; }
  float GetPanLimit() const { return m_pan_limit; }
  /// Near and far from the objects' box, with one percent of the depth to spare at each end.
  void SetClippingPlanes(std::list<IRender*>& objects, unsigned long long scene);
  /// Brings the eye x `x` into the inner 80 percent of the view's width.
  void EnsureVisible(float x);
  /// A box used in place of the objects' (when max x > min x).
  void SetCustomBBox(float min_x, float min_y, float min_z, float max_x, float max_y, float max_z);
  void SetPanoramic(bool panoramic) { m_panoramic = panoramic; }
  bool IsPanoramic() const { return m_panoramic; }

 private:
  void _Reset();
  void _SetViewVolume(const IVViewVolume& volume) { m_volume = volume; }
  bool _GetPerspective() const { return m_perspective; }
  void _UpdateTransforms() {}
  /// The view volume grown to the window's shape (note: top before right).
  void _GetAspectAdjustedViewVolume(float& left, float& top, float& right, float& bottom, float& near,
                                    float& far) const;
  /// The window's transform from the view volume and the window rect.
  void _UpdateEyeWindowFromViewVolume();
  void _CalcRotateCenter(std::list<IRender*>& objects, unsigned long long scene);
  void _CalcRotateCenterBoundingBox(std::list<IRender*>& objects, unsigned long long scene);
  void _CalcRotateCenterFace(std::list<IRender*>& objects);
  /// The depth of the surface at window pixel (x, y), picked in the parent view.
  bool _SearchZFromZBuffer(float& z, float x, float y) const;
  bool _HasCustomBBox() const { return m_custom_box[3] > m_custom_box[0]; }
  /// Sets the volume's four sides, keeping near, far and the projection, no recentering.
  void _SetSides(float left, float bottom, float right, float top);

  MCoordinateSystem m_eye;
  MCoordinateSystem m_window;
  bool m_cache_systems = false;
  UIWnd3D* m_parent_view = nullptr;
  CRect m_window_rect{-1, 1, 1, -1};
  IVViewVolume m_volume;
  MMPoint3d<double> m_rotation_center;
  bool m_perspective = false;
  MMPoint2d<float> m_zoom_center;
  int m_unzoom_factor = 0;
  float m_unzoomed_left = 0, m_unzoomed_right = 0, m_unzoomed_top = 0, m_unzoomed_bottom = 0;
  float m_unzoomed_near = 0, m_unzoomed_far = 0;
  MMPoint3d<float> m_unzoomed_center;
  MMPoint3d<float> m_unzoomed_reach;
  float m_pan_limit = 0;
  float m_zoom_limit_min = 0;
  float m_zoom_limit_max = 0;
  float m_custom_box[6] = {0, 0, 0, 0, 0, 0};
  bool m_panoramic = false;
};
