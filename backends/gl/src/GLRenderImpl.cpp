#include "GLRenderImpl.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Ostrum::GL {

namespace {

float Clamp01(float v) { return std::clamp(v, 0.0f, 1.0f); }

// An MColor as drawn: components clamped to 0..1, an unset fourth component meaning opaque.
std::array<float, 4> Drawn(const MColor& c) {
  return {Clamp01(c.r), Clamp01(c.g), Clamp01(c.b), c.a < 0.0f ? 1.0f : Clamp01(c.a)};
}

// Row-by-row 4x4 (column vectors) times (x, y, z, w).
void Transform(const float* m, const float in[4], float out[4]) {
  for (int r = 0; r < 4; ++r)
    out[r] = m[4 * r] * in[0] + m[4 * r + 1] * in[1] + m[4 * r + 2] * in[2] + m[4 * r + 3] * in[3];
}

}  // namespace

// --- mesh buffers ---

GLMeshBuffer::~GLMeshBuffer() {
  if (!m_owner.MakeCurrent()) return;
  const GLuint buffers[] = {m_positions, m_normals, m_colors, m_indices};
  for (GLuint b : buffers)
    if (b) glDeleteBuffers(1, &b);
  if (m_vao) glDeleteVertexArrays(1, &m_vao);
}

// --- surfaces ---

GLSurface::GLSurface(GLRenderImpl& owner, HWND window) : m_owner(owner), m_window(window) {
  m_owner.SurfaceCreated(this);
}

GLSurface::~GLSurface() {
  _Release();
  m_owner.SurfaceDestroyed(this);
}

void GLSurface::_Release() {
  if (!m_fbo && !m_color && !m_depth) return;
  if (m_owner.MakeCurrent()) {
    if (m_fbo) glDeleteFramebuffers(1, &m_fbo);
    if (m_color) glDeleteRenderbuffers(1, &m_color);
    if (m_depth) glDeleteRenderbuffers(1, &m_depth);
  }
  m_fbo = m_color = m_depth = 0;
  m_width = m_height = 0;
}

void GLSurface::Resize(const RECT& rect, bool force, HDC) {
  const int width = std::max(1, static_cast<int>(rect.right - rect.left));
  const int height = std::max(1, static_cast<int>(rect.bottom - rect.top));
  if (m_fbo && !force && width == m_width && height == m_height) return;
  _Release();
  if (!m_owner.MakeCurrent()) return;
  GLint max_size = 0;
  glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &max_size);
  if (width > max_size || height > max_size) return;
  glGenRenderbuffers(1, &m_color);
  glBindRenderbuffer(GL_RENDERBUFFER, m_color);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
  glGenRenderbuffers(1, &m_depth);
  glBindRenderbuffer(GL_RENDERBUFFER, m_depth);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, width, height);
  glGenFramebuffers(1, &m_fbo);
  glBindFramebuffer(GL_FRAMEBUFFER, m_fbo);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, m_color);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, m_depth);
  if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
    _Release();
    return;
  }
  m_width = width;
  m_height = height;
  // A new image starts black, opaque, at the far depth.
  glViewport(0, 0, width, height);
  glClearColor(0, 0, 0, 1);
  glClearDepth(1.0);
  glClearStencil(0);
  glDepthMask(GL_TRUE);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
  m_owner.RestoreDepth();
}

bool GLSurface::Bind() {
  if (!m_fbo || !m_owner.MakeCurrent()) return false;
  glBindFramebuffer(GL_FRAMEBUFFER, m_fbo);
  glViewport(0, 0, m_width, m_height);
  return true;
}

void GLSurface::Clear(const MColor& color, bool depth, bool stencil) {
  if (!Bind()) return;
  const std::array<float, 4> c = Drawn(color);
  glClearColor(c[0], c[1], c[2], c[3]);
  GLbitfield bits = GL_COLOR_BUFFER_BIT;
  if (depth) {
    glDepthMask(GL_TRUE);
    glClearDepth(1.0);
    bits |= GL_DEPTH_BUFFER_BIT;
  }
  if (stencil) {
    glStencilMask(0xFF);
    glClearStencil(0);
    bits |= GL_STENCIL_BUFFER_BIT;
  }
  glClear(bits);
  m_owner.RestoreDepth();  // the depth writes as the renderer had them
}

