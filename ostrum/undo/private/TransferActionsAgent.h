#pragma once
// The agents behind TransferUndoActions and RevertUndoActions.

#include <string>
#include <utility>
#include <vector>

#include "ostrum/undo/IActionEnumAgent.h"

namespace Ostrum::Undo {
class Manager;
}

namespace Ostrum::Undo::Private {

/// Collects what an extraction hands over, group by group, and at the end of the walk
/// registers it on the target manager, one transaction per group, the oldest group first and
/// each group's oldest action first, so that groups, order and texts are kept. What it still
/// holds when the walk is aborted, or when it dies, goes to the deferred discard.
class TransferActionsAgent : public IActionEnumAgent {
 public:
  explicit TransferActionsAgent(Manager& target) : m_target(target) {}
  ~TransferActionsAgent() override;

  void OnBeginGroup(wchar_t const* action_string) override;
  void OnEndGroup() override;
  using IActionEnumAgent::OnAction;
  void OnAction(IAction* action, char const* id) override;
  void OnFinish() override;
  void OnAbort() override;

 private:
  struct Group {
    std::wstring action_string;
    bool has_action_string = false;
    std::vector<std::pair<IAction*, std::string>> actions;  // as met: the newest first
  };

  Manager& m_target;
  std::vector<Group> m_groups;  // as met: the top of the source first
};

/// Performs every action an extraction hands over.
class RevertActionsAgent : public IActionEnumAgent {
 public:
  using IActionEnumAgent::OnAction;
  void OnAction(IAction* action, char const*) override { action->Perform(); }
};

}  // namespace Ostrum::Undo::Private
