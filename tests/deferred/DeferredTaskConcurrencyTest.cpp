// Handles of deferred tasks used from other threads while the owning threads run their queues:
// every task is performed or discarded exactly once, whoever gets to it first, a discard that
// answered true was the one, the tasks left run on their own thread in the order promised, and
// a handle whose task has gone never reaches the task that took over its slot.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <thread>
#include <tuple>
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

// What became of one task of the many-thread test, and where it belongs.
struct Tracked {
  std::atomic<int> performed{0};
  std::atomic<int> discarded{0};
  std::atomic<int> discards_won{0};  // Discard calls that answered true for this handle
  std::atomic<DeferredTask*> handle{nullptr};
  std::thread::id performed_on;      // written by the performing thread only
  int owner = 0;
  int burst = 0;
  unsigned int priority = 0;
  int serial = 0;  // order of registration on its owner's thread
};

// Records its run into the owner's log (only the owner's thread performs it) and its end.
class TrackedAction : public Ostrum::IAction {
 public:
  TrackedAction(Tracked& tracked, std::vector<const Tracked*>& owner_log) : m_tracked(tracked), m_log(owner_log) {}

 protected:
  void _Perform() override {
    m_tracked.performed_on = std::this_thread::get_id();
    m_tracked.performed.fetch_add(1, std::memory_order_relaxed);
    m_log.push_back(&m_tracked);
    delete this;
  }
  void _Discard() override {
    m_tracked.discarded.fetch_add(1, std::memory_order_relaxed);
    IAction::_Discard();
  }

 private:
  Tracked& m_tracked;
  std::vector<const Tracked*>& m_log;
};

