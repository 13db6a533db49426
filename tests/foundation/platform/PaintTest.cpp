// The painting stage: one update rectangle per window, WM_PAINT made at retrieval for
// parents before children and after posted messages and input but before timers, and
// BeginPaint's frame, background and validation. Then device contexts drawing into window
// images by the desktop's pixel rules: figures, pens, brushes, lines, text, selection, the paint
// DC's clip, and DCs whose window is gone.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/DesktopFixture.h"
#include "ostrum/foundation/platform/CDC.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/foundation/platform/Timer.h"

namespace {

class Painting : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    back = Frame({0, 0, 400, 300});
    back_child = Child(back, {0, 0, 100, 100});
    front = Frame({500, 0, 900, 300});
    front_a = Child(front, {0, 0, 100, 100});
    front_b = Child(front, {100, 0, 200, 100});
    trace.Label(back, "back").Label(back_child, "back_child").Label(front, "front");
    trace.Label(front_a, "front_a").Label(front_b, "front_b");
    trace.Clear();
  }

  HWND back = nullptr, back_child = nullptr, front = nullptr, front_a = nullptr, front_b = nullptr;
  MessageTrace trace;
};

TEST_F(Painting, WindowsArePaintedParentsFirstFromTheTopAfterPostedMessagesAndBeforeTimers) {
  EXPECT_EQ(GetQueueStatus(QS_PAINT), (QS_PAINT << 16) | QS_PAINT);
  EXPECT_EQ(GetQueueStatus(QS_PAINT), QS_PAINT << 16);
  SetTimer(back, 1, 10, nullptr);
  Ostrum::Desktop::HeadlessDriver().AdvanceClock(10);  // the timer is due, nothing retrieved yet
  trace.Clear();
  PostMessageW(back_child, WM_APP, 0, 0);
  user.Wait(0);
  EXPECT_EQ(trace.Only({WM_APP, WM_PAINT, WM_TIMER}),
            (Trace{"back_child:0x8000", "front:WM_PAINT", "front_b:WM_PAINT", "front_a:WM_PAINT", "back:WM_PAINT",
                   "back_child:WM_PAINT", "back:WM_TIMER"}));
  for (const TracedMessage& paint : trace.Of(WM_PAINT)) EXPECT_TRUE(paint.queued);
  EXPECT_EQ(GetQueueStatus(QS_PAINT), 0u) << "the default handling validated every window";
  KillTimer(back, 1);
}

TEST_F(Painting, BeginPaintDrawsTheFrameThenTheBackgroundThenValidates) {
  user.Wait(0);
  // A window that erases nothing leaves the background to its painter.
  std::vector<PAINTSTRUCT> painted;
  React(front_a, [&](HWND hwnd, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
    if (message == WM_ERASEBKGND) return 0;
    if (message != WM_PAINT) return std::nullopt;
    PAINTSTRUCT paint;
    BeginPaint(hwnd, &paint);
    EXPECT_EQ(desk.UpdateRect(hwnd), (RECT{})) << "validated inside BeginPaint";
    EndPaint(hwnd, &paint);
    painted.push_back(paint);
    return 0;
  });
  MoveWindow(front_a, 0, 0, 120, 110, TRUE);  // resized: the frame and all of it
  InvalidateRect(front_a, nullptr, FALSE);
  trace.Clear();
  user.Wait(0);
  EXPECT_EQ(trace.Names(front_a), (std::vector<std::string>{"WM_PAINT", "WM_NCPAINT", "WM_ERASEBKGND"}));
  ASSERT_EQ(painted.size(), 1u);
  EXPECT_EQ(painted[0].rcPaint, (RECT{0, 0, 120, 110}));
  EXPECT_TRUE(painted[0].fErase) << "the background was not erased";

  // Without erase and frame requests, only the union of what was invalidated.
  const RECT left{10, 10, 20, 20};
  const RECT right{50, 30, 60, 40};
  InvalidateRect(front_a, &left, FALSE);
  InvalidateRect(front_a, &right, FALSE);
  const RECT outside{500, 500, 600, 600};
  InvalidateRect(front_a, &outside, TRUE);
  EXPECT_EQ(desk.UpdateRect(front_a), (RECT{10, 10, 60, 40})) << "one rectangle, clipped to the client area";
  trace.Clear();
  user.Wait(0);
  EXPECT_EQ(trace.Names(front_a), (std::vector<std::string>{"WM_PAINT"}));
  EXPECT_EQ(painted.back().rcPaint, (RECT{10, 10, 60, 40}));
  EXPECT_FALSE(painted.back().fErase);
}

