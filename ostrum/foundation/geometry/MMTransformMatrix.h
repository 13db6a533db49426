#pragma once
// MMTransformMatrix: a transform given by a 4x4 matrix of doubles, with its class and its
// inverse kept beside it.
//
// Conventions:
// - Column vectors. A point p becomes M * (p, 1) (divided by the fourth component when the
//   matrix is projective); the translation sits in column 3, elements (0,3), (1,3), (2,3).
// - Element (row, column) counts from 0; rows are the output coordinates. The element lists of
//   ConvertDouble16, ConvertToDouble16 and ConvertFloat16 run row by row: (0,0), (0,1), ...
//   (0,3), (1,0), ... (3,3).
// - Composition: A * B applies B first. PreMultiply(A) makes M = A * M, so A applies after what
//   M already does; operator*=(A) makes M = M * A, so A applies before it.
// - Angles: MakeRotation takes radians, MakeRotationXYZ and MakeRotationZYX degrees. Rotations
//   are right-handed: a positive angle about z takes (1, 0, 0) towards (0, 1, 0).
// - The class says what shape the matrix has and picks the cheap way to invert it. Every class
//   but identity may carry a translation; the classes from cheapest to dearest are identity,
//   translation (upper 3x3 part the unit matrix), uniform scale, scale by axis (diagonal 3x3
//   part), orthonormal (3x3 part a rotation or reflection), orthogonal (3x3 part with mutually
//   orthogonal columns of any length) and general (anything, projective included). A class is
//   always a valid claim: a composition takes the cheapest class that the classes of its
//   factors guarantee, and VerifyAndSetClass derives it from the elements with a tolerance of
//   1e-12 (relative to the matrix's scale).
// - The inverse is kept, with its class. It is computed by the class's own method the first time
//   it is needed after a change and kept until the next change; Invert then only exchanges the
//   roles of the two (one byte changes, no element moves), so a transform turned round and back
//   costs one inversion in all. Reading the inverse of a changed matrix through a const
//   reference therefore writes the kept copy: a matrix shared between threads must have its
//   inverse computed before it is shared.

#include <Eigen/Core>
#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMPoint3d.h"
#include "ostrum/foundation/geometry/MMTransform.h"

class OSTRUM_API MMTransformMatrix : public MMTransform {
 public:
  /// Shape of the matrix, from the cheapest to invert to the dearest.
  enum EMatrixClass : std::uint8_t {
    eIdentity,
    eTranslation,
    eScale1D,
    eScale3D,
    eOrthoNormal,
    eOrthoGonal,
    eGeneral,
  };

  /// The identity.
  MMTransformMatrix();
  MMTransformMatrix(MMTransformMatrix const&) = default;
  MMTransformMatrix& operator=(MMTransformMatrix const&) = default;
  /// The given matrix, its class derived from the elements.
  explicit MMTransformMatrix(Eigen::Matrix4d const& m);
  ~MMTransformMatrix() override;

  // MMTransform.
  /// A new copy, with class and kept inverse, owned by the caller.
  MMTransformMatrix* Clone() const override;
  /// Replaces the matrix by its inverse; false for a singular matrix, which then stays as it was.
  /// With the inverse kept (after a first Invert, GetInverse or HasInverse) nothing is computed:
  /// matrix and inverse change roles, and so do their classes.
  bool Invert() override;
  /// Invert for a matrix whose inverse is kept: turns it round and answers true without a call;
  /// otherwise does nothing and answers false (then Invert computes the inverse). For callers
  /// that turn the same transforms round again and again, such as the transform cache.
  bool InvertKept() {
    if (m_inverse_state != EInverse::eCurrent) return false;
    _Turn();
    return true;
  }
  bool IsIdentity() const override;
  void ConvertDouble16(double* out) const override;
  MMTransformMatrix const* AsMatrix() const override { return this; }

  /// The identity.
  void MakeIdentity();
  /// A translation by t.
  void MakeTranslation(MMPoint3d<double> const& t);
  void MakeTranslation(double x, double y, double z);
  /// A uniform scale about the origin; 0 makes a singular matrix.
  void MakeScale1D(double s);
  /// A scale by axis about the origin; a zero factor makes a singular matrix.
  void MakeScale3D(double const& sx, double const& sy, double const& sz);
  /// A rotation by `radians` about the line through `center` along `axis` (any non-zero length;
  /// a zero axis gives the identity). Right-handed about the axis.
  void MakeRotation(MMPoint3d<double> const& center, MMPoint3d<double> const& axis, double radians);
  /// Rotations about the x, y and z axes through the origin by x, y and z degrees, the one about
  /// x applied first, then y, then z: M = Rz * Ry * Rx.
  void MakeRotationXYZ(double x, double y, double z);
  /// The same applied in the other order, z first, then y, then x: M = Rx * Ry * Rz.
  void MakeRotationZYX(double x, double y, double z);
  /// Keeps the 3x3 (and projective) part and moves its fixed point to `center`: the matrix
  /// becomes T(center) * M0 * T(-center), M0 being the matrix without its translation. The
  /// translation the matrix had is dropped.
  void SetRotationCenter(MMPoint3d<double> const& center);

