// MUndoHandler's list of blocks. Compiled with the document: the list deletes operations and
// asks its document to clean up its objects, both above the undo module.

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/platform/DebugOutput.h"
#include "ostrum/objects/IObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MUndoHandler.h"
#include "ostrum/undo/private/UndoDirectory.h"

using Ostrum::Undo::Private::UndoDirectory;

namespace {

// How many lists hold each operation that a copied handler shares with its original; an
// operation held by one list only is not in the table.
std::unordered_map<MOperation*, int>& SharedOperations() {
  static auto* table = new std::unordered_map<MOperation*, int>;
  return *table;
}

void HoldOperation(MOperation* operation) {
  if (operation) ++SharedOperations()[operation];
}

bool ListsOperation(const MOperation* operation, const IObject* object) {
  if (!operation) return false;
  const auto& objects = operation->GetObjectList();
  return std::find(objects.begin(), objects.end(), object) != objects.end();
}

std::wstring ActionString(MOperation* operation) {
  const wchar_t* text = operation ? operation->GetActionString() : nullptr;
  return text ? text : L"";
}

}  // namespace

void MUndoHandler::_ReleaseOperation(MOperation* operation) {
  if (!operation) return;
  auto& shared = SharedOperations();
  auto it = shared.find(operation);
  if (it != shared.end() && --it->second > 0) return;
  if (it != shared.end()) shared.erase(it);
  delete operation;
}

// ---- construction ----

MUndoHandler::MUndoHandler(MDocument* document, Mode mode)
    : m_mode(mode == ModeDefault ? mg_mode_default : mode), m_document(document) {
  if (m_mode != ModeSharedDirectory) {
    _CleanUpTempDirectoryEx();
    _UpdateTempDirectory();
  } else {
    _CleanUpTempDirectory();
  }
}

MUndoHandler::MUndoHandler(const MUndoHandler& other)
    : m_mode(other.m_mode),
      m_temp_directory(other.m_temp_directory),
      m_blocks(other.m_blocks),
      m_position(other.m_position),
      m_objects_to_remove(other.m_objects_to_remove),
      m_document(other.m_document) {
  for (MUndoBlock& block : m_blocks) {
    // The first copy of an operation counts its original list as a holder too.
    if (block.m_operation && !SharedOperations().count(block.m_operation)) HoldOperation(block.m_operation);
    HoldOperation(block.m_operation);
    if (block.m_delete_files) block._ShareFiles();
  }
}

MUndoHandler& MUndoHandler::operator=(const MUndoHandler& other) {
  if (this == &other) return *this;
  MUndoHandler copy(other);
  for (MUndoBlock& block : m_blocks) _ReleaseOperation(block.m_operation);
  m_mode = copy.m_mode;
  m_temp_directory = copy.m_temp_directory;
  m_blocks = std::move(copy.m_blocks);
  copy.m_blocks.clear();
  m_position = copy.m_position;
  m_objects_to_remove = copy.m_objects_to_remove;
  m_document = copy.m_document;
  return *this;
}

MUndoHandler::~MUndoHandler() {
  if (m_saving_block) {
    _ReleaseOperation(m_saving_block->m_operation);
    delete m_saving_block;  // and its file
  }
  for (MUndoBlock& block : m_blocks) _ReleaseOperation(block.m_operation);
  m_blocks.clear();
  if (m_mode == ModeProcessDirectory) MFileName(m_temp_directory.GET_DRIVE_DIR_PARTS(false)).REMOVE();
}

// ---- directories ----

std::wstring MUndoHandler::_TempDirectory() const {
  return (m_mode != ModeSharedDirectory ? m_temp_directory : mg_temp_directory).GET_DRIVE_DIR_PARTS(true);
}

void MUndoHandler::_UpdateTempDirectory() {
  // The process's own directory is the one that holds its lock in the undo directory; taking
  // the lock makes it.
  if (UndoDirectory* directory = UndoDirectory::ForSetting(mg_temp_directory.GET_PATH()))
    m_temp_directory.SET(directory->GetProcessDirectory(), false);
  else
    OutputDebugStringW(L"Ostrum: the undo handler's process directory cannot be made");
}

