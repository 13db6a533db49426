#pragma once
// Test doubles of the mouse tools' suite: tools that log what they are told into one CallLog,
// windows that accept or refuse them, a view window that passes raw mouse messages on to a
// handler, and a main frame with a menu bar and a toolbar whose commands go to the handler.

#include <string>
#include <utility>
#include <vector>

#include "support/CallLog.h"
#include "support/DesktopFixture.h"
#include "ostrum/foundation/platform/CControlBar.h"
#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CMenu.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/interaction/IMouseListener.h"
#include "ostrum/interaction/UIMouse.h"
#include "ostrum/interaction/UIMouseHandler.h"
#include "ostrum/interaction/UIWnd.h"

inline std::string PointText(CPoint p) { return "(" + std::to_string(p.x) + "," + std::to_string(p.y) + ")"; }

/// A tool that logs every call as "<name>.<call>"; its popup and toolbar are set per test.
class RecordingMouse : public UIMouse {
 public:
  RecordingMouse(std::string name, CallLog* log, IMouseListener* listener = nullptr)
      : UIMouse(listener), m_name(std::move(name)), m_log(log) {}
  ~RecordingMouse() override { Log("~"); }

  void OnSelect() override {
    Log("OnSelect");
    UIMouse::OnSelect();
  }
  void OnDeselect() override {
    Log("OnDeselect");
    UIMouse::OnDeselect();
  }
  void OnSuspend() override { Log("OnSuspend"); }
  void OnResume() override { Log("OnResume"); }
  void OnAbort(UIWnd* wnd) override {
    Log("OnAbort");
    if (call_base_on_abort) UIMouse::OnAbort(wnd);
  }
  bool OnLButtonDown(UIWnd* wnd, unsigned flags, CPoint point) override {
    Log("OnLButtonDown" + PointText(point));
    UIMouse::OnLButtonDown(wnd, flags, point);
    if (capture_on_press) SetCapture();
    return handles_buttons;
  }
  bool OnLButtonUp(UIWnd* wnd, unsigned flags, CPoint point) override {
    Log("OnLButtonUp" + PointText(point));
    UIMouse::OnLButtonUp(wnd, flags, point);
    ReleaseCapture();
    return handles_buttons;
  }
  bool OnRButtonDown(UIWnd* wnd, unsigned flags, CPoint point) override {
    Log("OnRButtonDown" + PointText(point));
    return UIMouse::OnRButtonDown(wnd, flags, point);
  }
  bool OnRButtonUp(UIWnd* wnd, unsigned flags, CPoint point) override {
    Log("OnRButtonUp" + PointText(point));
    return UIMouse::OnRButtonUp(wnd, flags, point);
  }
  void OnMouseMove(UIWnd* wnd, unsigned flags, CPoint point) override {
    if (log_moves) Log("OnMouseMove" + PointText(point));
    UIMouse::OnMouseMove(wnd, flags, point);
  }
  bool OnCommand(UIWnd*, unsigned id, CPoint point) override {
    Log("OnCommand " + std::to_string(id) + " at " + PointText(point));
    return true;
  }
  void OnKeyDown(unsigned key, unsigned, unsigned) override { Log("OnKeyDown " + std::to_string(key)); }
  unsigned GetToolBarID() override { return toolbar_id; }
  const wchar_t* GetTitle() override { return title.empty() ? nullptr : title.c_str(); }
  void OnAppendMenu(CMenu& menu, UIWnd* wnd, CPoint point) override {
    Log("OnAppendMenu " + std::string(wnd ? "context" : "main") + PointText(point));
    for (const auto& [id, text] : items) menu.AppendMenu(id ? MF_STRING : MF_SEPARATOR, id, text.c_str());
  }

  // What the test reads of the base's state.
  const std::wstring& MenuTitle() const { return m_menu_title; }
  uint32_t FirstButtonCommand() const { return m_first_button_command; }
  uint32_t ButtonCount() const { return m_button_count; }
  int32_t FirstImage() const { return m_first_image; }
  int32_t ImageCount() const { return m_image_count; }

  std::wstring title;
  std::vector<std::pair<unsigned, std::wstring>> items;  ///< (0, "") is a separator
  unsigned toolbar_id = 0xFFFFFFFF;
  bool capture_on_press = false;
  bool call_base_on_abort = true;
  bool handles_buttons = true;
  bool log_moves = false;

 protected:
  void Log(const std::string& call) { LogCall(m_log, m_name + "." + call); }

 private:
  std::string m_name;
  CallLog* m_log;
};

// Tools of distinct classes, since the handler never stacks two of one class.
class MeasureTool : public RecordingMouse {
  using RecordingMouse::RecordingMouse;
};
class MoveTool : public RecordingMouse {
  using RecordingMouse::RecordingMouse;
};
class DrawTool : public RecordingMouse {
  using RecordingMouse::RecordingMouse;
};

