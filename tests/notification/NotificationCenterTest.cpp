// The center's rules that a random program cannot show: delivery by the exact type, the forms of
// removal a host writes (also for an observer that is a subject itself, or a dead subject's
// filter), many types at once, and another center left alone when one dies in a delivery. What
// changes to the registry during deliveries, nested or not, do is held against the reference
// model of NotificationCenterModelTest after every move of long random programs.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "ostrum/notification/NotificationCenter.h"
#include "support/CallLog.h"

namespace {

using Ostrum::NotificationCenter;
using Ref = NotificationCenter::_ObserverRef;

struct Ping {};
struct Pong {};
struct LoudPing : Ping {};  // a type of its own: observers of Ping do not hear it

class Sender : public NotificationCenter::ISubject {};

// Logs its name for each call, then runs, once, what the test gave it for that type.
struct Watcher {
  Watcher(std::string name = "", CallLog* log = nullptr) : name(std::move(name)), log(log) {}

  std::string name;
  CallLog* log;
  std::function<void()> on_ping, on_pong;

  void OnPing(Ping const&) { Run(name, on_ping); }
  void OnPong(Pong const&) { Run(name + ".pong", on_pong); }
  void OnLoud(LoudPing const&) { Run(name + ".loud", on_ping); }

 private:
  void Run(std::string entry, std::function<void()>& action) {
    LogCall(log, std::move(entry));
    if (!action) return;
    std::exchange(action, nullptr)();
  }
};

// An observer that can also send: a bare pointer to it means the subject in a removal.
struct SubjectWatcher : Sender, Watcher {};

Calls Deliver(NotificationCenter& center, CallLog& log, NotificationCenter::ISubject const* from = nullptr) {
  log.clear();
  center.NotifyObservers(from, Ping());
  return log;
}

TEST(NotificationCenter, DeliversByExactTypeAndSubjectFilterInOrderOfAdding) {
  CallLog log;
  NotificationCenter center;
  Sender s, t;
  Watcher a{"a", &log}, b{"b", &log}, c{"c", &log}, d{"d", &log}, loud{"loud", &log};
  center.AddObserver(&d, &Watcher::OnPing);
  center.AddObserver(&a, &Watcher::OnPing, &s);
  center.AddObserver(&b, &Watcher::OnPing, &t);
  center.AddObserver(&c, &Watcher::OnPong, &s);
  center.AddObserver(&d, &Watcher::OnPing);  // twice: called twice
  center.AddObserver(&loud, &Watcher::OnLoud);
  center.AddObserver(static_cast<Watcher*>(nullptr), &Watcher::OnPing);  // adds nothing

  struct Row {
    NotificationCenter::ISubject const* from;
    Calls expected;
  } const rows[] = {
      {&s, {"d", "a", "d"}},
      {&t, {"d", "b", "d"}},
      {nullptr, {"d", "d"}},
  };
  for (Row const& row : rows) EXPECT_EQ(Deliver(center, log, row.from), row.expected);

  log.clear();
  center.NotifyObservers(&s, LoudPing());
  center.NotifyObservers(&s, Pong());
  EXPECT_EQ(log, (Calls{"loud.loud", "c.pong"}));
}

// Many types, each observed by its own counter: each notification reaches its own only, also
// after the center has grown its look-up of types and after lists have come and gone.
template <int N>
struct Numbered {};
struct Tally {
  int heard[64] = {};
  template <int N>
  void On(Numbered<N> const&) { ++heard[N]; }
};

template <int... N>
void AddAndNotifyEach(NotificationCenter& center, Tally& tally, std::integer_sequence<int, N...>) {
  (center.AddObserver(&tally, &Tally::On<N>), ...);
  (center.NotifyObservers(nullptr, Numbered<N>()), ...);
  (center.RemoveObservers<Numbered<N>>(), ...);
  (center.NotifyObservers(nullptr, Numbered<N>()), ...);
  (center.AddObserver(&tally, &Tally::On<N>), ...);
  (center.NotifyObservers(nullptr, Numbered<N>()), ...);
}

TEST(NotificationCenter, ManyTypesEachReachOnlyTheirOwnObservers) {
  NotificationCenter center;
  Tally tally;
  AddAndNotifyEach(center, tally, std::make_integer_sequence<int, 64>());
  for (int n = 0; n < 64; ++n) EXPECT_EQ(tally.heard[n], 2) << "type " << n;
}

// The center dies inside one of its own deliveries, directly or from a nested one that has
// observers waiting to be added: no later observer is called, and nothing touches the freed
// center (the sanitizer build checks the memory, the leak checker the waiting entries).
TEST(NotificationCenter, DestroyedByAnObserverEndsEveryDeliveryOnIt) {
  for (bool nested : {false, true}) {
    SCOPED_TRACE(nested ? "from a nested delivery" : "directly");
    CallLog log;
    auto center = std::make_unique<NotificationCenter>();
    NotificationCenter other;
    Watcher w0{"w0", &log}, w1{"w1", &log}, w2{"w2", &log}, q0{"q0", &log}, late{"late", &log};
    center->AddObserver(&w0, &Watcher::OnPing);
    center->AddObserver(&w1, &Watcher::OnPing);
    center->AddObserver(&w2, &Watcher::OnPing);
    center->AddObserver(&q0, &Watcher::OnPong);
    other.AddObserver(&w2, &Watcher::OnPing);
    auto destroy = [&] {
      center->AddObserver(&late, &Watcher::OnPing);
      center.reset();
    };
    if (nested) {
      w1.on_ping = [&] { center->NotifyObservers(nullptr, Pong()); };
      q0.on_pong = destroy;
    } else {
      w1.on_ping = destroy;
    }
    center->NotifyObservers(nullptr, Ping());
    EXPECT_EQ(log, nested ? (Calls{"w0", "w1", "q0.pong"}) : (Calls{"w0", "w1"}));
    EXPECT_EQ(center, nullptr);
    log.clear();
    other.NotifyObservers(nullptr, Ping());
    EXPECT_EQ(log, Calls{"w2"}) << "another center is not affected";
  }
}

// Removals by subject filter, by observer and by both, also for an observer that is a subject
// itself and for a filter whose subject has died: the center never looks at a subject, it
// compares addresses. Each row shows, after its removal, the deliveries of Ping and Pong from s,
// of Pong from the subject observer, of Ping from the dead subject's address and from nobody.
TEST(NotificationCenter, RemovalBySubjectFilterObserverOrTypeRemovesOnlyWhatMatches) {
  using Subject = NotificationCenter::ISubject const*;
  struct Row {
    char const* removal;
    std::function<void(NotificationCenter&, Subject s, Subject dead, Watcher* w, SubjectWatcher& self)> act;
    char const* expected;
  } const rows[] = {
      {"nothing", [](auto&, auto, auto, auto, auto&) {},
       "a b self | a.pong self.pong | self.pong b.pong | b b self | b self |"},
      {"filter s", [](auto& c, auto s, auto, auto, auto&) { c.RemoveObservers(s); },
       "b self | self.pong | self.pong b.pong | b b self | b self |"},
      {"filter null", [](auto& c, auto, auto, auto, auto&) { c.RemoveObservers(nullptr); },
       "a | a.pong | b.pong | b | |"},
      {"the dead subject's filter", [](auto& c, auto, auto dead, auto, auto&) { c.RemoveObservers(dead); },
       "a b self | a.pong self.pong | self.pong b.pong | b self | b self |"},
      {"Ping with filter s", [](auto& c, auto s, auto, auto, auto&) { c.template RemoveObservers<Ping>(nullptr, s); },
       "b self | a.pong self.pong | self.pong b.pong | b b self | b self |"},
      {"observer b", [](auto& c, auto, auto, Watcher* w, auto&) { c.RemoveObservers(&w[1]); },
       "a self | a.pong self.pong | self.pong | self | self |"},
      {"observer b with filter null", [](auto& c, auto, auto, Watcher* w, auto&) { c.RemoveObservers(&w[1], nullptr); },
       "a self | a.pong self.pong | self.pong b.pong | b self | self |"},
      {"the subject observer as a subject", [](auto& c, auto, auto, auto, auto& self) { c.RemoveObservers(&self); },
       "a b self | a.pong self.pong | self.pong | b b self | b self |"},
      {"the subject observer as an observer", [](auto& c, auto, auto, auto, auto& self) { c.RemoveObservers(Ref(&self)); },
       "a b | a.pong | b.pong | b b | b |"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.removal);
    CallLog log;
    NotificationCenter center;
    Sender s;
    auto dying = std::make_unique<Sender>();
    Subject const dead = dying.get();
    Watcher w[2] = {{"a", &log}, {"b", &log}};
    SubjectWatcher self;
    self.name = "self";
    self.log = &log;
    center.AddObserver(&w[0], &Watcher::OnPing, &s);
    center.AddObserver(&w[1], &Watcher::OnPing);
    center.AddObserver(&w[0], &Watcher::OnPong, &s);
    center.AddObserver(&w[1], &Watcher::OnPing, dead);
    center.AddObserver(&self, &Watcher::OnPing);
    center.AddObserver(&self, &Watcher::OnPong);
    center.AddObserver(&w[1], &Watcher::OnPong, &self);
    dying.reset();  // its entry stays, and only its address reaches it

    row.act(center, &s, dead, w, self);
    log.clear();
    auto step = [&](auto send) {
      send();
      log.push_back("|");
    };
    step([&] { center.NotifyObservers(&s, Ping()); });
    step([&] { center.NotifyObservers(&s, Pong()); });
    step([&] { center.NotifyObservers(&self, Pong()); });
    step([&] { center.NotifyObservers(dead, Ping()); });
    step([&] { center.NotifyObservers(nullptr, Ping()); });
    std::string seen;
    for (std::string const& entry : log) seen += (seen.empty() ? "" : " ") + entry;
    EXPECT_EQ(seen, row.expected);
  }
}

}  // namespace
