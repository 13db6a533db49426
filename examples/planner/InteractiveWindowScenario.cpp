#include "InteractiveWindowScenario.h"

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "PlannerTrace.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/platform/CDC.h"
#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CView.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/Input.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/interaction/UIMouse.h"
#include "ostrum/interaction/UIMouseHandler.h"
#include "ostrum/interaction/UIWnd.h"

namespace planner {

namespace {

std::wstring Pt(CPoint p) { return L"(" + std::to_wstring(p.x) + L"," + std::to_wstring(p.y) + L")"; }

// One of the planner's panes: an interactive window that paints its name and the line the
// ruler last measured in it.
class PlanPane : public UIWnd {
  DECLARE_MESSAGE_MAP()

 public:
  explicit PlanPane(std::wstring name) : name(std::move(name)) {}
  std::wstring name;
  std::vector<CPoint> ruler;  // the last measured line, in this pane's client coordinates

 protected:
  void OnPaint() {
    CPaintDC dc(this);
    CRect client;
    GetClientRect(&client);
    dc.FillSolidRect(&client, RGB(236, 240, 244));
    CFont font;
    font.CreatePointFont(100, L"DejaVu Sans");
    CFont* old_font = dc.SelectObject(&font);
    dc.SetBkMode(TRANSPARENT);
    dc.SetTextColor(RGB(40, 40, 40));
    CRect title(client.left + 8, client.top + 6, client.right - 8, client.top + 26);
    dc.DrawText(CString(name.c_str()), &title, DT_LEFT | DT_SINGLELINE | DT_VCENTER);
    dc.SelectObject(old_font);
    if (ruler.size() == 2) {
      CPen pen(PS_SOLID, 2, RGB(200, 60, 0));
      CPen* old_pen = dc.SelectObject(&pen);
      dc.MoveTo(ruler[0]);
      dc.LineTo(ruler[1]);
      dc.SelectObject(old_pen);
    }
  }
};

BEGIN_MESSAGE_MAP(PlanPane, UIWnd)
  ON_WM_PAINT()
END_MESSAGE_MAP()

// The view holding the panes: the pane that was clicked becomes the active one, the one whose
// frame shows it.
class PlanView : public CView {
 public:
  std::vector<PlanPane*> panes;

 protected:
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
    if (message == UIWnd::WM_UIWND_ACTIVATED) {
      // lParam is the window object that was clicked.
      for (PlanPane* pane : panes) {
        const bool active = static_cast<UIWnd*>(pane) == reinterpret_cast<UIWnd*>(lParam);
        if (active && !pane->IsActive()) Trace(L"view: \"" + pane->name + L"\" is the active pane now");
        pane->SetActive(active);
      }
    }
    return CView::WindowProc(message, wParam, lParam);
  }
};

// The planner's ruler: a press marks the start, it keeps the mouse through the drag, so the line
// may end over the other pane, and the release measures. Each call is written down for the pane
// it came through.
class Ruler : public UIMouse {
 public:
  std::map<UIWnd*, std::vector<std::wstring>> calls;

  void OnMouseEnterWindow(UIWnd* wnd) override { calls[wnd].push_back(L"enter"); }
  void OnMouseLeaveWindow(UIWnd* wnd) override { calls[wnd].push_back(L"leave"); }
  void OnMouseMove(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnMouseMove(wnd, flags, point);
    calls[wnd].push_back((IsLeftDown() ? L"drag " : L"move ") + Pt(point));
  }
  bool OnLButtonDown(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnLButtonDown(wnd, flags, point);
    SetCapture();
    calls[wnd].push_back(L"press " + Pt(point));
    m_start = point;
    return true;
  }
  bool OnLButtonUp(UIWnd* wnd, unsigned flags, CPoint point) override {
    UIMouse::OnLButtonUp(wnd, flags, point);
    ReleaseCapture();
    calls[wnd].push_back(L"release " + Pt(point));
    if (point == m_start) return true;  // a click measures nothing
    wchar_t text[96];
    std::swprintf(text, 96, L"ruler: %.1f pixels from %ls to %ls", std::hypot(point.x - m_start.x, point.y - m_start.y),
                  Pt(m_start).c_str(), Pt(point).c_str());
    Trace(text);
    if (auto* pane = dynamic_cast<PlanPane*>(wnd)) {
      pane->ruler = {m_start, point};
      pane->Invalidate(FALSE);
    }
    return true;
  }

