// The undo directory as processes share it: each process's lock there, what a killed process
// leaves and who removes it, processes starting together or of one id in two pid namespaces,
// a directory that changes under a running process, the directories that are refused, where
// undo files go without a setting, and directory names that are no UTF-8. Real processes
// throughout: forked children make their files through a document and are then killed, or end
// normally with exit(0) so that their static clean-up runs.

#include <errno.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/platform/DebugOutput.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MStreamUndo.h"
#include "ostrum/undo/MUndoHandler.h"
#include "support/ChildProcess.h"
#include "support/TestDocument.h"
#include "support/TestObjects.h"

namespace {

namespace fs = std::filesystem;
using CharacterSetConversions::FromNativePath;
using Entries = std::set<std::string>;

// ---- a document whose steps write state ----

// Its state is its label, which goes through the undo streams.
class LabelObject : public TestObject {
 public:
  using TestObject::LoadState;
  using TestObject::SaveState;
  bool DoOperation(MOperation& op) override {
    if (op.GetAction() == MOperation::ACTION_CHANGE_LABEL) label = op.GetLabel();
    return true;
  }
  void SaveState(const MOperation*, MStreamUndoOut& out) override { out << label; }
  void LoadState(const MOperation*, MStreamUndoIn& in) override { in >> label; }
  std::wstring label = L"start";
};

// A document of three objects; a step gives one of them a new label, so each step leaves an
// undo file and each undone step a redo file.
struct Editor {
  Editor() { doc.SetDocLoaded(true); }
  bool Relabel(int index, const wchar_t* label) {
    auto* op = new MOperation(MOperation::ACTION_CHANGE_LABEL);
    op->ChangeLabel(label);
    op->AddObject(&objects[index]);
    return doc.DoOperation(op, nullptr);
  }
  std::string Labels() const {
    std::string text;
    for (const LabelObject& object : objects)
      text += (text.empty() ? "" : "/") + CharacterSetConversions::ToUTF8(object.label);
    return text;
  }

