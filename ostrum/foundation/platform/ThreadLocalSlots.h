#pragma once
// Thread-local slots: a process-wide index that gives every thread its own pointer-sized value.
// The values live in thread_local storage of the calling thread.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// TlsAlloc's answer when no slot is free.
constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFFu;
/// The number of slots a process always has at least; the model has 1088 in all.
constexpr DWORD TLS_MINIMUM_AVAILABLE = 64;

/// Allocates a slot; its value is null in every thread until that thread sets it.
/// TLS_OUT_OF_INDEXES when all slots are taken.
OSTRUM_API DWORD TlsAlloc();
/// Frees a slot. Values that threads stored there are not released (they are the caller's);
/// a later TlsAlloc that hands out the same index starts from null in every thread.
OSTRUM_API BOOL TlsFree(DWORD index);
/// The calling thread's value in the slot; null when never set. Clears the last error on
/// success, so that a null value can be told from a failure (ERROR_INVALID_PARAMETER).
OSTRUM_API LPVOID TlsGetValue(DWORD index);
/// Sets the calling thread's value in the slot; FALSE for an index that is not allocated.
OSTRUM_API BOOL TlsSetValue(DWORD index, LPVOID value);
