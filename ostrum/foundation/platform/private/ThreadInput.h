#pragma once
// What the desktop keeps per thread (per input queue): capture, focus and active window, the
// key state as of the last input retrieved, the last click for double clicks, the modal loops
// that run, and the messages whose procedures run now (for CWnd::Default).

#include <cstdint>
#include <vector>

#include "ostrum/foundation/platform/WinTypes.h"
#include "ostrum/foundation/platform/private/KeySnapshot.h"

namespace Ostrum::Desktop {
struct ModalFrame;
}

namespace Ostrum::Desktop::Private {

/// A message in its procedure, as the framework's routing received it.
struct CurrentMessage {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
};

struct LastClick {
  UINT message = 0;  // the button-down message, 0 for none
  HWND hwnd = nullptr;
  POINT screen;
  DWORD time = 0;
};

struct ThreadInput {
  HWND capture = nullptr;
  HWND focus = nullptr;
  HWND active = nullptr;
  KeySnapshot keys;                      // GetKeyState
  LastClick last_click;
  std::vector<ModalFrame*> modal;        // innermost last
  std::vector<CurrentMessage> current;   // innermost last
};

/// The calling thread's input state.
ThreadInput& CurrentInput();

}  // namespace Ostrum::Desktop::Private
