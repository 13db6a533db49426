#include "ostrum/foundation/core/MFile.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <numeric>
#include <vector>

#include "TempDir.h"
#include "ostrum/foundation/core/MFileName.h"

namespace {

std::vector<unsigned char> FileBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), {});
}

TEST(MFile, EveryTypeRoundTripsWithLittleEndianBytesOnDisk) {
  TempDir dir;
  const MFileName name(dir.File(L"values.bin"));
  const char c = 'A';
  const unsigned char uc = 0xFE;
  const short s = -2;
  const unsigned short us = 0xBEEF;
  const std::int32_t l = -559038737;  // 0xDEADBEEF
  const std::uint32_t ul = 0x01020304;
  const float f = 1.5f;
  const double d = -2.25;
  {
    MFile file(0x40000);
    ASSERT_TRUE(file.OPEN_WRITE(name));
    EXPECT_EQ(file.WRITE(&c, 1), 1u);
    EXPECT_EQ(file.WRITE(&uc, 1), 1u);
    EXPECT_EQ(file.WRITE(&s, 1), 1u);
    EXPECT_EQ(file.WRITE(&us, 1), 1u);
    EXPECT_EQ(file.WRITE(&l, 1), 1u);
    EXPECT_EQ(file.WRITE(&ul, 1), 1u);
    EXPECT_EQ(file.WRITE(&f, 1), 1u);
    EXPECT_EQ(file.WRITE(&d, 1), 1u);
    EXPECT_TRUE(file.CLOSE());
  }
  const std::vector<unsigned char> expected = {
      0x41, 0xFE, 0xFE, 0xFF, 0xEF, 0xBE, 0xEF, 0xBE, 0xAD, 0xDE, 0x04, 0x03, 0x02, 0x01,
      0x00, 0x00, 0xC0, 0x3F,                          // 1.5f
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0xC0,  // -2.25
  };
  EXPECT_EQ(FileBytes(dir.Path() / "values.bin"), expected);
  EXPECT_EQ(name.FILE_SIZE(), static_cast<std::int64_t>(expected.size()));

  MFile file(0x40000);
  ASSERT_TRUE(file.OPEN_READ(name));
  char c2 = 0;
  unsigned char uc2 = 0;
  short s2 = 0;
  unsigned short us2 = 0;
  std::int32_t l2 = 0;
  std::uint32_t ul2 = 0;
  float f2 = 0;
  double d2 = 0;
  EXPECT_EQ(file.READ(&c2, 1), 1u);
  EXPECT_EQ(file.READ(&uc2, 1), 1u);
  EXPECT_EQ(file.READ(&s2, 1), 1u);
  EXPECT_EQ(file.READ(&us2, 1), 1u);
  EXPECT_EQ(file.READ(&l2, 1), 1u);
  EXPECT_EQ(file.READ(&ul2, 1), 1u);
  EXPECT_EQ(file.READ(&f2, 1), 1u);
  EXPECT_EQ(file.READ(&d2, 1), 1u);
  EXPECT_EQ(c2, c);
  EXPECT_EQ(uc2, uc);
  EXPECT_EQ(s2, s);
  EXPECT_EQ(us2, us);
  EXPECT_EQ(l2, l);
  EXPECT_EQ(ul2, ul);
  EXPECT_EQ(f2, f);
  EXPECT_EQ(d2, d);
  EXPECT_EQ(file.READ(&c2, 1), 0u) << "nothing after the last value";
}

// Mixed small and large transfers, around and through the buffer, must keep the order of the
// calls on disk and read back the same whatever the buffer size on either side.
class MFileBufferSizes : public ::testing::TestWithParam<std::size_t> {};

