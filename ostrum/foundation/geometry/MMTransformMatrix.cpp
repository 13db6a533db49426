#include "ostrum/foundation/geometry/MMTransformMatrix.h"

#include <Eigen/LU>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

using Mat4 = Eigen::Matrix4d;
using Mat3 = Eigen::Matrix3d;
using Class = MMTransformMatrix::EMatrixClass;

// Tolerance of the class checks, relative to the size of the elements compared.
constexpr double kClassTolerance = 1e-12;
// A general matrix counts as singular when |det| falls below this share of the product of its
// row lengths (the largest |det| rows of those lengths can have), a measure that does not
// depend on the units of the matrix. Rows so long that the product overflows count as singular.
constexpr double kSingularRatio = 1e-14;
constexpr double kDegree = 3.141592653589793 / 180.0;

// The classes by their 3x3 part, which is what decides the class of a product: every class but
// the general one is affine, and the product of affine matrices is affine with the product of
// the 3x3 parts.
enum Linear { kUnit, kUniform, kDiagonal, kRotation, kOrthoColumns, kAny };

constexpr Linear LinearOf(Class c) {
  switch (c) {
    case Class::eIdentity:
    case Class::eTranslation: return kUnit;
    case Class::eScale1D: return kUniform;
    case Class::eScale3D: return kDiagonal;
    case Class::eOrthoNormal: return kRotation;
    case Class::eOrthoGonal: return kOrthoColumns;
    case Class::eGeneral: break;
  }
  return kAny;
}

// kProduct[a][b]: the kind of A * B (B applied first). With Q a rotation and D diagonal, an
// orthogonal-column matrix is Q * D: multiplying it by a rotation on the left or by a diagonal on
// the right keeps that form; D * Q and (Q D) * Q' do not.
constexpr Linear kProduct[6][6] = {
    /* unit     */ {kUnit, kUniform, kDiagonal, kRotation, kOrthoColumns, kAny},
    /* uniform  */ {kUniform, kUniform, kDiagonal, kOrthoColumns, kOrthoColumns, kAny},
    /* diagonal */ {kDiagonal, kDiagonal, kDiagonal, kAny, kAny, kAny},
    /* rotation */ {kRotation, kOrthoColumns, kOrthoColumns, kRotation, kOrthoColumns, kAny},
    /* columns  */ {kOrthoColumns, kOrthoColumns, kOrthoColumns, kAny, kAny, kAny},
    /* any      */ {kAny, kAny, kAny, kAny, kAny, kAny},
};

constexpr Class ClassOfProductByKinds(Class a, Class b) {
  if (a == Class::eIdentity) return b;
  if (b == Class::eIdentity) return a;
  switch (kProduct[LinearOf(a)][LinearOf(b)]) {
    case kUnit: return Class::eTranslation;
    case kUniform: return Class::eScale1D;
    case kDiagonal: return Class::eScale3D;
    case kRotation: return Class::eOrthoNormal;
    case kOrthoColumns: return Class::eOrthoGonal;
    case kAny: break;
  }
  return Class::eGeneral;
}

// The same as one lookup per product: kClassOfProduct[a][b] is the class of A * B.
using ClassTable = std::array<std::array<Class, Class::eGeneral + 1>, Class::eGeneral + 1>;
constexpr ClassTable kClassOfProduct = [] {
  ClassTable table{};
  for (int a = Class::eIdentity; a <= Class::eGeneral; ++a)
    for (int b = Class::eIdentity; b <= Class::eGeneral; ++b)
      table[a][b] = ClassOfProductByKinds(Class(a), Class(b));
  return table;
}();

bool HasOrthogonalColumns(Mat3 const& l) {
  Mat3 const g = l.transpose() * l;
  for (int i = 0; i < 3; ++i)
    for (int j = i + 1; j < 3; ++j)
      if (std::abs(g(i, j)) > kClassTolerance * std::sqrt(g(i, i) * g(j, j))) return false;
  return true;
}

