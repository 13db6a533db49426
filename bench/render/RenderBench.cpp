// Frames per second of a lit mesh of 250k, 1M and 4M triangles drawn through IVRender
// (libOstrumGL) against a bare EGL program in the same binary: its own context on the same
// EGL path, the same vertex and index data in its own buffers, the renderer's very shader
// program, and the same work per frame (bind the framebuffer, clear, set the scene block, draw,
// wait for the frame). The two run interleaved round by round; the ratio of the medians is
// printed (IVRender fps / bare fps, 1.0 is parity). Also the time to upload a 1M-triangle mesh.
//
// Both sides ask for the hardware renderer's path (Mesa's surfaceless platform): on a machine
// without a graphics card that is llvmpipe, on one with a card it is the card.

#include <epoxy/egl.h>
#include <epoxy/gl.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Shaders.h"
#include "common/Interleaved.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/gl/OstrumGL.h"

namespace {

constexpr int kSize = 512;  // pixels of the square image

// A bumpy square grid of n x n cells (2 n^2 triangles) with normals, in [-1, 1]^2.
struct Grid {
  std::vector<float> positions, normals;
  std::vector<std::uint32_t> indices;
  explicit Grid(int n) {
    const int v = n + 1;
    positions.reserve(3u * v * v);
    normals.reserve(3u * v * v);
    for (int j = 0; j < v; ++j)
      for (int i = 0; i < v; ++i) {
        const float x = -1.0f + 2.0f * i / n, y = -1.0f + 2.0f * j / n;
        const float z = 0.05f * std::sin(9 * x) * std::cos(7 * y);
        const float dx = 0.45f * std::cos(9 * x) * std::cos(7 * y), dy = -0.35f * std::sin(9 * x) * std::sin(7 * y);
        const float len = std::sqrt(dx * dx + dy * dy + 1);
        positions.insert(positions.end(), {x, y, z});
        normals.insert(normals.end(), {-dx / len, -dy / len, -1 / len});
      }
    indices.reserve(6u * n * n);
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i) {
        const std::uint32_t a = j * v + i, b = a + 1, c = a + v + 1, d = a + v;
        indices.insert(indices.end(), {a, b, c, a, c, d});
      }
  }
  IVMesh Mesh() const {
    IVMesh mesh;
    mesh.positions = positions.data();
    mesh.normals = normals.data();
    mesh.vertex_count = positions.size() / 3;
    mesh.indices = indices.data();
    mesh.index_count = indices.size();
    return mesh;
  }
};

struct Matrices {
  float model[16], view[16], projection[16];
  Matrices() {
    MMTransformMatrix identity, rotation, projection_matrix;
    rotation.MakeRotationXYZ(20, -15, 0);
    projection_matrix.MakeOrthoGraphicProjection(-1.5, 1.5, 1.5, -1.5, 5, -5);
    rotation.ConvertFloat16(model);
    identity.ConvertFloat16(view);
    projection_matrix.ConvertFloat16(projection);
  }
};

