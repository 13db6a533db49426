#pragma once
// The active window of a thread and the foreground window of the desktop. Activating a
// top-level window raises it to the top of the z-order, sends WM_ACTIVATE (WA_INACTIVE) to the
// window losing it and then WM_ACTIVATE to the new one, whose default handling gives it the
// focus. A thread gaining or losing the foreground has WM_ACTIVATEAPP sent to its top-level
// windows.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// Activates a top-level window of the calling thread (a child window's top-level window is
/// meant); answers the window active before, null with the last error for no window or another
/// thread's. While another application has the foreground the window becomes the thread's
/// active one but the foreground stays away, as on the desktop.
OSTRUM_API HWND SetActiveWindow(HWND hwnd);
/// The calling thread's active top-level window, or null.
OSTRUM_API HWND GetActiveWindow();
/// The window the user works in now, of any thread of the process; null while another
/// application has the foreground.
OSTRUM_API HWND GetForegroundWindow();
/// Activates the window and makes it the foreground window, unless another application has
/// the foreground (then FALSE and only the thread's active window changes).
OSTRUM_API BOOL SetForegroundWindow(HWND hwnd);