TEST_F(Painting, ValidatingAPartLeavesTheSmallestRectangleAroundTheRest) {
  user.Wait(0);
  struct Case {
    RECT update;
    RECT valid;
    RECT left;
  };
  const Case cases[] = {
      {{0, 0, 100, 100}, {0, 0, 100, 40}, {0, 40, 100, 100}},    // a band across the top
      {{0, 0, 100, 100}, {-5, 70, 105, 120}, {0, 0, 100, 70}},   // across the bottom
      {{0, 0, 100, 100}, {0, -1, 30, 101}, {30, 0, 100, 100}},   // down the left side
      {{0, 0, 100, 100}, {20, 20, 80, 80}, {0, 0, 100, 100}},    // a hole: the whole stays
      {{10, 10, 50, 50}, {0, 0, 100, 100}, {0, 0, 0, 0}},        // all of it
  };
  for (const Case& c : cases) {
    InvalidateRect(front_a, &c.update, FALSE);
    ValidateRect(front_a, &c.valid);
    EXPECT_EQ(desk.UpdateRect(front_a), c.left) << "validating " << c.valid << " of " << c.update;
    ValidateRect(front_a, nullptr);
  }
}

TEST_F(Painting, UpdateWindowPaintsAtOnceOnlyWhatWaits) {
  user.Wait(0);
  trace.Clear();
  UpdateWindow(front);
  EXPECT_TRUE(trace.All().empty()) << "nothing to paint";
  InvalidateRect(front, nullptr, TRUE);
  InvalidateRect(front_a, nullptr, TRUE);
  UpdateWindow(front);
  EXPECT_EQ(trace.Labelled(), (Trace{"front:WM_PAINT", "front:WM_ERASEBKGND"}));
  EXPECT_FALSE(trace.Of(WM_PAINT)[0].queued) << "sent, inside the call";
  EXPECT_EQ(desk.UpdateRect(front_a), (RECT{0, 0, 100, 100})) << "a child waits for the queue";

  // A procedure that takes WM_PAINT without validating gets it again at every retrieval.
  Answer(front_b, WM_PAINT, 0);
  InvalidateRect(front_b, nullptr, FALSE);
  MSG msg;
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(PeekMessageW(&msg, front_b, 0, 0, PM_REMOVE));
    EXPECT_EQ(msg.message, UINT{WM_PAINT});
    DispatchMessageW(&msg);
  }
  ValidateRect(front_b, nullptr);
  EXPECT_FALSE(PeekMessageW(&msg, front_b, 0, 0, PM_REMOVE));
}


// --- device contexts ---

constexpr COLORREF kPaper = RGB(0x12, 0x34, 0x56);
constexpr COLORREF kInk = RGB(200, 0, 0);

/// The pixels of `wnd` (window coordinates) with the colour `c` inside `box`, and outside it.
struct Count {
  int inside = 0;
  int outside = 0;
};
Count CountColour(const Ostrum::Desktop::BitmapPixels& pixels, COLORREF c, RECT box) {
  Count count;
  for (int y = 0; y < pixels.height; ++y)
    for (int x = 0; x < pixels.width; ++x)
      if (pixels.At(x, y) == c) (x >= box.left && x < box.right && y >= box.top && y < box.bottom ? count.inside : count.outside)++;
  return count;
}

