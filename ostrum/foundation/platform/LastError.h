#pragma once
// The calling thread's last error code, which the desktop model's calls set when they fail,
// and the codes they use, with their Windows values.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
constexpr DWORD ERROR_MORE_DATA = 234;
constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;
constexpr DWORD ERROR_INVALID_MENU_HANDLE = 1401;
constexpr DWORD ERROR_TLW_WITH_WSCHILD = 1406;
constexpr DWORD ERROR_CANNOT_FIND_WND_CLASS = 1407;
constexpr DWORD ERROR_CLASS_ALREADY_EXISTS = 1410;
constexpr DWORD ERROR_CLASS_DOES_NOT_EXIST = 1411;
constexpr DWORD ERROR_CLASS_HAS_WINDOWS = 1412;
constexpr DWORD ERROR_INVALID_INDEX = 1413;
constexpr DWORD ERROR_INVALID_THREAD_ID = 1444;
constexpr DWORD ERROR_MENU_ITEM_NOT_FOUND = 1456;
constexpr DWORD ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;
constexpr DWORD ERROR_RESOURCE_NAME_NOT_FOUND = 1814;
constexpr DWORD ERROR_NOT_ENOUGH_QUOTA = 1816;

/// The code of the calling thread's last failure; calls that succeed leave it as it was unless
/// their contract says otherwise.
OSTRUM_API DWORD GetLastError();
/// Sets the calling thread's last error code.
OSTRUM_API void SetLastError(DWORD code);
