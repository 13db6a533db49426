#pragma once
// MWizardStepDialogBar: a wizard page shown as a dialog bar docked at the bottom of the main
// frame. It does not block, so step requests are carried out at once. The host derives from
// it, exchanges data with the pool in RetrieveInfo and StoreInfo and names the step in GetId.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CDialogBar.h"
#include "ostrum/wizard/IWizardStep.h"

class CFrameWnd;

class OSTRUM_API MWizardStepDialogBar : public CDialogBar, public IWizardStep {
  DECLARE_MESSAGE_MAP()

 public:
  /// A page of the template `dialog_id` docked into `frame` (null: not docked, shown through
  /// the main window's frame).
  MWizardStepDialogBar(unsigned dialog_id, CFrameWnd* frame);
  ~MWizardStepDialogBar() override;

  /// Makes the bar (bottom aligned, border on top) if it has no window, its help id being the
  /// template's; then hides it.
  void CreateStep() override;
  /// Docks the bar at the bottom of the frame, shows it, fills its controls (UpdateData(FALSE))
  /// and runs OnInitDialog: true if that answers 1.
  bool ShowStep() override;
  /// Hides the bar through its docking frame.
  void HideStep() override;
  /// Returns the focus to the active view, destroys the bar's window, takes it out of the
  /// frame's bars and deletes its dock context.
  void DestroyStep() override;
  /// False: the bar does not block.
  bool DelayStepRequests() override { return false; }

  /// Called at every showing, after the data exchange; 1 by default.
  virtual BOOL OnInitDialog();

 protected:
  /// Help for the bar: the context is lParam, or the help id + 0x20000 when lParam is 0; the
  /// application's help is called with it (HELP_CONTEXT) if there is an application. 1 if a
  /// context was found, else 0.
  LRESULT OnCommandHelp(WPARAM wParam, LPARAM lParam);
  /// The help context under the point: 0 without help id, else the help id + 0x20000.
  LRESULT OnHelpHitTest(WPARAM wParam, LPARAM lParam);

  unsigned m_dialog_id;
  CFrameWnd* m_frame;
  unsigned m_help_id = 0;
};
