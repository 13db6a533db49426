#pragma once
// MSceneManager: the scenes of a document: the live ones, those removed (kept so that undo can
// bring them back), the default scene and the counter of ids. It owns every scene.

#include <string>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/markup/ISAXPersist.h"
#include "ostrum/foundation/stage/MScene.h"

class MStreamUndoIn;
class MStreamUndoOut;

class OSTRUM_API MSceneManager : public ISAXPersist {
 public:
  MSceneManager();
  MSceneManager(const MSceneManager&) = delete;
  MSceneManager& operator=(const MSceneManager&) = delete;
  /// Deletes every scene.
  ~MSceneManager() override;

  /// Deletes every scene and makes the default one anew.
  virtual void Initialise();
  /// Deletes every scene, live and removed; no default scene is left.
  virtual void ClearAll();
  /// Moves the live scene `id` to the removed ones; false if it is not live, or is the default
  /// scene (which stays).
  bool RemoveScene(unsigned long long id);
  /// Brings the removed scene `id` back to the live ones, at the end; false if it is not removed.
  bool RestoreScene(unsigned long long id);
  bool IsSceneRemoved(unsigned long long id) const;
  MScene* GetDefaultScene() const { return m_default; }
  /// The first live scene of that label, or null.
  MScene* FindScene(const std::wstring& label) const;
  /// The live scene of that id, or null.
  MScene* FindScene(unsigned long long id) const;
  /// The live scenes, in order of making.
  const std::vector<MScene*>& GetScenes() const { return m_scenes; }
  const std::vector<MScene*>& GetRemovedScenes() const { return m_removed; }

  /// Merges live scenes of one label that _AllowMergeScene lets go together: each later one
  /// is removed, and every per-scene value it had moves to the first one where that one has
  /// none. Answers how many were merged.
  virtual int MergeEquivalentScenes();
  /// Gives each live scene that shares its label with an earlier one a label of its own:
  /// "label (2)", "label (3)", ... Answers how many were renamed.
  virtual int RenameEquivalentScenes();

  /// The live scenes for undo; the base class writes nothing.
  virtual void SaveState(MStreamUndoOut& out);
  virtual void LoadState(MStreamUndoIn& in);

 protected:
  /// Makes the default scene, labelled "Default", of id 0xFFFFFFFF, and answers it.
  virtual MScene* _CreateDefaultScene();
  /// Whether `later` may merge into `first`: the same label here.
  virtual bool _AllowMergeScene(const MScene& first, const MScene& later) const;
  /// Gives a new scene the next id, or 0xFFFFFFFF for "Default", and appends it to the live ones.
  void _AddScene(MScene* scene);

  std::vector<MScene*> m_scenes;
  std::vector<MScene*> m_removed;
  MScene* m_default = nullptr;
  unsigned long long m_id_counter = 0;
};
