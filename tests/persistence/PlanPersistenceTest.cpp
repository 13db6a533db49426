// A host's plan in its project file: objects made by tag through the factory, their tree as
// child lists, their coordinate systems, written and read back into the document's database
// all or nothing.

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/DatabaseHost.h"
#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/markup/MSAXReader.h"
#include "ostrum/foundation/markup/MSAXTagWriter.h"
#include "ostrum/foundation/markup/MSAXWriter.h"
#include "ostrum/objects/MSAXUIObjectChildren.h"
#include "ostrum/persistence/MSCObjectFactory.h"

namespace {

using db_test::DatabaseHost;

// A persistent part of a plan: its label, its system and its children.
class Part : public db_test::Item, public ISAXPersist {
 public:
  explicit Part(std::string const& name = "") : Item(name) {}
  bool Write(MSAXWriter& writer) const override {
    MSAXTagWriter element(writer, L"Part");
    writer.RegisterReference(this);
    writer.WriteValue(L"Label", GetLabel());
    GetCoordinateSystem().WriteCoordinateSystem(L"System", writer);
    _WriteChildrenIDs(writer);
    return writer.IsGood();
  }
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    if (tag == L"Label") {
      std::wstring label;
      reader.ReadValue(label);
      SetLabel(label.c_str());
      return true;
    }
    if (tag == L"System") return _ReadCoordinateSystem(reader);
    return _HandleTagChildrenIDs(tag, reader);
  }
};

// The host's reader: "Transforms" to the repository, every other element of the plan made by
// the factory and staged; the staged objects enter the database only when the file is in.
class PlanLoader : public ISAXPersist {
 public:
  explicit PlanLoader(MDataBase& db) : m_db(db) {}
  ~PlanLoader() override {
    for (UIObject* object : m_staged) delete object;
  }
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    if (tag == L"Plan") return true;
    if (tag == L"Transforms") {
      reader.DelegateElement(MTransformRepositoryEx::GetInstance());
      return true;
    }
    ISAXPersist* made = Ostrum::MSCObjectFactory::CreateObjectForTag(tag, reader.GetParentTag(1));
    if (!made) return false;
    auto* object = dynamic_cast<UIObject*>(made);
    if (!object) {
      delete made;
      reader.Refuse(L"no tree object");
      return false;
    }
    m_staged.push_back(object);
    reader.DelegateElement(made);
    return true;
  }
  void InitAfterLoading() override {
    for (UIObject* object : m_staged)
      if (!object->GetParent()) m_db.AddObject(object);
    m_staged.clear();
  }

 private:
  MDataBase& m_db;
  std::vector<UIObject*> m_staged;
};

struct PlanFile : DatabaseHost {
  PlanFile() {
    Ostrum::MSCObjectFactory::RegisterCreatorForTag([] { return static_cast<ISAXPersist*>(new Part); }, L"Part",
                                                    L"Plan");
  }
  ~PlanFile() override { Ostrum::MSCObjectFactory::UnregisterCreatorForTag(L"Part", L"Plan"); }

  static MTransformRepositoryEx& Rep() { return *MTransformRepositoryEx::GetInstance(); }

  Part* Add(std::string const& name, UIObject* parent, MCoordinateSystem const& system, int32_t priority = 0) {
    auto* part = new Part(name);
    part->SetPriority(priority);
    part->SetCoordinateSystem(system);
    db.AddObject(part);
    if (parent) part->MoveToParent(parent);
    return part;
  }
  std::string Save() {
    MSAXWriter writer;
    {
      MSAXTagWriter plan(writer, L"Plan");
      Rep().Write(writer);
      for (size_t i = 0; i < db.GetNumObjects(); ++i) dynamic_cast<Part*>(db.GetObjectW(i))->Write(writer);
    }
    EXPECT_TRUE(writer.EndDocument());
    return writer.GetOutput();
  }
  bool Open(std::string const& file) {
    PlanLoader loader(db);
    MSAXReader reader;
    bool const ok = reader.ReadMemory(file, loader);
    error = CharacterSetConversions::ToUTF8(reader.GetError());
    return ok;
  }
  Part* Find(std::string const& name) {
    for (size_t i = 0; i < db.GetNumObjects(); ++i)
      if (Label(db.GetObjectW(i)) == name) return dynamic_cast<Part*>(db.GetObjectW(i));
    return nullptr;
  }
  MMPoint3d<double> WorldOf(std::string const& name) {
    return Rep().GetTransform(Find(name)->GetCoordinateSystem(), Rep().GetSystemMm())(MMPoint3d<double>(1, 2, 3));
  }
  std::string State() { return Tree() + " | " + Registry() + " | " + std::to_string(Rep().GetNumberOfSystems()); }