Class Classify(Mat4 const& m) {
  // 1. Anything projective is general.
  if (std::abs(m(3, 0)) > kClassTolerance || std::abs(m(3, 1)) > kClassTolerance ||
      std::abs(m(3, 2)) > kClassTolerance || std::abs(m(3, 3) - 1.0) > kClassTolerance)
    return Class::eGeneral;
  Mat3 const l = m.topLeftCorner<3, 3>();
  double const size = std::max(1.0, l.cwiseAbs().maxCoeff());
  // 2. A diagonal 3x3 part: identity, translation or one of the scales.
  bool diagonal = true;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      if (i != j && std::abs(l(i, j)) > kClassTolerance * size) diagonal = false;
  if (diagonal) {
    double const s = l(0, 0);
    if ((l.diagonal().array() - 1.0).abs().maxCoeff() <= kClassTolerance) {
      double const t = m.block<3, 1>(0, 3).cwiseAbs().maxCoeff();
      return t <= kClassTolerance ? Class::eIdentity : Class::eTranslation;
    }
    if (std::abs(l(1, 1) - s) <= kClassTolerance * std::abs(s) &&
        std::abs(l(2, 2) - s) <= kClassTolerance * std::abs(s))
      return Class::eScale1D;
    return Class::eScale3D;
  }
  // 3. Orthonormal, then merely orthogonal columns.
  if ((l.transpose() * l - Mat3::Identity()).cwiseAbs().maxCoeff() <= kClassTolerance)
    return Class::eOrthoNormal;
  if (HasOrthogonalColumns(l)) return Class::eOrthoGonal;
  return Class::eGeneral;
}

Mat3 RotationAbout(int axis, double radians) {
  double const c = std::cos(radians), s = std::sin(radians);
  Mat3 r = Mat3::Identity();
  int const i = (axis + 1) % 3, j = (axis + 2) % 3;
  r(i, i) = c;
  r(i, j) = -s;
  r(j, i) = s;
  r(j, j) = c;
  return r;
}

// The small kernels below are forced inline: called per product, a call and the result passed
// through memory would cost as much as the arithmetic.
#define OSTRUM_KERNEL inline __attribute__((always_inline))

// a * b, column by column. Written out because Eigen's general product evaluator is not inlined
// here and then costs about twice as much for a 4x4 matrix; this form runs at the speed of an
// inlined Eigen product.
OSTRUM_KERNEL Mat4 Product(Mat4 const& a, Mat4 const& b) {
  Mat4 p;
  for (int j = 0; j < 4; ++j)
    p.col(j) = a.col(0) * b(0, j) + a.col(1) * b(1, j) + a.col(2) * b(2, j) + a.col(3) * b(3, j);
  return p;
}

// b = a * b in place, `a` not aliasing `b`: column j of the product needs only column j of b,
// so each column is read, combined and written back, and no temporary matrix goes through
// memory.
OSTRUM_KERNEL void PreMultiplyInPlace(Mat4 const& a, Mat4& b) {
  for (int j = 0; j < 4; ++j) {
    Eigen::Vector4d const c = a.col(0) * b(0, j) + a.col(1) * b(1, j) + a.col(2) * b(2, j) + a.col(3) * b(3, j);
    b.col(j) = c;
  }
}

// The products with a translation T, which need a quarter of the work of a full product and
// give the same numbers (the unit part of T only adds exact zeros and ones).
// m = T * m: each of the first three rows gains its translation times the last row.
OSTRUM_KERNEL void TranslateRows(Mat4& m, Mat4 const& t) {
  for (int r = 0; r < 3; ++r) m.row(r) += t(r, 3) * m.row(3);
}
// t = m * T in place: m with its last column replaced by m * (t, 1).
OSTRUM_KERNEL void TranslatedColumnsInto(Mat4& t, Mat4 const& m) {
  double const x = t(0, 3), y = t(1, 3), z = t(2, 3);
  t = m;
  t.col(3) += m.col(0) * x + m.col(1) * y + m.col(2) * z;
}
// m = m * T: the last column becomes m * (t, 1).
OSTRUM_KERNEL void TranslateColumns(Mat4& m, Mat4 const& t) {
  m.col(3) += m.col(0) * t(0, 3) + m.col(1) * t(1, 3) + m.col(2) * t(2, 3);
}

