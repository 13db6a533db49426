#pragma once
// The registry of the desktop model: a tree of keys with named values, under the current user's
// and the machine's roots, and HKEY_CLASSES_ROOT as the merged view of both "Software\Classes"
// (the user's first). The machine's root is read-only unless a host or test allows writing, as
// for a user without administrator rights: a write through HKEY_CLASSES_ROOT then fails with
// ERROR_ACCESS_DENIED and the caller writes under the user's "Software\Classes" instead.
//
// The registry lives in memory; a host that names a directory has it kept there in a file of
// its own (rewritten aside and renamed over at each change), read back at the next start. The
// model never reads or writes the real home directory unless the host names it.

#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/WinTypes.h"

struct HKEY__;
using HKEY = HKEY__*;
using PHKEY = HKEY*;
using LSTATUS = LONG;
using PLONG = LONG*;
using LPDWORD = DWORD*;
using REGSAM = DWORD;

#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000000u)))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000002u)))

constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;
constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_WRITE = 0x20006;
constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;

/// Opens `subkey` of `key`, making the missing keys on the way.
OSTRUM_API LSTATUS RegCreateKeyW(HKEY key, LPCWSTR subkey, PHKEY result);
/// Opens an existing `subkey` of `key` (null or empty: `key` itself).
OSTRUM_API LSTATUS RegOpenKeyW(HKEY key, LPCWSTR subkey, PHKEY result);
OSTRUM_API LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subkey, DWORD options, REGSAM access, PHKEY result);
OSTRUM_API LSTATUS RegCloseKey(HKEY key);
/// Sets the default value of `subkey` (made if missing) to the string `data`; `size` is in
/// bytes, without the terminator (the model takes the string up to its terminator).
OSTRUM_API LSTATUS RegSetValueW(HKEY key, LPCWSTR subkey, DWORD type, LPCWSTR data, DWORD size);
/// Sets the value `name` (null or empty: the default value) of `key` to `size` bytes of `data`.
OSTRUM_API LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);
/// The default value of `subkey` as a string; `size` in bytes in and out (with the terminator).
/// A missing value reads as the empty string; a buffer too small gives ERROR_MORE_DATA.
OSTRUM_API LSTATUS RegQueryValueW(HKEY key, LPCWSTR subkey, LPWSTR data, PLONG size);
OSTRUM_API LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, BYTE* data, LPDWORD size);
/// The name of the subkey `index` (in order of making); ERROR_NO_MORE_ITEMS past the last.
OSTRUM_API LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD size);
/// Deletes `subkey` of `key`, which must have no subkeys.
OSTRUM_API LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subkey);

namespace Ostrum::Desktop {

/// Keeps the registry in `directory` (made if missing): what is there now is read (replacing
/// the registry in memory), and every change is written there. Empty: memory only. False if
/// the directory cannot be used; the registry then stays in memory.
OSTRUM_API bool SetRegistryDirectory(const std::wstring& directory);
/// Whether writes reach the machine's keys (HKEY_LOCAL_MACHINE and, through it,
/// HKEY_CLASSES_ROOT); false by default.
OSTRUM_API void SetMachineRegistryWritable(bool writable);
/// Empties the registry in memory (the directory, if any, stays named and is rewritten at the
/// next change); for tests.
OSTRUM_API void ClearRegistry();

}  // namespace Ostrum::Desktop
