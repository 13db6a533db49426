#include "MeshViewScenario.h"

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "PlannerTrace.h"
#include "StlReader.h"
#include "Window3DHost.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/document/MMainFrame.h"
#include "ostrum/document/MView.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Input.h"
#include "ostrum/foundation/platform/KeyState.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/Paint.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/foundation/render/IVRenderFactory.h"
#include "ostrum/gl/OstrumGL.h"
#include "ostrum/interaction/UIWnd3D.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/scene/MOperationView.h"
#include "ostrum/scene/MSceneEx.h"
#include "ostrum/undo/Manager.h"

namespace planner {

namespace {

std::wstring Wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// A mesh read from a file: its box for the camera, its triangles kept by the renderer, drawn
// lit in the scenes that show it.
class MeshPart : public UIObject {
 public:
  explicit MeshPart(StlMesh mesh) : m_mesh(std::move(mesh)) {
    SetLabel(Wide(m_mesh.name.empty() ? std::string("mesh") : m_mesh.name).c_str());
    for (std::size_t i = 0; i + 2 < m_mesh.positions.size(); i += 3)
      m_box.Extend(MMPoint3d<float>(m_mesh.positions[i], m_mesh.positions[i + 1], m_mesh.positions[i + 2]));
  }
  using UIObject::Render;
  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long scene, const MCoordinateSystem* system) const override {
    box = M3DBoundingBox<float>();
    if (!IsVisible(scene)) return;
    box = m_box;
    MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
    if (system && repository) repository->GetTransform(GetCoordinateSystem(), *system).TransformBoundingBox(box);
  }
  void Render(IVRender& renderer, const MSceneEx& scene) override {
    if (IsVisible(scene.GetSceneID())) {
      _SetRenderTransformObjectWorld(renderer);
      if (!m_buffer) {
        IVMesh mesh;
        mesh.positions = m_mesh.positions.data();
        mesh.normals = m_mesh.normals.data();
        mesh.vertex_count = m_mesh.positions.size() / 3;
        m_buffer.reset(renderer.CreateMeshBuffer(mesh));
      }
      if (m_buffer) {
        renderer.EnableLighting(true);
        renderer.SetColorFront(MColor(0.86f, 0.80f, 0.66f, 1));
        renderer.DrawMesh(*m_buffer);
        renderer.EnableLighting(false);
      }
    }
    UIObject::Render(renderer, scene);
  }
  void DestroyRenderOptimisations() override {
    m_buffer.reset();
    UIObject::DestroyRenderOptimisations();
  }

 private:
  StlMesh m_mesh;
  M3DBoundingBox<float> m_box;
  std::unique_ptr<IVRenderBuffer> m_buffer;
};

// The document of this scenario, with a database of its own.
// The window with its surface reachable for the screenshots.
class MeshWindow : public UIWnd3D {
 public:
  MeshWindow() : UIWnd3D(true, true) {}
  IVDisplaySurface* Surface() const { return m_display_surface; }
};

void Settle() { Ostrum::Desktop::PumpWaitingMessages(); }

void MoveTo(HWND window, POINT point) {
  ClientToScreen(window, &point);
  Ostrum::Desktop::InputMouseMove(point);
  Settle();
}

// A right-button drag in `steps` moves, as the user makes it.
void RightDrag(HWND window, POINT from, POINT to, int steps) {
  MoveTo(window, from);
  Ostrum::Desktop::InputMouseButton(Ostrum::Desktop::MouseButton::Right, true);
  Settle();
  for (int i = 1; i <= steps; ++i)
    MoveTo(window, POINT{from.x + (to.x - from.x) * i / steps, from.y + (to.y - from.y) * i / steps});
  Ostrum::Desktop::InputMouseButton(Ostrum::Desktop::MouseButton::Right, false);
  Settle();
}

bool Screenshot(MeshWindow& window, const std::string& path) {
  window.InvalidateDisplaySurface();
  ::UpdateWindow(window.GetSafeHwnd());
  const bool written = window.Surface() && Ostrum::GL::CaptureSurfacePNG(*window.Surface(), path);
  Trace(written ? L"screenshot: " + Wide(path) : L"the screenshot could not be written to " + Wide(path));
  return written;
}

// The reader against files that are not what they claim: each must be refused with a message.
void ShowHostileFiles(const std::string& good_path) {
  std::vector<unsigned char> binary;
  {
    StlMesh mesh;
    std::string error;
    const std::string copy = good_path + ".binary.stl";
    if (!ReadStlFile(good_path, mesh, error) || !WriteStlBinary(copy, mesh)) return;
    FILE* file = std::fopen(copy.c_str(), "rb");
    if (!file) return;
    unsigned char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;) binary.insert(binary.end(), buffer, buffer + n);
    std::fclose(file);
    std::remove(copy.c_str());
  }
  StlMesh mesh;
  std::string error;
  Trace(L"the same mesh as binary STL: " + std::wstring(ReadStl(binary.data(), binary.size(), mesh, error)
                                                            ? std::to_wstring(mesh.TriangleCount()) + L" triangles"
                                                            : L"refused: " + Wide(error)));
  // Every truncation of the binary file, a count that lies, random bytes, a broken ASCII file.
  int refused = 0, truncations = 0;
  for (std::size_t size = 0; size < binary.size(); size += 7, ++truncations)
    if (!ReadStl(binary.data(), size, mesh, error)) ++refused;
  Trace(L"truncated copies refused: " + std::to_wstring(refused) + L" of " + std::to_wstring(truncations));
  std::vector<unsigned char> lying = binary;
  lying[80] = 0xFF;
  lying[81] = 0xFF;
  lying[82] = 0xFF;
  lying[83] = 0x7F;
  if (!ReadStl(lying.data(), lying.size(), mesh, error)) Trace(L"a triangle count that lies: " + Wide(error));
  std::mt19937 random(7);
  std::vector<unsigned char> noise(5000);
  for (unsigned char& byte : noise) byte = static_cast<unsigned char>(random());
  if (!ReadStl(noise.data(), noise.size(), mesh, error)) Trace(L"random bytes: " + Wide(error));
  const std::string broken = "solid x\n facet normal 0 0 1\n outer loop\n vertex 0 0 0\n vertex 1 nan 0\n";
  if (!ReadStl(reinterpret_cast<const unsigned char*>(broken.data()), broken.size(), mesh, error))
    Trace(L"a broken ASCII file: " + Wide(error));
}

}  // namespace

