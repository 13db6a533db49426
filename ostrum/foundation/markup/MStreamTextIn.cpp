#include "ostrum/foundation/markup/MStreamTextIn.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// No number needs more than a few dozen characters; a longer word is no value of ours.
constexpr std::size_t kMaxWord = 63;

}  // namespace

namespace Ostrum::Markup {

bool ParseNumber(std::string_view word, double& value) {
  if (word.empty()) return false;
  double parsed = 0;
  // from_chars never looks at the locale. It accepts "nan" and "inf", which no file of ours
  // holds and which would poison every transform they reach.
  auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), parsed,
                                            std::chars_format::general);
  if (error != std::errc() || end != word.data() + word.size() || !std::isfinite(parsed)) return false;
  value = parsed;
  return true;
}

bool ParseNumber(std::string_view word, std::uint32_t& value) {
  std::uint32_t parsed = 0;
  auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), parsed, 10);
  if (word.empty() || error != std::errc() || end != word.data() + word.size()) return false;
  value = parsed;
  return true;
}

bool ParseNumber(std::string_view word, std::uint64_t& value) {
  std::uint64_t parsed = 0;
  auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), parsed, 10);
  if (word.empty() || error != std::errc() || end != word.data() + word.size()) return false;
  value = parsed;
  return true;
}

}  // namespace Ostrum::Markup

MStreamTextIn::MStreamTextIn(std::wstring text) {
  m_copy.reserve(text.size());
  for (wchar_t c : text) m_copy += c > 0 && c < 0x80 ? static_cast<char>(c) : '\x80';
  m_text = m_copy;
}

MStreamTextIn::MStreamTextIn(std::string_view text) : m_text(text) {}

bool MStreamTextIn::AtEnd() {
  while (m_position < m_text.size() && IsBlank(m_text[m_position])) ++m_position;
  return m_position >= m_text.size();
}

bool MStreamTextIn::_NextWord() {
  m_word = {};
  if (m_failed || AtEnd()) {
    m_failed = true;
    return false;
  }
  std::size_t const begin = m_position;
  while (m_position < m_text.size() && !IsBlank(m_text[m_position])) {
    // As signed char, every byte beyond ASCII (each byte of a longer UTF-8 character) is < 0.
    signed char const c = static_cast<signed char>(m_text[m_position++]);
    if (c <= 0 || c > 0x7E || m_position - begin > kMaxWord) {
      m_failed = true;
      return false;
    }
  }
  m_word = m_text.substr(begin, m_position - begin);
  return true;
}

MStreamTextIn& MStreamTextIn::operator>>(bool& value) {
  if (!_NextWord()) return *this;
  std::string_view const word = m_word;
  if (word == "true" || word == "1")
    value = true;
  else if (word == "false" || word == "0")
    value = false;
  else
    m_failed = true;
  return *this;
}

template <typename T>
MStreamTextIn& MStreamTextIn::_ReadInteger(T& value) {
  if (!_NextWord()) return *this;
  char const* begin = m_word.data();
  char const* const last = m_word.data() + m_word.size();
  // from_chars takes a '-' for signed types only, and no '+'.
  if (*begin == '+') ++begin;
  T parsed{};
  auto const [end, error] = std::from_chars(begin, last, parsed, 10);
  if (begin == last || error != std::errc() || end != last)
    m_failed = true;
  else
    value = parsed;
  return *this;
}

template <typename T>
MStreamTextIn& MStreamTextIn::_ReadFloating(T& value) {
  if (!_NextWord()) return *this;
  double parsed = 0;
  if (!Ostrum::Markup::ParseNumber(m_word, parsed) ||
      std::fabs(parsed) > static_cast<double>(std::numeric_limits<T>::max())) {
    m_failed = true;
    return *this;
  }
  value = static_cast<T>(parsed);
  return *this;
}

MStreamTextIn& MStreamTextIn::operator>>(double& value) { return _ReadFloating(value); }
MStreamTextIn& MStreamTextIn::operator>>(float& value) { return _ReadFloating(value); }
MStreamTextIn& MStreamTextIn::operator>>(std::int32_t& value) { return _ReadInteger(value); }
MStreamTextIn& MStreamTextIn::operator>>(std::uint32_t& value) { return _ReadInteger(value); }
MStreamTextIn& MStreamTextIn::operator>>(std::int64_t& value) { return _ReadInteger(value); }
MStreamTextIn& MStreamTextIn::operator>>(std::uint64_t& value) { return _ReadInteger(value); }
