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
  explicit ShortLivedSlotsTable(std::uint32_t generations) : BasicDescriptorTable(4, 0, generations) {}
  using BasicDescriptorTable::GetSlotCount;
};

TEST(BasicDescriptorTable, RegisterLookupUnregister) {
  BasicDescriptorTable table;
  int a = 1, b = 2;
  EXPECT_EQ(table.RegisterObject(nullptr), 0u);
  const Key ka = table.RegisterObject(&a);
  const Key kb = table.RegisterObject(&b);
  const Key ka2 = table.RegisterObject(&a);  // one object may have several keys
  ASSERT_TRUE(ka != 0 && kb != 0 && ka != kb && ka != ka2);
  EXPECT_GT(static_cast<std::int64_t>(ka), 0) << "keys must fit a signed 64-bit handle";
  EXPECT_EQ(table.GetObjectByKey(ka), &a);
  EXPECT_EQ(table.GetObjectByKey(kb), &b);
  EXPECT_EQ(table.GetCount(), 3u);

  EXPECT_EQ(table.UnregisterObject(ka), &a);
  EXPECT_EQ(table.UnregisterObject(ka), nullptr) << "a key works only once";
  EXPECT_EQ(table.GetObjectByKey(ka), nullptr);
  EXPECT_EQ(table.GetObjectByKey(ka2), &a) << "the object's other key stays";
  EXPECT_EQ(table.GetCount(), 2u);
  // Keys never given: 0, a slot past the end, a live slot with another generation.
  EXPECT_EQ(table.GetObjectByKey(0), nullptr);
  EXPECT_EQ(table.GetObjectByKey(0xFFFFFFFFull), nullptr);
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
    ASSERT_TRUE(seen.insert(key).second) << "key " << key << " reused at cycle " << cycle;
    ASSERT_EQ(table.UnregisterObject(key), object);
    if (cycle % 1000 == 0) stale.push_back(key);
  }
  // A live object now sits in the recycled slot; none of the old keys may reach it.
  const Key live = table.RegisterObject(&objects[0]);
  for (Key key : stale) EXPECT_EQ(table.GetObjectByKey(key), nullptr) << key;
  EXPECT_EQ(table.GetObjectByKey(live), &objects[0]);
}

TEST(BasicDescriptorTable, SlotRetiresWhenItsGenerationsAreUsedUp) {
  ShortLivedSlotsTable table(3);
  int object = 0;
  std::set<Key> seen;
  for (int cycle = 0; cycle < 12; ++cycle) {
    const Key key = table.RegisterObject(&object);
    ASSERT_TRUE(key != 0 && seen.insert(key).second) << "key reused at cycle " << cycle;
    ASSERT_EQ(table.UnregisterObject(key), &object);
  }
  EXPECT_EQ(table.GetSlotCount(), 4u) << "three keys per slot: four slots, each retired in turn";
  for (Key key : seen) EXPECT_EQ(table.GetObjectByKey(key), nullptr);
}

TEST(BasicDescriptorTable, GrowsPastItsInitialCapacity) {
  for (auto [capacity, growth] : std::vector<std::pair<std::size_t, std::size_t>>{{2, 3}, {0, 0}}) {
    BasicDescriptorTable table(capacity, growth);
    std::vector<int> objects(5000);
    std::vector<Key> keys;
    for (int& object : objects) keys.push_back(table.RegisterObject(&object));
    for (std::size_t i = 0; i < objects.size(); ++i) {
      ASSERT_EQ(table.GetObjectByKey(keys[i]), &objects[i]) << "growth " << growth << " entry " << i;
    }
  }
}

TEST(BasicDescriptorTable, ThreadsKeepTheirEntriesAndRacesHaveOneWinner) {
  BasicDescriptorTable table(1024, 0);
  std::atomic<int> errors{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&table, &errors] {
      std::vector<int> mine(8);
      std::vector<Key> keys(mine.size(), 0);
      for (std::size_t round = 0; round < 20000; ++round) {
        const std::size_t i = round % mine.size();
        if (keys[i] != 0 && (table.GetObjectByKey(keys[i]) != &mine[i] ||
                             table.UnregisterObject(keys[i]) != &mine[i] ||
                             table.GetObjectByKey(keys[i]) != nullptr)) {
          ++errors;
        }
        if ((keys[i] = table.RegisterObject(&mine[i])) == 0) ++errors;
      }
      for (std::size_t i = 0; i < mine.size(); ++i) {
        if (table.UnregisterObject(keys[i]) != &mine[i]) ++errors;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(errors.load(), 0);
  EXPECT_EQ(table.GetCount(), 0u);

  // Three threads unregister the same keys: each object goes to exactly one of them.
  std::vector<int> objects(10000);
  std::vector<Key> keys;
  for (int& object : objects) keys.push_back(table.RegisterObject(&object));
  std::atomic<int> taken{0};
  threads.clear();
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&] {
      for (Key key : keys) taken += table.UnregisterObject(key) != nullptr;
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(taken.load(), static_cast<int>(objects.size()));
}

}  // namespace
