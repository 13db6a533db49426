#include "ostrum/objects/UIObject.h"

#include <algorithm>
#include <vector>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/render/IVRender.h"
#include "ostrum/objects/private/ObjectLinks.h"
#include "ostrum/undo/MStreamUndo.h"

using Ostrum::Private::g_object_links;

namespace {

// Action numbers of the operations an object reacts to.
constexpr uint32_t kRemove = 1;
constexpr uint32_t kCopy = 2;
constexpr uint32_t kDelete = 3;
constexpr uint32_t kChangeLabel = 4;
constexpr uint32_t kShow = 60003;
constexpr uint32_t kHide = 60004;

// A transform as a matrix (a copy).
MMTransformMatrix MatrixOf(const MMTransform& transform) {
  if (const MMTransformMatrix* matrix = transform.AsMatrix()) return *matrix;
  double elements[16];
  transform.ConvertDouble16(elements);
  Eigen::Matrix4d m;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) m(r, c) = elements[r * 4 + c];
  return MMTransformMatrix(m);
}

uint32_t ActionOf(const MOperation& operation) {
  return g_object_links.action_of ? g_object_links.action_of(operation) : 0xFFFFFFFF;
}

}  // namespace

UIObject::UIObject() {
  if (!g_object_links.is_loading) SetDefaultCoordinateSystem();
  SetVisible(true, DEFAULT_SCENE_ID);
}

UIObject::UIObject(const UIObject& other)
    : IObject(other),
      IRender(other),
      MSubject(other),
      IObserver(other),
      MDefinedObject(other),
      m_must_be_saved_in_root(other.m_must_be_saved_in_root),
      m_priority(other.m_priority),
      m_label(other.m_label),
      m_visibility(other.m_visibility),
      m_coordinate_system(other.m_coordinate_system) {}

UIObject::~UIObject() = default;

// ---- operations ----

bool UIObject::DoOperation(MOperation& operation) {
  switch (ActionOf(operation)) {
    case kRemove:
    case kDelete:
      // Out of the document: no longer an observer of what defines it. The list of defining
      // objects stays, so that an undo can attach it again.
      for (size_t i = 0; i < GetNumberOfDefiningObjects(); ++i)
        if (auto* subject = dynamic_cast<MSubject*>(GetDefiningObject(i))) subject->Detach(this);
      DestroyRenderOptimisations();
      break;
    case kCopy:
      if (g_object_links.send_add) g_object_links.send_add(Clone());
      break;
    case kChangeLabel:
      SetLabel(g_object_links.label_of ? g_object_links.label_of(operation) : L"");
      break;
    case kShow:
    case kHide: {
      const unsigned long long scene =
          g_object_links.scene_id_of ? g_object_links.scene_id_of(operation) : DEFAULT_SCENE_ID;
      SetVisible(ActionOf(operation) == kShow, scene);
      if (ActionOf(operation) == kHide) _DestroyRenderOptimisationsIfInvisibleInAllScenes();
      break;
    }
    default:
      break;
  }
  return true;
}

// ---- undo state ----

void UIObject::SaveState(MStreamUndoOut& out) {
  out << m_label << static_cast<long>(m_priority) << static_cast<unsigned long>(m_visibility.GetNumInstances());
  for (const auto& [scene, visible] : m_visibility) out << static_cast<unsigned long>(scene) << visible;
}

void UIObject::LoadState(MStreamUndoIn& in) {
  long priority = m_priority;
  unsigned long count = 0;
  in >> m_label >> priority >> count;
  m_priority = static_cast<int32_t>(priority);
  m_visibility.RemoveAllInstances();
  for (unsigned long i = 0; i < count; ++i) {
    unsigned long scene = 0;
    bool visible = false;
    in >> scene >> visible;
    // A count cut short ends here: nothing more arrives.
    if (in.GetMFile()->HAS_SHORT_READ()) break;
    m_visibility.SetValue(visible, scene);
  }
}

void UIObject::SaveState(const MOperation* operation, MStreamUndoOut& out) {
  if (operation && ActionOf(*operation) == kChangeLabel)
    out << m_label;
  else
    SaveState(out);
}

void UIObject::LoadState(const MOperation* operation, MStreamUndoIn& in) {
  if (operation && ActionOf(*operation) == kChangeLabel)
    in >> m_label;
  else
    LoadState(in);
}

// ---- the database ----

bool UIObject::IsRemoved() const {
  return g_object_links.is_object_removed && g_object_links.is_object_removed(this);
}

bool UIObject::IsRegistered() const {
  return g_object_links.is_object_registered && g_object_links.is_object_registered(this);
}

bool UIObject::IsSelected() const {
  return g_object_links.is_object_selected && g_object_links.is_object_selected(this);
}

// ---- rendering ----

namespace {

bool VisibleInScene(const UIObject* object, const MSceneEx& scene) {
  const unsigned long long id =
      g_object_links.id_of_scene ? g_object_links.id_of_scene(scene) : UIObject::DEFAULT_SCENE_ID;
  return object->IsVisible(id);
}

}  // namespace

void UIObject::Render(IVRender& renderer, const MSceneEx& scene) { _RenderChildren(renderer, scene); }

