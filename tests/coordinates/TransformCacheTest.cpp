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

// The matrix of a cached pair keeps its inverse, so turning it round changes which of the two
// it shows: what a held reference shows must follow, class included, and no kept inverse may
// outlive the pair it belonged to.
TEST_F(TransformCache, AHeldReferenceFollowsEveryTurnAndNoKeptInverseOutlivesItsPair) {
  // A system whose matrix has orthogonal columns but whose inverse has none.
  MMTransformMatrix turn, stretch;
  turn.MakeRotation({1, 2, 3}, {1, 1, 0}, 0.7);
  stretch.MakeScale3D(2, 3, 5);
  turn *= stretch;  // the stretch first: columns stay orthogonal
  ASSERT_EQ(turn.GetClass(), MMTransformMatrix::eOrthoGonal);
  MCoordinateSystem skew = rep.CreateNewSystem(turn, W);
  Eigen::Matrix4d const there = turn.GetMatrix(), back = turn.GetMatrix().inverse();

  MMTransformMatrix const& held = rep.GetTransformMatrix(skew, W);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(&rep.GetTransformMatrix(W, skew), &held);
    EXPECT_TRUE(NearMatrix(held.GetMatrix(), back)) << "round " << round;
    EXPECT_TRUE(NearMatrix(held.GetInverse(), there)) << "round " << round;
    // Its columns are no longer orthogonal, and it must not claim they are.
    MMTransformMatrix reclassified(held);
    ASSERT_EQ(reclassified.VerifyAndSetClass(), MMTransformMatrix::eGeneral);
    EXPECT_EQ(held.GetClass(), MMTransformMatrix::eGeneral) << "round " << round;
    EXPECT_EQ(&rep.GetTransformMatrix(skew, W), &held);
    EXPECT_TRUE(NearMatrix(held.GetMatrix(), there)) << "round " << round;
    EXPECT_EQ(held.GetClass(), MMTransformMatrix::eOrthoGonal);
  }
  EXPECT_EQ(rep.GetCacheStatistics().reversed_hits, 6u);

  // Pushed out while showing its other direction: the object goes on to serve a new pair, whose
  // answers in both directions are its own, not the inverse kept for the old one.
  rep.GetTransform(W, skew);
  for (int i = 0; i < 20; ++i) rep.GetTransform(s[i], s[(i + 7) % 21]);
  EXPECT_FALSE(rep.Cached(W, skew));
  EXPECT_FALSE(rep.Cached(skew, W));
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(X(rep.GetTransform(s[(i + 7) % 21], s[i]), 0), (i + 7) % 21 - i) << "pair " << i;
    EXPECT_EQ(X(rep.GetTransform(s[i], s[(i + 7) % 21]), 0), i - (i + 7) % 21) << "pair " << i;
  }

  // Changed after both directions were made: the next answers, either way, are the new ones.
  rep.GetTransform(skew, W);
  rep.GetTransform(W, skew);
  rep.ReplaceTransform(Scale(4), skew);
  EXPECT_EQ(X(rep.GetTransform(W, skew)), 0.25);
  EXPECT_EQ(X(rep.GetTransform(skew, W)), 4.0);
  rep.GetTransform(W, skew);
  rep.AccessTransformMatrix(skew)->MakeTranslation(3, 0, 0);
  EXPECT_EQ(X(rep.GetTransform(skew, W), 0), 3.0);
  EXPECT_EQ(X(rep.GetTransform(W, skew), 0), -3.0);
}

// A matrix of a kind of its own, as a host might derive one.
class TaggedMatrix : public MMTransformMatrix {
 public:
  explicit TaggedMatrix(MMTransformMatrix const& m) : MMTransformMatrix(m) {}
  TaggedMatrix* Clone() const override { return new TaggedMatrix(*this); }
};

// A lone way down through a matrix of another kind keeps that kind in its entry, which is then
// turned round by its own Invert rather than as a plain matrix.
TEST_F(TransformCache, AnEntryOfAnotherKindTurnsRoundByItsOwnInvert) {
  MCoordinateSystem tagged = rep.CreateNewSystem(TaggedMatrix(Translation(5)), W);
  MMTransform const& held = rep.GetTransform(W, tagged);
  EXPECT_NE(dynamic_cast<TaggedMatrix const*>(&held), nullptr) << "the way down keeps its kind";
  EXPECT_EQ(X(held, 0), -5.0);
  EXPECT_EQ(&rep.GetTransform(tagged, W), &held);
  EXPECT_EQ(X(held, 0), 5.0);
  EXPECT_EQ(&rep.GetTransform(W, tagged), &held);
  EXPECT_EQ(X(held, 0), -5.0);
  EXPECT_EQ(rep.GetCacheStatistics().reversed_hits, 2u);
}

// The query never holds a pair both ways; a pair cached both ways by hand still answers the
// direction asked for from its own entry, and neither entry is turned.
TEST_F(TransformCache, APairCachedBothWaysAnswersEachDirectionFromItsOwnEntry) {
  MMTransform const* forward = rep.GetTransform(s[3], W).Clone();
  MMTransform const& backward_cached = rep.GetTransform(W, s[3]);  // the same entry, turned
  EXPECT_EQ(X(backward_cached, 0), -3.0);
  // Put the forward direction in a second entry beside the turned one.
  std::int16_t const slot = rep._AddTransformToCache(s[3], W, forward->Clone());
  MMTransform const* added = rep._GetCacheSlot(slot).GetTransform();
  ASSERT_NE(added, &backward_cached);
  rep.ResetCacheStatistics();
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(&rep.GetTransform(s[3], W), added) << "round " << round;
    EXPECT_EQ(&rep.GetTransform(W, s[3]), &backward_cached) << "round " << round;
  }
  EXPECT_EQ(rep.GetCacheStatistics().reversed_hits, 0u);
  EXPECT_EQ(X(*added, 0), 3.0);
  EXPECT_EQ(X(backward_cached, 0), -3.0);
  // Once the cache was emptied, the query turns entries round again.
  rep._CacheInvalidate();
  rep.GetTransform(s[3], W);
  EXPECT_EQ(X(rep.GetTransform(W, s[3]), 0), -3.0);
  EXPECT_EQ(rep.GetCacheStatistics().reversed_hits, 1u);
  EXPECT_FALSE(rep.Cached(s[3], W));
  delete forward;
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
