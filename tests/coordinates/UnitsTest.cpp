// The application's repository: the unit of the user interface, the default systems that stay
// where they are, and which repository is the documents' instance.

#include <gtest/gtest.h>

#include "CoordinatesTestSupport.h"
#include <utility>
#include <vector>

#include "ostrum/coordinates/ITransformRepositoryNotifyDelete.h"
#include "ostrum/coordinates/MTransformRepositoryException.h"
#include "ostrum/foundation/core/MUnit.h"

namespace coordinates_test {
namespace {

class UnitRepository : public ::testing::Test {
 protected:
  UnitRepository() : rep(*MTransformRepositoryEx::CreateInstance()) {}
  ~UnitRepository() override { MTransformRepositoryEx::DeleteInstance(); }
  MTransformRepositoryEx& rep;
};

TEST_F(UnitRepository, TheUserInterfaceUnitSwitchesAndMillimetresStay) {
  EXPECT_EQ(rep.GetSystemUI().GetInternalSystem()->GetTo(), rep.GetSystemMm().GetInternalSystem());
  rep.SetGUIUnitInch();
  EXPECT_TRUE(rep.IsGUIInch());
  EXPECT_EQ(rep.GetSystemUI().GetUnit(), L"inch");
  EXPECT_EQ(rep.GetSystemUIToStl(), 254000);
  EXPECT_EQ(rep.GetSystemMmToStl(), MUnit::GetIE());
  rep.SetGUIUnitMm();
  EXPECT_TRUE(rep.IsGUIMm());
  EXPECT_EQ(rep.GetSystemUI().GetUnit(), L"mm");
  EXPECT_EQ(rep.GetSystemUIToStl(), MUnit::GetIE());
}

TEST_F(UnitRepository, DefaultSystemsCannotBeMovedButCanTakeChildren) {
  MCoordinateSystem a = rep.CreateNewSystem(Scale(2), rep.GetSystemMm());
  int thrown = 0;
  for (MCoordinateSystem const& d : {rep.GetSystemMm(), rep.GetSystemStl(), rep.GetSystemUI(),
                                     rep.GetSystemRenderWorld()}) {
    EXPECT_TRUE(rep.IsCoordinateSystemDefault(d));
    try {
      rep.SetDependentCoordinateSystem(d, a);
    } catch (MTransformRepositoryException const& e) {
      thrown += e.GetException() == MTransformRepositoryException::RepExceptionDefaultSystem;
    }
  }
  EXPECT_EQ(thrown, 4);
  EXPECT_EQ(rep.GetSystemMm().GetInternalSystem()->GetTo(), rep.GetSystemStl().GetInternalSystem());
  rep.SetDependentCoordinateSystem(a, rep.GetSystemUI());
  EXPECT_EQ(a.GetInternalSystem()->GetTo(), rep.GetSystemUI().GetInternalSystem());
}

TEST(UnitRepositoryInstance, OnlyAnApplicationRepositoryIsTheDocumentsInstance) {
  // While an application repository is deleted, its listeners no longer find it as one.
  struct Listener : ITransformRepositoryNotifyDelete {
    std::vector<std::pair<MTransformRepository*, MTransformRepositoryEx*>> seen;
    void TransformRepositoryWasDeleted() override {
      seen.emplace_back(MTransformRepository::GetInstance(), MTransformRepositoryEx::GetInstance());
    }
    void TransformRepositoryWokeUpAgain() override {
      seen.emplace_back(MTransformRepository::GetInstance(), MTransformRepositoryEx::GetInstance());
    }
  } listener;
  MTransformRepository::SubscribeNotifyDelete(&listener);
  MTransformRepositoryEx* first = MTransformRepositoryEx::CreateInstance();
  EXPECT_EQ(MTransformRepositoryEx::GetInstance(), first);
  MTransformRepositoryEx::DeleteInstance();
  MTransformRepository::UnsubscribeNotifyDelete(&listener);
  using Seen = std::pair<MTransformRepository*, MTransformRepositoryEx*>;
  EXPECT_EQ(listener.seen, (std::vector<Seen>{{first, first}, {first, nullptr}}));

  first = MTransformRepositoryEx::CreateInstance();
  {
    ProbeRepository plain;
    EXPECT_EQ(MTransformRepositoryEx::GetInstance(), nullptr);
    MTransformRepositoryEx::DeleteInstance();
    EXPECT_EQ(MTransformRepository::GetInstance(), &plain) << "a plain repository is its owner's";
  }
  delete first;
  MTransformRepositoryEx::DeleteInstance();
  EXPECT_EQ(MTransformRepository::GetInstance(), nullptr);
}

}  // namespace
}  // namespace coordinates_test