  Ostrum::DeferredTaskManager::ScopedSession session;
  LabelObject objects[3];
  TestDocument doc;
};

// Three steps, the last one undone: three undo files and one redo file.
void MakeSteps(Editor& editor, ChildChecks& c) {
  c.Check(editor.Relabel(0, L"a1") && editor.Relabel(1, L"b1") && editor.Relabel(0, L"a2"), "the three steps are done");
  c.Check(editor.doc.UndoOperation(), "the last step is undone");
  c.Check(editor.Labels() == "a1/b1/start", "the labels after the steps are a1/b1/start, not " + editor.Labels());
}

// Undoes what MakeSteps left and redoes all three steps: every undo and redo file is read back.
void CheckHistory(Editor& editor, ChildChecks& c) {
  c.Check(editor.doc.UndoOperation() && editor.doc.UndoOperation(), "the two steps left are undone");
  c.Check(editor.Labels() == "start/start/start", "undo restores start/start/start, not " + editor.Labels());
  c.Check(editor.doc.RedoOperation() && editor.doc.RedoOperation() && editor.doc.RedoOperation(),
          "the three steps are redone");
  c.Check(editor.Labels() == "a2/b1/start", "redo restores a2/b1/start, not " + editor.Labels());
}

// A handler of process directories with one block, whose file lies in the process's own
// directory inside the undo directory.
struct ProcessFile {
  explicit ProcessFile(ChildChecks& c) : handler(nullptr, MUndoHandler::ModeProcessDirectory) {
    MFile file;
    const char byte = 'x';
    c.Check(handler.BeginSavingUndoBlock(new MOperation(MOperation::ACTION_CHANGE_LABEL), file) &&
                file.WRITE(&byte, 1) == 1 && handler.EndSavingUndoBlock(file),
            "a handler of process directories writes its block");
  }
  MUndoHandler handler;
};

// ---- what lies in a directory ----

// The names in `directory`, and those in each directory there as "<dir>/<name>" (the
// directory itself as "<dir>/"): all that a process leaves in an undo directory.
Entries Contents(const fs::path& directory) {
  Entries names;
  std::error_code error;
  for (fs::directory_iterator it(directory, error), end; !error && it != end; it.increment(error)) {
    const std::string name = it->path().filename().string();
    if (!it->is_symlink(error) && it->is_directory(error)) {
      names.insert(name + "/");
      std::error_code inner_error;
      for (fs::directory_iterator inner(it->path(), inner_error); !inner_error && inner != end;
           inner.increment(inner_error))
        names.insert(name + "/" + inner->path().filename().string());
    } else {
      names.insert(name);
    }
  }
  return names;
}

std::string ProcessDirectory(const std::string& tag) { return "VarnUndo[" + tag + "]"; }
std::string ProcessDirectory(pid_t pid) { return ProcessDirectory(std::to_string(pid)); }

// Those of `entries` that belong to the process of `tag`: tagged with it, or in its own
// directory.
Entries OfTag(const Entries& entries, const std::string& tag) {
  Entries mine;
  for (const std::string& name : entries)
    if (name.substr(0, name.find('/')).find("[" + tag + "]") != std::string::npos) mine.insert(name);
  return mine;
}
Entries Of(const Entries& entries, pid_t pid) { return OfTag(entries, std::to_string(pid)); }

size_t Count(const Entries& entries, const std::string& prefix) {
  size_t n = 0;
  for (const std::string& name : entries) n += name.rfind(prefix, 0) == 0;
  return n;
}

std::string Join(const Entries& entries) {
  std::string text = "{";
  for (const std::string& name : entries) text += " " + name;
  return text + " }";
}

// What is missing of what MakeSteps leaves of the process of `tag`, as text; "" when it is
// all there.
std::string MissingSteps(const Entries& entries, const std::string& tag) {
  const Entries mine = OfTag(entries, tag);
  const bool whole = Count(mine, "~varn_undo[") == 3 && Count(mine, "~varn_redo[") == 1 &&
                     mine.count(ProcessDirectory(tag) + "/lock") == 1;
  return whole ? "" : "three undo files, a redo file and the lock, not " + Join(mine);
}
std::string MissingSteps(const Entries& entries, pid_t pid) { return MissingSteps(entries, std::to_string(pid)); }

// Makes the entries named as Contents names them, files with a few bytes.
void Make(const fs::path& directory, const Entries& names) {
  for (const std::string& name : names) {
    if (name.back() == '/')
      fs::create_directory(directory / name);
    else
      std::ofstream(directory / name) << "data";
  }
}

// A process id that no process has any more.
pid_t EndedProcess() {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(0);
  ::waitpid(pid, nullptr, 0);
  return pid;
}

// Takes the debug output's lines for its life.
class DebugLines {
 public:
  DebugLines() { m_old = Ostrum::Desktop::SetDebugOutput(&Take, this, &m_old_context); }
  ~DebugLines() { Ostrum::Desktop::SetDebugOutput(m_old, m_old_context); }
  size_t Naming(const std::wstring& text) const {
    size_t n = 0;
    for (const std::wstring& line : m_lines) n += line.find(text) != std::wstring::npos;
    return n;
  }
  std::string All() const {
    std::string text;
    for (const std::wstring& line : m_lines) text += "\n  " + CharacterSetConversions::ToUTF8(line);
    return text;
  }

