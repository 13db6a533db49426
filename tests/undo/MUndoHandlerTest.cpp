// MUndoHandler, the linear undo list a host drives by hand: saving and loading a step's state
// through the files it opens, groups as runs of markers, what leaves the list when (the redo
// side, the disk budget, temporary keys, an object's steps), where each mode puts its files,
// the clean-up of other processes' files, and files changed behind its back. Every test has an
// undo directory of its own, so that the files on disk can be held against the list.

#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cctype>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/MFileName.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MStreamUndo.h"
#include "ostrum/undo/MUndoHandler.h"
#include "support/ChildProcess.h"
#include "support/TestObjects.h"

namespace {

namespace fs = std::filesystem;
using Mode = MUndoHandler::Mode;
using Names = std::set<std::string>;

std::string Narrow(const std::wstring& text) {
  std::string out;
  for (wchar_t c : text) out += static_cast<char>(c);
  return out;
}

// A step of the host: an operation titled with its name (the name the layouts below show) and
// the bytes of state its undo file is to hold. Counts the steps alive, so that a test sees
// which operations the handler deleted.
class Step : public MOperation {
 public:
  explicit Step(std::string step_name, std::initializer_list<IObject*> objects = {}, size_t bytes = 8,
                uint32_t action = ACTION_CHANGE_LABEL)
      : MOperation(action), name(std::move(step_name)), m_title(name.begin(), name.end()) {
    for (IObject* object : objects) AddObject(object);
    for (size_t i = 0; i < bytes && !name.empty(); ++i)
      state.push_back(static_cast<unsigned char>(name[i % name.size()] + i));
    ++alive;
  }
  ~Step() override { --alive; }

  const std::string name;
  std::vector<unsigned char> state;
  static inline int alive = 0;

 protected:
  const wchar_t* _GetActionString() override { return m_title.c_str(); }

