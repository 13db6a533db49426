// The coordinate systems in a project file: written, read back into a running repository that
// has systems and handles of its own, in any order, and refused whole when the file is bad.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "CoordinatesTestSupport.h"
#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/core/MUnit.h"
#include "ostrum/foundation/markup/MSAXReader.h"
#include "ostrum/foundation/markup/MSAXTagWriter.h"
#include "ostrum/foundation/markup/MSAXWriter.h"

namespace coordinates_test {
namespace {

// A host's document as far as systems go: "Transforms" goes to the repository, and each
// "Holder" is a handle of its own, as the systems of a host's objects are.
class PlanReader : public ISAXPersist {
 public:
  std::vector<std::unique_ptr<MCoordinateSystem>> holders;
  int initialised = 0;

  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    if (tag == L"Plan") return true;
    if (tag == L"Transforms") {
      reader.DelegateElement(MTransformRepositoryEx::GetInstance());
      return true;
    }
    if (tag == L"Holder") {
      holders.push_back(std::make_unique<MCoordinateSystem>());
      return holders.back()->ReadCoordinateSystem(reader) || !reader.IsRefused();
    }
    return false;
  }
  void InitAfterLoading() override { ++initialised; }
};

std::string WritePlan(MTransformRepositoryEx const& rep, std::vector<MCoordinateSystem const*> const& holders) {
  MSAXWriter writer;
  {
    MSAXTagWriter plan(writer, L"Plan");
    for (auto const* h : holders) h->WriteCoordinateSystem(L"Holder", writer);  // before the systems
    rep.Write(writer);
  }
  EXPECT_TRUE(writer.EndDocument());
  return writer.GetOutput();
}

// Everything a load could change, as text: the list with parents, weights, labels and
// matrices, the root's label, the unit systems and the flag.
std::string Snapshot(MTransformRepositoryEx const& rep) {
  std::ostringstream s;
  auto name = [&](Node const* n) -> std::string {
    if (!n) return "null";
    if (n == rep.GetAbsoluteWorld().GetInternalSystem()) return "world";
    for (std::size_t i = 0; i < rep.GetSystems().size(); ++i)
      if (rep.GetSystems()[i] == n) return "#" + std::to_string(i);
    return "?";
  };
  s << "world '" << CharacterSetConversions::ToUTF8(rep.GetAbsoluteWorld().GetInternalSystem()->GetLabel()) << "' "
    << rep.GetAbsoluteWorld().GetInternalSystem()->GetWeight() << "\n";
  for (Node const* n : rep.GetSystems()) {
    s << name(n) << " to " << name(n->GetTo()) << " w" << n->GetWeight() << " '"
      << CharacterSetConversions::ToUTF8(n->GetLabel()) << "'";
    if (n->GetTransform()) s << " x" << X(*n->GetTransform());
    s << "\n";
  }
  s << "ui " << name(rep.GetSystemUI().GetInternalSystem()) << " mm " << name(rep.GetSystemMm().GetInternalSystem())
    << (rep.IsGUIInch() ? " inch" : " mm") << "\n";
  return s.str();
}

class RepositoryFile : public ::testing::Test {
 protected:
  RepositoryFile() { MTransformRepositoryEx::CreateInstance(); }
  ~RepositoryFile() override {
    reader.holders.clear();
    MTransformRepositoryEx::DeleteInstance();
  }
  static MTransformRepositoryEx& Rep() { return *MTransformRepositoryEx::GetInstance(); }
  // A fresh application repository, as a new run of the program has.
  void Restart() {
    reader.holders.clear();
    MTransformRepositoryEx::DeleteInstance();
    MTransformRepositoryEx::CreateInstance();
  }
  bool Load(std::string const& document) {
    MSAXReader r;
    bool const ok = r.ReadMemory(document, reader);
    error = r.GetError();
    return ok;
  }
  MMPoint3d<double> Map(MCoordinateSystem const& from, MCoordinateSystem const& to, double v) {
    return Rep().GetTransform(from, to)(MMPoint3d<double>(v, v, v));
  }

