#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "ostrum/objects/MObject.h"
#include "ostrum/operations/MOperation.h"
#include "support/TestObjects.h"
#include "support/TestOperation.h"

namespace {

using Calls = std::vector<std::string>;

// The undo streams come with the undo system. The objects here only record which stream they
// were handed, so any address serves as one.
MStreamUndoOut& StandInOut() {
  static char storage;
  return *reinterpret_cast<MStreamUndoOut*>(&storage);
}
MStreamUndoIn& StandInIn() {
  static char storage;
  return *reinterpret_cast<MStreamUndoIn*>(&storage);
}

TEST(MOperationHooks, EveryObjectIsAskedAfterARefusal) {
  CallLog log;
  OperationProbe probe;
  TestObject a("a", &log), b("b", &log);
  a.prepare_answer = false;
  a.do_answer = false;
  TestOperation op("op", probe);
  op.AddObject(&a);
  op.AddObject(&b);
  EXPECT_FALSE(op._PrepareOperation());
  EXPECT_FALSE(op._DoOperation());
  EXPECT_EQ(log.Entries(), (Calls{"a.Prepare", "b.Prepare", "a.Do", "b.Do"})) << log;
  a.prepare_answer = a.do_answer = true;
  EXPECT_TRUE(op._PrepareOperation());
  EXPECT_TRUE(op._DoOperation());
}

TEST(MOperationHooks, SaveStateWritesEachObjectOnceAndLoadStateReadsEachEntry) {
  CallLog log;
  OperationProbe probe;
  TestObject a("a", &log), b("b", &log);
  TestOperation op("op", probe);
  op.GetObjectList() = {&a, &b, &a};  // filled by hand: AddObject would refuse the repeat
  op._SaveState(StandInOut());
  EXPECT_EQ(log.Entries(), (Calls{"a.SaveState(op)", "b.SaveState(op)"})) << log;
  EXPECT_EQ(a.saved_for, &op);
  EXPECT_EQ(a.saved_to, &StandInOut());
  log.Clear();
  op._LoadState(StandInIn());
  EXPECT_EQ(log.Entries(), (Calls{"a.LoadState(op)", "b.LoadState(op)", "a.LoadState(op)"})) << log;
  EXPECT_EQ(b.loaded_for, &op);
}

// Observers in an array, so that their addresses, and so the order in which a subject
// delivers to them, ascend with the index.
template <size_t N>
std::vector<IObserver*> Pick(std::array<RecordingObserver, N>& observers, std::vector<size_t> indices) {
  std::vector<IObserver*> list;
  for (size_t i : indices) list.push_back(&observers[i]);
  return list;
}

TEST(MOperationObservers, ListedOnceInOrderOfFirstSight) {
  std::array<RecordingObserver, 4> o;
  TestObject a("a", nullptr), b("b", nullptr);
  MObject plain;
  for (size_t i : {3, 1}) a.Attach(&o[i]);
  for (size_t i : {2, 1, 0}) b.Attach(&o[i]);
  MOperation op;
  op.AddObject(&a);
  op.AddObject(&plain);  // not a subject
  op.AddObject(&b);

  std::vector<IObserver*> list;
  op.GetObservers(list);
  EXPECT_EQ(list, Pick(o, {1, 3, 0, 2}));

  std::vector<IObserver*> given = Pick(o, {2});
  op.GetObservers(given);
  EXPECT_EQ(given, Pick(o, {2, 1, 3, 0})) << "what the list holds already is not added again";
}

// Past sixteen the search for duplicates changes its method; the result must not change.
TEST(MOperationObservers, ManyObserversStayUniqueAndInOrder) {
  std::array<RecordingObserver, 30> o;
  TestObject a("a", nullptr), b("b", nullptr), c("c", nullptr);
  for (size_t i = 0; i < 10; ++i) a.Attach(&o[i]);
  for (size_t i = 5; i < 20; ++i) b.Attach(&o[i]);
  for (size_t i = 0; i < 30; i += 3) c.Attach(&o[i]);
  c.Attach(&o[29]);
  MOperation op;
  for (TestObject* object : {&a, &b, &c}) op.AddObject(object);

  std::vector<IObserver*> expected;
  for (size_t i = 0; i < 20; ++i) expected.push_back(&o[i]);
  for (size_t i : {21, 24, 27, 29}) expected.push_back(&o[i]);
  std::vector<IObserver*> list;
  op.GetObservers(list);
  EXPECT_EQ(list, expected);

  // A list that holds observers from the start: one seen only after the switch must be
  // recognised as present.
  std::vector<IObserver*> given = Pick(o, {27});
  op.GetObservers(given);
  expected.insert(expected.begin(), &o[27]);
  expected.erase(expected.begin() + 23);
  EXPECT_EQ(given, expected);
}

TEST(MOperationObservers, GetObjectsAddsOneLevelOfObserversThatAreObjects) {
  TestObject a("a", nullptr), b("b", nullptr), c("c", nullptr);
  RecordingObserver plain;
  a.Attach(&plain);
  a.Attach(b.AsObserver());
  b.Attach(c.AsObserver());  // two levels away from a
  MOperation op;
  op.AddObject(&a);
  op.AddObject(&b);
  std::vector<IObject*> list;
  op.GetObjects(list, false);
  EXPECT_EQ(list, (std::vector<IObject*>{&a, &b, &c}));
  op.RemoveObject(&b);
  list.clear();
  op.GetObjects(list, true);
  EXPECT_EQ(list, (std::vector<IObject*>{&a, &b}));
}

TEST(MOperationObservers, StoredDefiningTreeObjectsAreAttachedBackOnRestore) {
  TestObject removed("removed", nullptr), first("first", nullptr), second("second", nullptr);
  TestObject partner("partner", nullptr);
  MDefinedObject not_a_tree_object;
  removed.AttachDefiningObject(&first);
  removed.AttachDefiningObject(&not_a_tree_object);
  removed.AttachDefiningObject(&second);
  MObject plain;
  MOperation op(MOperation::ACTION_REMOVE);
  op.AddObject(&removed);
  op.AddObject(&plain);
  op.StoreObservers();
  op.StoreObservers();  // a second store replaces the first

  op.AddObject(&partner);
  op.RestoreObservers();
  EXPECT_EQ(first.GetNumberOfObservers(), 0u) << "rows no longer match the objects: nothing";

  op.RemoveObject(&partner);
  op.RestoreObservers();
  ASSERT_EQ(first.GetNumberOfObservers(), 1u);
  ASSERT_EQ(second.GetNumberOfObservers(), 1u);
  EXPECT_EQ(*first.GetBeginIt(), removed.AsObserver());
  EXPECT_EQ(*second.GetBeginIt(), removed.AsObserver());
  EXPECT_EQ(removed.GetNumberOfObservers(), 0u);
}

}  // namespace
