// The transform query of the coordinate repository, side by side with the same compositions
// done directly on Eigen matrices, and handle copies against a plain walk up a chain.
//
// Hits: the same pair again (found in slot 0), ten pairs in turn (each found in slot 9 and
// moved to the top), a pair asked for in alternating directions (turned round in place, found
// in slot 0), and ten pairs in turn asked the other way round on each pass (each turned round
// from slot 9).
// Their floor is one 4x4 product. Misses: 24 branches of general affine matrices hang below
// the world, each `depth` systems deep, and the query runs from the leaf of one branch to the
// leaf of the next; 24 pairs in turn never fit the 20 slots, so every query composes. Its floor
// composes the two branches with Eigen, inverts one and multiplies.

#include <benchmark/benchmark.h>

#include <Eigen/Core>
#include <Eigen/LU>
#include <map>
#include <random>
#include <vector>

#include "common/RatioReport.h"
#include "ostrum/coordinates/MTransformRepository.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

namespace {

constexpr int kBranches = 24;

Eigen::Matrix4d RandomAffine(std::mt19937& rng) {
  std::uniform_real_distribution<double> u(-0.3, 0.3);
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 4; ++c) m(r, c) += u(rng);
  return m;
}

struct Branches {
  std::vector<MCoordinateSystem> leaves;
  // raw[i][k]: the matrix of the k-th system of branch i, counted from the leaf.
  std::vector<std::vector<Eigen::Matrix4d>> raw;
};

struct Data {
  MTransformRepository repository;
  std::map<int, Branches> by_depth;
  MCoordinateSystem a, b;
  std::vector<MCoordinateSystem> ten;

  Data() {
    std::mt19937 rng(7);
    MCoordinateSystem const& world = repository.GetAbsoluteWorld();
    for (int depth : {1, 8, 10, 19}) {
      Branches& branches = by_depth[depth];
      for (int i = 0; i < kBranches; ++i) {
        std::vector<Eigen::Matrix4d> chain(depth);
        MCoordinateSystem node = world;
        for (int k = depth - 1; k >= 0; --k) {
          chain[k] = RandomAffine(rng);
          node = repository.CreateNewSystem(MMTransformMatrix(chain[k]), node);
        }
        branches.leaves.push_back(node);
        branches.raw.push_back(chain);
      }
    }
    a = repository.CreateNewSystem(MMTransformMatrix(RandomAffine(rng)), world);
    b = repository.CreateNewSystem(MMTransformMatrix(RandomAffine(rng)), a);
    for (int i = 0; i < 10; ++i)
      ten.push_back(repository.CreateNewSystem(MMTransformMatrix(RandomAffine(rng)), a));
  }
};

Data& TheData() {
  static Data data;
  return data;
}

void BM_HitSamePair(benchmark::State& state) {
  Data& d = TheData();
  for (auto _ : state) {
    MMTransform const& t = d.repository.GetTransform(d.b, d.a);
    benchmark::DoNotOptimize(&t);
  }
}

void BM_HitTenPairs(benchmark::State& state) {
  Data& d = TheData();
  int i = 0;
  for (auto _ : state) {
    MMTransform const& t = d.repository.GetTransform(d.ten[i], d.b);
    benchmark::DoNotOptimize(&t);
    i = i == 9 ? 0 : i + 1;
  }
}

void BM_ReversedHit(benchmark::State& state) {
  Data& d = TheData();
  bool forward = true;
  for (auto _ : state) {
    MMTransform const& t = forward ? d.repository.GetTransform(d.b, d.a) : d.repository.GetTransform(d.a, d.b);
    benchmark::DoNotOptimize(&t);
    forward = !forward;
  }
}

void BM_ReversedHitTenPairs(benchmark::State& state) {
  Data& d = TheData();
  int i = 0;
  bool forward = true;
  for (auto _ : state) {
    MMTransform const& t = forward ? d.repository.GetTransform(d.ten[i], d.b) : d.repository.GetTransform(d.b, d.ten[i]);
    benchmark::DoNotOptimize(&t);
    if (i == 9) {
      i = 0;
      forward = !forward;
    } else {
      ++i;
    }
  }
}

void BM_EigenProduct(benchmark::State& state) {
  std::mt19937 rng(3);
  Eigen::Matrix4d x = RandomAffine(rng), y = RandomAffine(rng);
  for (auto _ : state) {
    benchmark::DoNotOptimize(x);
    Eigen::Matrix4d r = x * y;
    benchmark::DoNotOptimize(r);
  }
}

