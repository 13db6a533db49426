// The step kinds on the desktop model: a modal step that receives requests while its dialog
// runs and carries them out after it, a group standing for alternatives, a bar docked into the
// main frame with its help, and a modeless dialog; the focus goes back to the active view when
// a page window goes.

#include <gtest/gtest.h>

#include "WizardTestSupport.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/CDataExchange.h"
#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CView.h"
#include "ostrum/foundation/platform/CWinApp.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Help.h"
#include "ostrum/foundation/platform/MessageBox.h"
#include "ostrum/wizard/MWizardStepDialogBar.h"
#include "ostrum/wizard/MWizardStepDialogModal.h"
#include "ostrum/wizard/MWizardStepDialogModalResizable.h"
#include "ostrum/wizard/MWizardStepDialogModeless.h"
#include "ostrum/wizard/MWizardStepMutexGroup.h"
#include "support/DesktopFixture.h"
#include "support/DialogView.h"

namespace {

using Ostrum::Desktop::ModalFrame;
using W = MOperationWizard;

constexpr UINT IDD_PAGE = 400;
constexpr UINT IDD_BAR_PAGE = 401;
constexpr int IDC_LENGTH = 1002;
constexpr int IDC_NEXT = 2001;

CString Wide(const std::string& id) { return CString(std::wstring(id.begin(), id.end())); }

// A modal page asking for the screw's length, with a Next button that asks the wizard to move.
class ModalPage : public MWizardStepDialogModal {
  DECLARE_MESSAGE_MAP()

 public:
  ModalPage(std::string id, MWizard& wizard, CallLog* log)
      : MWizardStepDialogModal(IDD_PAGE, nullptr), m_id(std::move(id)), m_wizard(wizard), m_log(log) {}
  int length = 0;

  void RetrieveInfo(IWizardInfoPool* pool, uint32_t position) override {
    Log("Retrieve(" + std::to_string(position) + ")");
    length = static_cast<PlanPool*>(pool)->screw_length;
  }
  void StoreInfo(IWizardInfoPool* pool) override {
    Log("Store");
    if (m_hWnd) UpdateData(TRUE);
    static_cast<PlanPool*>(pool)->screw_length = length;
  }
  bool ShowStep() override {
    Log("Show");
    const bool shown = MWizardStepDialogModal::ShowStep();
    Log(shown ? "Shown" : "ShowFalse");
    return shown;
  }
  void HideStep() override {
    Log("Hide");
    MWizardStepDialogModal::HideStep();
  }
  CString GetId() override { return Wide(m_id); }

 protected:
  void DoDataExchange(CDataExchange* dx) override { DDX_Text(dx, IDC_LENGTH, length); }
  void OnNext() { SendWizard(m_wizard, W::ACTION_WIZARD_NEXT); }

 private:
  void Log(const std::string& what) { LogCall(m_log, m_id + "." + what); }
  std::string m_id;
  MWizard& m_wizard;
  CallLog* m_log;
};

BEGIN_MESSAGE_MAP(ModalPage, MWizardStepDialogModal)
  ON_COMMAND(IDC_NEXT, OnNext)
END_MESSAGE_MAP()

class ModalSteps : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    Ostrum::Desktop::DialogTemplate page;
    page.caption = L"Screw";
    page.width = 240;
    page.height = 100;
    page.controls = {{L"EDIT", IDC_LENGTH, L"", {10, 10, 230, 30}, 0},
                     {L"BUTTON", IDC_NEXT, L"Next", {10, 60, 110, 90}, 0},
                     {L"BUTTON", IDCANCEL, L"Cancel", {130, 60, 230, 90}, 0}};
    Ostrum::Desktop::SetDialogTemplate(IDD_PAGE, page);
    wizard.AddStep(new LoggingStep("a", &log));
    modal = new ModalPage("m", wizard, &log);
    wizard.AddStep(modal);
    wizard.AddStep(new LoggingStep("c", &log));
    pool = new PlanPool;
    pool->screw_length = 30;
    SendWizard(wizard, W::ACTION_WIZARD_START, nullptr, pool);
    log.clear();
  }

  CallLog log;
  Ostrum::DeferredTaskManager::ScopedSession session;
  ObservingDocument doc{&log};
  TestWizard wizard;
  ModalPage* modal = nullptr;
  PlanPool* pool = nullptr;
};

