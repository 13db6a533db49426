#pragma once
// Timers of the desktop model. A timer belongs to the thread that set it; when it is due, the
// thread's queue reports QS_TIMER and the message loop retrieves a WM_TIMER for it (after posted
// messages and input). Timers repeat until killed; a timer due several times over gives one
// WM_TIMER, and its next period counts from the moment that message is taken.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// Shorter periods are raised to this many milliseconds.
constexpr UINT USER_TIMER_MINIMUM = 0x0000000A;
/// Longer periods are lowered to this many milliseconds.
constexpr UINT USER_TIMER_MAXIMUM = 0x7FFFFFFF;

/// Sets (or resets, with a new period and procedure) the timer `id` of a window of the calling
/// thread; the WM_TIMER carries the id in wParam and `proc` in lParam. With a null `hwnd`, a
/// timer of the thread: an unknown `id` is ignored and a new id is chosen. Answers the id (for
/// a window, nonzero), 0 with ERROR_INVALID_WINDOW_HANDLE or ERROR_ACCESS_DENIED for another
/// thread's window.
OSTRUM_API UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapse_ms, TIMERPROC proc);
/// Stops a timer of the calling thread; a WM_TIMER not yet retrieved is not delivered. FALSE
/// if there is no such timer.
OSTRUM_API BOOL KillTimer(HWND hwnd, UINT_PTR id);
