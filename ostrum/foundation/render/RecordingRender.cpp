#include "ostrum/foundation/render/RecordingRender.h"

#include <cstdio>
#include <utility>

namespace Ostrum {

namespace {

std::array<float, 16> Identity() {
  std::array<float, 16> m{};
  m[0] = m[5] = m[10] = m[15] = 1.0f;
  return m;
}

std::string Narrow(const std::wstring& text) {
  std::string out;
  for (wchar_t c : text) out += c >= 0x20 && c < 0x7F ? static_cast<char>(c) : '?';
  return out;
}

}  // namespace

// A kept mesh: its serial number and triangle count, and the renderer's count of live ones.
class RecordingRender::Buffer : public IVRenderBuffer {
 public:
  Buffer(RecordingRender& owner, std::uint64_t serial, std::size_t triangles)
      : m_owner(owner), m_serial(serial), m_triangles(triangles) {
    ++m_owner.m_live_buffers;
  }
  ~Buffer() override {
    --m_owner.m_live_buffers;
    m_owner.Record("DeleteMeshBuffer", {static_cast<double>(m_serial)});
  }
  std::size_t GetTriangleCount() const override { return m_triangles; }
  std::uint64_t GetSerial() const { return m_serial; }

 private:
  RecordingRender& m_owner;
  std::uint64_t m_serial;
  std::size_t m_triangles;
};

class RecordingRender::Surface : public IVDisplaySurface {
 public:
  Surface(RecordingRender& owner, HWND window) : m_owner(owner), m_window(window) {}
  ~Surface() override { m_owner.Record("DestroySurface"); }
  void Resize(const RECT& rect, bool force, HDC) override {
    m_owner.Record("Surface.Resize", {double(rect.left), double(rect.top), double(rect.right), double(rect.bottom), double(force)});
  }
  void Clear(const MColor& color, bool depth, bool stencil) override {
    m_owner.Record("Surface.Clear", {color.r, color.g, color.b, color.a, double(depth), double(stencil)});
  }
  bool HasBitmapDC() override { return false; }
  CDC* GetBitmapDC() override { return nullptr; }
  void Present(CDC&) override { m_owner.Record("Surface.Present"); }

 private:
  RecordingRender& m_owner;
  HWND m_window;
};

class RecordingRender::Render2D : public IVRender2D {
 public:
  explicit Render2D(RecordingRender& owner) : m_owner(owner) {}
  void Start2DDrawing(CDC*) override { m_owner.Record("2D.Start"); }
  void Stop2DDrawing() override { m_owner.Record("2D.Stop"); }
  bool DrawsAfterFrame() override { return true; }
  void DrawLine(float x0, float y0, float x1, float y1, const MColor& color, float width) override {
    m_owner.Record("2D.DrawLine", {x0, y0, x1, y1, color.r, color.g, color.b, color.a, width});
  }
  void DrawRectangle(float left, float top, float right, float bottom, const MColor& color, bool filled) override {
    m_owner.Record("2D.DrawRectangle", {left, top, right, bottom, color.r, color.g, color.b, color.a, double(filled)});
  }
  void DrawText(float x, float y, const wchar_t* text, const MColor& color, float pixel_height) override {
    m_owner.Record("2D.DrawText", {x, y, color.r, color.g, color.b, color.a, pixel_height}, text ? text : L"");
  }

