#pragma once
// CCmdUI: the question "how should this command look now?", put for one menu item or toolbar
// button at a time, and answered by whoever handles the command.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CMenu;
class CWnd;

/// One command's user-interface state being asked. The default answers are recorded in the
/// object, so that a caller (or a test) reads what the handler said; a menu or a toolbar derives
/// to apply them.
class OSTRUM_API CCmdUI {
 public:
  virtual ~CCmdUI();

  virtual void Enable(BOOL on = TRUE);
  /// 0 unchecked, 1 checked, 2 indeterminate.
  virtual void SetCheck(int check = 1);
  virtual void SetRadio(BOOL on = TRUE);
  virtual void SetText(LPCWSTR text);

  UINT m_nID = 0;                ///< the command asked about
  UINT m_nIndex = 0;             ///< its position in the menu or toolbar
  CMenu* m_pMenu = nullptr;      ///< the menu asking, or null
  CWnd* m_pOther = nullptr;      ///< the toolbar or other window asking, or null
  bool m_enableChanged = false;  ///< somebody answered Enable
  bool m_enabled = true;
  int m_check = 0;
};
