// The transform query of MTransformRepository: the cache of composed transforms and the path
// search through the nearest common ancestor.

#include <typeinfo>

#include "ostrum/coordinates/MTransformRepository.h"
#include "ostrum/foundation/geometry/Concat.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

namespace {

using Node = MTransformRepositoryCoordinateSystem;

// A node without a transform (the root of another repository) counts as the identity.
bool IsIdentity(Node const* node) {
  MMTransform const* t = node->GetTransform();
  return !t || t->IsIdentity();
}

}  // namespace

// --- the query ---

MMTransform const& MTransformRepository::GetTransform(MCoordinateSystem const& from,
                                                      MCoordinateSystem const& to) const {
  Node const* const f = from.GetInternalSystem();
  Node const* const t = to.GetInternalSystem();
  std::int16_t reversed;
  std::int16_t slot = _FindEitherWay(f, t, reversed);
  if (slot != kCacheSize) {
    ++m_statistics.hits;
  } else {
    // The opposite direction is turned round in place rather than given a second slot.
    slot = reversed;
    if (slot != kCacheSize) {
      ++m_statistics.reversed_hits;
      m_cache[slot].TakeReversed();
    } else {
      ++m_statistics.misses;
      slot = _ComputeIntoCache(f, t);
    }
  }
  if (slot > 0) _MoveToTop(slot);
  return *m_cache[0].m_transform;
}

MMTransformMatrix const& MTransformRepository::GetTransformMatrix(MCoordinateSystem const& from,
                                                                  MCoordinateSystem const& to) const {
  MMTransformMatrix const* m = GetTransform(from, to).AsMatrix();
  if (!m) throw std::bad_cast();
  return *m;
}

MMTransform const* MTransformRepository::CreateTransform(MCoordinateSystem const& from,
                                                         MCoordinateSystem const& to) const {
  return GetTransform(from, to).Clone();
}

MMTransform* MTransformRepository::ComputeNewTransform(MCoordinateSystem const& from,
                                                       MCoordinateSystem const& to) const {
  return GetTransform(from, to).Clone();
}

std::int16_t MTransformRepository::_ComputeIntoCache(Node const* from, Node const* to) const {
  // A system too deep for the search leaves both lists empty, and the pair gets the identity.
  m_from_path.clear();
  m_to_path.clear();
  _ShortestPath(m_from_path, m_to_path, from, to);

  // 1. The way from `to` up to the common ancestor, inverted: the way down to `to`.
  MMTransform* second = nullptr;
  if (m_to_path.size() == 1) {
    if (MMTransform const* t = m_to_path.front()->GetTransform()) second = t->Clone();
  } else if (m_to_path.size() > 1) {
    second = _Concat(m_to_path, nullptr, m_concat_list);
  }
  if (second && second->IsIdentity()) {
    delete second;
    second = nullptr;
  } else if (second) {
    second->Invert();
  }
  // 2. Up from `from`, then down. With no way up the inverted way down is the result itself.
  MMTransform* result;
  if (m_from_path.empty() && second && second->AsMatrix()) {
    result = second;
  } else {
    result = _Concat(m_from_path, second ? &second : nullptr, m_concat_list);
    delete second;
  }

  // 3. The pair is known not to be cached.
  return _StoreAtNext(from, to, result);
}

// --- the cache ---

std::int16_t MTransformRepository::_FindInCache(Node const* from, Node const* to) const {
  for (std::int16_t i = 0; i < kCacheSize; ++i)
    if (m_cache[i].Matches(from, to)) return i;
  return kCacheSize;
}

std::int16_t MTransformRepository::_FindEitherWay(Node const* from, Node const* to,
                                                   std::int16_t& reversed) const {
  // One pass serves both questions: the pair as asked wherever it stands, else the first slot
  // holding it the other way round.
  reversed = kCacheSize;
  for (std::int16_t i = 0; i < kCacheSize; ++i) {
    TransformCacheEntry const& entry = m_cache[i];
    if (entry.m_from == from) {
      if (entry.m_to == to && entry.m_transform) return i;
    } else if (entry.m_from == to && entry.m_to == from && entry.m_transform && reversed == kCacheSize) {
      reversed = i;
    }
  }
  return kCacheSize;
}

bool MTransformRepository::_CanGetTransformFromCache(std::int16_t& slot, MCoordinateSystem const& from,
                                                     MCoordinateSystem const& to) const {
  slot = _FindInCache(from.GetInternalSystem(), to.GetInternalSystem());
  return slot != kCacheSize;
}

std::int16_t MTransformRepository::_AddTransformToCache(MCoordinateSystem const& from,
                                                        MCoordinateSystem const& to,
                                                        MMTransform* t) const {
  std::int16_t const slot = _FindInCache(from.GetInternalSystem(), to.GetInternalSystem());
  if (slot != kCacheSize) {
    if (t != m_cache[slot].m_transform) delete t;
    return slot;
  }
  return _StoreAtNext(from.GetInternalSystem(), to.GetInternalSystem(), t);
}

