#include "ostrum/foundation/stage/MSceneManager.h"

#include <algorithm>
#include <map>

#include "ostrum/foundation/stage/MScenePropertyBase.h"

namespace {

constexpr wchar_t kDefaultLabel[] = L"Default";

MScene* FindIn(const std::vector<MScene*>& scenes, unsigned long long id) {
  for (MScene* scene : scenes)
    if (scene->GetSceneID() == id) return scene;
  return nullptr;
}

}  // namespace

MSceneManager::MSceneManager() = default;

MSceneManager::~MSceneManager() { ClearAll(); }

void MSceneManager::Initialise() {
  ClearAll();
  m_default = _CreateDefaultScene();
}

void MSceneManager::ClearAll() {
  std::vector<MScene*> scenes;
  scenes.swap(m_scenes);
  scenes.insert(scenes.end(), m_removed.begin(), m_removed.end());
  m_removed.clear();
  m_default = nullptr;
  for (MScene* scene : scenes) delete scene;
}

MScene* MSceneManager::_CreateDefaultScene() {
  auto* scene = new MScene(kDefaultLabel);
  _AddScene(scene);
  return scene;
}

void MSceneManager::_AddScene(MScene* scene) {
  if (scene->GetLabel() == kDefaultLabel)
    scene->SetSceneID(MScene::DEFAULT_SCENE_ID);
  else
    scene->SetSceneID(++m_id_counter);
  m_scenes.push_back(scene);
}

bool MSceneManager::RemoveScene(unsigned long long id) {
  auto it = std::find_if(m_scenes.begin(), m_scenes.end(), [id](const MScene* s) { return s->GetSceneID() == id; });
  if (it == m_scenes.end() || *it == m_default) return false;
  m_removed.push_back(*it);
  m_scenes.erase(it);
  return true;
}

bool MSceneManager::RestoreScene(unsigned long long id) {
  auto it = std::find_if(m_removed.begin(), m_removed.end(), [id](const MScene* s) { return s->GetSceneID() == id; });
  if (it == m_removed.end()) return false;
  m_scenes.push_back(*it);
  m_removed.erase(it);
  return true;
}

bool MSceneManager::IsSceneRemoved(unsigned long long id) const { return FindIn(m_removed, id) != nullptr; }

MScene* MSceneManager::FindScene(const std::wstring& label) const {
  for (MScene* scene : m_scenes)
    if (scene->GetLabel() == label) return scene;
  return nullptr;
}

MScene* MSceneManager::FindScene(unsigned long long id) const { return FindIn(m_scenes, id); }

bool MSceneManager::_AllowMergeScene(const MScene& first, const MScene& later) const {
  return first.GetLabel() == later.GetLabel();
}

int MSceneManager::MergeEquivalentScenes() {
  int merged = 0;
  for (size_t i = 0; i < m_scenes.size(); ++i) {
    for (size_t j = i + 1; j < m_scenes.size();) {
      MScene* first = m_scenes[i];
      MScene* later = m_scenes[j];
      if (later == m_default || !_AllowMergeScene(*first, *later)) {
        ++j;
        continue;
      }
      // The later scene goes to the removed ones (undo may still name it); what the objects
      // held for it now holds for the first.
      MScenePropertyBase::MergeScenes(later->GetSceneID(), first->GetSceneID());
      m_removed.push_back(later);
      m_scenes.erase(m_scenes.begin() + static_cast<std::ptrdiff_t>(j));
      ++merged;
    }
  }
  return merged;
}

int MSceneManager::RenameEquivalentScenes() {
  int renamed = 0;
  std::map<std::wstring, int> seen;
  for (MScene* scene : m_scenes) {
    const int count = ++seen[scene->GetLabel()];
    if (count == 1 || scene == m_default) continue;
    // The next free number for this label.
    for (int n = count;; ++n) {
      const std::wstring label = scene->GetLabel() + L" (" + std::to_wstring(n) + L")";
      if (!FindScene(label)) {
        scene->SetLabel(label);
        ++seen[label];
        ++renamed;
        break;
      }
    }
  }
  return renamed;
}

void MSceneManager::SaveState(MStreamUndoOut&) {}

void MSceneManager::LoadState(MStreamUndoIn&) {}
