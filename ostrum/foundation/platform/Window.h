#pragma once
// Windows of the desktop model: creation from a registered class, destruction, and the calls a
// procedure needs. A window belongs to the thread that created it; its messages are handled
// there.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// CreateWindowExW's parent for a message-only window: it is never shown, has no parent and
/// receives only what is posted or sent to it and its timers.
#define HWND_MESSAGE (reinterpret_cast<HWND>(intptr_t{-3}))
/// The broadcast address of PostMessageW; broadcasting is not modelled.
#define HWND_BROADCAST (reinterpret_cast<HWND>(intptr_t{0xFFFF}))

constexpr DWORD WS_OVERLAPPED = 0x00000000;
constexpr DWORD WS_POPUP = 0x80000000;
constexpr DWORD WS_CHILD = 0x40000000;
constexpr DWORD WS_VISIBLE = 0x10000000;

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

/// Makes a window of a registered class on the calling thread (`class_name` may be an atom from
/// MAKEINTATOM). The procedure gets WM_NCCREATE (0 cancels) and WM_CREATE (-1 cancels), each
/// with a CREATESTRUCTW; a cancelled window is destroyed again and the answer is null.
/// `parent` is HWND_MESSAGE for a message-only window, null for a top-level one, or a window of
/// the calling thread. Null with ERROR_CANNOT_FIND_WND_CLASS or ERROR_INVALID_WINDOW_HANDLE.
OSTRUM_API HWND CreateWindowExW(DWORD ex_style, LPCWSTR class_name, LPCWSTR window_name, DWORD style,
                                int x, int y, int width, int height, HWND parent, HMENU menu,
                                HINSTANCE instance, LPVOID param);
/// Destroys a window of the calling thread: WM_DESTROY to it, then its children are destroyed,
/// then WM_NCDESTROY to it. Its timers are killed and what was posted to it is dropped; an
/// attached CWnd loses its handle. FALSE with ERROR_ACCESS_DENIED for another thread's window,
/// ERROR_INVALID_WINDOW_HANDLE for no window.
OSTRUM_API BOOL DestroyWindow(HWND hwnd);
/// Whether `hwnd` is a window now. Handles are never reused, so an old handle answers FALSE.
OSTRUM_API BOOL IsWindow(HWND hwnd);
/// The default handling: TRUE for WM_NCCREATE, DestroyWindow for WM_CLOSE, 0 for the rest.
OSTRUM_API LRESULT DefWindowProcW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
/// Calls the window's procedure at once and answers its result. Only a window of the calling
/// thread can be sent to here; another thread's window answers 0 with ERROR_ACCESS_DENIED.
OSTRUM_API LRESULT SendMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
/// The model number of the thread that owns the window (0 for no window); the process id goes
/// to `process_id` if it is not null.
OSTRUM_API DWORD GetWindowThreadProcessId(HWND hwnd, DWORD* process_id);
/// The parent of a child window; null for top-level and message-only windows.
OSTRUM_API HWND GetParent(HWND hwnd);
/// Copies the window's class name into `buffer` (at most `size` characters with the final
/// zero) and answers its length; 0 for no window.
OSTRUM_API int GetClassNameW(HWND hwnd, LPWSTR buffer, int size);
