// The stage's scene manager: the default scene and the ids of the others, removing and
// restoring, and scenes of one label merged (with the per-scene values of every property) or
// renamed apart.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostrum/foundation/stage/MSceneManager.h"
#include "ostrum/foundation/stage/MSceneProperty.h"

namespace {

// A manager of plain scenes, as a host of the stage makes one.
struct Stage : MSceneManager {
  Stage() { Initialise(); }
  unsigned long long Add(const wchar_t* label) {
    auto* scene = new MScene(label);
    _AddScene(scene);
    return scene->GetSceneID();
  }
  std::vector<std::wstring> Labels() const {
    std::vector<std::wstring> labels;
    for (const MScene* scene : GetScenes()) labels.push_back(scene->GetLabel());
    return labels;
  }
};
using Texts = std::vector<std::wstring>;

TEST(MSceneManager, TheDefaultSceneStaysAndTheOthersCountUpAndComeBackAtTheEnd) {
  Stage stage;
  ASSERT_NE(stage.GetDefaultScene(), nullptr);
  EXPECT_EQ(stage.GetDefaultScene()->GetLabel(), L"Default");
  EXPECT_EQ(stage.GetDefaultScene()->GetSceneID(), MScene::DEFAULT_SCENE_ID);
  EXPECT_EQ(stage.Add(L"A"), 1u);
  EXPECT_EQ(stage.Add(L"B"), 2u);
  EXPECT_EQ(stage.Add(L"A"), 3u) << "a label may repeat; the id never does";
  EXPECT_EQ(stage.FindScene(L"A")->GetSceneID(), 1u) << "the first of the label";
  EXPECT_EQ(stage.FindScene(2)->GetLabel(), L"B");

  EXPECT_FALSE(stage.RemoveScene(MScene::DEFAULT_SCENE_ID));
  EXPECT_TRUE(stage.RemoveScene(1));
  EXPECT_FALSE(stage.RemoveScene(1));
  EXPECT_TRUE(stage.IsSceneRemoved(1));
  EXPECT_EQ(stage.FindScene(1), nullptr);
  EXPECT_EQ(stage.FindScene(L"A")->GetSceneID(), 3u);
  EXPECT_FALSE(stage.RestoreScene(2)) << "live, not removed";
  EXPECT_TRUE(stage.RestoreScene(1));
  EXPECT_FALSE(stage.IsSceneRemoved(1));
  EXPECT_EQ(stage.Labels(), (Texts{L"Default", L"B", L"A", L"A"}));

  stage.Initialise();
  EXPECT_EQ(stage.Labels(), Texts{L"Default"});
  EXPECT_TRUE(stage.GetRemovedScenes().empty());
  EXPECT_EQ(stage.Add(L"C"), 4u) << "ids are not given twice";
}

TEST(MSceneManager, MergingMovesTheValuesOfLaterScenesOfALabelToTheFirst) {
  Stage stage;
  const unsigned long long a = stage.Add(L"A"), b = stage.Add(L"B"), a2 = stage.Add(L"A"), a3 = stage.Add(L"A");
  MSceneProperty<int> only_later(-1), both(-1);
  only_later.SetValue(20, a2);
  only_later.SetValue(30, a3);
  both.SetValue(1, a);
  both.SetValue(2, a2);
  both.SetValue(5, b);

  EXPECT_EQ(stage.MergeEquivalentScenes(), 2);
  EXPECT_EQ(stage.Labels(), (Texts{L"Default", L"A", L"B"}));
  EXPECT_TRUE(stage.IsSceneRemoved(a2) && stage.IsSceneRemoved(a3)) << "kept for undo";
  EXPECT_EQ(only_later.GetValue(a), 20) << "the first later value where the first scene had none";
  EXPECT_EQ(both.GetValue(a), 1) << "the first scene's own value stays";
  for (const MSceneProperty<int>* property : {&only_later, &both}) {
    EXPECT_FALSE(property->HasInstance(a2) || property->HasInstance(a3)) << "merged scenes hold nothing";
  }
  EXPECT_EQ(both.GetValue(b), 5);
  EXPECT_EQ(stage.MergeEquivalentScenes(), 0);
}

TEST(MSceneManager, RenamingGivesEachLaterSceneOfALabelTheNextFreeNumber) {
  Stage stage;
  for (const wchar_t* label : {L"A", L"A", L"B", L"A (2)", L"A", L"B"}) stage.Add(label);
  EXPECT_EQ(stage.RenameEquivalentScenes(), 3);
  EXPECT_EQ(stage.Labels(), (Texts{L"Default", L"A", L"A (3)", L"B", L"A (2)", L"A (4)", L"B (2)"}));
  EXPECT_EQ(stage.RenameEquivalentScenes(), 0);
}

}  // namespace
