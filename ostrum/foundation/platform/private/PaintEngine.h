#pragma once
// The paint engine behind device contexts: the few primitives that GDI's figures, lines and
// text come down to, drawn into a window image. DeviceContext.cpp applies GDI's rules (which
// pixels a rectangle or a line covers) and hands the engine whole pixels, so what lands is
// exact; the engine is Cairo (CairoPaintEngine.cpp), without antialiasing. Each call takes the
// image's lock itself.

#include <string_view>
#include <vector>

#include "ostrum/foundation/platform/GdiObjects.h"
#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop::Private {

struct WindowImage;

/// Where a device context draws: its image, where its logical (0, 0) lies in the image, and the
/// part of the image it may touch (image coordinates).
struct PaintTarget {
  WindowImage* image = nullptr;
  POINT origin{};
  RECT clip{};
};

/// Fills the pixels of `rect` (logical coordinates, right and bottom outside) with `color`.
void PaintFillRect(const PaintTarget& target, const RECT& rect, COLORREF color);
/// Fills the pixels of `outer` that are not in `inner`: the band of a frame.
void PaintFillBand(const PaintTarget& target, const RECT& outer, const RECT& inner, COLORREF color);
/// Fills a `size` by `size` square at each point (its top-left pixel at the point moved back by
/// (size - 1) / 2): the pixels of a line drawn with a pen of that width.
void PaintFillSquares(const PaintTarget& target, const std::vector<POINT>& points, int size, COLORREF color);

/// The extent of one line of text in a font, in pixels: advance width, cell height and ascent.
struct TextExtent {
  int width = 0;
  int height = 0;
  int ascent = 0;
};
TextExtent MeasureText(const LOGFONTW& font, std::wstring_view text);
/// Draws one line of text with its cell's top-left corner at `at` (logical coordinates), in
/// `color`; with `background`, the cell is filled with it first. Nothing outside `clip` (logical
/// coordinates) if one is given.
void PaintText(const PaintTarget& target, POINT at, std::wstring_view text, const LOGFONTW& font, COLORREF color,
               const COLORREF* background, const RECT* clip);

}  // namespace Ostrum::Desktop::Private
