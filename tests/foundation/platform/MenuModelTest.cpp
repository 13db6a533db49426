// Menus of the desktop model: items by position and by command, popups owned by their menu,
// the menu bar of a frame, and popup menus tracked in a modal loop that the test driver answers.

#include <gtest/gtest.h>

#include <string>

#include "support/DesktopFixture.h"
#include "ostrum/foundation/platform/CMenu.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/HeadlessBackend.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/Menu.h"
#include "ostrum/foundation/platform/MessageQueue.h"

namespace {

std::string Text(HMENU menu, UINT item, UINT flags) {
  wchar_t buffer[64];
  const int length = GetMenuStringW(menu, item, buffer, 64, flags);
  return std::string(buffer, buffer + length);
}

std::string Describe(HMENU menu) { return DesktopInspector::Narrow(Ostrum::Desktop::DescribeMenu(menu)); }

// &File>[&Open 10,-,Recent>[One 21,Two 22]]|&Edit>[Undo 30]
HMENU MakeBar() {
  HMENU recent = CreatePopupMenu();
  AppendMenuW(recent, MF_STRING, 21, L"One");
  AppendMenuW(recent, MF_STRING, 22, L"Two");
  HMENU file = CreatePopupMenu();
  AppendMenuW(file, MF_STRING, 10, L"&Open");
  AppendMenuW(file, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(file, MF_POPUP, reinterpret_cast<UINT_PTR>(recent), L"Recent");
  HMENU edit = CreatePopupMenu();
  AppendMenuW(edit, MF_STRING, 30, L"Undo");
  HMENU bar = CreateMenu();
  AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(file), L"&File");
  AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(edit), L"&Edit");
  return bar;
}

class MenuModel : public DesktopTest {};

TEST_F(MenuModel, ItemsAreFoundByPositionOrDepthFirstByCommandAndAnsweredAsOnTheDesktop) {
  HMENU bar = MakeBar();
  EXPECT_EQ(Describe(bar), "&File>[&Open 10,-,Recent>[One 21,Two 22]]|&Edit>[Undo 30]");
  HMENU file = GetSubMenu(bar, 0);
  EXPECT_EQ(GetMenuItemCount(bar), 2);
  EXPECT_EQ(GetMenuItemID(bar, 0), 0xFFFFFFFFu) << "a popup has no command id";
  EXPECT_EQ(GetMenuItemID(file, 1), 0u) << "a separator answers 0";
  EXPECT_EQ(GetMenuItemID(file, 7), 0xFFFFFFFFu);
  // By command, the search goes down through the popups of the bar.
  EXPECT_EQ(Text(bar, 22, MF_BYCOMMAND), "Two");
  EXPECT_EQ(Text(bar, 1, MF_BYPOSITION), "&Edit");
  EXPECT_EQ(Text(bar, 99, MF_BYCOMMAND), "");
  // A short buffer gets what fits and the final zero; a null buffer asks for the length.
  wchar_t small[3];
  EXPECT_EQ(GetMenuStringW(file, 10, small, 3, MF_BYCOMMAND), 2);
  EXPECT_EQ(std::wstring(small), L"&O");
  EXPECT_EQ(GetMenuStringW(file, 10, nullptr, 0, MF_BYCOMMAND), 5);
  // Insertion by command goes in front of the item, in whichever popup it is.
  EXPECT_TRUE(InsertMenuW(bar, 22, MF_BYCOMMAND | MF_STRING, 23, L"One and a half"));
  EXPECT_TRUE(InsertMenuW(bar, 0xFFFFFFFF, MF_BYPOSITION | MF_STRING, 40, L"Last"));
  EXPECT_TRUE(ModifyMenuW(bar, 30, MF_BYCOMMAND | MF_STRING | MF_GRAYED, 31, L"Redo"));
  CheckMenuItem(bar, 21, MF_BYCOMMAND | MF_CHECKED);
  EXPECT_EQ(Describe(bar),
            "&File>[&Open 10,-,Recent>[One 21*,One and a half 23,Two 22]]|&Edit>[Redo 31~]|Last 40");
  // Bad handles and positions fail as on the desktop.
  EXPECT_EQ(GetMenuItemCount(nullptr), -1);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_MENU_HANDLE);
  EXPECT_FALSE(RemoveMenu(bar, 9, MF_BYPOSITION));
  EXPECT_FALSE(InsertMenuW(bar, 0, MF_BYPOSITION | MF_POPUP, reinterpret_cast<UINT_PTR>(bar), L"Self"))
      << "a menu cannot hold itself";
  DestroyMenu(bar);
}

TEST_F(MenuModel, PopupsLiveAndDieWithTheirMenuUnlessRemoved) {
  HMENU bar = MakeBar();
  HMENU file = GetSubMenu(bar, 0);
  HMENU recent = GetSubMenu(file, 2);
  HMENU edit = GetSubMenu(bar, 1);
  // Removing keeps the popup for the caller; deleting destroys it.
  EXPECT_TRUE(RemoveMenu(bar, 1, MF_BYPOSITION));
  EXPECT_TRUE(IsMenu(edit));
  EXPECT_TRUE(DeleteMenu(file, 2, MF_BYPOSITION));
  EXPECT_FALSE(IsMenu(recent));
  // Replacing a popup item by a command destroys the popup it opened.
  HMENU inner = CreatePopupMenu();
  AppendMenuW(file, MF_POPUP, reinterpret_cast<UINT_PTR>(inner), L"Inner");
  ModifyMenuW(file, 2, MF_BYPOSITION | MF_STRING, 50, L"Plain");
  EXPECT_FALSE(IsMenu(inner));
  // Destroying the bar takes every popup below it; handles are not used again.
  EXPECT_TRUE(DestroyMenu(bar));
  EXPECT_FALSE(IsMenu(bar));
  EXPECT_FALSE(IsMenu(file));
  HMENU next = CreateMenu();
  EXPECT_NE(next, bar);
  EXPECT_NE(next, file);
  DestroyMenu(next);
  DestroyMenu(edit);
  // A CMenu owns what it holds; a detached menu lives on.
  HMENU kept = nullptr;
  HMENU dropped = nullptr;
  {
    CMenu a;
    CMenu b;
    a.CreatePopupMenu();
    b.CreatePopupMenu();
    dropped = a.GetSafeHmenu();
    kept = b.Detach();
  }
  EXPECT_FALSE(IsMenu(dropped));
  EXPECT_TRUE(IsMenu(kept));
  DestroyMenu(kept);
}

