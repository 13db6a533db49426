// A host document through its life as a user drives it: new, edit, save, close, open, with the
// title, the modified mark, the undo history and the database after each step; the messages of
// a missing file and a failed save (the old file whole); the notifications of the phases; the
// renderer switch; the bridge to the host's old mouse interface.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "ostrum/database/MDataBase.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/IOldApplicationController.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/core/SafeFileWriter.h"
#include "ostrum/foundation/platform/MessageBox.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/render/IVRenderFactory.h"
#include "ostrum/foundation/render/RecordingRender.h"
#include "ostrum/notification/NotificationCenter.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MUndoHandler.h"
#include "ostrum/undo/Manager.h"
#include "support/ChildProcess.h"
#include "support/DesktopFixture.h"

namespace {

namespace fs = std::filesystem;

// A part of the plan that counts how often its render buffers were freed.
class Part : public UIObject {
 public:
  explicit Part(const std::wstring& label) { SetLabel(label.c_str()); }
  void DestroyRenderOptimisations() override {
    ++freed;
    UIObject::DestroyRenderOptimisations();
  }
  int freed = 0;
};

// The host: its database made with the contents, its plan saved as one label per line after a
// header, read back through add operations.
class PlanDocument : public MDocument {
 public:
  PlanDocument() = default;
  ~PlanDocument() override {
    if (GetDataBase() == m_database) _SetDataBasePointer(nullptr);
    delete m_database;
  }
  using MDocument::_SwitchRenderer;
  MDataBase& Database() { return *m_database; }
  std::vector<std::wstring> Labels() const {
    std::vector<std::wstring> labels;
    if (!m_database) return labels;
    for (size_t i = 0; i < m_database->GetNumObjects(); ++i)
      labels.push_back(static_cast<UIObject*>(m_database->GetObjectW(i))->GetLabel());
    return labels;
  }
  Part* Add(const std::wstring& label) {
    auto* part = new Part(label);
    auto* add = new MOperation(MOperation::ACTION_ADD);
    add->AddObject(part);
    add->DoOperation(nullptr);
    return part;
  }
  void Rename(UIObject* part, const wchar_t* label) {
    auto* rename = new MOperation(MOperation::ACTION_NONE);
    rename->ChangeLabel(label);
    rename->AddObject(part);
    rename->DoOperation(nullptr);
  }

  std::vector<std::string> phases;  // the document notifications with the objects then held
  bool reject_load = false;
  EResultIO save_answer_override = static_cast<EResultIO>(-1);
  bool loading_seen = false;
  bool undo_entry_while_loading = false;

  void DoUpdateUI(MOperation* operation, void* param, uint32_t unused) override {
    if (operation->GetAction() >= 50 && operation->GetAction() <= 56)
      phases.push_back(std::to_string(operation->GetAction()) + ":" + std::to_string(Labels().size()));
    MDocument::DoUpdateUI(operation, param, unused);
  }

 protected:
  bool _CreateContents() override {
    if (!m_database) m_database = new MDataBase;
    _SetDataBasePointer(m_database);
    return true;
  }
  EResultIO _SaveDocument(const wchar_t* path) override {
    if (save_answer_override != static_cast<EResultIO>(-1)) return save_answer_override;
    Ostrum::SafeFileWriter file(path);
    std::string text = "plan 1\n";
    for (const std::wstring& label : Labels()) text += std::string(label.begin(), label.end()) + "\n";
    return file.Write(text) && file.Commit() ? RESULT_IO_OK : RESULT_IO_FAILED;
  }
  bool _LoadDocument(const wchar_t* path) override {
    std::ifstream in{fs::path(path)};
    std::string line;
    if (reject_load || !std::getline(in, line) || line != "plan 1") return false;
    loading_seen = MDataBase::GetIsLoading();
    while (std::getline(in, line)) Add(std::wstring(line.begin(), line.end()));
    undo_entry_while_loading = GetUndoManager()->CanUndo();
    return true;
  }

