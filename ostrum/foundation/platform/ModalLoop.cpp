#include "ostrum/foundation/platform/ModalLoop.h"

#include <algorithm>
#include <atomic>

#include "ostrum/foundation/platform/Activation.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Capture.h"
#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"

namespace Ostrum::Desktop {

namespace {

std::atomic<uint64_t> g_frames{0};

// 1. The frame goes on the stack; capture, owner and activation are taken from the rest of the
//    thread's windows.
void Begin(ModalFrame& frame, HWND owner_top) {
  Private::CurrentInput().modal.push_back(&frame);
  if (GetCapture()) ReleaseCapture();
  if (owner_top && IsWindowEnabled(owner_top)) {
    EnableWindow(owner_top, FALSE);
    frame.owner_disabled = true;
  }
  if (frame.window && IsWindow(frame.window)) {
    const HWND top = GetAncestor(frame.window, GA_ROOT);
    if (IsWindowVisible(top)) SetActiveWindow(top);
  }
  GetDesktopBackend().OnModalBegin(frame);
}

// 3. The owner comes back before the modal window goes, so that activation returns to it.
void End(ModalFrame& frame, HWND owner_top) {
  if (frame.owner_disabled && owner_top && IsWindow(owner_top)) EnableWindow(owner_top, TRUE);
  frame.owner_disabled = false;
  if (frame.hide_window_at_end && frame.window && IsWindow(frame.window)) ShowWindow(frame.window, SW_HIDE);
  if (owner_top && IsWindow(owner_top) && IsWindowVisible(owner_top)) SetActiveWindow(owner_top);
  GetDesktopBackend().OnModalEnd(frame);
  auto& stack = Private::CurrentInput().modal;
  stack.erase(std::remove(stack.begin(), stack.end(), &frame), stack.end());
}

}  // namespace

int RunModalLoop(ModalFrame& frame) {
  IDesktopBackend& backend = GetDesktopBackend();
  frame.ended = false;
  frame.unanswered = false;
  frame.result = 0;
  frame.serial = ++g_frames;
  const HWND owner_top = frame.owner && IsWindow(frame.owner) ? GetAncestor(frame.owner, GA_ROOT) : nullptr;
  Begin(frame, owner_top);
  // 2. The loop, until the frame is ended; an inner frame runs inside a dispatch here.
  const WPARAM idle_kind = frame.kind == ModalKind::PopupMenu ? MSGF_MENU : MSGF_DIALOGBOX;
  while (!frame.ended) {
    MSG msg;
    if (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
      if (msg.message == WM_QUIT) {
        // The loop outside must see it too.
        PostQuitMessage(static_cast<int>(msg.wParam));
        EndModalFrame(frame, -1);
        break;
      }
      if (!AfxPreTranslateMessage(&msg)) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
      }
      continue;
    }
    if (frame.send_enter_idle && frame.owner && IsWindow(frame.owner))
      SendMessageW(frame.owner, WM_ENTERIDLE, idle_kind, reinterpret_cast<LPARAM>(frame.window));
    if (frame.ended || PeekMessageW(&msg, nullptr, 0, 0, PM_NOREMOVE)) continue;
    if (backend.OnModalIdle(frame)) continue;
    Private::ThreadQueue& queue = Private::CurrentQueue();
    backend.WaitForMessage(queue.NextTimerDue(Private::MessageFilter{}), queue.Wakeup());
  }
  End(frame, owner_top);
  return frame.result;
}

void EndModalFrame(ModalFrame& frame, int result) {
  if (frame.ended) return;
  frame.ended = true;
  frame.result = result;
}

ModalFrame* GetModalFrame(std::size_t depth) {
  const auto& stack = Private::CurrentInput().modal;
  return depth < stack.size() ? stack[stack.size() - 1 - depth] : nullptr;
}

}  // namespace Ostrum::Desktop