void UIObject::Render(IVRender2D& renderer, const MSceneEx& scene) {
  for (UIObject* child : m_children)
    if (VisibleInScene(child, scene)) child->Render(renderer, scene);
}

void UIObject::Render(IVRender2D& renderer, const MCoordinateSystem& system) {
  for (UIObject* child : m_children)
    if (child->IsVisible(DEFAULT_SCENE_ID)) child->Render(renderer, system);
}

void UIObject::Render(IVRender& renderer, const MCoordinateSystem& system) {
  for (UIObject* child : m_children)
    if (child->IsVisible(DEFAULT_SCENE_ID)) child->Render(renderer, system);
}

void UIObject::RenderFast(IVRender& renderer, const MSceneEx& scene) { _RenderChildrenFast(renderer, scene); }

void UIObject::RenderFast(IVRender& renderer, const MCoordinateSystem& system) {
  for (UIObject* child : m_children)
    if (child->IsVisible(DEFAULT_SCENE_ID)) child->RenderFast(renderer, system);
}

void UIObject::RenderGDI(CDC& dc, const MCoordinateSystem& system) {
  for (UIObject* child : m_children)
    if (child->IsVisible(DEFAULT_SCENE_ID)) child->RenderGDI(dc, system);
}

void UIObject::RenderGDIBitmap(CDC& dc, const MSceneEx& scene) { _RenderChildrenGDIBitmap(dc, scene); }

void UIObject::RenderGDIScreen(CDC& dc, const MSceneEx& scene) { _RenderChildrenGDIScreen(dc, scene); }

void UIObject::_RenderChildren(IVRender2D& renderer, const MSceneEx& scene) {
  for (UIObject* child : m_children) child->Render(renderer, scene);
}

void UIObject::_RenderChildren(IVRender& renderer, const MSceneEx& scene) {
  for (UIObject* child : m_children) child->Render(renderer, scene);
}

void UIObject::_RenderChildrenFast(IVRender& renderer, const MSceneEx& scene) {
  for (UIObject* child : m_children) child->RenderFast(renderer, scene);
}

void UIObject::_RenderChildrenGDIBitmap(CDC& dc, const MSceneEx& scene) {
  for (UIObject* child : m_children) child->RenderGDIBitmap(dc, scene);
}

void UIObject::_RenderChildrenGDIScreen(CDC& dc, const MSceneEx& scene) {
  for (UIObject* child : m_children) child->RenderGDIScreen(dc, scene);
}

void UIObject::DestroyRenderOptimisations() {
  for (UIObject* child : m_children) child->DestroyRenderOptimisations();
}

void UIObject::GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long, const MCoordinateSystem*) const {
  box = M3DBoundingBox<float>();
}

bool UIObject::IsVisible(unsigned long long sceneID) const {
  return m_visibility.HasInstance(sceneID) && m_visibility.GetValue(sceneID);
}

void UIObject::_DestroyRenderOptimisationsIfInvisibleInAllScenes() {
  for (const auto& instance : m_visibility)
    if (instance.second) return;
  DestroyRenderOptimisations();
}

void UIObject::_SetRenderTransformObjectWorld(IVRender& renderer) const {
  MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
  if (!repository) return;
  double elements[16];
  repository->GetTransform(m_coordinate_system, repository->GetSystemMm()).ConvertDouble16(elements);
  float matrix[16];
  for (int i = 0; i < 16; ++i) matrix[i] = static_cast<float>(elements[i]);
  renderer.SetModelTransform(matrix);
}

// ---- own virtual operations ----

UIObject* UIObject::Clone() const { return new UIObject(*this); }

void UIObject::CopyFrom(const UIObject& other) {
  m_visibility = other.m_visibility;
  m_priority = other.m_priority;
  SetCoordinateSystem(other.m_coordinate_system);
}

UIObjectIterator UIObject::Begin() {
  UIObjectIterator walk;
  if (!m_children.empty()) walk._SetCurrent(m_children.front(), 0);
  return walk;
}

UIObjectIterator UIObject::End() { return UIObjectIterator(); }

UIObject* UIObject::GetChild(size_t index) const { return m_children[index]; }

void UIObject::SetLabel(const wchar_t* label) { m_label = label ? label : L""; }

const wchar_t* UIObject::GetLabel() const { return m_label.c_str(); }

void UIObject::SetVisible(bool visible, unsigned long long sceneID) { m_visibility.SetValue(visible, sceneID); }

void UIObject::SetCoordinateSystem(const MCoordinateSystem& system) {
  // `system` may be held only by this object: the copy keeps it alive through the assignment.
  const MCoordinateSystem keep(m_coordinate_system);
  m_coordinate_system = system;
}

void UIObject::IncrementIterator(UIObjectIterator& iterator) {
  // The iterator knows where its object stands among these children; the search is needed only
  // when the list changed under it.
  UIObject* current = iterator._GetCurrent();
  size_t index = iterator._GetIndexHint();
  if (index >= m_children.size() || m_children[index] != current) {
    auto it = std::find(m_children.begin(), m_children.end(), current);
    if (it == m_children.end()) {
      iterator._SetCurrent(nullptr, 0);
      return;
    }
    index = static_cast<size_t>(it - m_children.begin());
  }
  ++index;
  iterator._SetCurrent(index < m_children.size() ? m_children[index] : nullptr, index);
}

