// Enumeration and extraction of a history: what agents see, what leaves the stacks and when it
// is destroyed, and agents or filters that throw or clean the manager up halfway.

#include <stdexcept>

#include "UndoTestKit.h"

namespace undo_test {
namespace {

class HistoryWalkTest : public UndoTest {
 protected:
  void SetUp() override {
    UndoTest::SetUp();
    Build();
  }
  void Build() {
    Step(L"A", {"a1", "a2"});
    Step(L"B", {"b1", "b2"});
    Step(L"C", {"c"});
  }
};

TEST_F(HistoryWalkTest, ExtractionTakesWhatMatchesAndDropsGroupsLeftEmpty) {
  CallLog calls;
  TextAgent agent(&calls);
  ByName filter({"c", "b2", "a1", "a2"});
  manager->ExtractUndoActions(&agent, &filter);
  EXPECT_EQ(agent.text, "[C: c] [B: b2] [A: a2 a1]");
  EXPECT_EQ(Stacks(*manager), "undo [B: b1] | redo ") << "B keeps its text and place, A and C are gone";

  calls.clear();
  TextAgent none(&calls);
  manager->EnumerateUndoActions(&none, IActionFilter::OpaqueFilter());
  EXPECT_EQ(calls, (Calls{"start", "begin", "end", "finish"})) << "a group without a match is still shown";

  manager->ExtractUndoActions(nullptr, nullptr);
  EXPECT_EQ(Stacks(*manager), "undo  | redo ");
  EXPECT_TRUE(log.empty()) << "nothing is destroyed during an extraction";
  RunIdle();
  EXPECT_EQ(log, (Calls{"discard b1"}));
}

// An agent or a filter that throws at one point of the walk over [C: c] [B: b2 b1] [A: a2 a1].
TEST_F(HistoryWalkTest, AThrowingAgentOrFilterAtEachPoint) {
  const std::string all = "undo [C: c] [B: b2 b1] [A: a2 a1] | redo ";
  for (const char* point : {"start", "begin", "filter", "action", "end", "finish"}) {
    for (bool extract : {false, true}) {
      SCOPED_TRACE(std::string(extract ? "extraction" : "enumeration") + " throwing at " + point);
      struct Thrower : TextAgent, IActionFilter {
        using TextAgent::TextAgent;
        std::string at;
        void Check(const std::string& here) const {
          if (here == at) throw std::runtime_error(here);
        }
        void OnStart() override { TextAgent::OnStart(), Check("start"); }
        void OnBeginGroup(wchar_t const* s) override { TextAgent::OnBeginGroup(s), Check("begin"); }
        void OnEndGroup() override { TextAgent::OnEndGroup(), Check("end"); }
        void OnFinish() override { TextAgent::OnFinish(), Check("finish"); }
        void OnAction(IAction const* a, char const* id) override { TextAgent::OnAction(a, id), Check("action"); }
        void OnAction(IAction* a, char const* id) override { TextAgent::OnAction(a, id), Check("action"); }
        bool IsActionMatched(IAction const*, char const*) const override { return Check("filter"), true; }
      };
      CallLog calls;
      Thrower agent(&calls);
      agent.at = point;
      if (extract)
        EXPECT_THROW(manager->ExtractUndoActions(&agent, &agent), std::runtime_error);
      else
        EXPECT_THROW(manager->EnumerateUndoActions(&agent, &agent), std::runtime_error);
      EXPECT_EQ(calls.back(), "abort");
      if (extract) {
        EXPECT_FALSE(manager->IsBusy());
        EXPECT_EQ(Stacks(*manager), "undo  | redo ") << "a failed extraction costs the history";
      } else {
        EXPECT_TRUE(manager->IsBusy()) << "a failed enumeration leaves the manager busy until a clean-up";
        EXPECT_FALSE(manager->CanUndo());
        manager->Cleanup();
      }
      RunIdle();
      manager = std::make_unique<Manager>();
      Build();
    }
  }
}

TEST_F(HistoryWalkTest, ACleanUpFromInsideAWalkStopsItAtTheNextCheck) {
  struct CleaningAgent : TextAgent {
    using TextAgent::TextAgent;
    Manager* manager = nullptr;
    void OnBeginGroup(wchar_t const* s) override {
      TextAgent::OnBeginGroup(s);
      manager->Cleanup();
    }
  };
  for (bool extract : {false, true}) {
    CallLog calls;
    CleaningAgent agent(&calls);
    agent.manager = manager.get();
    if (extract)
      manager->ExtractUndoActions(&agent, nullptr);
    else
      manager->EnumerateUndoActions(&agent, nullptr);
    EXPECT_EQ(calls, (Calls{"start", "begin", "abort"})) << "no action, no end of group, no finish";
    EXPECT_FALSE(manager->IsBusy());
    EXPECT_EQ(Stacks(*manager), "undo  | redo ");
    Step(L"A", {"a"});
  }
}

}  // namespace
}  // namespace undo_test
