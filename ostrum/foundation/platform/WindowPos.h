#pragma once
// A window's place, size, visibility and enabled state, and the messages that tell it of a
// change.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

// ShowWindow's commands. Minimised and maximised states are not modelled: those commands
// show the window as it is.
constexpr int SW_HIDE = 0;
constexpr int SW_SHOWNORMAL = 1;
constexpr int SW_NORMAL = 1;
constexpr int SW_SHOWMINIMIZED = 2;
constexpr int SW_SHOWMAXIMIZED = 3;
constexpr int SW_MAXIMIZE = 3;
constexpr int SW_SHOWNOACTIVATE = 4;
constexpr int SW_SHOW = 5;
constexpr int SW_MINIMIZE = 6;
constexpr int SW_SHOWMINNOACTIVE = 7;
constexpr int SW_SHOWNA = 8;
constexpr int SW_RESTORE = 9;
constexpr int SW_SHOWDEFAULT = 10;

/// Gives a window of the calling thread a new rectangle (the parent's client coordinates for a
/// child, screen coordinates for a top-level window): WM_NCCALCSIZE, then WM_SIZE if the size
/// changed and WM_MOVE if the place did. A resized visible window is invalidated whole when
/// `repaint`. FALSE for no window or another thread's.
OSTRUM_API BOOL MoveWindow(HWND hwnd, int x, int y, int width, int height, BOOL repaint);
// SetWindowPos's flags and places in the z-order.
constexpr UINT SWP_NOSIZE = 0x0001;
constexpr UINT SWP_NOMOVE = 0x0002;
constexpr UINT SWP_NOZORDER = 0x0004;
constexpr UINT SWP_NOREDRAW = 0x0008;
constexpr UINT SWP_NOACTIVATE = 0x0010;
constexpr UINT SWP_SHOWWINDOW = 0x0040;
constexpr UINT SWP_HIDEWINDOW = 0x0080;
constexpr UINT SWP_NOOWNERZORDER = 0x0200;
#define HWND_TOP (reinterpret_cast<HWND>(static_cast<intptr_t>(0)))
#define HWND_BOTTOM (reinterpret_cast<HWND>(static_cast<intptr_t>(1)))

/// Places a window of the calling thread: in the z-order among its siblings (unless
/// SWP_NOZORDER: to the top for HWND_TOP or null, to the bottom for HWND_BOTTOM, else just
/// below `insert_after`), at `x`, `y` unless SWP_NOMOVE, at `width` x `height` unless
/// SWP_NOSIZE, then shown or hidden for SWP_SHOWWINDOW or SWP_HIDEWINDOW. Without SWP_NOACTIVATE
/// a top-level window is activated. Moves and sizes send what MoveWindow sends. FALSE for no
/// window, another thread's, or an `insert_after` that is no sibling.
OSTRUM_API BOOL SetWindowPos(HWND hwnd, HWND insert_after, int x, int y, int width, int height, UINT flags);
/// Shows or hides a window of the calling thread. Showing a hidden window sends WM_SHOWWINDOW
/// (TRUE) and invalidates it and its visible descendants; the commands that activate
/// (SW_SHOW, SW_SHOWNORMAL, SW_SHOWMAXIMIZED, SW_RESTORE, SW_SHOWDEFAULT) activate a top-level
/// window. Hiding a visible window sends WM_SHOWWINDOW (FALSE), drops what it had to paint,
/// and moves capture, focus and activation away from it. Answers whether it was visible.
OSTRUM_API BOOL ShowWindow(HWND hwnd, int command);
/// Whether the window and all its ancestors are shown.
OSTRUM_API BOOL IsWindowVisible(HWND hwnd);
/// Enables or disables a window of the calling thread; a change sends WM_ENABLE, and disabling
/// takes the focus from it or its descendants. A disabled window, or one inside a disabled
/// parent, gets no mouse or key input. Answers whether it was disabled before.
OSTRUM_API BOOL EnableWindow(HWND hwnd, BOOL enable);
/// Whether the window carries no WS_DISABLED (its parent's state aside, as on the desktop).
OSTRUM_API BOOL IsWindowEnabled(HWND hwnd);
