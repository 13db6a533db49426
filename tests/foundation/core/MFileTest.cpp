#include "ostrum/foundation/core/MFile.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <filesystem>
#include <iterator>
#include <memory>
#include <numeric>
#include <string>
#include <tuple>
#include <vector>

#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/core/MFileName.h"
#include "support/ChildProcess.h"

namespace {

// A fresh directory under the system's temporary directory, removed with everything in it.
class TempDir {
 public:
  TempDir() : m_path((std::filesystem::temp_directory_path() / "ostrum-test-XXXXXX").string()) {
    if (::mkdtemp(m_path.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  std::filesystem::path Path() const { return m_path; }
  std::wstring Wide() const { return CharacterSetConversions::FromUTF8(m_path) + L"/"; }
  MFileName File(const std::wstring& name) const { return MFileName(Wide() + name); }

 private:
  std::string m_path;
};

template <typename T>
void Put(MFile& file, T value) {
  EXPECT_EQ(file.WRITE(&value, 1), 1u) << "writing " << value;
}

template <typename T>
T Get(MFile& file) {
  T value{};
  EXPECT_EQ(file.READ(&value, 1), 1u);
  return value;
}

// Values go to disk as little-endian bytes without separators, under a name that reaches the
// system as UTF-8.
TEST(MFile, EveryTypeRoundTripsWithLittleEndianBytesOnDisk) {
  TempDir dir;
  const MFileName name = dir.File(L"\u00c4\u20ac\U0001F600.bin");
  using UChar = unsigned char;
  using UShort = unsigned short;
  const auto values = std::make_tuple('A', UChar{0xFE}, short{-2}, UShort{0xBEEF}, std::int32_t{-559038737},
                                      std::uint32_t{0x01020304}, 1.5f, -2.25);
  MFile file;
  ASSERT_TRUE(file.OPEN_WRITE(name));
  std::apply([&](auto... v) { (Put(file, v), ...); }, values);
  ASSERT_TRUE(file.CLOSE());
  std::ifstream in(dir.Path() / u8"\u00c4\u20ac\U0001F600.bin", std::ios::binary);
  EXPECT_EQ(std::vector<unsigned char>(std::istreambuf_iterator<char>(in), {}),
            (std::vector<unsigned char>{0x41, 0xFE, 0xFE, 0xFF, 0xEF, 0xBE, 0xEF, 0xBE, 0xAD, 0xDE, 0x04, 0x03, 0x02,
                                        0x01, 0x00, 0x00, 0xC0, 0x3F, 0, 0, 0, 0, 0, 0, 0x02, 0xC0}));
  ASSERT_TRUE(file.OPEN_READ(name));
  // Braces read the values in their order.
  EXPECT_EQ(std::apply([&](auto... v) { return decltype(values){Get<decltype(v)>(file)...}; }, values), values);
  char c;
  EXPECT_EQ(file.READ(&c, 1), 0u) << "nothing after the last value";
  file.CLOSE();
  struct stat info;
  ASSERT_EQ(::stat(name.GET_NATIVE_PATH().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0077, 0u) << "readable by the user only";
  EXPECT_TRUE(name.REMOVE());
  EXPECT_FALSE(name.DOES_EXIST());
  EXPECT_EQ(name.FILE_SIZE(), 0) << "a missing file counts as empty";
  EXPECT_FALSE(file.OPEN_READ(name));
  EXPECT_EQ(file.WRITE(&c, 1), 0u) << "not open";
}

// Small and large transfers, around and through the buffer, keep their order and read back the
// same whatever the buffer sizes on either side.
class MFileBufferSizes : public ::testing::TestWithParam<std::size_t> {};

TEST_P(MFileBufferSizes, MixedTransfersKeepTheirOrder) {
  TempDir dir;
  const MFileName name = dir.File(L"mixed.bin");
  std::vector<std::int32_t> big(50000), big2(big.size());
  std::iota(big.begin(), big.end(), -1000);
  std::vector<double> medium(300), medium2(medium.size());
  std::iota(medium.begin(), medium.end(), 0.5);
  const short marks[3] = {7, 8, 9};
  constexpr std::int32_t kSingles = 70000;  // one by one, past the largest buffer
  {
    MFile out(GetParam());  // its death writes what is buffered
    ASSERT_TRUE(out.OPEN_WRITE(name));
    EXPECT_EQ(out.WRITE(&marks[0], 1) + out.WRITE(big.data(), big.size()) + out.WRITE(&marks[1], 1) +
                  out.WRITE(medium.data(), medium.size()) + out.WRITE(&marks[2], 1),
              big.size() + medium.size() + 3);
    for (std::int32_t i = 0; i < kSingles; ++i) ASSERT_EQ(out.WRITE(&i, 1), 1u);
  }
  EXPECT_EQ(name.FILE_SIZE(), static_cast<std::int64_t>(6 + big.size() * 4 + medium.size() * 8 + kSingles * 4));

  MFile in(GetParam() == 0 ? 13 : GetParam() / 2 + 5);  // boundaries fall elsewhere
  ASSERT_TRUE(in.OPEN_READ(name));
  EXPECT_EQ(Get<short>(in), 7);
  EXPECT_EQ(in.READ(big2.data(), big2.size()), big2.size());
  EXPECT_EQ(Get<short>(in), 8);
  EXPECT_EQ(in.READ(medium2.data(), medium2.size()), medium2.size());
  EXPECT_EQ(Get<short>(in), 9);
  EXPECT_EQ(big2, big);
  EXPECT_EQ(medium2, medium);
  for (std::int32_t i = 0; i < kSingles; ++i) ASSERT_EQ(Get<std::int32_t>(in), i);
  EXPECT_FALSE(in.HAS_SHORT_READ());
}

// A read past the end answers the whole items that arrived and leaves zeros for what did not
// (the bytes of a partial last item stand), never what the caller's memory held; the file
// remembers the short read until it is opened again. A file cut short after it was opened, as
// a state file may be, reads short the same way.
TEST_P(MFileBufferSizes, ShortReadsZeroFillAndAreRememberedUntilTheNextOpen) {
  TempDir dir;
  const MFileName name = dir.File(L"short.bin");
  std::vector<unsigned char> bytes(10);
  std::iota(bytes.begin(), bytes.end(), 1);
  MFileIdentity identity;
  {
    MFile out;
    ASSERT_TRUE(out.OPEN_WRITE(name));
    out.WRITE(bytes.data(), bytes.size());
    ASSERT_TRUE(out.CLOSE(identity));
  }
  const auto as_bytes = [](const void* data, size_t size) {
    const auto* first = static_cast<const unsigned char*>(data);
    return std::vector<unsigned char>(first, first + size);
  };

  MFile in(GetParam());
  ASSERT_TRUE(in.OPEN_READ(name));
  char head[3];
  EXPECT_EQ(in.READ(head, 3), 3u);
  EXPECT_FALSE(in.HAS_SHORT_READ());
  std::int32_t items[3];
  std::memset(items, 0xAB, sizeof items);
  EXPECT_EQ(in.READ(items, 3), 1u) << "seven bytes left are one whole item";
  EXPECT_EQ(as_bytes(items, sizeof items), (std::vector<unsigned char>{4, 5, 6, 7, 8, 9, 10, 0, 0, 0, 0, 0}));
  EXPECT_TRUE(in.HAS_SHORT_READ());
  char after = 'x';
  EXPECT_EQ(in.READ(&after, 1), 0u);
  EXPECT_EQ(after, 0);
  EXPECT_TRUE(in.CLOSE());

  ASSERT_TRUE(in.OPEN_READ(name, identity));
  EXPECT_FALSE(in.HAS_SHORT_READ()) << "a new open starts clean";
  std::filesystem::resize_file(dir.Path() / "short.bin", 6);
  std::vector<unsigned char> all(10, 0xAB);
  EXPECT_EQ(in.READ(all.data(), all.size()), 6u);
  EXPECT_EQ(all, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6, 0, 0, 0, 0}));
  EXPECT_TRUE(in.HAS_SHORT_READ());
}

// Large blocks come back whole wherever they start in the file and wherever the caller's memory
// lies within a page (large reads of memory placed unlike the file go through staging memory in
// chunks), also when the file ends inside such a block.
TEST_P(MFileBufferSizes, LargeBlocksReadBackWhereverTheyLieInFileAndMemory) {
  TempDir dir;
  std::vector<unsigned char> block(600 * 1024 + 123);  // past two staging chunks, not a multiple
  std::uint32_t seed = 12345;
  for (auto& b : block) b = static_cast<unsigned char>((seed = seed * 1664525u + 1013904223u) >> 24);
  std::unique_ptr<unsigned char, decltype(&std::free)> memory(
      static_cast<unsigned char*>(std::aligned_alloc(4096, (block.size() / 4096 + 3) * 4096)), &std::free);  // a whole number of pages
  ASSERT_TRUE(memory);
  std::unique_ptr<unsigned char, decltype(&std::free)> source(
      static_cast<unsigned char*>(std::aligned_alloc(4096, (block.size() / 4096 + 3) * 4096)), &std::free);
  ASSERT_TRUE(source);
  // The largest head stays in a buffer of 512 KiB and then goes out ahead of the block, more
  // than one staging chunk of it.
  for (const size_t prefix : {size_t{0}, size_t{1}, size_t{8}, size_t{4100}, size_t{300 * 1024}}) {
    const MFileName name = dir.File(L"block" + std::to_wstring(prefix) + L".bin");
    {
      // The block is written from memory lying 5 bytes behind its place in the file within a
      // page, the placement whose copies are slow and go through staging memory.
      unsigned char* from = source.get() + (prefix + 4096 - 5) % 4096;
      std::memcpy(from, block.data(), block.size());
      MFile out(GetParam());
      ASSERT_TRUE(out.OPEN_WRITE(name));
      const std::vector<unsigned char> head(prefix, 0x77);
      if (prefix) {
        ASSERT_EQ(out.WRITE(head.data(), prefix), prefix);
      }
      ASSERT_EQ(out.WRITE(from, block.size()), block.size());
      ASSERT_TRUE(out.CLOSE());
      ASSERT_EQ(name.FILE_SIZE(), static_cast<std::int64_t>(prefix + block.size()));
    }
    for (const size_t placement : {size_t{0}, size_t{3}, size_t{8}, size_t{(prefix + 9) % 4096}, size_t{4096 - 1}}) {
      SCOPED_TRACE("prefix " + std::to_string(prefix) + ", memory at page offset " + std::to_string(placement));
      MFile in(GetParam());
      ASSERT_TRUE(in.OPEN_READ(name));
      std::vector<unsigned char> head(prefix);
      if (prefix) {
        ASSERT_EQ(in.READ(head.data(), prefix), prefix);
        EXPECT_TRUE(std::all_of(head.begin(), head.end(), [](unsigned char b) { return b == 0x77; }));
      }
      unsigned char* target = memory.get() + placement;
      std::memset(target, 0xAB, block.size());
      ASSERT_EQ(in.READ(target, block.size()), block.size());
      EXPECT_EQ(std::memcmp(target, block.data(), block.size()), 0);
      EXPECT_FALSE(in.HAS_SHORT_READ());
    }
  }
  // Cut inside the third staging chunk: what arrived is exact, the rest zero.
  const MFileName name = dir.File(L"block8.bin");
  const size_t kept = 8 + 2 * 256 * 1024 + 1000;
  std::filesystem::resize_file(dir.Path() / "block8.bin", kept);
  MFile in(GetParam());
  ASSERT_TRUE(in.OPEN_READ(name));
  unsigned char head[8];
  ASSERT_EQ(in.READ(head, 8), 8u);
  unsigned char* target = memory.get() + 13;  // 5 bytes ahead of the file: staged
  std::memset(target, 0xAB, block.size());
  EXPECT_EQ(in.READ(target, block.size()), kept - 8);
  EXPECT_TRUE(in.HAS_SHORT_READ());
  EXPECT_EQ(std::memcmp(target, block.data(), kept - 8), 0);
  EXPECT_TRUE(std::all_of(target + (kept - 8), target + block.size(), [](unsigned char b) { return b == 0; }));
}

INSTANTIATE_TEST_SUITE_P(Sizes, MFileBufferSizes, ::testing::Values(0u, 1u, 7u, 4096u, MFile::kDefaultBufferSize, 512u << 10));

TEST(MFile, FullDiskFailsTheWriteAndTheClose) {
  const MFileName full(L"/dev/full");
  const std::vector<double> data(1000, 1.0);
  MFile buffered(0x40000);
  ASSERT_TRUE(buffered.OPEN_WRITE(full));
  EXPECT_EQ(buffered.WRITE(data.data(), 10), 10u) << "accepted into the buffer";
  EXPECT_FALSE(buffered.FLUSH());
  EXPECT_TRUE(buffered.HAS_FAILED());
  EXPECT_EQ(buffered.WRITE(data.data(), 1), 0u) << "a failed file takes nothing more";
  EXPECT_FALSE(buffered.CLOSE());

  MFile small(64);
  ASSERT_TRUE(small.OPEN_WRITE(full));
  EXPECT_EQ(small.WRITE(data.data(), 6), 6u);
  EXPECT_EQ(small.WRITE(data.data(), 6), 0u) << "no room: the flush fails and so does the call";
  EXPECT_FALSE(small.CLOSE());
  ASSERT_TRUE(small.OPEN_WRITE(full));
  EXPECT_FALSE(small.HAS_FAILED()) << "a new open starts clean";
  EXPECT_EQ(small.WRITE(data.data(), data.size()), 0u) << "past the buffer, straight to the disk";
  EXPECT_FALSE(small.CLOSE());
}

// A write past the process's file size limit comes back short, if SIGXFSZ is ignored. The limit
// and the ignored signal stay in a child.
TEST(MFile, FileSizeLimitGivesAShortWrite) {
  TempDir dir;
  EXPECT_EQ(RunInChild([&](ChildChecks& c) {
              ::signal(SIGXFSZ, SIG_IGN);
              const rlimit limit{1000, 300000};  // the second case below raises it
              ::setrlimit(RLIMIT_FSIZE, &limit);
              const std::vector<double> data(300, 3.0);  // 2400 bytes, past the buffer
              const MFileName name = dir.File(L"limited.bin");
              MFile file(64);
              if (!c.Check(file.OPEN_WRITE(name), "the file opens")) return;
              const size_t written = file.WRITE(data.data(), data.size());
              c.Check(written == 125, "the whole doubles 1000 bytes hold are written, not " + std::to_string(written));
              c.Check(!file.CLOSE(), "CLOSE tells of the failed write");
              c.Check(name.FILE_SIZE() == 1000, "the file stops at the limit, not at " + std::to_string(name.FILE_SIZE()));

              // A large block from memory placed so that it goes out through staging memory, in
              // chunks: the limit falls inside the second chunk, and what went is counted exactly.
              const rlimit larger{300000, 300000};
              ::setrlimit(RLIMIT_FSIZE, &larger);
              std::unique_ptr<unsigned char, decltype(&std::free)> memory(
                  static_cast<unsigned char*>(std::aligned_alloc(4096, 151 * 4096)), &std::free);
              std::memset(memory.get(), 0x33, 151 * 4096);
              const MFileName staged = dir.File(L"staged.bin");
              MFile big(64);
              if (!c.Check(big.OPEN_WRITE(staged), "the second file opens")) return;
              const unsigned char head[8] = {};
              c.Check(big.WRITE(head, 8) == 8, "the head is buffered");
              const size_t went = big.WRITE(memory.get() + 4096 - 5 + 8, 600000);
              c.Check(went == 300000 - 8, "the block's bytes up to the limit are written, not " + std::to_string(went));
              c.Check(big.HAS_FAILED() && !big.CLOSE(), "the short write fails the file");
              c.Check(staged.FILE_SIZE() == 300000, "the file stops at the limit, not at " + std::to_string(staged.FILE_SIZE()));
            }),
            "");
}

// Opened again with the identity recorded at its writing, a file must be that very file as it
// was written: whatever took its place or changed its size is refused. Each case opens in a
// child, so that an open that blocked (on a FIFO) shows as a killed child, not a hung suite.
struct IdentityRow {
  const char* name;
  // Changes the written file, or what is known of it.
  void (*change)(const std::filesystem::path& file, MFileIdentity& identity);
  bool opens;
};

// Where a file is moved aside: its inode stays taken, so no new file can come back with it.
std::filesystem::path Aside(const std::filesystem::path& file) { return file.string() + ".aside"; }

TEST(MFile, OpenReadWithIdentityOpensOnlyTheFileWritten) {
  namespace fs = std::filesystem;
  const IdentityRow rows[] = {
      {"unchanged", [](const fs::path&, MFileIdentity&) {}, true},
      {"moved away and back",
       [](const fs::path& f, MFileIdentity&) {
         fs::rename(f, Aside(f));
         fs::rename(Aside(f), f);
       },
       true},
      {"an unknown identity", [](const fs::path&, MFileIdentity& id) { id = MFileIdentity(); }, false},
      {"removed", [](const fs::path& f, MFileIdentity&) { fs::remove(f); }, false},
      {"truncated", [](const fs::path& f, MFileIdentity&) { fs::resize_file(f, 100); }, false},
      {"grown", [](const fs::path& f, MFileIdentity&) { fs::resize_file(f, 401); }, false},
      {"a symbolic link to it in its place",
       [](const fs::path& f, MFileIdentity&) {
         fs::rename(f, Aside(f));
         fs::create_symlink(Aside(f), f);
       },
       false},
      {"a FIFO in its place",
       [](const fs::path& f, MFileIdentity&) {
         fs::rename(f, Aside(f));
         ::mkfifo(f.c_str(), 0600);
       },
       false},
      {"another file of the same size",
       [](const fs::path& f, MFileIdentity&) {
         fs::rename(f, Aside(f));
         fs::copy_file(Aside(f), f);
       },
       false},
  };
  std::vector<std::int32_t> values(100);
  std::iota(values.begin(), values.end(), 7);
  for (const IdentityRow& row : rows) {
    TempDir dir;
    const MFileName name = dir.File(L"state.bin");
    MFileIdentity identity;
    MFile out(64);
    ASSERT_TRUE(out.OPEN_WRITE(name));
    out.WRITE(values.data(), values.size());
    ASSERT_TRUE(out.CLOSE(identity));
    ASSERT_EQ(identity.size, 400);
    row.change(dir.Path() / "state.bin", identity);
    EXPECT_EQ(RunInChild([&](ChildChecks& c) {
                ::alarm(5);
                MFile in;
                const bool opened = in.OPEN_READ(name, identity);
                if (!c.Check(opened == row.opens, opened ? "it was opened" : "it was refused")) return;
                if (!opened) {
                  c.Check(!in.IS_OPEN(), "nothing is left open");
                  return;
                }
                std::vector<std::int32_t> read(values.size());
                c.Check(in.READ(read.data(), read.size()) == read.size() && read == values, "it reads back as written");
              }),
              "")
        << row.name;
  }
}

// A failed call leaves the name empty, so that opening it fails too and no older file is
// overwritten; the name must stay inside the directory.
TEST(MFileName, FailedTempNameLeavesNoNameToOpen) {
  TempDir dir;
  MFileName name = dir.File(L"old-name.tmp");
  for (const std::wstring& bad_dir : {dir.Wide() + L"missing/", std::wstring(L"/proc/")}) {
    EXPECT_FALSE(name.SET_TEMP_NAME(bad_dir, L"~varn_undo")) << name.GET_NATIVE_PATH();
    MFile file;
    EXPECT_FALSE(file.OPEN_WRITE(name));
  }
  EXPECT_FALSE(name.SET_TEMP_NAME(dir.Wide(), L"../escape"));
}

TEST(MFileName, ConcurrentProcessesNeverShareATempName) {
  TempDir dir;
  constexpr int kProcesses = 3, kNamesEach = 400;
  Gate start;  // all start together
  std::vector<std::unique_ptr<ChildProcess>> children;
  for (int i = 0; i < kProcesses; ++i)
    children.push_back(std::make_unique<ChildProcess>([&](ChildProcess& c) {
      start.Wait();
      MFileName name;
      int failures = 0;
      for (int k = 0; k < kNamesEach; ++k) failures += !name.SET_TEMP_NAME(dir.Wide(), L"~varn_redo");
      c.checks.Check(failures == 0, std::to_string(failures) + " calls got no name");
    }));
  start.Open();
  for (auto& child : children) EXPECT_EQ(child->Finish(), "");
  // Every successful call made its own empty file of the user only: a name handed to two callers
  // would show as fewer files.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), kProcesses * kNamesEach);
  for (const auto& entry : std::filesystem::directory_iterator(dir.Path())) {
    ASSERT_EQ(entry.path().filename().string().find("~varn_redo"), 0u);
    ASSERT_EQ(entry.path().extension(), ".tmp");
    ASSERT_EQ(entry.file_size(), 0u);
    ASSERT_EQ(entry.status().permissions(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  }
}

}  // namespace
