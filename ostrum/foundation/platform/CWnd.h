#pragma once
// CWnd: the framework's object for a window of the desktop model.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CCmdTarget.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/foundation/platform/CRect.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/foundation/platform/MessageMap.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/WinTypes.h"
#include "ostrum/foundation/platform/Window.h"

namespace Ostrum::Desktop::Private {
struct CWndLink;
}

// RunModalLoop's flags.
constexpr DWORD MLF_NOIDLEMSG = 0x0001;  ///< no WM_ENTERIDLE to the owner
constexpr DWORD MLF_NOKICKIDLE = 0x0002;
constexpr DWORD MLF_SHOWONIDLE = 0x0004;

/// The object side of a window. The desktop model's window table is the truth about handles:
/// the object holds a handle while the table attaches it to a window, and loses it when the
/// window is destroyed. A window made by CreateEx reaches the object from its first message on:
/// its messages go through AfxWndProc to WindowProc, OnWndMsg and the message map, and what no
/// handler takes to DefWindowProc (the class's procedure). An object without a window still
/// links to a parent object, which is how the framework's document and view objects are joined
/// before any window exists.
class CDataExchange;
class CDC;

class OSTRUM_API CWnd : public CCmdTarget {
  DECLARE_DYNAMIC(CWnd)
  DECLARE_MESSAGE_MAP()

 public:
  CWnd() = default;
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;
  /// Destroys the attached window if this thread owns it, otherwise only detaches.
  ~CWnd() override;

  /// The window handle, null while the object has no window.
  HWND GetSafeHwnd() const { return m_hWnd; }
  /// The parent window's object (CWnd::FromHandle: a temporary object for a window without
  /// one), the owner for a WS_POPUP window; null for a top-level window. An object without a
  /// window answers the parent object it was given.
  CWnd* GetParent() const;
  /// Sets the parent object; when both objects have windows the model's window is re-parented
  /// too. The window is not owned by its parent. Answers the parent before.
  CWnd* SetParent(CWnd* parent);

  // --- creation and destruction ---
  /// Called by CreateEx before the window is made: may change the class, styles and place.
  /// FALSE stops the creation (PostNcDestroy is called).
  virtual BOOL PreCreateWindow(CREATESTRUCTW& cs);
  /// Makes a window of a registered class on the calling thread (see CreateWindowExW; `parent`
  /// may be HWND_MESSAGE) with this object attached before its first message, so WM_NCCREATE
  /// and WM_CREATE reach the object's handlers. FALSE if the object has a window already or
  /// creation fails.
  BOOL CreateEx(DWORD ex_style, LPCWSTR class_name, LPCWSTR window_name, DWORD style, int x, int y, int width,
                int height, HWND parent, UINT_PTR id, LPVOID param = nullptr);
  /// CreateEx with a rectangle and a parent object.
  BOOL Create(LPCWSTR class_name, LPCWSTR window_name, DWORD style, const RECT& rect, CWnd* parent, UINT id,
              LPVOID param = nullptr);
  /// Destroys the attached window (see ::DestroyWindow); the object stays, without handle.
  virtual BOOL DestroyWindow();
  /// Called after the window's last message (WM_NCDESTROY), once the object has let go of it;
  /// an object that owns itself deletes itself here. The default does nothing.
  virtual void PostNcDestroy();
  /// Attaches this object to a window of the model that has no object; FALSE otherwise. The
  /// window's messages do not reach the object (its procedure stays).
  BOOL Attach(HWND hwnd);
  /// Lets go of the window, which lives on; answers its handle.
  HWND Detach();
  /// The object attached to a window, or null.
  static CWnd* FromHandlePermanent(HWND hwnd);
  /// The object attached to a window; for a window without one, a temporary object of the
  /// calling thread that lives as long as the window. Null for a null handle.
  static CWnd* FromHandle(HWND hwnd);

