#pragma once
// MWizardStepDialogModal: a wizard page shown as a modal dialog. ShowStep runs the dialog's
// loop; a wizard move from inside it hides the page, which ends the loop with 1, so ShowStep
// answers true and the wizard carries the move out after it. Closing the dialog any other way
// answers false.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CDialog.h"
#include "ostrum/wizard/IWizardStep.h"

class OSTRUM_API MWizardStepDialogModal : public CDialog, public IWizardStep {
 public:
  /// A page of the template `template_id`, modal to `parent` (null: the main window).
  MWizardStepDialogModal(unsigned template_id, CWnd* parent);
  ~MWizardStepDialogModal() override;

  void CreateStep() override {}
  /// DoModal() == 1.
  bool ShowStep() override;
  /// Ends the dialog's loop with 1 (nothing if it is not running).
  void HideStep() override;
  void DestroyStep() override {}
  /// True: ShowStep blocks.
  bool DelayStepRequests() override { return true; }
};
