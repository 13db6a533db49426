// The XML of the coordinate systems: nodes, handles and the repository, written into a project
// file and read back into the running repository through a staged load (private/RepositoryLoad.h).

#include <algorithm>
#include <string_view>

#include "ostrum/coordinates/MCoordinateSystem.h"
#include "ostrum/coordinates/MTransformRepository.h"
#include "ostrum/coordinates/MTransformRepositoryCoordinateSystem.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/coordinates/private/RepositoryLoad.h"
#include "ostrum/coordinates/private/SystemReference.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/markup/MSAXReader.h"
#include "ostrum/foundation/markup/MSAXTagWriter.h"
#include "ostrum/foundation/markup/MSAXWriter.h"
#include "ostrum/foundation/markup/MStreamTextIn.h"

using SystemNode = MTransformRepositoryCoordinateSystem;
using Ostrum::Private::RepositoryLoad;

namespace {

SystemNode* AsField(std::uint32_t id) { return reinterpret_cast<SystemNode*>(static_cast<std::uintptr_t>(id)); }

std::wstring Number(std::uint32_t id) { return std::to_wstring(id); }

}  // namespace

// ---- references ----

namespace Ostrum::Private {

bool ReadSystemReference(MSAXReader& reader, SystemNode*& field, ISAXPersist* owner) {
  std::string_view const text = reader.GetValueUTF8();
  if (text.empty()) return false;
  MStreamTextIn in(text);
  std::uint32_t id = 0;
  in >> id;
  if (!in || !in.AtEnd()) {
    reader.Refuse(L"\"" + reader.GetParentTag(0) + L"\" holds no reference number");
    return false;
  }
  field = AsField(id);
  reader.AddToReferenceResolver(owner);
  return true;
}

bool ResolveSystemReference(MSAXReader& reader, SystemNode*& field) {
  std::uint32_t const id = ReferenceNumber(field);
  if (id == 0) return false;
  SystemNode* const node = dynamic_cast<SystemNode*>(reader.FindReference(id));
  if (!node) return false;
  field = node;
  return true;
}

}  // namespace Ostrum::Private

// ---- the node ----

void SystemNode::SetDefaults() {
  if (m_to && m_weight) m_to->Release(m_weight);
  m_to = nullptr;
  m_transform = nullptr;
  m_label.clear();
}

bool SystemNode::HandleTag(std::wstring const& tag, MSAXReader& reader) {
  if (tag == L"TransformMatrix") {
    if (m_load_flags & kLoadMatrix) {
      reader.Refuse(L"a coordinate system with two matrices");
      return false;
    }
    m_load_flags |= kLoadMatrix;
    auto* matrix = new MMTransformMatrix;
    if (std::string_view const text = reader.GetValueUTF8(); !text.empty()) {
      MStreamTextIn in(text);
      for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column) {
          double value = 0;
          in >> value;
          matrix->SetElement(row, column, value);
        }
      if (!in || !in.AtEnd()) {
        delete matrix;
        reader.Refuse(L"a matrix that is not sixteen finite numbers");
        return false;
      }
      matrix->VerifyAndSetClass();
      matrix->_ComputeInverse();
    }
    // The node owns its transform: one read earlier than the element would leak otherwise.
    delete m_transform;
    m_transform = matrix;
    return true;
  }
  if (tag == L"To") {
    if (m_load_flags & kLoadTo) {
      reader.Refuse(L"a coordinate system with two parents");
      return false;
    }
    m_load_flags |= kLoadTo;
    if (!Ostrum::Private::ReadSystemReference(reader, m_to, this)) {
      reader.Refuse(L"a coordinate system whose parent is not given");
      return false;
    }
    return true;
  }
  if (tag == L"Label") {
    if (m_load_flags & kLoadLabel) {
      reader.Refuse(L"a coordinate system with two labels");
      return false;
    }
    m_load_flags |= kLoadLabel;
    reader.ReadValue(m_label);
    return true;
  }
  return false;
}

void SystemNode::ResolveReferences(MSAXReader& reader) {
  std::uint32_t const id = Ostrum::Private::ReferenceNumber(m_to);
  if (id != 0 && !Ostrum::Private::ResolveSystemReference(reader, m_to)) {
    m_to = nullptr;
    reader.Refuse(L"a coordinate system whose parent " + Number(id) + L" is no coordinate system of the file");
  }
}