// The affine inverse with a given inverse of the 3x3 part: (L, t)^-1 = (L^-1, -L^-1 t). Written
// element by element for the same reason as Product.
OSTRUM_KERNEL void WriteAffineInverse(Mat4& out, Mat4 const& m, Mat3 const& li) {
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) out(r, c) = li(r, c);
    out(r, 3) = -(li(r, 0) * m(0, 3) + li(r, 1) * m(1, 3) + li(r, 2) * m(2, 3));
    out(3, r) = 0.0;
  }
  out(3, 3) = 1.0;
}

OSTRUM_KERNEL void ApplyMatrix(Mat4 const& m, bool affine, double* out, double const* in, bool direction) {
  double const x = in[0], y = in[1], z = in[2];
  for (int r = 0; r < 3; ++r) out[r] = m(r, 0) * x + m(r, 1) * y + m(r, 2) * z;
  if (direction) return;
  for (int r = 0; r < 3; ++r) out[r] += m(r, 3);
  if (affine) return;
  double const w = m(3, 0) * x + m(3, 1) * y + m(3, 2) * z + m(3, 3);
  for (int r = 0; r < 3; ++r) out[r] /= w;
}

// The inverse of any matrix into `out`; false when it is singular (|det| below kSingularRatio
// of the product of its row lengths, a measure that does not depend on the units) or the
// inverse overflows. Kept out of the member functions so that the commonest case of
// _EnsureInverse, a general matrix, reaches it without a call through the library's
// interposable symbols.
OSTRUM_KERNEL bool InvertGeneral(Mat4 const& m, Mat4& out) {
  if (m(3, 0) == 0.0 && m(3, 1) == 0.0 && m(3, 2) == 0.0 && m(3, 3) == 1.0) {
    // Affine: the 3x3 part is inverted by its cofactors and the translation follows, a third
    // of the work of a 4x4 inverse. The determinant is the 3x3 part's, as for the whole matrix,
    // and the last row's length is 1, so the bound below is that of the whole matrix too.
    double const bound = m.row(0).squaredNorm() * m.row(1).squaredNorm() * m.row(2).squaredNorm();
    double const c00 = m(1, 1) * m(2, 2) - m(1, 2) * m(2, 1);
    double const c01 = m(1, 2) * m(2, 0) - m(1, 0) * m(2, 2);
    double const c02 = m(1, 0) * m(2, 1) - m(1, 1) * m(2, 0);
    double const det = m(0, 0) * c00 + m(0, 1) * c01 + m(0, 2) * c02;
    if (!(det * det > kSingularRatio * kSingularRatio * bound)) return false;
    double const r = 1.0 / det;
    double const l[3][3] = {
        {c00 * r, (m(0, 2) * m(2, 1) - m(0, 1) * m(2, 2)) * r, (m(0, 1) * m(1, 2) - m(0, 2) * m(1, 1)) * r},
        {c01 * r, (m(0, 0) * m(2, 2) - m(0, 2) * m(2, 0)) * r, (m(0, 2) * m(1, 0) - m(0, 0) * m(1, 2)) * r},
        {c02 * r, (m(0, 1) * m(2, 0) - m(0, 0) * m(2, 1)) * r, (m(0, 0) * m(1, 1) - m(0, 1) * m(1, 0)) * r},
    };
    double t[3];
    for (int i = 0; i < 3; ++i) t[i] = -(l[i][0] * m(0, 3) + l[i][1] * m(1, 3) + l[i][2] * m(2, 3));
    // Overflow shows as an element that is not finite; x * 0 is 0 for every finite x and NaN
    // otherwise, so one sum tells for all twelve without a branch per element.
    double finite = 0.0;
    for (int i = 0; i < 3; ++i) finite += (l[i][0] + l[i][1] + l[i][2] + t[i]) * 0.0;
    if (finite != 0.0) return false;
    for (int c = 0; c < 3; ++c) out.col(c) << l[0][c], l[1][c], l[2][c], 0.0;
    out.col(3) << t[0], t[1], t[2], 1.0;
    return true;
  }
  // |det| against the product of the row lengths, compared squared to spare the roots.
  double const bound = m.rowwise().squaredNorm().prod();
  double const det = m.determinant();
  if (!(det * det > kSingularRatio * kSingularRatio * bound)) return false;
  out = m.inverse();
  return out.allFinite();
}

}  // namespace