void UIObject::_OnChildRemoved(UIObject*) {}
void UIObject::_OnChildAdded(UIObject*) {}
void UIObject::_OnParentChanged() {}

// ---- the tree ----

void UIObject::MoveToParent(UIObject* parent) {
  // Below itself or its own subtree the tree would become a loop that every walk follows for
  // ever: such a move does nothing.
  if (parent && (parent == this || IsAncestor(parent))) return;
  UIObject* old_parent = m_parent;
  if (old_parent) old_parent->m_children.RemoveObject(this);
  m_parent = parent;
  if (parent) parent->m_children.AddBasedOnPriority(this);
  _OnParentChanged();
  if (old_parent) old_parent->_OnChildRemoved(this);
  if (parent) parent->_OnChildAdded(this);
}

void UIObject::MoveToParent(UIObject* parent, bool keep_world_position) {
  MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
  if (!keep_world_position || !parent || !repository) {
    MoveToParent(parent);
    return;
  }
  if (parent == this || IsAncestor(parent)) return;
  // 1, 2. Where this object and the new parent stand in the render world before the move.
  const MCoordinateSystem& world = repository->GetSystemRenderWorld();
  const MMTransformMatrix object_matrix = MatrixOf(repository->GetTransform(m_coordinate_system, world));
  MMTransformMatrix parent_inverse = MatrixOf(repository->GetTransform(parent->m_coordinate_system, world));
  // 3.
  MoveToParent(parent);
  // 4. The object's own transform becomes parent⁻¹ · object, so that it maps into the world as
  // before through the parent's system; a parent that cannot be inverted leaves it as it is.
  MMTransformMatrix* transform = repository->AccessTransformMatrix(m_coordinate_system);
  if (!transform || !parent_inverse.Invert()) return;
  transform->MakeIdentity();
  transform->PreMultiply(object_matrix);
  transform->PreMultiply(parent_inverse);
}

void UIObject::RemoveChild(UIObject* child) {
  if (child) child->MoveToParent(nullptr);
}

void UIObject::RemoveAllChildren() {
  while (!m_children.empty()) RemoveChild(m_children.front());
}

size_t UIObject::GetNumChildren(bool recursive) const {
  size_t count = m_children.size();
  if (recursive)
    for (const UIObject* child : m_children) count += child->GetNumChildren(true);
  return count;
}

UIObject* UIObject::GetPreviousSibbling() const {
  if (!m_parent) return nullptr;
  const UIObjectList& siblings = m_parent->m_children;
  auto it = std::find(siblings.begin(), siblings.end(), this);
  return it == siblings.end() || it == siblings.begin() ? nullptr : *(it - 1);
}

UIObject* UIObject::GetNextSibbling() const {
  if (!m_parent) return nullptr;
  const UIObjectList& siblings = m_parent->m_children;
  auto it = std::find(siblings.begin(), siblings.end(), this);
  return it == siblings.end() || it + 1 == siblings.end() ? nullptr : *(it + 1);
}

bool UIObject::IsAncestor(const UIObject* other) const {
  if (!other) return false;
  for (const UIObject* up = other->m_parent; up; up = up->m_parent)
    if (up == this) return true;
  return false;
}

void UIObject::SetDefaultCoordinateSystem() {
  if (MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance())
    SetCoordinateSystem(repository->GetSystemMm());
}

void UIObject::GetTransformationTo(const UIObject* other, double* matrix) const {
  MTransformRepository* repository = MTransformRepository::GetInstance();
  if (!repository || !other || !matrix) return;
  repository->GetTransform(m_coordinate_system, other->m_coordinate_system).ConvertDouble16(matrix);
}

void UIObject::SaveStateHierarchy(MStreamUndoOut& out) const {
  out << static_cast<unsigned long>(m_children.size());
  for (UIObject* child : m_children) out << static_cast<IObject*>(child);
  for (UIObject* child : m_children) child->SaveStateHierarchy(out);
}

void UIObject::LoadStateHierarchy(MStreamUndoIn& in) {
  // 1. The children list is emptied without any move: the children's parent pointers are the
  // database's business (it clears them first).
  unsigned long count = 0;
  in >> count;
  m_children.clear();
  if (in.GetMFile()->HAS_SHORT_READ()) return;
  // 2.
  for (unsigned long i = 0; i < count; ++i) {
    IObject* reference = nullptr;
    in >> reference;
    if (in.GetMFile()->HAS_SHORT_READ()) return;
    auto* child = dynamic_cast<UIObject*>(reference);
    if (!child) continue;
    if (g_object_links.restore_object) g_object_links.restore_object(child);
    child->MoveToParent(this);
  }
  // 3. A copy: the recursion must not depend on the live list.
  const std::vector<UIObject*> children(m_children.begin(), m_children.end());
  for (UIObject* child : children) child->LoadStateHierarchy(in);
}
