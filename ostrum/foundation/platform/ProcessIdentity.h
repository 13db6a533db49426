#pragma once
// Who is running: the model's numbers for the calling thread and process, and the handle of the
// program's module, by which window classes are registered.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// The calling thread's number in the desktop model: never 0, never given to another thread
/// of the process, even after this one has ended.
OSTRUM_API DWORD GetCurrentThreadId();
/// The process id of the system.
OSTRUM_API DWORD GetCurrentProcessId();
/// For a null name, the handle of the program's own module: one fixed non-null value for the
/// whole process. Named modules are not modelled: null with ERROR_MOD_NOT_FOUND.
OSTRUM_API HMODULE GetModuleHandleW(LPCWSTR module_name);

/// The full path of `module`'s file (null: the program), at most `size` characters with the
/// terminator; answers the characters copied (cut at `size` - 1), 0 on failure.
OSTRUM_API DWORD GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD size);
/// The module the application's resources come from: the program's own.
OSTRUM_API HINSTANCE AfxGetResourceHandle();
/// The program's module.
OSTRUM_API HINSTANCE AfxGetInstanceHandle();
/// The icon `index` of a module's file; the model has no icons in files: null.
OSTRUM_API HICON ExtractIconW(HINSTANCE instance, LPCWSTR file, UINT index);
OSTRUM_API BOOL DestroyIcon(HICON icon);
