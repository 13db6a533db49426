// Faults that strike an undo step's files or directory after the step was done: the file is
// removed, cut short or replaced behind the program's back, the directory goes away, the disk
// fills up, the process meets its file size limit. The undo or redo that meets the fault answers
// false and leaves document and history as they were; once the fault is gone the same call
// succeeds, and a walk through the whole history reaches every generation of the data. The
// disk budget holds whatever the history does, idle or not.

#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "document/UndoableOperations.h"
#include "support/ChildProcess.h"

namespace {

using namespace undo_test;

// The data of both objects at one point of the history.
using Generation = std::pair<StateObject::State, StateObject::State>;

// What the history looks like, to tell that a failed call left it as it was.
struct HistoryShape {
  bool can_undo, can_redo;
  std::wstring undo_text, redo_text;
  std::vector<std::vector<std::string>> undos, redos;
  bool operator==(const HistoryShape&) const = default;
};

std::string ReadAll(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// A fault on one state file: `strike` makes it, `heal` takes it back so that the file is again
// the very one written (same inode, same size, same bytes). `aside` is a free name beside it.
// Which changes make a file another one (links, FIFOs, sizes) is MFile's to tell, and its
// tests go through them; here the document meets a refused file gone, cut, or swapped.
struct FileFault {
  const char* name;
  void (*strike)(const fs::path& file, const fs::path& aside);
  void (*heal)(const fs::path& file, const fs::path& aside);
};
void PrintTo(const FileFault& fault, std::ostream* out) { *out << fault.name; }

const FileFault kFileFaults[] = {
    {"Removed",
     [](const fs::path& file, const fs::path& aside) {
       fs::create_hard_link(file, aside);
       fs::remove(file);
     },
     [](const fs::path& file, const fs::path& aside) {
       fs::create_hard_link(aside, file);
       fs::remove(aside);
     }},
    {"CutShort",
     [](const fs::path& file, const fs::path& aside) {
       std::ofstream(aside, std::ios::binary) << ReadAll(file);
       fs::resize_file(file, fs::file_size(file) / 2);
     },
     [](const fs::path& file, const fs::path& aside) {
       // The same file, written back in place: what it was, again.
       const std::string bytes = ReadAll(aside);
       const int fd = ::open(file.c_str(), O_WRONLY);
       ASSERT_GE(fd, 0);
       ASSERT_EQ(::pwrite(fd, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
       ::close(fd);
       fs::remove(aside);
     }},
    {"ReplacedByACopy",  // the same bytes in another file: still not the file written
     [](const fs::path& file, const fs::path& aside) {
       fs::rename(file, aside);
       fs::copy_file(aside, file);
     },
     [](const fs::path& file, const fs::path& aside) {
       fs::remove(file);
       fs::rename(aside, file);
     }},
};

enum class Target { kUndoFile, kRedoFile };

// Two steps: a relabel of s, then a step of `group_size` operations (a group when more than
// one), each relabelling s or t. The fault strikes a file of the second step: the middle
// operation's undo file before an undo, or one of its redo files before a redo.
struct FileFaults : UndoableOperations, testing::WithParamInterface<std::tuple<FileFault, Target, int>> {
  FileFaults() {
    s.bytes.resize(20000);
    t.bytes.resize(30000);
  }

  std::set<fs::path> StateFiles() const {
    std::set<fs::path> files;
    for (const auto& entry : fs::directory_iterator(dir))
      if (entry.path().filename().string().rfind("~varn_", 0) == 0) files.insert(entry.path());
    return files;
  }
  // The files present now that were not in `before`, oldest first.
  std::vector<fs::path> NewFiles(const std::set<fs::path>& before) const {
    std::vector<fs::path> added;
    for (const fs::path& file : StateFiles())
      if (!before.count(file)) added.push_back(file);
    std::sort(added.begin(), added.end(),
              [](const fs::path& a, const fs::path& b) { return fs::last_write_time(a) < fs::last_write_time(b); });
    return added;
  }
  Generation Now() const { return {s.Snap(), t.Snap()}; }
  HistoryShape Shape() {
    auto text = [](const wchar_t* t) { return std::wstring(t ? t : L"(none)"); };
    return {manager().CanUndo(), manager().CanRedo(), text(manager().GetUndoActionString()),
            text(manager().GetRedoActionString()), Undos().groups, Redos().groups};
  }

  // Goes to the end, walks back to the start and forward to the end again, checking every
  // generation on the way.
  void WalkThroughEveryGeneration(const std::vector<Generation>& generations) {
    while (manager().CanRedo()) ASSERT_TRUE(doc.RedoOperation());
    ASSERT_TRUE(Now() == generations.back()) << "the end";
    for (size_t g = generations.size() - 1; g-- > 0;) {
      ASSERT_TRUE(doc.UndoOperation()) << "undo to generation " << g;
      EXPECT_TRUE(Now() == generations[g]) << "generation " << g << " after undo";
    }
    EXPECT_FALSE(manager().CanUndo());
    for (size_t g = 1; g < generations.size(); ++g) {
      ASSERT_TRUE(doc.RedoOperation()) << "redo to generation " << g;
      EXPECT_TRUE(Now() == generations[g]) << "generation " << g << " after redo";
    }
    EXPECT_FALSE(manager().CanRedo());
  }
};

TEST_P(FileFaults, TheCallFailsWithNothingChangedAndSucceedsOnceTheFaultIsGone) {
  const auto& [fault, target, group_size] = GetParam();
  std::vector<Generation> generations{Now()};
  ASSERT_TRUE(Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"one")));
  generations.push_back(Now());

  long long group = group_size > 1 ? doc.BeginOperationGroup(L"step two", false) : -1;
  std::vector<fs::path> undo_files;
  for (int i = 0; i < group_size; ++i) {
    const auto before = StateFiles();
    ASSERT_TRUE(Do(Op(MOperation::ACTION_CHANGE_LABEL, {i % 2 ? &t : &s}, (L"two-" + std::to_wstring(i)).c_str())));
    const auto added = NewFiles(before);
    ASSERT_EQ(added.size(), 1u);
    undo_files.push_back(added[0]);
  }
  if (group_size > 1) {
    ASSERT_TRUE(doc.EndOperationGroup(group));
  }
  generations.push_back(Now());

  fs::path file = undo_files[undo_files.size() / 2];
  bool undo = true;
  if (target == Target::kRedoFile) {
    const auto before = StateFiles();
    ASSERT_TRUE(doc.UndoOperation());
    const auto redo_files = NewFiles(before);  // written newest operation first
    ASSERT_EQ(redo_files.size(), static_cast<size_t>(group_size));
    file = redo_files[redo_files.size() / 2];
    undo = false;
  }
  const Generation at_fault = Now();
  const HistoryShape shape = Shape();
  const fs::path aside = dir / "aside.bin";

  fault.strike(file, aside);
  log.clear();
  EXPECT_FALSE(undo ? doc.UndoOperation() : doc.RedoOperation());
  EXPECT_TRUE(Now() == at_fault) << "the document changed";
  EXPECT_TRUE(Shape() == shape) << "the history changed";
  if (group_size == 1) {
    // Nothing was done: the objects were at most asked for their state (the redo file), and
    // neither observers nor windows heard of anything.
    Calls done;
    for (const std::string& call : log)
      if (call.find("SaveState") == std::string::npos) done.push_back(call);
    EXPECT_EQ(done, Calls{});
  }
  // Tried again while the fault lasts: the same answer.
  EXPECT_FALSE(undo ? doc.UndoOperation() : doc.RedoOperation());
  EXPECT_TRUE(Now() == at_fault && Shape() == shape);

  fault.heal(file, aside);
  EXPECT_TRUE(undo ? doc.UndoOperation() : doc.RedoOperation());
  EXPECT_TRUE(Now() == generations[undo ? 1 : 2]);
  WalkThroughEveryGeneration(generations);
}

INSTANTIATE_TEST_SUITE_P(Faults, FileFaults,
                         testing::Combine(testing::ValuesIn(kFileFaults),
                                          testing::Values(Target::kUndoFile, Target::kRedoFile), testing::Values(1, 3)),
                         [](const auto& info) {
                           return std::string(std::get<0>(info.param).name) +
                                  (std::get<1>(info.param) == Target::kUndoFile ? "_BeforeUndo" : "_BeforeRedo") +
                                  (std::get<2>(info.param) > 1 ? "_InAGroup" : "");
                         });

// Faults of the directory and of the disk: the redo state of an undo cannot be written.
struct DiskFaults : FileFaults {};

TEST_F(DiskFaults, TheUndoDirectoryGoneAndBackUndoesAfterwards) {
  std::vector<Generation> generations{Now()};
  for (const wchar_t* label : {L"one", L"two"}) {
    ASSERT_TRUE(Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s, &t}, label)));
    generations.push_back(Now());
  }
  const HistoryShape shape = Shape();
  const fs::path away = dir.string() + "-away";
  fs::rename(dir, away);
  EXPECT_FALSE(doc.UndoOperation()) << "no redo file can be made where the directory was";
  EXPECT_TRUE(Now() == generations[2] && Shape() == shape);
  fs::rename(away, dir);
  EXPECT_TRUE(doc.UndoOperation());
  EXPECT_TRUE(Now() == generations[1]);
  // The redo files are read from where they were written.
  fs::rename(dir, away);
  EXPECT_FALSE(doc.RedoOperation());
  EXPECT_TRUE(Now() == generations[1]);
  fs::rename(away, dir);
  EXPECT_TRUE(doc.RedoOperation());
  WalkThroughEveryGeneration(generations);
}

