#pragma once
// TransformCacheEntry: one slot of the repository's cache of composed transforms. It holds the
// pair of nodes it was asked for and the transform between them, which it owns. Entries never
// copy or move their transform: the repository keeps the entries in place and orders them by
// last use, so a transform handed out by reference stays at its address while its slot changes.

#include "ostrum/Export.h"

class MCoordinateSystem;
class MMTransform;
class MMTransformMatrix;
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
  /// reference to it now shows the inverse. A matrix keeps its inverse, so after the first turn
  /// this computes and moves nothing (MMTransformMatrix::Invert).
  void TakeReversed();

  MTransformRepositoryCoordinateSystem const* GetFrom() const { return m_from; }
  MTransformRepositoryCoordinateSystem const* GetTo() const { return m_to; }
  /// The transform, owned by the slot; null in an empty slot.
  MMTransform* GetTransform() const { return m_transform; }
  /// The transform when it is a plain MMTransformMatrix (no derived kind), else null: the query
  /// turns such a one round without a virtual call.
  MMTransformMatrix* GetPlainMatrix() const { return m_plain; }

 private:
  friend class MTransformRepository;

  // Aligned to 32 bytes, so that no entry straddles two cache lines: the pair is read and turned
  // round as one 16-byte unit on the hot path, where an access split across lines would cost as
  // much as the rest of a hit.
  alignas(32) MTransformRepositoryCoordinateSystem const* m_from = nullptr;
  MTransformRepositoryCoordinateSystem const* m_to = nullptr;
  MMTransform* m_transform = nullptr;
  MMTransformMatrix* m_plain = nullptr;  // m_transform when it is exactly a MMTransformMatrix
};
