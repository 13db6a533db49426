// MLocalOperationGroup, the scoped operation group, on a real document's undo groups: what it
// ends or aborts when it goes, and what End, Begin and Reset change of that.

#include <gtest/gtest.h>

#include "document/UndoableOperations.h"
#include "ostrum/document/MLocalOperationGroup.h"

namespace {

using namespace undo_test;

struct LocalGroup : UndoableOperations {
  // Two relabellings inside `group`'s scope, as a command does.
  void Relabel() {
    Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"s1"));
    Do(Op(MOperation::ACTION_CHANGE_LABEL, {&t}, L"t1"));
  }
  size_t UndoGroups() { return Undos().groups.size(); }
};

TEST_F(LocalGroup, EndsOrAbortsItsGroupWhenItGoesAsItWasBuilt) {
  const auto s0 = s.Snap(), t0 = t.Snap();
  {
    MLocalOperationGroup group(doc.BeginOperationGroup(L"kept", false), false);
    Relabel();
  }
  EXPECT_EQ(Undos().groups, (std::vector<std::vector<std::string>>{{"", ""}})) << "one step of both";
  const auto s1 = s.Snap();
  {
    MLocalOperationGroup group(doc.BeginOperationGroup(L"dropped", false), true);
    Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"s2"));
  }
  EXPECT_EQ(s.Snap(), s1) << "rolled back";
  EXPECT_EQ(UndoGroups(), 1u);
  {
    MLocalOperationGroup group(doc.BeginOperationGroup(L"off", true), true);
    EXPECT_EQ(group.GetHandle(), -1) << "grouping switched off";
    Relabel();
  }
  EXPECT_EQ(UndoGroups(), 3u) << "each step its own";
  {
    // Reset takes both the handle and the flag, and ends nothing itself.
    MLocalOperationGroup group(-1, false);
    group.Reset(doc.BeginOperationGroup(L"reset", false), true);
    Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"s3"));
  }
  EXPECT_EQ(s.label, L"s1");
  EXPECT_EQ(UndoGroups(), 3u);
  for (int step = 0; step < 3; ++step) doc.UndoOperation();
  EXPECT_EQ(s.Snap(), s0);
  EXPECT_EQ(t.Snap(), t0);
}

TEST_F(LocalGroup, EndGoesNowWhateverTheFlagAndBeginKeepsTheFirstHandle) {
  {
    MLocalOperationGroup group(-1, false);
    const long long handle = doc.BeginOperationGroup(L"begun late", false);
    group.Begin(handle, true);
    group.Begin(handle + 1, false);
    EXPECT_EQ(group.GetHandle(), handle) << "the first stays";
    Relabel();
    group.End(true);
    EXPECT_EQ(group.GetHandle(), -1);
    EXPECT_EQ(s.label, L"start") << "aborted, although built to end";
    EXPECT_FALSE(manager().CanUndo());
    Do(Op(MOperation::ACTION_CHANGE_LABEL, {&s}, L"after"));
  }
  EXPECT_EQ(s.label, L"after") << "the scope's end aborted nothing more";
  EXPECT_EQ(UndoGroups(), 1u);
  {
    MLocalOperationGroup group(doc.BeginOperationGroup(L"ended", false), true);
    Relabel();
    group.End(false);
  }
  EXPECT_EQ(t.label, L"t1") << "committed before the scope ended";
  EXPECT_EQ(UndoGroups(), 2u);
}

}  // namespace