TEST_F(ModalSteps, AMoveAskedForInsideAModalStepIsCarriedOutAfterItsDialogReturned) {
  desk.ExpectModal("screw page", [&](ModalFrame& frame) {
    EXPECT_TRUE(wizard.Delaying());
    DialogView page(frame);
    EXPECT_EQ(page.Text(IDC_LENGTH), L"30") << "filled from the pool";
    page.SetText(IDC_LENGTH, L"40");
    user.Click(page.Item(IDC_NEXT), {5, 5});
    // The page was stored and hidden inside the click; the next page waits for the loop.
    EXPECT_EQ(wizard.Current(), MWizard::NO_STEP);
    EXPECT_TRUE(frame.ended);
    log.push_back("click done");
  });
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "a.Store", "a.Hide", "m.Retrieve(2)", "m.Show",
                        // inside the dialog's loop
                        "m.Store", "m.Hide", "op:76503", "ui:76503", "click done",
                        // after it, at the outer level: no dialog inside a dialog
                        "m.Shown", "c.Retrieve(3)", "c.Show", "op:76503", "ui:76503"}));
  EXPECT_EQ(pool->screw_length, 40);
  EXPECT_FALSE(wizard.Delaying());
  EXPECT_EQ(wizard.Current(), 2u);
  EXPECT_EQ(modal->GetSafeHwnd(), nullptr);
}

TEST_F(ModalSteps, OfSeveralMovesAskedInsideAModalStepTheLastIsCarriedOut) {
  desk.ExpectModal("screw page", [&](ModalFrame&) {
    SendWizard(wizard, W::ACTION_WIZARD_GOTO, L"a");
    SendWizard(wizard, W::ACTION_WIZARD_GOTO, L"c");
  });
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "a.Store", "a.Hide", "m.Retrieve(2)", "m.Show", "m.Store", "m.Hide", "op:76505",
                        "ui:76505", "op:76505", "ui:76505", "m.Shown", "c.Retrieve(3)", "c.Show", "op:76503",
                        "ui:76503"}));
}

TEST_F(ModalSteps, CancellingInsideAModalStepDropsTheMoveItWaitedFor) {
  desk.ExpectModal("screw page", [&](ModalFrame& frame) {
    DialogView(frame).Click(IDC_NEXT);
    SendWizard(wizard, W::ACTION_WIZARD_END);
  });
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "a.Store", "a.Hide", "m.Retrieve(2)", "m.Show", "m.Store", "m.Hide", "op:76503",
                        "ui:76503", "a.Destroy", "c.Destroy", "op:76501", "ui:76501", "m.Shown", "op:76503",
                        "ui:76503"}));
  EXPECT_FALSE(wizard.IsRunning());
  EXPECT_FALSE(wizard.Delaying());
  EXPECT_EQ(wizard.GetInfoPool(), pool);
}

TEST_F(ModalSteps, FinishingFromInsideAModalStepEndsWithNothingShownAfterIt) {
  desk.ExpectModal("screw page", [&](ModalFrame&) { SendWizard(wizard, W::ACTION_WIZARD_FINISH); });
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "a.Store", "a.Hide", "m.Retrieve(2)", "m.Show", "m.Store", "m.Hide", "a.Destroy",
                        "c.Destroy", "op:76502", "ui:76502", "m.Shown", "op:76503", "ui:76503"}));
  EXPECT_FALSE(wizard.IsRunning());
}

