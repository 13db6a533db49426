#pragma once
// Accelerator tables: key combinations that stand for commands. A table is a handle to a copy
// of its entries; frames and interactive windows keep their own and merge a host's into it.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

struct MSG;

struct HACCEL__;
using HACCEL = HACCEL__*;

// The flags of an entry.
constexpr BYTE FVIRTKEY = 0x01;  ///< `key` is a virtual key code, not a character
constexpr BYTE FNOINVERT = 0x02;
constexpr BYTE FSHIFT = 0x04;
constexpr BYTE FCONTROL = 0x08;
constexpr BYTE FALT = 0x10;

/// One entry: the flags, the key and the command it sends.
struct ACCEL {
  BYTE fVirt;
  WORD key;
  WORD cmd;
};

/// A new table holding `count` entries copied from `entries`; null (ERROR_INVALID_PARAMETER)
/// for no entries or a count below 1.
OSTRUM_API HACCEL CreateAcceleratorTableW(const ACCEL* entries, int count);
/// With `entries` null, the number of entries of the table; else copies up to `count` entries
/// into `entries` and answers how many it copied. 0 for no such table.
OSTRUM_API int CopyAcceleratorTableW(HACCEL table, ACCEL* entries, int count);
/// Frees the table; FALSE for no such table.
OSTRUM_API BOOL DestroyAcceleratorTable(HACCEL table);

/// The accelerator table `name` (RT_ACCELERATOR) of `instance` (null: the program's own) as a
/// new table; null with ERROR_RESOURCE_NAME_NOT_FOUND if there is none, or
/// ERROR_INVALID_PARAMETER if it holds no entry. The resource is a row of 8-byte entries
/// (flags, key, command, padding as words); the flag 0x80 marks the last.
OSTRUM_API HACCEL LoadAcceleratorsW(HINSTANCE instance, LPCWSTR name);
/// Whether `msg` is a key of one of the first `count` entries of `table`: WM_KEYDOWN and
/// WM_SYSKEYDOWN for virtual-key entries, which need exactly their Shift, Ctrl and Alt held (as
/// GetKeyState reads them; a WM_SYSKEYDOWN counts as Alt held), and WM_CHAR and WM_SYSCHAR for
/// character entries, which match their character alone. The first match wins; its command
/// goes to `*command` if given.
OSTRUM_API BOOL IsAccelerator(HACCEL table, int count, const MSG* msg, WORD* command);