TEST_F(Painting, RectanglesCoverTheirPixelsByThePensStyleAndTheNullBrushLeavesTheInside) {
  user.Wait(0);
  HDC dc = GetWindowDC(back_child);
  ASSERT_NE(dc, nullptr);
  const RECT all{0, 0, 100, 100};
  HBRUSH paper = CreateSolidBrush(kPaper);
  FillRect(dc, &all, paper);
  auto at = [&](int x, int y) { return desk.Pixel(back_child, {x, y}); };

  // An inside-frame pen three wide stays within (10,10)-(50,40), right and bottom left out.
  HPEN inside = CreatePen(PS_INSIDEFRAME, 3, kInk);
  HGDIOBJ old_pen = SelectObject(dc, inside);
  HGDIOBJ old_brush = SelectObject(dc, GetStockObject(NULL_BRUSH));
  EXPECT_EQ(old_pen, GetStockObject(BLACK_PEN)) << "a new DC draws with the black pen";
  EXPECT_EQ(old_brush, GetStockObject(WHITE_BRUSH));
  ASSERT_TRUE(Rectangle(dc, 10, 10, 50, 40));
  for (POINT p : {POINT{10, 10}, POINT{12, 12}, POINT{49, 39}, POINT{47, 37}, POINT{47, 20}, POINT{30, 12}})
    EXPECT_EQ(at(p.x, p.y), kInk) << "the band at " << p;
  for (POINT p : {POINT{9, 10}, POINT{50, 10}, POINT{10, 40}, POINT{13, 13}, POINT{46, 36}, POINT{30, 20}})
    EXPECT_EQ(at(p.x, p.y), kPaper) << "outside the band at " << p;
  EXPECT_EQ(CountColour(desk.Pixels(back_child), kInk, RECT{10, 10, 50, 40}).inside, 40 * 30 - 34 * 24);

  // A solid pen of the same width is centred on the edge pixels: one pixel out, one in.
  FillRect(dc, &all, paper);
  HPEN solid = CreatePen(PS_SOLID, 3, kInk);
  SelectObject(dc, solid);
  Rectangle(dc, 10, 10, 50, 40);
  EXPECT_EQ(at(9, 9), kInk);
  EXPECT_EQ(at(50, 40), kInk) << "the right edge pixel is 49, its pen reaches 50";
  EXPECT_EQ(at(8, 8), kPaper);
  EXPECT_EQ(at(12, 12), kPaper);

  // The null pen with a brush: the fill is a pixel smaller on the right and bottom.
  FillRect(dc, &all, paper);
  SelectObject(dc, GetStockObject(NULL_PEN));
  SelectObject(dc, GetStockObject(BLACK_BRUSH));
  Rectangle(dc, 10, 10, 50, 40);
  EXPECT_EQ(at(10, 10), RGB(0, 0, 0));
  EXPECT_EQ(at(48, 38), RGB(0, 0, 0));
  EXPECT_EQ(at(49, 20), kPaper);
  EXPECT_EQ(at(20, 39), kPaper);

  SelectObject(dc, old_pen);
  SelectObject(dc, old_brush);
  EXPECT_EQ(ReleaseDC(back_child, dc), 1);
  EXPECT_EQ(ReleaseDC(back_child, dc), 0) << "given back once";
  DeleteObject(inside);
  DeleteObject(solid);
  DeleteObject(paper);
}

