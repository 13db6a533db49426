#pragma once
// The OpenGL renderer's classes, private to libOstrumGL.

#include <epoxy/gl.h>

#include <array>
#include <set>
#include <string>
#include <vector>

#include "EglContext.h"
#include "Shaders.h"
#include "TextRasterizer.h"
#include "ostrum/foundation/render/IVDisplaySurface.h"
#include "ostrum/foundation/render/IVRender.h"
#include "ostrum/foundation/render/IVRender2D.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/foundation/render/IVRenderStats.h"
#include "ostrum/gl/OstrumGL.h"

namespace Ostrum::GL {

class GLRenderImpl;

/// A mesh on the card: its vertex array and buffers, deleted with it (in its renderer's
/// context, which must still live).
class GLMeshBuffer final : public IVRenderBuffer {
 public:
  GLMeshBuffer(GLRenderImpl& owner, std::size_t triangles) : m_owner(owner), m_triangles(triangles) {}
  ~GLMeshBuffer() override;
  std::size_t GetTriangleCount() const override { return m_triangles; }

  GLRenderImpl& m_owner;
  std::size_t m_triangles;
  GLuint m_vao = 0;
  GLuint m_positions = 0, m_normals = 0, m_colors = 0, m_indices = 0;
  GLsizei m_count = 0;  ///< indices (or vertices) drawn
  bool m_indexed = false;
  bool m_translucent = false;  ///< some vertex colour has alpha below 1
};

/// An offscreen image: a framebuffer object with an RGBA8 colour and a depth-stencil
/// renderbuffer, made at the size of the last Resize.
class GLSurface final : public IVDisplaySurface {
 public:
  GLSurface(GLRenderImpl& owner, HWND window);
  ~GLSurface() override;

  void Resize(const RECT& rect, bool force, HDC dc) override;
  void Clear(const MColor& color, bool depth, bool stencil) override;
  bool HasBitmapDC() override { return m_fbo != 0; }
  CDC* GetBitmapDC() override;
  void Present(CDC& dc) override;

  /// Binds the framebuffer and sets the viewport to the whole image; false without one.
  bool Bind();
  bool Read(Image& image);
  int GetWidth() const { return m_width; }
  int GetHeight() const { return m_height; }
  /// True if `dc` is this surface's bitmap device context.
  bool IsBitmapDC(const CDC* dc) const;
  GLRenderImpl& GetOwner() { return m_owner; }

 private:
  void _Release();

  GLRenderImpl& m_owner;
  HWND m_window;
  int m_width = 0, m_height = 0;
  GLuint m_fbo = 0, m_color = 0, m_depth = 0;
  // The bitmap device context is an opaque handle: its address names this surface to the 2D
  // renderer, and nothing ever reads through it.
  struct BitmapToken {
    const GLSurface* surface;
  } m_token{this};
};

class GLRender2D final : public IVRender2D {
 public:
  explicit GLRender2D(GLRenderImpl& owner) : m_owner(owner) {}
  void Start2DDrawing(CDC* dc) override;
  void Stop2DDrawing() override;
  bool DrawsAfterFrame() override { return true; }
  void DrawLine(float x0, float y0, float x1, float y1, const MColor& color, float width) override;
  void DrawRectangle(float left, float top, float right, float bottom, const MColor& color, bool filled) override;
  void DrawText(float x, float y, const wchar_t* text, const MColor& color, float pixel_height) override;

 private:
  GLRenderImpl& m_owner;
  GLSurface* m_surface = nullptr;
};

class GLRenderImpl final : public IVRender {
 public:
  GLRenderImpl() = default;
  ~GLRenderImpl() override;
  /// Opens the context and builds the programs; false with `why` on failure.
  bool Open(bool software, std::string& why);

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
  int GetNumClippingPlanes() const override { return m_plane_count; }
  void EnableClippingPlane(int index, bool enable) override;
  void SetClippingPlane(int index, float a, float b, float c, float d) override;
  IVRenderBuffer* CreateMeshBuffer(const IVMesh& mesh) override;
  void DrawMesh(const IVRenderBuffer& buffer) override;
  void DrawLines(const float* positions, std::size_t point_count, float width) override;
  void DrawPoints(const float* positions, std::size_t point_count, float size) override;
  void DrawText(const MMPoint3d<float>& anchor, const wchar_t* text, float pixel_height) override;
  IVDisplaySurface* CreateDisplaySurface(HWND window) override;
  IVRender2D* CreateRender2D() override;

  bool MakeCurrent() const { return m_egl.MakeCurrent(); }
  /// Sets the depth test and writes again as the renderer's state says (after a surface or
  /// the 2D renderer changed them).
  void RestoreDepth() {
    if (MakeCurrent()) _ApplyDepth();
  }
  std::string Describe() const;

  // What surfaces and the 2D renderer use.
  void SurfaceCreated(GLSurface* surface) { m_surfaces.insert(surface); }
  void SurfaceDestroyed(GLSurface* surface);
  /// The surface whose bitmap device context `dc` is, else the one of the last frame.
  GLSurface* FindSurface(const CDC* dc);
  /// Draws the quad with `corners` (x, y pixel pairs, y down, in triangle-strip order) in
  /// `color`, times `coverage` when given, at normalised depth `depth`, into the bound
  /// framebuffer of `width` x `height`.
  void DrawFlatPolygon(const float corners[8], const MColor& color, const TextBitmap* coverage, float depth,
                       int width, int height);
  /// Draws `text` with its baseline from pixel (x, y).
  void DrawFlatText(float x, float y, const wchar_t* text, const MColor& color, float pixel_height, float depth,
                    int width, int height);

 private:
  void _UploadScene();
  void _ApplyDepth();
  void _StreamPositions(const float* positions, std::size_t point_count);

  EglContext m_egl;
  MeshProgram m_mesh;
  LineProgram m_line;
  PointProgram m_point;
  FlatProgram m_flat;
  GLuint m_scene_ubo = 0;
  SceneBlock m_scene{};
  bool m_scene_dirty = true;
  GLuint m_stream_vao = 0, m_stream_vbo = 0;  ///< lines and points, refilled at each call
  GLuint m_flat_vao = 0, m_flat_vbo = 0, m_text_texture = 0;
  bool m_depth_test = true, m_depth_write = true;
  int m_plane_count = 0;
  std::array<bool, kMaxPlanes> m_plane_enabled{};
  IVRenderStats m_stats;
  GLSurface* m_frame_surface = nullptr;
  std::set<GLSurface*> m_surfaces;
  TextRasterizer m_text;
};

}  // namespace Ostrum::GL
