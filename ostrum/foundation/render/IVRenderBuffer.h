#pragma once
// IVRenderBuffer and IVMesh: geometry that a renderer keeps (on the graphics card) so that it
// is handed over once and drawn as often as needed.

#include <cstddef>
#include <cstdint>

#include "ostrum/Export.h"

/// A triangle mesh as a host hands it to a renderer. The arrays are read during the call only.
struct IVMesh {
  const float* positions = nullptr;  ///< x, y, z of each vertex, in the object's own system
  const float* normals = nullptr;    ///< x, y, z of each vertex; null: flat, from each triangle
  const float* colors = nullptr;     ///< r, g, b, a of each vertex, 0 to 1; null: the front colour
  std::size_t vertex_count = 0;
  const std::uint32_t* indices = nullptr;  ///< three vertex numbers a triangle; null: in order
  std::size_t index_count = 0;
};

/// What a renderer keeps of one mesh. The object that asked for it owns it as its render
/// optimisation and deletes it in DestroyRenderOptimisations; it must not outlive the renderer
/// that made it.
class OSTRUM_API IVRenderBuffer {
 public:
  virtual ~IVRenderBuffer();
  /// The number of triangles it draws.
  virtual std::size_t GetTriangleCount() const = 0;

 protected:
  IVRenderBuffer() = default;
  IVRenderBuffer(const IVRenderBuffer&) = delete;
  IVRenderBuffer& operator=(const IVRenderBuffer&) = delete;
};
