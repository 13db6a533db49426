#pragma once
// CDialog: a window made from a dialog template, shown modeless (Create) or in a modal loop of
// its own (DoModal) that EndDialog, EndModalLoop or the test driver ends.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/Dialog.h"

class OSTRUM_API CDialog : public CWnd {
  DECLARE_MESSAGE_MAP()

 public:
  CDialog() = default;
  /// A dialog of the template `template_id` whose owner is `parent` (null: the thread's main
  /// window).
  explicit CDialog(UINT template_id, CWnd* parent = nullptr);
  ~CDialog() override;

  /// Makes the dialog's window modeless from the template (its controls, then WM_INITDIALOG),
  /// visible if the template's style says WS_VISIBLE. FALSE if the object has a window already
  /// or the template is not there.
  BOOL Create(UINT template_id, CWnd* parent = nullptr);
  /// Create with the template and parent given at construction.
  BOOL Create();
  /// Makes the window, shows it and runs its modal loop with the owner disabled; the window is
  /// destroyed when the loop ends. Answers the result given to EndDialog (IDOK from OnOK,
  /// IDCANCEL from OnCancel), or -1 if the window could not be made.
  virtual INT_PTR DoModal();
  /// Ends the modal loop with `result`; a modeless dialog is hidden.
  void EndDialog(int result);
  /// Called on WM_INITDIALOG, after the controls exist: the default fills them (UpdateData(FALSE))
  /// and answers TRUE.
  virtual BOOL OnInitDialog();
  /// The command IDOK: reads the controls (UpdateData(TRUE)) and, if they validate, ends with IDOK.
  virtual void OnOK();
  /// The command IDCANCEL (also the dialog's close box): ends with IDCANCEL.
  virtual void OnCancel();

  /// The template the dialog is made from.
  UINT GetTemplateId() const { return m_nIDHelp; }
  /// True while DoModal's loop runs.
  bool IsModal() const { return m_modal; }

 protected:
  /// Makes the window from the template, owned by `owner`, hidden; the controls and
  /// WM_INITDIALOG follow, then it is shown if the template's style says so.
  BOOL _CreateFromTemplate(HWND owner);
  /// The owner a dialog of `parent` gets: the parent's top-level window, else the main window.
  static HWND _OwnerOf(CWnd* parent);
  LRESULT HandleInitDialog(WPARAM wParam, LPARAM lParam);
  BOOL OnCommand(WPARAM wParam, LPARAM lParam) override;

  /// The template id, also the dialog's help id.
  UINT m_nIDHelp = 0;
  CWnd* m_pParentWnd = nullptr;
  /// Styles added to the template's when the window is made (a resizable dialog's frame).
  DWORD m_extra_style = 0;

 private:
  bool m_modal = false;
};
