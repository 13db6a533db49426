// What a selected tool brings to the main window (its popup in front of "Help", its toolbar
// buttons and images) and takes away again, the access keys given to menus, and the right
// button's context menu composed from the tool and the window, driven as a user would.

#include <gtest/gtest.h>

#include "ToolSupport.h"
#include "ostrum/foundation/platform/ImageList.h"
#include "ostrum/foundation/platform/Resources.h"
#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/interaction/MContextMenu.h"

namespace {

class TestHandler : public UIMouseHandler {
 public:
  using UIMouseHandler::_AssignMenuMnemonics;
  using UIMouseHandler::_FindMenuPosition;
};

std::string Described(CMenu& menu) { return DesktopInspector::Narrow(Ostrum::Desktop::DescribeMenu(menu)); }

TEST(MenuMnemonics, EveryItemGetsAFreeKeyAndTheRulesForAmpersandsHold) {
  CMenu menu;
  menu.CreatePopupMenu();
  menu.AppendMenu(MF_STRING, 1, L"&Open");
  menu.AppendMenu(MF_STRING, 2, L"Options");  // 'O' is free: only 'p' was taken
  menu.AppendMenu(MF_STRING, 3, L"pan");      // 'p' was taken (behind 'O'), 'a' was not
  menu.AppendMenu(MF_SEPARATOR, 0, nullptr);
  menu.AppendMenu(MF_STRING, 4, L"A&&BC");    // the character behind "&&" is dropped
  menu.AppendMenu(MF_STRING, 5, L"Excluded&X");
  menu.AppendMenu(MF_STRING, 6, L"");
  TestHandler::_AssignMenuMnemonics(menu, {5});
  EXPECT_EQ(Described(menu), "&Open 1|&Options 2|p&an 3|-|&A&&C 4|Excluded&X 5| 6");

  // The anchor is found ignoring "&", "." and case; both texts must end together.
  CMenu bar;
  bar.CreateMenu();
  for (const wchar_t* title : {L"&File", L"He&lp...", L"Help me"}) bar.AppendMenu(MF_STRING, 9, title);
  EXPECT_EQ(TestHandler::_FindMenuPosition(bar, L"help"), 1u);
  EXPECT_EQ(TestHandler::_FindMenuPosition(bar, L"Hel"), 0xFFFFFFFFu);
  CMenu empty;
  empty.CreateMenu();
  EXPECT_EQ(TestHandler::_FindMenuPosition(empty, L"Help"), 0xFFFFFFFFu);
}

class ToolMenus : public ToolDesktopTest {
 protected:
  // A tool with a popup "Measure" of two commands and a toolbar of two buttons.
  MeasureTool* MakeMeasure(const std::string& name = "measure") {
    auto* tool = new MeasureTool(name, &log);
    tool->title = L"Measure";
    tool->items = {{4001, L"Distance"}, {4002, L"Angle"}};
    tool->toolbar_id = 700;
    return tool;
  }
  void SetUp() override {
    ToolDesktopTest::SetUp();
    namespace Resources = Ostrum::Desktop::Resources;
    Ostrum::Desktop::BitmapPixels strip{32, 15, std::vector<uint32_t>(32 * 15, 0xC0C0C0)};
    Resources::SetBitmap(nullptr, 700, strip);
    Resources::SetToolbar(nullptr, 700, 16, 15, {0, 4001, 0, 4002});
    Resources::SetBitmap(nullptr, 701, Ostrum::Desktop::BitmapPixels{16, 15, std::vector<uint32_t>(16 * 15, 0)});
    Resources::SetToolbar(nullptr, 701, 16, 15, {5001});
    Resources::SetBitmap(nullptr, 702, strip);
    Resources::SetToolbar(nullptr, 702, 16, 15, {0, 0});
  }
  int Images() { return ImageList_GetImageCount(toolbar.GetImageList()); }
};

TEST_F(ToolMenus, ASelectedToolPutsItsPopupBeforeHelpAndItsButtonsBehindASeparatorAndTakesThemAway) {
  auto* measure = MakeMeasure();
  handler.SelectMouse(measure, false);
  EXPECT_EQ(MenuBar(), "&File>[]|&View>[]|Measure>[&Distance 4001,&Angle 4002]|&Help>[]");
  EXPECT_EQ(Toolbar(), "100[0]|-|4001[0]|-|4002[1]") << "the leading separator of the resource is not added";
  EXPECT_EQ(Images(), 2);
  EXPECT_EQ(measure->FirstButtonCommand(), 4001u);
  EXPECT_EQ(measure->ButtonCount(), 4u);
  EXPECT_EQ(measure->FirstImage(), 0);
  EXPECT_EQ(log, (Calls{"measure.OnSelect", "measure.OnAppendMenu main(-1,-1)"}));

  // A tool on top adds its own; the suspended tool keeps what it brought.
  auto* move = new MoveTool("move", &log);
  move->title = L"Move";
  move->items = {{5001, L"Drag"}};
  move->toolbar_id = 701;
  handler.SelectMouse(move, true);
  EXPECT_EQ(MenuBar(), "&File>[]|&View>[]|Measure>[&Distance 4001,&Angle 4002]|Move>[&Drag 5001]|&Help>[]");
  EXPECT_EQ(Toolbar(), "100[0]|-|4001[0]|-|4002[1]|-|5001[2]");
  EXPECT_EQ(Images(), 3);

  handler.DeselectMouse();
  EXPECT_EQ(MenuBar(), "&File>[]|&View>[]|Measure>[&Distance 4001,&Angle 4002]|&Help>[]");
  EXPECT_EQ(Toolbar(), "100[0]|-|4001[0]|-|4002[1]");
  EXPECT_EQ(Images(), 2);

  // Selecting another base tool takes everything away.
  handler.SelectMouse(new MoveTool("plain", &log), false);
  EXPECT_EQ(MenuBar(), "&File>[]|&View>[]|&Help>[]");
  EXPECT_EQ(Toolbar(), "100[0]");
  EXPECT_EQ(Images(), 0);
}

TEST_F(ToolMenus, WithoutHelpThePopupGoesLastAndAToolbarOfSeparatorsLeavesItsSeparatorBehind) {
  UIMouse::SetContextPositionTitle(L"Window");
  auto* measure = MakeMeasure();
  measure->toolbar_id = 702;
  handler.SelectMouse(measure, false);
  UIMouse::SetContextPositionTitle(L"Help");
  EXPECT_EQ(MenuBar(), "&File>[]|&View>[]|&Help>[]|Measure>[&Distance 4001,&Angle 4002]");
  EXPECT_EQ(Toolbar(), "100[0]|-");
  EXPECT_EQ(measure->FirstButtonCommand(), 0u);
  handler.SelectMouse(new MoveTool("next", &log), false);
  EXPECT_EQ(MenuBar(), "&File>[]|&View>[]|&Help>[]");
  EXPECT_EQ(Toolbar(), "100[0]|-") << "a tool without a first button cannot find its separator again";
}

TEST_F(ToolMenus, AToolWithoutItemsOrTitleBringsNoPopupAndNoMenuIsLeftBehind) {
  auto* quiet = new MeasureTool("quiet", &log);
  auto* untitled = new MoveTool("untitled", &log);
  untitled->items = {{1, L"Orphan"}};
  handler.SelectMouse(quiet, false);
  handler.SelectMouse(untitled, true);
  EXPECT_EQ(MenuBar(), "&File>[]|&View>[]|&Help>[]");
  // The same tool selected again and again does not pile up menus.
  const uint64_t shown = Ostrum::Desktop::GetHeadlessBackend().GetMenuBarChangeCount();
  for (int i = 0; i < 3; ++i) {
    handler.SelectMouse(MakeMeasure("m" + std::to_string(i)), false);
    EXPECT_EQ(MenuBar(), "&File>[]|&View>[]|Measure>[&Distance 4001,&Angle 4002]|&Help>[]");
  }
  EXPECT_GT(Ostrum::Desktop::GetHeadlessBackend().GetMenuBarChangeCount(), shown) << "the menu bar was redrawn";
}

TEST_F(ToolMenus, TheRightButtonOpensTheToolsAndTheWindowsItemsAndTheChosenCommandReachesTheTool) {
  auto* measure = MakeMeasure();
  view.items = {{9001, L"Properties"}};
  handler.SelectMouse(measure, false);
  log.clear();
  std::string shown;
  desk.ExpectPopupMenu(L"Angle", &shown);
  user.RightClick(view.GetSafeHwnd(), {30, 20});
  EXPECT_EQ(shown, "&Distance 4001|&Angle 4002|-|&Properties 9001");
  // The command arrives after the menu, with the point of the menu in screen coordinates.
  POINT screen{30, 20};
  ClientToScreen(view.GetSafeHwnd(), &screen);
  EXPECT_EQ(log, (Calls{"measure.OnRButtonDown(30,20)", "measure.OnRButtonUp(30,20)", "measure.OnAppendMenu context(30,20)",
                        "wnd.OnAppendMenu(30,20)", "measure.OnCommand 4002 at " + PointText(screen)}));

  // Only the window's items: no separator. Turned off: no menu, but the point is recorded.
  measure->items.clear();
  desk.ExpectPopupMenu(L"Properties", &shown);
  user.RightClick(view.GetSafeHwnd(), {40, 20});
  EXPECT_EQ(shown, "&Properties 9001");
  UIMouseHandler::EnableRButtonContextMenu(false);
  log.clear();
  user.RightClick(view.GetSafeHwnd(), {50, 25});
  UIMouseHandler::EnableRButtonContextMenu(true);
  EXPECT_EQ(log, (Calls{"measure.OnRButtonDown(50,25)", "measure.OnRButtonUp(50,25)"}));
  CPoint last;
  ASSERT_TRUE(handler.GetLastMousePosition(last));
  screen = {50, 25};
  ClientToScreen(view.GetSafeHwnd(), &screen);
  EXPECT_EQ(last, CPoint(screen));
}

TEST_F(ToolMenus, CaptureTakenByAModalLoopMidDragAbortsTheTool) {
  auto* move = new MoveTool("move", &log);
  move->capture_on_press = true;
  move->log_moves = true;
  handler.SelectMouse(move, false);
  log.clear();
  const HWND hwnd = view.GetSafeHwnd();
  user.MoveTo(hwnd, {10, 10});
  user.Press(MouseButton::Left);
  user.MoveTo(hwnd, {500, 10});  // outside the view: the capture keeps the moves coming
  EXPECT_TRUE(handler.HasCapture());
  EXPECT_EQ(desk.Capture(), hwnd);
  // Something modal (a box, a menu) takes the capture away mid-drag.
  desk.ExpectModal("a box in the middle of the drag", [](Ostrum::Desktop::ModalFrame& f) { Ostrum::Desktop::EndModalFrame(f, 1); });
  Ostrum::Desktop::ModalFrame box;
  box.description = L"box";
  Ostrum::Desktop::RunModalLoop(box);
  EXPECT_FALSE(handler.HasCapture());
  user.Release(MouseButton::Left);
  EXPECT_EQ(log, (Calls{"move.OnMouseMove(10,10)", "move.OnLButtonDown(10,10)", "move.OnMouseMove(500,10)", "move.OnAbort"}))
      << "the release went to no one";
}

TEST_F(ToolMenus, AToolbarClickAndAMenuBarChoiceReachTheCurrentTool) {
  handler.SelectMouse(MakeMeasure(), false);
  log.clear();
  RECT rect{};
  ASSERT_TRUE(toolbar.SendMessage(TB_GETITEMRECT, 2, reinterpret_cast<LPARAM>(&rect)));
  user.Click(toolbar.GetSafeHwnd(), {rect.left + 2, rect.top + 2});
  ASSERT_TRUE(Ostrum::Desktop::InputMenuCommand(frame.GetSafeHwnd(), 4001));
  user.Pump();
  EXPECT_EQ(log, (Calls{"measure.OnCommand 4001 at (0,0)", "measure.OnCommand 4001 at (0,0)"}));
}

}  // namespace

