// Weights: handles count on their node and on every node above it, and a node dies exactly
// when its weight falls to zero.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CoordinatesTestSupport.h"

namespace coordinates_test {
namespace {

std::uint32_t WeightOf(MCoordinateSystem const& s) { return s.GetInternalSystem()->GetWeight(); }

TEST(CoordinateWeights, CopiesAssignmentsMovesAndDestructionCountUpTheChain) {
  ProbeRepository rep;
  MCoordinateSystem const& world = rep.GetAbsoluteWorld();
  MCoordinateSystem a = rep.CreateNewSystem(Scale(2), world);
  EXPECT_EQ(WeightOf(world), 2u);
  {
    MCoordinateSystem b = rep.CreateNewSystem(Scale(3), a);
    Node const* B = b.GetInternalSystem();
    MCoordinateSystem copy = b;
    MCoordinateSystem assigned;
    assigned = b;
    EXPECT_EQ(B->GetWeight(), 3u);
    EXPECT_EQ(WeightOf(world), 5u);
    assigned = a;  // one reference moves from B up to A
    EXPECT_EQ(B->GetWeight(), 2u);
    EXPECT_EQ(WeightOf(a), 4u);
    MCoordinateSystem moved(std::move(copy));
    moved = std::move(b);  // two handles on B become one
    EXPECT_FALSE(copy.IsDefined());
    EXPECT_EQ(B->GetWeight(), 1u);
    EXPECT_EQ(WeightOf(world), 4u);
  }
  EXPECT_EQ(rep.GetNumberOfSystems(), 1u);
  EXPECT_EQ(WeightOf(world), 2u);
  MCoordinateSystem& alias = a;
  a = alias;  // the only handle assigned to itself keeps its node
  EXPECT_EQ(WeightOf(a), 1u);
}

TEST(CoordinateWeights, MovingASystemCarriesItsWeightAndMayKillItsOldParent) {
  ProbeRepository rep;
  MCoordinateSystem const& world = rep.GetAbsoluteWorld();
  MCoordinateSystem a = rep.CreateNewSystem(Scale(2), world);
  MCoordinateSystem b = rep.CreateNewSystem(Scale(3), world);
  MCoordinateSystem c = rep.CreateNewSystem(Scale(4), a);
  MCoordinateSystem d = rep.CreateNewSystem(Scale(5), c);
  rep.SetDependentCoordinateSystem(c, b);
  EXPECT_EQ(WeightOf(a), 1u);
  EXPECT_EQ(WeightOf(b), 3u);
  EXPECT_EQ(WeightOf(world), 5u);

  // A, held only through its child E, dies when E leaves it; B lives on through C and D.
  MCoordinateSystem e = rep.CreateNewSystem(Scale(6), a);
  a.SetUndefined();
  b.SetUndefined();
  EXPECT_EQ(rep.GetNumberOfSystems(), 5u);
  rep.SetDependentCoordinateSystem(e, c);
  EXPECT_EQ(rep.GetNumberOfSystems(), 4u);
  EXPECT_EQ(X(rep.GetTransform(e, world)), 6.0 * 4 * 3);
  EXPECT_EQ(rep.CachedEntries(), 1);

  // The subtree goes with the last handle below its top, and leaves nothing cached.
  c.SetUndefined();
  d.SetUndefined();
  EXPECT_EQ(rep.GetNumberOfSystems(), 3u);
  e.SetUndefined();
  EXPECT_EQ(rep.GetNumberOfSystems(), 0u);
  EXPECT_EQ(WeightOf(world), 1u);
  EXPECT_EQ(rep.CachedEntries(), 0);

  // A system cannot go below itself or its subtree.
  MCoordinateSystem f = rep.CreateNewSystem(Scale(2), world);
  MCoordinateSystem g = rep.CreateNewSystem(Scale(3), f);
  rep.SetDependentCoordinateSystem(f, g);
  rep.SetDependentCoordinateSystem(f, f);
  EXPECT_EQ(f.GetInternalSystem()->GetTo(), world.GetInternalSystem());
  EXPECT_EQ(WeightOf(f), 2u);
}

// A node that logs its death.
class LoggedNode : public Node {
 public:
  LoggedNode(Node* to, std::vector<std::string>& log, std::string name)
      : Node(to, static_cast<MMTransform*>(nullptr), nullptr), m_log(log), m_name(std::move(name)) {}
  ~LoggedNode() override { m_log.push_back(m_name); }

 private:
  std::vector<std::string>& m_log;
  std::string m_name;
};

TEST(CoordinateWeights, AChainLeftWithoutHandlesDiesFromTheTopDown) {
  std::vector<std::string> log;
  auto* top = new LoggedNode(nullptr, log, "top");
  auto* leaf = new LoggedNode(new LoggedNode(top, log, "middle"), log, "leaf");
  MCoordinateSystem held_top;
  held_top.SetInternalSystem(top);
  MCoordinateSystem held_leaf;
  held_leaf.SetInternalSystem(leaf);
  EXPECT_EQ(top->GetWeight(), 2u);
  held_leaf.SetUndefined();
  EXPECT_EQ(log, (std::vector<std::string>{"middle", "leaf"}));
  held_top.SetUndefined();
  EXPECT_EQ(log, (std::vector<std::string>{"middle", "leaf", "top"}));
}

TEST(CoordinateWeights, UnheldSystemsWaitForDeleteUnreferencedSystems) {
  ProbeRepository rep;
  MCoordinateSystem const& world = rep.GetAbsoluteWorld();
  MCoordinateSystem a = rep.CreateNewSystem(Scale(2), world);
  Node* b = rep._CreateNewSystem(Scale(3), a, L"b");
  MCoordinateSystem d = rep.CreateNewSystem(Scale(5), world);
  rep._CreateNewSystem(Scale(6), MCoordinateSystem(), L"e");
  MCoordinateSystem f = rep.CreateNewSystem(Scale(7), d);
  EXPECT_EQ(b->GetWeight(), 0u);
  EXPECT_EQ(WeightOf(a), 1u) << "creation does not weigh on the parent";

  // A dies with its handle; its unheld child stays, as a child of the world.
  a.SetUndefined();
  ASSERT_EQ(rep.GetNumberOfSystems(), 4u);
  EXPECT_EQ(b->GetTo(), nullptr);
  EXPECT_TRUE(rep.Sanity());

  rep.GetTransform(d, world);
  rep.DeleteUnreferencedSystems();
  EXPECT_EQ(rep.GetSystems(), (std::vector<Node*>{d.GetInternalSystem(), f.GetInternalSystem()}));
  EXPECT_EQ(rep.CachedEntries(), 0);
}

}  // namespace
}  // namespace coordinates_test
