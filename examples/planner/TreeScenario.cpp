#include "TreeScenario.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "PlannerTrace.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/foundation/render/RecordingRender.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/objects/UIObjectFilterComposite.h"
#include "ostrum/objects/UIObjectFilters.h"

namespace planner {

namespace {

constexpr unsigned long long kDefaultScene = UIObject::DEFAULT_SCENE_ID;
constexpr unsigned long long kSectionScene = 2;  // a second view of the plan

// A part of the plan: it draws itself as a small mesh, kept by the renderer after the first
// frame, with its label beside it, in its own coordinate system.
class PlanPart : public UIObject {
 public:
  PlanPart(const wchar_t* label, const wchar_t* type, int32_t priority) : m_type(type) {
    SetLabel(label);
    SetPriority(priority);
    SetVisible(true, kSectionScene);
  }
  ~PlanPart() override { delete m_mesh; }
  const wchar_t* GetUserInterfaceTypeName() const override { return m_type.c_str(); }
  using UIObject::Render;
  void Render(IVRender& renderer, const MCoordinateSystem& system) override {
    _SetRenderTransformObjectWorld(renderer);
    if (!m_mesh) {
      const float tetrahedron[12] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
      const std::uint32_t faces[12] = {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};
      IVMesh mesh;
      mesh.positions = tetrahedron;
      mesh.vertex_count = 4;
      mesh.indices = faces;
      mesh.index_count = 12;
      m_mesh = renderer.CreateMeshBuffer(mesh);
    }
    if (m_mesh) renderer.DrawMesh(*m_mesh);
    renderer.DrawText(MMPoint3d<float>(0, 0, 1.5f), GetLabel(), 12);
    UIObject::Render(renderer, system);  // the parts below it
  }
  void DestroyRenderOptimisations() override {
    delete m_mesh;
    m_mesh = nullptr;
    UIObject::DestroyRenderOptimisations();
  }

 private:
  std::wstring m_type;
  IVRenderBuffer* m_mesh = nullptr;
};

std::wstring Narrow(const std::string& text) { return std::wstring(text.begin(), text.end()); }

std::wstring Origin(const UIObject& part) {
  MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
  const MMPoint3d<double> p =
      repository->GetTransform(part.GetCoordinateSystem(), repository->GetSystemMm())(MMPoint3d<double>());
  wchar_t text[96];
  std::swprintf(text, 96, L"(%.1f, %.1f, %.1f) mm", p.x, p.y, p.z);
  return text;
}

void TraceTree(const UIObject& parent, int depth = 0) {
  for (UIObject* child : parent.GetChildren()) {
    Trace(std::wstring(2 * depth, L' ') + child->GetLabel() + L" [" + child->GetUserInterfaceTypeName() +
          L", priority " + std::to_wstring(child->GetPriority()) + L"] at " + Origin(*child));
    TraceTree(*child, depth + 1);
  }
}

MMTransformMatrix Translation(double x, double y, double z) {
  MMTransformMatrix m;
  m.MakeTranslation(x, y, z);
  return m;
}

}  // namespace

void RunTreeScenario() {
  MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
  if (!repository) return;
  Heading(L"the object tree: a plan of parts");
  UIObject plan;  // the top of the tree
  auto make = [&](const wchar_t* label, const wchar_t* type, int32_t priority, UIObject* parent,
                  const MMTransformMatrix& placement) {
    auto part = std::make_unique<PlanPart>(label, type, priority);
    part->SetCoordinateSystem(repository->CreateNewSystem(placement, parent->GetCoordinateSystem()));
    part->MoveToParent(parent);
    return part;
  };
  auto implant = make(L"implant A", L"Implant", 10, &plan, Translation(40, 0, 0));
  auto plate = make(L"plate", L"Plate", 5, &plan, Translation(-30, 10, 0));
  auto screw1 = make(L"screw 1", L"Screw", 1, implant.get(), Translation(0, 5, 0));
  auto screw2 = make(L"screw 2", L"Screw", 2, implant.get(), Translation(0, -5, 0));
  auto landmark = make(L"landmark", L"Landmark", 0, &plan, Translation(0, 0, 25));
  Trace(L"children stand by priority, the higher first:");
  {
    TraceScope scope;
    TraceTree(plan);
  }

  Heading(L"a screw moves from the implant to the plate, keeping its place");
  const std::wstring before = Origin(*screw1);
  screw1->MoveToParent(plate.get(), true);
  // Its system now hangs below the plate's, with the transform the move computed.
  repository->SetDependentCoordinateSystem(screw1->GetCoordinateSystem(), plate->GetCoordinateSystem());
  Trace(L"screw 1 was at " + before + L", is at " + Origin(*screw1) + L", now under \"" + screw1->GetParent()->GetLabel() +
        L"\"");
  {
    TraceScope scope;
    TraceTree(plan);
  }

  Heading(L"visibility per scene");
  landmark->SetVisible(false, kSectionScene);
  Trace(L"the landmark is hidden in the section view: visible there " +
        std::wstring(landmark->IsVisible(kSectionScene) ? L"yes" : L"no") + L", in the default view " +
        std::wstring(landmark->IsVisible(kDefaultScene) ? L"yes" : L"no"));

  Heading(L"a walk of the plan, filtered: screws visible in the section view");
  UIObjectFilterComposite screws_in_section(UIObjectFilterComposite::BOOLEAN_AND);
  screws_in_section.AddOwned(new UIObjectFilterVisible(kSectionScene));
  screws_in_section.AddOwned(new UIObjectSelectedByName(nullptr, false));
  UIObjectFilterTypeInfo is_part(typeid(PlanPart));
  screws_in_section.Attach(&is_part);
  std::wstring walked, matched;
  for (auto it = plan.Begin(); it != plan.End(); ++it) {
    walked += std::wstring(walked.empty() ? L"" : L", ") + it->GetLabel();
    if (screws_in_section.IsObjectMatched(it) && std::wstring(it->GetUserInterfaceTypeName()) == L"Screw")
      matched += std::wstring(matched.empty() ? L"" : L", ") + it->GetLabel();
  }
  Trace(L"depth first: " + walked);
  Trace(L"screws visible in the section view: " + matched);

  Heading(L"what a renderer is asked to draw");
  landmark->SetVisible(false, kDefaultScene);
  Trace(L"the landmark hidden in the default view too; the recording renderer writes down each call:");
  Ostrum::RecordingRender renderer;
  plan.Render(renderer, repository->GetSystemMm());
  {
    TraceScope scope;
    for (const auto& call : renderer.GetCalls()) Trace(Narrow(call.ToString()));
  }
  plan.DestroyRenderOptimisations();
  Trace(L"render buffers left after DestroyRenderOptimisations: " + std::to_wstring(renderer.GetLiveBufferCount()));
  for (UIObject* part : {static_cast<UIObject*>(screw1.get()), static_cast<UIObject*>(screw2.get()),
                         static_cast<UIObject*>(implant.get()), static_cast<UIObject*>(plate.get()),
                         static_cast<UIObject*>(landmark.get())})
    part->MoveToParent(nullptr);
}

}  // namespace planner
