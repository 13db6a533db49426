#pragma once
// How the world outside enters the desktop model: a backend (or a test driver) reports what
// the user did at the screen, never which window it was for. Each call updates the desktop's
// cursor and key state at once and queues the event for the thread that will own it: the
// thread holding the mouse capture, else the one of the window under the cursor; for keys and
// text, the foreground window's thread. That thread decides the target when it retrieves the
// event, as the desktop does: capture, then the window under the cursor, then focus. All calls
// may come from any thread; they answer whether a thread took the event.

#include <string_view>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop {

/// A button as the hand presses it; with swapped buttons (SwapMouseButton) the left one sends
/// the right-button messages.
enum class MouseButton { Left, Right, Middle, X1, X2 };

/// The cursor moves to a screen point (kept on the screen). Consecutive moves not yet retrieved
/// become one, at the last point.
OSTRUM_API bool InputMouseMove(POINT screen);
/// A button goes down or up at the cursor.
OSTRUM_API bool InputMouseButton(MouseButton button, bool down);
/// The wheel turns by `delta` (WHEEL_DELTA per notch, positive away from the user); it reaches
/// the focus window, else the active one, as WM_MOUSEWHEEL or WM_MOUSEHWHEEL.
OSTRUM_API bool InputMouseWheel(int delta, bool horizontal = false);
/// A key goes down or up. Pressing a key that is down already repeats it.
OSTRUM_API bool InputKey(UINT vk, bool down);
/// Text typed without keys the model knows (an input method): one WM_CHAR per UTF-16 unit.
OSTRUM_API bool InputText(std::wstring_view text);
/// The user brings a top-level window to the front (clicking its frame, switching to it); null:
/// the user switches to another application, which takes the capture, focus and foreground.
OSTRUM_API bool InputActivate(HWND top);
/// The user resizes a top-level window to `cx` by `cy` pixels (its window rectangle).
OSTRUM_API bool InputResize(HWND top, int cx, int cy);
/// The user asks to close a top-level window: its thread retrieves WM_SYSCOMMAND with SC_CLOSE.
OSTRUM_API bool InputCloseRequest(HWND top);
/// The user chooses the command `id` from the menu bar of `frame`: WM_COMMAND (id, 0) is
/// posted to the frame. False if the frame's menu bar has no enabled command `id`.
OSTRUM_API bool InputMenuCommand(HWND frame, UINT id);

}  // namespace Ostrum::Desktop