// The file size limit of the process, lowered below the redo state and raised again (in a
// child: the limit and the ignored signal stay there).
TEST_F(DiskFaults, AnUndoPastTheFileSizeLimitWaitsForTheLimitToRise) {
  EXPECT_EQ(RunInChild([&](ChildChecks& c) {
              ::signal(SIGXFSZ, SIG_IGN);
              std::vector<Generation> generations{Now()};
              for (const wchar_t* label : {L"one", L"two"}) {
                c.Check(Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, label)), "the operations are done");
                generations.push_back(Now());
              }
              const HistoryShape shape = Shape();
              rlimit limit{};
              ::getrlimit(RLIMIT_FSIZE, &limit);
              const rlimit low{8192, limit.rlim_max};
              ::setrlimit(RLIMIT_FSIZE, &low);
              c.Check(!doc.UndoOperation(), "the 20 kB redo state does not fit under an 8 kB limit");
              c.Check(Now() == generations[2] && Shape() == shape, "and nothing changed");
              ::setrlimit(RLIMIT_FSIZE, &limit);
              c.Check(doc.UndoOperation() && Now() == generations[1], "with the limit raised, the undo goes ahead");
              c.Check(doc.UndoOperation() && Now() == generations[0], "and the next one");
              c.Check(doc.RedoOperation() && doc.RedoOperation() && Now() == generations[2], "redo reaches the end");
            }),
            "");
}

