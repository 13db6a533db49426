#include "ostrum/foundation/platform/GdiObjects.h"

#include <cstring>
#include <mutex>
#include <unordered_map>

#include "ostrum/foundation/platform/LastError.h"

namespace {

using Ostrum::Desktop::BitmapPixels;

// The table of GDI objects; handles start at 0x40010 and step by two, never reused. It is
// never destroyed: objects may be freed by static destructors at exit.
class GdiTable {
 public:
  static GdiTable& Get() {
    static GdiTable* table = new GdiTable;
    return *table;
  }

  HBITMAP Add(BitmapPixels pixels) {
    std::lock_guard lock(m_mutex);
    const uintptr_t key = m_next;
    m_next += 2;
    m_bitmaps.emplace(key, std::move(pixels));
    return reinterpret_cast<HBITMAP>(key);
  }
  bool Remove(HGDIOBJ object) {
    std::lock_guard lock(m_mutex);
    return m_bitmaps.erase(reinterpret_cast<uintptr_t>(object)) != 0;
  }
  bool Copy(HBITMAP bitmap, BitmapPixels& out) {
    std::lock_guard lock(m_mutex);
    auto it = m_bitmaps.find(reinterpret_cast<uintptr_t>(bitmap));
    if (it == m_bitmaps.end()) return false;
    out = it->second;
    return true;
  }
  std::size_t Count() {
    std::lock_guard lock(m_mutex);
    return m_bitmaps.size();
  }

 private:
  std::mutex m_mutex;
  std::unordered_map<uintptr_t, BitmapPixels> m_bitmaps;
  uintptr_t m_next = 0x40010;
};

}  // namespace

HBITMAP CreateBitmap(int width, int height, UINT planes, UINT bits_per_pixel, const void* bits) {
  if (width <= 0 || height <= 0 || planes != 1 || bits_per_pixel != 32) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  BitmapPixels pixels;
  pixels.width = width;
  pixels.height = height;
  pixels.pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
  if (bits) std::memcpy(pixels.pixels.data(), bits, pixels.pixels.size() * sizeof(uint32_t));
  return GdiTable::Get().Add(std::move(pixels));
}

BOOL DeleteObject(HGDIOBJ object) { return GdiTable::Get().Remove(object) ? TRUE : FALSE; }

namespace Ostrum::Desktop {

COLORREF BitmapPixels::At(int x, int y) const {
  const uint32_t p = pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
  return RGB(static_cast<BYTE>(p >> 16), static_cast<BYTE>(p >> 8), static_cast<BYTE>(p));
}

HBITMAP CreateBitmapFromPixels(const BitmapPixels& pixels) {
  if (pixels.width <= 0 || pixels.height <= 0 ||
      pixels.pixels.size() != static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height))
    return nullptr;
  return GdiTable::Get().Add(pixels);
}

bool GetBitmapPixels(HBITMAP bitmap, BitmapPixels& out) { return GdiTable::Get().Copy(bitmap, out); }

std::size_t CountGdiObjects() { return GdiTable::Get().Count(); }

}  // namespace Ostrum::Desktop
