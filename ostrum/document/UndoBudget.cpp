// The agents that keep a document's undo files within the disk budget.

#include "ostrum/document/private/UndoBudget.h"

#include <deque>
#include <unordered_set>
#include <utility>
#include <vector>

#include "ostrum/document/private/OperationWrapper.h"
#include "ostrum/undo/IActionEnumAgent.h"
#include "ostrum/undo/IActionFilter.h"
#include "ostrum/undo/Manager.h"

namespace Ostrum::Private {

namespace {

using Wrapper = MDocument::_UndoRedo::OperationWrapper;

// Bytes of the undo and redo files of the wrappers among `actions`.
std::int64_t DiskBytes(const std::vector<Ostrum::IAction const*>& actions) {
  std::int64_t total = 0;
  for (Ostrum::IAction const* action : actions)
    if (auto* wrapper = dynamic_cast<Wrapper const*>(action)) total += wrapper->GetDiskBytes();
  return total;
}

// Collects a stack by groups in the order the walk shows them, from the top.
class GroupCollector : public Ostrum::Undo::IActionEnumAgent {
 public:
  using IActionEnumAgent::OnAction;
  void OnBeginGroup(wchar_t const*) override { m_groups.emplace_back(); }
  void OnAction(Ostrum::IAction const* action, char const*) override {
    if (m_groups.empty()) m_groups.emplace_back();
    m_groups.back().push_back(action);
  }
  std::vector<std::vector<Ostrum::IAction const*>> m_groups;
};

// Matches the tagged actions.
class TaggedActionsFilter : public Ostrum::Undo::IActionFilter {
 public:
  explicit TaggedActionsFilter(std::unordered_set<Ostrum::IAction const*> tagged) : m_tagged(std::move(tagged)) {}
  bool IsActionMatched(Ostrum::IAction const* action, char const*) const override {
    return m_tagged.count(action) != 0;
  }
  bool IsEmpty() const { return m_tagged.empty(); }

 private:
  std::unordered_set<Ostrum::IAction const*> m_tagged;
};

// Tags whole groups, in the order given, while what would stay is still over the budget;
// answers the bytes they release.
std::int64_t Tag(const std::vector<const std::vector<Ostrum::IAction const*>*>& groups, std::int64_t total,
                 long long budget, std::unordered_set<Ostrum::IAction const*>& tagged) {
  std::int64_t released = 0;
  for (const auto* group : groups) {
    if (!(budget < total - released)) break;
    released += DiskBytes(*group);
    tagged.insert(group->begin(), group->end());
  }
  return released;
}

}  // namespace

void TrimUndoFiles(Ostrum::Undo::Manager& manager, std::int64_t bytes_on_disk, long long budget, bool keep_top_undo) {
  if (bytes_on_disk <= budget || manager.IsInSubstitutionStack() || manager.IsBusy()) return;
  // 1. The oldest undo groups: the walk shows the top first.
  GroupCollector undo;
  manager.EnumerateUndoActions(&undo, nullptr);
  std::vector<const std::vector<Ostrum::IAction const*>*> oldest_first;
  for (size_t i = undo.m_groups.size(); i-- > (keep_top_undo ? 1u : 0u);) oldest_first.push_back(&undo.m_groups[i]);
  std::unordered_set<Ostrum::IAction const*> tagged;
  std::int64_t total = bytes_on_disk - Tag(oldest_first, bytes_on_disk, budget, tagged);
  if (!tagged.empty()) {
    TaggedActionsFilter filter(std::move(tagged));
    manager.ExtractUndoActions(nullptr, &filter);  // their files go as they leave
  }
  if (total <= budget) return;
  // 2. Still over: the redo groups farthest from the present, the bottom of the redo stack.
  GroupCollector redo;
  manager.EnumerateRedoActions(&redo, nullptr);
  std::vector<const std::vector<Ostrum::IAction const*>*> farthest_first;
  for (size_t i = redo.m_groups.size(); i-- > 0;) farthest_first.push_back(&redo.m_groups[i]);
  std::unordered_set<Ostrum::IAction const*> redo_tagged;
  Tag(farthest_first, total, budget, redo_tagged);
  if (!redo_tagged.empty()) {
    TaggedActionsFilter filter(std::move(redo_tagged));
    manager.ExtractRedoActions(nullptr, &filter);
  }
}

}  // namespace Ostrum::Private