TEST_F(ModalSteps, ADialogClosedOtherThanByAMoveLeavesTheWizardWaitingOnItsStep) {
  desk.ExpectModal("screw page", [&](ModalFrame& frame) { DialogView(frame).Click(IDCANCEL); });
  SendWizard(wizard, W::ACTION_WIZARD_NEXT);
  EXPECT_EQ(log, (Calls{"a.Check", "a.Store", "a.Hide", "m.Retrieve(2)", "m.Show", "m.ShowFalse", "op:76503",
                        "ui:76503"}));
  EXPECT_TRUE(wizard.IsRunning());
  EXPECT_TRUE(wizard.Delaying());
  EXPECT_EQ(wizard.Current(), 1u);
  // The host moves it on: no dialog is running any more, so the move is not delayed.
  log.clear();
  SendWizard(wizard, W::ACTION_WIZARD_GOTO, L"a");
  EXPECT_EQ(log, (Calls{"m.Store", "m.Hide", "a.Retrieve(1)", "a.Show", "op:76505", "ui:76505"}));
  EXPECT_FALSE(wizard.Delaying());
  EXPECT_EQ(pool->screw_length, 30) << "the closed page's controls are gone; its members stand";
}

// A group whose member in effect the host chooses.
class ScrewKind : public MWizardStepMutexGroup {
 public:
  void Choose(unsigned member) { m_active = member; }
  CString GetId() override { return L"kind"; }
};

TEST(WizardStepMutexGroup, OnlyTheActiveMemberIsShownButAllArePreparedAndDestroyed) {
  CallLog log;
  ScrewKind empty;
  EXPECT_EQ(empty.GetStep(CString(L"x")), nullptr);
  EXPECT_EQ(empty.GetStep(size_t{0}), nullptr);
  EXPECT_FALSE(empty.DelayStepRequests());

  ScrewKind group;
  auto* cortical = new LoggingStep("cortical", &log);
  auto* locking = new LoggingStep("locking", &log);
  locking->delays = true;
  locking->integrity = false;
  group.AddStep(cortical);
  group.AddStep(locking);
  EXPECT_EQ(group.GetStepsCount(), 2u);
  EXPECT_EQ(group.GetStep(CString(L"locking")), locking);
  EXPECT_EQ(group.GetUniqueId(), CString(L"kind"));
  PlanPool pool;
  group.CreateStep();
  group.RetrieveInfo(&pool, 2);
  EXPECT_TRUE(group.ShowStep());
  EXPECT_FALSE(group.DelayStepRequests());
  EXPECT_TRUE(group.CheckInfoPoolIntegrity(&pool));
  group.Choose(1);
  EXPECT_TRUE(group.DelayStepRequests()) << "a group with a modal member in effect is modal";
  EXPECT_FALSE(group.CheckInfoPoolIntegrity(&pool));
  group.StoreInfo(&pool);
  group.HideStep();
  group.DestroyStep();
  EXPECT_EQ(log, (Calls{"cortical.Create", "locking.Create", "cortical.Retrieve(2)", "cortical.Show",
                        "cortical.Check", "locking.Check", "locking.Store", "locking.Hide", "cortical.Destroy", "locking.Destroy"}));
}

// A bar page and a modeless page in a main frame with an active view.
class BarPage : public MWizardStepDialogBar {
 public:
  BarPage(CFrameWnd* frame, CallLog* log) : MWizardStepDialogBar(IDD_BAR_PAGE, frame), m_log(log) {}
  void RetrieveInfo(IWizardInfoPool*, uint32_t) override {}
  void StoreInfo(IWizardInfoPool*) override {}
  CString GetId() override { return L"bar"; }
  BOOL OnInitDialog() override {
    LogCall(m_log, "bar.OnInitDialog");
    return init_answer;
  }
  LRESULT HitTest() { return OnHelpHitTest(0, 0); }
  BOOL init_answer = 1;

 private:
  CallLog* m_log;
};