bool SystemNode::Write(MSAXWriter& writer) const {
  MSAXTagWriter element(writer, L"CoordinateSystem");
  writer.RegisterReference(this);
  writer.WriteReference(L"To", m_to);
  if (!m_label.empty()) writer.WriteValue(L"Label", m_label);
  if (auto const* matrix = m_transform ? m_transform->AsMatrix() : nullptr) {
    double elements[16];
    matrix->ConvertToDouble16(elements);
    std::wstring text;
    text.reserve(16 * 24);
    for (double e : elements) {
      writer.AppendNumber(text, e);
      text += L' ';
    }
    MSAXTagWriter data(writer, L"TransformMatrix");
    writer._WriteTrimmedCharData(text);
  }
  return writer.IsGood();
}

// ---- the handle ----

bool MCoordinateSystem::WriteCoordinateSystem(wchar_t const* tag, MSAXWriter& writer) const {
  return writer.WriteReference(tag, m_system);
}

bool MCoordinateSystem::Write(MSAXWriter& /*writer*/) const { return true; }

bool MCoordinateSystem::ReadCoordinateSystem(MSAXReader& reader) {
  MTransformRepositoryEx* const repository = MTransformRepositoryEx::GetInstance();
  if (!repository) {
    reader.Refuse(L"coordinate systems read without the application's repository");
    return false;
  }
  RepositoryLoad* const load = repository->_BeginLoad(reader);
  if (!load) return false;
  if (reader.GetValueUTF8().empty()) return false;
  // A handle asks for resolution once it holds a number, so one that asked before was read
  // before (in the reader's table of roles, which the request below then finds at hand).
  if (reader.IsReferenceResolver(this)) {
    reader.Refuse(L"a coordinate system read twice for one holder");
    return false;
  }
  // From here the field holds a number: the node held so far is remembered, still counted.
  load->handles.emplace_back(this, m_system);
  m_system = nullptr;
  return Ostrum::Private::ReadSystemReference(reader, m_system, this);
}

void MCoordinateSystem::ResolveReferences(MSAXReader& reader) {
  std::uint32_t const id = Ostrum::Private::ReferenceNumber(m_system);
  if (id == 0) return;
  if (!Ostrum::Private::ResolveSystemReference(reader, m_system)) {
    m_system = nullptr;
    reader.Refuse(L"a reference " + Number(id) + L" to a coordinate system the file does not hold");
    return;
  }
  // Within the repository's load (the only way a handle is read here) the load's own list of
  // handles read is the set of resolved handles that the commit counts; the public set is
  // for handles resolved otherwise.
  if (MTransformRepositoryEx* const repository = MTransformRepositoryEx::GetInstance();
      repository && !repository->IsLoading())
    repository->AddResolvedCoordinateSystem(this);
}

// ---- the repository ----

bool MTransformRepository::Write(MSAXWriter& /*writer*/) const { return true; }

bool MTransformRepository::_WriteCoordinateSystems(MSAXWriter& writer) const {
  {
    MSAXTagWriter systems(writer, L"CoordinateSystems");
    for (SystemNode const* node : m_systems)
      if (!node->GetDontSave()) node->Write(writer);
  }
  {
    MSAXTagWriter world(writer, L"World");
    m_absolute_world.GetInternalSystem()->Write(writer);
  }
  return writer.IsGood();
}

RepositoryLoad* MTransformRepository::_BeginLoad(MSAXReader& reader) {
  if (m_load) {
    if (m_load->reader == &reader) return m_load.get();
    reader.Refuse(L"the coordinate systems are being read from another file");
    return nullptr;
  }
  m_load = std::make_unique<RepositoryLoad>();
  m_load->reader = &reader;
  // The repository resolves first (it was the first to ask), so the numbers of the world and
  // of the millimetre system mean the running nodes before any other reference is resolved.
  reader.AddToReferenceResolver(this);
  reader.AddLoadCheck([this, &reader] { return _CheckLoad(reader); });
  reader.AddRefusalAction([this] { _AbandonLoad(); });
  return m_load.get();
}