bool RunMeshViewScenario(const std::string& stl_path, const std::string& png_prefix) {
  Heading(L"a mesh file in a 3D window, turned and zoomed by the mouse");
  StlMesh mesh;
  std::string error;
  if (!ReadStlFile(stl_path, mesh, error)) {
    Trace(L"the mesh could not be read: " + Wide(error));
    return false;
  }
  Trace(L"read " + Wide(stl_path) + L": \"" + Wide(mesh.name) + L"\", " + std::to_wstring(mesh.TriangleCount()) +
        L" triangles");
  ShowHostileFiles(stl_path);

  Ostrum::GL::RegisterRenderers();
  if (!IVRenderFactory::SelectIVRender(RENDER_TYPE_HARDWARE, false)) {
    Trace(L"no OpenGL renderer: " + Wide(Ostrum::GL::GetLastError()));
    return false;
  }
  bool written = false;
  {
    Window3DFrame host(L"Planner.MeshWindow", 700, 560);
    Window3DView& view = host.view;
    {
      Window3DDocument doc;
      doc.AddView(&view);
      doc.CreateContents();
      MSceneEx* scene = doc.Database().GetScenes().front();
      scene->SetBackgroundColor(MColor(0.93f, 0.95f, 0.98f, 1));
      scene->SetLightAmbient(MColor(0.30f, 0.30f, 0.32f, 1));
      scene->SetLightDiffuse(MColor(0.75f, 0.75f, 0.72f, 1));
      scene->SetLightSpecular(MColor(0.20f, 0.20f, 0.20f, 1));
      auto* add = new UIOperation(MOperation::ACTION_ADD);
      add->AddObject(new MeshPart(std::move(mesh)));
      doc.DoOperation(add, nullptr);

      MeshWindow window;
      window.Create(0, CRect(10, 10, 652, 492), &view, 2);
      view.window = &window;
      window.ResetCamera();
      // A look from the front and a little above, then the whole mesh fitted in.
      auto* look = new MOperationView;
      look->SetAction(MOperationView::ViewActionDefaultView);
      look->SetDefaultView(MOperationView::DefaultView0);
      doc.DoOperation(look, nullptr);
      written = Screenshot(window, png_prefix + "-before.png");

      const HWND hwnd = window.GetSafeHwnd();
      const int before = view.view_operations;
      RightDrag(hwnd, POINT{320, 240}, POINT{420, 200}, 10);  // turn
      Ostrum::Desktop::InputKey(VK_CONTROL, true);
      Settle();
      RightDrag(hwnd, POINT{320, 300}, POINT{320, 220}, 8);  // zoom in
      Ostrum::Desktop::InputKey(VK_CONTROL, false);
      Settle();
      const wchar_t* top = doc.GetUndoManager() ? doc.GetUndoManager()->GetUndoActionString() : nullptr;
      Trace(L"the drags sent " + std::to_wstring(view.view_operations - before) +
            L" view operations through the document; the newest undo step is still " +
            (top ? L"\"" + std::wstring(top) + L"\"" : std::wstring(L"none")));
      written = Screenshot(window, png_prefix + "-after.png") && written;
      view.window = nullptr;
      window.DestroyWindow();
      doc.RemoveView(&view);
    }
  }
  IVRenderFactory::Reset();
  return written;
}

}  // namespace planner
