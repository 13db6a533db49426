#pragma once
// IDesktopBackend: what stands behind the desktop model. The model holds all state of windows
// and queues itself; through the backend it learns what time it is, and a thread with nothing to
// do waits there. Backends bring real input into the model with DeliverInputMessage.

#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/QueueWakeup.h"
#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop {

class OSTRUM_API IDesktopBackend {
 public:
  /// WaitForMessage's deadline when no timer is set: wait until woken.
  static constexpr uint64_t kNoDeadline = ~uint64_t{0};

  virtual ~IDesktopBackend();

  /// The model clock in milliseconds. It never goes back; GetTickCount answers its low 32 bits.
  virtual uint64_t GetTickCount64() = 0;
  /// Called on a thread whose queue has nothing to retrieve. Returns once `wakeup` is notified
  /// (something was posted or input arrived) or the model clock has reached `deadline` (the due
  /// time of the thread's next timer). Returning early is allowed: the caller looks again.
  virtual void WaitForMessage(uint64_t deadline, QueueWakeup& wakeup) = 0;

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

/// For backends and test drivers: puts an input message (keyboard WM_KEYFIRST..WM_KEYLAST,
/// mouse WM_MOUSEFIRST..WM_MOUSELAST, or WM_INPUT) for `hwnd` into the input queue of the
/// window's thread, as the window system does with a real key or mouse event. The queue status
/// then reports QS_KEY, QS_MOUSEMOVE, QS_MOUSEBUTTON or QS_RAWINPUT. A null `hwnd` addresses
/// the calling thread. Callable from any thread; FALSE for another message or an invalid window.
OSTRUM_API BOOL DeliverInputMessage(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace Ostrum::Desktop
