#include "ostrum/foundation/platform/private/DesktopInput.h"

#include "ostrum/foundation/platform/KeyState.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"

namespace Ostrum::Desktop::Private {

namespace {

// The key that stands for both sides, for a sided modifier; 0 for other keys.
UINT Generic(UINT vk) {
  switch (vk) {
    case VK_LSHIFT:
    case VK_RSHIFT:
      return VK_SHIFT;
    case VK_LCONTROL:
    case VK_RCONTROL:
      return VK_CONTROL;
    case VK_LMENU:
    case VK_RMENU:
      return VK_MENU;
    default:
      return 0;
  }
}

}  // namespace

void KeySnapshot::Set(UINT vk, bool is_down) {
  if (vk >= 256) return;
  auto press = [this](UINT key, bool now_down) {
    if (now_down && !down.test(key)) toggled.flip(key);
    down.set(key, now_down);
  };
  // A modifier reported without side is the left one.
  if (vk == VK_SHIFT) vk = VK_LSHIFT;
  if (vk == VK_CONTROL) vk = VK_LCONTROL;
  if (vk == VK_MENU) vk = VK_LMENU;
  press(vk, is_down);
  if (const UINT generic = Generic(vk)) {
    const UINT left = generic == VK_SHIFT ? VK_LSHIFT : generic == VK_CONTROL ? VK_LCONTROL : VK_LMENU;
    press(generic, down.test(left) || down.test(left + 1));
  }
}

KeySnapshot DesktopState::Logical() const {
  KeySnapshot logical = physical;
  if (swap_buttons) {
    logical.down.set(VK_LBUTTON, physical.down.test(VK_RBUTTON));
    logical.down.set(VK_RBUTTON, physical.down.test(VK_LBUTTON));
    logical.toggled.set(VK_LBUTTON, physical.toggled.test(VK_RBUTTON));
    logical.toggled.set(VK_RBUTTON, physical.toggled.test(VK_LBUTTON));
  }
  return logical;
}

DesktopInput& DesktopInput::Get() {
  // Never destroyed: threads may deliver input while static destructors run.
  static DesktopInput* input = new DesktopInput;
  return *input;
}

POINT CursorPosition() {
  return DesktopInput::Get().Locked([](const DesktopState& state) { return state.cursor; });
}

void ForgetThreadInput(DWORD thread_id) {
  const HWND foreground = DesktopInput::Get().Locked([&](DesktopState& state) {
    if (state.capture_thread == thread_id) state.capture_thread = 0;
    return state.foreground;
  });
  // The thread's windows have left the table already.
  if (foreground && !IsWindow(foreground)) {
    DesktopInput::Get().Locked([&](DesktopState& state) {
      if (state.foreground == foreground) state.foreground = nullptr;
    });
  }
}

}  // namespace Ostrum::Desktop::Private
