#pragma once
// CDialogBar: a control bar whose content is a dialog template, docked into a frame.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CControlBar.h"

class OSTRUM_API CDialogBar : public CControlBar {
 public:
  CDialogBar() = default;
  ~CDialogBar() override;

  /// Makes the bar's window from the template `template_id` with the control id `id` and the
  /// bar style `style` (CBRS_*; WS_VISIBLE shows it at once): a child of `parent`, or, without
  /// a parent, a tool window owned by the thread's main window. The bar is as high as the
  /// template and as wide as its frame's client area. Its controls are made, then the data
  /// is exchanged into them (UpdateData(FALSE)). FALSE if it has a window or no template.
  virtual BOOL Create(CWnd* parent, UINT template_id, UINT style, UINT id);
  /// The template the bar was made from; 0 before Create.
  UINT GetTemplateId() const { return m_template_id; }

 private:
  UINT m_template_id = 0;
};
