// The pickers on a 3D window of a host: the order of hits, the records they own, the objects
// and the scene asked, clipping planes in millimetres, the priority picker, and a pickable
// built on the mesh helper picked after the camera and the object's system moved.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/render/RecordingRender.h"
#include "ostrum/interaction/IPickInfo.h"
#include "ostrum/interaction/IPickable.h"
#include "ostrum/interaction/MPickerBase.h"
#include "ostrum/interaction/MPickerPriorityDependent.h"
#include "ostrum/picking/TriangleMeshIntersector.h"
#include "ostrum/scene/MSceneManagerEx.h"
#include "support/CallLog.h"
#include "support/Window3DHost.h"

namespace {

using Intersection = MPickerBase::MIntersection;
using IntersectionList = MPickerBase::MIntersectionList;
using P = MMPoint3d<double>;

constexpr float kSmallestNormal = std::numeric_limits<float>::min();
constexpr float kLargest = std::numeric_limits<float>::max();

std::string Joined(const CallLog& log) {
  std::string text;
  for (const std::string& entry : log) text += (text.empty() ? "" : " ") + entry;
  return text;
}

// A record that counts its deaths.
struct CountingInfo : IPickInfo {
  explicit CountingInfo(int* deaths) : m_deaths(deaths) {}
  ~CountingInfo() override { ++*m_deaths; }
  int* m_deaths;
};

// A pickable that is no tree object (a tool's handle, say).
struct Handle : IPickable {
  int asked = 0;
  double depth = 0.5;
  void GetLineIntersections(MPickerBase* picker) override {
    ++asked;
    picker->AddIntersection(depth, this, nullptr);
  }
};

// A tree object that reports what the test gives it: hits by depth alone (through
// AddIntersection(z, ...)) and complete hits, each with a new counting record; it logs its
// name when asked.
class Stub : public tree_test::Node, public IPickable {
 public:
  Stub(const std::string& name, int32_t priority, CallLog* log, int* deaths)
      : Node(name, nullptr, priority), m_log(log), m_deaths(deaths) {}

  std::vector<double> depths;
  std::vector<Intersection> hits;
  int asked = 0;

  void GetLineIntersections(MPickerBase* picker) override {
    ++asked;
    LogCall(m_log, Name());
    for (double z : depths) picker->AddIntersection(z, this, new CountingInfo(m_deaths));
    for (Intersection hit : hits) {
      hit.m_object = this;
      hit.m_info = new CountingInfo(m_deaths);
      picker->AddIntersection(hit);
    }
  }

 private:
  CallLog* m_log;
  int* m_deaths;
};

// A scene that can be hit (a reference grid in front of everything, say).
class GridScene : public MSceneEx, public IPickable {
 public:
  GridScene(CallLog* log) : MSceneEx(L"grid"), m_log(log) {}
  void GetLineIntersections(MPickerBase* picker) override {
    LogCall(m_log, "grid");
    picker->AddIntersection(0.99, this, nullptr);
  }

 private:
  CallLog* m_log;
};

// Hands a scene of the host's own class to the database's scene manager, which owns it then.
struct SceneAdder : MSceneManagerEx {
  static void Add(MSceneManagerEx& manager, MScene* scene) { (manager.*&SceneAdder::_AddScene)(scene); }
};

// A host's mesh object on the mesh helper: the line of sight through the pick point, taken into
// the object's system, meets the mesh; the hit nearest to the viewer (largest window z) is
// reported at its exact window coordinates, with the triangle and the point in the object's
// system as its record.
class MeshPickable : public tree_test::Node, public IPickable {
 public:
  struct Info : IPickInfo {
    uint32_t triangle = 0;
    P point;  // in the object's system
  };

  MeshPickable(const std::string& name, const std::vector<double>& vertices, const std::vector<uint32_t>& indices)
      : Node(name) {
    m_mesh.SetMesh(vertices.data(), vertices.size() / 3, indices.data(), indices.size() / 3);
  }

