#include "DatabaseScenario.h"

#include <cstdio>
#include <string>

#include "PlannerModel.h"
#include "PlannerTrace.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/UIOperationScene.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/scene/MSceneEx.h"
#include "ostrum/scene/MCamera.h"
#include "ostrum/scene/MOperationView.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/undo/Manager.h"
#include <list>

namespace planner {

namespace {

constexpr unsigned long long kDefaultScene = UIObject::DEFAULT_SCENE_ID;

// A part of the plan in the tree, told apart by its type name; a view can watch it, as every
// tree object is a subject.
class Part : public UIObject {
 public:
  Part(const wchar_t* label, const wchar_t* type, int32_t priority) : m_type(type) {
    SetLabel(label);
    SetPriority(priority);
  }
  const wchar_t* GetUserInterfaceTypeName() const override { return m_type.c_str(); }
  // A box of 10 mm a side at the part's origin.
  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long, const MCoordinateSystem* system) const override {
    box = M3DBoundingBox<float>(MMPoint3d<float>(), MMPoint3d<float>(10, 10, 10));
    MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
    if (system && repository) repository->GetTransform(GetCoordinateSystem(), *system).TransformBoundingBox(box);
  }

 private:
  std::wstring m_type;
};

// The planner's view of the plan: a camera on a 640 by 480 window that carries out the view
// operations it is named in, as a 3D window does with those it receives.
class PlanView : public UIObject {
 public:
  explicit PlanView(MDataBase& database) : m_database(database) {
    SetLabel(L"plan view");
    m_camera.Reset();
    m_camera.SetWindowRect(CRect(0, 0, 640, 480));
  }
  bool DoOperation(MOperation& operation) override {
    auto* view = dynamic_cast<MOperationView*>(&operation);
    if (!view) return UIObject::DoOperation(operation);
    std::list<IRender*> plan;
    for (UIObjectIterator it = m_database.GetBeginUIObject(); it != m_database.GetEndUIObject(); ++it)
      if (it->IsVisible(UIObject::DEFAULT_SCENE_ID)) plan.push_back(it);
    switch (view->GetAction()) {
      case MOperationView::ViewActionUnzoom:
        m_camera.Unzoom(plan, UIObject::DEFAULT_SCENE_ID);
        break;
      case MOperationView::ViewActionZoom:
        if (view->GetZoomFactor() == 0.0f)
          m_camera.SetZoomCenter(view->GetPoint());
        else
          m_camera.Zoom(view->GetZoomFactor());
        break;
      case MOperationView::ViewActionRotate: {
        bool around_z;
        CWnd* window;
        float x, y, z;
        view->GetActionRotate(around_z, window, x, y, z);
        m_camera.StartRotation(plan, UIObject::DEFAULT_SCENE_ID);
        if (around_z)
          m_camera.RotateWorldZ(plan, -x, -y, z);
        else
          m_camera.Rotate(plan, x, y, z);
        break;
      }
      case MOperationView::ViewActionPan:
        m_camera.TranslateView(view->GetDeltaX(), view->GetDeltaY());
        break;
      case MOperationView::ViewActionDefaultView: {
        const float* angles = MOperationView::DefaultViewRotationTable[view->GetDefaultView()];
        m_camera.StartRotation(plan, UIObject::DEFAULT_SCENE_ID);
        m_camera.SetRotation(angles[0], angles[1], angles[2]);
        m_camera.Unzoom(plan, UIObject::DEFAULT_SCENE_ID);
        break;
      }
      default:
        break;
    }
    return true;
  }
  // Where `part`'s far corner (10, 10, 10) is in the window.
  std::wstring Where(const UIObject& part) const {
    MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
    const MMPoint3d<double> p = repository->GetTransform(part.GetCoordinateSystem(),
                                                         m_camera.GetCoordinateSystemWindow())(MMPoint3d<double>(10, 10, 10));
    wchar_t text[96];
    std::swprintf(text, 96, L"(%.1f, %.1f), zoom factor %.2f", p.x, p.y, m_camera.GetZoomFactor());
    return text;
  }

