#pragma once
// TextRasterizer: a line of text as a coverage bitmap, with FreeType, in the sans-serif face
// fontconfig finds (DejaVu Sans on Debian).

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Ostrum::GL {

/// Coverage 0..255 a pixel, the top row first; the pen starts at (0, 0) on the baseline, and
/// the bitmap's top-left pixel lies at (left, -top) from it (y down).
struct TextBitmap {
  int width = 0;
  int height = 0;
  int left = 0;
  int top = 0;
  std::vector<std::uint8_t> coverage;
};

class TextRasterizer {
 public:
  TextRasterizer();
  ~TextRasterizer();
  TextRasterizer(const TextRasterizer&) = delete;
  TextRasterizer& operator=(const TextRasterizer&) = delete;

  /// Renders `text` at `pixel_height` pixels (the face's em). False if no font could be
  /// loaded (then `GetError` says why) or the text has no ink.
  bool Render(const wchar_t* text, float pixel_height, TextBitmap& out);
  const std::string& GetError() const { return m_error; }
  /// The font file in use; empty before the first Render.
  const std::string& GetFontFile() const { return m_font_file; }

 private:
  struct Glyph {
    int left = 0, top = 0, width = 0, height = 0, advance = 0;
    std::vector<std::uint8_t> coverage;
  };
  bool _Load();
  const Glyph* _Glyph(unsigned size, wchar_t code);

  void* m_library = nullptr;  // FT_Library
  void* m_face = nullptr;     // FT_Face
  bool m_tried = false;
  std::string m_error;
  std::string m_font_file;
  std::map<std::pair<unsigned, wchar_t>, Glyph> m_glyphs;
};

}  // namespace Ostrum::GL