 private:
  MDataBase* m_database = nullptr;
};

std::string Read(const fs::path& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

UIObject* implant_after_open(PlanDocument& doc) { return static_cast<UIObject*>(doc.Database().GetObjectW(0)); }

class DocumentLife : public DesktopTest {
 protected:
  DocumentLife() {
    char pattern[] = "/tmp/ostrum-life-XXXXXX";
    dir = mkdtemp(pattern);
    MUndoHandler::SetUndoTempDir((dir / "undo/").wstring().c_str());
    fs::create_directories(dir / "undo");
  }
  ~DocumentLife() override {
    Ostrum::Desktop::RunUntilIdle();
    MUndoHandler::SetUndoTempDir(L"");
    fs::remove_all(dir);
  }
  // The undo files left, after idle-time clean-up.
  size_t UndoFiles() {
    Ostrum::Desktop::RunUntilIdle();
    size_t count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(dir / "undo"))
      if (entry.path().filename().string().rfind("~varn_", 0) == 0) ++count;
    return count;
  }
  std::wstring Title(PlanDocument& doc) { return doc.GetTitle().Str(); }

  Ostrum::DeferredTaskManager::ScopedSession session;
  fs::path dir;
};

TEST_F(DocumentLife, NewEditSaveCloseOpenKeepsThePlanAndStartsEachTimeWithAnEmptyHistory) {
  PlanDocument doc;
  ASSERT_EQ(doc.OnNewDocument(), 1);
  EXPECT_EQ(doc.phases, (std::vector<std::string>{"51:0", "52:0", "50:0"}));
  EXPECT_FALSE(doc.IsDocLoaded());
  doc.SetTitle(L"plan");
  Part* implant = doc.Add(L"implant");
  doc.Add(L"screw");
  doc.Rename(implant, L"implant A");
  EXPECT_FALSE(doc.IsModified()) << "a document never saved gets no modified mark";
  EXPECT_EQ(Title(doc), L"plan");
  EXPECT_TRUE(doc.GetUndoManager()->CanUndo());
  EXPECT_GT(UndoFiles(), 0u);

  const fs::path file = dir / "plan.txt";
  doc.phases.clear();
  ASSERT_EQ(doc.OnSaveDocument(file.wstring().c_str()), 1);
  EXPECT_EQ(doc.phases, (std::vector<std::string>{"56:2", "54:2"}));
  EXPECT_EQ(Read(file), "plan 1\nimplant A\nscrew\n");
  EXPECT_TRUE(doc.IsDocLoaded());
  EXPECT_FALSE(doc.IsModified());
  // Saved, it tracks changes: each changing operation adds one more mark.
  doc.Rename(implant, L"implant B");
  EXPECT_TRUE(doc.IsModified());
  EXPECT_EQ(Title(doc), L"plan*");
  doc.Rename(implant, L"implant C");
  EXPECT_EQ(Title(doc), L"plan**");

  doc.phases.clear();
  doc.DeleteContents();  // close
  EXPECT_EQ(doc.phases, (std::vector<std::string>{"51:2", "52:0"})) << "closing is told before anything goes";
  EXPECT_TRUE(doc.Labels().empty());
  EXPECT_FALSE(doc.GetUndoManager()->CanUndo());
  EXPECT_EQ(UndoFiles(), 0u) << "the history's files go with it";
  EXPECT_EQ(Title(doc).rfind(L"Untitled", 0), 0u);
  EXPECT_FALSE(doc.IsDocLoaded());

  doc.phases.clear();
  ASSERT_EQ(doc.OnOpenDocument(file.wstring().c_str()), 1);
  EXPECT_EQ(doc.Labels(), (std::vector<std::wstring>{L"implant A", L"screw"}));
  EXPECT_TRUE(doc.loading_seen) << "the loading flag stands during the host's load";
  EXPECT_FALSE(MDataBase::GetIsLoading());
  EXPECT_FALSE(doc.undo_entry_while_loading) << "nothing done while loading is undoable";
  EXPECT_FALSE(doc.GetUndoManager()->CanUndo());
  EXPECT_FALSE(doc.IsModified());
  EXPECT_EQ(doc.phases.back(), "53:2") << "opened, with every live object";
  EXPECT_TRUE(doc.IsDocLoaded()) << "opened documents track changes";
  doc.SetTitle(L"plan");
  doc.Rename(implant_after_open(doc), L"implant D");
  EXPECT_EQ(Title(doc), L"plan*");
  EXPECT_TRUE(Ostrum::Desktop::TakeMessageBoxLog().empty());
}

TEST_F(DocumentLife, AMissingFileIsToldAndChangesNothingARejectedOneLeavesFreshContents) {
  PlanDocument doc;
  ASSERT_EQ(doc.OnNewDocument(), 1);
  doc.Add(L"implant");
  const fs::path missing = dir / "gone.txt";
  desk.ExpectModal("missing file", [](Ostrum::Desktop::ModalFrame& frame) { EndModalFrame(frame, IDOK); });
  EXPECT_EQ(doc.OnOpenDocument(missing.wstring().c_str()), 0);
  const auto boxes = Ostrum::Desktop::TakeMessageBoxLog();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].type, MB_ICONHAND);
  EXPECT_NE(boxes[0].text.find(missing.wstring()), std::wstring::npos);
  EXPECT_EQ(doc.Labels(), (std::vector<std::wstring>{L"implant"})) << "the document is as it was";

  // A file the host's loader refuses: no message from the framework, the contents are new.
  const fs::path foreign = dir / "foreign.txt";
  std::ofstream(foreign) << "not a plan\n";
  EXPECT_EQ(doc.OnOpenDocument(foreign.wstring().c_str()), 0);
  EXPECT_TRUE(doc.Labels().empty());
  EXPECT_FALSE(MDataBase::GetIsLoading());
  EXPECT_TRUE(Ostrum::Desktop::TakeMessageBoxLog().empty());
}

