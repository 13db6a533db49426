#pragma once
// Modal loops. Every loop that waits for the user's answer (a modal window, and later dialogs,
// message boxes and popup menus) is a ModalFrame run by RunModalLoop on the owning thread.
// Frames nest: the innermost one returns first, and ending an outer frame while an inner one
// runs only marks it, so it returns once the inner ones have. The backend is told when a frame
// begins, idles and ends; the headless backend answers frames through the test driver's
// responders and ends an unanswered one with its default answer.

#include <cstddef>
#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop {

enum class ModalKind { Window, Dialog, MessageBox, PopupMenu };

/// One modal loop: what it is modal to, how it ends, and (while it runs) its state. The maker
/// fills the first part; RunModalLoop and EndModalFrame the rest.
struct ModalFrame {
  ModalKind kind = ModalKind::Window;
  /// The window the frame is modal to: its top-level window is disabled while the frame runs
  /// and gets WM_ENTERIDLE when the loop has nothing to do; may be null.
  HWND owner = nullptr;
  /// The modal window: activated when the frame begins; may be null.
  HWND window = nullptr;
  /// Hide `window` when the frame ends (after its owner is enabled again).
  bool hide_window_at_end = false;
  /// Send WM_ENTERIDLE to the owner when idle.
  bool send_enter_idle = true;
  /// What the frame returns when nobody answers it (headless) or WM_QUIT ends it (-1 then).
  int default_answer = 0;
  /// What is asked, for logs and test failures.
  std::wstring description;
  /// Data of the frame's kind (a dialog, a message box, a menu) for backends and responders.
  void* detail = nullptr;

  bool ended = false;       ///< set by EndModalFrame; the loop returns after the current dispatch
  int result = 0;           ///< what RunModalLoop returns
  bool unanswered = false;  ///< ended by the headless backend with the default answer
  uint64_t serial = 0;      ///< the frame's number in the process, from 1
  bool owner_disabled = false;  ///< the frame disabled its owner and enables it again at the end
};

/// Runs a frame on the calling thread until it is ended and answers its result. Begin: the
/// frame goes on the thread's stack; the mouse capture is released (WM_CAPTURECHANGED); the
/// owner's top-level window is disabled (WM_ENABLE); the modal window is activated; the backend's
/// OnModalBegin. Loop: retrieve, pre-translate, translate, dispatch; when nothing waits,
/// WM_ENTERIDLE (MSGF_DIALOGBOX, or MSGF_MENU for a popup menu) to the owner, then the
/// backend's OnModalIdle, else wait for a message. WM_QUIT ends the frame with -1 and is posted
/// again for the loop outside. End: the owner is enabled before the window is hidden, then
/// activated; the backend's OnModalEnd; the frame leaves the stack.
OSTRUM_API int RunModalLoop(ModalFrame& frame);
/// Marks a frame ended with `result`. A frame that is not the innermost returns only after the
/// frames inside it. Ending an ended frame changes nothing.
OSTRUM_API void EndModalFrame(ModalFrame& frame, int result);
/// The calling thread's running frames: 0 is the innermost; null beyond the outermost.
OSTRUM_API ModalFrame* GetModalFrame(std::size_t depth = 0);

}  // namespace Ostrum::Desktop
