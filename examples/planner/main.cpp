// ostrum-planner: the example host program. It derives its own document, objects, operation
// and observer from the framework's classes (PlannerModel.h) and sends real operations through
// the document's pipeline, printing stage by stage what the pipeline did; each scenario file
// shows one more part of the framework at work.

#include <unistd.h>

#include <cstdio>
#include <string>

#include "CameraScenario.h"
#include "CleanupScenario.h"
#include "ControllerScenario.h"
#include "CoordinateScenario.h"
#include "DatabaseScenario.h"
#include "DocumentUndoScenario.h"
#include "InteractiveWindowScenario.h"
#include "LifecycleScenario.h"
#include "MeshViewScenario.h"
#include "MouseToolScenario.h"
#include "PlannerModel.h"
#include "PlannerTrace.h"
#include "RenderScenario.h"
#include "SensitivityScenario.h"
#include "TreeScenario.h"
#include "UndoScenario.h"
#include "WizardScenario.h"
#include "ostrum/document/MApplicationController.h"
#include "ostrum/document/MLocker.h"
#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/undo/Manager.h"

using namespace planner;

namespace {

void Run(PlannerDocument& doc, PlannerOperation* op, const std::wstring& what) {
  Trace(L"send operation #" + std::to_wstring(op->Number()) + L" (" + what + L"), flags " + Flags(*op));
  bool result;
  {
    TraceScope scope;
    result = op->DoOperation(nullptr);
  }
  Trace(L"result: " + std::wstring(result ? L"true" : L"false") + L"; title \"" +
        std::wstring(doc.GetTitle().GetString()) + L"\"");
  const wchar_t* top = doc.GetUndoManager()->GetUndoActionString();
  Trace(L"undo history: top step " + (top ? L"\"" + std::wstring(top) + L"\"" : std::wstring(L"none")));
}

}  // namespace

