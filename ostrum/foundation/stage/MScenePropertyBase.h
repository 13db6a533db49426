#pragma once
// MScenePropertyBase: what every per-scene property shares: the scene manager that the scenes
// they are keyed by belong to, and the list of all properties, so that scenes merged by the
// manager take the properties' values with them.

#include "ostrum/Export.h"

class MSceneManager;

class OSTRUM_API MScenePropertyBase {
 public:
  /// The process's scene manager, whose scenes the properties' ids name; the scene manager
  /// of a document attaches itself when it is made. Null until then.
  static MSceneManager* GetTheSceneManager() { return mgp_scene_manager; }
  /// Makes `manager` (null: none) the scene manager of every property.
  static void AttachTheSceneManager(MSceneManager* manager) { mgp_scene_manager = manager; }
  /// In every property: the value of scene `from` goes to scene `to` where that one has none,
  /// and `from`'s value is taken away. The manager calls it when it merges two scenes.
  static void MergeScenes(unsigned long long from, unsigned long long to);

 protected:
  /// Joins the list of properties.
  MScenePropertyBase();
  MScenePropertyBase(const MScenePropertyBase&);
  /// Keeps its place in the list.
  MScenePropertyBase& operator=(const MScenePropertyBase&) { return *this; }
  /// Leaves the list.
  virtual ~MScenePropertyBase();
  /// This property's share of MergeScenes.
  virtual void _MergeScene(unsigned long long from, unsigned long long to) = 0;

 private:
  void _Link();

  MScenePropertyBase* m_previous = nullptr;
  MScenePropertyBase* m_next = nullptr;
  static MSceneManager* mgp_scene_manager;
};
