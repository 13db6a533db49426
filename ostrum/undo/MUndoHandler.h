#pragma once
// MUndoHandler: the older, self-contained linear undo list for a host that drives undo by
// hand: a vector of blocks (operations, and the markers that open and close groups of them),
// a position in it, and a temporary file per block and direction. It performs and reads
// nothing itself: the host saves and loads the state through the files it opens. Its
// process-wide undo directory is also where the documents' undo files go.

#include <cstdint>
#include <string>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/MFileName.h"

class IObject;
class MDocument;
class MOperation;

class OSTRUM_API MUndoHandler {
 public:
  /// Where a handler keeps its files.
  enum Mode : int32_t {
    ModeSharedDirectory = 0,   ///< directly in the undo directory
    ModeProcessDirectory = 1,  ///< in this process's own directory inside it, "VarnUndo[<pid>]/"
    ModeDefault = 2,           ///< at construction only: the process-wide default mode
  };

  /// One entry of the list: an operation with its undo and redo files, or a group marker.
  class OSTRUM_API MUndoBlock {
   public:
    MUndoBlock() = default;
    /// Copies every field; the message is copied by value. Both copies then remove the files
    /// when they go, unless one of them is told not to (m_delete_files).
    MUndoBlock(const MUndoBlock& other);
    MUndoBlock& operator=(const MUndoBlock& other);
    /// Moves the block: the source keeps its names but no longer removes the files.
    MUndoBlock(MUndoBlock&& other) noexcept;
    MUndoBlock& operator=(MUndoBlock&& other) noexcept;
    /// Removes both files if m_delete_files; deletes the message, never the operation.
    virtual ~MUndoBlock();

    bool m_delete_files = true;
    bool m_begin_group = false;
    bool m_end_group = false;
    int64_t m_group_id = -1;
    uint32_t m_temporary_key = 0xFFFFFFFF;
    bool m_undoable = true;
    /// Null for a group marker; owned by the handler, which deletes it explicitly.
    MOperation* m_operation = nullptr;
    MFileName m_undo_filename;
    MFileName m_redo_filename;
    /// The group's text, given by a begin marker; null otherwise. Owned.
    std::wstring* m_group_message = nullptr;
    uint32_t m_undo_size = 0;
    uint32_t m_redo_size = 0;
    /// What the files were when written: they are read back only if they still are.
    MFileIdentity m_undo_identity;
    MFileIdentity m_redo_identity;

    /// Counts one more list holding this block's files (a copied handler): they are removed
    /// only when the last block holding them goes.
    OSTRUM_LOCAL void _ShareFiles() const;

   private:
    OSTRUM_LOCAL void _RemoveFiles();
    /// Every field but the message.
    OSTRUM_LOCAL void _AssignFields(const MUndoBlock& other);
  };

  // --- process-wide settings ---

  /// The directory of the process's undo files, as a directory name (ending in '/'). Empty,
  /// meaning the system's temporary directory (or /var/tmp when that lies in memory), until
  /// the host sets one.
  static MFileName mg_temp_directory;
  /// Budget in bytes of the files of each handler's blocks; 10000000 by default.
  static uint64_t mg_undo_disk_space;
  /// The mode of handlers made with ModeDefault; ModeSharedDirectory by default.
  static Mode mg_mode_default;
  /// The next group id; the first is 0.
  static int32_t m_unique_group_id;
  /// The next key of GetUniqueTemporaryOperationKey; the first is 0.
  static uint32_t m_unique_temporary_operation_key;

  /// The directory of the process's undo files; empty for the default.
  static MFileName const& GetUndoTempDir();
  /// Sets the directory of undo files made from now on; null or empty means the default. A
  /// directory that other users can write to is refused unless it is sticky (the undo file
  /// cannot then be made, and the debug output says why). Not thread-safe: set it before any
  /// document does work.
  static void SetUndoTempDir(wchar_t const* path);
  static uint64_t GetUndoDiskSpace() { return mg_undo_disk_space; }
  static void SetUndoDiskSpace(uint64_t bytes) { mg_undo_disk_space = bytes; }
  static Mode GetModeDefault() { return mg_mode_default; }
  static void SetModeDefault(Mode mode) { mg_mode_default = mode; }