 private:
  RecordingRender& m_owner;
};

std::string RecordingRender::Call::ToString() const {
  std::string out = name + "(";
  char number[32];
  for (size_t i = 0; i < numbers.size(); ++i) {
    std::snprintf(number, sizeof number, "%s%g", i ? ", " : "", numbers[i]);
    out += number;
  }
  out += ")";
  if (!text.empty()) out += " \"" + Narrow(text) + "\"";
  return out;
}

RecordingRender::RecordingRender(int clipping_planes)
    : m_model(Identity()), m_view(Identity()), m_projection(Identity()), m_clipping_planes(clipping_planes) {}

RecordingRender::~RecordingRender() = default;

std::vector<RecordingRender::Call> RecordingRender::GetCalls(const std::string& name) const {
  std::vector<Call> calls;
  for (const Call& call : m_calls)
    if (call.name == name) calls.push_back(call);
  return calls;
}

std::string RecordingRender::Describe() const {
  std::string text;
  for (const Call& call : m_calls) text += call.ToString() + "\n";
  return text;
}

void RecordingRender::Record(std::string name, std::vector<double> numbers, std::wstring text) {
  m_calls.push_back({std::move(name), std::move(numbers), std::move(text)});
}

void RecordingRender::_RecordMatrix(const char* name, const float* matrix, std::array<float, 16>& into) {
  if (matrix)
    for (int i = 0; i < 16; ++i) into[static_cast<size_t>(i)] = matrix[i];
  Record(name, std::vector<double>(into.begin(), into.end()));
}

bool RecordingRender::StartFrame(IVDisplaySurface*, CDC*, bool incremental) {
  Record("StartFrame", {double(incremental)});
  return true;
}

void RecordingRender::StopFrame() { Record("StopFrame"); }

void RecordingRender::SetColorFront(const MColor& color) {
  m_front = color;
  Record("SetColorFront", {color.r, color.g, color.b, color.a});
}

void RecordingRender::EnableLighting(bool enable) {
  m_lighting = enable;
  Record("EnableLighting", {double(enable)});
}

void RecordingRender::SetGlobalAmbient(float r, float g, float b) { Record("SetGlobalAmbient", {r, g, b}); }
void RecordingRender::SetGlobalDiffuse(float r, float g, float b) { Record("SetGlobalDiffuse", {r, g, b}); }
void RecordingRender::SetGlobalSpecular(float r, float g, float b) { Record("SetGlobalSpecular", {r, g, b}); }
void RecordingRender::EnableDepth(bool test, bool write) { Record("EnableDepth", {double(test), double(write)}); }
void RecordingRender::SetModelTransform(const float* matrix) { _RecordMatrix("SetModelTransform", matrix, m_model); }
void RecordingRender::SetViewTransform(const float* matrix) { _RecordMatrix("SetViewTransform", matrix, m_view); }
void RecordingRender::SetProjectionTransform(const float* matrix) {
  _RecordMatrix("SetProjectionTransform", matrix, m_projection);
}

void RecordingRender::EnableClippingPlane(int index, bool enable) {
  Record("EnableClippingPlane", {double(index), double(enable)});
}

void RecordingRender::SetClippingPlane(int index, float a, float b, float c, float d) {
  Record("SetClippingPlane", {double(index), a, b, c, d});
}

IVRenderBuffer* RecordingRender::CreateMeshBuffer(const IVMesh& mesh) {
  const std::size_t triangles = (mesh.indices ? mesh.index_count : mesh.vertex_count) / 3;
  const std::uint64_t serial = m_next_buffer++;
  Record("CreateMeshBuffer", {double(serial), double(mesh.vertex_count), double(triangles)});
  return new Buffer(*this, serial, triangles);
}

void RecordingRender::DrawMesh(const IVRenderBuffer& buffer) {
  const auto* own = dynamic_cast<const Buffer*>(&buffer);
  Record("DrawMesh", {own ? double(own->GetSerial()) : 0.0, double(buffer.GetTriangleCount())});
  m_stats.AddTriangles(buffer.GetTriangleCount());
}

void RecordingRender::DrawLines(const float* positions, std::size_t point_count, float width) {
  std::vector<double> numbers{double(point_count), width};
  for (std::size_t i = 0; positions && i < 3 * point_count; ++i) numbers.push_back(positions[i]);
  Record("DrawLines", std::move(numbers));
}

void RecordingRender::DrawPoints(const float* positions, std::size_t point_count, float size) {
  std::vector<double> numbers{double(point_count), size};
  for (std::size_t i = 0; positions && i < 3 * point_count; ++i) numbers.push_back(positions[i]);
  Record("DrawPoints", std::move(numbers));
}

void RecordingRender::DrawText(const MMPoint3d<float>& anchor, const wchar_t* text, float pixel_height) {
  Record("DrawText", {anchor.x, anchor.y, anchor.z, pixel_height}, text ? text : L"");
}

IVDisplaySurface* RecordingRender::CreateDisplaySurface(HWND window) {
  Record("CreateSurface");
  return new Surface(*this, window);
}

IVRender2D* RecordingRender::CreateRender2D() { return new Render2D(*this); }

}  // namespace Ostrum
