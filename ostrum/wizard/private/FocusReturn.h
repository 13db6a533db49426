#pragma once
// Before a wizard page that is a window of its own goes away, the keyboard focus goes back to
// the active view of the main window's frame, so that it never stays on a destroyed window.

namespace Ostrum::Private {

/// Gives the focus to the active view of the first frame among the main window and its
/// parents; nothing if there is no main window, frame or view window.
void ReturnFocusToActiveView();

}  // namespace Ostrum::Private
