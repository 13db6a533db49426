#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/MLocker.h"
#include "ostrum/document/MMainFrame.h"
#include "ostrum/document/MView.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/operations/MOperationContext.h"
#include "ostrum/undo/Manager.h"
#include "ostrum/objects/MObject.h"
#include "support/TestDocument.h"
#include "support/TestObjects.h"
#include "support/TestOperation.h"

namespace {

// A loaded document titled "plan", objects `b` and `a`, an observer `o` of `a`, and the log they all
// write into.
struct DocumentPipeline : testing::Test {
  DocumentPipeline() {
    a.Attach(&o);
    doc.SetDocLoaded(true);
    doc.SetTitle(L"plan");
  }

  /// Hands a new operation on `objects` with `flags` and `param` to the document, which owns it from then on.
  bool Send() {
    auto* op = new TestOperation("op", probe);
    op->SetFlags(flags);
    for (IObject* object : objects) op->AddObject(object);
    sent = op;
    return doc.DoOperation(op, param);
  }

  CallLog log;
  OperationProbe probe{&log};
  // Undo actions leaving the history are destroyed at idle time by the thread's deferred-task
  // session; it outlives the document, and dies before what the operations log into.
  Ostrum::DeferredTaskManager::ScopedSession session;
  TestDocument doc{&log};
  TestObject a{"a", &log}, b{"b", &log}, o{"o", &log};
  MObject plain;  // answers false wherever an answer is asked
  std::vector<IObject*> objects{&b, &a};
  uint32_t flags = MOperation::FLAGS_DEFAULT;
  void* param = nullptr;
  const void* sent = nullptr;  // the last operation sent, gone by now
};

using Pipeline = DocumentPipeline;  // for the rows' arrangements
const Calls kAsk = {"op._PrepareOperation", "b.Prepare", "a.Prepare"};
const Calls kPrepare = {"op._PrepareOperation", "b.Prepare", "a.Prepare", "doc._PrepareOperation"};
const Calls kDo = {"op._DoOperation", "b.Do", "a.Do", "doc._DoOperation"};
const Calls kPublish = {"o.Update", "doc.DoUpdateUI"};
const Calls kSave = {"b.SaveState(op)", "a.SaveState(op)"};  // into the undo file

Calls Join(std::initializer_list<Calls> parts) {
  Calls all;
  for (const Calls& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

enum Outcome { kSucceeds, kFails, kThrows };

// The stages an operation goes through, by its flags and by the answers it meets. On every way
// out the operation is deleted once: by the document, or by the undo history that keeps an
// undoable one until the history lets it go (then at idle time).
struct PipelineRow {
  const char* name;
  uint32_t flags;
  void (*arrange)(Pipeline&);
  Outcome outcome;
  bool modified;
  Calls calls;
  bool kept_by_history = false;
};

void PrintTo(const PipelineRow& row, std::ostream* out) { *out << row.name; }

struct DocumentPipelineRows : DocumentPipeline, testing::WithParamInterface<PipelineRow> {};

TEST_P(DocumentPipelineRows, RunsTheStagesInOrderAndDeletesTheOperation) {
  const PipelineRow& row = GetParam();
  flags = row.flags;
  if (row.arrange) row.arrange(*this);
  if (row.outcome == kThrows)
    EXPECT_THROW(Send(), std::runtime_error);
  else
    EXPECT_EQ(Send(), row.outcome == kSucceeds);
  if (row.kept_by_history) {
    EXPECT_EQ(probe.destroyed, 0);
    EXPECT_TRUE(doc.GetUndoManager()->CanUndo());
    doc.CleanUpUndoHandler();
  }
  Ostrum::Desktop::RunUntilIdle();
  EXPECT_EQ(log, Join({row.calls, {"op.~"}}));
  EXPECT_EQ(probe.destroyed, 1);
  EXPECT_EQ(doc.IsModified(), row.modified);
  EXPECT_EQ(doc.GetTitle(), row.modified ? L"plan*" : L"plan");
  if (row.outcome == kThrows) {  // the document goes on working
    a.on_do = o.on_update = nullptr;
    EXPECT_TRUE(Send());
  }
}

const auto kThrow = [](auto&&...) { throw std::runtime_error("failed"); };
const Calls kAll = Join({kPrepare, kDo, kPublish});
const Calls kAllUndoable = Join({kPrepare, kSave, kDo, kPublish});

const PipelineRow kRows[] = {
    {"Default", 0x770008, nullptr, kSucceeds, true, kAllUndoable, true},
    {"DefaultNotLoaded", 0x770008, [](Pipeline& t) { t.doc.SetDocLoaded(false); }, kSucceeds, false, kAllUndoable,
     true},
    {"NoLogBitChangesNothing", 0x1770008, nullptr, kSucceeds, true, kAllUndoable, true},
    {"NotUndoable", 0x750008, nullptr, kSucceeds, true, kAll},
    {"Refresh", 0x700000, nullptr, kSucceeds, false, kPublish},
    {"DoAndWindowsOnly", 0x340000, nullptr, kSucceeds, false, Join({kDo, {"doc.DoUpdateUI"}})},
    {"PrepareAndDoOnly", 0x50000, nullptr, kSucceeds, false, Join({kPrepare, kDo})},
    {"ObserversOnly", 0x400000, nullptr, kSucceeds, false, {"o.Update"}},
    {"FrameOnly", 0x100000, nullptr, kSucceeds, false, {"doc.DoUpdateUI"}},
    {"ViewsOnly", 0x200000, nullptr, kSucceeds, false, {"doc.DoUpdateUI"}},
    {"ChangeOnly", 0x8, nullptr, kSucceeds, true, {}},
    // Undo state is written, but nothing is done: the step is dropped with the operation.
    {"UndoableButNotDone", 0x20000, nullptr, kSucceeds, false, kSave},
    {"Nothing", 0, nullptr, kSucceeds, false, {}},
    // A refusal to prepare ends the operation before anything is done; every object is asked.
    {"ObjectRefusesPrepare", 0x770008, [](Pipeline& t) { t.b.prepare_answer = false; }, kFails, false, kAsk},
    {"OperationRefusesPrepare", 0x770008, [](Pipeline& t) { t.probe.prepare_answer = false; }, kFails, false, kAsk},
    {"DocumentRefusesPrepare", 0x770008, [](Pipeline& t) { t.doc.prepare_answer = false; }, kFails, false, kPrepare},
    {"PlainObjectRefusesPrepare", 0x770008, [](Pipeline& t) { t.objects = {&t.plain, &t.a}; }, kFails, false,
     {"op._PrepareOperation", "a.Prepare"}},
    // A failure to do still publishes: the objects that did their share have changed.
    {"ObjectFailsToDo", 0x770008, [](Pipeline& t) { t.b.do_answer = false; }, kFails, true, kAllUndoable, true},
    {"DocumentFailsToDo", 0x770008, [](Pipeline& t) { t.doc.do_answer = false; }, kFails, true, kAllUndoable,
     true},
    {"PlainObjectFailsToDo", 0x40000, [](Pipeline& t) { t.objects = {&t.plain, &t.a}; }, kFails, false,
     {"op._DoOperation", "a.Do", "doc._DoOperation"}},
    // An exception ends the open transaction: the registered step is dropped unperformed.
    {"ObjectThrows", 0x770008, [](Pipeline& t) { t.a.on_do = kThrow; }, kThrows, false,
     Join({kPrepare, kSave, {"op._DoOperation", "b.Do", "a.Do"}})},
    {"ObserverThrows", 0x770008, [](Pipeline& t) { t.o.on_update = kThrow; }, kThrows, true,
     Join({kPrepare, kSave, kDo, {"o.Update"}})}};

INSTANTIATE_TEST_SUITE_P(Stages, DocumentPipelineRows, testing::ValuesIn(kRows),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(DocumentPipeline, NestedOperationFromAnObjectRunsWholeInsideTheOuterOne) {
  OperationProbe inner_probe{&log};
  bool inner_result = false;
  objects = {&a};
  flags = 0x750008;  // neither kept by the history, so both die in the call
  a.on_do = [&](MOperation&) {
    auto* inner = new TestOperation("inner", inner_probe);
    inner->RemoveFlags(MOperation::FLAG_CAN_BE_UNDONE);
    inner->AddObject(&b);
    inner_result = inner->DoOperation(nullptr);  // through the document of operations
  };
  EXPECT_TRUE(Send());
  EXPECT_TRUE(inner_result);
  EXPECT_EQ(log, (Calls{"op._PrepareOperation", "a.Prepare", "doc._PrepareOperation", "op._DoOperation", "a.Do",
                        "inner._PrepareOperation", "b.Prepare", "doc._PrepareOperation", "inner._DoOperation", "b.Do",
                        "doc._DoOperation", "doc.DoUpdateUI", "inner.~", "doc._DoOperation", "o.Update",
                        "doc.DoUpdateUI", "op.~"}));
  // A failing nested operation is the nested caller's business: the outer one succeeds.
  b.prepare_answer = false;
  EXPECT_TRUE(Send());
  EXPECT_FALSE(inner_result);
  EXPECT_EQ(inner_probe.destroyed, 2);
  EXPECT_EQ(probe.destroyed, 2);
  EXPECT_FALSE(doc.DoOperation(nullptr, nullptr));
}

TEST_F(DocumentPipeline, UndoLockTakesTheUndoFlagAwayBeforePrepare) {
  {
    MLocker outer(doc.GetUndoLockCounter()), inner(doc.GetUndoLockCounter());
    EXPECT_TRUE(Send());
    EXPECT_EQ(probe.flags_at_prepare, 0x750008u);
  }
  EXPECT_FALSE(doc.IsUndoLocked());
  EXPECT_TRUE(Send());
  EXPECT_EQ(probe.flags_at_prepare, 0x770008u);
}

// Each changing operation refreshes the title, and a refresh of a modified document's title
// appends a mark without looking for one already there: the marks pile up, as hosts have
// always seen them; undo refreshes it too.
TEST_F(DocumentPipeline, EveryRefreshOfAModifiedTitleAppendsOneMoreMark) {
  EXPECT_TRUE(Send());
  EXPECT_EQ(doc.GetTitle(), L"plan*");
  EXPECT_TRUE(Send());
  EXPECT_EQ(doc.GetTitle(), L"plan**");
  EXPECT_TRUE(doc.UndoOperation());
  EXPECT_EQ(doc.GetTitle(), L"plan***");
  flags &= ~MOperation::FLAG_CAUSES_DOCUMENT_CHANGE;
  EXPECT_TRUE(Send());
  EXPECT_EQ(doc.GetTitle(), L"plan***") << "an operation that changes nothing leaves the title";
  doc.SetModifiedFlag(false);
  doc.SetTitle(L"plan");
  EXPECT_EQ(doc.GetTitle(), L"plan") << "an unmodified document gets no mark";
}

// A command offered through the context: only a remove with objects is possible, and Execute
// sends a remove of the context's objects, in their order, through the document, then answers
// false whatever came of it.
TEST_F(DocumentPipeline, ExecuteSendsTheCommandOnTheContextsObjectsAndAnswersFalse) {
  MOperationContext context;
  EXPECT_FALSE(MOperation::IsExecutePossible(context, MOperation::ACTION_REMOVE)) << "no objects";
  context.AddObject(&b);
  context.AddObject(&a);
  EXPECT_TRUE(MOperation::IsExecutePossible(context, MOperation::ACTION_REMOVE));
  EXPECT_FALSE(MOperation::IsExecutePossible(context, MOperation::ACTION_ADD));
  EXPECT_FALSE(MOperation::Execute(context, MOperation::ACTION_REMOVE));
  EXPECT_EQ(log, (Calls{"b.Prepare", "a.Prepare", "doc._PrepareOperation", "b.SaveState(op)", "a.SaveState(op)",
                        "b.Do", "a.Do", "doc._DoOperation", "o.Update", "doc.DoUpdateUI"}))
      << "the remove ran whole, and still the answer is false";
  EXPECT_TRUE(doc.GetUndoManager()->CanUndo());
  log.clear();
  a.prepare_answer = false;
  EXPECT_FALSE(MOperation::Execute(context, MOperation::ACTION_REMOVE));
  EXPECT_EQ(log, (Calls{"b.Prepare", "a.Prepare"})) << "a refused remove stops after prepare";
}

// The document constructed last receives the operations; once it is gone, an operation sent finds
// no document, fails and is deleted all the same.
TEST(MDocument, NewestDocumentReceivesTheOperationsUntilItDies) {
  auto* first = new TestDocument;
  {
    TestDocument second;
    delete first;  // not the active one: the active one stays
    EXPECT_EQ(MDocument::GetActiveDocument(), &second);
    EXPECT_EQ(MOperation::GetDocument(), &second);
  }
  EXPECT_EQ(MDocument::GetActiveDocument(), nullptr);
  EXPECT_EQ(MOperation::GetDocument(), nullptr);
  OperationProbe probe;
  EXPECT_FALSE((new TestOperation("op", probe))->DoOperation(nullptr));
  EXPECT_EQ(probe.destroyed, 1);
}

// The frame takes the update as a host's window does, through the routing by the marks; the
// views keep what they were handed last.
struct TestFrame : MMainFrame, IUIUpdate {
  explicit TestFrame(CallLog& log) : log(log) {}
  void DoUpdateUI(MOperation& operation, void* param) override { IUIUpdate::DoUpdateUI(operation, param); }
  void OnUpdateUI(MOperation&, void*) override { log.push_back("frame"); }
  void OnUpdateUIDo(MOperation&, void*) override { log.push_back("frame.Do"); }
  CallLog& log;
};

using Handed = std::array<const void*, 3>;  // sender, hint, hint object

struct TestView : MView {
  TestView(std::string name, CallLog& log) : name(std::move(name)), log(log) {}
  void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override {
    log.push_back(name);
    handed = {sender, reinterpret_cast<const void*>(hint), hint_object};
  }
  std::string name;
  CallLog& log;
  Handed handed{};
};

// Three views, v2 being active in the frame, which is the main window.
// A dummy handle stands for a window of the desktop model: the document only asks whether the main
// window has one.
struct DocumentUpdateUI : DocumentPipeline {
  DocumentUpdateUI() {
    for (CView* view : std::initializer_list<CView*>{&v1, &v2, &v3}) doc.AddView(view);
    frame.SetActiveView(&v2);
    frame.m_hWnd = child.m_hWnd = reinterpret_cast<HWND>(std::uintptr_t{1});
    AfxGetThread()->m_pMainWnd = &frame;
  }
  ~DocumentUpdateUI() override {
    AfxGetThread()->m_pMainWnd = nullptr;
    frame.m_hWnd = child.m_hWnd = nullptr;
  }
  CallLog windows;
  TestFrame frame{windows};
  TestView v1{"v1", windows}, v2{"v2", windows}, v3{"v3", windows};
  CWnd child;
};

TEST_F(DocumentUpdateUI, ReachesFrameThenActiveViewThenTheOtherViews) {
  // The marks are process-wide and stay until the next operation is done: do one first, so
  // that the updates below see the done mark whatever ran before in this process.
  flags = 0x40000;
  EXPECT_TRUE(Send());
  ASSERT_TRUE(windows.empty());
  for (uint32_t update : {0x100000u, 0x200000u}) {
    flags = update;
    EXPECT_TRUE(Send());
  }
  EXPECT_EQ(windows, (Calls{"frame", "frame.Do", "v2", "v1", "v3"}));
  windows.clear();
  CCmdTarget hint_object;
  param = &hint_object;
  flags = 0x340000;  // done, then frame and views
  EXPECT_TRUE(Send());
  EXPECT_TRUE(doc.done_mark_in_do) << "the done mark stands from the document's share of doing on";
  EXPECT_EQ(windows, (Calls{"frame", "frame.Do", "v2", "v1", "v3"}));
  for (const TestView* view : {&v1, &v2, &v3}) EXPECT_EQ(view->handed, (Handed{nullptr, sent, &hint_object}));

  // Without an active view the document's order holds.
  windows.clear();
  flags = 0x200000;
  frame.SetActiveView(nullptr);
  doc.RemoveView(&v1);
  EXPECT_TRUE(Send());
  EXPECT_EQ(windows, (Calls{"v2", "v3"}));
}

// The main frame is the framework's frame around the thread's main window, if that window has a
// handle; without one, nothing reaches frame or views.
TEST_F(DocumentUpdateUI, MainFrameIsFoundFromAMainWindowWithAHandle) {
  child.SetParent(&frame);
  AfxGetThread()->m_pMainWnd = &child;
  EXPECT_EQ(MDocument::GetMainFrame(), &frame);
  AfxGetThread()->m_pMainWnd = &frame;
  frame.m_hWnd = nullptr;
  flags = 0x300000;
  EXPECT_TRUE(Send());
  EXPECT_TRUE(windows.empty());
}

}  // namespace
