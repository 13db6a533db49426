#pragma once
// MSceneManagerEx: the scene manager of a document's database; it makes MSceneEx scenes and
// keeps which of them are alive in the undo state.

#include <string>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/stage/MSceneManager.h"

class MSceneEx;

class OSTRUM_API MSceneManagerEx : public MSceneManager {
 public:
  /// Attaches itself as the scene manager of every per-scene property.
  MSceneManagerEx();
  ~MSceneManagerEx() override;

  /// The scene "Default" if asked for and there is one; otherwise a new scene.
  MSceneEx* RegisterSceneEx(const std::wstring& label);
  /// A new scene of `label`: "Default" takes the id 0xFFFFFFFF, any other the next id.
  MSceneEx* CreateSceneEx(const std::wstring& label);

  /// Which scenes are alive, as references.
  void SaveState(MStreamUndoOut& out) override;
  /// Brings back which scenes are alive; no scene is made or destroyed, one not named goes to
  /// the removed ones.
  void LoadState(MStreamUndoIn& in) override;

 protected:
  MScene* _CreateDefaultScene() override;
  void _SaveState(MStreamUndoOut& out, const std::vector<MScene*>& list);
  void _LoadState(MStreamUndoIn& in, std::vector<MScene*>& list);
};
