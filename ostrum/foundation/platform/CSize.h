#pragma once
// CSize: the desktop framework's extent, a SIZE with comparison.

#include "ostrum/foundation/platform/WinTypes.h"

class CSize : public SIZE {
 public:
  constexpr CSize() : SIZE{0, 0} {}
  constexpr CSize(int cx_, int cy_) : SIZE{cx_, cy_} {}
  constexpr CSize(SIZE size) : SIZE(size) {}  // NOLINT: implicit as on the desktop
  friend constexpr bool operator==(const CSize& a, const CSize& b) { return a.cx == b.cx && a.cy == b.cy; }
};
