#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ostrum/document/MMainFrame.h"
#include "ostrum/document/MView.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "support/TestDocument.h"
#include "support/TestOperation.h"

namespace {

using Calls = std::vector<std::string>;

// What a frame or view was handed.
struct Delivery {
  const void* operation;
  const void* param;
  const void* sender;
};

class TestFrame : public MMainFrame {
 public:
  explicit TestFrame(CallLog& log) : m_log(log) {}
  std::vector<Delivery> deliveries;
  void DoUpdateUI(MOperation& operation, void* param) override {
    m_log.Add("frame.DoUpdateUI");
    deliveries.push_back({&operation, param, nullptr});
  }

 private:
  CallLog& m_log;
};

class TestView : public MView {
 public:
  TestView(std::string name, CallLog& log) : m_name(std::move(name)), m_log(log) {}
  std::vector<Delivery> deliveries;
  void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override {
    m_log.Add(m_name + ".OnUpdate");
    deliveries.push_back({reinterpret_cast<const void*>(hint), hint_object, sender});
  }

 private:
  std::string m_name;
  CallLog& m_log;
};

// A view of the desktop framework that is not the framework's MView.
class ForeignView : public CView {
 public:
  explicit ForeignView(CallLog& log) : m_log(log) {}
  void OnUpdate(CView*, LPARAM, CObject*) override { m_log.Add("foreign.OnUpdate"); }

 private:
  CallLog& m_log;
};

// Makes `window` the thread's main window for the scope and takes it back at the end. There is
// no window system behind the desktop model yet: a dummy non-null handle stands for the real
// one, as the document only asks whether the window has one.
class MainWindowScope {
 public:
  explicit MainWindowScope(CWnd* window, bool with_handle = true) : m_window(window) {
    if (window && with_handle) window->m_hWnd = reinterpret_cast<HWND>(std::uintptr_t{1});
    AfxGetThread()->m_pMainWnd = window;
  }
  ~MainWindowScope() {
    AfxGetThread()->m_pMainWnd = nullptr;
    if (m_window) m_window->m_hWnd = nullptr;
  }
  MainWindowScope(const MainWindowScope&) = delete;
  MainWindowScope& operator=(const MainWindowScope&) = delete;

 private:
  CWnd* m_window;
};

// A document with three framework views and a foreign one, v2 being active in the frame.
class DocumentUpdateUI : public testing::Test {
 protected:
  DocumentUpdateUI() {
    doc.AddView(&v1);
    doc.AddView(&foreign);
    doc.AddView(&v2);
    doc.AddView(&v3);
    frame.SetActiveView(&v2);
  }

  /// Runs an operation that does nothing but update, with `flags`; answers its address.
  const void* RunUpdate(uint32_t flags, void* param = nullptr) {
    auto* op = new TestOperation("op", probe);
    op->SetFlags(flags);
    EXPECT_TRUE(doc.DoOperation(op, param));
    return op;
  }

  CallLog log;
  OperationProbe probe{&log};
  TestDocument doc{&log};
  TestFrame frame{log};
  TestView v1{"v1", log}, v2{"v2", log}, v3{"v3", log};
  ForeignView foreign{log};
};

struct UpdateRow {
  const char* name;
  uint32_t flags;
  Calls calls;
};

void PrintTo(const UpdateRow& row, std::ostream* out) { *out << row.name; }

class DocumentUpdateUIByFlags : public DocumentUpdateUI, public testing::WithParamInterface<UpdateRow> {};

TEST_P(DocumentUpdateUIByFlags, ReachesFrameThenActiveViewThenTheOtherViews) {
  MainWindowScope main_window(&frame);
  CCmdTarget param;
  const void* op = RunUpdate(GetParam().flags, &param);
  EXPECT_EQ(log.Entries(), GetParam().calls) << log;
  for (const TestView* view : {&v1, &v2, &v3}) {
    for (const Delivery& d : view->deliveries) {
      EXPECT_EQ(d.operation, op) << "the hint must be the operation";
      EXPECT_EQ(d.param, &param);
      EXPECT_EQ(d.sender, nullptr);
    }
  }
  for (const Delivery& d : frame.deliveries) {
    EXPECT_EQ(d.operation, op);
    EXPECT_EQ(d.param, &param);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Flags, DocumentUpdateUIByFlags,
    testing::Values(
        UpdateRow{"Frame", 0x100000, {"doc.DoUpdateUI", "frame.DoUpdateUI", "op.~"}},
        UpdateRow{"Views", 0x200000, {"doc.DoUpdateUI", "v2.OnUpdate", "v1.OnUpdate", "v3.OnUpdate", "op.~"}},
        UpdateRow{"Both",
                  0x300000,
                  {"doc.DoUpdateUI", "frame.DoUpdateUI", "v2.OnUpdate", "v1.OnUpdate", "v3.OnUpdate", "op.~"}}),
    [](const testing::TestParamInfo<UpdateRow>& info) { return std::string(info.param.name); });

TEST_F(DocumentUpdateUI, ActiveViewGoesFirstOnlyIfItIsAFrameworkView) {
  MainWindowScope main_window(&frame);
  frame.SetActiveView(&foreign);
  RunUpdate(0x200000);
  EXPECT_EQ(log.Entries(), (Calls{"doc.DoUpdateUI", "v1.OnUpdate", "v2.OnUpdate", "v3.OnUpdate", "op.~"})) << log;

  log.Clear();
  frame.SetActiveView(nullptr);
  doc.RemoveView(&v1);
  RunUpdate(0x200000);
  EXPECT_EQ(log.Entries(), (Calls{"doc.DoUpdateUI", "v2.OnUpdate", "v3.OnUpdate", "op.~"})) << log;
}

TEST_F(DocumentUpdateUI, NothingReachesFrameOrViewsWithoutAMainFrame) {
  CFrameWnd plain_frame;
  plain_frame.SetActiveView(&v2);
  CWnd child;
  struct Case {
    const char* name;
    CWnd* main_window;
    bool with_handle;
  };
  for (const Case& c : {Case{"no main window", nullptr, true}, Case{"main window without a handle", &frame, false},
                        Case{"a frame that is not the framework's", &plain_frame, true}}) {
    SCOPED_TRACE(c.name);
    MainWindowScope main_window(c.main_window, c.with_handle);
    EXPECT_EQ(MDocument::GetMainFrame(), nullptr);
    EXPECT_EQ(MDocument::GetActiveView(), nullptr);
    log.Clear();
    RunUpdate(0x300000);
    EXPECT_EQ(log.Entries(), (Calls{"doc.DoUpdateUI", "op.~"})) << log;
  }

  // The main frame is found from a main window inside it, up the parents, unless a frame of
  // another kind comes first.
  child.SetParent(&frame);
  {
    MainWindowScope main_window(&child);
    EXPECT_EQ(MDocument::GetMainFrame(), &frame);
    EXPECT_EQ(MDocument::GetActiveView(), &v2);
  }
  plain_frame.SetParent(&frame);
  child.SetParent(&plain_frame);
  {
    MainWindowScope main_window(&child);
    EXPECT_EQ(MDocument::GetMainFrame(), nullptr);
  }
}

}  // namespace
