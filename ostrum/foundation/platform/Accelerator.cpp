#include "ostrum/foundation/platform/Accelerator.h"

#include <algorithm>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "ostrum/foundation/platform/LastError.h"

namespace {

// The live tables by handle value. Handles are never reused, so a destroyed table's handle
// stays invalid for the life of the process.
struct AcceleratorTable {
  std::mutex mutex;
  std::unordered_map<uintptr_t, std::vector<ACCEL>> tables;
  uintptr_t next = 0x4000;
};

AcceleratorTable& Table() {
  static auto* table = new AcceleratorTable;  // never destroyed: handles outlive static destructors
  return *table;
}

}  // namespace

HACCEL CreateAcceleratorTableW(const ACCEL* entries, int count) {
  if (!entries || count < 1) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  AcceleratorTable& table = Table();
  std::lock_guard lock(table.mutex);
  const uintptr_t handle = table.next++;
  table.tables.emplace(handle, std::vector<ACCEL>(entries, entries + count));
  return reinterpret_cast<HACCEL>(handle);
}

int CopyAcceleratorTableW(HACCEL handle, ACCEL* entries, int count) {
  AcceleratorTable& table = Table();
  std::lock_guard lock(table.mutex);
  auto it = table.tables.find(reinterpret_cast<uintptr_t>(handle));
  if (it == table.tables.end()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  const std::vector<ACCEL>& stored = it->second;
  if (!entries) return static_cast<int>(stored.size());
  const int copied = std::clamp(count, 0, static_cast<int>(stored.size()));
  std::copy_n(stored.begin(), copied, entries);
  return copied;
}

BOOL DestroyAcceleratorTable(HACCEL handle) {
  AcceleratorTable& table = Table();
  std::lock_guard lock(table.mutex);
  if (table.tables.erase(reinterpret_cast<uintptr_t>(handle)) == 0) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return TRUE;
}
