#include "ostrum/foundation/platform/ResetModel.h"

#include <mutex>
#include <vector>

#include "ostrum/foundation/platform/Cursor.h"
#include "ostrum/foundation/platform/HeadlessBackend.h"
#include "ostrum/foundation/platform/ModalLoop.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/private/DesktopInput.h"
#include "ostrum/foundation/platform/private/ResetHooks.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace Ostrum::Desktop {

namespace Private {

namespace {

struct Hooks {
  std::mutex mutex;
  std::vector<void (*)()> resets;
};

Hooks& GetHooks() {
  static Hooks* hooks = new Hooks;
  return *hooks;
}

// The calling thread's topmost window that is not message-only, or null.
HWND FirstOwnWindow() {
  const DWORD me = GetCurrentThreadId();
  return WindowTable::Get().Locked([&](const WindowStore& store) -> HWND {
    for (HWND top : store.top_levels) {
      const WindowRecord* record = store.Find(top);
      if (record && record->thread_id == me && !record->destroying) return top;
    }
    return nullptr;
  });
}

}  // namespace

bool AddResetHook(void (*reset)()) {
  Hooks& hooks = GetHooks();
  std::lock_guard<std::mutex> lock(hooks.mutex);
  hooks.resets.push_back(reset);
  return true;
}

}  // namespace Private

namespace Testing {

void ResetModel() {
  // 1. Loops still running can only be marked: they return when control gets back to them.
  for (std::size_t depth = 0; ModalFrame* frame = GetModalFrame(depth); ++depth) EndModalFrame(*frame, -1);
  // 2. The thread's windows; each destruction may activate another, which goes next.
  while (const HWND top = Private::FirstOwnWindow()) {
    if (!DestroyWindow(top)) break;
  }
  // 3. The thread's input state and queue.
  Private::ThreadQueue& queue = Private::CurrentQueue();
  queue.DropInput();
  queue.CancelQuit();
  Private::ThreadInput& input = queue.Input();
  input.capture = nullptr;
  input.focus = nullptr;
  input.active = nullptr;
  input.keys = Private::KeySnapshot{};
  input.last_click = Private::LastClick{};
  // 4. The desktop.
  const HCURSOR arrow = LoadCursorW(nullptr, IDC_ARROW);
  Private::DesktopInput::Get().Locked([&](Private::DesktopState& state) { state = Private::DesktopState{}; });
  SetCursor(arrow);
  HeadlessBackend& headless = GetHeadlessBackend();
  headless.SetScreenSize(1920, 1080);
  headless.SetModalResponder(nullptr);
  headless.TakeUnansweredModals();
  // 5. What other parts of the model hold.
  std::vector<void (*)()> resets;
  {
    Private::Hooks& hooks = Private::GetHooks();
    std::lock_guard<std::mutex> lock(hooks.mutex);
    resets = hooks.resets;
  }
  for (auto reset : resets) reset();
}

}  // namespace Testing

}  // namespace Ostrum::Desktop
