#pragma once
// The paint state behind Paint.h: update rectangles of windows and the WM_PAINT the queue hands
// out.

#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop::Private {

struct MessageFilter;

/// What an invalidation adds besides the rectangle.
enum InvalidateFlags : unsigned {
  kInvalidateErase = 1,        // WM_ERASEBKGND before the next paint
  kInvalidateFrame = 2,        // WM_NCPAINT before the next paint
  kInvalidateChildren = 4,     // the visible descendants too, wholly
};

/// Adds `rect` (client coordinates, clipped to the client area; null: all of it) to the update
/// rectangle of a visible window of the calling thread. Invisible windows keep none.
void InvalidateWindow(HWND hwnd, const RECT* rect, unsigned flags);
/// Empties the update rectangle (and the erase and frame requests) of the window and, with
/// `children`, of its descendants.
void ValidateWindow(HWND hwnd, bool children);
/// The first window of the thread, parents before children and top-level windows from the top
/// of the z-order, that is visible, has a non-empty update rectangle and passes the filter.
HWND NextWindowToPaint(DWORD thread_id, const MessageFilter& filter);

}  // namespace Ostrum::Desktop::Private
