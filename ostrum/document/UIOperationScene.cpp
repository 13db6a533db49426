#include "ostrum/document/UIOperationScene.h"

#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/scene/MSceneEx.h"
#include "ostrum/undo/MStreamUndo.h"

namespace {

struct SceneActionEntry {
  uint32_t action, flags, text_id;
};
constexpr SceneActionEntry kSceneActions[] = {
    {UIOperationScene::ACTION_SCENE_NOTE, 0x350008, 372},
    {UIOperationScene::ACTION_SCENE_ADD, 0x370008, 373},
    {UIOperationScene::ACTION_SCENE_REMOVE, 0x370008, 374},
    {UIOperationScene::ACTION_SCENE_BACKGROUND, 0x370000, 375},
    {UIOperationScene::ACTION_SCENE_AMBIENT, 0x240000, 376},
    {UIOperationScene::ACTION_SCENE_DIFFUSE, 0x240000, 377},
    {UIOperationScene::ACTION_SCENE_SPECULAR, 0x240000, 378},
    {UIOperationScene::ACTION_SCENE_LABEL, 0x370000, 379},
};
constexpr uint32_t kOtherTextID = 358;

const SceneActionEntry* FindSceneAction(uint32_t action) {
  for (const SceneActionEntry& entry : kSceneActions)
    if (entry.action == action) return &entry;
  return nullptr;
}

}  // namespace

UIOperationScene::UIOperationScene() = default;

UIOperationScene::UIOperationScene(uint32_t action) { SetAction(action); }

UIOperationScene::~UIOperationScene() = default;

void UIOperationScene::SetAction(uint32_t action) {
  MOperation::SetAction(action);
  if (const SceneActionEntry* entry = FindSceneAction(action)) SetFlags(entry->flags);
}

const wchar_t* UIOperationScene::_GetActionString() {
  const SceneActionEntry* entry = FindSceneAction(GetAction());
  return _LoadActionString(entry ? entry->text_id : kOtherTextID);
}

bool UIOperationScene::_DoOperation() {
  MDataBase* database = MDocument::GetDataBase();
  if (!database) return false;
  MSceneEx* scene = database->GetScene(m_scene);
  switch (GetAction()) {
    case ACTION_SCENE_ADD:
      if (MSceneEx* added = database->RegisterScene(m_scene_label)) m_scene = added->GetSceneID();
      break;
    case ACTION_SCENE_REMOVE:
      database->RemoveScene(m_scene);
      break;
    case ACTION_SCENE_BACKGROUND:
      if (scene) scene->SetBackgroundColor(m_color);
      break;
    case ACTION_SCENE_AMBIENT:
      if (scene) scene->SetLightAmbient(m_color);
      break;
    case ACTION_SCENE_DIFFUSE:
      if (scene) scene->SetLightDiffuse(m_color);
      break;
    case ACTION_SCENE_SPECULAR:
      if (scene) scene->SetLightSpecular(m_color);
      break;
    case ACTION_SCENE_LABEL:
      if (scene) scene->SetLabel(m_scene_label.Str());
      break;
    default:
      break;
  }
  return true;
}

void UIOperationScene::_SaveState(MStreamUndoOut& out) {
  // Whether the scene was there, then its state: the state written before a scene was added
  // holds no scene, and reading one from it would read past its end.
  const MDataBase* database = MDocument::GetDataBase();
  MSceneEx* scene = database ? database->GetScene(m_scene) : nullptr;
  out << (scene != nullptr);
  if (scene) scene->SaveState(out);
}

void UIOperationScene::_LoadState(MStreamUndoIn& in) {
  bool saved = false;
  in >> saved;
  const MDataBase* database = MDocument::GetDataBase();
  if (MSceneEx* scene = saved && database ? database->GetScene(m_scene) : nullptr) scene->LoadState(in);
}

UIOperationSceneLightChanged::UIOperationSceneLightChanged() = default;

UIOperationSceneLightChanged::UIOperationSceneLightChanged(uint32_t action) { SetAction(action); }

UIOperationSceneLightChanged::~UIOperationSceneLightChanged() = default;

void UIOperationSceneLightChanged::SetAction(uint32_t action) {
  UIOperationScene::SetAction(action);
  if (action == ACTION_SCENE_LIGHT_BACKGROUND || action == ACTION_SCENE_LIGHT_ALL) SetFlags(0x370008);
}

const wchar_t* UIOperationSceneLightChanged::_GetActionString() { return _LoadActionString(kOtherTextID); }

bool UIOperationSceneLightChanged::_DoOperation() {
  MDataBase* database = MDocument::GetDataBase();
  MSceneEx* scene = database ? database->GetScene(GetScene()) : nullptr;
  if (!scene) return false;
  switch (GetAction()) {
    case ACTION_SCENE_LIGHT_BACKGROUND:
      scene->SetBackgroundColor(GetColor());
      break;
    case ACTION_SCENE_LIGHT_ALL:
      scene->SetLightAmbient(m_ambient);
      scene->SetLightDiffuse(m_diffuse);
      scene->SetLightSpecular(m_specular);
      scene->SetBackgroundColor(GetColor());
      break;
    default:
      break;
  }
  return true;
}
