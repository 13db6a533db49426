// DoOperation of an operation that cannot be undone, with 1, 10 and 1000 objects each watched
// by one observer, against a plain loop making the same virtual calls on the same objects:
// the ratio is the pipeline's own overhead.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "common/RatioReport.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/objects/IObserver.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/objects/MSubject.h"
#include "ostrum/operations/MOperation.h"

namespace {

// Prepare, do and update observers; neither undoable nor a change of the document.
constexpr uint32_t kFlags = MOperation::FLAG_HAS_TO_BE_PREPARED | MOperation::FLAG_HAS_TO_BE_DONE |
                            MOperation::FLAG_NEEDS_UPDATE_OBSERVERS;

class BenchObject : public MObject, public MSubject {
 public:
  bool PrepareOperation(MOperation*) override { return true; }
  bool DoOperation(MOperation&) override {
    ++m_done;
    return true;
  }
  long m_done = 0;
};

class BenchObserver : public IObserver {
 public:
  void Update(const MOperation&) override { ++m_updates; }
  long m_updates = 0;
};

class BenchDocument : public MDocument {};

struct Scene {
  explicit Scene(size_t n) : objects(n), observers(n) {
    for (size_t i = 0; i < n; ++i) objects[i].Attach(&observers[i]);
  }
  std::vector<BenchObject> objects;
  std::vector<BenchObserver> observers;
};

MOperation* MakeOperation(Scene& scene) {
  auto* op = new MOperation(MOperation::ACTION_RUN_ONCE);
  op->SetFlags(kFlags);
  for (BenchObject& object : scene.objects) op->AddObject(&object);
  return op;
}

void BM_Pipeline(benchmark::State& state) {
  BenchDocument document;
  Scene scene(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    MOperation* op = MakeOperation(scene);
    benchmark::DoNotOptimize(document.DoOperation(op, nullptr));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The floor: the same operation built the same way, and the same virtual calls in plain loops.
void BM_PlainLoop(benchmark::State& state) {
  Scene scene(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    MOperation* op = MakeOperation(scene);
    bool ok = true;
    for (BenchObject& object : scene.objects) ok &= static_cast<IObject&>(object).PrepareOperation(op);
    for (BenchObject& object : scene.objects) ok &= static_cast<IObject&>(object).DoOperation(*op);
    for (BenchObserver& observer : scene.observers) static_cast<IObserver&>(observer).Update(*op);
    benchmark::DoNotOptimize(ok);
    delete op;
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

BENCHMARK(BM_Pipeline)->Arg(1)->Arg(10)->Arg(1000);
BENCHMARK(BM_PlainLoop)->Arg(1)->Arg(10)->Arg(1000);

int main(int argc, char** argv) {
  return ostrum_bench::RunWithRatios(argc, argv,
                                     {
                                         {"pipeline / plain loop, 1 object", "BM_Pipeline/1", "BM_PlainLoop/1"},
                                         {"pipeline / plain loop, 10 objects", "BM_Pipeline/10", "BM_PlainLoop/10"},
                                         {"pipeline / plain loop, 1000 objects", "BM_Pipeline/1000",
                                          "BM_PlainLoop/1000"},
                                     },
                                     {
                                         {"overhead per object, 1 to 1000 objects", "BM_Pipeline/1000",
                                          "BM_Pipeline/1", "BM_PlainLoop/1000", "BM_PlainLoop/1"},
                                         {"overhead per object, 1 to 10 objects", "BM_Pipeline/10", "BM_Pipeline/1",
                                          "BM_PlainLoop/10", "BM_PlainLoop/1"},
                                     });
}