CDC* GLSurface::GetBitmapDC() {
  // Never dereferenced: only GLRender2D reads it, and only by comparing addresses.
  return m_fbo ? reinterpret_cast<CDC*>(&m_token) : nullptr;
}

bool GLSurface::IsBitmapDC(const CDC* dc) const {
  return dc && reinterpret_cast<const void*>(dc) == static_cast<const void*>(&m_token);
}

void GLSurface::Present(CDC&) {
  // Offscreen there is no window to copy to: the frame stays in the framebuffer, where
  // captures read it. Flushing hands the work to the device now.
  if (m_owner.MakeCurrent()) glFlush();
}

bool GLSurface::Read(Image& image) {
  if (!Bind()) return false;
  image.width = m_width;
  image.height = m_height;
  const std::size_t row = static_cast<std::size_t>(m_width) * 4;
  std::vector<std::uint8_t> bottom_up(row * m_height);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, m_fbo);
  glReadBuffer(GL_COLOR_ATTACHMENT0);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, m_width, m_height, GL_RGBA, GL_UNSIGNED_BYTE, bottom_up.data());
  image.rgba.resize(bottom_up.size());
  for (int y = 0; y < m_height; ++y)
    std::memcpy(image.rgba.data() + row * y, bottom_up.data() + row * (m_height - 1 - y), row);
  return true;
}

// --- 2D ---

void GLRender2D::Start2DDrawing(CDC* dc) {
  m_surface = m_owner.FindSurface(dc);
  if (!m_surface || !m_surface->Bind()) {
    m_surface = nullptr;
    return;
  }
  glDisable(GL_DEPTH_TEST);
  glDepthMask(GL_FALSE);
}

void GLRender2D::Stop2DDrawing() {
  if (!m_surface) return;
  m_surface = nullptr;
  glFlush();
  m_owner.RestoreDepth();
}

void GLRender2D::DrawLine(float x0, float y0, float x1, float y1, const MColor& color, float width) {
  if (!m_surface) return;
  float dx = x1 - x0, dy = y1 - y0;
  const float length = std::hypot(dx, dy);
  if (length > 0) {
    dx /= length;
    dy /= length;
  } else {
    dx = 1;
    dy = 0;
  }
  const float h = 0.5f * std::max(width, 1.0f);
  const float nx = -dy * h, ny = dx * h;
  const float corners[8] = {x0 + nx, y0 + ny, x0 - nx, y0 - ny, x1 + nx, y1 + ny, x1 - nx, y1 - ny};
  m_owner.DrawFlatPolygon(corners, color, nullptr, 0.0f, m_surface->GetWidth(), m_surface->GetHeight());
}

void GLRender2D::DrawRectangle(float left, float top, float right, float bottom, const MColor& color, bool filled) {
  if (!m_surface) return;
  const float l = std::min(left, right), r = std::max(left, right);
  const float t = std::min(top, bottom), b = std::max(top, bottom);
  const int w = m_surface->GetWidth(), hgt = m_surface->GetHeight();
  auto box = [&](float x0, float y0, float x1, float y1) {
    if (x1 <= x0 || y1 <= y0) return;
    const float corners[8] = {x0, y0, x1, y0, x0, y1, x1, y1};
    m_owner.DrawFlatPolygon(corners, color, nullptr, 0.0f, w, hgt);
  };
  if (filled) {
    box(l, t, r, b);
    return;
  }
  // The outline is the rectangle's one-pixel inner border.
  box(l, t, r, std::min(t + 1, b));
  box(l, std::max(b - 1, t + 1), r, b);
  box(l, t + 1, std::min(l + 1, r), b - 1);
  box(std::max(r - 1, l + 1), t + 1, r, b - 1);
}

void GLRender2D::DrawText(float x, float y, const wchar_t* text, const MColor& color, float pixel_height) {
  if (!m_surface) return;
  m_owner.DrawFlatText(x, y, text, color, pixel_height, 0.0f, m_surface->GetWidth(), m_surface->GetHeight());
}

// --- the renderer ---

