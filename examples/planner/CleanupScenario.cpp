#include "CleanupScenario.h"

#include <string>

#include "PlannerTrace.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/TickCount.h"
#include "ostrum/undo/IActionEnumAgent.h"

namespace planner {

namespace {

DWORD g_start = 0;

std::wstring Now() { return L"t+" + std::to_wstring(GetTickCount() - g_start) + L" ms: "; }

// A piece of clean-up work; it says when it runs or is let go.
class CleanupTask : public Ostrum::IAction {
 public:
  explicit CleanupTask(std::wstring what) : m_what(std::move(what)) {}

 protected:
  void _Perform() override {
    Trace(Now() + m_what + L" runs");
    delete this;
  }
  void _Discard() override {
    Trace(Now() + m_what + L" is let go without running");
    delete this;
  }

 private:
  std::wstring m_what;
};

// An undo step of the history, which only ever leaves it: destroyed, never performed here.
class OldUndoStep : public Ostrum::IAction {
 protected:
  void _Perform() override { delete this; }
  void _Discard() override {
    Trace(Now() + L"the old undo step \"move screw 1\" is destroyed");
    delete this;
  }
};

Ostrum::DeferredTask* Schedule(const std::wstring& what, unsigned int priority, unsigned int timeout = 0) {
  const bool idle = priority == Ostrum::DeferredTaskManager::IDLE_PRIORITY;
  Trace(L"schedule \"" + what + L"\" " +
        (idle ? std::wstring(L"for idle time") : L"posted, priority " + std::to_wstring(priority)) +
        (timeout ? L", expires after " + std::to_wstring(timeout) + L" ms" : std::wstring()));
  return Ostrum::DeferredTaskManager::RegisterTask(new CleanupTask(what), priority, timeout);
}

}  // namespace

void RunCleanupScenario() {
  using Ostrum::DeferredTaskManager;
  constexpr unsigned int kIdle = DeferredTaskManager::IDLE_PRIORITY;

  g_start = GetTickCount();

  Schedule(L"write the measurement log", 5);
  Schedule(L"refresh the implant list", 1);
  Schedule(L"compact the undo files", kIdle);
  Schedule(L"remind to save", kIdle, 5);
  Ostrum::DeferredTask* preview = Schedule(L"rebuild the preview of screw 1", 3);
  Trace(L"the screw moves again before the preview was rebuilt: the old task is discarded (" +
        std::wstring(preview->Discard() ? L"it was still waiting" : L"too late") + L")");
  Trace(L"an old undo step leaves the history: handed to the deferred discard, not destroyed here");
  Ostrum::Undo::IActionEnumAgent::DisacrdActionsAgent()->OnAction(new OldUndoStep, "move screw 1");

  Trace(L"nothing has run yet; the message loop runs until idle");
  {
    TraceScope loop;
    const int messages = Ostrum::Desktop::RunUntilIdle();
    Trace(Now() + L"idle after " + std::to_wstring(messages) + L" messages");
  }
  Trace(L"the preview task's handle still answers: " + std::wstring(preview->IsValid() ? L"valid" : L"spent"));
}

}  // namespace planner
