#pragma once
// GDI objects of the desktop model. For now the one kind the framework needs: bitmaps, held as
// 32-bit pixels (bytes B, G, R, unused: 0x00RRGGBB read as a number), rows top down. Handles
// are never reused.

#include <cstdint>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

using HGDIOBJ = void*;
struct HBITMAP__;
using HBITMAP = HBITMAP__*;
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

/// A bitmap of `width` by `height` pixels; `bits` (32 bits per pixel, rows top down, may be
/// null for black) is copied. Only 1 plane of 32 bits is modelled: null otherwise.
OSTRUM_API HBITMAP CreateBitmap(int width, int height, UINT planes, UINT bits_per_pixel, const void* bits);
/// Frees a GDI object; FALSE for no object.
OSTRUM_API BOOL DeleteObject(HGDIOBJ object);

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
/// How many GDI objects live now (tests look for leaks with it).
OSTRUM_API std::size_t CountGdiObjects();

}  // namespace Ostrum::Desktop
