#pragma once
// MMVector: a fixed-size vector of N numbers, used as three doubles for the point and the
// normal of a plane.

#include <array>
#include <cmath>
#include <cstddef>

#include "ostrum/Export.h"

template <class T, int N>
class OSTRUM_API MMVector {
  static_assert(N > 0, "a vector has at least one component");

 public:
  /// All components zero.
  constexpr MMVector() = default;
  /// The components in order; exactly N of them.
  template <class... A>
    requires(sizeof...(A) == N && N > 1)
  constexpr MMVector(A... values) : m_v{static_cast<T>(values)...} {}

  /// Component i; the index is not checked.
  constexpr T& operator[](std::size_t i) { return m_v[i]; }
  constexpr T const& operator[](std::size_t i) const { return m_v[i]; }
  constexpr T* Data() { return m_v.data(); }
  constexpr T const* Data() const { return m_v.data(); }
  static constexpr int Size() { return N; }

  constexpr MMVector& operator+=(MMVector const& o) {
    for (int i = 0; i < N; ++i) m_v[i] += o.m_v[i];
    return *this;
  }
  constexpr MMVector& operator-=(MMVector const& o) {
    for (int i = 0; i < N; ++i) m_v[i] -= o.m_v[i];
    return *this;
  }
  constexpr MMVector& operator*=(T s) {
    for (T& v : m_v) v *= s;
    return *this;
  }
  friend constexpr MMVector operator+(MMVector a, MMVector const& b) { return a += b; }
  friend constexpr MMVector operator-(MMVector a, MMVector const& b) { return a -= b; }
  friend constexpr MMVector operator*(MMVector a, T s) { return a *= s; }
  friend constexpr MMVector operator*(T s, MMVector a) { return a *= s; }
  friend constexpr MMVector operator-(MMVector a) { return a *= T(-1); }
  /// Exact comparison of all components.
  friend constexpr bool operator==(MMVector const&, MMVector const&) = default;

  constexpr T Dot(MMVector const& o) const {
    T sum{0};
    for (int i = 0; i < N; ++i) sum += m_v[i] * o.m_v[i];
    return sum;
  }
  /// Euclidean length.
  T Length() const { return std::sqrt(Dot(*this)); }
  /// The vector scaled to length 1; the zero vector stays zero.
  MMVector Normalized() const {
    T const len = Length();
    return len > T(0) ? *this * (T(1) / len) : *this;
  }

 private:
  std::array<T, N> m_v{};
};