bool MUndoHandler::_CleanUpTempDirectory() {
  const std::wstring directory = mg_temp_directory.GET_DRIVE_DIR_PARTS(true);
  const bool undo = UndoDirectory::RemoveAllFiles(directory, L"~varn_undo");
  const bool redo = UndoDirectory::RemoveAllFiles(directory, L"~varn_redo");
  return undo || redo;
}

bool MUndoHandler::_CleanUpTempDirectoryEx() {
  // Taking the directory into use sweeps it; a directory already in use is swept again.
  if (UndoDirectory* directory = UndoDirectory::ForSetting(mg_temp_directory.GET_PATH()))
    directory->SweepDeadProcesses();
  return true;
}

bool MUndoHandler::_MakeFile(MFile& file, MFileName& name, wchar_t const* prefix) const {
  UndoDirectory* directory = UndoDirectory::ForSetting(mg_temp_directory.GET_PATH());
  if (!directory) return false;
  if (m_mode == ModeProcessDirectory) return directory->MakeProcessFile(file, name, prefix);
  return directory->MakeFile(file, name, prefix);
}

// ---- saving and loading ----

bool MUndoHandler::BeginSavingUndoBlock(MOperation* operation, MFile& file) {
  // 1. A repeat of an operation to be undone once replaces the last one's operation.
  if (operation && operation->ShouldUndoOnce() && m_position >= 1) {
    MUndoBlock& last = m_blocks[static_cast<size_t>(m_position - 1)];
    if (last.m_operation && last.m_operation->IsEqual(*operation)) {
      _ReleaseOperation(last.m_operation);
      last.m_operation = operation;
      return false;
    }
  }
  // 2, 3.
  _LimitUndoToMaxSize();
  PurgeUndoStack();
  // 4, 5. An unfinished block of an earlier begin goes with its file.
  if (m_saving_block) {
    _ReleaseOperation(m_saving_block->m_operation);
    delete m_saving_block;
  }
  m_saving_block = new MUndoBlock;
  m_saving_block->m_operation = operation;
  return _MakeFile(file, m_saving_block->m_undo_filename, L"~varn_undo");
}

bool MUndoHandler::EndSavingUndoBlock(MFile& file) {
  if (!m_saving_block) return false;
  MUndoBlock* block = std::exchange(m_saving_block, nullptr);
  if (!file.CLOSE(block->m_undo_identity)) {
    // Cut short (a full disk): no block holds half a state. The operation goes with it.
    _ReleaseOperation(block->m_operation);
    delete block;
    return false;
  }
  block->m_undo_size = static_cast<uint32_t>(block->m_undo_identity.size);
  m_blocks.push_back(std::move(*block));
  delete block;
  return true;
}

MOperation* MUndoHandler::BeginSavingRedoBlock(MFile& file) {
  if (m_position < 0 || m_position >= GetNumUndoBlocks()) return nullptr;
  MUndoBlock& block = m_blocks[static_cast<size_t>(m_position)];
  if (!block.m_redo_filename.IS_EMPTY() || !block.m_operation) return nullptr;
  if (!_MakeFile(file, block.m_redo_filename, L"~varn_redo")) return nullptr;
  return block.m_operation;
}

bool MUndoHandler::EndSavingRedoBlock(MFile& file) {
  if (m_position < 0 || m_position >= GetNumUndoBlocks()) return file.CLOSE();
  MUndoBlock& block = m_blocks[static_cast<size_t>(m_position)];
  if (!file.CLOSE(block.m_redo_identity)) {
    block.m_redo_filename.REMOVE();
    block.m_redo_filename = MFileName();
    block.m_redo_size = 0;
    return false;
  }
  block.m_redo_size = static_cast<uint32_t>(block.m_redo_identity.size);
  return true;
}

