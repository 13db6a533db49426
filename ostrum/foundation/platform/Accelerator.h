#pragma once
// Accelerator tables: key combinations that stand for commands. A table is a handle to a copy
// of its entries; frames and interactive windows keep their own and merge a host's into it.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

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
