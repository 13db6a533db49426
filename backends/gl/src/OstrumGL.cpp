// The library's public functions: making and registering renderers, captures, PNG files.

#include "ostrum/gl/OstrumGL.h"

#include <png.h>

#include <cstdio>
#include <memory>

#include "GLRenderImpl.h"
#include "ostrum/foundation/render/IVRenderFactory.h"

namespace Ostrum::GL {

namespace {

thread_local std::string t_last_error;

// libpng reports errors by longjmp: this function makes nothing with a destructor.
bool WriteRows(png_structp png, png_infop info, std::FILE* file, png_bytep* rows, int width, int height) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_init_io(png, file);
  png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
               PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  png_write_image(png, rows);
  png_write_end(png, nullptr);
  return true;
}

}  // namespace

std::unique_ptr<IVRender> CreateRender(ERenderType type, std::string* why) {
  std::string reason;
  std::unique_ptr<GLRenderImpl> render;
  if (type != RENDER_TYPE_HARDWARE && type != RENDER_TYPE_SOFTWARE) {
    reason = "the OpenGL backend makes hardware and software renderers only";
  } else {
    render = std::make_unique<GLRenderImpl>();
    if (!render->Open(type == RENDER_TYPE_SOFTWARE, reason)) render.reset();
  }
  t_last_error = render ? std::string() : reason;
  if (why) *why = t_last_error;
  return render;
}

void RegisterRenderers() {
  IVRenderFactory::RegisterRenderer(RENDER_TYPE_HARDWARE, [] { return CreateRender(RENDER_TYPE_HARDWARE); });
  IVRenderFactory::RegisterRenderer(RENDER_TYPE_SOFTWARE, [] { return CreateRender(RENDER_TYPE_SOFTWARE); });
}

std::string GetLastError() { return t_last_error; }

bool IsGLRender(const IVRender& renderer) { return dynamic_cast<const GLRenderImpl*>(&renderer) != nullptr; }

std::string DescribeRender(const IVRender& renderer) {
  const auto* own = dynamic_cast<const GLRenderImpl*>(&renderer);
  return own ? own->Describe() : std::string();
}

bool CaptureSurface(IVDisplaySurface& surface, Image& image) {
  auto* own = dynamic_cast<GLSurface*>(&surface);
  return own && own->Read(image);
}

bool CaptureSurfacePNG(IVDisplaySurface& surface, const std::string& path) {
  Image image;
  return CaptureSurface(surface, image) && WritePNG(image, path);
}

bool WritePNG(const Image& image, const std::string& path) {
  if (image.width <= 0 || image.height <= 0 ||
      image.rgba.size() != static_cast<std::size_t>(image.width) * image.height * 4)
    return false;
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  bool ok = false;
  if (png && info) {
    std::vector<png_bytep> rows(static_cast<std::size_t>(image.height));
    for (int y = 0; y < image.height; ++y)
      rows[static_cast<std::size_t>(y)] = const_cast<png_bytep>(image.At(0, y));
    ok = WriteRows(png, info, file, rows.data(), image.width, image.height);
  }
  png_destroy_write_struct(png ? &png : nullptr, info ? &info : nullptr);
  ok = std::fclose(file) == 0 && ok;
  if (!ok) std::remove(path.c_str());
  return ok;
}

std::vector<unsigned> GetGLNames(const IVRenderBuffer& buffer) {
  const auto* mesh = dynamic_cast<const GLMeshBuffer*>(&buffer);
  if (!mesh) return {};
  std::vector<unsigned> names{mesh->m_vao};
  for (GLuint b : {mesh->m_positions, mesh->m_normals, mesh->m_colors, mesh->m_indices})
    if (b) names.push_back(b);
  return names;
}

bool IsLiveGLBuffer(IVRender& renderer, unsigned name) {
  auto* own = dynamic_cast<GLRenderImpl*>(&renderer);
  return own && own->MakeCurrent() && glIsBuffer(name) == GL_TRUE;
}

bool IsLiveGLVertexArray(IVRender& renderer, unsigned name) {
  auto* own = dynamic_cast<GLRenderImpl*>(&renderer);
  return own && own->MakeCurrent() && glIsVertexArray(name) == GL_TRUE;
}

}  // namespace Ostrum::GL
