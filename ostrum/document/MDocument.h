#pragma once
// MDocument: the base of the host's document and the single gate through which it changes.
// DoOperation runs an operation through its stages: undo ability, disk budget, prepare, undo
// state, execute, publish to observers, frame and views, commit, recycling.

#include <cstdint>
#include <memory>

#include "ostrum/Export.h"
#include "ostrum/document/MLocker.h"
#include "ostrum/foundation/frameadapter/CmdMessageTarget.h"
#include "ostrum/foundation/platform/CDocument.h"
#include "ostrum/foundation/render/IVRenderFactory.h"

class CView;
class IObject;
class MDataBase;
class MMainFrame;
class MOperation;
class MStreamUndoIn;
class MStreamUndoOut;
class MTransformRepositoryEx;
class UIMouseHandler;

namespace Ostrum::Undo {
class Manager;
class Transaction;
}  // namespace Ostrum::Undo
namespace Ostrum {
class IOldApplicationController;
class MApplicationController;
}  // namespace Ostrum
class MOperationState;

/// The document's base: a document with a command chain of its own (commands reach it through
/// the application's chain first).
using MDocumentBase = MFCA::CmdMessageTarget<CDocument, MFCA::CmdMessageHandlerChain>;

class OSTRUM_API MDocument : public MDocumentBase {
  DECLARE_DYNCREATE(MDocument)

 public:
  /// Result of _SaveDocument.
  enum EResultIO : int32_t {
    RESULT_IO_FAILED = 0,         ///< failed; the user is told
    RESULT_IO_OK = 1,             ///< saved
    RESULT_IO_QUIET_FAILURE = 2,  ///< failed, and the host has dealt with it
  };

  /// The host's old mouse-state interface, kept alive through the document: each call goes to
  /// the controller the host set (nothing without one).
  class OSTRUM_API MouseCompatibilityProvider {
   public:
    MouseCompatibilityProvider() = default;
    MouseCompatibilityProvider(const MouseCompatibilityProvider&) = delete;
    MouseCompatibilityProvider& operator=(const MouseCompatibilityProvider&) = delete;
    ~MouseCompatibilityProvider();
    /// Deletes the one held and keeps `controller` (owned).
    void SetOldApplicationController(Ostrum::IOldApplicationController* controller);
    Ostrum::IOldApplicationController* GetOldApplicationController() const { return m_controller; }
    UIMouseHandler* GetMouseHandler();
    /// Forwards; then posts a MouseSelectNotification with the current state on the default
    /// notification center (null sender), whatever the answer.
    bool SelectMouseState(MOperationState* state);
    bool RevertMouseState();
    uint32_t GetCurrentMouseState() const;
    void MatchMouseStateToDatabase();
    void DetachObjectFromMouse(MOperation* operation);

   private:
    void _Notify() const;
    Ostrum::IOldApplicationController* m_controller = nullptr;
  };

  /// Posted after the old interface selected or reverted a mouse state.
  class OSTRUM_API MouseSelectNotification {
   public:
    explicit MouseSelectNotification(unsigned int mouse_id) : m_mouse_id(mouse_id) {}
    unsigned int GetMouseID() const { return m_mouse_id; }

   private:
    unsigned int m_mouse_id;
  };

  /// The document's share of the operation machinery: the doer that runs one DoOperation and
  /// the undo action that replays an operation.
  struct _UndoRedo {
    class OperationDoer;
    class OperationWrapper;
    class UndoFiles;
  };

  /// Clears the active document if it is this one.
  ~MDocument() override;

  /// A command for the document: the application's command chain sees it first, then the
  /// document's own chain, then its message map.
  BOOL OnCmdMsg(UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info) override;

  // --- virtual operations, in their slot order ---

  /// Not supported: answers false and does nothing.
  virtual bool GoToOperation(int32_t index, bool flag);
  /// Runs `operation` through the pipeline and answers its result. Takes ownership whatever
  /// the way out: the caller must not touch the operation after the call. `param` is opaque
  /// and reaches the frame and the views.
  virtual bool DoOperation(MOperation* operation, void* param);
  /// Undoes the newest step. False without an undo manager, and when the step cannot go ahead
  /// (its redo state cannot be written within the disk budget, or a file of it is no longer
  /// the one written): document and history then stay as they were, and the call can be
  /// tried again once the fault is gone. True otherwise, also with nothing to undo.
  virtual bool UndoOperation();
  /// Not supported: answers false and does nothing.
  virtual bool PurgeUndoStack();
  /// Redoes the newest undone step; false without an undo manager, and when a redo file is no
  /// longer the one written (document and history then stay as they were).
  virtual bool RedoOperation();
  /// Sends `operation` to the main frame and the views as its flags ask; the third argument
  /// is not looked at. Nothing happens without a main frame.
  virtual void DoUpdateUI(MOperation* operation, void* param, uint32_t unused);
  /// Empty hook.
  virtual void CleanUpObjectList();
  /// Has every object of the database free its render buffers.
  virtual void DestroyAllRenderOptimisations();
  /// The mouse handler of the document, null while it has none.
  virtual UIMouseHandler* GetMouseHandler() { return m_mouse_handler; }

