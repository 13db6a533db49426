// Window images: made and sized under the window table's lock, read back for hosts and tests.

#include "ostrum/foundation/platform/WindowImage.h"

#include <cairo.h>

#include <algorithm>
#include <vector>

#include "ostrum/foundation/platform/private/WindowImage.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace Ostrum::Desktop::Private {

void WindowImage::Resize(int new_width, int new_height) {
  new_width = std::max(0, new_width);
  new_height = std::max(0, new_height);
  if (new_width == width && new_height == height) return;
  std::vector<uint32_t> resized(static_cast<std::size_t>(new_width) * static_cast<std::size_t>(new_height), 0);
  const int keep_width = std::min(width, new_width);
  for (int y = 0; y < std::min(height, new_height); ++y)
    std::copy_n(pixels.begin() + static_cast<std::ptrdiff_t>(y) * width, keep_width,
                resized.begin() + static_cast<std::ptrdiff_t>(y) * new_width);
  pixels = std::move(resized);
  width = new_width;
  height = new_height;
}

std::shared_ptr<WindowImage> ImageOfWindow(HWND hwnd) {
  return WindowTable::Get().Locked([&](WindowStore& store) -> std::shared_ptr<WindowImage> {
    WindowRecord* record = store.Find(hwnd);
    if (!record) return nullptr;
    if (!record->image) record->image = std::make_shared<WindowImage>();
    std::lock_guard lock(record->image->mutex);
    record->image->Resize(record->window.right - record->window.left, record->window.bottom - record->window.top);
    return record->image;
  });
}

RECT ClientInImage(HWND hwnd) {
  return WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    if (!record) return RECT{};
    const RECT client = record->ClientInParent();
    return RECT{client.left - record->window.left, client.top - record->window.top, client.right - record->window.left,
                client.bottom - record->window.top};
  });
}

}  // namespace Ostrum::Desktop::Private

namespace Ostrum::Desktop {

namespace {

// Copies `source` into `target` with its top-left corner at `at`, cut at the target's edges.
void Blit(const BitmapPixels& source, BitmapPixels& target, POINT at) {
  for (int y = std::max(0, -at.y); y < source.height && at.y + y < target.height; ++y) {
    const int from = std::max(0, -at.x);
    const int to = std::min(source.width, target.width - at.x);
    if (from >= to) continue;
    std::copy(source.pixels.begin() + static_cast<std::ptrdiff_t>(y) * source.width + from,
              source.pixels.begin() + static_cast<std::ptrdiff_t>(y) * source.width + to,
              target.pixels.begin() + static_cast<std::ptrdiff_t>(at.y + y) * target.width + at.x + from);
  }
}

}  // namespace

bool GetWindowImage(HWND hwnd, BitmapPixels& out) {
  auto image = Private::ImageOfWindow(hwnd);
  if (!image) return false;
  std::lock_guard lock(image->mutex);
  out.width = image->width;
  out.height = image->height;
  out.pixels = image->pixels;
  return true;
}

COLORREF GetWindowPixel(HWND hwnd, POINT point) {
  auto image = Private::ImageOfWindow(hwnd);
  if (!image) return CLR_INVALID;
  std::lock_guard lock(image->mutex);
  if (point.x < 0 || point.y < 0 || point.x >= image->width || point.y >= image->height) return CLR_INVALID;
  const uint32_t p = image->pixels[static_cast<std::size_t>(point.y) * static_cast<std::size_t>(image->width) +
                                   static_cast<std::size_t>(point.x)];
  return RGB(static_cast<BYTE>(p >> 16), static_cast<BYTE>(p >> 8), static_cast<BYTE>(p));
}

bool ComposeWindowImage(HWND hwnd, BitmapPixels& out) {
  if (!GetWindowImage(hwnd, out)) return false;
  struct Child {
    HWND hwnd;
    POINT at;  // in the parent's image
  };
  // The visible children, lowest in the z-order first, so that higher ones cover them.
  const std::vector<Child> children = Private::WindowTable::Get().Locked([&](const Private::WindowStore& store) {
    std::vector<Child> found;
    const Private::WindowRecord* record = store.Find(hwnd);
    if (!record) return found;
    const RECT client = record->ClientInParent();
    const POINT offset{client.left - record->window.left, client.top - record->window.top};
    for (auto it = record->children.rbegin(); it != record->children.rend(); ++it) {
      const Private::WindowRecord* child = store.Find(*it);
      if (child && child->IsVisibleSelf())
        found.push_back(Child{*it, POINT{offset.x + child->window.left, offset.y + child->window.top}});
    }
    return found;
  });
  for (const Child& child : children) {
    BitmapPixels drawn;
    if (ComposeWindowImage(child.hwnd, drawn)) Blit(drawn, out, child.at);
  }
  return true;
}

bool WritePng(const BitmapPixels& pixels, const std::string& path) {
  if (pixels.width <= 0 || pixels.height <= 0 ||
      pixels.pixels.size() != static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height))
    return false;
  // RGB24 rows are exactly width * 4 bytes, the layout the pixels already have.
  std::vector<uint32_t> copy = pixels.pixels;
  cairo_surface_t* surface = cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(copy.data()),
                                                                 CAIRO_FORMAT_RGB24, pixels.width, pixels.height,
                                                                 pixels.width * 4);
  const bool written = cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS &&
                       cairo_surface_write_to_png(surface, path.c_str()) == CAIRO_STATUS_SUCCESS;
  cairo_surface_destroy(surface);
  return written;
}

}  // namespace Ostrum::Desktop
