// The undo state streams: the bytes on disk of every type, text that wraps, short reads, bulk
// blocks, matrices, and the process-wide undo directory.

#include "ostrum/undo/MStreamUndo.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <iterator>
#include <string>
#include <type_traits>
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

// A value unlike `v`, so that a read that changes nothing cannot pass.
template <typename T>
T Unlike(T v) {
  if constexpr (std::is_same_v<T, std::wstring>) return v + L"?";
  else if constexpr (std::is_pointer_v<T>) return reinterpret_cast<T>(reinterpret_cast<std::uintptr_t>(v) ^ 1);
  else if constexpr (std::is_same_v<T, bool>) return !v;
  else return static_cast<T>(v + 1);
}

struct StreamRow {
  char const* name;
  std::function<void(MStreamUndoOut&)> write;
  Bytes bytes;
  std::function<void(MStreamUndoIn&)> read_and_check;
};
void PrintTo(StreamRow const& row, std::ostream* os) { *os << row.name; }

// Writes `written`, expects `bytes` on disk, and reads them back into a Read as `expected`.
template <typename Read, typename Written>
StreamRow Row(char const* name, Written written, Bytes bytes, Read expected) {
  return {name, [written](MStreamUndoOut& out) { out << written; }, std::move(bytes), [expected](MStreamUndoIn& in) {
            Read value = Unlike(expected);
            in >> value;
            EXPECT_EQ(value, expected);
          }};
}
template <typename T>
StreamRow Same(char const* name, T value, Bytes bytes) { return Row<T>(name, value, std::move(bytes), value); }
template <typename T>
T* At(std::uintptr_t address) { return reinterpret_cast<T*>(address); }

StreamRow const kRows[] = {
    Same("Char", 'A', {0x41}),
    Same<unsigned char>("UnsignedChar", 0xFE, {0xFE}),
    Same<short>("Short", -2, {0xFE, 0xFF}),
    Same<unsigned short>("UnsignedShort", 0xBEEF, {0xEF, 0xBE}),
    Same("Int", -2, {0xFE, 0xFF, 0xFF, 0xFF}),
    Same("UnsignedInt", 0xDEADBEEFu, {0xEF, 0xBE, 0xAD, 0xDE}),
    Row<long>("LongKeepsItsLowHalf", 0x123456789L, {0x89, 0x67, 0x45, 0x23}, 0x23456789L),
    Same("NegativeLongIsSignExtended", -5L, {0xFB, 0xFF, 0xFF, 0xFF}),
    Row<unsigned long>("UnsignedLongKeepsItsLowHalf", 0xFFFFFFFF00000001UL, {1, 0, 0, 0}, 1UL),
    Same("UnsignedLongIsZeroExtended", 0xFFFFFFFFUL, {0xFF, 0xFF, 0xFF, 0xFF}),
    Same("Float", 1.0f, {0, 0, 0x80, 0x3F}),
    Same("Double", -2.5, {0, 0, 0, 0, 0, 0, 0x04, 0xC0}),
    Same("LongLong", 0x0102030405060708LL, {8, 7, 6, 5, 4, 3, 2, 1}),
    Same("UnsignedLongLong", 0xF0E0D0C0B0A09080ULL, {0x80, 0x90, 0xA0, 0xB0, 0xC0, 0xD0, 0xE0, 0xF0}),
    Same("True", true, {1, 0}),
    Same("False", false, {0, 0}),
    Row<bool>("StoredTwoReadsAsFalse", short{2}, {2, 0}, false),
    Row<bool>("Stored257ReadsAsFalse", short{257}, {1, 1}, false),
    Same<IObject*>("NullObject", nullptr, Bytes(8, 0)),
    Same("Object", At<IObject>(0x1122334455667788), {0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11}),
    Row("SceneReadAsSceneEx", At<MScene>(0x7F0012345678), {0x78, 0x56, 0x34, 0x12, 0, 0x7F, 0, 0},
        At<MSceneEx>(0x7F0012345678)),
    Same<std::wstring>("EmptyText", L"", {0, 0}),
    Same<std::wstring>("Text", L"Ab\u00e9", {6, 0, 0x41, 0, 0x62, 0, 0xE9, 0}),
    Same<std::wstring>("TextBeyondTheBasicPlane", L"\U0001F600", {4, 0, 0x3D, 0xD8, 0x00, 0xDE}),
    Same("TextWithNullUnit", std::wstring(L"a\0b", 3), {6, 0, 0x61, 0, 0, 0, 0x62, 0}),
};

class MStreamUndoRows : public MStreamUndo, public testing::WithParamInterface<StreamRow> {};

TEST_P(MStreamUndoRows, WritesExactBytesAndReadsThemBackWhole) {
  EXPECT_EQ(Hex(Write(GetParam().write)), Hex(GetParam().bytes));
  MStreamUndoIn in = Read();
  GetParam().read_and_check(in);
  EXPECT_TRUE(AtEnd()) << "the reader must take exactly the bytes written";
}

INSTANTIATE_TEST_SUITE_P(MStreamUndoTypes, MStreamUndoRows, testing::ValuesIn(kRows),
                         [](auto const& info) { return std::string(info.param.name); });

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

TEST(MUndoHandler, TempDirStartsEmptyAndIsSetAsADirectory) {
  std::string const style = GTEST_FLAG_GET(death_test_style);
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a fresh process sees the start value
  EXPECT_EXIT(std::exit(MUndoHandler::GetUndoTempDir().IS_EMPTY() ? 0 : 1), testing::ExitedWithCode(0), "");
  GTEST_FLAG_SET(death_test_style, style);
  MFileName const saved = MUndoHandler::mg_temp_directory;
  EXPECT_EQ(&MUndoHandler::GetUndoTempDir(), &MUndoHandler::mg_temp_directory);
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
