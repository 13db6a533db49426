#pragma once
// Moves of capture, focus and activation that the model makes itself (on destruction, hiding,
// modal loops, the user's switching), behind Capture.h, Focus.h and Activation.h. All run on
// the window's own thread and send the messages the desktop sends.

#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop::Private {

/// Activates a top-level window of the calling thread with WA_ACTIVE or WA_CLICKACTIVE. The
/// user's activation (`by_user`) takes the foreground from another application; the
/// program's takes it only while the application has it or nobody does.
void ActivateTopLevel(HWND top, UINT state, bool by_user);
/// The user switched to another application: the capture is released, the active window
/// deactivated, WM_ACTIVATEAPP(FALSE) sent to the thread's top-level windows and the focus
/// taken away.
void DeactivateForOtherApplication();
/// Capture, focus and activation leave a window (and its descendants) that is destroyed or
/// hidden: the capture is released, the focus taken away, and if it was the active window
/// another top-level window of the thread is activated (its owner first).
void LeaveWindow(HWND hwnd);
/// Changes the focus without the activation step of SetFocus.
HWND MoveFocus(HWND hwnd);
/// Describes the window for the backend and tells it what changed (not for message-only
/// windows).
void NotifyWindowChanged(HWND hwnd, WindowChange change);

}  // namespace Ostrum::Desktop::Private