  // --- life ---

  /// Makes the contents: the history emptied, a mouse handler, the host's contents (and its
  /// database, initialised), a first view operation that resets the cameras, then the
  /// notification "created" (action 50). 0 if the host's contents could not be made.
  virtual int CreateContents();
  /// Empties the document: "closing" (51) first, the host's contents, the history, the mouse
  /// handler, the database's objects, the title "Untitled", then "closed" (52).
  void DeleteContents() override;
  /// A new document: the platform's, then CreateContents. 0 on failure.
  int OnNewDocument() override;
  /// Opens `path`: refused (with the message of text 381) when it does not exist; otherwise
  /// new contents, the host's load under the loading flag with the undo history locked, and
  /// "opened" (53) with every live object. 0 on failure.
  int OnOpenDocument(const wchar_t* path) override;
  /// Saves to `path` through the host's _SaveDocument: "saving" (56), then on success "saved"
  /// (54) and the modified mark cleared; a failure shows text 382 unless the host did.
  int OnSaveDocument(const wchar_t* path) override;

 protected:
  /// Makes the host's contents (the database); true by default.
  virtual bool _CreateContents() { return true; }
  /// Frees the host's contents; empty by default.
  virtual void _DeleteContents() {}
  /// Writes the document; RESULT_IO_OK by default.
  virtual EResultIO _SaveDocument(const wchar_t* path);
  /// Reads the document; true by default.
  virtual bool _LoadDocument(const wchar_t* path);
  /// The document's share of doing: turns the stock actions into database calls. True.
  virtual bool _DoOperation(MOperation* operation);
  /// The document's share of undoing; `action` is the action the operation had when done,
  /// the operation's own action field then holding the inverse. True.
  virtual bool _UndoOperation(uint32_t action, MOperation* operation);
  /// The document's share of redoing. True.
  virtual bool _RedoOperation(MOperation* operation);
  /// The document's share of preparing; false cancels the operation.
  virtual bool _PrepareOperation(MOperation* operation);
  /// Writes the undo state of the operation's objects: the operation's own _SaveState.
  virtual void _SaveState(MOperation* operation, MStreamUndoOut& out);
  /// Reads the undo state back: the operation's own _LoadState.
  virtual void _LoadState(MOperation* operation, MStreamUndoIn& in);
  /// Selects the renderer `type` (unless it is the current one and not `force`), keeping the
  /// objects' render buffers only between the hardware and software renderers, and tells the
  /// windows to make their surfaces anew (view action 212). A type that cannot be selected
  /// falls back to the current one, then to the hardware one. True if `type` was selected at
  /// the first attempt; false with nothing changed if no renderer could be.
  virtual bool _SwitchRenderer(ERenderType type, bool force);

 public:
  /// Sets the title, with one "*" appended while the document is modified. It does not look
  /// for a mark already there: each refresh of a modified title adds one more.
  void SetTitle(const wchar_t* title) override;

  // --- undo ---

  /// The document's undo manager, owned by the document; null while there is none.
  Ostrum::Undo::Manager* GetUndoManager() { return m_undo_manager; }
  /// Empties the undo history; true.
  bool CleanUpUndoHandler();
  /// True while the undo manager undoes or redoes.
  bool IsUndoRedo() const;

  // --- groups and temporary operations ---