int main(int argc, char** argv) {
  // --stop-midway: stop for good once the first undo files are written, to be killed; the
  // next run of the planner finds that process dead and removes what it left.
  // --plan-png PATH: draw the plan with the OpenGL renderer and write the picture to PATH.
  // --windows-png PATH: write the picture of the two interactive panes to PATH.
  bool stop_midway = false;
  std::string windows_png;
  // --mesh-png PREFIX: show a mesh file in a 3D window, turn and zoom it with the mouse and
  // write PREFIX-before.png and PREFIX-after.png; --mesh FILE: that file instead of the sample.
  std::string plan_png, mesh_png, mesh_path = OSTRUM_PLANNER_SAMPLE_MESH;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--stop-midway") stop_midway = true;
    if (arg == "--plan-png" && i + 1 < argc) plan_png = argv[++i];
    if (arg == "--windows-png" && i + 1 < argc) windows_png = argv[++i];
    if (arg == "--mesh-png" && i + 1 < argc) mesh_png = argv[++i];
    if (arg == "--mesh" && i + 1 < argc) mesh_path = argv[++i];
  }
  FillStringTable();
  // --open-plan FILE: a fresh run that opens a project file saved by an earlier one.
  if (argc > 2 && std::string(argv[1]) == "--open-plan") {
    Ostrum::MApplicationController::GetInstance();
    planner::RunOpenPlan(CharacterSetConversions::FromNativePath(argv[2]));
    return 0;
  }
  // The application controller starts the user-interface thread's deferred-task session (undo
  // steps that leave a history are destroyed in it at idle time) and ends it at exit.
  Ostrum::MApplicationController::GetInstance();
  bool went_as_planned = true;  // the scenarios that can tell whether they did
  PlannerDocument doc;
  doc.MarkLoaded();

  PlanObject* implant = doc.Make(L"Implant", L"implant A");
  PlanObject* screw = doc.Make(L"Screw", L"screw 1");
  Inspector panel(L"panel");
  Inspector report(L"report");
  implant->Attach(&panel);
  screw->Attach(&panel);
  screw->Attach(&report);

  Trace(L"document \"" + std::wstring(doc.GetTitle().GetString()) + L"\" opened; undo manager: " +
        std::wstring(doc.GetUndoManager() ? L"present" : L"none yet, so every operation runs without undo state"));

  Heading(L"adding objects");
  {
    auto* op = new PlannerOperation(MOperation::ACTION_ADD);
    op->AddObject(implant);
    op->AddObject(screw);
    Trace(L"action text: \"" + std::wstring(op->GetActionString()) + L"\"");
    Run(doc, op, L"add");
    std::wstring names;
    MDataBase& database = doc.Database();
    for (size_t i = 0; i < database.GetNumObjects(); ++i)
      names += L" [" + static_cast<PlanObject*>(database.GetObjectW(i))->Label() + L"]";
    Trace(L"the database's live objects:" + names);
  }

  Heading(L"changing a label");
  {
    auto* op = new PlannerOperation(MOperation::ACTION_NONE);
    op->ChangeLabel(L"implant A, 4.5 mm");
    op->AddObject(implant);
    Run(doc, op, L"change label");
    Trace(L"label is now \"" + implant->Label() + L"\"");
  }

  Heading(L"a copy that nests an operation");
  {
    auto* op = new PlannerOperation(MOperation::ACTION_COPY);
    op->AddObject(screw);
    Run(doc, op, L"copy");
  }

  if (stop_midway) {
    std::printf("\nplanner: stopped midway, undo files written; waiting to be killed\n");
    std::fflush(stdout);
    for (;;) pause();
  }

  Heading(L"a refresh: nothing prepared or done, only updates");
  {
    auto* op = new PlannerOperation(MOperation::ACTION_REFRESH);
    op->AddObject(implant);
    Run(doc, op, L"refresh");
  }

  Heading(L"an operation that an object refuses");
  {
    screw->refuse_do = true;
    auto* op = new PlannerOperation(MOperation::ACTION_RUN_ONCE);
    op->AddObject(implant);
    op->AddObject(screw);
    Run(doc, op, L"run once; the screw refuses");
    screw->refuse_do = false;
  }

  Heading(L"a prepare that fails");
  {
    implant->refuse_prepare = true;
    auto* op = new PlannerOperation(MOperation::ACTION_CHANGE_LABEL);
    op->AddObject(implant);
    Run(doc, op, L"rename; the implant refuses to prepare");
    implant->refuse_prepare = false;
  }

  Heading(L"an operation with the undo lock held");
  {
    MLocker lock(doc.GetUndoLockCounter());
    Trace(L"undo lock held: " + std::wstring(doc.IsUndoLocked() ? L"yes" : L"no"));
    auto* op = new PlannerOperation(MOperation::ACTION_REVERSIBLE_FORWARD);
    op->AddObject(implant);
    Run(doc, op, L"reversible step under the undo lock");
  }

  implant->DetachAll();
  screw->DetachAll();

  planner::RunControllerScenario(doc);

  Heading(L"clean-up work at idle time");
  planner::RunCleanupScenario();

  planner::RunCoordinateScenario();
  planner::RunTreeScenario();
  planner::RunCameraScenario();
#ifdef OSTRUM_PLANNER_WITH_GL
  if (!plan_png.empty()) went_as_planned &= planner::RunRenderScenario(plan_png);
#else
  if (!plan_png.empty()) std::printf("planner: built without the OpenGL renderer, no picture of the plan\n");
#endif
  planner::RunDocumentUndoScenario();
  planner::RunDatabaseScenario();
  planner::RunLifecycleScenario();
  planner::RunWizardScenario();
  planner::RunMouseToolScenario();
  planner::RunInteractiveWindowScenario(windows_png);

  planner::RunUndoScenario();
  went_as_planned &= planner::RunSensitivityScenario(mesh_path);

#ifdef OSTRUM_PLANNER_WITH_GL
  if (!mesh_png.empty()) went_as_planned &= planner::RunMeshViewScenario(mesh_path, mesh_png);
#else
  if (!mesh_png.empty()) std::printf("planner: built without the OpenGL renderer, no 3D window\n");
#endif

  if (!went_as_planned) {
    std::printf("\nplanner: a scenario did not go as planned (see above)\n");
    return 1;
  }
  std::printf("\nplanner: done\n");
  return 0;
}