std::int16_t MTransformRepository::_StoreAtNext(Node const* from, Node const* to, MMTransform* t) const {
  std::int16_t const slot = static_cast<std::int16_t>(m_cache_next);
  m_cache[slot].SetEntry(from, to, t);
  if (++m_cache_next == kCacheSize) m_cache_next = kCacheSize - 1;
  return slot;
}

void MTransformRepository::_PutTransformOnTopOfCache(std::int16_t slot) const {
  if (slot > 0 && slot < kCacheSize) _MoveToTop(slot);
}

void MTransformRepository::_MoveToTop(std::int16_t slot) const {
  // Only the three fields move; the transform objects stay where they are, so references
  // handed out earlier stay valid.
  TransformCacheEntry& moving = m_cache[slot];
  Node const* const from = moving.m_from;
  Node const* const to = moving.m_to;
  MMTransform* const transform = moving.m_transform;
  for (std::int16_t i = slot; i > 0; --i) {
    m_cache[i].m_from = m_cache[i - 1].m_from;
    m_cache[i].m_to = m_cache[i - 1].m_to;
    m_cache[i].m_transform = m_cache[i - 1].m_transform;
  }
  m_cache[0].m_from = from;
  m_cache[0].m_to = to;
  m_cache[0].m_transform = transform;
}

void MTransformRepository::_CacheInvalidate() {
  for (TransformCacheEntry& entry : m_cache) entry.ClearEntry();
}

// --- the path search ---

bool MTransformRepository::_PathToWorld(Path& path, Node const* node) const {
  Node const* const root = m_absolute_world.GetInternalSystem();
  path.clear();
  int count = 0;
  for (Node const* n = node; n && n != root && count < kMaxDepth; n = n->GetTo()) {
    path.push_back(n);
    ++count;
  }
  path.push_back(root);
  return count < kMaxDepth;
}

bool MTransformRepository::_ShortestPath(Path& from_path, Path& to_path, Node const* from,
                                         Node const* to) const {
  Path& a = m_walk_from;
  Path& b = m_walk_to;
  bool const from_ok = _PathToWorld(a, from);
  bool const to_ok = _PathToWorld(b, to);
  if (!from_ok || !to_ok) return false;

  // 1. Walk both paths down from the root while they agree.
  std::size_t ia = a.size() - 1, ib = b.size() - 1;
  while (a[ia] == b[ib] && ia != 0 && ib != 0) {
    --ia;
    --ib;
  }
  from_path.clear();
  to_path.clear();
  if (a[ia] != b[ib]) {
    // 2. A fork: a[ia] and b[ib] are the children of the common ancestor on each side. They
    //    are kept even when their transform is the identity.
    for (std::size_t i = 0; i < ia; ++i)
      if (!IsIdentity(a[i])) from_path.push_back(a[i]);
    from_path.push_back(a[ia]);
    for (std::size_t i = 0; i < ib; ++i)
      if (!IsIdentity(b[i])) to_path.push_back(b[i]);
    to_path.push_back(b[ib]);
  } else if (ia != 0) {
    // 3. `to` lies on the way from `from` to the root.
    for (std::size_t i = 0; a[i] != b.front(); ++i)
      if (!IsIdentity(a[i])) from_path.push_back(a[i]);
  } else {
    // 4. `from` lies on the way from `to` to the root, or both are the same system.
    for (std::size_t i = 0; b[i] != a.front(); ++i)
      if (!IsIdentity(b[i])) to_path.push_back(b[i]);
  }
  return true;
}

bool MTransformRepository::_FillInPathToWorld(Path& path, MCoordinateSystem const& system) const {
  return _PathToWorld(path, system.GetInternalSystem());
}

bool MTransformRepository::_FillInShortestPath(Path& from_path, Path& to_path,
                                               MCoordinateSystem const& from,
                                               MCoordinateSystem const& to) const {
  return _ShortestPath(from_path, to_path, from.GetInternalSystem(), to.GetInternalSystem());
}

MMTransform* MTransformRepository::_Concat(Path const& path, MMTransform** extra,
                                           std::vector<MMTransform*>& list) {
  // The far end first: Concat lets the last of its list act first, and that is the near end.
  list.clear();
  for (auto it = path.rbegin(); it != path.rend(); ++it) list.push_back((*it)->GetTransform());
  return Concat(list, extra);
}

MMTransform* MTransformRepository::_ConcatPathTransforms(Path& path, MMTransform** extra) {
  std::vector<MMTransform*> list;
  list.reserve(path.size());
  return _Concat(path, extra, list);
}
