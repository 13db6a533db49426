#pragma once
// Message numbers of the desktop model with their Windows values, the values their parameters
// carry, and the MSG record that the message loop retrieves.

#include "ostrum/foundation/platform/WinTypes.h"

constexpr UINT WM_NULL = 0x0000;
constexpr UINT WM_CREATE = 0x0001;
constexpr UINT WM_DESTROY = 0x0002;
constexpr UINT WM_MOVE = 0x0003;
constexpr UINT WM_SIZE = 0x0005;
constexpr UINT WM_ACTIVATE = 0x0006;
constexpr UINT WM_SETFOCUS = 0x0007;
constexpr UINT WM_KILLFOCUS = 0x0008;
constexpr UINT WM_ENABLE = 0x000A;
constexpr UINT WM_PAINT = 0x000F;
constexpr UINT WM_SETTEXT = 0x000C;
constexpr UINT WM_GETTEXT = 0x000D;
constexpr UINT WM_GETTEXTLENGTH = 0x000E;
constexpr UINT WM_CLOSE = 0x0010;
constexpr UINT WM_QUIT = 0x0012;
constexpr UINT WM_ERASEBKGND = 0x0014;
constexpr UINT WM_SHOWWINDOW = 0x0018;
constexpr UINT WM_ACTIVATEAPP = 0x001C;
constexpr UINT WM_CANCELMODE = 0x001F;
constexpr UINT WM_SETCURSOR = 0x0020;
constexpr UINT WM_MOUSEACTIVATE = 0x0021;
constexpr UINT WM_GETMINMAXINFO = 0x0024;
constexpr UINT WM_WINDOWPOSCHANGING = 0x0046;
constexpr UINT WM_WINDOWPOSCHANGED = 0x0047;
constexpr UINT WM_NOTIFY = 0x004E;
constexpr UINT WM_CONTEXTMENU = 0x007B;
constexpr UINT WM_NCCREATE = 0x0081;
constexpr UINT WM_NCDESTROY = 0x0082;
constexpr UINT WM_NCCALCSIZE = 0x0083;
constexpr UINT WM_NCHITTEST = 0x0084;
constexpr UINT WM_NCPAINT = 0x0085;
constexpr UINT WM_NCACTIVATE = 0x0086;
constexpr UINT WM_INPUT = 0x00FF;

constexpr UINT WM_KEYFIRST = 0x0100;
constexpr UINT WM_KEYDOWN = 0x0100;
constexpr UINT WM_KEYUP = 0x0101;
constexpr UINT WM_CHAR = 0x0102;
constexpr UINT WM_DEADCHAR = 0x0103;
constexpr UINT WM_SYSKEYDOWN = 0x0104;
constexpr UINT WM_SYSKEYUP = 0x0105;
constexpr UINT WM_SYSCHAR = 0x0106;
constexpr UINT WM_SYSDEADCHAR = 0x0107;
constexpr UINT WM_UNICHAR = 0x0109;
constexpr UINT WM_KEYLAST = 0x0109;

constexpr UINT WM_COMMAND = 0x0111;
constexpr UINT WM_SYSCOMMAND = 0x0112;
constexpr UINT WM_TIMER = 0x0113;
constexpr UINT WM_INITMENUPOPUP = 0x0117;
constexpr UINT WM_ENTERIDLE = 0x0121;

constexpr UINT WM_MOUSEFIRST = 0x0200;
constexpr UINT WM_MOUSEMOVE = 0x0200;
constexpr UINT WM_LBUTTONDOWN = 0x0201;
constexpr UINT WM_LBUTTONUP = 0x0202;
constexpr UINT WM_LBUTTONDBLCLK = 0x0203;
constexpr UINT WM_RBUTTONDOWN = 0x0204;
constexpr UINT WM_RBUTTONUP = 0x0205;
constexpr UINT WM_RBUTTONDBLCLK = 0x0206;
constexpr UINT WM_MBUTTONDOWN = 0x0207;
constexpr UINT WM_MBUTTONUP = 0x0208;
constexpr UINT WM_MBUTTONDBLCLK = 0x0209;
constexpr UINT WM_MOUSEWHEEL = 0x020A;
constexpr UINT WM_XBUTTONDOWN = 0x020B;
constexpr UINT WM_XBUTTONUP = 0x020C;
constexpr UINT WM_XBUTTONDBLCLK = 0x020D;
constexpr UINT WM_MOUSEHWHEEL = 0x020E;
constexpr UINT WM_MOUSELAST = 0x020E;

