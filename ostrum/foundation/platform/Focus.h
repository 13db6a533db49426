#pragma once
// The keyboard focus: the window of a thread that gets its key messages. The window losing it
// is sent WM_KILLFOCUS (with the new one) before the new one is sent WM_SETFOCUS (with the old
// one).

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// Gives the focus to a window of the calling thread, first activating its top-level window if
/// that is not the active one; null takes the focus away. Answers the window that had it;
/// null with the last error for no window or another thread's window.
OSTRUM_API HWND SetFocus(HWND hwnd);
/// The window of the calling thread that has the focus, or null.
OSTRUM_API HWND GetFocus();
