#include "WizardScenario.h"

#include <string>
#include <vector>

#include "PlannerTrace.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/CDataExchange.h"
#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CView.h"
#include "ostrum/foundation/platform/CWinApp.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Dialog.h"
#include "ostrum/foundation/platform/Focus.h"
#include "ostrum/foundation/platform/HeadlessBackend.h"
#include "ostrum/foundation/platform/Input.h"
#include "ostrum/foundation/platform/MessageBox.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/ModalLoop.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/wizard/IWizardInfoPool.h"
#include "ostrum/wizard/MOperationWizard.h"
#include "ostrum/wizard/MWizard.h"
#include "ostrum/wizard/MWizardStepDialogBar.h"
#include "ostrum/wizard/MWizardStepDialogModal.h"
#include "ostrum/wizard/MWizardStepDialogModeless.h"

namespace planner {

namespace {

// The planner's dialog templates and controls.
constexpr UINT IDD_IMPLANT = 5100;
constexpr UINT IDD_SCREW = 5101;
constexpr UINT IDD_CONFIRM = 5102;
constexpr int IDC_IMPLANT = 5200;
constexpr int IDC_LENGTH = 5201;
constexpr int IDC_ANGLE = 5202;
constexpr int IDC_SUMMARY = 5203;
constexpr int IDC_NEXT = 5300;
constexpr int IDC_BACK = 5301;
constexpr int IDC_FINISH = 5302;

// What the wizard collects.
struct PlanPool : IWizardInfoPool {
  CString implant;
  int screw_length = 0;  // mm
  int screw_angle = 0;   // degrees
};

PlanPool* Plan(IWizardInfoPool* pool) { return static_cast<PlanPool*>(pool); }

void Send(MWizard& wizard, uint32_t action) {
  auto* op = new MOperationWizard(action, &wizard);
  op->DoOperation(nullptr);
}

// Step 1, a bar under the plan: which implant.
class ImplantStep : public MWizardStepDialogBar {
  DECLARE_MESSAGE_MAP()

 public:
  ImplantStep(CFrameWnd* frame, MWizard& wizard) : MWizardStepDialogBar(IDD_IMPLANT, frame), m_wizard(wizard) {}
  void RetrieveInfo(IWizardInfoPool* pool, uint32_t position) override {
    Trace(L"step \"implant\" (" + std::to_wstring(position) + L" of 3): filled from the pool");
    m_implant = Plan(pool)->implant;
  }
  void StoreInfo(IWizardInfoPool* pool) override {
    UpdateData(TRUE);
    Plan(pool)->implant = m_implant;
    Trace(L"step \"implant\": stores \"" + m_implant.Str() + L"\"");
  }
  bool CheckInfoPoolIntegrity(const IWizardInfoPool* const) const override { return true; }
  CString GetId() override { return L"implant"; }

 protected:
  void DoDataExchange(CDataExchange* dx) override { DDX_Text(dx, IDC_IMPLANT, m_implant); }
  void OnNext() { Send(m_wizard, MOperationWizard::ACTION_WIZARD_NEXT); }

 private:
  MWizard& m_wizard;
  CString m_implant;
};

BEGIN_MESSAGE_MAP(ImplantStep, MWizardStepDialogBar)
  ON_COMMAND(IDC_NEXT, OnNext)
END_MESSAGE_MAP()

// Step 2, a modal dialog: the screw's length and angle. Next is refused for a length outside
// what the implant takes, so the user stays and corrects it.
class ScrewStep : public MWizardStepDialogModal {
  DECLARE_MESSAGE_MAP()

