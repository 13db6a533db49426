#pragma once
// MDataBase: everything a document holds: its objects (the registry), the top of the object
// tree, the selection and the scene manager. The host's document makes one and hands it over
// (MDocument::_SetDataBasePointer); MDocument::GetDataBase answers it.

#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/database/MObjectList.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/objects/UIObjectIterator.h"
#include "ostrum/objects/UIObjectList.h"

class IObject;
class MSceneEx;
class MSceneManagerEx;
class MStreamUndoIn;
class MStreamUndoOut;

class OSTRUM_API MDataBase {
 public:
  /// Makes the scene manager and initialises: the default scene and the root's system.
  MDataBase();
  MDataBase(const MDataBase&) = delete;
  MDataBase& operator=(const MDataBase&) = delete;
  /// ClearAll, then the scene manager goes, then the members.
  virtual ~MDataBase();

  // --- virtual operations, in their slot order ---

  /// The default scene anew, its background the window colour of the desktop, the root in
  /// the application's millimetre system.
  virtual void Initialise();
  /// Registers the object (as removed) and, for a tree object, its whole subtree; true if every
  /// registration answered true.
  virtual bool RegisterObject(IObject* object);
  /// Registers the object, then brings it live under the root: how an object enters.
  virtual bool AddObject(IObject* object);
  /// Removes the object if it is live, then retracts it into the garbage: it dies at the next
  /// recycling, out of the tree (its children, still removed, stand below nothing) and out of
  /// the selection. False if the registry did not hold it.
  virtual bool DeleteObject(IObject* object);
  /// Live → removed, with its whole subtree (each told OnRemove), out of its parent (the
  /// subtree stays below it) and out of the selection. False if it was not live; the subtree,
  /// the parent and the selection are handled all the same.
  virtual bool RemoveObject(IObject* object);
  /// RestoreObject(object, nullptr): under the root.
  virtual bool RestoreObject(IObject* object);
  /// Removes the object if it is live, then takes it out of the registry: the caller owns it,
  /// with its subtree, out of its parent and out of the selection.
  virtual bool RetractObject(IObject* object);
  /// Empties the tree, destroys every object, empties the selection and the scenes.
  virtual void ClearAll();
  /// Adds a tree object to the selection, by priority, once; true (also for other objects,
  /// which are not selected).
  virtual bool AddSelectedObject(IObject* object);
  /// Takes the object out of the selection; true.
  virtual bool RemoveSelectedObject(IObject* object);
  /// Hooks for hosts; nothing here.
  virtual void TransformRepositoryWasDeleted();
  virtual void TransformRepositoryWokeUpAgain();

  // --- the registry ---

  std::size_t GetNumObjects() const { return m_list.GetNumObjects(); }
  IObject* GetObjectW(std::size_t index) const { return m_list.GetObjectW(index); }
  std::size_t GetNumRemovedObjects() const { return m_list.GetNumRemovedObjects(); }
  IObject* GetRemovedObject(std::size_t index) const { return m_list.GetRemovedObject(index); }
  /// Constant time.
  bool IsObjectRegistered(const IObject* object) const { return m_list.IsObjectRegistered(object); }
  bool IsObjectRemoved(const IObject* object) const { return m_list.IsObjectRemoved(object); }
  /// Removed → live with its subtree, then under `parent` (the root when null). False if the
  /// object was not removed.
  bool RestoreObject(IObject* object, IObject* parent);

  // --- the selection and the tree ---

  /// Whether the selected list holds the object: linear in the selection, which is small.
  /// Constant time for a large selection: an index kept beside the list answers, made anew from
  /// the list whenever their sizes differ. A host that changes the list it gets from
  /// GetUIObjectListSelected is followed as long as each change adds or takes away objects; one
  /// that puts an object in place of another without changing the size must select through
  /// AddSelectedObject and RemoveSelectedObject.
  bool IsObjectSelected(const UIObject* object) const;
  /// By descending priority. The host may change it: the selection is what it holds.
  UIObjectList& GetUIObjectListSelected() { return m_selected; }
  const UIObjectList& GetUIObjectListSelected() const { return m_selected; }
  /// The root's children.
  const UIObjectList& GetUIObjectList() const { return m_root.GetChildren(); }
  UIObject& GetRootUIObject() { return m_root; }
  const UIObject& GetRootUIObject() const { return m_root; }
  /// A walk of the whole tree (the root not included).
  UIObjectIterator GetBeginUIObject();
  /// A walk of the selected objects of the whole tree.
  UIObjectIteratorSelected GetBeginUIObjectSelected();
  UIObjectIterator GetEndUIObject();

  // --- scenes, through the scene manager ---

  /// A new scene ("Default" is not made twice).
  MSceneEx* RegisterScene(const CString& label);
  bool RemoveScene(std::size_t id);
  bool RestoreScene(std::size_t id);
  bool IsSceneRemoved(std::size_t id) const;
  void MergeEquivalentScenes();
  MSceneEx* FindScene(const CString& label) const;
  MSceneEx* GetScene(std::size_t id) const;
  /// The live scenes.
  std::vector<MSceneEx*> GetScenes() const;
  MSceneManagerEx* GetSceneManager() const { return m_scene_manager; }

  // --- undo state of the whole tree ---

  /// The scenes alive, then the tree as references.
  void SaveStateHierarchy(MStreamUndoOut& out);
  /// Brings back the scenes alive and the tree: every object goes to the removed ones, the tree
  /// is dissolved, the selection emptied, then the tree is read back (its objects live again);
  /// what stays removed is told OnRemove.
  void LoadStateHierarchy(MStreamUndoIn& in);

  /// Destroys the garbage of every document's registry.
  static void RecycleGarbage() { MObjectList::RecycleGarbage(); }
  /// Whether a document is being loaded: new tree objects then leave their system alone.
  static bool GetIsLoading();
  static void SetIsLoading(bool loading);

 protected:
  std::size_t _GetNumRegisteredObjects() const { return m_list.GetNumRegisteredObjects(); }
  IObject* _GetRegisteredObject(std::size_t index) const { return m_list.GetRegisteredObject(index); }
  /// Dissolves the subtree below `object` from the bottom up; with `detach`, also takes
  /// `object` out of `parent`.
  void _ClearChildren(UIObject* object, UIObject* parent, bool detach);

 private:
  void _Unselect(UIObject* object);
  /// Out of its parent and the selection.
  OSTRUM_LOCAL void _LeaveTree(UIObject* object);

  MObjectList m_list;
  UIObject m_root;
  UIObjectList m_selected;
  // The index of the selection, for selections too long to search.
  mutable std::unordered_set<const UIObject*> m_selected_index;
  MSceneManagerEx* m_scene_manager;
};
