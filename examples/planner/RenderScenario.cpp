#include "RenderScenario.h"

#include <cmath>
#include <list>
#include <memory>
#include <vector>

#include "PlannerTrace.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/render/IVRender2D.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/foundation/render/IVRenderFactory.h"
#include "ostrum/foundation/render/IVRenderStats.h"
#include "ostrum/gl/OstrumGL.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/scene/MCamera.h"

namespace planner {

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;

// A triangle mesh with normals, built on the CPU and kept by the renderer as the part's
// render optimisation.
struct MeshData {
  std::vector<float> positions, normals;
  std::vector<std::uint32_t> indices;
  void Add(const MMPoint3d<float>& p, const MMPoint3d<float>& n) {
    positions.insert(positions.end(), {p.x, p.y, p.z});
    normals.insert(normals.end(), {n.x, n.y, n.z});
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

// A box from the origin to `size`, each face with its own four corners and normal.
MeshData Box(const MMPoint3d<float>& size) {
  MeshData data;
  const float s[3] = {size.x, size.y, size.z};
  for (int axis = 0; axis < 3; ++axis)
    for (int side = 0; side < 2; ++side) {
      const int u = (axis + 1) % 3, v = (axis + 2) % 3;
      float normal[3] = {0, 0, 0};
      normal[axis] = side ? 1.0f : -1.0f;
      const auto base = static_cast<std::uint32_t>(data.positions.size() / 3);
      for (int corner = 0; corner < 4; ++corner) {
        float p[3];
        p[axis] = side ? s[axis] : 0.0f;
        p[u] = (corner == 1 || corner == 2) ? s[u] : 0.0f;
        p[v] = corner >= 2 ? s[v] : 0.0f;
        data.Add(MMPoint3d<float>(p[0], p[1], p[2]), MMPoint3d<float>(normal[0], normal[1], normal[2]));
      }
      // Counter-clockwise seen from outside.
      if (side)
        data.indices.insert(data.indices.end(), {base, base + 1, base + 2, base, base + 2, base + 3});
      else
        data.indices.insert(data.indices.end(), {base, base + 2, base + 1, base, base + 3, base + 2});
    }
  return data;
}

// A screw: a cylinder of `radius` along z from 0 to `length`, with a cone for its tip.
MeshData Screw(float radius, float length, int segments) {
  MeshData data;
  const float tip = 2.0f * radius;
  for (int i = 0; i <= segments; ++i) {
    const float a = 2.0f * 3.14159265f * i / segments, c = std::cos(a), s = std::sin(a);
    data.Add(MMPoint3d<float>(radius * c, radius * s, 0), MMPoint3d<float>(c, s, 0));
    data.Add(MMPoint3d<float>(radius * c, radius * s, length - tip), MMPoint3d<float>(c, s, 0));
    const float k = 1.0f / std::sqrt(1.0f + (radius / tip) * (radius / tip));
    data.Add(MMPoint3d<float>(radius * c, radius * s, length - tip), MMPoint3d<float>(c * k, s * k, radius / tip * k));
    data.Add(MMPoint3d<float>(0, 0, length), MMPoint3d<float>(c * k, s * k, radius / tip * k));
  }
  for (int i = 0; i < segments; ++i) {
    const auto a = static_cast<std::uint32_t>(4 * i), b = a + 4;
    data.indices.insert(data.indices.end(), {a, b, b + 1, a, b + 1, a + 1, a + 2, b + 2, b + 3, a + 2, b + 3, a + 3});
  }
  return data;
}

// A part of the plan: its coordinate system, its box for the camera, its mesh on the card.
class PlanPart : public UIObject {
 public:
  PlanPart(const wchar_t* label, MeshData mesh, MColor color) : m_mesh(std::move(mesh)), m_color(color) {
    SetLabel(label);
    for (std::size_t i = 0; i < m_mesh.positions.size(); i += 3)
      m_box.Extend(MMPoint3d<float>(m_mesh.positions[i], m_mesh.positions[i + 1], m_mesh.positions[i + 2]));
  }
  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long, const MCoordinateSystem* system) const override {
    box = m_box;
    MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
    if (system && repository) repository->GetTransform(GetCoordinateSystem(), *system).TransformBoundingBox(box);
  }
  /// Draws the mesh in the renderer's current transforms, uploading it on the first draw.
  void Draw(IVRender& renderer) {
    if (!m_buffer) m_buffer.reset(renderer.CreateMeshBuffer(m_mesh.Mesh()));
    if (!m_buffer) return;
    renderer.SetColorFront(m_color);
    renderer.DrawMesh(*m_buffer);
  }
  void DestroyRenderOptimisations() override { m_buffer.reset(); }
  const M3DBoundingBox<float>& Box() const { return m_box; }

 private:
  MeshData m_mesh;
  MColor m_color;
  M3DBoundingBox<float> m_box;
  std::unique_ptr<IVRenderBuffer> m_buffer;
};

void Floats(const MMTransform& transform, float* out) {
  dynamic_cast<const MMTransformMatrix&>(transform).ConvertFloat16(out);
}

// The camera's eye-to-window transform ends in window pixels (y down, depth scaled like x);
// the renderer takes normalised device coordinates, so the host appends that last step.
MMTransformMatrix WindowToNormalised(int width, int height) {
  MMTransformMatrix m;
  m.SetElement(0, 0, 2.0 / width);
  m.SetElement(0, 3, -1.0);
  m.SetElement(1, 1, -2.0 / height);
  m.SetElement(1, 3, 1.0);
  m.SetElement(2, 2, 2.0 / (width / 2 * 2));
  m.SetElement(3, 3, 1.0, true);
  return m;
}

}  // namespace

bool RunRenderScenario(const std::string& png_path) {
  MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
  if (!repository) return false;
  Heading(L"a picture of the plan, drawn with OpenGL");
  Ostrum::GL::RegisterRenderers();
  IVRender* renderer = IVRenderFactory::SelectIVRender(RENDER_TYPE_HARDWARE, false);
  if (!renderer) {
    Trace(L"no OpenGL renderer: " + std::wstring(Ostrum::GL::GetLastError().begin(), Ostrum::GL::GetLastError().end()));
    IVRenderFactory::Reset();
    return false;
  }
  bool written = false;
  {
    const std::string description = Ostrum::GL::DescribeRender(*renderer);
    Trace(L"renderer: " + std::wstring(description.begin(), description.end()));

    // The implant 10 by 4 by 4 mm at x = 40 of the render world; a screw 14 mm long through it.
    MMTransformMatrix placement;
    placement.MakeTranslation(MMPoint3d<double>(40, 0, 0));
    PlanPart implant(L"implant A", Box(MMPoint3d<float>(10, 4, 4)), MColor(0.62f, 0.72f, 0.86f, 1));
    implant.SetCoordinateSystem(repository->CreateNewSystem(placement, repository->GetSystemMm()));
    MMTransformMatrix turn, shift;
    turn.MakeRotationXYZ(0, 90, 0);
    shift.MakeTranslation(MMPoint3d<double>(-3, 2, 2));
    turn.PreMultiply(shift);
    PlanPart screw(L"screw 1", Screw(0.9f, 14, 32), MColor(0.85f, 0.68f, 0.30f, 1));
    screw.SetCoordinateSystem(repository->CreateNewSystem(turn, implant.GetCoordinateSystem()));
    std::list<IRender*> plan{&implant, &screw};

    MCamera camera;
    camera.Reset();
    camera.SetWindowRect(CRect(0, 0, kWidth, kHeight));
    camera.Unzoom(plan, UIObject::DEFAULT_SCENE_ID);
    camera.StartRotation(plan, UIObject::DEFAULT_SCENE_ID);
    camera.Rotate(plan, 25, 35, 0);
    camera.Unzoom(plan, UIObject::DEFAULT_SCENE_ID);

    std::unique_ptr<IVDisplaySurface> surface(IVRenderFactory::CreateNewIVDisplaySurface(nullptr, renderer));
    surface->Resize(RECT{0, 0, kWidth, kHeight}, true, nullptr);
    std::unique_ptr<IVRender2D> overlay(IVRender2DFactory::CreateIVRender2D(renderer));

    float view[16], projection[16], model[16];
    const MCoordinateSystem& world = repository->GetSystemMm();
    Floats(repository->GetTransform(world, camera.GetCoordinateSystemEye()), view);
    MMTransformMatrix eye_to_ndc(dynamic_cast<const MMTransformMatrix&>(
        repository->GetTransform(camera.GetCoordinateSystemEye(), camera.GetCoordinateSystemWindow())));
    eye_to_ndc.PreMultiply(WindowToNormalised(kWidth, kHeight));
    eye_to_ndc.ConvertFloat16(projection);

    renderer->StartFrame(surface.get(), nullptr, false);
    renderer->GetStatistics().StartFrame(true);
    surface->Clear(MColor(0.95f, 0.96f, 0.98f, 1), true, true);
    renderer->SetGlobalAmbient(0.35f, 0.35f, 0.35f);
    renderer->SetGlobalDiffuse(0.65f, 0.65f, 0.65f);
    renderer->SetGlobalSpecular(0.25f, 0.25f, 0.25f);
    renderer->SetViewTransform(view);
    renderer->SetProjectionTransform(projection);
    renderer->EnableDepth(true, true);
    renderer->EnableLighting(true);
    for (PlanPart* part : {&implant, &screw}) {
      Floats(repository->GetTransform(part->GetCoordinateSystem(), world), model);
      renderer->SetModelTransform(model);
      part->Draw(*renderer);
    }

    // The implant's outline, and the screw's length measured along it, as lines.
    renderer->EnableLighting(false);
    Floats(repository->GetTransform(implant.GetCoordinateSystem(), world), model);
    renderer->SetModelTransform(model);
    std::vector<float> edges;
    const MMPoint3d<float> lo = implant.Box().GetMin(), hi = implant.Box().GetMax();
    for (int a = 0; a < 8; ++a)
      for (int bit = 1; bit < 8; bit <<= 1)
        if (!(a & bit)) {
          const int b = a | bit;
          for (int c : {a, b})
            edges.insert(edges.end(), {(c & 1) ? hi.x : lo.x, (c & 2) ? hi.y : lo.y, (c & 4) ? hi.z : lo.z});
        }
    renderer->SetColorFront(MColor(0.15f, 0.25f, 0.45f, 1));
    renderer->DrawLines(edges.data(), edges.size() / 3, 2);
    const float measure[6] = {-3, 2, 7, 11, 2, 7};
    const float ticks[12] = {-3, 2, 6, -3, 2, 8, 11, 2, 6, 11, 2, 8};
    renderer->SetColorFront(MColor(0.80f, 0.10f, 0.10f, 1));
    renderer->EnableDepth(false, false);
    renderer->DrawLines(measure, 2, 2);
    renderer->DrawLines(ticks, 4, 2);
    renderer->DrawPoints(measure, 2, 6);
    renderer->DrawText(MMPoint3d<float>(2, 2, 8.6f), L"14.0 mm", 16);
    renderer->SetColorFront(MColor(0.10f, 0.15f, 0.30f, 1));
    renderer->DrawText(MMPoint3d<float>(10.5f, 4.2f, 4.0f), L"implant A", 18);
    renderer->EnableDepth(true, true);
    renderer->StopFrame();
    renderer->GetStatistics().StopFrame();

    // The title bar over the finished frame, in window pixels.
    if (overlay->DrawsAfterFrame() && surface->HasBitmapDC()) {
      overlay->Start2DDrawing(surface->GetBitmapDC());
      overlay->DrawRectangle(0, 0, kWidth, 34, MColor(0.16f, 0.22f, 0.34f, 1), true);
      overlay->DrawText(12, 24, L"ostrum-planner \u2014 plan of implant A with screw 1", MColor(1, 1, 1, 1), 17);
      overlay->DrawRectangle(0, 0, kWidth, kHeight, MColor(0.16f, 0.22f, 0.34f, 1), false);
      overlay->Stop2DDrawing();
    }
    // Offscreen there is no window to present to: the capture reads the surface's image.
    const IVRenderStats& stats = renderer->GetStatistics();
    Trace(L"drew " + std::to_wstring(stats.GetLastFrameTriangles()) + L" triangles in one frame");
    written = Ostrum::GL::CaptureSurfacePNG(*surface, png_path);
    Trace(written ? L"the plan's picture is in " + std::wstring(png_path.begin(), png_path.end())
                  : L"the plan's picture could not be written to " + std::wstring(png_path.begin(), png_path.end()));
    implant.DestroyRenderOptimisations();
    screw.DestroyRenderOptimisations();
    overlay.reset();
    surface.reset();
  }
  IVRenderFactory::Reset();
  return written;
}

}  // namespace planner
