#include "ostrum/foundation/core/CharacterSetConversions.h"

#include <cstdint>

#include "ostrum/foundation/platform/private/Utf8.h"

namespace CharacterSetConversions {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kMaxCodePoint = 0x10FFFF;

bool IsHighSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// wchar_t is signed on Linux; a negative value is no code point either.
char32_t CodePoint(wchar_t c) {
  auto value = static_cast<std::uint32_t>(c);
  return value > kMaxCodePoint ? kReplacement : static_cast<char32_t>(value);
}

}  // namespace

std::u16string ToUTF16(std::wstring_view text) {
  std::u16string units;
  units.reserve(text.size());
  for (wchar_t wc : text) {
    char32_t c = CodePoint(wc);
    if (c < 0x10000) {
      units.push_back(static_cast<char16_t>(c));
    } else {
      c -= 0x10000;
      units.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
      units.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    }
  }
  return units;
}

std::wstring FromUTF16(std::u16string_view units) {
  std::wstring text;
  text.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t c = units[i];
    if (IsHighSurrogate(c) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
      c = 0x10000 + ((c - 0xD800) << 10) + (units[i + 1] - 0xDC00);
      ++i;
    }
    text.push_back(static_cast<wchar_t>(c));
  }
  return text;
}

std::string ToUTF8(std::wstring_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (wchar_t wc : text) Ostrum::Desktop::Private::AppendUtf8(bytes, CodePoint(wc));
  return bytes;
}

namespace {

// Decodes UTF-8; a byte that starts no valid sequence goes through `invalid`. With
// `surrogates_valid` false, encoded surrogates count as invalid bytes too.
template <typename Invalid>
std::wstring Decode(std::string_view bytes, bool surrogates_valid, Invalid invalid) {
  std::wstring text;
  text.reserve(bytes.size());
  const std::size_t n = bytes.size();
  std::size_t i = 0;
  while (i < n) {
    const auto lead = static_cast<unsigned char>(bytes[i]);
    std::size_t length;
    char32_t c;
    char32_t minimum;
    if (lead < 0x80) {
      text.push_back(static_cast<wchar_t>(lead));
      ++i;
      continue;
    } else if ((lead & 0xE0) == 0xC0) {
      length = 2, c = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
      length = 3, c = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
      length = 4, c = lead & 0x07, minimum = 0x10000;
    } else {
      text.push_back(invalid(lead));
      ++i;
      continue;
    }
    bool valid = i + length <= n;
    for (std::size_t k = 1; valid && k < length; ++k) {
      const auto next = static_cast<unsigned char>(bytes[i + k]);
      if ((next & 0xC0) != 0x80) {
        valid = false;
      } else {
        c = (c << 6) | (next & 0x3F);
      }
    }
    // Overlong forms and values past U+10FFFF are refused; they could smuggle a '/' or NUL.
    if (!valid || c < minimum || c > kMaxCodePoint || (!surrogates_valid && IsHighSurrogate(c)) ||
        (!surrogates_valid && IsLowSurrogate(c))) {
      text.push_back(invalid(lead));
      ++i;
      continue;
    }
    text.push_back(static_cast<wchar_t>(c));
    i += length;
  }
  return text;
}

// Bytes that are no UTF-8 travel in wide text as U+DC80..U+DCFF, a range that valid UTF-8
// never yields here (encoded surrogates are themselves taken byte by byte).
constexpr char32_t kEscapeBase = 0xDC00;

}  // namespace

std::wstring FromUTF8(std::string_view bytes) {
  return Decode(bytes, true, [](unsigned char) { return static_cast<wchar_t>(kReplacement); });
}

std::string ToNativePath(std::wstring_view path) {
  std::string bytes;
  bytes.reserve(path.size());
  std::size_t start = 0;
  for (std::size_t i = 0; i <= path.size(); ++i) {
    const bool escape = i < path.size() && static_cast<std::uint32_t>(path[i]) >= kEscapeBase + 0x80 &&
                        static_cast<std::uint32_t>(path[i]) <= kEscapeBase + 0xFF;
    if (i < path.size() && !escape) continue;
    bytes += ToUTF8(path.substr(start, i - start));
    if (escape) bytes.push_back(static_cast<char>(static_cast<std::uint32_t>(path[i]) - kEscapeBase));
    start = i + 1;
  }
  return bytes;
}

std::wstring FromNativePath(std::string_view bytes) {
  return Decode(bytes, false, [](unsigned char byte) { return static_cast<wchar_t>(kEscapeBase + byte); });
}

String<wchar_t>::String(const std::wstring& text) : m_units(ToUTF16(text)) {}

std::wstring String<wchar_t>::ToWide(const char16_t* units, std::size_t count) {
  if (units == nullptr) return std::wstring();
  return FromUTF16(std::u16string_view(units, count));
}

}  // namespace CharacterSetConversions