MMTransformMatrix::MMTransformMatrix() : m_pair{Mat4::Identity(), Mat4::Identity()} {}

MMTransformMatrix::MMTransformMatrix(Eigen::Matrix4d const& m) : MMTransformMatrix() {
  SetMatrix(m);
}

MMTransformMatrix::~MMTransformMatrix() = default;

MMTransformMatrix* MMTransformMatrix::Clone() const { return new MMTransformMatrix(*this); }

void MMTransformMatrix::_Set(Eigen::Matrix4d const& m, EMatrixClass c) {
  _Matrix() = m;
  m_class = c;
  m_inverse_state = EInverse::ePending;
}

void MMTransformMatrix::SetMatrix(Eigen::Matrix4d const& m) { _Set(m, Classify(m)); }

void MMTransformMatrix::MakeIdentity() {
  _Matrix().setIdentity();
  _Inverse().setIdentity();
  m_class = eIdentity;
  m_inverse_class = eIdentity;
  m_inverse_state = EInverse::eCurrent;
}

void MMTransformMatrix::MakeTranslation(MMPoint3d<double> const& t) {
  MakeTranslation(t.x, t.y, t.z);
}

void MMTransformMatrix::MakeTranslation(double x, double y, double z) {
  Mat4 m = Mat4::Identity();
  m(0, 3) = x;
  m(1, 3) = y;
  m(2, 3) = z;
  _Set(m, x == 0.0 && y == 0.0 && z == 0.0 ? eIdentity : eTranslation);
}

void MMTransformMatrix::MakeScale1D(double s) {
  Mat4 m = Mat4::Identity();
  m(0, 0) = m(1, 1) = m(2, 2) = s;
  _Set(m, s == 1.0 ? eIdentity : eScale1D);
}

void MMTransformMatrix::MakeScale3D(double const& sx, double const& sy, double const& sz) {
  Mat4 m = Mat4::Identity();
  m(0, 0) = sx;
  m(1, 1) = sy;
  m(2, 2) = sz;
  EMatrixClass c = eScale3D;
  if (sx == sy && sy == sz) c = sx == 1.0 ? eIdentity : eScale1D;
  _Set(m, c);
}

void MMTransformMatrix::MakeRotation(MMPoint3d<double> const& center,
                                     MMPoint3d<double> const& axis, double radians) {
  double const len = axis.Length();
  if (!(len > 0.0)) {
    MakeIdentity();
    return;
  }
  // Rodrigues: R = cos I + sin [k]x + (1 - cos) k k^T for the unit axis k.
  Eigen::Vector3d const k(axis.x / len, axis.y / len, axis.z / len);
  double const c = std::cos(radians), s = std::sin(radians);
  Mat3 cross;
  cross << 0, -k.z(), k.y(), k.z(), 0, -k.x(), -k.y(), k.x(), 0;
  Mat4 m = Mat4::Identity();
  m.topLeftCorner<3, 3>() = c * Mat3::Identity() + s * cross + (1.0 - c) * (k * k.transpose());
  _Set(m, eOrthoNormal);
  SetRotationCenter(center);
}

void MMTransformMatrix::MakeRotationXYZ(double x, double y, double z) {
  Mat4 m = Mat4::Identity();
  m.topLeftCorner<3, 3>() =
      RotationAbout(2, z * kDegree) * RotationAbout(1, y * kDegree) * RotationAbout(0, x * kDegree);
  _Set(m, eOrthoNormal);
}

void MMTransformMatrix::MakeRotationZYX(double x, double y, double z) {
  Mat4 m = Mat4::Identity();
  m.topLeftCorner<3, 3>() =
      RotationAbout(0, x * kDegree) * RotationAbout(1, y * kDegree) * RotationAbout(2, z * kDegree);
  _Set(m, eOrthoNormal);
}

