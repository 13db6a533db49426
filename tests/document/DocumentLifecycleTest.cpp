// A host document through its life as a user drives it: new, edit, save, close, open, with the
// title, the modified mark, the undo history and the database after each step; the messages of
// a missing file and a failed save (the old file whole); the notifications of the phases; the
// renderer switch; the bridge to the host's old mouse interface.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "ostrum/database/MDataBase.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/IOldApplicationController.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/document/MMainFrame.h"
#include "ostrum/document/MView.h"
#include "ostrum/foundation/core/SafeFileWriter.h"
#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/foundation/platform/Accelerator.h"
#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/CommonControls.h"
#include "ostrum/foundation/platform/MessageBox.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowTree.h"
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
  DECLARE_DYNCREATE(PlanDocument)

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

IMPLEMENT_DYNCREATE(PlanDocument, MDocument)

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

TEST_F(DocumentLife, TheDocumentFrameAndViewAreMadeFromTheirRunTimeRecords) {
  std::unique_ptr<CObject> view(RUNTIME_CLASS(MView)->CreateObject());
  ASSERT_NE(dynamic_cast<MView*>(view.get()), nullptr);
  EXPECT_EQ(view->GetRuntimeClass(), RUNTIME_CLASS(MView));
  EXPECT_TRUE(view->IsKindOf(RUNTIME_CLASS(CWnd)));
  EXPECT_FALSE(view->IsKindOf(RUNTIME_CLASS(CFrameWnd)));

  std::unique_ptr<CObject> frame(RUNTIME_CLASS(MMainFrame)->CreateObject());
  ASSERT_NE(dynamic_cast<MMainFrame*>(frame.get()), nullptr);
  EXPECT_TRUE(frame->IsKindOf(RUNTIME_CLASS(CFrameWnd)));
  EXPECT_EQ(RUNTIME_CLASS(CFrameWnd)->CreateObject(), nullptr);  // a base without a maker

  // The host's document, made the way a document template makes it, is the active one.
  std::unique_ptr<CObject> made(RUNTIME_CLASS(PlanDocument)->CreateObject());
  auto* doc = dynamic_cast<PlanDocument*>(made.get());
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(MDocument::GetActiveDocument(), doc);
  EXPECT_STREQ(doc->GetRuntimeClass()->m_lpszClassName, "PlanDocument");
  EXPECT_TRUE(doc->IsKindOf(RUNTIME_CLASS(CDocument)));
  EXPECT_FALSE(doc->IsKindOf(RUNTIME_CLASS(CWnd)));
  EXPECT_EQ(doc->OnNewDocument(), 1);
}