  // --- messages ---
  /// Every message of the window passes here: OnWndMsg, else DefWindowProc.
  virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
  /// Offers the message to OnCommand (WM_COMMAND), OnNotify (WM_NOTIFY) or the message map;
  /// TRUE with `*result` set if it was handled.
  virtual BOOL OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result);
  /// The handling of a message nobody took: the class's procedure, which the object's window
  /// had before it was routed to the object, or ::DefWindowProcW.
  virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
  /// DefWindowProc with the message being handled now, as it arrived.
  LRESULT Default();
  /// A WM_COMMAND: OnCmdMsg with its id and code (CN_COMMAND for menus and accelerators).
  virtual BOOL OnCommand(WPARAM wParam, LPARAM lParam);
  /// A WM_NOTIFY; the default handles none.
  virtual BOOL OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* result);
  /// A retrieved message before translation and dispatch: TRUE if it was dealt with. The loops
  /// ask every window from the target up to its top-level window (WalkPreTranslateTree). The
  /// default answers FALSE.
  virtual BOOL PreTranslateMessage(MSG* msg);
  /// Asks PreTranslateMessage of the objects of msg->hwnd and its parents, up to `stop`.
  static BOOL WalkPreTranslateTree(HWND stop, MSG* msg);
  /// ::SendMessageW to this object's window.
  LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
  /// ::PostMessageW to this object's window.
  BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

  // --- modal loop ---
  /// Runs a modal loop for this window (see Ostrum::Desktop::RunModalLoop): its owner is
  /// disabled meanwhile; EndModalLoop ends it. Answers EndModalLoop's result.
  int RunModalLoop(DWORD flags = 0);
  /// Ends this window's innermost modal loop with `result`.
  virtual void EndModalLoop(int result);

  // --- dialog data ---
  /// Moves data between the window's controls and the object's members through
  /// DoDataExchange: `save` TRUE reads the controls, FALSE fills them. FALSE if an exchange
  /// failed validation (members exchanged before it keep their new values).
  BOOL UpdateData(BOOL save = TRUE);
  /// The child window with control id `id`, as an object; null if there is none.
  CWnd* GetDlgItem(int id) const;

  // --- the window: each is the model's call of the same name (Window.h, WindowTree.h,
  // WindowPos.h, Paint.h, Timer.h) on this object's window, with its contract; windows come
  // back as objects (FromHandle), null for none ---
  BOOL ShowWindow(int command);
  BOOL IsWindowVisible() const;
  BOOL EnableWindow(BOOL enable = TRUE);
  BOOL IsWindowEnabled() const;
  void MoveWindow(int x, int y, int width, int height, BOOL repaint = TRUE);
  void MoveWindow(LPCRECT rect, BOOL repaint = TRUE);
  void GetWindowRect(LPRECT rect) const;
  void GetClientRect(LPRECT rect) const;
  void ClientToScreen(LPPOINT point) const;
  void ClientToScreen(LPRECT rect) const;
  void ScreenToClient(LPPOINT point) const;
  void ScreenToClient(LPRECT rect) const;
  DWORD GetStyle() const;
  DWORD GetExStyle() const;
  int GetDlgCtrlID() const;
  void SetWindowText(LPCWSTR text);
  void GetWindowText(CString& text) const;
  CWnd* GetTopLevelParent() const;
  BOOL IsChild(const CWnd* window) const;
  void Invalidate(BOOL erase = TRUE);
  void InvalidateRect(LPCRECT rect, BOOL erase = TRUE);
  void ValidateRect(LPCRECT rect);
  void UpdateWindow();
  UINT_PTR SetTimer(UINT_PTR id, UINT elapse_ms, TIMERPROC proc);
  BOOL KillTimer(UINT_PTR id);
  /// Gives this window the focus; answers the window that had it.
  CWnd* SetFocus();
  static CWnd* GetFocus();
  /// Gives this window the mouse capture; answers the window that had it.
  CWnd* SetCapture();
  static CWnd* GetCapture();
  CWnd* SetActiveWindow();
  static CWnd* GetActiveWindow();
  static CWnd* GetForegroundWindow();

  HWND m_hWnd = nullptr;

 protected:
  /// The object's exchange of data with its controls (DDX_ calls); the default exchanges
  /// nothing.
  virtual void DoDataExchange(CDataExchange* dx);

  // Default handlers of the message map's entries: each passes its message on with Default().
  // A derived class names them in its map and may hide them with its own.
  int OnCreate(CREATESTRUCTW* cs);
  int OnNcCreate(CREATESTRUCTW* cs);
  void OnDestroy();
  void OnNcDestroy();
  void OnSize(UINT type, int cx, int cy);
  void OnMove(int x, int y);
  void OnPaint();
  void OnNcPaint();
  BOOL OnEraseBkgnd(CDC* dc);
  void OnNcCalcSize(BOOL calc_valid_rects, NCCALCSIZE_PARAMS* params);
  void OnClose();
  void OnShowWindow(BOOL show, UINT status);
  void OnEnable(BOOL enable);
  void OnTimer(UINT_PTR id);
  void OnSysCommand(UINT id, LPARAM lParam);
  void OnEnterIdle(UINT why, CWnd* who);
  BOOL OnSetCursor(CWnd* window, UINT hit, UINT message);
  int OnMouseActivate(CWnd* top, UINT hit, UINT message);
  void OnMouseMove(UINT flags, CPoint point);
  void OnLButtonDown(UINT flags, CPoint point);
  void OnLButtonUp(UINT flags, CPoint point);
  void OnLButtonDblClk(UINT flags, CPoint point);
  void OnRButtonDown(UINT flags, CPoint point);
  void OnRButtonUp(UINT flags, CPoint point);
  void OnRButtonDblClk(UINT flags, CPoint point);
  void OnMButtonDown(UINT flags, CPoint point);
  void OnMButtonUp(UINT flags, CPoint point);
  void OnMButtonDblClk(UINT flags, CPoint point);
  BOOL OnMouseWheel(UINT flags, short delta, CPoint point);
  void OnCaptureChanged(CWnd* window);
  void OnSetFocus(CWnd* old_window);
  void OnKillFocus(CWnd* new_window);
  void OnActivate(UINT state, CWnd* other, BOOL minimized);
  void OnActivateApp(BOOL active, DWORD thread_id);
  void OnKeyDown(UINT key, UINT repeat, UINT flags);
  void OnKeyUp(UINT key, UINT repeat, UINT flags);
  void OnSysKeyDown(UINT key, UINT repeat, UINT flags);
  void OnSysKeyUp(UINT key, UINT repeat, UINT flags);
  void OnChar(UINT character, UINT repeat, UINT flags);
  void OnContextMenu(CWnd* window, CPoint point);

 private:
  friend struct Ostrum::Desktop::Private::CWndLink;
  CWnd* m_parent = nullptr;        // the parent object while there is no window
  WNDPROC m_super_proc = nullptr;  // the class's procedure, for DefWindowProc
  int m_modal_result = -1;         // EndModalLoop's result when no loop of the window runs
};
