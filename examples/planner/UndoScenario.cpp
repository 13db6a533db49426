#include "UndoScenario.h"

#include <string>

#include "PlannerTrace.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/undo/Manager.h"

namespace planner {

namespace {

using Ostrum::Undo::Manager;
using Ostrum::Undo::Transaction;

// Where the screw sits along its axis, in millimetres: the state the history puts back.
double g_screw_depth = 0.0;

// Puts the screw back to a depth. Performed by an undo or a redo, it first registers the move
// that reverses it, so the history keeps a way back in the other direction.
class MoveScrew : public Ostrum::IAction {
 public:
  MoveScrew(Manager& manager, double depth) : m_manager(manager), m_depth(depth) {}

 protected:
  void _Perform() override {
    const double was = g_screw_depth;
    g_screw_depth = m_depth;
    Trace(L"  screw to " + Millimetres(m_depth) + (m_manager.IsUndoing() ? L" (undo)" : L" (redo)"));
    if (m_manager.IsUndoRegistrationEnabled()) m_manager.RegisterAction(new MoveScrew(m_manager, was), "screw");
    delete this;
  }
  void _Discard() override {
    Trace(L"  a move of the screw to " + Millimetres(m_depth) + L" leaves the history");
    delete this;
  }

 private:
  static std::wstring Millimetres(double mm) { return std::to_wstring(static_cast<int>(mm)) + L" mm"; }

  Manager& m_manager;
  double m_depth;
};

// The user drags the screw deeper: the move happens, and its reverse is registered.
void Drag(Manager& manager, double to) {
  manager.RegisterAction(new MoveScrew(manager, g_screw_depth), "screw");
  g_screw_depth = to;
}

std::wstring Text(wchar_t const* s) { return s ? L"\"" + std::wstring(s) + L"\"" : L"nothing"; }

void TraceMenu(const Manager& manager) {
  Trace(L"Edit menu: undo " + Text(manager.GetUndoActionString()) + L", redo " +
        Text(manager.GetRedoActionString()) + L"; the screw is at " + std::to_wstring(int(g_screw_depth)) + L" mm");
}

}  // namespace

void RunUndoScenario() {
  Manager history;

  Heading(L"undo history: steps of host actions");
  Trace(L"drag the screw to 10 mm, one step");
  Transaction* tx = history.BeginTransaction(L"Place screw", nullptr);
  Drag(history, 10);
  tx->Commit();
  Trace(L"drag it to 20 mm and on to 25 mm, one step of two moves");
  tx = history.BeginTransaction(L"Adjust screw", nullptr);
  Drag(history, 20);
  Drag(history, 25);
  tx->Commit();
  Trace(L"the ended transaction's handle is still safe to ask: " +
        std::wstring(tx->IsValid() ? L"valid" : L"ended"));
  TraceMenu(history);

  Trace(L"undo: the step's moves run newest first");
  history.Undo();
  TraceMenu(history);
  Trace(L"redo");
  history.Redo();
  TraceMenu(history);

  Heading(L"undo history: a modal step with a history of its own");
  Manager modal;
  modal.SubstituteManager(&history);
  Trace(L"a second manager stands in front of the document's; both forward to it: " +
        std::wstring(history.IsInSubstitutionStack() && modal.IsOnTopOfSubstitutionStack() ? L"yes" : L"no"));
  for (double depth : {30.0, 35.0}) {
    tx = history.BeginTransaction(L"Try depth", nullptr);  // addressed to the document's manager
    Drag(history, depth);
    tx->Commit();
  }
  TraceMenu(history);
  Trace(L"the modal step ends: the front history is popped, then handed back as one step");
  modal.PopFromSubstitutionStack();
  TraceMenu(history);
  Ostrum::Undo::TransferUndoActions(history, modal, L"Find depth", nullptr);
  TraceMenu(history);
  Trace(L"undo of the handed-back step");
  history.Undo();
  TraceMenu(history);

  Trace(L"the history is cleaned up; its moves are destroyed at idle time");
  history.Cleanup();
  Ostrum::Desktop::RunUntilIdle();
}

}  // namespace planner
