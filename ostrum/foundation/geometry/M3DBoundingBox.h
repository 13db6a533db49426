#pragma once
// M3DBoundingBox: an axis-aligned box given by its minimum and maximum corners. The empty box
// has each minimum at 3.4028235e38 (the largest float) and each maximum at -3.4028235e38, so
// that extending it by a first point makes that point the whole box. A box is usable when its
// maximum is at least its minimum on all three axes; a box of one point is usable.

#include <algorithm>
#include <limits>

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMPoint3d.h"

template <class T>
class OSTRUM_API M3DBoundingBox {
 public:
  /// The bound an empty box starts from, the largest float whatever T is.
  static constexpr T EmptyBound() { return static_cast<T>(std::numeric_limits<float>::max()); }

  /// The empty box (not usable).
  constexpr M3DBoundingBox() = default;
  /// The box from min to max as given; it is not reordered, so min > max on an axis leaves it
  /// unusable.
  constexpr M3DBoundingBox(MMPoint3d<T> const& min, MMPoint3d<T> const& max)
      : m_min(min), m_max(max) {}

  constexpr MMPoint3d<T> const& GetMin() const { return m_min; }
  constexpr MMPoint3d<T> const& GetMax() const { return m_max; }
  constexpr void SetMin(MMPoint3d<T> const& p) { m_min = p; }
  constexpr void SetMax(MMPoint3d<T> const& p) { m_max = p; }
  constexpr void Set(MMPoint3d<T> const& min, MMPoint3d<T> const& max) { m_min = min; m_max = max; }

  /// Back to the empty box.
  constexpr void MakeEmpty() { *this = M3DBoundingBox(); }
  /// Maximum >= minimum on all three axes. NaN bounds make a box unusable.
  constexpr bool IsUsable() const {
    return m_max.x >= m_min.x && m_max.y >= m_min.y && m_max.z >= m_min.z;
  }

  /// Grows the box to hold p.
  constexpr void Extend(MMPoint3d<T> const& p) {
    m_min.Set(std::min(m_min.x, p.x), std::min(m_min.y, p.y), std::min(m_min.z, p.z));
    m_max.Set(std::max(m_max.x, p.x), std::max(m_max.y, p.y), std::max(m_max.z, p.z));
  }
  /// Grows the box to hold another one; an unusable box adds nothing.
  constexpr void Extend(M3DBoundingBox const& o) {
    if (!o.IsUsable()) return;
    Extend(o.m_min);
    Extend(o.m_max);
  }

  /// Corner i of 0 to 7: bit 0 picks the maximum in x, bit 1 in y, bit 2 in z.
  constexpr MMPoint3d<T> GetCorner(int i) const {
    return MMPoint3d<T>((i & 1) ? m_max.x : m_min.x, (i & 2) ? m_max.y : m_min.y,
                        (i & 4) ? m_max.z : m_min.z);
  }
  /// Middle of the box; meaningful only for a usable box.
  constexpr MMPoint3d<T> GetCenter() const { return (m_min + m_max) / T(2); }
  /// Extent along each axis; meaningful only for a usable box.
  constexpr MMPoint3d<T> GetSize() const { return m_max - m_min; }
  /// True when p lies inside or on the boundary.
  constexpr bool Contains(MMPoint3d<T> const& p) const {
    return p.x >= m_min.x && p.x <= m_max.x && p.y >= m_min.y && p.y <= m_max.y &&
           p.z >= m_min.z && p.z <= m_max.z;
  }

  /// Exact comparison of both corners.
  friend constexpr bool operator==(M3DBoundingBox const&, M3DBoundingBox const&) = default;

 private:
  MMPoint3d<T> m_min{EmptyBound(), EmptyBound(), EmptyBound()};
  MMPoint3d<T> m_max{-EmptyBound(), -EmptyBound(), -EmptyBound()};
};
