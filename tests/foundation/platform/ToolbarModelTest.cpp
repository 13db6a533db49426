// Toolbars of the desktop model: resources registered in code and read in the desktop's byte
// layout, mapped bitmaps, image lists, the toolbar control's messages and clicks, and CToolBar.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/DesktopFixture.h"
#include "ostrum/foundation/platform/Accelerator.h"
#include "ostrum/foundation/platform/CControlBar.h"
#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/GdiObjects.h"
#include "ostrum/foundation/platform/ImageList.h"
#include "ostrum/foundation/platform/Resources.h"
#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/foundation/platform/Toolbar.h"

namespace {

using Ostrum::Desktop::BitmapPixels;

constexpr uint32_t kGrey = 0xC0C0C0;   // the button face of a toolbar bitmap
constexpr uint32_t kRed = 0xFF0000;    // 0x00RRGGBB
constexpr uint32_t kShadow = 0x808080;

// `count` images of 16 by 15: image i has a red pixel at (i, 0), a shadow pixel at (1, 1) and
// the button face elsewhere.
BitmapPixels Strip(int count) {
  BitmapPixels strip{16 * count, 15, {}};
  strip.pixels.assign(static_cast<std::size_t>(strip.width * strip.height), kGrey);
  for (int i = 0; i < count; ++i) {
    strip.pixels[static_cast<std::size_t>(i * 16 + i)] = kRed;
    strip.pixels[static_cast<std::size_t>(strip.width + i * 16 + 1)] = kShadow;
  }
  return strip;
}

class ToolbarModel : public DesktopTest {};

TEST_F(ToolbarModel, AcceleratorTablesAreReadInTheDesktopsLayoutAndMatchKeysWithExactlyTheirModifiers) {
  namespace Resources = Ostrum::Desktop::Resources;
  Resources::SetAccelerators(nullptr, 128, {ACCEL{FVIRTKEY | FCONTROL, 'Z', 300}, ACCEL{FVIRTKEY, VK_F5, 301},
                                            ACCEL{0, 'q', 302}});
  HRSRC resource = FindResourceW(nullptr, MAKEINTRESOURCEW(128), RT_ACCELERATOR);
  ASSERT_NE(resource, nullptr);
  ASSERT_EQ(SizeofResource(nullptr, resource), 24u);
  const auto* words = static_cast<const WORD*>(LockResource(LoadResource(nullptr, resource)));
  EXPECT_EQ((std::vector<WORD>(words, words + 12)),
            (std::vector<WORD>{FVIRTKEY | FCONTROL, 'Z', 300, 0, FVIRTKEY, VK_F5, 301, 0, 0x80, 'q', 302, 0}))
      << "the last entry carries 0x80";
  EXPECT_EQ(LoadAcceleratorsW(nullptr, MAKEINTRESOURCEW(129)), nullptr);

  HACCEL table = LoadAcceleratorsW(nullptr, MAKEINTRESOURCEW(128));
  ASSERT_NE(table, nullptr);
  ASSERT_EQ(CopyAcceleratorTableW(table, nullptr, 0), 3);
  MSG msg{};
  WORD command = 0;
  auto matches = [&](UINT message, WPARAM key) {
    msg.message = message;
    msg.wParam = key;
    command = 0;
    return IsAccelerator(table, 3, &msg, &command) != FALSE;
  };
  EXPECT_FALSE(matches(WM_KEYDOWN, 'Z')) << "Ctrl is not held";
  EXPECT_TRUE(matches(WM_KEYDOWN, VK_F5));
  EXPECT_EQ(command, 301);
  EXPECT_FALSE(matches(WM_KEYUP, VK_F5)) << "only presses";
  EXPECT_FALSE(matches(WM_SYSKEYDOWN, VK_F5)) << "Alt counts as held with a system key";
  SetFocus(Frame());  // the thread's key state follows the keys its windows receive
  {
    auto control = user.Hold(VK_CONTROL);
    EXPECT_TRUE(matches(WM_KEYDOWN, 'Z'));
    EXPECT_EQ(command, 300);
    EXPECT_FALSE(matches(WM_KEYDOWN, VK_F5)) << "Ctrl too many";
    EXPECT_TRUE(matches(WM_CHAR, 'q')) << "a character matches whatever typed it";
    EXPECT_EQ(command, 302);
  }
  EXPECT_FALSE(matches(WM_KEYDOWN, 'q')) << "a character entry is no key";
  EXPECT_FALSE(IsAccelerator(table, 2, (msg.message = WM_CHAR, &msg), &command)) << "only the first `count` entries";
  EXPECT_TRUE(DestroyAcceleratorTable(table));
  EXPECT_FALSE(matches(WM_KEYDOWN, VK_F5)) << "a destroyed table matches nothing";
}

TEST_F(ToolbarModel, ResourcesAreReadInTheDesktopsLayoutAndBitmapsComeBackMapped) {
  namespace Resources = Ostrum::Desktop::Resources;
  Resources::SetToolbar(nullptr, 300, 16, 15, {0, 4001, 0, 4002});
  HRSRC toolbar = FindResourceW(nullptr, MAKEINTRESOURCEW(300), RT_TOOLBAR);
  ASSERT_NE(toolbar, nullptr);
  ASSERT_EQ(SizeofResource(nullptr, toolbar), 16u);
  const auto* words = static_cast<const WORD*>(LockResource(LoadResource(nullptr, toolbar)));
  EXPECT_EQ((std::vector<WORD>(words, words + 8)), (std::vector<WORD>{1, 16, 15, 4, 0, 4001, 0, 4002}));
  EXPECT_EQ(FindResourceW(nullptr, MAKEINTRESOURCEW(301), RT_TOOLBAR), nullptr);
  EXPECT_EQ(FindResourceW(nullptr, MAKEINTRESOURCEW(300), RT_BITMAP), nullptr) << "types are apart";

  // A bitmap resource is a 32-bit header followed by its rows bottom up.
  BitmapPixels strip = Strip(2);
  strip.pixels[static_cast<std::size_t>(14 * strip.width)] = 0x00FF00;  // bottom-left: green
  Resources::SetBitmap(nullptr, 300, strip);
  HRSRC bitmap = FindResourceW(nullptr, MAKEINTRESOURCEW(300), RT_BITMAP);
  ASSERT_NE(bitmap, nullptr);
  const auto* bytes = static_cast<const BYTE*>(LockResource(LoadResource(nullptr, bitmap)));
  BITMAPINFOHEADER header;
  std::memcpy(&header, bytes, sizeof header);
  EXPECT_EQ(header.biWidth, 32);
  EXPECT_EQ(header.biHeight, 15);
  EXPECT_EQ(header.biBitCount, 32);
  EXPECT_EQ(bytes[40 + 1], 0xFF) << "the first row stored is the bottom one: green in byte order B, G, R";

  // Mapping replaces exact colours only; COLORREFs are 0x00BBGGRR.
  COLORMAP map[2] = {{RGB(0xC0, 0xC0, 0xC0), RGB(1, 2, 3)}, {RGB(0xFF, 0, 0), RGB(0, 0, 0xFF)}};
  HBITMAP mapped = CreateMappedBitmap(nullptr, 300, 0, map, 2);
  BitmapPixels out;
  ASSERT_TRUE(Ostrum::Desktop::GetBitmapPixels(mapped, out));
  EXPECT_EQ(out.At(5, 5), RGB(1, 2, 3));
  EXPECT_EQ(out.At(0, 0), RGB(0, 0, 0xFF));
  EXPECT_EQ(out.At(1, 1), RGB(0x80, 0x80, 0x80));
  EXPECT_EQ(out.At(0, 14), RGB(0, 0xFF, 0));
  EXPECT_TRUE(DeleteObject(mapped));
  EXPECT_FALSE(DeleteObject(mapped));
  EXPECT_EQ(CreateMappedBitmap(nullptr, 301, 0, map, 2), nullptr);
}

TEST_F(ToolbarModel, AnImageListCutsBitmapsIntoImagesMasksAColourAndClosesGapsOnRemoval) {
  HIMAGELIST list = ImageList_Create(16, 15, ILC_COLOR32 | ILC_MASK, 0, 4);
  HBITMAP first = Ostrum::Desktop::CreateBitmapFromPixels(Strip(2));
  HBITMAP second = Ostrum::Desktop::CreateBitmapFromPixels(Strip(3));
  EXPECT_EQ(ImageList_AddMasked(list, first, RGB(0xC0, 0xC0, 0xC0)), 0);
  EXPECT_EQ(ImageList_AddMasked(list, second, RGB(0xC0, 0xC0, 0xC0)), 2);
  EXPECT_EQ(ImageList_GetImageCount(list), 5);
  BitmapPixels image;
  ASSERT_TRUE(Ostrum::Desktop::GetImageListImage(list, 3, image));
  EXPECT_EQ(image.pixels[1], 0xFFFF0000u) << "image 1 of the second strip: opaque red at (1, 0)";
  EXPECT_EQ(image.pixels[5] >> 24, 0u) << "the mask colour is transparent";
  // Removing in the middle moves the later images down.
  EXPECT_TRUE(ImageList_Remove(list, 1));
  ASSERT_TRUE(Ostrum::Desktop::GetImageListImage(list, 2, image));
  EXPECT_EQ(image.pixels[1], 0xFFFF0000u);
  EXPECT_FALSE(ImageList_Remove(list, 4));
  EXPECT_TRUE(ImageList_Remove(list, -1));
  EXPECT_EQ(ImageList_GetImageCount(list), 0);
  BitmapPixels narrow{8, 15, std::vector<uint32_t>(8 * 15, 0)};
  HBITMAP too_narrow = Ostrum::Desktop::CreateBitmapFromPixels(narrow);
  EXPECT_EQ(ImageList_AddMasked(list, too_narrow, 0), -1);
  for (HBITMAP b : {first, second, too_narrow}) DeleteObject(b);
  EXPECT_TRUE(ImageList_Destroy(list));
  EXPECT_EQ(ImageList_GetImageCount(list), 0);
}

class ToolbarFrame : public CFrameWnd {};

TEST_F(ToolbarModel, AToolbarTakesButtonsByMessageAndSendsItsParentTheCommandOfAClickedButton) {
  namespace Resources = Ostrum::Desktop::Resources;
  Resources::SetToolbar(nullptr, 500, 16, 15, {0, 57600, 57601, 0, 57602});
  Resources::SetBitmap(nullptr, 500, Strip(3));
  ToolbarFrame frame;
  ASSERT_TRUE(frame.CreateEx(0, kWindowClass, L"main", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 600, 400, nullptr, 0));
  CToolBar toolbar;
  ASSERT_TRUE(toolbar.CreateEx(&frame));
  EXPECT_EQ(frame.GetControlBar(AFX_IDW_TOOLBAR), &toolbar);
  EXPECT_EQ(frame.GetControlBar(AFX_IDW_PANE_FIRST), nullptr);
  ASSERT_TRUE(toolbar.LoadToolBar(500));
  const HWND bar = toolbar.GetSafeHwnd();
  EXPECT_EQ(desk.Toolbar(bar), "-|57600[0]|57601[1]|-|57602[2]");
  EXPECT_EQ(ImageList_GetImageCount(toolbar.GetImageList()), 3);
  BitmapPixels image;
  ASSERT_TRUE(Ostrum::Desktop::GetImageListImage(toolbar.GetImageList(), 0, image));
  EXPECT_EQ(image.At(1, 1), GetSysColor(COLOR_BTNSHADOW)) << "the bitmap's shadow grey became the system's";

  // The messages with their Windows numbers.
  TBBUTTON button;
  button.idCommand = 4001;
  button.iBitmap = 1;
  button.fsState = TBSTATE_ENABLED;
  EXPECT_TRUE(toolbar.SendMessage(TB_INSERTBUTTONW, 99, reinterpret_cast<LPARAM>(&button))) << "past the end appends";
  EXPECT_EQ(toolbar.SendMessage(TB_BUTTONCOUNT), 6);
  EXPECT_EQ(toolbar.SendMessage(TB_COMMANDTOINDEX, 4001), 5);
  EXPECT_EQ(toolbar.SendMessage(TB_COMMANDTOINDEX, 4002), -1);
  EXPECT_TRUE(toolbar.SendMessage(TB_DELETEBUTTON, 0));
  EXPECT_FALSE(toolbar.SendMessage(TB_DELETEBUTTON, 5));
  EXPECT_EQ(desk.Toolbar(bar), "57600[0]|57601[1]|-|57602[2]|4001[1]");

  // A click: press and release on the same enabled button sends WM_COMMAND to the parent.
  MessageTrace trace;
  RECT rect{};
  ASSERT_TRUE(toolbar.SendMessage(TB_GETITEMRECT, 1, reinterpret_cast<LPARAM>(&rect)));
  user.Click(bar, {rect.left + 3, rect.top + 3});
  toolbar.SendMessage(TB_ENABLEBUTTON, 57600, FALSE);
  EXPECT_EQ(desk.Toolbar(bar), "57600[0]~|57601[1]|-|57602[2]|4001[1]");
  ASSERT_TRUE(toolbar.SendMessage(TB_GETITEMRECT, 0, reinterpret_cast<LPARAM>(&rect)));
  user.Click(bar, {rect.left + 3, rect.top + 3});
  // Pressed on one button, released on another: nothing.
  user.Drag(bar, {rect.left + 3 + 23, 3}, {rect.left + 3 + 2 * 23 + 8, 3});
  auto commands = trace.Of(WM_COMMAND, frame.GetSafeHwnd());
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_EQ(LOWORD(commands[0].wParam), 57601);
  EXPECT_EQ(commands[0].lParam, reinterpret_cast<LPARAM>(bar));
}

}  // namespace
