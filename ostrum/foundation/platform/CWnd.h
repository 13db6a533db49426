#pragma once
// CWnd: the framework's object for a window of the desktop model.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CObject.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// The object side of a window. The desktop model's window table is the truth about handles:
/// the object holds a handle while the table attaches it to a window, and loses it when the
/// window is destroyed. An object without a window still links to a parent object, which is how
/// the framework's document and view objects are joined before any window exists.
class OSTRUM_API CWnd : public CCmdTarget {
 public:
  CWnd() = default;
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;
  /// Destroys the attached window if this thread owns it, otherwise only detaches.
  ~CWnd() override;

  /// The window handle, null while the object has no window.
  HWND GetSafeHwnd() const { return m_hWnd; }
  /// The parent window object, null for a top-level window.
  CWnd* GetParent() const { return m_parent; }
  /// Sets the parent; the window is not owned by its parent. When both objects have windows,
  /// the model's window is re-parented too.
  void SetParent(CWnd* parent);

  /// Makes a window of a registered class on the calling thread (see CreateWindowExW; `parent`
  /// may be HWND_MESSAGE) and attaches this object to it once creation has succeeded, so the
  /// procedure's WM_NCCREATE and WM_CREATE do not find the object yet. The parent object becomes
  /// the one attached to `parent`. FALSE if the object has a window already or creation fails.
  BOOL CreateEx(DWORD ex_style, LPCWSTR class_name, LPCWSTR window_name, DWORD style, int x, int y,
                int width, int height, HWND parent, UINT_PTR id, LPVOID param = nullptr);
  /// Destroys the attached window (see ::DestroyWindow); the object stays, without handle.
  BOOL DestroyWindow();
  /// Attaches this object to a window of the model that has no object; FALSE otherwise.
  BOOL Attach(HWND hwnd);
  /// Lets go of the window, which lives on; answers its handle.
  HWND Detach();
  /// The object attached to a window, or null.
  static CWnd* FromHandlePermanent(HWND hwnd);

  HWND m_hWnd = nullptr;

 private:
  CWnd* m_parent = nullptr;
};
