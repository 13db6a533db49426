// A delivery in the steady state allocates nothing: the list is found through the center's
// cache, not by building a string, and walked in place. Counted by replacing the global
// allocation functions of this test program (the library's calls reach them too).

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "ostrum/notification/NotificationCenter.h"

namespace {
long g_allocations = 0;
}  // namespace

// The replacements pair malloc with free on purpose; once gcc inlines them into a new/delete
// pair it takes that for a mismatch, so that check is off in this file.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void* operator new(std::size_t size) {
  ++g_allocations;
  if (void* p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace {

using Ostrum::NotificationCenter;

struct Tick {};
struct Tock {};
struct Unheard {};
class Clock : public NotificationCenter::ISubject {};

struct Counter {
  NotificationCenter* center = nullptr;  // set: sends a Tock from each Tick
  long ticks = 0, tocks = 0;
  void OnTick(Tick const&) {
    ++ticks;
    if (center) center->NotifyObservers(nullptr, Tock());
  }
  void OnTock(Tock const&) { ++tocks; }
};

TEST(NotificationCenter, DeliveryInTheSteadyStateAllocatesNothing) {
  NotificationCenter center;
  Clock clock;
  Counter counters[8];
  for (int i = 0; i < 8; ++i) {
    center.AddObserver(&counters[i], &Counter::OnTick, i % 2 ? &clock : nullptr);
    center.AddObserver(&counters[i], &Counter::OnTock);
  }
  counters[3].center = &center;  // a nested delivery of another type
  auto deliver = [&] {
    center.NotifyObservers(&clock, Tick());
    center.NotifyObservers(nullptr, Tick());
    center.NotifyObservers(&clock, Unheard());
  };
  deliver();  // the first deliveries of each type fill the cache
  long const before = g_allocations;
  for (int i = 0; i < 1000; ++i) deliver();
  EXPECT_EQ(g_allocations - before, 0);
  EXPECT_EQ(counters[0].ticks, 2002);
  EXPECT_EQ(counters[3].ticks, 1001) << "a filtered observer hears its own sender only";
  EXPECT_EQ(counters[7].tocks, 1001);
}

}  // namespace
