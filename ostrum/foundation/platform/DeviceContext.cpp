// Device contexts: the table of DCs with their drawing state, and GDI's pixel rules for
// figures, lines and text, drawn through the paint engine into window images.

#include "ostrum/foundation/platform/DeviceContext.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/private/DeviceContexts.h"
#include "ostrum/foundation/platform/private/GdiTable.h"
#include "ostrum/foundation/platform/private/PaintEngine.h"
#include "ostrum/foundation/platform/private/ResetHooks.h"
#include "ostrum/foundation/platform/private/WindowImage.h"

namespace Ostrum::Desktop::Private {

namespace {

enum class DCKind { Window, Client, Paint };

// What one DC holds. The image is held weakly: the window's record owns it.
struct DeviceContext {
  DCKind kind = DCKind::Client;
  HWND hwnd = nullptr;
  std::weak_ptr<WindowImage> image;
  POINT origin{};  // logical (0, 0) in the image
  RECT clip{};     // image coordinates
  HGDIOBJ pen_handle = nullptr;
  HGDIOBJ brush_handle = nullptr;
  HGDIOBJ font_handle = nullptr;
  std::shared_ptr<const GdiObject> pen;
  std::shared_ptr<const GdiObject> brush;
  std::shared_ptr<const GdiObject> font;
  COLORREF text_color = RGB(0, 0, 0);
  COLORREF bk_color = RGB(255, 255, 255);
  int bk_mode = OPAQUE;
  POINT position{};
};

class DCTable {
 public:
  static DCTable& Get() {
    static DCTable* table = new DCTable;
    return *table;
  }
  HDC Add(DeviceContext dc) {
    const uintptr_t key = NextGdiHandle();
    std::lock_guard lock(m_mutex);
    m_dcs.emplace(key, std::move(dc));
    return reinterpret_cast<HDC>(key);
  }
  /// Removes the DC if `accept` agrees; whether it did.
  template <class F>
  bool RemoveIf(HDC hdc, F&& accept) {
    std::lock_guard lock(m_mutex);
    auto it = m_dcs.find(reinterpret_cast<uintptr_t>(hdc));
    if (it == m_dcs.end() || !accept(it->second)) return false;
    m_dcs.erase(it);
    return true;
  }
  /// Runs `f(DeviceContext&)` under the lock; none for no DC.
  template <class F>
  auto With(HDC hdc, F&& f) -> std::optional<decltype(f(std::declval<DeviceContext&>()))> {
    std::lock_guard lock(m_mutex);
    auto it = m_dcs.find(reinterpret_cast<uintptr_t>(hdc));
    if (it == m_dcs.end()) return std::nullopt;
    return f(it->second);
  }
  std::size_t Count() {
    std::lock_guard lock(m_mutex);
    return m_dcs.size();
  }
  void Clear() {
    std::lock_guard lock(m_mutex);
    m_dcs.clear();
  }

