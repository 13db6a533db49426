#pragma once
// Reading back what was drawn into windows. Every window has an image of its window rectangle,
// frame included, that device contexts draw into (DeviceContext.h); a headless host or a test
// reads it here, in window coordinates: (0, 0) is the top-left corner of the window rectangle.

#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/GdiObjects.h"
#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop {

/// A copy of the window's image (0x00RRGGBB, rows top down, never drawn parts black); false for
/// no window.
OSTRUM_API bool GetWindowImage(HWND hwnd, BitmapPixels& out);
/// The pixel at `point` in window coordinates; CLR_INVALID outside the image or for no window.
OSTRUM_API COLORREF GetWindowPixel(HWND hwnd, POINT point);
/// The window with its visible descendants drawn over it at their places, lowest in the
/// z-order first, as the window would look on a screen; false for no window.
OSTRUM_API bool ComposeWindowImage(HWND hwnd, BitmapPixels& out);
/// Writes pixels as a PNG file (8-bit RGB); false if the file cannot be written.
OSTRUM_API bool WritePng(const BitmapPixels& pixels, const std::string& path);

}  // namespace Ostrum::Desktop
