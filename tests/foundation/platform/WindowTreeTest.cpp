// Windows as a tree on the screen: what creation tells a window, client areas by style,
// coordinates, z-order and what lies under a point, owners, moving, showing and hiding.

#include <gtest/gtest.h>

#include <vector>

#include "support/DesktopFixture.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/WindowPos.h"

namespace {

class WindowTree : public DesktopTest {};

RECT ScreenRect(HWND hwnd) {
  RECT rect{};
  GetWindowRect(hwnd, &rect);
  return rect;
}

POINT ClientOrigin(HWND hwnd) {
  POINT origin{0, 0};
  ClientToScreen(hwnd, &origin);
  return origin;
}

TEST_F(WindowTree, CreationTellsTheWindowItsClientAreaSizeAndPlaceThenShowsIt) {
  MessageTrace trace;
  const HWND frame = Frame({100, 100, 600, 500});
  trace.Label(frame, "frame");
  // A sizing frame (4 + 4 padding) and a caption of 23 around the client area.
  EXPECT_EQ(trace.Labelled(), (Trace{"frame:WM_NCCREATE", "frame:WM_NCCALCSIZE", "frame:WM_CREATE", "frame:WM_SIZE",
                                     "frame:WM_MOVE", "frame:WM_SHOWWINDOW", "frame:WM_ACTIVATEAPP",
                                     "frame:WM_ACTIVATE", "frame:WM_SETFOCUS"}));
  EXPECT_EQ(trace.Of(WM_SIZE)[0].lParam, MAKELPARAM(484, 361));
  EXPECT_EQ(trace.Of(WM_MOVE)[0].lParam, MAKELPARAM(108, 131));
  EXPECT_EQ(trace.Of(WM_SHOWWINDOW)[0].wParam, WPARAM{TRUE});
  EXPECT_EQ(desk.Active(), frame);
  EXPECT_EQ(desk.Foreground(), frame);
  EXPECT_EQ(desk.Focus(), frame);
  EXPECT_EQ(desk.UpdateRect(frame), (RECT{0, 0, 484, 361})) << "a window shown is painted whole";

  trace.Clear();
  const HWND child = Child(frame, {10, 20, 110, 70}, 7);
  trace.Label(child, "child");
  EXPECT_EQ(trace.Labelled(), (Trace{"child:WM_NCCREATE", "child:WM_NCCALCSIZE", "child:WM_CREATE", "child:WM_SIZE",
                                     "child:WM_MOVE", "child:WM_SHOWWINDOW"}))
      << "a child window is not activated";
  EXPECT_EQ(GetDlgCtrlID(child), 7);
  EXPECT_EQ(GetParent(child), frame);
  EXPECT_EQ(ScreenRect(child), (RECT{118, 151, 218, 201}));

  wchar_t text[16];
  EXPECT_EQ(GetWindowTextW(frame, text, 16), 5);
  EXPECT_STREQ(text, L"frame");
  EXPECT_EQ(CreateWindowExW(0, kWindowClass, nullptr, WS_CHILD, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr),
            nullptr);
  EXPECT_EQ(GetLastError(), ERROR_TLW_WITH_WSCHILD);
}

TEST_F(WindowTree, TheClientAreaFollowsTheFrameTheStylesGive) {
  struct Case {
    DWORD style;
    DWORD ex_style;
    RECT insets;  // left, top, right, bottom
  };
  const Case cases[] = {
      {WS_OVERLAPPEDWINDOW, 0, {8, 31, 8, 8}},
      {WS_POPUP | WS_CAPTION, 0, {3, 26, 3, 3}},
      {WS_POPUP | WS_BORDER, 0, {1, 1, 1, 1}},
      {WS_POPUP | WS_BORDER, WS_EX_CLIENTEDGE, {3, 3, 3, 3}},
      {WS_POPUP, WS_EX_STATICEDGE, {1, 1, 1, 1}},
      {WS_POPUP, 0, {0, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    const HWND hwnd = CreateWindowExW(c.ex_style, kWindowClass, nullptr, c.style, 50, 60, 200, 100, nullptr, nullptr,
                                      nullptr, nullptr);
    RECT client;
    GetClientRect(hwnd, &client);
    const POINT origin = ClientOrigin(hwnd);
    const RECT insets{origin.x - 50, origin.y - 60, 200 - client.right - (origin.x - 50),
                      100 - client.bottom - (origin.y - 60)};
    EXPECT_EQ(insets, c.insets) << "style 0x" << std::hex << c.style << " ex 0x" << c.ex_style;
    DestroyWindow(hwnd);
  }
}

TEST_F(WindowTree, AProcedureThatCalculatesItsOwnClientAreaIsAskedInBothForms) {
  // As an interactive window does with its one-pixel frame.
  const HWND frame = Frame();
  std::vector<WPARAM> forms;
  const HWND view = CreateWindowExW(0, kWindowClass, nullptr, WS_CHILD, 0, 0, 1, 1, frame, nullptr, nullptr, nullptr);
  React(view, [&](HWND, UINT message, WPARAM wParam, LPARAM lParam) -> std::optional<LRESULT> {
    if (message != WM_NCCALCSIZE) return std::nullopt;
    forms.push_back(wParam);
    InflateRect(&reinterpret_cast<NCCALCSIZE_PARAMS*>(lParam)->rgrc[0], -1, -1);
    return 0;
  });
  MessageTrace trace;
  trace.Label(view, "view").OnlyLabelled();
  ASSERT_TRUE(MoveWindow(view, 10, 10, 200, 100, TRUE));
  EXPECT_EQ(trace.Labelled(), (Trace{"view:WM_NCCALCSIZE", "view:WM_SIZE", "view:WM_MOVE"}));
  EXPECT_EQ(trace.Of(WM_SIZE)[0].lParam, MAKELPARAM(198, 98));
  EXPECT_EQ(trace.Of(WM_MOVE)[0].lParam, MAKELPARAM(11, 11)) << "the client origin in the parent's client area";

  trace.Clear();
  MoveWindow(view, 20, 10, 200, 100, TRUE);
  EXPECT_EQ(trace.Labelled(), (Trace{"view:WM_NCCALCSIZE", "view:WM_MOVE"})) << "a move without resize";
  trace.Clear();
  MoveWindow(view, 20, 10, 200, 100, TRUE);
  EXPECT_TRUE(trace.All().empty()) << "the same rectangle again changes nothing";
  EXPECT_EQ(forms, (std::vector<WPARAM>{TRUE, TRUE}));
}

TEST_F(WindowTree, WindowFromPointFindsTheTopmostVisibleEnabledWindowUnderThePoint) {
  const HWND frame = Frame({100, 100, 600, 500});  // client area from (108, 131)
  const HWND a = Child(frame, {10, 10, 210, 110});
  const HWND b = Child(frame, {100, 50, 300, 150});  // made later: above a
  const HWND g = Child(b, {0, 0, 50, 50});
  const HWND hidden = Child(frame, {300, 200, 400, 300}, 0, WS_CHILD);
  const HWND disabled = Child(frame, {0, 200, 100, 300}, 0, WS_CHILD | WS_VISIBLE | WS_DISABLED);
  const HWND message_only =
      CreateWindowExW(0, kWindowClass, nullptr, WS_VISIBLE, 0, 0, 2000, 2000, HWND_MESSAGE, nullptr, nullptr, nullptr);
  ASSERT_NE(message_only, nullptr);
  struct Case {
    POINT screen;
    HWND expected;
    const char* what;
  };
  const Case cases[] = {
      {{120, 150}, a, "a child"},
      {{300, 200}, b, "where two children overlap, the one above"},
      {{250, 200}, g, "a grandchild"},
      {{458, 381}, frame, "a hidden child is not there"},
      {{158, 381}, frame, "a disabled child lets its parent answer"},
      {{103, 300}, frame, "the frame"},
      {{50, 50}, nullptr, "no window"},
  };
  for (const Case& c : cases) EXPECT_EQ(WindowFromPoint(c.screen), c.expected) << c.what;
  (void)disabled;

  ShowWindow(hidden, SW_SHOW);
  EXPECT_EQ(WindowFromPoint({458, 381}), hidden);
  ShowWindow(b, SW_HIDE);
  EXPECT_EQ(WindowFromPoint({250, 200}), a) << "a hidden parent hides its children";

  // A second frame over the first; activating the first raises it.
  const HWND other = Frame({300, 300, 700, 700});
  EXPECT_EQ(WindowFromPoint({400, 400}), other);
  SetActiveWindow(frame);
  EXPECT_EQ(WindowFromPoint({400, 400}), frame);
  EXPECT_EQ(GetTopWindow(nullptr), frame);
  EXPECT_EQ(GetWindow(frame, GW_HWNDNEXT), other);
  DestroyWindow(message_only);
}

TEST_F(WindowTree, SiblingsAreInZOrderAndCoordinatesMapThroughTheTree) {
  const HWND frame = Frame({100, 100, 600, 500});
  const HWND a = Child(frame, {10, 10, 210, 110});
  const HWND b = Child(frame, {100, 50, 300, 150});
  const HWND g = Child(b, {5, 5, 50, 50});
  EXPECT_EQ(GetWindow(frame, GW_CHILD), b) << "a new window comes to the top";
  EXPECT_EQ(GetWindow(b, GW_HWNDNEXT), a);
  EXPECT_EQ(GetWindow(a, GW_HWNDPREV), b);
  EXPECT_EQ(GetWindow(a, GW_HWNDNEXT), nullptr);
  EXPECT_EQ(GetWindow(a, GW_HWNDFIRST), b);
  EXPECT_EQ(GetWindow(b, GW_HWNDLAST), a);
  EXPECT_EQ(GetAncestor(g, GA_PARENT), b);
  EXPECT_EQ(GetAncestor(g, GA_ROOT), frame);
  EXPECT_TRUE(IsChild(frame, g));
  EXPECT_FALSE(IsChild(a, g));

  EXPECT_EQ(ClientOrigin(g), (POINT{108 + 100 + 5, 131 + 50 + 5}));
  POINT pt{0, 0};
  MapWindowPoints(g, a, &pt, 1);
  EXPECT_EQ(pt, (POINT{95, 45}));
  pt = POINT{100, 100};
  ScreenToClient(g, &pt);
  EXPECT_EQ(pt, (POINT{-113, -86})) << "points above and left of a window are negative";

  // Re-parenting keeps the rectangle in the new parent's coordinates, on top of its siblings.
  EXPECT_EQ(SetParent(g, a), b);
  EXPECT_EQ(GetWindow(a, GW_CHILD), g);
  EXPECT_EQ(ClientOrigin(g), (POINT{108 + 10 + 5, 131 + 10 + 5}));
  EXPECT_EQ(SetParent(a, g), nullptr) << "a window cannot go inside its own child";

  // SetWindowPos reorders siblings (top, bottom, below another) and moves without sizing.
  const HWND c = Child(frame, {0, 0, 20, 20});  // order now: c, b, a
  const auto order = [&] {
    std::vector<HWND> out;
    for (HWND w = GetWindow(frame, GW_CHILD); w; w = GetWindow(w, GW_HWNDNEXT)) out.push_back(w);
    return out;
  };
  ASSERT_EQ(order(), (std::vector<HWND>{c, b, a}));
  EXPECT_TRUE(SetWindowPos(a, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE));
  EXPECT_EQ(order(), (std::vector<HWND>{a, c, b}));
  EXPECT_TRUE(SetWindowPos(a, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE));
  EXPECT_EQ(order(), (std::vector<HWND>{c, b, a}));
  EXPECT_TRUE(SetWindowPos(c, b, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE));
  EXPECT_EQ(order(), (std::vector<HWND>{b, c, a}));
  EXPECT_FALSE(SetWindowPos(c, g, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE)) << "g is no sibling of c";
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(order(), (std::vector<HWND>{b, c, a}));
  EXPECT_TRUE(SetWindowPos(c, HWND_TOP, 30, 40, 0, 0, SWP_NOSIZE | SWP_NOZORDER));
  EXPECT_EQ(order(), (std::vector<HWND>{b, c, a}));
  const RECT placed = ScreenRect(c);
  const POINT inside = ClientOrigin(frame);
  EXPECT_EQ((POINT{placed.left - inside.x, placed.top - inside.y}), (POINT{30, 40}));
  EXPECT_EQ(placed.right - placed.left, 20) << "SWP_NOSIZE keeps the size";
}

TEST_F(WindowTree, OwnedWindowsAreTopLevelAndGoBeforeTheirOwner) {
  const HWND owner = Frame();
  const HWND view = Child(owner, {0, 0, 50, 50});
  const HWND popup = Frame({200, 200, 300, 300}, WS_POPUP | WS_VISIBLE, view);  // owned by the top-level
  EXPECT_EQ(GetWindow(popup, GW_OWNER), owner);
  EXPECT_EQ(GetParent(popup), owner) << "a popup's parent is its owner";
  EXPECT_EQ(GetAncestor(popup, GA_PARENT), nullptr);
  EXPECT_EQ(GetAncestor(popup, GA_ROOTOWNER), owner);
  EXPECT_EQ(desk.Active(), popup);

  MessageTrace trace;
  trace.Label(owner, "owner").Label(view, "view").Label(popup, "popup");
  DestroyWindow(owner);
  EXPECT_EQ(trace.Only({WM_DESTROY, WM_NCDESTROY}),
            (Trace{"popup:WM_DESTROY", "popup:WM_NCDESTROY", "owner:WM_DESTROY", "view:WM_DESTROY",
                   "view:WM_NCDESTROY", "owner:WM_NCDESTROY"}));
  EXPECT_FALSE(IsWindow(popup));
  EXPECT_EQ(desk.Active(), nullptr);
  EXPECT_EQ(desk.Foreground(), nullptr);
}

TEST_F(WindowTree, HidingTakesCaptureFocusAndActivationAwayAndShowingPaints) {
  const HWND first = Frame({0, 0, 200, 200});
  const HWND second = Frame({300, 0, 500, 200});
  const HWND view = Child(second, {0, 0, 50, 50});
  SetFocus(view);
  SetCapture(view);
  MessageTrace trace;
  trace.Label(first, "first").Label(second, "second").Label(view, "view");
  ShowWindow(second, SW_HIDE);
  EXPECT_EQ(trace.Labelled(), (Trace{"second:WM_SHOWWINDOW", "view:WM_CAPTURECHANGED", "second:WM_ACTIVATE",
                                     "first:WM_ACTIVATE", "view:WM_KILLFOCUS", "first:WM_SETFOCUS"}));
  EXPECT_FALSE(IsWindowVisible(view)) << "a hidden parent hides its children";
  EXPECT_TRUE(GetWindowLongPtrW(view, GWL_STYLE) & WS_VISIBLE) << "the child keeps its own style";
  EXPECT_EQ(desk.Active(), first);
  EXPECT_EQ(desk.Capture(), nullptr);
  user.Wait(0);
  InvalidateRect(second, nullptr, TRUE);
  EXPECT_EQ(desk.UpdateRect(second), (RECT{})) << "a hidden window keeps nothing to paint";

  ShowWindow(second, SW_SHOWNA);
  EXPECT_EQ(desk.Active(), first) << "SW_SHOWNA does not activate";
  EXPECT_EQ(desk.UpdateRect(view), (RECT{0, 0, 50, 50})) << "a window shown paints its children too";
}

}  // namespace
