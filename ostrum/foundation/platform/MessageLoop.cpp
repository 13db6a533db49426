#include "ostrum/foundation/platform/MessageLoop.h"

#include <algorithm>

#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"

namespace Ostrum::Desktop {

namespace {

// Dispatches what waits now; sets `quit` and leaves WM_QUIT queued if it comes up.
int Pump(bool& quit) {
  int dispatched = 0;
  MSG msg;
  while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    if (msg.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(msg.wParam));
      quit = true;
      break;
    }
    if (!AfxPreTranslateMessage(&msg)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    }
    ++dispatched;
  }
  return dispatched;
}

int Run(uint32_t ms, bool until_idle) {
  IDesktopBackend& backend = GetDesktopBackend();
  Private::ThreadQueue& queue = Private::CurrentQueue();
  const uint64_t end = backend.GetTickCount64() + ms;
  int dispatched = 0;
  bool quit = false;
  for (;;) {
    dispatched += Pump(quit);
    if (quit || (until_idle && !queue.HasTimers())) break;
    if (backend.GetTickCount64() >= end) break;
    // Nothing waits now: on to the next timer, or to the end of the stretch.
    backend.WaitForMessage(std::min(queue.NextTimerDue(Private::MessageFilter{}), end), queue.Wakeup());
  }
  return dispatched;
}

}  // namespace

int PumpWaitingMessages() {
  bool quit = false;
  return Pump(quit);
}

int RunFor(uint32_t ms) { return Run(ms, false); }

int RunUntilIdle(uint32_t limit_ms) { return Run(limit_ms, true); }

}  // namespace Ostrum::Desktop
