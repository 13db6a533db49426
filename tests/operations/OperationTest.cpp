#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/MFileName.h"
#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/operations/MOperationDoc.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/operations/UIOperationExport.h"
#include "ostrum/operations/UIOperationImport.h"
#include "support/TestObjects.h"

namespace {

// The host's texts of some actions; 355 and 778 have none.
struct HostTexts : testing::Test {
  static void SetUpTestSuite() {
    for (auto [id, text] : {std::pair{352, L"Add %s"}, {353, L"%s removed"}, {354, L"Move %s to front"}, {356, L"%s"},
                            {357, L"Run 100%% of %s"}, {358, L"Change"}, {383, L"Action"}})
      VarnResSetString(id, text);
  }
  static void TearDownTestSuite() { VarnResClearStrings(); }
};

constexpr uint32_t kUnchanged = 0xFFFFFFFF;  // the action keeps the flags that stood before

// The stages an action's flags ask for, by name.
using Op = MOperation;
constexpr uint32_t kUpdates = Op::FLAG_NEEDS_UPDATE_UI;  // frame and views
constexpr uint32_t kDone = Op::FLAG_HAS_TO_BE_DONE | kUpdates;
constexpr uint32_t kUndoable = Op::FLAG_HAS_TO_BE_PREPARED | Op::FLAG_CAN_BE_UNDONE | kDone;
constexpr uint32_t kChanges = Op::FLAG_CAUSES_DOCUMENT_CHANGE;
constexpr uint32_t kObservers = Op::FLAG_NEEDS_UPDATE_OBSERVERS;

// The flags' numeric values are part of the interface (hosts store and compare them).
TEST(MOperation, FlagsHaveTheirFixedValues) {
  EXPECT_EQ(Op::FLAG_NEEDS_OBJECTS, 0x1u);
  EXPECT_EQ(Op::FLAG_CAN_BE_REVERSED, 0x2u);
  EXPECT_EQ(Op::FLAG_SHOULD_UNDO_ONCE, 0x4u);
  EXPECT_EQ(Op::FLAG_CAUSES_DOCUMENT_CHANGE, 0x8u);
  EXPECT_EQ(Op::FLAG_HAS_TO_BE_PREPARED, 0x10000u);
  EXPECT_EQ(Op::FLAG_CAN_BE_UNDONE, 0x20000u);
  EXPECT_EQ(Op::FLAG_HAS_TO_BE_DONE, 0x40000u);
  EXPECT_EQ(Op::FLAG_NEEDS_UPDATE_FRAME | Op::FLAG_NEEDS_UPDATE_VIEW, 0x300000u);
  EXPECT_EQ(Op::FLAG_NEEDS_UPDATE_OBSERVERS, 0x400000u);
  EXPECT_EQ(Op::FLAG_NO_UPDATE_LOG, 0x1000000u);
  EXPECT_EQ(Op::FLAGS_DEFAULT, kUndoable | kObservers | kChanges);
  EXPECT_EQ(Op::FLAGS_DEFAULT, 0x770008u);
}

struct ActionRow {
  uint32_t action, flags, inverse, text_id;
  const wchar_t* bare;        // the action string without objects: the gap of the name closes
  const wchar_t* two_screws;  // and with two objects of one type
};

void PrintTo(const ActionRow& row, std::ostream* out) { *out << "action " << row.action; }

struct MOperationActionTable : HostTexts, testing::WithParamInterface<ActionRow> {};

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
  const uint32_t built_flags = MOperation(row.action).GetFlags();
  EXPECT_EQ(built_flags, row.flags == kUnchanged ? uint32_t{MOperation::FLAGS_DEFAULT} : row.flags);

  // Reversing turns to the inverse and keeps the flags: an add does not take on those of remove.
  MOperation reversed(row.action);
  reversed.AddFlags(MOperation::FLAG_CAN_BE_REVERSED);
  EXPECT_TRUE(reversed.Reverse());
  EXPECT_EQ(reversed.GetAction(), row.inverse);
  EXPECT_EQ(reversed.GetFlags(), built_flags | MOperation::FLAG_CAN_BE_REVERSED);