  PlanReader reader;
  std::wstring error;
};

TEST_F(RepositoryFile, ATreeComesBackInANewRunWithTheRunningMillimetreSystem) {
  MCoordinateSystem a = Rep().CreateNewSystem(Scale(2), Rep().GetSystemMm());
  MCoordinateSystem b = Rep().CreateNewSystem(Scale(3), a, L"bee");
  MCoordinateSystem c = Rep().CreateNewSystem(Scale(4), a);
  MCoordinateSystem d = Rep().CreateNewSystemNotSaved(Scale(5), a);
  std::string const file = WritePlan(Rep(), {&b, &c});
  EXPECT_EQ(file.find("5 0 0 0"), std::string::npos) << file;  // nothing of D
  EXPECT_NE(file.find("<Label>stl units</Label>"), std::string::npos) << file;
  EXPECT_NE(file.find("<SystemUIinMM>false</SystemUIinMM>"), std::string::npos) << file;
  a.SetUndefined(), b.SetUndefined(), c.SetUndefined(), d.SetUndefined();

  Restart();
  Node* const mm = Rep().GetSystemMm().GetInternalSystem();
  ASSERT_TRUE(Load(file)) << CharacterSetConversions::ToUTF8(error);
  EXPECT_EQ(reader.initialised, 1);
  ASSERT_EQ(reader.holders.size(), 2u);
  MCoordinateSystem const& lb = *reader.holders[0];
  MCoordinateSystem const& lc = *reader.holders[1];
  EXPECT_EQ(Rep().GetSystemMm().GetInternalSystem(), mm);
  EXPECT_EQ(Rep().GetSystemMmToStl(), MUnit::GetIE());
  EXPECT_TRUE(NearPoint(Map(lb, Rep().GetSystemMm(), 2), {12, 12, 12}));
  EXPECT_TRUE(NearPoint(Map(lc, Rep().GetSystemMm(), 2), {16, 16, 16}));
  EXPECT_EQ(lb.GetUnit(), L"bee");
  EXPECT_EQ(lc.GetUnit(), L"mm");  // no label of its own: the one above it
  EXPECT_EQ(Rep().GetAbsoluteWorld().GetInternalSystem()->GetLabel(), L"stl units");
  // The file's millimetre node and the old system UI went; A, B, C and the file's UI stay.
  EXPECT_EQ(Rep().GetNumberOfSystems(), 5u) << Snapshot(Rep());
  EXPECT_EQ(lb.GetInternalSystem()->GetWeight(), 1u);
  EXPECT_EQ(lb.GetInternalSystem()->GetTo()->GetWeight(), 2u);  // A, held through B and C
  EXPECT_TRUE(Rep().Sanity());
  std::string const after = Snapshot(Rep());
  Rep().InitAfterLoading();  // a second time: nothing left to do
  EXPECT_EQ(Snapshot(Rep()), after);
}

TEST_F(RepositoryFile, ALoadJoinsARepositoryWithSystemsAndHandlesOfItsOwn) {
  MCoordinateSystem saved = Rep().CreateNewSystem(Translation(7), Rep().GetSystemMm(), L"saved");
  MCoordinateSystem shared = Rep().CreateNewSystem(Scale(2), saved);
  std::string const file = WritePlan(Rep(), {&saved, &shared, &shared});
  // The running program meanwhile has systems of its own, held by its cameras and objects.
  MCoordinateSystem own = Rep().CreateNewSystem(Translation(1), Rep().GetSystemUI(), L"own");
  MCoordinateSystem below_own = Rep().CreateNewSystem(Translation(2), own);
  std::size_t const before = Rep().GetNumberOfSystems();
  ASSERT_TRUE(Load(file)) << CharacterSetConversions::ToUTF8(error);
  // Three systems more: the file's copies of `saved` and `shared` and its system UI (the old one
  // stays, held by `own`). The running ones stay, counted as before; the file's shared system is
  // one node held by both holders.
  EXPECT_EQ(Rep().GetNumberOfSystems(), before + 3) << Snapshot(Rep());
  EXPECT_EQ(own.GetInternalSystem()->GetWeight(), 2u);
  EXPECT_EQ(below_own.GetInternalSystem()->GetTo(), own.GetInternalSystem());
  ASSERT_EQ(reader.holders.size(), 3u);
  EXPECT_EQ(*reader.holders[1], *reader.holders[2]);
  EXPECT_NE(*reader.holders[1], shared);
  EXPECT_EQ(reader.holders[1]->GetInternalSystem()->GetWeight(), 2u);
  EXPECT_EQ(reader.holders[0]->GetInternalSystem()->GetWeight(), 3u);
  EXPECT_TRUE(NearPoint(Map(*reader.holders[1], Rep().GetSystemMm(), 1), {9, 2, 2}));
  reader.holders.clear();
  Rep().DeleteUnreferencedSystems();
  EXPECT_EQ(Rep().GetNumberOfSystems(), before + 1);
}

TEST_F(RepositoryFile, ElementsInAnyOrderAndTheInchFlagAsItsNameDoesNotSay) {
  // Holders first, the unit systems before the systems, children before their parents.
  std::string const file = R"(<Plan>
    <Holder>12</Holder>
    <Transforms>
      <SystemUIinMM> true </SystemUIinMM>
      <SystemMM>21</SystemMM>
      <SystemUI>22</SystemUI>
      <CoordinateSystems>
        <CoordinateSystem id="12"><TransformMatrix>4 0 0 0 0 4 0 0 0 0 4 0 0 0 0 1</TransformMatrix><To>11</To></CoordinateSystem>
        <CoordinateSystem id="22"><Label>inch</Label><To>21</To><TransformMatrix>25.4 0 0 0 0 25.4 0 0 0 0 25.4 0 0 0 0 1</TransformMatrix></CoordinateSystem>
        <CoordinateSystem id="11"><To>21</To><TransformMatrix>2 0 0 0 0 2 0 0 0 0 2 0 0 0 0 1</TransformMatrix></CoordinateSystem>
        <CoordinateSystem id="21"><To>20</To><Label>mm</Label><TransformMatrix>1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1</TransformMatrix></CoordinateSystem>
      </CoordinateSystems>
      <SystemSTL>20</SystemSTL>
      <World><CoordinateSystem id="20"><To>0</To><Label>stl units</Label></CoordinateSystem></World>
    </Transforms>
  </Plan>)";
  ASSERT_TRUE(Load(file)) << CharacterSetConversions::ToUTF8(error);
  EXPECT_TRUE(Rep().IsGUIInch());
  EXPECT_EQ(Rep().GetSystemUI().GetUnit(), L"inch");
  EXPECT_EQ(Rep().GetSystemUIToStl(), 254000);
  EXPECT_EQ(Rep().GetSystemMmToStl(), MUnit::GetIE());  // the running scale, not the file's 1
  EXPECT_TRUE(NearPoint(Map(*reader.holders[0], Rep().GetSystemMm(), 1), {8, 8, 8}));

