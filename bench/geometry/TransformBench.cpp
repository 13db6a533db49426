// Composing and inverting transforms through MMTransformMatrix, side by side with the same work
// on raw Eigen::Matrix4d, which is what a programmer would write without the framework.
//
// Chains of 8 transforms stand for the paths of the transform query. "general" chains hold
// arbitrary affine matrices, where the class can save nothing; "rigid" chains hold rotations
// and translations, the usual content of a coordinate-system tree.

#include <benchmark/benchmark.h>

#include <Eigen/Core>
#include <Eigen/LU>
#include <random>
#include <vector>

#include "common/Interleaved.h"
#include "common/RatioReport.h"
#include "ostrum/foundation/geometry/Concat.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

namespace {

constexpr int kChain = 8;

struct Chains {
  std::vector<MMTransformMatrix> general, rigid;
  std::vector<Eigen::Matrix4d> general_raw, rigid_raw;

  Chains() {
    std::mt19937 engine(1);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (int i = 0; i < kChain; ++i) {
      Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
      for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c) m(r, c) = u(engine) + (r == c ? 2.0 : 0.0);
      general.emplace_back(m);
      MMTransformMatrix t;
      if (i % 2)
        t.MakeTranslation(u(engine), u(engine), u(engine));
      else
        t.MakeRotation({u(engine), u(engine), u(engine)}, {u(engine), u(engine), 1.0}, u(engine));
      rigid.push_back(t);
    }
    for (auto const& m : general) general_raw.push_back(m.GetMatrix());
    for (auto const& m : rigid) rigid_raw.push_back(m.GetMatrix());
  }
};

Chains const& Data() {
  static Chains const chains;
  return chains;
}

void Compose(benchmark::State& state, std::vector<MMTransformMatrix> const& chain, bool invert) {
  for (auto _ : state) {
    MMTransformMatrix r;
    for (MMTransformMatrix const& m : chain) r.PreMultiply(m);
    if (invert) r.Invert();
    benchmark::DoNotOptimize(r);
  }
}

void ComposeRaw(benchmark::State& state, std::vector<Eigen::Matrix4d> const& chain, bool invert) {
  for (auto _ : state) {
    Eigen::Matrix4d r = Eigen::Matrix4d::Identity();
    for (Eigen::Matrix4d const& m : chain) r = m * r;
    if (invert) r = r.inverse().eval();
    benchmark::DoNotOptimize(r);
  }
}

void BM_ComposeGeneral(benchmark::State& s) { Compose(s, Data().general, false); }
void BM_ComposeGeneralEigen(benchmark::State& s) { ComposeRaw(s, Data().general_raw, false); }
void BM_ComposeRigid(benchmark::State& s) { Compose(s, Data().rigid, false); }
void BM_ComposeRigidEigen(benchmark::State& s) { ComposeRaw(s, Data().rigid_raw, false); }
void BM_ComposeInvertGeneral(benchmark::State& s) { Compose(s, Data().general, true); }
void BM_ComposeInvertGeneralEigen(benchmark::State& s) { ComposeRaw(s, Data().general_raw, true); }
void BM_ComposeInvertRigid(benchmark::State& s) { Compose(s, Data().rigid, true); }
void BM_ComposeInvertRigidEigen(benchmark::State& s) { ComposeRaw(s, Data().rigid_raw, true); }

// What a miss of the transform query costs: a new transform from a list of pointers, used once
// and deleted, against the product on the stack.
void BM_ConcatRigid(benchmark::State& state) {
  std::vector<MMTransform*> list;
  for (MMTransformMatrix const& m : Data().rigid) list.push_back(const_cast<MMTransformMatrix*>(&m));
  for (auto _ : state) {
    MMTransform* r = Concat(list, nullptr);
    benchmark::DoNotOptimize(r);
    delete r;
  }
}
void BM_ConcatRigidEigen(benchmark::State& state) {
  std::vector<Eigen::Matrix4d const*> list;
  for (Eigen::Matrix4d const& m : Data().rigid_raw) list.push_back(&m);
  for (auto _ : state) {
    Eigen::Matrix4d r = Eigen::Matrix4d::Identity();
    for (auto it = list.rbegin(); it != list.rend(); ++it) r = **it * r;
    benchmark::DoNotOptimize(r);
  }
}

