// The object database as a host meets it through its document: the ways an object leaves the
// document (removed by an operation, retracted by the host, deleted by an operation, recycled at
// the end of every operation), with undo and redo, and what each leaves of the registry, the
// tree and the selection; the selection and the deselect-all operation with example objects; the
// registry's order; the tree's state written to and read from the undo files.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "ostrum/database/MDataBase.h"
#include "ostrum/database/MObjectList.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/scene/MSceneEx.h"
#include "ostrum/undo/MStreamUndo.h"
#include "support/DatabaseHost.h"
#include "support/TestObjects.h"

namespace {

using namespace db_test;

constexpr uint32_t kAdd = MOperation::ACTION_ADD, kRemove = MOperation::ACTION_REMOVE,
                   kDelete = MOperation::ACTION_DELETE, kSelect = UIOperation::ACTION_SELECT,
                   kDeselectAll = UIOperation::ACTION_DESELECT_ALL;

struct ObjectRegistry : DatabaseHost {
  // p(c2 c1) and q, added by two operations; c2 has the higher priority and stands first.
  void AddFamily() {
    p = New("p");
    c1 = New("c1", 1, p);
    c2 = New("c2", 2, p);
    q = New("q");
    ASSERT_TRUE(Do(Op(kAdd, {p})));
    ASSERT_TRUE(Do(Op(kAdd, {q})));
    ASSERT_EQ(Tree(), "p(c2 c1) q");
    ASSERT_EQ(Registry(), "p c2 c1 q | ") << "a subtree becomes live in pre-order";
  }
  Item *p = nullptr, *c1 = nullptr, *c2 = nullptr, *q = nullptr;
};

// What removal, restoring and retraction do to the lists, the tree, the hooks and the history
// is held against a model over long random runs (RegistryModelTest); these are the calls the
// runs never make: on objects in the wrong list, or unknown to the database.
TEST_F(ObjectRegistry, OnlyRemovedObjectsAreRestoredAndOnlyRegisteredOnesRetracted) {
  ASSERT_NO_FATAL_FAILURE(AddFamily());
  EXPECT_FALSE(db.RestoreObject(c1, q)) << "a live object";
  Item stranger("stranger");
  EXPECT_FALSE(db.RestoreObject(&stranger));
  EXPECT_EQ(stranger.GetParent(), nullptr);
  EXPECT_EQ(Tree(), "p(c2 c1) q");
  EXPECT_EQ(c1->restores, 1);

  EXPECT_TRUE(db.RetractObject(c1));
  EXPECT_FALSE(db.RetractObject(c1)) << "unknown now";
  EXPECT_FALSE(db.RetractObject(&stranger));
  EXPECT_EQ(c1->removes, 1) << "told once";
  EXPECT_EQ(Registry(), "p c2 q | ");
  ASSERT_TRUE(Do(Op(kAdd, {c1})));
  EXPECT_EQ(Tree(), "c1 p(c2) q");
}

// A host that deletes objects the history still names, without RemoveAllOperationsForObject
// first: the steps naming them leave the undo and the redo history before the objects die
// (undoing one would reach freed memory), and the other steps still undo and redo.
TEST_F(ObjectRegistry, AHardDeleteTakesTheStepsNamingTheDeadOutOfTheHistory) {
  ASSERT_NO_FATAL_FAILURE(AddFamily());  // steps: add p, add q
  Item* r = New("r");
  ASSERT_TRUE(Do(Op(kAdd, {r})));
  ASSERT_TRUE(doc.UndoOperation());  // "add r" waits in the redo history, r removed
  ASSERT_TRUE(manager().CanRedo());

  ASSERT_TRUE(Do(Op(kDelete, {q, r})));
  EXPECT_EQ(MObjectList::GetGarbageCount(), 0u);
  EXPECT_FALSE(manager().CanRedo()) << "the step adding r went with r";
  EXPECT_EQ(Tree(), "p(c2 c1)");
  ASSERT_TRUE(manager().CanUndo()) << "the step adding p names no dead object";
  ASSERT_TRUE(doc.UndoOperation());
  EXPECT_FALSE(manager().CanUndo()) << "the step adding q went with q";
  EXPECT_EQ(Tree(), "");
  EXPECT_EQ(Registry(), " | p c2 c1");
  ASSERT_TRUE(doc.RedoOperation());
  EXPECT_EQ(Tree(), "p(c2 c1)");

  // Objects deleted outside any operation die at the end of the next one, which takes their
  // steps out the same way; a history naming none of the dead keeps all of its steps.
  ASSERT_TRUE(Do(Op(kSelect, {c1})));
  EXPECT_TRUE(db.DeleteObject(c2));
  ASSERT_TRUE(Do(Op(UIOperation::ACTION_DESELECT)));
  EXPECT_EQ(Tree(), "p(c1)");
  for (int undone = 0; manager().CanUndo(); ++undone) {
    ASSERT_LT(undone, 10);
    ASSERT_TRUE(doc.UndoOperation());
  }
  EXPECT_EQ(Tree(), "") << "adding p, which named only p, is still undone";

  // Deleted inside an operation group, while the history cannot be changed: the steps naming
  // the dead leave it as the group ends, and a group left with nothing leaves the history.
  while (manager().CanRedo()) ASSERT_TRUE(doc.RedoOperation());
  Item* s = New("s");
  Item* t = New("t");
  ASSERT_TRUE(Do(Op(kAdd, {s})));
  long long group = doc.BeginOperationGroup(L"tidy", false);
  ASSERT_NE(group, -1);
  ASSERT_TRUE(Do(Op(kAdd, {t})));
  ASSERT_TRUE(Do(Op(kDelete, {t})));
  EXPECT_EQ(MObjectList::GetGarbageCount(), 0u) << "t died at the end of its operation, as ever";
  ASSERT_TRUE(doc.EndOperationGroup(group));
  ASSERT_NE(manager().GetUndoActionString(), nullptr);
  EXPECT_NE(std::wstring(manager().GetUndoActionString()), L"tidy") << "the group held only the step adding t";
  EXPECT_EQ(Tree(), "p(c1) s");
  ASSERT_TRUE(doc.UndoOperation());
  EXPECT_EQ(Tree(), "p(c1)") << "the step before the group, adding s";
}

TEST_F(ObjectRegistry, DeletedObjectsLiveUntilRecycledAndTheirObserversHearOfItOnce) {
  ASSERT_NO_FATAL_FAILURE(AddFamily());
  TestObject observer("o", &log);
  std::vector<std::pair<uint32_t, bool>> heard;  // action, undoable
  observer.on_update = [&](const MOperation& operation) {
    heard.emplace_back(operation.GetAction(), operation.CanBeUndone());
    EXPECT_EQ(Narrow(c1->GetLabel()), "c1") << "alive while its observers hear of it";
    EXPECT_FALSE(db.IsObjectRegistered(c1));
  };
  c1->Attach(&observer);
  ASSERT_TRUE(Do(Op(kSelect, {c1})));
  doc.RemoveAllOperationsForObject(c1);  // the host lets the history forget it first

  log.clear();
  ASSERT_TRUE(Do(Op(kDelete, {c1})));
  EXPECT_EQ(log, (Calls{"doc._DoOperation", "c1: OnRemove", "doc.DoUpdateUI", "o.Update", "c1: ~",
                        "o.OnSubjectDestroyed"}))
      << "windows see the operation first; the object dies at the end of it";
  EXPECT_EQ(heard, (std::vector<std::pair<uint32_t, bool>>{{kDelete, false}}));
  EXPECT_EQ(Tree(), "p(c2) q");
  EXPECT_EQ(Registry(), "p c2 q | ");
  EXPECT_EQ(Selection(), "");

  // Deleted by the host: it waits in the garbage until the end of the next operation.
  doc.RemoveAllOperationsForObject(q);
  EXPECT_TRUE(db.DeleteObject(q));
  EXPECT_EQ(MObjectList::GetGarbageCount(), 1u);
  EXPECT_EQ(Narrow(q->GetLabel()), "q");
  EXPECT_EQ(Tree(), "p(c2)");
  log.clear();
  ASSERT_TRUE(Do(Op(UIOperation::ACTION_DESELECT)));
  EXPECT_EQ(log, (Calls{"doc._PrepareOperation", "doc._DoOperation", "doc.DoUpdateUI", "q: ~"}));
  log.clear();
  MDataBase::RecycleGarbage();
  EXPECT_TRUE(log.empty()) << "nothing new to recycle";

  // An object already removed is not told again. It leaves its removed parent and the
  // selection; the children of a dead object stand below nothing and stay removed.
  Item* c3 = New("c3");
  ASSERT_TRUE(Do(Op(kAdd, {c3})));
  c3->MoveToParent(p);
  ASSERT_TRUE(Do(Op(kSelect, {c2})));
  ASSERT_TRUE(Do(Op(kRemove, {p})));
  for (Item* item : {p, c2, c3}) doc.RemoveAllOperationsForObject(item);
  log.clear();
  ASSERT_TRUE(Do(Op(kDelete, {c2})));
  EXPECT_EQ(log, (Calls{"doc._DoOperation", "doc.DoUpdateUI", "c2: ~"}));
  EXPECT_EQ(TreeText(*p), "c3");
  EXPECT_EQ(Selection(), "");
  ASSERT_TRUE(Do(Op(kDelete, {p})));
  EXPECT_EQ(Registry(), " | c3");
  EXPECT_TRUE(c3->IsRemoved());
  EXPECT_EQ(c3->GetParent(), nullptr) << "no object points at the dead one";
  EXPECT_FALSE(manager().CanUndo()) << "deletion is no step, and the steps naming the dead are gone";

  // Action 3 leaves an object that is not a tree object alone.
  auto* plain = new MObject;
  ASSERT_TRUE(db.AddObject(plain));
  Do(Op(kDelete, {plain}));
  EXPECT_TRUE(db.IsObjectRegistered(plain) && !db.IsObjectRemoved(plain));
  EXPECT_EQ(MObjectList::GetGarbageCount(), 0u);
}

TEST_F(ObjectRegistry, ObjectsRegisteredAloneAreRemovedUntilAddedAndIndexedAfterTheLiveOnes) {
  ASSERT_NO_FATAL_FAILURE(AddFamily());
  Item* alone = New("alone");
  EXPECT_TRUE(db.RegisterObject(alone));
  EXPECT_TRUE(db.RegisterObject(alone)) << "again: nothing more";
  EXPECT_TRUE(db.IsObjectRegistered(alone) && db.IsObjectRemoved(alone));
  EXPECT_EQ(alone->restores, 0);
  ASSERT_TRUE(Do(Op(kRemove, {c2})));
  EXPECT_EQ(Registry(), "p c1 q | alone c2");

  std::vector<std::string> walked;
  for (size_t i = 0; i < db._GetNumRegisteredObjects(); ++i) walked.push_back(Label(db._GetRegisteredObject(i)));
  EXPECT_EQ(walked, (std::vector<std::string>{"p", "c1", "q", "alone", "c2"}));
  EXPECT_EQ(db._GetRegisteredObject(db.GetNumObjects()), alone) << "the index after the live ones";

  ASSERT_TRUE(db.AddObject(alone));
  EXPECT_EQ(Registry(), "p c1 q alone | c2");
  EXPECT_EQ(Tree(), "p(c1) q alone");
}

TEST_F(ObjectRegistry, SelectionHoldsTreeObjectsOnceInDescendingPriority) {
  Item* low = New("low", -1);
  Item* high = New("high", 2);
  Item* middle = New("middle", 1);
  Item* twin = New("twin", 1);
  ASSERT_TRUE(Do(Op(kAdd, {low, high, middle, twin})));
  const bool could_undo = manager().CanUndo();
  for (Item* item : {middle, low, high, middle, twin}) EXPECT_TRUE(db.AddSelectedObject(item));
  EXPECT_EQ(Selection(), "high middle twin low") << "one entry each; equal priorities in order of arrival";
  EXPECT_TRUE(twin->IsSelected() && db.IsObjectSelected(twin));

  MObject plain;
  EXPECT_TRUE(db.AddSelectedObject(&plain));
  EXPECT_TRUE(db.RemoveSelectedObject(&plain));
  EXPECT_EQ(Selection(), "high middle twin low") << "only tree objects are selected";

  ASSERT_TRUE(Do(Op(UIOperation::ACTION_DESELECT, {middle, middle})));
  EXPECT_TRUE(db.RemoveSelectedObject(middle)) << "also when not selected";
  EXPECT_FALSE(middle->IsSelected());
  EXPECT_EQ(Selection(), "high twin low");
  ASSERT_TRUE(Do(Op(kSelect, {middle})));
  EXPECT_EQ(Selection(), "high twin middle low");
  EXPECT_EQ(manager().CanUndo(), could_undo) << "selecting leaves no step";

  // The list is the host's to change: the questions and the operations follow what it holds.
  UIObjectList& list = db.GetUIObjectListSelected();
  list.RemoveObject(twin);
  list.clear();
  list.push_back(low);
  EXPECT_FALSE(twin->IsSelected() || high->IsSelected());
  EXPECT_TRUE(low->IsSelected());
  ASSERT_TRUE(Do(Op(kSelect, {twin, low})));
  EXPECT_EQ(Selection(), "twin low");

  // A selection too long to search is answered from an index, which follows the list too.
  std::vector<Item*> many;
  for (int i = 0; i < 40; ++i) {
    many.push_back(New("m" + std::to_string(i)));
    ASSERT_TRUE(db.AddObject(many.back()));
    db.AddSelectedObject(many.back());
  }
  EXPECT_TRUE(many[17]->IsSelected() && low->IsSelected());
  db.RemoveSelectedObject(many[17]);
  EXPECT_FALSE(many[17]->IsSelected());
  list.RemoveObject(many[3]);
  EXPECT_FALSE(many[3]->IsSelected());
  list.push_back(middle);
  EXPECT_TRUE(middle->IsSelected() && many[39]->IsSelected());
  list.clear();
  for (Item* item : many) EXPECT_FALSE(item->IsSelected());
}

TEST_F(ObjectRegistry, DeselectAllTakesTheSelectionOrTheSelectedObjectsOfTheExamplesClasses) {
  Item *a = New("a"), *b = New("b");
  Marker *m1 = new Marker("m1"), *m2 = new Marker("m2");
  ASSERT_TRUE(Do(Op(kAdd, {a, m1, b, m2})));
  auto select_all = [&] { ASSERT_TRUE(Do(Op(kSelect, {a, m1, b, m2}))); };

  select_all();
  ASSERT_TRUE(Do(Op(kDeselectAll)));
  EXPECT_EQ(Selection(), "");

  // An example needs to be no member of the document; its class is what counts.
  select_all();
  Marker example("example");
  ASSERT_TRUE(Do(Op(kDeselectAll, {&example})));
  EXPECT_EQ(Selection(), "a b");
  select_all();
  ASSERT_TRUE(Do(Op(kDeselectAll, {a, &example})));
  EXPECT_EQ(Selection(), "") << "every selected object of either example's class";

  // No selected object of an example's class: the operation is refused before anything.
  ASSERT_TRUE(Do(Op(kSelect, {a, b})));
  log.clear();
  EXPECT_FALSE(Do(Op(kDeselectAll, {&example})));
  EXPECT_EQ(log, Calls{"doc._PrepareOperation"}) << "nothing done, no window told";
  EXPECT_EQ(Selection(), "a b");
}

// A host step that hangs an object below another and takes away a scene, undone by the state of
// the whole tree and of which scenes are alive.
class Rearrange : public MOperation {
 public:
  Rearrange(UIObject* object, UIObject* parent, unsigned long long scene)
      : MOperation(9), m_object(object), m_parent(parent), m_scene(scene) {}

