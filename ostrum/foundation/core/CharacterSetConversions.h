#pragma once
// Conversions between the framework's wide text (UTF-32 wchar_t on Linux), the UTF-16 code
// units that undo streams store, the UTF-8 that XML uses, and the bytes of file paths.

#include <cstddef>
#include <string>
#include <string_view>

#include "ostrum/Export.h"

namespace CharacterSetConversions {

/// The text as UTF-16 code units: characters above U+FFFF become surrogate pairs, surrogate
/// values already in the text are kept as single units, and values that are no Unicode code
/// point (above U+10FFFF or negative) become U+FFFD.
OSTRUM_API std::u16string ToUTF16(std::wstring_view text);
/// The wide text of UTF-16 code units: a high surrogate followed by a low one makes one
/// character; a surrogate without its partner is kept as it is, so any units survive a round
/// trip through ToUTF16.
OSTRUM_API std::wstring FromUTF16(std::u16string_view units);
/// The text as UTF-8. Surrogate values in the text are encoded as three bytes like any other
/// character below U+10000, so that FromUTF8 gives them back; non-characters become U+FFFD.
OSTRUM_API std::string ToUTF8(std::wstring_view text);
/// The wide text of UTF-8 bytes; each byte that starts no valid sequence becomes U+FFFD.
/// Encoded surrogates, as ToUTF8 writes them, are accepted.
OSTRUM_API std::wstring FromUTF8(std::string_view bytes);

/// A file system path as the system takes it. Paths are bytes on Linux and need not be UTF-8:
/// the characters U+DC80..U+DCFF that FromNativePath made of bytes that were no UTF-8 become
/// those bytes again; everything else is UTF-8.
OSTRUM_API std::string ToNativePath(std::wstring_view path);
/// A path from the system as wide text: UTF-8 sequences become their characters, and every
/// other byte (also the bytes of an encoded surrogate) becomes U+DC00 plus the byte, so that
/// ToNativePath gives back exactly the bytes of any path.
OSTRUM_API std::wstring FromNativePath(std::string_view bytes);

template <typename Char>
class String;

/// The characters of a wide string as UTF-16 code units, in the machine's byte order, without
/// terminator in the count (the data is terminated nonetheless).
template <>
class OSTRUM_API String<wchar_t> {
 public:
  /// Converts `text` at once, as ToUTF16 does.
  explicit String(const std::wstring& text);

  /// The first code unit; valid as long as this object lives.
  const char16_t* GetData() const { return m_units.c_str(); }
  /// The number of code units (a character above U+FFFF counts two).
  std::size_t GetLength() const { return m_units.size(); }
  /// The number of bytes of the code units, two for each.
  std::size_t GetByteLength() const { return m_units.size() * sizeof(char16_t); }
  /// All code units.
  const std::u16string& GetUTF16() const { return m_units; }

  /// The reverse conversion, as FromUTF16 does: `count` code units from `units` to wide text.
  static std::wstring ToWide(const char16_t* units, std::size_t count);

 private:
  std::u16string m_units;
};

}  // namespace CharacterSetConversions
