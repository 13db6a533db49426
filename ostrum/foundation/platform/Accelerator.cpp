#include "ostrum/foundation/platform/Accelerator.h"

#include <algorithm>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "ostrum/foundation/platform/KeyState.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/Resources.h"
#include "ostrum/foundation/platform/WinMessages.h"

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

HACCEL LoadAcceleratorsW(HINSTANCE instance, LPCWSTR name) {
  HRSRC resource = FindResourceW(instance, name, RT_ACCELERATOR);
  if (!resource) return nullptr;
  const auto* bytes = static_cast<const BYTE*>(LockResource(LoadResource(instance, resource)));
  const DWORD size = SizeofResource(instance, resource);
  auto word = [bytes](DWORD at) { return static_cast<WORD>(bytes[at] | (bytes[at + 1] << 8)); };
  std::vector<ACCEL> entries;
  for (DWORD at = 0; at + 8 <= size; at += 8) {
    const WORD flags = word(at);
    entries.push_back(ACCEL{static_cast<BYTE>(flags & 0x7F), word(at + 2), word(at + 4)});
    if (flags & 0x80) break;
  }
  return CreateAcceleratorTableW(entries.data(), static_cast<int>(entries.size()));
}

BOOL IsAccelerator(HACCEL handle, int count, const MSG* msg, WORD* command) {
  if (!msg || count < 1) return FALSE;
  const bool key = msg->message == WM_KEYDOWN || msg->message == WM_SYSKEYDOWN;
  const bool character = msg->message == WM_CHAR || msg->message == WM_SYSCHAR;
  if (!key && !character) return FALSE;
  const bool system = msg->message == WM_SYSKEYDOWN || msg->message == WM_SYSCHAR;
  auto held = [](int vk) { return (GetKeyState(vk) & 0x8000) != 0; };
  BYTE modifiers = 0;
  if (held(VK_SHIFT)) modifiers |= FSHIFT;
  if (held(VK_CONTROL)) modifiers |= FCONTROL;
  if (system || held(VK_MENU)) modifiers |= FALT;
  std::vector<ACCEL> entries(static_cast<std::size_t>(count));
  entries.resize(static_cast<std::size_t>(CopyAcceleratorTableW(handle, entries.data(), count)));
  for (const ACCEL& entry : entries) {
    if (((entry.fVirt & FVIRTKEY) != 0) != key) continue;
    if (entry.key != static_cast<WORD>(msg->wParam)) continue;
    // A character entry stands for its character whatever the modifiers that typed it.
    if (key && (entry.fVirt & (FSHIFT | FCONTROL | FALT)) != modifiers) continue;
    if (command) *command = entry.cmd;
    return TRUE;
  }
  return FALSE;
}
