#pragma once
// Image lists: rows of equally sized images, as toolbars show them. Images are held as 32-bit
// pixels with alpha (0xAARRGGBB: a masked pixel is transparent, alpha 0). Handles are never
// reused.

#include <cstdint>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/GdiObjects.h"
#include "ostrum/foundation/platform/WinTypes.h"

struct _IMAGELIST;
using HIMAGELIST = _IMAGELIST*;

constexpr UINT ILC_MASK = 0x0001;
constexpr UINT ILC_COLOR32 = 0x0020;

/// A new, empty list of images of `cx` by `cy` pixels; null for a size of 0 or less.
OSTRUM_API HIMAGELIST ImageList_Create(int cx, int cy, UINT flags, int initial, int grow);
OSTRUM_API BOOL ImageList_Destroy(HIMAGELIST list);
/// Cuts `bitmap` into images of the list's width, left to right, and appends them: pixels of
/// the colour `mask` (0x00BBGGRR) become transparent. Answers the index of the first image
/// added, -1 for no list or no bitmap or a bitmap narrower than one image.
OSTRUM_API int ImageList_AddMasked(HIMAGELIST list, HBITMAP bitmap, COLORREF mask);
/// The same without a mask (the mask bitmap is ignored).
OSTRUM_API int ImageList_Add(HIMAGELIST list, HBITMAP bitmap, HBITMAP mask);
/// The number of images; 0 for no list.
OSTRUM_API int ImageList_GetImageCount(HIMAGELIST list);
/// Removes the image at `index`, the later ones moving down by one; -1 removes all.
OSTRUM_API BOOL ImageList_Remove(HIMAGELIST list, int index);
OSTRUM_API BOOL ImageList_GetIconSize(HIMAGELIST list, int* cx, int* cy);

namespace Ostrum::Desktop {

/// The pixels of image `index` (0xAARRGGBB, rows top down); false for no such image.
OSTRUM_API bool GetImageListImage(HIMAGELIST list, int index, BitmapPixels& out);

}  // namespace Ostrum::Desktop
