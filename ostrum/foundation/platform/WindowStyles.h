#pragma once
// Window styles and extended styles of the desktop model, with their Windows values, and the
// position value that lets the model choose.

#include "ostrum/foundation/platform/WinTypes.h"

constexpr DWORD WS_OVERLAPPED = 0x00000000;
constexpr DWORD WS_POPUP = 0x80000000;
constexpr DWORD WS_CHILD = 0x40000000;
constexpr DWORD WS_CHILDWINDOW = WS_CHILD;
constexpr DWORD WS_MINIMIZE = 0x20000000;
constexpr DWORD WS_VISIBLE = 0x10000000;
constexpr DWORD WS_DISABLED = 0x08000000;
constexpr DWORD WS_CLIPSIBLINGS = 0x04000000;
constexpr DWORD WS_CLIPCHILDREN = 0x02000000;
constexpr DWORD WS_MAXIMIZE = 0x01000000;
constexpr DWORD WS_BORDER = 0x00800000;
constexpr DWORD WS_DLGFRAME = 0x00400000;
/// A title bar; includes WS_BORDER and WS_DLGFRAME.
constexpr DWORD WS_CAPTION = 0x00C00000;
constexpr DWORD WS_VSCROLL = 0x00200000;
constexpr DWORD WS_HSCROLL = 0x00100000;
constexpr DWORD WS_SYSMENU = 0x00080000;
constexpr DWORD WS_THICKFRAME = 0x00040000;
constexpr DWORD WS_GROUP = 0x00020000;
constexpr DWORD WS_TABSTOP = 0x00010000;
constexpr DWORD WS_MINIMIZEBOX = 0x00020000;
constexpr DWORD WS_MAXIMIZEBOX = 0x00010000;
constexpr DWORD WS_OVERLAPPEDWINDOW =
    WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
constexpr DWORD WS_POPUPWINDOW = WS_POPUP | WS_BORDER | WS_SYSMENU;

constexpr DWORD WS_EX_DLGMODALFRAME = 0x00000001;
constexpr DWORD WS_EX_NOPARENTNOTIFY = 0x00000004;
constexpr DWORD WS_EX_TOPMOST = 0x00000008;
constexpr DWORD WS_EX_TRANSPARENT = 0x00000020;
constexpr DWORD WS_EX_TOOLWINDOW = 0x00000080;
constexpr DWORD WS_EX_WINDOWEDGE = 0x00000100;
/// A sunken edge of SM_CXEDGE pixels around the client area.
constexpr DWORD WS_EX_CLIENTEDGE = 0x00000200;
constexpr DWORD WS_EX_CONTROLPARENT = 0x00010000;
/// An edge of SM_CXBORDER pixels around the client area.
constexpr DWORD WS_EX_STATICEDGE = 0x00020000;
constexpr DWORD WS_EX_APPWINDOW = 0x00040000;
/// A top-level window that showing or clicking does not activate.
constexpr DWORD WS_EX_NOACTIVATE = 0x08000000;

/// In CreateWindowExW's x or width of a top-level window: the model chooses.
constexpr int CW_USEDEFAULT = static_cast<int>(0x80000000u);
