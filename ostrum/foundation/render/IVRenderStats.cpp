#include "ostrum/foundation/render/IVRenderStats.h"

IVRenderStats::~IVRenderStats() = default;

void IVRenderStats::StartFrame(bool full) {
  m_start = std::chrono::steady_clock::now();
  m_frame_triangles = 0;
  m_full = full;
  m_in_frame = true;
}

void IVRenderStats::StopFrame() {
  if (!m_in_frame) return;
  m_in_frame = false;
  m_last_ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - m_start).count();
  m_total_ms += m_last_ms;
  m_last_triangles = m_frame_triangles;
  ++m_frames;
  if (m_full) ++m_full_frames;
}