  EXPECT_EQ(std::wstring(op.GetActionString()), row.bare);
  TestObject screw("", nullptr, L"Screw"), screw2("", nullptr, L"Screw");
  op.AddObject(&screw);
  op.AddObject(&screw2);
  EXPECT_EQ(std::wstring(op.GetActionString()), row.two_screws);
}

const ActionRow kActions[] = {
    {0, kUndoable | kChanges, 1, 352, L"Add", L"Add Screws"},
    {1, kUndoable | kChanges | kObservers, 0, 353, L"removed", L"Screws removed"},
    {2, kUnchanged, 2, 778, L"", L""},
    {3, kDone, 0, 353, L"removed", L"Screws removed"},
    {4, kUndoable | kChanges, 4, 356, L"Action", L"Screws"},
    {5, kUndoable | kChanges | Op::FLAG_CAN_BE_REVERSED, 6, 354, L"Move to front", L"Move Screws to front"},
    {6, kUndoable | kChanges | Op::FLAG_CAN_BE_REVERSED, 5, 355, L"", L""},
    {7, kUpdates | kObservers, 7, 358, L"Change", L"Change"},
    {8, kUpdates | kObservers, 8, 358, L"Change", L"Change"},
    {400, kDone, 400, 357, L"Run 100% of", L"Run 100% of Screws"},
    {9, kUnchanged, 9, 358, L"Change", L"Change"},
    {60000, kUnchanged, 60000, 358, L"Change", L"Change"}};

INSTANTIATE_TEST_SUITE_P(Actions, MOperationActionTable, testing::ValuesIn(kActions),
                         [](const auto& info) { return "Action" + std::to_string(info.param.action); });

// The name is the first object's type name, or "Object" once another run-time type shows up; a
// derived format takes the place of the table's.
TEST_F(HostTexts, ActionStringNamesTheObjectsByRunTimeType) {
  struct Other : TestObject {
    using TestObject::TestObject;
  };
  struct Drill : MOperation {
    Drill() : MOperation(70000) {}
    const wchar_t* _GetActionString() override { return L"Drill %s"; }
  };
  TestObject screw("", nullptr, L"Screw"), implant("", nullptr, L"Implant");
  Other other("", nullptr, L"Screw");
  auto text = [](MOperation&& op, std::vector<IObject*> objects) {
    for (IObject* object : objects) op.AddObject(object);
    return std::wstring(op.GetActionString());
  };
  EXPECT_EQ(text(MOperation(0), {&screw, nullptr, &screw}), L"Add Screw") << "null and repeats stay out";
  EXPECT_EQ(text(MOperation(0), {&screw, &implant}), L"Add Screws");
  EXPECT_EQ(text(MOperation(0), {&screw, &implant, &other}), L"Add Objects");
  EXPECT_EQ(text(Drill(), {&implant}), L"Drill Implant");
}

// The record on disk is the action alone, four bytes little-endian; flags and sender stay out.
TEST(MOperation, RecordIsTheActionInFourLittleEndianBytes) {
  MFileName name;
  ASSERT_TRUE(name.SET_TEMP_NAME(nullptr, L"ostrum-operation-", L".bin"));
  MFile file;
  ASSERT_TRUE(file.OPEN_WRITE(name));
  MOperation big, label(MOperation::ACTION_CHANGE_LABEL);
  big.SetAction(0x01020304);
  big.ChangeFlags(0x8, 0x40000);
  big.SetSenderID(99);
  EXPECT_TRUE(big.Save(file));
  EXPECT_TRUE(label.Save(file));
  ASSERT_EQ(file.WRITE("\x07", 2), 2u);  // half a record
  ASSERT_TRUE(file.CLOSE());
  std::ifstream in(name.GET_NATIVE_PATH(), std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), std::string("\4\3\2\1\4\0\0\0\7\0", 10));

  MOperation op(MOperation::ACTION_REFRESH);
  ASSERT_TRUE(file.OPEN_READ(name));
  EXPECT_TRUE(op.Load(file));
  EXPECT_EQ(op.GetAction(), 0x01020304u);
  EXPECT_TRUE(op.Load(file));
  EXPECT_EQ(op.GetFlags(), kUpdates | kObservers) << "Load must not rebuild the flags of action 4";
  EXPECT_FALSE(op.Load(file));
  EXPECT_EQ(op.GetAction(), 4u) << "half a record must not overwrite the action";
  EXPECT_TRUE(file.CLOSE());
  EXPECT_FALSE(op.Save(file)) << "a write that did not happen must not answer true";
  EXPECT_TRUE(name.REMOVE());
}

