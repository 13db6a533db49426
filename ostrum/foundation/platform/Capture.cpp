#include "ostrum/foundation/platform/Capture.h"

#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/private/DesktopInput.h"
#include "ostrum/foundation/platform/private/ProcedureCall.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::Private::CurrentInput;
using Ostrum::Desktop::Private::DesktopInput;
using Ostrum::Desktop::Private::DesktopState;
using Ostrum::Desktop::Private::SendToWindow;

HWND SetCapture(HWND hwnd) {
  if (!hwnd) {
    const HWND old = GetCapture();
    ReleaseCapture();
    return old;
  }
  if (!Ostrum::Desktop::Private::FindOwnWindowOrFail(hwnd)) return nullptr;
  auto& input = CurrentInput();
  const HWND old = input.capture;
  input.capture = hwnd;
  const DWORD me = GetCurrentThreadId();
  DesktopInput::Get().Locked([&](DesktopState& state) { state.capture_thread = me; });
  if (old == hwnd) return old;
  Ostrum::Desktop::GetDesktopBackend().OnCaptureChanged(hwnd);
  // The old owner hears of the change once the new one holds it.
  if (old && IsWindow(old)) SendToWindow(old, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(hwnd));
  return old;
}

BOOL ReleaseCapture() {
  auto& input = CurrentInput();
  const HWND old = input.capture;
  if (!old) return TRUE;
  input.capture = nullptr;
  const DWORD me = GetCurrentThreadId();
  DesktopInput::Get().Locked([&](DesktopState& state) {
    if (state.capture_thread == me) state.capture_thread = 0;
  });
  Ostrum::Desktop::GetDesktopBackend().OnCaptureChanged(nullptr);
  if (IsWindow(old)) SendToWindow(old, WM_CAPTURECHANGED, 0, 0);
  return TRUE;
}

HWND GetCapture() { return CurrentInput().capture; }