class ModelessPage : public MWizardStepDialogModeless {
 public:
  explicit ModelessPage(CWnd* parent) : MWizardStepDialogModeless(IDD_PAGE, parent) {}
  void RetrieveInfo(IWizardInfoPool*, uint32_t) override {}
  void StoreInfo(IWizardInfoPool*) override {}
  CString GetId() override { return L"modeless"; }
};

class PageWindows : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    Ostrum::Desktop::DialogTemplate bar;
    bar.width = 200;
    bar.height = 50;
    bar.controls = {{L"EDIT", IDC_LENGTH, L"", {5, 5, 100, 25}, 0}};
    Ostrum::Desktop::SetDialogTemplate(IDD_BAR_PAGE, bar);
    Ostrum::Desktop::DialogTemplate page;
    page.width = 100;
    page.height = 60;
    page.controls = {{L"EDIT", IDC_LENGTH, L"", {5, 5, 90, 25}, 0}};
    Ostrum::Desktop::SetDialogTemplate(IDD_PAGE, page);
    WNDCLASSW wc;
    wc.lpfnWndProc = DefWindowProcW;
    wc.lpszClassName = L"Ostrum.Test.WizardFrame";
    ASSERT_TRUE(AfxRegisterClass(&wc));
    ASSERT_TRUE(frame.CreateEx(0, wc.lpszClassName, L"main", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 800, 600,
                               nullptr, 0));
    ASSERT_TRUE(view.CreateEx(0, wc.lpszClassName, nullptr, WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, frame.GetSafeHwnd(),
                              0xE900));
    frame.SetActiveView(&view);
    AfxGetThread()->m_pMainWnd = &frame;
  }
  void TearDown() override {
    AfxGetThread()->m_pMainWnd = nullptr;
    DesktopTest::TearDown();
  }

  CallLog log;
  CFrameWnd frame;
  CView view;
};

TEST_F(PageWindows, ABarPageIsDockedAtTheBottomWhileShownAndGivesTheFocusBackWhenDestroyed) {
  BarPage page(&frame, &log);
  EXPECT_EQ(page.HitTest(), 0) << "no help before the bar is made";
  page.CreateStep();
  const HWND bar = page.GetSafeHwnd();
  ASSERT_NE(bar, nullptr);
  EXPECT_FALSE(IsWindowVisible(bar));
  page.CreateStep();
  EXPECT_EQ(page.GetSafeHwnd(), bar) << "a second CreateStep only hides";
  EXPECT_EQ(page.HitTest(), static_cast<LRESULT>(IDD_BAR_PAGE + 0x20000));

  EXPECT_TRUE(page.ShowStep());
  EXPECT_EQ(log, (Calls{"bar.OnInitDialog"}));
  EXPECT_TRUE(IsWindowVisible(bar));
  EXPECT_EQ(page.m_pDockSite, &frame);
  EXPECT_EQ(page.m_nDockBarID, AFX_IDW_DOCKBAR_BOTTOM);
  RECT client, r;
  frame.GetClientRect(&client);
  GetWindowRect(bar, &r);
  ScreenToClient(frame.GetSafeHwnd(), reinterpret_cast<POINT*>(&r.left));
  EXPECT_EQ(r.top, client.bottom - 50);
  page.init_answer = 0;
  EXPECT_FALSE(page.ShowStep()) << "the answer of OnInitDialog at every showing";
  page.HideStep();
  EXPECT_FALSE(IsWindowVisible(bar));

  // Help for the bar: its template's context unless the message names one.
  EXPECT_EQ(SendMessageW(bar, WM_COMMANDHELP, 0, 0), 1) << "no application: nothing asked, but a context found";
  {
    CWinApp app;
    EXPECT_EQ(SendMessageW(bar, WM_COMMANDHELP, 0, 0), 1);
    EXPECT_EQ(SendMessageW(bar, WM_COMMANDHELP, 0, 77), 1);
    const auto requests = Ostrum::Desktop::TakeHelpRequests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].context, IDD_BAR_PAGE + 0x20000u);
    EXPECT_EQ(requests[0].command, HELP_CONTEXT);
    EXPECT_EQ(requests[1].context, 77u);
  }
  EXPECT_EQ(SendMessageW(bar, WM_HELPHITTEST, 0, 0), static_cast<LRESULT>(IDD_BAR_PAGE + 0x20000));

  SetFocus(GetDlgItem(bar, IDC_LENGTH));
  page.DestroyStep();
  EXPECT_FALSE(IsWindow(bar));
  EXPECT_EQ(desk.Focus(), view.GetSafeHwnd());
  EXPECT_TRUE(frame.GetControlBars().empty());
  EXPECT_EQ(page.m_pDockContext, nullptr);
}

