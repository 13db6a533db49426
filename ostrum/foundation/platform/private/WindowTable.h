#pragma once
// The window table of the desktop model: every registered class and every live window with its
// place in the tree, geometry, state and attached CWnd. It is the one truth about handles; a
// CWnd holds a handle only while the table attaches it to a window.
//
// One lock guards the table. Procedures and backend calls never run under it: callers copy
// what they need out of a record and call afterwards.

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WinTypes.h"
#include "ostrum/foundation/platform/private/WindowRecord.h"

class CWnd;

namespace Ostrum::Desktop::Private {

class ThreadQueue;

/// A copy of what a procedure call needs of a window, taken under the table's lock.
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
  UINT style = 0;
  HCURSOR cursor = nullptr;
  HBRUSH background = nullptr;
};

/// The windows, as seen under the table's lock (WindowTable::Locked). Tree walks, hit tests
/// and coordinate sums live here so that each runs on one consistent state.
class WindowStore {
 public:
  WindowRecord* Find(HWND hwnd);
  const WindowRecord* Find(HWND hwnd) const;
  /// The z-ordered list a window sits in: its parent's children, or the top-level windows.
  std::vector<HWND>& SiblingsOf(const WindowRecord& record);
  /// The top-level window a window belongs to (itself for a top-level one).
  HWND Root(HWND hwnd) const;
  /// Whether the window and every ancestor carry WS_VISIBLE (false while it is destroyed).
  bool IsVisible(HWND hwnd) const;
  /// Whether neither the window nor an ancestor carries WS_DISABLED.
  bool IsEnabled(HWND hwnd) const;
  /// Screen coordinates of the client area's top-left corner.
  POINT ClientOrigin(HWND hwnd) const;
  /// The window rectangle in screen coordinates.
  RECT WindowOnScreen(HWND hwnd) const;
  /// The deepest visible window under a screen point, looking through disabled child windows to
  /// their parent; null over no window. A disabled top-level window is answered.
  HWND WindowFromPoint(POINT screen) const;
  /// Whether `ancestor` is `hwnd` or one of its ancestors.
  bool IsSelfOrAncestor(HWND ancestor, HWND hwnd) const;
  /// The windows of a thread in painting order: top-level windows from the top of the z-order,
  /// each before its children.
  void CollectPreorder(DWORD thread_id, std::vector<HWND>& out) const;
  /// Moves a window to the top of its siblings.
  void Raise(HWND hwnd);

  std::unordered_map<uintptr_t, WindowRecord> windows;
  std::vector<HWND> top_levels;  // top of the z-order first

 private:
  HWND _ChildFromPoint(HWND parent, POINT screen) const;
  void _Preorder(HWND hwnd, std::vector<HWND>& out) const;
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
  std::wstring ClassNameOf(HWND hwnd) const;

  // Windows.
  /// Enters a window of a reserved class at the top of its siblings and answers its new
  /// handle; handles are never reused.
  HWND AddWindow(WindowRecord record);
  std::optional<WindowInfo> Find(HWND hwnd) const;
  /// Marks a window as being destroyed; false if it is gone or already being destroyed.
  bool BeginDestroy(HWND hwnd);
  /// The children of a window, top of the z-order first.
  std::vector<HWND> ChildrenOf(HWND hwnd) const;
  /// The top-level windows that `hwnd` owns.
  std::vector<HWND> OwnedBy(HWND hwnd) const;
  /// Takes the window out and answers the CWnd that was attached to it, if any.
  CWnd* RemoveWindow(HWND hwnd);
  /// Takes out every window of an ended thread and answers their attached CWnds.
  std::vector<CWnd*> ForgetThread(DWORD thread_id);

  // CWnd objects attached to windows.
  bool Attach(HWND hwnd, CWnd* object);
  CWnd* Detach(HWND hwnd);
  CWnd* ObjectOf(HWND hwnd) const;
  /// Re-parents a child window; false if either is not a window or the move would make a
  /// window its own ancestor.
  bool SetParent(HWND hwnd, HWND parent);
  /// Replaces the window's procedure and answers the old one; null if there is no window.
  WNDPROC SetProc(HWND hwnd, WNDPROC proc);

  /// Runs `f(WindowStore&)` under the table's lock and answers its result. `f` must call no
  /// procedure and no backend.
  template <class F>
  decltype(auto) Locked(F&& f) {
    std::lock_guard<std::mutex> lock(_Mutex());
    return f(_Store());
  }
  template <class F>
  decltype(auto) Locked(F&& f) const {
    std::lock_guard<std::mutex> lock(_Mutex());
    return f(static_cast<const WindowStore&>(_Store()));
  }

 private:
  WindowTable();
  std::mutex& _Mutex() const;
  WindowStore& _Store() const;
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
