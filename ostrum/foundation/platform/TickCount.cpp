#include "ostrum/foundation/platform/TickCount.h"

#include "ostrum/foundation/platform/IDesktopBackend.h"

DWORD GetTickCount() { return static_cast<DWORD>(Ostrum::Desktop::GetDesktopBackend().GetTickCount64()); }

uint64_t GetTickCount64() { return Ostrum::Desktop::GetDesktopBackend().GetTickCount64(); }

DWORD timeGetTime() { return GetTickCount(); }
