// MUndoHandler's process-wide settings and its blocks. What handles operations (and asks the
// document to clean up) is compiled with the document, in document/MUndoHandlerBlocks.cpp.

#include "ostrum/undo/MUndoHandler.h"

#include <utility>

// Constant-initialised, so a static object of the host that sets them while the program starts
// finds them already made.
constinit MFileName MUndoHandler::mg_temp_directory;
constinit uint64_t MUndoHandler::mg_undo_disk_space = 10000000;
constinit MUndoHandler::Mode MUndoHandler::mg_mode_default = MUndoHandler::ModeSharedDirectory;
constinit int32_t MUndoHandler::m_unique_group_id = 0;
constinit uint32_t MUndoHandler::m_unique_temporary_operation_key = 0;

MFileName const& MUndoHandler::GetUndoTempDir() { return mg_temp_directory; }

void MUndoHandler::SetUndoTempDir(wchar_t const* path) { mg_temp_directory.SET(path, true); }

uint32_t MUndoHandler::GetUniqueTemporaryOperationKey() { return m_unique_temporary_operation_key++; }

MUndoHandler::MUndoBlock::MUndoBlock(const MUndoBlock& other) { *this = other; }

MUndoHandler::MUndoBlock& MUndoHandler::MUndoBlock::operator=(const MUndoBlock& other) {
  if (this == &other) return *this;
  std::wstring* message = other.m_group_message ? new std::wstring(*other.m_group_message) : nullptr;
  delete m_group_message;
  m_delete_files = other.m_delete_files;
  m_begin_group = other.m_begin_group;
  m_end_group = other.m_end_group;
  m_group_id = other.m_group_id;
  m_temporary_key = other.m_temporary_key;
  m_undoable = other.m_undoable;
  m_operation = other.m_operation;
  m_undo_filename = other.m_undo_filename;
  m_redo_filename = other.m_redo_filename;
  m_group_message = message;
  m_undo_size = other.m_undo_size;
  m_redo_size = other.m_redo_size;
  m_undo_identity = other.m_undo_identity;
  m_redo_identity = other.m_redo_identity;
  return *this;
}

MUndoHandler::MUndoBlock::MUndoBlock(MUndoBlock&& other) noexcept { *this = std::move(other); }

MUndoHandler::MUndoBlock& MUndoHandler::MUndoBlock::operator=(MUndoBlock&& other) noexcept {
  if (this == &other) return *this;
  if (m_delete_files) {
    m_undo_filename.REMOVE();
    m_redo_filename.REMOVE();
  }
  delete m_group_message;
  m_delete_files = other.m_delete_files;
  m_begin_group = other.m_begin_group;
  m_end_group = other.m_end_group;
  m_group_id = other.m_group_id;
  m_temporary_key = other.m_temporary_key;
  m_undoable = other.m_undoable;
  m_operation = other.m_operation;
  m_undo_filename = other.m_undo_filename;
  m_redo_filename = other.m_redo_filename;
  m_group_message = std::exchange(other.m_group_message, nullptr);
  m_undo_size = other.m_undo_size;
  m_redo_size = other.m_redo_size;
  m_undo_identity = other.m_undo_identity;
  m_redo_identity = other.m_redo_identity;
  // A move is no copy: the files belong to the new place alone.
  other.m_delete_files = false;
  return *this;
}

MUndoHandler::MUndoBlock::~MUndoBlock() {
  if (m_delete_files) {
    m_undo_filename.REMOVE();
    m_redo_filename.REMOVE();
  }
  delete m_group_message;
}
