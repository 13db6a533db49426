#pragma once
// IVRenderStats: what a renderer counts of its frames: how many, how long each took, how many
// triangles went out.

#include <chrono>
#include <cstdint>

#include "ostrum/Export.h"

class OSTRUM_API IVRenderStats {
 public:
  IVRenderStats() = default;
  virtual ~IVRenderStats();

  /// A frame begins; `full` is false for a fast frame drawn while the view moves.
  virtual void StartFrame(bool full);
  /// The frame ends: its time and triangles are taken into the counts.
  virtual void StopFrame();
  /// Counted by the renderer as it draws.
  void AddTriangles(std::uint64_t count) { m_frame_triangles += count; }

  std::uint64_t GetFrameCount() const { return m_frames; }
  std::uint64_t GetFullFrameCount() const { return m_full_frames; }
  /// Duration of the last finished frame, in milliseconds.
  double GetLastFrameMilliseconds() const { return m_last_ms; }
  /// Mean duration of the finished frames, in milliseconds; 0 before the first.
  double GetMeanFrameMilliseconds() const { return m_frames ? m_total_ms / static_cast<double>(m_frames) : 0.0; }
  /// Triangles of the last finished frame.
  std::uint64_t GetLastFrameTriangles() const { return m_last_triangles; }
  /// True between StartFrame and StopFrame.
  bool IsInFrame() const { return m_in_frame; }

 private:
  std::chrono::steady_clock::time_point m_start{};
  std::uint64_t m_frames = 0;
  std::uint64_t m_full_frames = 0;
  std::uint64_t m_frame_triangles = 0;
  std::uint64_t m_last_triangles = 0;
  double m_last_ms = 0.0;
  double m_total_ms = 0.0;
  bool m_in_frame = false;
  bool m_full = false;
};