TEST_F(MenuModel, AFrameShowsItsMenuBarAndTheUserChoosesFromIt) {
  HWND frame = Frame();
  HWND child = Child(frame, {0, 0, 50, 50});
  const uint64_t shown_before = Ostrum::Desktop::GetHeadlessBackend().GetMenuBarChangeCount();
  HMENU bar = MakeBar();
  EXPECT_TRUE(SetMenu(frame, bar));
  EXPECT_FALSE(SetMenu(child, bar)) << "a child window has no menu bar";
  EXPECT_EQ(GetMenu(frame), bar);
  EXPECT_EQ(desk.MenuBar(frame), "&File>[&Open 10,-,Recent>[One 21,Two 22]]|&Edit>[Undo 30]");
  EnableMenuItem(bar, 30, MF_BYCOMMAND | MF_GRAYED);
  EXPECT_TRUE(DrawMenuBar(frame));
  EXPECT_EQ(Ostrum::Desktop::GetHeadlessBackend().GetMenuBarChangeCount(), shown_before + 2);

  MessageTrace trace;
  EXPECT_TRUE(Ostrum::Desktop::InputMenuCommand(frame, 22));
  EXPECT_FALSE(Ostrum::Desktop::InputMenuCommand(frame, 30)) << "a grayed command cannot be chosen";
  EXPECT_FALSE(Ostrum::Desktop::InputMenuCommand(frame, 77));
  user.Pump();
  auto commands = trace.Of(WM_COMMAND, frame);
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_EQ(LOWORD(commands[0].wParam), 22);
  EXPECT_EQ(commands[0].lParam, 0);
  EXPECT_TRUE(commands[0].queued);
  SetMenu(frame, nullptr);
  DestroyMenu(bar);
}

TEST_F(MenuModel, APopupMenuRunsModalAndItsChoiceArrivesAsACommandAfterwards) {
  HWND frame = Frame();
  HWND view = Child(frame, {10, 10, 210, 110});
  SetCapture(view);
  MessageTrace trace;
  trace.Label(frame, "frame").Label(view, "view");
  CMenu menu;
  menu.CreatePopupMenu();
  menu.AppendMenu(MF_STRING, 101, L"&Measure");
  menu.AppendMenu(MF_STRING | MF_GRAYED, 102, L"Grayed");
  std::string shown;
  desk.ExpectPopupMenu(L"Measure", &shown);
  EXPECT_TRUE(TrackPopupMenu(menu, 0, 300, 200, 0, frame, nullptr));
  EXPECT_EQ(shown, "&Measure 101|Grayed 102~");
  EXPECT_EQ(desk.Capture(), nullptr) << "the menu took the capture away";
  // The owner hears WM_INITMENUPOPUP first; the command comes only after the loop returned.
  EXPECT_EQ(trace.Only({WM_INITMENUPOPUP, WM_CAPTURECHANGED, WM_COMMAND}),
            (std::vector<std::string>{"frame:WM_INITMENUPOPUP", "view:WM_CAPTURECHANGED"}));
  user.Pump();
  auto commands = trace.Of(WM_COMMAND, frame);
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_EQ(LOWORD(commands[0].wParam), 101);

  // With TPM_RETURNCMD the id comes back and nothing is posted; a dismissed menu answers 0.
  trace.Clear();
  desk.ExpectModal("choose by id", [](Ostrum::Desktop::ModalFrame& f) {
    EXPECT_FALSE(Ostrum::Desktop::ChoosePopupMenuCommand(f, 102)) << "grayed";
    EXPECT_TRUE(Ostrum::Desktop::ChoosePopupMenuCommand(f, 101));
  });
  EXPECT_EQ(menu.TrackPopupMenu(TPM_RETURNCMD | TPM_NONOTIFY, 0, 0, CWnd::FromHandle(frame)), 101);
  desk.ExpectModal("dismiss", [](Ostrum::Desktop::ModalFrame& f) { Ostrum::Desktop::DismissPopupMenu(f); });
  EXPECT_FALSE(TrackPopupMenu(menu, 0, 0, 0, 0, frame, nullptr));
  user.Pump();
  EXPECT_EQ(trace.Count(WM_COMMAND), 0);
  EXPECT_EQ(trace.Count(WM_INITMENUPOPUP), 1) << "TPM_NONOTIFY sends none";

  // An empty menu is not shown at all, and a menu needs an owner.
  CMenu empty;
  empty.CreatePopupMenu();
  EXPECT_FALSE(empty.TrackPopupMenu(0, 0, 0, CWnd::FromHandle(frame)));
  EXPECT_FALSE(menu.TrackPopupMenu(0, 0, 0, nullptr));
}

}  // namespace