namespace {

// The current block's operation, with its undo or redo file open in `file` if it is still the
// file written; null otherwise.
MOperation* LoadCurrent(MOperation* operation, const MUndoHandler::MUndoBlock* block, bool undo, MFile& file) {
  if (!operation) return nullptr;
  const bool opened = undo ? file.OPEN_READ(block->m_undo_filename, block->m_undo_identity)
                           : file.OPEN_READ(block->m_redo_filename, block->m_redo_identity);
  return opened ? operation : nullptr;
}

}  // namespace

MOperation* MUndoHandler::BeginLoadingUndoBlock(MFile& file) {
  MOperation* operation = GetCurrentOperation();
  return LoadCurrent(operation, operation ? &m_blocks[static_cast<size_t>(m_position)] : nullptr, true, file);
}

bool MUndoHandler::EndLoadingUndoBlock(MFile& file) { return file.CLOSE(); }

MOperation* MUndoHandler::BeginLoadingRedoBlock(MFile& file) {
  MOperation* operation = GetCurrentOperation();
  return LoadCurrent(operation, operation ? &m_blocks[static_cast<size_t>(m_position)] : nullptr, false, file);
}

bool MUndoHandler::EndLoadingRedoBlock(MFile& file) { return file.CLOSE(); }

// ---- position ----

bool MUndoHandler::IncrementListPointer() {
  ++m_position;
  return true;
}

bool MUndoHandler::DecrementListPointer() {
  if (m_position >= 0) --m_position;
  return true;
}

MOperation* MUndoHandler::GetCurrentOperation() const {
  return m_position < 0 ? nullptr : m_blocks[static_cast<size_t>(m_position)].m_operation;
}

MFileName const& MUndoHandler::GetCurrentUndoFilename() const { return GetUndoFilename(m_position); }
MFileName const& MUndoHandler::GetCurrentRedoFilename() const { return GetRedoFilename(m_position); }

// ---- blocks by index ----

MOperation* MUndoHandler::GetUndoOperation(int32_t index) const { return m_blocks[static_cast<size_t>(index)].m_operation; }
MFileName const& MUndoHandler::GetUndoFilename(int32_t index) const {
  return m_blocks[static_cast<size_t>(index)].m_undo_filename;
}
MFileName const& MUndoHandler::GetRedoFilename(int32_t index) const {
  return m_blocks[static_cast<size_t>(index)].m_redo_filename;
}
int64_t MUndoHandler::GetOperationGroupId(int32_t index) const { return m_blocks[static_cast<size_t>(index)].m_group_id; }

std::wstring MUndoHandler::GetGroupMessage(int32_t index) const {
  const std::wstring* message = m_blocks[static_cast<size_t>(index)].m_group_message;
  return message ? *message : std::wstring();
}

bool MUndoHandler::IsBeginOperationGroup(int32_t index) const { return m_blocks[static_cast<size_t>(index)].m_begin_group; }
bool MUndoHandler::IsEndOperationGroup(int32_t index) const { return m_blocks[static_cast<size_t>(index)].m_end_group; }

bool MUndoHandler::IsUndoableBeginOperationGroup(int32_t index) const {
  const MUndoBlock& block = m_blocks[static_cast<size_t>(index)];
  return block.m_begin_group && block.m_undoable;
}

bool MUndoHandler::IsGroupingOperations(int32_t index) const {
  int ends = 0;
  for (int32_t i = index; i >= 0; --i) {
    const MUndoBlock& block = m_blocks[static_cast<size_t>(i)];
    if (block.m_end_group) {
      ++ends;
    } else if (block.m_begin_group) {
      if (ends == 0) return true;
      --ends;
    }
  }
  return false;
}

bool MUndoHandler::IsOperationGroupClosed(int32_t index) const {
  const int64_t id = m_blocks[static_cast<size_t>(index)].m_group_id;
  for (size_t i = static_cast<size_t>(index) + 1; i < m_blocks.size(); ++i)
    if (m_blocks[i].m_group_id == id) return true;
  return false;
}

// ---- groups ----

