// Long random programs of adding, removing and notifying, where every call of an observer may
// itself add, remove, notify (nested), stop the delivery, throw, or destroy the center. The
// center runs each program side by side with a reference model that copies the list for every
// delivery and applies the rules by hand:
//   - a delivery calls the entries that were in the list when it started, in order, skipping
//     those removed since and those whose subject filter does not match;
//   - an entry added during deliveries joins the list when the outermost of them ends, and an
//     entry added and removed meanwhile never joins;
//   - a delivery ends early when its notification says stop, when an observer throws (the
//     exception passes through every delivery to the sender), or when the center is destroyed,
//     which drops every entry, waiting or not.
// The calls of the two are compared after every move; a mismatch prints the program up to it.

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ostrum/notification/NotificationCenter.h"

namespace {

using Ostrum::NotificationCenter;

constexpr int kObservers = 5;
constexpr int kSubjects = 2;
constexpr int kMaxDepth = 3;  // nested notifications beyond this depth are left out, on both sides
constexpr int kNull = -1;     // null observer reference, null sender or null subject filter
constexpr int kAny = -2;      // every type, or every subject filter, in a removal

// Two types: the first can be stopped by an observer, the second cannot.
struct ModelAlpha {
  int serial;
  mutable bool stop = false;
  bool CanContinueDelivery() const { return !stop; }
};
struct ModelBeta {
  int serial;
};

enum class Kind { kNothing, kAdd, kRemove, kNotify, kStop, kThrow, kDestroy };

struct Move {
  Kind kind = Kind::kNothing;
  int observer = kNull;  // 0..kObservers-1 or kNull
  int type = 0;          // 0 or 1, kAny in a removal
  int subject = kNull;   // 0..kSubjects-1, kNull, kAny in a removal
};

std::string Describe(Move const& m) {
  auto n = [](char const* prefix, int v) {
    return v == kAny ? std::string("any") : v == kNull ? std::string("null") : prefix + std::to_string(v);
  };
  std::string const type = m.type == kAny ? "all types" : m.type == 0 ? "Alpha" : "Beta";
  switch (m.kind) {
    case Kind::kAdd: return "add " + n("o", m.observer) + " " + type + " filter " + n("s", m.subject);
    case Kind::kRemove: return "remove " + n("o", m.observer) + " " + type + " filter " + n("s", m.subject);
    case Kind::kNotify: return "notify " + type + " from " + n("s", m.subject);
    case Kind::kStop: return "stop";
    case Kind::kThrow: return "throw";
    case Kind::kDestroy: return "destroy the center";
    default: return "-";
  }
}

struct Program {
  std::vector<Move> moves;      // at the top level
  std::vector<Move> reactions;  // the k-th call of an observer does reactions[k % size]
};

Program MakeProgram(std::mt19937& rng, int length) {
  auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
  auto add = [&] { return Move{Kind::kAdd, pick(kObservers), pick(2), pick(kSubjects + 1) - 1}; };
  auto remove = [&] {
    Move m{Kind::kRemove, pick(kObservers + 1) - 1, pick(3) == 0 ? kAny : pick(2), pick(kSubjects + 2) - 2};
    if (m.observer == kNull && pick(2)) m.observer = pick(kObservers);  // mostly by observer
    return m;
  };
  auto notify = [&] { return Move{Kind::kNotify, kNull, pick(2), pick(kSubjects + 1) - 1}; };
  Program p;
  for (int i = 0; i < length; ++i) {
    int const r = pick(100);
    p.moves.push_back(r < 30 ? add() : r < 52 ? remove() : notify());
  }
  for (int i = 0; i < 4 * length; ++i) {
    int const r = pick(100);
    p.reactions.push_back(r < 52   ? Move{}
                          : r < 68 ? add()
                          : r < 84 ? remove()
                          : r < 89 ? notify()
                          : r < 95 ? Move{Kind::kStop}
                          : r < 98 ? Move{Kind::kThrow}
                                   : Move{Kind::kDestroy});
  }
  return p;
}

struct Thrown {};

// What both sides share: the program, the reactions consumed, the log of calls and the depth of
// notifications in progress.
struct Shared {
  explicit Shared(Program const* p) : program(p) {}

  Program const* program;
  std::size_t next_reaction = 0;
  int depth = 0;
  int serial = 0;
  bool quiet = false;  // the final probe calls observers without reactions
  std::vector<std::string> log;
  int done[7] = {};  // reactions done, by kind
  int nested_calls = 0;

