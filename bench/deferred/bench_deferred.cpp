// Registering and running 100,000 deferred tasks, posted and idle, against the floor: a plain
// std::deque of std::function filled and run in a loop. Both sides perform the same action
// object, so the ratio is what the manager costs on top: the table of handles, the queues,
// the message or timer, and for idle tasks the look at the thread's queue after every task.

#include <benchmark/benchmark.h>

#include <deque>
#include <functional>

#include "common/RatioReport.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/MessageLoop.h"

namespace {

constexpr int kTasks = 100000;

// A static task: performing it leaves it to its own lifetime, so the same object can be
// registered again and again, as the deferred discard of undo history is.
class CountingTask : public Ostrum::IAction {
 public:
  ~CountingTask() override = default;
  long performed = 0;

 protected:
  void _Perform() override { ++performed; }
  void _Discard() override {}
};

using SessionScope = Ostrum::DeferredTaskManager::ScopedSession;

void Check(benchmark::State& state, const CountingTask& task) {
  if (task.performed != static_cast<long>(state.iterations()) * kTasks) state.SkipWithError("tasks were lost");
  state.SetItemsProcessed(state.iterations() * kTasks);
}

void BM_DeferredPosted(benchmark::State& state) {
  SessionScope session;
  CountingTask task;
  for (auto _ : state) {
    for (int i = 0; i < kTasks; ++i) Ostrum::DeferredTaskManager::RegisterTask(&task, 1, 0);
    Ostrum::Desktop::PumpWaitingMessages();  // the one posted message runs them all
  }
  Check(state, task);
}

void BM_DeferredIdle(benchmark::State& state) {
  SessionScope session;
  CountingTask task;
  Ostrum::Desktop::HeadlessDriver driver;
  for (auto _ : state) {
    for (int i = 0; i < kTasks; ++i)
      Ostrum::DeferredTaskManager::RegisterTask(&task, Ostrum::DeferredTaskManager::IDLE_PRIORITY, 0);
    driver.AdvanceClock(10);                 // the idle timer comes due
    Ostrum::Desktop::PumpWaitingMessages();  // and the idle run goes through, nothing waiting
  }
  Check(state, task);
}

void BM_FloorDequeOfFunctions(benchmark::State& state) {
  CountingTask task;
  std::deque<std::function<void()>> queue;
  for (auto _ : state) {
    for (int i = 0; i < kTasks; ++i) queue.emplace_back([&task] { task.Perform(); });
    while (!queue.empty()) {
      queue.front()();
      queue.pop_front();
    }
  }
  Check(state, task);
}

BENCHMARK(BM_DeferredPosted)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DeferredIdle)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FloorDequeOfFunctions)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  return ostrum_bench::RunWithRatios(
      argc, argv,
      {{"posted tasks: register and run 100,000", "BM_DeferredPosted", "BM_FloorDequeOfFunctions"},
       {"idle tasks: register and run 100,000", "BM_DeferredIdle", "BM_FloorDequeOfFunctions"}});
}