 public:
  explicit ScrewStep(MWizard& wizard) : MWizardStepDialogModal(IDD_SCREW, nullptr), m_wizard(wizard) {}
  void RetrieveInfo(IWizardInfoPool* pool, uint32_t position) override {
    Trace(L"step \"screw\" (" + std::to_wstring(position) + L" of 3): filled from the pool");
    m_pool = Plan(pool);
    m_length = m_pool->screw_length;
    m_angle = m_pool->screw_angle;
  }
  bool ShowStep() override {
    Trace(L"step \"screw\": the modal dialog opens");
    const bool moved = MWizardStepDialogModal::ShowStep();
    Trace(std::wstring(L"step \"screw\": the dialog's loop returned, ") +
          (moved ? L"closed by a wizard move" : L"closed otherwise"));
    return moved;
  }
  void StoreInfo(IWizardInfoPool* pool) override {
    if (m_hWnd) UpdateData(TRUE);
    Plan(pool)->screw_length = m_length;
    Plan(pool)->screw_angle = m_angle;
    Trace(L"step \"screw\": stores " + std::to_wstring(m_length) + L" mm at " + std::to_wstring(m_angle) + L" degrees");
  }
  bool CheckInfoPoolIntegrity(const IWizardInfoPool* const) const override {
    const bool fits = m_checked_length > 0 && m_checked_length <= 80;
    Trace(L"step \"screw\": checks the length " + std::to_wstring(m_checked_length) + L" mm: " +
          (fits ? L"fits" : L"does not fit the implant, the step stays"));
    return fits;
  }
  CString GetId() override { return L"screw"; }

 protected:
  void DoDataExchange(CDataExchange* dx) override {
    DDX_Text(dx, IDC_LENGTH, m_length);
    DDX_Text(dx, IDC_ANGLE, m_angle);
  }
  // The dialog's input is read before the wizard asks whether it may go on.
  void OnNext() {
    int length = m_length;
    if (UpdateData(TRUE)) length = m_length;
    m_checked_length = length;
    Trace(L"step \"screw\": Next pressed inside the dialog");
    Send(m_wizard, MOperationWizard::ACTION_WIZARD_NEXT);
  }
  void OnBack() { Send(m_wizard, MOperationWizard::ACTION_WIZARD_PREVIOUS); }

 private:
  MWizard& m_wizard;
  PlanPool* m_pool = nullptr;
  int m_length = 0;
  int m_angle = 0;
  int m_checked_length = 0;
};

BEGIN_MESSAGE_MAP(ScrewStep, MWizardStepDialogModal)
  ON_COMMAND(IDC_NEXT, OnNext)
  ON_COMMAND(IDC_BACK, OnBack)
END_MESSAGE_MAP()

// Step 3, a dialog beside the plan: the summary to confirm.
class ConfirmStep : public MWizardStepDialogModeless {
  DECLARE_MESSAGE_MAP()

 public:
  ConfirmStep(CWnd* parent, MWizard& wizard) : MWizardStepDialogModeless(IDD_CONFIRM, parent), m_wizard(wizard) {}
  void RetrieveInfo(IWizardInfoPool* pool, uint32_t position) override {
    Trace(L"step \"confirm\" (" + std::to_wstring(position) + L" of 3): filled from the pool");
    const PlanPool& plan = *Plan(pool);
    m_summary = plan.implant + CString(L", screw ") + CString(std::to_wstring(plan.screw_length)) + CString(L" mm at ") +
                CString(std::to_wstring(plan.screw_angle)) + CString(L" degrees");
    if (m_hWnd) UpdateData(FALSE);
  }
  void StoreInfo(IWizardInfoPool*) override { Trace(L"step \"confirm\": nothing to store"); }
  CString GetId() override { return L"confirm"; }

 protected:
  void DoDataExchange(CDataExchange* dx) override { DDX_Text(dx, IDC_SUMMARY, m_summary); }
  void OnFinish() { Send(m_wizard, MOperationWizard::ACTION_WIZARD_NEXT); }

 private:
  MWizard& m_wizard;
  CString m_summary;
};

BEGIN_MESSAGE_MAP(ConfirmStep, MWizardStepDialogModeless)
  ON_COMMAND(IDC_FINISH, OnFinish)
END_MESSAGE_MAP()

const wchar_t* ActionName(uint32_t action) {
  switch (action) {
    case MOperationWizard::ACTION_WIZARD_START: return L"Start wizard";
    case MOperationWizard::ACTION_WIZARD_END: return L"Cancel wizard";
    case MOperationWizard::ACTION_WIZARD_FINISH: return L"Finish wizard";
    case MOperationWizard::ACTION_WIZARD_NEXT: return L"Next step";
    case MOperationWizard::ACTION_WIZARD_PREVIOUS: return L"Previous step";
    case MOperationWizard::ACTION_WIZARD_GOTO: return L"Go to step";
    case MOperationWizard::ACTION_WIZARD_ENABLE: return L"Enable step";
    default: return L"Disable step";
  }
}

// The planner's document for the wizard: it shows every operation it publishes and keeps the
// list.
class WizardDocument : public MDocument {
 public:
  WizardDocument() { m_doc_loaded = true; }
  std::vector<uint32_t> published;

