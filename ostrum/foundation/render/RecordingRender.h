#pragma once
// RecordingRender: a renderer that draws nothing and writes down every call with its
// arguments, for tests and for hosts that want to see what would be drawn. Its surfaces and 2D
// renderers write into the same record.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/render/IVDisplaySurface.h"
#include "ostrum/foundation/render/IVRender.h"
#include "ostrum/foundation/render/IVRender2D.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/foundation/render/IVRenderStats.h"

namespace Ostrum {

class OSTRUM_API RecordingRender : public IVRender {
 public:
  /// One call: its name, its numbers in the order of the arguments (flags as 0 or 1, a mesh
  /// buffer as its serial number and triangle count), and its text, if any.
  struct Call {
    std::string name;
    std::vector<double> numbers;
    std::wstring text;
    /// "name(n1, n2, ...) \"text\"", numbers as %g.
    std::string ToString() const;
  };

  /// A renderer with `clipping_planes` planes to offer.
  explicit RecordingRender(int clipping_planes = 6);
  ~RecordingRender() override;

  /// Every call since the last Clear, in order.
  const std::vector<Call>& GetCalls() const { return m_calls; }
  /// The calls named `name`, in order.
  std::vector<Call> GetCalls(const std::string& name) const;
  /// The calls, one ToString a line.
  std::string Describe() const;
  void Clear() { m_calls.clear(); }

  /// The state as the calls left it.
  const std::array<float, 16>& GetModelTransform() const { return m_model; }
  const std::array<float, 16>& GetViewTransform() const { return m_view; }
  const std::array<float, 16>& GetProjectionTransform() const { return m_projection; }
  const MColor& GetColorFront() const { return m_front; }
  bool IsLightingEnabled() const { return m_lighting; }
  /// Mesh buffers alive now.
  std::size_t GetLiveBufferCount() const { return m_live_buffers; }

  bool StartFrame(IVDisplaySurface* surface, CDC* dc, bool incremental) override;
  void StopFrame() override;
  IVRenderStats& GetStatistics() override { return m_stats; }
  void SetColorFront(const MColor& color) override;
  void EnableLighting(bool enable) override;
  void SetGlobalAmbient(float r, float g, float b) override;
  void SetGlobalDiffuse(float r, float g, float b) override;
  void SetGlobalSpecular(float r, float g, float b) override;
  void EnableDepth(bool test, bool write) override;
  void SetModelTransform(const float* matrix) override;
  void SetViewTransform(const float* matrix) override;
  void SetProjectionTransform(const float* matrix) override;
  int GetNumClippingPlanes() const override { return m_clipping_planes; }
  void EnableClippingPlane(int index, bool enable) override;
  void SetClippingPlane(int index, float a, float b, float c, float d) override;
  IVRenderBuffer* CreateMeshBuffer(const IVMesh& mesh) override;
  void DrawMesh(const IVRenderBuffer& buffer) override;
  void DrawLines(const float* positions, std::size_t point_count, float width) override;
  void DrawPoints(const float* positions, std::size_t point_count, float size) override;
  void DrawText(const MMPoint3d<float>& anchor, const wchar_t* text, float pixel_height) override;
  IVDisplaySurface* CreateDisplaySurface(HWND window) override;
  IVRender2D* CreateRender2D() override;

  /// Writes down one call (the surfaces and 2D renderers of this renderer use it too).
  void Record(std::string name, std::vector<double> numbers = {}, std::wstring text = {});

 private:
  class Buffer;
  class Surface;
  class Render2D;

  OSTRUM_LOCAL void _RecordMatrix(const char* name, const float* matrix, std::array<float, 16>& into);

  std::vector<Call> m_calls;
  IVRenderStats m_stats;
  std::array<float, 16> m_model{}, m_view{}, m_projection{};
  MColor m_front;
  bool m_lighting = false;
  int m_clipping_planes;
  std::uint64_t m_next_buffer = 1;
  std::size_t m_live_buffers = 0;
};

}  // namespace Ostrum
