#pragma once
// Windows of the desktop model: creation from a registered class, destruction, and the calls a
// procedure needs. A window belongs to the thread that created it; its messages are handled
// there.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// CreateWindowExW's parent for a message-only window: it is never shown, has no parent and
/// receives only what is posted or sent to it and its timers.
#define HWND_MESSAGE (reinterpret_cast<HWND>(intptr_t{-3}))
/// The broadcast address of PostMessageW; broadcasting is not modelled.
#define HWND_BROADCAST (reinterpret_cast<HWND>(intptr_t{0xFFFF}))

/// What WM_NCCREATE and WM_CREATE receive in lParam: the arguments of CreateWindowExW.
struct CREATESTRUCTW {
  LPVOID lpCreateParams = nullptr;
  HINSTANCE hInstance = nullptr;
  HMENU hMenu = nullptr;
  HWND hwndParent = nullptr;
  int cy = 0;
  int cx = 0;
  int y = 0;
  int x = 0;
  LONG style = 0;
  LPCWSTR lpszName = nullptr;
  LPCWSTR lpszClass = nullptr;
  DWORD dwExStyle = 0;
};

// GetWindowLongPtrW's fields.
constexpr int GWLP_WNDPROC = -4;
constexpr int GWLP_HINSTANCE = -6;
constexpr int GWLP_HWNDPARENT = -8;
constexpr int GWLP_ID = -12;
constexpr int GWL_STYLE = -16;
constexpr int GWL_EXSTYLE = -20;
constexpr int GWLP_USERDATA = -21;

/// Makes a window of a registered class on the calling thread (`class_name` may be an atom from
/// MAKEINTATOM). `parent` is HWND_MESSAGE for a message-only window, the parent of a WS_CHILD
/// window, the owner of a top-level one (its top-level window is meant), or null. A child's
/// rectangle is in the parent's client coordinates, a top-level's in screen coordinates
/// (CW_USEDEFAULT lets the model choose); `menu` is a child's control id. The window comes to
/// the top of its siblings; its procedure gets WM_NCCREATE (0 cancels), WM_NCCALCSIZE (the
/// client area), WM_CREATE (-1 cancels), WM_SIZE and WM_MOVE, and with WS_VISIBLE it is then
/// shown (WM_SHOWWINDOW, painting, and activation for a top-level window). A cancelled window
/// is destroyed again and the answer is null. A CWnd being created (CWnd::CreateEx) is
/// attached before the first message. Null with ERROR_CANNOT_FIND_WND_CLASS,
/// ERROR_INVALID_WINDOW_HANDLE or ERROR_TLW_WITH_WSCHILD.
OSTRUM_API HWND CreateWindowExW(DWORD ex_style, LPCWSTR class_name, LPCWSTR window_name, DWORD style,
                                int x, int y, int width, int height, HWND parent, HMENU menu,
                                HINSTANCE instance, LPVOID param);
/// Destroys a window of the calling thread: the windows it owns first; capture, focus and
/// activation leave it (another window of the thread is activated); then WM_DESTROY to it, its
/// children are destroyed, and WM_NCDESTROY to it. Its timers are killed and what was posted
/// to it is dropped; an attached CWnd loses its handle. FALSE with ERROR_ACCESS_DENIED for
/// another thread's window, ERROR_INVALID_WINDOW_HANDLE for no window.
OSTRUM_API BOOL DestroyWindow(HWND hwnd);
/// Whether `hwnd` is a window now. Handles are never reused, so an old handle answers FALSE.
OSTRUM_API BOOL IsWindow(HWND hwnd);
/// The desktop's default handling of a message; see DefWindowProc.cpp for the table. Messages
/// it does not know answer 0.
OSTRUM_API LRESULT DefWindowProcW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
/// Calls the window's procedure at once and answers its result. Only a window of the calling
/// thread can be sent to here; another thread's window answers 0 with ERROR_ACCESS_DENIED.
OSTRUM_API LRESULT SendMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
/// Calls `proc` with the message, as a procedure that replaced another calls the one before.
OSTRUM_API LRESULT CallWindowProcW(WNDPROC proc, HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
/// The model number of the thread that owns the window (0 for no window); the process id goes
/// to `process_id` if it is not null.
OSTRUM_API DWORD GetWindowThreadProcessId(HWND hwnd, DWORD* process_id);
/// The parent of a child window, the owner of a WS_POPUP window; null for other top-level and
/// message-only windows.
OSTRUM_API HWND GetParent(HWND hwnd);
/// Copies the window's class name into `buffer` (at most `size` characters with the final
/// zero) and answers its length; 0 for no window.
OSTRUM_API int GetClassNameW(HWND hwnd, LPWSTR buffer, int size);
/// Sets the window's text through WM_SETTEXT.
OSTRUM_API BOOL SetWindowTextW(HWND hwnd, LPCWSTR text);
/// Copies the window's text (WM_GETTEXT for a window of the calling thread) into `buffer`, at
/// most `size` characters with the final zero; answers the characters copied.
OSTRUM_API int GetWindowTextW(HWND hwnd, LPWSTR buffer, int size);
/// The length of the window's text.
OSTRUM_API int GetWindowTextLengthW(HWND hwnd);
/// A field of the window (GWL_STYLE, GWL_EXSTYLE, GWLP_ID, GWLP_USERDATA, GWLP_WNDPROC,
/// GWLP_HINSTANCE, GWLP_HWNDPARENT: the owner); 0 with the last error for no window or field.
OSTRUM_API LONG_PTR GetWindowLongPtrW(HWND hwnd, int index);
/// Sets a field (GWL_STYLE, GWL_EXSTYLE, GWLP_ID, GWLP_USERDATA, GWLP_WNDPROC) of a window of
/// the calling thread and answers the old value. Style changes take effect without messages;
/// a window made invisible this way has nothing left to paint.
OSTRUM_API LONG_PTR SetWindowLongPtrW(HWND hwnd, int index, LONG_PTR value);
/// A child window's control id; 0 for a top-level window or no window.
OSTRUM_API int GetDlgCtrlID(HWND hwnd);