TEST_F(DocumentLife, AFailedSaveIsToldKeepsTheOldFileWholeAndTheDocumentModified) {
  PlanDocument doc;
  ASSERT_EQ(doc.OnNewDocument(), 1);
  Part* implant = doc.Add(L"implant");
  const fs::path file = dir / "plan.txt";
  ASSERT_EQ(doc.OnSaveDocument(file.wstring().c_str()), 1);
  doc.Rename(implant, L"implant B");
  ASSERT_TRUE(doc.IsModified());

  // A directory nobody may write into.
  const fs::path locked = dir / "locked";
  fs::create_directories(locked);
  std::ofstream(locked / "plan.txt") << "plan 1\nold\n";
  fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec);
  if (::access(locked.c_str(), W_OK) != 0) {  // not when the tests run as root
    desk.ExpectModal("save failed", [](Ostrum::Desktop::ModalFrame& frame) { EndModalFrame(frame, IDOK); });
    EXPECT_EQ(doc.OnSaveDocument((locked / "plan.txt").wstring().c_str()), 0);
    const auto boxes = Ostrum::Desktop::TakeMessageBoxLog();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].type, MB_ICONEXCLAMATION);
    EXPECT_NE(boxes[0].text.find((locked / "plan.txt").wstring()), std::wstring::npos);
    EXPECT_EQ(Read(locked / "plan.txt"), "plan 1\nold\n");
    EXPECT_TRUE(doc.IsModified());
  }
  fs::permissions(locked, fs::perms::owner_all);

  // A full disk: the file size limit stands in for it, in a child process.
  const std::string report = RunInChild([&](ChildChecks& checks) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{64, 64};
    setrlimit(RLIMIT_FSIZE, &limit);
    for (int i = 0; i < 20; ++i) doc.Add(L"a screw with a long name to fill the file " + std::to_wstring(i));
    checks.Check(doc.OnSaveDocument(file.wstring().c_str()) == 0, "the save fails");
    checks.Check(Read(file) == "plan 1\nimplant\n", "the old file is whole");
    checks.Check(doc.IsModified(), "the document is still modified");
    checks.Check(Ostrum::Desktop::TakeMessageBoxLog().size() == 1, "the failure is told");
    size_t left = 0;
    for (const auto& entry : fs::directory_iterator(dir)) left += entry.path().filename().string().rfind(".plan", 0) == 0;
    checks.Check(left == 0, "no temporary file is left beside it");
  });
  EXPECT_EQ(report, "");

  // Save as a new name, and a host that dealt with its failure itself.
  ASSERT_EQ(doc.OnSaveDocument((dir / "copy.txt").wstring().c_str()), 1);
  EXPECT_EQ(Read(dir / "copy.txt"), "plan 1\nimplant B\n");
  doc.Rename(implant, L"implant C");
  doc.save_answer_override = MDocument::RESULT_IO_QUIET_FAILURE;
  EXPECT_EQ(doc.OnSaveDocument(file.wstring().c_str()), 0);
  EXPECT_TRUE(doc.IsModified());
  EXPECT_TRUE(Ostrum::Desktop::TakeMessageBoxLog().empty());
}

