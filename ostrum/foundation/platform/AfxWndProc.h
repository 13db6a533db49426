#pragma once
// AfxWndProc: the procedure that routes a window's messages into its CWnd object, and the
// class registration of the framework's windows.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// Finds the window's CWnd, notes the message as the one being handled (for CWnd::Default),
/// and calls CWnd::WindowProc; a window without object gets DefWindowProcW. After WM_NCDESTROY
/// the object lets go of the window and its PostNcDestroy runs.
OSTRUM_API LRESULT CALLBACK AfxWndProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
/// Registers a class for the framework's windows unless the module has one of that name
/// already; TRUE if the class is there afterwards. Windows of it made by CWnd::CreateEx route to
/// their objects, with the class's procedure as the default handling.
OSTRUM_API BOOL AfxRegisterClass(WNDCLASSW* wc);