  // Logs the call and hands out its reaction; nested notifications too deep become nothing.
  Move Called(int observer, int type, int serial_number) {
    log.push_back("o" + std::to_string(observer) + (type ? ".beta#" : ".alpha#") + std::to_string(serial_number));
    if (quiet) return Move{};
    Move m = program->reactions[next_reaction++ % program->reactions.size()];
    if (m.kind == Kind::kNotify && depth >= kMaxDepth) m = Move{};
    ++done[static_cast<int>(m.kind)];
    if (depth > 1) ++nested_calls;
    return m;
  }
};

class RealSide {
 public:
  explicit RealSide(Shared& run) : m_run(run) {
    for (int i = 0; i < kObservers; ++i) m_observers[i] = Observer{i, this};
  }

  void Do(Move const& m) {
    switch (m.kind) {
      case Kind::kAdd:
        if (m.type == 0) m_center->AddObserver(&m_observers[m.observer], &Observer::OnAlpha, Subject(m.subject));
        else m_center->AddObserver(&m_observers[m.observer], &Observer::OnBeta, Subject(m.subject));
        break;
      case Kind::kRemove: Remove(m); break;
      case Kind::kNotify: {
        ++m_run.depth;
        struct Leave {
          int& depth;
          ~Leave() { --depth; }
        } const leave{m_run.depth};
        int const serial = ++m_run.serial;
        if (m.type == 0) m_center->NotifyObservers(Subject(m.subject), ModelAlpha{serial});
        else m_center->NotifyObservers(Subject(m.subject), ModelBeta{serial});
        break;
      }
      default: break;
    }
  }

  // A top-level move: an exception ends here, and a destroyed center is made again.
  void DoAtTop(Move const& m) {
    try {
      Do(m);
    } catch (Thrown const&) {
    }
    if (!m_center) m_center = std::make_unique<NotificationCenter>();
  }

 private:
  struct Observer {
    int id;
    RealSide* side;
    void OnAlpha(ModelAlpha const& n) { side->React(id, 0, n.serial, &n.stop); }
    void OnBeta(ModelBeta const& n) { side->React(id, 1, n.serial, nullptr); }
  };

  NotificationCenter::ISubject const* Subject(int s) const { return s >= 0 ? &m_subjects[s] : nullptr; }

  // Every removal goes through the public call a host would write for it.
  void Remove(Move const& m) {
    NotificationCenter& c = *m_center;
    Observer const* o = m.observer == kNull ? nullptr : &m_observers[m.observer];
    if (m.type == kAny) {
      if (!o && m.subject == kAny) c.RemoveObservers();
      else if (!o) c.RemoveObservers(Subject(m.subject));
      else if (m.subject == kAny) c.RemoveObservers(o);
      else c.RemoveObservers(o, Subject(m.subject));
    } else if (m.subject == kAny) {
      if (m.type == 0) c.RemoveObservers<ModelAlpha>(o);
      else c.RemoveObservers<ModelBeta>(o);
    } else {
      if (m.type == 0) c.RemoveObservers<ModelAlpha>(o, Subject(m.subject));
      else c.RemoveObservers<ModelBeta>(o, Subject(m.subject));
    }
  }

  void React(int observer, int type, int serial, bool* stop) {
    Move const m = m_run.Called(observer, type, serial);
    switch (m.kind) {
      case Kind::kStop:
        if (stop) *stop = true;
        break;
      case Kind::kThrow: throw Thrown();
      case Kind::kDestroy: m_center.reset(); break;
      default: Do(m);
    }
  }

  class Sender : public NotificationCenter::ISubject {};

  Shared& m_run;
  std::unique_ptr<NotificationCenter> m_center = std::make_unique<NotificationCenter>();
  Sender m_subjects[kSubjects];
  Observer m_observers[kObservers];
};

// The reference: one vector of entries in order of adding, each in the list (level 0) or
// waiting for the end of the delivery at its level; a delivery walks a copy.
class ModelSide {
 public:
  explicit ModelSide(Shared& run) : m_run(run) {}

  void Do(Move const& m) {
    switch (m.kind) {
      case Kind::kAdd: m_entries.push_back(Entry{m.observer, m.type, m.subject, m_run.depth, false}); break;
      case Kind::kRemove:
        for (Entry& e : m_entries) {
          if ((m.observer == kNull || e.observer == m.observer) && (m.type == kAny || e.type == m.type) &&
              (m.subject == kAny || e.subject == m.subject))
            e.removed = true;
        }
        break;
      case Kind::kNotify: Notify(m.type, m.subject); break;
      default: break;
    }
  }