TEST_F(Painting, LinesLeaveOutTheirLastPointAndMoveThePosition) {
  user.Wait(0);
  CClientDC dc(CWnd::FromHandle(back_child));
  dc.FillSolidRect(0, 0, 100, 100, kPaper);
  CPen pen(PS_SOLID, 1, kInk);
  CPen* old = dc.SelectObject(&pen);
  EXPECT_EQ(dc.MoveTo(5, 5), CPoint(0, 0));
  dc.LineTo(15, 5);
  dc.LineTo(15, 15);
  EXPECT_EQ(dc.MoveTo(20, 20), CPoint(15, 15)) << "LineTo moved the position to its end";
  dc.LineTo(30, 26);
  auto pixels = desk.Pixels(back_child);
  EXPECT_EQ(pixels.At(5, 5), kInk);
  EXPECT_EQ(pixels.At(14, 5), kInk);
  EXPECT_EQ(pixels.At(15, 5), kInk) << "the second line starts there";
  EXPECT_EQ(pixels.At(15, 14), kInk);
  EXPECT_EQ(pixels.At(15, 15), kPaper) << "the end point is left out";
  EXPECT_EQ(pixels.At(20, 20), kInk);
  EXPECT_EQ(pixels.At(30, 26), kPaper);
  // One pixel for each step along the longer axis, none elsewhere.
  EXPECT_EQ(CountColour(pixels, kInk, RECT{20, 20, 30, 26}).inside, 10);
  EXPECT_EQ(CountColour(pixels, kInk, RECT{0, 0, 100, 100}).inside, 10 + 10 + 10);
  dc.SelectObject(old);
  // The null pen draws nothing but still moves.
  dc.SelectStockObject(NULL_PEN);
  dc.LineTo(60, 60);
  EXPECT_EQ(CountColour(desk.Pixels(back_child), RGB(0, 0, 0), RECT{}).outside, 0);
}

TEST_F(Painting, TextIsDrawnInItsColourWithinItsBoxAndTheBackgroundModeDecidesOnTheCell) {
  user.Wait(0);
  CWindowDC dc(CWnd::FromHandle(back_child));
  dc.FillSolidRect(0, 0, 100, 100, RGB(255, 255, 255));
  EXPECT_EQ(dc.GetBkColor(), RGB(255, 255, 255)) << "a solid fill leaves its colour as the background";
  CFont font;
  ASSERT_TRUE(font.CreatePointFont(100, L"Tahoma"));
  CFont* old_font = dc.SelectObject(&font);
  ASSERT_NE(old_font, nullptr);
  EXPECT_EQ(old_font->GetSafeHandle(), GetStockObject(SYSTEM_FONT));
  dc.SetTextColor(RGB(0, 0, 255));
  EXPECT_EQ(dc.SetBkMode(TRANSPARENT), OPAQUE);

  RECT box{10, 10, 90, 40};
  RECT measured = box;
  const int height = dc.DrawText(CString(L"Hello"), &measured, DT_CALCRECT | DT_SINGLELINE);
  EXPECT_GT(height, 10);
  EXPECT_LT(measured.right - measured.left, 80);
  EXPECT_EQ(CountColour(desk.Pixels(back_child), RGB(0, 0, 255), RECT{}).outside, 0) << "measuring draws nothing";
  EXPECT_GT(dc.DrawText(CString(L"Hello"), &box, DT_SINGLELINE | DT_CENTER | DT_VCENTER), 0);
  const Count text = CountColour(desk.Pixels(back_child), RGB(0, 0, 255), box);
  EXPECT_GT(text.inside, 20) << "the letters are there";
  EXPECT_EQ(text.outside, 0) << "and nowhere else";
  const Count other = CountColour(desk.Pixels(back_child), RGB(255, 255, 255), RECT{0, 0, 100, 100});
  EXPECT_EQ(other.inside + text.inside, 100 * 100) << "transparent: no cell, no other colour";

  // Opaque: the cell of the text is filled with the background colour first, and only the cell.
  dc.SetBkMode(OPAQUE);
  dc.SetBkColor(RGB(0, 255, 0));
  const CSize extent = dc.GetTextExtent(CString(L"Hi"));
  ASSERT_GT(extent.cx, 0);
  ASSERT_TRUE(dc.TextOut(5, 60, CString(L"Hi")));
  const RECT cell{5, 60, 5 + extent.cx, 60 + extent.cy};
  const Count green = CountColour(desk.Pixels(back_child), RGB(0, 255, 0), cell);
  const Count blue = CountColour(desk.Pixels(back_child), RGB(0, 0, 255), cell);
  EXPECT_GT(green.inside, 0);
  EXPECT_EQ(green.outside, 0);
  EXPECT_EQ(green.inside + blue.inside, extent.cx * extent.cy) << "the cell holds only text and background";
  dc.SelectObject(old_font);
}