// Duplicates are refused alike below and above sixteen objects, where AddObject changes its
// method: after removals, in copies and assignments, and once the list was changed by hand.
TEST(MOperation, AddObjectRefusesDuplicatesHoweverTheListWasMade) {
  std::array<TestObject, 40> o;
  MOperation op;
  for (TestObject& object : o) EXPECT_TRUE(op.AddObject(&object));
  for (TestObject& object : o) EXPECT_FALSE(op.AddObject(&object));
  EXPECT_EQ(op.GetNumObjects(), o.size());

  // Removed, an object may come back, once; the others stay refused.
  EXPECT_TRUE(op.RemoveObject(&o[30]));
  EXPECT_FALSE(op.AddObject(&o[31]));
  EXPECT_TRUE(op.AddObject(&o[30]));
  EXPECT_FALSE(op.AddObject(&o[30]));

  // A copy and an assignment answer from their own lists.
  MOperation copy(op);
  EXPECT_FALSE(copy.AddObject(&o[5]));
  MOperation assigned;
  for (size_t i = 0; i < 20; ++i) assigned.AddObject(&o[i + 20]);
  assigned = op;
  EXPECT_FALSE(assigned.AddObject(&o[0]));
  EXPECT_EQ(assigned.GetNumObjects(), o.size());
  op.RemoveAllObjects();
  EXPECT_TRUE(op.AddObject(&o[0]));

  // Changed by hand, in place and at the end: AddObject sees the list as it stands.
  for (size_t i = 1; i < 20; ++i) op.AddObject(&o[i]);
  std::vector<IObject*>& list = op.GetObjectList();
  TestObject extra, swapped_in;
  list.push_back(&extra);
  list[3] = &swapped_in;
  EXPECT_FALSE(op.AddObject(&extra));
  EXPECT_FALSE(op.AddObject(&swapped_in));
  EXPECT_TRUE(op.AddObject(&o[3])) << "the object overwritten by hand is no longer listed";

  // A list filled by hand with an object twice still holds it after one removal.
  MOperation twice;
  for (size_t i = 0; i < 20; ++i) twice.AddObject(&o[i]);
  twice.GetObjectList().push_back(&o[0]);
  MOperation copy_of_twice(twice);
  EXPECT_TRUE(copy_of_twice.RemoveObject(&o[0]));
  EXPECT_FALSE(copy_of_twice.AddObject(&o[0]));
}

// The observers of the operation's objects, once each in order of first sight, also past sixteen
// where the search for duplicates changes its method; what the list holds already stays first.
TEST(MOperation, GetObserversListsEachOnceInOrderOfFirstSight) {
  std::array<TestObject, 30> o;  // addresses, and so the order of a subject, ascend with the index
  TestObject a, b, c;
  MObject plain;  // not a subject
  for (size_t i : {19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 3}) a.Attach(&o[i]);
  for (size_t i = 0; i < 13; ++i) b.Attach(&o[i]);
  for (size_t i = 25; i < 30; ++i) c.Attach(&o[i]);
  MOperation op;
  for (IObject* object : std::initializer_list<IObject*>{&a, &plain, &b, &c}) op.AddObject(object);
  std::vector<IObserver*> list = {&o[27]}, expected;
  for (size_t i : {27, 3, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 0, 1, 2, 4, 5, 6, 7, 8, 9, 25, 26, 28, 29})
    expected.push_back(&o[i]);
  op.GetObservers(list);
  EXPECT_EQ(list, expected);
}

