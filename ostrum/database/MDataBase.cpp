#include "ostrum/database/MDataBase.h"

#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/objects/private/ObjectLinks.h"
#include "ostrum/scene/MSceneEx.h"
#include "ostrum/scene/MSceneManagerEx.h"
#include "ostrum/undo/MStreamUndo.h"

MDataBase::MDataBase() : m_scene_manager(new MSceneManagerEx) { Initialise(); }

MDataBase::~MDataBase() {
  ClearAll();
  delete m_scene_manager;
}

void MDataBase::Initialise() {
  m_scene_manager->Initialise();
  const uint32_t window = GetSysColor(COLOR_WINDOW);  // 0x00BBGGRR
  MColor background(static_cast<float>(window & 0xFF) / 255.0f, static_cast<float>((window >> 8) & 0xFF) / 255.0f,
                    static_cast<float>((window >> 16) & 0xFF) / 255.0f);
  if (MScene* scene = m_scene_manager->GetDefaultScene()) scene->SetBackgroundColor(background);
  m_root.SetDefaultCoordinateSystem();
}

bool MDataBase::RegisterObject(IObject* object) {
  bool result = m_list.RegisterObject(object);
  if (auto* tree_object = dynamic_cast<UIObject*>(object))
    for (UIObject* child : tree_object->GetChildren()) result = RegisterObject(child) && result;
  return result;
}

bool MDataBase::AddObject(IObject* object) {
  RegisterObject(object);
  return RestoreObject(object);
}

bool MDataBase::RemoveObject(IObject* object) {
  // 1.
  const bool result = m_list.RemoveObject(object, true);
  // 2.
  auto* tree_object = dynamic_cast<UIObject*>(object);
  if (!tree_object) return result;
  // 3. The places in the tree do not change during this walk: only the registry does.
  for (UIObjectIterator it = tree_object->Begin(); it != tree_object->End(); ++it) m_list.RemoveObject(it, true);
  // 4. The subtree stays attached to the object.
  if (UIObject* parent = tree_object->GetParent()) parent->RemoveChild(tree_object);
  // 5. Only the object leaves the selection.
  _Unselect(tree_object);
  return result;
}

bool MDataBase::RestoreObject(IObject* object) { return RestoreObject(object, nullptr); }

bool MDataBase::RestoreObject(IObject* object, IObject* parent) {
  // 1, 2.
  const bool result = m_list.RestoreObject(object);
  auto* tree_object = dynamic_cast<UIObject*>(object);
  if (!tree_object || !result) return result;
  // 3.
  for (UIObjectIterator it = tree_object->Begin(); it != tree_object->End(); ++it) m_list.RestoreObject(it);
  // 4.
  auto* tree_parent = dynamic_cast<UIObject*>(parent);
  tree_object->MoveToParent(tree_parent ? tree_parent : &m_root);
  return true;
}

bool MDataBase::DeleteObject(IObject* object) {
  if (object && !object->IsRemoved()) RemoveObject(object);
  if (!m_list.DeleteObject(object)) return false;
  if (auto* tree_object = dynamic_cast<UIObject*>(object)) {
    _LeaveTree(tree_object);
    // It dies at the next recycling, and nothing may point at it then: its children, which
    // stay removed, no longer stand below it.
    tree_object->RemoveAllChildren();
  }
  return true;
}

bool MDataBase::RetractObject(IObject* object) {
  if (object && !object->IsRemoved()) RemoveObject(object);
  if (!m_list.RetractObject(object)) return false;
  // The caller owns it now, with its subtree; it is no longer below its parent.
  if (auto* tree_object = dynamic_cast<UIObject*>(object)) _LeaveTree(tree_object);
  return true;
}

void MDataBase::_LeaveTree(UIObject* object) {
  // A removed object still stands below its parent when that was removed with it, and may still
  // be selected; a live one has left both already.
  if (UIObject* parent = object->GetParent()) parent->RemoveChild(object);
  _Unselect(object);
}

void MDataBase::ClearAll() {
  m_root.RemoveAllChildren();
  m_list.ClearList(true, true);
  m_selected.clear();
  m_scene_manager->ClearAll();
}