TEST(DeferredTaskConcurrency, SeveralSessionsRegisterWhileOtherThreadsDiscardTheirTasks) {
  // Three threads with sessions register posted and idle tasks in bursts and run their queues;
  // between bursts each also discards tasks of the others. Two threads without a session only
  // discard, from the bursts being worked on and from old ones whose slots are in use again.
  // The owners stop at different times, so that the slots of an ended thread go on serving.
  constexpr int kOwners = 3;
  constexpr int kBurst = 120;
  constexpr int kBursts[kOwners] = {20, 35, 50};
  constexpr int kDiscarders = 2;
  std::vector<std::vector<Tracked>> tasks(kOwners);
  for (int owner = 0; owner < kOwners; ++owner) tasks[owner] = std::vector<Tracked>(kBursts[owner] * kBurst);
  std::vector<std::vector<const Tracked*>> logs(kOwners);
  std::atomic<int> published[kOwners] = {};
  std::atomic<int> owners_running{kOwners};
  std::atomic<long> attempts{0};
  std::vector<std::thread::id> owner_ids(kOwners);

  // Tries to discard task `i` of `owner`; answers whether it was this call that discarded it.
  auto try_discard = [&](int owner, int i) {
    Tracked& task = tasks[owner][i];
    DeferredTask* handle = task.handle.load(std::memory_order_acquire);
    if (handle == nullptr) return false;  // reported by its owner
    const bool won = handle->Discard();
    if (won) {
      task.discards_won.fetch_add(1, std::memory_order_relaxed);
      // The action's Discard ran inside the call, on this thread: the handle reached its own
      // task and no other, and that task never ran and never will.
      EXPECT_EQ(task.discarded.load(), 1) << "owner " << owner << " task " << i;
      EXPECT_EQ(task.performed.load(), 0) << "owner " << owner << " task " << i;
    }
    EXPECT_FALSE(handle->IsValid()) << "after a discard, won or lost, the handle is spent";
    attempts.fetch_add(1, std::memory_order_release);
    return won;
  };

  std::vector<std::thread> threads;
  for (int owner = 0; owner < kOwners; ++owner) {
    threads.emplace_back([&, owner] {
      owner_ids[owner] = std::this_thread::get_id();
      std::mt19937 random(100 + owner);
      DeferredTaskManager::StartDeferredTaskManagerSession();
      int serial = 0;
      for (int burst = 0; burst < kBursts[owner]; ++burst) {
        for (int k = 0; k < kBurst; ++k) {
          const int i = burst * kBurst + k;
          Tracked& task = tasks[owner][i];
          task.owner = owner;
          task.burst = burst;
          task.serial = serial++;
          // A third idle, the rest posted over a few priorities, given out of order.
          task.priority = k % 3 == 0 ? DeferredTaskManager::IDLE_PRIORITY : static_cast<unsigned>((k * 7) % 4);
          DeferredTask* handle =
              DeferredTaskManager::RegisterTask(new TrackedAction(task, logs[owner]), task.priority, 0);
          if (handle == nullptr) ADD_FAILURE() << "owner " << owner << " task " << i << " got no handle";
          task.handle.store(handle, std::memory_order_release);
          published[owner].store(i + 1, std::memory_order_release);
        }
        // The others' latest tasks, before they run.
        for (int n = 0; n < 10; ++n) {
          const int other = (owner + 1 + static_cast<int>(random() % (kOwners - 1))) % kOwners;
          const int count = published[other].load(std::memory_order_acquire);
          if (count > 0) try_discard(other, count - 1 - static_cast<int>(random() % std::min(count, kBurst)));
        }
        // Let the discarding threads get at this burst before and while it runs.
        const long seen = attempts.load(std::memory_order_acquire);
        while (attempts.load(std::memory_order_acquire) < seen + 20 && owners_running.load() > 0)
          std::this_thread::yield();
        Ostrum::Desktop::RunUntilIdle();
      }
      DeferredTaskManager::EndDeferredTaskManagerSession();
      owners_running.fetch_sub(1, std::memory_order_release);
    });
  }
  for (int d = 0; d < kDiscarders; ++d) {
    threads.emplace_back([&, d] {
      std::mt19937 random(7 + d);
      while (owners_running.load(std::memory_order_acquire) > 0) {
        const int owner = static_cast<int>(random() % kOwners);
        const int count = published[owner].load(std::memory_order_acquire);
        if (count == 0) {
          std::this_thread::yield();
          continue;
        }
        // Mostly the latest burst; now and then any task, most of them long gone.
        const int window = random() % 8 == 0 ? count : std::min(count, 2 * kBurst);
        try_discard(owner, count - 1 - static_cast<int>(random() % static_cast<unsigned>(window)));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  long performed = 0, discarded = 0, won = 0;
  for (int owner = 0; owner < kOwners; ++owner) {
    for (std::size_t i = 0; i < tasks[owner].size(); ++i) {
      const Tracked& task = tasks[owner][i];
      const int p = task.performed.load(), d = task.discarded.load(), w = task.discards_won.load();
      ASSERT_EQ(p + d, 1) << "owner " << owner << " task " << i << ": performed " << p << ", discarded " << d;
      ASSERT_EQ(w, d) << "owner " << owner << " task " << i << ": every discard was one that answered true";
      if (p == 1) {
        EXPECT_EQ(task.performed_on, owner_ids[owner]) << "tasks run on the thread that registered them";
      }
      if (DeferredTask* handle = task.handle.load()) {
        EXPECT_FALSE(handle->IsValid());
      }
      performed += p;
      discarded += d;
      won += w;
    }
    // What ran of each burst ran in the promised order: posted tasks by priority and then by
    // registration, idle tasks by registration.
    const std::vector<const Tracked*>& log = logs[owner];
    for (std::size_t n = 1; n < log.size(); ++n) {
      const Tracked& a = *log[n - 1];
      const Tracked& b = *log[n];
      if (a.burst != b.burst) {
        EXPECT_LT(a.burst, b.burst) << "owner " << owner << ": a burst ran before the one before it had finished";
        continue;
      }
      const bool a_idle = a.priority == DeferredTaskManager::IDLE_PRIORITY;
      const bool b_idle = b.priority == DeferredTaskManager::IDLE_PRIORITY;
      if (a_idle != b_idle) {
        EXPECT_FALSE(a_idle) << "owner " << owner << " burst " << a.burst << ": the posted run comes first";
        continue;
      }
      EXPECT_LT(std::tie(a.priority, a.serial), std::tie(b.priority, b.serial))
          << "owner " << owner << " burst " << a.burst << ": serial " << a.serial << " before " << b.serial;
    }
  }
  EXPECT_GT(won, 0) << "the threads never met";
  EXPECT_EQ(discarded, won) << "nothing expired or was left at the end of a session";
}

}  // namespace
