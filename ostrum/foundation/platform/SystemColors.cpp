#include "ostrum/foundation/platform/SystemColors.h"

#include <array>
#include <cstddef>

namespace {

constexpr DWORD Rgb(int r, int g, int b) { return static_cast<DWORD>(r | (g << 8) | (b << 16)); }

// The defaults of a desktop at its standard settings; fixed, so that tests see the same.
constexpr std::array<DWORD, 21> kColors = {
    Rgb(200, 200, 200), Rgb(0, 0, 0),       Rgb(153, 180, 209), Rgb(191, 205, 219), Rgb(240, 240, 240),
    Rgb(255, 255, 255), Rgb(100, 100, 100), Rgb(0, 0, 0),       Rgb(0, 0, 0),       Rgb(0, 0, 0),
    Rgb(180, 180, 180), Rgb(244, 247, 252), Rgb(171, 171, 171), Rgb(0, 120, 215),   Rgb(255, 255, 255),
    Rgb(240, 240, 240), Rgb(160, 160, 160), Rgb(109, 109, 109), Rgb(0, 0, 0),       Rgb(0, 0, 0),       Rgb(255, 255, 255)};

}  // namespace

DWORD GetSysColor(int index) {
  return index >= 0 && index < static_cast<int>(kColors.size()) ? kColors[static_cast<std::size_t>(index)] : 0;
}