bool MDataBase::AddSelectedObject(IObject* object) {
  auto* tree_object = dynamic_cast<UIObject*>(object);
  if (!tree_object || IsObjectSelected(tree_object)) return true;
  m_selected.AddBasedOnPriority(tree_object);
  if (m_selected_index.size() + 1 == m_selected.size()) m_selected_index.insert(tree_object);
  return true;
}

bool MDataBase::RemoveSelectedObject(IObject* object) {
  if (auto* tree_object = dynamic_cast<UIObject*>(object)) _Unselect(tree_object);
  return true;
}

bool MDataBase::IsObjectSelected(const UIObject* object) const {
  // A few selected objects are found faster in the list itself.
  constexpr std::size_t kSearched = 16;
  if (m_selected.size() <= kSearched) return m_selected.ContainsObject(object);
  if (m_selected_index.size() != m_selected.size()) m_selected_index = {m_selected.begin(), m_selected.end()};
  return m_selected_index.count(object) != 0;
}

void MDataBase::_Unselect(UIObject* object) {
  const std::size_t before = m_selected.size();
  m_selected.RemoveObject(object);
  if (m_selected.size() < before && m_selected_index.size() == before) m_selected_index.erase(object);
}

void MDataBase::TransformRepositoryWasDeleted() {}
void MDataBase::TransformRepositoryWokeUpAgain() {}

UIObjectIterator MDataBase::GetBeginUIObject() {
  UIObjectIterator walk = m_root.Begin();
  walk.Flush();
  return walk;
}

UIObjectIteratorSelected MDataBase::GetBeginUIObjectSelected() { return UIObjectIteratorSelected(m_root.Begin()); }

UIObjectIterator MDataBase::GetEndUIObject() { return m_root.End(); }

// ---- scenes ----

MSceneEx* MDataBase::RegisterScene(const CString& label) { return m_scene_manager->RegisterSceneEx(label.Str()); }
bool MDataBase::RemoveScene(std::size_t id) { return m_scene_manager->RemoveScene(id); }
bool MDataBase::RestoreScene(std::size_t id) { return m_scene_manager->RestoreScene(id); }
bool MDataBase::IsSceneRemoved(std::size_t id) const { return m_scene_manager->IsSceneRemoved(id); }
void MDataBase::MergeEquivalentScenes() { m_scene_manager->MergeEquivalentScenes(); }

MSceneEx* MDataBase::FindScene(const CString& label) const {
  return static_cast<MSceneEx*>(m_scene_manager->FindScene(label.Str()));
}

MSceneEx* MDataBase::GetScene(std::size_t id) const {
  return static_cast<MSceneEx*>(m_scene_manager->FindScene(static_cast<unsigned long long>(id)));
}

std::vector<MSceneEx*> MDataBase::GetScenes() const {
  std::vector<MSceneEx*> scenes;
  for (MScene* scene : m_scene_manager->GetScenes()) scenes.push_back(static_cast<MSceneEx*>(scene));
  return scenes;
}

// ---- undo state ----

void MDataBase::SaveStateHierarchy(MStreamUndoOut& out) {
  m_scene_manager->SaveState(out);
  m_root.SaveStateHierarchy(out);
}

void MDataBase::LoadStateHierarchy(MStreamUndoIn& in) {
  // 1.
  m_scene_manager->LoadState(in);
  // 2. Everything to the removed ones, without hooks; the walk steps on before touching.
  for (UIObjectIterator it = m_root.Begin(); it != m_root.End();) {
    UIObject* object = it;
    ++it;
    m_list.RemoveObject(object, false);
  }
  // 3, 4.
  _ClearChildren(&m_root, nullptr, false);
  m_selected.clear();
  // 5.
  m_root.LoadStateHierarchy(in);
  // 6. What is gone now, and what was gone before.
  for (std::size_t i = 0; i < m_list.GetNumRemovedObjects(); ++i) m_list.GetRemovedObject(i)->OnRemove();
}

void MDataBase::_ClearChildren(UIObject* object, UIObject* parent, bool detach) {
  while (object->GetNumChildren(false) != 0) _ClearChildren(object->GetChild(0), object, true);
  if (detach && parent) parent->RemoveChild(object);
}

bool MDataBase::GetIsLoading() { return Ostrum::Private::g_object_links.is_loading; }

void MDataBase::SetIsLoading(bool loading) { Ostrum::Private::g_object_links.is_loading = loading; }