 private:
  std::mutex m_mutex;
  std::unordered_map<uintptr_t, DeviceContext> m_dcs;
};

// ResetModel forgets every DC: the windows they drew on are gone.
[[maybe_unused]] const bool g_reset_registered = AddResetHook([] { DCTable::Get().Clear(); });

HDC MakeDC(HWND hwnd, DCKind kind, const RECT* paint) {
  std::shared_ptr<WindowImage> image = hwnd ? ImageOfWindow(hwnd) : nullptr;
  if (!image) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return nullptr;
  }
  DeviceContext dc;
  dc.kind = kind;
  dc.hwnd = hwnd;
  dc.image = image;
  const RECT client = ClientInImage(hwnd);
  if (kind == DCKind::Window) {
    std::lock_guard lock(image->mutex);
    dc.clip = RECT{0, 0, image->width, image->height};
  } else {
    dc.origin = POINT{client.left, client.top};
    dc.clip = client;
    if (paint) {
      RECT part = *paint;
      OffsetRect(&part, client.left, client.top);
      IntersectRect(&dc.clip, &client, &part);
    }
  }
  dc.pen_handle = GetStockObject(BLACK_PEN);
  dc.brush_handle = GetStockObject(WHITE_BRUSH);
  dc.font_handle = GetStockObject(SYSTEM_FONT);
  dc.pen = FindGdiObject(dc.pen_handle);
  dc.brush = FindGdiObject(dc.brush_handle);
  dc.font = FindGdiObject(dc.font_handle);
  return DCTable::Get().Add(std::move(dc));
}

// What a drawing call needs of its DC, copied under the table's lock; the image is held for
// the call. None if the handle is no DC or its window is gone.
struct Drawing {
  std::shared_ptr<WindowImage> image;
  PaintTarget target;
  DeviceContext state;
};

std::optional<Drawing> Begin(HDC hdc) {
  auto copied = DCTable::Get().With(hdc, [](DeviceContext& dc) { return dc; });
  if (!copied) {
    SetLastError(ERROR_INVALID_HANDLE);
    return std::nullopt;
  }
  Drawing drawing;
  drawing.image = copied->image.lock();
  if (!drawing.image) {
    SetLastError(ERROR_INVALID_HANDLE);
    return std::nullopt;
  }
  drawing.state = std::move(*copied);
  drawing.target = PaintTarget{drawing.image.get(), drawing.state.origin, drawing.state.clip};
  return drawing;
}

bool DrawsPen(const GdiObject* pen) { return pen && pen->pen_style != PS_NULL; }
bool FillsBrush(const GdiObject* brush) { return brush && brush->brush_style != BS_NULL; }

// The pixels of a line from `from` to `to`, `to` left out, as the desktop's lines step: along
// the longer axis one pixel at a time, the other coordinate rounded.
std::vector<POINT> LinePixels(POINT from, POINT to) {
  std::vector<POINT> points;
  const int dx = to.x - from.x, dy = to.y - from.y;
  const int steps = std::max(std::abs(dx), std::abs(dy));
  points.reserve(static_cast<std::size_t>(steps));
  for (int i = 0; i < steps; ++i) {
    // Rounding half away from the start keeps the line symmetric to its reverse but for the end.
    const auto along = [&](int start, int delta) {
      const long long num = static_cast<long long>(delta) * i;
      const long long twice = 2 * num + (num >= 0 ? steps : -steps);
      return start + static_cast<int>(twice / (2LL * steps));
    };
    points.push_back(POINT{along(from.x, dx), along(from.y, dy)});
  }
  return points;
}

}  // namespace

HDC MakePaintDC(HWND hwnd, const RECT& paint) { return MakeDC(hwnd, DCKind::Paint, &paint); }

}  // namespace Ostrum::Desktop::Private

using Ostrum::Desktop::Private::DCKind;
using Ostrum::Desktop::Private::DCTable;
using Ostrum::Desktop::Private::DeviceContext;
using Ostrum::Desktop::Private::DrawsPen;
using Ostrum::Desktop::Private::FillsBrush;
using Ostrum::Desktop::Private::GdiObject;

HDC GetDC(HWND hwnd) { return Ostrum::Desktop::Private::MakeDC(hwnd, DCKind::Client, nullptr); }

HDC GetWindowDC(HWND hwnd) { return Ostrum::Desktop::Private::MakeDC(hwnd, DCKind::Window, nullptr); }

int ReleaseDC(HWND hwnd, HDC hdc) {
  const bool released = DCTable::Get().RemoveIf(
      hdc, [&](const DeviceContext& dc) { return dc.hwnd == hwnd && dc.kind != DCKind::Paint; });
  if (released) Ostrum::Desktop::Private::ForgetDeviceContextWrapper(hdc);
  return released ? 1 : 0;
}

BOOL DeleteDC(HDC hdc) {
  const bool deleted = DCTable::Get().RemoveIf(hdc, [](const DeviceContext&) { return true; });
  if (deleted) Ostrum::Desktop::Private::ForgetDeviceContextWrapper(hdc);
  return deleted ? TRUE : FALSE;
}

