// Long random sequences of calls on a manager, its stacks compared after every call with a
// small model: two stacks of groups, each a text and a list of action names, newest first.

#include <deque>
#include <random>

#include "UndoTestKit.h"

namespace undo_test {
namespace {

struct Group {
  std::string text;
  std::deque<std::string> actions;  // the newest first
};
using Model = std::deque<Group>;    // the top first

std::string Text(const Model& stack) {
  std::string text;
  for (const Group& g : stack) {
    text += (text.empty() ? "[" : " [") + g.text + ":";
    for (const std::string& a : g.actions) text += " " + a;
    text += "]";
  }
  return text;
}

using ManagerModelTest = UndoTest;

TEST_F(ManagerModelTest, RandomCallsKeepTheStacksOfTheModel) {
  for (unsigned seed : {1u, 2u, 3u, 4u}) {
    std::mt19937 random(seed);
    auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    manager = std::make_unique<Manager>();
    Model undo, redo;
    int serial = 0;
    for (int call = 0; call < 1500; ++call) {
      std::string what;
      switch (pick(9)) {
        case 0:
        case 1: {  // a step of up to three actions, some in nested transactions
          Group g{"g" + std::to_string(++serial), {}};
          Transaction* tx = manager->BeginTransaction(std::wstring(g.text.begin(), g.text.end()).c_str(), nullptr);
          const int n = pick(4);
          for (int i = 0; i < n; ++i) {
            if (pick(3) == 0) manager->BeginTransaction(nullptr, nullptr);
            g.actions.push_front("a" + std::to_string(++serial));
            manager->RegisterAction(Action(g.actions.front()), nullptr);
          }
          what = "step of " + std::to_string(n);
          tx->Commit();
          if (n > 0) undo.push_front(g), redo.clear();
          break;
        }
        case 2: {  // a transaction rolled back or terminated leaves no trace
          Transaction* tx = manager->BeginTransaction(L"t", nullptr);
          manager->RegisterAction(Action("r" + std::to_string(++serial)), nullptr);
          what = pick(2) ? (tx->Rollback(), "rollback") : (tx->Terminate(), "terminate");
          break;
        }
        case 3:
        case 4:
        case 5: {  // undo or redo: the group moves over, its actions in reverse order
          const bool is_undo = pick(2);
          Model& from = is_undo ? undo : redo;
          Model& to = is_undo ? redo : undo;
          is_undo ? manager->Undo() : manager->Redo();
          what = is_undo ? "undo" : "redo";
          if (!from.empty()) {
            Group g{from.front().text, {from.front().actions.rbegin(), from.front().actions.rend()}};
            from.pop_front();
            to.push_front(g);
          }
          break;
        }
        case 6:
        case 7: {  // extraction or reversion of a random choice of actions
          const bool of_undo = pick(2);
          Model& stack = of_undo ? undo : redo;
          std::set<std::string> names;
          for (const Group& g : stack)
            for (const std::string& a : g.actions)
              if (pick(3) == 0) names.insert(a);
          ByName filter(names);
          if (of_undo && pick(2))
            Ostrum::Undo::RevertUndoActions(*manager, pick(2), &filter), what = "revert";
          else
            of_undo ? manager->ExtractUndoActions(nullptr, &filter) : manager->ExtractRedoActions(nullptr, &filter),
                what = "extract";
          for (Group& g : stack) std::erase_if(g.actions, [&](const std::string& a) { return names.count(a); });
          std::erase_if(stack, [](const Group& g) { return g.actions.empty(); });
          break;
        }
        default:
          if (pick(10) == 0) {
            manager->Cleanup(), undo.clear(), redo.clear(), what = "cleanup";
          } else {
            RunIdle(), what = "idle";
          }
      }
      ASSERT_EQ(Stacks(*manager), "undo " + Text(undo) + " | redo " + Text(redo))
          << "seed " << seed << ", call " << call << ": " << what;
      ASSERT_EQ(manager->CanUndo(), !undo.empty());
      ASSERT_EQ(manager->CanRedo(), !redo.empty());
      const std::wstring top = undo.empty() ? L"" : std::wstring(undo.front().text.begin(), undo.front().text.end());
      ASSERT_EQ(std::wstring(undo.empty() ? L"" : manager->GetUndoActionString()), top);
      ASSERT_FALSE(manager->IsBusy());
    }
  }
}

}  // namespace
}  // namespace undo_test
