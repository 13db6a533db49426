#pragma once
// The model clock as the desktop's calls read it. The backend in use owns the clock: the
// headless backend's moves only when told to.

#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// Milliseconds of the model clock, wrapping at 2^32 (after some 49.7 days).
OSTRUM_API DWORD GetTickCount();
/// Milliseconds of the model clock, without wrapping.
OSTRUM_API uint64_t GetTickCount64();
/// The multimedia timer's milliseconds: the model clock, as GetTickCount.
OSTRUM_API DWORD timeGetTime();
