#pragma once
// IVViewVolume: what a camera sees: a box in eye coordinates (left, bottom, right, top, near,
// far) and the kind of projection, with a seventh number kept for the renderer.

#include "ostrum/Export.h"

class OSTRUM_API IVViewVolume {
 public:
  /// The box from -1 to 1 on each axis, parallel, perspective centre (0, 0), keep aspect on,
  /// VolumeParameter 1.
  IVViewVolume() = default;
  IVViewVolume(const IVViewVolume&) = default;
  IVViewVolume& operator=(const IVViewVolume&) = default;
  virtual ~IVViewVolume();

  /// Stores the seven numbers, each pair put in order (left <= right, bottom <= top,
  /// near <= far). With `recenter` the perspective centre becomes the middle of the box.
  void SetViewVolume(float left, float bottom, float right, float top, float near, float far, float parameter,
                     bool perspective, bool recenter, bool keep_aspect);
  /// The same, with the parameter 0.
  void SetViewVolume(float left, float bottom, float right, float top, float near, float far, bool perspective,
                     bool recenter, bool keep_aspect);
  void GetViewVolume(float& left, float& bottom, float& right, float& top, float& near, float& far,
                     float& parameter, bool& perspective) const;
  /// The six numbers and the kind; the parameter is left alone.
  void GetViewVolume(float& left, float& bottom, float& right, float& top, float& near, float& far,
                     bool& perspective) const;
  void GetPerspectiveCenter(float& x, float& y) const {
    x = m_center_x;
    y = m_center_y;
  }
  bool IsKeepAspect() const { return m_keep_aspect; }
  bool IsParallelProjection() const { return m_parallel; }
  bool IsPerspectiveProjection() const { return !m_parallel; }

  /// The sides, near, far and the perspective centre compared bit for bit, the parameter by
  /// value, then the kind and keep aspect.
  bool operator==(const IVViewVolume& other) const;
  bool operator!=(const IVViewVolume& other) const { return !(*this == other); }

 private:
  float m_left = -1.0f, m_bottom = -1.0f, m_right = 1.0f, m_top = 1.0f, m_near = -1.0f, m_far = 1.0f;
  float m_parameter = 1.0f;  // VolumeParameter: for the renderer; the camera neither sets nor reads it
  bool m_parallel = true;
  float m_center_x = 0.0f, m_center_y = 0.0f;
  bool m_keep_aspect = true;
};
