#pragma once
// Pixel tests of libOstrumGL: a software renderer (Mesa's llvmpipe through EGL, headless) and
// one surface, frames drawn through the IVRender interface, captures read back and compared
// with pixels the test works out itself. A renderer that cannot start fails the test with the
// reason EGL gave.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>

#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/gl/OstrumGL.h"

namespace ostrum_gl_test {

using Ostrum::GL::Image;

struct Rgba {
  int r, g, b, a;
};

inline Rgba PixelOf(const Image& image, int x, int y) {
  const std::uint8_t* p = image.At(x, y);
  return {p[0], p[1], p[2], p[3]};
}

/// The 8-bit value OpenGL stores for a channel of `v` (0..1).
inline int Byte(float v) { return static_cast<int>(std::lround(std::clamp(v, 0.0f, 1.0f) * 255.0f)); }

inline bool Near(const Rgba& p, const Rgba& q, int tolerance = 2) {
  return std::abs(p.r - q.r) <= tolerance && std::abs(p.g - q.g) <= tolerance && std::abs(p.b - q.b) <= tolerance &&
         std::abs(p.a - q.a) <= tolerance;
}

inline Rgba Expected(const MColor& c) { return {Byte(c.r), Byte(c.g), Byte(c.b), c.a < 0 ? 255 : Byte(c.a)}; }

inline std::string Describe(const Rgba& p) {
  return "(" + std::to_string(p.r) + ", " + std::to_string(p.g) + ", " + std::to_string(p.b) + ", " +
         std::to_string(p.a) + ")";
}

/// The sixteen floats of `m` as the renderer takes them.
struct Floats16 {
  float v[16];
  explicit Floats16(const MMTransformMatrix& m) { m.ConvertFloat16(v); }
  operator const float*() const { return v; }
};

class GLPixelTest : public ::testing::Test {
 protected:
  static constexpr int kWidth = 64;
  static constexpr int kHeight = 64;

  void SetUp() override {
    std::string why;
    m_render = Ostrum::GL::CreateRender(RENDER_TYPE_SOFTWARE, &why);
    ASSERT_TRUE(m_render) << "the OpenGL renderer could not start, so no pixel can be checked: " << why;
    m_surface.reset(m_render->CreateDisplaySurface(nullptr));
    ASSERT_TRUE(m_surface);
    Resize(kWidth, kHeight);
  }

  void TearDown() override {
    m_surface.reset();
    m_render.reset();
  }

  void Resize(int width, int height) {
    RECT rect{0, 0, width, height};
    m_surface->Resize(rect, false, nullptr);
  }

  /// One frame: cleared to `background`, the world seen through an orthographic projection of
  /// [-2, 2] x [-2, 2] (16 pixels a unit on a 64-pixel square, the eye looking along +z, as
  /// the framework's projections do), then `draw`. Answers the capture.
  Image Frame(const std::function<void(IVRender&)>& draw, const MColor& background = MColor(0, 0, 0, 1)) {
    Image image;
    EXPECT_TRUE(m_render->StartFrame(m_surface.get(), nullptr, false));
    m_surface->Clear(background, true, true);
    MMTransformMatrix identity, projection;
    projection.MakeOrthoGraphicProjection(-2, 2, 2, -2, 10, -10);
    m_render->SetModelTransform(Floats16(identity));
    m_render->SetViewTransform(Floats16(identity));
    m_render->SetProjectionTransform(Floats16(projection));
    draw(*m_render);
    m_render->StopFrame();
    EXPECT_TRUE(Ostrum::GL::CaptureSurface(*m_surface, image));
    return image;
  }

  /// Keeps a mesh on the card; the test owns the buffer.
  std::unique_ptr<IVRenderBuffer> Mesh(const IVMesh& mesh) {
    return std::unique_ptr<IVRenderBuffer>(m_render->CreateMeshBuffer(mesh));
  }

  /// Pixel column and row (from the top) of world point (x, y) under Frame's projection.
  static double Column(double x) { return (x + 2.0) / 4.0 * kWidth; }
  static double Row(double y) { return (2.0 - y) / 4.0 * kHeight; }

  std::unique_ptr<IVRender> m_render;
  std::unique_ptr<IVDisplaySurface> m_surface;
};

/// Counts the pixels of `image` in [x0, x1) x [y0, y1) for which `test` holds.
inline int Count(const Image& image, int x0, int y0, int x1, int y1, const std::function<bool(const Rgba&)>& test) {
  int n = 0;
  for (int y = std::max(0, y0); y < std::min(image.height, y1); ++y)
    for (int x = std::max(0, x0); x < std::min(image.width, x1); ++x)
      if (test(PixelOf(image, x, y))) ++n;
  return n;
}

/// A flat quad in the plane z = `z`, from (x0, y0) to (x1, y1), counter-clockwise seen from
/// the viewer of Frame (who looks along +z: x right, y up on the screen).
struct Quad {
  float positions[12];
  std::uint32_t indices[6] = {0, 1, 2, 0, 2, 3};
  Quad(float x0, float y0, float x1, float y1, float z)
      : positions{x0, y0, z, x1, y0, z, x1, y1, z, x0, y1, z} {}
  IVMesh Mesh(const float* normals = nullptr, const float* colors = nullptr) const {
    IVMesh mesh;
    mesh.positions = positions;
    mesh.normals = normals;
    mesh.colors = colors;
    mesh.vertex_count = 4;
    mesh.indices = indices;
    mesh.index_count = 6;
    return mesh;
  }
};

}  // namespace ostrum_gl_test
