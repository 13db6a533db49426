#pragma once
// Painting: every window keeps one update rectangle, the union of what was invalidated. The
// queue hands out WM_PAINT (never queued, generated at retrieval after timers' turn would come,
// parents before children) while any window of the thread has a non-empty update rectangle;
// BeginPaint validates it. Hidden windows keep none.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// What BeginPaint hands the painter.
struct PAINTSTRUCT {
  HDC hdc = nullptr;       ///< the device context to paint with (null until device contexts exist)
  BOOL fErase = FALSE;     ///< the background still needs erasing: WM_ERASEBKGND did not erase it
  RECT rcPaint{};          ///< what is to be painted, in client coordinates
  BOOL fRestore = FALSE;
  BOOL fIncUpdate = FALSE;
  BYTE rgbReserved[32] = {};
};
using LPPAINTSTRUCT = PAINTSTRUCT*;

/// Adds `rect` (client coordinates; null: the whole client area) to the update rectangle of a
/// visible window of the calling thread; with `erase`, WM_ERASEBKGND comes before the next
/// paint. Child windows are not included. FALSE for no window or another thread's.
OSTRUM_API BOOL InvalidateRect(HWND hwnd, const RECT* rect, BOOL erase);
/// Removes `rect` (null: everything, with the erase and frame requests) from the update
/// rectangle. One rectangle per window: what remains is the smallest rectangle around the rest,
/// so validating a part in the middle leaves the whole.
OSTRUM_API BOOL ValidateRect(HWND hwnd, const RECT* rect);
/// The update rectangle in client coordinates (empty if none) into `rect` if not null; TRUE if
/// it is not empty.
OSTRUM_API BOOL GetUpdateRect(HWND hwnd, LPRECT rect, BOOL erase);
/// Sends WM_PAINT to the window at once if its update rectangle is not empty.
OSTRUM_API BOOL UpdateWindow(HWND hwnd);
/// Starts painting a window: WM_NCPAINT if its frame is to be drawn, WM_ERASEBKGND if its
/// background is to be erased (fErase tells whether it was), then the update rectangle becomes
/// rcPaint and the window is validated. Answers the paint's device context (null for now).
OSTRUM_API HDC BeginPaint(HWND hwnd, LPPAINTSTRUCT paint);
/// Ends what BeginPaint began.
OSTRUM_API BOOL EndPaint(HWND hwnd, const PAINTSTRUCT* paint);

struct HRGN__;
using HRGN = HRGN__*;  ///< a region; the model has none, a region argument is taken as null
constexpr UINT RDW_INVALIDATE = 0x0001;
constexpr UINT RDW_INTERNALPAINT = 0x0002;
constexpr UINT RDW_ERASE = 0x0004;
constexpr UINT RDW_VALIDATE = 0x0008;
constexpr UINT RDW_UPDATENOW = 0x0100;
constexpr UINT RDW_ERASENOW = 0x0200;
/// Invalidates (RDW_INVALIDATE, with RDW_ERASE) or validates (RDW_VALIDATE) `rect` (null: the
/// whole client area) of a window of the calling thread, then paints it at once with
/// RDW_UPDATENOW (or RDW_ERASENOW). Regions are not modelled: `region` must be null. Children
/// are not included. FALSE for no window or another thread's.
OSTRUM_API BOOL RedrawWindow(HWND hwnd, const RECT* rect, HRGN region, UINT flags);
