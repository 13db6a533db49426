#include "ostrum/scene/IVViewVolume.h"

#include <cstring>
#include <utility>

namespace {
bool SameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }
}  // namespace

IVViewVolume::~IVViewVolume() = default;

void IVViewVolume::SetViewVolume(float left, float bottom, float right, float top, float near, float far,
                                 float parameter, bool perspective, bool recenter, bool keep_aspect) {
  if (left > right) std::swap(left, right);
  if (bottom > top) std::swap(bottom, top);
  if (near > far) std::swap(near, far);
  m_left = left;
  m_bottom = bottom;
  m_right = right;
  m_top = top;
  m_near = near;
  m_far = far;
  m_parameter = parameter;
  m_parallel = !perspective;
  if (recenter) {
    m_center_x = (left + right) / 2;
    m_center_y = (bottom + top) / 2;
  }
  m_keep_aspect = keep_aspect;
}

void IVViewVolume::SetViewVolume(float left, float bottom, float right, float top, float near, float far,
                                 bool perspective, bool recenter, bool keep_aspect) {
  SetViewVolume(left, bottom, right, top, near, far, 0.0f, perspective, recenter, keep_aspect);
}

void IVViewVolume::GetViewVolume(float& left, float& bottom, float& right, float& top, float& near, float& far,
                                 float& parameter, bool& perspective) const {
  GetViewVolume(left, bottom, right, top, near, far, perspective);
  parameter = m_parameter;
}

void IVViewVolume::GetViewVolume(float& left, float& bottom, float& right, float& top, float& near, float& far,
                                 bool& perspective) const {
  left = m_left;
  bottom = m_bottom;
  right = m_right;
  top = m_top;
  near = m_near;
  far = m_far;
  perspective = !m_parallel;
}

bool IVViewVolume::operator==(const IVViewVolume& o) const {
  return SameBits(m_left, o.m_left) && SameBits(m_bottom, o.m_bottom) && SameBits(m_right, o.m_right) &&
         SameBits(m_top, o.m_top) && SameBits(m_near, o.m_near) && SameBits(m_far, o.m_far) &&
         SameBits(m_center_x, o.m_center_x) && SameBits(m_center_y, o.m_center_y) && m_parameter == o.m_parameter &&
         m_parallel == o.m_parallel && m_keep_aspect == o.m_keep_aspect;
}
