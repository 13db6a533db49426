// The transform query of MTransformRepository: the cache of composed transforms and the path
// search through the nearest common ancestor.

#include <algorithm>
#include <typeinfo>
#include <utility>

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

// The first bucket of a pair, the same for both directions: turning an entry round leaves it
// where it is, and the pair asked for and its reverse lie on one probe sequence.
int BucketOf(Node const* from, Node const* to) {
  auto a = reinterpret_cast<std::uintptr_t>(from) >> 4, b = reinterpret_cast<std::uintptr_t>(to) >> 4;
  if (a > b) std::swap(a, b);
  return static_cast<int>((a * 0x9E3779B97F4A7C15ull ^ b * 0xC2B2AE3D27D4EB4Full) >> 58);
}

constexpr int kMask = 63;

}  // namespace

// --- the query ---

MMTransform const& MTransformRepository::GetTransform(MCoordinateSystem const& from,
                                                      MCoordinateSystem const& to) const {
  Node const* const f = from.GetInternalSystem();
  Node const* const t = to.GetInternalSystem();
  // 1. The pair asked for last, again: nothing to search, nothing to move. Or its reverse,
  //    when the pair cannot be cached as asked besides.
  int reversed = -1;
  TransformCacheEntry const& top = m_cache[m_top];
  if (top.m_to == t && top.m_from == f && top.m_transform) {
    ++m_statistics.hits;
    return *top.m_transform;
  }
  if (top.m_to == f && top.m_from == t && top.m_transform && !m_both_directions) reversed = m_top;
  // 2. One probe sequence serves both directions. A pair cached as asked wins over its
  //    reverse, so while both may be cached the run is walked to its end before an entry is
  //    turned round.
  for (int b = BucketOf(f, t); reversed < 0 || m_both_directions; b = (b + 1) & kMask) {
    int const index = m_pair_index.buckets[b];
    if (index < 0) break;
    TransformCacheEntry const& entry = m_cache[index];
    if (entry.m_from == f && entry.m_to == t) {
      ++m_statistics.hits;
      _Touch(index);
      return *entry.m_transform;
    }
    if (entry.m_from == t && entry.m_to == f) reversed = index;
  }
  // 3. The opposite direction is turned round in place rather than given a second slot. The
  //    matrix keeps its inverse, so this changes which of the two it shows and moves nothing;
  //    a reference to the old direction shows the inverse from now on. Its bucket serves both
  //    directions: the index stays.
  if (reversed >= 0) {
    ++m_statistics.reversed_hits;
    TransformCacheEntry& entry = m_cache[reversed];
    std::swap(entry.m_from, entry.m_to);  // as TakeReversed, without the calls
    MMTransformMatrix* const plain = entry.GetPlainMatrix();
    if (!plain || !plain->InvertKept()) entry.m_transform->Invert();
    _Touch(reversed);
    return *entry.m_transform;
  }
  ++m_statistics.misses;
  int const index = _ComputeIntoCache(f, t);
  _Touch(index);
  return *m_cache[index].m_transform;
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

int MTransformRepository::_ComputeIntoCache(Node const* from, Node const* to) const {
  // The entry at "cache next" receives the pair.
  int const index = _EntryAtSlot(m_cache_next);
  // A system too deep for the search leaves both lists empty, and the pair gets the identity.
  m_from_path.clear();
  m_to_path.clear();
  _ShortestPath(m_from_path, m_to_path, from, to);

  // A lone way down through a transform of another kind than a plain matrix gives the pair a
  // copy of that very kind: the general way below keeps it.
  if (m_to_path.size() == 1) {
    MMTransform const* t = m_to_path.front()->GetTransform();
    if (t && typeid(*t) != typeid(MMTransformMatrix)) return _ComputeIntoCacheByCopies(index, from, to);
  }

  // 1. The way from `to` up to the common ancestor, inverted: the way down to `to`. Composed
  //    on the stack.
  MMTransformMatrix second;
  bool has_second = false;
  if (m_to_path.size() == 1) {
    if (MMTransform const* t = m_to_path.front()->GetTransform()) {
      second = *t->AsMatrix();
      has_second = true;
    }
  } else if (m_to_path.size() > 1) {
    _FillConcatList(m_to_path);
    ConcatInto(second, m_concat_list, nullptr);
    has_second = true;
  }
  if (has_second && second.IsIdentity())
    has_second = false;
  else if (has_second)
    second.Invert();

  // 2. Up from `from`, then down, into the matrix of the entry about to be pushed out when it
  //    is a plain one (its references lapse as it goes), so a miss allocates nothing.
  MMTransformMatrix* result = nullptr;
  TransformCacheEntry& leaving = m_cache[index];
  if (leaving.m_transform && typeid(*leaving.m_transform) == typeid(MMTransformMatrix))
    result = static_cast<MMTransformMatrix*>(leaving.m_transform);
  else
    result = new MMTransformMatrix();
  if (m_from_path.empty() && has_second) {
    *result = second;
  } else {
    _FillConcatList(m_from_path);
    ConcatInto(*result, m_concat_list, has_second ? &second : nullptr);
  }

  // 3. The pair is known not to be cached.
  _StoreAtNext(index, from, to, result);
  return index;
}

int MTransformRepository::_ComputeIntoCacheByCopies(int index, Node const* from, Node const* to) const {
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
  _StoreAtNext(index, from, to, result);
  return index;
}

void MTransformRepository::_FillConcatList(Path const& path) const {
  // The far end first: Concat lets the last of its list act first, and that is the near end.
  m_concat_list.clear();
  for (auto it = path.rbegin(); it != path.rend(); ++it) m_concat_list.push_back((*it)->GetTransform());
}

// --- the cache ---

// Entry j stands above entry i when it was used later, or, both never used, comes first.
std::int16_t MTransformRepository::_SlotOfEntry(int index) const {
  std::int16_t slot = 0;
  for (int j = 0; j < kCacheSize; ++j)
    if (m_used[j] > m_used[index] || (m_used[j] == m_used[index] && j < index)) ++slot;
  return slot;
}

int MTransformRepository::_EntryAtSlot(int slot) const {
  if (slot == kCacheSize - 1) {
    // The least recently used: the oldest tick, among entries never used the last of them.
    // The minimum first (a reduction without branches), then where it is.
    std::uint64_t oldest = m_used[0];
    for (int j = 1; j < kCacheSize; ++j) oldest = std::min(oldest, m_used[j]);
    int index = kCacheSize - 1;
    while (m_used[index] != oldest) --index;
    return index;
  }
  // Other slots are asked for while the cache fills and by the slot-numbered interface.
  for (int i = 0; i < kCacheSize; ++i)
    if (_SlotOfEntry(i) == slot) return i;
  return 0;
}

TransformCacheEntry const& MTransformRepository::_GetCacheSlot(std::int16_t slot) const {
  return m_cache[_EntryAtSlot(slot)];
}

int MTransformRepository::_FindEntry(Node const* from, Node const* to) const {
  for (int b = BucketOf(from, to);; b = (b + 1) & kMask) {
    int const index = m_pair_index.buckets[b];
    if (index < 0) return -1;
    TransformCacheEntry const& entry = m_cache[index];
    if (entry.m_from == from && entry.m_to == to) return index;
  }
}

void MTransformRepository::_IndexInsert(int index) const {
  TransformCacheEntry const& entry = m_cache[index];
  int b = BucketOf(entry.m_from, entry.m_to);
  while (m_pair_index.buckets[b] >= 0) b = (b + 1) & kMask;
  m_pair_index.buckets[b] = static_cast<std::int8_t>(index);
}

void MTransformRepository::_IndexErase(int index) const {
  TransformCacheEntry const& entry = m_cache[index];
  int hole = BucketOf(entry.m_from, entry.m_to);
  while (m_pair_index.buckets[hole] != index) hole = (hole + 1) & kMask;
  // Later members of the probe run move back into the hole when their own first bucket does
  // not lie cyclically between the hole and them, so no run is broken.
  for (int next = (hole + 1) & kMask;; next = (next + 1) & kMask) {
    int const moved = m_pair_index.buckets[next];
    if (moved < 0) break;
    int const home = BucketOf(m_cache[moved].m_from, m_cache[moved].m_to);
    bool const stays = hole <= next ? (hole < home && home <= next) : (hole < home || home <= next);
    if (stays) continue;
    m_pair_index.buckets[hole] = static_cast<std::int8_t>(moved);
    hole = next;
  }
  m_pair_index.buckets[hole] = -1;
}

// A pair is in at most one entry (a pair is stored only when it is not cached, and an entry is
// turned round only when the pair it becomes is not cached), so the index finds the one.
std::int16_t MTransformRepository::_FindInCache(Node const* from, Node const* to) const {
  int const index = _FindEntry(from, to);
  return index < 0 ? kCacheSize : _SlotOfEntry(index);
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
    if (t != _GetCacheSlot(slot).m_transform) delete t;
    return slot;
  }
  // The query never caches a pair both ways (it turns the entry it has); from here on a pair
  // asked for may also stand reversed elsewhere.
  if (_FindEntry(to.GetInternalSystem(), from.GetInternalSystem()) >= 0) m_both_directions = true;
  std::int16_t const next = static_cast<std::int16_t>(m_cache_next);
  _StoreAtNext(_EntryAtSlot(next), from.GetInternalSystem(), to.GetInternalSystem(), t);
  return next;
}

void MTransformRepository::_StoreAtNext(int index, Node const* from, Node const* to, MMTransform* t) const {
  if (m_cache[index].m_transform) _IndexErase(index);
  m_cache[index].SetEntry(from, to, t);
  if (m_cache[index].m_transform) _IndexInsert(index);
  if (++m_cache_next == kCacheSize) m_cache_next = kCacheSize - 1;
}

void MTransformRepository::_PutTransformOnTopOfCache(std::int16_t slot) const {
  // Only the order changes; entries and transforms stay where they are, so references handed
  // out earlier stay valid.
  if (slot > 0 && slot < kCacheSize) _Touch(_EntryAtSlot(slot));
}

void MTransformRepository::_CacheInvalidate() {
  for (TransformCacheEntry& entry : m_cache) entry.ClearEntry();
  m_pair_index.Clear();
  m_both_directions = false;
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