HGDIOBJ SelectObject(HDC hdc, HGDIOBJ object) {
  std::shared_ptr<const GdiObject> found = Ostrum::Desktop::Private::FindGdiObject(object);
  if (!found || found->kind == GdiObject::Kind::Bitmap) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  auto previous = DCTable::Get().With(hdc, [&](DeviceContext& dc) {
    HGDIOBJ* handle = nullptr;
    std::shared_ptr<const GdiObject>* held = nullptr;
    switch (found->kind) {
      case GdiObject::Kind::Pen:
        handle = &dc.pen_handle;
        held = &dc.pen;
        break;
      case GdiObject::Kind::Brush:
        handle = &dc.brush_handle;
        held = &dc.brush;
        break;
      default:
        handle = &dc.font_handle;
        held = &dc.font;
        break;
    }
    HGDIOBJ before = *handle;
    *handle = object;
    *held = found;
    return before;
  });
  if (!previous) SetLastError(ERROR_INVALID_HANDLE);
  return previous.value_or(nullptr);
}

HGDIOBJ GetCurrentObject(HDC hdc, UINT type) {
  return DCTable::Get()
      .With(hdc, [&](DeviceContext& dc) -> HGDIOBJ {
        switch (type) {
          case OBJ_PEN:
            return dc.pen_handle;
          case OBJ_BRUSH:
            return dc.brush_handle;
          case OBJ_FONT:
            return dc.font_handle;
          default:
            return nullptr;
        }
      })
      .value_or(nullptr);
}

DWORD GetObjectType(HGDIOBJ object) {
  if (DCTable::Get().With(static_cast<HDC>(object), [](DeviceContext&) { return true; })) return OBJ_DC;
  auto found = Ostrum::Desktop::Private::FindGdiObject(object);
  if (!found) return 0;
  switch (found->kind) {
    case GdiObject::Kind::Bitmap:
      return OBJ_BITMAP;
    case GdiObject::Kind::Pen:
      return OBJ_PEN;
    case GdiObject::Kind::Brush:
      return OBJ_BRUSH;
    case GdiObject::Kind::Font:
      return OBJ_FONT;
  }
  return 0;
}

int GetDeviceCaps(HDC hdc, int index) {
  auto size = DCTable::Get().With(hdc, [](DeviceContext& dc) {
    return SIZE{dc.clip.right - dc.clip.left, dc.clip.bottom - dc.clip.top};
  });
  if (!size) return 0;
  switch (index) {
    case LOGPIXELSX:
    case LOGPIXELSY:
      return 96;
    case BITSPIXEL:
      return 32;
    case HORZRES:
      return size->cx;
    case VERTRES:
      return size->cy;
    default:
      return 0;
  }
}

BOOL MoveToEx(HDC hdc, int x, int y, LPPOINT previous) {
  auto before = DCTable::Get().With(hdc, [&](DeviceContext& dc) { return std::exchange(dc.position, POINT{x, y}); });
  if (!before) return FALSE;
  if (previous) *previous = *before;
  return TRUE;
}

BOOL LineTo(HDC hdc, int x, int y) {
  auto drawing = Ostrum::Desktop::Private::Begin(hdc);
  if (!drawing) return FALSE;
  DCTable::Get().With(hdc, [&](DeviceContext& dc) { return dc.position = POINT{x, y}; });
  const GdiObject* pen = drawing->state.pen.get();
  if (!DrawsPen(pen)) return TRUE;
  Ostrum::Desktop::Private::PaintFillSquares(
      drawing->target, Ostrum::Desktop::Private::LinePixels(drawing->state.position, POINT{x, y}), pen->pen_width,
      pen->color);
  return TRUE;
}

