#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "ostrum/operations/MOperation.h"
#include "support/TestObjects.h"

namespace {

constexpr uint32_t kUnchanged = 0xFFFFFFFF;  // the action keeps the flags that stood before

struct ActionRow {
  uint32_t action;
  uint32_t flags;  // what SetAction leaves, or kUnchanged
  uint32_t inverse;
  uint32_t text_id;
};

void PrintTo(const ActionRow& row, std::ostream* out) { *out << "action " << row.action; }

class MOperationActionTable : public testing::TestWithParam<ActionRow> {};

TEST_P(MOperationActionTable, SetsFlagsAndNamesInverseAndText) {
  const ActionRow& row = GetParam();
  constexpr uint32_t kMarker = 0x1000005;  // flags no action of the table sets
  MOperation op;
  op.SetFlags(kMarker);
  op.SetAction(row.action);
  EXPECT_EQ(op.GetAction(), row.action);
  EXPECT_EQ(op.GetFlags(), row.flags == kUnchanged ? kMarker : row.flags) << std::hex << op.GetFlags();
  EXPECT_EQ(op.GetInverseAction(), row.inverse);
  EXPECT_EQ(MOperation::GetActionTextID(row.action), row.text_id);

  const MOperation built(row.action);
  EXPECT_EQ(built.GetAction(), row.action);
  EXPECT_EQ(built.GetFlags(), row.flags == kUnchanged ? uint32_t{MOperation::FLAGS_DEFAULT} : row.flags);
}

INSTANTIATE_TEST_SUITE_P(
    Actions, MOperationActionTable,
    testing::Values(ActionRow{0, 0x370008, 1, 352}, ActionRow{1, 0x770008, 0, 353},
                    ActionRow{2, kUnchanged, 2, 778}, ActionRow{3, 0x340000, 0, 353},
                    ActionRow{4, 0x370008, 4, 356}, ActionRow{5, 0x37000A, 6, 354},
                    ActionRow{6, 0x37000A, 5, 355}, ActionRow{7, 0x700000, 7, 358},
                    ActionRow{8, 0x700000, 8, 358}, ActionRow{400, 0x340000, 400, 357},
                    ActionRow{9, kUnchanged, 9, 358}, ActionRow{60000, kUnchanged, 60000, 358}),
    [](const testing::TestParamInfo<ActionRow>& info) { return "Action" + std::to_string(info.param.action); });

TEST(MOperation, EachFlagBitReachesItsOwnAccessor) {
  using Accessor = bool (MOperation::*)() const;
  struct Bit {
    uint32_t bit;
    Accessor accessor;
    const char* name;
  };
  const Bit bits[] = {
      {0x1, &MOperation::NeedsObjects, "NeedsObjects"},
      {0x2, &MOperation::CanBeReversed, "CanBeReversed"},
      {0x4, &MOperation::ShouldUndoOnce, "ShouldUndoOnce"},
      {0x8, &MOperation::CausesDocumentChange, "CausesDocumentChange"},
      {0x10000, &MOperation::HasToBePrepared, "HasToBePrepared"},
      {0x20000, &MOperation::CanBeUndone, "CanBeUndone"},
      {0x40000, &MOperation::HasToBeDone, "HasToBeDone"},
      {0x100000, &MOperation::NeedsUpdateFrame, "NeedsUpdateFrame"},
      {0x200000, &MOperation::NeedsUpdateView, "NeedsUpdateView"},
      {0x400000, &MOperation::NeedsUpdateObservers, "NeedsUpdateObservers"},
  };
  MOperation op;
  for (const Bit& set : bits) {
    op.SetFlags(set.bit);
    for (const Bit& asked : bits)
      EXPECT_EQ((op.*asked.accessor)(), set.bit == asked.bit) << asked.name << " with flags " << std::hex << set.bit;
    EXPECT_EQ(op.NeedsUpdateUI(), set.bit == 0x100000 || set.bit == 0x200000) << std::hex << set.bit;
    EXPECT_TRUE(op.NeedsUpdateLog()) << std::hex << set.bit;
  }
  op.SetFlags(MOperation::FLAG_NO_UPDATE_LOG);
  EXPECT_FALSE(op.NeedsUpdateLog());
  EXPECT_FALSE(op.NeedsUpdateUI());
}

TEST(MOperation, ChangeFlagsAddsBeforeItRemoves) {
  MOperation op;
  op.SetFlags(0x40000);
  op.ChangeFlags(0x8, 0x8);
  EXPECT_EQ(op.GetFlags(), 0x40000u);
  op.ChangeFlags(0x3, 0x40001);
  EXPECT_EQ(op.GetFlags(), 0x2u);
  op.AddFlags(0x10000);
  op.RemoveFlags(0x2);
  EXPECT_EQ(op.GetFlags(), 0x10000u);
}

TEST(MOperation, ReverseTurnsToTheInverseAndKeepsTheFlags) {
  MOperation forward(MOperation::ACTION_REVERSIBLE_FORWARD);
  ASSERT_TRUE(forward.Reverse());
  EXPECT_EQ(forward.GetAction(), 6u);
  ASSERT_TRUE(forward.Reverse());
  EXPECT_EQ(forward.GetAction(), 5u);
  EXPECT_EQ(forward.GetFlags(), 0x37000Au);

  // The flags of the first action stay: reversing an add does not take on the flags of remove.
  MOperation add(MOperation::ACTION_ADD);
  add.AddFlags(MOperation::FLAG_CAN_BE_REVERSED);
  ASSERT_TRUE(add.Reverse());
  EXPECT_EQ(add.GetAction(), 1u);
  EXPECT_EQ(add.GetFlags(), 0x37000Au);

  MOperation label(MOperation::ACTION_CHANGE_LABEL);
  EXPECT_FALSE(label.Reverse());
  EXPECT_EQ(label.GetAction(), 4u);
}

TEST(MOperation, ChangeLabelGoesThroughTheVirtualSetAction) {
  struct Operation : MOperation {
    uint32_t seen = 0;
    void SetAction(uint32_t action) override {
      seen = action;
      MOperation::SetAction(action);
    }
  } op;
  op.ChangeLabel(L"Screw 4");
  EXPECT_EQ(op.seen, 4u);
  EXPECT_EQ(op.GetFlags(), 0x370008u);
  EXPECT_EQ(op.GetLabel(), L"Screw 4");
  op.ChangeLabel(nullptr);
  EXPECT_EQ(op.GetLabel(), L"");
}

TEST(MOperation, AddObjectRefusesNullAndDuplicates) {
  TestObject a("a", nullptr), b("b", nullptr);
  MOperation op;
  EXPECT_FALSE(op.AddObject(nullptr));
  EXPECT_TRUE(op.AddObject(&a));
  EXPECT_FALSE(op.AddObject(&a));
  EXPECT_TRUE(op.AddObject(&b));
  EXPECT_EQ(op.GetObjectList(), (std::vector<IObject*>{&a, &b}));
  EXPECT_TRUE(op.RemoveObject(&a));
  EXPECT_FALSE(op.RemoveObject(&a));
  EXPECT_EQ(op.GetObjectList(), std::vector<IObject*>{&b});
}

TEST(MOperation, IsEqualWantsTheSameActionAndObjectsInTheSameOrder) {
  TestObject a("a", nullptr), b("b", nullptr);
  MOperation one(MOperation::ACTION_ADD), other(MOperation::ACTION_ADD);
  one.AddObject(&a);
  one.AddObject(&b);
  other.AddObject(&b);
  other.AddObject(&a);
  EXPECT_FALSE(one.IsEqual(other));
  EXPECT_FALSE(other.IsEqual(one));

  other.RemoveAllObjects();
  other.AddObject(&a);
  other.AddObject(&b);
  other.SetFlags(0);
  other.SetSenderID(7);
  other.ChangeLabel(L"x");  // action 4 now
  EXPECT_FALSE(one.IsEqual(other));
  other.SetAction(MOperation::ACTION_ADD);
  EXPECT_TRUE(one.IsEqual(other)) << "flags, sender and label must not count";

  other.AddObject(&a);  // refused: still equal
  EXPECT_TRUE(one.IsEqual(other));
  other.RemoveObject(&b);
  EXPECT_FALSE(one.IsEqual(other));
}

}  // namespace