// A real full disk, then a file system made read-only: a tmpfs of 1 MiB mounted over the undo
// directory (only root may mount).
TEST_F(DiskFaults, AnUndoOnAFullOrReadOnlyDiskWaitsUntilItCanWrite) {
  const fs::path mounted = dir / "small";
  fs::create_directory(mounted);
  if (::mount("tmpfs", mounted.c_str(), "tmpfs", 0, "size=1m,mode=0700") != 0)
    GTEST_SKIP() << "a 1 MiB tmpfs cannot be mounted here (" << std::strerror(errno)
                 << "); the file size limit test covers writes that stop part-way";
  struct Unmount {
    fs::path path;
    ~Unmount() { ::umount2(path.c_str(), MNT_DETACH); }
  } unmount{mounted};
  SetDir(mounted);
  s.bytes.resize(200 * 1024);
  std::vector<Generation> generations{Now()};
  for (const wchar_t* label : {L"one", L"two"}) {
    ASSERT_TRUE(Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, label)));
    generations.push_back(Now());
  }
  // Fill what is left, but for a few kilobytes.
  const fs::path filler = mounted / "filler";
  {
    std::ofstream out(filler, std::ios::binary);
    const std::string block(4096, 'x');
    while (out.write(block.data(), block.size())) {
    }
  }
  fs::resize_file(filler, fs::file_size(filler) - 8192);
  const HistoryShape shape = Shape();
  EXPECT_FALSE(doc.UndoOperation()) << "the 200 kB redo state does not fit";
  EXPECT_TRUE(Now() == generations[2] && Shape() == shape);
  for (const auto& entry : fs::directory_iterator(mounted))
    EXPECT_FALSE(entry.path().filename().string().rfind("~varn_redo", 0) == 0) << "a partial redo file was left";
  fs::remove(filler);
  ASSERT_EQ(::mount(nullptr, mounted.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0) << std::strerror(errno);
  EXPECT_FALSE(doc.UndoOperation()) << "room now, but nothing can be written";
  EXPECT_TRUE(Now() == generations[2] && Shape() == shape);
  ASSERT_EQ(::mount(nullptr, mounted.c_str(), nullptr, MS_REMOUNT, "size=1m,mode=0700"), 0) << std::strerror(errno);
  EXPECT_TRUE(doc.UndoOperation());
  EXPECT_TRUE(Now() == generations[1]);
  WalkThroughEveryGeneration(generations);
  doc.CleanUpUndoHandler();
}

