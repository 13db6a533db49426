#pragma once
// MWizardStepDialogModalResizable: a wizard page shown as a modal dialog with a sizing frame
// whose controls follow its size (CDlgResize). Behaves as MWizardStepDialogModal.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CDlgResize.h"
#include "ostrum/wizard/IWizardStep.h"

class OSTRUM_API MWizardStepDialogModalResizable : public CDlgResize, public IWizardStep {
 public:
  /// A page of the template `template_id`, modal to `parent` (null: the main window).
  MWizardStepDialogModalResizable(unsigned template_id, CWnd* parent);
  ~MWizardStepDialogModalResizable() override;

  void CreateStep() override {}
  /// DoModal() == 1.
  bool ShowStep() override;
  /// Ends the dialog's loop with 1 (nothing if it is not running).
  void HideStep() override;
  void DestroyStep() override {}
  /// True: ShowStep blocks.
  bool DelayStepRequests() override { return true; }
};