GLRenderImpl::~GLRenderImpl() {
  if (!m_egl.MakeCurrent()) return;
  for (GLuint program : {m_mesh.program, m_line.program, m_point.program, m_flat.program})
    if (program) glDeleteProgram(program);
  for (GLuint buffer : {m_scene_ubo, m_stream_vbo, m_flat_vbo})
    if (buffer) glDeleteBuffers(1, &buffer);
  for (GLuint vao : {m_stream_vao, m_flat_vao})
    if (vao) glDeleteVertexArrays(1, &vao);
  if (m_text_texture) glDeleteTextures(1, &m_text_texture);
}

bool GLRenderImpl::Open(bool software, std::string& why) {
  if (!m_egl.Open(software, why)) return false;
  std::string log;
  if (!BuildMeshProgram(m_mesh, log) || !BuildLineProgram(m_line, log) || !BuildPointProgram(m_point, log) ||
      !BuildFlatProgram(m_flat, log)) {
    why = "the renderer's shaders did not build: " + log;
    return false;
  }
  InitSceneBlock(m_scene);
  glGenBuffers(1, &m_scene_ubo);
  glBindBuffer(GL_UNIFORM_BUFFER, m_scene_ubo);
  glBufferData(GL_UNIFORM_BUFFER, sizeof(SceneBlock), &m_scene, GL_DYNAMIC_DRAW);
  glBindBufferBase(GL_UNIFORM_BUFFER, kSceneBinding, m_scene_ubo);

  glGenVertexArrays(1, &m_stream_vao);
  glGenBuffers(1, &m_stream_vbo);
  glBindVertexArray(m_stream_vao);
  glBindBuffer(GL_ARRAY_BUFFER, m_stream_vbo);
  glEnableVertexAttribArray(kPosition);
  glVertexAttribPointer(kPosition, 3, GL_FLOAT, GL_FALSE, 0, nullptr);

  glGenVertexArrays(1, &m_flat_vao);
  glGenBuffers(1, &m_flat_vbo);
  glBindVertexArray(m_flat_vao);
  glBindBuffer(GL_ARRAY_BUFFER, m_flat_vbo);
  glBufferData(GL_ARRAY_BUFFER, 16 * sizeof(float), nullptr, GL_DYNAMIC_DRAW);
  glEnableVertexAttribArray(0);
  glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(float), nullptr);
  glEnableVertexAttribArray(1);
  glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(float), reinterpret_cast<void*>(2 * sizeof(float)));
  glBindVertexArray(0);

  glGenTextures(1, &m_text_texture);
  glBindTexture(GL_TEXTURE_2D, m_text_texture);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);

  GLint planes = 0;
  glGetIntegerv(GL_MAX_CLIP_DISTANCES, &planes);
  m_plane_count = std::clamp(planes, 0, kMaxPlanes);
  glEnable(GL_PROGRAM_POINT_SIZE);
  glDepthFunc(GL_LEQUAL);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  _ApplyDepth();
  return true;
}

std::string GLRenderImpl::Describe() const {
  if (!m_egl.MakeCurrent()) return {};
  auto text = [](GLenum name) {
    const GLubyte* s = glGetString(name);
    return s ? std::string(reinterpret_cast<const char*>(s)) : std::string();
  };
  return text(GL_VENDOR) + ", " + text(GL_RENDERER) + ", OpenGL " + text(GL_VERSION) + " (" + m_egl.GetPath() + ")";
}

bool GLRenderImpl::StartFrame(IVDisplaySurface* surface, CDC*, bool) {
  auto* own = dynamic_cast<GLSurface*>(surface);
  if (!own || &own->GetOwner() != this || !own->Bind()) return false;
  m_frame_surface = own;
  m_scene.viewport[0] = static_cast<float>(own->GetWidth());
  m_scene.viewport[1] = static_cast<float>(own->GetHeight());
  m_scene_dirty = true;
  _ApplyDepth();
  if (!m_stats.IsInFrame()) m_stats.StartFrame(true);
  return true;
}

void GLRenderImpl::StopFrame() {
  // The frame is complete in the surface when this returns, so the statistics time it whole.
  if (MakeCurrent()) glFinish();
  m_stats.StopFrame();
}

