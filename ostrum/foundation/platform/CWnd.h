#pragma once
// CWnd: the framework's object for a window of the desktop model.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CObject.h"
#include "ostrum/foundation/platform/WinTypes.h"

class OSTRUM_API CWnd : public CCmdTarget {
 public:
  CWnd() = default;
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;
  ~CWnd() override;

  /// The window handle, null while the object has no window.
  HWND GetSafeHwnd() const { return m_hWnd; }
  /// The parent window object, null for a top-level window.
  CWnd* GetParent() const { return m_parent; }
  /// Sets the parent; the window is not owned by its parent.
  void SetParent(CWnd* parent) { m_parent = parent; }

  HWND m_hWnd = nullptr;

 private:
  CWnd* m_parent = nullptr;
};