TEST_P(MFileBufferSizes, MixedTransfersKeepTheirOrder) {
  TempDir dir;
  const MFileName name(dir.File(L"mixed.bin"));
  std::vector<std::int32_t> big(50000);
  std::iota(big.begin(), big.end(), -1000);
  std::vector<double> medium(300);
  std::iota(medium.begin(), medium.end(), 0.5);
  const short small[3] = {7, -8, 9};
  {
    MFile file(GetParam());
    ASSERT_TRUE(file.OPEN_WRITE(name));
    EXPECT_EQ(file.WRITE(small, 3), 3u);
    EXPECT_EQ(file.WRITE(big.data(), big.size()), big.size());
    EXPECT_EQ(file.WRITE(small, 1), 1u);
    EXPECT_EQ(file.WRITE(medium.data(), medium.size()), medium.size());
    EXPECT_EQ(file.WRITE(small + 2, 1), 1u);
    EXPECT_TRUE(file.CLOSE());
  }
  EXPECT_EQ(name.FILE_SIZE(), static_cast<std::int64_t>(6 + big.size() * 4 + 2 + medium.size() * 8 + 2));

  // Read back with another buffer size, so that buffer boundaries fall elsewhere.
  MFile file(GetParam() == 0 ? 13 : GetParam() / 2 + 5);
  ASSERT_TRUE(file.OPEN_READ(name));
  short small2[3] = {};
  std::vector<std::int32_t> big2(big.size());
  std::vector<double> medium2(medium.size());
  short one = 0, last = 0;
  EXPECT_EQ(file.READ(small2, 3), 3u);
  EXPECT_EQ(file.READ(big2.data(), big2.size()), big2.size());
  EXPECT_EQ(file.READ(&one, 1), 1u);
  EXPECT_EQ(file.READ(medium2.data(), medium2.size()), medium2.size());
  EXPECT_EQ(file.READ(&last, 1), 1u);
  EXPECT_EQ(std::vector<short>(small2, small2 + 3), std::vector<short>(small, small + 3));
  EXPECT_EQ(big2, big);
  EXPECT_EQ(one, 7);
  EXPECT_EQ(medium2, medium);
  EXPECT_EQ(last, 9);
}

INSTANTIATE_TEST_SUITE_P(Sizes, MFileBufferSizes,
                         ::testing::Values(0u, 1u, 7u, 4096u, MFile::kDefaultBufferSize));

TEST(MFile, ShortReadsCountWholeItemsOnly) {
  TempDir dir;
  const MFileName name(dir.File(L"ten.bin"));
  {
    MFile file(16);
    ASSERT_TRUE(file.OPEN_WRITE(name));
    const unsigned char bytes[10] = {1, 0, 0, 0, 2, 0, 0, 0, 3, 0};
    EXPECT_EQ(file.WRITE(bytes, 10), 10u);
    ASSERT_TRUE(file.CLOSE());
  }
  for (std::size_t buffer : {std::size_t{0}, std::size_t{4}, MFile::kDefaultBufferSize}) {
    MFile file(buffer);
    ASSERT_TRUE(file.OPEN_READ(name));
    std::int32_t values[3] = {0, 0, 0};
    EXPECT_EQ(file.READ(values, 3), 2u) << "buffer " << buffer;
    EXPECT_EQ(values[0], 1);
    EXPECT_EQ(values[1], 2);
    char c;
    EXPECT_EQ(file.READ(&c, 1), 0u) << "the partial item was consumed, buffer " << buffer;
  }
  MFile file(4);
  ASSERT_TRUE(file.OPEN_READ(name));
  double d[2];
  EXPECT_EQ(file.READ(d, 2), 1u);
}