  // --- construction ---

  /// A handler of `document` (whose CleanUpObjectList it calls when blocks that created or
  /// removed objects go; may be null) in `mode`. In the shared directory it first removes every
  /// "~varn_undo*.tmp" and "~varn_redo*.tmp" there, whoever made them; in its own process
  /// directory it removes what dead processes left and makes the directory.
  MUndoHandler(MDocument* document, Mode mode);
  /// Copies the list; the operations are then shared and deleted by whichever handler lets
  /// go of them last.
  MUndoHandler(const MUndoHandler& other);
  MUndoHandler& operator=(const MUndoHandler& other);
  /// Deletes an unfinished block with its file and lets go of the blocks' operations; in
  /// ModeProcessDirectory it removes the process directory if it is empty.
  virtual ~MUndoHandler();

  // --- saving and loading; each `file` is the caller's ---

  /// Starts a block for `operation` (owned from now on) after dropping what lies beyond the
  /// position and trimming the list to the budget, and opens its new undo file in `file`.
  /// False if the file cannot be made; also false, without a file, when the operation is to be
  /// undone once and repeats the last one (it then replaces that one's operation).
  bool BeginSavingUndoBlock(MOperation* operation, MFile& file);
  /// Closes the file and appends the block; the caller moves the position on.
  bool EndSavingUndoBlock(MFile& file);
  /// Opens a redo file for the current block in `file` and answers its operation; null if the
  /// block has one already (redo state is written once), has no operation, or the file cannot
  /// be made.
  MOperation* BeginSavingRedoBlock(MFile& file);
  bool EndSavingRedoBlock(MFile& file);
  /// Opens the current block's undo file for reading and answers its operation; null if there
  /// is none, or if the file is no longer the one written (gone, cut short, replaced).
  MOperation* BeginLoadingUndoBlock(MFile& file);
  bool EndLoadingUndoBlock(MFile& file);
  /// As BeginLoadingUndoBlock, for the redo file.
  MOperation* BeginLoadingRedoBlock(MFile& file);
  bool EndLoadingRedoBlock(MFile& file);

  // --- position ---

  int32_t GetCurrentUndoPosition() const { return m_position; }
  /// One step on; always true, without a bound.
  bool IncrementListPointer();
  /// One step back from 0 or above; true.
  bool DecrementListPointer();
  /// The operation at the position; null below 0 (unchecked above the end).
  MOperation* GetCurrentOperation() const;
  MFileName const& GetCurrentUndoFilename() const;
  MFileName const& GetCurrentRedoFilename() const;

  // --- blocks by index (indices are not checked) ---

  int32_t GetNumUndoBlocks() const { return static_cast<int32_t>(m_blocks.size()); }
  MOperation* GetUndoOperation(int32_t index) const;
  MFileName const& GetUndoFilename(int32_t index) const;
  MFileName const& GetRedoFilename(int32_t index) const;
  int64_t GetOperationGroupId(int32_t index) const;
  /// The group's text; empty for a block without one.
  std::wstring GetGroupMessage(int32_t index) const;
  bool IsBeginOperationGroup(int32_t index) const;
  bool IsEndOperationGroup(int32_t index) const;
  /// A begin marker whose group can be undone.
  bool IsUndoableBeginOperationGroup(int32_t index) const;
  /// Whether the block lies inside a group still open at it.
  bool IsGroupingOperations(int32_t index) const;
  /// Whether a later block has the same group id.
  bool IsOperationGroupClosed(int32_t index) const;

  // --- groups ---