void MMTransformMatrix::SetRotationCenter(MMPoint3d<double> const& center) {
  Eigen::Vector3d const c(center.x, center.y, center.z);
  Mat4 m = _Matrix();
  m.block<3, 1>(0, 3).setZero();
  // T(c) * M0 * T(-c), written out: M0 * T(-c) moves column 3 to -M0 c (plus the old last
  // column, now (0, 0, 0, m33)); T(c) then adds c times the last row to the first three rows.
  Eigen::Vector4d const last_column = -m.leftCols<3>() * c + m.col(3);
  m.col(3) = last_column;
  for (int r = 0; r < 3; ++r) m.row(r) += c[r] * m.row(3);
  // The 3x3 part is unchanged, so the class stays; an identity stays exactly the identity.
  _Set(m, m_class);
}

void MMTransformMatrix::MakeOrthoGraphicProjection(double left, double right, double top,
                                                   double bottom, double far, double near) {
  Mat4 m = Mat4::Identity();
  m(0, 0) = 2.0 / (right - left);
  m(0, 3) = -(right + left) / (right - left);
  m(1, 1) = 2.0 / (top - bottom);
  m(1, 3) = -(top + bottom) / (top - bottom);
  m(2, 2) = 2.0 / (far - near);
  m(2, 3) = -(far + near) / (far - near);
  _Set(m, Classify(m));
}

void MMTransformMatrix::MakePerspectiveProjection(double left, double right, double top,
                                                  double bottom, double far, double near,
                                                  double angle) {
  if (!(angle > 0.0 && angle < 180.0)) {
    MakeOrthoGraphicProjection(left, right, top, bottom, far, near);
    return;
  }
  double const hw = (right - left) / 2, hh = (top - bottom) / 2;
  double const cx = (right + left) / 2, cy = (top + bottom) / 2;
  // 1. The eye: on the axis through the centre, at distance d before the middle depth.
  double const d = std::abs(hh) / std::tan(angle * kDegree / 2);
  double const eye_z = (near + far) / 2 - d;
  // 2. Depths measured from the eye; the near plane is kept in front of it.
  double const s_far = far - eye_z;
  double s_near = near - eye_z;
  if (s_near <= 0.0) s_near = 1e-3 * std::abs(s_far);
  // 3. x and y scale by d / depth, so the middle depth (depth d) maps as the parallel projection
  //    does; depth s maps to (a s + b) / s, which is -1 at s_near and 1 at s_far.
  double const a = (s_far + s_near) / (s_far - s_near);
  double const b = -2.0 * s_near * s_far / (s_far - s_near);
  Mat4 m = Mat4::Zero();
  m(0, 0) = d / hw;
  m(0, 3) = -d * cx / hw;
  m(1, 1) = d / hh;
  m(1, 3) = -d * cy / hh;
  m(2, 2) = a;
  m(2, 3) = b - a * eye_z;
  m(3, 2) = 1.0;
  m(3, 3) = -eye_z;
  _Set(m, eGeneral);
}

void MMTransformMatrix::_TakeOver(MMTransformMatrix const& m) {
  _Matrix() = m._Matrix();
  m_class = m.m_class;
  m_inverse_state = m.m_inverse_state;
  if (m_inverse_state == EInverse::ePending) return;
  _Inverse() = m._Inverse();
  m_inverse_class = m.m_inverse_class;
}

void MMTransformMatrix::PreMultiply(MMTransformMatrix const& m) {
  // The cases by class, the commonest (two general matrices) last; per product there is one
  // lookup of the class and one store of the inverse's state besides the arithmetic.
  if (m.m_class == eIdentity) return;
  if (m_class == eIdentity) {
    _TakeOver(m);
    return;
  }
  if (m_class == eTranslation && m.m_class == eTranslation) {
    // Translations add, and so do their inverses.
    _Matrix().block<3, 1>(0, 3) += m._Matrix().block<3, 1>(0, 3);
    if (m_inverse_state == EInverse::eCurrent && m.m_inverse_state == EInverse::eCurrent)
      _Inverse().block<3, 1>(0, 3) += m._Inverse().block<3, 1>(0, 3);
    else
      m_inverse_state = EInverse::ePending;
    return;
  }
  if (m.m_class == eTranslation) {
    TranslateRows(_Matrix(), m._Matrix());
  } else if (m_class == eTranslation) {
    TranslatedColumnsInto(_Matrix(), m._Matrix());
  } else if (&m != this) {
    PreMultiplyInPlace(m._Matrix(), _Matrix());
  } else {
    Mat4 const a = m._Matrix();
    PreMultiplyInPlace(a, _Matrix());
  }
  m_class = kClassOfProduct[m.m_class][m_class];
  m_inverse_state = EInverse::ePending;
}