  void GetLineIntersections(MPickerBase* picker) override {
    MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
    const MCoordinateSystem window = picker->GetWindowCoordinateSystem();
    const double x = picker->GetXPickCoordinate(), y = picker->GetYPickCoordinate();
    P a, b;
    {
      const MMTransform& to_object = repository->GetTransform(window, GetCoordinateSystem());
      to_object.Transform(a, P(x, y, 0.0));
      to_object.Transform(b, P(x, y, 1.0));
    }
    Ostrum::TriangleMeshIntersector::Ray line{a, b - a, -std::numeric_limits<double>::infinity()};
    std::vector<Ostrum::TriangleMeshIntersector::Hit> hits;
    if (m_mesh.All(line, hits) == 0) return;
    const MMTransform& to_window = repository->GetTransform(GetCoordinateSystem(), window);
    Intersection nearest;
    const Ostrum::TriangleMeshIntersector::Hit* chosen = nullptr;
    for (const auto& hit : hits) {
      P w;
      to_window.Transform(w, hit.point);
      if (!chosen || w.z > nearest.m_z) {
        chosen = &hit;
        nearest.m_x = w.x;
        nearest.m_y = w.y;
        nearest.m_z = w.z;
      }
    }
    auto* info = new Info;
    info->triangle = chosen->triangle;
    info->point = chosen->point;
    nearest.m_object = this;
    nearest.m_info = info;
    nearest.m_priority = GetPriority();
    picker->AddIntersection(nearest);
  }

 private:
  Ostrum::TriangleMeshIntersector m_mesh;
};

// A box from lo to hi: twelve triangles.
void BoxMesh(P lo, P hi, std::vector<double>& vertices, std::vector<uint32_t>& indices) {
  for (int c = 0; c < 8; ++c)
    vertices.insert(vertices.end(), {(c & 1) ? hi.x : lo.x, (c & 2) ? hi.y : lo.y, (c & 4) ? hi.z : lo.z});
  indices = {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4, 2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5};
}

Intersection At(double z, int32_t priority = 0, bool sort_late = true, int32_t sub_order = 0,
                IPickable* object = nullptr) {
  Intersection hit;
  hit.m_z = z;
  hit.m_priority = priority;
  hit.m_sort_late = sort_late;
  hit.m_sub_order = sub_order;
  hit.m_object = object;
  return hit;
}

TEST(PickerIntersection, HitsSortByDepthThenHigherPriorityThenTheFlagThenSubOrderThenAddress) {
  Handle objects[2];
  IPickable* low = &objects[0] < &objects[1] ? &objects[0] : &objects[1];
  IPickable* high = low == &objects[0] ? &objects[1] : &objects[0];
  // Each pair differs in one key only, the first of each pair comes first.
  const std::vector<std::pair<Intersection, Intersection>> pairs = {
      {At(0.9), At(0.1)},
      {At(0.5, 2), At(0.5, 1)},
      {At(0.5, 1, false), At(0.5, 1, true)},
      {At(0.5, 1, true, -3), At(0.5, 1, true, 4)},
      {At(0.5, 1, true, 4, low), At(0.5, 1, true, 4, high)},
      // A higher key decides before a lower one.
      {At(0.6, -5, true, 9), At(0.5, 7, false, -9)},
      {At(0.5, 3, true, 9, high), At(0.5, 2, false, -9, low)},
  };
  for (const auto& [first, second] : pairs) {
    EXPECT_TRUE(first < second);
    EXPECT_FALSE(second < first);
    EXPECT_TRUE(second > first);
    EXPECT_FALSE(first > second);
  }
  const Intersection same = At(0.5, 1, false, 2, low);
  EXPECT_FALSE(same < same);
  EXPECT_FALSE(same > same);
  static_assert(std::is_trivially_copyable_v<Intersection>);
  EXPECT_TRUE(Intersection().m_sort_late);
  EXPECT_FALSE(Intersection().m_ignore_clipping);
}

TEST(PickerIntersectionList, AnEqualHitStaysOnceAndTheNewcomersRecordIsFreedAtOnce) {
  int deaths = 0;
  auto* kept = new CountingInfo(&deaths);
  IntersectionList list;
  Intersection hit = At(0.5);
  hit.m_info = kept;
  list.AddIntersection(hit);
  hit.m_info = new CountingInfo(&deaths);
  list.AddIntersection(hit);  // equal keys: dropped, its record with it
  EXPECT_EQ(deaths, 1);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list.begin()->m_info, kept);
  hit.m_info = nullptr;
  list.AddIntersection(hit);  // a duplicate without a record frees nothing
  EXPECT_EQ(deaths, 1);