void GLRenderImpl::SetColorFront(const MColor& color) {
  const std::array<float, 4> c = Drawn(color);
  std::copy(c.begin(), c.end(), m_scene.front);
  m_scene_dirty = true;
}

void GLRenderImpl::EnableLighting(bool enable) {
  m_scene.flags[0] = enable ? 1 : 0;
  m_scene_dirty = true;
}

void GLRenderImpl::SetGlobalAmbient(float r, float g, float b) {
  m_scene.ambient[0] = r, m_scene.ambient[1] = g, m_scene.ambient[2] = b;
  m_scene_dirty = true;
}

void GLRenderImpl::SetGlobalDiffuse(float r, float g, float b) {
  m_scene.diffuse[0] = r, m_scene.diffuse[1] = g, m_scene.diffuse[2] = b;
  m_scene_dirty = true;
}

void GLRenderImpl::SetGlobalSpecular(float r, float g, float b) {
  m_scene.specular[0] = r, m_scene.specular[1] = g, m_scene.specular[2] = b;
  m_scene_dirty = true;
}

void GLRenderImpl::EnableDepth(bool test, bool write) {
  m_depth_test = test;
  m_depth_write = write;
  if (MakeCurrent()) _ApplyDepth();
}

void GLRenderImpl::_ApplyDepth() {
  if (m_depth_test)
    glEnable(GL_DEPTH_TEST);
  else
    glDisable(GL_DEPTH_TEST);
  glDepthMask(m_depth_write ? GL_TRUE : GL_FALSE);
}

void GLRenderImpl::SetModelTransform(const float* matrix) {
  if (!matrix) return;
  std::memcpy(m_scene.model, matrix, sizeof m_scene.model);
  UpdateNormalMatrix(m_scene);
  m_scene_dirty = true;
}

void GLRenderImpl::SetViewTransform(const float* matrix) {
  if (!matrix) return;
  std::memcpy(m_scene.view, matrix, sizeof m_scene.view);
  UpdateNormalMatrix(m_scene);
  m_scene_dirty = true;
}

void GLRenderImpl::SetProjectionTransform(const float* matrix) {
  if (!matrix) return;
  std::memcpy(m_scene.projection, matrix, sizeof m_scene.projection);
  UpdateLightDirection(m_scene);
  m_scene_dirty = true;
}

void GLRenderImpl::EnableClippingPlane(int index, bool enable) {
  if (index < 0 || index >= m_plane_count || !MakeCurrent()) return;
  m_plane_enabled[static_cast<std::size_t>(index)] = enable;
  // The shaders write a plane's distance only while it is enabled: Mesa's software rasteriser
  // clips by every distance written, whatever GL_CLIP_DISTANCEn says.
  if (enable)
    m_scene.flags[1] |= 1 << index;
  else
    m_scene.flags[1] &= ~(1 << index);
  m_scene_dirty = true;
  if (enable)
    glEnable(GL_CLIP_DISTANCE0 + static_cast<GLenum>(index));
  else
    glDisable(GL_CLIP_DISTANCE0 + static_cast<GLenum>(index));
}

void GLRenderImpl::SetClippingPlane(int index, float a, float b, float c, float d) {
  if (index < 0 || index >= m_plane_count) return;
  float* plane = m_scene.planes[index];
  plane[0] = a, plane[1] = b, plane[2] = c, plane[3] = d;
  m_scene_dirty = true;
}

void GLRenderImpl::_UploadScene() {
  if (!m_scene_dirty) return;
  glBindBuffer(GL_UNIFORM_BUFFER, m_scene_ubo);
  glBufferSubData(GL_UNIFORM_BUFFER, 0, sizeof(SceneBlock), &m_scene);
  m_scene_dirty = false;
}

