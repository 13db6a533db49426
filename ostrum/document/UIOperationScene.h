#pragma once
// UIOperationScene: the changes of a document's scenes: a note, adding and removing a scene,
// its background, its three light colours and its label. Its undo state is the scene's own
// state (MSceneEx::SaveState), not its objects'.

#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MColor.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/operations/MOperation.h"

class OSTRUM_API UIOperationScene : public MOperation {
 public:
  enum : uint32_t {
    ACTION_SCENE_NOTE = 76050,        ///< nothing; 0x350008
    ACTION_SCENE_ADD = 76051,         ///< a new scene of the label, its id into the scene field
    ACTION_SCENE_REMOVE = 76052,      ///< the scene to the removed ones
    ACTION_SCENE_BACKGROUND = 76053,  ///< the colour as background
    ACTION_SCENE_AMBIENT = 76054,     ///< the colour as ambient light; not undoable
    ACTION_SCENE_DIFFUSE = 76055,     ///< the colour as diffuse light; not undoable
    ACTION_SCENE_SPECULAR = 76056,    ///< the colour as specular light; not undoable
    ACTION_SCENE_LABEL = 76057,       ///< the label
  };

  UIOperationScene();
  explicit UIOperationScene(uint32_t action);
  ~UIOperationScene() override;
  /// MOperation's action, then the flags of the scene actions over them.
  void SetAction(uint32_t action) override;

  const unsigned long long& GetScene() const { return m_scene; }
  void SetScene(const unsigned long long& scene) { m_scene = scene; }
  const CString& GetSceneLabel() const { return m_scene_label; }
  void SetSceneLabel(const CString& label) { m_scene_label = label; }
  const MColor& GetColor() const { return m_color; }
  void SetColor(const MColor& color) { m_color = color; }

 protected:
  const wchar_t* _GetActionString() override;
  /// False without a database; otherwise acts on the scene of the scene field as the action
  /// says (a colour or label for a scene that is not there changes nothing) and answers true.
  bool _DoOperation() override;
  /// Whether the database has the scene, then the scene's state if it has.
  void _SaveState(MStreamUndoOut& out) override;
  /// The scene's state, if it was saved and the database has the scene.
  void _LoadState(MStreamUndoIn& in) override;

 private:
  unsigned long long m_scene = 0;
  CString m_scene_label;
  MColor m_color;
};

/// The light of a scene changed together: its background, or its three lights and background.
class OSTRUM_API UIOperationSceneLightChanged : public UIOperationScene {
 public:
  enum : uint32_t {
    ACTION_SCENE_LIGHT_BACKGROUND = 76058,  ///< the colour as background
    ACTION_SCENE_LIGHT_ALL = 76059,         ///< ambient, diffuse, specular, then the background
  };

  UIOperationSceneLightChanged();
  explicit UIOperationSceneLightChanged(uint32_t action);
  ~UIOperationSceneLightChanged() override;
  void SetAction(uint32_t action) override;

  void SetLight(const MColor& ambient, const MColor& diffuse, const MColor& specular) {
    m_ambient = ambient;
    m_diffuse = diffuse;
    m_specular = specular;
  }
  void GetLight(MColor& ambient, MColor& diffuse, MColor& specular) const {
    ambient = m_ambient;
    diffuse = m_diffuse;
    specular = m_specular;
  }

 protected:
  /// The text of id 358, whatever the action.
  const wchar_t* _GetActionString() override;
  /// False without a database or without the scene; otherwise acts and answers true.
  bool _DoOperation() override;

 private:
  MColor m_ambient;
  MColor m_diffuse;
  MColor m_specular;
};