TEST_F(PageWindows, ABarPageWithoutFrameIsShownThroughTheMainFrameWithoutDocking) {
  BarPage page(nullptr, &log);
  page.CreateStep();
  ASSERT_NE(page.GetSafeHwnd(), nullptr);
  EXPECT_TRUE(page.ShowStep());
  EXPECT_TRUE(IsWindowVisible(page.GetSafeHwnd()));
  EXPECT_EQ(page.m_pDockSite, nullptr);
  EXPECT_EQ(page.GetDockingFrame(), &frame);
  page.HideStep();
  EXPECT_FALSE(IsWindowVisible(page.GetSafeHwnd()));
  page.DestroyStep();
}

TEST_F(PageWindows, AModelessPageIsMadeAtItsFirstShowingAndKeptUntilTheWizardEnds) {
  ModelessPage page(&frame);
  page.CreateStep();
  EXPECT_EQ(page.GetSafeHwnd(), nullptr);
  EXPECT_FALSE(page.DelayStepRequests());
  EXPECT_TRUE(page.ShowStep());
  const HWND dialog = page.GetSafeHwnd();
  ASSERT_NE(dialog, nullptr);
  EXPECT_TRUE(IsWindowVisible(dialog));
  EXPECT_TRUE(IsWindowEnabled(frame.GetSafeHwnd())) << "modeless: the frame stays usable";
  page.HideStep();
  EXPECT_FALSE(IsWindowVisible(dialog));
  EXPECT_TRUE(page.ShowStep());
  EXPECT_EQ(page.GetSafeHwnd(), dialog) << "the same window shown again";
  SetFocus(GetDlgItem(dialog, IDC_LENGTH));
  page.DestroyStep();
  EXPECT_FALSE(IsWindow(dialog));
  EXPECT_EQ(desk.Focus(), view.GetSafeHwnd());
}

class ResizablePage : public MWizardStepDialogModalResizable {
 public:
  ResizablePage() : MWizardStepDialogModalResizable(IDD_PAGE, nullptr) {}
  void RetrieveInfo(IWizardInfoPool*, uint32_t) override {}
  void StoreInfo(IWizardInfoPool*) override {}
  CString GetId() override { return L"resizable"; }
};

TEST_F(PageWindows, AResizableModalPageAnswersTrueOnlyWhenAWizardMoveHidesIt) {
  ResizablePage page;
  EXPECT_TRUE(page.DelayStepRequests());
  desk.ExpectModal("hidden by a move", [&](ModalFrame& running) {
    EXPECT_TRUE(GetWindowLongPtrW(running.window, GWL_STYLE) & WS_THICKFRAME);
    EXPECT_FALSE(IsWindowEnabled(frame.GetSafeHwnd()));
    page.HideStep();
  });
  EXPECT_TRUE(page.ShowStep());
  desk.ExpectModal("closed", [&](ModalFrame& running) { SendMessageW(running.window, WM_CLOSE, 0, 0); });
  EXPECT_FALSE(page.ShowStep());
  page.HideStep();  // no loop runs: nothing to end
}

}  // namespace
