#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/operations/MOperation.h"
#include "support/TestObjects.h"

namespace {

// Fills the host's string table with the texts of the actions used here and takes them out
// again, so that every test starts from the same table.
class ActionString : public testing::Test {
 protected:
  void SetUp() override {
    Set(352, L"Add %s");
    Set(353, L"%s removed");
    Set(354, L"Move %s to front");
    Set(356, L"%s");
    Set(357, L"Run 100%% of %s");
    Set(383, L"Action");
  }
  void TearDown() override {
    for (unsigned id : m_ids) VarnResRemoveString(id);
  }
  void Set(unsigned id, const wchar_t* text) {
    VarnResSetString(id, text);
    m_ids.push_back(id);
  }

 private:
  std::vector<unsigned> m_ids;
};

std::wstring Text(uint32_t action, std::vector<IObject*> objects = {}) {
  MOperation op(action);
  for (IObject* object : objects) op.AddObject(object);
  return op.GetActionString();
}

TEST_F(ActionString, WithoutObjectsTheGapOfTheNameCloses) {
  EXPECT_EQ(Text(MOperation::ACTION_ADD), L"Add");
  EXPECT_EQ(Text(MOperation::ACTION_REMOVE), L"removed");
  EXPECT_EQ(Text(MOperation::ACTION_REVERSIBLE_FORWARD), L"Move to front");
  EXPECT_EQ(Text(MOperation::ACTION_RUN_ONCE), L"Run 100% of");
  EXPECT_EQ(Text(MOperation::ACTION_CHANGE_LABEL), L"Action") << "a bare %s falls back to text 383";
  VarnResRemoveString(383);
  EXPECT_EQ(Text(MOperation::ACTION_CHANGE_LABEL), L"");
  EXPECT_EQ(Text(MOperation::ACTION_REFRESH), L"") << "no text in the table";
}

TEST_F(ActionString, NameFollowsTheObjectsTypes) {
  TestObject screw("screw", nullptr, L"Screw"), screw2("screw2", nullptr, L"Screw");
  TestObject implant("implant", nullptr, L"Implant");
  OtherTestObject other("other", nullptr, L"Screw");
  EXPECT_EQ(Text(MOperation::ACTION_ADD, {&screw}), L"Add Screw");
  EXPECT_EQ(Text(MOperation::ACTION_ADD, {&screw, &screw2}), L"Add Screws");
  EXPECT_EQ(Text(MOperation::ACTION_REMOVE, {&screw, &screw2}), L"Screws removed");
  EXPECT_EQ(Text(MOperation::ACTION_CHANGE_LABEL, {&screw}), L"Screw");
  // Run-time types decide, not the type names shown.
  EXPECT_EQ(Text(MOperation::ACTION_ADD, {&screw, &other}), L"Add Objects");
  EXPECT_EQ(Text(MOperation::ACTION_ADD, {&screw, &screw2, &other}), L"Add Objects");
  EXPECT_EQ(Text(MOperation::ACTION_ADD, {&screw, &implant}), L"Add Screws");
}

TEST_F(ActionString, DerivedFormatTakesThePlaceOfTheTable) {
  struct Operation : MOperation {
    using MOperation::MOperation;
    const wchar_t* _GetActionString() override {
      return GetAction() == 70000 ? L"Drill %s" : MOperation::_GetActionString();
    }
  };
  TestObject hole("hole", nullptr, L"Hole");
  Operation drill(70000), add(MOperation::ACTION_ADD);
  drill.AddObject(&hole);
  add.AddObject(&hole);
  EXPECT_EQ(std::wstring(drill.GetActionString()), L"Drill Hole");
  EXPECT_EQ(std::wstring(add.GetActionString()), L"Add Hole");
}

}  // namespace