TEST_F(Painting, SelectingAnswersWhatWasSelectedAndTheObjectsAndDCsGoWithTheirOwners) {
  user.Wait(0);
  const std::size_t objects = Ostrum::Desktop::CountGdiObjects();
  const std::size_t dcs = Ostrum::Desktop::CountDeviceContexts();
  {
    CClientDC dc(CWnd::FromHandle(back_child));
    EXPECT_EQ(Ostrum::Desktop::CountDeviceContexts(), dcs + 1);
    CPen first(PS_SOLID, 1, kInk), second(PS_SOLID, 1, kPaper);
    CGdiObject* stock = dc.SelectObject(&first);
    ASSERT_NE(stock, nullptr);
    EXPECT_EQ(stock->GetSafeHandle(), GetStockObject(BLACK_PEN));
    EXPECT_TRUE(stock->IsKindOf(RUNTIME_CLASS(CPen))) << "a stand-in of the handle's own class";
    EXPECT_EQ(dc.SelectObject(&second), &first) << "an object that owns its handle comes back as itself";
    EXPECT_EQ(GetCurrentObject(dc, OBJ_PEN), second.GetSafeHandle());
    // A handle that is no pen, brush or font changes nothing.
    EXPECT_EQ(SelectObject(dc, reinterpret_cast<HGDIOBJ>(uintptr_t{0x7777})), nullptr);
    EXPECT_EQ(SelectObject(dc, dc.GetSafeHdc()), nullptr);
    EXPECT_EQ(GetCurrentObject(dc, OBJ_PEN), second.GetSafeHandle());
    // A pen deleted while selected goes on drawing; its handle is gone.
    HGDIOBJ handle = second.GetSafeHandle();
    EXPECT_TRUE(second.DeleteObject());
    EXPECT_EQ(GetObjectType(handle), 0u);
    EXPECT_FALSE(DeleteObject(handle));
    dc.MoveTo(0, 0);
    EXPECT_TRUE(dc.LineTo(3, 0));
    EXPECT_EQ(dc.GetPixel(0, 0), kPaper);
    dc.SelectObject(stock);
    EXPECT_TRUE(DeleteObject(GetStockObject(BLACK_PEN))) << "stock objects stay";
    EXPECT_EQ(GetObjectType(GetStockObject(BLACK_PEN)), OBJ_PEN);
  }
  EXPECT_EQ(Ostrum::Desktop::CountDeviceContexts(), dcs);
  EXPECT_EQ(Ostrum::Desktop::CountGdiObjects(), objects);
}

TEST_F(Painting, ADeviceContextWhoseWindowIsGoneFailsCleanly) {
  user.Wait(0);
  HWND doomed = Child(back, {0, 0, 50, 50});
  HDC dc = GetDC(doomed);
  ASSERT_NE(dc, nullptr);
  HPEN pen = CreatePen(PS_SOLID, 1, kInk);
  DestroyWindow(doomed);
  EXPECT_EQ(GetDC(doomed), nullptr);
  EXPECT_EQ(GetWindowDC(doomed), nullptr);
  EXPECT_FALSE(Rectangle(dc, 0, 0, 10, 10));
  EXPECT_FALSE(LineTo(dc, 5, 5));
  EXPECT_FALSE(TextOutW(dc, 0, 0, L"x", 1));
  EXPECT_EQ(GetPixel(dc, 1, 1), CLR_INVALID);
  EXPECT_EQ(desk.Pixel(doomed, {1, 1}), CLR_INVALID);
  EXPECT_EQ(ReleaseDC(doomed, dc), 1) << "the handle is still given back";
  // Handles that are no DC at all, and framework objects without a window.
  EXPECT_FALSE(Rectangle(nullptr, 0, 0, 10, 10));
  EXPECT_EQ(SetTextColor(reinterpret_cast<HDC>(pen), 0), CLR_INVALID) << "a pen is no DC";
  EXPECT_EQ(SelectObject(nullptr, pen), nullptr);
  CWnd windowless;
  CWindowDC none(&windowless);
  EXPECT_EQ(none.GetSafeHdc(), nullptr);
  EXPECT_FALSE(none.Rectangle(0, 0, 5, 5));
  CClientDC gone(CWnd::FromHandle(doomed));
  EXPECT_EQ(gone.GetSafeHdc(), nullptr);
  EXPECT_EQ(gone.SelectStockObject(NULL_BRUSH), nullptr);
  DeleteObject(pen);
}

