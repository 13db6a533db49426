// The cache of composed transforms: 20 slots, slot 0 the most recent, least recently used out,
// the opposite direction turned round in place, and emptied by every change of a transform.

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "AllocationCount.h"
#include "CoordinatesTestSupport.h"
#include "ostrum/foundation/geometry/MMTransformAllocator.h"

namespace coordinates_test {
namespace {

// Twenty-one systems below the world, the i-th a translation by i along x.
class TransformCache : public ::testing::Test {
 protected:
  TransformCache() {
    for (int i = 0; i < 21; ++i) s.push_back(rep.CreateNewSystem(Translation(i), W));
  }
  Node const* FromOfSlot(int slot) const { return rep._GetCacheSlot(static_cast<std::int16_t>(slot)).GetFrom(); }

  ProbeRepository rep;
  MCoordinateSystem const& W = rep.GetAbsoluteWorld();
  std::vector<MCoordinateSystem> s;
};

TEST_F(TransformCache, HitsAndReversedHitsReuseTheirObjectWithoutAllocating) {
  MMTransform const& forward = rep.GetTransform(s[5], W);
  rep.GetTransform(s[6], W);
  long const allocations = AllocationCount();
  std::size_t const pooled = MMTransformAllocator::GetPooledBlockCount();
  EXPECT_EQ(&rep.GetTransform(s[5], W), &forward);
  EXPECT_EQ(FromOfSlot(0), s[5].GetInternalSystem());
  EXPECT_EQ(FromOfSlot(1), s[6].GetInternalSystem());

  // The opposite direction turns the entry round: a reference still held shows the inverse.
  MMTransform const& backward = rep.GetTransform(W, s[6]);
  EXPECT_EQ(AllocationCount(), allocations);
  EXPECT_EQ(MMTransformAllocator::GetPooledBlockCount(), pooled);
  EXPECT_EQ(X(backward, 0), -6.0);
  EXPECT_EQ(FromOfSlot(0), W.GetInternalSystem());
  EXPECT_FALSE(rep.Cached(s[6], W));
  EXPECT_EQ(rep._GetCacheNext(), 2) << "the opposite direction took a slot of its own";
  EXPECT_EQ(&rep.GetTransform(s[6], W), &backward);
  EXPECT_EQ(X(backward, 0), 6.0);
  MTransformRepository::CacheStatistics const& counted = rep.GetCacheStatistics();
  EXPECT_EQ(counted.hits, 1u);
  EXPECT_EQ(counted.reversed_hits, 2u);
  EXPECT_EQ(counted.misses, 2u);
}

TEST_F(TransformCache, TheLeastRecentlyUsedPairMakesRoomAndReferencesFollowTheirEntries) {
  std::vector<MMTransform const*> held;
  for (int i = 0; i < 20; ++i) held.push_back(&rep.GetTransform(s[i], W));
  EXPECT_EQ(rep._GetCacheNext(), 19) << "cache next stops at the last slot";
  for (int round = 0; round < 3; ++round) {
    for (int i = 9; i >= 0; --i) EXPECT_EQ(&rep.GetTransform(s[i], W), held[i]);
  }
  // s[10] is now the least recent; a new pair takes its place.
  rep.GetTransform(s[20], W);
  EXPECT_FALSE(rep.Cached(s[10], W));
  for (int i = 0; i < 21; ++i) {
    if (i == 10) continue;
    EXPECT_TRUE(rep.Cached(s[i], W)) << "pair " << i;
    if (i == 20) continue;
    EXPECT_EQ(X(*held[i], 0), i) << "pair " << i;
  }
  EXPECT_EQ(FromOfSlot(0), s[20].GetInternalSystem());
  EXPECT_EQ(FromOfSlot(19), s[11].GetInternalSystem());

  // After an invalidation new entries still enter at slot 19 and the order holds.
  rep._CacheInvalidate();
  EXPECT_EQ(rep.CachedEntries(), 0);
  for (int i = 0; i < 21; ++i) rep.GetTransform(s[i], W);
  EXPECT_EQ(rep.CachedEntries(), 20);
  EXPECT_FALSE(rep.Cached(s[0], W));
}

TEST_F(TransformCache, EveryChangeOfATransformEmptiesTheCacheAndNothingElseDoes) {
  MCoordinateSystem child = rep.CreateNewSystem(Scale(2), s[1]);
  MCoordinateSystem grandchild = rep.CreateNewSystem(Scale(5), s[5]);
  std::vector<MCoordinateSystem> kept;
  struct Change {
    char const* name;
    std::function<void()> apply;
    bool empties;
  };
  std::vector<Change> const changes = {
      {"AccessTransform", [&] { rep.AccessTransform(s[1]); }, true},
      {"AccessTransformMatrix", [&] { rep.AccessTransformMatrix(s[1]); }, true},
      {"ReplaceTransform", [&] { rep.ReplaceTransform(Translation(1), s[1]); }, true},
      {"SetDependentCoordinateSystem", [&] { rep.SetDependentCoordinateSystem(child, s[2]); }, true},
      {"MCoordinateSystem::Translate", [&] { s[3].Translate({0, 0, 0}); }, true},
      {"death of a node", [&] { rep.CreateNewSystem(Scale(3), W); }, true},
      {"CreateNewSystem", [&] { kept.push_back(rep.CreateNewSystem(Scale(3), W)); }, false},
      {"SetUnit", [&] { rep.SetUnit(s[1], L"cm"); }, false},
      {"MergeCoordinateSystems", [&] { rep.MergeCoordinateSystems(s[4], s[5]); }, false},
  };
  for (Change const& change : changes) {
    rep.GetTransform(s[1], W);
    rep.GetTransform(W, child);
    change.apply();
    bool const kept_both = rep.Cached(s[1], W) && rep.Cached(W, child);
    bool const kept_none = !rep.Cached(s[1], W) && !rep.Cached(W, child);
    EXPECT_TRUE(change.empties ? kept_none : kept_both) << change.name;
    rep._CacheInvalidate();
  }
  // The answers are those of the tree as it now is; the merged child has not moved.
  EXPECT_EQ(X(rep.GetTransform(child, W)), 4.0);
  EXPECT_EQ(grandchild.GetInternalSystem()->GetTo(), s[4].GetInternalSystem());
  EXPECT_EQ(X(rep.GetTransform(grandchild, W)), 10.0);
}

}  // namespace
}  // namespace coordinates_test
