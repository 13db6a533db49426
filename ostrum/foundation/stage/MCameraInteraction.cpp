#include "ostrum/foundation/stage/MCameraInteraction.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kPi = 3.14159265358979323846;

// The angle of `point` about the centre of `rect`, in degrees, as seen on the screen (window y
// grows downwards, so the angle grows clockwise).
double AngleAbout(const CRect& rect, CPoint point) {
  const double cx = 0.5 * (rect.left + rect.right), cy = 0.5 * (rect.top + rect.bottom);
  return std::atan2(point.y - cy, point.x - cx) * 180.0 / kPi;
}

}  // namespace

MCameraInteraction::~MCameraInteraction() = default;

void MCameraInteraction::_ClearDeltas() {
  m_delta_x = m_delta_y = m_delta_z = 0.0f;
}

void MCameraInteraction::StartRotate(const CRect& rect, CPoint point) {
  m_rotating = true;
  m_rect = rect;
  m_previous = point;
  _ClearDeltas();
  // A press in the outer ring of the window's inscribed ellipse turns about the line of sight.
  const double half_w = std::max(1, rect.Width()) / 2.0, half_h = std::max(1, rect.Height()) / 2.0;
  const double u = (point.x - 0.5 * (rect.left + rect.right)) / half_w;
  const double v = (point.y - 0.5 * (rect.top + rect.bottom)) / half_h;
  m_rotation_z = !_Locked(LOCK_ROTATION_Z) && u * u + v * v > double(kRotationZRing) * kRotationZRing;
}

void MCameraInteraction::Rotate(CPoint point) {
  _ClearDeltas();
  if (!m_rotating) return;
  const CPoint from = m_previous;
  m_previous = point;
  if (_Locked(LOCK_ROTATION)) return;
  if (m_rotation_z) {
    // The model follows the cursor round the window's centre: a clockwise turn on the screen is
    // a negative angle about the eye's z axis (eye y points up).
    double turn = AngleAbout(m_rect, point) - AngleAbout(m_rect, from);
    if (turn > 180.0) turn -= 360.0;
    if (turn < -180.0) turn += 360.0;
    m_delta_z = static_cast<float>(-turn);
    return;
  }
  // The front of the model follows the cursor: a move right turns it about the eye's y axis,
  // a move down about the eye's x axis, both by negative angles (the eye looks along +z).
  const float per_pixel = kDegreesPerWindow / static_cast<float>(std::max(1, std::min(m_rect.Width(), m_rect.Height())));
  m_delta_y = -per_pixel * static_cast<float>(point.x - from.x);
  if (!_Locked(LOCK_ROTATION_X)) m_delta_x = -per_pixel * static_cast<float>(point.y - from.y);
}

void MCameraInteraction::StartPan(CPoint point) {
  m_panning = true;
  m_previous = point;
  _ClearDeltas();
}

void MCameraInteraction::Pan(CPoint point) {
  _ClearDeltas();
  if (!m_panning) return;
  const CPoint from = m_previous;
  m_previous = point;
  if (_Locked(LOCK_PAN)) return;
  m_delta_x = static_cast<float>(point.x - from.x);
  m_delta_y = static_cast<float>(point.y - from.y);
}

void MCameraInteraction::StartZoom(const CRect& rect, CPoint point) {
  m_zooming = true;
  m_rect = rect;
  m_previous = point;
  m_zoom_center = point;
  // The first step only hands the camera its zoom centre.
  m_zoom_factor = 0.0f;
  _ClearDeltas();
}

void MCameraInteraction::Zoom(CPoint point) {
  m_zoom_factor = 1.0f;
  if (!m_zooming) return;
  const CPoint from = m_previous;
  m_previous = point;
  if (_Locked(LOCK_ZOOM)) return;
  const double height = std::max(1, m_rect.Height());
  m_zoom_factor = static_cast<float>(std::exp2((from.y - point.y) / (kZoomDoublingFraction * height)));
}

bool MCameraInteraction::Stop() {
  const bool running = m_panning || m_zooming || m_rotating;
  m_panning = m_zooming = m_rotating = m_rotation_z = false;
  _ClearDeltas();
  m_zoom_factor = 1.0f;
  return running;
}