TEST_F(Painting, APaintDCValidatesAndTouchesOnlyWhatWasToBePaintedInTheClientArea) {
  user.Wait(0);
  // A bordered child: its client area starts a pixel into its image.
  HWND bordered = Child(back, {200, 0, 302, 102}, 0, WS_CHILD | WS_VISIBLE | WS_BORDER);
  user.Wait(0);
  EXPECT_EQ(desk.Pixel(bordered, {1, 1}), GetSysColor(COLOR_WINDOW)) << "erased with the class brush";
  EXPECT_EQ(desk.Pixel(bordered, {0, 0}), RGB(0, 0, 0)) << "the border is not the client's";
  PAINTSTRUCT seen{};
  RECT update_inside{1, 1, 1, 1};
  React(bordered, [&](HWND hwnd, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
    if (message != WM_PAINT) return std::nullopt;
    CPaintDC dc(CWnd::FromHandle(hwnd));
    seen = dc.m_ps;
    GetUpdateRect(hwnd, &update_inside, FALSE);
    dc.FillSolidRect(0, 0, 100, 100, kInk);
    return 0;
  });
  const std::size_t dcs = Ostrum::Desktop::CountDeviceContexts();
  const RECT part{10, 20, 30, 50};
  InvalidateRect(bordered, &part, FALSE);
  user.Wait(0);
  EXPECT_EQ(seen.rcPaint, part);
  EXPECT_EQ(update_inside, (RECT{})) << "validated when the paint DC was made";
  EXPECT_EQ(Ostrum::Desktop::CountDeviceContexts(), dcs) << "EndPaint gave the DC back";
  // Client (10,20)-(30,50) is window (11,21)-(31,51), and nothing else was touched.
  const Count ink = CountColour(desk.Pixels(bordered), kInk, RECT{11, 21, 31, 51});
  EXPECT_EQ(ink.inside, 20 * 30);
  EXPECT_EQ(ink.outside, 0);
}

// A window object that erases its background itself, through the DC its message carries.
class ErasingWnd : public CWnd {
  DECLARE_MESSAGE_MAP()

 public:
  HDC seen = nullptr;

 protected:
  BOOL OnEraseBkgnd(CDC* dc) {
    seen = dc ? dc->GetSafeHdc() : nullptr;
    CRect client;
    GetClientRect(&client);
    if (dc) dc->FillSolidRect(&client, kInk);
    return TRUE;
  }
};

BEGIN_MESSAGE_MAP(ErasingWnd, CWnd)
  ON_WM_ERASEBKGND()
END_MESSAGE_MAP()

