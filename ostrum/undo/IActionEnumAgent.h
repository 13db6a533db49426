#pragma once
// Ostrum::Undo::IActionEnumAgent: the visitor of a stack of undo history, for enumerating the
// actions or taking them out.

#include "ostrum/Export.h"
#include "ostrum/action/IAction.h"

namespace Ostrum::Undo {

/// Every operation has an empty default, so an agent overrides only what it needs. A walk calls
/// OnStart, then per group OnBeginGroup, OnAction for each action and OnEndGroup, then OnFinish
/// (or OnAbort if the walk was cut short).
class OSTRUM_API IActionEnumAgent {
 public:
  virtual ~IActionEnumAgent();

  virtual void OnStart();
  virtual void OnFinish();
  virtual void OnAbort();
  /// A group begins; `action_string` is its text for the user (may be null).
  virtual void OnBeginGroup(wchar_t const* action_string);
  virtual void OnEndGroup();
  /// Extraction: the action has left the stack and now belongs to the agent. The default does
  /// nothing and so leaks it: an agent used for extraction must override this.
  virtual void OnAction(IAction* action, char const* id);
  /// Enumeration: the action stays on the stack and must not be kept.
  virtual void OnAction(IAction const* action, char const* id);

  /// The process's agent that hands every extracted action to the deferred discard, so it is
  /// destroyed at idle time. Made on first use, the same object every time, never destroyed.
  static IActionEnumAgent* DisacrdActionsAgent();

 protected:
  IActionEnumAgent() = default;
  IActionEnumAgent(const IActionEnumAgent&) = default;
  IActionEnumAgent& operator=(const IActionEnumAgent&) = default;
};

}  // namespace Ostrum::Undo