 private:
  MDataBase& m_database;
  MCamera m_camera;
};

std::wstring YesNo(bool value) { return value ? L"yes" : L"no"; }

std::wstring SceneName(unsigned long long id) {
  wchar_t text[32];
  std::swprintf(text, 32, L"0x%llX", id);
  return text;
}

// The tree under the database's root, each object with where it stands in the registry.
void TraceTree(const UIObject& parent, int depth = 0) {
  for (UIObject* child : parent.GetChildren()) {
    Trace(std::wstring(2 * depth, L' ') + child->GetLabel() + L" [priority " + std::to_wstring(child->GetPriority()) +
          L"]" + (child->IsSelected() ? L", selected" : L""));
    TraceTree(*child, depth + 1);
  }
}

void TraceDatabase(MDataBase& database, const wchar_t* when) {
  Trace(std::wstring(L"the database ") + when + L": " + std::to_wstring(database.GetNumObjects()) + L" live, " +
        std::to_wstring(database.GetNumRemovedObjects()) + L" removed (kept for undo); the tree:");
  TraceScope scope;
  TraceTree(database.GetRootUIObject());
}

void TraceRemoved(const std::initializer_list<UIObject*>& objects) {
  std::wstring text;
  for (UIObject* object : objects)
    text += std::wstring(text.empty() ? L"" : L", ") + object->GetLabel() + L" " +
            (object->IsRemoved() ? L"removed" : L"live");
  Trace(text);
}

std::wstring Top(PlannerDocument& doc) {
  const wchar_t* top = doc.GetUndoManager()->GetUndoActionString();
  return top ? L"the top step is \"" + std::wstring(top) + L"\"" : std::wstring(L"no step");
}

bool Send(MOperation* operation, std::initializer_list<UIObject*> objects) {
  for (UIObject* object : objects) operation->AddObject(object);
  return operation->DoOperation(nullptr);
}

}  // namespace

