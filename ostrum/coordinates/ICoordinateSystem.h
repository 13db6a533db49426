#pragma once
// ICoordinateSystem: something that can take points and vectors given in another coordinate
// system into its own coordinates.

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMPoint3d.h"

class OSTRUM_API ICoordinateSystem {
 public:
  virtual ~ICoordinateSystem();

  /// out = the point `in`, given in `source` coordinates, in this system's coordinates. What a
  /// null `source` stands for is the implementer's choice (MCoordinateSystem: millimetres).
  virtual void GetPoint3dCoordinateSystemToThis(MMPoint3d<double>& out, MMPoint3d<double> const& in,
                                                ICoordinateSystem const* source) const = 0;
  /// The same for a vector: it keeps the scale and rotation of the change of system but not
  /// its translation.
  virtual void GetVector3dCoordinateSystemToThis(MMPoint3d<double>& out, MMPoint3d<double> const& in,
                                                 ICoordinateSystem const* source) const = 0;
};
