#include "ostrum/foundation/core/CharacterSetConversions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>

namespace {

using namespace CharacterSetConversions;

// The bytes as undo streams store them: UTF-16 in little-endian order, terminated past the counted
// units, characters above the basic plane as surrogate pairs. What is no character is replaced;
// unpaired surrogates survive a round trip.
TEST(CharacterSetConversions, Utf16IsLittleEndianWithSurrogatePairs) {
  const std::wstring text = L"A\u00e9\u20ac\U0001F600z";
  const String<wchar_t> units(text);
  EXPECT_EQ(units.GetByteLength(), 12u);
  const unsigned char expected[] = {0x41, 0, 0xE9, 0, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE, 0x7A, 0, 0, 0};
  EXPECT_EQ(std::memcmp(units.GetData(), expected, sizeof expected), 0);
  EXPECT_EQ(String<wchar_t>::ToWide(units.GetData(), units.GetLength()), text);

  const std::u16string unpaired = {0xD83D, 0x41, 0xDE00, 0xD800, 0xD801, 0xDC00, 0xD83D};
  EXPECT_EQ(ToUTF16(FromUTF16(unpaired)), unpaired);
  EXPECT_EQ(FromUTF8(ToUTF8(FromUTF16(unpaired))), FromUTF16(unpaired)) << "also through UTF-8, as paths go";
  EXPECT_EQ(ToUTF16(std::wstring{wchar_t(0x110000), L'a'}), (std::u16string{0xFFFD, u'a'}));
  // An overlong '/', a truncated sequence, a stray continuation byte, a value past U+10FFFF.
  EXPECT_EQ(FromUTF8("\xC0\xAF"), L"\uFFFD\uFFFD");
  EXPECT_EQ(FromUTF8("x\xE2\x82"), L"x\uFFFD\uFFFD");
  EXPECT_EQ(FromUTF8("\x80y"), L"\uFFFDy");
  EXPECT_EQ(FromUTF8("\xF4\x90\x80\x80"), L"\uFFFD\uFFFD\uFFFD\uFFFD");
}

// Paths are bytes. UTF-8 in them comes out as its characters; every byte that starts no valid
// sequence (also those of an overlong form, of an encoded surrogate, of a value past U+10FFFF)
// comes out as U+DC00 plus the byte; and ToNativePath gives back exactly the bytes.
TEST(CharacterSetConversions, NativePathsRoundTripAnyBytes) {
  const auto escaped = [](std::initializer_list<unsigned> bytes) {
    std::wstring text;
    for (unsigned byte : bytes) text.push_back(static_cast<wchar_t>(0xDC00 + byte));
    return text;
  };
  const std::pair<std::string, std::wstring> rows[] = {
      {"/tmp/\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80", L"/tmp/\u00e4\u20ac\U0001F600"},
      {"a\xff\xfe" "b", L"a" + escaped({0xFF, 0xFE}) + L"b"},
      {"\xc0\xaf", escaped({0xC0, 0xAF})},              // an overlong '/'
      {"\xe0\x80\xaf", escaped({0xE0, 0x80, 0xAF})},   // the same, in three bytes
      {"\xed\xa0\x80", escaped({0xED, 0xA0, 0x80})},   // an encoded high surrogate
      {"\xed\xb2\x80", escaped({0xED, 0xB2, 0x80})},   // U+DC80, which must not pass for the byte 0x80
      {"\xf4\x90\x80\x80", escaped({0xF4, 0x90, 0x80, 0x80})},  // past U+10FFFF
      {"x\xe2\x82", L"x" + escaped({0xE2, 0x82})},      // cut short
      {"\x80\xbf", escaped({0x80, 0xBF})},              // continuation bytes alone
      {"\xf8\x88\x80\x80\x80", escaped({0xF8, 0x88, 0x80, 0x80, 0x80})},  // a five-byte form
      {"\xe2\x82\xac\x80", L"\u20ac" + escaped({0x80})},
      {std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
  };
  for (const auto& [bytes, text] : rows) {
    EXPECT_EQ(FromNativePath(bytes), text) << testing::PrintToString(bytes);
    EXPECT_EQ(ToNativePath(text), bytes) << testing::PrintToString(bytes);
  }

  // Every byte alone, every byte after each lead byte, and random strings biased to the bytes
  // that make UTF-8 (leads, continuations) or break it.
  std::vector<std::string> samples;
  for (int byte = 0; byte < 256; ++byte) {
    samples.push_back(std::string(1, static_cast<char>(byte)));
    for (int lead : {0xC2, 0xE0, 0xED, 0xF0, 0xF4})
      samples.push_back({static_cast<char>(lead), static_cast<char>(byte)});
  }
  std::mt19937 engine(20240611);
  std::uniform_int_distribution<int> length(0, 12), kind(0, 3), any(0, 255), continuation(0x80, 0xBF), lead(0xC0, 0xFF);
  for (int i = 0; i < 5000; ++i) {
    std::string bytes;
    for (int n = length(engine); n > 0; --n) {
      const int k = kind(engine);
      const int byte = k == 0 ? any(engine) : k == 1 ? lead(engine) : k == 2 ? continuation(engine) : 'a';
      bytes.push_back(static_cast<char>(byte));
    }
    samples.push_back(bytes);
  }
  for (const std::string& bytes : samples) {
    const std::wstring text = FromNativePath(bytes);
    ASSERT_EQ(ToNativePath(text), bytes) << testing::PrintToString(bytes);
    // What came out as characters is text again: only the escapes stand for bytes.
    for (wchar_t c : text)
      ASSERT_FALSE(c >= 0xD800 && c <= 0xDFFF && !(c >= 0xDC80 && c <= 0xDCFF)) << testing::PrintToString(bytes);
  }

  // Text of any characters but surrogates travels as its UTF-8 and comes back as it was.
  std::uniform_int_distribution<std::uint32_t> code_point(1, 0x10FFFF);
  for (int i = 0; i < 2000; ++i) {
    std::wstring text;
    while (text.size() < 6) {
      const std::uint32_t c = code_point(engine) >> (engine() % 20);  // small values as often as large ones
      if (c != 0 && (c < 0xD800 || c > 0xDFFF)) text.push_back(static_cast<wchar_t>(c));
    }
    ASSERT_EQ(ToNativePath(text), ToUTF8(text));
    ASSERT_EQ(FromNativePath(ToNativePath(text)), text);
  }
}

}  // namespace