 protected:
  bool _DoOperation(MOperation* op) override {
    Trace(L"document publishes operation " + std::to_wstring(op->GetAction()) + L" (" + ActionName(op->GetAction()) +
          L")");
    published.push_back(op->GetAction());
    return MDocument::_DoOperation(op);
  }
};

// The scripted user: types into a control and clicks a button with the mouse.
void TypeInto(HWND dialog, int id, const wchar_t* text) {
  SetDlgItemTextW(dialog, id, text);
  Trace(L"user types \"" + std::wstring(text) + L"\"");
}

void ClickButton(HWND dialog, int id, const wchar_t* name) {
  HWND button = GetDlgItem(dialog, id);
  POINT at{4, 4};
  ClientToScreen(button, &at);
  Trace(L"user clicks " + std::wstring(name));
  TraceScope scope;
  Ostrum::Desktop::InputMouseMove(at);
  Ostrum::Desktop::InputMouseButton(Ostrum::Desktop::MouseButton::Left, true);
  Ostrum::Desktop::InputMouseButton(Ostrum::Desktop::MouseButton::Left, false);
  Ostrum::Desktop::PumpWaitingMessages();
}

void RegisterTemplates() {
  using Ostrum::Desktop::DialogTemplate;
  DialogTemplate implant;
  implant.width = 400;
  implant.height = 40;
  implant.controls = {{L"STATIC", 0, L"Implant:", {5, 10, 70, 30}, 0},
                      {L"EDIT", static_cast<UINT>(IDC_IMPLANT), L"", {75, 8, 300, 32}, 0},
                      {L"BUTTON", static_cast<UINT>(IDC_NEXT), L"Next >", {310, 8, 390, 32}, 0}};
  Ostrum::Desktop::SetDialogTemplate(IDD_IMPLANT, implant);
  DialogTemplate screw;
  screw.caption = L"Place screw";
  screw.width = 260;
  screw.height = 110;
  screw.controls = {{L"EDIT", static_cast<UINT>(IDC_LENGTH), L"", {10, 10, 250, 30}, 0},
                    {L"EDIT", static_cast<UINT>(IDC_ANGLE), L"", {10, 40, 250, 60}, 0},
                    {L"BUTTON", static_cast<UINT>(IDC_BACK), L"< Back", {10, 75, 90, 100}, 0},
                    {L"BUTTON", static_cast<UINT>(IDC_NEXT), L"Next >", {100, 75, 180, 100}, 0},
                    {L"BUTTON", static_cast<UINT>(IDCANCEL), L"Cancel", {190, 75, 250, 100}, 0}};
  Ostrum::Desktop::SetDialogTemplate(IDD_SCREW, screw);
  DialogTemplate confirm;
  confirm.caption = L"Confirm plan";
  confirm.width = 300;
  confirm.height = 80;
  confirm.controls = {{L"STATIC", static_cast<UINT>(IDC_SUMMARY), L"", {10, 10, 290, 40}, 0},
                      {L"BUTTON", static_cast<UINT>(IDC_FINISH), L"Finish", {200, 50, 290, 75}, 0}};
  Ostrum::Desktop::SetDialogTemplate(IDD_CONFIRM, confirm);
}

std::wstring ItemText(HWND dialog, int id) {
  wchar_t text[256];
  GetDlgItemTextW(dialog, id, text, 256);
  return text;
}

}  // namespace

void RunWizardScenario() {
  Heading(L"a planning wizard of three steps");
  RegisterTemplates();
  WizardDocument doc;

  // The main frame with the plan's view, as the planner's window.
  WNDCLASSW wc;
  wc.lpfnWndProc = DefWindowProcW;
  wc.lpszClassName = L"Planner.Frame";
  AfxRegisterClass(&wc);
  CFrameWnd frame;
  CView view;
  frame.CreateEx(0, wc.lpszClassName, L"Planner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 1000, 700, nullptr, 0);
  view.CreateEx(0, wc.lpszClassName, nullptr, WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, frame.GetSafeHwnd(), 0xE900);
  frame.SetActiveView(&view);
  CWnd* previous_main = AfxGetThread()->m_pMainWnd;
  AfxGetThread()->m_pMainWnd = &frame;

  {
    MWizard wizard;
    auto* implant = new ImplantStep(&frame, wizard);
    auto* screw = new ScrewStep(wizard);
    auto* confirm = new ConfirmStep(&frame, wizard);
    wizard.AddStep(implant);
    wizard.AddStep(screw);
    wizard.AddStep(confirm);

    // The user's answers in the screw dialog: a length that does not fit, then one that does.
    int screw_dialogs = 0;
    Ostrum::Desktop::GetHeadlessBackend().SetModalResponder([&](Ostrum::Desktop::ModalFrame& modal) {
      if (modal.kind != Ostrum::Desktop::ModalKind::Dialog) return false;
      ++screw_dialogs;
      TraceScope scope;
      Trace(L"the screw dialog waits for the user (its owner, the frame, is " +
            std::wstring(IsWindowEnabled(frame.GetSafeHwnd()) ? L"enabled)" : L"disabled)"));
      TypeInto(modal.window, IDC_LENGTH, L"120");
      TypeInto(modal.window, IDC_ANGLE, L"15");
      ClickButton(modal.window, IDC_NEXT, L"Next > in the dialog");
      Trace(std::wstring(L"the dialog is ") + (modal.ended ? L"closing" : L"still open"));
      TypeInto(modal.window, IDC_LENGTH, L"42");
      ClickButton(modal.window, IDC_NEXT, L"Next > in the dialog");
      Trace(std::wstring(L"the dialog is ") + (modal.ended ? L"closing; the move waits for its loop to return" : L"still open"));
      return true;
    });

    Trace(L"user starts the wizard");
    {
      TraceScope scope;
      auto* start = new MOperationWizard(MOperationWizard::ACTION_WIZARD_START, &wizard);
      auto* pool = new PlanPool;
      pool->screw_length = 30;
      start->SetInfoPool(pool);
      start->DoOperation(nullptr);
    }
    Trace(L"the implant bar is " + std::wstring(IsWindowVisible(implant->GetSafeHwnd()) ? L"shown" : L"hidden") +
          L", docked at the bottom of the frame");
    TypeInto(implant->GetSafeHwnd(), IDC_IMPLANT, L"tibial plate TP-4");
    ClickButton(implant->GetSafeHwnd(), IDC_NEXT, L"Next > on the bar");
    Trace(L"the confirm dialog shows \"" + ItemText(confirm->GetSafeHwnd(), IDC_SUMMARY) + L"\"");
    ClickButton(confirm->GetSafeHwnd(), IDC_FINISH, L"Finish");
    Ostrum::Desktop::GetHeadlessBackend().SetModalResponder(nullptr);

    Trace(std::wstring(L"the wizard is ") + (wizard.IsRunning() ? L"still running" : L"finished") +
          L"; the screw dialog was opened " + std::to_wstring(screw_dialogs) + L" time(s); the focus is " +
          (GetFocus() == view.GetSafeHwnd() ? L"back on the plan's view" : L"elsewhere"));
    const PlanPool& plan = *static_cast<const PlanPool*>(wizard.GetInfoPool());
    Trace(L"the pool at the end: implant \"" + plan.implant.Str() + L"\", screw " + std::to_wstring(plan.screw_length) +
          L" mm at " + std::to_wstring(plan.screw_angle) + L" degrees");
    std::wstring list;
    for (uint32_t action : doc.published)
      list += (list.empty() ? L"" : L", ") + std::to_wstring(action) + L" " + ActionName(action);
    Trace(L"the operations the wizard produced, in the order the document published them: " + list);
  }

  AfxGetThread()->m_pMainWnd = previous_main;
}

}  // namespace planner
