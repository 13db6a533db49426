// The object tree as a host builds it: children ordered by priority, moves with their hooks
// and with the world position kept, visibility per scene, copies, the operations an object
// reacts to, its undo state and the hierarchy saved and loaded through real files, and the
// render walks as a renderer sees them.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <Eigen/LU>
#include <random>
#include <string>
#include <vector>

#include "objects/ObjectTreeSupport.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/MFileName.h"
#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/render/RecordingRender.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/undo/MStreamUndo.h"
#include "support/TestDocument.h"

namespace {

using namespace tree_test;
using Names = std::vector<std::string>;
constexpr unsigned long long kDefault = UIObject::DEFAULT_SCENE_ID;

Names Children(const UIObject& parent) {
  Names names;
  for (UIObject* child : parent.GetChildren()) names.push_back(Narrow(child->GetLabel()));
  return names;
}

// ---- order and moves ----

// Equal priorities keep their order of arrival, a higher one arriving later goes before them,
// a lower one after: one arrival order shows all three.
TEST(UIObjectList, ChildrenStandInDescendingPriorityTheNewestLastAmongEquals) {
  Forest forest;
  for (const auto& [name, priority] : {std::pair{"a", 1}, {"b", 2}, {"c", 1}, {"d", 2}, {"e", 0}, {"f", -1}})
    forest.Add(name, nullptr, priority);
  EXPECT_EQ(Children(forest.root), (Names{"b", "d", "a", "c", "e", "f"}));
}

TEST(UIObjectList, RemoveContainsAndIndexAnswerForTheFirstOccurrence) {
  Node a("a"), b("b");
  UIObjectList list;
  list.AddBasedOnPriority(&a);
  list.AddBasedOnPriority(&b);
  list.AddBasedOnPriority(&a);
  EXPECT_TRUE(list.ContainsObject(&b));
  EXPECT_EQ(list.GetObjectW(1), &b);
  EXPECT_TRUE(list.RemoveObject(&a));
  EXPECT_EQ(list.GetObjectW(0), &b) << "the first occurrence went";
  EXPECT_TRUE(list.RemoveObject(&a));
  EXPECT_FALSE(list.RemoveObject(&a));
  EXPECT_FALSE(list.ContainsObject(&a));
}

TEST(UIObjectTree, MovesCallTheHooksInOrderAndKeepParentAndChildrenInStep) {
  CallLog log;
  Forest forest(&log);
  Node* a = forest.Add("a", nullptr);
  Node* b = forest.Add("b", nullptr);
  Node* x = forest.Add("x", a);
  log.clear();

  x->MoveToParent(b);
  EXPECT_EQ(log, (Calls{"x: parent b", "a: removed x", "b: added x"}));
  EXPECT_EQ(x->GetParent(), b);
  EXPECT_EQ(Children(*a), Names{});
  EXPECT_EQ(Children(*b), Names{"x"});

  // The priority alone does not move a child; moving it to the same parent sorts it anew.
  Node* y = forest.Add("y", b);
  y->SetPriority(9);
  EXPECT_EQ(Children(*b), (Names{"x", "y"}));
  log.clear();
  y->MoveToParent(b);
  EXPECT_EQ(log, (Calls{"y: parent b", "b: removed y", "b: added y"}));
  EXPECT_EQ(Children(*b), (Names{"y", "x"}));

  // Siblings and ancestry.
  EXPECT_EQ(y->GetNextSibbling(), x);
  EXPECT_EQ(x->GetPreviousSibbling(), y);
  EXPECT_EQ(x->GetNextSibbling(), nullptr);
  EXPECT_EQ(y->GetPreviousSibbling(), nullptr);
  EXPECT_EQ(forest.root.GetNextSibbling(), nullptr) << "no parent, no siblings";
  EXPECT_TRUE(forest.root.IsAncestor(x));
  EXPECT_TRUE(b->IsAncestor(x));
  EXPECT_FALSE(a->IsAncestor(x));
  EXPECT_FALSE(x->IsAncestor(x));
  EXPECT_FALSE(x->IsDescendant(x));
  EXPECT_TRUE(x->IsDescendant(&forest.root));
  EXPECT_EQ(forest.root.GetNumChildren(false), 2u);
  EXPECT_EQ(forest.root.GetNumChildren(true), 4u);
  EXPECT_EQ(x->GetNumChildren(true), 0u);

  // A move below itself or its own subtree would make a loop: nothing happens.
  log.clear();
  b->MoveToParent(x);
  b->MoveToParent(b);
  EXPECT_EQ(log, Calls{});
  EXPECT_EQ(b->GetParent(), &forest.root);

  // RemoveChild takes the child out whoever's it is; RemoveAllChildren empties in order.
  forest.root.RemoveChild(x);
  EXPECT_EQ(x->GetParent(), nullptr);
  EXPECT_EQ(Children(*b), Names{"y"});
  log.clear();
  forest.root.RemoveAllChildren();
  EXPECT_EQ(log, (Calls{"a: parent none", "root: removed a", "b: parent none", "root: removed b"}));
  EXPECT_EQ(forest.root.GetNumChildren(true), 0u);
}

// The world position kept across a move, against the products of the systems' matrices.
struct KeepingWorldPosition : WithRepository {};

TEST_F(KeepingWorldPosition, TheObjectTransformBecomesTheNewParentsInverseTimesItsWorldMatrix) {
  std::mt19937 random(3);
  auto transform = [&] {
    std::uniform_real_distribution<double> angle(-3, 3), offset(-50, 50), scale(0.5, 2);
    MMTransformMatrix rotation, translation, scaling;
    rotation.MakeRotation(MMPoint3d<double>(0, 0, 0), MMPoint3d<double>(angle(random), angle(random), 1), angle(random));
    translation.MakeTranslation(offset(random), offset(random), offset(random));
    scaling.MakeScale1D(scale(random));
    rotation.PreMultiply(scaling);
    rotation.PreMultiply(translation);
    return rotation;
  };
  auto matrix = [](const MMTransform& t) {
    double e[16];
    t.ConvertDouble16(e);
    return Eigen::Map<Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(e).eval();
  };
  const MCoordinateSystem& world = repository->GetSystemRenderWorld();
  for (int round = 0; round < 20; ++round) {
    Node old_parent("old"), new_parent("new"), object("object");
    old_parent.SetCoordinateSystem(repository->CreateNewSystem(transform(), world));
    new_parent.SetCoordinateSystem(repository->CreateNewSystem(transform(), world));
    object.SetCoordinateSystem(repository->CreateNewSystem(transform(), old_parent.GetCoordinateSystem()));
    object.MoveToParent(&old_parent);
    const Eigen::Matrix4d object_world = matrix(repository->GetTransform(object.GetCoordinateSystem(), world));
    const Eigen::Matrix4d parent_world = matrix(repository->GetTransform(new_parent.GetCoordinateSystem(), world));

    object.MoveToParent(&new_parent, true);
    ASSERT_EQ(object.GetParent(), &new_parent);
    const Eigen::Matrix4d expected = parent_world.inverse() * object_world;
    const Eigen::Matrix4d own = matrix(*repository->AccessTransformMatrix(object.GetCoordinateSystem()));
    EXPECT_TRUE(own.isApprox(expected, 1e-9)) << "round " << round << "\n" << own << "\nexpected\n" << expected;
    object.MoveToParent(nullptr);
  }
  // Without the flag the transform stays; with a singular parent it stays too.
  Node parent("p"), object("o");
  MMTransformMatrix flat;
  flat.MakeScale3D(1, 1, 0);
  parent.SetCoordinateSystem(repository->CreateNewSystem(flat, world));
  object.SetCoordinateSystem(repository->CreateNewSystem(transform(), world));
  const Eigen::Matrix4d before = matrix(*repository->AccessTransformMatrix(object.GetCoordinateSystem()));
  object.MoveToParent(&parent, false);
  object.MoveToParent(nullptr);
  object.MoveToParent(&parent, true);
  EXPECT_EQ(object.GetParent(), &parent) << "the move stands";
  EXPECT_TRUE(matrix(*repository->AccessTransformMatrix(object.GetCoordinateSystem())).isApprox(before));
  object.MoveToParent(nullptr);
}

// ---- visibility, copies, operations ----

struct UIObjectWithRepository : WithRepository {};

TEST_F(UIObjectWithRepository, NewObjectsAreInTheMillimetreSystemAndVisibleInTheDefaultSceneOnly) {
  Node node("n");
  EXPECT_TRUE(node.GetCoordinateSystem() == repository->GetSystemMm());
  EXPECT_TRUE(node.IsVisible(kDefault));
  EXPECT_TRUE(node.IsVisible(0xFFFFFFFFull)) << "the default id's upper half is zero";
  EXPECT_FALSE(node.IsVisible(7)) << "a scene the object has no value for";
  node.SetVisible(true, 7);
  node.SetVisible(false, kDefault);
  EXPECT_TRUE(node.IsVisible(7));
  EXPECT_FALSE(node.IsVisible(kDefault));
  EXPECT_STREQ(node.GetUserInterfaceTypeName(), L"Object");
  EXPECT_TRUE(node.MustBeSavedInRoot());
  M3DBoundingBox<float> box(MMPoint3d<float>(0, 0, 0), MMPoint3d<float>(1, 1, 1));
  node.GetBoundingBox(box, kDefault);
  EXPECT_FALSE(box.IsUsable()) << "the base class has no geometry: the box is made empty";
  EXPECT_EQ(box.GetMin().x, M3DBoundingBox<float>::EmptyBound());
}

TEST(UIObjectWithoutRepository, LeavesItsSystemUndefined) {
  Node node("n");
  EXPECT_FALSE(node.GetCoordinateSystem().IsDefined());
  double m[16] = {};
  node.GetTransformationTo(&node, m);  // no repository: nothing, no crash
  EXPECT_FALSE(node.IsRemoved() || node.IsRegistered() || node.IsSelected()) << "no database knows it";
}

TEST_F(UIObjectWithRepository, HidingInTheLastSceneThatShowsItFreesTheRenderBuffers) {
  Ostrum::RecordingRender renderer;
  Node node("n");
  node.SetVisible(true, 5);
  node.Render(renderer, repository->GetSystemMm());
  ASSERT_TRUE(node.HasBuffer());
  auto hide = [&](unsigned long long scene) {
    UIOperation op(UIOperation::ACTION_HIDE);
    op.SetSceneID(scene);
    return node.DoOperation(op);
  };
  EXPECT_TRUE(hide(kDefault));
  EXPECT_TRUE(node.HasBuffer()) << "scene 5 still shows it";
  EXPECT_TRUE(hide(5));
  EXPECT_FALSE(node.HasBuffer());
  EXPECT_EQ(renderer.GetLiveBufferCount(), 0u);
  UIOperation show(UIOperation::ACTION_SHOW);
  show.SetSceneID(5);
  EXPECT_TRUE(node.DoOperation(show));
  EXPECT_TRUE(node.IsVisible(5));
  EXPECT_FALSE(node.IsVisible(kDefault));
}

TEST_F(UIObjectWithRepository, CopiesTakeTheirDataButNotTheirPlaceAndCopyFromSkipsTheLabel) {
  Forest forest;
  Node* original = forest.Add("original", nullptr, 4);
  forest.Add("child", original);
  original->SetVisible(false, 3);
  original->SetMustBeSavedInRoot(false);
  original->SetCoordinateSystem(repository->GetSystemUI());
  std::unique_ptr<UIObject> copy(original->Clone());
  EXPECT_NE(dynamic_cast<Node*>(copy.get()), nullptr) << "a clone of the same class";
  EXPECT_STREQ(copy->GetLabel(), L"original");
  EXPECT_EQ(copy->GetPriority(), 4);
  EXPECT_FALSE(copy->IsVisible(3));
  EXPECT_FALSE(copy->MustBeSavedInRoot());
  EXPECT_TRUE(copy->GetCoordinateSystem() == repository->GetSystemUI());
  EXPECT_EQ(copy->GetParent(), nullptr);
  EXPECT_EQ(copy->GetNumChildren(false), 0u);

  Node other("other");
  other.CopyFrom(*original);
  EXPECT_STREQ(other.GetLabel(), L"other");
  EXPECT_EQ(other.GetPriority(), 4);
  EXPECT_FALSE(other.IsVisible(3));
  EXPECT_TRUE(other.GetCoordinateSystem() == repository->GetSystemUI());
}

// A document that keeps the objects the operations add, as a database would.
class KeepingDocument : public TestDocument {
 public:
  ~KeepingDocument() override {
    for (IObject* object : added) delete object;
  }
  std::vector<IObject*> added;

