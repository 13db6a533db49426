// The dialog kinds of wizard pages: modal, modal and resizable, modeless.
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/wizard/MWizardStepDialogModal.h"
#include "ostrum/wizard/MWizardStepDialogModalResizable.h"
#include "ostrum/wizard/MWizardStepDialogModeless.h"
#include "ostrum/wizard/private/FocusReturn.h"

// The result a wizard move ends a modal page with; any other way out gives another.
constexpr int kClosedByWizard = 1;

MWizardStepDialogModal::MWizardStepDialogModal(unsigned template_id, CWnd* parent) : CDialog(template_id, parent) {}

MWizardStepDialogModal::~MWizardStepDialogModal() = default;

bool MWizardStepDialogModal::ShowStep() { return DoModal() == kClosedByWizard; }

void MWizardStepDialogModal::HideStep() {
  if (IsModal()) EndModalLoop(kClosedByWizard);
}

MWizardStepDialogModalResizable::MWizardStepDialogModalResizable(unsigned template_id, CWnd* parent)
    : CDlgResize(template_id, parent) {}

MWizardStepDialogModalResizable::~MWizardStepDialogModalResizable() = default;

bool MWizardStepDialogModalResizable::ShowStep() { return DoModal() == kClosedByWizard; }

void MWizardStepDialogModalResizable::HideStep() {
  if (IsModal()) EndModalLoop(kClosedByWizard);
}

MWizardStepDialogModeless::MWizardStepDialogModeless(unsigned template_id, CWnd* parent)
    : CDialog(template_id, parent), m_dialog_id(template_id), m_parent(parent) {}

MWizardStepDialogModeless::~MWizardStepDialogModeless() = default;

bool MWizardStepDialogModeless::ShowStep() {
  if (!m_hWnd) Create(m_dialog_id, m_parent);
  if (m_hWnd) ShowWindow(SW_SHOW);
  return true;
}

void MWizardStepDialogModeless::HideStep() {
  if (m_hWnd) ShowWindow(SW_HIDE);
}

void MWizardStepDialogModeless::DestroyStep() {
  Ostrum::Private::ReturnFocusToActiveView();
  if (m_hWnd) DestroyWindow();
}
