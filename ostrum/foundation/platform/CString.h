#pragma once
// CString: the desktop model's wide string, a small value class over std::wstring.

#include <cstddef>
#include <string>
#include <string_view>

class CString {
 public:
  CString() = default;
  CString(const wchar_t* text) : m_text(text ? text : L"") {}  // NOLINT: implicit as on the desktop
  CString(std::wstring text) : m_text(std::move(text)) {}      // NOLINT
  CString(std::wstring_view text) : m_text(text) {}            // NOLINT

  /// The characters, valid until the string changes.
  operator const wchar_t*() const { return m_text.c_str(); }  // NOLINT
  const wchar_t* GetString() const { return m_text.c_str(); }
  const std::wstring& Str() const { return m_text; }
  std::wstring& Str() { return m_text; }

  int GetLength() const { return static_cast<int>(m_text.size()); }
  bool IsEmpty() const { return m_text.empty(); }
  void Empty() { m_text.clear(); }

  CString& operator=(const wchar_t* text) { m_text = text ? text : L""; return *this; }
  CString& operator+=(const CString& other) { m_text += other.m_text; return *this; }
  CString& operator+=(const wchar_t* text) { if (text) m_text += text; return *this; }
  CString& operator+=(wchar_t c) { m_text += c; return *this; }
  friend CString operator+(CString a, const CString& b) { a += b; return a; }

  friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
  friend bool operator==(const CString& a, const wchar_t* b) { return a.m_text == (b ? b : L""); }

 private:
  std::wstring m_text;
};
