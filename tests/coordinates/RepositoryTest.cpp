// The repository's tree operations: cloning, merging, import, and the listeners of its
// deletion.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "CoordinatesTestSupport.h"
#include "ostrum/coordinates/ITransformRepositoryNotifyDelete.h"

namespace coordinates_test {
namespace {

TEST(TransformRepository, ClonesStandBesideOrdinarySystemsAndBelowDefaultOnes) {
  ProbeRepository rep;
  MCoordinateSystem const& W = rep.GetAbsoluteWorld();
  MCoordinateSystem a = rep.CreateNewSystem(Scale(2), W, L"cm");
  MCoordinateSystem b = rep.CreateNewSystemNotSaved(Translation(1, 2, 3), a);
  MCoordinateSystem clone = rep.CloneSystem(b);
  EXPECT_EQ(clone.GetInternalSystem()->GetTo(), a.GetInternalSystem());
  EXPECT_TRUE(NearMatrix(MatrixOf(rep.GetTransform(clone, a)), MatrixOf(Translation(1, 2, 3)), 0));
  EXPECT_EQ(clone.GetInternalSystem()->GetLabel(), L"cm") << "the inherited unit is written in";
  EXPECT_TRUE(clone.GetInternalSystem()->GetDontSave());

  MCoordinateSystem below_world = rep.CloneSystem(W);
  EXPECT_EQ(below_world.GetInternalSystem()->GetTo(), W.GetInternalSystem());
  EXPECT_TRUE(below_world.GetInternalSystem()->GetTransform()->IsIdentity());
}

TEST(TransformRepository, MergingMovesTheChildrenWithoutMovingThemInSpace) {
  ProbeRepository rep;
  MCoordinateSystem const& W = rep.GetAbsoluteWorld();
  MCoordinateSystem keep = rep.CreateNewSystem(Scale(2), W);
  MCoordinateSystem gone = rep.CreateNewSystem(Translation(5, 0, 0), W);
  MCoordinateSystem c1 = rep.CreateNewSystem(Scale(3), gone);
  MCoordinateSystem c2 = rep.CreateNewSystem(Translation(0, 1, 0), gone);
  MCoordinateSystem grandchild = rep.CreateNewSystem(Scale(7), c1);
  MMPoint3d<double> const p(1, 2, 3);
  std::vector<MMPoint3d<double>> before;
  for (auto const* s : {&c1, &c2, &grandchild}) before.push_back(rep.GetTransform(*s, W)(p));

  rep.MergeCoordinateSystems(keep, gone);
  rep._CacheInvalidate();
  EXPECT_EQ(c1.GetInternalSystem()->GetTo(), keep.GetInternalSystem());
  EXPECT_EQ(c2.GetInternalSystem()->GetTo(), keep.GetInternalSystem());
  EXPECT_EQ(gone.GetInternalSystem()->GetWeight(), 1u);
  EXPECT_EQ(keep.GetInternalSystem()->GetWeight(), 4u);
  int i = 0;
  for (auto const* s : {&c1, &c2, &grandchild}) EXPECT_TRUE(NearPoint(rep.GetTransform(*s, W)(p), before[i++]));

  // Merged into its own descendant, a system keeps the way to that descendant.
  MCoordinateSystem inner = rep.CreateNewSystem(Scale(3), c2);
  rep.MergeCoordinateSystems(inner, keep);
  EXPECT_EQ(c2.GetInternalSystem()->GetTo(), keep.GetInternalSystem());
  EXPECT_EQ(c1.GetInternalSystem()->GetTo(), inner.GetInternalSystem());
}

TEST(TransformRepository, ImportTakesOverAllSystemsAndTheirHandles) {
  ProbeRepository first;
  MCoordinateSystem own = first.CreateNewSystem(Scale(3), first.GetAbsoluteWorld());
  MCoordinateSystem a, b, c;
  {
    ProbeRepository second;
    a = second.CreateNewSystem(Scale(1), second.GetAbsoluteWorld());
    b = second.CreateNewSystem(Scale(2), second.GetAbsoluteWorld());
    c = second.CreateNewSystem(Scale(2), b);
    first.Import(second);
    EXPECT_EQ(first.GetNumberOfSystems(), 4u);
    EXPECT_EQ(second.GetNumberOfSystems(), 0u);
  }
  EXPECT_TRUE(first.Sanity());
  Node const* root = first.GetAbsoluteWorld().GetInternalSystem();
  EXPECT_EQ(a.GetInternalSystem()->GetTo(), root);
  EXPECT_EQ(c.GetInternalSystem()->GetTo(), b.GetInternalSystem());
  EXPECT_EQ(root->GetWeight(), 5u);
  EXPECT_EQ(X(first.GetTransform(c, own), 3), 4.0);
  // The imported systems now die into the first repository.
  c.SetUndefined();
  b.SetUndefined();
  EXPECT_EQ(first.GetNumberOfSystems(), 2u);
  EXPECT_EQ(root->GetWeight(), 3u);
}

class Listener : public ITransformRepositoryNotifyDelete {
 public:
  std::vector<std::string> calls;
  std::function<void()> on_deleted;
  void TransformRepositoryWasDeleted() override {
    calls.push_back("deleted");
    if (on_deleted) on_deleted();
  }
  void TransformRepositoryWokeUpAgain() override { calls.push_back("woke up"); }
};

TEST(TransformRepository, ListenersHearOfTheDeletionAfterTheCleanUpAndBeforeTheRootGoes) {
  Listener first, second;
  MTransformRepository::SubscribeNotifyDelete(&first);
  MTransformRepository::SubscribeNotifyDelete(&first);
  MTransformRepository::SubscribeNotifyDelete(&second);
  MTransformRepository::UnsubscribeNotifyDelete(nullptr);
  auto* rep = new ProbeRepository;
  MCoordinateSystem held = rep->CreateNewSystem(Scale(2), rep->GetAbsoluteWorld());
  rep->_CreateNewSystem(Scale(3), held, L"unheld");
  std::size_t systems_seen = 0;
  std::uint32_t root_weight_seen = 0;
  first.on_deleted = [&] {
    systems_seen = rep->GetNumberOfSystems();
    root_weight_seen = rep->GetAbsoluteWorld().GetInternalSystem()->GetWeight();
    held.SetUndefined();  // listeners drop their handles here
  };
  delete rep;
  EXPECT_EQ(first.calls, (std::vector<std::string>{"deleted"}));
  EXPECT_EQ(systems_seen, 1u);
  EXPECT_EQ(root_weight_seen, 2u);
  EXPECT_EQ(MTransformRepository::GetInstance(), nullptr);

  MTransformRepository::UnsubscribeNotifyDelete(&first);
  MTransformRepositoryEx::CreateInstance();
  MTransformRepositoryEx::DeleteInstance();
  EXPECT_EQ(first.calls.size(), 1u);
  EXPECT_EQ(second.calls, (std::vector<std::string>{"deleted", "woke up", "deleted"}));
  MTransformRepository::UnsubscribeNotifyDelete(&second);
}

}  // namespace
}  // namespace coordinates_test