  void DoAtTop(Move const& m) {
    try {
      Do(m);
    } catch (Thrown const&) {
    }
    m_destroyed = false;
    std::erase_if(m_entries, [](Entry const& e) { return e.removed; });
  }

 private:
  struct Entry {
    int observer, type, subject, level;
    bool removed;
  };

  void Notify(int type, int sender) {
    int const level = ++m_run.depth;
    int const serial = ++m_run.serial;
    std::vector<std::size_t> walk;
    for (std::size_t i = 0; i < m_entries.size(); ++i)
      if (m_entries[i].level == 0 && !m_entries[i].removed && m_entries[i].type == type) walk.push_back(i);
    try {
      for (std::size_t i : walk) {
        Entry const e = m_entries[i];
        if (e.removed || (e.subject != kNull && e.subject != sender)) continue;
        Move const m = m_run.Called(e.observer, type, serial);
        if (m.kind == Kind::kStop && type == 0) break;
        if (m.kind == Kind::kThrow) throw Thrown();
        if (m.kind == Kind::kDestroy) {
          m_entries.clear();
          m_destroyed = true;
        } else {
          Do(m);
        }
        if (m_destroyed) break;
      }
    } catch (...) {
      End(level);
      throw;
    }
    End(level);
  }

  void End(int level) {
    --m_run.depth;
    for (Entry& e : m_entries)
      if (e.level == level) e.level = level - 1;
  }

  Shared& m_run;
  std::vector<Entry> m_entries;
  bool m_destroyed = false;
};

std::string Trace(Program const& p, std::size_t moves, std::vector<std::size_t> const& reactions_before) {
  std::ostringstream out;
  for (std::size_t i = 0; i < moves; ++i) {
    out << "  " << i << ": " << Describe(p.moves[i]) << "\n";
    std::size_t const end = i + 1 < reactions_before.size() ? reactions_before[i + 1] : reactions_before.back();
    for (std::size_t k = reactions_before[i]; k < end; ++k)
      out << "      call " << k << " does " << Describe(p.reactions[k % p.reactions.size()]) << "\n";
  }
  return out.str();
}

TEST(NotificationCenterModel, RandomProgramsDeliverAsTheModelWithACopiedList) {
  constexpr int kPrograms = 1000;
  constexpr int kLength = 300;
  std::mt19937 rng(20240611);
  std::size_t calls = 0, nested_calls = 0;
  std::size_t done[7] = {};
  for (int p = 0; p < kPrograms; ++p) {
    Program const program = MakeProgram(rng, kLength);
    Shared real_run(&program), model_run(&program);
    RealSide real(real_run);
    ModelSide model(model_run);
    std::vector<std::size_t> reactions_before{0};
    for (std::size_t i = 0; i < program.moves.size(); ++i) {
      real.DoAtTop(program.moves[i]);
      model.DoAtTop(program.moves[i]);
      reactions_before.push_back(real_run.next_reaction);
      if (real_run.log != model_run.log) {
        FAIL() << "program " << p << " differs at move " << i << ":\n"
               << Trace(program, i + 1, reactions_before) << "center calls: " << testing::PrintToString(real_run.log)
               << "\nmodel calls:  " << testing::PrintToString(model_run.log);
      }
      calls += real_run.log.size();
      real_run.log.clear();
      model_run.log.clear();
    }
    for (int k = 0; k < 7; ++k) done[k] += real_run.done[k];
    nested_calls += real_run.nested_calls;
    // What the program left registered: every type from every sender, without reactions.
    real_run.quiet = model_run.quiet = true;
    for (int type = 0; type < 2; ++type) {
      for (int sender = kNull; sender < kSubjects; ++sender) {
        real.DoAtTop(Move{Kind::kNotify, kNull, type, sender});
        model.DoAtTop(Move{Kind::kNotify, kNull, type, sender});
      }
    }
    ASSERT_EQ(real_run.log, model_run.log) << "program " << p << " leaves other observers:\n"
                                           << Trace(program, program.moves.size(), reactions_before);
  }
  // The programs must exercise the center, not run past it: every kind of change happens many
  // times from inside deliveries, also from nested ones.
  EXPECT_GT(calls, 200000u);
  EXPECT_GT(nested_calls, 20000u);
  for (int k = 1; k < 7; ++k) EXPECT_GT(done[k], 1000u) << Describe(Move{static_cast<Kind>(k)});
}

}  // namespace
