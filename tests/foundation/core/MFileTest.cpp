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

TEST(MFile, EveryTypeRoundTripsWithLittleEndianBytesOnDisk) {
  TempDir dir;
  const MFileName name(dir.File(L"values.bin"));
  MFile file(0x40000);
  ASSERT_TRUE(file.OPEN_WRITE(name));
  Put<char>(file, 'A');
  Put<unsigned char>(file, 0xFE);
  Put<short>(file, -2);
  Put<unsigned short>(file, 0xBEEF);
  Put<std::int32_t>(file, -559038737);  // 0xDEADBEEF
  Put<std::uint32_t>(file, 0x01020304);
  Put<float>(file, 1.5f);
  Put<double>(file, -2.25);
  ASSERT_TRUE(file.CLOSE());
  const std::vector<unsigned char> expected = {
      0x41, 0xFE, 0xFE, 0xFF, 0xEF, 0xBE, 0xEF, 0xBE, 0xAD, 0xDE, 0x04, 0x03, 0x02, 0x01,
      0x00, 0x00, 0xC0, 0x3F,                          // 1.5f
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0xC0,  // -2.25
  };
  EXPECT_EQ(FileBytes(dir.Path() / "values.bin"), expected);

  ASSERT_TRUE(file.OPEN_READ(name));
  EXPECT_EQ(Get<char>(file), 'A');
  EXPECT_EQ(Get<unsigned char>(file), 0xFE);
  EXPECT_EQ(Get<short>(file), -2);
  EXPECT_EQ(Get<unsigned short>(file), 0xBEEF);
  EXPECT_EQ(Get<std::int32_t>(file), -559038737);
  EXPECT_EQ(Get<std::uint32_t>(file), 0x01020304u);
  EXPECT_EQ(Get<float>(file), 1.5f);
  EXPECT_EQ(Get<double>(file), -2.25);
  char c;
  EXPECT_EQ(file.READ(&c, 1), 0u) << "nothing after the last value";
}

// Small and large transfers, around and through the buffer, keep the order of the calls and
// read back the same whatever the buffer sizes on either side.
class MFileBufferSizes : public ::testing::TestWithParam<std::size_t> {};

TEST_P(MFileBufferSizes, MixedTransfersKeepTheirOrder) {
  TempDir dir;
  const MFileName name(dir.File(L"mixed.bin"));
  std::vector<std::int32_t> big(50000);
  std::iota(big.begin(), big.end(), -1000);
  std::vector<double> medium(300);
  std::iota(medium.begin(), medium.end(), 0.5);
  MFile out(GetParam());
  ASSERT_TRUE(out.OPEN_WRITE(name));
  Put<short>(out, 7);
  EXPECT_EQ(out.WRITE(big.data(), big.size()), big.size());
  Put<short>(out, 8);
  EXPECT_EQ(out.WRITE(medium.data(), medium.size()), medium.size());
  Put<short>(out, 9);
  ASSERT_TRUE(out.CLOSE());
  EXPECT_EQ(name.FILE_SIZE(), static_cast<std::int64_t>(6 + big.size() * 4 + medium.size() * 8));

  MFile in(GetParam() == 0 ? 13 : GetParam() / 2 + 5);  // boundaries fall elsewhere
  ASSERT_TRUE(in.OPEN_READ(name));
  std::vector<std::int32_t> big2(big.size());
  std::vector<double> medium2(medium.size());
  EXPECT_EQ(Get<short>(in), 7);
  EXPECT_EQ(in.READ(big2.data(), big2.size()), big2.size());
  EXPECT_EQ(Get<short>(in), 8);
  EXPECT_EQ(in.READ(medium2.data(), medium2.size()), medium2.size());
  EXPECT_EQ(Get<short>(in), 9);
  EXPECT_EQ(big2, big);
  EXPECT_EQ(medium2, medium);
}

INSTANTIATE_TEST_SUITE_P(Sizes, MFileBufferSizes,
                         ::testing::Values(0u, 1u, 7u, 4096u, MFile::kDefaultBufferSize));

