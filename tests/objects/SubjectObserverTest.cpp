#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <new>
#include <optional>

#include "ostrum/objects/MSubject.h"
#include "ostrum/operations/MOperation.h"
#include "support/TestObjects.h"

namespace {

// A tree object dies on both sides of its links: it leaves each subject it observes, once, and
// tells its own observers.
TEST(MSubject, ObserverDeathUnlinksItOnceFromEverySubject) {
  CallLog log;
  TestObject one("one", &log), two("two", &log), stays("stays", &log), watcher("watcher", &log);
  auto* dying = new TestObject("dying", &log);
  one.Attach(dying);
  one.Attach(dying);  // held once
  two.Attach(dying);
  two.Attach(&stays);
  dying->Attach(&watcher);
  delete dying;
  std::ranges::sort(log);
  EXPECT_EQ(log, (Calls{"dying.~", "one.Detach", "two.Detach", "watcher.OnSubjectDestroyed"}));
  EXPECT_EQ(one.GetNumberOfObservers(), 0u);
  log.clear();
  two.Notify(MOperation());
  EXPECT_EQ(log, Calls{"stays.Update"});
}

TEST(MSubject, DeathTellsEachObserverOnceAndLeavesNoLinkBehind) {
  CallLog log;
  auto* observer = new TestObject("observer", &log);
  auto* detached = new TestObject("detached", &log);
  // The subject lives in storage of the test's own, so that a successor can take its address: a
  // link left behind by the dead one would then reach the successor.
  alignas(TestObject) unsigned char storage[sizeof(TestObject)];
  auto* subject = new (storage) TestObject("dead", &log);
  subject->Attach(observer);
  subject->Attach(observer);
  subject->Attach(detached);
  subject->Detach(detached);
  log.clear();
  subject->~TestObject();
  EXPECT_EQ(log, (Calls{"dead.~", "observer.OnSubjectDestroyed"}));
  EXPECT_EQ(observer->dead_subject, subject);

  auto* successor = new (storage) TestObject("successor", &log);
  log.clear();
  delete observer;
  delete detached;
  EXPECT_EQ(log, (Calls{"observer.~", "detached.~"})) << "a dead subject was reached";
  successor->~TestObject();
}

// Notify walks a copy of the set, which the walk's own calls change under it. Observers sit in
// an array, so that their addresses, and the order of delivery, ascend with the index.
TEST(ObserverWalk, ObserverDestroyedDuringNotifyIsSkippedAlsoFromANestedWalk) {
  for (bool nested : {false, true}) {
    SCOPED_TRACE(nested ? "nested" : "direct");
    CallLog log;
    std::array<std::optional<TestObject>, 2> o;
    o[0].emplace("first", &log);
    o[1].emplace("second", &log);
    MSubject outer, inner;
    outer.Attach(&*o[0]);
    outer.Attach(&*o[1]);
    // Directly, or inside the walk of another subject that the first observer starts.
    TestObject killer("killer", &log);
    killer.on_update = o[0]->on_update = [&o](const MOperation&) { o[1].reset(); };
    inner.Attach(&killer);
    if (nested) o[0]->on_update = [&inner](const MOperation& op) { inner.Notify(op); };
    outer.Notify(MOperation());
    EXPECT_EQ(log, nested ? (Calls{"first.Update", "killer.Update", "second.~"}) : (Calls{"first.Update", "second.~"}));
    EXPECT_EQ(outer.GetNumberOfObservers(), 1u);
  }
}

TEST(ObserverWalk, SubjectDestroyedByAnObserverDuringNotify) {
  CallLog log;
  std::array<std::optional<TestObject>, 2> o;
  o[0].emplace("first", &log);
  o[1].emplace("second", &log);
  auto* subject = new MSubject;
  subject->Attach(&*o[0]);
  subject->Attach(&*o[1]);
  o[0]->on_update = [subject](const MOperation&) { delete subject; };
  subject->Notify(MOperation());
  // The walk goes on over its copy: the second observer, alive, still hears the operation after
  // it heard of the subject's death, and nothing touches the dead subject.
  EXPECT_EQ(log, (Calls{"first.Update", "first.OnSubjectDestroyed", "second.OnSubjectDestroyed", "second.Update"}));
}

}  // namespace