  // Written again and read into a new run, the flag and system UI stay.
  std::string const again = WritePlan(Rep(), {reader.holders[0].get()});
  EXPECT_NE(again.find("<SystemUIinMM>true</SystemUIinMM>"), std::string::npos) << again;
  Restart();
  ASSERT_TRUE(Load(again)) << CharacterSetConversions::ToUTF8(error);
  EXPECT_TRUE(Rep().IsGUIInch());
  EXPECT_EQ(Rep().GetSystemUIToStl(), 254000);
  EXPECT_TRUE(NearPoint(Map(*reader.holders[0], Rep().GetSystemMm(), 1), {8, 8, 8}));
}

// A file whose parts are given, with the world and millimetre systems in place.
std::string Transforms(std::string const& systems, std::string const& extra = "", std::string const& holders = "") {
  return "<Plan>" + holders + "<Transforms><CoordinateSystems>" +
         "<CoordinateSystem id='2'><To>1</To><Label>mm</Label></CoordinateSystem>" + systems +
         "</CoordinateSystems><World><CoordinateSystem id='1'><To>0</To><Label>stl units</Label>"
         "</CoordinateSystem></World><SystemMM>2</SystemMM>" +
         extra + "</Transforms></Plan>";
}

std::string System(int id, int to, std::string const& rest = "") {
  return "<CoordinateSystem id='" + std::to_string(id) + "'><To>" + std::to_string(to) + "</To>" + rest +
         "</CoordinateSystem>";
}