IVRenderBuffer* GLRenderImpl::CreateMeshBuffer(const IVMesh& mesh) {
  if (!mesh.positions || mesh.vertex_count == 0 || !MakeCurrent()) return nullptr;
  const std::size_t count = mesh.indices ? mesh.index_count - mesh.index_count % 3 : mesh.vertex_count - mesh.vertex_count % 3;
  if (count == 0 || count > static_cast<std::size_t>(INT32_MAX)) return nullptr;
  if (mesh.indices)
    for (std::size_t i = 0; i < count; ++i)
      if (mesh.indices[i] >= mesh.vertex_count) return nullptr;

  auto buffer = std::make_unique<GLMeshBuffer>(*this, count / 3);
  buffer->m_count = static_cast<GLsizei>(count);
  buffer->m_indexed = mesh.indices != nullptr;
  glGenVertexArrays(1, &buffer->m_vao);
  glBindVertexArray(buffer->m_vao);
  auto attribute = [&](GLuint& name, GLuint location, int size, const float* data) {
    glGenBuffers(1, &name);
    glBindBuffer(GL_ARRAY_BUFFER, name);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(mesh.vertex_count * size * sizeof(float)), data, GL_STATIC_DRAW);
    glEnableVertexAttribArray(location);
    glVertexAttribPointer(location, size, GL_FLOAT, GL_FALSE, 0, nullptr);
  };
  attribute(buffer->m_positions, kPosition, 3, mesh.positions);
  if (mesh.normals) attribute(buffer->m_normals, kNormal, 3, mesh.normals);
  if (mesh.colors) {
    attribute(buffer->m_colors, kColor, 4, mesh.colors);
    for (std::size_t i = 0; i < mesh.vertex_count && !buffer->m_translucent; ++i)
      buffer->m_translucent = mesh.colors[4 * i + 3] < 1.0f;
  }
  if (mesh.indices) {
    glGenBuffers(1, &buffer->m_indices);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffer->m_indices);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(count * sizeof(std::uint32_t)), mesh.indices,
                 GL_STATIC_DRAW);
  }
  glBindVertexArray(0);
  return buffer.release();
}

void GLRenderImpl::DrawMesh(const IVRenderBuffer& buffer) {
  const auto* mesh = dynamic_cast<const GLMeshBuffer*>(&buffer);
  if (!mesh || &mesh->m_owner != this || !MakeCurrent()) return;
  _UploadScene();
  glUseProgram(m_mesh.program);
  glUniform1i(m_mesh.vertex_color, mesh->m_colors ? 1 : 0);
  glUniform1i(m_mesh.flat, mesh->m_normals ? 0 : 1);
  if (mesh->m_translucent || (!mesh->m_colors && m_scene.front[3] < 1.0f))
    glEnable(GL_BLEND);
  else
    glDisable(GL_BLEND);
  glBindVertexArray(mesh->m_vao);
  if (mesh->m_indexed)
    glDrawElements(GL_TRIANGLES, mesh->m_count, GL_UNSIGNED_INT, nullptr);
  else
    glDrawArrays(GL_TRIANGLES, 0, mesh->m_count);
  glBindVertexArray(0);
  m_stats.AddTriangles(mesh->m_triangles);
}

void GLRenderImpl::_StreamPositions(const float* positions, std::size_t point_count) {
  glBindVertexArray(m_stream_vao);
  glBindBuffer(GL_ARRAY_BUFFER, m_stream_vbo);
  glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(point_count * 3 * sizeof(float)), positions, GL_STREAM_DRAW);
  if (m_scene.front[3] < 1.0f)
    glEnable(GL_BLEND);
  else
    glDisable(GL_BLEND);
}

void GLRenderImpl::DrawLines(const float* positions, std::size_t point_count, float width) {
  point_count -= point_count % 2;
  if (!positions || point_count == 0 || point_count > INT32_MAX || !MakeCurrent()) return;
  _UploadScene();
  _StreamPositions(positions, point_count);
  glUseProgram(m_line.program);
  glUniform1f(m_line.width, width);
  glDrawArrays(GL_LINES, 0, static_cast<GLsizei>(point_count));
  glBindVertexArray(0);
}

void GLRenderImpl::DrawPoints(const float* positions, std::size_t point_count, float size) {
  if (!positions || point_count == 0 || point_count > INT32_MAX || !MakeCurrent()) return;
  _UploadScene();
  _StreamPositions(positions, point_count);
  glUseProgram(m_point.program);
  glUniform1f(m_point.size, std::max(size, 1.0f));
  glDrawArrays(GL_POINTS, 0, static_cast<GLsizei>(point_count));
  glBindVertexArray(0);
}

