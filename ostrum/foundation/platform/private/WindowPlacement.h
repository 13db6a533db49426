#pragma once
// Changing a window's rectangle and telling it, behind CreateWindowExW, MoveWindow and the
// user's resizing.

#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop::Private {

/// Asks the procedure for the client area (WM_NCCALCSIZE) of a window whose rectangle is
/// `window`; with `old_window` (a change), with the NCCALCSIZE_PARAMS form, else one RECT.
void CalculateClientArea(HWND hwnd, const RECT& window, const RECT* old_window, const RECT* old_client);
/// Sends WM_SIZE (the client size) and/or WM_MOVE (the client origin in the parent's client
/// coordinates).
void SendSizeAndMove(HWND hwnd, bool size, bool move);
/// Gives a window of the calling thread a new rectangle (parent's client coordinates):
/// WM_NCCALCSIZE, then WM_SIZE if the size changed and WM_MOVE if the place did; a resized
/// visible window is invalidated whole when `repaint`. False for no window.
bool PlaceWindow(HWND hwnd, const RECT& rect, bool repaint);

}  // namespace Ostrum::Desktop::Private
