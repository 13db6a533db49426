#pragma once
// CDataExchange: one UpdateData pass, in which an object's DoDataExchange moves values between
// its members and the controls of its window (DDX_ calls).

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CWnd;

class OSTRUM_API CDataExchange {
 public:
  /// A pass over `dialog`'s controls: `save` TRUE reads them into members.
  CDataExchange(CWnd* dialog, BOOL save) : m_pDlgWnd(dialog), m_bSaveAndValidate(save) {}

  /// Marks the pass failed (a value did not validate); UpdateData then answers FALSE.
  void Fail() { m_failed = true; }
  bool HasFailed() const { return m_failed; }

  CWnd* m_pDlgWnd;
  BOOL m_bSaveAndValidate;

 private:
  bool m_failed = false;
};

/// The text of control `id` and `value`; a missing control leaves the value as it is.
OSTRUM_API void DDX_Text(CDataExchange* dx, int id, CString& value);
/// The text of control `id` as a decimal number; text that is no number fails the pass.
OSTRUM_API void DDX_Text(CDataExchange* dx, int id, int& value);
/// The text of control `id` as a number; text that is no number fails the pass.
OSTRUM_API void DDX_Text(CDataExchange* dx, int id, double& value);
