#include "ostrum/wizard/MWizardStepDialogBar.h"

#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CWinApp.h"
#include "ostrum/foundation/platform/Dialog.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/wizard/private/FocusReturn.h"

BEGIN_MESSAGE_MAP(MWizardStepDialogBar, CDialogBar)
  ON_MESSAGE(WM_COMMANDHELP, OnCommandHelp)
  ON_MESSAGE(WM_HELPHITTEST, OnHelpHitTest)
END_MESSAGE_MAP()

MWizardStepDialogBar::MWizardStepDialogBar(unsigned dialog_id, CFrameWnd* frame)
    : m_dialog_id(dialog_id), m_frame(frame) {}

MWizardStepDialogBar::~MWizardStepDialogBar() = default;

void MWizardStepDialogBar::CreateStep() {
  if (!m_hWnd) {
    Create(m_frame, m_dialog_id, CBRS_ALIGN_BOTTOM | CBRS_BORDER_TOP, m_dialog_id);
    m_help_id = m_dialog_id;
  }
  HideStep();
}

bool MWizardStepDialogBar::ShowStep() {
  EnableDocking(CBRS_ALIGN_BOTTOM);
  if (m_frame) m_frame->DockControlBar(this, AFX_IDW_DOCKBAR_BOTTOM, nullptr);
  if (CFrameWnd* frame = GetDockingFrame())
    frame->ShowControlBar(this, TRUE, FALSE);
  else if (m_hWnd)
    ShowWindow(SW_SHOWNOACTIVATE);
  UpdateData(FALSE);
  return OnInitDialog() == 1;
}

void MWizardStepDialogBar::HideStep() {
  if (CFrameWnd* frame = GetDockingFrame())
    frame->ShowControlBar(this, FALSE, FALSE);
  else if (m_hWnd)
    ShowWindow(SW_HIDE);
}

void MWizardStepDialogBar::DestroyStep() {
  Ostrum::Private::ReturnFocusToActiveView();
  if (m_hWnd) DestroyWindow();
  if (m_frame) m_frame->RemoveControlBar(this);
  delete m_pDockContext;
  m_pDockContext = nullptr;
}

BOOL MWizardStepDialogBar::OnInitDialog() { return 1; }

LRESULT MWizardStepDialogBar::OnCommandHelp(WPARAM, LPARAM lParam) {
  UINT_PTR context = static_cast<UINT_PTR>(lParam);
  if (context == 0 && m_help_id != 0) context = m_help_id + HID_BASE_RESOURCE;
  if (context == 0) return 0;
  if (CWinApp* app = AfxGetApp()) app->WinHelp(context, HELP_CONTEXT);
  return 1;
}

LRESULT MWizardStepDialogBar::OnHelpHitTest(WPARAM, LPARAM) {
  return m_help_id == 0 ? 0 : static_cast<LRESULT>(m_help_id + HID_BASE_RESOURCE);
}
