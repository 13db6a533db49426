#include "MouseToolScenario.h"

#include <cmath>
#include <string>
#include <vector>

#include "PlannerTrace.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/document/MMainFrame.h"
#include "ostrum/foundation/platform/CControlBar.h"
#include "ostrum/foundation/platform/CMenu.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Capture.h"
#include "ostrum/foundation/platform/HeadlessBackend.h"
#include "ostrum/foundation/platform/Input.h"
#include "ostrum/foundation/platform/Menu.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/ModalLoop.h"
#include "ostrum/foundation/platform/Resources.h"
#include "ostrum/foundation/platform/Toolbar.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/interaction/UIMouse.h"
#include "ostrum/interaction/UIMouseHandler.h"
#include "ostrum/interaction/UIWnd.h"

namespace planner {

namespace {

// The planner's command and resource numbers.
constexpr unsigned kMeasureToolbar = 800;
constexpr unsigned kMoveToolbar = 801;
constexpr unsigned ID_MEASURE_DISTANCE = 4001;
constexpr unsigned ID_MEASURE_ANGLE = 4002;
constexpr unsigned ID_MOVE_RESET = 5001;
constexpr unsigned ID_FILE_SAVE = 57603;
constexpr unsigned ID_VIEW_PROPERTIES = 9001;

std::wstring Pt(CPoint p) { return L"(" + std::to_wstring(p.x) + L"," + std::to_wstring(p.y) + L")"; }

UIMouseHandler* ActiveHandler() {
  MDocument* document = MDocument::GetActiveDocument();
  return document ? document->GetMouseHandler() : nullptr;
}

// The planner's measuring tool: a press marks the start, the drag follows, the release gives
// the distance (or the angle against the horizontal, as chosen from its menu).
class MeasureTool : public UIMouse {
 public:
  explicit MeasureTool(std::vector<std::wstring>& events) : m_events(events) {}
  ~MeasureTool() override { m_events.push_back(L"freed"); }

  void OnSelect() override {
    m_events.push_back(L"select");
    UIMouse::OnSelect();
  }
  void OnDeselect() override {
    m_events.push_back(L"deselect");
    UIMouse::OnDeselect();
  }
  void OnSuspend() override { m_events.push_back(L"suspend"); }
  void OnResume() override { m_events.push_back(L"resume"); }
  const wchar_t* GetTitle() override { return L"Measure"; }
  unsigned GetToolBarID() override { return kMeasureToolbar; }
  void OnAppendMenu(CMenu& menu, UIWnd*, CPoint) override {
    menu.AppendMenu(MF_STRING, ID_MEASURE_DISTANCE, L"Distance");
    menu.AppendMenu(MF_STRING, ID_MEASURE_ANGLE, L"Angle");
  }
  bool OnCommand(UIWnd*, unsigned id, CPoint point) override {
    if (id != ID_MEASURE_DISTANCE && id != ID_MEASURE_ANGLE) return false;
    m_angle = id == ID_MEASURE_ANGLE;
    m_events.push_back(L"command " + std::to_wstring(id) + L" at " + Pt(point));
    Trace(L"measure: now measuring " + std::wstring(m_angle ? L"angles" : L"distances"));
    return true;
  }
  bool OnLButtonDown(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnLButtonDown(wnd, flags, point);
    m_events.push_back(L"press " + Pt(point));
    m_start = point;
    return true;
  }
  void OnMouseMove(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnMouseMove(wnd, flags, point);
    if (IsLeftDown()) m_events.push_back(L"drag " + Pt(point));
  }
  bool OnLButtonUp(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnLButtonUp(wnd, flags, point);
    m_events.push_back(L"release " + Pt(point));
    const double dx = point.x - m_start.x;
    const double dy = point.y - m_start.y;
    wchar_t text[96];
    if (m_angle)
      std::swprintf(text, 96, L"measure: angle %.1f degrees from %ls to %ls", std::atan2(-dy, dx) * 180.0 / M_PI,
                    Pt(m_start).c_str(), Pt(point).c_str());
    else
      std::swprintf(text, 96, L"measure: distance %.1f pixels from %ls to %ls", std::hypot(dx, dy), Pt(m_start).c_str(),
                    Pt(point).c_str());
    Trace(text);
    return true;
  }
  bool OnRButtonDown(UIWnd* wnd, unsigned flags, CPoint point) override {
    m_events.push_back(L"right press " + Pt(point));
    return UIMouse::OnRButtonDown(wnd, flags, point);
  }