  // A copy shares the records; adding it back (or the list to itself) frees none of them.
  IntersectionList copy = list;
  EXPECT_EQ(copy.begin()->m_info, kept);
  list.AddIntersections(copy);
  list.AddIntersections(list);
  EXPECT_EQ(deaths, 1);

  // Another list's hits join in order; its duplicates' records go.
  IntersectionList other;
  other.AddIntersection(At(0.7));
  Intersection twin = At(0.5);
  twin.m_info = new CountingInfo(&deaths);
  other.AddIntersection(twin);
  list.AddIntersections(other);
  EXPECT_EQ(deaths, 2);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list.begin()->m_z, 0.7);
  delete kept;  // lists never free records themselves; the picker does
}

// A 3D window of 400 by 300 pixels on the host's document, drawn by the recording renderer.
class Picking : public wnd3d_test::Window3DHost {
 protected:
  void SetUp() override {
    Window3DHost::SetUp();
    ASSERT_NE(UseRecordingRenderer(), nullptr);
    window = &Open(std::make_unique<UIWnd3D>(true, false), CRect(0, 0, 400, 300));
  }

  Stub* AddStub(const std::string& name, std::vector<double> depths, int32_t priority = 0) {
    auto* stub = new Stub(name, priority, &log, &deaths);
    stub->depths = std::move(depths);
    EXPECT_TRUE(doc.DoOperation(db_test::DatabaseHost::Op(MOperation::ACTION_ADD, {stub}), nullptr));
    return stub;
  }
  template <class Object>
  Object* AddObject(Object* object) {
    EXPECT_TRUE(doc.DoOperation(db_test::DatabaseHost::Op(MOperation::ACTION_ADD, {object}), nullptr));
    return object;
  }
  static MTransformRepositoryEx& Repository() { return *MTransformRepositoryEx::GetInstance(); }
  /// A millimetre point in window coordinates, in double.
  P ToWindow(const P& mm) {
    P out;
    Repository().GetTransform(Repository().GetSystemMm(), window->GetCoordinateSystemWindow()).Transform(out, mm);
    return out;
  }

  UIWnd3D* window = nullptr;
  CallLog log;
  int deaths = 0;
};

TEST_F(Picking, OverlappingObjectsAreAskedInTreeOrderAndTheNearestHitIsPicked) {
  Stub* back = AddStub("back", {0.2});
  Stub* front = AddStub("front", {0.7, 0.1});
  Stub* middle = AddStub("middle", {0.5});

  MPickerBase picker(window);
  picker.SetPickCoordinates(120, 80);
  EXPECT_TRUE(window->Pick(picker));
  EXPECT_EQ(Joined(log), "back front middle");
  std::vector<std::pair<IPickable*, double>> order;
  for (const Intersection& hit : picker.GetIntersectionList()) order.emplace_back(hit.m_object, hit.m_z);
  EXPECT_EQ(order, (std::vector<std::pair<IPickable*, double>>{
                       {front, 0.7}, {middle, 0.5}, {back, 0.2}, {front, 0.1}}));
  EXPECT_EQ(picker.GetPickedObject(), static_cast<IPickable*>(front));
  EXPECT_EQ(picker.GetFirstIntersection(), picker.GetIntersection());
  EXPECT_EQ(picker.GetIntersection()->m_x, 0.0) << "a hit by depth alone lies at window x and y 0";
  EXPECT_NE(picker.GetPickedInfo(), nullptr);
  EXPECT_EQ(picker.GetPickedZCoordinate(), 0.7);
  EXPECT_EQ(picker.GetPickedZValue(), 0.7);
  float point[3];
  picker.GetPickedPointInWindowCoordinates(point);
  EXPECT_EQ(point[0], 120.0f);
  EXPECT_EQ(point[1], 80.0f);
  EXPECT_EQ(point[2], 0.7f);
  EXPECT_EQ(window->PickZValue(3, 4), 0.7f);

  // Run again from where it is: a clean list, the same answer, the old records gone.
  const int before = deaths;
  EXPECT_TRUE(picker.Operate());
  EXPECT_EQ(deaths, before + 4);
  EXPECT_EQ(picker.GetIntersectionList().size(), 4u);
}

