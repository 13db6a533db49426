// Registering and running 100,000 deferred tasks, posted and idle, against the floor: a plain
// std::deque of std::function filled and run in a loop. Both sides perform the same action
// object, so the ratio is what the manager costs on top: the table of handles, the queues,
// the message or timer, and for idle tasks the look at the thread's queue after every task.
//
// The three cases are timed interleaved, round by round after an untimed warm-up round
// (common/Interleaved.h), and the ratios of the medians are printed.

#include <cstdio>
#include <deque>
#include <functional>
#include <vector>

#include "common/Interleaved.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/MessageLoop.h"

namespace {

constexpr int kTasks = 100000;
constexpr int kRounds = 41;

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

}  // namespace

int main() {
  Ostrum::DeferredTaskManager::ScopedSession session;
  Ostrum::Desktop::HeadlessDriver driver;
  CountingTask posted_task, idle_task, floor_task;
  std::deque<std::function<void()>> floor_queue;

  std::vector<ostrum_bench::TimedCase> cases;
  cases.push_back({"posted: register and run", [&] {
                     for (int i = 0; i < kTasks; ++i) Ostrum::DeferredTaskManager::RegisterTask(&posted_task, 1, 0);
                     Ostrum::Desktop::PumpWaitingMessages();  // the one posted message runs them all
                   }});
  cases.push_back({"idle: register and run", [&] {
                     for (int i = 0; i < kTasks; ++i)
                       Ostrum::DeferredTaskManager::RegisterTask(&idle_task, Ostrum::DeferredTaskManager::IDLE_PRIORITY,
                                                                 0);
                     driver.AdvanceClock(10);                 // the idle timer comes due
                     Ostrum::Desktop::PumpWaitingMessages();  // and the idle run goes through, nothing waiting
                   }});
  cases.push_back({"floor: deque of std::function", [&] {
                     for (int i = 0; i < kTasks; ++i) floor_queue.emplace_back([&floor_task] { floor_task.Perform(); });
                     while (!floor_queue.empty()) {
                       floor_queue.front()();
                       floor_queue.pop_front();
                     }
                   }});

  ostrum_bench::RunInterleaved(cases, kRounds);

  // Every side must have done all of its work in every run, the warm-up included.
  const long expected = static_cast<long>(kRounds + 1) * kTasks;
  for (const CountingTask* task : {&posted_task, &idle_task, &floor_task}) {
    if (task->performed != expected) {
      std::printf("tasks were lost: %ld performed of %ld\n", task->performed, expected);
      return 1;
    }
  }

  std::printf("Deferred tasks, %d a run, %d interleaved rounds:\n", kTasks, kRounds);
  ostrum_bench::PrintMedians(cases, kTasks);
  std::printf("\nRatios (framework time / floor time, medians, lower is better):\n");
  ostrum_bench::PrintRatio("posted tasks: register and run 100,000", cases[0], cases[2]);
  ostrum_bench::PrintRatio("idle tasks: register and run 100,000", cases[1], cases[2]);
  return 0;
}