int64_t MUndoHandler::BeginOperationGroup(wchar_t const* message, bool undoable) {
  PurgeUndoStack();
  MUndoBlock block;
  block.m_begin_group = true;
  block.m_group_id = m_unique_group_id++;
  block.m_group_message = message ? new std::wstring(message) : nullptr;
  block.m_undoable = undoable;
  m_blocks.push_back(std::move(block));
  ++m_position;
  return m_blocks.back().m_group_id;
}

int64_t MUndoHandler::BeginTemporaryOperationGroup(wchar_t const* message, uint32_t key, bool undoable) {
  const int64_t id = BeginOperationGroup(message, undoable);
  m_blocks.back().m_temporary_key = key;
  return id;
}

bool MUndoHandler::EndOperationGroup(int64_t& id) {
  bool needs_end_marker = true;
  if (m_position >= 0 && m_blocks[static_cast<size_t>(m_position)].m_begin_group) {
    // 1. Empty: the position steps back over the begin marker, which the next purge drops.
    --m_position;
    needs_end_marker = false;
  } else if (m_position >= 1) {
    // 2. One operation titled as the group: its block takes the begin marker's place.
    MUndoBlock& begin = m_blocks[static_cast<size_t>(m_position - 1)];
    MUndoBlock& only = m_blocks[static_cast<size_t>(m_position)];
    if (begin.m_begin_group && begin.m_group_message && only.m_operation &&
        *begin.m_group_message == ActionString(only.m_operation)) {
      begin = only;
      begin.m_delete_files = true;
      only.m_delete_files = false;
      only.m_operation = nullptr;
      --m_position;
      needs_end_marker = false;
    }
  }
  // 4, 5.
  PurgeUndoStack();
  if (needs_end_marker) {
    MUndoBlock block;
    block.m_end_group = true;
    block.m_group_id = id;
    m_blocks.push_back(std::move(block));
    ++m_position;
  }
  id = -1;
  return true;
}

int32_t MUndoHandler::GetIndexOf(int64_t id) const {
  for (size_t i = 0; i < m_blocks.size(); ++i)
    if (m_blocks[i].m_group_id == id) return static_cast<int32_t>(i);
  return -1;
}

int32_t MUndoHandler::GetIndexOf(MOperation const* operation) const {
  for (size_t i = 0; i < m_blocks.size(); ++i)
    if (m_blocks[i].m_operation == operation) return static_cast<int32_t>(i);
  return -1;
}

int32_t MUndoHandler::GetNumUndoBlocks(int64_t id) const {
  const int32_t first = GetIndexOf(id);
  if (first < 0) return 0;
  for (size_t i = static_cast<size_t>(first) + 1; i < m_blocks.size(); ++i)
    if (m_blocks[i].m_group_id == id) return static_cast<int32_t>(i) - first + 1;
  return GetNumUndoBlocks() - first;
}

bool MUndoHandler::RemoveOperationGroup(int64_t id) {
  int32_t end = -1;
  for (size_t i = 0; i < m_blocks.size(); ++i)
    if (m_blocks[i].m_end_group && m_blocks[i].m_group_id == id) end = static_cast<int32_t>(i);
  if (end < 0) return false;
  const int32_t begin = GetIndexOf(id);
  if (begin < 0 || begin > end) return false;
  for (int32_t i = end; i >= begin; --i) _EraseBlock(i);
  const int32_t length = end - begin + 1;
  if (m_position > end)
    m_position -= length;
  else if (m_position >= begin)
    m_position = begin - 1;
  _RemoveRedundantGroupBlocks();
  return true;
}

void MUndoHandler::_EraseBlock(int32_t index) {
  _ReleaseOperation(m_blocks[static_cast<size_t>(index)].m_operation);
  m_blocks[static_cast<size_t>(index)].m_operation = nullptr;
  m_blocks.erase(m_blocks.begin() + index);  // its files go with it
}

// ---- removal ----

bool MUndoHandler::CleanUpUndoHandler() {
  m_position = -1;
  for (MUndoBlock& block : m_blocks) _ReleaseOperation(block.m_operation);
  m_blocks.clear();
  m_unique_group_id = 0;
  m_unique_temporary_operation_key = 0;
  return true;
}