 private:
  CPoint m_start;
};

class PlanDocument : public MDocument {
 protected:
  bool _CreateContents() override { return true; }
};

// The user's hand, through the desktop's input, each action followed by what it caused.
void MoveTo(HWND wnd, POINT client) {
  ClientToScreen(wnd, &client);
  Ostrum::Desktop::InputMouseMove(client);
  Ostrum::Desktop::PumpWaitingMessages();
}
void Button(bool down) {
  Ostrum::Desktop::InputMouseButton(Ostrum::Desktop::MouseButton::Left, down);
  Ostrum::Desktop::PumpWaitingMessages();
}

}  // namespace

void RunInteractiveWindowScenario(const std::string& windows_png) {
  Heading(L"two interactive windows of one view");

  WNDCLASSEXW wc;
  wc.lpfnWndProc = DefWindowProcW;
  wc.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<uintptr_t>(COLOR_BTNFACE + 1));
  wc.lpszClassName = L"Planner.Panes";
  RegisterClassExW(&wc);
  CFrameWnd frame;
  frame.CreateEx(0, L"Planner.Panes", L"Planner: two views", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 60, 60, 700, 360,
                 nullptr, 0);
  PlanView view;
  view.CreateEx(0, L"Planner.Panes", L"view", WS_CHILD | WS_VISIBLE, 0, 0, 640, 300, frame.GetSafeHwnd(), 0xE900);
  PlanPane axial(L"axial"), sagittal(L"sagittal");
  axial.Create(0, CRect(10, 10, 310, 290), &view, 1);
  sagittal.Create(0, CRect(330, 10, 630, 290), &view, 2);
  view.panes = {&axial, &sagittal};
  CWnd* previous_main = AfxGetThread()->m_pMainWnd;
  AfxGetThread()->m_pMainWnd = &frame;
  Ostrum::Desktop::PumpWaitingMessages();

  {
    PlanDocument document;
    document.CreateContents();
    auto* ruler = new Ruler;
    document.GetMouseHandler()->SelectMouse(ruler, false);
    HWND left = axial.GetSafeHwnd(), right = sagittal.GetSafeHwnd();

    Trace(L"the user moves into the axial pane and across it");
    MoveTo(left, {40, 60});
    MoveTo(left, {80, 90});
    Trace(L"and measures from the axial pane into the sagittal one, the ruler keeping the mouse");
    MoveTo(left, {100, 100});
    Button(true);
    for (int x : {200, 300, 400}) MoveTo(left, {x, 120});
    Button(false);
    Trace(L"then leaves both panes, comes back and clicks in the sagittal pane");
    MoveTo(view.GetSafeHwnd(), {320, 295});
    MoveTo(right, {50, 50});
    Button(true);
    Button(false);
    Trace(L"and measures there");
    MoveTo(right, {60, 200});
    Button(true);
    MoveTo(right, {150, 220});
    MoveTo(right, {240, 160});
    Button(false);
    Ostrum::Desktop::PumpWaitingMessages();

    for (PlanPane* pane : view.panes) {
      std::wstring joined;
      for (const std::wstring& call : ruler->calls[pane]) joined += (joined.empty() ? L"" : L", ") + call;
      Trace(L"calls through the " + pane->name + L" pane: " + joined);
    }
    Trace(L"active pane: " + std::wstring(sagittal.IsActive() ? L"sagittal" : axial.IsActive() ? L"axial" : L"none"));
    if (!windows_png.empty()) {
      const bool written = Ostrum::Desktop::HeadlessDriver().WritePng(view.GetSafeHwnd(), windows_png);
      Trace(written ? L"the two panes, the active one framed, are in " +
                          std::wstring(windows_png.begin(), windows_png.end())
                    : std::wstring(L"the picture of the panes could not be written"));
    }
    document.DeleteContents();
  }

  AfxGetThread()->m_pMainWnd = previous_main;
  frame.DestroyWindow();
}

}  // namespace planner
