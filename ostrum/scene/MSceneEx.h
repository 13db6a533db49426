#pragma once
// MSceneEx: the framework's scene: a scene of the stage with three axis-aligned clipping planes
// and the camera that shows it. Only its manager makes and destroys it.

#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/stage/MScene.h"

class IMSceneOwner;
class IVRender;
class MCamera;
class MStreamUndoIn;
class MStreamUndoOut;

class OSTRUM_API MSceneEx : public MScene {
 public:
  /// A plane a x + b y + c z + d = 0 in the render world; what lies on its negative side
  /// (a x + b y + c z + d <= 0) is clipped away while it is enabled.
  struct MClippingPlane {
    double a = 0, b = 0, c = 0, d = 0;
    bool enabled = false;
  };

  /// The planes share the scene's data: the copy shares them too.
  MSceneEx& operator=(const MSceneEx& other);

  // The same triple of operations for each axis, normal (1, 0, 0), (0, 1, 0), (0, 0, 1).

  /// Makes the plane if it is missing and enables or disables it.
  void EnableClippingPlaneX(bool enable);
  void EnableClippingPlaneY(bool enable);
  void EnableClippingPlaneZ(bool enable);
  bool IsClippingPlaneXEnabled() const;
  bool IsClippingPlaneYEnabled() const;
  bool IsClippingPlaneZEnabled() const;
  /// Turns the plane round (the other side is kept); nothing without a plane.
  void ToggleClippingPlaneX();
  void ToggleClippingPlaneY();
  void ToggleClippingPlaneZ();
  /// Whether the plane keeps the lower side (its normal's own component is negative).
  bool IsClippingPlaneXReversed() const;
  bool IsClippingPlaneYReversed() const;
  bool IsClippingPlaneZReversed() const;
  /// Puts the plane at the coordinate `position` of its axis, facing up the axis (a reversal is
  /// lost); makes it if missing; `enabled` stays.
  void SetClippingPlaneXAtAbsolute(double position);
  void SetClippingPlaneYAtAbsolute(double position);
  void SetClippingPlaneZAtAbsolute(double position);
  /// As absolute, at `percent` of the scene's bounding box along the axis (0: its low side).
  void SetClippingPlaneXAtRelative(double percent);
  void SetClippingPlaneYAtRelative(double percent);
  void SetClippingPlaneZAtRelative(double percent);
  /// -d of the plane (for a reversed plane the negated position); 0 without a plane, which is
  /// not made.
  double GetClippingPlaneXAbsolute() const;
  double GetClippingPlaneYAbsolute() const;
  double GetClippingPlaneZAbsolute() const;
  /// Whether an enabled plane clips (x, y, z): a point on a plane is clipped.
  bool IsPointClipped(double x, double y, double z) const;
  /// Hands the planes to `renderer` as its planes 0, 1, 2; false (nothing told) if it offers
  /// fewer than three. A plane that is missing is made, disabled, and the renderer is told
  /// nothing of it.
  bool UpdateClippingPlanes(IVRender& renderer);

  MCamera* GetCamera() const { return m_camera; }
  void SetCamera(MCamera* camera) { m_camera = camera; }
  const IMSceneOwner* GetSceneOwner() const { return m_owner; }
  void SetSceneOwner(const IMSceneOwner* owner) { m_owner = owner; }

  /// The label, the three planes (a flag, then a, b, c, d and the enabled flag when there is
  /// one), the four colours, the camera lock mode and the persistent flag.
  virtual void SaveState(MStreamUndoOut& out);
  virtual void LoadState(MStreamUndoIn& in);

 protected:
  friend class MSceneManagerEx;
  explicit MSceneEx(const std::wstring& label);
  MSceneEx(const MSceneEx&) = delete;
  ~MSceneEx() override;

  MClippingPlane& _GetClippingPlaneX();
  MClippingPlane& _GetClippingPlaneY();
  MClippingPlane& _GetClippingPlaneZ();
  void _SaveStateClippingPlane(MStreamUndoOut& out, const MClippingPlane* plane);
  void _LoadStateClippingPlane(MStreamUndoIn& in, MClippingPlane* plane);
  /// The box of the active document's objects visible in this scene, in the render world;
  /// -10 to 10 on each axis when there is nothing.
  void _UpdateBoundingBox() const override;

 private:
  MClippingPlane* m_plane_x = nullptr;
  MClippingPlane* m_plane_y = nullptr;
  MClippingPlane* m_plane_z = nullptr;
  MCamera* m_camera = nullptr;
  const IMSceneOwner* m_owner = nullptr;
};