bool MUndoHandler::PurgeUndoStack() {
  if (m_blocks.empty() || m_position + 1 == GetNumUndoBlocks()) return false;
  for (int32_t i = GetNumUndoBlocks() - 1; i > m_position; --i) {
    MOperation* operation = std::exchange(m_blocks[static_cast<size_t>(i)].m_operation, nullptr);
    m_blocks.pop_back();  // its files go with it
    if (!operation) continue;
    // Objects it added, which undo has taken away again, will never come back.
    if (operation->GetAction() == MOperation::ACTION_ADD)
      for (IObject* object : operation->GetObjectList()) m_objects_to_remove.push_back(object);
    _ReleaseOperation(operation);
  }
  _CleanUpObjectList();
  return true;
}

bool MUndoHandler::RemoveCurrentUndoBlock() {
  if (m_position < 0 || m_position >= GetNumUndoBlocks()) return true;
  _EraseBlock(m_position);
  --m_position;
  return true;
}

void MUndoHandler::_CleanUpObjectList() {
  if (m_document) m_document->CleanUpObjectList();
}

template <typename Keep>
void MUndoHandler::_Filter(Keep keep) {
  std::vector<MUndoBlock> kept;
  kept.reserve(m_blocks.size());
  int32_t position = m_position;
  for (size_t i = 0; i < m_blocks.size(); ++i) {
    MUndoBlock& block = m_blocks[i];
    if (keep(i)) {
      kept.push_back(std::move(block));  // the old copy no longer removes the files
    } else {
      _ReleaseOperation(std::exchange(block.m_operation, nullptr));
      if (static_cast<int32_t>(i) <= m_position) --position;
    }
  }
  m_blocks = std::move(kept);  // the dropped blocks go, and their files with them
  m_position = position;
}

void MUndoHandler::RemoveTemporaryOperations(uint32_t key) {
  // The groups tagged with the key, from their begin markers to their end markers.
  std::vector<bool> in_tagged_group(m_blocks.size(), false);
  for (size_t i = 0; i < m_blocks.size(); ++i) {
    const MUndoBlock& begin = m_blocks[i];
    if (!begin.m_begin_group || begin.m_temporary_key != key) continue;
    for (size_t j = i; j < m_blocks.size(); ++j) {
      in_tagged_group[j] = true;
      if (j > i && m_blocks[j].m_end_group && m_blocks[j].m_group_id == begin.m_group_id) break;
    }
  }
  _Filter([&](size_t i) {
    const MOperation* operation = m_blocks[i].m_operation;
    return !in_tagged_group[i] && !(operation && operation->GetTemporaryOperationKey() == key);
  });
  _RemoveRedundantGroupBlocks();
}

void MUndoHandler::RemoveAllOperationsForObject(IObject const* object) {
  _Filter([&](size_t i) { return !ListsOperation(m_blocks[i].m_operation, object); });
  _RemoveRedundantGroupBlocks();
}