 private:
  std::vector<std::wstring>& m_events;
  CPoint m_start;
  bool m_angle = false;
};

// The planner's move tool: it holds the capture through a drag, so the moves keep coming when
// the pointer leaves the view, and the release gives the offset.
class MoveTool : public UIMouse {
 public:
  explicit MoveTool(std::vector<std::wstring>& events) : m_events(events) {}
  ~MoveTool() override { m_events.push_back(L"freed"); }

  void OnSelect() override {
    m_events.push_back(L"select");
    UIMouse::OnSelect();
  }
  void OnDeselect() override {
    m_events.push_back(L"deselect");
    UIMouse::OnDeselect();
  }
  void OnAbort(UIWnd* wnd) override {
    m_events.push_back(L"abort");
    UIMouse::OnAbort(wnd);
  }
  const wchar_t* GetTitle() override { return L"Move"; }
  unsigned GetToolBarID() override { return kMoveToolbar; }
  void OnAppendMenu(CMenu& menu, UIWnd*, CPoint) override { menu.AppendMenu(MF_STRING, ID_MOVE_RESET, L"Reset position"); }
  bool OnCommand(UIWnd*, unsigned id, CPoint point) override {
    if (id != ID_MOVE_RESET) return false;
    m_events.push_back(L"command " + std::to_wstring(id) + L" at " + Pt(point));
    m_offset = CPoint();
    Trace(L"move: the part is back at its place");
    return true;
  }
  bool OnLButtonDown(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnLButtonDown(wnd, flags, point);
    SetCapture();
    m_events.push_back(L"press " + Pt(point));
    m_last = point;
    return true;
  }
  void OnMouseMove(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnMouseMove(wnd, flags, point);
    if (!IsLeftDown()) return;
    m_events.push_back(L"drag " + Pt(point));
    m_offset += point - m_last;
    m_last = point;
  }
  bool OnLButtonUp(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnLButtonUp(wnd, flags, point);
    ReleaseCapture();
    m_events.push_back(L"release " + Pt(point));
    Trace(L"move: the part moved by " + Pt(m_offset) + L" pixels");
    return true;
  }

 private:
  std::vector<std::wstring>& m_events;
  CPoint m_last;
  CPoint m_offset;
};

// The 3D view's stand-in: it passes raw mouse messages to the active document's handler and
// holds the capture while a button is down, as the interactive window does.
class PlannerView : public UIWnd {
  DECLARE_MESSAGE_MAP()

 public:
  void OnAppendMenu(UIMouse&, CMenu& menu, CPoint) override {
    menu.AppendMenu(MF_STRING, ID_VIEW_PROPERTIES, L"View properties");
  }

 protected:
  void OnLButtonDown(UINT flags, CPoint point) {
    SetCapture();
    if (UIMouseHandler* handler = ActiveHandler()) handler->OnLButtonDown(this, flags, point);
  }
  void OnLButtonUp(UINT flags, CPoint point) {
    if (UIMouseHandler* handler = ActiveHandler()) handler->OnLButtonUp(this, flags, point);
    if (CWnd::GetCapture() == this) ::ReleaseCapture();
  }
  void OnMouseMove(UINT flags, CPoint point) {
    if (UIMouseHandler* handler = ActiveHandler()) handler->OnMouseMove(this, flags, point);
  }
  void OnRButtonDown(UINT flags, CPoint point) {
    if (UIMouseHandler* handler = ActiveHandler()) handler->OnRButtonDown(this, flags, point);
  }
  void OnRButtonUp(UINT flags, CPoint point) {
    if (UIMouseHandler* handler = ActiveHandler()) handler->OnRButtonUp(this, flags, point);
    Default();  // the desktop turns the release into WM_CONTEXTMENU
  }
  void OnContextMenu(CWnd*, CPoint point) {
    if (UIMouseHandler* handler = ActiveHandler()) handler->OnContextMenu(this, point);
  }
};

BEGIN_MESSAGE_MAP(PlannerView, UIWnd)
  ON_WM_LBUTTONDOWN()
  ON_WM_LBUTTONUP()
  ON_WM_MOUSEMOVE()
  ON_WM_RBUTTONDOWN()
  ON_WM_RBUTTONUP()
  ON_WM_CONTEXTMENU()
END_MESSAGE_MAP()

// The main frame: menu and toolbar commands go to the current tool, for the view.
class PlannerFrame : public MMainFrame {
 public:
  UIWnd* view = nullptr;

