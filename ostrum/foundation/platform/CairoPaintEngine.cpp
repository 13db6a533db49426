// The paint engine on Cairo. Images are Cairo RGB24 surfaces over the window image's own
// pixels; antialiasing is off everywhere, so a figure handed over in whole pixels covers exactly
// those pixels and text is drawn in its colour alone.

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <string>

#include "ostrum/foundation/platform/private/PaintEngine.h"
#include "ostrum/foundation/platform/private/Utf8.h"
#include "ostrum/foundation/platform/private/WindowImage.h"

namespace Ostrum::Desktop::Private {

namespace {

// A Cairo context on an image, clipped to the target's part and with its origin moved to the
// device context's; the image's lock is held while it lives.
class Canvas {
 public:
  explicit Canvas(const PaintTarget& target) : m_lock(target.image->mutex) {
    WindowImage& image = *target.image;
    if (image.width <= 0 || image.height <= 0) return;
    m_surface = cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(image.pixels.data()),
                                                    CAIRO_FORMAT_RGB24, image.width, image.height, image.width * 4);
    m_cr = cairo_create(m_surface);
    cairo_set_antialias(m_cr, CAIRO_ANTIALIAS_NONE);
    const RECT& clip = target.clip;
    const int left = std::max<int>(0, clip.left), top = std::max<int>(0, clip.top);
    const int right = std::min<int>(image.width, clip.right), bottom = std::min<int>(image.height, clip.bottom);
    if (right <= left || bottom <= top) {
      m_empty = true;
      return;
    }
    cairo_rectangle(m_cr, left, top, right - left, bottom - top);
    cairo_clip(m_cr);
    cairo_translate(m_cr, target.origin.x, target.origin.y);
  }
  ~Canvas() {
    if (m_cr) cairo_destroy(m_cr);
    if (m_surface) {
      cairo_surface_flush(m_surface);
      cairo_surface_destroy(m_surface);
    }
  }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  /// Null when there is nothing to draw on.
  cairo_t* Get() const { return m_cr && !m_empty ? m_cr : nullptr; }

 private:
  std::lock_guard<std::mutex> m_lock;
  cairo_surface_t* m_surface = nullptr;
  cairo_t* m_cr = nullptr;
  bool m_empty = false;
};

void SetColor(cairo_t* cr, COLORREF color) {
  cairo_set_source_rgb(cr, (color & 0xFF) / 255.0, ((color >> 8) & 0xFF) / 255.0, ((color >> 16) & 0xFF) / 255.0);
}

void AddRect(cairo_t* cr, const RECT& rect) {
  if (rect.right > rect.left && rect.bottom > rect.top)
    cairo_rectangle(cr, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top);
}

std::string Utf8(std::wstring_view text) {
  std::string bytes;
  for (wchar_t c : text) AppendUtf8(bytes, static_cast<uint32_t>(c));
  return bytes;
}

// Selects the font on `cr` at the pixel size its height asks for. A negative height is the
// character (em) height; a positive one the cell height, ascent and descent together.
void SelectFont(cairo_t* cr, const LOGFONTW& font) {
  std::wstring face(font.lfFaceName, std::find(font.lfFaceName, font.lfFaceName + LF_FACESIZE, L'\0'));
  if (face.empty()) face = L"DejaVu Sans";
  cairo_select_font_face(cr, Utf8(face).c_str(), font.lfItalic ? CAIRO_FONT_SLANT_ITALIC : CAIRO_FONT_SLANT_NORMAL,
                         font.lfWeight >= 600 ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_ON);
  cairo_set_font_options(cr, options);
  cairo_font_options_destroy(options);
  double size = 13.0;
  if (font.lfHeight < 0) {
    size = -static_cast<double>(font.lfHeight);
  } else if (font.lfHeight > 0) {
    cairo_set_font_size(cr, 100.0);
    cairo_font_extents_t extents;
    cairo_font_extents(cr, &extents);
    const double cell = extents.ascent + extents.descent;
    size = cell > 0 ? font.lfHeight * 100.0 / cell : font.lfHeight;
  }
  cairo_set_font_size(cr, size);
}

TextExtent Measure(cairo_t* cr, const std::string& utf8) {
  cairo_font_extents_t font;
  cairo_font_extents(cr, &font);
  cairo_text_extents_t text;
  cairo_text_extents(cr, utf8.c_str(), &text);
  TextExtent extent;
  extent.ascent = static_cast<int>(std::ceil(font.ascent));
  extent.height = extent.ascent + static_cast<int>(std::ceil(font.descent));
  extent.width = static_cast<int>(std::lround(text.x_advance));
  return extent;
}

}  // namespace

void PaintFillRect(const PaintTarget& target, const RECT& rect, COLORREF color) {
  Canvas canvas(target);
  cairo_t* cr = canvas.Get();
  if (!cr) return;
  SetColor(cr, color);
  AddRect(cr, rect);
  cairo_fill(cr);
}

void PaintFillBand(const PaintTarget& target, const RECT& outer, const RECT& inner, COLORREF color) {
  Canvas canvas(target);
  cairo_t* cr = canvas.Get();
  if (!cr) return;
  SetColor(cr, color);
  cairo_set_fill_rule(cr, CAIRO_FILL_RULE_EVEN_ODD);
  AddRect(cr, outer);
  RECT hole{std::max(inner.left, outer.left), std::max(inner.top, outer.top), std::min(inner.right, outer.right),
            std::min(inner.bottom, outer.bottom)};
  AddRect(cr, hole);
  cairo_fill(cr);
}

void PaintFillSquares(const PaintTarget& target, const std::vector<POINT>& points, int size, COLORREF color) {
  Canvas canvas(target);
  cairo_t* cr = canvas.Get();
  if (!cr || points.empty()) return;
  SetColor(cr, color);
  // Overlapping squares must not cancel out.
  cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
  const int back = (size - 1) / 2;
  for (const POINT& p : points) cairo_rectangle(cr, p.x - back, p.y - back, size, size);
  cairo_fill(cr);
}

TextExtent MeasureText(const LOGFONTW& font, std::wstring_view text) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1);
  cairo_t* cr = cairo_create(surface);
  SelectFont(cr, font);
  const TextExtent extent = Measure(cr, Utf8(text));
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
  return extent;
}

void PaintText(const PaintTarget& target, POINT at, std::wstring_view text, const LOGFONTW& font, COLORREF color,
               const COLORREF* background, const RECT* clip) {
  Canvas canvas(target);
  cairo_t* cr = canvas.Get();
  if (!cr) return;
  if (clip) {
    AddRect(cr, *clip);
    cairo_clip(cr);
  }
  SelectFont(cr, font);
  const std::string utf8 = Utf8(text);
  const TextExtent extent = Measure(cr, utf8);
  if (background) {
    SetColor(cr, *background);
    cairo_rectangle(cr, at.x, at.y, extent.width, extent.height);
    cairo_fill(cr);
  }
  SetColor(cr, color);
  cairo_move_to(cr, at.x, at.y + extent.ascent);
  cairo_show_text(cr, utf8.c_str());
}

}  // namespace Ostrum::Desktop::Private