// Turning a cached transform round, as the query does for a request in the opposite direction.
void BM_InvertGeneral(benchmark::State& state) {
  MMTransformMatrix r;
  for (MMTransformMatrix const& m : Data().general) r.PreMultiply(m);
  for (auto _ : state) {
    r.Invert();
    benchmark::DoNotOptimize(r);
  }
}
void BM_InvertGeneralEigen(benchmark::State& state) {
  Eigen::Matrix4d r = Eigen::Matrix4d::Identity();
  for (Eigen::Matrix4d const& m : Data().general_raw) r = m * r;
  for (auto _ : state) {
    r = r.inverse().eval();
    benchmark::DoNotOptimize(r);
  }
}

BENCHMARK(BM_ComposeGeneral);
BENCHMARK(BM_ComposeGeneralEigen);
BENCHMARK(BM_ComposeRigid);
BENCHMARK(BM_ComposeRigidEigen);
BENCHMARK(BM_ComposeInvertGeneral);
BENCHMARK(BM_ComposeInvertGeneralEigen);
BENCHMARK(BM_ComposeInvertRigid);
BENCHMARK(BM_ComposeInvertRigidEigen);
BENCHMARK(BM_ConcatRigid);
BENCHMARK(BM_ConcatRigidEigen);
BENCHMARK(BM_InvertGeneral);
BENCHMARK(BM_InvertGeneralEigen);

}  // namespace

// The same comparisons timed round by round, interleaved, 10,000 repetitions a run.
void RunInterleavedComparisons() {
  constexpr int kRepeat = 10000;
  Chains const& d = Data();
  auto compose = [](std::vector<MMTransformMatrix> const& chain, bool invert) {
    for (int i = 0; i < kRepeat; ++i) {
      MMTransformMatrix r;
      for (MMTransformMatrix const& m : chain) r.PreMultiply(m);
      if (invert) r.Invert();
      benchmark::DoNotOptimize(r);
    }
  };
  auto compose_raw = [](std::vector<Eigen::Matrix4d> const& chain, bool invert) {
    for (int i = 0; i < kRepeat; ++i) {
      Eigen::Matrix4d r = Eigen::Matrix4d::Identity();
      for (Eigen::Matrix4d const& m : chain) r = m * r;
      if (invert) r = r.inverse().eval();
      benchmark::DoNotOptimize(r);
    }
  };
  std::vector<ostrum_bench::TimedCase> cases = {
      {"compose and invert, general", [&] { compose(d.general, true); }},
      {"the same with Eigen", [&] { compose_raw(d.general_raw, true); }},
      {"compose and invert, rigid", [&] { compose(d.rigid, true); }},
      {"the same with Eigen, rigid", [&] { compose_raw(d.rigid_raw, true); }},
      {"compose 8 general", [&] { compose(d.general, false); }},
      {"the same with Eigen, general", [&] { compose_raw(d.general_raw, false); }},
  };
  ostrum_bench::RunInterleaved(cases, 51);
  std::printf("\nInterleaved, 51 rounds:\n");
  ostrum_bench::PrintMedians(cases, kRepeat);
  ostrum_bench::PrintRatio("compose and invert, general (interleaved)", cases[0], cases[1]);
  ostrum_bench::PrintRatio("compose and invert, rigid (interleaved)", cases[2], cases[3]);
  ostrum_bench::PrintRatio("compose 8 general (interleaved)", cases[4], cases[5]);
}

int main(int argc, char** argv) {
  RunInterleavedComparisons();
  return ostrum_bench::RunWithRatios(
      argc, argv,
      {
          {"compose 8 general matrices", "BM_ComposeGeneral", "BM_ComposeGeneralEigen"},
          {"compose 8 rigid matrices", "BM_ComposeRigid", "BM_ComposeRigidEigen"},
          {"compose and invert, general", "BM_ComposeInvertGeneral", "BM_ComposeInvertGeneralEigen"},
          {"compose and invert, rigid", "BM_ComposeInvertRigid", "BM_ComposeInvertRigidEigen"},
          {"Concat rigid path (new + delete)", "BM_ConcatRigid", "BM_ConcatRigidEigen"},
          {"invert a kept transform in place", "BM_InvertGeneral", "BM_InvertGeneralEigen"},
      });
}