  /// Opens a group after dropping what lies beyond the position; answers its id.
  int64_t BeginOperationGroup(wchar_t const* message, bool undoable);
  /// As BeginOperationGroup, the group tagged with the temporary `key`.
  int64_t BeginTemporaryOperationGroup(wchar_t const* message, uint32_t key, bool undoable);
  /// Closes the group: an empty one leaves no marker, one of a single operation titled as the
  /// group leaves none either; sets `id` to -1. True.
  bool EndOperationGroup(int64_t& id);
  /// Removes a closed group with its blocks; false unless its end marker exists.
  bool RemoveOperationGroup(int64_t id);
  /// Blocks from the first with `id` up to the next with it (or the end).
  int32_t GetNumUndoBlocks(int64_t id) const;
  /// The first block of the group, -1 if none.
  int32_t GetIndexOf(int64_t id) const;
  /// The first block of the operation, -1 if none.
  int32_t GetIndexOf(MOperation const* operation) const;

  // --- removal ---

  /// Empties the list and restarts the group ids and temporary keys; true.
  bool CleanUpUndoHandler();
  /// Drops the blocks beyond the position (the redo side); false if there are none.
  bool PurgeUndoStack();
  /// Drops the block at the position and steps back; true.
  bool RemoveCurrentUndoBlock();
  /// Drops the operations of the temporary `key` and the groups tagged with it.
  void RemoveTemporaryOperations(uint32_t key);
  /// Drops the operations that name `object`, and groups left empty.
  void RemoveAllOperationsForObject(IObject const* object);
  /// The ids of the groups with an operation of their own that names `object`, each once.
  void GetOperationGroupsWithObject(std::vector<int64_t>& ids, IObject const* object) const;

  // --- objects created by dropped operations ---

  int32_t GetNumObjectsToBeRemoved() const { return static_cast<int32_t>(m_objects_to_remove.size()); }
  IObject* GetObjectToBeRemoved(int32_t index) const { return m_objects_to_remove[static_cast<size_t>(index)]; }
  void RemoveAllObjectsToBeRemoved() { m_objects_to_remove.clear(); }

  // --- questions ---

  bool CanUndo() const;
  bool CanRedo() const;
  /// The text of the step at `position`, moving `position` in front of it (see the groups).
  std::wstring GetOperationString(int32_t& position) const;
  /// A new temporary key; the first is 0.
  static uint32_t GetUniqueTemporaryOperationKey();

 protected:
  /// The directory of this handler's files.
  std::wstring _TempDirectory() const;
  /// Makes this process's own directory in the undo directory (ModeProcessDirectory).
  void _UpdateTempDirectory();
  /// Removes every "~varn_undo*.tmp", then every "~varn_redo*.tmp", of the shared directory;
  /// true if there was one.
  bool _CleanUpTempDirectory();
  /// Removes what processes that no longer run left in their own directories; true.
  bool _CleanUpTempDirectoryEx();
  /// The bytes of all blocks' files, as recorded when they were written.
  uint64_t _GetCurrentUndoDiskSpace() const;
  /// Drops blocks from the front, never stopping inside a group, while over the budget.
  bool _LimitUndoToMaxSize();
  /// Drops groups left empty or holding one operation titled as the group, until none is.
  void _RemoveRedundantGroupBlocks();

 private:
  /// Makes a new file of this handler named from `prefix` into `name` and opens it in `file`.
  OSTRUM_LOCAL bool _MakeFile(MFile& file, MFileName& name, wchar_t const* prefix) const;
  /// Lets go of a block's operation (deleted when no copy of the list holds it any more).
  OSTRUM_LOCAL static void _ReleaseOperation(MOperation* operation);
  /// Erases the block at `index`, which removes its files.
  OSTRUM_LOCAL void _EraseBlock(int32_t index);
  /// Keeps the blocks that `keep` accepts, letting go of the others' operations and moving
  /// the position back by those dropped at or before it.
  template <typename Keep>
  void _Filter(Keep keep);
  OSTRUM_LOCAL void _CleanUpObjectList();

  Mode m_mode;
  MFileName m_temp_directory;
  MUndoBlock* m_saving_block = nullptr;
  std::vector<MUndoBlock> m_blocks;
  int32_t m_position = -1;
  std::vector<IObject*> m_objects_to_remove;
  MDocument* m_document;
};