TEST_F(Painting, TheBackgroundIsErasedThroughThePaintDCWhichAHandlerReceivesAsAnObject) {
  user.Wait(0);
  ErasingWnd wnd;
  ASSERT_TRUE(wnd.CreateEx(0, kWindowClass, L"erasing", WS_CHILD | WS_VISIBLE, 0, 0, 60, 60, back, 0));
  HDC painted_with = nullptr;
  React(wnd.GetSafeHwnd(), [&](HWND hwnd, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
    if (message != WM_PAINT) return std::nullopt;
    PAINTSTRUCT paint;
    painted_with = BeginPaint(hwnd, &paint);
    EndPaint(hwnd, &paint);
    return 0;
  });
  user.Wait(0);  // the first paint erases all of it
  EXPECT_EQ(CountColour(desk.Pixels(wnd.GetSafeHwnd()), kInk, RECT{0, 0, 60, 60}).inside, 60 * 60);
  {
    CWindowDC dc(&wnd);
    dc.FillSolidRect(0, 0, 60, 60, kPaper);
  }
  const RECT part{0, 0, 60, 10};
  InvalidateRect(wnd.GetSafeHwnd(), &part, TRUE);
  user.Wait(0);
  ASSERT_NE(wnd.seen, nullptr);
  EXPECT_EQ(wnd.seen, painted_with) << "the erase message carries the paint DC";
  const Count ink = CountColour(desk.Pixels(wnd.GetSafeHwnd()), kInk, part);
  EXPECT_EQ(ink.inside, 60 * 10);
  EXPECT_EQ(ink.outside, 0) << "the whole client was asked for, the paint DC let through the update only";
  wnd.DestroyWindow();
}

TEST_F(Painting, DrawTextAlignsItsLinesAndMeasuresThemAndPointSizesScale) {
  user.Wait(0);
  CWindowDC dc(CWnd::FromHandle(back_child));
  dc.FillSolidRect(0, 0, 100, 100, RGB(255, 255, 255));
  dc.SetBkMode(TRANSPARENT);
  CFont small, large;
  ASSERT_TRUE(small.CreatePointFont(80, L"DejaVu Sans"));
  ASSERT_TRUE(large.CreatePointFont(160, L"DejaVu Sans"));
  CFont* old = dc.SelectObject(&large);
  const CSize big = dc.GetTextExtent(CString(L"Mm"));
  dc.SelectObject(&small);
  const CSize little = dc.GetTextExtent(CString(L"Mm"));
  EXPECT_GT(big.cy, little.cy + little.cy / 2) << "twice the points, about twice the height";
  EXPECT_GT(big.cx, little.cx);

  // Two lines measure as one above the other; the widest sets the width.
  RECT two{0, 0, 100, 100};
  const int height = dc.DrawText(CString(L"M\nMMM"), &two, DT_CALCRECT);
  EXPECT_EQ(height, 2 * little.cy);
  EXPECT_EQ(two.bottom, 2 * little.cy);
  EXPECT_EQ(two.right, dc.GetTextExtent(CString(L"MMM")).cx);

  // Right aligned at the bottom: the ink lies in the box's bottom-right corner.
  dc.SetTextColor(RGB(0, 0, 255));
  RECT box{0, 0, 100, 100};
  const int bottom = dc.DrawText(CString(L"M"), &box, DT_SINGLELINE | DT_RIGHT | DT_BOTTOM);
  EXPECT_EQ(bottom, 100) << "from the box's top to the text's bottom";
  const RECT corner{100 - little.cx, 100 - little.cy, 100, 100};
  const Count ink = CountColour(desk.Pixels(back_child), RGB(0, 0, 255), corner);
  EXPECT_GT(ink.inside, 0);
  EXPECT_EQ(ink.outside, 0);
  dc.SelectObject(old);
}

