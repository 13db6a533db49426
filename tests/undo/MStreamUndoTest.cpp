// The undo state streams: the bytes on disk of every type and reading them back in step, text
// that wraps, short reads, bulk blocks, matrices, and the process-wide undo directory.

#include "ostrum/undo/MStreamUndo.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/MFileName.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/undo/MUndoHandler.h"

namespace {

using Bytes = std::vector<unsigned char>;

std::string Hex(Bytes const& bytes) {
  static char const digits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned char b : bytes) text += {digits[b >> 4], digits[b & 15], ' '};
  return text;
}

// One file in a fresh directory, written through one stream and read back through another.
class MStreamUndo : public testing::Test {
 protected:
  ~MStreamUndo() override {
    m_in.CLOSE();
    std::filesystem::remove_all(m_dir);
  }
  // Writes through a stream on the file, made anew, and answers the bytes on disk.
  Bytes Write(std::function<void(MStreamUndoOut&)> const& write) {
    m_in.CLOSE();
    MFile file;
    EXPECT_TRUE(file.OPEN_WRITE(m_name));
    MStreamUndoOut out(&file);
    write(out);
    EXPECT_TRUE(file.CLOSE());
    std::ifstream in(m_name.GET_NATIVE_PATH(), std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
  }
  MStreamUndoIn Read() {
    EXPECT_TRUE(m_in.OPEN_READ(m_name));
    return MStreamUndoIn(&m_in);
  }
  bool AtEnd() {
    char c;
    return m_in.READ(&c, 1) == 0;
  }

  std::string m_dir = ::mkdtemp((std::filesystem::temp_directory_path() / "ostrum-stream-XXXXXX").string().data());
  MFileName m_name{std::filesystem::path(m_dir + "/state.tmp").wstring()};
  MFile m_in;
};

// Every type in one file: a reader that takes a byte too many or too few puts all that follows
// out of step. The targets start unlike what they should read.
TEST_F(MStreamUndo, EveryTypeWritesItsBytesAndReadsThemBackInStep) {
  auto* const object = reinterpret_cast<IObject*>(std::uintptr_t{0x1122334455667788});
  auto* const scene = reinterpret_cast<MScene*>(std::uintptr_t{0x7F0012345678});
  Bytes const bytes = Write([&](MStreamUndoOut& out) {
    out << 'A' << static_cast<unsigned char>(0xFE) << short{-2} << static_cast<unsigned short>(0xBEEF) << -2
        << 0xDEADBEEFu << 0x123456789L << -5L << 0xFFFFFFFF00000001UL << 0xFFFFFFFFUL << 1.0f << -2.5
        << 0x0102030405060708LL << 0xF0E0D0C0B0A09080ULL << true << false << short{2} << short{257}
        << static_cast<IObject*>(nullptr) << object << scene << std::wstring() << std::wstring(L"Ab\u00e9")
        << std::wstring(L"\U0001F600") << std::wstring(L"a\0b", 3);
  });
  EXPECT_EQ(Hex(bytes),
            "41 FE FE FF EF BE FE FF FF FF EF BE AD DE "  // char to unsigned int
            "89 67 45 23 FB FF FF FF 01 00 00 00 FF FF FF FF "  // longs: the low half, sign extended back
            "00 00 80 3F 00 00 00 00 00 00 04 C0 08 07 06 05 04 03 02 01 80 90 A0 B0 C0 D0 E0 F0 "
            "01 00 00 00 02 00 01 01 "  // bools, then shorts to be read as bools
            "00 00 00 00 00 00 00 00 88 77 66 55 44 33 22 11 78 56 34 12 00 7F 00 00 "
            "00 00 06 00 41 00 62 00 E9 00 04 00 3D D8 00 DE 06 00 61 00 00 00 62 00 ");

  char c = 0;
  unsigned char uc = 0;
  short sh = 0;
  unsigned short us = 0;
  int i = 0;
  unsigned int u = 0;
  long low = 0, negative = 0;
  unsigned long ulow = 0, uhigh = 0;
  float f = 0;
  double d = 0;
  long long ll = 0;
  unsigned long long ull = 0;
  bool b[4] = {false, true, true, true};
  IObject* objects[2] = {object, nullptr};
  MSceneEx* scene_ex = nullptr;
  std::wstring text[4] = {L"?", L"", L"", L""};
  Read() >> c >> uc >> sh >> us >> i >> u >> low >> negative >> ulow >> uhigh >> f >> d >> ll >> ull >> b[0] >> b[1] >>
      b[2] >> b[3] >> objects[0] >> objects[1] >> scene_ex >> text[0] >> text[1] >> text[2] >> text[3];
  EXPECT_TRUE(AtEnd()) << "the reader must take exactly the bytes written";
  // Longs keep their low half; only a stored 1 reads as true.
  EXPECT_EQ(std::tuple(c, uc, sh, us, i, u, low, negative, ulow, uhigh, f, d, ll, ull),
            std::tuple('A', static_cast<unsigned char>(0xFE), short{-2}, static_cast<unsigned short>(0xBEEF), -2,
                       0xDEADBEEFu, 0x23456789L, -5L, 1UL, 0xFFFFFFFFUL, 1.0f, -2.5, 0x0102030405060708LL,
                       0xF0E0D0C0B0A09080ULL));
  EXPECT_EQ(std::tuple(b[0], b[1], b[2], b[3], objects[0], objects[1], reinterpret_cast<std::uintptr_t>(scene_ex)),
            std::tuple(true, false, false, false, static_cast<IObject*>(nullptr), object,
                       std::uintptr_t{0x7F0012345678}));
  EXPECT_EQ(std::vector<std::wstring>(text, text + 4),
            (std::vector<std::wstring>{L"", L"Ab\u00e9", L"\U0001F600", std::wstring(L"a\0b", 3)}));
}

// The byte count is cut to 16 bits and only that many bytes follow, so the stream stays in
// step: 40000 units give 80000 % 65536 = 14464 bytes, 32768 units give none.
TEST_F(MStreamUndo, LongTextWrapsAtSixteenBitsOfByteCount) {
  std::wstring text(40000, L'x');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<wchar_t>(L'a' + i % 26);
  Bytes const bytes = Write([&](MStreamUndoOut& out) { out << text << 7 << std::wstring(32768, L'y') << 8; });
  ASSERT_EQ(bytes.size(), 2u + 14464 + 4 + 2 + 4);
  EXPECT_EQ(Hex({bytes[0], bytes[1]}), "80 38 ");
  std::wstring first, second = L"kept?";
  int marks[2] = {};
  Read() >> first >> marks[0] >> second >> marks[1];
  EXPECT_EQ(first, text.substr(0, 7232));
  EXPECT_EQ(second, L"");
  EXPECT_EQ(marks[0], 7);
  EXPECT_EQ(marks[1], 8);
}

// Values the stream converts change only when all their bytes arrived.
TEST_F(MStreamUndo, ShortReadsLeaveConvertedTargetsAsTheyWere) {
  std::wstring text = L"kept";
  long l = 0x123456789L;
  bool b = true;
  std::pair<Bytes, std::function<void(MStreamUndoIn&)>> const cuts[] = {
      {{10, 0, 0x41, 0, 0x42, 0}, [&](MStreamUndoIn& in) { in >> text; }},  // ten bytes announced, four follow
      {{10}, [&](MStreamUndoIn& in) { in >> text; }},
      {{1, 2, 3}, [&](MStreamUndoIn& in) { in >> l; }},
      {{1}, [&](MStreamUndoIn& in) { in >> b; }},
  };
  for (auto const& [bytes, read] : cuts) {
    Write([&](MStreamUndoOut& out) { out.WriteBuffer(bytes.data(), static_cast<int>(bytes.size())); });
    MStreamUndoIn in = Read();
    read(in);
  }
  EXPECT_EQ(text, L"kept");
  EXPECT_EQ(l, 0x123456789L);
  EXPECT_TRUE(b);
}

TEST_F(MStreamUndo, MatrixIsSixteenDoublesRowByRowAndComesBackWithItsClassDerivedAnew) {
  MMTransformMatrix general, translation, identity;
  for (int i = 0; i < 16; ++i) general.SetElement(i / 4, i % 4, i + 0.1, false);
  general.VerifyAndSetClass();
  translation.MakeTranslation(1, 2, 3);
  Bytes const bytes = Write([&](MStreamUndoOut& out) { out << general << translation << identity; });
  ASSERT_EQ(bytes.size(), 3u * 128);
  for (int i = 0; i < 16; ++i) {
    double value;
    std::memcpy(&value, bytes.data() + 8 * i, 8);
    EXPECT_EQ(value, i + 0.1) << "element " << i << " of the row-by-row list";
  }
  MMTransformMatrix read[3] = {translation, general, general};
  MStreamUndoIn in = Read();
  in >> read[0] >> read[1] >> read[2];
  EXPECT_TRUE(AtEnd());
  EXPECT_EQ(read[0].GetMatrix(), general.GetMatrix());
  EXPECT_EQ(read[0].GetClass(), MMTransformMatrix::eGeneral);
  EXPECT_EQ(read[1].GetClass(), MMTransformMatrix::eTranslation);
  EXPECT_EQ(read[1].GetElement(2, 3, true), -3.0) << "the inverse follows the new elements";
  EXPECT_EQ(read[2].GetClass(), MMTransformMatrix::eIdentity);
}

// WriteBuffer adds no prefix, keeps its place among buffered values when it bypasses the
// buffer, and answers what MFile::WRITE answers, also on a full disk.
TEST_F(MStreamUndo, WriteBufferPassesBytesAndCountsStraightThrough) {
  Bytes block(3 * MFile::kDefaultBufferSize + 5);
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(i * 7);
  int const size = static_cast<int>(block.size());
  Bytes const bytes = Write([&](MStreamUndoOut& out) {
    out << 1;
    EXPECT_EQ(out.WriteBuffer(block.data(), size), size);
    EXPECT_EQ(out.WriteBuffer(block.data(), 0) + out.WriteBuffer(block.data(), -1), 0);
    out << 2;
  });
  Bytes expected = {1, 0, 0, 0};
  expected.insert(expected.end(), block.begin(), block.end());
  expected.insert(expected.end(), {2, 0, 0, 0});
  EXPECT_TRUE(bytes == expected) << "size " << bytes.size();

  MFile full;
  ASSERT_TRUE(full.OPEN_WRITE(MFileName(L"/dev/full")));
  MStreamUndoOut out(&full);
  EXPECT_EQ(out.WriteBuffer(block.data(), 16), 16) << "accepted into the buffer";
  EXPECT_EQ(out.WriteBuffer(block.data(), size), 0) << "refused by the disk";
  out << std::wstring(L"ignored") << 3;  // no report, no throw
  EXPECT_TRUE(full.HAS_FAILED());
}

TEST(MUndoHandler, TheUndoDirectoryIsStoredAsADirectory) {
  MFileName const saved = MUndoHandler::mg_temp_directory;
  std::pair<wchar_t const*, std::wstring> const cases[] = {
      {L"/var/undo", L"/var/undo/"}, {L"/var/undo/", L"/var/undo/"}, {L"", L""}, {nullptr, L""}};
  for (auto const& [path, stored] : cases) {
    MUndoHandler::SetUndoTempDir(L"/elsewhere");
    MUndoHandler::SetUndoTempDir(path);
    EXPECT_EQ(MUndoHandler::GetUndoTempDir().GET_PATH(), stored) << (path ? path : L"(null)");
  }
  MUndoHandler::mg_temp_directory = saved;
}

}  // namespace
