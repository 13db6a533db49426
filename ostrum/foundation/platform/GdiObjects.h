#pragma once
// GDI objects of the desktop model: bitmaps, held as 32-bit pixels (bytes B, G, R, unused:
// 0x00RRGGBB read as a number), rows top down; pens, brushes and fonts, which device contexts
// (DeviceContext.h) draw with; and the stock objects. Handles are never reused, so an old handle
// finds nothing. A brush handle from 1 to 31 is a system colour's brush (COLOR_* + 1), as the
// background brush of a window class names it.

#include <cstdint>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

using HGDIOBJ = void*;
struct HBITMAP__;
using HBITMAP = HBITMAP__*;
struct HPEN__;
using HPEN = HPEN__*;
struct HFONT__;
using HFONT = HFONT__*;
/// A colour 0x00BBGGRR.
using COLORREF = DWORD;

constexpr COLORREF RGB(BYTE r, BYTE g, BYTE b) {
  return static_cast<COLORREF>(r) | (static_cast<COLORREF>(g) << 8) | (static_cast<COLORREF>(b) << 16);
}

/// The header of a device-independent bitmap, as a bitmap resource begins.
struct BITMAPINFOHEADER {
  DWORD biSize = 40;
  LONG biWidth = 0;
  LONG biHeight = 0;  ///< positive: rows bottom up; negative: top down
  WORD biPlanes = 1;
  WORD biBitCount = 32;
  DWORD biCompression = 0;  ///< BI_RGB only
  DWORD biSizeImage = 0;
  LONG biXPelsPerMeter = 0;
  LONG biYPelsPerMeter = 0;
  DWORD biClrUsed = 0;
  DWORD biClrImportant = 0;
};
constexpr DWORD BI_RGB = 0;

/// No colour: what GetPixel answers outside an image, and what a failed colour call answers.
constexpr COLORREF CLR_INVALID = 0xFFFFFFFF;

// Pen styles. Dashed and dotted pens draw solid lines in this model.
constexpr int PS_SOLID = 0;
constexpr int PS_DASH = 1;
constexpr int PS_DOT = 2;
constexpr int PS_DASHDOT = 3;
constexpr int PS_DASHDOTDOT = 4;
constexpr int PS_NULL = 5;
/// A closed figure's outline drawn wholly inside its bounding rectangle, whatever the width.
constexpr int PS_INSIDEFRAME = 6;

// Brush styles.
constexpr UINT BS_SOLID = 0;
constexpr UINT BS_NULL = 1;
constexpr UINT BS_HOLLOW = BS_NULL;

// GetStockObject's objects.
constexpr int WHITE_BRUSH = 0;
constexpr int LTGRAY_BRUSH = 1;
constexpr int GRAY_BRUSH = 2;
constexpr int DKGRAY_BRUSH = 3;
constexpr int BLACK_BRUSH = 4;
constexpr int NULL_BRUSH = 5;
constexpr int HOLLOW_BRUSH = NULL_BRUSH;
constexpr int WHITE_PEN = 6;
constexpr int BLACK_PEN = 7;
constexpr int NULL_PEN = 8;
constexpr int OEM_FIXED_FONT = 10;
constexpr int ANSI_FIXED_FONT = 11;
constexpr int ANSI_VAR_FONT = 12;
constexpr int SYSTEM_FONT = 13;
constexpr int DEVICE_DEFAULT_FONT = 14;
constexpr int SYSTEM_FIXED_FONT = 16;
constexpr int DEFAULT_GUI_FONT = 17;

// GetObjectType's answers.
constexpr DWORD OBJ_PEN = 1;
constexpr DWORD OBJ_BRUSH = 2;
constexpr DWORD OBJ_DC = 3;
constexpr DWORD OBJ_FONT = 6;
constexpr DWORD OBJ_BITMAP = 7;

// Font weights.
constexpr LONG FW_DONTCARE = 0;
constexpr LONG FW_NORMAL = 400;
constexpr LONG FW_BOLD = 700;
constexpr int LF_FACESIZE = 32;

/// A font as asked for. lfHeight below 0 is the character height in pixels, above 0 the cell
/// height, 0 a default height. The face is found by fontconfig, which stands in another face for
/// one it does not have.
struct LOGFONTW {
  LONG lfHeight = 0;
  LONG lfWidth = 0;
  LONG lfEscapement = 0;
  LONG lfOrientation = 0;
  LONG lfWeight = FW_NORMAL;
  BYTE lfItalic = 0;
  BYTE lfUnderline = 0;
  BYTE lfStrikeOut = 0;
  BYTE lfCharSet = 0;
  BYTE lfOutPrecision = 0;
  BYTE lfClipPrecision = 0;
  BYTE lfQuality = 0;
  BYTE lfPitchAndFamily = 0;
  wchar_t lfFaceName[LF_FACESIZE] = {};
};

/// A bitmap of `width` by `height` pixels; `bits` (32 bits per pixel, rows top down, may be
/// null for black) is copied. Only 1 plane of 32 bits is modelled: null otherwise.
OSTRUM_API HBITMAP CreateBitmap(int width, int height, UINT planes, UINT bits_per_pixel, const void* bits);
/// Frees a GDI object; FALSE for no object. A stock object is not freed (TRUE). An object still
/// selected into a device context goes on drawing there until it is replaced; its handle is
/// gone at once.
OSTRUM_API BOOL DeleteObject(HGDIOBJ object);
/// A pen of `style` (PS_*), `width` pixels (0 and 1 are one pixel) and colour; null for an
/// unknown style.
OSTRUM_API HPEN CreatePen(int style, int width, COLORREF color);
/// A brush that fills with one colour.
OSTRUM_API HBRUSH CreateSolidBrush(COLORREF color);
/// A font as `font` describes it; null for no description.
OSTRUM_API HFONT CreateFontIndirectW(const LOGFONTW* font);
/// One of the stock objects (WHITE_BRUSH ... DEFAULT_GUI_FONT); they live for the process and
/// DeleteObject leaves them. Null for an index that is none.
OSTRUM_API HGDIOBJ GetStockObject(int index);
/// OBJ_PEN, OBJ_BRUSH, OBJ_FONT, OBJ_BITMAP or OBJ_DC; 0 for no object.
OSTRUM_API DWORD GetObjectType(HGDIOBJ object);

namespace Ostrum::Desktop {

/// A bitmap's pixels, 0x00RRGGBB, rows top down.
struct OSTRUM_API BitmapPixels {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> pixels;
  /// The pixel at (x, y) as a COLORREF (0x00BBGGRR).
  COLORREF At(int x, int y) const;
};

/// Makes a bitmap from pixels 0x00RRGGBB, rows top down; null for a size that does not match.
OSTRUM_API HBITMAP CreateBitmapFromPixels(const BitmapPixels& pixels);
/// Copies a bitmap's pixels; false for no bitmap.
OSTRUM_API bool GetBitmapPixels(HBITMAP bitmap, BitmapPixels& out);
/// How many GDI objects live now, stock objects not counted (tests look for leaks with it).
OSTRUM_API std::size_t CountGdiObjects();

}  // namespace Ostrum::Desktop
