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