// The bare program: EGL, a framebuffer object, the renderer's mesh program, one draw.
class BareProgram {
 public:
  bool Open(std::string& why) {
    m_display = eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    EGLint major = 0, minor = 0;
    if (m_display == EGL_NO_DISPLAY || !eglInitialize(m_display, &major, &minor) || !eglBindAPI(EGL_OPENGL_API)) {
      why = "bare program: no surfaceless EGL display";
      return false;
    }
    const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 3,
                                 EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
    m_context = eglCreateContext(m_display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
    if (m_context == EGL_NO_CONTEXT || !MakeCurrent()) {
      why = "bare program: no OpenGL 3.3 core context";
      return false;
    }
    if (!Ostrum::GL::BuildMeshProgram(m_program, why)) return false;
    glGenRenderbuffers(2, m_renderbuffers);
    glBindRenderbuffer(GL_RENDERBUFFER, m_renderbuffers[0]);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, kSize, kSize);
    glBindRenderbuffer(GL_RENDERBUFFER, m_renderbuffers[1]);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, kSize, kSize);
    glGenFramebuffers(1, &m_fbo);
    glBindFramebuffer(GL_FRAMEBUFFER, m_fbo);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, m_renderbuffers[0]);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, m_renderbuffers[1]);
    glGenBuffers(1, &m_ubo);
    glBindBuffer(GL_UNIFORM_BUFFER, m_ubo);
    glBufferData(GL_UNIFORM_BUFFER, sizeof(Ostrum::GL::SceneBlock), nullptr, GL_DYNAMIC_DRAW);
    glBindBufferBase(GL_UNIFORM_BUFFER, Ostrum::GL::kSceneBinding, m_ubo);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  }
  bool MakeCurrent() { return eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, m_context) == EGL_TRUE; }
  void Upload(const Grid& grid) {
    MakeCurrent();
    if (m_vao) {
      glDeleteVertexArrays(1, &m_vao);
      glDeleteBuffers(3, m_buffers);
    }
    glGenVertexArrays(1, &m_vao);
    glBindVertexArray(m_vao);
    glGenBuffers(3, m_buffers);
    glBindBuffer(GL_ARRAY_BUFFER, m_buffers[0]);
    glBufferData(GL_ARRAY_BUFFER, grid.positions.size() * sizeof(float), grid.positions.data(), GL_STATIC_DRAW);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, nullptr);
    glBindBuffer(GL_ARRAY_BUFFER, m_buffers[1]);
    glBufferData(GL_ARRAY_BUFFER, grid.normals.size() * sizeof(float), grid.normals.data(), GL_STATIC_DRAW);
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 3, GL_FLOAT, GL_FALSE, 0, nullptr);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_buffers[2]);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, grid.indices.size() * sizeof(std::uint32_t), grid.indices.data(),
                 GL_STATIC_DRAW);
    glBindVertexArray(0);
    m_count = static_cast<GLsizei>(grid.indices.size());
    glFinish();
  }
  void Frame(const Matrices& m) {
    MakeCurrent();
    glBindFramebuffer(GL_FRAMEBUFFER, m_fbo);
    glViewport(0, 0, kSize, kSize);
    glClearColor(0.1f, 0.1f, 0.2f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    Ostrum::GL::SceneBlock block;
    Ostrum::GL::InitSceneBlock(block);
    std::memcpy(block.model, m.model, sizeof block.model);
    std::memcpy(block.view, m.view, sizeof block.view);
    std::memcpy(block.projection, m.projection, sizeof block.projection);
    Ostrum::GL::UpdateNormalMatrix(block);
    Ostrum::GL::UpdateLightDirection(block);
    block.front[0] = 0.9f, block.front[1] = 0.8f, block.front[2] = 0.7f;
    block.viewport[0] = block.viewport[1] = kSize;
    block.flags[0] = 1;
    glBindBuffer(GL_UNIFORM_BUFFER, m_ubo);
    glBufferSubData(GL_UNIFORM_BUFFER, 0, sizeof block, &block);
    glUseProgram(m_program.program);
    glUniform1i(m_program.vertex_color, 0);
    glUniform1i(m_program.flat, 0);
    glBindVertexArray(m_vao);
    glDrawElements(GL_TRIANGLES, m_count, GL_UNSIGNED_INT, nullptr);
    glBindVertexArray(0);
    glFinish();
  }

 private:
  EGLDisplay m_display = EGL_NO_DISPLAY;
  EGLContext m_context = EGL_NO_CONTEXT;
  Ostrum::GL::MeshProgram m_program;
  GLuint m_renderbuffers[2] = {}, m_fbo = 0, m_ubo = 0, m_vao = 0, m_buffers[3] = {};
  GLsizei m_count = 0;
};

