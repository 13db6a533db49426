#pragma once
// MScenePropertyBase: what every per-scene property shares: the scene manager that the scenes
// they are keyed by belong to.

#include "ostrum/Export.h"

class MSceneManager;

class OSTRUM_API MScenePropertyBase {
 public:
  /// The process's scene manager, whose scenes the properties' ids name; the scene manager
  /// of a document attaches itself when it is made. Null until then.
  static MSceneManager* GetTheSceneManager() { return mgp_scene_manager; }
  /// Makes `manager` (null: none) the scene manager of every property.
  static void AttachTheSceneManager(MSceneManager* manager) { mgp_scene_manager = manager; }

 protected:
  MScenePropertyBase() = default;
  ~MScenePropertyBase() = default;

 private:
  static MSceneManager* mgp_scene_manager;
};
