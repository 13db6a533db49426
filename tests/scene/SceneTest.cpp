// The framework's scenes: the manager that makes them and keeps which are alive in the undo
// state, the database's default scene, and the clipping planes of a scene: where they cut, how
// they are placed against the scene's box, what a renderer is told of them, and their state.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/MFileName.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/foundation/render/RecordingRender.h"
#include "ostrum/scene/MSceneEx.h"
#include "ostrum/scene/MSceneManagerEx.h"
#include "ostrum/undo/MStreamUndo.h"
#include "support/DatabaseHost.h"

namespace {

using namespace db_test;

// A file of undo state written and read back through the undo streams.
struct StateFile {
  StateFile() { EXPECT_TRUE(name.SET_TEMP_NAME(nullptr, L"ostrum-scene-", L".bin")); }
  ~StateFile() { name.REMOVE(); }
  template <typename Write>
  void Save(Write write) {
    MFile file;
    ASSERT_TRUE(file.OPEN_WRITE(name));
    MStreamUndoOut out(&file);
    write(out);
    ASSERT_TRUE(file.CLOSE());
  }
  template <typename Read>
  void Load(Read read) {
    MFile file;
    ASSERT_TRUE(file.OPEN_READ(name));
    MStreamUndoIn in(&file);
    read(in);
    EXPECT_FALSE(file.HAS_SHORT_READ());
    EXPECT_EQ(file.READ(std::vector<char>(1).data(), 1), 0u) << "read to its end, no further";
    file.CLOSE();
  }
  MFileName name;
};

std::vector<std::wstring> Labels(const std::vector<MScene*>& scenes) {
  std::vector<std::wstring> labels;
  for (const MScene* scene : scenes) labels.push_back(scene->GetLabel());
  return labels;
}
using Texts = std::vector<std::wstring>;

TEST(MSceneManagerEx, MakesTheDefaultSceneOnceAndBringsBackWhichScenesAreAlive) {
  MSceneManagerEx manager;
  manager.Initialise();
  MSceneEx* plan = manager.RegisterSceneEx(L"Plan");
  EXPECT_EQ(manager.RegisterSceneEx(L"Default"), manager.GetDefaultScene());
  MSceneEx* second = manager.RegisterSceneEx(L"Plan");
  EXPECT_NE(second, plan) << "another label may repeat";
  EXPECT_EQ(second->GetSceneID(), plan->GetSceneID() + 1);
  MSceneEx* later = manager.RegisterSceneEx(L"Later");
  ASSERT_TRUE(manager.RemoveScene(second->GetSceneID()));

  StateFile state;
  state.Save([&](MStreamUndoOut& out) { manager.SaveState(out); });
  ASSERT_TRUE(manager.RemoveScene(plan->GetSceneID()));
  ASSERT_TRUE(manager.RestoreScene(second->GetSceneID()));
  MSceneEx* after = manager.RegisterSceneEx(L"After");
  const size_t scenes = manager.GetScenes().size() + manager.GetRemovedScenes().size();

  state.Load([&](MStreamUndoIn& in) { manager.LoadState(in); });
  EXPECT_EQ(Labels(manager.GetScenes()), (Texts{L"Default", L"Plan", L"Later"})) << "in the saved order";
  EXPECT_EQ(manager.GetScenes()[1], plan);
  EXPECT_TRUE(manager.IsSceneRemoved(second->GetSceneID()));
  EXPECT_TRUE(manager.IsSceneRemoved(after->GetSceneID())) << "made after the save: removed, not lost";
  EXPECT_EQ(manager.GetScenes().size() + manager.GetRemovedScenes().size(), scenes) << "none made or destroyed";
  EXPECT_TRUE(manager.RestoreScene(after->GetSceneID()));
  EXPECT_EQ(manager.FindScene(L"Later"), later);
}

TEST(MDataBase, TheDefaultSceneHasTheWindowColourAsBackground) {
  MDataBase database;
  ASSERT_EQ(database.GetScenes().size(), 1u);
  MSceneEx* standard = database.GetScenes()[0];
  EXPECT_EQ(standard->GetSceneID(), MScene::DEFAULT_SCENE_ID);
  EXPECT_EQ(database.RegisterScene(L"Default"), standard);
  EXPECT_EQ(database.GetScene(MScene::DEFAULT_SCENE_ID), standard);
  const DWORD window = GetSysColor(COLOR_WINDOW);
  EXPECT_EQ(standard->GetBackgroundColor(), MColor((window & 0xFF) / 255.0f, ((window >> 8) & 0xFF) / 255.0f,
                                                   ((window >> 16) & 0xFF) / 255.0f))
      << "its fourth component unset";
}

struct ClippingPlanes : testing::Test {
  MSceneManagerEx manager;
  MSceneEx& scene = *manager.RegisterSceneEx(L"Cut");
};

TEST_F(ClippingPlanes, AnEnabledPlaneClipsItsNegativeSideAndTheLineItself) {
  EXPECT_FALSE(scene.IsPointClipped(0, 0, 0));
  scene.SetClippingPlaneXAtAbsolute(5);
  EXPECT_FALSE(scene.IsPointClipped(4, 0, 0)) << "not enabled yet";
  scene.EnableClippingPlaneX(true);
  EXPECT_FALSE(scene.IsPointClipped(6, 0, 0));
  EXPECT_TRUE(scene.IsPointClipped(5, 0, 0));
  EXPECT_TRUE(scene.IsPointClipped(4, 0, 0));
  EXPECT_EQ(scene.GetClippingPlaneXAbsolute(), 5.0);
  EXPECT_FALSE(scene.IsClippingPlaneXReversed());

  scene.ToggleClippingPlaneX();
  EXPECT_TRUE(scene.IsPointClipped(6, 0, 0));
  EXPECT_TRUE(scene.IsPointClipped(5, 0, 0));
  EXPECT_FALSE(scene.IsPointClipped(4, 0, 0));
  EXPECT_TRUE(scene.IsClippingPlaneXReversed());
  EXPECT_EQ(scene.GetClippingPlaneXAbsolute(), -5.0) << "the negated position";
  scene.SetClippingPlaneXAtAbsolute(5);
  EXPECT_FALSE(scene.IsClippingPlaneXReversed()) << "placing anew loses the reversal";
  EXPECT_TRUE(scene.IsClippingPlaneXEnabled()) << "and keeps the enabling";

  // A second plane cuts as well; in an empty scene, relative places go by the box -10 to 10.
  scene.SetClippingPlaneYAtRelative(25);
  EXPECT_EQ(scene.GetClippingPlaneYAbsolute(), -5.0);
  scene.EnableClippingPlaneY(true);
  EXPECT_TRUE(scene.IsPointClipped(6, -5, 0));
  EXPECT_FALSE(scene.IsPointClipped(6, -4, 0));
  scene.EnableClippingPlaneX(false);
  EXPECT_FALSE(scene.IsPointClipped(4, 0, 0));
  scene.SetClippingPlaneZAtRelative(100);
  EXPECT_EQ(scene.GetClippingPlaneZAbsolute(), 10.0);
  scene.ToggleClippingPlaneY();
  EXPECT_TRUE(scene.IsClippingPlaneYReversed() && !scene.IsClippingPlaneZReversed());
}

TEST_F(ClippingPlanes, TheRendererIsToldOfThePlanesThatExist) {
  scene.SetClippingPlaneXAtAbsolute(5);
  scene.EnableClippingPlaneX(true);
  scene.EnableClippingPlaneY(false);
  EXPECT_EQ(scene.GetClippingPlaneZAbsolute(), 0.0) << "asking makes no plane";

  Ostrum::RecordingRender two(2);
  EXPECT_FALSE(scene.UpdateClippingPlanes(two));
  EXPECT_TRUE(two.GetCalls().empty());

  Ostrum::RecordingRender three(3);
  EXPECT_TRUE(scene.UpdateClippingPlanes(three));
  EXPECT_EQ(three.Describe(),
            "EnableClippingPlane(0, 1)\nSetClippingPlane(0, 1, 0, 0, -5)\nEnableClippingPlane(1, 0)\n")
      << "no word of the missing plane Z, which is made, disabled";
  three.Clear();
  scene.ToggleClippingPlaneX();
  EXPECT_TRUE(scene.UpdateClippingPlanes(three));
  ASSERT_EQ(three.GetCalls("SetClippingPlane").size(), 1u);
  EXPECT_EQ(three.GetCalls("SetClippingPlane")[0].numbers, (std::vector<double>{0, -1, 0, 0, 5}));
  EXPECT_EQ(three.GetCalls("EnableClippingPlane").back().ToString(), "EnableClippingPlane(2, 0)") << "Z now exists";
}

TEST_F(ClippingPlanes, TheStateBringsBackLabelPlanesColoursAndCameraLock) {
  scene.SetClippingPlaneXAtAbsolute(5);
  scene.EnableClippingPlaneX(true);
  scene.ToggleClippingPlaneX();
  scene.SetClippingPlaneYAtAbsolute(2);
  const MColor colours[4] = {{0.1f, 0.2f, 0.3f, 1}, {0.4f, 0.5f, 0.6f}, {0.7f, 0.8f, 0.9f}, {1, 0, 0.5f, 0.25f}};
  scene.SetBackgroundColor(colours[0]);
  scene.SetLightAmbient(colours[1]);
  scene.SetLightDiffuse(colours[2]);
  scene.SetLightSpecular(colours[3]);
  scene.SetCameraLockMode(3);
  scene.SetPersistent(false);
  StateFile state;
  state.Save([&](MStreamUndoOut& out) { scene.SaveState(out); });

  scene.SetLabel(L"Changed");
  scene.SetClippingPlaneXAtAbsolute(7);
  scene.EnableClippingPlaneX(false);
  scene.EnableClippingPlaneY(true);
  scene.SetClippingPlaneZAtAbsolute(4);
  for (const MColor& colour : {MColor(), MColor(0, 0, 0)}) {
    scene.SetBackgroundColor(colour);
    scene.SetLightSpecular(colour);
  }
  scene.SetLightAmbient(MColor());
  scene.SetLightDiffuse(MColor());
  scene.SetCameraLockMode(0);
  scene.SetPersistent(true);

  state.Load([&](MStreamUndoIn& in) { scene.LoadState(in); });
  EXPECT_EQ(scene.GetLabel(), L"Cut");
  EXPECT_TRUE(scene.IsClippingPlaneXEnabled() && scene.IsClippingPlaneXReversed());
  EXPECT_EQ(scene.GetClippingPlaneXAbsolute(), -5.0);
  EXPECT_FALSE(scene.IsClippingPlaneYEnabled());
  EXPECT_EQ(scene.GetClippingPlaneYAbsolute(), 2.0);
  EXPECT_EQ(scene.GetClippingPlaneZAbsolute(), 4.0) << "saved without it: the plane made since stays";
  EXPECT_EQ(scene.GetBackgroundColor(), colours[0]);
  EXPECT_EQ(scene.GetLightAmbient(), colours[1]);
  EXPECT_EQ(scene.GetLightDiffuse(), colours[2]);
  EXPECT_EQ(scene.GetLightSpecular(), colours[3]);
  EXPECT_EQ(scene.GetCameraLockMode(), 3);
  EXPECT_FALSE(scene.IsPersistent());
}

// Relative places go by the box of what the scene shows: the objects of the active document
// visible in it, each in the render world.
struct ClippingPlanesInADocument : DatabaseHost {};

TEST_F(ClippingPlanesInADocument, RelativePlacesGoByTheBoxOfTheObjectsVisibleInTheScene) {
  MSceneEx& scene = *db.RegisterScene(L"Cut");
  MSceneEx& empty = *db.RegisterScene(L"Empty");
  Item* plate = New("plate");
  plate->box = M3DBoundingBox<float>({0, 20, -5}, {10, 40, 5});
  Item* screw = New("screw", 0, plate);
  screw->box = M3DBoundingBox<float>({0, 0, 0}, {1, 1, 1});
  MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
  MMTransformMatrix shift;
  shift.MakeTranslation(100, 0, 0);
  screw->SetCoordinateSystem(repository->CreateNewSystem(shift, repository->GetSystemMm()));
  Item* hidden = New("hidden");
  hidden->box = M3DBoundingBox<float>({-1000, -1000, -1000}, {1000, 1000, 1000});
  ASSERT_TRUE(Do(Op(MOperation::ACTION_ADD, {plate, hidden})));
  plate->SetVisible(true, scene.GetSceneID());
  screw->SetVisible(true, scene.GetSceneID());

  scene.SetClippingPlaneXAtRelative(50);
  EXPECT_DOUBLE_EQ(scene.GetClippingPlaneXAbsolute(), 50.5) << "from 0 to 101: the screw stands at 100";
  scene.SetClippingPlaneYAtRelative(25);
  EXPECT_DOUBLE_EQ(scene.GetClippingPlaneYAbsolute(), 10);
  scene.SetClippingPlaneZAtRelative(0);
  EXPECT_DOUBLE_EQ(scene.GetClippingPlaneZAbsolute(), -5);

  empty.SetClippingPlaneXAtRelative(75);
  EXPECT_DOUBLE_EQ(empty.GetClippingPlaneXAbsolute(), 5) << "nothing shown: the box -10 to 10";
  ASSERT_TRUE(Do(Op(MOperation::ACTION_REMOVE, {plate})));
  scene.SetClippingPlaneXAtRelative(50);
  EXPECT_DOUBLE_EQ(scene.GetClippingPlaneXAbsolute(), 0) << "removed objects are out of the box";
}

}  // namespace
