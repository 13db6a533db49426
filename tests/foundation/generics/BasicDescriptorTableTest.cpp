#include "ostrum/foundation/generics/BasicDescriptorTable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Generic::BasicDescriptorTable;
using Key = BasicDescriptorTable::Key;

// Reaches the protected constructor that makes slots retire after a few generations.
class ShortLivedSlotsTable : public BasicDescriptorTable {
 public:
  explicit ShortLivedSlotsTable(std::uint32_t generations)
      : BasicDescriptorTable(4, 0, generations) {}
  using BasicDescriptorTable::GetSlotCount;
};

TEST(BasicDescriptorTable, RegisterLookupUnregister) {
  BasicDescriptorTable table;
  int a = 1, b = 2;
  EXPECT_EQ(table.RegisterObject(nullptr), 0u);
  EXPECT_EQ(table.GetObjectByKey(0), nullptr);

  const Key ka = table.RegisterObject(&a);
  const Key kb = table.RegisterObject(&b);
  const Key ka2 = table.RegisterObject(&a);  // the same object may have several keys
  ASSERT_NE(ka, 0u);
  ASSERT_NE(kb, 0u);
  EXPECT_NE(ka, kb);
  EXPECT_NE(ka, ka2);
  EXPECT_EQ(table.GetCount(), 3u);
  EXPECT_EQ(table.GetObjectByKey(ka), &a);
  EXPECT_EQ(table.GetObjectByKey(kb), &b);
  EXPECT_EQ(table.GetObjectByKey(ka2), &a);
  // Keys must be usable as positive signed 64-bit values.
  EXPECT_GT(static_cast<std::int64_t>(ka), 0);

  EXPECT_EQ(table.UnregisterObject(ka), &a);
  EXPECT_EQ(table.UnregisterObject(ka), nullptr) << "a key works only once";
  EXPECT_EQ(table.GetObjectByKey(ka), nullptr);
  EXPECT_EQ(table.GetObjectByKey(ka2), &a) << "the object's other key stays";
  EXPECT_EQ(table.GetCount(), 2u);

  // Keys that were never given: a slot past the end, a known slot with a foreign generation.
  EXPECT_EQ(table.GetObjectByKey(0xFFFFFFFFull), nullptr);
  EXPECT_EQ(table.GetObjectByKey(kb + (Key{1} << 32)), nullptr);
  EXPECT_EQ(table.UnregisterObject(kb + (Key{1} << 32)), nullptr);
  EXPECT_EQ(table.GetObjectByKey(kb), &b);
}

TEST(BasicDescriptorTable, StaleKeysFindNothingAfterManyCycles) {
  BasicDescriptorTable table(1024, 0);
  int objects[3];
  std::set<Key> seen;
  std::vector<Key> stale;
  for (int cycle = 0; cycle < 100000; ++cycle) {
    void* object = &objects[cycle % 3];
    const Key key = table.RegisterObject(object);
    ASSERT_NE(key, 0u);
    ASSERT_TRUE(seen.insert(key).second) << "key " << key << " reused at cycle " << cycle;
    ASSERT_EQ(table.UnregisterObject(key), object);
    if (cycle % 1000 == 0) stale.push_back(key);
  }
  // A live object now sits in the recycled slot; none of the old keys may reach it.
  const Key live = table.RegisterObject(&objects[0]);
  for (Key key : stale) EXPECT_EQ(table.GetObjectByKey(key), nullptr) << key;
  EXPECT_EQ(table.GetObjectByKey(live), &objects[0]);
  EXPECT_EQ(table.GetCount(), 1u);
}

TEST(BasicDescriptorTable, SlotRetiresWhenItsGenerationsAreUsedUp) {
  ShortLivedSlotsTable table(3);
  int object = 0;
  std::set<Key> seen;
  for (int cycle = 0; cycle < 12; ++cycle) {
    const Key key = table.RegisterObject(&object);
    ASSERT_NE(key, 0u);
    ASSERT_TRUE(seen.insert(key).second) << "key reused at cycle " << cycle;
    ASSERT_EQ(table.UnregisterObject(key), &object);
  }
  // Three keys per slot, so twelve cycles need four slots, each retired in turn.
  EXPECT_EQ(table.GetSlotCount(), 4u);
  for (Key key : seen) EXPECT_EQ(table.GetObjectByKey(key), nullptr);
}

TEST(BasicDescriptorTable, GrowsPastItsInitialCapacity) {
  const std::vector<std::pair<std::size_t, std::size_t>> sizes = {{2, 3}, {0, 0}, {1024, 0}};
  for (auto [capacity, growth] : sizes) {
    BasicDescriptorTable table(capacity, growth);
    std::vector<int> objects(5000);
    std::vector<Key> keys;
    for (int& object : objects) keys.push_back(table.RegisterObject(&object));
    for (std::size_t i = 0; i < objects.size(); ++i) {
      ASSERT_EQ(table.GetObjectByKey(keys[i]), &objects[i])
          << "capacity " << capacity << " growth " << growth << " entry " << i;
    }
    EXPECT_EQ(table.GetCount(), objects.size());
  }
}

TEST(BasicDescriptorTable, ConcurrentUseKeepsEntriesApart) {
  BasicDescriptorTable table(1024, 0);
  constexpr int kThreads = 4;
  constexpr int kRounds = 20000;
  std::atomic<int> errors{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&table, &errors] {
      std::vector<int> mine(8);
      std::vector<Key> keys(mine.size(), 0);
      for (int round = 0; round < kRounds; ++round) {
        const std::size_t i = static_cast<std::size_t>(round) % mine.size();
        if (keys[i] != 0) {
          if (table.GetObjectByKey(keys[i]) != &mine[i]) ++errors;
          if (table.UnregisterObject(keys[i]) != &mine[i]) ++errors;
          if (table.GetObjectByKey(keys[i]) != nullptr) ++errors;
        }
        keys[i] = table.RegisterObject(&mine[i]);
        if (keys[i] == 0) ++errors;
      }
      for (std::size_t i = 0; i < mine.size(); ++i) {
        if (table.UnregisterObject(keys[i]) != &mine[i]) ++errors;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(errors.load(), 0);
  EXPECT_EQ(table.GetCount(), 0u);
}

TEST(BasicDescriptorTable, RacingUnregisterGivesEachObjectToExactlyOneThread) {
  BasicDescriptorTable table;
  std::vector<int> objects(10000);
  std::vector<Key> keys;
  for (int& object : objects) keys.push_back(table.RegisterObject(&object));
  std::atomic<int> taken{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&] {
      for (Key key : keys) {
        if (table.UnregisterObject(key) != nullptr) ++taken;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(taken.load(), static_cast<int>(objects.size()));
  EXPECT_EQ(table.GetCount(), 0u);
}

}  // namespace
