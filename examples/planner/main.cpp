// ostrum-planner: the example host program. It derives its own document, objects, operation
// and observer from the framework's classes and sends real operations through the document's
// pipeline, printing stage by stage what the pipeline did.

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "CleanupScenario.h"
#include "CoordinateScenario.h"
#include "PlannerTrace.h"
#include "UndoScenario.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/document/MLocker.h"
#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/objects/IObserver.h"
#include "ostrum/objects/MDefinedObject.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/objects/MSubject.h"
#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/operations/MOperation.h"

using planner::Heading;
using planner::Trace;
using planner::TraceScope;

namespace {

std::wstring Hex(uint32_t value) {
  wchar_t buffer[16];
  std::swprintf(buffer, 16, L"0x%X", static_cast<unsigned>(value));
  return buffer;
}

std::wstring Flags(const MOperation& op) {
  std::wstring text = Hex(op.GetFlags()) + L" [";
  if (op.HasToBePrepared()) text += L" prepare";
  if (op.CanBeUndone()) text += L" undo";
  if (op.HasToBeDone()) text += L" do";
  if (op.CanBeReversed()) text += L" reversible";
  if (op.CausesDocumentChange()) text += L" changes-document";
  if (op.NeedsUpdateObservers()) text += L" observers";
  if (op.NeedsUpdateUI()) text += L" ui";
  return text + L" ]";
}

// The planner's operation: an MOperation that gives itself a number and says when it dies,
// so that the trace shows where each operation went.
class PlannerOperation : public MOperation {
 public:
  explicit PlannerOperation(uint32_t action) : MOperation(action), m_number(++s_count) {}
  ~PlannerOperation() override { Trace(L"operation #" + std::to_wstring(m_number) + L" deleted"); }
  int Number() const { return m_number; }

 protected:
  bool _PrepareOperation() override {
    Trace(L"stage prepare: operation #" + std::to_wstring(m_number) + L" flags " + Flags(*this));
    return MOperation::_PrepareOperation();
  }
  bool _DoOperation() override {
    Trace(L"stage execute: operation #" + std::to_wstring(m_number) + L" asks its objects");
    return MOperation::_DoOperation();
  }

 private:
  static inline int s_count = 0;
  int m_number;
};

// A planning object: an implant, a screw, a landmark. It can be told to refuse.
class PlanObject : public MObject, public MSubject, public MDefinedObject {
 public:
  PlanObject(std::wstring type, std::wstring label) : m_type(std::move(type)), m_label(std::move(label)) {}

  bool refuse_prepare = false;
  bool refuse_do = false;
  const std::wstring& Label() const { return m_label; }

  bool PrepareOperation(MOperation* op) override {
    Trace(L"  " + m_label + L".PrepareOperation -> " + (refuse_prepare ? L"false" : L"true"));
    (void)op;
    return !refuse_prepare;
  }

  bool DoOperation(MOperation& op) override;

  const wchar_t* GetUserInterfaceTypeName() const override { return m_type.c_str(); }

 private:
  std::wstring m_type;
  std::wstring m_label;
};

// The planner's document: it keeps its objects in a plain list (its stand-in for a database)
// and traces its own hooks of the pipeline.
class PlannerDocument : public MDocument {
 public:
  PlannerDocument() { SetTitle(L"plan.ostrum"); }

  /// The planner works on an opened plan, so that changes get the modified mark.
  void MarkLoaded() { m_doc_loaded = true; }

  PlanObject* Make(const std::wstring& type, const std::wstring& label) {
    m_objects.push_back(std::make_unique<PlanObject>(type, label));
    return m_objects.back().get();
  }

  std::vector<std::wstring> registered;

 protected:
  bool _PrepareOperation(MOperation* op) override {
    bool ok = MDocument::_PrepareOperation(op);
    Trace(L"  document._PrepareOperation -> " + std::wstring(ok ? L"true" : L"false"));
    return ok;
  }
  bool _DoOperation(MOperation* op) override {
    Trace(L"  document._DoOperation (done mark: " +
          std::wstring(IUIUpdate::IsOperationBeingDone() ? L"set" : L"clear") + L")");
    if (op->GetAction() == MOperation::ACTION_ADD) {
      for (size_t i = 0; i < op->GetNumObjects(); ++i)
        registered.push_back(static_cast<PlanObject*>(op->GetObjectW(i))->Label());
    }
    return MDocument::_DoOperation(op);
  }

 public:
  void DoUpdateUI(MOperation* op, void* param, uint32_t unused) override {
    Trace(L"stage publish: document.DoUpdateUI for \"" + std::wstring(op->GetActionString()) + L"\"");
    MDocument::DoUpdateUI(op, param, unused);
  }

 private:
  std::vector<std::unique_ptr<PlanObject>> m_objects;
};

PlannerDocument* g_document = nullptr;

bool PlanObject::DoOperation(MOperation& op) {
  Trace(L"  " + m_label + L".DoOperation -> " + (refuse_do ? L"false" : L"true"));
  if (refuse_do) return false;
  if (op.GetAction() == MOperation::ACTION_CHANGE_LABEL) {
    m_label = op.GetLabel();
  } else if (op.GetAction() == MOperation::ACTION_COPY) {
    // A copy adds its clone through an operation of its own, inside the running one.
    PlanObject* clone = g_document->Make(m_type, m_label + L" (copy)");
    auto* add = new PlannerOperation(MOperation::ACTION_ADD);
    add->AddObject(clone);
    Trace(L"  " + m_label + L" sends nested operation #" + std::to_wstring(add->Number()) + L" (add " +
          clone->Label() + L")");
    TraceScope nested;
    bool ok = add->DoOperation(nullptr);
    Trace(L"nested result: " + std::wstring(ok ? L"true" : L"false"));
  }
  return true;
}

// A view of the plan's objects, told of every operation that changes one of them.
class Inspector : public IObserver {
 public:
  explicit Inspector(std::wstring name) : m_name(std::move(name)) {}
  void Update(const MOperation& op) override {
    Trace(L"stage publish: observer " + m_name + L".Update(action " + std::to_wstring(op.GetAction()) + L")");
  }

 private:
  std::wstring m_name;
};

void Run(PlannerDocument& doc, PlannerOperation* op, const std::wstring& what) {
  Trace(L"send operation #" + std::to_wstring(op->Number()) + L" (" + what + L"), flags " + Flags(*op));
  bool result;
  {
    TraceScope scope;
    result = op->DoOperation(nullptr);
  }
  Trace(L"result: " + std::wstring(result ? L"true" : L"false") + L"; title \"" +
        std::wstring(doc.GetTitle().GetString()) + L"\"");
}

void FillStringTable() {
  VarnResSetString(352, L"Add %s");
  VarnResSetString(353, L"Remove %s");
  VarnResSetString(354, L"Apply %s");
  VarnResSetString(355, L"Revert %s");
  VarnResSetString(356, L"Rename %s");
  VarnResSetString(357, L"Run %s");
  VarnResSetString(358, L"Update %s");
  VarnResSetString(383, L"Action");
  VarnResSetString(778, L"Copy %s");
}

}  // namespace

int main() {
  FillStringTable();
  PlannerDocument doc;
  g_document = &doc;
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
    for (const std::wstring& name : doc.registered) names += L" [" + name + L"]";
    Trace(L"document now holds:" + names);
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

  Heading(L"clean-up work at idle time");
  planner::RunCleanupScenario();

  planner::RunCoordinateScenario();

  planner::RunUndoScenario();

  std::printf("\nplanner: done\n");
  return 0;
}
