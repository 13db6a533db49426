#include "ostrum/foundation/platform/ThreadLocalSlots.h"

#include <array>
#include <atomic>
#include <mutex>
#include <vector>

#include "ostrum/foundation/platform/LastError.h"

namespace {

constexpr DWORD kSlotCount = TLS_MINIMUM_AVAILABLE + 1024;

// Each slot carries a generation that TlsFree advances. A thread's value remembers the
// generation it was stored under, so a value left behind by a freed slot is not seen through a
// later allocation of the same index, without visiting every thread's storage.
struct SlotDirectory {
  std::mutex mutex;  // serialises allocation and release
  std::array<std::atomic<bool>, kSlotCount> in_use{};
  std::array<std::atomic<uint32_t>, kSlotCount> generation{};
};

SlotDirectory& Directory() {
  // Never destroyed: slots may be used by static objects' destructors at exit.
  static SlotDirectory* directory = new SlotDirectory;
  return *directory;
}

struct ThreadValue {
  void* value = nullptr;
  uint32_t generation = 0;
};

thread_local std::vector<ThreadValue> t_values;

bool IsAllocated(DWORD index) {
  return index < kSlotCount && Directory().in_use[index].load(std::memory_order_acquire);
}

}  // namespace

DWORD TlsAlloc() {
  SlotDirectory& directory = Directory();
  std::lock_guard<std::mutex> lock(directory.mutex);
  for (DWORD index = 0; index < kSlotCount; ++index) {
    if (!directory.in_use[index].load(std::memory_order_relaxed)) {
      directory.in_use[index].store(true, std::memory_order_release);
      return index;
    }
  }
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return TLS_OUT_OF_INDEXES;
}

BOOL TlsFree(DWORD index) {
  SlotDirectory& directory = Directory();
  std::lock_guard<std::mutex> lock(directory.mutex);
  if (!IsAllocated(index)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  directory.generation[index].fetch_add(1, std::memory_order_acq_rel);
  directory.in_use[index].store(false, std::memory_order_release);
  return TRUE;
}

LPVOID TlsGetValue(DWORD index) {
  if (!IsAllocated(index)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  SetLastError(ERROR_SUCCESS);
  if (index >= t_values.size()) return nullptr;
  const ThreadValue& slot = t_values[index];
  return slot.generation == Directory().generation[index].load(std::memory_order_acquire) ? slot.value
                                                                                           : nullptr;
}

BOOL TlsSetValue(DWORD index, LPVOID value) {
  if (!IsAllocated(index)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (index >= t_values.size()) t_values.resize(index + 1);
  t_values[index] = {value, Directory().generation[index].load(std::memory_order_acquire)};
  return TRUE;
}
