// Registering, undoing and redoing 100,000 trivial actions, in groups of one and of ten,
// against Qt's QUndoStack doing push, undo and redo of equivalent trivial commands (plain
// pushes, and macros of ten). Both sides allocate one object per action and own it from then
// on. An undone action registers itself again, as a host's action does, so that it moves to the
// redo history; a Qt command stays in its list and only moves the index.
//
// Also: registrations onto a history of 100,000 groups against an empty one, which must not
// depend on the depth. Every comparison is timed round by round, interleaved, after an untimed
// warm-up; the history is built and disposed of untimed between the rounds.

#include <QUndoStack>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "common/Interleaved.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/undo/Manager.h"

namespace {

using Ostrum::Undo::Manager;
using Ostrum::Undo::Transaction;

constexpr int kActions = 100000;

long g_performed = 0;

class TrivialAction : public Ostrum::IAction {
 public:
  explicit TrivialAction(Manager& manager) : m_manager(manager) {}

 protected:
  ~TrivialAction() override = default;
  void _Perform() override {
    ++g_performed;
    m_manager.RegisterAction(this, nullptr);
  }

 private:
  Manager& m_manager;
};

class TrivialCommand : public QUndoCommand {
 public:
  using QUndoCommand::QUndoCommand;
  void undo() override { ++g_performed; }
  void redo() override { ++g_performed; }
};

// The deferred discard needs a session; disposal of the history runs outside the timing.
using Session = Ostrum::DeferredTaskManager::ScopedSession;

void Register(Manager& manager, int actions, int group) {
  for (int i = 0; i < actions; i += group) {
    Transaction* tx = manager.BeginTransaction(L"Move screw", nullptr);
    for (int k = 0; k < group; ++k) manager.RegisterAction(new TrivialAction(manager), nullptr);
    tx->Commit();
  }
}

void Push(QUndoStack& stack, int actions, int group) {
  for (int i = 0; i < actions; i += group) {
    if (group == 1) {
      stack.push(new TrivialCommand(QStringLiteral("Move screw")));
      continue;
    }
    stack.beginMacro(QStringLiteral("Move screw"));
    for (int k = 0; k < group; ++k) stack.push(new TrivialCommand(QStringLiteral("Move screw")));
    stack.endMacro();
  }
}

void Dispose(Manager& manager) {
  manager.Cleanup();
  Ostrum::Desktop::RunUntilIdle();
}

using ostrum_bench::TimedCase;

// The cases of one group size: register onto an empty history; undo a full one; redo a fully
// undone one. Each untimed step after a run makes the state the next run starts from.
struct Histories {
  explicit Histories(int group) : group(group) {}
  int group;
  Session session;
  Manager manager;
  QUndoStack stack;
};

void AddCases(std::vector<TimedCase>& cases, Histories& h) {
  const std::string g = " (groups of " + std::to_string(h.group) + ")";
  cases.push_back({"Ostrum register" + g, [&h] { Register(h.manager, kActions, h.group); }, [&h] { Dispose(h.manager); }});
  cases.push_back({"QUndoStack push" + g, [&h] { Push(h.stack, kActions, h.group); }, [&h] { h.stack.clear(); }});
}

void AddUndoCases(std::vector<TimedCase>& cases, Histories& h, bool undo) {
  const std::string g = " (groups of " + std::to_string(h.group) + ")";
  // The history the first run meets.
  Register(h.manager, kActions, h.group);
  Push(h.stack, kActions, h.group);
  if (!undo) {
    while (h.manager.CanUndo()) h.manager.Undo();
    while (h.stack.canUndo()) h.stack.undo();
  }
  auto remake_ostrum = [&h, undo] {
    Dispose(h.manager);
    Register(h.manager, kActions, h.group);
    if (!undo)
      while (h.manager.CanUndo()) h.manager.Undo();
  };
  auto remake_qt = [&h, undo] {
    h.stack.clear();
    Push(h.stack, kActions, h.group);
    if (!undo)
      while (h.stack.canUndo()) h.stack.undo();
  };
  if (undo) {
    cases.push_back({"Ostrum undo" + g, [&h] { while (h.manager.CanUndo()) h.manager.Undo(); }, remake_ostrum});
    cases.push_back({"QUndoStack undo" + g, [&h] { while (h.stack.canUndo()) h.stack.undo(); }, remake_qt});
  } else {
    cases.push_back({"Ostrum redo" + g, [&h] { while (h.manager.CanRedo()) h.manager.Redo(); }, remake_ostrum});
    cases.push_back({"QUndoStack redo" + g, [&h] { while (h.stack.canRedo()) h.stack.redo(); }, remake_qt});
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 31;
  std::printf("Each case: %d actions, %d rounds; nanoseconds per action, medians.\n", kActions, rounds);
  std::vector<std::pair<std::string, std::vector<TimedCase>>> runs;
  for (int group : {1, 10}) {
    for (int phase = 0; phase < 3; ++phase) {
      Histories h(group);
      std::vector<TimedCase> cases;
      if (phase == 0)
        AddCases(cases, h);
      else
        AddUndoCases(cases, h, phase == 1);
      ostrum_bench::RunInterleaved(cases, rounds);
      ostrum_bench::PrintMedians(cases, kActions);
      runs.emplace_back(cases[0].name, cases);
      Dispose(h.manager);
      h.stack.clear();
    }
  }
  // A registration on a deep history against one on an empty history.
  std::vector<TimedCase> depth;
  {
    Session session;
    Manager deep, empty;
    Register(deep, 100000, 1);
    depth.push_back({"register on 100,000 steps", [&] { Register(deep, 1000, 1); }, [] {}});
    depth.push_back({"register on none", [&] { Register(empty, 1000, 1); }, [&] { Dispose(empty); }});
    ostrum_bench::RunInterleaved(depth, rounds * 4);
    Dispose(deep);
    Dispose(empty);
  }
  ostrum_bench::PrintMedians(depth, 1000);

  std::printf("\nRatios (framework time / floor time, lower is better):\n");
  for (auto& [name, cases] : runs) ostrum_bench::PrintRatio(name.c_str(), cases[0], cases[1]);
  ostrum_bench::PrintRatio("register on 100,000 steps / on none", depth[0], depth[1]);
  return 0;
}