// The main frame answers its tool-tips from the string table (wide and narrow requests, tools
// named by id or by their window) and brings the tip up; it merges accelerators into its own.
TEST_F(DocumentLife, TheMainFrameAnswersToolTipsFromTheStringTableAndMergesAccelerators) {
  WNDCLASSW wc{};
  wc.lpfnWndProc = DefWindowProcW;
  wc.lpszClassName = L"Ostrum.Test.MainFrame";
  ASSERT_TRUE(AfxRegisterClass(&wc));
  MMainFrame frame;
  ASSERT_TRUE(frame.CreateEx(0, wc.lpszClassName, L"plan", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 400, 300, nullptr, 0));
  const HWND tip = Frame({0, 0, 50, 20});
  const HWND other = Frame({10, 10, 60, 30});
  const HWND button = Child(frame.GetSafeHwnd(), {0, 0, 20, 20}, 0x9002);
  VarnResSetString(0x9001, L"Measure the distance between two points\nMeasure");
  VarnResSetString(0x9002, L"Move the implant\nMove \u00e4\u00f6");
  VarnResSetString(0x9003, std::wstring(L"long\n") + std::wstring(100, L'x'));

  const auto ask_wide = [&](UINT_PTR id, UINT flags) {
    TOOLTIPTEXTW request{};
    request.hdr = {tip, id, TTN_NEEDTEXTW};
    request.uFlags = flags;
    std::fill(std::begin(request.szText), std::end(request.szText), L'?');
    SetWindowPos(other, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    SendMessageW(frame.GetSafeHwnd(), WM_NOTIFY, id, reinterpret_cast<LPARAM>(&request));
    return request;
  };
  EXPECT_STREQ(ask_wide(0x9001, 0).szText, L"Measure");
  EXPECT_EQ(GetTopWindow(nullptr), tip) << "the tip is brought up";
  EXPECT_STREQ(ask_wide(0x9003, 0).szText, std::wstring(79, L'x').c_str()) << "at most 80 with the end";
  EXPECT_STREQ(ask_wide(0, 0).szText, L"") << "no command, no tip";
  EXPECT_STREQ(ask_wide(reinterpret_cast<UINT_PTR>(button), TTF_IDISHWND).szText, L"Move \u00e4\u00f6")
      << "a tool named by its window: the text of its control id";
  EXPECT_EQ(GetTopWindow(nullptr), tip);
  const TOOLTIPTEXTW missing = ask_wide(0x9004, 0);
  EXPECT_EQ(missing.szText[0], L'?') << "a missing string leaves the request alone";
  EXPECT_EQ(GetTopWindow(nullptr), other) << "and does not bring the tip up";

  TOOLTIPTEXTA narrow{};
  narrow.hdr = {tip, 0x9002, TTN_NEEDTEXTA};
  SendMessageW(frame.GetSafeHwnd(), WM_NOTIFY, 0x9002, reinterpret_cast<LPARAM>(&narrow));
  EXPECT_STREQ(narrow.szText, "Move \xc3\xa4\xc3\xb6") << "the narrow form is UTF-8";
  VarnResSetString(0x9005, L"wide\n" + std::wstring(40, L'\u00e4'));  // 80 bytes: one too many
  narrow.hdr.idFrom = 0x9005;
  EXPECT_EQ(SendMessageW(frame.GetSafeHwnd(), WM_NOTIFY, 0x9005, reinterpret_cast<LPARAM>(&narrow)), 0)
      << "the result is 0";
  std::string cut;
  for (int i = 0; i < 39; ++i) cut += "\xc3\xa4";
  EXPECT_EQ(std::string(narrow.szText), cut)
      << "cut at whole characters";
  for (UINT id : {0x9001u, 0x9002u, 0x9003u, 0x9005u}) VarnResRemoveString(id);

  // Accelerators: the frame's first, then the added ones; the old table goes, the added stays.
  const ACCEL own[] = {{FVIRTKEY | FCONTROL, 'Z', 100}, {FVIRTKEY | FCONTROL, 'Y', 101}};
  const ACCEL added[] = {{FVIRTKEY, 0x2E, 200}};
  HACCEL added_table = CreateAcceleratorTableW(added, 1);
  frame.AppendAccelerators(added_table);
  ASSERT_EQ(CopyAcceleratorTableW(frame.m_hAccelTable, nullptr, 0), 1) << "a frame without a table takes the added";
  HACCEL first = frame.m_hAccelTable;
  DestroyAcceleratorTable(first);
  frame.m_hAccelTable = CreateAcceleratorTableW(own, 2);
  HACCEL old = frame.m_hAccelTable;
  frame.AppendAccelerators(added_table);
  ACCEL merged[4]{};
  ASSERT_EQ(CopyAcceleratorTableW(frame.m_hAccelTable, nullptr, 0), 3);
  ASSERT_EQ(CopyAcceleratorTableW(frame.m_hAccelTable, merged, 4), 3);
  EXPECT_EQ((std::vector<WORD>{merged[0].cmd, merged[1].cmd, merged[2].cmd}), (std::vector<WORD>{100, 101, 200}));
  EXPECT_EQ(merged[0].key, 'Z');
  EXPECT_EQ(merged[0].fVirt, FVIRTKEY | FCONTROL);
  EXPECT_EQ(CopyAcceleratorTableW(old, nullptr, 0), 0) << "the frame's old table is destroyed";
  EXPECT_EQ(CopyAcceleratorTableW(added_table, nullptr, 0), 1) << "the added table stays the caller's";
  EXPECT_TRUE(DestroyAcceleratorTable(added_table));
  EXPECT_FALSE(DestroyAcceleratorTable(added_table));
  EXPECT_TRUE(DestroyAcceleratorTable(frame.m_hAccelTable));
  frame.DestroyWindow();
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
