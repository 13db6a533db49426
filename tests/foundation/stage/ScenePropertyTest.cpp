// The per-scene property: a value per scene id with a default, walked in ascending id.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "ostrum/foundation/stage/MSceneProperty.h"

namespace {

TEST(MSceneProperty, AnswersItsDefaultForScenesWithoutAValueAndWalksInAscendingId) {
  MSceneProperty<bool> visible(true);
  EXPECT_FALSE(visible.HasInstance(0xFFFFFFFF));
  EXPECT_TRUE(visible.GetValue(0xFFFFFFFF)) << "the default";
  visible.SetValue(false, 0xFFFFFFFF);
  visible.SetValue(true, 3);
  visible.SetValue(false, 1ull << 40);
  visible.SetValue(true, 3);  // again: one instance
  EXPECT_EQ(visible.GetNumInstances(), 3u);
  EXPECT_FALSE(visible.GetValue(0xFFFFFFFF));
  EXPECT_TRUE(visible.HasInstance(1ull << 40));
  std::vector<unsigned long long> ids;
  for (const auto& [id, value] : visible) ids.push_back(id);
  EXPECT_EQ(ids, (std::vector<unsigned long long>{3, 0xFFFFFFFF, 1ull << 40}));

  MSceneProperty<bool> copy = visible;
  EXPECT_TRUE(copy.RemoveInstance(3));
  EXPECT_FALSE(copy.RemoveInstance(3));
  EXPECT_TRUE(copy.GetValue(3)) << "back to the default";
  EXPECT_TRUE(visible.HasInstance(3)) << "the copy is its own";
  visible.RemoveAllInstances();
  EXPECT_EQ(visible.GetNumInstances(), 0u);
  EXPECT_TRUE(visible.GetDefaultValue());
}

TEST(MSceneProperty, AgreesWithAnOrderedMapOverRandomChanges) {
  std::mt19937 random(1);
  MSceneProperty<int> property(-1);
  std::map<unsigned long long, int> model;
  for (int step = 0; step < 5000; ++step) {
    const unsigned long long id = random() % 40;
    switch (random() % 3) {
      case 0:
        property.SetValue(step, id);
        model[id] = step;
        break;
      case 1:
        EXPECT_EQ(property.RemoveInstance(id), model.erase(id) == 1);
        break;
      default:
        EXPECT_EQ(property.GetValue(id), model.count(id) ? model[id] : -1);
        EXPECT_EQ(property.HasInstance(id), model.count(id) == 1);
    }
  }
  EXPECT_TRUE(std::equal(property.begin(), property.end(), model.begin(), model.end(),
                         [](const auto& a, const auto& b) { return a.first == b.first && a.second == b.second; }));
}

TEST(MScenePropertyBase, TheSceneManagerIsAttachedForEveryProperty) {
  auto* manager = reinterpret_cast<MSceneManager*>(0x10);  // only stored, never reached
  MScenePropertyBase::AttachTheSceneManager(manager);
  EXPECT_EQ(MScenePropertyBase::GetTheSceneManager(), manager);
  MScenePropertyBase::AttachTheSceneManager(nullptr);
  EXPECT_EQ(MScenePropertyBase::GetTheSceneManager(), nullptr);
}

}  // namespace
