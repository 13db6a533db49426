#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <new>
#include <string>
#include <vector>

#include "AllocationCount.h"
#include "ostrum/objects/IObserver.h"
#include "ostrum/objects/MSubject.h"
#include "ostrum/operations/MOperation.h"
#include "support/CallLog.h"
#include "support/TestObjects.h"

namespace {

using Calls = std::vector<std::string>;

// A subject that logs every Detach it is asked for, so that a link surviving where it should
// not shows up as a call.
class RecordingSubject : public MSubject {
 public:
  RecordingSubject(std::string name, CallLog* log) : m_name(std::move(name)), m_log(log) {}
  void Detach(IObserver* observer) override {
    LogCall(m_log, m_name + ".Detach");
    MSubject::Detach(observer);
  }

 private:
  std::string m_name;
  CallLog* m_log;
};

// Orders two heap observers by address, the order in which a subject delivers to them.
std::pair<RecordingObserver*, RecordingObserver*> NewObserverPair(CallLog& log) {
  auto* x = new RecordingObserver;
  auto* y = new RecordingObserver;
  if (y < x) std::swap(x, y);
  x->SetName("first", &log);
  y->SetName("second", &log);
  return {x, y};
}

TEST(MSubject, AttachTwiceDetachOnceLeavesNoLink) {
  CallLog log;
  RecordingSubject subject("subject", &log);
  auto* observer = new RecordingObserver("observer", &log);
  subject.Attach(observer);
  subject.Attach(observer);
  EXPECT_EQ(subject.GetNumberOfObservers(), 1u);
  subject.Detach(observer);
  EXPECT_EQ(subject.GetNumberOfObservers(), 0u);
  subject.Notify(MOperation());
  log.Clear();
  delete observer;
  EXPECT_EQ(log.Entries(), Calls{"observer.~"}) << "the observer's death reached the subject; " << log;
}

TEST(MSubject, ObserverDeathUnlinksItFromEverySubjectAndFreesEmptySets) {
  CallLog log;
  RecordingSubject one("one", &log);
  RecordingSubject two("two", &log);
  RecordingObserver stays("stays", &log);
  two.Attach(&stays);
  log.Add("start");  // the log's own buffer, taken before the count starts
  const auto live = AllocationCount::Live();

  auto* dying = new RecordingObserver("dying", &log);
  one.Attach(dying);
  two.Attach(dying);
  EXPECT_EQ(two.GetNumberOfObservers(), 2u);
  log.Clear();
  delete dying;
  EXPECT_EQ(log.Count("one.Detach"), 1u) << log;
  EXPECT_EQ(log.Count("two.Detach"), 1u) << log;
  EXPECT_EQ(one.GetNumberOfObservers(), 0u);
  EXPECT_EQ(two.GetNumberOfObservers(), 1u);
  EXPECT_EQ(AllocationCount::Live(), live) << "the set of 'one' or a link was not freed";

  log.Clear();
  two.Notify(MOperation());
  EXPECT_EQ(log.Entries(), Calls{"stays.Update"}) << log;
  two.Detach(&stays);
  EXPECT_EQ(two.GetNumberOfObservers(), 0u);
}

TEST(MSubject, DeathTellsEachObserverOnceAndTheObserversLaterDeathDoesNotReachIt) {
  CallLog log;
  auto* observer = new RecordingObserver("observer", &log);
  const MSubject* told = nullptr;
  observer->on_subject_destroyed = [&told](const MSubject* subject) { told = subject; };

  // The subject lives in storage of the test's own, so that a new subject can take its
  // address: a link left behind by the dead one would then call the new one.
  alignas(RecordingSubject) unsigned char storage[sizeof(RecordingSubject)];
  auto* subject = new (storage) RecordingSubject("dead", &log);
  subject->Attach(observer);
  subject->Attach(observer);
  subject->~RecordingSubject();
  EXPECT_EQ(log.Entries(), Calls{"observer.OnSubjectDestroyed"}) << log;
  EXPECT_EQ(told, subject);

  auto* successor = new (storage) RecordingSubject("successor", &log);
  log.Clear();
  delete observer;
  EXPECT_EQ(log.Entries(), Calls{"observer.~"}) << "a dead subject was reached; " << log;
  EXPECT_EQ(successor->GetNumberOfObservers(), 0u);
  successor->~RecordingSubject();
}

TEST(MSubject, TreeObjectMayDieFirstOnEitherSideOfALink) {
  CallLog log;
  TestObject watched("watched", &log);
  RecordingObserver watcher("watcher", &log);
  auto* middle = new TestObject("middle", &log);
  watched.Attach(middle->AsObserver());
  middle->Attach(&watcher);
  delete middle;
  EXPECT_EQ(log.Entries(), (Calls{"middle.~", "watcher.OnSubjectDestroyed"})) << log;
  EXPECT_EQ(watched.GetNumberOfObservers(), 0u);
  log.Clear();
  watched.Notify(MOperation());
  EXPECT_TRUE(log.Entries().empty()) << log;
}

TEST(MSubject, NotifyDeliversInAscendingPointerOrder) {
  CallLog log;
  std::array<RecordingObserver, 4> observers;  // an array: addresses ascend with the index
  for (size_t i = 0; i < observers.size(); ++i) observers[i].SetName("o" + std::to_string(i), &log);
  MSubject subject;
  for (size_t i : {2, 0, 3, 1}) subject.Attach(&observers[i]);
  subject.Notify(MOperation());
  EXPECT_EQ(log.Entries(), (Calls{"o0.Update", "o1.Update", "o2.Update", "o3.Update"})) << log;
  subject.DetachAll();
  EXPECT_EQ(subject.GetNumberOfObservers(), 0u);
}

TEST(MSubject, NotifyWalksACopyWhileObserversDetachAndAttach) {
  CallLog log;
  std::array<RecordingObserver, 4> observers;
  for (size_t i = 0; i < observers.size(); ++i) observers[i].SetName("o" + std::to_string(i), &log);
  RecordingObserver late("late", &log);
  MSubject subject;
  for (RecordingObserver& observer : observers) subject.Attach(&observer);
  // o0 detaches itself and o2, which is still ahead in the walk, and attaches a newcomer.
  observers[0].on_update = [&](const MOperation&) {
    subject.Detach(&observers[0]);
    subject.Detach(&observers[2]);
    subject.Attach(&late);
  };
  subject.Notify(MOperation());
  EXPECT_EQ(log.Entries(), (Calls{"o0.Update", "o1.Update", "o2.Update", "o3.Update"})) << log;
  EXPECT_EQ(subject.GetNumberOfObservers(), 3u);

  log.Clear();
  subject.Notify(MOperation());
  EXPECT_EQ(log.Count("late.Update"), 1u) << log;
  EXPECT_EQ(log.Count("o0.Update") + log.Count("o2.Update"), 0u) << log;
  EXPECT_EQ(log.Entries().size(), 3u) << log;
  subject.DetachAll();
}

TEST(ObserverWalk, ObserverDestroyedDuringNotifyIsSkippedAlsoFromANestedWalk) {
  CallLog log;
  MOperation operation;
  {
    // The first observer's Update destroys the second, which comes later in the walk.
    auto [first, second] = NewObserverPair(log);
    MSubject subject;
    subject.Attach(first);
    subject.Attach(second);
    first->on_update = [second = second](const MOperation&) { delete second; };
    subject.Notify(operation);
    EXPECT_EQ(log.Entries(), (Calls{"first.Update", "second.~"})) << log;
    EXPECT_EQ(subject.GetNumberOfObservers(), 1u);
    delete first;
  }
  log.Clear();
  {
    // The death happens inside a walk of another subject that the first observer starts.
    auto [first, second] = NewObserverPair(log);
    MSubject outer;
    outer.Attach(first);
    outer.Attach(second);
    RecordingObserver killer("killer", &log);
    killer.on_update = [second = second](const MOperation&) { delete second; };
    MSubject inner;
    inner.Attach(&killer);
    first->on_update = [&inner](const MOperation& op) { inner.Notify(op); };
    outer.Notify(operation);
    EXPECT_EQ(log.Entries(), (Calls{"first.Update", "killer.Update", "second.~"})) << log;
    delete first;
    EXPECT_EQ(outer.GetNumberOfObservers(), 0u);
  }
}

TEST(ObserverWalk, SubjectDestroyedByAnObserverDuringNotify) {
  CallLog log;
  auto [first, second] = NewObserverPair(log);
  auto* subject = new MSubject;
  subject->Attach(first);
  subject->Attach(second);
  first->on_update = [subject](const MOperation&) { delete subject; };
  subject->Notify(MOperation());
  EXPECT_EQ(log.Count("first.OnSubjectDestroyed"), 1u) << log;
  EXPECT_EQ(log.Count("second.OnSubjectDestroyed"), 1u) << log;
  delete first;
  delete second;
  EXPECT_EQ(log.Count("first.~") + log.Count("second.~"), 2u) << log;
}

TEST(MSubject, CopiesStartUnlinked) {
  CallLog log;
  RecordingSubject subject("subject", &log);
  RecordingObserver observer("observer", &log);
  subject.Attach(&observer);
  {
    MSubject copy(subject);
    EXPECT_EQ(copy.GetNumberOfObservers(), 0u);
    RecordingObserver observer_copy(observer);
    observer_copy.SetName("copy", &log);
    RecordingSubject assigned("assigned", &log);
    assigned = subject;
    EXPECT_EQ(assigned.GetNumberOfObservers(), 0u);
  }
  // Neither the subject copies' deaths nor the observer copy's reached anybody.
  EXPECT_EQ(log.Entries(), Calls{"copy.~"}) << log;
  EXPECT_EQ(subject.GetNumberOfObservers(), 1u);
}

TEST(MSubject, CostsNoAllocationUntilTheFirstObserverAndNotifyNone) {
  const MOperation operation;
  const auto live = AllocationCount::Live();
  {
    MSubject subject;
    IObserver observer;
    subject.Notify(operation);
    subject.Detach(&observer);
    subject.DetachAll();
    EXPECT_EQ(AllocationCount::Live(), live);
  }
  std::array<IObserver, 3> observers;
  MSubject subject;
  for (IObserver& observer : observers) subject.Attach(&observer);
  const auto total = AllocationCount::Total();
  subject.Notify(operation);
  EXPECT_EQ(AllocationCount::Total(), total) << "Notify allocated for three observers";
  for (IObserver& observer : observers) subject.Detach(&observer);
  EXPECT_EQ(AllocationCount::Live(), live) << "the last Detach left the set or a link behind";
}

}  // namespace
