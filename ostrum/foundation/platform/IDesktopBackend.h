#pragma once
// IDesktopBackend: what stands behind the desktop model. The model holds all state of windows,
// input and queues itself; through the backend it learns what time it is and how large the
// screen is, a thread with nothing to do waits there, and it tells the backend what changed so
// that a real desktop can show it. Backends bring input in through Input.h.
//
// The model calls the presentation members on the window's own thread and never under a lock
// of the model; their defaults do nothing.

#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/QueueWakeup.h"
#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop {

struct ModalFrame;

/// What changed of a window, for IDesktopBackend::OnWindowChanged.
enum class WindowChange { Created, Destroyed, Geometry, Shown, Hidden, Text, ZOrder, Enabled };

/// A window as the backend may show it, taken after the change.
struct WindowView {
  HWND parent = nullptr;  ///< null for a top-level window
  HWND owner = nullptr;
  DWORD style = 0;
  DWORD ex_style = 0;
  RECT window{};          ///< screen coordinates
  RECT client{};          ///< screen coordinates
  bool visible = false;   ///< the window and its ancestors are shown
  bool enabled = false;
  std::wstring text;
};

class OSTRUM_API IDesktopBackend {
 public:
  /// WaitForMessage's deadline when no timer is set: wait until woken.
  static constexpr uint64_t kNoDeadline = ~uint64_t{0};

  virtual ~IDesktopBackend();

  // --- time and waiting ---
  /// The model clock in milliseconds. It never goes back; GetTickCount answers its low 32 bits.
  virtual uint64_t GetTickCount64() = 0;
  /// Called on a thread whose queue has nothing to retrieve. Returns once `wakeup` is notified
  /// (something was posted or input arrived) or the model clock has reached `deadline` (the due
  /// time of the thread's next timer). Returning early is allowed: the caller looks again.
  virtual void WaitForMessage(uint64_t deadline, QueueWakeup& wakeup) = 0;
  /// Another thread posted to, or queued input for, the thread `thread_id`, which may be
  /// waiting in WaitForMessage; a backend that waits elsewhere than on the QueueWakeup (an event
  /// loop) wakes it here. Callable from any thread.
  virtual void WakeThread(DWORD thread_id);
  /// PeekMessageW found nothing: a backend that collects input lazily brings it in now.
  virtual void PollEvents();
  /// The screen in pixels; the headless backend's is 1920 by 1080 unless set otherwise.
  virtual RECT GetScreenRect() = 0;

  // --- presentation: the model tells, the backend shows ---
  /// A window that is not message-only was made, destroyed, moved or resized, shown or hidden,
  /// renamed, raised, enabled or disabled.
  virtual void OnWindowChanged(HWND hwnd, WindowChange what, const WindowView& view);
  /// The cursor shape changed (SetCursor); null hides it.
  virtual void OnCursorChanged(HCURSOR shape);
  /// The mouse capture went to `owner`, or was released (null): a desktop backend grabs or
  /// releases the real mouse.
  virtual void OnCaptureChanged(HWND owner);
  /// The menu bar of `frame` is to be shown as it is now (SetMenu, DrawMenuBar); null for none.
  virtual void OnMenuBarChanged(HWND frame, HMENU bar);
  /// A toolbar control's buttons or images changed.
  virtual void OnToolbarChanged(HWND bar);

  // --- modal loops: the model runs every loop, the backend only shows ---
  /// A frame begins; a desktop backend shows what belongs to it without a loop of its own.
  virtual void OnModalBegin(ModalFrame& frame);
  /// The frame's loop has nothing to do. Answer true if something was done (the loop looks
  /// again), false to let the loop wait for a message.
  virtual bool OnModalIdle(ModalFrame& frame);
  /// The frame has ended; it leaves the stack after this call.
  virtual void OnModalEnd(ModalFrame& frame);

 protected:
  IDesktopBackend() = default;
  IDesktopBackend(const IDesktopBackend&) = default;
  IDesktopBackend& operator=(const IDesktopBackend&) = default;
};

/// The backend in use: the process's headless backend unless the host set another.
OSTRUM_API IDesktopBackend& GetDesktopBackend();
/// Makes `backend` the one in use, or the headless backend again for null. Not owned; it must
/// outlive its use. Hosts set it once at start, before the first window or timer.
OSTRUM_API void SetDesktopBackend(IDesktopBackend* backend);

/// A test hook below Input.h: puts an input message (keyboard WM_KEYFIRST..WM_KEYLAST, mouse
/// WM_MOUSEFIRST..WM_MOUSELAST, or WM_INPUT) for `hwnd` as given into the input queue of the
/// window's thread, bypassing routing. The queue status then reports QS_KEY, QS_MOUSEMOVE,
/// QS_MOUSEBUTTON or QS_RAWINPUT. A null `hwnd` addresses the calling thread. Callable from
/// any thread; FALSE for another message or an invalid window. Real input goes through Input.h.
OSTRUM_API BOOL DeliverInputMessage(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace Ostrum::Desktop
