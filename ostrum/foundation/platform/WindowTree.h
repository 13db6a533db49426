#pragma once
// The tree of windows: parents, owners and z-order, what lies under a point, and the
// coordinates of windows. Child windows keep their rectangle in the parent's client
// coordinates, top-level windows in screen coordinates; a client area starts at (0, 0).

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

// GetWindow's relations.
constexpr UINT GW_HWNDFIRST = 0;
constexpr UINT GW_HWNDLAST = 1;
constexpr UINT GW_HWNDNEXT = 2;
constexpr UINT GW_HWNDPREV = 3;
constexpr UINT GW_OWNER = 4;
constexpr UINT GW_CHILD = 5;

// GetAncestor's relations.
constexpr UINT GA_PARENT = 1;
constexpr UINT GA_ROOT = 2;
constexpr UINT GA_ROOTOWNER = 3;

/// The window in the given relation to `hwnd`, in z-order among its siblings (top-level windows
/// are siblings of each other), or its owner or topmost child; null if there is none.
OSTRUM_API HWND GetWindow(HWND hwnd, UINT relation);
/// The topmost child of `hwnd`, or the topmost top-level window for null.
OSTRUM_API HWND GetTopWindow(HWND hwnd);
/// GA_PARENT: the parent (null for a top-level window); GA_ROOT: the top-level window it
/// belongs to; GA_ROOTOWNER: that window's last owner.
OSTRUM_API HWND GetAncestor(HWND hwnd, UINT relation);
/// Whether `hwnd` is a child or further descendant of `parent`.
OSTRUM_API BOOL IsChild(HWND parent, HWND hwnd);
/// Makes `hwnd` a child of `parent` (null: a top-level window) at the top of its new siblings,
/// keeping its rectangle in the new parent's coordinates. Answers the old parent; null with the
/// last error for no window, another thread's window, or a parent inside `hwnd`.
OSTRUM_API HWND SetParent(HWND hwnd, HWND parent);

/// The window under a screen point: the deepest visible one, where a disabled child window
/// lets its parent answer. Message-only windows are never found. Null over no window.
OSTRUM_API HWND WindowFromPoint(POINT screen);
/// The window rectangle in screen coordinates; FALSE for no window.
OSTRUM_API BOOL GetWindowRect(HWND hwnd, LPRECT rect);
/// The client rectangle: (0, 0) to its width and height; FALSE for no window.
OSTRUM_API BOOL GetClientRect(HWND hwnd, LPRECT rect);
/// Converts a point in the window's client coordinates to screen coordinates.
OSTRUM_API BOOL ClientToScreen(HWND hwnd, LPPOINT point);
/// Converts a screen point to the window's client coordinates.
OSTRUM_API BOOL ScreenToClient(HWND hwnd, LPPOINT point);
/// Converts `count` points from the client coordinates of `from` to those of `to` (null stands
/// for the screen). Answers the horizontal shift in the low word and the vertical one in the high
/// word; 0 with the last error for no window.
OSTRUM_API int MapWindowPoints(HWND from, HWND to, LPPOINT points, UINT count);