 private:
  static void Take(const wchar_t* text, void* self) { static_cast<DebugLines*>(self)->m_lines.push_back(text); }
  Ostrum::Desktop::DebugOutputSink m_old = nullptr;
  void* m_old_context = nullptr;
  std::vector<std::wstring> m_lines;
};

// Every test has an undo directory of its own.
class SharedUndoDirectory : public testing::Test {
 protected:
  SharedUndoDirectory() {
    std::string pattern = (fs::temp_directory_path() / "ostrum-undo-dir-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
    path = pattern;
    Use(path);
  }
  ~SharedUndoDirectory() override {
    MUndoHandler::SetUndoTempDir(L"");
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  static void Use(const fs::path& directory) {
    MUndoHandler::SetUndoTempDir(FromNativePath(directory.native()).c_str());
  }
  Entries List() const { return Contents(path); }

  fs::path path;
};

// ---- what dead processes leave ----

// Who sweeps after the killed processes: the next process's first use of the directory (an
// operation, or a handler of process directories), or such a handler in a process that used
// the directory before the others died, which only a second sweep can explain.
struct SweepRow {
  const char* name;
  bool used_before;  // the sweeping process made a file there before the others were killed
  bool by_handler;   // the sweep is a ModeProcessDirectory handler's construction, else a step
};
void PrintTo(const SweepRow& row, std::ostream* out) { *out << row.name; }

struct StaleFiles : SharedUndoDirectory, testing::WithParamInterface<SweepRow> {};

TEST_P(StaleFiles, GoWithTheirDeadProcessWhileALiveProcessKeepsAll) {
  const SweepRow& row = GetParam();
  std::optional<Editor> editor;
  if (row.used_before) {
    editor.emplace();
    ASSERT_TRUE(editor->Relabel(2, L"own"));
  }
  // What a process long gone left: tagged files, and its directory without a lock (it died
  // making it); and names the sweep has no business with: untagged, tagged with no process
  // id, no undo file, a directory of no process id.
  const std::string gone = std::to_string(EndedProcess());
  const Entries orphans = {"~varn_undo[" + gone + "]0000abcd.tmp", "~varn_redo[" + gone + "]0000abce.tmp",
                           "VarnUndo[" + gone + "]/", "VarnUndo[" + gone + "]/~varn_undo0000abcd.tmp"};
  const Entries foreign = {"notes.txt", "~varn_undo00001234.tmp", "~varn_undo[1x]00000001.tmp",
                           "~varn_redo[" + gone + "]0000abcf.txt", "VarnUndo[abc]/", "VarnUndo[abc]/lock"};
  Make(path, orphans);
  Make(path, foreign);

  const auto process = [](Gate* resume) {
    return [resume](ChildProcess& c) {
      Editor editor;
      MakeSteps(editor, c.checks);
      ProcessFile own(c.checks);
      c.Ready();
      if (!resume)
        for (;;) ::pause();  // until killed
      resume->Wait();
      CheckHistory(editor, c.checks);  // its files were all left to it
      c.End();  // with the document and the handler open: the static clean-up removes their files
    };
  };
  Gate resume;
  ChildProcess dead1(process(nullptr)), dead2(process(nullptr)), live(process(&resume));
  for (ChildProcess* child : {&dead1, &dead2, &live}) ASSERT_TRUE(child->WaitReady()) << child->Finish();
  dead1.Kill();
  dead2.Kill();

  const Entries left = List();
  for (const ChildProcess* dead : {&dead1, &dead2}) {
    EXPECT_EQ(MissingSteps(left, dead->Pid()), "") << "a killed process leaves its files";
    EXPECT_EQ(Count(left, ProcessDirectory(dead->Pid()) + "/~varn_undo"), 1u) << "and those in its own directory";
  }

  if (!editor) editor.emplace();
  if (row.by_handler) {
    MUndoHandler sweeper(nullptr, MUndoHandler::ModeProcessDirectory);
  } else {
    ASSERT_TRUE(editor->Relabel(1, L"sweeps"));
  }

  Entries expected = foreign;
  expected.merge(Of(left, live.Pid()));
  const Entries now = List();
  expected.merge(Of(now, ::getpid()));
  EXPECT_EQ(now, expected) << "the dead processes' files and directories and the orphans are gone, nothing else";

  // A child of the sweeping process that ends normally without using the directory leaves
  // its parent's files alone.
  ChildProcess idle([](ChildProcess& c) { c.End(); });
  EXPECT_EQ(idle.Finish(), "");
  EXPECT_EQ(Of(List(), ::getpid()), Of(now, ::getpid())) << "a forked child's end removes none of its parent's files";

  resume.Open();
  EXPECT_EQ(live.Finish(), "");
  EXPECT_EQ(Of(List(), live.Pid()), Entries{}) << "after its normal end nothing of the live process is left";
  for (int step = 0; step < row.used_before + !row.by_handler; ++step) EXPECT_TRUE(editor->doc.UndoOperation());
  EXPECT_EQ(editor->Labels(), "start/start/start") << "the sweeping process's own steps still undo";
}

const SweepRow kSweeps[] = {
    {"FirstStepOfTheNextProcess", false, false},
    {"ProcessDirectoryHandlerAtFirstUse", false, true},
    {"ProcessDirectoryHandlerInAProcessUsingIt", true, true},
};
INSTANTIATE_TEST_SUITE_P(Sweeps, StaleFiles, testing::ValuesIn(kSweeps),
                         [](const auto& info) { return std::string(info.param.name); });

// Eight processes take the directory into use at once, each sweeping it while the others make
// their files; none loses a file to another, and the leftovers of a killed one go.
TEST_F(SharedUndoDirectory, ProcessesStartingTogetherKeepTheirFilesAndSweepAKilledOne) {
  ChildProcess dead([](ChildProcess& c) {
    Editor editor;
    MakeSteps(editor, c.checks);
    c.Ready();
    for (;;) ::pause();
  });
  ASSERT_TRUE(dead.WaitReady()) << dead.Finish();
  dead.Kill();
  ASSERT_EQ(MissingSteps(List(), dead.Pid()), "");

  constexpr int kProcesses = 8;
  Gate start, swept;
  const fs::path directory = path;
  const pid_t dead_pid = dead.Pid();
  std::vector<std::unique_ptr<ChildProcess>> children;
  for (int i = 0; i < kProcesses; ++i) {
    children.push_back(std::make_unique<ChildProcess>([&](ChildProcess& c) {
      start.Wait();
      Editor editor;
      MakeSteps(editor, c.checks);
      const Entries mine = Of(Contents(directory), ::getpid());
      c.checks.Check(MissingSteps(mine, ::getpid()).empty(), "its files are made: " + Join(mine));
      c.Ready();
      swept.Wait();  // every process has swept
      const Entries now = Contents(directory);
      c.checks.Check(Of(now, ::getpid()) == mine, "its files are all still there: " + Join(Of(now, ::getpid())));
      c.checks.Check(Of(now, dead_pid).empty(), "the killed process's are gone: " + Join(Of(now, dead_pid)));
      CheckHistory(editor, c.checks);
      c.End();
    }));
  }
  start.Open();
  for (auto& child : children) EXPECT_TRUE(child->WaitReady()) << "child " << child->Pid() << ":\n" << child->Finish();
  swept.Open();
  for (auto& child : children) EXPECT_EQ(child->Finish(), "") << "child " << child->Pid();
  EXPECT_EQ(List(), Entries{}) << "each process removed its own files at its end";
}

// Runs `body` in `c` as the first process (pid 1) of a new pid namespace, reporting through
// `c`. The process in between waits for it, or kills it once `kill` opens; it never uses the
// directory, and ends without clean-up.
[[noreturn]] void InNewPidNamespace(ChildProcess& c, Gate* kill, const std::function<void(ChildProcess&)>& body) {
  if (!c.checks.Check(::unshare(CLONE_NEWPID) == 0, "a new pid namespace")) c.End();
  const pid_t inner = ::fork();
  if (inner == 0) {
    body(c);
    c.End();
  }
  if (kill) {
    kill->Wait();
    ::kill(inner, SIGKILL);
  }
  ::waitpid(inner, nullptr, 0);
  ::_exit(0);
}

// Two processes of the same id, each the first of its own pid namespace, share the directory:
// the second, finding the plain tag held, takes "1.1". Each keeps its files, and when the first
// is killed a sweep removes its files only.
TEST_F(SharedUndoDirectory, ProcessesOfOneIdInTwoPidNamespacesTakeTwoTags) {
  const pid_t probe = ::fork();
  if (probe == 0) ::_exit(::unshare(CLONE_NEWPID) == 0 ? 0 : 1);
  int status = 0;
  ::waitpid(probe, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) GTEST_SKIP() << "no new pid namespace can be made here";

  const auto process = [](Gate* kill, Gate* resume) {
    return [=](ChildProcess& c) {
      InNewPidNamespace(c, kill, [=](ChildProcess& inner) {
        Editor editor;
        MakeSteps(editor, inner.checks);
        inner.Ready();
        if (resume) {
          resume->Wait();
          CheckHistory(editor, inner.checks);
        } else {
          for (;;) ::pause();
        }
      });
    };
  };
  Gate kill_first, resume_second;
  ChildProcess first(process(&kill_first, nullptr));
  ASSERT_TRUE(first.WaitReady()) << first.Finish();
  ChildProcess second(process(nullptr, &resume_second));
  ASSERT_TRUE(second.WaitReady()) << second.Finish();
  const Entries both = List();
  EXPECT_EQ(MissingSteps(both, "1"), "") << "the first process, tagged with its id";
  EXPECT_EQ(MissingSteps(both, "1.1"), "") << "the second process, tagged with its id and a suffix";

  kill_first.Open();
  EXPECT_EQ(first.Finish(), "");
  { MUndoHandler sweeper(nullptr, MUndoHandler::ModeProcessDirectory); }
  EXPECT_EQ(OfTag(List(), "1"), Entries{}) << "the killed process's files are gone";
  EXPECT_EQ(OfTag(List(), "1.1"), OfTag(both, "1.1")) << "the live one's are all there";
  resume_second.Open();
  EXPECT_EQ(second.Finish(), "");
  EXPECT_EQ(OfTag(List(), "1.1"), Entries{}) << "and go at its end";
}

// ---- a directory that changes under a running process ----

// The directory, or this process's own directory in it, changes under a running process. Once
// the directory is there again the process takes it into use again, and the files it wrote
// there that are still there are still its own.
struct ChangeRow {
  const char* name;
  void (*away)(const fs::path& directory);  // a step is tried after this
  void (*back)(const fs::path& directory);
  bool works_away;  // the directory is there meanwhile
  bool files_kept;  // the step before the change still undoes
};
void PrintTo(const ChangeRow& row, std::ostream* out) { *out << row.name; }
fs::path Aside(const fs::path& directory) { return directory.string() + ".aside"; }

struct ChangedUnderIt : SharedUndoDirectory, testing::WithParamInterface<ChangeRow> {
  ~ChangedUnderIt() override {
    std::error_code ignored;
    fs::remove_all(Aside(path), ignored);
  }
};

TEST_P(ChangedUnderIt, IsTakenIntoUseAgainKeepingWhatIsLeft) {
  const ChangeRow& row = GetParam();
  DebugLines lines;
  Editor editor;
  ASSERT_TRUE(editor.Relabel(0, L"before"));
  row.away(path);
  EXPECT_EQ(editor.Relabel(1, L"meanwhile"), row.works_away) << lines.All();
  row.back(path);
  ASSERT_TRUE(editor.Relabel(2, L"after")) << "the directory is there again:" << lines.All();
  const int steps = 1 + row.works_away + row.files_kept;
  for (int step = 0; step < steps; ++step) EXPECT_TRUE(editor.doc.UndoOperation()) << "undo " << step;
  EXPECT_EQ(editor.Labels(), row.files_kept ? "start/start/start" : "before/start/start");
}

const ChangeRow kChanges[] = {
    {"DirectoryRemovedAndMadeAgain", [](const fs::path& d) { fs::remove_all(d); },
     [](const fs::path& d) {
       fs::create_directory(d);
       fs::permissions(d, fs::perms::owner_all);
     },
     false, false},
    {"OwnDirectoryRemoved", [](const fs::path& d) { fs::remove_all(d / ProcessDirectory(::getpid())); },
     [](const fs::path&) {}, true, true},
    {"DirectoryMovedAwayAndBack", [](const fs::path& d) { fs::rename(d, Aside(d)); },
     [](const fs::path& d) { fs::rename(Aside(d), d); }, false, true},
};
INSTANTIATE_TEST_SUITE_P(Changes, ChangedUnderIt, testing::ValuesIn(kChanges),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- directories refused ----

// A directory is refused when another user could swap an undo file in it: writable by others
// without the sticky bit, or owned by another user. `arrange` answers why it cannot make the
// case here, or null; `repair` makes the directory usable again.
struct RefusalRow {
  const char* name;
  const char* (*arrange)(const fs::path&);
  void (*repair)(const fs::path&);
};
void PrintTo(const RefusalRow& row, std::ostream* out) { *out << row.name; }

struct Refusals : SharedUndoDirectory, testing::WithParamInterface<RefusalRow> {};

TEST_P(Refusals, FailTheStrictStepWithOneLineUntilRepaired) {
  const RefusalRow& row = GetParam();
  if (const char* reason = row.arrange(path)) GTEST_SKIP() << reason;
  DebugLines lines;
  Editor editor;
  EXPECT_FALSE(editor.Relabel(0, L"refused"));
  EXPECT_FALSE(editor.Relabel(1, L"refused again"));
  EXPECT_EQ(editor.Labels(), "start/start/start") << "a strict step without its undo file changes nothing";
  EXPECT_EQ(List(), Entries{}) << "nothing is made in a refused directory";
  const std::wstring name = FromNativePath(path.native());
  EXPECT_EQ(lines.Naming(name), 1u) << "one line names the directory, however often it is refused:" << lines.All();

  row.repair(path);
  ASSERT_TRUE(editor.Relabel(0, L"accepted"));
  EXPECT_EQ(Count(List(), "~varn_undo["), 1u) << Join(List());
  EXPECT_TRUE(editor.doc.UndoOperation());
  EXPECT_EQ(editor.Labels(), "start/start/start");
  EXPECT_EQ(lines.Naming(name), 1u) << "no further line once it works:" << lines.All();
}

const RefusalRow kRefusals[] = {
    {"WritableByOthers",
     [](const fs::path& p) -> const char* { return ::chmod(p.c_str(), 0777) ? "chmod failed" : nullptr; },
     [](const fs::path& p) { ::chmod(p.c_str(), 01777); }},
    {"WritableByTheGroup",
     [](const fs::path& p) -> const char* { return ::chmod(p.c_str(), 0770) ? "chmod failed" : nullptr; },
     [](const fs::path& p) { ::chmod(p.c_str(), 01770); }},
    {"OwnedByAnotherUser",
     [](const fs::path& p) -> const char* {
       if (::geteuid() != 0) return "giving a directory to another user needs root, and this test does not run as root";
       return ::chown(p.c_str(), 65534, 65534) ? "chown to 65534 failed" : nullptr;
     },
     [](const fs::path& p) { (void)!::chown(p.c_str(), ::geteuid(), ::getegid()); }},
};
INSTANTIATE_TEST_SUITE_P(Directories, Refusals, testing::ValuesIn(kRefusals),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- where the files go ----

// Undo state kept in memory defeats its purpose: without a setting, and with the system's
// temporary directory on tmpfs, undo files go to /var/tmp. TMPDIR is the process's, so the
// case runs in a child.
TEST_F(SharedUndoDirectory, WithoutASettingTheyLeaveATemporaryDirectoryInMemoryForVarTmp) {
  struct statfs info;
  if (::statfs("/dev/shm", &info) != 0 || info.f_type != TMPFS_MAGIC) GTEST_SKIP() << "/dev/shm is no tmpfs here";
  if (::statfs("/var/tmp", &info) != 0 || info.f_type == TMPFS_MAGIC || info.f_type == RAMFS_MAGIC ||
      ::access("/var/tmp", W_OK) != 0)
    GTEST_SKIP() << "/var/tmp is missing, not writable, or in memory as well";
  std::string in_memory = "/dev/shm/ostrum-undo-tmp-XXXXXX";
  ASSERT_NE(::mkdtemp(in_memory.data()), nullptr);

  ChildProcess child([&](ChildProcess& c) {
    ::setenv("TMPDIR", in_memory.c_str(), 1);
    // The default is chosen when the setting turns empty: first the test's own directory, so
    // that a choice the parent made before (with its TMPDIR) is not inherited.
    { MUndoHandler first(nullptr, MUndoHandler::ModeProcessDirectory); }
    MUndoHandler::SetUndoTempDir(L"");
    Editor editor;
    MakeSteps(editor, c.checks);
    c.checks.Check(MissingSteps(Contents("/var/tmp"), ::getpid()).empty(),
                   "in /var/tmp: " + MissingSteps(Contents("/var/tmp"), ::getpid()));
    c.checks.Check(Contents(in_memory).empty(), "nothing in the temporary directory: " + Join(Contents(in_memory)));
    CheckHistory(editor, c.checks);
    c.End();
  });
  EXPECT_EQ(child.Finish(), "");
  EXPECT_EQ(Of(Contents("/var/tmp"), child.Pid()), Entries{}) << "its files in /var/tmp went at its end";
  std::error_code ignored;
  fs::remove_all(in_memory, ignored);
}

// Paths are bytes: a directory whose name is no UTF-8 (with an overlong '/' and an encoded
// surrogate among them) holds the files, gives them back, and is left empty.
TEST_F(SharedUndoDirectory, ADirectoryNamedWithoutUtf8WorksEndToEnd) {
  const std::string odd_name = "undo-\xff\xfe-\xc0\xaf-\xed\xa0\x80";
  const fs::path odd = path / odd_name;
  ASSERT_EQ(::mkdir(odd.c_str(), 0700), 0);
  Use(odd);
  ChildProcess child([&](ChildProcess& c) {
    Editor editor;
    MakeSteps(editor, c.checks);
    ProcessFile own(c.checks);
    const Entries mine = Contents(odd);
    c.checks.Check(MissingSteps(mine, ::getpid()).empty(), "in the directory: " + MissingSteps(mine, ::getpid()));
    c.checks.Check(Count(mine, ProcessDirectory(::getpid()) + "/~varn_undo") == 1,
                   "the handler's file in its own directory: " + Join(mine));
    CheckHistory(editor, c.checks);
    editor.doc.CleanUpUndoHandler();
    Ostrum::Desktop::RunUntilIdle();
    c.checks.Check(Count(Contents(odd), "~varn_") == 0, "the cleaned-up steps' files are gone: " + Join(Contents(odd)));
    c.End();
  });
  EXPECT_EQ(child.Finish(), "");
  EXPECT_EQ(List(), Entries{odd_name + "/"}) << "nothing anywhere else, nothing left in it";
}

}  // namespace