 private:
  std::wstring m_title;
};

// A document that counts the handler's requests to clean up its objects.
class CountingDocument : public MDocument {
 public:
  void CleanUpObjectList() override { ++cleanups; }
  int cleanups = 0;
};

// The handler with the sum of its recorded file sizes in reach.
class Handler : public MUndoHandler {
 public:
  using MUndoHandler::MUndoHandler;
  using MUndoHandler::_GetCurrentUndoDiskSpace;
};

// The list as words: a step by its name, "(id:message" a begin marker, "id)" an end marker, and
// "*" after the block at the position ("*" in front for -1).
std::string Layout(const MUndoHandler& h) {
  std::vector<std::string> words;
  for (int32_t i = 0; i < h.GetNumUndoBlocks(); ++i) {
    const std::string id = std::to_string(h.GetOperationGroupId(i));
    if (h.IsBeginOperationGroup(i)) {
      const std::string message = Narrow(h.GetGroupMessage(i));
      words.push_back("(" + id + (message.empty() ? "" : ":" + message));
    } else if (h.IsEndOperationGroup(i)) {
      words.push_back(id + ")");
    } else {
      const auto* step = dynamic_cast<const Step*>(h.GetUndoOperation(i));
      words.push_back(step ? step->name : "?");
    }
  }
  const int32_t position = h.GetCurrentUndoPosition();
  if (position < 0)
    words.insert(words.begin(), "*");
  else if (position < h.GetNumUndoBlocks())
    words[static_cast<size_t>(position)] += "*";
  else
    words.push_back("*" + std::to_string(position));
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::vector<unsigned char> ReadAll(MFile& file) {
  std::vector<unsigned char> bytes;
  unsigned char buffer[4096];
  for (size_t n; (n = file.READ(buffer, sizeof buffer)) > 0;) bytes.insert(bytes.end(), buffer, buffer + n);
  return bytes;
}

// Another process of this user that makes an undo file in each mode in the undo directory and
// lives on until killed, leaving them as a crash would.
void OtherProcess(ChildProcess& c) {
  MUndoHandler shared(nullptr, MUndoHandler::ModeSharedDirectory);
  MUndoHandler own(nullptr, MUndoHandler::ModeProcessDirectory);
  for (MUndoHandler* handler : {&shared, &own}) {
    MFile file;
    if (!c.checks.Check(handler->BeginSavingUndoBlock(new Step("other"), file) && handler->EndSavingUndoBlock(file),
                        "the other process makes its undo files"))
      c.End();
  }
  c.Ready();
  for (;;) ::pause();
}

class MUndoHandlerTest : public testing::Test {
 protected:
  MUndoHandlerTest() {
    char pattern[] = "/tmp/ostrum-undo-handler-XXXXXX";
    if (mkdtemp(pattern)) dir = pattern;
    UseDirectory(dir);
    MUndoHandler::m_unique_group_id = 0;
    MUndoHandler::m_unique_temporary_operation_key = 0;
  }
  ~MUndoHandlerTest() override {
    MUndoHandler::mg_temp_directory = m_saved_directory;
    MUndoHandler::SetUndoDiskSpace(m_saved_budget);
    MUndoHandler::SetModeDefault(m_saved_mode);
    MUndoHandler::m_unique_group_id = m_saved_group_id;
    MUndoHandler::m_unique_temporary_operation_key = m_saved_key;
    std::error_code ignored;
    if (!dir.empty()) fs::remove_all(dir, ignored);
  }
  void SetUp() override { ASSERT_FALSE(dir.empty()) << "no temporary directory"; }
  void TearDown() override {
    EXPECT_EQ(Step::alive, 0) << "operations outlived their handlers";
    Step::alive = 0;
  }

  static void UseDirectory(const fs::path& path) { MUndoHandler::SetUndoTempDir(path.wstring().c_str()); }
  std::string Relative(const MFileName& name) const {
    return fs::path(name.GET_NATIVE_PATH()).lexically_relative(dir).string();
  }

  // Every entry under the undo directory, relative to it.
  Names Entries() const {
    Names names;
    for (const auto& entry : fs::recursive_directory_iterator(dir)) names.insert(entry.path().lexically_relative(dir).string());
    return names;
  }
  // The undo and redo files under the undo directory, those in process directories too.
  Names FilesOnDisk() const {
    Names names;
    for (const std::string& name : Entries())
      if (fs::path(name).filename().string().rfind("~varn_", 0) == 0) names.insert(name);
    return names;
  }

  // The host's part of one step: the undo block with the step's state, then the position on.
  testing::AssertionResult Save(MUndoHandler& h, Step* step) {
    const std::string name = step->name;
    MFile file;
    if (!h.BeginSavingUndoBlock(step, file)) return testing::AssertionFailure() << "no undo file for " << name;
    MStreamUndoOut(&file).WriteBuffer(step->state.data(), static_cast<int>(step->state.size()));
    if (!h.EndSavingUndoBlock(file)) return testing::AssertionFailure() << "the block of " << name << " did not end";
    h.IncrementListPointer();
    return testing::AssertionSuccess();
  }

  // Runs a history written as words: "a" saves the step a with 8 bytes of state, "a:N" with N
  // bytes; "(g" opens a group with the message g ("(" one without), ")" closes the innermost
  // group opened here, "<" steps back.
  void Run(MUndoHandler& h, const std::string& script) {
    std::istringstream words(script);
    for (std::string word; words >> word;) {
      if (word == "<") {
        h.DecrementListPointer();
      } else if (word == ")") {
        ASSERT_FALSE(groups.empty()) << script;
        EXPECT_TRUE(h.EndOperationGroup(groups.back()));
        EXPECT_EQ(groups.back(), -1) << "the id is spent";
        groups.pop_back();
      } else if (word[0] == '(') {
        const std::wstring message(word.begin() + 1, word.end());
        groups.push_back(h.BeginOperationGroup(message.empty() ? nullptr : message.c_str(), true));
      } else {
        const size_t colon = word.find(':');
        const size_t bytes = colon == std::string::npos ? 8 : std::stoul(word.substr(colon + 1));
        ASSERT_TRUE(Save(h, new Step(word.substr(0, colon), {}, bytes)));
      }
    }
  }

  // Where the list and the disk disagree ("" when they agree): every file a block names
  // exists, no other undo file does, and each step's undo file, loaded at its own position,
  // holds exactly the state written for it.
  std::string Audit(MUndoHandler& h) const {
    std::string problems;
    Names listed;
    for (int32_t i = 0; i < h.GetNumUndoBlocks(); ++i)
      for (const MFileName* name : {&h.GetUndoFilename(i), &h.GetRedoFilename(i)})
        if (!name->IS_EMPTY()) listed.insert(Relative(*name));
    const Names on_disk = FilesOnDisk();
    for (const std::string& name : listed)
      if (!on_disk.count(name)) problems += "missing " + name + "; ";
    for (const std::string& name : on_disk)
      if (!listed.count(name)) problems += "stray " + name + "; ";
    const int32_t position = h.GetCurrentUndoPosition();
    while (h.GetCurrentUndoPosition() >= 0) h.DecrementListPointer();
    for (int32_t i = 0; i < h.GetNumUndoBlocks(); ++i) {
      h.IncrementListPointer();
      auto* step = dynamic_cast<Step*>(h.GetCurrentOperation());
      if (!step) continue;
      MFile file;
      if (h.BeginLoadingUndoBlock(file) != step) {
        problems += step->name + " does not load; ";
        continue;
      }
      if (ReadAll(file) != step->state) problems += step->name + " reads back other state; ";
      h.EndLoadingUndoBlock(file);
    }
    while (h.GetCurrentUndoPosition() > position) h.DecrementListPointer();
    return problems;
  }

  fs::path dir;
  std::vector<int64_t> groups;  // the groups Run opened and has not closed

 private:
  MFileName m_saved_directory = MUndoHandler::GetUndoTempDir();
  uint64_t m_saved_budget = MUndoHandler::GetUndoDiskSpace();
  Mode m_saved_mode = MUndoHandler::GetModeDefault();
  int32_t m_saved_group_id = MUndoHandler::m_unique_group_id;
  uint32_t m_saved_key = MUndoHandler::m_unique_temporary_operation_key;
};

TEST_F(MUndoHandlerTest, SavesAndLoadsEachStepThroughFilesOfItsOwn) {
  Handler h(nullptr, MUndoHandler::ModeSharedDirectory);
  MFile file;
  EXPECT_EQ(Layout(h), "*");
  EXPECT_FALSE(h.CanUndo());
  EXPECT_FALSE(h.CanRedo());
  EXPECT_EQ(h.GetCurrentOperation(), nullptr);
  EXPECT_EQ(h.BeginLoadingUndoBlock(file), nullptr);
  EXPECT_EQ(h.BeginSavingRedoBlock(file), nullptr);
  EXPECT_TRUE(h.DecrementListPointer());
  EXPECT_EQ(h.GetCurrentUndoPosition(), -1) << "no step back from -1";
  EXPECT_FALSE(file.IS_OPEN());

  auto* a = new Step("a");
  ASSERT_TRUE(h.BeginSavingUndoBlock(a, file));
  EXPECT_TRUE(file.IS_OPEN());
  EXPECT_EQ(Layout(h), "*") << "the block joins the list when it ends";
  EXPECT_EQ(FilesOnDisk().size(), 1u);
  MStreamUndoOut(&file) << std::wstring(L"label a") << 42LL << true;  // 16 + 8 + 2 bytes
  ASSERT_TRUE(h.EndSavingUndoBlock(file));
  EXPECT_FALSE(file.IS_OPEN());
  EXPECT_EQ(Layout(h), "* a") << "the caller moves the position on";
  h.IncrementListPointer();
  EXPECT_EQ(Layout(h), "a*");
  EXPECT_TRUE(h.CanUndo());
  EXPECT_FALSE(h.CanRedo());
  EXPECT_EQ(h.GetCurrentOperation(), a);
  EXPECT_EQ(h.GetCurrentUndoFilename(), h.GetUndoFilename(0));
  EXPECT_TRUE(h.GetCurrentRedoFilename().IS_EMPTY());
  EXPECT_EQ(FilesOnDisk(), Names{Relative(h.GetUndoFilename(0))});
  EXPECT_EQ(h._GetCurrentUndoDiskSpace(), 26u);

  // Redo state is written once.
  ASSERT_EQ(h.BeginSavingRedoBlock(file), a);
  MStreamUndoOut(&file) << std::wstring(L"after a");  // 16 bytes
  ASSERT_TRUE(h.EndSavingRedoBlock(file));
  const MFileName redo = h.GetCurrentRedoFilename();
  EXPECT_EQ(Relative(redo).rfind("~varn_redo", 0), 0u) << Relative(redo);
  EXPECT_EQ(h._GetCurrentUndoDiskSpace(), 42u);
  EXPECT_EQ(h.BeginSavingRedoBlock(file), nullptr);
  EXPECT_FALSE(file.IS_OPEN());
  EXPECT_EQ(h.GetCurrentRedoFilename(), redo);

  // Each file holds exactly what was written into it.
  ASSERT_EQ(h.BeginLoadingUndoBlock(file), a);
  std::wstring label;
  long long number = 0;
  bool flag = false;
  MStreamUndoIn(&file) >> label >> number >> flag;
  EXPECT_EQ(label, L"label a");
  EXPECT_EQ(number, 42);
  EXPECT_TRUE(flag);
  EXPECT_TRUE(ReadAll(file).empty()) << "nothing more";
  EXPECT_TRUE(h.EndLoadingUndoBlock(file));
  EXPECT_FALSE(file.IS_OPEN());
  ASSERT_EQ(h.BeginLoadingRedoBlock(file), a);
  MStreamUndoIn(&file) >> label;
  EXPECT_EQ(label, L"after a");
  EXPECT_TRUE(ReadAll(file).empty());
  EXPECT_TRUE(h.EndLoadingRedoBlock(file));

  // A step saved after stepping back drops the step beyond the position, with its files.
  Run(h, "b");
  EXPECT_EQ(FilesOnDisk().size(), 3u);
  Run(h, "<");
  EXPECT_EQ(Layout(h), "a* b");
  EXPECT_TRUE(h.CanRedo());
  Run(h, "c");
  EXPECT_EQ(Layout(h), "a c*");
  EXPECT_EQ(Step::alive, 2);
  EXPECT_EQ(FilesOnDisk().size(), 3u);
  EXPECT_TRUE(h.RemoveCurrentUndoBlock());
  EXPECT_EQ(Layout(h), "a*");
  EXPECT_EQ(Step::alive, 1);
  EXPECT_EQ(FilesOnDisk().size(), 2u);

  Run(h, "<");
  EXPECT_FALSE(h.CanUndo());
  EXPECT_EQ(h.BeginLoadingUndoBlock(file), nullptr);
  EXPECT_TRUE(h.PurgeUndoStack());
  EXPECT_EQ(Layout(h), "*");
  EXPECT_FALSE(h.PurgeUndoStack()) << "nothing lies beyond the position";
  EXPECT_EQ(Step::alive, 0);
  EXPECT_EQ(FilesOnDisk(), Names{});
}

TEST_F(MUndoHandlerTest, ASaveThatCannotFinishLeavesNoBlockNoFileAndNoOperation) {
  Handler h(nullptr, MUndoHandler::ModeSharedDirectory);
  MFile file;
  EXPECT_FALSE(h.EndSavingUndoBlock(file)) << "nothing was begun";

  // A directory that cannot take the file: nothing opens, and ending gives up the operation.
  UseDirectory(dir / "missing");
  EXPECT_FALSE(h.BeginSavingUndoBlock(new Step("lost"), file));
  EXPECT_FALSE(file.IS_OPEN());
  EXPECT_FALSE(h.EndSavingUndoBlock(file));
  EXPECT_EQ(Layout(h), "*");
  EXPECT_EQ(Step::alive, 0);
  UseDirectory(dir);

  // A second begin drops the unfinished block of the first, with its file.
  ASSERT_TRUE(h.BeginSavingUndoBlock(new Step("first"), file));
  const Names first = FilesOnDisk();
  MFile second;
  ASSERT_TRUE(h.BeginSavingUndoBlock(new Step("second", {}, 0), second));
  file.CLOSE();
  EXPECT_EQ(Step::alive, 1);
  ASSERT_TRUE(h.EndSavingUndoBlock(second));
  h.IncrementListPointer();
  EXPECT_EQ(Layout(h), "second*");
  EXPECT_EQ(Audit(h), "");
  EXPECT_NE(FilesOnDisk(), first);

  // An unfinished block goes with its handler.
  {
    Handler last(nullptr, MUndoHandler::ModeProcessDirectory);
    ASSERT_TRUE(last.BeginSavingUndoBlock(new Step("unfinished"), file));
    EXPECT_EQ(FilesOnDisk().size(), 2u);
  }
  file.CLOSE();
  EXPECT_EQ(Step::alive, 1);
  EXPECT_EQ(Audit(h), "");

  // Files cut short at the process's file size limit, in a child.
  const Names before = FilesOnDisk();
  EXPECT_EQ(RunInChild([&](ChildChecks& c) {
              signal(SIGXFSZ, SIG_IGN);
              const rlimit limit{4096, 4096};
              setrlimit(RLIMIT_FSIZE, &limit);
              const std::vector<unsigned char> big(64 * 1024, 7);
              Handler cut(nullptr, MUndoHandler::ModeProcessDirectory);
              MFile f;
              if (!c.Check(cut.BeginSavingUndoBlock(new Step("big"), f), "the undo file is made")) return;
              MStreamUndoOut(&f).WriteBuffer(big.data(), static_cast<int>(big.size()));
              c.Check(!cut.EndSavingUndoBlock(f), "an undo file cut short ends with false");
              c.Check(cut.GetNumUndoBlocks() == 0, "and adds no block");
              c.Check(FilesOnDisk() == before, "and leaves no file");
              c.Check(Step::alive == 1, "and gives up its operation");
              if (!c.Check(bool(Save(cut, new Step("small"))), "a small one is saved")) return;
              if (!c.Check(cut.BeginSavingRedoBlock(f) != nullptr, "its redo file is made")) return;
              MStreamUndoOut(&f).WriteBuffer(big.data(), static_cast<int>(big.size()));
              c.Check(!cut.EndSavingRedoBlock(f), "a redo file cut short ends with false");
              c.Check(cut.GetCurrentRedoFilename().IS_EMPTY(), "and is forgotten");
              c.Check(FilesOnDisk().size() == before.size() + 1, "and removed");
              c.Check(cut.BeginLoadingRedoBlock(f) == nullptr, "so that redo finds no state");
            }),
            "");
}

TEST_F(MUndoHandlerTest, AStepToBeUndoneOnceThatRepeatsTheBlockBeforeTheCurrentOneTakesItsPlace) {
  TestObject x, y;
  Handler h(nullptr, MUndoHandler::ModeSharedDirectory);
  auto once = [](const char* name, IObject* object) {
    auto* step = new Step(name, {object}, 8, MOperation::ACTION_REVERSIBLE_FORWARD);
    step->AddFlags(MOperation::FLAG_SHOULD_UNDO_ONCE);
    return step;
  };
  ASSERT_TRUE(Save(h, new Step("a", {&x})));
  ASSERT_TRUE(Save(h, once("n1", &x)));
  ASSERT_TRUE(Save(h, once("n2", &x))) << "compared with the block before the current one, a";
  EXPECT_EQ(Layout(h), "a n1 n2*");
  const MFileName n1_file = h.GetUndoFilename(1);

  MFile file;
  EXPECT_FALSE(h.BeginSavingUndoBlock(once("n3", &x), file));
  EXPECT_FALSE(file.IS_OPEN()) << "the caller writes nothing";
  EXPECT_FALSE(h.EndSavingUndoBlock(file));
  EXPECT_EQ(Layout(h), "a n3 n2*");
  EXPECT_EQ(h.GetUndoFilename(1), n1_file) << "the state before the first repeat stays";
  EXPECT_EQ(Step::alive, 3) << "n1 was deleted";
  EXPECT_EQ(FilesOnDisk().size(), 3u);

  // Another object, or the flag missing, makes a block of its own.
  ASSERT_TRUE(Save(h, once("m", &y)));
  ASSERT_TRUE(Save(h, new Step("p", {&x}, 8, MOperation::ACTION_REVERSIBLE_FORWARD))) << "equal to n2, no flag";
  EXPECT_EQ(Layout(h), "a n3 n2 m p*");
  EXPECT_FALSE(h.BeginSavingUndoBlock(once("m2", &y), file));
  EXPECT_EQ(Layout(h), "a n3 n2 m2 p*");
  EXPECT_EQ(Step::alive, 5);
}

TEST_F(MUndoHandlerTest, GroupsLeaveMarkersOnlyWhereTheyTellSomething) {
  struct Row {
    const char* script;
    const char* layout;
    std::vector<std::string> titles;  // what an undo menu lists, from the position back
  };
  const Row rows[] = {
      {"(g )", "*", {}},
      {"a (g )", "a*", {"a"}},
      {"(move move )", "move*", {"move"}},
      {"(group move )", "(0:group move 0)*", {"group"}},
      {"a (group b c )", "a (0:group b c 0)*", {"group", "a"}},
      {"( a )", "(0 a 0)*", {""}},
      {"(outer a (inner b c ) )", "(0:outer a (1:inner b c 1) 0)*", {"outer"}},
      {"(outer a (b b ) )", "(0:outer a b 0)*", {"outer"}},
      {"(outer a (inner ) )", "(0:outer a 0)*", {"outer"}},
      {"a b < (g c )", "a (0:g c 0)*", {"g", "a"}},
      {"a (g b", "a (0:g b*", {"b", "g", "a"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.script);
    Handler h(nullptr, MUndoHandler::ModeSharedDirectory);
    h.CleanUpUndoHandler();
    groups.clear();
    Run(h, row.script);
    EXPECT_EQ(Layout(h), row.layout);
    EXPECT_EQ(Audit(h), "");
    std::vector<std::string> titles;
    for (int32_t position = h.GetCurrentUndoPosition(); position >= 0 && titles.size() < 10;)
      titles.push_back(Narrow(h.GetOperationString(position)));
    EXPECT_EQ(titles, row.titles);
  }
  groups.clear();
}

TEST_F(MUndoHandlerTest, AnswersWhereGroupsBeginAndEndAndWhatLiesInThem) {
  Handler h(nullptr, MUndoHandler::ModeSharedDirectory);
  int64_t outer = h.BeginOperationGroup(L"outer", false);
  EXPECT_EQ(outer, 0);
  EXPECT_FALSE(h.CanUndo()) << "on the begin marker of a group that cannot be undone";
  Run(h, "a");
  EXPECT_TRUE(h.CanUndo());
  int64_t inner = h.BeginOperationGroup(L"inner", true);
  EXPECT_EQ(inner, 1);
  EXPECT_TRUE(h.CanUndo());
  Run(h, "b");
  EXPECT_EQ(Layout(h), "(0:outer a (1:inner b*");
  for (int32_t i = 0; i < 4; ++i) EXPECT_TRUE(h.IsGroupingOperations(i)) << i;
  EXPECT_FALSE(h.IsOperationGroupClosed(0));
  EXPECT_FALSE(h.IsOperationGroupClosed(2));
  EXPECT_EQ(h.GetNumUndoBlocks(outer), 4) << "an open group reaches to the end";
  EXPECT_EQ(h.GetNumUndoBlocks(inner), 2);

  const int64_t outer_id = outer, inner_id = inner;
  h.EndOperationGroup(inner);
  Run(h, "c");
  h.EndOperationGroup(outer);
  Run(h, "d");
  ASSERT_EQ(Layout(h), "(0:outer a (1:inner b 1) c 0) d*");
  const std::vector<std::string> expected = {
      "begin grouped 0 outer", "step grouped -1", "begin undoable grouped 1 inner", "step grouped -1",
      "end grouped 1",         "step grouped -1", "end 0",                          "step -1",
  };
  for (int32_t i = 0; i < h.GetNumUndoBlocks(); ++i) {
    std::string text = h.IsBeginOperationGroup(i) ? "begin" : h.IsEndOperationGroup(i) ? "end" : "step";
    if (h.IsUndoableBeginOperationGroup(i)) text += " undoable";
    if (h.IsGroupingOperations(i)) text += " grouped";
    text += " " + std::to_string(h.GetOperationGroupId(i));
    if (!h.GetGroupMessage(i).empty()) text += " " + Narrow(h.GetGroupMessage(i));
    EXPECT_EQ(text, expected[static_cast<size_t>(i)]) << "block " << i;
  }
  EXPECT_TRUE(h.IsOperationGroupClosed(0));
  EXPECT_TRUE(h.IsOperationGroupClosed(2));
  EXPECT_EQ(h.GetNumUndoBlocks(outer_id), 7);
  EXPECT_EQ(h.GetNumUndoBlocks(inner_id), 3);
  EXPECT_EQ(h.GetNumUndoBlocks(int64_t{9}), 0);
  EXPECT_EQ(h.GetIndexOf(outer_id), 0);
  EXPECT_EQ(h.GetIndexOf(inner_id), 2);
  EXPECT_EQ(h.GetIndexOf(int64_t{9}), -1);
  EXPECT_EQ(h.GetIndexOf(h.GetUndoOperation(5)), 5);
  const Step stranger("stranger");
  EXPECT_EQ(h.GetIndexOf(&stranger), -1);
}

TEST_F(MUndoHandlerTest, RemovesAClosedGroupWithItsStepsAndFiles) {
  Handler h(nullptr, MUndoHandler::ModeSharedDirectory);
  Run(h, "x (g a b ) y (h c ) z");
  ASSERT_EQ(Layout(h), "x (0:g a b 0) y (1:h c 1) z*");
  EXPECT_FALSE(h.RemoveOperationGroup(7)) << "no such group";
  EXPECT_TRUE(h.RemoveOperationGroup(1));
  EXPECT_EQ(Layout(h), "x (0:g a b 0) y z*") << "the position moves with the blocks after the group";
  EXPECT_EQ(Step::alive, 5);
  EXPECT_EQ(Audit(h), "");

  Run(h, "< < < <");
  EXPECT_EQ(Layout(h), "x (0:g a* b 0) y z");
  EXPECT_TRUE(h.RemoveOperationGroup(0));
  EXPECT_EQ(Layout(h), "x* y z") << "from inside the group to the block before it";
  EXPECT_EQ(Audit(h), "");

  Run(h, "(open w");
  EXPECT_FALSE(h.RemoveOperationGroup(2)) << "an open group has no end marker";
  EXPECT_EQ(Layout(h), "x (2:open w*");
  groups.clear();

  // An outer group left with one step titled as itself loses its markers as well.
  h.CleanUpUndoHandler();
  Run(h, "(outer outer (inner p q ) )");
  ASSERT_EQ(Layout(h), "(0:outer outer (1:inner p q 1) 0)*");
  EXPECT_TRUE(h.RemoveOperationGroup(1));
  EXPECT_EQ(Layout(h), "outer*");
  EXPECT_EQ(Audit(h), "");
}

TEST_F(MUndoHandlerTest, RemovesTemporaryStepsAndGroupsByTheirKey) {
  const uint32_t key = MUndoHandler::GetUniqueTemporaryOperationKey();
  const uint32_t other = MUndoHandler::GetUniqueTemporaryOperationKey();
  EXPECT_EQ(key, 0u);
  EXPECT_EQ(other, 1u);
  auto temporary = [](const char* name, uint32_t k) {
    auto* step = new Step(name);
    step->SetTemporaryOperation(k);
    return step;
  };
  Handler h(nullptr, MUndoHandler::ModeSharedDirectory);
  Run(h, "a");
  ASSERT_TRUE(Save(h, temporary("t1", key)));
  groups.push_back(h.BeginTemporaryOperationGroup(L"drag", key, true));
  Run(h, "b c ) d (e e");
  ASSERT_TRUE(Save(h, temporary("t2", key)));
  Run(h, ")");
  ASSERT_TRUE(Save(h, temporary("t3", other)));
  Run(h, "< < <");
  ASSERT_EQ(Layout(h), "a t1 (0:drag b c 0) d (1:e e* t2 1) t3");

  // Group e, left with its one step titled as itself, loses its markers.
  h.RemoveTemporaryOperations(key);
  EXPECT_EQ(Layout(h), "a d e* t3");
  EXPECT_EQ(Step::alive, 4);
  EXPECT_EQ(Audit(h), "");

  // An open temporary group goes to the end of the list.
  groups.push_back(h.BeginTemporaryOperationGroup(L"drag", key, true));
  Run(h, "f");
  EXPECT_EQ(Layout(h), "a d e (2:drag f*");
  h.RemoveTemporaryOperations(key);
  EXPECT_EQ(Layout(h), "a d e*");
  groups.clear();

  // Cleaning up empties the list and starts group ids and keys again.
  EXPECT_TRUE(h.CleanUpUndoHandler());
  EXPECT_EQ(Layout(h), "*");
  EXPECT_EQ(Step::alive, 0);
  EXPECT_EQ(FilesOnDisk(), Names{});
  EXPECT_EQ(MUndoHandler::GetUniqueTemporaryOperationKey(), 0u);
  EXPECT_EQ(h.BeginOperationGroup(L"again", true), 0);
}

TEST_F(MUndoHandlerTest, FindsAndRemovesTheStepsOfAnObject) {
  TestObject x("x"), y("y"), z("z");
  Handler h(nullptr, MUndoHandler::ModeSharedDirectory);
  ASSERT_TRUE(Save(h, new Step("a", {&x})));
  Run(h, "(b");
  ASSERT_TRUE(Save(h, new Step("b", {&y})));
  Run(h, "(h");
  ASSERT_TRUE(Save(h, new Step("c", {&x})));
  ASSERT_TRUE(Save(h, new Step("d", {&x})));
  Run(h, ") )");
  ASSERT_TRUE(Save(h, new Step("e", {&x, &y})));
  Run(h, "f < <");
  ASSERT_EQ(Layout(h), "a (0:b b (1:h c d 1) 0)* e f");

  // Only a group's own steps count, each group once.
  std::vector<int64_t> ids{42};
  h.GetOperationGroupsWithObject(ids, &x);
  EXPECT_EQ(ids, std::vector<int64_t>{1});
  h.GetOperationGroupsWithObject(ids, &y);
  EXPECT_EQ(ids, std::vector<int64_t>{0});
  h.GetOperationGroupsWithObject(ids, &z);
  EXPECT_EQ(ids, std::vector<int64_t>{});

  // Group h is left empty; then group b holds b alone, titled as itself.
  h.RemoveAllOperationsForObject(&x);
  EXPECT_EQ(Layout(h), "b* f");
  EXPECT_EQ(Step::alive, 2);
  EXPECT_EQ(Audit(h), "");
  h.RemoveAllOperationsForObject(&y);
  EXPECT_EQ(Layout(h), "* f");
  EXPECT_EQ(Audit(h), "");
}

TEST_F(MUndoHandlerTest, TheBudgetDropsWholeStepsFromTheFrontBeforeASave) {
  struct Row {
    const char* script;
    uint64_t budget;
    const char* layout;  // after saving z
  };
  const Row rows[] = {
      {"a:10 b:10", 20, "a b z*"},
      {"a:10 b:10", 19, "b z*"},
      {"a:10 b:10", 0, "z*"},
      {"a:0 b:0", 0, "a b z*"},
      // A group begun goes whole, past the budget.
      {"(g a:10 b:0 ) c:0", 0, "c z*"},
      {"(g (h a:10 ) b:0 ) c:0", 0, "c z*"},
      // An open group is never cut, however far over.
      {"x:10 (g a:10", 0, "(0:g a z*"},
      // The redo side counts until the save drops it.
      {"a:10 b:10 <", 10, "z*"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.script) + " within " + std::to_string(row.budget));
    Handler h(nullptr, MUndoHandler::ModeSharedDirectory);
    h.CleanUpUndoHandler();
    groups.clear();
    Run(h, row.script);
    MUndoHandler::SetUndoDiskSpace(row.budget);
    Run(h, "z");
    EXPECT_EQ(Layout(h), row.layout);
    EXPECT_EQ(Audit(h), "");
    MUndoHandler::SetUndoDiskSpace(10000000);
  }
  groups.clear();
}

TEST_F(MUndoHandlerTest, DroppedStepsLeaveTheirObjectsForTheDocumentToRemove) {
  CountingDocument doc;
  TestObject v("v"), w("w"), x("x"), y("y"), z("z");
  Handler h(&doc, MUndoHandler::ModeSharedDirectory);
  auto objects = [&h] {
    std::vector<IObject*> list;
    for (int32_t i = 0; i < h.GetNumObjectsToBeRemoved(); ++i) list.push_back(h.GetObjectToBeRemoved(i));
    return list;
  };
  ASSERT_TRUE(Save(h, new Step("keep", {&w})));
  ASSERT_TRUE(Save(h, new Step("addx", {&x}, 8, MOperation::ACTION_ADD)));
  ASSERT_TRUE(Save(h, new Step("label", {&w})));
  ASSERT_TRUE(Save(h, new Step("addyz", {&y, &z}, 8, MOperation::ACTION_ADD)));
  Run(h, "< < <");
  EXPECT_EQ(doc.cleanups, 0);

  // Additions undone will never come back: their objects, from the last step back.
  EXPECT_TRUE(h.PurgeUndoStack());
  EXPECT_EQ(Layout(h), "keep*");
  EXPECT_EQ(objects(), (std::vector<IObject*>{&y, &z, &x}));
  EXPECT_EQ(doc.cleanups, 1);
  EXPECT_FALSE(h.PurgeUndoStack());
  EXPECT_EQ(doc.cleanups, 1);
  h.RemoveAllObjectsToBeRemoved();
  EXPECT_EQ(h.GetNumObjectsToBeRemoved(), 0);

  // Nor do removals that the budget drops; additions it drops keep their objects.
  ASSERT_TRUE(Save(h, new Step("removev", {&v}, 8, MOperation::ACTION_REMOVE)));
  ASSERT_TRUE(Save(h, new Step("addw", {&w}, 8, MOperation::ACTION_ADD)));
  MUndoHandler::SetUndoDiskSpace(0);
  Run(h, "last:0");
  EXPECT_EQ(Layout(h), "last*");
  EXPECT_EQ(objects(), std::vector<IObject*>{&v});
  EXPECT_EQ(doc.cleanups, 2);
}

// A copy, made either way, is a handler of the same steps: whichever of the two goes first,
// the other still holds their operations and can undo them from their files.
TEST_F(MUndoHandlerTest, CopiesShareTheStepsUntilTheLastLetsGo) {
  const std::pair<const char*, std::function<std::unique_ptr<Handler>(const Handler&)>> copies[] = {
      {"copy construction", [](const Handler& h) { return std::make_unique<Handler>(h); }},
      {"assignment",
       [this](const Handler& h) {
         auto copy = std::make_unique<Handler>(nullptr, MUndoHandler::ModeProcessDirectory);
         Run(*copy, "c");
         *copy = h;
         EXPECT_EQ(Step::alive, 2) << "c went with the list it was in";
         return copy;
       }},
  };
  for (const auto& [how, make_copy] : copies) {
    for (bool copy_goes_first : {true, false}) {
      SCOPED_TRACE(std::string(how) + (copy_goes_first ? ", the copy goes first" : ", the original goes first"));
      auto original = std::make_unique<Handler>(nullptr, MUndoHandler::ModeProcessDirectory);
      Run(*original, "a (g b )");
      auto copy = make_copy(*original);
      EXPECT_EQ(Layout(*copy), "a (0:g b 0)*");
      EXPECT_EQ(copy->GetUndoOperation(0), original->GetUndoOperation(0));
      (copy_goes_first ? copy : original).reset();
      Handler& left = *(copy_goes_first ? original : copy);
      EXPECT_EQ(Step::alive, 2);
      EXPECT_EQ(Layout(left), "a (0:g b 0)*");
      EXPECT_EQ(Audit(left), "");
      left.CleanUpUndoHandler();
      EXPECT_EQ(Step::alive, 0);
    }
  }
}

// The tag in a file name as the mode makes it, "VarnUndo[<tag>]/~varn_<kind>xxxxxxxx.tmp" in the
// process's own directory or "~varn_<kind>[<tag>]xxxxxxxx.tmp" in the shared one, with the tag
// this process's pid (or pid.n); "" for a name of another form.
std::string TagOfFileName(const std::string& name, bool own_directory, const std::string& kind) {
  std::string rest = name, tag;
  auto take_tag = [&](const std::string& open) {
    if (rest.rfind(open, 0) != 0) return false;
    const size_t end = rest.find(']', open.size());
    if (end == std::string::npos) return false;
    tag = rest.substr(open.size(), end - open.size());
    rest = rest.substr(end + 1);
    return true;
  };
  const std::string stem = "~varn_" + kind;
  if (own_directory) {
    if (!take_tag("VarnUndo[") || rest.rfind("/" + stem, 0) != 0) return "";
    rest = rest.substr(stem.size() + 1);
  } else {
    if (rest.rfind(stem, 0) != 0) return "";
    rest = rest.substr(stem.size());
    if (!take_tag("[")) return "";
  }
  if (rest.size() != 12 || rest.substr(8) != ".tmp") return "";
  for (size_t i = 0; i < 8; ++i)
    if (!std::isxdigit(static_cast<unsigned char>(rest[i])) || std::isupper(static_cast<unsigned char>(rest[i]))) return "";
  const std::string pid = std::to_string(::getpid());
  return tag == pid || tag.rfind(pid + ".", 0) == 0 ? tag : "";
}

struct ModeRow {
  const char* name;
  Mode mode, default_mode;
  bool own_directory;
};
void PrintTo(const ModeRow& row, std::ostream* out) { *out << row.name; }
struct MUndoHandlerModes : MUndoHandlerTest, testing::WithParamInterface<ModeRow> {};

TEST_P(MUndoHandlerModes, PutTheFilesWhereTheModeSaysAndLeaveNoneBehind) {
  const ModeRow& row = GetParam();
  MUndoHandler::SetModeDefault(row.default_mode);
  std::string own_tag;
  {
    Handler h(nullptr, row.mode);
    Run(h, "a b");
    MFile file;
    ASSERT_NE(h.BeginSavingRedoBlock(file), nullptr);
    ASSERT_TRUE(h.EndSavingRedoBlock(file));
    const std::string undo_name = Relative(h.GetUndoFilename(0)), redo_name = Relative(h.GetRedoFilename(1));
    own_tag = TagOfFileName(undo_name, row.own_directory, "undo");
    EXPECT_NE(own_tag, "") << undo_name;
    EXPECT_EQ(TagOfFileName(redo_name, row.own_directory, "redo"), own_tag) << redo_name;
    EXPECT_EQ(Audit(h), "");
    EXPECT_TRUE(h.CleanUpUndoHandler());
    EXPECT_EQ(FilesOnDisk(), Names{});
    Run(h, "c");
    EXPECT_EQ(Audit(h), "");
  }
  // What stays is this process's own directory with the lock it holds while it lives.
  const std::string own = "VarnUndo[" + own_tag + "]";
  EXPECT_EQ(Entries(), (Names{own, own + "/lock"}));
}

INSTANTIATE_TEST_SUITE_P(MUndoHandler, MUndoHandlerModes,
                         testing::Values(ModeRow{"Shared", MUndoHandler::ModeSharedDirectory,
                                                 MUndoHandler::ModeProcessDirectory, false},
                                         ModeRow{"Process", MUndoHandler::ModeProcessDirectory,
                                                 MUndoHandler::ModeSharedDirectory, true},
                                         ModeRow{"DefaultShared", MUndoHandler::ModeDefault,
                                                 MUndoHandler::ModeSharedDirectory, false},
                                         ModeRow{"DefaultProcess", MUndoHandler::ModeDefault,
                                                 MUndoHandler::ModeProcessDirectory, true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(MUndoHandlerTest, ASharedHandlerRemovesEveryUndoFileThereAndAnOwnOneWhatDeadProcessesLeft) {
  ChildProcess other(OtherProcess);
  ASSERT_TRUE(other.WaitReady()) << other.Finish();
  const std::string other_tag = "[" + std::to_string(other.Pid()) + "]";
  const Names other_files = FilesOnDisk();
  ASSERT_EQ(other_files.size(), 2u);
  const std::string other_shared = *other_files.rbegin(), other_own = *other_files.begin();
  ASSERT_EQ(other_shared.rfind("~varn_undo" + other_tag, 0), 0u) << other_shared;
  ASSERT_EQ(other_own.rfind("VarnUndo" + other_tag + "/~varn_undo", 0), 0u) << other_own;

  // What a dead process left, and what is no undo file.
  const std::pair<std::string, bool> made[] = {
      {"~varn_undo[999999]0000abcd.tmp", true}, {"~varn_redo0000abcd.tmp", true},
      {"~varn_undo.tmp", true},                 {"~varn_undo_notes.txt", false},
      {"varn_undo00000001.tmp", false},         {"VarnUndo[999999]/~varn_undo00000001.tmp", false},
  };
  fs::create_directory(dir / "VarnUndo[999999]");
  for (const auto& [name, removed] : made) std::ofstream(dir / name) << "x";
  fs::create_directory(dir / "~varn_undo_dir.tmp");
  std::ofstream(dir / "target") << "x";
  fs::create_symlink("target", dir / "~varn_redo_link.tmp");

  { Handler shared(nullptr, MUndoHandler::ModeSharedDirectory); }
  for (const auto& [name, removed] : made) EXPECT_EQ(fs::exists(dir / name), !removed) << name;
  EXPECT_FALSE(fs::exists(dir / other_shared)) << "whoever made it";
  EXPECT_TRUE(fs::exists(dir / other_own)) << "in a process directory";
  EXPECT_TRUE(fs::is_directory(dir / "~varn_undo_dir.tmp"));
  EXPECT_FALSE(fs::exists(fs::symlink_status(dir / "~varn_redo_link.tmp"))) << "the link";
  EXPECT_TRUE(fs::exists(dir / "target")) << "not what it leads to";

  { Handler own(nullptr, MUndoHandler::ModeProcessDirectory); }
  EXPECT_FALSE(fs::exists(dir / "VarnUndo[999999]")) << "its process is dead";
  EXPECT_TRUE(fs::exists(dir / other_own)) << "its process lives";
  other.Kill();
  { Handler own(nullptr, MUndoHandler::ModeProcessDirectory); }
  EXPECT_FALSE(fs::exists(dir / ("VarnUndo" + other_tag)));

  // Also the files of another handler of this very process, which then has nothing to load.
  Handler first(nullptr, MUndoHandler::ModeSharedDirectory);
  Run(first, "a");
  { Handler second(nullptr, MUndoHandler::ModeSharedDirectory); }
  MFile file;
  EXPECT_EQ(first.BeginLoadingUndoBlock(file), nullptr);
  EXPECT_FALSE(file.IS_OPEN());
  const std::string own = "VarnUndo[" + std::to_string(::getpid()) + "]";
  EXPECT_EQ(Entries(), (Names{"target", "varn_undo00000001.tmp", "~varn_undo_notes.txt", "~varn_undo_dir.tmp", own,
                              own + "/lock"}));
}

// Each file is opened by the identity recorded when it was written; which changes make it another
// file is MFile's to tell (MFileTest goes through them). A copy in its place tells whether the
// identity is used at all, for undo and redo files alike.
TEST_F(MUndoHandlerTest, LoadsAFileOnlyWhileItIsStillTheOneWritten) {
  using Change = std::function<void(const fs::path&)>;
  const std::pair<const char*, Change> rows[] = {
      {"untouched", nullptr},
      {"removed", [](const fs::path& p) { fs::remove(p); }},
      {"replaced by a copy",
       [](const fs::path& p) {
         fs::copy_file(p, p.string() + ".copy");
         fs::rename(p.string() + ".copy", p);
       }},
  };
  for (const auto& [what, change] : rows) {
    for (bool redo : {false, true}) {
      SCOPED_TRACE(std::string(redo ? "redo file " : "undo file ") + what);
      Handler h(nullptr, MUndoHandler::ModeSharedDirectory);  // removes the files of the round before
      auto* a = new Step("a");
      ASSERT_TRUE(Save(h, a));
      MFile file;
      ASSERT_EQ(h.BeginSavingRedoBlock(file), a);
      MStreamUndoOut(&file) << std::wstring(L"redo state");
      ASSERT_TRUE(h.EndSavingRedoBlock(file));
      if (change) change(fs::path((redo ? h.GetRedoFilename(0) : h.GetUndoFilename(0)).GET_NATIVE_PATH()));
      EXPECT_EQ(redo ? h.BeginLoadingRedoBlock(file) : h.BeginLoadingUndoBlock(file), change ? nullptr : a);
      EXPECT_EQ(file.IS_OPEN(), !change);
      file.CLOSE();
      EXPECT_EQ(redo ? h.BeginLoadingUndoBlock(file) : h.BeginLoadingRedoBlock(file), a) << "the other file";
      file.CLOSE();
    }
  }
}

}  // namespace