/// A window for direct calls, which may refuse tools and adds items to context menus.
class TestWnd : public UIWnd {
 public:
  explicit TestWnd(CallLog* log = nullptr) : m_log(log) {}
  bool IsMouseSupported(UIMouse&) const override { return supported; }
  void MouseIsMoving(UIMouse&) override { LogCall(m_log, "wnd.MouseIsMoving"); }
  void SetCursorMouseNotSupported() override {
    LogCall(m_log, "wnd.SetCursorMouseNotSupported");
    UIWnd::SetCursorMouseNotSupported();
  }
  void OnAppendMenu(UIMouse&, CMenu& menu, CPoint point) override {
    LogCall(m_log, "wnd.OnAppendMenu" + PointText(point));
    for (const auto& [id, text] : items) menu.AppendMenu(MF_STRING, id, text.c_str());
  }
  bool supported = true;
  std::vector<std::pair<unsigned, std::wstring>> items;

 private:
  CallLog* m_log;
};

/// A view that passes its raw mouse messages to a handler, as an interactive window does: it
/// holds the capture during a press and tells the handler of a capture lost meanwhile.
class ForwardingWnd : public TestWnd {
  DECLARE_MESSAGE_MAP()

 public:
  using TestWnd::TestWnd;
  void MouseIsMoving(UIMouse&) override {}  // moves come from the user here: not logged
  UIMouseHandler* handler = nullptr;

 protected:
  void OnLButtonDown(UINT flags, CPoint point) {
    m_dragging = true;
    SetCapture();
    handler->OnLButtonDown(this, flags, point);
  }
  void OnLButtonUp(UINT flags, CPoint point) {
    handler->OnLButtonUp(this, flags, point);
    m_dragging = false;
    if (CWnd::GetCapture() == this) ::ReleaseCapture();
  }
  void OnMouseMove(UINT flags, CPoint point) { handler->OnMouseMove(this, flags, point); }
  void OnRButtonDown(UINT flags, CPoint point) { handler->OnRButtonDown(this, flags, point); }
  void OnRButtonUp(UINT flags, CPoint point) {
    handler->OnRButtonUp(this, flags, point);
    Default();  // the desktop turns the release into WM_CONTEXTMENU
  }
  void OnContextMenu(CWnd*, CPoint point) { handler->OnContextMenu(this, point); }
  void OnCaptureChanged(CWnd* new_owner) {
    if (m_dragging && new_owner != this) {
      m_dragging = false;
      handler->OnAbort(this);
    }
  }

 private:
  bool m_dragging = false;
};


/// The main frame: menu commands and toolbar clicks go to the handler for the view.
class ToolFrame : public CFrameWnd {
 public:
  UIMouseHandler* handler = nullptr;
  UIWnd* view = nullptr;

 protected:
  BOOL OnCommand(WPARAM wParam, LPARAM lParam) override {
    if (handler && handler->OnCommand(view, LOWORD(wParam))) return TRUE;
    return CFrameWnd::OnCommand(wParam, lParam);
  }
};

/// A desktop with a main frame (menu bar "&File|&View|&Help", a toolbar with one button 100),
/// a view in it passing mouse messages to `handler`, and the frame as the thread's main window.
class ToolDesktopTest : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    ASSERT_TRUE(frame.CreateEx(0, kWindowClass, L"main", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 800, 600, nullptr, 0));
    HMENU bar = CreateMenu();
    for (const wchar_t* title : {L"&File", L"&View", L"&Help"}) {
      HMENU popup = CreatePopupMenu();
      AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(popup), title);
    }
    SetMenu(frame.GetSafeHwnd(), bar);
    ASSERT_TRUE(toolbar.CreateEx(&frame));
    TBBUTTON button;
    button.idCommand = 100;
    button.fsState = TBSTATE_ENABLED;
    toolbar.SendMessage(TB_INSERTBUTTONW, 0, reinterpret_cast<LPARAM>(&button));
    ASSERT_TRUE(view.CreateEx(0, kWindowClass, L"view", WS_CHILD | WS_VISIBLE, 10, 40, 400, 300, frame.GetSafeHwnd(), 1));
    view.handler = &handler;
    frame.handler = &handler;
    frame.view = &view;
    m_previous_main = std::exchange(AfxGetThread()->m_pMainWnd, &frame);
  }
  void TearDown() override {
    AfxGetThread()->m_pMainWnd = m_previous_main;
    DesktopTest::TearDown();
  }
  std::string MenuBar() { return desk.MenuBar(frame.GetSafeHwnd()); }
  std::string Toolbar() { return desk.Toolbar(toolbar.GetSafeHwnd()); }

  CallLog log;
  // Declared so that the handler goes first: its tools may still reach the frame then.
  ToolFrame frame;
  CToolBar toolbar;
  ForwardingWnd view{&log};
  UIMouseHandler handler;

 private:
  CWnd* m_previous_main = nullptr;
};
