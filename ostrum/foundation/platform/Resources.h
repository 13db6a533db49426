#pragma once
// Resources of a module: the host registers them in code at start-up (there are no resource
// files), by module handle, type and number; the framework finds and reads them with the
// desktop's calls, in the desktop's byte layout. Only numbered types and names are modelled.

#include <cstdint>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/Accelerator.h"
#include "ostrum/foundation/platform/GdiObjects.h"
#include "ostrum/foundation/platform/WinTypes.h"

#define RT_BITMAP MAKEINTRESOURCEW(2)
#define RT_ACCELERATOR MAKEINTRESOURCEW(9)
#define RT_TOOLBAR MAKEINTRESOURCEW(241)

struct HRSRC__;
using HRSRC = HRSRC__*;
using HGLOBAL = void*;

/// The resource `name` of `type` in `module` (null: the program's own), or null with
/// ERROR_RESOURCE_NAME_NOT_FOUND.
OSTRUM_API HRSRC FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type);
/// The resource's data; it stays valid for the life of the process, also when the host
/// replaces the resource.
OSTRUM_API HGLOBAL LoadResource(HMODULE module, HRSRC resource);
OSTRUM_API LPVOID LockResource(HGLOBAL data);
OSTRUM_API DWORD SizeofResource(HMODULE module, HRSRC resource);

namespace Ostrum::Desktop::Resources {

/// Host side: enters raw bytes as resource `id` of `type` in `module` (null: the program's
/// own), replacing what stood there.
OSTRUM_API void SetResource(HMODULE module, LPCWSTR type, UINT id, std::vector<BYTE> bytes);
/// Host side: a toolbar resource (RT_TOOLBAR): buttons of `width` by `height` pixels, one
/// command id per button, 0 for a separator. Stored as the words version 1, width, height,
/// count, then the ids.
OSTRUM_API void SetToolbar(HMODULE module, UINT id, int width, int height, const std::vector<UINT>& commands);
/// Host side: a bitmap resource (RT_BITMAP) from pixels 0x00RRGGBB, rows top down; stored as a
/// 32-bit BITMAPINFOHEADER and its rows bottom up.
OSTRUM_API void SetBitmap(HMODULE module, UINT id, const BitmapPixels& pixels);
/// Host side: an accelerator table (RT_ACCELERATOR): one 8-byte entry per accelerator, the
/// words flags, key, command and 0, with the flag 0x80 on the last entry.
OSTRUM_API void SetAccelerators(HMODULE module, UINT id, const std::vector<ACCEL>& entries);
/// Host side: removes a resource; false if there was none.
OSTRUM_API bool Remove(HMODULE module, LPCWSTR type, UINT id);

/// Reads a bitmap resource's pixels back (32 or 24 bits per pixel, BI_RGB); false otherwise.
OSTRUM_API bool ReadBitmap(HMODULE module, UINT id, BitmapPixels& out);

}  // namespace Ostrum::Desktop::Resources
