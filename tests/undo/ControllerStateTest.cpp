// Every public call of the manager in every state of its controller: idle, inside a host's
// open transaction, inside an action being undone or redone, and inside an agent's walk.

#include <algorithm>
#include <array>

#include "UndoTestKit.h"

namespace undo_test {
namespace {

constexpr std::array<const char*, 5> kStates = {"neutral", "building", "undoing", "redoing", "walking"};

std::string Text(wchar_t const* s) { return s ? std::string(s, s + std::wcslen(s)) : "null"; }
std::string Bool(bool b) { return b ? "true" : "false"; }

class StateTable : public UndoTest {
 protected:
  using Probe = std::function<std::string()>;

  // Puts the manager into `state`, runs `probe` there once and answers what it said. In the
  // neutral state the history is undo [U: u], redo [R: r]; the others have such stacks too, so
  // that a call that is not ignored would show.
  std::string InState(const std::string& state, const Probe& probe) {
    std::string result = "not run";
    int performs = 0;
    auto probe_on = [&](int perform) {
      return [&, perform] {
        if (++performs == perform) result = probe();
      };
    };
    if (state == "undoing" || state == "redoing") {
      Step(L"U", {"u"});
      Transaction* tx = manager->BeginTransaction(L"P", nullptr);
      manager->RegisterAction(Action("p", probe_on(state == "undoing" ? 1 : 2)), nullptr);
      tx->Commit();
      if (state == "undoing") Step(L"R", {"r"});
      manager->Undo();
      if (state == "undoing") manager->Undo(); else manager->Redo();
      return result;
    }
    Step(L"U", {"u"});
    Step(L"R", {"r"});
    manager->Undo();
    log.clear();
    if (state == "neutral") return probe();
    if (state == "building") {
      Transaction* tx = manager->BeginTransaction(L"B", nullptr);
      result = probe();
      tx->Commit();
      return result;
    }
    struct ProbeAgent : IActionEnumAgent {
      std::function<void()> hook;
      void OnBeginGroup(wchar_t const*) override {
        if (hook) std::exchange(hook, nullptr)();
      }
    } agent;
    agent.hook = [&] { result = probe(); };
    manager->EnumerateUndoActions(&agent, nullptr);
    return result;
  }

  // What the actions logged while `call` ran.
  std::string Performed(const std::function<void()>& call) {
    const size_t before = log.size();
    call();
    std::string text;
    for (size_t i = before; i < log.size(); ++i) text += log[i];
    return text;
  }
};

TEST_F(StateTable, EveryCallInEveryState) {
  struct Row {
    const char* call;
    Probe probe;
    std::array<const char*, 5> expected;  // in the order of kStates
  };
  Manager* m = nullptr;  // set per case below; the probes read it when they run
  const Row rows[] = {
      {"IsBusy", [&] { return Bool(m->IsBusy()); }, {"false", "true", "true", "true", "true"}},
      {"IsUndoing", [&] { return Bool(m->IsUndoing()); }, {"false", "false", "true", "false", "false"}},
      {"IsRedoing", [&] { return Bool(m->IsRedoing()); }, {"false", "false", "false", "true", "false"}},
      {"Undo", [&] { return Performed([&] { m->Undo(); }); }, {"u", "", "", "", ""}},
      {"Redo", [&] { return Performed([&] { m->Redo(); }); }, {"r", "", "", "", ""}},
      {"GetUndoActionString", [&] { return Text(m->GetUndoActionString()) + Bool(m->CanUndo()); },
       {"Utrue", "nullfalse", "nullfalse", "nullfalse", "nullfalse"}},
      {"GetRedoActionString", [&] { return Text(m->GetRedoActionString()) + Bool(m->CanRedo()); },
       {"Rtrue", "nullfalse", "nullfalse", "nullfalse", "nullfalse"}},
      {"RegisterAction", [&] { return m->RegisterAction(Action("x"), nullptr), std::string(); }, {"", "", "", "", ""}},
      {"BeginTransaction",
       [&] {
         Transaction* tx = m->BeginTransaction(L"t", nullptr);
         std::string answer = tx ? Bool(tx->IsCurrent()) + Text(tx->GetActionString()) : "null";
         if (tx) tx->Commit();
         return answer + Bool(Ask(tx, &Transaction::IsValid));
       },
       {"truetfalse", "truetfalse", "truetfalse", "truetfalse", "nullfalse"}},
      {"GetPrimaryTransaction", [&] { return Bool(Ask(m->GetPrimaryTransaction(), &Transaction::IsPrimary)); },
       {"false", "true", "true", "true", "false"}},
      {"GetCurrentTransaction", [&] { return Bool(Ask(m->GetCurrentTransaction(), &Transaction::IsCurrent)); },
       {"false", "true", "true", "true", "false"}},
      {"EnumerateUndoActions",
       [&] {
         TextAgent agent;
         m->EnumerateUndoActions(&agent, nullptr);
         return agent.text;
       },
       {"[U: u]", "", "", "", ""}},
      {"ExtractRedoActions",
       [&] {
         CallLog calls;
         TextAgent agent(&calls);
         m->ExtractRedoActions(&agent, IActionFilter::OpaqueFilter());
         return std::to_string(calls.size());
       },
       {"4", "0", "0", "0", "0"}},
  };
  for (const Row& row : rows) {
    for (size_t s = 0; s < kStates.size(); ++s) {
      manager = std::make_unique<Manager>();
      RunIdle();  // the previous case's actions go now
      m = manager.get();
      log.clear();
      const std::string answer = InState(kStates[s], row.probe);
      EXPECT_EQ(answer, row.expected[s]) << row.call << " in state " << kStates[s];
      EXPECT_FALSE(manager->IsBusy()) << row.call << " left the manager busy after state " << kStates[s];
      if (std::string(row.call) == "RegisterAction") {
        // Kept in the step being built or the group being made, dropped elsewhere at idle time.
        const bool kept = s >= 1 && s <= 3;
        EXPECT_EQ(Stacks(*manager).find(" x") != std::string::npos, kept) << "in state " << kStates[s];
        RunIdle();
        EXPECT_EQ(std::count(log.begin(), log.end(), "discard x"), kept ? 0 : 1) << "in state " << kStates[s];
      }
    }
  }
}

}  // namespace
}  // namespace undo_test
