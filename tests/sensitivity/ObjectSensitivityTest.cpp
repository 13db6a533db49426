// Object sensitivity as a user meets it: the pointer moves over objects of several classes in a
// 3D window, and each class's mode goes on and off inside the handling of the move, bound to
// the current controller and to the master switch; objects and windows that go while a mode
// is on.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <boost/function.hpp>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/scene/MOperationView.h"
#include "ostrum/document/MApplicationController.h"
#include "ostrum/foundation/render/RecordingRender.h"
#include "ostrum/interaction/IPickable.h"
#include "ostrum/interaction/MPickerBase.h"
#include "ostrum/notification/ControllerPostSwitchNotification.h"
#include "ostrum/notification/NotificationCenter.h"
#include "ostrum/picking/TriangleMeshIntersector.h"
#include "ostrum/sensitivity/ObjectSensitivityManager.h"
#include "support/CallLog.h"
#include "support/Window3DHost.h"

namespace {

// An object that is hit where the pointer is inside its window rectangle, at a fixed depth.
class Region : public tree_test::Node, public IPickable {
 public:
  Region(const std::string& name, CRect where, double depth, int32_t priority = 0)
      : Node(name, nullptr, priority), m_where(where), m_depth(depth) {}
  void GetLineIntersections(MPickerBase* picker) override {
    const CPoint at(static_cast<int>(picker->GetXPickCoordinate()), static_cast<int>(picker->GetYPickCoordinate()));
    if (m_where.PtInRect(at)) picker->AddIntersection(m_depth, this, nullptr);
  }

 private:
  CRect m_where;
  double m_depth;
};
struct Screw : Region { using Region::Region; };
struct Bone : Region { using Region::Region; };
struct Plate : Region { using Region::Region; };  // a class without a mode

// A box-shaped part that is picked on its twelve triangles through the mesh helper, at the window
// coordinates where it shows, as a host's mesh objects are.
class MeshPart : public wnd3d_test::Part, public IPickable {
 public:
  MeshPart(const std::wstring& label, MMPoint3d<float> lo, MMPoint3d<float> hi) : Part(label, lo, hi) {
    std::vector<double> corners;
    for (int c = 0; c < 8; ++c)
      corners.insert(corners.end(), {(c & 1) ? hi.x : lo.x, (c & 2) ? hi.y : lo.y, (c & 4) ? hi.z : lo.z});
    const std::vector<uint32_t> triangles = {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4,
                                             2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5};
    m_mesh.SetMesh(corners.data(), 8, triangles.data(), 12);
  }
  void GetLineIntersections(MPickerBase* picker) override {
    using P = MMPoint3d<double>;
    MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
    const MCoordinateSystem window = picker->GetWindowCoordinateSystem();
    P a, b;
    repository->GetTransform(window, GetCoordinateSystem()).Transform(a, P(picker->GetXPickCoordinate(), picker->GetYPickCoordinate(), 0));
    repository->GetTransform(window, GetCoordinateSystem()).Transform(b, P(picker->GetXPickCoordinate(), picker->GetYPickCoordinate(), 1));
    std::vector<Ostrum::TriangleMeshIntersector::Hit> hits;
    if (m_mesh.All({a, b - a, -std::numeric_limits<double>::infinity()}, hits) == 0) return;
    MPickerBase::MIntersection nearest;
    for (const auto& hit : hits) {
      P w;
      repository->GetTransform(GetCoordinateSystem(), window).Transform(w, hit.point);
      if (!nearest.m_object || w.z > nearest.m_z) {
        nearest.m_object = this;
        nearest.m_x = w.x;
        nearest.m_y = w.y;
        nearest.m_z = w.z;
      }
    }
    picker->AddIntersection(nearest);
  }

 private:
  Ostrum::TriangleMeshIntersector m_mesh;
};
struct MeshScrew : MeshPart { using MeshPart::MeshPart; };
struct MeshBone : MeshPart { using MeshPart::MeshPart; };

struct PlanningController {};
struct ViewingController {};

template <class Controller>
void SwitchTo() {
  Ostrum::NotificationCenter::GetDefaultCenter().NotifyObservers(
      nullptr, Ostrum::ControllerPostSwitchNotification(typeid(Controller)));
}

class Sensitivity : public wnd3d_test::Window3DHost {
 protected:
  void SetUp() override {
    Window3DHost::SetUp();
    ASSERT_NE(UseRecordingRenderer(), nullptr);
    window = &Open(std::make_unique<UIWnd3D>(true, false), CRect(0, 0, 400, 300));
    manager = std::make_unique<Ostrum::ObjectSensitivityManager>(
        Ostrum::MApplicationController::GetInstance()->GetWndMessageHandlerChain());
    RegisterLogged<Screw>("screw");
    RegisterLogged<Bone>("bone");
    manager->AddObjectSensitiveController<PlanningController>();
  }
  void TearDown() override {
    manager.reset();
    Window3DHost::TearDown();
  }
  template <class Kind>
  void RegisterLogged(const std::string& mode) {
    manager->RegisterMode<Kind>(
        [this, mode](IPickable& object) { LogCall(&log, mode + " on " + dynamic_cast<Region&>(object).Name()); },
        [this, mode] { LogCall(&log, mode + " off"); });
  }
  template <class Kind>
  Kind* Add(const std::string& name, CRect where, double depth, int32_t priority = 0) {
    auto* object = new Kind(name, where, depth, priority);
    EXPECT_TRUE(doc.DoOperation(db_test::DatabaseHost::Op(MOperation::ACTION_ADD, {object}), nullptr));
    return object;
  }
  // The calls one move to `point` of the window made.
  Calls Move(CPoint point, UIWnd3D* in = nullptr) {
    log.clear();
    user.MoveTo((in ? in : window)->GetSafeHwnd(), point);
    return log;
  }