TEST_F(RepositoryFile, ABadFileIsRefusedAndLeavesRepositoryAndHandlesAsTheyWere) {
  std::string chain;
  for (int i = 0; i < 25; ++i) chain += System(10 + i, i == 0 ? 2 : 9 + i);
  struct Bad {
    char const* what;
    std::string file;
  };
  std::vector<Bad> const bad = {
      {"an unknown element", Transforms(System(3, 2, "<Colour>red</Colour>"))},
      {"a parent no element defines", Transforms(System(3, 99))},
      {"a holder of a system no element defines", Transforms(System(3, 2), "", "<Holder>98</Holder>")},
      {"a holder that is no number", Transforms(System(3, 2), "", "<Holder>3a</Holder>")},
      {"a number defined twice", Transforms(System(3, 2) + System(3, 2))},
      {"a system whose parent is itself", Transforms(System(3, 3), "", "<Holder>3</Holder>")},
      {"two systems each the other's parent", Transforms(System(3, 4) + System(4, 3), "", "<Holder>3</Holder>")},
      {"systems nested too deeply", Transforms(chain, "", "<Holder>34</Holder>")},
      {"a matrix with NaN", Transforms(System(3, 2, "<TransformMatrix>nan 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1</TransformMatrix>"))},
      {"a matrix out of range", Transforms(System(3, 2, "<TransformMatrix>1e999 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1</TransformMatrix>"))},
      {"a matrix of fifteen numbers", Transforms(System(3, 2, "<TransformMatrix>1 0 0 0 0 1 0 0 0 0 1 0 0 0 0</TransformMatrix>"))},
      {"a matrix of seventeen numbers", Transforms(System(3, 2, "<TransformMatrix>1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 1</TransformMatrix>"))},
      {"a matrix with a decimal comma", Transforms(System(3, 2, "<TransformMatrix>1,5 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1</TransformMatrix>"))},
      {"two matrices", Transforms(System(3, 2, "<TransformMatrix/><TransformMatrix/>"))},
      {"two parents", Transforms(System(3, 2, "<To>1</To>"))},
      {"a parent not given", Transforms("<CoordinateSystem id='3'><To></To></CoordinateSystem>")},
      {"a holder with a negative number", Transforms(System(3, 2), "", "<Holder>3</Holder><Holder>-4</Holder>")},
      {"system STL that is not the world", Transforms(System(3, 2), "<SystemSTL>3</SystemSTL>")},
      {"system UI that is no system of its own", Transforms("", "<SystemUI>2</SystemUI>")},
      {"system UI null", Transforms("", "<SystemUI>0</SystemUI>")},
      {"system UI twice", Transforms(System(3, 2), "<SystemUI>3</SystemUI><SystemUI>3</SystemUI>")},
      {"an inch flag that is no bool", Transforms("", "<SystemUIinMM>yes</SystemUIinMM>")},
      {"two worlds", Transforms("", "<World><CoordinateSystem id='7'><To>0</To></CoordinateSystem></World>")},
      {"a world with a parent",
       "<Plan><Transforms><CoordinateSystems><CoordinateSystem id='2'><To>1</To></CoordinateSystem></CoordinateSystems>"
       "<World><CoordinateSystem id='1'><To>2</To></CoordinateSystem></World></Transforms></Plan>"},
      {"the label of a system cut", Transforms(System(3, 2, "<Label>x")).substr(0, 200)},
  };
  // The running program: a system of its own held twice, one below it, the UI in inches.
  MCoordinateSystem own = Rep().CreateNewSystem(Translation(1), Rep().GetSystemMm(), L"own");
  MCoordinateSystem own_too = own;
  MCoordinateSystem below = Rep().CreateNewSystem(Scale(3), own);
  Rep().SetGUIUnitInch();
  std::string const before = Snapshot(Rep());
  for (Bad const& b : bad) {
    // A holder that had a system before the file: it keeps it.
    auto holder = std::make_unique<MCoordinateSystem>(below);
    struct Reader : PlanReader {
      MCoordinateSystem* kept;
      bool HandleTag(std::wstring const& tag, MSAXReader& r) override {
        if (tag == L"Kept") return kept->ReadCoordinateSystem(r);
        return PlanReader::HandleTag(tag, r);
      }
    } r;
    r.kept = holder.get();
    std::string file = b.file;
    file.insert(file.find("<Transforms>"), "<Kept>2</Kept>");
    MSAXReader reader;
    EXPECT_FALSE(reader.ReadMemory(file, r)) << b.what;
    EXPECT_FALSE(reader.GetError().empty()) << b.what;
    EXPECT_EQ(r.initialised, 0) << b.what;
    EXPECT_EQ(*holder, below) << b.what;
    EXPECT_FALSE(Rep().IsLoading()) << b.what;
    r.holders.clear();
    holder.reset();
    EXPECT_EQ(Snapshot(Rep()), before) << b.what << ": " << CharacterSetConversions::ToUTF8(reader.GetError());
  }
  // And the repository still loads a good file afterwards.
  EXPECT_TRUE(Load(Transforms(System(3, 2), "", "<Holder>3</Holder>"))) << CharacterSetConversions::ToUTF8(error);
}

TEST_F(RepositoryFile, AFileCutAtAnyElementIsRefusedWithNothingChanged) {
  MCoordinateSystem a = Rep().CreateNewSystem(Scale(2), Rep().GetSystemMm(), L"a");
  MCoordinateSystem b = Rep().CreateNewSystem(Translation(3), a);
  std::string const file = WritePlan(Rep(), {&a, &b});
  std::string const before = Snapshot(Rep());
  int cuts = 0;
  for (std::size_t at = file.find('<', 1); at != std::string::npos; at = file.find('<', at + 1)) {
    EXPECT_FALSE(Load(file.substr(0, at))) << at;
    EXPECT_TRUE(reader.holders.empty() || reader.holders.back()->GetInternalSystem() == nullptr);
    reader.holders.clear();
    EXPECT_EQ(Snapshot(Rep()), before) << at;
    ++cuts;
  }
  EXPECT_GT(cuts, 20);
  EXPECT_TRUE(Load(file));
}

}  // namespace
}  // namespace coordinates_test
