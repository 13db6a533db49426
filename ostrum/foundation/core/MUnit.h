#pragma once
// MUnit: the unit constants of the model's coordinate systems.

#include <cstdint>

#include "ostrum/Export.h"

class OSTRUM_API MUnit {
 public:
  /// The number of units of the absolute (STL) coordinate system in one millimetre: 10000.
  static std::int32_t GetIE();
};
