#include "ostrum/scene/MSceneManagerEx.h"

#include <algorithm>

#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/stage/MScenePropertyBase.h"
#include "ostrum/scene/MSceneEx.h"
#include "ostrum/undo/MStreamUndo.h"

namespace {
constexpr wchar_t kDefaultLabel[] = L"Default";
}  // namespace

MSceneManagerEx::MSceneManagerEx() { MScenePropertyBase::AttachTheSceneManager(this); }

MSceneManagerEx::~MSceneManagerEx() {
  if (MScenePropertyBase::GetTheSceneManager() == this) MScenePropertyBase::AttachTheSceneManager(nullptr);
}

MScene* MSceneManagerEx::_CreateDefaultScene() { return RegisterSceneEx(kDefaultLabel); }

MSceneEx* MSceneManagerEx::RegisterSceneEx(const std::wstring& label) {
  if (label == kDefaultLabel)
    if (MScene* found = FindScene(label)) return static_cast<MSceneEx*>(found);
  return CreateSceneEx(label);
}

MSceneEx* MSceneManagerEx::CreateSceneEx(const std::wstring& label) {
  auto* scene = new MSceneEx(label);
  _AddScene(scene);
  return scene;
}

void MSceneManagerEx::SaveState(MStreamUndoOut& out) { _SaveState(out, m_scenes); }

void MSceneManagerEx::_SaveState(MStreamUndoOut& out, const std::vector<MScene*>& list) {
  out << static_cast<unsigned long>(list.size());
  for (MScene* scene : list) out << scene;
}

void MSceneManagerEx::_LoadState(MStreamUndoIn& in, std::vector<MScene*>& list) {
  list.clear();
  unsigned long count = 0;
  in >> count;
  for (unsigned long i = 0; i < count && !in.GetMFile()->HAS_SHORT_READ(); ++i) {
    MSceneEx* scene = nullptr;
    in >> scene;
    if (scene && !in.GetMFile()->HAS_SHORT_READ()) list.push_back(scene);
  }
}

void MSceneManagerEx::LoadState(MStreamUndoIn& in) {
  // 1. Every live scene joins the removed ones first: none is lost.
  m_removed.reserve(m_removed.size() + m_scenes.size());
  m_removed.insert(m_removed.end(), m_scenes.begin(), m_scenes.end());
  // 2.
  _LoadState(in, m_scenes);
  // 3. A scene live again leaves the removed ones (its first occurrence there). A reference
  // that names no scene of this manager is dropped: the undo file was not ours.
  std::vector<MScene*> live;
  for (MScene* scene : m_scenes) {
    auto it = std::find(m_removed.begin(), m_removed.end(), scene);
    if (it == m_removed.end()) continue;
    m_removed.erase(it);
    live.push_back(scene);
  }
  m_scenes.swap(live);
}