TEST(MFile, RefusesWhatItsStateDoesNotAllow) {
  TempDir dir;
  const MFileName name(dir.File(L"state.bin"));
  MFile file;
  const std::int32_t value = 5;
  EXPECT_EQ(file.WRITE(&value, 1), 0u) << "not open";
  EXPECT_TRUE(file.CLOSE()) << "closing a closed file loses nothing";
  EXPECT_FALSE(file.OPEN_WRITE(MFileName()));
  EXPECT_FALSE(file.OPEN_READ(MFileName(dir.File(L"missing.bin"))));
  EXPECT_FALSE(file.OPEN_READ(MFileName(dir.Wide())));
  EXPECT_FALSE(file.OPEN_WRITE(MFileName(dir.Wide())));
  EXPECT_FALSE(file.IS_OPEN());

  ASSERT_TRUE(file.OPEN_WRITE(name));
  EXPECT_FALSE(file.OPEN_WRITE(name)) << "already open";
  std::int32_t read_back = 0;
  EXPECT_EQ(file.READ(&read_back, 1), 0u) << "open for writing";
  EXPECT_EQ(file.WRITE(&value, 1), 1u);
  EXPECT_TRUE(file.CLOSE());

  ASSERT_TRUE(file.OPEN_READ(name));
  EXPECT_EQ(file.WRITE(&value, 1), 0u) << "open for reading";
  EXPECT_EQ(file.READ(&read_back, 1), 1u);
  EXPECT_EQ(read_back, 5);
  EXPECT_TRUE(file.CLOSE());

  // Reopening truncates, and the destructor writes what is buffered.
  {
    MFile again;
    ASSERT_TRUE(again.OPEN_WRITE(name));
    const char c = 'x';
    again.WRITE(&c, 1);
  }
  EXPECT_EQ(name.FILE_SIZE(), 1);
  struct stat info;
  ASSERT_EQ(::stat(name.GET_NATIVE_PATH().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0077, 0u) << "readable by the user only";
}

TEST(MFile, FullDiskFailsTheWriteAndTheClose) {
  const MFileName full(L"/dev/full");
  const std::vector<double> data(1000, 1.0);
  {
    // Accepted into the buffer, refused on the way to the disk.
    MFile file(0x40000);
    ASSERT_TRUE(file.OPEN_WRITE(full));
    EXPECT_EQ(file.WRITE(data.data(), 10), 10u);
    EXPECT_FALSE(file.FLUSH());
    EXPECT_TRUE(file.HAS_FAILED());
    EXPECT_EQ(file.WRITE(data.data(), 1), 0u) << "a failed file takes nothing more";
    EXPECT_FALSE(file.CLOSE());
    EXPECT_FALSE(file.HAS_FAILED()) << "closing ends the failed state";
  }
  {
    // Larger than the buffer: goes straight to the disk and reports at once.
    MFile file(64);
    ASSERT_TRUE(file.OPEN_WRITE(full));
    EXPECT_EQ(file.WRITE(data.data(), data.size()), 0u);
    EXPECT_FALSE(file.CLOSE());
  }
  {
    // A buffered write that finds no room flushes first and fails with the flush.
    MFile file(64);
    ASSERT_TRUE(file.OPEN_WRITE(full));
    EXPECT_EQ(file.WRITE(data.data(), 6), 6u);
    EXPECT_EQ(file.WRITE(data.data(), 6), 0u);
    EXPECT_FALSE(file.CLOSE());
  }
}

// What a child process under a file size limit saw; filled in there, checked here.
struct SizeLimitReport {
  std::size_t direct_items = 0;
  bool direct_close = true;
  std::size_t buffered_items = 0;
  bool buffered_close = true;
  std::int64_t size_on_disk = -1;
};

TEST(MFile, FileSizeLimitGivesAShortWrite) {
  TempDir dir;
  const MFileName direct(dir.File(L"direct.bin"));
  const MFileName buffered(dir.File(L"buffered.bin"));
  int channel[2];
  ASSERT_EQ(::pipe(channel), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // The limit and the ignored signal stay in the child.
    ::close(channel[0]);
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{1000, 1000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    SizeLimitReport report;
    const std::vector<double> data(300, 3.0);  // 2400 bytes
    MFile file(64);
    if (file.OPEN_WRITE(direct)) {
      report.direct_items = file.WRITE(data.data(), data.size());
      report.direct_close = file.CLOSE();
    }
    report.size_on_disk = direct.FILE_SIZE();
    MFile big_buffer(0x40000);
    if (big_buffer.OPEN_WRITE(buffered)) {
      report.buffered_items = big_buffer.WRITE(data.data(), data.size());
      report.buffered_close = big_buffer.CLOSE();
    }
    ssize_t ignored = ::write(channel[1], &report, sizeof report);
    (void)ignored;
    ::_exit(0);
  }
  ::close(channel[1]);
  SizeLimitReport report;
  const ssize_t got = ::read(channel[0], &report, sizeof report);
  ::close(channel[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
  ASSERT_EQ(got, static_cast<ssize_t>(sizeof report));
  EXPECT_EQ(report.direct_items, 125u) << "1000 bytes hold 125 whole doubles";
  EXPECT_FALSE(report.direct_close);
  EXPECT_EQ(report.size_on_disk, 1000);
  EXPECT_EQ(report.buffered_items, 300u) << "accepted into the buffer";
  EXPECT_FALSE(report.buffered_close) << "but not all of it reached the disk";
}

}  // namespace
