#pragma once
// The mouse capture: a window of a thread that gets every mouse message of that thread,
// wherever the cursor is, until it is released. The window that loses it is sent
// WM_CAPTURECHANGED with the new owner (or null) in lParam; it stays captured across button
// releases.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// Gives the capture to a window of the calling thread and answers the window that had it.
/// The old owner, if it is another window, gets WM_CAPTURECHANGED. Null (with the last error)
/// for no window or another thread's window; SetCapture(null) releases.
OSTRUM_API HWND SetCapture(HWND hwnd);
/// Takes the capture from its owner, which gets WM_CAPTURECHANGED with lParam 0. TRUE, also
/// when nothing had it.
OSTRUM_API BOOL ReleaseCapture();
/// The window of the calling thread that holds the capture, or null.
OSTRUM_API HWND GetCapture();
