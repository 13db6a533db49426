#pragma once
// What the desktop keeps for the whole process: the cursor, the physical keys and buttons, the
// button swap, the cursor shape, the foreground window and which thread holds the mouse
// capture. Input.h changes it at once from any thread; a small lock guards it, and no
// procedure or backend runs under it.

#include <mutex>

#include "ostrum/foundation/platform/WinTypes.h"
#include "ostrum/foundation/platform/private/KeySnapshot.h"

namespace Ostrum::Desktop::Private {

struct DesktopState {
  POINT cursor;
  KeySnapshot physical;          // GetAsyncKeyState: buttons as the hand presses them
  bool swap_buttons = false;
  HCURSOR shape = nullptr;
  HWND foreground = nullptr;
  /// Another application has the foreground (the user switched away): the program's own
  /// activation does not take it back; only the user's does.
  bool other_application = false;
  DWORD capture_thread = 0;      // the thread whose capture routes the mouse, 0 for none
  bool cursor_clipped = false;   // ClipCursor: the cursor stays in cursor_clip
  RECT cursor_clip{};

  /// The logical keys: the physical ones with the left and right buttons exchanged if swapped.
  KeySnapshot Logical() const;
};

class DesktopInput {
 public:
  static DesktopInput& Get();

  template <class F>
  decltype(auto) Locked(F&& f) {
    std::lock_guard<std::mutex> lock(m_mutex);
    return f(m_state);
  }
  DesktopState Copy() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_state;
  }

 private:
  DesktopInput() = default;
  std::mutex m_mutex;
  DesktopState m_state;
};

/// The cursor position now.
POINT CursorPosition();
/// An ended thread holds no capture and no foreground window any more.
void ForgetThreadInput(DWORD thread_id);

}  // namespace Ostrum::Desktop::Private
