#pragma once
// The window table of the desktop model: every registered class and every live window, with
// its class, procedure, owning thread and parent. It is the one truth about handles; a CWnd
// holds a handle only while the table attaches it to a window.
//
// One lock guards the table. Procedures are never called under it: callers copy what they need
// out of a record and call afterwards.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CWnd;

namespace Ostrum::Desktop::Private {

class ThreadQueue;

/// A copy of what callers need of a window, taken under the table's lock.
struct WindowInfo {
  WNDPROC proc = nullptr;
  DWORD thread_id = 0;
  std::shared_ptr<ThreadQueue> queue;
  HWND parent = nullptr;
  bool destroying = false;
};

/// What CreateWindowExW found for a class name.
struct ClassForCreate {
  ATOM atom = 0;
  WNDPROC proc = nullptr;
};

/// The description of a new window for AddWindow.
struct NewWindow {
  ATOM atom = 0;
  WNDPROC proc = nullptr;
  std::shared_ptr<ThreadQueue> queue;
  DWORD thread_id = 0;
  HWND parent = nullptr;
  bool message_only = false;
};

class WindowTable {
 public:
  /// The process's table; never destroyed, so static objects may use it at exit.
  static WindowTable& Get();

  // Classes.
  ATOM RegisterClass(const WNDCLASSEXW& wc);
  bool UnregisterClass(LPCWSTR name, HINSTANCE instance);
  ATOM GetClassInfo(HINSTANCE instance, LPCWSTR name, WNDCLASSEXW& out) const;
  /// Finds the class for a new window and counts the window in, so that the class cannot be
  /// unregistered before AddWindow enters the window.
  std::optional<ClassForCreate> ReserveClass(LPCWSTR name, HINSTANCE instance);

  // Windows.
  /// Enters a window of a reserved class and answers its new handle; handles are never reused.
  HWND AddWindow(NewWindow window);
  std::optional<WindowInfo> Find(HWND hwnd) const;
  /// Marks a window as being destroyed; false if it is gone or already being destroyed.
  bool BeginDestroy(HWND hwnd);
  /// The children of a window, in order of creation.
  std::vector<HWND> ChildrenOf(HWND hwnd) const;
  /// Takes the window out and answers the CWnd that was attached to it, if any.
  CWnd* RemoveWindow(HWND hwnd);
  /// Takes out every window of an ended thread and answers their attached CWnds.
  std::vector<CWnd*> ForgetThread(DWORD thread_id);
  std::wstring ClassNameOf(HWND hwnd) const;

  // CWnd objects attached to windows.
  bool Attach(HWND hwnd, CWnd* object);
  CWnd* Detach(HWND hwnd);
  CWnd* ObjectOf(HWND hwnd) const;
  /// Re-parents a child window of the model; false if either is not a window.
  bool SetParent(HWND hwnd, HWND parent);

 private:
  WindowTable();
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

/// The window's record; none, with ERROR_INVALID_WINDOW_HANDLE as the last error, if `hwnd` is
/// no window.
std::optional<WindowInfo> FindWindowOrFail(HWND hwnd);
/// The same for a window the calling thread must own; none, with ERROR_ACCESS_DENIED, if
/// another thread does.
std::optional<WindowInfo> FindOwnWindowOrFail(HWND hwnd);

}  // namespace Ostrum::Desktop::Private
