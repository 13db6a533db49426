#include "ostrum/foundation/platform/ProcessIdentity.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <string>

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

DWORD GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD size) {
  if (!path || size == 0 || (module && module != GetModuleHandleW(nullptr))) {
    SetLastError(module ? ERROR_MOD_NOT_FOUND : ERROR_INVALID_PARAMETER);
    return 0;
  }
  char bytes[4096];
  const ssize_t length = ::readlink("/proc/self/exe", bytes, sizeof bytes - 1);
  if (length <= 0) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return 0;
  }
  // UTF-8, with each byte that is not part of a valid sequence as U+DC80 + (byte - 0x80), as the
  // framework's conversions of paths read them.
  std::wstring wide;
  for (ssize_t i = 0; i < length;) {
    const auto lead = static_cast<unsigned char>(bytes[i]);
    const int extra = lead < 0x80 ? 0 : (lead >> 5) == 6 ? 1 : (lead >> 4) == 14 ? 2 : (lead >> 3) == 30 ? 3 : -1;
    uint32_t c = extra == 0 ? lead : extra == 1 ? (lead & 0x1Fu) : extra == 2 ? (lead & 0x0Fu) : (lead & 0x07u);
    bool valid = extra >= 0 && i + extra < length;
    for (int k = 1; valid && k <= extra; ++k) {
      const auto next = static_cast<unsigned char>(bytes[i + k]);
      valid = (next & 0xC0) == 0x80;
      c = c << 6 | (next & 0x3Fu);
    }
    if (valid) valid = extra == 0 || c >= (extra == 1 ? 0x80u : extra == 2 ? 0x800u : 0x10000u);
    if (valid && c <= 0x10FFFF && !(c >= 0xD800 && c <= 0xDFFF)) {
      wide += static_cast<wchar_t>(c);
      i += extra + 1;
    } else {
      wide += static_cast<wchar_t>(0xDC00 + lead);
      ++i;
    }
  }
  const DWORD copied = static_cast<DWORD>(std::min<size_t>(wide.size(), size - 1));
  wide.copy(path, copied);
  path[copied] = L'\0';
  return copied;
}

HINSTANCE AfxGetResourceHandle() { return GetModuleHandleW(nullptr); }

HINSTANCE AfxGetInstanceHandle() { return GetModuleHandleW(nullptr); }

HICON ExtractIconW(HINSTANCE, LPCWSTR, UINT) { return nullptr; }

BOOL DestroyIcon(HICON icon) { return icon ? TRUE : FALSE; }