 protected:
  bool _DoOperation(MOperation* op) override {
    if (op->GetAction() == MOperation::ACTION_ADD)
      for (IObject* object : op->GetObjectList()) added.push_back(object);
    return TestDocument::_DoOperation(op);
  }
};

// The document makes the application's repository itself.
TEST(UIObjectOperations, ChangeTheLabelSendACloneOrLeaveTheDefiningSubjects) {
  KeepingDocument document;
  Node node("node");
  MOperation relabel;
  relabel.ChangeLabel(L"renamed");
  EXPECT_TRUE(node.DoOperation(relabel));
  EXPECT_STREQ(node.GetLabel(), L"renamed");

  MOperation copy(MOperation::ACTION_COPY);
  EXPECT_TRUE(node.DoOperation(copy));
  ASSERT_EQ(document.added.size(), 1u) << "the clone went to the document as an operation of its own";
  auto* clone = dynamic_cast<Node*>(document.added[0]);
  ASSERT_NE(clone, nullptr);
  EXPECT_STREQ(clone->GetLabel(), L"renamed");

  // Removal: no longer an observer of what defines it, though the definition stays for undo.
  Node definer("definer");
  node.AttachDefiningObject(&definer);
  definer.Attach(&node);
  ASSERT_EQ(definer.GetNumberOfObservers(), 1u);
  MOperation remove(MOperation::ACTION_REMOVE);
  EXPECT_TRUE(node.DoOperation(remove));
  EXPECT_EQ(definer.GetNumberOfObservers(), 0u);
  EXPECT_EQ(node.GetNumberOfDefiningObjects(), 1u);
  EXPECT_EQ(node.destroyed_optimisations, 1);
  EXPECT_TRUE(node.DoOperation(*std::make_unique<MOperation>(MOperation::ACTION_REFRESH))) << "others: nothing, true";
  node.DetachAllDefiningObjects();
}

// ---- undo state ----

// A file of the test's own, written and read back as the undo streams do.
class StateFile {
 public:
  StateFile() { EXPECT_TRUE(m_name.SET_TEMP_NAME(nullptr, L"ostrum-tree-state-", L".bin")); }
  ~StateFile() { m_name.REMOVE(); }
  template <typename Writer>
  void Write(Writer write) {
    MFile file;
    ASSERT_TRUE(file.OPEN_WRITE(m_name));
    MStreamUndoOut out(&file);
    write(out);
    ASSERT_TRUE(file.CLOSE());
  }
  template <typename Reader>
  void Read(Reader read) {
    MFile file;
    ASSERT_TRUE(file.OPEN_READ(m_name));
    MStreamUndoIn in(&file);
    read(in);
    EXPECT_FALSE(file.HAS_SHORT_READ()) << "read more than was written";
    char extra;
    EXPECT_EQ(file.READ(&extra, 1), 0u) << "read less than was written";
  }
  std::int64_t Size() const { return m_name.FILE_SIZE(); }

