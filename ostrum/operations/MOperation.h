#pragma once
// MOperation: the one way in which a document changes. It names an action, the objects it acts
// on and the flags that tell the document's pipeline which stages apply. The base class can
// already run: its hooks ask each object in turn.
//
// Operations are heap objects given away: MDocument::DoOperation (and DoOperation(param) here)
// takes ownership, and the caller must not touch the object afterwards.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/operations/MOperationCore.h"

class IObject;
class IObserver;
class MDocument;
class MFile;
class MOperationContext;
class MStreamUndoIn;
class MStreamUndoOut;

class OSTRUM_API MOperation {
 public:
  /// Action numbers of the base operation.
  enum : uint32_t {
    ACTION_ADD = 0,
    ACTION_REMOVE = 1,
    ACTION_COPY = 2,
    ACTION_DELETE = 3,
    ACTION_CHANGE_LABEL = 4,
    ACTION_REVERSIBLE_FORWARD = 5,
    ACTION_REVERSIBLE_BACKWARD = 6,
    ACTION_REFRESH = 7,
    ACTION_REFRESH_ALL = 8,
    ACTION_RUN_ONCE = 400,
    ACTION_NONE = 0xFFFFFFFF,
  };

  /// Flag bits; see the accessors for their meaning.
  enum : uint32_t {
    FLAG_NEEDS_OBJECTS = 0x1,
    FLAG_CAN_BE_REVERSED = 0x2,
    FLAG_SHOULD_UNDO_ONCE = 0x4,
    FLAG_CAUSES_DOCUMENT_CHANGE = 0x8,
    FLAG_HAS_TO_BE_PREPARED = 0x10000,
    FLAG_CAN_BE_UNDONE = 0x20000,
    FLAG_HAS_TO_BE_DONE = 0x40000,
    FLAG_NEEDS_UPDATE_FRAME = 0x100000,
    FLAG_NEEDS_UPDATE_VIEW = 0x200000,
    FLAG_NEEDS_UPDATE_UI = 0x300000,
    FLAG_NEEDS_UPDATE_OBSERVERS = 0x400000,
    FLAG_NO_UPDATE_LOG = 0x1000000,
    FLAGS_DEFAULT = 0x770008,
  };

  /// Temporary key of an operation that is not temporary.
  static constexpr uint32_t NO_TEMPORARY_KEY = 0xFFFFFFFF;

  /// Action 0xFFFFFFFF (none), the default flags 0x770008, sender id 0.
  MOperation();
  /// The default flags, then SetAction(action), which may replace them.
  explicit MOperation(uint32_t action);
  MOperation(const MOperation&) = default;
  MOperation& operator=(const MOperation&) = default;
  virtual ~MOperation();

  // --- virtual operations, in their slot order ---

  /// Sets the host's sender id; the framework carries it and gives it no meaning.
  virtual void SetSenderID(uint32_t id) { m_sender_id = id; }
  /// For a reversible operation, turns the action into its inverse (flags stay) and answers
  /// true; false and no change otherwise.
  virtual bool Reverse();
  /// Sets the flags of the action's table entry (overwriting all flags; an action without an
  /// entry keeps them), then stores the action through _SetAction.
  virtual void SetAction(uint32_t action);
  /// The action that undoes this one.
  virtual uint32_t GetInverseAction();
  /// The text shown in undo lists, composed from the action's text and the objects' type
  /// names. The pointer stays good until the next call, on any operation.
  virtual const wchar_t* GetActionString() const;
  /// Appends `object`; false and no change if it is null or already there. Not owned.
  virtual bool AddObject(IObject* object);
  /// Erases `object`; false if absent.
  virtual bool RemoveObject(IObject* object);
  /// Writes the record: the action, 4 bytes. True if it was written whole.
  virtual bool Save(MFile& file);
  /// Reads the action straight into the operation; flags are not rebuilt. True on a whole read;
  /// a short read answers false and leaves the action as it was.
  virtual bool Load(MFile& file);

 protected:
  /// Loads the text of the action's text id from the host's string table and returns it.
  virtual const wchar_t* _GetActionString();
  /// Loads the text `text_id` into the operation's action text and answers it (empty when the
  /// text is missing): what the overrides of _GetActionString answer.
  const wchar_t* _LoadActionString(uint32_t text_id);
  /// Asks each object to do the operation; true if all answered true. All are asked.
  virtual bool _DoOperation();
  /// Asks each object to undo; true if all answered true.
  virtual bool _UndoOperation();
  /// Asks each object to redo; true if all answered true.
  virtual bool _RedoOperation();
  /// Asks each object to prepare; true if all answered true.
  virtual bool _PrepareOperation();
  /// Has each object, once, write its state for this operation.
  virtual void _SaveState(MStreamUndoOut& out);
  /// Has each object read back its state for this operation.
  virtual void _LoadState(MStreamUndoIn& in);
  /// Stores the action and nothing else.
  virtual void _SetAction(uint32_t action) { m_core.m_action = action; }

 public:
  // --- running ---

  /// Hands this operation to the document of operations; the object is gone after the call.
  /// False without a document.
  bool DoOperation(void* param);
  /// True if the context holds objects and the action is 1 (remove).
  static bool IsExecutePossible(const MOperationContext& context, uint32_t action);
  /// Runs an operation with `action` on the context's objects; answers false whatever came
  /// of it.
  static bool Execute(const MOperationContext& context, uint32_t action);

  // --- groups, forwarded to the document of operations ---

  static long long BeginOperationGroup(const wchar_t* name, bool no_group);
  static bool EndOperationGroup(long long& handle);
  static bool AbortOperationGroup(long long& handle);
  static bool KillOperationGroup(long long& handle);
  static long long BeginTemporaryOperationGroup(const wchar_t* name, uint32_t key, bool no_group);
  static uint32_t GetUniqueTemporaryOperationKey();