TEST(MFile, ShortReadsCountWholeItemsOnly) {
  TempDir dir;
  const MFileName name(dir.File(L"ten.bin"));
  std::ofstream(dir.Path() / "ten.bin", std::ios::binary).write("\1\0\0\0\2\0\0\0\3\0", 10);
  for (std::size_t buffer : {std::size_t{0}, std::size_t{4}, MFile::kDefaultBufferSize}) {
    MFile file(buffer);
    ASSERT_TRUE(file.OPEN_READ(name));
    std::int32_t values[3] = {0, 0, 0};
    EXPECT_EQ(file.READ(values, 3), 2u) << "buffer " << buffer;
    EXPECT_EQ(values[1], 2);
    char c;
    EXPECT_EQ(file.READ(&c, 1), 0u) << "the partial item was consumed, buffer " << buffer;
  }
}

TEST(MFile, RefusesWhatItsStateDoesNotAllow) {
  TempDir dir;
  const MFileName name(dir.File(L"state.bin"));
  MFile file;
  const std::int32_t value = 5;
  std::int32_t read_back = 0;
  EXPECT_EQ(file.WRITE(&value, 1), 0u) << "not open";
  EXPECT_TRUE(file.CLOSE()) << "closing a closed file loses nothing";
  EXPECT_FALSE(file.OPEN_WRITE(MFileName()));
  EXPECT_FALSE(file.OPEN_READ(MFileName(dir.File(L"missing.bin"))));
  EXPECT_FALSE(file.OPEN_READ(MFileName(dir.Wide())));
  EXPECT_FALSE(file.OPEN_WRITE(MFileName(dir.Wide())));

  ASSERT_TRUE(file.OPEN_WRITE(name));
  EXPECT_FALSE(file.OPEN_WRITE(name)) << "already open";
  EXPECT_EQ(file.READ(&read_back, 1), 0u) << "open for writing";
  Put(file, value);
  EXPECT_TRUE(file.CLOSE());
  ASSERT_TRUE(file.OPEN_READ(name));
  EXPECT_EQ(file.WRITE(&value, 1), 0u) << "open for reading";
  EXPECT_EQ(Get<std::int32_t>(file), 5);
  EXPECT_TRUE(file.CLOSE());

  {
    MFile again;  // reopening truncates, and the destructor writes what is buffered
    ASSERT_TRUE(again.OPEN_WRITE(name));
    Put<char>(again, 'x');
  }
  EXPECT_EQ(name.FILE_SIZE(), 1);
  struct stat info;
  ASSERT_EQ(::stat(name.GET_NATIVE_PATH().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0077, 0u) << "readable by the user only";
}

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

TEST(MFile, FileSizeLimitGivesAShortWrite) {
  TempDir dir;
  const MFileName direct(dir.File(L"direct.bin"));
  const MFileName buffered(dir.File(L"buffered.bin"));
  // What the child saw: items of the direct write, its close, items of the buffered write,
  // its close, the direct file's size.
  std::int64_t report[5] = {-1, -1, -1, -1, -1};
  int channel[2];
  ASSERT_EQ(::pipe(channel), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // The limit and the ignored signal stay in the child.
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1000, 1000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const std::vector<double> data(300, 3.0);  // 2400 bytes
    MFile small(64), large(0x40000);
    if (small.OPEN_WRITE(direct) && large.OPEN_WRITE(buffered)) {
      report[0] = static_cast<std::int64_t>(small.WRITE(data.data(), data.size()));
      report[1] = small.CLOSE();
      report[2] = static_cast<std::int64_t>(large.WRITE(data.data(), data.size()));
      report[3] = large.CLOSE();
      report[4] = direct.FILE_SIZE();
    }
    ::_exit(::write(channel[1], report, sizeof report) == static_cast<ssize_t>(sizeof report) ? 0 : 1);
  }
  ::close(channel[1]);
  const ssize_t got = ::read(channel[0], report, sizeof report);
  ::close(channel[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
  ASSERT_EQ(got, static_cast<ssize_t>(sizeof report));
  EXPECT_EQ(report[0], 125) << "1000 bytes hold 125 whole doubles";
  EXPECT_EQ(report[1], 0) << "close after a short write";
  EXPECT_EQ(report[2], 300) << "accepted into the buffer";
  EXPECT_EQ(report[3], 0) << "but not all of it reached the disk";
  EXPECT_EQ(report[4], 1000);
}

}  // namespace
