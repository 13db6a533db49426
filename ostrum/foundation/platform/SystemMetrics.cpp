#include "ostrum/foundation/platform/SystemMetrics.h"

#include <utility>

#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/private/DesktopInput.h"

using Ostrum::Desktop::Private::DesktopInput;
using Ostrum::Desktop::Private::DesktopState;

int GetSystemMetrics(int index) {
  switch (index) {
    case SM_CXSCREEN: {
      const RECT screen = Ostrum::Desktop::GetDesktopBackend().GetScreenRect();
      return screen.right - screen.left;
    }
    case SM_CYSCREEN: {
      const RECT screen = Ostrum::Desktop::GetDesktopBackend().GetScreenRect();
      return screen.bottom - screen.top;
    }
    case SM_SWAPBUTTON:
      return DesktopInput::Get().Locked([](const DesktopState& state) { return state.swap_buttons; }) ? 1 : 0;
    default:
      break;
  }
  // A 96-DPI desktop.
  static constexpr std::pair<int, int> kFixed[] = {
      {SM_CXVSCROLL, 17},     {SM_CYHSCROLL, 17},  {SM_CYCAPTION, 23},   {SM_CXBORDER, 1},
      {SM_CYBORDER, 1},       {SM_CXDLGFRAME, 3},  {SM_CYDLGFRAME, 3},   {SM_CXICON, 32},
      {SM_CYICON, 32},        {SM_CXCURSOR, 32},   {SM_CYCURSOR, 32},    {SM_CYMENU, 20},
      {SM_MOUSEPRESENT, 1},   {SM_CXFRAME, 4},     {SM_CYFRAME, 4},      {SM_CXDOUBLECLK, 4},
      {SM_CYDOUBLECLK, 4},    {SM_CMOUSEBUTTONS, 5}, {SM_CXEDGE, 2},     {SM_CYEDGE, 2},
      {SM_CXSMICON, 16},      {SM_CYSMICON, 16},   {SM_CXPADDEDBORDER, 4}};
  for (const auto& [metric, value] : kFixed)
    if (metric == index) return value;
  return 0;
}

UINT GetDoubleClickTime() { return 500; }

BOOL SwapMouseButton(BOOL swap) {
  return DesktopInput::Get().Locked([&](DesktopState& state) { return std::exchange(state.swap_buttons, swap != FALSE); })
             ? TRUE
             : FALSE;
}