// The hand-built context menu: texts given or from the string table, the two ways of adding a
// separator, what a missing string or a missing menu answers, and the command chosen.
TEST_F(ToolMenus, AHandBuiltContextMenuTakesItsTextsFromTheStringTableAndReturnsTheChosenCommand) {
  VarnResSetString(61001, L"Copy");
  VarnResRemoveString(61002);
  {
    MContextMenu menu;
    EXPECT_EQ(menu.GetItemsCount(), 0xFFFFFFFFu);
    EXPECT_EQ(menu.AppendItem(1u, CString(L"lost")), 0);  // no menu yet
    ASSERT_NE(menu.CreateMenu(), 0);
    EXPECT_EQ(menu.CreateMenu(), 0);  // holds one already
    EXPECT_NE(menu.AppendItem(10u, CString(L"Cut")), 0);
    EXPECT_NE(menu.AppendItem(11u, 61001u), 0);
    EXPECT_EQ(menu.AppendItem(12u, 61002u), 0);
    EXPECT_EQ(menu.GetItemsCount(), 2u);
    EXPECT_NE(menu.AppendSeparator(), 0);
    EXPECT_NE(menu.InsertItem(0u, MF_BYPOSITION, 13u, 61001u), 0);
    EXPECT_EQ(menu.InsertItem(0u, MF_BYPOSITION, 14u, 61002u), 0);
    EXPECT_NE(menu.InsertItem(1u, MF_BYPOSITION, 15u, CString(L"Paste")), 0);
    // Without MF_SEPARATOR the "separator" is an item with an empty text.
    EXPECT_NE(menu.InsertSeparator(2u, MF_BYPOSITION), 0);
    EXPECT_NE(menu.InsertSeparator(3u, MF_BYPOSITION | MF_SEPARATOR), 0);
    EXPECT_EQ(Described(menu.GetMenu()), "Copy 13|Paste 15| 0|-|Cut 10|Copy 11|-");

    std::string shown;
    desk.ExpectPopupMenu(L"Paste", &shown);
    EXPECT_EQ(menu.DisplayMenu(TPM_RETURNCMD, CPoint(20, 30), &view), 15);
    EXPECT_EQ(shown, "Copy 13|Paste 15| 0|-|Cut 10|Copy 11|-");
  }
  VarnResRemoveString(61001);
}