  // --- the document that all operations go to ---

  /// Set by the document's constructor; its destructor clears it if it still names that
  /// document, so that operations sent afterwards find no document.
  static MDocument* mgp_document;
  static MDocument* GetDocument() { return mgp_document; }

  // --- core ---

  uint32_t GetAction() const { return m_core.m_action; }
  size_t GetNumObjects() const { return m_core.m_objects.size(); }
  /// The object at `index`; the index is not checked.
  IObject* GetObjectW(size_t index) const { return m_core.m_objects[index]; }
  void RemoveAllObjects() {
    m_core.m_objects.clear();
    m_object_index.set.reset();
  }
  /// The list to change by hand; AddObject searches it whole from then on.
  std::vector<IObject*>& GetObjectList() {
    m_object_index.list_handed_out = true;
    return m_core.m_objects;
  }
  const std::vector<IObject*>& GetObjectList() const { return m_core.m_objects; }
  CWnd* GetWindow() const { return m_core.m_window; }
  void SetWindow(CWnd* window) { m_core.m_window = window; }
  /// The core to change by hand; AddObject searches the list whole from then on.
  MOperationCore& GetCore() {
    m_object_index.list_handed_out = true;
    return m_core;
  }
  /// Same action and the same objects in the same order; flags, labels and ids do not count.
  bool IsEqual(MOperation& other) const { return m_core.IsEqual(other.m_core); }

  /// Each object, and one level of its observers that are objects, once each; `flag` has no
  /// effect.
  void GetObjects(std::vector<IObject*>& list, bool flag) const;
  /// The observers of the objects, without duplicates, in order of first sight.
  void GetObservers(std::vector<IObserver*>& list) const;
  /// Records, for each object, the defining objects that are tree objects, so that a removal
  /// can be undone.
  void StoreObservers();
  /// Links each recorded defining object back to its object as an observer; nothing unless
  /// there is one record per object.
  void RestoreObservers();

  // --- flags ---

  uint32_t GetFlags() const { return m_flags; }
  void SetFlags(uint32_t flags) { m_flags = flags; }
  void AddFlags(uint32_t mask) { m_flags |= mask; }
  void RemoveFlags(uint32_t mask) { m_flags &= ~mask; }
  /// Adds first, then removes: a bit in both ends up clear.
  void ChangeFlags(uint32_t add, uint32_t remove) {
    m_flags |= add;
    m_flags &= ~remove;
  }
  bool NeedsObjects() const { return m_flags & FLAG_NEEDS_OBJECTS; }
  bool CanBeReversed() const { return m_flags & FLAG_CAN_BE_REVERSED; }
  bool ShouldUndoOnce() const { return m_flags & FLAG_SHOULD_UNDO_ONCE; }
  bool CausesDocumentChange() const { return m_flags & FLAG_CAUSES_DOCUMENT_CHANGE; }
  bool HasToBePrepared() const { return m_flags & FLAG_HAS_TO_BE_PREPARED; }
  bool CanBeUndone() const { return m_flags & FLAG_CAN_BE_UNDONE; }
  bool HasToBeDone() const { return m_flags & FLAG_HAS_TO_BE_DONE; }
  bool NeedsUpdateFrame() const { return m_flags & FLAG_NEEDS_UPDATE_FRAME; }
  bool NeedsUpdateView() const { return m_flags & FLAG_NEEDS_UPDATE_VIEW; }
  bool NeedsUpdateUI() const { return m_flags & FLAG_NEEDS_UPDATE_UI; }
  bool NeedsUpdateObservers() const { return m_flags & FLAG_NEEDS_UPDATE_OBSERVERS; }
  /// True while the no-log bit 0x1000000 is clear.
  bool NeedsUpdateLog() const { return !(m_flags & FLAG_NO_UPDATE_LOG); }

  // --- sender, label, temporary key ---

  uint32_t GetSenderID() const { return m_sender_id; }
  /// SetAction(4) through the virtual, then stores the label.
  void ChangeLabel(const wchar_t* label);
  const std::wstring& GetLabel() const { return m_label; }
  /// Makes this a temporary operation of `key`; NO_TEMPORARY_KEY makes it an ordinary one.
  void SetTemporaryOperation(uint32_t key) { m_temporary_key = key; }
  bool IsTemporaryOperation() const { return m_temporary_key < NO_TEMPORARY_KEY; }
  uint32_t GetTemporaryOperationKey() const { return m_temporary_key; }

  /// Text id of an action of the base table (358 for numbers without their own text).
  static uint32_t GetActionTextID(uint32_t action);

 private:
  friend class MDocument;

  // What lets AddObject refuse a duplicate in constant time in a long list: the set of the
  // listed objects, made when the list first grows long through AddObject and kept exact by
  // the members that change the list. Once the list (or the core) was handed out for changing
  // by hand, the set can no longer be trusted and AddObject searches the list. A copy starts
  // without a set; an assignment drops the target's.
  struct ObjectIndex {
    ObjectIndex() = default;
    ObjectIndex(const ObjectIndex&) {}
    ObjectIndex& operator=(const ObjectIndex&) {
      set.reset();
      return *this;
    }
    std::unique_ptr<std::unordered_set<IObject*>> set;
    bool list_handed_out = false;
  };

  MOperationCore m_core;
  uint32_t m_flags = FLAGS_DEFAULT;
  uint32_t m_sender_id = 0;
  std::wstring m_label;
  std::vector<std::vector<IObject*>> m_stored_observers;
  uint32_t m_temporary_key = NO_TEMPORARY_KEY;
  std::wstring m_action_text;
  ObjectIndex m_object_index;
};
