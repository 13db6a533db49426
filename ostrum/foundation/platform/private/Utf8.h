#pragma once
// The UTF-8 encoding of one character, shared by the desktop model's debug output and the
// character set conversions above it.

#include <cstdint>
#include <string>

namespace Ostrum::Desktop::Private {

/// Appends `c` as UTF-8: one to four bytes; a value past U+10FFFF becomes U+FFFD. Surrogate
/// values are encoded as three bytes like any other character below U+10000.
inline void AppendUtf8(std::string& bytes, std::uint32_t c) {
  if (c > 0x10FFFF) c = 0xFFFD;
  if (c < 0x80) {
    bytes.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    bytes.push_back(static_cast<char>(0xC0 | (c >> 6)));
    bytes.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    bytes.push_back(static_cast<char>(0xE0 | (c >> 12)));
    bytes.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    bytes.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    bytes.push_back(static_cast<char>(0xF0 | (c >> 18)));
    bytes.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    bytes.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    bytes.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

}  // namespace Ostrum::Desktop::Private
