#include "ostrum/foundation/platform/ThreadLocalSlots.h"

#include <array>
#include <atomic>
#include <mutex>
#include <type_traits>
#include <vector>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/private/LastErrorSlot.h"
#include "ostrum/foundation/platform/private/StaticThreadLocal.h"

using Ostrum::Desktop::Private::t_last_error;

namespace {

constexpr DWORD kSlotCount = TLS_MINIMUM_AVAILABLE + 1024;

// Each slot has a state word: bit 0 says it is allocated, the bits above count its releases.
// A thread's value remembers the state it was stored under, so a value left behind by a freed
// slot is not seen through a later allocation of the same index, without visiting every
// thread's storage; and reading a value costs one load of the state.
struct SlotDirectory {
  std::mutex mutex;  // serialises allocation and release
  std::array<std::atomic<uint32_t>, kSlotCount> state{};
};

// Constant-initialised and trivially destructible: usable from any static constructor or
// destructor of the library, whatever the order.
constinit SlotDirectory g_directory;
static_assert(std::is_trivially_destructible_v<SlotDirectory>);

constexpr uint32_t kAllocated = 1;

struct ThreadValue {
  void* value = nullptr;
  uint32_t state = 0;
};

// The calling thread's values. A plain pointer, so that reading it is one load; the vector is
// made by the thread's first TlsSetValue and freed when the thread ends.
OSTRUM_STATIC_TLS thread_local std::vector<ThreadValue>* t_values = nullptr;

struct ValuesOwner {
  ~ValuesOwner() {
    delete t_values;
    t_values = nullptr;
  }
};

std::vector<ThreadValue>& ThreadValues() {
  if (!t_values) {
    thread_local ValuesOwner owner;
    (void)owner;
    t_values = new std::vector<ThreadValue>;
  }
  return *t_values;
}

// The slot's state if it is allocated, 0 otherwise (with the last error set).
uint32_t AllocatedState(DWORD index) {
  const uint32_t state = index < kSlotCount ? g_directory.state[index].load(std::memory_order_acquire) : 0;
  if (state & kAllocated) return state;
  t_last_error = ERROR_INVALID_PARAMETER;
  return 0;
}

}  // namespace

DWORD TlsAlloc() {
  std::lock_guard<std::mutex> lock(g_directory.mutex);
  for (DWORD index = 0; index < kSlotCount; ++index) {
    const uint32_t state = g_directory.state[index].load(std::memory_order_relaxed);
    if (!(state & kAllocated)) {
      g_directory.state[index].store(state | kAllocated, std::memory_order_release);
      return index;
    }
  }
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return TLS_OUT_OF_INDEXES;
}

BOOL TlsFree(DWORD index) {
  std::lock_guard<std::mutex> lock(g_directory.mutex);
  const uint32_t state = AllocatedState(index);
  if (!state) return FALSE;
  // Free, and one release further: values stored under the old state no longer match.
  g_directory.state[index].store((state & ~kAllocated) + 2, std::memory_order_release);
  return TRUE;
}

LPVOID TlsGetValue(DWORD index) {
  const uint32_t state = AllocatedState(index);
  if (!state) return nullptr;
  t_last_error = ERROR_SUCCESS;
  const std::vector<ThreadValue>* values = t_values;
  if (!values || index >= values->size()) return nullptr;
  const ThreadValue& slot = (*values)[index];
  return slot.state == state ? slot.value : nullptr;
}

BOOL TlsSetValue(DWORD index, LPVOID value) {
  const uint32_t state = AllocatedState(index);
  if (!state) return FALSE;
  std::vector<ThreadValue>& values = ThreadValues();
  if (index >= values.size()) values.resize(index + 1);
  values[index] = {value, state};
  return TRUE;
}
