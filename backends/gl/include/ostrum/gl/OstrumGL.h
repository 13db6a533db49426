#pragma once
// libOstrumGL: the framework's renderer on OpenGL 3.3 core, offscreen through EGL.
//
// A host links Ostrum::GL and picks it in code:
//
//   Ostrum::GL::RegisterRenderers();                      // hardware and software types
//   IVRender* r = IVRenderFactory::SelectIVRender(RENDER_TYPE_HARDWARE, false);
//
// or makes a renderer of its own with CreateRender. Everything below is plain C++: no GL or
// EGL header reaches the host. Surfaces draw into a framebuffer object; CaptureSurface and
// CaptureSurfacePNG read the current image back.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ostrum/foundation/render/IVDisplaySurface.h"
#include "ostrum/foundation/render/IVRender.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"

#define OSTRUM_GL_API __attribute__((visibility("default")))

namespace Ostrum::GL {

/// An image read back from a surface: RGBA, 8 bits a channel, the top row first.
struct Image {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgba;  ///< width * height * 4 bytes

  /// The four channels of pixel (x, y), y counted from the top; unchecked.
  const std::uint8_t* At(int x, int y) const { return rgba.data() + 4 * (static_cast<std::size_t>(y) * width + x); }
};

/// Makes a renderer of `type`: RENDER_TYPE_HARDWARE takes the first device EGL offers (a
/// graphics card when there is one, else Mesa's software rasteriser), RENDER_TYPE_SOFTWARE
/// insists on the software rasteriser. Null when EGL or an OpenGL 3.3 core context cannot be
/// had; then `why` (if given) says what failed.
OSTRUM_GL_API std::unique_ptr<IVRender> CreateRender(ERenderType type, std::string* why = nullptr);

/// Registers CreateRender for RENDER_TYPE_HARDWARE and RENDER_TYPE_SOFTWARE with
/// IVRenderFactory; the host then selects one with IVRenderFactory::SelectIVRender.
OSTRUM_GL_API void RegisterRenderers();

/// What the last failed CreateRender of this thread said; empty after a success.
OSTRUM_GL_API std::string GetLastError();

/// True when `renderer` is one of this library's.
OSTRUM_GL_API bool IsGLRender(const IVRender& renderer);

/// The OpenGL vendor, renderer and version strings of `renderer`'s context ("" if not ours).
OSTRUM_GL_API std::string DescribeRender(const IVRender& renderer);

/// Reads the current image of `surface` (a surface of this library) into `image`. False for
/// another surface or one without an image yet.
OSTRUM_GL_API bool CaptureSurface(IVDisplaySurface& surface, Image& image);

/// Writes the current image of `surface` into the PNG file `path` (RGBA, 8 bits). False if
/// there is no image or the file cannot be written.
OSTRUM_GL_API bool CaptureSurfacePNG(IVDisplaySurface& surface, const std::string& path);

/// Writes `image` as a PNG file; false if it cannot.
OSTRUM_GL_API bool WritePNG(const Image& image, const std::string& path);

/// The OpenGL names (vertex array, then buffers) that a mesh buffer of this library holds;
/// empty for another buffer. For checking that they are really freed.
OSTRUM_GL_API std::vector<unsigned> GetGLNames(const IVRenderBuffer& buffer);

/// Whether `name` is a live buffer object, or vertex array object, in `renderer`'s context.
OSTRUM_GL_API bool IsLiveGLBuffer(IVRender& renderer, unsigned name);
OSTRUM_GL_API bool IsLiveGLVertexArray(IVRender& renderer, unsigned name);

}  // namespace Ostrum::GL