// The same frame through the framework's interface.
void RenderFrame(IVRender& render, IVDisplaySurface& surface, const IVRenderBuffer& mesh, const Matrices& m) {
  render.StartFrame(&surface, nullptr, false);
  surface.Clear(MColor(0.1f, 0.1f, 0.2f, 1.0f), true, true);
  render.SetModelTransform(m.model);
  render.SetViewTransform(m.view);
  render.SetProjectionTransform(m.projection);
  render.EnableLighting(true);
  render.SetColorFront(MColor(0.9f, 0.8f, 0.7f, 1.0f));
  render.DrawMesh(mesh);
  render.StopFrame();
}

}  // namespace

int main(int argc, char** argv) {
  // An optional argument scales the rounds (the default keeps the whole run to a few minutes
  // on llvmpipe with two cores).
  const double scale = argc > 1 ? std::atof(argv[1]) : 1.0;
  std::string why;
  std::unique_ptr<IVRender> render = Ostrum::GL::CreateRender(RENDER_TYPE_HARDWARE, &why);
  if (!render) {
    std::fprintf(stderr, "the OpenGL renderer could not start: %s\n", why.c_str());
    return 1;
  }
  BareProgram bare;
  if (!bare.Open(why)) {
    std::fprintf(stderr, "%s\n", why.c_str());
    return 1;
  }
  std::printf("renderer: %s\n", Ostrum::GL::DescribeRender(*render).c_str());
  std::unique_ptr<IVDisplaySurface> surface(render->CreateDisplaySurface(nullptr));
  RECT rect{0, 0, kSize, kSize};
  surface->Resize(rect, true, nullptr);
  const Matrices matrices;

  struct Size {
    const char* label;
    int cells;
    int rounds;
  };
  const Size sizes[] = {{"250k", 354, 15}, {"1M", 707, 9}, {"4M", 1414, 5}};
  std::vector<std::string> summary;
  for (const Size& size : sizes) {
    const Grid grid(size.cells);
    std::unique_ptr<IVRenderBuffer> mesh(render->CreateMeshBuffer(grid.Mesh()));
    bare.Upload(grid);
    std::vector<ostrum_bench::TimedCase> cases(2);
    cases[0].name = std::string("IVRender ") + size.label + " triangles";
    cases[0].body = [&] { RenderFrame(*render, *surface, *mesh, matrices); };
    cases[1].name = std::string("bare EGL ") + size.label + " triangles";
    cases[1].body = [&] { bare.Frame(matrices); };
    ostrum_bench::RunInterleaved(cases, std::max(3, static_cast<int>(size.rounds * scale)));
    char line[256];
    std::snprintf(line, sizeof line, "  %-5s triangles (%zu): IVRender %7.2f fps, bare %7.2f fps, ratio %.3f",
                  size.label, mesh->GetTriangleCount(), 1.0 / cases[0].median_seconds, 1.0 / cases[1].median_seconds,
                  cases[1].median_seconds / cases[0].median_seconds);
    std::printf("%s\n", line);
    std::fflush(stdout);
    summary.push_back(line);
  }

  // Uploading a 1M-triangle mesh once (until the card has it: the upload is followed by a
  // wait for the context).
  const Grid grid(707);
  std::vector<double> uploads;
  for (int i = 0; i < 5; ++i) {
    const auto start = std::chrono::steady_clock::now();
    std::unique_ptr<IVRenderBuffer> mesh(render->CreateMeshBuffer(grid.Mesh()));
    glFinish();  // the renderer's context is current after CreateMeshBuffer
    uploads.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(uploads.begin(), uploads.end());

  std::printf("\nFrames per second through IVRender against the bare EGL program (median of interleaved rounds):\n");
  for (const std::string& line : summary) std::printf("%s\n", line.c_str());
  std::printf("  upload of a 1M-triangle mesh (%zu vertices): %.1f ms (median of 5)\n", grid.positions.size() / 3,
              uploads[2]);
  surface.reset();
  return 0;
}
