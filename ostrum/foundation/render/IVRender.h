#pragma once
// IVRender: the 3D renderer the framework draws through: frames, lights, transforms, clipping
// planes, and the drawing a host's objects need (meshes kept by the renderer, lines, points,
// text). The real one draws with OpenGL (libOstrumGL); the recording one writes down what it is
// asked.

#include <cstddef>
#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MColor.h"
#include "ostrum/foundation/geometry/MMPoint3d.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CDC;
class IVDisplaySurface;
class IVRender2D;
class IVRenderBuffer;
class IVRenderStats;
struct IVMesh;

/// The kinds of renderer a host can select. Switching between the hardware and the software
/// one keeps the objects' render optimisations.
enum ERenderType : int32_t {
  RENDER_TYPE_NONE = 0,
  RENDER_TYPE_HARDWARE = 1,  ///< on the graphics card
  RENDER_TYPE_SOFTWARE = 2,  ///< on the processor, for machines without a usable card
  RENDER_TYPE_RECORDING = 3, ///< draws nothing, writes down every call
};

/// Matrices are the sixteen elements of an MMTransformMatrix row by row
/// (MMTransformMatrix::ConvertFloat16): column vectors, the translation in the last column.
class OSTRUM_API IVRender {
 public:
  virtual ~IVRender();

  // --- frames ---

  /// Begins a frame on `surface`, shown through `dc`. With `incremental` the frame draws over
  /// the surface's image as it stands; the framework passes false. False if no frame can begin.
  virtual bool StartFrame(IVDisplaySurface* surface, CDC* dc, bool incremental) = 0;
  /// Ends the frame: the image is complete in the surface.
  virtual void StopFrame() = 0;
  /// The counts of this renderer's frames.
  virtual IVRenderStats& GetStatistics() = 0;

  // --- state ---

  /// The colour of what is drawn next without colours of its own.
  virtual void SetColorFront(const MColor& color) = 0;
  /// Lighting of what is drawn next, by the global terms below and a light at the eye.
  virtual void EnableLighting(bool enable) = 0;
  virtual void SetGlobalAmbient(float r, float g, float b) = 0;
  virtual void SetGlobalDiffuse(float r, float g, float b) = 0;
  virtual void SetGlobalSpecular(float r, float g, float b) = 0;
  /// Whether what is drawn next is tested against the depth buffer, and written into it.
  virtual void EnableDepth(bool test, bool write) = 0;
  /// From the coordinates of what is drawn next into the render world (millimetres).
  virtual void SetModelTransform(const float* matrix) = 0;
  /// From the render world into the eye.
  virtual void SetViewTransform(const float* matrix) = 0;
  /// From the eye into normalised device coordinates.
  virtual void SetProjectionTransform(const float* matrix) = 0;

  // --- clipping planes, in render-world coordinates ---

  /// How many planes the renderer offers.
  virtual int GetNumClippingPlanes() const = 0;
  virtual void EnableClippingPlane(int index, bool enable) = 0;
  /// Plane `index`: what satisfies a x + b y + c z + d > 0 stays, the rest is cut away.
  virtual void SetClippingPlane(int index, float a, float b, float c, float d) = 0;

  // --- drawing, in the coordinates of the model transform ---

  /// Keeps `mesh` for drawing; the caller owns the result (null if it cannot be kept).
  virtual IVRenderBuffer* CreateMeshBuffer(const IVMesh& mesh) = 0;
  /// Draws a mesh this renderer keeps.
  virtual void DrawMesh(const IVRenderBuffer& buffer) = 0;
  /// Lines between the points taken two by two (x, y, z each), `width` pixels wide.
  virtual void DrawLines(const float* positions, std::size_t point_count, float width) = 0;
  /// Points (x, y, z each) of `size` pixels.
  virtual void DrawPoints(const float* positions, std::size_t point_count, float size) = 0;
  /// Text facing the viewer, its baseline starting at `anchor`, `pixel_height` pixels high.
  virtual void DrawText(const MMPoint3d<float>& anchor, const wchar_t* text, float pixel_height) = 0;

  // --- what the factories make of it ---

  /// A surface for `window`; the caller owns it, and it must not outlive this renderer. Null
  /// if none can be made.
  virtual IVDisplaySurface* CreateDisplaySurface(HWND window) = 0;
  /// A 2D renderer that draws over this renderer's frames; the caller owns it, and it must not
  /// outlive this renderer.
  virtual IVRender2D* CreateRender2D() = 0;

 protected:
  IVRender() = default;
  IVRender(const IVRender&) = delete;
  IVRender& operator=(const IVRender&) = delete;
};
