#include "ostrum/foundation/generics/BasicDescriptorTable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <set>
#include <thread>
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

TEST(BasicDescriptorTable, KeysFindTheirObjectUntilUnregistered) {
  BasicDescriptorTable table(2, 3);  // grows past its first two slots by three at a time
  std::vector<int> objects(5000);
  std::vector<Key> keys;
  for (int& object : objects) keys.push_back(table.RegisterObject(&object));
  for (std::size_t i = 0; i < objects.size(); ++i) ASSERT_EQ(table.GetObjectByKey(keys[i]), &objects[i]) << i;
  const Key again = table.RegisterObject(&objects[0]);  // one object may have several keys
  EXPECT_EQ(table.UnregisterObject(keys[0]), &objects[0]);
  EXPECT_EQ(table.UnregisterObject(keys[0]), nullptr) << "a key works only once";
  EXPECT_EQ(table.GetObjectByKey(again), &objects[0]);
  // Keys never given: 0, a slot past the end, a live slot with another generation.
  for (Key never : {Key{0}, Key{0xFFFFFFFF}, keys[1] + (Key{1} << 32)})
    EXPECT_EQ(table.UnregisterObject(never), nullptr) << never;
  EXPECT_EQ(table.GetCount(), objects.size());
  EXPECT_EQ(table.RegisterObject(nullptr), 0u);
}

// Unregistering advances a slot's generation, and a slot whose generations are used up retires:
// no key is ever handed out twice, and no stale key reaches the object now in its old slot.
TEST(BasicDescriptorTable, KeysAreNeverReused) {
  BasicDescriptorTable table(1024, 0);
  ShortLivedSlotsTable short_lived(3);
  int objects[3];
  for (BasicDescriptorTable* t : {&table, static_cast<BasicDescriptorTable*>(&short_lived)}) {
    std::set<Key> seen;
    for (int cycle = 0; cycle < (t == &table ? 100000 : 12); ++cycle) {
      void* object = &objects[cycle % 3];
      const Key key = t->RegisterObject(object);
      ASSERT_GT(static_cast<std::int64_t>(key), 0) << "keys are never 0 and fit a signed 64-bit handle";
      ASSERT_TRUE(seen.insert(key).second) << "key " << key << " reused at cycle " << cycle;
      ASSERT_EQ(t->UnregisterObject(key), object);
    }
    const Key live = t->RegisterObject(&objects[0]);
    for (Key key : seen) ASSERT_EQ(t->GetObjectByKey(key), nullptr) << key;
    EXPECT_EQ(t->GetObjectByKey(live), &objects[0]);
  }
  EXPECT_EQ(short_lived.GetSlotCount(), 5u) << "three keys per slot: four slots retired in turn, a fifth live";
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
                             table.UnregisterObject(keys[i]) != &mine[i] || table.GetObjectByKey(keys[i]) != nullptr))
          ++errors;
        if ((keys[i] = table.RegisterObject(&mine[i])) == 0) ++errors;
      }
      for (std::size_t i = 0; i < mine.size(); ++i) errors += table.UnregisterObject(keys[i]) != &mine[i];
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
  for (int t = 0; t < 3; ++t)
    threads.emplace_back([&] {
      for (Key key : keys) taken += table.UnregisterObject(key) != nullptr;
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(taken.load(), static_cast<int>(objects.size()));
}

}  // namespace
