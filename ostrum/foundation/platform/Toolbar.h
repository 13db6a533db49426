#pragma once
// The toolbar control of the desktop model (window class "ToolbarWindow32"): a row of buttons,
// each a command id and an image of the control's image list, driven by the TB_ messages with
// their Windows numbers. A click on an enabled button sends WM_COMMAND (id, the toolbar) to the
// toolbar's parent. Also the common-control helpers that feed it: mapped bitmaps.

#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/GdiObjects.h"
#include "ostrum/foundation/platform/ImageList.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/WinTypes.h"

using DWORD_PTR = uintptr_t;

#define TOOLBARCLASSNAMEW L"ToolbarWindow32"

constexpr UINT TB_ENABLEBUTTON = WM_USER + 1;
constexpr UINT TB_CHECKBUTTON = WM_USER + 2;
constexpr UINT TB_ISBUTTONENABLED = WM_USER + 9;
constexpr UINT TB_ISBUTTONCHECKED = WM_USER + 10;
constexpr UINT TB_DELETEBUTTON = WM_USER + 22;
constexpr UINT TB_GETBUTTON = WM_USER + 23;
constexpr UINT TB_BUTTONCOUNT = WM_USER + 24;
constexpr UINT TB_COMMANDTOINDEX = WM_USER + 25;
constexpr UINT TB_GETITEMRECT = WM_USER + 29;
constexpr UINT TB_BUTTONSTRUCTSIZE = WM_USER + 30;
constexpr UINT TB_SETBUTTONSIZE = WM_USER + 31;
constexpr UINT TB_SETIMAGELIST = WM_USER + 48;
constexpr UINT TB_GETIMAGELIST = WM_USER + 49;
constexpr UINT TB_INSERTBUTTONW = WM_USER + 67;
constexpr UINT TB_ADDBUTTONSW = WM_USER + 68;
constexpr UINT TB_INSERTBUTTON = TB_INSERTBUTTONW;
constexpr UINT TB_ADDBUTTONS = TB_ADDBUTTONSW;

constexpr BYTE TBSTATE_CHECKED = 0x01;
constexpr BYTE TBSTATE_ENABLED = 0x04;
constexpr BYTE TBSTYLE_BUTTON = 0x00;
constexpr BYTE TBSTYLE_SEP = 0x01;
constexpr BYTE TBSTYLE_CHECK = 0x02;

/// One button: for a separator, iBitmap is its width (0: the default 8 pixels).
struct TBBUTTON {
  int iBitmap = 0;
  int idCommand = 0;
  BYTE fsState = 0;
  BYTE fsStyle = 0;
  BYTE bReserved[6] = {};
  DWORD_PTR dwData = 0;
  INT_PTR iString = 0;
};

/// CreateMappedBitmap's colour replacements.
struct COLORMAP {
  COLORREF from = 0;
  COLORREF to = 0;
};

/// Registers the common controls' classes ("ToolbarWindow32"); the toolbar's users call it
/// before making one. Calling it again does nothing.
OSTRUM_API void InitCommonControls();
/// A bitmap made from the bitmap resource `id` of `module`, with each colour of `map` (count
/// entries) replaced by its partner; null if there is no such resource.
OSTRUM_API HBITMAP CreateMappedBitmap(HINSTANCE module, INT_PTR id, UINT flags, COLORMAP* map, int count);

namespace Ostrum::Desktop {

/// The toolbar as a user sees it: buttons joined by "|", a button as its command id and image
/// index "4001[3]", a disabled one with a trailing "~", a checked one with "*", a separator as
/// "-". Empty for no toolbar.
OSTRUM_API std::wstring DescribeToolbar(HWND toolbar);

}  // namespace Ostrum::Desktop
