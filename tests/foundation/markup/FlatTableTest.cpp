// The flat table behind the reader's reference numbers and roles: entries survive growth, keys
// that differ only in high bits (aligned addresses, numbers far apart) are kept apart, and a
// second insertion never replaces the first.

#include "ostrum/foundation/markup/private/FlatTable.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>

namespace {

using Ostrum::Markup::Private::FlatTable;

TEST(FlatTable, KeepsEveryEntryThroughGrowthAndNeverReplacesOnInsert) {
  FlatTable<std::uint32_t, int> numbers;
  EXPECT_EQ(numbers.Find(1), nullptr);  // empty, before any slot exists
  std::map<std::uint32_t, int> expected;
  // Dense numbers, and numbers that share their low 20 bits.
  for (std::uint32_t i = 1; i <= 5000; ++i) expected[i] = static_cast<int>(i);
  for (std::uint32_t i = 1; i <= 3000; ++i) expected[i << 20 | 7] = -static_cast<int>(i);
  for (auto const& [key, value] : expected) ASSERT_TRUE(numbers.Insert(key, value).second) << key;
  EXPECT_EQ(numbers.Size(), expected.size());
  for (auto const& [key, value] : expected) {
    auto const [found, made] = numbers.Insert(key, 12345);
    EXPECT_FALSE(made) << key;
    EXPECT_EQ(*found, value) << key;
  }
  for (auto const& [key, value] : expected) {
    ASSERT_NE(numbers.Find(key), nullptr) << key;
    EXPECT_EQ(*numbers.Find(key), value);
  }
  EXPECT_EQ(numbers.Find(5001), nullptr);
  EXPECT_EQ(numbers.Find(0xFFFFFFFFu), nullptr);
  std::map<std::uint32_t, int> visited;
  numbers.ForEach([&](std::uint32_t key, int value) { EXPECT_TRUE(visited.emplace(key, value).second); });
  EXPECT_EQ(visited, expected);
  numbers.Clear();
  EXPECT_EQ(numbers.Size(), 0u);
  EXPECT_EQ(numbers.Find(1), nullptr);
  numbers[3] = 4;
  EXPECT_EQ(*numbers.Find(3), 4);
}

TEST(FlatTable, PointersOfAlignedObjectsAreKeptApart) {
  alignas(4096) static char pages[64][4096];
  FlatTable<void const*, std::uint8_t> roles;
  roles.Reserve(16);
  for (int i = 0; i < 64; ++i) roles[pages[i]] |= 1;
  for (int i = 0; i < 64; i += 2) roles[pages[i]] |= 2;
  EXPECT_EQ(roles.Size(), 64u);
  for (int i = 0; i < 64; ++i) EXPECT_EQ(*roles.Find(pages[i]), i % 2 ? 1 : 3) << i;
  EXPECT_EQ(roles.Find(pages[0] + 1), nullptr);
}

}  // namespace
