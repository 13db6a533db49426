#include "ostrum/foundation/core/CharacterSetConversions.h"

#include <gtest/gtest.h>

#include <cstring>
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

}  // namespace