TEST_F(Painting, ImagesFollowTheWindowsSizeAndAScreenshotLaysChildrenOverTheirParentByZOrder) {
  user.Wait(0);
  HWND parent = Child(back, {0, 0, 80, 60});
  HWND lower = Child(parent, {10, 10, 40, 40});
  HWND upper = Child(parent, {30, 10, 60, 40});  // made later: on top, overlapping `lower`
  HWND hidden = Child(parent, {0, 45, 80, 60}, 0, WS_CHILD);
  user.Wait(0);
  auto fill = [](HWND wnd, COLORREF color) {
    HDC dc = GetWindowDC(wnd);
    HBRUSH brush = CreateSolidBrush(color);
    const RECT all{0, 0, 200, 200};
    FillRect(dc, &all, brush);
    DeleteObject(brush);
    ReleaseDC(wnd, dc);
  };
  fill(parent, RGB(10, 10, 10));
  fill(lower, RGB(20, 20, 20));
  fill(upper, RGB(30, 30, 30));
  fill(hidden, RGB(40, 40, 40));
  Ostrum::Desktop::HeadlessDriver driver;
  Ostrum::Desktop::BitmapPixels shot;
  ASSERT_TRUE(driver.Screenshot(parent, shot));
  ASSERT_EQ(shot.width, 80);
  ASSERT_EQ(shot.height, 60);
  EXPECT_EQ(shot.At(5, 5), RGB(10, 10, 10));
  EXPECT_EQ(shot.At(15, 15), RGB(20, 20, 20));
  EXPECT_EQ(shot.At(35, 15), RGB(30, 30, 30)) << "the upper sibling covers the lower";
  EXPECT_EQ(shot.At(5, 50), RGB(10, 10, 10)) << "a hidden child is not shown";
  EXPECT_EQ(driver.PixelAt(parent, {15, 15}), RGB(10, 10, 10)) << "the window's own image is untouched";

  // A window that grows keeps what it drew at the top left; the new part is black.
  MoveWindow(lower, 10, 10, 50, 40, FALSE);
  Ostrum::Desktop::BitmapPixels grown;
  ASSERT_TRUE(driver.Image(lower, grown));
  EXPECT_EQ(grown.width, 50);
  EXPECT_EQ(grown.At(29, 29), RGB(20, 20, 20));
  EXPECT_EQ(grown.At(45, 5), RGB(0, 0, 0));
  EXPECT_EQ(driver.PixelAt(lower, {50, 0}), CLR_INVALID);

  // The PNG carries the screenshot's size in its header.
  const std::string path = testing::TempDir() + "painting-screenshot.png";
  ASSERT_TRUE(driver.WritePng(parent, path));
  std::FILE* file = std::fopen(path.c_str(), "rb");
  ASSERT_NE(file, nullptr);
  unsigned char header[24] = {};
  EXPECT_EQ(std::fread(header, 1, sizeof header, file), sizeof header);
  std::fclose(file);
  std::remove(path.c_str());
  EXPECT_EQ(std::string(reinterpret_cast<char*>(header) + 1, 3), "PNG");
  EXPECT_EQ((header[16] << 24) | (header[17] << 16) | (header[18] << 8) | header[19], 80);
  EXPECT_EQ((header[20] << 24) | (header[21] << 16) | (header[22] << 8) | header[23], 60);
  EXPECT_FALSE(driver.WritePng(parent, "/nonexistent-directory/x.png"));
  DestroyWindow(parent);
  EXPECT_FALSE(driver.Screenshot(parent, shot));
}

TEST_F(Painting, ObjectsAreCreatedOnlyForWhatTheModelDrawsAndStockObjectsAreAlwaysThere) {
  EXPECT_EQ(CreatePen(7, 1, 0), nullptr) << "no such style";
  EXPECT_EQ(CreateFontIndirectW(nullptr), nullptr);
  EXPECT_EQ(GetStockObject(9), nullptr) << "no stock object of that number";
  EXPECT_EQ(GetObjectType(GetStockObject(NULL_BRUSH)), OBJ_BRUSH);
  EXPECT_EQ(GetObjectType(GetStockObject(DEFAULT_GUI_FONT)), OBJ_FONT);
  EXPECT_EQ(GetStockObject(NULL_PEN), GetStockObject(NULL_PEN));
  HBRUSH brush = CreateSolidBrush(kInk);
  EXPECT_EQ(GetObjectType(brush), OBJ_BRUSH);
  CBrush* wrapper = CBrush::FromHandle(brush);
  ASSERT_NE(wrapper, nullptr);
  EXPECT_FALSE(wrapper->DeleteObject()) << "a stand-in does not own the handle";
  EXPECT_EQ(GetObjectType(brush), OBJ_BRUSH);
  EXPECT_TRUE(DeleteObject(brush));
  EXPECT_FALSE(DeleteObject(brush));
}

}  // namespace