  std::string error;
};

MMTransformMatrix Move(double x, double y, double z) {
  MMTransformMatrix m;
  m.MakeTranslation(x, y, z);
  m.PreMultiply([] {
    MMTransformMatrix r;
    r.MakeRotationZYX(10, 20, 30);
    return r;
  }());
  return m;
}

TEST_F(PlanFile, ADeepPlanWithSharedSystemsComesBackWithEveryObjectInPlace) {
  Rep().SetGUIUnitInch();
  // A chain six deep, a fan of siblings, and two parts sharing one system.
  UIObject* parent = nullptr;
  MCoordinateSystem system = Rep().GetSystemMm();
  for (int i = 0; i < 6; ++i) {
    system = Rep().CreateNewSystem(Move(i, 2 * i, 3), system);
    parent = Add("d" + std::to_string(i), parent, system);
  }
  MCoordinateSystem shared = Rep().CreateNewSystem(Move(5, 0, 0), Rep().GetSystemUI(), L"shared");
  Part* hub = Add("hub", nullptr, Rep().GetSystemMm());
  for (int i = 0; i < 5; ++i) Add("s" + std::to_string(i), hub, Rep().CreateNewSystem(Move(0, i, 0), shared), 5 - i % 2);
  Add("twin", hub, shared);
  std::string const tree = Tree();
  std::vector<MMPoint3d<double>> where;
  for (char const* name : {"d5", "d3", "s4", "twin", "hub"}) where.push_back(WorldOf(name));
  std::string const file = Save();
  std::size_t const systems = Rep().GetNumberOfSystems();

  // A new run: the plan is gone, the repository has only its default systems.
  shared.SetUndefined();
  system.SetUndefined();
  db.ClearAll();
  Rep().SetGUIUnitMm();
  Rep().DeleteUnreferencedSystems();
  ASSERT_TRUE(Open(file)) << error;
  EXPECT_EQ(Tree(), tree);
  int i = 0;
  for (char const* name : {"d5", "d3", "s4", "twin", "hub"}) {
    MMPoint3d<double> const p = WorldOf(name), q = where[i++];
    EXPECT_NEAR((p - q).Length(), 0, 1e-9) << name;
  }
  EXPECT_TRUE(Rep().IsGUIInch());
  EXPECT_EQ(Find("twin")->GetCoordinateSystem().GetInternalSystem(),
            Find("s0")->GetCoordinateSystem().GetInternalSystem()->GetTo());
  EXPECT_EQ(Find("twin")->GetCoordinateSystem().GetUnit(), L"shared");
  // Nothing was lost or added on the way: the file's copy of the millimetre system is gone.
  EXPECT_EQ(Rep().GetNumberOfSystems(), systems);
}

TEST_F(PlanFile, ChildrenKeepTheirOrderAndOnlyThoseToBeSavedAreWritten) {
  Part* p = Add("p", nullptr, Rep().GetSystemMm());
  for (char const* name : {"a", "b", "c"}) Add(name, p, Rep().GetSystemMm());
  Part* lonely = Add("lonely", nullptr, Rep().GetSystemMm());
  Add("helper", lonely, Rep().GetSystemMm())->SetMustBeSavedInRoot(false);
  std::string const file = Save();
  EXPECT_EQ(file.find("<Child>", file.find("<Label>lonely</Label>")), std::string::npos) << file;
  MSAXUIObjectChildren children(p);
  EXPECT_TRUE(children.HasChildrenToSave());

  db.ClearAll();
  ASSERT_TRUE(Open(file)) << error;
  // The helper's own element was written, but no child list names it: it comes back on top.
  EXPECT_EQ(Tree(), "p(a b c) lonely helper") << Tree();
}

