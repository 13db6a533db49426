#pragma once
// UIObject: the node of the object tree. It joins the object, drawing, subject, observer and
// defined-object interfaces into a labelled, prioritised object, visible or not per scene, with
// a coordinate system, a parent and children ordered by descending priority. Every class a host
// puts into a document's tree derives from it. The tree owns nothing: the database owns the
// objects.

#include <cstddef>
#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/coordinates/MCoordinateSystem.h"
#include "ostrum/foundation/stage/MSceneProperty.h"
#include "ostrum/objects/IObject.h"
#include "ostrum/objects/IObserver.h"
#include "ostrum/objects/IRender.h"
#include "ostrum/objects/MDefinedObject.h"
#include "ostrum/objects/MSubject.h"
#include "ostrum/objects/UIObjectIterator.h"
#include "ostrum/objects/UIObjectList.h"

class MSAXReader;
class MSAXWriter;

class OSTRUM_API UIObject : public IObject,
                            public IRender,
                            public MSubject,
                            public IObserver,
                            public MDefinedObject {
 public:
  /// The id of the scene labelled "Default", and of rendering without a scene.
  static constexpr unsigned long long DEFAULT_SCENE_ID = 0xFFFFFFFF;

  /// Outside the tree, visible in the default scene, in the application's millimetre system
  /// (left undefined while a document is being loaded, which sets it itself, or when there is
  /// no repository).
  UIObject();
  /// Takes the label, the priority, the visibility, the coordinate system and the
  /// must-be-saved-in-root flag; starts outside the tree, without children, observers,
  /// subjects or defining objects.
  UIObject(const UIObject& other);
  UIObject& operator=(const UIObject&) = delete;
  /// Destroys the members only: the object must be out of the tree before it dies.
  ~UIObject() override;

  // --- IObject ---

  bool PrepareOperation(MOperation*) override { return true; }
  /// Remove and delete (1, 3) detach it from its defining objects and free its render buffers;
  /// copy (2) sends a new operation adding a clone; change label (4) takes the operation's label;
  /// show and hide (60003, 60004) set the visibility in the operation's scene. True.
  bool DoOperation(MOperation& operation) override;
  bool UndoOperation(MOperation&) override { return true; }
  bool RedoOperation(MOperation&) override { return true; }
  /// Reads what SaveState wrote.
  void LoadState(MStreamUndoIn& in) override;
  /// The label only for a change of label (4), else the whole state.
  void LoadState(const MOperation* operation, MStreamUndoIn& in) override;
  /// The label, the priority, then the visibility: a count and, per scene in ascending id, the
  /// id in 32 bits and the value. A derived class with state of its own calls this first.
  void SaveState(MStreamUndoOut& out) override;
  /// The label only for a change of label (4), else the whole state.
  void SaveState(const MOperation* operation, MStreamUndoOut& out) override;
  void OnRemove() override {}
  void OnRestore() override {}
  /// What the active document's database says; false without one.
  bool IsRemoved() const override;
  bool IsRegistered() const override;
  bool IsSelected() const override;
  const wchar_t* GetUserInterfaceTypeName() const override { return L"Object"; }
  bool MustBeSavedInRoot() const override { return m_must_be_saved_in_root; }

  // --- IRender: the walks over the children, highest priority first ---

  /// Each child's own scene render (no visibility test: the scene code decides).
  void Render(IVRender& renderer, const MSceneEx& scene) override;
  /// Each child visible in the scene.
  void Render(IVRender2D& renderer, const MSceneEx& scene) override;
  /// Each child visible in the default scene, with its subtree.
  void Render(IVRender2D& renderer, const MCoordinateSystem& system) override;
  void Render(IVRender& renderer, const MCoordinateSystem& system) override;
  void RenderFast(IVRender& renderer, const MSceneEx& scene) override;
  void RenderFast(IVRender& renderer, const MCoordinateSystem& system) override;
  void RenderGDI(CDC& dc, const MCoordinateSystem& system) override;
  void RenderGDIBitmap(CDC& dc, const MSceneEx& scene) override;
  void RenderGDIScreen(CDC& dc, const MSceneEx& scene) override;
  /// Also every child's, visible or not.
  void DestroyRenderOptimisations() override;
  /// Resets `box` to the empty box: a class with geometry overrides it.
  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long sceneID,
                      const MCoordinateSystem* system) const override;
  using IRender::GetBoundingBox;
  /// The value set for the scene; false for a scene it has no value for.
  bool IsVisible(unsigned long long sceneID) const override;

  // --- its own virtual operations ---

  /// A new object of the same class, by the copy constructor; a derived class overrides it.
  virtual UIObject* Clone() const;
  /// Takes the visibility, the priority and the coordinate system, not the label.
  virtual void CopyFrom(const UIObject& other);
  /// A walk of the subtree below this object, on its first child (the end if it has none).
  virtual UIObjectIterator Begin();
  virtual UIObjectIterator End();
  /// The child at `index`, which is not checked.
  virtual UIObject* GetChild(std::size_t index) const;
  /// Null is taken as "".
  virtual void SetLabel(const wchar_t* label);
  virtual const wchar_t* GetLabel() const;
  virtual void SetVisible(bool visible, unsigned long long sceneID = DEFAULT_SCENE_ID);
  /// Keeps the old system alive until the new one is in place.
  virtual void SetCoordinateSystem(const MCoordinateSystem& system);

  // --- the tree ---

  UIObject* GetParent() const { return m_parent; }
  const UIObjectList& GetChildren() const { return m_children; }
  int32_t GetPriority() const { return m_priority; }
  /// Stores the priority; a child keeps its place among its siblings until it is inserted anew.
  void SetPriority(int32_t priority) { m_priority = priority; }
  void SetMustBeSavedInRoot(bool must) { m_must_be_saved_in_root = must; }
  const MCoordinateSystem& GetCoordinateSystem() const { return m_coordinate_system; }

  /// Leaves the old parent (if any) and joins `parent`'s children by priority (null: outside
  /// the tree). The same parent is no special case: the object is sorted in anew. Then
  /// _OnParentChanged here, _OnChildRemoved on the old parent, _OnChildAdded on the new one.
  void MoveToParent(UIObject* parent);
  /// With `keep_world_position`, the object stays where it is in the world: its system's
  /// transform is changed so that, below the new parent's system, it maps as before (left as it
  /// is when the parent's transform cannot be inverted). Needs a parent that is not null.
  void MoveToParent(UIObject* parent, bool keep_world_position);
  /// `child->MoveToParent(nullptr)`, whosever child it is.
  void RemoveChild(UIObject* child);
  /// Removes the first child until there is none.
  void RemoveAllChildren();
  /// The number of children, with all descendants when `recursive`.
  std::size_t GetNumChildren(bool recursive) const;
  /// The neighbours in the parent's list; null at its ends or without a parent.
  UIObject* GetPreviousSibbling() const;
  UIObject* GetNextSibbling() const;
  /// Whether this object stands above `other` (never itself).
  bool IsAncestor(const UIObject* other) const;
  /// Whether `other` stands above this object.
  bool IsDescendant(const UIObject* other) const { return other && other->IsAncestor(this); }
  /// The application's millimetre system, when there is a repository.
  void SetDefaultCoordinateSystem();
  /// The sixteen elements, row by row, of the transform from this object's system to `other`'s.
  void GetTransformationTo(const UIObject* other, double* matrix) const;
  /// The children as references, a level whole before the one below it.
  void SaveStateHierarchy(MStreamUndoOut& out) const;
  /// Rebuilds the children as SaveStateHierarchy wrote them, restoring each in the database.
  void LoadStateHierarchy(MStreamUndoIn& in);

 protected:
  virtual void _RenderChildren(IVRender2D& renderer, const MSceneEx& scene);
  virtual void _RenderChildren(IVRender& renderer, const MSceneEx& scene);
  virtual void _RenderChildrenFast(IVRender& renderer, const MSceneEx& scene);
  virtual void _RenderChildrenGDIBitmap(CDC& dc, const MSceneEx& scene);
  virtual void _RenderChildrenGDIScreen(CDC& dc, const MSceneEx& scene);
  /// Hooks of the moves; empty here.
  virtual void _OnChildRemoved(UIObject* child);
  virtual void _OnChildAdded(UIObject* child);
  virtual void _OnParentChanged();

  /// Frees the render buffers when no scene shows the object any more.
  void _DestroyRenderOptimisationsIfInvisibleInAllScenes();
  /// Gives the renderer the transform from this object's system to the millimetre system.
  void _SetRenderTransformObjectWorld(IVRender& renderer) const;

  // --- the object in a project file: a persistent class writes its own element and calls these ---

  /// Writes "Children" with a reference to each child to be saved (MustBeSavedInRoot), in the
  /// order of the children; nothing when none is to be saved. False if writing failed.
  bool _WriteChildrenIDs(MSAXWriter& writer) const;
  /// For "Children": hands the element to a new MSAXUIObjectChildren of this object, which the
  /// reader owns, and answers true; false for any other tag.
  bool _HandleTagChildrenIDs(const std::wstring& tag, MSAXReader& reader);
  /// Reads the element being offered as the reference to this object's coordinate system, which
  /// the object takes when the file has been read whole (see MCoordinateSystem).
  bool _ReadCoordinateSystem(MSAXReader& reader) { return m_coordinate_system.ReadCoordinateSystem(reader); }

  /// The visibility, for a derived class that walks or copies it.
  const MSceneProperty<bool>& _GetVisibility() const { return m_visibility; }

 private:
  friend class UIObjectIterator;
  /// Steps `iterator` from one of this object's children to the next one.
  virtual void IncrementIterator(UIObjectIterator& iterator);

  UIObjectList m_children;
  UIObject* m_parent = nullptr;
  bool m_must_be_saved_in_root = true;
  int32_t m_priority = 0;
  std::wstring m_label;
  MSceneProperty<bool> m_visibility{true};
  MCoordinateSystem m_coordinate_system;
};