// Pickables of other layouts, set by the bases: the pickable part first and the tree object
// after it, and the pickable part a virtual base shared down a diamond. Each logs its name when
// asked and reports one hit.
class VirtualPickable : public virtual IPickable {};
template <class... Bases>
class LoggingPickable : public Bases... {
 public:
  LoggingPickable(const std::string& name, CallLog* log) : tree_test::Node(name), m_log(log) {}
  void GetLineIntersections(MPickerBase* picker) override {
    LogCall(m_log, this->Name());
    picker->AddIntersection(0.25, this, nullptr);
  }

 private:
  CallLog* m_log;
};
using PickableFirst = LoggingPickable<IPickable, tree_test::Node>;
using SharedPickable = LoggingPickable<tree_test::Node, VirtualPickable>;
class HandleOnObject : public virtual IPickable {};
class DiamondPickable : public SharedPickable, public HandleOnObject {
 public:
  using SharedPickable::SharedPickable;
};

// A pick asks every shown pickable once, through its own pickable part, whatever the layout of
// its type and however many objects of each type and of types that cannot be picked stand
// between them.
TEST_F(Picking, EveryPickableIsAskedThroughItsOwnPartWhateverItsTypesLayout) {
  std::vector<IPickable*> pickables;
  std::string expected;
  for (int round = 0; round < 3; ++round) {
    const std::string n = std::to_string(round);
    pickables.push_back(AddStub("stub" + n, {0.5}));
    pickables.push_back(AddObject(new PickableFirst("first" + n, &log)));
    AddObject(new tree_test::Node("plain" + n));
    pickables.push_back(AddObject(new SharedPickable("shared" + n, &log)));
    pickables.push_back(AddObject(new DiamondPickable("diamond" + n, &log)));
    expected += std::string(expected.empty() ? "" : " ") + "stub" + n + " first" + n + " shared" + n + " diamond" + n;
  }
  MPickerBase picker(window);
  picker.SetPickCoordinates(10, 10);
  EXPECT_TRUE(picker.Operate());
  EXPECT_EQ(Joined(log), expected);
  std::vector<IPickable*> hit;
  for (const Intersection& intersection : picker.GetIntersectionList()) hit.push_back(intersection.m_object);
  std::sort(hit.begin(), hit.end());
  std::sort(pickables.begin(), pickables.end());
  EXPECT_EQ(hit, pickables) << "each hit names the object that made it";
}

TEST_F(Picking, NothingHitGivesNullsZeroAndTheSmallestNormalFloatAndDepthsAreHeldInFloatRange) {
  MPickerBase picker(window);
  picker.SetPickCoordinates(7, 9);
  EXPECT_FALSE(picker.Operate());
  EXPECT_FALSE(picker.ValidPick());
  EXPECT_EQ(picker.GetPickedObject(), nullptr);
  EXPECT_EQ(picker.GetPickedInfo(), nullptr);
  EXPECT_EQ(picker.GetIntersection(), nullptr);
  EXPECT_EQ(picker.GetFirstIntersection(), nullptr);
  EXPECT_EQ(picker.GetPickedZCoordinate(), 0.0);
  float point[3];
  picker.GetPickedPointInWindowCoordinates(point);
  EXPECT_EQ(point[0], 7.0f);
  EXPECT_EQ(point[1], 9.0f);
  EXPECT_EQ(point[2], kSmallestNormal);
  EXPECT_EQ(window->PickZValue(7, 9), kLargest);

  // Depths past either end of the positive float range, and negative ones, are held.
  for (const auto& [z, held] : std::vector<std::pair<double, float>>{
           {-3.0, kSmallestNormal}, {1e-300, kSmallestNormal}, {1e300, kLargest}, {0.25, 0.25f}}) {
    picker.ClearPicker();
    picker.AddIntersection(z, nullptr, nullptr);
    picker.GetPickedPointInWindowCoordinates(point);
    EXPECT_EQ(point[2], held) << z;
  }
}