TEST_F(DocumentLife, TwoDocumentsInTurnEachOpenTheirOwnPlan) {
  const fs::path first = dir / "first.txt", second = dir / "second.txt";
  std::ofstream(first) << "plan 1\nimplant\n";
  std::ofstream(second) << "plan 1\nplate\nscrew\n";
  {
    PlanDocument doc;
    ASSERT_EQ(doc.OnOpenDocument(first.wstring().c_str()), 1);
    EXPECT_EQ(doc.Labels(), (std::vector<std::wstring>{L"implant"}));
  }
  PlanDocument doc;
  ASSERT_EQ(doc.OnOpenDocument(second.wstring().c_str()), 1);
  EXPECT_EQ(doc.Labels(), (std::vector<std::wstring>{L"plate", L"screw"}));
  EXPECT_EQ(MDocument::GetActiveDocument(), &doc);
}

TEST_F(DocumentLife, TheRendererSwitchKeepsBuffersOnlyBetweenHardwareAndSoftwareAndFallsBack) {
  IVRenderFactory::Reset();
  for (int type : {1, 2, 3})
    IVRenderFactory::RegisterRenderer(static_cast<ERenderType>(type), [] { return std::make_unique<Ostrum::RecordingRender>(); });
  ASSERT_NE(IVRenderFactory::SelectIVRender(static_cast<ERenderType>(1), false), nullptr);
  PlanDocument doc;
  ASSERT_EQ(doc.OnNewDocument(), 1);
  Part* part = doc.Add(L"implant");
  EXPECT_TRUE(doc._SwitchRenderer(static_cast<ERenderType>(2), false));
  EXPECT_EQ(part->freed, 0) << "hardware to software keeps the buffers";
  EXPECT_TRUE(doc._SwitchRenderer(static_cast<ERenderType>(2), false));
  EXPECT_EQ(part->freed, 0) << "the same type again does nothing";
  EXPECT_TRUE(doc._SwitchRenderer(static_cast<ERenderType>(3), false));
  EXPECT_EQ(part->freed, 1);
  EXPECT_EQ(IVRenderFactory::GetCurrentRendererType(), static_cast<ERenderType>(3));
  // A type without a renderer falls back to the current one: false, though one is active.
  EXPECT_FALSE(doc._SwitchRenderer(static_cast<ERenderType>(7), false));
  EXPECT_EQ(IVRenderFactory::GetCurrentRendererType(), static_cast<ERenderType>(3));
  EXPECT_TRUE(doc._SwitchRenderer(static_cast<ERenderType>(3), true)) << "forced, the same type is selected anew";
  EXPECT_EQ(part->freed, 3);
  IVRenderFactory::Reset();
}

