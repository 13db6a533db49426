#pragma once
// HeadlessDriver: how tests and headless hosts act as the world outside the model: they let
// time pass, size the screen, and deliver messages for a window directly. User input at the
// screen goes through Input.h.

#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/HeadlessBackend.h"
#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop {

/// Drives a headless backend. The backend must be the one in use for its clock to be the
/// model's (the process's headless backend is, unless the host set another).
class OSTRUM_API HeadlessDriver {
 public:
  /// A driver of the process's headless backend.
  HeadlessDriver();
  explicit HeadlessDriver(HeadlessBackend& backend);

  /// Moves the model clock forward by `ms`. Timers that come due wait in their queues for a
  /// message loop; nothing is dispatched here.
  void AdvanceClock(uint32_t ms);
  /// The model clock now, as GetTickCount reads it.
  DWORD Now() const;
  /// The screen's size from now on.
  void SetScreenSize(int cx, int cy);
  /// Puts an input message for `hwnd` (null: the calling thread) into its thread's input queue
  /// as given, without routing; see DeliverInputMessage. FALSE for a message that is not input
  /// or an invalid window.
  BOOL InjectInput(HWND hwnd, UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
  /// A key pressed and released for `hwnd` whatever has the focus: WM_KEYDOWN then WM_KEYUP
  /// (WM_SYS* while Alt is down), with the key state and flags of real keys.
  BOOL InjectKeyPress(HWND hwnd, UINT key);

 private:
  HeadlessBackend& m_backend;
};

}  // namespace Ostrum::Desktop