 private:
  MFileName m_name;
};

TEST(UIObjectState, SavesLabelPriorityAndVisibilityAndTheLabelOnlyForARelabel) {
  Node saved("screw 1", nullptr, 7);
  saved.SetVisible(false, 3);
  saved.SetVisible(true, 0x1234);
  StateFile file;
  file.Write([&](MStreamUndoOut& out) { saved.SaveState(out); });
  // label (2 + 14), priority 4, count 4, three instances of 4 + 2
  EXPECT_EQ(file.Size(), 16 + 4 + 4 + 3 * 6);
  Node loaded("other", nullptr, 1);
  loaded.SetVisible(true, 99);
  file.Read([&](MStreamUndoIn& in) { loaded.LoadState(in); });
  EXPECT_STREQ(loaded.GetLabel(), L"screw 1");
  EXPECT_EQ(loaded.GetPriority(), 7);
  EXPECT_FALSE(loaded.IsVisible(99)) << "the instances were emptied first";
  EXPECT_FALSE(loaded.IsVisible(3));
  EXPECT_TRUE(loaded.IsVisible(0x1234));
  EXPECT_TRUE(loaded.IsVisible(kDefault));

  MOperation relabel;
  relabel.ChangeLabel(L"x");
  StateFile label_only;
  label_only.Write([&](MStreamUndoOut& out) { saved.SaveState(&relabel, out); });
  EXPECT_EQ(label_only.Size(), 16);
  Node other("other", nullptr, 2);
  label_only.Read([&](MStreamUndoIn& in) { other.LoadState(&relabel, in); });
  EXPECT_STREQ(other.GetLabel(), L"screw 1");
  EXPECT_EQ(other.GetPriority(), 2) << "nothing but the label";
}

// The shape of a tree: each node with its parent, in pre-order.
Names Shape(UIObject& root) {
  Names shape;
  for (auto it = root.Begin(); it != root.End(); ++it)
    shape.push_back(Narrow(it->GetLabel()) + "<" + Narrow(it->GetParent()->GetLabel()));
  return shape;
}

TEST(UIObjectState, AHierarchySavedLoadsBackAfterTheTreeWasRearranged) {
  Forest forest;
  forest.Random(60, 11);
  const Names saved_shape = Shape(forest.root);
  StateFile file;
  file.Write([&](MStreamUndoOut& out) { forest.root.SaveStateHierarchy(out); });
  EXPECT_EQ(file.Size(), static_cast<std::int64_t>(4 * (forest.nodes.size() + 1) + 8 * forest.nodes.size()));

  // Rearranged: moves, subtrees out of the tree. (The priorities stay: they are the objects'
  // own state, which their SaveState carries, and loading sorts by them.)
  std::mt19937 random(5);
  for (int i = 0; i < 40; ++i) {
    Node* node = forest.nodes[random() % forest.nodes.size()];
    Node* parent = forest.nodes[random() % forest.nodes.size()];
    node->MoveToParent(i % 7 == 0 ? nullptr : parent);
  }
  ASSERT_NE(Shape(forest.root), saved_shape);
  // The database clears the parents first; then the root reads the hierarchy back.
  for (Node* node : forest.nodes) node->MoveToParent(nullptr);
  file.Read([&](MStreamUndoIn& in) { forest.root.LoadStateHierarchy(in); });
  EXPECT_EQ(Shape(forest.root), saved_shape);
}

// ---- render walks ----

struct RenderWalks : WithRepository {
  // "text" calls in order: what was drawn.
  Names Drawn() const {
    Names names;
    for (const auto& call : renderer.GetCalls("DrawText")) names.push_back(Narrow(call.text.c_str()));
    return names;
  }
  Ostrum::RecordingRender renderer;
};

TEST_F(RenderWalks, ByCoordinateSystemHighestPriorityFirstSkippingHiddenSubtrees) {
  Forest forest;
  Node* a = forest.Add("a", nullptr, 1);
  forest.Add("a1", a);
  Node* b = forest.Add("b", nullptr, 5);
  forest.Add("b1", b);
  Node* hidden = forest.Add("hidden", nullptr, 3);
  forest.Add("under hidden", hidden);
  hidden->SetVisible(false, kDefault);
  // The base class's walk from the root (the root itself draws nothing).
  forest.root.UIObject::Render(renderer, repository->GetSystemMm());
  EXPECT_EQ(Drawn(), (Names{"b", "b1", "a", "a1"}));
  renderer.Clear();
  forest.root.UIObject::RenderFast(renderer, repository->GetSystemMm());
  EXPECT_EQ(Drawn(), (Names{"fast b", "fast b1", "fast a", "fast a1"}));

  // Every object, visible or not, frees its buffers.
  EXPECT_EQ(renderer.GetLiveBufferCount(), 4u);
  forest.root.DestroyRenderOptimisations();
  EXPECT_EQ(renderer.GetLiveBufferCount(), 0u);
  for (Node* node : forest.nodes) EXPECT_EQ(node->destroyed_optimisations, 1) << node->Name();
}

TEST_F(RenderWalks, EachObjectDrawsWithItsSystemToTheMillimetreSystemAsModelTransform) {
  Forest forest;
  Node* moved = forest.Add("moved", nullptr);
  MMTransformMatrix shift;
  shift.MakeTranslation(10, 20, 30);
  moved->SetCoordinateSystem(repository->CreateNewSystem(shift, repository->GetSystemMm()));
  Node* inch = forest.Add("inch", moved);
  inch->SetCoordinateSystem(repository->GetSystemUI());
  forest.root.UIObject::Render(renderer, repository->GetSystemMm());
  const auto transforms = renderer.GetCalls("SetModelTransform");
  ASSERT_EQ(transforms.size(), 2u);
  auto expect = [&](const MCoordinateSystem& system, const std::vector<double>& got) {
    double e[16];
    repository->GetTransform(system, repository->GetSystemMm()).ConvertDouble16(e);
    for (int i = 0; i < 16; ++i) EXPECT_FLOAT_EQ(static_cast<float>(got[static_cast<size_t>(i)]), static_cast<float>(e[i])) << i;
  };
  expect(moved->GetCoordinateSystem(), transforms[0].numbers);
  expect(inch->GetCoordinateSystem(), transforms[1].numbers);
  EXPECT_EQ(transforms[0].numbers[3], 10) << "the translation stands in the last column, row by row";
}

}  // namespace