  /// Parallel projection of the box [left, right] x [bottom, top] x [near, far] of eye
  /// coordinates onto the cube [-1, 1]^3: left to -1, right to 1, bottom to -1, top to 1, near to
  /// -1, far to 1. Near and far are z coordinates, so the view runs towards +z.
  void MakeOrthoGraphicProjection(double left, double right, double top, double bottom, double far,
                                  double near);
  /// Perspective projection with a full vertical opening angle of `angle` degrees. The eye sits
  /// on the axis through the centre of [left, right] x [bottom, top], at the distance from the
  /// middle depth (near + far) / 2 at which that rectangle fills the opening, and looks towards
  /// +z. The rectangle at the middle depth maps onto [-1, 1]^2 as the parallel projection maps
  /// it, so switching between the two keeps that plane's framing; depth maps near to -1 and far
  /// to 1 (the eye is kept in front of the near plane). An angle outside (0, 180) gives the
  /// parallel projection.
  void MakePerspectiveProjection(double left, double right, double top, double bottom, double far,
                                 double near, double angle);

  /// M = m * M: m applies after what the matrix did.
  void PreMultiply(MMTransformMatrix const& m);
  /// M = M * m: m applies before what the matrix did.
  MMTransformMatrix& operator*=(MMTransformMatrix const& m);

  /// Element (row, column), 0 to 3 each, unchecked. With `inverse` true, the element of the kept
  /// inverse (NaN for a singular matrix).
  double GetElement(int row, int column, bool inverse = false) const;
  /// Sets element (row, column), 0 to 3 each, unchecked. With `refresh` false the class drops to
  /// general and the inverse waits: set all elements, then call VerifyAndSetClass (and, to have
  /// the inverse ready, _ComputeInverse). With `refresh` true both run at once.
  void SetElement(int row, int column, double value, bool refresh = false);
  /// Derives the class from the elements and keeps it; answers it.
  EMatrixClass VerifyAndSetClass();
  /// Computes the kept inverse now by the class's method; false when the matrix is singular.
  virtual bool _ComputeInverse();

  /// The class as kept.
  EMatrixClass GetClass() const { return m_class; }
  /// The scale factor: for the identity and a translation 1, for a uniform scale its factor,
  /// otherwise the signed cube root of the determinant of the 3x3 part (the one factor that
  /// scales volumes alike).
  double GetScale() const;
  /// The sixteen elements row by row, rounded to float.
  void ConvertFloat16(float* out) const;
  /// The sixteen elements row by row.
  void ConvertToDouble16(double* out) const;

  /// The matrix itself. The reference names where the matrix is kept now; Invert keeps the
  /// inverse elsewhere and only changes which of the two is the matrix, so read it again after
  /// an Invert (the transform itself, GetElement and a reference to the transform follow at
  /// once).
  Eigen::Matrix4d const& GetMatrix() const { return m_pair[m_forward]; }
  /// Replaces the matrix; the class is derived from the elements.
  void SetMatrix(Eigen::Matrix4d const& m);
  /// The kept inverse, computed first if the matrix changed; all NaN for a singular matrix.
  Eigen::Matrix4d const& GetInverse() const;
  /// False when the matrix is singular.
  bool HasInverse() const;

 protected:
  // The cheap inverses, one per class; each is valid only for a matrix of its class (and the
  // general one for any). Each writes the kept inverse, or marks it singular and answers false.
  bool _ComputeInverseIdentity() const;
  bool _ComputeInverseTranslation() const;
  bool _ComputeInverseScale1D() const;
  bool _ComputeInverseScale3D() const;
  bool _ComputeInverseOrthoNormal() const;
  bool _ComputeInverseOrthoGonal() const;
  bool _ComputeInverseGeneral() const;
  /// The method of class `c` (the general one for eGeneral).
  bool _ComputeInverseAs(EMatrixClass c) const;

  void _Apply(double* out, double const* in, bool direction) const override;
  void _ApplyInverse(double* out, double const* in, bool direction) const override;

 private:
  enum class EInverse : std::uint8_t { ePending, eCurrent, eSingular };

  bool _EnsureInverse() const;
  bool _MarkSingular() const;
  // Marks the kept inverse as computed and derives its class from the matrix's.
  OSTRUM_LOCAL void _MarkCurrent() const;
  void _Set(Eigen::Matrix4d const& m, EMatrixClass c);
  // Takes over `m` into an identity: the matrix and class, and the inverse only when `m` has
  // it already (or knows it has none), so that nothing is copied that is not known.
  OSTRUM_LOCAL void _TakeOver(MMTransformMatrix const& m);

  // Matrix and kept inverse change roles, and so do their classes; no element moves.
  void _Turn() {
    m_forward ^= 1;
    EMatrixClass const c = m_class;
    m_class = m_inverse_class;
    m_inverse_class = c;
  }

  Eigen::Matrix4d& _Matrix() { return m_pair[m_forward]; }
  Eigen::Matrix4d const& _Matrix() const { return m_pair[m_forward]; }
  // Written by const readers on first need.
  Eigen::Matrix4d& _Inverse() const { return m_pair[m_forward ^ 1]; }

  // The matrix and its kept inverse, side by side: m_forward names the matrix, the other is the
  // inverse, valid while m_inverse_state is eCurrent. Invert turns m_forward, so a reference
  // to the transform shows the inverse from then on without a byte of either moving.
  mutable Eigen::Matrix4d m_pair[2];
  EMatrixClass m_class = eIdentity;
  // The class of the kept inverse, valid with it: the matrix's class, except that the inverse
  // of a matrix with orthogonal columns may have none (then general).
  mutable EMatrixClass m_inverse_class = eIdentity;
  std::uint8_t m_forward = 0;
  mutable EInverse m_inverse_state = EInverse::eCurrent;
};

/// a * b: the matrix that applies b first and then a, with the class the two guarantee.
OSTRUM_API MMTransformMatrix operator*(MMTransformMatrix const& a, MMTransformMatrix const& b);
