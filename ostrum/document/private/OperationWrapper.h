#pragma once
// The undo action of one operation: it owns the operation and the two temporary files that hold
// the state of its objects before it was done (the undo file) and before it was undone (the redo
// file). Undo and redo replay the operation through the document; the history itself is the
// document's undo manager, whose stacks the wrapper moves between.

#include <cstdint>
#include <memory>

#include "ostrum/action/IAction.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/MFileName.h"

class OSTRUM_LOCAL MDocument::_UndoRedo::OperationWrapper : public Ostrum::IAction {
 public:
  /// Starts in the done state (the next perform is an undo) and owns `operation` from now on;
  /// its files are accounted in `files`.
  OperationWrapper(MDocument* document, MOperation* operation, std::shared_ptr<UndoFiles> files);
  OperationWrapper(const OperationWrapper&) = delete;
  OperationWrapper& operator=(const OperationWrapper&) = delete;

  MOperation* GetOperation() const { return m_operation; }
  const MFileName& GetUndoFile() const { return m_undo_file; }
  const MFileName& GetRedoFile() const { return m_redo_file; }
  uint32_t GetUndoSize() const { return m_undo_size; }
  uint32_t GetRedoSize() const { return m_redo_size; }
  /// Bytes of both files on disk.
  int64_t GetDiskBytes() const { return int64_t{m_undo_size} + m_redo_size; }

  /// Creates the undo file in the undo directory and writes the objects' state into it (none
  /// for a reversible operation or action 0). False if the file cannot be created or written.
  bool StoreUndoState();
  /// Removes both files now: the step has left the history for good, though the wrapper is
  /// disposed of only at idle time.
  void ReleaseFiles();
  /// Linked into the undo history's disposal: releases the files of a wrapper that leaves it.
  static void OnLeftHistory(Ostrum::IAction* action);

 protected:
  /// Deletes the operation and removes both files.
  ~OperationWrapper() override;
  /// Undo or redo by turns; then back onto the manager (to the other stack), or disposed of
  /// while registration is disabled. A step that cannot go ahead changes nothing, stays as it
  /// was (it is passed over when its run is taken back) and marks its run as failed; the later
  /// steps of that run are passed over too.
  void _Perform() override;

 private:
  /// Makes a state file `prefix`[tag]…".tmp" in the undo directory, writes the objects' state
  /// into it when `with_state`, and records what was written. False, with `name` left empty,
  /// when the file could not be made or written whole.
  bool _WriteStateFile(MFileName& name, MFileIdentity& identity, uint32_t& size, const wchar_t* prefix,
                       bool with_state);
  void _RemoveFile(MFileName& name, MFileIdentity& identity, uint32_t& size);
  /// Loads the objects' state from a state file that is still the one written; false if it is
  /// not, or if the file ended before the state did.
  bool _LoadState(const MFileName& name, const MFileIdentity& identity);
  /// The undo step; false if it could not go ahead, the document being as before.
  bool _Undo();
  /// The redo step; false if it could not go ahead, the document being as before.
  bool _Redo();
  /// Modified mark, observers and windows after an undo or a redo.
  void _Publish();

  MDocument* m_document;
  bool m_undo_next = true;
  MOperation* m_operation;
  MFileName m_undo_file;
  MFileName m_redo_file;
  uint32_t m_undo_size = 0;
  uint32_t m_redo_size = 0;
  MFileIdentity m_undo_identity;
  MFileIdentity m_redo_identity;
  std::shared_ptr<UndoFiles> m_files;
  // Passed over in a run that failed: the next perform (the run taken back) does nothing either.
  bool m_skip_next = false;
};
