#pragma once
// HeadlessDriver: how tests and headless hosts act as the world outside the model: they let
// time pass, size the screen, deliver messages for a window directly, and look at what windows
// drew. User input at the screen goes through Input.h.

#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/GdiObjects.h"
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

  // What windows drew (see WindowImage.h); points in window coordinates, frame included.
  /// The pixel at `point`; CLR_INVALID outside the window or for no window.
  COLORREF PixelAt(HWND hwnd, POINT point) const;
  /// The window's own image; false for no window.
  bool Image(HWND hwnd, BitmapPixels& out) const;
  /// The window with its visible descendants over it, as a screen would show it; false for no
  /// window.
  bool Screenshot(HWND hwnd, BitmapPixels& out) const;
  /// Screenshot written as a PNG file; false for no window or a file that cannot be written.
  bool WritePng(HWND hwnd, const std::string& path) const;

 private:
  HeadlessBackend& m_backend;
};

}  // namespace Ostrum::Desktop
