#include "ostrum/foundation/core/CharacterSetConversions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using CharacterSetConversions::FromUTF16;
using CharacterSetConversions::FromUTF8;
using CharacterSetConversions::ToUTF16;
using CharacterSetConversions::ToUTF8;

TEST(CharacterSetConversions, CharactersAboveTheBasicPlaneBecomeSurrogatePairs) {
  const std::wstring text = L"A\u00e9\u20ac\U0001F600z";
  const CharacterSetConversions::String<wchar_t> units(text);
  const std::u16string expected = {0x41, 0xE9, 0x20AC, 0xD83D, 0xDE00, 0x7A};
  EXPECT_EQ(units.GetUTF16(), expected);
  EXPECT_EQ(units.GetLength(), 6u);
  EXPECT_EQ(units.GetByteLength(), 12u);
  EXPECT_EQ(units.GetData()[6], u'\0') << "terminated past the counted units";

  // The bytes as undo streams store them: UTF-16 in little-endian order.
  const unsigned char expected_bytes[] = {0x41, 0, 0xE9, 0, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE, 0x7A, 0};
  EXPECT_EQ(std::memcmp(units.GetData(), expected_bytes, sizeof expected_bytes), 0);

  EXPECT_EQ(CharacterSetConversions::String<wchar_t>::ToWide(units.GetData(), units.GetLength()), text);
  EXPECT_EQ(CharacterSetConversions::String<wchar_t>(L"").GetLength(), 0u);
  EXPECT_EQ(CharacterSetConversions::String<wchar_t>::ToWide(nullptr, 3), L"");
}

TEST(CharacterSetConversions, UnpairedSurrogatesSurviveARoundTrip) {
  // A high surrogate at the end, a low one alone, two highs in a row.
  const std::u16string units = {0xD83D, 0x41, 0xDE00, 0xD800, 0xD801, 0xDC00, 0xD83D};
  const std::wstring text = FromUTF16(units);
  const std::wstring expected = {wchar_t(0xD83D), L'A', wchar_t(0xDE00), wchar_t(0xD800),
                                 wchar_t(0x10400), wchar_t(0xD83D)};
  EXPECT_EQ(text, expected);
  EXPECT_EQ(ToUTF16(text), units);
  EXPECT_EQ(FromUTF8(ToUTF8(text)), text) << "also through UTF-8, as paths go";
}

TEST(CharacterSetConversions, ValuesThatAreNoCharacterBecomeReplacements) {
  const std::wstring text = {wchar_t(0x110000), wchar_t(-1), L'a'};
  EXPECT_EQ(ToUTF16(text), (std::u16string{0xFFFD, 0xFFFD, u'a'}));
  EXPECT_EQ(ToUTF8(text), "\xEF\xBF\xBD\xEF\xBF\xBD" "a");
}

TEST(CharacterSetConversions, Utf8EncodesAndRefusesMalformedInput) {
  EXPECT_EQ(ToUTF8(L"a\u00e9\u20ac\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(FromUTF8("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), L"a\u00e9\u20ac\U0001F600");
  // An overlong '/', a truncated sequence, a stray continuation byte, a value past U+10FFFF.
  EXPECT_EQ(FromUTF8("\xC0\xAF"), L"\uFFFD\uFFFD");
  EXPECT_EQ(FromUTF8("x\xE2\x82"), L"x\uFFFD\uFFFD");
  EXPECT_EQ(FromUTF8("\x80y"), L"\uFFFDy");
  EXPECT_EQ(FromUTF8("\xF4\x90\x80\x80"), L"\uFFFD\uFFFD\uFFFD\uFFFD");
}

}  // namespace
