#include "TextRasterizer.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <climits>
#include <cmath>

namespace Ostrum::GL {

namespace {

// The font file fontconfig matches for "DejaVu Sans" (any sans-serif face if that one is
// missing); empty if none.
std::string FindFontFile() {
  FcConfig* config = FcInitLoadConfigAndFonts();
  if (!config) return {};
  std::string file;
  FcPattern* pattern = FcNameParse(reinterpret_cast<const FcChar8*>("DejaVu Sans:style=Book"));
  if (pattern) {
    FcConfigSubstitute(config, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result = FcResultNoMatch;
    FcPattern* match = FcFontMatch(config, pattern, &result);
    if (match) {
      FcChar8* path = nullptr;
      if (FcPatternGetString(match, FC_FILE, 0, &path) == FcResultMatch && path)
        file = reinterpret_cast<const char*>(path);
      FcPatternDestroy(match);
    }
    FcPatternDestroy(pattern);
  }
  FcConfigDestroy(config);
  return file;
}

}  // namespace

TextRasterizer::TextRasterizer() = default;

TextRasterizer::~TextRasterizer() {
  if (m_face) FT_Done_Face(static_cast<FT_Face>(m_face));
  if (m_library) FT_Done_FreeType(static_cast<FT_Library>(m_library));
}

bool TextRasterizer::_Load() {
  if (m_face) return true;
  if (m_tried) return false;
  m_tried = true;
  m_font_file = FindFontFile();
  if (m_font_file.empty()) {
    m_error = "fontconfig found no font (is fonts-dejavu-core installed?)";
    return false;
  }
  FT_Library library = nullptr;
  if (FT_Init_FreeType(&library) != 0) {
    m_error = "FreeType could not start";
    return false;
  }
  m_library = library;
  FT_Face face = nullptr;
  if (FT_New_Face(library, m_font_file.c_str(), 0, &face) != 0) {
    m_error = "FreeType could not open " + m_font_file;
    return false;
  }
  m_face = face;
  return true;
}

const TextRasterizer::Glyph* TextRasterizer::_Glyph(unsigned size, wchar_t code) {
  const auto key = std::make_pair(size, code);
  auto it = m_glyphs.find(key);
  if (it != m_glyphs.end()) return &it->second;
  FT_Face face = static_cast<FT_Face>(m_face);
  if (FT_Set_Pixel_Sizes(face, 0, size) != 0) return nullptr;
  if (FT_Load_Char(face, static_cast<FT_ULong>(code), FT_LOAD_RENDER) != 0) return nullptr;
  const FT_GlyphSlot slot = face->glyph;
  Glyph glyph;
  glyph.left = slot->bitmap_left;
  glyph.top = slot->bitmap_top;
  glyph.width = static_cast<int>(slot->bitmap.width);
  glyph.height = static_cast<int>(slot->bitmap.rows);
  glyph.advance = static_cast<int>((slot->advance.x + 32) >> 6);
  glyph.coverage.resize(static_cast<std::size_t>(glyph.width) * glyph.height);
  for (int y = 0; y < glyph.height; ++y) {
    const unsigned char* row = slot->bitmap.buffer + static_cast<std::ptrdiff_t>(y) * slot->bitmap.pitch;
    std::copy(row, row + glyph.width, glyph.coverage.begin() + static_cast<std::ptrdiff_t>(y) * glyph.width);
  }
  return &m_glyphs.emplace(key, std::move(glyph)).first->second;
}

bool TextRasterizer::Render(const wchar_t* text, float pixel_height, TextBitmap& out) {
  out = TextBitmap{};
  if (!text || !*text || !(pixel_height >= 1.0f) || !_Load()) return false;
  const unsigned size = static_cast<unsigned>(std::lround(std::min(pixel_height, 1024.0f)));
  // First pass: the box of all ink, pen positions from the advances.
  int min_x = INT_MAX, min_y = INT_MAX, max_x = INT_MIN, max_y = INT_MIN;
  int pen = 0;
  std::vector<std::pair<const Glyph*, int>> placed;
  for (const wchar_t* c = text; *c; ++c) {
    const Glyph* glyph = _Glyph(size, *c);
    if (!glyph) continue;
    if (glyph->width > 0 && glyph->height > 0) {
      min_x = std::min(min_x, pen + glyph->left);
      max_x = std::max(max_x, pen + glyph->left + glyph->width);
      min_y = std::min(min_y, -glyph->top);
      max_y = std::max(max_y, -glyph->top + glyph->height);
      placed.emplace_back(glyph, pen);
    }
    pen += glyph->advance;
  }
  if (placed.empty()) return false;
  out.width = max_x - min_x;
  out.height = max_y - min_y;
  out.left = min_x;
  out.top = -min_y;
  out.coverage.assign(static_cast<std::size_t>(out.width) * out.height, 0);
  for (const auto& [glyph, x] : placed) {
    const int ox = x + glyph->left - min_x, oy = -glyph->top - min_y;
    for (int y = 0; y < glyph->height; ++y)
      for (int i = 0; i < glyph->width; ++i) {
        std::uint8_t& dst = out.coverage[static_cast<std::size_t>(oy + y) * out.width + ox + i];
        dst = std::max(dst, glyph->coverage[static_cast<std::size_t>(y) * glyph->width + i]);
      }
  }
  return true;
}

}  // namespace Ostrum::GL
