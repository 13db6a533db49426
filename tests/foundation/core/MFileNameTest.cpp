#include "ostrum/foundation/core/MFileName.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "TempDir.h"
#include "ostrum/foundation/core/MFile.h"

namespace {

bool StartsWith(const std::wstring& text, const std::wstring& start) {
  return text.compare(0, start.size(), start) == 0;
}

std::ptrdiff_t FilesIn(const std::filesystem::path& dir) {
  return std::distance(std::filesystem::directory_iterator(dir), {});
}

TEST(MFileName, DirectoryPartsAndValueSemantics) {
  MFileName dir(L"/var/tmp/undo", true);
  EXPECT_STREQ(static_cast<const wchar_t*>(dir), L"/var/tmp/undo/");
  EXPECT_EQ(dir.GET_DRIVE_DIR_PARTS(false), L"/var/tmp/undo");
  dir.SET(L"/var/tmp/undo/", true);
  EXPECT_EQ(dir.GET_PATH(), L"/var/tmp/undo/") << "no second separator";

  MFileName file(std::wstring(L"/var/tmp/undo/~varn_undo1.tmp"));
  EXPECT_EQ(file.GET_DRIVE_DIR_PARTS(true), L"/var/tmp/undo/");
  EXPECT_EQ(MFileName(L"/file.tmp").GET_DRIVE_DIR_PARTS(false), L"/");
  EXPECT_EQ(MFileName(L"plain.tmp").GET_DRIVE_DIR_PARTS(true), L"");
  EXPECT_TRUE(MFileName(static_cast<const wchar_t*>(nullptr), true).IS_EMPTY());

  MFileName copy(file), assigned;
  assigned = file;
  file.SET(L"/elsewhere", false);
  EXPECT_EQ(copy.GET_PATH(), L"/var/tmp/undo/~varn_undo1.tmp") << "copies are independent";
  EXPECT_EQ(assigned, copy);
}

TEST(MFileName, TempNamesAreNewFilesOfTheUserOnly) {
  TempDir dir;
  std::set<std::wstring> names;
  MFileName name;
  for (int i = 0; i < 300; ++i) {
    // The same prefix each time: every call must find a name not yet taken.
    ASSERT_TRUE(name.SET_TEMP_NAME(dir.Wide(), L"~varn_undo", nullptr, 65535, 0));
    const std::wstring path = name.GET_PATH();
    ASSERT_TRUE(names.insert(path).second) << "name given twice";
    EXPECT_TRUE(StartsWith(path, dir.Wide() + L"~varn_undo"));
    EXPECT_EQ(path.substr(path.size() - 4), L".tmp");
    struct stat info;
    ASSERT_EQ(::stat(name.GET_NATIVE_PATH().c_str(), &info), 0) << "made, so nobody else takes it";
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_EQ(info.st_size, 0);
  }
  std::wstring without_separator = dir.Wide();
  without_separator.pop_back();
  ASSERT_TRUE(name.SET_TEMP_NAME(without_separator, L"x", L"dat"));
  EXPECT_TRUE(StartsWith(name.GET_PATH(), dir.Wide() + L"x"));
  EXPECT_EQ(name.GET_PATH().substr(name.GET_PATH().size() - 4), L".dat");
  EXPECT_EQ(FilesIn(dir.Path()), 301);

  // An empty directory is the system's temporary directory.
  ASSERT_TRUE(name.SET_TEMP_NAME(L"", L"ostrum-test-"));
  const std::filesystem::path system_dir = std::filesystem::temp_directory_path();
  EXPECT_TRUE(StartsWith(name.GET_PATH(), CharacterSetConversions::FromUTF8(system_dir.string())));
  EXPECT_TRUE(name.REMOVE());
  EXPECT_FALSE(name.REMOVE()) << "nothing left to remove";
}

TEST(MFileName, FailedTempNameLeavesNoNameToOpen) {
  TempDir dir;
  std::ofstream(dir.Path() / "regular") << "x";
  MFileName name(dir.File(L"old-name.tmp"));
  // Not there; not a directory; under /proc nobody, not even root, creates files.
  for (const std::wstring& bad_dir :
       {dir.File(L"missing/"), dir.File(L"regular/"), std::wstring(L"/proc/")}) {
    EXPECT_FALSE(name.SET_TEMP_NAME(bad_dir, L"~varn_undo")) << name.GET_NATIVE_PATH();
    EXPECT_TRUE(name.IS_EMPTY());
    MFile file;
    EXPECT_FALSE(file.OPEN_WRITE(name));
  }
  EXPECT_FALSE(name.SET_TEMP_NAME(dir.Wide(), L"../escape")) << "the name must stay inside";
  MFile file;
  EXPECT_FALSE(file.OPEN_WRITE(MFileName(L"/proc/ostrum-cannot-be-here")));
  if (::geteuid() != 0) {  // permissions stop everybody but root
    std::filesystem::permissions(dir.Path(), std::filesystem::perms::owner_read |
                                                 std::filesystem::perms::owner_exec);
    EXPECT_FALSE(name.SET_TEMP_NAME(dir.Wide(), L"~varn_undo"));
    EXPECT_FALSE(file.OPEN_WRITE(MFileName(dir.File(L"new.bin"))));
  }
}

TEST(MFileName, ConcurrentProcessesNeverShareATempName) {
  TempDir dir;
  constexpr int kProcesses = 3, kNamesEach = 400;
  int start[2];
  ASSERT_EQ(::pipe(start), 0);
  pid_t children[kProcesses];
  for (pid_t& child : children) {
    child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::close(start[1]);
      char go;
      while (::read(start[0], &go, 1) > 0) {
      }  // all start together when the parent closes the pipe
      MFileName name;
      int failures = 0;
      for (int i = 0; i < kNamesEach; ++i) failures += !name.SET_TEMP_NAME(dir.Wide(), L"~varn_redo");
      ::_exit(failures == 0 ? 0 : 1);
    }
  }
  ::close(start[0]);
  ::close(start[1]);
  for (pid_t child : children) {
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a child got no name";
  }
  // Every successful call made its own file: a name handed to two callers would show as fewer.
  EXPECT_EQ(FilesIn(dir.Path()), kProcesses * kNamesEach);
}

TEST(MFileName, ExistenceAndSizeComeFromTheDisk) {
  TempDir dir;
  const MFileName name(dir.File(L"\u00c4\u20ac\U0001F600.bin"));  // reaches the system as UTF-8
  EXPECT_FALSE(name.DOES_EXIST());
  EXPECT_EQ(name.FILE_SIZE(), 0) << "a missing file counts as empty";
  MFile file;
  ASSERT_TRUE(file.OPEN_WRITE(name));
  const double values[3] = {1, 2, 3};
  file.WRITE(values, 3);
  EXPECT_EQ(name.FILE_SIZE(), 0) << "still in the buffer";
  ASSERT_TRUE(file.CLOSE());
  EXPECT_TRUE(std::filesystem::exists(dir.Path() / u8"\u00c4\u20ac\U0001F600.bin"));
  EXPECT_EQ(name.FILE_SIZE(), 24);
  EXPECT_TRUE(MFileName(dir.Wide()).DOES_EXIST()) << "directories exist too";
  EXPECT_TRUE(name.REMOVE());
  EXPECT_FALSE(name.DOES_EXIST());
  EXPECT_FALSE(MFileName().DOES_EXIST());
}

}  // namespace
