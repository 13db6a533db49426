#pragma once
// The image of one window: its window rectangle, frame included, as 32-bit pixels 0x00RRGGBB,
// rows top down (Cairo's RGB24). Device contexts draw into it; the test driver reads it back.
// The window's record owns it, so it goes with the window; a device context holds it weakly and
// fails once it is gone.

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop::Private {

struct WindowImage {
  std::mutex mutex;  // taken while pixels are drawn or read; never held while taking another lock
  int width = 0;
  int height = 0;
  std::vector<uint32_t> pixels;  // black until drawn

  /// Changes the size, keeping what overlaps at the top left; new parts are black. Under `mutex`.
  void Resize(int new_width, int new_height);
};

/// The window's image, made or brought to the size of its window rectangle; null for no window.
std::shared_ptr<WindowImage> ImageOfWindow(HWND hwnd);
/// Where the window's client area lies in its image: the client rectangle in window coordinates.
/// Empty for no window.
RECT ClientInImage(HWND hwnd);

}  // namespace Ostrum::Desktop::Private
