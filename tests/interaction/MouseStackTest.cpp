// The tool stack of UIMouseHandler: the order in which tools are selected, suspended, resumed,
// deselected and freed, the default tool, transient tools, and who frees a tool on every path.

#include <gtest/gtest.h>

#include "ToolSupport.h"
#include "ostrum/document/MDocument.h"

namespace {

/// Frees through the stock strategy and logs each disposal, so that double frees show.
class CountingStrategy : public PtrStrategy<UIMouse> {
 public:
  explicit CountingStrategy(CallLog* log) : m_log(log) {}
  void Destroy(PtrHolder<UIMouse>& holder) override {
    LogCall(m_log, holder.m_ptr ? "strategy.Destroy" : "strategy.Destroy(null)");
    PtrStrategy<UIMouse>::Destroy(holder);
  }

 private:
  CallLog* m_log;
};

class MouseStack : public DesktopTest {
 protected:
  CallLog log;
  UIMouseHandler handler{boost::shared_ptr<IPtrStrategy<UIMouse>>(new CountingStrategy(&log))};
  Calls Take() { return std::exchange(log, {}); }
};

TEST_F(MouseStack, StackingUnstackingAndReplacingToolsTellEachToolInOrder) {
  auto* a = new MeasureTool("a", &log);
  auto* b = new MoveTool("b", &log);
  auto* c = new DrawTool("c", &log);
  EXPECT_TRUE(handler.SelectMouse(a, false));
  EXPECT_TRUE(handler.SelectMouse(b, true));
  EXPECT_TRUE(handler.SelectMouse(c, true));
  EXPECT_EQ(Take(), (Calls{"a.OnSelect", "a.OnSuspend", "b.OnSelect", "b.OnSuspend", "c.OnSelect"}));
  EXPECT_EQ(handler.GetCurrentMouse(), c);
  EXPECT_EQ(handler.GetDeselectMouse(), b);
  EXPECT_TRUE(handler.IsCurrentMouseAdditional());

  EXPECT_TRUE(handler.DeselectMouse());
  EXPECT_EQ(Take(), (Calls{"c.OnDeselect", "strategy.Destroy", "c.~", "b.OnResume"}));
  EXPECT_EQ(handler.GetCurrentMouse(), b);

  // A tool that is not additional replaces the whole stack; each tool below is resumed for a
  // moment before it is deselected in turn.
  auto* d = new MeasureTool("d", &log);
  EXPECT_TRUE(handler.SelectMouse(d, false));
  EXPECT_EQ(Take(), (Calls{"b.OnDeselect", "strategy.Destroy", "b.~", "a.OnResume", "a.OnDeselect",
                           "strategy.Destroy", "a.~", "d.OnSelect"}));
  EXPECT_FALSE(handler.IsCurrentMouseAdditional());
  EXPECT_EQ(handler.GetDeselectMouse(), nullptr) << "no default tool yet";

  // A like tool is never stacked on another: the new one is freed at once.
  EXPECT_TRUE(handler.SelectMouse(new MeasureTool("e", &log), true));
  EXPECT_EQ(Take(), (Calls{"strategy.Destroy", "e.~"}));
  EXPECT_EQ(handler.GetCurrentMouse(), d);
}

TEST_F(MouseStack, TheDefaultToolComesBackWhenTheStackEmptiesAndIsFreedOnlyWhenReplaced) {
  EXPECT_EQ(handler.GetDeselectMouse(), nullptr);
  EXPECT_EQ(handler.GetCurrentMouse(), nullptr);
  EXPECT_TRUE(handler.DeselectMouse()) << "nothing to deselect";
  auto* navigate = new MeasureTool("navigate", &log);
  handler.SetDefaultMouse(navigate);
  EXPECT_EQ(Take(), Calls{"strategy.Destroy(null)"}) << "the empty default is handed to the strategy";
  EXPECT_EQ(handler.GetCurrentMouse(), nullptr) << "the new default is not selected";
  EXPECT_EQ(handler.GetDeselectMouse(), navigate);

  EXPECT_TRUE(handler.SelectMouse(nullptr, true)) << "null selects the default tool, additional or not";
  EXPECT_TRUE(handler.DeselectMouse());
  EXPECT_EQ(Take(), Calls{"navigate.OnSelect"}) << "the default tool on top is not deselected";

  auto* measure = new MoveTool("measure", &log);
  handler.SelectMouse(measure, false);
  EXPECT_EQ(Take(), (Calls{"navigate.OnDeselect", "measure.OnSelect"})) << "unwinding never frees the default";
  EXPECT_EQ(handler.GetDeselectMouse(), navigate);
  handler.DeselectMouse();
  EXPECT_EQ(Take(), (Calls{"measure.OnDeselect", "strategy.Destroy", "measure.~", "navigate.OnSelect"}));
  EXPECT_EQ(handler.GetCurrentMouse(), navigate);

  // A new default unwinds the stack and frees the old one.
  handler.SetDefaultMouse(new MoveTool("other", &log));
  EXPECT_EQ(Take(), (Calls{"navigate.OnDeselect", "strategy.Destroy", "navigate.~"}));
  EXPECT_EQ(handler.GetCurrentMouse(), nullptr);
}

TEST_F(MouseStack, ATransientToolGoesOnTopOfOneToolOnlyAndIsDeletedOtherwise) {
  // On an empty stack nothing happens and the caller keeps the tool.
  MeasureTool kept("kept", &log);
  handler.ActivateAdditionalMouseStub(&kept);
  EXPECT_EQ(Take(), Calls{});
  EXPECT_EQ(handler.GetCurrentMouse(), nullptr);

  handler.SelectMouse(new MeasureTool("a", &log), false);
  handler.ActivateAdditionalMouseStub(new MeasureTool("stub", &log));
  EXPECT_EQ(Take(), (Calls{"a.OnSelect", "a.OnSuspend", "stub.OnSelect"})) << "whatever its class";
  // A third is deleted directly, without the strategy.
  handler.ActivateAdditionalMouseStub(new MoveTool("third", &log));
  EXPECT_EQ(Take(), Calls{"third.~"});
  handler.DeactivateAdditionalMouseStub();
  EXPECT_EQ(Take(), (Calls{"stub.OnDeselect", "strategy.Destroy", "stub.~", "a.OnResume"}));
}

TEST_F(MouseStack, EveryToolIsFreedExactlyOnceAlsoWhenTheHandlerGoesWithToolsSuspended) {
  {
    UIMouseHandler owner{boost::shared_ptr<IPtrStrategy<UIMouse>>(new CountingStrategy(&log))};
    owner.SetDefaultMouse(new MeasureTool("default", &log));
    owner.SelectMouse(nullptr, false);
    owner.SelectMouse(new MoveTool("a", &log), true);
    owner.SelectMouse(new DrawTool("b", &log), true);
    Take();
  }
  EXPECT_EQ(Take(), (Calls{"b.OnDeselect", "strategy.Destroy", "b.~", "a.OnResume", "a.OnDeselect", "strategy.Destroy",
                           "a.~", "default.OnResume", "default.OnDeselect", "strategy.Destroy", "default.~"}));
}

TEST_F(MouseStack, AnAdditionalToolOnAnEmptyStackBecomesItsBase) {
  handler.SelectMouse(new MeasureTool("a", &log), true);
  EXPECT_EQ(Take(), Calls{"a.OnSelect"});
  EXPECT_FALSE(handler.IsCurrentMouseAdditional());
}

TEST(DocumentMouseHandler, ANewDocumentHasAHandlerOfItsOwnAndClosingItFreesTheTools) {
  class Document : public MDocument {
   protected:
    bool _CreateContents() override { return true; }
  };
  CallLog log;
  Document document;
  EXPECT_EQ(document.GetMouseHandler(), nullptr);
  ASSERT_TRUE(document.CreateContents());
  UIMouseHandler* handler = document.GetMouseHandler();
  ASSERT_NE(handler, nullptr);
  handler->SelectMouse(new MeasureTool("tool", &log), false);
  document.DeleteContents();
  EXPECT_EQ(document.GetMouseHandler(), nullptr);
  EXPECT_EQ(log, (Calls{"tool.OnSelect", "tool.OnDeselect", "tool.~"}));
}

}  // namespace
