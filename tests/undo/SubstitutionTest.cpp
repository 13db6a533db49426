// Managers put in front of one another, histories moved or reverted between them, and
// managers that have been shut down.

#include <stdexcept>

#include "UndoTestKit.h"

namespace undo_test {
namespace {

class SubstitutionTest : public UndoTest {
 protected:
  void TearDown() override {
    front.reset();
    middle.reset();
    UndoTest::TearDown();
  }
  void StepOn(Manager& m, const wchar_t* text, const char* name, const char* id = nullptr) {
    Transaction* tx = m.BeginTransaction(text, nullptr);
    m.RegisterAction(new HostAction(name, m, log), id);
    tx->Commit();
  }
  std::unique_ptr<Manager> middle = std::make_unique<Manager>();
  std::unique_ptr<Manager> front = std::make_unique<Manager>();
};

TEST_F(SubstitutionTest, AManagerInFrontTakesEverythingUntilPopped) {
  Manager& doc = *manager;
  StepOn(doc, L"D", "d");
  EXPECT_FALSE(doc.SubstituteManager(&doc));
  EXPECT_FALSE(doc.SubstituteManager(nullptr));
  ASSERT_TRUE(front->SubstituteManager(&doc));
  EXPECT_FALSE(front->SubstituteManager(middle.get())) << "already in a chain";
  for (Manager* m : {&doc, front.get()}) {
    EXPECT_TRUE(m->IsInSubstitutionStack());
    EXPECT_TRUE(m->IsOnTopOfSubstitutionStack()) << "every manager of a chain forwards to its front";
  }
  StepOn(doc, L"F", "f");
  EXPECT_EQ(Stacks(*front), "undo [F: f] | redo ");
  Transaction* open = doc.BeginTransaction(L"open", nullptr);
  EXPECT_EQ(doc.PopFromSubstitutionStack(), nullptr) << "not while a transaction is open";
  open->Terminate();

  // A failure in the front history costs that history only.
  StepOn(doc, L"G", "g");
  Transaction* tx = doc.BeginTransaction(L"bad", nullptr);
  doc.RegisterAction(new HostAction("bad", doc, log, [] { throw std::runtime_error("x"); }), nullptr);
  tx->Commit();
  EXPECT_THROW(doc.Undo(), std::runtime_error);
  EXPECT_EQ(Stacks(*front), "undo  | redo ");

  StepOn(doc, L"H", "h");
  EXPECT_EQ(doc.PopFromSubstitutionStack(), &doc);
  EXPECT_FALSE(doc.IsInSubstitutionStack() || front->IsInSubstitutionStack());
  EXPECT_EQ(Stacks(doc), "undo [D: d] | redo ") << "the history below rested untouched";
  EXPECT_EQ(Stacks(*front), "undo [H: h] | redo ");
}

// Chain front -> middle -> doc, popped through each of its managers in turn.
TEST_F(SubstitutionTest, AChainOfThreeIsPoppedThroughAnyOfItsManagers) {
  for (int through = 0; through < 3; ++through) {
    SCOPED_TRACE("popped through manager " + std::to_string(through));
    Manager* chain[] = {manager.get(), middle.get(), front.get()};
    ASSERT_TRUE(middle->SubstituteManager(manager.get()));
    ASSERT_TRUE(front->SubstituteManager(manager.get())) << "in front of the chain doc belongs to";
    StepOn(*manager, L"F", "f");
    EXPECT_EQ(chain[through]->PopFromSubstitutionStack(), middle.get());
    EXPECT_FALSE(front->IsInSubstitutionStack());
    StepOn(*manager, L"M", "m");
    EXPECT_EQ(Stacks(*middle), "undo [M: m] | redo ");
    EXPECT_EQ(Stacks(*front), "undo [F: f] | redo ");
    EXPECT_EQ(chain[through == 2 ? 0 : through]->PopFromSubstitutionStack(), manager.get());
    EXPECT_EQ(Stacks(*manager), "undo  | redo ");
    middle->Cleanup();
    front->Cleanup();
  }
  // Shutdown through the bottom ends the front, which then ignores everything; destroying the
  // bottom ends the rest.
  ASSERT_TRUE(middle->SubstituteManager(manager.get()));
  ASSERT_TRUE(front->SubstituteManager(middle.get()));
  StepOn(*manager, L"F", "f");
  manager->Shutdown();
  EXPECT_TRUE(manager->IsOnTopOfSubstitutionStack()) << "the others now forward to middle";
  struct Kept : IAction {
    ~Kept() override = default;
    int calls = 0;
    void _Perform() override { ++calls; }
    void _Discard() override { ++calls; }
  } kept;
  EXPECT_TRUE(front->IsBusy());
  EXPECT_FALSE(front->IsUndoing() || front->CanUndo() || front->IsUndoRegistrationEnabled());
  front->Undo();
  front->RegisterAction(&kept, "id");
  EXPECT_EQ(front->BeginTransaction(L"t", nullptr), nullptr);
  Manager other;
  EXPECT_FALSE(front->SubstituteManager(&other) || other.SubstituteManager(front.get()));
  EXPECT_EQ(kept.calls, 0) << "the action is neither performed nor disposed of";
  manager.reset();
  EXPECT_TRUE(middle->IsBusy());
}

TEST_F(SubstitutionTest, TransferKeepsGroupsOrTakesOneTextAndRevertPerforms) {
  Manager& source = *front;
  StepOn(source, L"A", "a", "ka");
  StepOn(source, L"B", "b");
  StepOn(source, L"C", "c");
  StepOn(*manager, L"T", "t");
  Ostrum::Undo::TransferUndoActions(*manager, source, nullptr, nullptr);
  EXPECT_EQ(Stacks(*manager), "undo [C: c] [B: b] [A: a#ka] [T: t] | redo ");
  EXPECT_EQ(Stacks(source), "undo  | redo ");
  Ostrum::Undo::TransferUndoActions(source, *manager, L"all", nullptr);
  EXPECT_EQ(Stacks(source), "undo [all: c b a#ka t] | redo ");

  Ostrum::Undo::RevertUndoActions(source, false, nullptr);
  EXPECT_EQ(log, (Calls{"c", "b", "a", "t"}));
  EXPECT_TRUE(source.IsUndoRegistrationEnabled());
  EXPECT_EQ(Stacks(source), "undo  | redo ") << "what reverted actions register is lost";
}

}  // namespace
}  // namespace undo_test
