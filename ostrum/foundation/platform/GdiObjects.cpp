#include "ostrum/foundation/platform/GdiObjects.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/foundation/platform/private/GdiTable.h"

namespace {

using Ostrum::Desktop::BitmapPixels;
using Ostrum::Desktop::Private::GdiObject;

std::atomic<uintptr_t> g_next_handle{0x40010};

// The table of GDI objects; handles step by two from 0x40010, never reused. It is never
// destroyed: objects may be freed by static destructors at exit.
class GdiTable {
 public:
  static GdiTable& Get() {
    static GdiTable* table = new GdiTable;
    return *table;
  }

  HGDIOBJ Add(GdiObject object) {
    const uintptr_t key = Ostrum::Desktop::Private::NextGdiHandle();
    std::lock_guard lock(m_mutex);
    m_objects.emplace(key, std::make_shared<const GdiObject>(std::move(object)));
    return reinterpret_cast<HGDIOBJ>(key);
  }
  // Stock objects stay; anything else leaves the table.
  enum class Removed { None, Stock, Yes };
  Removed Remove(HGDIOBJ object) {
    std::lock_guard lock(m_mutex);
    auto it = m_objects.find(reinterpret_cast<uintptr_t>(object));
    if (it == m_objects.end()) return Removed::None;
    if (it->second->stock) return Removed::Stock;
    m_objects.erase(it);
    return Removed::Yes;
  }
  std::shared_ptr<const GdiObject> Find(HGDIOBJ object) {
    std::lock_guard lock(m_mutex);
    auto it = m_objects.find(reinterpret_cast<uintptr_t>(object));
    return it == m_objects.end() ? nullptr : it->second;
  }
  std::size_t Count() {
    std::lock_guard lock(m_mutex);
    return static_cast<std::size_t>(
        std::count_if(m_objects.begin(), m_objects.end(), [](const auto& entry) { return !entry.second->stock; }));
  }
  // The stock objects, made on first use; the desktop's own values.
  HGDIOBJ Stock(int index) {
    std::call_once(m_stock_made, [this] {
      auto brush = [](COLORREF color, UINT style = BS_SOLID) {
        GdiObject object;
        object.kind = GdiObject::Kind::Brush;
        object.color = color;
        object.brush_style = style;
        return object;
      };
      auto pen = [](COLORREF color, int style = PS_SOLID) {
        GdiObject object;
        object.kind = GdiObject::Kind::Pen;
        object.color = color;
        object.pen_style = style;
        return object;
      };
      // Headless text is drawn in one fixed face; the stock fonts differ in size and pitch only.
      auto font = [](LONG height, const wchar_t* face) {
        GdiObject object;
        object.kind = GdiObject::Kind::Font;
        object.font.lfHeight = height;
        std::wcsncpy(object.font.lfFaceName, face, LF_FACESIZE - 1);
        return object;
      };
      const std::pair<int, GdiObject> made[] = {
          {WHITE_BRUSH, brush(RGB(255, 255, 255))},   {LTGRAY_BRUSH, brush(RGB(192, 192, 192))},
          {GRAY_BRUSH, brush(RGB(128, 128, 128))},    {DKGRAY_BRUSH, brush(RGB(64, 64, 64))},
          {BLACK_BRUSH, brush(RGB(0, 0, 0))},         {NULL_BRUSH, brush(0, BS_NULL)},
          {WHITE_PEN, pen(RGB(255, 255, 255))},       {BLACK_PEN, pen(RGB(0, 0, 0))},
          {NULL_PEN, pen(0, PS_NULL)},                {OEM_FIXED_FONT, font(12, L"DejaVu Sans Mono")},
          {ANSI_FIXED_FONT, font(12, L"DejaVu Sans Mono")}, {ANSI_VAR_FONT, font(12, L"DejaVu Sans")},
          {SYSTEM_FONT, font(16, L"DejaVu Sans")},    {DEVICE_DEFAULT_FONT, font(16, L"DejaVu Sans")},
          {SYSTEM_FIXED_FONT, font(16, L"DejaVu Sans Mono")}, {DEFAULT_GUI_FONT, font(-11, L"DejaVu Sans")},
      };
      for (const auto& [which, object] : made) {
        GdiObject stock = object;
        stock.stock = true;
        m_stock[which] = Add(std::move(stock));
      }
    });
    auto it = m_stock.find(index);
    return it == m_stock.end() ? nullptr : it->second;
  }