TEST_F(Picking, OnlyTheLowestPriorityNumberBeatsDepthAndOnlyInThePriorityPicker) {
  Stub* bone = AddStub("bone", {0.9}, 2);
  Stub* screw = AddStub("screw", {0.3}, 1);
  Stub* nut = AddStub("nut", {0.5}, 1);

  MPickerBase nearest(window);
  EXPECT_TRUE(nearest.Operate());
  EXPECT_EQ(nearest.GetPickedObject(), static_cast<IPickable*>(bone));
  EXPECT_EQ(nearest.GetIntersection()->m_priority, 0) << "the base takes no priority from objects";

  Ostrum::MPickerPriorityDependent important(window);
  EXPECT_TRUE(important.Operate());
  EXPECT_EQ(important.GetPickedObject(), static_cast<IPickable*>(nut)) << "of the lowest number, the nearest";
  EXPECT_EQ(important.GetPickedZCoordinate(), 0.5);
  EXPECT_EQ(important.GetFirstIntersection()->m_object, static_cast<IPickable*>(bone));
  EXPECT_EQ(important.GetPickedInfo(), important.GetIntersection()->m_info);

  // At one depth the set puts the higher number first; the priority picker takes the lower.
  screw->depths = {0.9};
  nut->depths = {};
  EXPECT_TRUE(important.Operate());
  EXPECT_EQ(important.GetFirstIntersection()->m_object, static_cast<IPickable*>(bone));
  EXPECT_EQ(important.GetPickedObject(), static_cast<IPickable*>(screw));

  // A pickable that is no tree object keeps priority 0, which beats them all.
  Handle handle;
  handle.depth = 0.1;
  std::vector<IPickable*> candidates{bone, &handle, screw};
  EXPECT_TRUE(important.Operate(candidates));
  EXPECT_EQ(important.GetPickedObject(), static_cast<IPickable*>(&handle));
}

TEST_F(Picking, HiddenObjectsAreNeverAskedThePickableSceneIsAskedFirstAndCandidatesOnlyThemselves) {
  auto* grid = new GridScene(&log);
  SceneAdder::Add(*doc.db().GetSceneManager(), grid);
  Stub* shown = AddStub("shown", {0.4});
  Stub* hidden = AddStub("hidden", {0.8});
  shown->SetVisible(true, grid->GetSceneID());
  window->SetActiveScene(grid->GetSceneID());  // the hidden stub has no value there: not shown

  MPickerBase picker(window);
  EXPECT_TRUE(picker.Operate());
  EXPECT_EQ(Joined(log), "grid shown");
  EXPECT_EQ(hidden->asked, 0);
  EXPECT_EQ(picker.GetPickedObject(), static_cast<IPickable*>(grid));

  // Candidates: asked in their order, a hidden tree object skipped, any other pickable asked;
  // the scene is not asked.
  log.clear();
  Handle handle;
  std::vector<IPickable*> candidates{&handle, hidden, shown};
  EXPECT_TRUE(picker.Operate(candidates));
  EXPECT_EQ(Joined(log), "shown");
  EXPECT_EQ(handle.asked, 1);
  EXPECT_EQ(hidden->asked, 0);
  EXPECT_EQ(picker.GetPickedObject(), static_cast<IPickable*>(&handle));
  std::vector<IPickable*> none;
  EXPECT_FALSE(picker.Operate(none));
  EXPECT_FALSE(picker.ValidPick());
}

