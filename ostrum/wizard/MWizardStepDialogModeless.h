#pragma once
// MWizardStepDialogModeless: a wizard page shown as a modeless dialog, made at its first
// showing and kept (hidden) between showings until the wizard ends. At the first showing the
// dialog's OnInitDialog fills the controls; later RetrieveInfo calls find them made.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CDialog.h"
#include "ostrum/wizard/IWizardStep.h"

class OSTRUM_API MWizardStepDialogModeless : public CDialog, public IWizardStep {
 public:
  /// A page of the template `template_id` owned by `parent` (null: the main window).
  MWizardStepDialogModeless(unsigned template_id, CWnd* parent);
  ~MWizardStepDialogModeless() override;

  void CreateStep() override {}
  /// Makes the dialog if it has no window, shows it; true.
  bool ShowStep() override;
  /// Hides the dialog's window.
  void HideStep() override;
  /// Returns the focus to the active view and destroys the dialog's window.
  void DestroyStep() override;
  /// False: the dialog does not block.
  bool DelayStepRequests() override { return false; }

 protected:
  unsigned m_dialog_id;
  CWnd* m_parent;
};