BOOL Rectangle(HDC hdc, int left, int top, int right, int bottom) {
  auto drawing = Ostrum::Desktop::Private::Begin(hdc);
  if (!drawing) return FALSE;
  if (right < left) std::swap(left, right);
  if (bottom < top) std::swap(top, bottom);
  const GdiObject* pen = drawing->state.pen.get();
  const GdiObject* brush = drawing->state.brush.get();
  const bool outlined = DrawsPen(pen);
  // 1. The inside, with the brush: the whole figure under a pen, a pixel less at the right and
  //    bottom without one.
  if (FillsBrush(brush)) {
    const RECT inside = outlined ? RECT{left, top, right, bottom} : RECT{left, top, right - 1, bottom - 1};
    Ostrum::Desktop::Private::PaintFillRect(drawing->target, inside, brush->color);
  }
  if (!outlined) return TRUE;
  // 2. The outline. An inside-frame pen keeps its whole width within the figure; another pen is
  //    centred on the edge pixels (left, top) and (right - 1, bottom - 1).
  const int w = pen->pen_width;
  RECT outer{left, top, right, bottom};
  if (pen->pen_style != PS_INSIDEFRAME && w > 1) {
    const int back = (w - 1) / 2;
    outer = RECT{left - back, top - back, right - back + w - 1, bottom - back + w - 1};
  }
  const RECT inner{outer.left + w, outer.top + w, outer.right - w, outer.bottom - w};
  Ostrum::Desktop::Private::PaintFillBand(drawing->target, outer, inner, pen->color);
  return TRUE;
}

int FillRect(HDC hdc, const RECT* rect, HBRUSH brush) {
  auto found = Ostrum::Desktop::Private::FindGdiObject(brush);
  if (!rect || !found || found->kind != GdiObject::Kind::Brush) return 0;
  auto drawing = Ostrum::Desktop::Private::Begin(hdc);
  if (!drawing) return 0;
  if (FillsBrush(found.get())) Ostrum::Desktop::Private::PaintFillRect(drawing->target, *rect, found->color);
  return 1;
}

COLORREF GetPixel(HDC hdc, int x, int y) {
  auto drawing = Ostrum::Desktop::Private::Begin(hdc);
  if (!drawing) return CLR_INVALID;
  const POINT at{x + drawing->target.origin.x, y + drawing->target.origin.y};
  const RECT& clip = drawing->target.clip;
  if (at.x < clip.left || at.y < clip.top || at.x >= clip.right || at.y >= clip.bottom) return CLR_INVALID;
  auto& image = *drawing->image;
  std::lock_guard lock(image.mutex);
  if (at.x >= image.width || at.y >= image.height || at.x < 0 || at.y < 0) return CLR_INVALID;
  const uint32_t p = image.pixels[static_cast<std::size_t>(at.y) * static_cast<std::size_t>(image.width) +
                                  static_cast<std::size_t>(at.x)];
  return RGB(static_cast<BYTE>(p >> 16), static_cast<BYTE>(p >> 8), static_cast<BYTE>(p));
}

COLORREF SetTextColor(HDC hdc, COLORREF color) {
  return DCTable::Get()
      .With(hdc, [&](DeviceContext& dc) { return std::exchange(dc.text_color, color & 0x00FFFFFF); })
      .value_or(CLR_INVALID);
}
COLORREF GetTextColor(HDC hdc) {
  return DCTable::Get().With(hdc, [](DeviceContext& dc) { return dc.text_color; }).value_or(CLR_INVALID);
}
COLORREF SetBkColor(HDC hdc, COLORREF color) {
  return DCTable::Get()
      .With(hdc, [&](DeviceContext& dc) { return std::exchange(dc.bk_color, color & 0x00FFFFFF); })
      .value_or(CLR_INVALID);
}
COLORREF GetBkColor(HDC hdc) {
  return DCTable::Get().With(hdc, [](DeviceContext& dc) { return dc.bk_color; }).value_or(CLR_INVALID);
}
int SetBkMode(HDC hdc, int mode) {
  if (mode != TRANSPARENT && mode != OPAQUE) return 0;
  return DCTable::Get().With(hdc, [&](DeviceContext& dc) { return std::exchange(dc.bk_mode, mode); }).value_or(0);
}
int GetBkMode(HDC hdc) { return DCTable::Get().With(hdc, [](DeviceContext& dc) { return dc.bk_mode; }).value_or(0); }

