// Scenes changed through a host's document: objects shown and hidden per scene, and the scene
// operations (add, remove, background, lights, label) with their flags, texts and their undo by
// the scene's state.

#include <gtest/gtest.h>

#include <string>

#include "ostrum/document/UIOperationScene.h"
#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/scene/MSceneEx.h"
#include "support/DatabaseHost.h"

namespace {

using namespace db_test;

constexpr unsigned long long kDefault = MScene::DEFAULT_SCENE_ID;

struct SceneOperations : DatabaseHost {
  SceneOperations() { plan = db.RegisterScene(L"Plan"); }
  UIOperationScene* SceneOp(uint32_t action, const MColor& color = MColor()) {
    auto* operation = new UIOperationScene(action);
    operation->SetScene(plan->GetSceneID());
    operation->SetColor(color);
    return operation;
  }
  MSceneEx* plan;
};

TEST_F(SceneOperations, ShowAndHideActInTheirSceneAndUndoByTurningRound) {
  Item* x = New("x");
  ASSERT_TRUE(Do(Op(MOperation::ACTION_ADD, {x})));
  const unsigned long long id = plan->GetSceneID();
  EXPECT_TRUE(x->IsVisible(kDefault));
  EXPECT_FALSE(x->IsVisible(id)) << "a scene the object has no value for does not show it";

  UIOperation* show = Op(UIOperation::ACTION_SHOW, {x});
  show->SetSceneID(id);
  ASSERT_TRUE(Do(show));
  EXPECT_TRUE(x->IsVisible(id));
  ASSERT_TRUE(Do(Op(UIOperation::ACTION_HIDE, {x})));
  EXPECT_FALSE(x->IsVisible(kDefault)) << "no scene id given: the default scene";
  EXPECT_TRUE(x->IsVisible(id));

  ASSERT_TRUE(doc.UndoOperation());
  EXPECT_TRUE(x->IsVisible(kDefault));
  ASSERT_TRUE(doc.UndoOperation());
  EXPECT_FALSE(x->IsVisible(id));
  EXPECT_TRUE(x->IsVisible(kDefault));
  ASSERT_TRUE(doc.RedoOperation());
  EXPECT_TRUE(x->IsVisible(id));
  x->SetVisible(false, id);
  EXPECT_FALSE(x->IsVisible(id));
  EXPECT_TRUE(x->IsVisible(kDefault));
}

TEST_F(SceneOperations, ColoursAndLabelUndoByTheScenesStateAndLightsAloneLeaveNoStep) {
  const MColor red(1, 0, 0), green(0, 1, 0), blue(0, 0, 1, 0.5f), grey(0.5f, 0.5f, 0.5f);
  const MColor background = plan->GetBackgroundColor();
  ASSERT_TRUE(Do(SceneOp(UIOperationScene::ACTION_SCENE_BACKGROUND, red)));
  EXPECT_EQ(plan->GetBackgroundColor(), red);
  UIOperationScene* relabel = SceneOp(UIOperationScene::ACTION_SCENE_LABEL);
  relabel->SetSceneLabel(L"Review");
  ASSERT_TRUE(Do(relabel));
  EXPECT_EQ(plan->GetLabel(), L"Review");
  auto set_lights = [&] {
    ASSERT_TRUE(Do(SceneOp(UIOperationScene::ACTION_SCENE_AMBIENT, green)));
    ASSERT_TRUE(Do(SceneOp(UIOperationScene::ACTION_SCENE_DIFFUSE, blue)));
    ASSERT_TRUE(Do(SceneOp(UIOperationScene::ACTION_SCENE_SPECULAR, grey)));
  };
  set_lights();
  EXPECT_EQ(plan->GetLightAmbient(), green);
  EXPECT_EQ(plan->GetLightDiffuse(), blue);
  EXPECT_EQ(plan->GetLightSpecular(), grey);

  ASSERT_TRUE(doc.UndoOperation());
  EXPECT_EQ(plan->GetLabel(), L"Plan") << "the label step is the newest: the lights made none";
  EXPECT_EQ(plan->GetLightSpecular(), MColor()) << "the whole scene comes back as it was, lights included";
  ASSERT_TRUE(doc.UndoOperation());
  EXPECT_EQ(plan->GetBackgroundColor(), background);
  ASSERT_TRUE(doc.RedoOperation());
  EXPECT_EQ(plan->GetBackgroundColor(), red);

  // All lights at once is one step, undone whole.
  set_lights();
  auto* lights = new UIOperationSceneLightChanged(UIOperationSceneLightChanged::ACTION_SCENE_LIGHT_ALL);
  lights->SetScene(plan->GetSceneID());
  lights->SetLight(red, red, red);
  lights->SetColor(blue);
  ASSERT_TRUE(Do(lights));
  for (const MColor& color : {plan->GetLightAmbient(), plan->GetLightDiffuse(), plan->GetLightSpecular()})
    EXPECT_EQ(color, red);
  EXPECT_EQ(plan->GetBackgroundColor(), blue);
  ASSERT_TRUE(doc.UndoOperation());
  EXPECT_EQ(plan->GetLightAmbient(), green);
  EXPECT_EQ(plan->GetLightDiffuse(), blue);
  EXPECT_EQ(plan->GetLightSpecular(), grey);
  EXPECT_EQ(plan->GetBackgroundColor(), red);

  auto* background_only = new UIOperationSceneLightChanged(UIOperationSceneLightChanged::ACTION_SCENE_LIGHT_BACKGROUND);
  background_only->SetScene(plan->GetSceneID());
  background_only->SetColor(grey);
  ASSERT_TRUE(Do(background_only));
  EXPECT_EQ(plan->GetBackgroundColor(), grey);
  EXPECT_EQ(plan->GetLightAmbient(), green);
  auto* nowhere = new UIOperationSceneLightChanged(UIOperationSceneLightChanged::ACTION_SCENE_LIGHT_ALL);
  nowhere->SetScene(12345);
  EXPECT_FALSE(Do(nowhere)) << "no such scene";
}

TEST_F(SceneOperations, AddingAndRemovingAScene) {
  auto* add = new UIOperationScene(UIOperationScene::ACTION_SCENE_ADD);
  add->SetSceneLabel(L"Implant");
  ASSERT_TRUE(Do(add));
  MSceneEx* implant = db.FindScene(L"Implant");
  ASSERT_NE(implant, nullptr);
  EXPECT_GT(implant->GetSceneID(), plan->GetSceneID()) << "ids count up";
  auto* remove = SceneOp(UIOperationScene::ACTION_SCENE_REMOVE);
  ASSERT_TRUE(Do(remove));
  EXPECT_TRUE(db.IsSceneRemoved(plan->GetSceneID()));
  EXPECT_EQ(db.GetScene(plan->GetSceneID()), nullptr);

  // The steps undo by the scenes' state, not by which scenes are alive, and pass on: the
  // history behind them can still be undone.
  auto* darken = new UIOperationScene(UIOperationScene::ACTION_SCENE_BACKGROUND);
  darken->SetScene(implant->GetSceneID());
  darken->SetColor(MColor(0.25f, 0, 0));
  ASSERT_TRUE(Do(darken));
  for (int step = 0; step < 3; ++step) ASSERT_TRUE(doc.UndoOperation()) << step;
  EXPECT_FALSE(manager().CanUndo());
  EXPECT_EQ(db.FindScene(L"Implant"), implant) << "alive as it was";
  EXPECT_TRUE(db.IsSceneRemoved(plan->GetSceneID()));
  EXPECT_EQ(implant->GetBackgroundColor(), MColor());
  for (int step = 0; step < 3; ++step) ASSERT_TRUE(doc.RedoOperation()) << step;
  EXPECT_FALSE(manager().CanRedo());
  EXPECT_EQ(implant->GetBackgroundColor(), MColor(0.25f, 0, 0));
}

// The scene actions' flags and texts.
struct SceneActionRow {
  uint32_t action, flags, text_id;
  bool light_changed;  // asked of UIOperationSceneLightChanged
};
void PrintTo(const SceneActionRow& row, std::ostream* out) { *out << "action " << row.action; }
struct SceneActionTable : testing::TestWithParam<SceneActionRow> {
  static void SetUpTestSuite() {
    for (unsigned id : {358u, 372u, 373u, 374u, 375u, 376u, 377u, 378u, 379u})
      VarnResSetString(id, L"text " + std::to_wstring(id));
  }
  static void TearDownTestSuite() { VarnResClearStrings(); }
};

TEST_P(SceneActionTable, SetsItsFlagsOverTheOperationsAndNamesItsText) {
  const SceneActionRow& row = GetParam();
  UIOperationScene plain;
  UIOperationSceneLightChanged light;
  UIOperationScene& op = row.light_changed ? light : plain;
  op.SetFlags(0x1000005);
  op.SetAction(row.action);
  EXPECT_EQ(op.GetFlags(), row.flags) << std::hex << op.GetFlags();
  EXPECT_EQ(op.GetActionString(), L"text " + std::to_wstring(row.text_id));
  EXPECT_EQ(op.GetScene(), 0u);
  EXPECT_EQ(op.GetColor(), MColor());
}

INSTANTIATE_TEST_SUITE_P(
    Actions, SceneActionTable,
    testing::Values(SceneActionRow{76050, 0x350008, 372, false}, SceneActionRow{76051, 0x370008, 373, false},
                    SceneActionRow{76052, 0x370008, 374, false}, SceneActionRow{76053, 0x370000, 375, false},
                    SceneActionRow{76054, 0x240000, 376, false}, SceneActionRow{76055, 0x240000, 377, false},
                    SceneActionRow{76056, 0x240000, 378, false}, SceneActionRow{76057, 0x370000, 379, false},
                    // Another number has no entry: the flags stay, the text is 358.
                    SceneActionRow{76049, 0x1000005, 358, false},
                    // The light operation always names text 358.
                    SceneActionRow{76058, 0x370008, 358, true}, SceneActionRow{76059, 0x370008, 358, true},
                    SceneActionRow{76053, 0x370000, 358, true}),
    [](const auto& info) {
      return std::string(info.param.light_changed ? "LightChanged" : "Scene") + std::to_string(info.param.action);
    });

}  // namespace