bool MTransformRepository::HandleTag(std::wstring const& tag, MSAXReader& reader) {
  if (tag == L"CoordinateSystems" || tag == L"World") return _BeginLoad(reader) != nullptr;
  if (tag != L"CoordinateSystem") return false;
  RepositoryLoad* const load = _BeginLoad(reader);
  if (!load) return false;
  auto* node = new SystemNode();
  node->m_load_flags = SystemNode::kLoadStaged;
  if (reader.GetParentTag(1) == L"World") {
    if (load->world) {
      delete node;
      reader.Refuse(L"two worlds");
      return false;
    }
    load->world = node;
    load->world_id = reader.GetElementId();
  } else {
    load->staged.push_back(node);
  }
  reader.DelegateElement(node);
  return true;
}

void MTransformRepository::ResolveReferences(MSAXReader& reader) {
  if (m_load && m_load->world_id) reader.SetReference(m_load->world_id, m_absolute_world.GetInternalSystem());
}

bool MTransformRepository::_CheckLoad(MSAXReader& reader) {
  if (!m_load) return true;
  if (SystemNode const* world = m_load->world; world && (world->m_to || world->m_transform)) {
    reader.Refuse(L"a world with a parent or a transform");
    return false;
  }
  // Every staged node must reach a running node (or the top) within the depth the query
  // searches; a loop never does.
  SystemNode const* const root = m_absolute_world.GetInternalSystem();
  for (SystemNode const* node : m_load->staged) {
    int depth = 0;
    SystemNode const* p = node;
    for (; p && (p->m_load_flags & SystemNode::kLoadStaged) && depth < kMaxDepth; p = p->m_to) ++depth;
    for (; p && p != root && depth < kMaxDepth; p = p->m_to) ++depth;
    if (depth >= kMaxDepth) {
      reader.Refuse(L"coordinate systems in a loop or nested too deeply");
      return false;
    }
  }
  return true;
}

void MTransformRepository::_CommitLoadedSystems() {
  if (!m_load) return;
  if (SystemNode* const world = std::exchange(m_load->world, nullptr)) {
    m_absolute_world.GetInternalSystem()->m_label = world->m_label;
    delete world;
  }
  m_systems.reserve(m_systems.size() + m_load->staged.size());
  for (SystemNode* node : m_load->staged) {
    node->m_load_flags = 0;
    node->m_repository = this;
    m_systems.push_back(node);
  }
  m_load->staged.clear();
  _CacheInvalidate();
}

void MTransformRepository::_EndLoad() {
  if (!m_load) return;
  std::unique_ptr<RepositoryLoad> load = std::move(m_load);
  // 1. Every handle read counts its node from now on; then the nodes held before are given
  //    up, so that a node held by the file's handles as well as before never passes 0.
  for (auto const& [handle, before] : load->handles)
    if (handle->m_system) handle->m_system->AddRef(1);
  for (auto const& [handle, before] : load->handles)
    if (before) before->Release(1);
  // 2. The repository's own systems take over what the file gave them; then the load's
  //    handles give up their counts.
  _TakeOverLoadedSystems(*load);
  load.reset();
  // 3. What no handle reaches goes, the nodes of the file that stand for nothing among them.
  DeleteUnreferencedSystems();
}

void MTransformRepository::_TakeOverLoadedSystems(RepositoryLoad& /*load*/) {}

void MTransformRepository::_AbandonLoad() {
  if (!m_load) return;
  std::unique_ptr<RepositoryLoad> const load = std::move(m_load);
  // Handles hold numbers or uncounted nodes: they get back what they held, untouched.
  for (auto const& [handle, before] : load->handles) handle->m_system = before;
  load->system_ui.m_system = nullptr;
  load->system_stl.m_system = nullptr;
  // Staged nodes are in no list and held by nobody; their parents never counted them.
  for (SystemNode* node : load->staged) delete node;
  delete load->world;
}

void MTransformRepository::InitAfterLoading() {
  // A plain repository has no handles of its own to take over; the application's does more.
  _CommitLoadedSystems();
  _EndLoad();
}

// ---- the application repository ----