  UIWnd3D* window = nullptr;
  std::unique_ptr<Ostrum::ObjectSensitivityManager> manager;
  CallLog log;
};

TEST_F(Sensitivity, APointerPathSwitchesEachClassesModeOffAndOnInsideEveryMove) {
  Add<Screw>("s1", CRect(10, 10, 100, 100), 0.5);
  Add<Bone>("b1", CRect(150, 10, 250, 100), 0.5);
  Add<Plate>("p1", CRect(300, 10, 390, 100), 0.5);
  // A screw in front of a bone whose lower priority number wins over depth.
  Add<Screw>("s2", CRect(10, 150, 100, 250), 0.9, 5);
  Add<Bone>("b2", CRect(10, 150, 100, 250), 0.2, 1);

  EXPECT_TRUE(Move({50, 50}).empty()) << "no controller has been current yet";
  SwitchTo<PlanningController>();
  EXPECT_TRUE(manager->IsObjectSensitivityActive());
  EXPECT_EQ(Move({50, 51}), (Calls{"screw on s1"}));
  EXPECT_EQ(manager->GetLastActiveController(), typeid(Screw).name());
  // Off and on again over the same class.
  EXPECT_EQ(Move({60, 52}), (Calls{"screw off", "screw on s1"}));
  EXPECT_EQ(Move({200, 50}), (Calls{"screw off", "bone on b1"}));
  // Onto a class without a mode: the last one goes off, none comes on.
  EXPECT_EQ(Move({350, 50}), (Calls{"bone off"}));
  EXPECT_EQ(manager->GetLastActiveController(), "");
  EXPECT_EQ(Move({50, 200}), (Calls{"bone on b2"}));
  // Onto nothing.
  EXPECT_EQ(Move({200, 200}), (Calls{"bone off"}));
  EXPECT_TRUE(Move({210, 200}).empty());
  // The window's (0, 0) is never handled, even over an object.
  Add<Screw>("corner", CRect(0, 0, 5, 5), 0.7);
  EXPECT_TRUE(Move({0, 0}).empty());
  EXPECT_EQ(Move({1, 1}), (Calls{"screw on corner"}));

  // Switched off by the user: the mode that is on stays on and moves do nothing until the host
  // switches it off itself; that is safe to repeat.
  manager->SwitchObjectSensitivityState(false);
  EXPECT_FALSE(manager->IsObjectSensitivityActive());
  EXPECT_TRUE(Move({200, 50}).empty());
  log.clear();
  manager->DeactivateLastActiveController();
  manager->DeactivateLastActiveController();
  EXPECT_EQ(log, (Calls{"screw off"}));
  manager->SwitchObjectSensitivityState(true);
  EXPECT_EQ(Move({200, 51}), (Calls{"bone on b1"}));
}

TEST_F(Sensitivity, TheControllerAndTheMasterSwitchDecideWhetherMovesAreHandled) {
  Add<Screw>("s1", CRect(10, 10, 100, 100), 0.5);
  SwitchTo<ViewingController>();
  EXPECT_FALSE(manager->IsObjectSensitivityActive());
  SwitchTo<PlanningController>();
  EXPECT_EQ(Move({50, 50}), (Calls{"screw on s1"}));
  // Another controller: no further moves are handled; the mode that is on stays on.
  SwitchTo<ViewingController>();
  EXPECT_TRUE(Move({60, 60}).empty());
  EXPECT_EQ(manager->GetLastActiveController(), typeid(Screw).name());

  // A switch of controller while the feature is off is not noted at all.
  SwitchTo<PlanningController>();
  manager->SwitchObjectSensitivityState(false);
  SwitchTo<ViewingController>();
  manager->SwitchObjectSensitivityState(true);
  EXPECT_TRUE(manager->IsObjectSensitivityActive());
  EXPECT_EQ(Move({61, 60}), (Calls{"screw off", "screw on s1"}));

  // Without sensitive controllers the feature stays inactive whatever comes.
  manager->RemoveObjectSensitiveController<PlanningController>();
  EXPECT_FALSE(manager->IsControllerObjectSensitive(typeid(PlanningController).name()));
  SwitchTo<PlanningController>();
  EXPECT_FALSE(manager->IsObjectSensitivityActive());
  EXPECT_TRUE(Move({62, 60}).empty());
}

// The pointer's position in the window's client area and the window coordinates the picker hands
// to the objects are the same pixel: moving onto where a part shows switches its mode on.
TEST_F(Sensitivity, TheModeIsThatOfThePartShownUnderThePointer) {
  auto& screw = static_cast<MeshScrew&>(Window3DHost::Add(new MeshScrew(L"screw", {30, -5, -5}, {40, 5, 5})));
  auto& bone = static_cast<MeshBone&>(Window3DHost::Add(new MeshBone(L"bone", {-40, -20, -10}, {-10, 20, 10})));
  window->ResetCamera();
  Send(MOperationView::ViewActionUnzoom);
  IPickable* switched_on = nullptr;
  manager->RegisterMode<MeshScrew>([&](IPickable& object) { switched_on = &object; LogCall(&log, "screw on"); },
                                   [this] { LogCall(&log, "screw off"); });
  manager->RegisterMode<MeshBone>([&](IPickable& object) { switched_on = &object; LogCall(&log, "bone on"); },
                                  [this] { LogCall(&log, "bone off"); });
  SwitchTo<PlanningController>();
  // Where the middle of each part shows, and a point three fifths of the way from the screw's
  // middle to its lower edge (off the middle, so that a mirrored axis would miss it).
  const auto at = [&](const MeshPart& part, float x, float y, float z) {
    float w[3];
    window->TransformToWindow(w, x, y, z, part.GetCoordinateSystem(), false);
    return CPoint(static_cast<int>(std::lround(w[0])), static_cast<int>(std::lround(w[1])));
  };
  const CPoint screw_middle = at(screw, 35, 0, 0), bone_middle = at(bone, -25, 0, 0);
  ASSERT_GT(std::abs(screw_middle.x - bone_middle.x) + std::abs(screw_middle.y - bone_middle.y), 40)
      << "the camera must show the parts apart";
  const CPoint screw_off_middle = at(screw, 35, -3, 0);
  ASSERT_NE(screw_off_middle, screw_middle);

  EXPECT_EQ(Move(screw_middle), (Calls{"screw on"}));
  EXPECT_EQ(switched_on, static_cast<IPickable*>(&screw));
  EXPECT_EQ(Move(bone_middle), (Calls{"screw off", "bone on"}));
  EXPECT_EQ(switched_on, static_cast<IPickable*>(&bone));
  EXPECT_EQ(Move(screw_off_middle), (Calls{"bone off", "screw on"}));
  // Half-way between the parts nothing shows.
  EXPECT_EQ(Move(CPoint((screw_middle.x + bone_middle.x) / 2, (screw_middle.y + bone_middle.y) / 2)), (Calls{"screw off"}));
}

TEST_F(Sensitivity, HalfModesObjectsAndWindowsThatGoAndTheManagerItself) {
  Screw* screw = Add<Screw>("s1", CRect(10, 10, 100, 100), 0.5);
  SwitchTo<PlanningController>();

  // A class with an activator only: its missing deactivator is passed over.
  manager->UnregisterMode(typeid(Screw).name());
  manager->SetActivator(typeid(Screw).name(), [this](IPickable&) { LogCall(&log, "half on"); });
  EXPECT_EQ(Move({50, 50}), (Calls{"half on"}));
  EXPECT_EQ(Move({51, 50}), (Calls{"half on"}));
  RegisterLogged<Screw>("screw");
  EXPECT_EQ(Move({52, 50}), (Calls{"screw off", "screw on s1"}));

  // The object goes from under the pointer (undoably): the next move finds nothing there.
  ASSERT_TRUE(doc.DoOperation(db_test::DatabaseHost::Op(MOperation::ACTION_REMOVE, {screw}), nullptr));
  EXPECT_EQ(Move({53, 50}), (Calls{"screw off"}));
  ASSERT_TRUE(doc.UndoOperation());
  EXPECT_EQ(Move({54, 50}), (Calls{"screw on s1"}));

  // A second window that dies while the mode it switched on is on.
  UIWnd3D& other = Open(std::make_unique<UIWnd3D>(true, false), CRect(400, 0, 780, 300));
  Add<Bone>("b1", CRect(0, 0, 380, 300), 0.1);
  // The first window holds the pointer until a move leaves it: that move is its own, and
  // nothing lies under it there.
  EXPECT_EQ(Move({150, 20}, &other), (Calls{"screw off"}));
  EXPECT_EQ(Move({151, 20}, &other), (Calls{"bone on b1"}));
  other.DestroyWindow();
  EXPECT_EQ(Move({55, 50}), (Calls{"bone off", "screw on s1"}));

  // A manager that is gone is out of the chain and deaf to controller switches.
  manager.reset();
  log.clear();
  SwitchTo<PlanningController>();
  EXPECT_TRUE(Move({56, 50}).empty());
}

}  // namespace