  /// Begins a group of operations that undo as one step; -1 if `no_group` or no group can
  /// be begun. End it with EndOperationGroup, AbortOperationGroup or KillOperationGroup.
  long long BeginOperationGroup(const wchar_t* name, bool no_group);
  /// Commits the group; sets `handle` to -1 first. False for the handle -1.
  bool EndOperationGroup(long long& handle);
  /// Rolls the group back; sets `handle` to -1 first. False for the handle -1.
  bool AbortOperationGroup(long long& handle);
  /// Terminates the group; sets `handle` to -1 first. False for the handle -1.
  bool KillOperationGroup(long long& handle);
  /// Begins a group tagged with `key` (in lower-case hexadecimal) so that its steps can be
  /// removed together by RemoveTemporaryOperations(key).
  long long BeginTemporaryOperationGroup(const wchar_t* name, uint32_t key, bool no_group);
  /// A new key for temporary operations; the first is 1.
  static uint32_t GetUniqueTemporaryOperationKey();
  /// Takes every undo and redo step that names `object` out of the history.
  void RemoveAllOperationsForObject(const IObject* object);
  /// Takes every undo and redo step of the temporary `key` out of the history.
  void RemoveTemporaryOperations(uint32_t key);

  // --- locks and state ---

  MLocker::Counter& GetWndLockCounter() { return m_wnd_lock; }
  bool IsWndLocked() const { return m_wnd_lock.IsLocked(); }
  /// While held (by an MLocker), operations leave no undo entry.
  MLocker::Counter& GetUndoLockCounter() { return m_undo_lock; }
  bool IsUndoLocked() const { return m_undo_lock.IsLocked(); }
  /// True after a successful load or save; only a loaded document gets the modified mark.
  bool IsDocLoaded() const { return m_doc_loaded; }

  // --- statics ---

  /// The active document: the one constructed last and not yet destroyed.
  static MDocument* GetActiveDocument() { return mgp_doc_instance; }
  /// The main frame of this thread's main window, or null.
  static MMainFrame* GetMainFrame();
  /// The main frame's active view, or null.
  static CView* GetActiveView();
  static MDataBase* GetDataBase() { return mgp_database; }
  /// The process-wide repository of coordinate systems, made by the document's constructor
  /// and deleted by its destructor; null when there is none.
  static MTransformRepositoryEx* GetTransformRep();
  /// Budget in bytes of the undo and redo files of each document's history; 104857600 by
  /// default. Before a step writes a file, the oldest steps go until the files on disk fit
  /// in it, so the disk never holds more than the budget plus the step being written.
  static long long GetUndoDiskSpace() { return m_undo_disk_space; }
  static void SetUndoDiskSpace(long long bytes) { m_undo_disk_space = bytes; }

  static MDocument* mgp_doc_instance;
  static MDataBase* mgp_database;
  static long long m_undo_disk_space;

 protected:
  /// Becomes the active document and the document of all operations.
  MDocument();
  MDocument(const MDocument&) = delete;
  MDocument& operator=(const MDocument&) = delete;

  /// Sets the database of the document; the host calls it from _CreateContents.
  static void _SetDataBasePointer(MDataBase* database) { mgp_database = database; }
  /// Observers of the operation's objects get Update, each once, over a copy.
  void _UpdateObservers(const MOperation& operation);
  /// Begins the undo transaction of a group under `tag`; -1 if `no_group` or there is no undo
  /// manager.
  long long _BeginOperationGroup(const wchar_t* name, const char* tag, bool no_group);
  /// Sets the modified mark (and refreshes the title) for an operation that changes the
  /// document, when the document tracks changes (it was loaded or saved).
  void _MarkModified(const MOperation& operation);

  MouseCompatibilityProvider& _GetMouseCompatibilityProvider() { return m_mouse_compatibility; }
  const MouseCompatibilityProvider& _GetMouseCompatibilityProvider() const { return m_mouse_compatibility; }

  MouseCompatibilityProvider m_mouse_compatibility;
  bool m_doc_loaded = false;

 private:
  friend class Ostrum::MApplicationController;
  /// The way on from the application's chain: the document's own chain and routing.
  BOOL _OnCmdMsgBase(UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info) {
    return MDocumentBase::OnCmdMsg(id, code, extra, info);
  }

  /// Takes back a run of the undo manager in which a step could not go ahead: the group is
  /// performed the other way, so that document and history are as before. False if there was
  /// nothing to take back; an undo run when `undo`.
  OSTRUM_LOCAL bool _TakeBackFailedRun(bool undo);

  Ostrum::Undo::Manager* m_undo_manager = nullptr;
  std::shared_ptr<_UndoRedo::UndoFiles> m_undo_files;
  UIMouseHandler* m_mouse_handler = nullptr;
  ERenderType m_render_type;
  MLocker::Counter m_wnd_lock;
  MLocker::Counter m_undo_lock;

  static uint32_t mg_temporary_key;
  static uint32_t mg_living_documents;
};
