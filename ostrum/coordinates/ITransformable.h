#pragma once
// ITransformable: something that can be moved in space, such as a coordinate system or an
// object of the document. Every change applies after the placement the thing already has.
//
// Only Transform and the capability questions are required: the other moves have defaults that
// ask the matching Can... question, do nothing on false, and otherwise build the matrix of the
// move and hand it to Transform. The rotation about an axis takes radians; the rotation by
// three angles takes degrees.

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMPlaneEq.h"
#include "ostrum/foundation/geometry/MMPoint3d.h"

class MMTransform;

class OSTRUM_API ITransformable {
 public:
  virtual ~ITransformable();

  /// Applies `t` after the present placement.
  virtual void Transform(MMTransform const& t) = 0;
  /// Moves by `d`. Default: Transform with a translation, if CanTranslate.
  virtual void Translate(MMPoint3d<double> d);
  // Concrete classes give their own Rotate and Rescale (in degrees, as the coordinate system
  // does) and so hide these on purpose; the compiler is told not to warn of it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
  /// Turns by `angle` radians about the line through `center` along `axis` (right-handed).
  /// Default: Transform with that rotation, if CanRotate.
  virtual void Rotate(MMPoint3d<double> const& center, MMPoint3d<double> const& axis, double angle);
  /// Turns about `center` by x, y and z degrees about the axes, z first, then y, then x.
  /// Default: Transform with T(center) * Rx * Ry * Rz * T(-center), if CanRotate.
  virtual void Rotate(MMPoint3d<double> const& center, double x, double y, double z);
  /// Scales by sx, sy, sz along the axes, keeping `center` fixed. Default: Transform with
  /// T(center) * S * T(-center), if CanRescale.
  virtual void Rescale(MMPoint3d<double> const& center, double sx, double sy, double sz);
#pragma GCC diagnostic pop
  /// Mirrors in `plane`. Default: nothing; a class that can mirror itself overrides this and
  /// CanMirror.
  virtual void Mirror(MMPlaneEq<double> const& plane);
  virtual bool CanTranslate() const = 0;
  virtual bool CanRotate() const = 0;
  virtual bool CanRescale() const = 0;
  /// Default: false.
  virtual bool CanMirror() const;
};