void BM_Miss(benchmark::State& state) {
  Data& d = TheData();
  Branches const& branches = d.by_depth.at(static_cast<int>(state.range(0)));
  int i = 0;
  for (auto _ : state) {
    int const next = i + 1 == kBranches ? 0 : i + 1;
    MMTransform const& t = d.repository.GetTransform(branches.leaves[i], branches.leaves[next]);
    benchmark::DoNotOptimize(&t);
    i = next;
  }
}

// The leaf of a branch into the world: the leaf's matrix first, the top's last.
Eigen::Matrix4d ComposeBranch(std::vector<Eigen::Matrix4d> const& chain) {
  Eigen::Matrix4d m = chain.front();
  for (std::size_t k = 1; k < chain.size(); ++k) m = chain[k] * m;
  return m;
}

void BM_MissEigen(benchmark::State& state) {
  Branches const& branches = TheData().by_depth.at(static_cast<int>(state.range(0)));
  int i = 0;
  for (auto _ : state) {
    int const next = i + 1 == kBranches ? 0 : i + 1;
    Eigen::Matrix4d const up = ComposeBranch(branches.raw[i]);
    Eigen::Matrix4d const down = ComposeBranch(branches.raw[next]);
    Eigen::Matrix4d r = down.inverse() * up;
    benchmark::DoNotOptimize(r);
    i = next;
  }
}

void BM_HandleCopyDepth19(benchmark::State& state) {
  MCoordinateSystem const& leaf = TheData().by_depth.at(19).leaves.front();
  for (auto _ : state) {
    MCoordinateSystem copy(leaf);
    benchmark::DoNotOptimize(copy);
  }
}

// The floor of a handle copy: one count up and one down on each of the 20 nodes from a leaf
// at depth 19 to the root, on plain structs.
struct RawNode {
  RawNode* up = nullptr;
  unsigned weight = 1;
};

void BM_RawWalkDepth19(benchmark::State& state) {
  std::vector<RawNode> nodes(20);
  for (std::size_t i = 0; i + 1 < nodes.size(); ++i) nodes[i].up = &nodes[i + 1];
  RawNode* leaf = &nodes.front();
  benchmark::DoNotOptimize(leaf);
  for (auto _ : state) {
    for (RawNode* p = leaf; p; p = p->up) ++p->weight;
    benchmark::ClobberMemory();
    for (RawNode* p = leaf; p; p = p->up) --p->weight;
    if (leaf->weight == 0) state.SkipWithError("a node died");
    benchmark::ClobberMemory();
  }
}

BENCHMARK(BM_HitSamePair);
BENCHMARK(BM_HitTenPairs);
BENCHMARK(BM_ReversedHit);
BENCHMARK(BM_ReversedHitTenPairs);
BENCHMARK(BM_EigenProduct);
BENCHMARK(BM_Miss)->Arg(1)->Arg(8)->Arg(10)->Arg(19);
BENCHMARK(BM_MissEigen)->Arg(1)->Arg(8)->Arg(10)->Arg(19);
BENCHMARK(BM_HandleCopyDepth19);
BENCHMARK(BM_RawWalkDepth19);

}  // namespace

int main(int argc, char** argv) {
  return ostrum_bench::RunWithRatios(
      argc, argv,
      {
          {"hit, same pair / one 4x4 product", "BM_HitSamePair", "BM_EigenProduct"},
          {"hit, ten pairs in turn / one 4x4 product", "BM_HitTenPairs", "BM_EigenProduct"},
          {"reversed hit / one 4x4 product", "BM_ReversedHit", "BM_EigenProduct"},
          {"reversed hit, ten pairs / one 4x4 product", "BM_ReversedHitTenPairs", "BM_EigenProduct"},
          {"miss, depth 1 / Eigen", "BM_Miss/1", "BM_MissEigen/1"},
          {"miss, depth 8 / Eigen", "BM_Miss/8", "BM_MissEigen/8"},
          {"miss, depth 10 / Eigen", "BM_Miss/10", "BM_MissEigen/10"},
          {"miss, depth 19 / Eigen", "BM_Miss/19", "BM_MissEigen/19"},
          {"handle copy + destroy, depth 19 / raw walk", "BM_HandleCopyDepth19", "BM_RawWalkDepth19"},
      },
      {
          {"miss, per added level / Eigen", "BM_Miss/19", "BM_Miss/8", "BM_MissEigen/19",
           "BM_MissEigen/8"},
      });
}