// The host's old mouse interface.
class OldController : public Ostrum::IOldApplicationController {
 public:
  explicit OldController(bool* deleted) : m_deleted(deleted) {}
  ~OldController() override { *m_deleted = true; }
  UIMouseHandler* GetMouseHandler() override { return nullptr; }
  bool SelectMouseState(MOperationState*) override {
    state = 7;
    return true;
  }
  bool RevertMouseState() override {
    state = 3;
    return false;
  }
  uint32_t GetCurrentMouseState() const override { return state; }
  void MatchMouseStateToDatabase() override {}
  void DetachObjectFromMouse(MOperation*) override {}
  uint32_t state = 0;

 private:
  bool* m_deleted;
};

class ProviderDocument : public PlanDocument {
 public:
  using MDocument::_GetMouseCompatibilityProvider;
};

struct StateWatcher {
  std::vector<unsigned> seen;
  void OnSelect(const MDocument::MouseSelectNotification& n) { seen.push_back(n.GetMouseID()); }
};

TEST_F(DocumentLife, TheOldMouseInterfacePostsTheStateAfterEverySelectAndRevert) {
  StateWatcher watcher;
  Ostrum::NotificationCenter::GetDefaultCenter().AddObserver(&watcher, &StateWatcher::OnSelect);
  bool first_deleted = false, second_deleted = false;
  {
    ProviderDocument doc;
    auto& provider = doc._GetMouseCompatibilityProvider();
    EXPECT_FALSE(provider.SelectMouseState(nullptr)) << "without a controller nothing is selected";
    provider.SetOldApplicationController(new OldController(&first_deleted));
    EXPECT_TRUE(provider.SelectMouseState(nullptr));
    EXPECT_FALSE(provider.RevertMouseState());
    provider.SetOldApplicationController(new OldController(&second_deleted));
    EXPECT_TRUE(first_deleted);
    EXPECT_FALSE(second_deleted);
  }
  EXPECT_TRUE(second_deleted) << "the provider owns its controller";
  Ostrum::NotificationCenter::GetDefaultCenter().RemoveObservers(Ostrum::NotificationCenter::_ObserverRef(&watcher));
  EXPECT_EQ(watcher.seen, (std::vector<unsigned>{0, 7, 3})) << "posted also when the answer is false";
}

TEST(SafeFileWriter, CommitsWholeFilesOrNothing) {
  char pattern[] = "/tmp/ostrum-safe-XXXXXX";
  const fs::path dir = mkdtemp(pattern);
  const fs::path file = dir / "plan.txt";
  {
    Ostrum::SafeFileWriter writer(file.wstring());
    ASSERT_TRUE(writer.IsOpen());
    EXPECT_TRUE(writer.Write(std::string("first")));
    EXPECT_FALSE(fs::exists(file)) << "nothing at the destination before the commit";
    EXPECT_TRUE(writer.Commit());
  }
  EXPECT_EQ(Read(file), "first");
  fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  {
    Ostrum::SafeFileWriter writer(file.wstring());
    writer.Write(std::string("second, abandoned"));
  }  // no commit
  EXPECT_EQ(Read(file), "first");
  {
    Ostrum::SafeFileWriter writer(file.wstring());
    writer.Write(std::string("third"));
    EXPECT_TRUE(writer.Commit());
  }
  EXPECT_EQ(Read(file), "third");
  EXPECT_EQ(fs::status(file).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read)
      << "a replaced file keeps its permissions";
  Ostrum::SafeFileWriter nowhere((dir / "missing/plan.txt").wstring());
  EXPECT_FALSE(nowhere.IsOpen());
  EXPECT_FALSE(nowhere.Write(std::string("x")));
  EXPECT_FALSE(nowhere.Commit());
  EXPECT_FALSE(nowhere.GetError().empty());
  size_t entries = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(dir)) ++entries;
  EXPECT_EQ(entries, 1u) << "no temporary file is left";
  fs::remove_all(dir);
}

}  // namespace