void RunDatabaseScenario() {
  const bool tracing = HookTracing();
  SetHookTracing(false);
  PlannerDocument doc;
  doc.MarkLoaded();
  MDataBase& database = doc.Database();

  Heading(L"the plan in a database: a second scene");
  auto* add_scene = new UIOperationScene(UIOperationScene::ACTION_SCENE_ADD);
  add_scene->SetSceneLabel(L"Section");
  add_scene->DoOperation(nullptr);
  MSceneEx* section = database.FindScene(L"Section");
  const unsigned long long section_id = section ? section->GetSceneID() : 0;
  for (MSceneEx* scene : database.GetScenes())
    Trace(L"scene \"" + scene->GetLabel() + L"\", id " + SceneName(scene->GetSceneID()));

  Heading(L"parts added by one operation, with their screws");
  auto* implant = new Part(L"implant A", L"Implant", 10);
  auto* screw1 = new Part(L"screw 1", L"Screw", 1);
  auto* screw2 = new Part(L"screw 2", L"Screw", 2);
  auto* landmark = new Part(L"landmark", L"Landmark", 0);
  screw1->MoveToParent(implant);
  screw2->MoveToParent(implant);
  // Adding the implant registers its subtree and brings it live under the root.
  Send(new MOperation(MOperation::ACTION_ADD), {implant, landmark});
  TraceDatabase(database, L"after the add");

  Heading(L"the landmark shown only in the section scene");
  // An object knows only the scenes it was shown or hidden in: the parts are shown in the
  // section, then the landmark is hidden in the default scene.
  auto* show = new UIOperation(UIOperation::ACTION_SHOW);
  show->SetSceneID(section_id);
  Send(show, {implant, screw1, screw2, landmark});
  auto* hide = new UIOperation(UIOperation::ACTION_HIDE);
  hide->SetSceneID(kDefaultScene);
  Send(hide, {landmark});
  Trace(L"landmark visible in \"Default\": " + YesNo(landmark->IsVisible(kDefaultScene)) + L", in \"Section\": " +
        YesNo(landmark->IsVisible(section_id)));
  doc.UndoOperation();
  Trace(L"undo: visible in \"Default\": " + YesNo(landmark->IsVisible(kDefaultScene)));
  doc.RedoOperation();
  Trace(L"redo: visible in \"Default\": " + YesNo(landmark->IsVisible(kDefaultScene)) + L", in \"Section\": " +
        YesNo(landmark->IsVisible(section_id)));

  Heading(L"a selection, then the implant removed with its screws");
  Send(new UIOperation(UIOperation::ACTION_SELECT), {implant, screw2});
  TraceDatabase(database, L"with the implant and screw 2 selected");
  Send(new MOperation(MOperation::ACTION_REMOVE), {implant});
  TraceRemoved({implant, screw1, screw2});
  Trace(L"screw 2 still selected: " + YesNo(screw2->IsSelected()) + L", still a child of the implant: " +
        YesNo(screw2->GetParent() == implant));
  TraceDatabase(database, L"after the remove");
  doc.UndoOperation();
  TraceRemoved({implant, screw1, screw2});
  TraceDatabase(database, L"after undo");
  doc.RedoOperation();
  TraceRemoved({implant, screw1, screw2});
  doc.UndoOperation();
  Trace(L"and undone again: the implant is back with its screws");

  Heading(L"the landmark deleted: it lives until the operation ends");
  Inspector view(L"section view");
  landmark->Attach(&view);
  Trace(L"a view watches the landmark; delete it:");
  {
    TraceScope scope;
    SetHookTracing(true);
    Send(new MOperation(MOperation::ACTION_DELETE), {landmark});
    SetHookTracing(false);
  }
  Trace(L"registered after the delete: " + std::to_wstring(database.GetNumObjects() + database.GetNumRemovedObjects()) +
        L" objects; the landmark is gone");
  Send(new UIOperation(UIOperation::ACTION_DESELECT_ALL), {});
  TraceDatabase(database, L"after deselecting all");

  Heading(L"the view changed by view operations");
  PlanView plan_view(database);
  const std::wstring top_before = Top(doc);
  auto send_view = [&](MOperationView* operation, const wchar_t* what) {
    operation->AddObject(&plan_view);
    const bool done = operation->DoOperation(nullptr);
    Trace(std::wstring(what) + L": " + (done ? L"done" : L"refused") + L"; the implant's far corner at " +
          plan_view.Where(*implant));
  };
  auto* unzoom = new MOperationView;
  unzoom->SetAction(MOperationView::ViewActionUnzoom);
  send_view(unzoom, L"unzoom");
  auto* centre = new MOperationView;
  centre->SetAction(MOperationView::ViewActionZoom);
  centre->SetZoomFactor(0.0f);
  centre->SetPoint(CPoint(458, 101));
  send_view(centre, L"zoom centre at the pixel (458, 101)");
  auto* zoom = new MOperationView;
  zoom->SetAction(MOperationView::ViewActionZoom);
  zoom->SetZoomFactor(2.5f);
  send_view(zoom, L"zoom by 2.5");
  auto* pan = new MOperationView;
  pan->SetAction(MOperationView::ViewActionPan);
  pan->SetDeltas(40, -25, 0);
  send_view(pan, L"pan by (40, -25) pixels");
  auto* rotate = new MOperationView;
  rotate->SetActionRotateStandard(nullptr, 0, 0, 90);
  send_view(rotate, L"rotate by 90 degrees about the eye's z axis");
  auto* front = new MOperationView;
  front->SetAction(MOperationView::ViewActionDefaultViewFirst + 4);
  send_view(front, L"default view 4, unzoomed");
  Trace(L"view operations leave no undo step: before them " + top_before + L", after them " + Top(doc));

  Heading(L"the section scene's background, changed and undone");
  auto* background = new UIOperationScene(UIOperationScene::ACTION_SCENE_BACKGROUND);
  background->SetScene(section_id);
  background->SetColor(MColor(0.1f, 0.2f, 0.4f));
  background->DoOperation(nullptr);
  auto colour = [&] {
    const MColor& c = section->GetBackgroundColor();
    if (!c.IsSet()) return std::wstring(L"unset (the renderer's own)");
    wchar_t text[64];
    std::swprintf(text, 64, L"(%.2f, %.2f, %.2f)", c.r, c.g, c.b);
    return std::wstring(text);
  };
  Trace(L"background " + colour());
  doc.UndoOperation();
  Trace(L"undo: background " + colour());
  SetHookTracing(tracing);
}

}  // namespace planner
