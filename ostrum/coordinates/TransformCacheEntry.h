#pragma once
// TransformCacheEntry: one slot of the repository's cache of composed transforms. It holds the
// pair of nodes it was asked for and the transform between them, which it owns. Slots never
// copy their transform: the repository moves the three fields between slots, so a transform
// handed out by reference stays at its address while its entry moves.

#include "ostrum/Export.h"

class MCoordinateSystem;
class MMTransform;
class MTransformRepositoryCoordinateSystem;

class OSTRUM_API TransformCacheEntry {
 public:
  TransformCacheEntry() = default;
  TransformCacheEntry(TransformCacheEntry const&) = delete;
  TransformCacheEntry& operator=(TransformCacheEntry const&) = delete;
  /// Deletes the transform.
  ~TransformCacheEntry();

  /// True when the slot holds a transform from the node of `from` to the node of `to`.
  bool Matches(MCoordinateSystem const& from, MCoordinateSystem const& to) const;
  bool Matches(MTransformRepositoryCoordinateSystem const* from,
               MTransformRepositoryCoordinateSystem const* to) const {
    return m_from == from && m_to == to && m_transform;
  }
  /// Stores the pair and takes ownership of `t`, deleting the transform held before.
  void SetEntry(MCoordinateSystem const& from, MCoordinateSystem const& to, MMTransform* t);
  void SetEntry(MTransformRepositoryCoordinateSystem const* from,
                MTransformRepositoryCoordinateSystem const* to, MMTransform* t);
  /// Empties the slot and deletes its transform.
  void ClearEntry();
  /// Turns the entry round in place: the pair is swapped and the transform inverted, so a
  /// reference to it now shows the inverse.
  void TakeReversed();

  MTransformRepositoryCoordinateSystem const* GetFrom() const { return m_from; }
  MTransformRepositoryCoordinateSystem const* GetTo() const { return m_to; }
  /// The transform, owned by the slot; null in an empty slot.
  MMTransform* GetTransform() const { return m_transform; }

 private:
  friend class MTransformRepository;

  MTransformRepositoryCoordinateSystem const* m_from = nullptr;
  MTransformRepositoryCoordinateSystem const* m_to = nullptr;
  MMTransform* m_transform = nullptr;
};