 protected:
  BOOL OnCommand(WPARAM wParam, LPARAM lParam) override {
    UIMouseHandler* handler = ActiveHandler();
    if (handler && handler->OnCommand(view, LOWORD(wParam))) return TRUE;
    Trace(L"frame: command " + std::to_wstring(LOWORD(wParam)) + L" for nobody");
    return MMainFrame::OnCommand(wParam, lParam);
  }
};

class ToolDocument : public MDocument {
 protected:
  bool _CreateContents() override { return true; }
};

// A strip of `count` toolbar images, 16 by 15, each a coloured mark on the button face.
Ostrum::Desktop::BitmapPixels Strip(int count, uint32_t mark) {
  Ostrum::Desktop::BitmapPixels strip{16 * count, 15, std::vector<uint32_t>(static_cast<std::size_t>(16 * count * 15), 0xC0C0C0)};
  for (int i = 0; i < count; ++i)
    for (int y = 4; y < 11; ++y) strip.pixels[static_cast<std::size_t>(y * strip.width + i * 16 + 4 + i)] = mark;
  return strip;
}

// The user's hand, through the desktop's input: each action is followed by the messages it
// caused.
struct Hand {
  HWND view;
  void MoveTo(POINT client) {
    ClientToScreen(view, &client);
    Ostrum::Desktop::InputMouseMove(client);
    Ostrum::Desktop::PumpWaitingMessages();
  }
  void Button(Ostrum::Desktop::MouseButton button, bool down) {
    Ostrum::Desktop::InputMouseButton(button, down);
    Ostrum::Desktop::PumpWaitingMessages();
  }
  void Drag(POINT from, POINT to, int steps) {
    MoveTo(from);
    Button(Ostrum::Desktop::MouseButton::Left, true);
    for (int i = 1; i <= steps; ++i)
      MoveTo(POINT{from.x + (to.x - from.x) * i / steps, from.y + (to.y - from.y) * i / steps});
    Button(Ostrum::Desktop::MouseButton::Left, false);
  }
  void RightClick(POINT at) {
    MoveTo(at);
    Button(Ostrum::Desktop::MouseButton::Right, true);
    Button(Ostrum::Desktop::MouseButton::Right, false);
  }
};

std::wstring Joined(const std::vector<std::wstring>& items) {
  std::wstring out;
  for (const std::wstring& item : items) out += (out.empty() ? L"" : L", ") + item;
  return out;
}

}  // namespace

void RunMouseToolScenario() {
  using namespace Ostrum::Desktop;
  Heading(L"mouse tools, driven through the desktop");

  // The planner's toolbar resources, registered in code: the measuring tool's two buttons and
  // the move tool's one, each with its bitmap of the same number.
  Resources::SetToolbar(nullptr, kMeasureToolbar, 16, 15, {ID_MEASURE_DISTANCE, 0, ID_MEASURE_ANGLE});
  Resources::SetBitmap(nullptr, kMeasureToolbar, Strip(2, 0x0000FF));
  Resources::SetToolbar(nullptr, kMoveToolbar, 16, 15, {ID_MOVE_RESET});
  Resources::SetBitmap(nullptr, kMoveToolbar, Strip(1, 0xFF0000));

  WNDCLASSEXW wc;
  wc.lpfnWndProc = DefWindowProcW;
  wc.lpszClassName = L"Planner.Window";
  RegisterClassExW(&wc);
  PlannerFrame frame;
  frame.CreateEx(0, L"Planner.Window", L"Planner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 40, 40, 900, 700, nullptr, 0);
  HMENU bar = CreateMenu();
  for (const wchar_t* title : {L"&File", L"&View", L"&Help"}) AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(CreatePopupMenu()), title);
  AppendMenuW(GetSubMenu(bar, 0), MF_STRING, ID_FILE_SAVE, L"&Save");
  SetMenu(frame.GetSafeHwnd(), bar);
  CToolBar toolbar;
  toolbar.CreateEx(&frame);
  TBBUTTON save;
  save.idCommand = static_cast<int>(ID_FILE_SAVE);
  save.fsState = TBSTATE_ENABLED;
  toolbar.SendMessage(TB_INSERTBUTTONW, 0, reinterpret_cast<LPARAM>(&save));
  PlannerView view;
  view.CreateEx(0, L"Planner.Window", L"view", WS_CHILD | WS_VISIBLE, 0, 30, 880, 600, frame.GetSafeHwnd(), AFX_IDW_PANE_FIRST);
  frame.view = &view;
  CWnd* previous_main = AfxGetThread()->m_pMainWnd;
  AfxGetThread()->m_pMainWnd = &frame;
  auto show = [&](const std::wstring& when) {
    Trace(when + L":");
    TraceScope scope;
    Trace(L"menu bar: " + DescribeMenu(GetMenu(frame.GetSafeHwnd())));
    Trace(L"toolbar:  " + DescribeToolbar(toolbar.GetSafeHwnd()));
  };

  // The user's answers to context menus, in order.
  std::vector<std::wstring> choices;
  GetHeadlessBackend().SetModalResponder([&](ModalFrame& modal) {
    if (modal.kind != ModalKind::PopupMenu || choices.empty()) return false;
    Trace(L"context menu shown: " + DescribeMenu(static_cast<PopupMenuDetail*>(modal.detail)->menu));
    const std::wstring choice = choices.front();
    choices.erase(choices.begin());
    Trace(L"the user chooses \"" + choice + L"\"");
    return ChoosePopupMenuItem(modal, choice);
  });

  {
    ToolDocument document;
    document.CreateContents();
    UIMouseHandler* handler = document.GetMouseHandler();
    Trace(L"the new document's mouse handler: " + std::wstring(handler ? L"present" : L"missing"));
    show(L"before any tool");

    std::vector<std::wstring> measure_events;
    std::vector<std::wstring> move_events;
    Hand hand{view.GetSafeHwnd()};

    Trace(L"the user picks the measuring tool");
    handler->SelectMouse(new MeasureTool(measure_events), false);
    show(L"with the measuring tool");
    hand.Drag({100, 100}, {160, 180}, 3);
    choices = {L"Angle"};
    hand.RightClick({200, 120});
    hand.Drag({100, 100}, {200, 0}, 2);

    Trace(L"the user takes the move tool on top of it");
    handler->SelectMouse(new MoveTool(move_events), true);
    show(L"with the move tool on the measuring tool");
    hand.Drag({300, 300}, {950, 320}, 2);  // out of the view: the tool's capture keeps the moves
    choices = {L"Reset position"};
    hand.RightClick({310, 310});

    Trace(L"the user puts the move tool down");
    handler->DeselectMouse();
    show(L"back to the measuring tool");
    handler->SelectMouse(nullptr, false);
    show(L"no tool");

    Trace(L"events the measuring tool received: " + Joined(measure_events));
    Trace(L"events the move tool received: " + Joined(move_events));
    document.DeleteContents();
  }

  GetHeadlessBackend().SetModalResponder(nullptr);
  for (const std::wstring& unanswered : GetHeadlessBackend().TakeUnansweredModals()) Trace(L"unanswered: " + unanswered);
  AfxGetThread()->m_pMainWnd = previous_main;
  frame.DestroyWindow();
  DestroyMenu(bar);
}

}  // namespace planner
