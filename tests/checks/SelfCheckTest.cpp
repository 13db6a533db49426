// The built-in checks pass on a sound build and leave the host's world as it was: its
// repository, its systems, its cameras and the listeners of repository deletion.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "ostrum/checks/SelfCheck.h"
#include "ostrum/coordinates/ITransformRepositoryNotifyDelete.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/scene/MCamera.h"

namespace {

class Listener : public ITransformRepositoryNotifyDelete {
 public:
  Listener() { MTransformRepository::SubscribeNotifyDelete(this); }
  ~Listener() override { MTransformRepository::UnsubscribeNotifyDelete(this); }
  void TransformRepositoryWasDeleted() override { ++deleted; }
  void TransformRepositoryWokeUpAgain() override { ++woke; }
  int deleted = 0, woke = 0;
};

MMPoint3d<double> InWindow(const MCamera& camera, MMPoint3d<double> p) {
  MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
  return repository->GetTransform(repository->GetSystemMm(), camera.GetCoordinateSystemWindow())(p);
}

TEST(SelfCheck, PassesAndLeavesTheHostsRepositoryCamerasAndListenersAlone) {
  MTransformRepositoryEx::CreateInstance();
  MTransformRepositoryEx* host = MTransformRepositoryEx::GetInstance();
  MMTransformMatrix placement;
  placement.MakeTranslation(3, 4, 5);
  MCoordinateSystem held = host->CreateNewSystem(placement, host->GetSystemMm());
  {
    MCamera camera;
    camera.Reset();
    camera.SetWindowRect(CRect(0, 0, 300, 200));
    camera.SetRotation(10, 20, 30);
    const std::size_t systems_before = host->GetNumberOfSystems();
    const MMPoint3d<double> pixel_before = InWindow(camera, MMPoint3d<double>(1, 2, 3));
    Listener listener;

    const std::vector<Ostrum::SelfCheckResult> results = Ostrum::SelfCheck::Run();

    std::set<std::wstring> names;
    for (const auto& result : results) {
      EXPECT_TRUE(result.passed) << std::string(result.name.begin(), result.name.end()) << ": "
                                 << std::string(result.failure.begin(), result.failure.end());
      EXPECT_TRUE(result.failure.empty());
      names.insert(result.name);
    }
    EXPECT_GE(results.size(), 8u);
    EXPECT_EQ(names.size(), results.size()) << "every check has a name of its own";
    EXPECT_TRUE(Ostrum::SelfCheck::AllPassed(results));

    EXPECT_EQ(MTransformRepositoryEx::GetInstance(), host);
    EXPECT_EQ(host->GetNumberOfSystems(), systems_before);
    EXPECT_EQ(listener.deleted, 0);
    EXPECT_EQ(listener.woke, 0);
    ASSERT_TRUE(camera.AreCoordinateSystemsValid());
    const MMPoint3d<double> pixel_after = InWindow(camera, MMPoint3d<double>(1, 2, 3));
    EXPECT_EQ(pixel_after, pixel_before);
    EXPECT_EQ(host->GetTransform(held, host->GetSystemMm())(MMPoint3d<double>()), MMPoint3d<double>(3, 4, 5));

    // The host's own deletion still reaches the listener and the camera.
    held.SetUndefined();
    MTransformRepositoryEx::DeleteInstance();
    EXPECT_EQ(listener.deleted, 1);
    EXPECT_FALSE(camera.AreCoordinateSystemsValid());
  }
  // Without any repository of the host's the checks run as well, and leave none behind.
  ASSERT_EQ(MTransformRepositoryEx::GetInstance(), nullptr);
  EXPECT_TRUE(Ostrum::SelfCheck::AllPassed(Ostrum::SelfCheck::Run()));
  EXPECT_EQ(MTransformRepositoryEx::GetInstance(), nullptr);
}

TEST(SelfCheck, AllPassedIsFalseForAnyFailure) {
  std::vector<Ostrum::SelfCheckResult> results(3);
  for (auto& result : results) result.passed = true;
  EXPECT_TRUE(Ostrum::SelfCheck::AllPassed(results));
  results[1].passed = false;
  EXPECT_FALSE(Ostrum::SelfCheck::AllPassed(results));
  EXPECT_TRUE(Ostrum::SelfCheck::AllPassed({}));
}

}  // namespace