 private:
  std::mutex m_mutex;
  std::unordered_map<uintptr_t, std::shared_ptr<const GdiObject>> m_objects;
  std::once_flag m_stock_made;
  std::unordered_map<int, HGDIOBJ> m_stock;  // written once, under m_stock_made
};

}  // namespace

namespace Ostrum::Desktop::Private {

uintptr_t NextGdiHandle() { return g_next_handle.fetch_add(2); }

std::shared_ptr<const GdiObject> FindGdiObject(HGDIOBJ handle) {
  const auto value = reinterpret_cast<uintptr_t>(handle);
  if (value >= 1 && value <= 31) {
    // A system colour's brush: the class background brushes are named so.
    auto brush = std::make_shared<GdiObject>();
    brush->kind = GdiObject::Kind::Brush;
    brush->stock = true;
    brush->color = GetSysColor(static_cast<int>(value) - 1);
    return brush;
  }
  return GdiTable::Get().Find(handle);
}

}  // namespace Ostrum::Desktop::Private

HBITMAP CreateBitmap(int width, int height, UINT planes, UINT bits_per_pixel, const void* bits) {
  if (width <= 0 || height <= 0 || planes != 1 || bits_per_pixel != 32) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  GdiObject object;
  object.kind = GdiObject::Kind::Bitmap;
  object.bitmap.width = width;
  object.bitmap.height = height;
  object.bitmap.pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
  if (bits) std::memcpy(object.bitmap.pixels.data(), bits, object.bitmap.pixels.size() * sizeof(uint32_t));
  return static_cast<HBITMAP>(GdiTable::Get().Add(std::move(object)));
}

BOOL DeleteObject(HGDIOBJ object) {
  switch (GdiTable::Get().Remove(object)) {
    case GdiTable::Removed::None:
      return FALSE;
    case GdiTable::Removed::Stock:
      return TRUE;
    case GdiTable::Removed::Yes:
      break;
  }
  Ostrum::Desktop::Private::ForgetGdiObjectWrapper(object);
  return TRUE;
}

HPEN CreatePen(int style, int width, COLORREF color) {
  if (style < PS_SOLID || style > PS_INSIDEFRAME) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  GdiObject object;
  object.kind = GdiObject::Kind::Pen;
  object.pen_style = style;
  object.pen_width = std::max(1, width);
  object.color = color & 0x00FFFFFF;
  return static_cast<HPEN>(GdiTable::Get().Add(std::move(object)));
}

HBRUSH CreateSolidBrush(COLORREF color) {
  GdiObject object;
  object.kind = GdiObject::Kind::Brush;
  object.color = color & 0x00FFFFFF;
  return static_cast<HBRUSH>(GdiTable::Get().Add(std::move(object)));
}

HFONT CreateFontIndirectW(const LOGFONTW* font) {
  if (!font) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  GdiObject object;
  object.kind = GdiObject::Kind::Font;
  object.font = *font;
  object.font.lfFaceName[LF_FACESIZE - 1] = L'\0';
  return static_cast<HFONT>(GdiTable::Get().Add(std::move(object)));
}

HGDIOBJ GetStockObject(int index) { return GdiTable::Get().Stock(index); }

namespace Ostrum::Desktop {

COLORREF BitmapPixels::At(int x, int y) const {
  const uint32_t p = pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
  return RGB(static_cast<BYTE>(p >> 16), static_cast<BYTE>(p >> 8), static_cast<BYTE>(p));
}

HBITMAP CreateBitmapFromPixels(const BitmapPixels& pixels) {
  if (pixels.width <= 0 || pixels.height <= 0 ||
      pixels.pixels.size() != static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height))
    return nullptr;
  GdiObject object;
  object.kind = GdiObject::Kind::Bitmap;
  object.bitmap = pixels;
  return static_cast<HBITMAP>(GdiTable::Get().Add(std::move(object)));
}

bool GetBitmapPixels(HBITMAP bitmap, BitmapPixels& out) {
  auto object = GdiTable::Get().Find(bitmap);
  if (!object || object->kind != GdiObject::Kind::Bitmap) return false;
  out = object->bitmap;
  return true;
}

std::size_t CountGdiObjects() { return GdiTable::Get().Count(); }

}  // namespace Ostrum::Desktop
