#include "ostrum/foundation/platform/ProcessIdentity.h"

#include <unistd.h>

#include <atomic>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/private/StaticThreadLocal.h"

namespace {

// Numbers are handed out in the order threads first ask; a counter, not the system's thread id,
// because system ids come back after a thread has ended and the model keys queues by them.
std::atomic<DWORD> g_next_thread_id{1};

}  // namespace

DWORD GetCurrentThreadId() {
  OSTRUM_STATIC_TLS thread_local const DWORD id = g_next_thread_id.fetch_add(1, std::memory_order_relaxed);
  return id;
}

DWORD GetCurrentProcessId() { return static_cast<DWORD>(::getpid()); }

HMODULE GetModuleHandleW(LPCWSTR module_name) {
  if (module_name != nullptr) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  // The classic load address of a program image: any fixed non-null value would do.
  return reinterpret_cast<HMODULE>(uintptr_t{0x400000});
}