void MUndoHandler::GetOperationGroupsWithObject(std::vector<int64_t>& ids, IObject const* object) const {
  ids.clear();
  // Walks a group from its begin marker to its end marker, entering nested groups on the way;
  // answers the index after the group.
  auto walk = [&](auto& self, size_t begin) -> size_t {
    const int64_t id = m_blocks[begin].m_group_id;
    bool listed = false;
    size_t i = begin + 1;
    while (i < m_blocks.size()) {
      const MUndoBlock& block = m_blocks[i];
      if (block.m_end_group && block.m_group_id == id) {
        ++i;
        break;
      }
      if (block.m_begin_group) {
        i = self(self, i);
        continue;
      }
      if (ListsOperation(block.m_operation, object)) listed = true;
      ++i;
    }
    if (listed && std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
    return i;
  };
  for (size_t i = 0; i < m_blocks.size(); ++i)
    if (m_blocks[i].m_begin_group) walk(walk, i);
}

void MUndoHandler::_RemoveRedundantGroupBlocks() {
  for (bool changed = true; changed;) {
    changed = false;
    std::vector<bool> drop(m_blocks.size(), false);
    for (size_t i = 0; i < m_blocks.size(); ++i) {
      const MUndoBlock& block = m_blocks[i];
      if (!block.m_begin_group) continue;
      if (i + 1 < m_blocks.size() && m_blocks[i + 1].m_end_group) {
        // An empty group: both markers go.
        drop[i] = drop[i + 1] = true;
        ++i;
      } else if (i + 2 < m_blocks.size() && m_blocks[i + 2].m_end_group && !m_blocks[i + 1].m_begin_group &&
                 block.m_group_message && *block.m_group_message == ActionString(m_blocks[i + 1].m_operation) &&
                 m_blocks[i + 2].m_group_id == block.m_group_id) {
        // One operation titled as its group: the markers go, the operation stays.
        drop[i] = drop[i + 2] = true;
        i += 2;
      }
    }
    for (bool d : drop) changed |= d;
    if (changed) _Filter([&](size_t i) { return !drop[i]; });
  }
}

// ---- disk budget ----

uint64_t MUndoHandler::_GetCurrentUndoDiskSpace() const {
  uint64_t total = 0;
  for (const MUndoBlock& block : m_blocks) {
    if (!block.m_undo_filename.IS_EMPTY()) total += block.m_undo_size;
    if (!block.m_redo_filename.IS_EMPTY()) total += block.m_redo_size;
  }
  return total;
}

bool MUndoHandler::_LimitUndoToMaxSize() {
  // 1. The last block that closes a top-level step, in reach of the position.
  int depth = 0;
  int32_t last_closed = -1;
  for (int32_t i = 0; i <= m_position && i < GetNumUndoBlocks(); ++i) {
    const MUndoBlock& block = m_blocks[static_cast<size_t>(i)];
    if (block.m_begin_group) {
      ++depth;
    } else {
      if (block.m_end_group) --depth;
      if (depth == 0) last_closed = i;
    }
  }
  // 2. From the front, while over the budget with a whole step in reach, or inside a group
  // begun on the way.
  int open = 0;
  for (;;) {
    if ((_GetCurrentUndoDiskSpace() <= mg_undo_disk_space || last_closed == -1) && open <= 0) break;
    if (m_blocks.empty() || m_position == -1) break;
    MUndoBlock& front = m_blocks.front();
    if (front.m_begin_group) {
      ++open;
    } else if (front.m_end_group) {
      --open;
    } else if (front.m_operation && front.m_operation->GetAction() == MOperation::ACTION_REMOVE) {
      // Objects it removed will never come back.
      for (IObject* object : front.m_operation->GetObjectList()) m_objects_to_remove.push_back(object);
      _CleanUpObjectList();
    }
    _EraseBlock(0);
    --m_position;
    --last_closed;
  }
  return true;
}

// ---- questions ----

bool MUndoHandler::CanUndo() const {
  if (m_position < 0) return false;
  const MUndoBlock& block = m_blocks[static_cast<size_t>(m_position)];
  return block.m_begin_group ? block.m_undoable : true;
}

bool MUndoHandler::CanRedo() const { return m_position + 1 != GetNumUndoBlocks(); }

std::wstring MUndoHandler::GetOperationString(int32_t& position) const {
  if (position < 0 || position >= GetNumUndoBlocks()) return std::wstring();
  const MUndoBlock& block = m_blocks[static_cast<size_t>(position)];
  if (block.m_operation) {
    --position;
    return ActionString(block.m_operation);
  }
  if (block.m_end_group) {
    const int64_t id = block.m_group_id;
    while (position > 0 && !(m_blocks[static_cast<size_t>(position)].m_begin_group &&
                             m_blocks[static_cast<size_t>(position)].m_group_id == id))
      --position;
  }
  const MUndoBlock& at = m_blocks[static_cast<size_t>(position)];
  if (at.m_begin_group) {
    --position;
    return at.m_group_message ? *at.m_group_message : std::wstring();
  }
  return std::wstring();
}