bool MTransformRepositoryEx::Write(MSAXWriter& writer) const {
  MSAXTagWriter transforms(writer, L"Transforms");
  _WriteCoordinateSystems(writer);
  m_system_ui.WriteCoordinateSystem(L"SystemUI", writer);
  m_system_mm.WriteCoordinateSystem(L"SystemMM", writer);
  GetAbsoluteWorld().WriteCoordinateSystem(L"SystemSTL", writer);
  {
    MSAXTagWriter flag(writer, L"SystemUIinMM");
    writer._WriteTrimmedCharData(m_inch ? L"true " : L"false ");
  }
  return writer.IsGood();
}

bool MTransformRepositoryEx::HandleTag(std::wstring const& tag, MSAXReader& reader) {
  if (MTransformRepository::HandleTag(tag, reader)) return true;
  if (reader.IsRefused()) return false;
  bool RepositoryLoad::*seen = nullptr;
  if (tag == L"SystemUI")
    seen = &RepositoryLoad::read_ui;
  else if (tag == L"SystemSTL")
    seen = &RepositoryLoad::read_stl;
  else if (tag == L"SystemMM")
    seen = &RepositoryLoad::read_mm;
  else if (tag == L"SystemUIinMM")
    seen = &RepositoryLoad::read_inch;
  else
    return false;
  RepositoryLoad* const load = _BeginLoad(reader);
  if (!load) return false;
  if (load->*seen) {
    reader.Refuse(L"\"" + tag + L"\" given twice");
    return false;
  }
  load->*seen = true;
  if (tag == L"SystemUI" || tag == L"SystemSTL") {
    MCoordinateSystem& handle = tag == L"SystemUI" ? load->system_ui : load->system_stl;
    if (!handle.ReadCoordinateSystem(reader)) {
      reader.Refuse(L"\"" + tag + L"\" names no coordinate system");
      return false;
    }
    return true;
  }
  if (tag == L"SystemMM") {
    SystemNode* field = nullptr;
    if (!Ostrum::Private::ReadSystemReference(reader, field, this) || !field) {
      reader.Refuse(L"\"SystemMM\" names no coordinate system");
      return false;
    }
    load->mm_id = Ostrum::Private::ReferenceNumber(field);
    return true;
  }
  // The inch flag: an empty text is false.
  bool inch = false;
  if (std::string_view const text = reader.GetValueUTF8(); !text.empty()) {
    MStreamTextIn in(text);
    in >> inch;
    if (!in || !in.AtEnd()) {
      reader.Refuse(L"\"SystemUIinMM\" is neither true nor false");
      return false;
    }
  }
  load->inch = inch;
  return true;
}

void MTransformRepositoryEx::ResolveReferences(MSAXReader& reader) {
  MTransformRepository::ResolveReferences(reader);
  if (RepositoryLoad* const load = _GetLoad(); load && load->mm_id)
    reader.SetReference(load->mm_id, m_system_mm.GetInternalSystem());
}

bool MTransformRepositoryEx::_CheckLoad(MSAXReader& reader) {
  if (!MTransformRepository::_CheckLoad(reader)) return false;
  RepositoryLoad const* const load = _GetLoad();
  if (!load) return true;
  SystemNode const* const root = GetAbsoluteWorld().GetInternalSystem();
  if (load->read_stl && load->system_stl.GetInternalSystem() != root) {
    reader.Refuse(L"\"SystemSTL\" is not the world");
    return false;
  }
  if (load->read_ui) {
    SystemNode const* const ui = load->system_ui.GetInternalSystem();
    if (!ui || ui == root || ui == m_system_mm.GetInternalSystem()) {
      reader.Refuse(L"\"SystemUI\" is no system of its own");
      return false;
    }
  }
  return true;
}

void MTransformRepositoryEx::InitAfterLoading() {
  if (!_GetLoad()) return;
  // The set of resolved handles is the load's list of handles read (which also knows what
  // each held before); the commit counts them.
  m_resolved.clear();
  _CommitLoadedSystems();
  _EndLoad();
}

void MTransformRepositoryEx::_TakeOverLoadedSystems(RepositoryLoad& load) {
  if (load.read_ui) m_system_ui = load.system_ui;
  if (load.read_inch) m_inch = load.inch;
}