// The budget bounds what is really on disk, undo and redo files alike, after every call and
// without waiting for idle time: at most the budget plus the step written last (room is made
// before a step writes; a redo writes nothing).
TEST_F(DiskFaults, BytesOnDiskNeverExceedTheBudgetAndTheStepBeingWritten) {
  std::mt19937 random(7);
  const long long budget = 100000;
  MDocument::SetUndoDiskSpace(budget);
  auto bytes_on_disk = [&] {
    std::map<fs::path, uintmax_t> sizes;
    for (const fs::path& file : StateFiles()) sizes[file] = fs::file_size(file);
    return sizes;
  };
  auto total = [](const std::map<fs::path, uintmax_t>& sizes) {
    uintmax_t sum = 0;
    for (const auto& [file, size] : sizes) sum += size;
    return sum;
  };
  int undos = 0, trimmed_while_undoing = 0;
  uintmax_t last_written = 0;
  for (int call = 0; call < 300; ++call) {
    const auto before = bytes_on_disk();
    const int what = std::uniform_int_distribution<int>(0, 9)(random);
    const size_t steps_before = Undos().groups.size() + Redos().groups.size();
    bool undid = false;
    if (what < 5) {
      (what % 2 ? s : t).bytes.resize(std::uniform_int_distribution<size_t>(0, 30000)(random));
      ASSERT_TRUE(Do(Op(MOperation::ACTION_CHANGE_LABEL, {what % 2 ? &s : &t}, std::to_wstring(call).c_str())));
    } else if (what < 8) {
      if (manager().CanUndo()) {
        ASSERT_TRUE(doc.UndoOperation());
        undid = true;
      }
    } else if (manager().CanRedo()) {
      ASSERT_TRUE(doc.RedoOperation());
    }
    const auto after = bytes_on_disk();
    uintmax_t written = 0;
    for (const auto& [file, size] : after)
      if (!before.count(file)) written += size;
    if (written > 0) last_written = written;
    ASSERT_LE(total(after), static_cast<uintmax_t>(budget) + last_written) << "after call " << call;
    if (undid) {
      ++undos;
      trimmed_while_undoing += Undos().groups.size() + Redos().groups.size() < steps_before;
    }
  }
  EXPECT_GT(undos, 20);
  EXPECT_GT(trimmed_while_undoing, 0) << "the walk never needed room for a redo file";
  // What is left of the history still walks: every undo and redo answers true.
  while (manager().CanUndo()) ASSERT_TRUE(doc.UndoOperation());
  while (manager().CanRedo()) ASSERT_TRUE(doc.RedoOperation());
}

}  // namespace
