#pragma once
// Device contexts of the desktop model: what draws into a window's image (WindowImage.h). A
// window DC covers the whole window rectangle, frame included; a client DC the client area,
// with (0, 0) at its top-left corner; a paint DC (BeginPaint) the client area cut to what was to
// be painted. Each new DC starts with the stock black pen, white brush and system font, black
// text on an opaque white background; every GetDC gives such a fresh DC, whatever the class
// style (CS_OWNDC keeps nothing here). A DC whose window is gone draws nothing and answers
// FALSE; a handle that is no DC does the same.
//
// Figures follow the desktop's pixel rules: Rectangle leaves out the right and bottom edges, its
// outline is drawn with the pen's width centred on the edge (PS_INSIDEFRAME: inside it), and
// LineTo leaves out its last point.

#include <string_view>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/GdiObjects.h"
#include "ostrum/foundation/platform/WinTypes.h"

// Background modes.
constexpr int TRANSPARENT = 1;
constexpr int OPAQUE = 2;

// DrawTextW's format.
constexpr UINT DT_TOP = 0x0;
constexpr UINT DT_LEFT = 0x0;
constexpr UINT DT_CENTER = 0x1;
constexpr UINT DT_RIGHT = 0x2;
constexpr UINT DT_VCENTER = 0x4;
constexpr UINT DT_BOTTOM = 0x8;
constexpr UINT DT_WORDBREAK = 0x10;  ///< not modelled: lines break at '\n' only
constexpr UINT DT_SINGLELINE = 0x20;
constexpr UINT DT_NOCLIP = 0x100;
constexpr UINT DT_CALCRECT = 0x400;

// GetDeviceCaps' indexes.
constexpr int HORZRES = 8;
constexpr int VERTRES = 10;
constexpr int BITSPIXEL = 12;
constexpr int LOGPIXELSX = 88;
constexpr int LOGPIXELSY = 90;

/// A DC on the client area of `hwnd`; null for no window (or null: there is no screen DC).
OSTRUM_API HDC GetDC(HWND hwnd);
/// A DC on the whole window rectangle of `hwnd`, frame included; null for no window.
OSTRUM_API HDC GetWindowDC(HWND hwnd);
/// Gives back a DC of GetDC or GetWindowDC; 0 if `hdc` is not one of `hwnd`'s.
OSTRUM_API int ReleaseDC(HWND hwnd, HDC hdc);
/// Frees any DC; FALSE for no DC.
OSTRUM_API BOOL DeleteDC(HDC hdc);
/// Selects a pen, brush or font into the DC and answers the one of the same kind it had; null
/// if either handle is not a DC or object (a bitmap is not selectable in a window DC).
OSTRUM_API HGDIOBJ SelectObject(HDC hdc, HGDIOBJ object);
/// The pen, brush or font selected (OBJ_PEN, OBJ_BRUSH, OBJ_FONT); null otherwise.
OSTRUM_API HGDIOBJ GetCurrentObject(HDC hdc, UINT type);
/// 96 pixels per inch both ways, 32 bits per pixel, and the DC's size for HORZRES and VERTRES;
/// 0 for an index not modelled or no DC.
OSTRUM_API int GetDeviceCaps(HDC hdc, int index);

/// Moves the current position; the one before goes to `previous` if not null.
OSTRUM_API BOOL MoveToEx(HDC hdc, int x, int y, LPPOINT previous);
/// A line from the current position to (x, y), not including (x, y), with the pen; the position
/// moves there.
OSTRUM_API BOOL LineTo(HDC hdc, int x, int y);
/// Outlines with the pen and fills with the brush the rectangle from (left, top) to
/// (right, bottom), right and bottom left out. With the null pen the fill is a pixel smaller at
/// the right and bottom, as on the desktop.
OSTRUM_API BOOL Rectangle(HDC hdc, int left, int top, int right, int bottom);
/// Fills `rect` (right and bottom left out) with `brush`; no pen.
OSTRUM_API int FillRect(HDC hdc, const RECT* rect, HBRUSH brush);
/// The colour at (x, y); CLR_INVALID outside what the DC covers or for no DC.
OSTRUM_API COLORREF GetPixel(HDC hdc, int x, int y);

/// Each answers the value before, CLR_INVALID (colours) or 0 (mode) for no DC.
OSTRUM_API COLORREF SetTextColor(HDC hdc, COLORREF color);
OSTRUM_API COLORREF GetTextColor(HDC hdc);
OSTRUM_API COLORREF SetBkColor(HDC hdc, COLORREF color);
OSTRUM_API COLORREF GetBkColor(HDC hdc);
/// TRANSPARENT or OPAQUE: whether text cells are filled with the background colour first.
OSTRUM_API int SetBkMode(HDC hdc, int mode);
OSTRUM_API int GetBkMode(HDC hdc);

/// One line of text with the top-left corner of its cell at (x, y), in the text colour and the
/// selected font. `count` characters of `text`.
OSTRUM_API BOOL TextOutW(HDC hdc, int x, int y, LPCWSTR text, int count);
/// The extent of `count` characters of text in the selected font.
OSTRUM_API BOOL GetTextExtentPoint32W(HDC hdc, LPCWSTR text, int count, SIZE* size);
/// Text in `rect`, aligned by `format` (DT_*); `count` -1 for a zero-ended text. Lines break at
/// '\n' unless DT_SINGLELINE; DT_VCENTER and DT_BOTTOM apply to a single line. DT_CALCRECT only
/// sets the rectangle's right and bottom to what the text takes. Answers the text's height (with
/// DT_VCENTER or DT_BOTTOM: from the rectangle's top to the text's bottom); 0 on failure.
OSTRUM_API int DrawTextW(HDC hdc, LPCWSTR text, int count, LPRECT rect, UINT format);

namespace Ostrum::Desktop {

/// How many DCs are held now (tests look for DCs not given back with it).
OSTRUM_API std::size_t CountDeviceContexts();

}  // namespace Ostrum::Desktop