TEST_F(Picking, ClippingPlanesInMillimetresDropHitsBehindThemAndFreeTheirRecords) {
  // Hits at millimetre points in front of, on and behind the plane z = 0 (normal +z).
  const P in_front = ToWindow(P(1, 2, 5)), behind = ToWindow(P(1, 2, -5)), on = ToWindow(P(3, 1, 0));
  P on_in_mm;  // the plane goes through the point the picker itself computes, so the distance is 0
  Repository().GetTransform(window->GetCoordinateSystemWindow(), Repository().GetSystemMm()).Transform(on_in_mm, on);
  Stub* stub = AddStub("stub", {});
  for (const P& w : {in_front, behind, on}) {
    Intersection hit;
    hit.m_x = w.x;
    hit.m_y = w.y;
    hit.m_z = w.z;
    stub->hits.push_back(hit);
  }
  Intersection kept_anyway = stub->hits[1];
  kept_anyway.m_sub_order = 1;
  kept_anyway.m_ignore_clipping = true;
  stub->hits.push_back(kept_anyway);

  MPickerBase picker(window);
  picker.AddClippingPlane(MMPlane(MMPlane::Vector(0.0, 0.0, on_in_mm.z), MMPlane::Vector(0.0, 0.0, 1.0)));
  EXPECT_TRUE(picker.Operate());
  EXPECT_EQ(deaths, 1) << "the record of the hit behind goes at once";
  std::vector<std::pair<double, bool>> left;
  for (const Intersection& hit : picker.GetIntersectionList()) left.emplace_back(hit.m_z, hit.m_ignore_clipping);
  std::vector<std::pair<double, bool>> expected{{in_front.z, false}, {on.z, false}, {behind.z, true}};
  std::sort(expected.begin(), expected.end(), [](auto& a, auto& b) { return a.first > b.first; });
  EXPECT_EQ(left, expected);

  // A second plane (x >= 2) takes away what the first left on its negative side; a hit by
  // depth alone is tested at window x and y 0.
  const P origin_in_mm = [&] {
    P out;
    Repository().GetTransform(window->GetCoordinateSystemWindow(), Repository().GetSystemMm()).Transform(out, P(0, 0, on.z));
    return out;
  }();
  Stub* plain = AddStub("plain", {on.z});
  picker.AddClippingPlane(MMPlane(MMPlane::Vector(2.0, 0.0, 0.0), MMPlane::Vector(1.0, 0.0, 0.0)));
  EXPECT_TRUE(picker.Operate());
  size_t expected_count = 2;  // on (x = 3) and the one that ignores clipping
  if (origin_in_mm.x >= 2.0 && origin_in_mm.z >= on_in_mm.z) ++expected_count;
  EXPECT_EQ(picker.GetIntersectionList().size(), expected_count);
  for (const Intersection& hit : picker.GetIntersectionList()) {
    EXPECT_NE(hit.m_z, in_front.z);
    if (hit.m_object == static_cast<IPickable*>(plain)) {
      EXPECT_EQ(expected_count, 3u);
    }
  }
}

TEST_F(Picking, EveryRecordIsFreedExactlyOnceByClearingRunningAgainAndDestroyingThePicker) {
  AddStub("a", {0.1, 0.2, 0.3});
  Stub* b = AddStub("b", {0.2});
  b->depths = {0.2, 0.2};  // the same hit twice: the second record goes at once
  {
    MPickerBase picker(window);
    EXPECT_TRUE(picker.Operate());
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(picker.GetIntersectionList().size(), 4u);
    picker.ClearPicker();
    EXPECT_EQ(deaths, 5);
    EXPECT_FALSE(picker.ValidPick());
    EXPECT_TRUE(picker.Operate());
    EXPECT_EQ(deaths, 6);
    EXPECT_TRUE(picker.Operate());  // the previous run's four go first
    EXPECT_EQ(deaths, 11);
  }
  EXPECT_EQ(deaths, 15) << "the destructor frees the rest, chosen or not";
}

