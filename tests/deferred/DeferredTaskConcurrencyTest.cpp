// Handles of deferred tasks used from another thread while the owning thread runs its queues:
// every task is performed or discarded exactly once, whoever gets to it first.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/MessageLoop.h"

namespace {

using Ostrum::DeferredTask;
using Ostrum::DeferredTaskManager;

struct Outcome {
  std::atomic<int> performed{0};
  std::atomic<int> discarded{0};
};

class CountingAction : public Ostrum::IAction {
 public:
  explicit CountingAction(Outcome& outcome) : m_outcome(outcome) {}

 protected:
  void _Perform() override {
    m_outcome.performed.fetch_add(1, std::memory_order_relaxed);
    delete this;
  }
  void _Discard() override {
    m_outcome.discarded.fetch_add(1, std::memory_order_relaxed);
    IAction::_Discard();
  }

 private:
  Outcome& m_outcome;
};

TEST(DeferredTaskConcurrency, DiscardAndIsValidFromAnotherThreadWhileTheQueuesRun) {
  constexpr int kTasks = 20000;
  constexpr int kBurst = 200;
  std::vector<Outcome> outcomes(kTasks);
  std::vector<std::atomic<DeferredTask*>> handles(kTasks);
  std::atomic<int> registered{0};
  std::atomic<bool> done{false};
  std::atomic<int> discards_won{0};
  std::atomic<int> attempts{0};

  std::thread owner([&] {
    DeferredTaskManager::StartDeferredTaskManagerSession();
    for (int first = 0; first < kTasks; first += kBurst) {
      for (int i = first; i < first + kBurst; ++i) {
        // Alternate posted and idle tasks, so that both runs race with the other thread.
        const unsigned int priority = i % 2 ? DeferredTaskManager::IDLE_PRIORITY : static_cast<unsigned>(i % 7);
        handles[i].store(DeferredTaskManager::RegisterTask(new CountingAction(outcomes[i]), priority, 0),
                         std::memory_order_release);
        registered.store(i + 1, std::memory_order_release);
      }
      // Let the other thread get at this burst before and while it runs.
      const int seen = attempts.load(std::memory_order_acquire);
      while (attempts.load(std::memory_order_acquire) < seen + 20) std::this_thread::yield();
      Ostrum::Desktop::RunUntilIdle();
    }
    DeferredTaskManager::EndDeferredTaskManagerSession();
    done.store(true, std::memory_order_release);
  });

  std::thread discarder([&] {
    std::mt19937 random(12345);
    while (!done.load(std::memory_order_acquire)) {
      const int count = registered.load(std::memory_order_acquire);
      if (count == 0) continue;
      // Mostly the latest burst, where the owner is at work.
      const int window = std::min(count, 2 * kBurst);
      const int i = count - 1 - static_cast<int>(random() % static_cast<unsigned>(window));
      DeferredTask* handle = handles[i].load(std::memory_order_acquire);
      if (!handle) {
        ADD_FAILURE() << "task " << i << " was not registered";
        break;
      }
      handle->IsValid();  // may already be stale: the owner can take the task in between
      if (handle->Discard()) {
        discards_won.fetch_add(1, std::memory_order_relaxed);
      } else {
        EXPECT_FALSE(handle->IsValid()) << "a handle that failed to discard stays spent";
      }
      attempts.fetch_add(1, std::memory_order_release);
    }
  });

  owner.join();
  discarder.join();

  int performed = 0, discarded = 0;
  for (int i = 0; i < kTasks; ++i) {
    const int p = outcomes[i].performed.load(), d = outcomes[i].discarded.load();
    ASSERT_EQ(p + d, 1) << "task " << i << " performed " << p << " and discarded " << d << " times";
    performed += p;
    discarded += d;
    EXPECT_FALSE(handles[i].load()->IsValid());
  }
  // The owner waits for the other thread's attempts on every burst, so discards happen; how
  // many tasks are left to be performed depends on the scheduler.
  EXPECT_GT(discards_won.load(), 0) << "the threads never met";
  EXPECT_EQ(discarded, discards_won.load()) << "only the other thread discarded: nothing expired or was left";
  EXPECT_EQ(performed + discarded, kTasks);
}

}  // namespace