TEST(MOperation, StoredDefiningTreeObjectsAreAttachedBackOnRestore) {
  TestObject removed, first, second, partner;
  MDefinedObject not_a_tree_object;
  removed.AttachDefiningObject(&first);
  removed.AttachDefiningObject(&not_a_tree_object);
  removed.AttachDefiningObject(&second);
  MObject plain;
  MOperation op(MOperation::ACTION_REMOVE);
  op.AddObject(&removed);
  op.AddObject(&plain);
  op.StoreObservers();
  op.AddObject(&partner);
  op.RestoreObservers();
  EXPECT_EQ(first.GetNumberOfObservers(), 0u) << "rows no longer match the objects: nothing";
  op.RemoveObject(&partner);
  op.RestoreObservers();
  for (TestObject* defining : {&first, &second}) {
    ASSERT_EQ(defining->GetNumberOfObservers(), 1u);
    EXPECT_EQ(*defining->GetBeginIt(), static_cast<IObserver*>(&removed));
  }
}

}  // namespace

namespace {

// The user-interface operations: their flags (set over MOperation's), inverses and texts, and
// their record: MOperation's, then the saved value.
struct UIActionRow {
  uint32_t action, flags, inverse, text_id;
};
void PrintTo(const UIActionRow& row, std::ostream* out) { *out << "action " << row.action; }
struct UIOperationActionTable : testing::TestWithParam<UIActionRow> {};

TEST_P(UIOperationActionTable, SetsFlagsInverseAndText) {
  const UIActionRow& row = GetParam();
  UIOperation op;
  op.SetFlags(0x1000005);
  op.SetAction(row.action);
  EXPECT_EQ(op.GetFlags(), row.flags == kUnchanged ? 0x1000005u : row.flags) << std::hex << op.GetFlags();
  EXPECT_EQ(op.GetInverseAction(), row.inverse);
  EXPECT_EQ(UIOperation::GetUIActionTextID(row.action), row.text_id);
  EXPECT_EQ(UIOperation(row.action).GetSceneID(), 0xFFFFFFFFull) << "the default scene";
}

INSTANTIATE_TEST_SUITE_P(
    Actions, UIOperationActionTable,
    testing::Values(UIActionRow{60000, kUpdates | Op::FLAG_HAS_TO_BE_PREPARED | Op::FLAG_HAS_TO_BE_DONE, 60001, 364},
                    UIActionRow{60001, 0x350000, 60000, 365}, UIActionRow{60002, 0x350000, 60002, 358},
                    UIActionRow{60003, kUndoable | kObservers | kChanges | Op::FLAG_CAN_BE_REVERSED, 60004, 366},
                    UIActionRow{60004, 0x77000A, 60003, 367}, UIActionRow{60005, Op::FLAGS_DEFAULT, 60005, 368},
                    UIActionRow{60006, kUnchanged, 60006, 369}, UIActionRow{60007, 0x60000, 60007, 358},
                    // Other numbers are MOperation's.
                    UIActionRow{MOperation::ACTION_ADD, kUndoable | kChanges, 1, 352}),
    [](const auto& info) { return "Action" + std::to_string(info.param.action); });

TEST(UIOperation, RecordIsTheActionThenTheSavedValue) {
  MFileName name;
  ASSERT_TRUE(name.SET_TEMP_NAME(nullptr, L"ostrum-uioperation-", L".bin"));
  MFile file;
  ASSERT_TRUE(file.OPEN_WRITE(name));
  UIOperation hide(UIOperation::ACTION_HIDE);
  hide.SetSavedValue(0x0A0B0C0D);
  hide.SetSceneID(77);
  EXPECT_TRUE(hide.Save(file));
  ASSERT_TRUE(file.CLOSE());
  std::ifstream in(name.GET_NATIVE_PATH(), std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), std::string("\x64\xEA\0\0\x0D\x0C\x0B\x0A", 8))
      << "60004 and the value, four little-endian bytes each; the scene id stays out";
  UIOperation loaded;
  ASSERT_TRUE(file.OPEN_READ(name));
  EXPECT_TRUE(loaded.Load(file));
  EXPECT_EQ(loaded.GetAction(), UIOperation::ACTION_HIDE);
  EXPECT_EQ(loaded.GetSavedValue(), 0x0A0B0C0Du);
  EXPECT_EQ(loaded.GetSceneID(), 0xFFFFFFFFull);
  EXPECT_FALSE(loaded.Load(file)) << "nothing more";
  EXPECT_TRUE(file.CLOSE());

