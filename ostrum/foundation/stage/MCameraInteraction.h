#pragma once
// MCameraInteraction: turns the mouse positions of a navigation drag into the steps a camera
// takes: pixels to pan by, a factor to zoom by, degrees to turn by. It remembers the previous
// position of the drag, so each step is the difference to it. A lock mode, taken from the
// scene a window shows, holds parts of the navigation still: a locked kind of drag still runs
// (it is still a drag, not a click) but yields steps that change nothing.

#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/foundation/platform/CRect.h"

class OSTRUM_API MCameraInteraction {
 public:
  /// The bits of the lock mode; a scene's camera lock mode is a combination of them.
  enum ELockMode : int32_t {
    LOCK_NONE = 0,
    LOCK_ROTATION = 1,     ///< no rotation at all
    LOCK_PAN = 2,          ///< no panning
    LOCK_ZOOM = 4,         ///< no zooming
    LOCK_ROTATION_Z = 8,   ///< no turn about the line of sight: a press near the edge rotates as one in the middle
    LOCK_ROTATION_X = 16,  ///< no tilt: vertical motion turns nothing (a turntable)
  };
  /// Degrees of rotation for a drag across the shorter side of the window.
  static constexpr float kDegreesPerWindow = 180.0f;
  /// The zoom doubles for a drag upwards over a quarter of the window's height.
  static constexpr float kZoomDoublingFraction = 0.25f;
  /// A rotation press outside this fraction of the window's inscribed ellipse turns about the
  /// line of sight.
  static constexpr float kRotationZRing = 0.8f;

  MCameraInteraction() = default;
  virtual ~MCameraInteraction();

  /// Begins a rotation drag at `point` in the client rectangle `rect`; a press in the outer
  /// ring of the window turns about the line of sight. Deltas are zero after it.
  virtual void StartRotate(const CRect& rect, CPoint point);
  /// The next point of the rotation drag: GetDeltaX/Y/Z are the degrees about the eye's x, y
  /// and z axes since the previous point. Nothing (deltas zero) unless a rotation runs.
  virtual void Rotate(CPoint point);

  bool GetIsPanning() const { return m_panning; }
  bool GetIsZooming() const { return m_zooming; }
  bool GetIsRotating() const { return m_rotating; }
  /// The running rotation turns about the line of sight.
  bool GetIsRotationZ() const { return m_rotation_z; }

  /// Begins a pan drag at `point`; deltas are zero after it.
  void StartPan(CPoint point);
  /// The next point of the pan drag: GetDeltaX/Y are the pixels moved since the previous
  /// point (z stays 0). Nothing unless a pan runs.
  void Pan(CPoint point);
  /// Begins a zoom drag at `point` in `rect`: the zoom centre becomes `point` and the zoom
  /// factor 0, which asks the camera to take the centre, not to zoom.
  void StartZoom(const CRect& rect, CPoint point);
  /// The next point of the zoom drag: GetZoomFactor is the factor since the previous point
  /// (above 1 for a move up). Nothing unless a zoom runs.
  void Zoom(CPoint point);

  float GetDeltaX() const { return m_delta_x; }
  float GetDeltaY() const { return m_delta_y; }
  float GetDeltaZ() const { return m_delta_z; }
  float GetZoomFactor() const { return m_zoom_factor; }
  /// Where the zoom drag began, in client pixels.
  CPoint GetZoomCenter() const { return m_zoom_center; }
  /// The next step is measured from `point`: a cursor moved by the program (wrapped at the
  /// window's edge) does not count as a movement.
  void OverridePreviousMousePosition(CPoint point) { m_previous = point; }

  /// A combination of ELockMode bits; takes effect at the next step, also of a running drag.
  void SetLockMode(int32_t mode) { m_lock_mode = mode; }
  int32_t GetLockMode() const { return m_lock_mode; }

  /// Ends whatever runs; true if a pan, zoom or rotation was running.
  bool Stop();

 private:
  bool _Locked(int32_t bits) const { return (m_lock_mode & bits) != 0; }
  void _ClearDeltas();

  bool m_panning = false;
  bool m_zooming = false;
  bool m_rotating = false;
  bool m_rotation_z = false;
  CRect m_rect;
  CPoint m_previous;
  CPoint m_zoom_center;
  float m_delta_x = 0, m_delta_y = 0, m_delta_z = 0;
  float m_zoom_factor = 1.0f;
  int32_t m_lock_mode = LOCK_NONE;
};