constexpr UINT WM_PARENTNOTIFY = 0x0210;
constexpr UINT WM_CAPTURECHANGED = 0x0215;

/// First message number free for a window class's own use.
constexpr UINT WM_USER = 0x0400;
/// First message number free for the application's own use across classes.
constexpr UINT WM_APP = 0x8000;

// WM_ACTIVATE: the low word of wParam.
constexpr UINT WA_INACTIVE = 0;
constexpr UINT WA_ACTIVE = 1;
constexpr UINT WA_CLICKACTIVE = 2;

// WM_MOUSEACTIVATE: what the procedure answers.
constexpr LRESULT MA_ACTIVATE = 1;
constexpr LRESULT MA_ACTIVATEANDEAT = 2;
constexpr LRESULT MA_NOACTIVATE = 3;
constexpr LRESULT MA_NOACTIVATEANDEAT = 4;

// Hit-test codes: the part of a window under a point (WM_SETCURSOR's low word of lParam).
constexpr int HTERROR = -2;
constexpr int HTTRANSPARENT = -1;
constexpr int HTNOWHERE = 0;
constexpr int HTCLIENT = 1;
constexpr int HTCAPTION = 2;
constexpr int HTSYSMENU = 3;
constexpr int HTMENU = 5;
constexpr int HTBORDER = 18;

// Mouse messages' wParam: buttons and keys down at the time of the event.
constexpr WPARAM MK_LBUTTON = 0x0001;
constexpr WPARAM MK_RBUTTON = 0x0002;
constexpr WPARAM MK_SHIFT = 0x0004;
constexpr WPARAM MK_CONTROL = 0x0008;
constexpr WPARAM MK_MBUTTON = 0x0010;
constexpr WPARAM MK_XBUTTON1 = 0x0020;
constexpr WPARAM MK_XBUTTON2 = 0x0040;
/// One notch of a mouse wheel.
constexpr int WHEEL_DELTA = 120;
/// The signed wheel movement in the high word of WM_MOUSEWHEEL's wParam.
constexpr int GET_WHEEL_DELTA_WPARAM(WPARAM wParam) { return static_cast<SHORT>(HIWORD(wParam)); }
// WM_XBUTTON*: which extra button, in the high word of wParam.
constexpr WORD XBUTTON1 = 0x0001;
constexpr WORD XBUTTON2 = 0x0002;

// WM_SIZE: wParam.
constexpr WPARAM SIZE_RESTORED = 0;
constexpr WPARAM SIZE_MINIMIZED = 1;
constexpr WPARAM SIZE_MAXIMIZED = 2;

// WM_SYSCOMMAND: wParam.
constexpr WPARAM SC_CLOSE = 0xF060;

// WM_ENTERIDLE: wParam, the kind of modal loop that waits.
constexpr WPARAM MSGF_DIALOGBOX = 0;
constexpr WPARAM MSGF_MENU = 2;

/// A window's place and size as a change describes it (WM_NCCALCSIZE's lppos).
struct WINDOWPOS {
  HWND hwnd = nullptr;
  HWND hwndInsertAfter = nullptr;
  int x = 0;
  int y = 0;
  int cx = 0;
  int cy = 0;
  UINT flags = 0;
};

/// WM_NCCALCSIZE with wParam TRUE: rgrc[0] holds the new window rectangle and is to become
/// the new client rectangle; rgrc[1] and rgrc[2] the old window and client rectangles, all in
/// the parent's client coordinates. With wParam FALSE, lParam points to one RECT, the first
/// member's place.
struct NCCALCSIZE_PARAMS {
  RECT rgrc[3];
  WINDOWPOS* lppos = nullptr;
};

/// A message as the queue hands it out.
struct MSG {
  HWND hwnd = nullptr;   ///< target window; null for a message of the thread itself
  UINT message = 0;
  WPARAM wParam = 0;
  LPARAM lParam = 0;
  DWORD time = 0;        ///< GetTickCount() when the message was put in the queue
  POINT pt;              ///< cursor position then, in screen coordinates
};