 protected:
  bool _DoOperation() override {
    m_object->MoveToParent(m_parent);
    return MDocument::GetDataBase()->RemoveScene(m_scene);
  }
  void _SaveState(MStreamUndoOut& out) override { MDocument::GetDataBase()->SaveStateHierarchy(out); }
  void _LoadState(MStreamUndoIn& in) override { MDocument::GetDataBase()->LoadStateHierarchy(in); }

 private:
  UIObject* m_object;
  UIObject* m_parent;
  unsigned long long m_scene;
};

TEST_F(ObjectRegistry, TheTreeAndTheScenesAliveComeBackFromTheHierarchyState) {
  ASSERT_NO_FATAL_FAILURE(AddFamily());
  Item* gone = New("gone");
  ASSERT_TRUE(Do(Op(kAdd, {gone})));
  ASSERT_TRUE(Do(Op(kRemove, {gone})));
  const unsigned long long scene = db.RegisterScene(L"Plan")->GetSceneID();
  ASSERT_TRUE(Do(Op(kSelect, {c1})));

  ASSERT_TRUE(Do(new Rearrange(c1, q, scene)));
  EXPECT_EQ(Tree(), "p(c2) q(c1)");
  EXPECT_TRUE(db.IsSceneRemoved(scene));

  log.clear();
  ASSERT_TRUE(doc.UndoOperation());
  EXPECT_EQ(Tree(), "p(c2 c1) q");
  EXPECT_EQ(Registry(), "p q c2 c1 | gone") << "every object the tree names is live again, level by level";
  EXPECT_FALSE(db.IsSceneRemoved(scene));
  EXPECT_NE(db.GetScene(scene), nullptr);
  EXPECT_EQ(Selection(), "") << "loading the tree empties the selection";
  EXPECT_EQ(std::count(log.begin(), log.end(), "gone: OnRemove"), 1) << "what stays removed is told again";

  ASSERT_TRUE(doc.RedoOperation());
  EXPECT_EQ(Tree(), "p(c2) q(c1)");
  EXPECT_TRUE(db.IsSceneRemoved(scene));
  EXPECT_EQ(db.GetScene(scene), nullptr);
}

}  // namespace
