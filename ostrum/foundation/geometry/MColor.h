#pragma once
// MColor: a colour as four floats, red, green, blue and a fourth component, each running from 0
// to 1. A component of -1 means "not set": a new colour has all four at -1, and code that fills
// in only red, green and blue leaves the fourth one unset.

#include "ostrum/Export.h"

class OSTRUM_API MColor {
 public:
  float r = -1.0f, g = -1.0f, b = -1.0f, a = -1.0f;

  /// All four components unset (-1).
  constexpr MColor() = default;
  /// The fourth component stays unset unless given.
  constexpr MColor(float red, float green, float blue, float fourth = -1.0f)
      : r(red), g(green), b(blue), a(fourth) {}

  constexpr void Set(float red, float green, float blue, float fourth = -1.0f) {
    r = red; g = green; b = blue; a = fourth;
  }
  /// Component 0 to 3 (red, green, blue, fourth); the index is not checked.
  constexpr float& operator[](int i) { return i == 0 ? r : (i == 1 ? g : (i == 2 ? b : a)); }
  constexpr float operator[](int i) const { return i == 0 ? r : (i == 1 ? g : (i == 2 ? b : a)); }
  /// True when red, green and blue have all been set (none is -1).
  constexpr bool IsSet() const { return r != -1.0f && g != -1.0f && b != -1.0f; }
  /// Exact comparison of the four components.
  friend constexpr bool operator==(MColor const&, MColor const&) = default;
};
