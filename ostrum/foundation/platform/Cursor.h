#pragma once
// The mouse cursor: its position on the screen and its shape. The model holds one cursor for
// the process; the backend shows it.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

// The system's cursors, for LoadCursorW with a null module.
#define IDC_ARROW MAKEINTRESOURCEW(32512)
#define IDC_IBEAM MAKEINTRESOURCEW(32513)
#define IDC_WAIT MAKEINTRESOURCEW(32514)
#define IDC_CROSS MAKEINTRESOURCEW(32515)
#define IDC_UPARROW MAKEINTRESOURCEW(32516)
#define IDC_SIZENWSE MAKEINTRESOURCEW(32642)
#define IDC_SIZENESW MAKEINTRESOURCEW(32643)
#define IDC_SIZEWE MAKEINTRESOURCEW(32644)
#define IDC_SIZENS MAKEINTRESOURCEW(32645)
#define IDC_SIZEALL MAKEINTRESOURCEW(32646)
#define IDC_NO MAKEINTRESOURCEW(32648)
#define IDC_HAND MAKEINTRESOURCEW(32649)
#define IDC_APPSTARTING MAKEINTRESOURCEW(32650)
#define IDC_HELP MAKEINTRESOURCEW(32651)

/// With a null module, the shared handle of a system cursor (IDC_*): the same handle at every
/// call, never to be destroyed. Cursors of a module's resources are not modelled: null with
/// ERROR_RESOURCE_NAME_NOT_FOUND, as for an unknown id.
OSTRUM_API HCURSOR LoadCursorW(HINSTANCE instance, LPCWSTR name);
/// Makes `cursor` the shape shown (null hides it) and answers the shape before.
OSTRUM_API HCURSOR SetCursor(HCURSOR cursor);
/// The shape shown now.
OSTRUM_API HCURSOR GetCursor();
/// The cursor position in screen coordinates, as the last input left it.
OSTRUM_API BOOL GetCursorPos(LPPOINT point);
/// The program moves the cursor to a screen point (kept on the screen and in the clip
/// rectangle); as on the desktop, the windows see it as a mouse move.
OSTRUM_API BOOL SetCursorPos(int x, int y);
/// Confines the cursor to `rect` (screen coordinates, cut to the screen) until the next call;
/// null frees it. The cursor is moved into the rectangle at once.
OSTRUM_API BOOL ClipCursor(const RECT* rect);
/// The rectangle the cursor is confined to; the screen while it is free.
OSTRUM_API BOOL GetClipCursor(LPRECT rect);

namespace Ostrum::Desktop {

/// The IDC_ number of a system cursor handle, 0 for any other handle; for test drivers and
/// backends that show the shape.
OSTRUM_API WORD SystemCursorId(HCURSOR cursor);

/// The wait cursor of the calling thread, counted: the first Begin shows the hourglass, the
/// matching last End brings back the shape shown before.
OSTRUM_API void BeginWaitCursor();
OSTRUM_API void EndWaitCursor();
/// How many Begins of the calling thread wait for their End.
OSTRUM_API int GetWaitCursorCount();

}  // namespace Ostrum::Desktop
