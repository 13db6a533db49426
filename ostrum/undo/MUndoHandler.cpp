// MUndoHandler's process-wide settings and its blocks. What handles operations (and asks the
// document to clean up) is compiled with the document, in document/MUndoHandlerBlocks.cpp.

#include "ostrum/undo/MUndoHandler.h"

#include <string>
#include <unordered_map>
#include <utility>

// Constant-initialised, so a static object of the host that sets them while the program starts
// finds them already made. clang before 15 cannot make the library's wide string at compile
// time; there (only the instrumented fuzz build uses it) the name is made at start-up.
#if defined(__clang__) && __clang_major__ < 15
MFileName MUndoHandler::mg_temp_directory;
#else
constinit MFileName MUndoHandler::mg_temp_directory;
#endif
constinit uint64_t MUndoHandler::mg_undo_disk_space = 10000000;
constinit MUndoHandler::Mode MUndoHandler::mg_mode_default = MUndoHandler::ModeSharedDirectory;
constinit int32_t MUndoHandler::m_unique_group_id = 0;
constinit uint32_t MUndoHandler::m_unique_temporary_operation_key = 0;

MFileName const& MUndoHandler::GetUndoTempDir() { return mg_temp_directory; }

void MUndoHandler::SetUndoTempDir(wchar_t const* path) { mg_temp_directory.SET(path, true); }

uint32_t MUndoHandler::GetUniqueTemporaryOperationKey() { return m_unique_temporary_operation_key++; }

namespace {

// How many blocks of copied handlers hold each file; a file held by one list only is not in
// the table. Never destroyed: blocks of static handlers may go at exit.
std::unordered_map<std::wstring, int>& SharedFiles() {
  static auto* table = new std::unordered_map<std::wstring, int>;
  return *table;
}

void Share(const MFileName& name) {
  if (name.IS_EMPTY()) return;
  int& holders = SharedFiles()[name.GET_PATH()];
  holders = holders == 0 ? 2 : holders + 1;  // the first copy counts the original too
}

// Removes the file unless another list still holds it.
void Release(const MFileName& name) {
  if (name.IS_EMPTY()) return;
  auto& shared = SharedFiles();
  if (!shared.empty()) {
    auto it = shared.find(name.GET_PATH());
    if (it != shared.end()) {
      if (--it->second > 0) return;
      shared.erase(it);
    }
  }
  name.REMOVE();
}

}  // namespace

void MUndoHandler::MUndoBlock::_ShareFiles() const {
  Share(m_undo_filename);
  Share(m_redo_filename);
}

void MUndoHandler::MUndoBlock::_RemoveFiles() {
  Release(m_undo_filename);
  Release(m_redo_filename);
}

MUndoHandler::MUndoBlock::MUndoBlock(const MUndoBlock& other) { *this = other; }

void MUndoHandler::MUndoBlock::_AssignFields(const MUndoBlock& other) {
  m_delete_files = other.m_delete_files;
  m_begin_group = other.m_begin_group;
  m_end_group = other.m_end_group;
  m_group_id = other.m_group_id;
  m_temporary_key = other.m_temporary_key;
  m_undoable = other.m_undoable;
  m_operation = other.m_operation;
  m_undo_filename = other.m_undo_filename;
  m_redo_filename = other.m_redo_filename;
  m_undo_size = other.m_undo_size;
  m_redo_size = other.m_redo_size;
  m_undo_identity = other.m_undo_identity;
  m_redo_identity = other.m_redo_identity;
}

MUndoHandler::MUndoBlock& MUndoHandler::MUndoBlock::operator=(const MUndoBlock& other) {
  if (this == &other) return *this;
  std::wstring* message = other.m_group_message ? new std::wstring(*other.m_group_message) : nullptr;
  delete m_group_message;
  _AssignFields(other);
  m_group_message = message;
  return *this;
}

MUndoHandler::MUndoBlock::MUndoBlock(MUndoBlock&& other) noexcept { *this = std::move(other); }

MUndoHandler::MUndoBlock& MUndoHandler::MUndoBlock::operator=(MUndoBlock&& other) noexcept {
  if (this == &other) return *this;
  if (m_delete_files) _RemoveFiles();
  delete m_group_message;
  _AssignFields(other);
  m_group_message = std::exchange(other.m_group_message, nullptr);
  // A move is no copy: the files belong to the new place alone.
  other.m_delete_files = false;
  return *this;
}

MUndoHandler::MUndoBlock::~MUndoBlock() {
  if (m_delete_files) _RemoveFiles();
  delete m_group_message;
}
