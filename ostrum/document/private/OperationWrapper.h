#pragma once
// The undo action of one operation: it owns the operation and the two temporary files that hold
// the state of its objects before it was done (the undo file) and before it was undone (the redo
// file). Undo and redo replay the operation through the document; the history itself is the
// document's undo manager, whose stacks the wrapper moves between.

#include <cstdint>

#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/core/MFileName.h"
#include "ostrum/action/IAction.h"

class OSTRUM_LOCAL MDocument::_UndoRedo::OperationWrapper : public Ostrum::IAction {
 public:
  /// Starts in the done state (the next perform is an undo) and owns `operation` from now on.
  OperationWrapper(MDocument* document, MOperation* operation);
  OperationWrapper(const OperationWrapper&) = delete;
  OperationWrapper& operator=(const OperationWrapper&) = delete;

  MOperation* GetOperation() const { return m_operation; }
  const MFileName& GetUndoFile() const { return m_undo_file; }
  const MFileName& GetRedoFile() const { return m_redo_file; }
  uint32_t GetUndoSize() const { return m_undo_size; }
  uint32_t GetRedoSize() const { return m_redo_size; }

  /// Creates the undo file in the undo directory and writes the objects' state into it (none
  /// for a reversible operation or action 0). False if the file cannot be created or opened.
  bool StoreUndoState();


 protected:
  /// Deletes the operation and removes both files.
  ~OperationWrapper() override;
  /// Undo or redo by turns; then back onto the manager (to the other stack), or disposed of
  /// while registration is disabled.
  void _Perform() override;

 private:
  /// Makes a state file `prefix`…".tmp" in the undo directory, writes the objects' state into
  /// it when `with_state`, and takes its size. False, with `name` left empty, when the file
  /// could not be made or written whole.
  bool _WriteStateFile(MFileName& name, uint32_t& size, const wchar_t* prefix, bool with_state);
  void _Undo();
  void _Redo();
  /// Modified mark, observers and windows after an undo or a redo.
  void _Publish();

  MDocument* m_document;
  bool m_undo_next = true;
  MOperation* m_operation;
  MFileName m_undo_file;
  MFileName m_redo_file;
  uint32_t m_undo_size = 0;
  uint32_t m_redo_size = 0;
};