MMTransformMatrix& MMTransformMatrix::operator*=(MMTransformMatrix const& m) {
  if (m.m_class == eIdentity) return *this;
  if (m_class == eIdentity) {
    _TakeOver(m);
    return *this;
  }
  if (m_class == eTranslation && m.m_class == eTranslation) {
    PreMultiply(m);  // translations commute
    return *this;
  }
  if (m.m_class == eTranslation) {
    TranslateColumns(_Matrix(), m._Matrix());
  } else if (m_class == eTranslation) {
    Mat4 const t = _Matrix();
    _Matrix() = m._Matrix();
    TranslateRows(_Matrix(), t);
  } else {
    _Matrix() = Product(_Matrix(), m._Matrix());
  }
  m_class = kClassOfProduct[m_class][m.m_class];
  m_inverse_state = EInverse::ePending;
  return *this;
}

MMTransformMatrix operator*(MMTransformMatrix const& a, MMTransformMatrix const& b) {
  MMTransformMatrix product(b);
  product.PreMultiply(a);
  return product;
}

bool MMTransformMatrix::Invert() {
  if (m_inverse_state != EInverse::eCurrent && !_EnsureInverse()) return false;
  _Turn();
  return true;
}

bool MMTransformMatrix::IsIdentity() const {
  if (m_class == eIdentity) return true;
  return (_Matrix() - Mat4::Identity()).cwiseAbs().maxCoeff() <= kClassTolerance;
}

void MMTransformMatrix::ConvertDouble16(double* out) const { ConvertToDouble16(out); }

void MMTransformMatrix::ConvertToDouble16(double* out) const {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) out[4 * r + c] = _Matrix()(r, c);
}

void MMTransformMatrix::ConvertFloat16(float* out) const {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) out[4 * r + c] = static_cast<float>(_Matrix()(r, c));
}

double MMTransformMatrix::GetElement(int row, int column, bool inverse) const {
  return inverse ? GetInverse()(row, column) : _Matrix()(row, column);
}

void MMTransformMatrix::SetElement(int row, int column, double value, bool refresh) {
  _Matrix()(row, column) = value;
  m_class = eGeneral;
  m_inverse_state = EInverse::ePending;
  if (refresh) {
    VerifyAndSetClass();
    _ComputeInverse();
  }
}

MMTransformMatrix::EMatrixClass MMTransformMatrix::VerifyAndSetClass() {
  // The elements are unchanged, so a kept inverse stays valid whatever the class becomes; its
  // class follows the new one.
  m_class = Classify(_Matrix());
  if (m_inverse_state == EInverse::eCurrent) _MarkCurrent();
  return m_class;
}

double MMTransformMatrix::GetScale() const {
  switch (m_class) {
    case eIdentity:
    case eTranslation: return 1.0;
    case eScale1D: return _Matrix()(0, 0);
    default: return std::cbrt(_Matrix().topLeftCorner<3, 3>().determinant());
  }
}

Eigen::Matrix4d const& MMTransformMatrix::GetInverse() const {
  _EnsureInverse();
  return _Inverse();
}

bool MMTransformMatrix::HasInverse() const { return _EnsureInverse(); }

bool MMTransformMatrix::_ComputeInverse() { return _ComputeInverseAs(m_class); }

bool MMTransformMatrix::_ComputeInverseAs(EMatrixClass c) const {
  switch (c) {
    case eIdentity: return _ComputeInverseIdentity();
    case eTranslation: return _ComputeInverseTranslation();
    case eScale1D: return _ComputeInverseScale1D();
    case eScale3D: return _ComputeInverseScale3D();
    case eOrthoNormal: return _ComputeInverseOrthoNormal();
    case eOrthoGonal: return _ComputeInverseOrthoGonal();
    case eGeneral: break;
  }
  return _ComputeInverseGeneral();
}

