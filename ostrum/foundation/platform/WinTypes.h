#pragma once
// The numeric types of the desktop model, with their Windows widths on a 64-bit system.

#include <cstdint>

struct HWND__;
using HWND = HWND__*;       ///< window handle of the desktop model; null is no window
using WPARAM = uintptr_t;   ///< message parameter, pointer sized
using LPARAM = intptr_t;    ///< message parameter, pointer sized and signed
using LRESULT = intptr_t;   ///< result of a window procedure
using UINT = uint32_t;
using BOOL = int;

struct __POSITION;
using POSITION = __POSITION*;  ///< cursor of a walk over a framework list; null ends it
