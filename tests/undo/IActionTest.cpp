// The action interface, the stock agent and filters.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "RecordingAction.h"
#include "ostrum/undo/IActionEnumAgent.h"
#include "ostrum/undo/IActionFilter.h"

namespace {

using Ostrum::IAction;
using Ostrum::Undo::IActionEnumAgent;
using Ostrum::Undo::IActionFilter;

// Calls through a null action on purpose: the interface promises what happens then. The
// sanitizer's check of the call itself is switched off here, and the empty asm keeps the
// compiler from seeing (and warning about) the constant null.
__attribute__((no_sanitize("undefined"))) void PerformThrough(IAction* action) {
  asm("" : "+r"(action));
  action->Perform();
}
__attribute__((no_sanitize("undefined"))) void DiscardThrough(IAction* action) {
  asm("" : "+r"(action));
  action->Discard();
}

TEST(IAction, NullActionThrowsOnPerformAndIsIgnoredOnDiscard) {
  try {
    PerformThrough(nullptr);
    FAIL() << "Perform on a null action must throw";
  } catch (const std::logic_error& error) {
    EXPECT_STREQ(error.what(), "illegal access to nil action");
  }
  EXPECT_NO_THROW(DiscardThrough(nullptr));
}

TEST(IAction, PerformAndDiscardReachTheHooksAndDiscardDeletesByDefault) {
  CallLog log;
  const int alive = RecordingAction::Alive();
  (new RecordingAction("a", &log))->Perform();
  (new RecordingAction("b", &log))->Discard();
  EXPECT_EQ(log, (std::vector<std::string>{"perform a", "discard b"}));
  EXPECT_EQ(RecordingAction::Alive(), alive);
}

// An agent that overrides only enumeration, and one that overrides nothing.
class EnumeratingAgent : public IActionEnumAgent {
 public:
  using IActionEnumAgent::OnAction;
  void OnAction(IAction const*, char const*) override { ++enumerated; }
  int enumerated = 0;
};

class StaticAction : public IAction {
 public:
  StaticAction() = default;
  ~StaticAction() override = default;
  int performed = 0, discarded = 0;

 protected:
  void _Perform() override { ++performed; }
  void _Discard() override { ++discarded; }
};

TEST(IActionEnumAgent, DefaultsDoNothingSoExtractionNeedsAnOverride) {
  StaticAction action;  // owned here, so that what an agent "leaks" is still ours to check
  EnumeratingAgent agent;
  agent.OnStart();
  agent.OnBeginGroup(L"group");
  agent.OnAction(static_cast<IAction const*>(&action), "id");
  agent.OnAction(&action, "id");  // extraction into an agent that does not take it
  agent.OnEndGroup();
  agent.OnFinish();
  agent.OnAbort();
  EXPECT_EQ(agent.enumerated, 1);
  EXPECT_EQ(action.performed + action.discarded, 0) << "the default extraction neither runs nor disposes";
}

TEST(IActionEnumAgent, StockObjectsAreMadeOnce) {
  IActionEnumAgent* agent = IActionEnumAgent::DisacrdActionsAgent();
  ASSERT_NE(agent, nullptr);
  EXPECT_EQ(IActionEnumAgent::DisacrdActionsAgent(), agent);
  EXPECT_EQ(IActionFilter::TransparentFilter(), IActionFilter::TransparentFilter());
  EXPECT_EQ(IActionFilter::OpaqueFilter(), IActionFilter::OpaqueFilter());
  EXPECT_NE(static_cast<const void*>(IActionFilter::TransparentFilter()),
            static_cast<const void*>(IActionFilter::OpaqueFilter()));
}

TEST(IActionFilter, TransparentMatchesEverythingOpaqueNothing) {
  StaticAction action;
  const IActionFilter* transparent = IActionFilter::TransparentFilter();
  const IActionFilter* opaque = IActionFilter::OpaqueFilter();
  EXPECT_TRUE(transparent->IsActionMatched(&action, nullptr));
  EXPECT_TRUE(transparent->IsActionMatched(nullptr, "id"));
  EXPECT_FALSE(opaque->IsActionMatched(&action, "id"));
  EXPECT_FALSE(opaque->IsActionMatched(nullptr, nullptr));
}

}  // namespace
