#pragma once
// MStreamTextIn: reads values one after the other from a text, as loaders read the character
// data of an element ("1 0 0 0 ...", "true").
//
// Values are separated by white space. Each value must be the whole of its word and is parsed
// without the process's locale: a decimal point is always '.', numbers are range checked, and
// "nan", "inf" and hexadecimal floats are refused. The first failure sets the stream failed for
// good; a value that fails leaves its target untouched.

#include <cstdint>
#include <string>
#include <string_view>

#include "ostrum/Export.h"

class OSTRUM_API MStreamTextIn {
 public:
  /// A stream over a copy of `text`, positioned at its start.
  explicit MStreamTextIn(std::wstring text);
  /// A stream over UTF-8 `text` itself, which must outlive the stream (no copy is made: this
  /// is how loaders read numbers straight from MSAXReader::GetValueUTF8).
  explicit MStreamTextIn(std::string_view text);
  MStreamTextIn(MStreamTextIn const&) = delete;
  MStreamTextIn& operator=(MStreamTextIn const&) = delete;

  /// "true" or "1" give true, "false" or "0" false; anything else fails.
  MStreamTextIn& operator>>(bool& value);
  /// A finite decimal number within the target's range (a float also refuses a value that
  /// overflows it; one that underflows becomes the nearest float).
  MStreamTextIn& operator>>(double& value);
  MStreamTextIn& operator>>(float& value);
  /// A decimal integer, optionally signed (a '-' only for signed targets), within range.
  MStreamTextIn& operator>>(std::int32_t& value);
  MStreamTextIn& operator>>(std::uint32_t& value);
  MStreamTextIn& operator>>(std::int64_t& value);
  MStreamTextIn& operator>>(std::uint64_t& value);

  /// False once a value failed or was missing.
  bool IsGood() const { return !m_failed; }
  explicit operator bool() const { return !m_failed; }
  /// True when nothing but white space is left (also after a failure).
  bool AtEnd();

 private:
  // The next word, of printable ASCII, in `m_word`; false (and failed) when there is none, it
  // is too long for any number, or it holds any other character.
  bool _NextWord();
  template <typename T>
  MStreamTextIn& _ReadInteger(T& value);
  template <typename T>
  MStreamTextIn& _ReadFloating(T& value);

  // The text read: a view of the caller's UTF-8, or of `m_copy`, the narrowed copy of a wide
  // text (a character beyond ASCII becomes a byte no word may hold).
  std::string m_copy;
  std::string_view m_text;
  std::size_t m_position = 0;
  bool m_failed = false;
  std::string_view m_word;
};

namespace Ostrum::Markup {

/// The strict parses MStreamTextIn makes, on one word of ASCII text: the whole of `word` must be
/// the number. False (and `value` untouched) otherwise.
OSTRUM_API bool ParseNumber(std::string_view word, double& value);
OSTRUM_API bool ParseNumber(std::string_view word, std::uint32_t& value);
OSTRUM_API bool ParseNumber(std::string_view word, std::uint64_t& value);

}  // namespace Ostrum::Markup
