#include "PlannerModel.h"

#include <cstdio>

#include "PlannerTrace.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/undo/MStreamUndo.h"

namespace planner {

namespace {
bool g_hook_tracing = true;

void HookTrace(const std::wstring& line) {
  if (g_hook_tracing) Trace(line);
}
}  // namespace

void SetHookTracing(bool on) { g_hook_tracing = on; }
bool HookTracing() { return g_hook_tracing; }

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

PlannerOperation::PlannerOperation(uint32_t action) : MOperation(action), m_number(++s_count) {}

PlannerOperation::~PlannerOperation() { HookTrace(L"operation #" + std::to_wstring(m_number) + L" deleted"); }

bool PlannerOperation::_PrepareOperation() {
  HookTrace(L"stage prepare: operation #" + std::to_wstring(m_number) + L" flags " + Flags(*this));
  return MOperation::_PrepareOperation();
}

bool PlannerOperation::_DoOperation() {
  HookTrace(L"stage execute: operation #" + std::to_wstring(m_number) + L" asks its objects");
  return MOperation::_DoOperation();
}

const wchar_t* PlannerOperation::_GetActionString() {
  if (GetAction() != ACTION_MOVE) return MOperation::_GetActionString();
  VarnResLoadStringEx(1000, m_move_text);
  return m_move_text.c_str();
}

PlanObject::PlanObject(std::wstring type, std::wstring label, size_t vertex_floats)
    : m_type(std::move(type)), m_label(std::move(label)), m_vertices(vertex_floats) {
  for (size_t i = 0; i < m_vertices.size(); ++i) m_vertices[i] = static_cast<float>(i % 1000) * 0.01f;
}

MMPoint3d<double> PlanObject::Position() const {
  MMPoint3d<double> origin{0, 0, 0}, out{0, 0, 0};
  m_placement.Transform(out, origin, false);
  return out;
}

bool PlanObject::PrepareOperation(MOperation*) {
  HookTrace(L"  " + m_label + L".PrepareOperation -> " + (refuse_prepare ? L"false" : L"true"));
  return !refuse_prepare;
}

bool PlanObject::DoOperation(MOperation& op) {
  HookTrace(L"  " + m_label + L".DoOperation -> " + (refuse_do ? L"false" : L"true"));
  if (refuse_do) return false;
  if (op.GetAction() == MOperation::ACTION_CHANGE_LABEL) {
    m_label = op.GetLabel();
  } else if (op.GetAction() == ACTION_MOVE) {
    if (auto* move = dynamic_cast<PlannerOperation*>(&op)) {
      MMTransformMatrix step;
      step.MakeTranslation(move->offset);
      m_placement.PreMultiply(step);
    }
  } else if (op.GetAction() == MOperation::ACTION_COPY) {
    // A copy adds its clone through an operation of its own, inside the running one.
    PlanObject* clone = PlannerDocument::Active()->Make(m_type, m_label + L" (copy)");
    auto* add = new PlannerOperation(MOperation::ACTION_ADD);
    add->AddObject(clone);
    HookTrace(L"  " + m_label + L" sends nested operation #" + std::to_wstring(add->Number()) + L" (add " +
              clone->Label() + L")");
    TraceScope nested;
    bool ok = add->DoOperation(nullptr);
    HookTrace(L"nested result: " + std::wstring(ok ? L"true" : L"false"));
  }
  return true;
}

// The state on disk: the label, the placement, then the count and bytes of the vertex data.
void PlanObject::SaveState(const MOperation*, MStreamUndoOut& out) {
  out << m_label;
  out << m_placement;
  out << static_cast<long long>(m_vertices.size());
  out.WriteBuffer(reinterpret_cast<const unsigned char*>(m_vertices.data()),
                  static_cast<int>(m_vertices.size() * sizeof(float)));
}

// Reads what SaveState wrote. The count comes from a file, so it is bounded before anything is
// allocated for it, and a state cut short leaves the object as it was: the framework then
// notices the short read and puts the objects back itself.
void PlanObject::LoadState(const MOperation*, MStreamUndoIn& in) {
  constexpr long long kMaxVertexFloats = 1LL << 28;  // 1 GiB of floats
  MFile& file = *in.GetMFile();
  std::wstring label = m_label;
  MMTransformMatrix placement = m_placement;
  long long count = 0;
  in >> label;
  in >> placement;
  in >> count;
  if (file.HAS_SHORT_READ() || count < 0 || count > kMaxVertexFloats) return;
  std::vector<float> vertices(static_cast<size_t>(count));
  const size_t bytes = vertices.size() * sizeof(float);
  if (file.READ(reinterpret_cast<unsigned char*>(vertices.data()), bytes) != bytes) return;
  m_label = std::move(label);
  m_placement = placement;
  m_vertices = std::move(vertices);
}

PlannerDocument::PlannerDocument() : m_database(std::make_unique<MDataBase>()) {
  _SetDataBasePointer(m_database.get());
  SetTitle(L"plan.ostrum");
}

PlannerDocument::~PlannerDocument() {
  if (GetDataBase() == m_database.get()) _SetDataBasePointer(nullptr);
}

PlanObject* PlannerDocument::Make(const std::wstring& type, const std::wstring& label, size_t vertex_floats) {
  auto* object = new PlanObject(type, label, vertex_floats);
  m_database->RegisterObject(object);
  return object;
}

bool PlannerDocument::_PrepareOperation(MOperation* op) {
  bool ok = MDocument::_PrepareOperation(op);
  HookTrace(L"  document._PrepareOperation -> " + std::wstring(ok ? L"true" : L"false"));
  return ok;
}

bool PlannerDocument::_DoOperation(MOperation* op) {
  HookTrace(L"  document._DoOperation (done mark: " +
            std::wstring(IUIUpdate::IsOperationBeingDone() ? L"set" : L"clear") + L")");
  return MDocument::_DoOperation(op);
}

void PlannerDocument::DoUpdateUI(MOperation* op, void* param, uint32_t unused) {
  HookTrace(L"stage publish: document.DoUpdateUI for \"" + std::wstring(op->GetActionString()) + L"\"");
  MDocument::DoUpdateUI(op, param, unused);
}

void Inspector::Update(const MOperation& op) {
  HookTrace(L"stage publish: observer " + m_name + L".Update(action " + std::to_wstring(op.GetAction()) + L")");
}

void FillStringTable() {
  VarnResSetString(352, L"Add %s");
  VarnResSetString(353, L"Remove %s");
  VarnResSetString(354, L"Apply %s");
  VarnResSetString(355, L"Revert %s");
  VarnResSetString(356, L"Rename %s");
  VarnResSetString(357, L"Run %s");
  VarnResSetString(358, L"Update %s");
  VarnResSetString(359, L"Unzoom");
  VarnResSetString(360, L"Unzoom");
  VarnResSetString(361, L"Standard view");
  VarnResSetString(362, L"Switch renderer");
  VarnResSetString(363, L"Set view");
  VarnResSetString(364, L"Select %s");
  VarnResSetString(365, L"Deselect %s");
  VarnResSetString(366, L"Show %s");
  VarnResSetString(367, L"Hide %s");
  VarnResSetString(368, L"Change %s");
  VarnResSetString(369, L"Change %s");
  VarnResSetString(370, L"Export");
  VarnResSetString(371, L"Import");
  VarnResSetString(372, L"Scene");
  VarnResSetString(373, L"Add scene");
  VarnResSetString(374, L"Remove scene");
  VarnResSetString(375, L"Scene background");
  VarnResSetString(376, L"Ambient light");
  VarnResSetString(377, L"Diffuse light");
  VarnResSetString(378, L"Specular light");
  VarnResSetString(379, L"Rename scene");
  VarnResSetString(383, L"Action");
  VarnResSetString(778, L"Copy %s");
  VarnResSetString(1000, L"Move %s");
}

}  // namespace planner