  // A record cut short after its action leaves the saved value as it was.
  ASSERT_TRUE(file.OPEN_WRITE(name));
  ASSERT_EQ(file.WRITE("\x63\xEA\0\0\x01\x02", 6), 6u);
  ASSERT_TRUE(file.CLOSE());
  ASSERT_TRUE(file.OPEN_READ(name));
  EXPECT_FALSE(loaded.Load(file));
  EXPECT_EQ(loaded.GetSavedValue(), 0x0A0B0C0Du);
  EXPECT_TRUE(file.CLOSE());
  EXPECT_TRUE(name.REMOVE());
}

// The stock operations beside UIOperation: document notifications, import and export. Their
// flags go over MOperation's table; their texts are the host's.
struct StockRow {
  const char* name;
  MOperation* (*make)(uint32_t action);
  uint32_t action, flags, text_id;
};
void PrintTo(const StockRow& row, std::ostream* out) { *out << row.name; }
struct StockOperationTable : testing::TestWithParam<StockRow> {
  static void SetUpTestSuite() {
    for (unsigned id : {353u, 358u, 370u, 371u}) VarnResSetString(id, L"text " + std::to_wstring(id));
  }
  static void TearDownTestSuite() { VarnResClearStrings(); }
};

TEST_P(StockOperationTable, SetsItsFlagsAndNamesItsText) {
  const StockRow& row = GetParam();
  std::unique_ptr<MOperation> op(row.make(row.action));
  EXPECT_EQ(op->GetAction(), row.action);
  EXPECT_EQ(op->GetFlags(), row.flags) << std::hex << op->GetFlags();
  EXPECT_EQ(op->GetActionString(), L"text " + std::to_wstring(row.text_id));
}

template <class Operation>
MOperation* Make(uint32_t action) {
  return new Operation(action);
}

INSTANTIATE_TEST_SUITE_P(
    Operations, StockOperationTable,
    testing::Values(
        // Notifications are neither undoable nor a change of the document, whatever the action.
        StockRow{"DocOpened", Make<MOperationDoc>, MOperationDoc::ACTION_DOC_OPENED, 0x750000, 358},
        StockRow{"DocSaved", Make<MOperationDoc>, MOperationDoc::ACTION_DOC_SAVED, 0x750000, 358},
        StockRow{"DocRemove", Make<MOperationDoc>, MOperation::ACTION_REMOVE, 0x750000, 353},
        StockRow{"Import", Make<UIOperationImport>, UIOperationImport::ACTION_IMPORT, 0x370008, 371},
        StockRow{"ImportOther", Make<UIOperationImport>, MOperation::ACTION_REFRESH, 0x700000, 358},
        StockRow{"Export", Make<UIOperationExport>, UIOperationExport::ACTION_EXPORT, 0x50000, 370},
        StockRow{"ExportOther", Make<UIOperationExport>, MOperation::ACTION_REFRESH, 0x700000, 358}),
    [](const auto& info) { return std::string(info.param.name); });

// What the table above does not show: a null file name reads back empty, and an import's defaults.
TEST(StockOperations, ANullFileNameReadsEmptyAndAnImportStartsWithItsDefaults) {
  UIOperationExport exported(UIOperationExport::ACTION_EXPORT);
  exported.SetFileName(nullptr);
  EXPECT_EQ(exported.GetFileName(), L"");
  UIOperationImport import;
  EXPECT_EQ(import.GetFileName(), L"");
  EXPECT_EQ(import.GetSplitSurfaceAngle(), 30.0f);
  EXPECT_FALSE(import.GetFixNormals() || import.GetSplitSurfaces() || import.GetSplitIntoLoadedFeature());
}

}  // namespace