TEST_F(PlanFile, ABadPlanLeavesDatabaseAndRepositoryAsTheyWere) {
  Part* p = Add("p", nullptr, Rep().GetSystemMm());
  Add("q", p, Rep().CreateNewSystem(Move(1, 1, 1), Rep().GetSystemMm()));
  std::string const good = Save();
  auto part = [](int id, std::string const& children, int system = 2) {
    return "<Part id='" + std::to_string(id) + "'><Label>x" + std::to_string(id) + "</Label><System>" +
           std::to_string(system) + "</System><Children>" + children + "</Children></Part>";
  };
  std::string const head = good.substr(0, good.find("</Transforms>") + 13);  // the systems of `good`
  auto plan = [&](std::string const& parts) { return head + parts + "</Plan>"; };
  std::string const mm = good.substr(good.find("<SystemMM>") + 10, good.find("</SystemMM>") - good.find("<SystemMM>") - 10);
  struct Bad {
    char const* what;
    std::string file;
  };
  std::vector<Bad> const bad = {
      {"a child claimed by two parents", plan(part(100, "<Child>102</Child>") + part(101, "<Child>102</Child>") + part(102, ""))},
      {"a child listed twice", plan(part(100, "<Child>102</Child><Child>102</Child>") + part(102, ""))},
      {"parents in a loop", plan(part(100, "<Child>101</Child>") + part(101, "<Child>102</Child>") + part(102, "<Child>100</Child>"))},
      {"an object its own child", plan(part(100, "<Child>100</Child>"))},
      {"a child that is a coordinate system", plan(part(100, "<Child>" + mm + "</Child>"))},
      {"a child no element defines", plan(part(100, "<Child>555</Child>"))},
      {"a system that is an object", plan(part(100, "", 101) + part(101, ""))},
      {"an element no creator makes", plan(part(100, "") + "<Screw id='7'/>")},
      {"a child that is no number", plan(part(100, "<Child>1e3</Child>"))},
  };
  std::string const before = State();
  for (Bad const& b : bad) {
    EXPECT_FALSE(Open(b.file)) << b.what;
    EXPECT_EQ(State(), before) << b.what << ": " << error;
  }
  int cuts = 0;
  for (std::size_t at = good.find('<', 1); at != std::string::npos; at = good.find('<', at + 1), ++cuts) {
    EXPECT_FALSE(Open(good.substr(0, at))) << at;
    EXPECT_EQ(State(), before) << at;
  }
  EXPECT_GT(cuts, 30);
  // The plan whole goes in beside what is there.
  ASSERT_TRUE(Open(good)) << error;
  EXPECT_EQ(Tree(), "p(q) p(q)");
}

// A short deterministic run of what the fuzz harnesses do at length: a real plan damaged at
// random (bytes changed, cut out or repeated) is either refused with nothing changed or read
// whole into a sane tree.
TEST_F(PlanFile, RandomlyDamagedPlansAreRefusedUnchangedOrReadWhole) {
  Part* p = Add("p", nullptr, Rep().GetSystemMm());
  MCoordinateSystem a = Rep().CreateNewSystem(Move(1, 2, 3), Rep().GetSystemMm(), L"a");
  Add("q", p, a);
  Add("r", p, Rep().CreateNewSystem(Move(0, 1, 0), a));
  std::string const good = Save();
  a.SetUndefined();
  db.ClearAll();
  Rep().DeleteUnreferencedSystems();
  std::string const before = State();
  std::mt19937 random(20261123);
  char const alphabet[] = "<>/=\"' 0123456789-.eabcCTSWXmn&;#";
  int accepted = 0, refused = 0;
  for (int round = 0; round < 2000; ++round) {
    std::string file = good;
    for (int n = 1 + static_cast<int>(random() % 3); n > 0; --n) {
      std::size_t const at = random() % file.size();
      std::size_t const length = std::min<std::size_t>(1 + random() % 12, file.size() - at);
      switch (random() % 3) {
        case 0: file[at] = alphabet[random() % (sizeof alphabet - 1)]; break;
        case 1: file.erase(at, length); break;
        default: file.insert(at, file.substr(at, length)); break;
      }
    }
    if (!Open(file)) {
      ++refused;
      ASSERT_EQ(State(), before) << file;
      continue;
    }
    ++accepted;
    ASSERT_TRUE(Rep().Sanity()) << file;
    db.ClearAll();
    Rep().DeleteUnreferencedSystems();
    ASSERT_EQ(State(), before) << file;
  }
  EXPECT_GT(refused, 100);
  EXPECT_GT(accepted, 10);
}

}  // namespace
