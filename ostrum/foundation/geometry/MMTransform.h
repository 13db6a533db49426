#pragma once
// MMTransform: the abstract transform of 3D space. Coordinate systems hold one for the way from
// a system into its parent, and the transform query composes them along paths.
//
// Every transform has an equivalent 4x4 matrix acting on column vectors: a point p becomes
// M * (p, 1), divided by the fourth component when the matrix is projective; a direction d
// becomes the upper 3x3 part times d, with no translation. The bool argument of Transform and
// InverseTransform says which of the two is given: false for a point, true for a direction.
// To see a transform as a matrix, cast it: dynamic_cast<MMTransformMatrix const&>(t), which
// throws std::bad_cast when it is none.

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/geometry/MMPoint3d.h"
#include "ostrum/foundation/geometry/MMTransformAllocator.h"

class MMTransformMatrix;

class OSTRUM_API MMTransform : public MMTransformAllocator {
 public:
  virtual ~MMTransform();

  /// A new transform of the same kind and value, owned by the caller.
  virtual MMTransform* Clone() const = 0;
  /// Replaces the transform by its inverse. False when it has none; it is then unchanged.
  virtual bool Invert() = 0;
  /// True when the transform leaves every point where it is (within 1e-12 per matrix element).
  virtual bool IsIdentity() const = 0;
  /// Writes the sixteen elements of the equivalent matrix to out[0..15], row by row: element
  /// (row r, column c) at out[4 * r + c], so the translation is at out[3], out[7], out[11].
  virtual void ConvertDouble16(double* out) const = 0;
  /// This transform as a matrix, or null if it is none: what the run-time cast would answer,
  /// without its cost, for the composition code.
  virtual MMTransformMatrix const* AsMatrix() const { return nullptr; }

  /// out = the transform of in; `direction` false for a point, true for a direction.
  void Transform(MMPoint3d<double>& out, MMPoint3d<double> const& in, bool direction = false) const;
  void Transform(MMPoint3d<float>& out, MMPoint3d<float> const& in, bool direction = false) const;
  /// Writes three floats to out; out may be the storage of the input.
  void Transform(float* out, float x, float y, float z, bool direction = false) const;
  /// Reads three floats from in and writes three to out; out may equal in.
  void Transform(float* out, float const* in, bool direction = false) const;

  /// The same with the inverse transform. A transform without an inverse gives NaN.
  void InverseTransform(MMPoint3d<double>& out, MMPoint3d<double> const& in,
                        bool direction = false) const;
  void InverseTransform(MMPoint3d<float>& out, MMPoint3d<float> const& in,
                        bool direction = false) const;
  void InverseTransform(float* out, float x, float y, float z, bool direction = false) const;
  void InverseTransform(float* out, float const* in, bool direction = false) const;

  /// The transform of a point.
  MMPoint3d<double> operator()(MMPoint3d<double> const& p) const;
  MMPoint3d<float> operator()(MMPoint3d<float> const& p) const;

  /// Replaces a usable box by the axis-aligned box of its eight transformed corners, rounded
  /// outwards to float so that it holds the exact images; an unusable box stays as it is.
  /// Meaningful for affine transforms, and for projections of boxes wholly in front of the eye.
  void TransformBoundingBox(M3DBoundingBox<float>& box) const;

  /// The sixteen elements equal exactly, whatever the kinds of the two transforms.
  bool operator==(MMTransform const& other) const;

 protected:
  MMTransform() = default;
  MMTransform(MMTransform const&) = default;
  MMTransform& operator=(MMTransform const&) = default;

  /// out = this transform of in (three numbers each, out never aliases in), as for Transform.
  virtual void _Apply(double* out, double const* in, bool direction) const = 0;
  /// The same with the inverse; NaN when there is none.
  virtual void _ApplyInverse(double* out, double const* in, bool direction) const = 0;

 private:
  /// The point (x, y, z) through _Apply, or _ApplyInverse when `inverse` is true.
  MMPoint3d<double> _Map(double x, double y, double z, bool direction, bool inverse) const;
};
