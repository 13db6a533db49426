// Registering, undoing and redoing 1,000,000 trivial actions, in groups of one and of ten,
// against Qt's QUndoStack doing push, undo and redo of equivalent trivial commands (plain
// pushes, and macros of ten). Both sides allocate one object per action and own it from then
// on. An undone action registers itself again, as a host's action does, so that it moves to the
// redo history; a Qt command stays in its list and only moves the index.
//
// Also: CanUndo with 1 and with 100,000 groups on the stack, and registrations onto a history
// of 100,000 groups against an empty one, both of which must not depend on the depth.

#include <benchmark/benchmark.h>

#include <QUndoStack>
#include <memory>

#include "common/RatioReport.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/undo/Manager.h"

namespace {

using Ostrum::Undo::Manager;
using Ostrum::Undo::Transaction;

constexpr int kActions = 1000000;

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

enum Phase { REGISTER, UNDO, REDO };

template <Phase phase>
void BM_Ostrum(benchmark::State& state) {
  Session session;
  Manager manager;
  const int group = static_cast<int>(state.range(0));
  for (auto _ : state) {
    if (phase != REGISTER) {
      state.PauseTiming();
      Register(manager, kActions, group);
      if (phase == REDO)
        while (manager.CanUndo()) manager.Undo();
      state.ResumeTiming();
    }
    if (phase == REGISTER) Register(manager, kActions, group);
    if (phase == UNDO)
      while (manager.CanUndo()) manager.Undo();
    if (phase == REDO)
      while (manager.CanRedo()) manager.Redo();
    state.PauseTiming();
    Dispose(manager);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kActions);
}

template <Phase phase>
void BM_Qt(benchmark::State& state) {
  QUndoStack stack;
  const int group = static_cast<int>(state.range(0));
  for (auto _ : state) {
    if (phase != REGISTER) {
      state.PauseTiming();
      Push(stack, kActions, group);
      if (phase == REDO)
        while (stack.canUndo()) stack.undo();
      state.ResumeTiming();
    }
    if (phase == REGISTER) Push(stack, kActions, group);
    if (phase == UNDO)
      while (stack.canUndo()) stack.undo();
    if (phase == REDO)
      while (stack.canRedo()) stack.redo();
    state.PauseTiming();
    stack.clear();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kActions);
}

// 100,000 more steps of one action onto a history of `range(0)` steps.
void BM_OstrumRegisterOnHistory(benchmark::State& state) {
  Session session;
  Manager manager;
  for (auto _ : state) {
    state.PauseTiming();
    Register(manager, static_cast<int>(state.range(0)), 1);
    state.ResumeTiming();
    Register(manager, 100000, 1);
    state.PauseTiming();
    Dispose(manager);
    state.ResumeTiming();
  }
}

void BM_OstrumCanUndo(benchmark::State& state) {
  Session session;
  Manager manager;
  Register(manager, static_cast<int>(state.range(0)), 1);
  for (auto _ : state) benchmark::DoNotOptimize(manager.CanUndo());
  Dispose(manager);
}

void BM_QtCanUndo(benchmark::State& state) {
  QUndoStack stack;
  Push(stack, static_cast<int>(state.range(0)), 1);
  for (auto _ : state) benchmark::DoNotOptimize(stack.canUndo());
}

BENCHMARK(BM_Ostrum<REGISTER>)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Qt<REGISTER>)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Ostrum<UNDO>)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Qt<UNDO>)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Ostrum<REDO>)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Qt<REDO>)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OstrumRegisterOnHistory)->Arg(0)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OstrumCanUndo)->Arg(1)->Arg(100000);
BENCHMARK(BM_QtCanUndo)->Arg(1)->Arg(100000);

}  // namespace

int main(int argc, char** argv) {
  {
    // Whichever case ran first would otherwise pay for growing the process's heap.
    Session session;
    Manager manager;
    Register(manager, kActions, 1);
    Dispose(manager);
  }
  return ostrum_bench::RunWithRatios(
      argc, argv,
      {{"register 1,000,000 in groups of 1", "BM_Ostrum<REGISTER>/1", "BM_Qt<REGISTER>/1"},
       {"register 1,000,000 in groups of 10 (Qt: macros)", "BM_Ostrum<REGISTER>/10", "BM_Qt<REGISTER>/10"},
       {"register 1,000,000 in groups of 10 (Qt: pushes)", "BM_Ostrum<REGISTER>/10", "BM_Qt<REGISTER>/1"},
       {"undo 1,000,000 in groups of 1", "BM_Ostrum<UNDO>/1", "BM_Qt<UNDO>/1"},
       {"undo 1,000,000 in groups of 10 (Qt: macros)", "BM_Ostrum<UNDO>/10", "BM_Qt<UNDO>/10"},
       {"redo 1,000,000 in groups of 1", "BM_Ostrum<REDO>/1", "BM_Qt<REDO>/1"},
       {"redo 1,000,000 in groups of 10 (Qt: macros)", "BM_Ostrum<REDO>/10", "BM_Qt<REDO>/10"},
       {"register on 100,000 steps / on none", "BM_OstrumRegisterOnHistory/100000", "BM_OstrumRegisterOnHistory/0"},
       {"CanUndo on 100,000 steps / on 1", "BM_OstrumCanUndo/100000", "BM_OstrumCanUndo/1"},
       {"CanUndo against QUndoStack::canUndo, 100,000", "BM_OstrumCanUndo/100000", "BM_QtCanUndo/100000"}});
}
