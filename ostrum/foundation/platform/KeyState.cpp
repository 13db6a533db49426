#include "ostrum/foundation/platform/KeyState.h"

#include "ostrum/foundation/platform/private/DesktopInput.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"

SHORT GetKeyState(int vk) {
  return vk < 0 ? 0 : Ostrum::Desktop::Private::CurrentInput().keys.State(static_cast<UINT>(vk));
}

SHORT GetAsyncKeyState(int vk) {
  using Ostrum::Desktop::Private::DesktopState;
  if (vk < 0) return 0;
  const bool down = Ostrum::Desktop::Private::DesktopInput::Get().Locked(
      [&](const DesktopState& state) { return state.physical.IsDown(static_cast<UINT>(vk)); });
  return static_cast<SHORT>(down ? 0x8000 : 0);
}
