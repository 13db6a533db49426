// The transform query: the path through the nearest common ancestor and the composition along
// it, checked against matrices composed directly.

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "CoordinatesTestSupport.h"

namespace coordinates_test {
namespace {

TEST(TransformQuery, PathsRunToTheNearestCommonAncestorAndSkipIdentities) {
  // W; A and B below W; C below A; D and E below B; I an identity below A with F below it;
  // J an identity below W.
  ProbeRepository rep;
  std::map<char, MCoordinateSystem> s{{'W', rep.GetAbsoluteWorld()}};
  std::tuple<char, char, int> const tree[] = {{'A', 'W', 2}, {'B', 'W', 3}, {'C', 'A', 4}, {'D', 'B', 5},
                                              {'E', 'B', 6}, {'I', 'A', 0}, {'F', 'I', 7}, {'J', 'W', 0}};
  for (auto const& [name, parent, t] : tree) s[name] = rep.CreateNewSystem(Translation(t), s[parent]);
  auto show = [&](Path const& path) {
    std::string out;
    for (Node const* n : path)
      for (auto const& [name, system] : s)
        if (system.GetInternalSystem() == n) out += name;
    return out;
  };
  auto shortest = [&](char from, char to) {
    Path f, t;
    EXPECT_TRUE(rep._FillInShortestPath(f, t, s[from], s[to]));
    return show(f) + "|" + show(t);
  };
  Path path;
  EXPECT_TRUE(rep._FillInPathToWorld(path, s['C']));
  EXPECT_EQ(show(path), "CAW");
  EXPECT_EQ(shortest('C', 'B'), "CA|B");
  EXPECT_EQ(shortest('C', 'A'), "C|");
  EXPECT_EQ(shortest('A', 'C'), "|C");
  EXPECT_EQ(shortest('W', 'C'), "|CA");
  EXPECT_EQ(shortest('D', 'E'), "D|E");
  EXPECT_EQ(shortest('C', 'C'), "|");
  // The identity I is skipped; J, next to the common ancestor, is kept.
  EXPECT_EQ(shortest('F', 'J'), "FA|J");
  EXPECT_EQ(X(rep.GetTransform(s['F'], s['J']), 0), 9.0);
}

TEST(TransformQuery, ASystemTwentyLevelsDownGetsTheIdentity) {
  ProbeRepository rep;
  std::vector<MCoordinateSystem> chain{rep.GetAbsoluteWorld()};
  for (int i = 0; i < 19; ++i) chain.push_back(rep.CreateNewSystem(Scale(2), chain.back()));
  EXPECT_EQ(X(rep.GetTransform(chain[19], chain[0])), 524288.0);
  EXPECT_TRUE(rep.Sanity());

  chain.push_back(rep.CreateNewSystem(Scale(2), chain.back()));
  Path path;
  EXPECT_FALSE(rep._FillInPathToWorld(path, chain[20]));
  EXPECT_FALSE(rep.Sanity());
  EXPECT_TRUE(rep.GetTransform(chain[20], chain[1]).IsIdentity());
  EXPECT_TRUE(rep.Cached(chain[20], chain[1]));
}

// A random mix of the kinds of transforms a tree holds, identities included.
MMTransformMatrix RandomTransform(std::mt19937& rng) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  MMTransformMatrix m;
  switch (rng() % 5) {
    case 0: break;
    case 1: m.MakeTranslation(3 * u(rng), 3 * u(rng), 3 * u(rng)); break;
    case 2: m.MakeRotation({u(rng), u(rng), u(rng)}, {u(rng), u(rng), 1.0}, 3 * u(rng)); break;
    case 3: m.MakeScale3D(1.5 + u(rng), 1.5 + u(rng), 1.5 + u(rng)); break;
    default: {
      Eigen::Matrix4d e = Eigen::Matrix4d::Identity();
      for (int i = 0; i < 12; ++i) e(i / 4, i % 4) += 0.3 * u(rng);
      m.SetMatrix(e);
    }
  }
  return m;
}

// The transform from a system into the world, composed straight from the nodes.
Eigen::Matrix4d ToWorld(MCoordinateSystem const& s) {
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  for (Node const* n = s.GetInternalSystem(); n && n->GetTransform(); n = n->GetTo())
    m = MatrixOf(*n->GetTransform()) * m;
  return m;
}

TEST(TransformQuery, RandomTreesAgreeWithTheDirectCompositionInBothDirections) {
  std::mt19937 rng(2024);
  for (int round = 0; round < 4; ++round) {
    ProbeRepository rep;
    std::vector<MCoordinateSystem> systems{rep.GetAbsoluteWorld()};
    std::vector<int> depth{0};
    while (systems.size() < 80) {
      std::size_t const parent = rng() % systems.size();
      if (depth[parent] == 19) continue;
      systems.push_back(rep.CreateNewSystem(RandomTransform(rng), systems[parent]));
      depth.push_back(depth[parent] + 1);
    }
    for (int q = 0; q < 400; ++q) {
      std::size_t const a = rng() % systems.size(), b = rng() % systems.size();
      Eigen::Matrix4d const expected = ToWorld(systems[b]).inverse() * ToWorld(systems[a]);
      EXPECT_TRUE(NearMatrix(MatrixOf(rep.GetTransform(systems[a], systems[b])), expected, 1e-8))
          << "round " << round << ", system " << a << " (depth " << depth[a] << ") to " << b
          << " (depth " << depth[b] << ")";
      EXPECT_TRUE(NearMatrix(MatrixOf(rep.GetTransform(systems[b], systems[a])), expected.inverse(), 1e-8))
          << "round " << round << ", system " << b << " to " << a;
    }
    // A working set of 36 pairs around the 20 slots: hits, turned-round hits and pairs pushed
    // out mix, and every answer is still the direct composition.
    rep.ResetCacheStatistics();
    constexpr int kQueries = 2000;
    for (int q = 0; q < kQueries; ++q) {
      std::size_t const a = 1 + rng() % 6, b = 1 + rng() % 6;
      Eigen::Matrix4d const expected = ToWorld(systems[b]).inverse() * ToWorld(systems[a]);
      EXPECT_TRUE(NearMatrix(MatrixOf(rep.GetTransform(systems[a], systems[b])), expected, 1e-8))
          << "round " << round << ", query " << q << ": system " << a << " to " << b;
    }
    MTransformRepository::CacheStatistics const& counted = rep.GetCacheStatistics();
    EXPECT_EQ(counted.hits + counted.reversed_hits + counted.misses, std::uint64_t{kQueries});
    EXPECT_GT(counted.hits, 0u) << "pairs asked again";
    EXPECT_GT(counted.reversed_hits, 0u) << "pairs asked the other way round";
    EXPECT_GT(counted.misses, 36u) << "pairs pushed out come back as misses";
  }
}

}  // namespace
}  // namespace coordinates_test