void GLRenderImpl::DrawText(const MMPoint3d<float>& anchor, const wchar_t* text, float pixel_height) {
  if (!m_frame_surface || !text || !MakeCurrent()) return;
  const float position[4] = {anchor.x, anchor.y, anchor.z, 1.0f};
  float world[4], eye[4], clip[4];
  Transform(m_scene.model, position, world);
  for (int i = 0; i < m_plane_count; ++i) {
    const float* p = m_scene.planes[i];
    if (m_plane_enabled[static_cast<std::size_t>(i)] && p[0] * world[0] + p[1] * world[1] + p[2] * world[2] + p[3] * world[3] < 0)
      return;
  }
  Transform(m_scene.view, world, eye);
  Transform(m_scene.projection, eye, clip);
  if (clip[3] <= 0) return;
  const float depth = clip[2] / clip[3];
  if (depth < -1.0f || depth > 1.0f) return;
  const int width = m_frame_surface->GetWidth(), height = m_frame_surface->GetHeight();
  const float x = std::floor((clip[0] / clip[3] + 1.0f) * 0.5f * width + 0.5f);
  const float y = std::floor((1.0f - clip[1] / clip[3]) * 0.5f * height + 0.5f);
  MColor front(m_scene.front[0], m_scene.front[1], m_scene.front[2], m_scene.front[3]);
  DrawFlatText(x, y, text, front, pixel_height, depth, width, height);
}

void GLRenderImpl::DrawFlatPolygon(const float corners[8], const MColor& color, const TextBitmap* coverage, float depth,
                                   int width, int height) {
  const std::array<float, 4> c = Drawn(color);
  float vertices[16];
  static const float uv[8] = {0, 0, 1, 0, 0, 1, 1, 1};
  for (int i = 0; i < 4; ++i) {
    vertices[4 * i] = corners[2 * i];
    vertices[4 * i + 1] = corners[2 * i + 1];
    vertices[4 * i + 2] = uv[2 * i];
    vertices[4 * i + 3] = uv[2 * i + 1];
  }
  glUseProgram(m_flat.program);
  glUniform2f(m_flat.size, static_cast<float>(width), static_cast<float>(height));
  glUniform1f(m_flat.depth, depth);
  glUniform4f(m_flat.color, c[0], c[1], c[2], c[3]);
  glUniform1i(m_flat.textured, coverage ? 1 : 0);
  if (coverage) {
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, m_text_texture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, coverage->width, coverage->height, 0, GL_RED, GL_UNSIGNED_BYTE,
                 coverage->coverage.data());
    glUniform1i(m_flat.texture, 0);
  }
  glEnable(GL_BLEND);
  glBindVertexArray(m_flat_vao);
  glBindBuffer(GL_ARRAY_BUFFER, m_flat_vbo);
  glBufferSubData(GL_ARRAY_BUFFER, 0, sizeof vertices, vertices);
  glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
  glBindVertexArray(0);
}

void GLRenderImpl::DrawFlatText(float x, float y, const wchar_t* text, const MColor& color, float pixel_height,
                                float depth, int width, int height) {
  TextBitmap bitmap;
  if (!m_text.Render(text, pixel_height, bitmap)) return;
  const float x0 = std::floor(x + 0.5f) + bitmap.left, y0 = std::floor(y + 0.5f) - bitmap.top;
  const float x1 = x0 + bitmap.width, y1 = y0 + bitmap.height;
  const float corners[8] = {x0, y0, x1, y0, x0, y1, x1, y1};
  DrawFlatPolygon(corners, color, &bitmap, depth, width, height);
}

IVDisplaySurface* GLRenderImpl::CreateDisplaySurface(HWND window) { return new GLSurface(*this, window); }

IVRender2D* GLRenderImpl::CreateRender2D() { return new GLRender2D(*this); }

void GLRenderImpl::SurfaceDestroyed(GLSurface* surface) {
  m_surfaces.erase(surface);
  if (m_frame_surface == surface) m_frame_surface = nullptr;
}

GLSurface* GLRenderImpl::FindSurface(const CDC* dc) {
  for (GLSurface* surface : m_surfaces)
    if (surface->IsBitmapDC(dc)) return surface;
  return m_frame_surface;
}

}  // namespace Ostrum::GL