// The mesh helper as a host uses it: a plate and a screw-like rod in front of it, each in its
// own system below the millimetre system.
class MeshPicking : public Picking {
 protected:
  void SetUp() override {
    Picking::SetUp();
    std::vector<double> vertices;
    std::vector<uint32_t> indices;
    BoxMesh(P(-20, -20, -1), P(20, 20, 1), vertices, indices);
    plate = AddObject(new MeshPickable("plate", vertices, indices));
    vertices.clear();
    BoxMesh(P(-1, -1, 0), P(1, 1, 30), vertices, indices);
    screw = AddObject(new MeshPickable("screw", vertices, indices));
    MMTransformMatrix identity;
    plate->SetCoordinateSystem(Repository().CreateNewSystem(identity, Repository().GetSystemMm()));
    screw->SetCoordinateSystem(Repository().CreateNewSystem(identity, Repository().GetSystemMm()));
    window->ResetCamera();
    Send(MOperationView::ViewActionUnzoom);
  }
  /// Picks at the pixel nearest to the window point w.
  const MeshPickable::Info* PickAt(MPickerBase& picker, const P& w) {
    picker.SetPickCoordinates(std::lround(w.x), std::lround(w.y));
    if (!window->Pick(picker)) return nullptr;
    return dynamic_cast<const MeshPickable::Info*>(picker.GetPickedInfo());
  }
  /// The picked point must be on the line of sight of the pick pixel, and reported at its exact
  /// window coordinates.
  void ExpectExact(const MPickerBase& picker, const MeshPickable& object, const MeshPickable::Info& info) {
    P w;
    Repository().GetTransform(object.GetCoordinateSystem(), window->GetCoordinateSystemWindow()).Transform(w, info.point);
    EXPECT_NEAR(w.x, picker.GetXPickCoordinate(), 1e-6);
    EXPECT_NEAR(w.y, picker.GetYPickCoordinate(), 1e-6);
    EXPECT_EQ(w.z, picker.GetPickedZCoordinate());
  }

  MeshPickable* plate = nullptr;
  MeshPickable* screw = nullptr;
};

TEST_F(MeshPicking, TheNearestSurfaceIsPickedExactlyAlsoAfterTheCameraAndTheObjectsSystemMoved) {
  // Which side of the plate faces the viewer: the one whose window depth is larger.
  const double top = ToWindow(P(10, 0, 1)).z, bottom = ToWindow(P(10, 0, -1)).z;
  const double facing = top > bottom ? 1.0 : -1.0;

  MPickerBase picker(window);
  // Beside the rod: the plate's facing side.
  const MeshPickable::Info* info = PickAt(picker, ToWindow(P(10, 5, 0)));
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(picker.GetPickedObject(), static_cast<IPickable*>(plate));
  EXPECT_NEAR(info->point.z, facing, 1e-9);
  EXPECT_NEAR(info->point.x, 10.0, 0.5);
  ExpectExact(picker, *plate, *info);
  EXPECT_EQ(window->PickZValue(picker.GetXPickCoordinate(), picker.GetYPickCoordinate()),
            static_cast<float>(picker.GetPickedZCoordinate()));

  // Above the rod's axis, the rod is what the viewer sees if it stands on the facing side.
  if (facing > 0) {
    info = PickAt(picker, ToWindow(P(0, 0, 0)));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(picker.GetPickedObject(), static_cast<IPickable*>(screw));
    ExpectExact(picker, *screw, *info);
    EXPECT_EQ(picker.GetIntersectionList().size(), 2u) << "the plate behind it is a hit as well";
  }

  // The camera pans: the same pixel now shows another place of the plate.
  const P pixel = ToWindow(P(10, 5, 0));
  window->GetCamera().TranslateView(400.0f, 0.0f);
  info = PickAt(picker, pixel);
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(picker.GetPickedObject(), static_cast<IPickable*>(plate));
  EXPECT_GT(std::abs(info->point.x - 10.0) + std::abs(info->point.y - 5.0), 0.1);
  ExpectExact(picker, *plate, *info);

  // The plate's system moves far away: the pixel of its old place shows nothing of it.
  const P after_pan = ToWindow(P(10, 5, 0));
  MMTransformMatrix away;
  away.MakeTranslation(500.0, 0.0, 0.0);
  Repository().ReplaceTransform(away, plate->GetCoordinateSystem());
  EXPECT_EQ(PickAt(picker, after_pan), nullptr);
  // Where it went, it is found, and the point is reported in its own system.
  info = PickAt(picker, ToWindow(P(510, 5, 0)));
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(picker.GetPickedObject(), static_cast<IPickable*>(plate));
  EXPECT_NEAR(info->point.x, 10.0, 0.5);
  EXPECT_NEAR(info->point.y, 5.0, 0.5);
  ExpectExact(picker, *plate, *info);
}

}  // namespace
