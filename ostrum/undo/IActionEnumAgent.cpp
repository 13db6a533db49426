#include "ostrum/undo/IActionEnumAgent.h"

#include "ostrum/undo/private/DiscardActionsTask.h"

namespace Ostrum::Undo {

namespace {

// Hands what it is given to the deferred discard rather than destroying it here: extraction
// often runs inside a callback of the very object an action refers to.
class DiscardActionsAgent final : public IActionEnumAgent {
 public:
  using IActionEnumAgent::OnAction;
  void OnAction(IAction* action, char const*) override { Private::DiscardActionsTask::ScheduleDiscard(action); }
};

}  // namespace

IActionEnumAgent::~IActionEnumAgent() = default;
void IActionEnumAgent::OnStart() {}
void IActionEnumAgent::OnFinish() {}
void IActionEnumAgent::OnAbort() {}
void IActionEnumAgent::OnBeginGroup(wchar_t const*) {}
void IActionEnumAgent::OnEndGroup() {}
void IActionEnumAgent::OnAction(IAction*, char const*) {}
void IActionEnumAgent::OnAction(IAction const*, char const*) {}

IActionEnumAgent* IActionEnumAgent::DisacrdActionsAgent() {
  static IActionEnumAgent* agent = new DiscardActionsAgent;
  return agent;
}

}  // namespace Ostrum::Undo
