#pragma once
// The state of every virtual key at one moment: down or up, and the toggle that every press
// flips (the lock keys show it). Mouse buttons are keys VK_LBUTTON..VK_XBUTTON2.

#include <bitset>

#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop::Private {

struct KeySnapshot {
  std::bitset<256> down;
  std::bitset<256> toggled;

  bool IsDown(UINT vk) const { return vk < 256 && down.test(vk); }
  /// GetKeyState's answer: the high bit for down, the low bit for the toggle.
  SHORT State(UINT vk) const {
    if (vk >= 256) return 0;
    return static_cast<SHORT>((down.test(vk) ? 0x8000 : 0) | (toggled.test(vk) ? 1 : 0));
  }
  /// Presses or releases a key; a press flips its toggle. The left and right Shift, Ctrl and Alt
  /// keys also move the key that stands for both.
  void Set(UINT vk, bool is_down);
};

}  // namespace Ostrum::Desktop::Private