namespace {

std::wstring_view TextOf(LPCWSTR text, int count) {
  if (!text) return {};
  return count < 0 ? std::wstring_view(text) : std::wstring_view(text, static_cast<std::size_t>(count));
}

}  // namespace

BOOL TextOutW(HDC hdc, int x, int y, LPCWSTR text, int count) {
  auto drawing = Ostrum::Desktop::Private::Begin(hdc);
  if (!drawing || (!text && count > 0)) return FALSE;
  const DeviceContext& dc = drawing->state;
  Ostrum::Desktop::Private::PaintText(drawing->target, POINT{x, y}, TextOf(text, std::max(0, count)), dc.font->font,
                                      dc.text_color, dc.bk_mode == OPAQUE ? &dc.bk_color : nullptr, nullptr);
  return TRUE;
}

BOOL GetTextExtentPoint32W(HDC hdc, LPCWSTR text, int count, SIZE* size) {
  if (!size || (!text && count > 0)) return FALSE;
  auto font = DCTable::Get().With(hdc, [](DeviceContext& dc) { return dc.font; });
  if (!font || !*font) return FALSE;
  const auto extent = Ostrum::Desktop::Private::MeasureText((*font)->font, TextOf(text, std::max(0, count)));
  *size = SIZE{extent.width, extent.height};
  return TRUE;
}

int DrawTextW(HDC hdc, LPCWSTR text, int count, LPRECT rect, UINT format) {
  if (!rect || (!text && count != 0)) return 0;
  auto font = DCTable::Get().With(hdc, [](DeviceContext& dc) { return dc.font; });
  if (!font || !*font) return 0;
  const LOGFONTW& logfont = (*font)->font;
  // 1. The lines and their extents.
  const std::wstring_view all = TextOf(text, count);
  std::vector<std::wstring_view> lines;
  if (format & DT_SINGLELINE) {
    lines.push_back(all);
  } else {
    std::size_t start = 0;
    for (;;) {
      const std::size_t end = all.find(L'\n', start);
      lines.push_back(all.substr(start, end == std::wstring_view::npos ? std::wstring_view::npos : end - start));
      if (end == std::wstring_view::npos) break;
      start = end + 1;
    }
  }
  std::vector<Ostrum::Desktop::Private::TextExtent> extents;
  int height = 0, width = 0;
  for (std::wstring_view line : lines) {
    extents.push_back(Ostrum::Desktop::Private::MeasureText(logfont, line));
    height += extents.back().height;
    width = std::max(width, extents.back().width);
  }
  if (format & DT_CALCRECT) {
    rect->right = rect->left + width;
    rect->bottom = rect->top + height;
    return height;
  }
  // 2. Where they go: a single line may be centred or put at the bottom.
  int top = rect->top;
  const bool single = (format & DT_SINGLELINE) != 0;
  if (single && (format & DT_VCENTER)) top = rect->top + (rect->bottom - rect->top - height) / 2;
  else if (single && (format & DT_BOTTOM)) top = rect->bottom - height;
  auto drawing = Ostrum::Desktop::Private::Begin(hdc);
  if (!drawing) return 0;
  const DeviceContext& dc = drawing->state;
  const RECT* clip = (format & DT_NOCLIP) ? nullptr : rect;
  int y = top;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    int x = rect->left;
    if (format & DT_CENTER) x = rect->left + (rect->right - rect->left - extents[i].width) / 2;
    else if (format & DT_RIGHT) x = rect->right - extents[i].width;
    Ostrum::Desktop::Private::PaintText(drawing->target, POINT{x, y}, lines[i], logfont, dc.text_color,
                                        dc.bk_mode == OPAQUE ? &dc.bk_color : nullptr, clip);
    y += extents[i].height;
  }
  return single && (format & (DT_VCENTER | DT_BOTTOM)) ? top - rect->top + height : height;
}

namespace Ostrum::Desktop {

std::size_t CountDeviceContexts() { return Private::DCTable::Get().Count(); }

}  // namespace Ostrum::Desktop
