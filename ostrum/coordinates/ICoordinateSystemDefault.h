#pragma once
// ICoordinateSystemDefault: tells the systems that stand at the top of the tree (the absolute
// world and the application's own unit systems) from all others. A default system is never
// moved under another and never copied sideways.

#include "ostrum/Export.h"

class MCoordinateSystem;

class OSTRUM_API ICoordinateSystemDefault {
 public:
  virtual ~ICoordinateSystemDefault();

  /// True when `system` is one of the default systems.
  virtual bool IsCoordinateSystemDefault(MCoordinateSystem const& system) const = 0;
};