bool MMTransformMatrix::_EnsureInverse() const {
  if (m_inverse_state != EInverse::ePending) return m_inverse_state == EInverse::eCurrent;
  if (m_class != eGeneral) return _ComputeInverseAs(m_class);
  // The general method, without the calls between the exported members.
  if (!InvertGeneral(_Matrix(), _Inverse())) return _MarkSingular();
  _MarkCurrent();
  return true;
}

void MMTransformMatrix::_MarkCurrent() const {
  m_inverse_state = EInverse::eCurrent;
  // Every class is closed under inversion except the orthogonal one: the inverse of Q * D is
  // D^-1 * Q^T, whose columns are orthogonal only in special cases. Decided here, once per
  // inversion, so that turning the matrix round and back checks nothing.
  m_inverse_class = m_class;
  if (m_class == eOrthoGonal && !HasOrthogonalColumns(_Inverse().topLeftCorner<3, 3>()))
    m_inverse_class = eGeneral;
}

bool MMTransformMatrix::_MarkSingular() const {
  _Inverse().setConstant(std::numeric_limits<double>::quiet_NaN());
  m_inverse_state = EInverse::eSingular;
  return false;
}

bool MMTransformMatrix::_ComputeInverseIdentity() const {
  _Inverse().setIdentity();
  _MarkCurrent();
  return true;
}

bool MMTransformMatrix::_ComputeInverseTranslation() const {
  _Inverse().setIdentity();
  _Inverse().block<3, 1>(0, 3) = -_Matrix().block<3, 1>(0, 3);
  _MarkCurrent();
  return true;
}

bool MMTransformMatrix::_ComputeInverseScale1D() const {
  double const r = 1.0 / _Matrix()(0, 0);
  if (!std::isfinite(r)) return _MarkSingular();
  _Inverse().setIdentity();
  _Inverse()(0, 0) = _Inverse()(1, 1) = _Inverse()(2, 2) = r;
  _Inverse().block<3, 1>(0, 3) = -r * _Matrix().block<3, 1>(0, 3);
  _MarkCurrent();
  return true;
}

bool MMTransformMatrix::_ComputeInverseScale3D() const {
  _Inverse().setIdentity();
  for (int i = 0; i < 3; ++i) {
    double const r = 1.0 / _Matrix()(i, i);
    if (!std::isfinite(r)) return _MarkSingular();
    _Inverse()(i, i) = r;
    _Inverse()(i, 3) = -r * _Matrix()(i, 3);
  }
  _MarkCurrent();
  return true;
}

bool MMTransformMatrix::_ComputeInverseOrthoNormal() const {
  WriteAffineInverse(_Inverse(), _Matrix(), _Matrix().topLeftCorner<3, 3>().transpose());
  _MarkCurrent();
  return true;
}

bool MMTransformMatrix::_ComputeInverseOrthoGonal() const {
  // With orthogonal columns L^T L is the diagonal of squared column lengths, so
  // L^-1 = diag(1 / |c_i|^2) L^T: row i of the inverse is column i over its squared length.
  Mat3 const l = _Matrix().topLeftCorner<3, 3>();
  Mat3 linear_inverse;
  for (int i = 0; i < 3; ++i) {
    double const r = 1.0 / l.col(i).squaredNorm();
    if (!std::isfinite(r)) return _MarkSingular();
    linear_inverse.row(i) = r * l.col(i).transpose();
  }
  WriteAffineInverse(_Inverse(), _Matrix(), linear_inverse);
  _MarkCurrent();
  return true;
}

bool MMTransformMatrix::_ComputeInverseGeneral() const {
  if (!InvertGeneral(_Matrix(), _Inverse())) return _MarkSingular();
  _MarkCurrent();
  return true;
}

void MMTransformMatrix::_Apply(double* out, double const* in, bool direction) const {
  switch (m_class) {
    case eIdentity:
      std::copy(in, in + 3, out);
      return;
    case eTranslation:
      for (int r = 0; r < 3; ++r) out[r] = direction ? in[r] : in[r] + _Matrix()(r, 3);
      return;
    default: ApplyMatrix(_Matrix(), m_class != eGeneral, out, in, direction);
  }
}

void MMTransformMatrix::_ApplyInverse(double* out, double const* in, bool direction) const {
  _EnsureInverse();
  ApplyMatrix(_Inverse(), m_class != eGeneral, out, in, direction);
}
