// Messages reaching CWnd objects: from the first message of creation on, through the message
// maps of the class and its bases, Default() to the class's procedure, commands, the
// pre-translation walk, the object's end (PostNcDestroy) and the objects of handles.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "RecordingWindow.h"
#include "support/CallLog.h"
#include "support/DesktopFixture.h"
#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/CWinThread.h"

namespace {

std::string Point(CPoint pt) { return std::to_string(pt.x) + "," + std::to_string(pt.y); }

// Logs what its handlers receive; the handlers pass on with Default() as a framework window's do.
class LoggingWnd : public CWnd {
 public:
  CallLog log;
  int create_answer = 0;
  bool log_pre_translate = false;
  bool pre_translate_answer = false;
  int post_nc_destroys = 0;
  HWND hwnd_at_ncdestroy_end = reinterpret_cast<HWND>(1);

  BOOL PreTranslateMessage(MSG* msg) override {
    if (log_pre_translate) log.push_back("PreTranslate " + MessageName(msg->message));
    return pre_translate_answer ? TRUE : FALSE;
  }
  void PostNcDestroy() override {
    ++post_nc_destroys;
    hwnd_at_ncdestroy_end = m_hWnd;
  }

 protected:
  int OnNcCreate(CREATESTRUCTW* cs) {
    log.push_back(std::string("OnNcCreate ") + (m_hWnd ? "with handle" : "without handle"));
    return CWnd::OnNcCreate(cs);
  }
  void OnNcCalcSize(BOOL calc, NCCALCSIZE_PARAMS* params) {
    log.push_back("OnNcCalcSize " + std::to_string(calc));
    CWnd::OnNcCalcSize(calc, params);
  }
  int OnCreate(CREATESTRUCTW* cs) {
    log.push_back("OnCreate " + std::to_string(cs->cx) + "x" + std::to_string(cs->cy));
    return create_answer == 0 ? CWnd::OnCreate(cs) : create_answer;
  }
  void OnSize(UINT, int cx, int cy) { log.push_back("OnSize " + std::to_string(cx) + "x" + std::to_string(cy)); }
  void OnMove(int x, int y) { log.push_back("OnMove " + std::to_string(x) + "," + std::to_string(y)); }
  void OnShowWindow(BOOL show, UINT) { log.push_back("OnShowWindow " + std::to_string(show)); }
  void OnActivate(UINT state, CWnd* other, BOOL) {
    log.push_back("OnActivate " + std::to_string(state) + (other ? " from another" : " from none"));
    CWnd::OnActivate(state, other, FALSE);
  }
  void OnSetFocus(CWnd*) { log.push_back("OnSetFocus"); }
  void OnMouseMove(UINT flags, CPoint point) { log.push_back("OnMouseMove " + std::to_string(flags) + " " + Point(point)); }
  void OnLButtonDown(UINT, CPoint point) { log.push_back("OnLButtonDown " + Point(point)); }
  void OnCaptureChanged(CWnd* window) {
    log.push_back(std::string("OnCaptureChanged ") + (window == this ? "to me" : window ? "to another" : "to none"));
  }
  void OnKeyDown(UINT key, UINT repeat, UINT) {
    log.push_back("OnKeyDown " + std::to_string(key) + " x" + std::to_string(repeat));
    Default();
  }
  void OnChar(UINT c, UINT, UINT) { log.push_back("OnChar " + std::string(1, static_cast<char>(c))); }
  void OnDestroy() { log.push_back("OnDestroy"); }
  LRESULT OnApp(WPARAM wParam, LPARAM) { return static_cast<LRESULT>(wParam) * 3; }
  void OnHundred() { log.push_back("OnHundred"); }
  void OnRange(UINT id) { log.push_back("OnRange " + std::to_string(id)); }

  DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(LoggingWnd, CWnd)
  ON_WM_NCCREATE()
  ON_WM_NCCALCSIZE()
  ON_WM_CREATE()
  ON_WM_SIZE()
  ON_WM_MOVE()
  ON_WM_SHOWWINDOW()
  ON_WM_ACTIVATE()
  ON_WM_SETFOCUS()
  ON_WM_MOUSEMOVE()
  ON_WM_LBUTTONDOWN()
  ON_WM_CAPTURECHANGED()
  ON_WM_KEYDOWN()
  ON_WM_CHAR()
  ON_WM_DESTROY()
  ON_MESSAGE(WM_APP, OnApp)
  ON_COMMAND(100, OnHundred)
  ON_COMMAND_RANGE(200, 209, OnRange)
END_MESSAGE_MAP()

// Takes the moves itself and adds a handler; everything else is its base's.
class DerivedWnd : public LoggingWnd {
 protected:
  void OnMouseMove(UINT, CPoint point) { log.push_back("Derived::OnMouseMove " + Point(point)); }
  void OnRButtonDown(UINT, CPoint) { log.push_back("Derived::OnRButtonDown"); }
  DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(DerivedWnd, LoggingWnd)
  ON_WM_MOUSEMOVE()
  ON_WM_RBUTTONDOWN()
END_MESSAGE_MAP()

// Owns itself: deleted once its window is gone, as frames and views of the framework are.
class SelfDeletingWnd : public CWnd {
 public:
  explicit SelfDeletingWnd(bool& deleted) : m_deleted(deleted) {}
  ~SelfDeletingWnd() override { m_deleted = true; }
  void PostNcDestroy() override { delete this; }

 private:
  bool& m_deleted;
};

class CWndRouting : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    WNDCLASSW wc;
    wc.style = CS_DBLCLKS;
    wc.lpfnWndProc = DefWindowProcW;
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.lpszClassName = L"Ostrum.Test.Framework";
    ASSERT_TRUE(AfxRegisterClass(&wc));
    ASSERT_TRUE(AfxRegisterClass(&wc)) << "registering again finds the class";
  }
  static constexpr const wchar_t* kClass = L"Ostrum.Test.Framework";
};

TEST_F(CWndRouting, CreationMessagesReachTheObjectFromTheFirstOn) {
  LoggingWnd frame;
  ASSERT_TRUE(frame.CreateEx(0, kClass, L"frame", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 500, 400, nullptr, 0));
  EXPECT_EQ(frame.log, (Calls{"OnNcCreate with handle", "OnNcCalcSize 0", "OnCreate 500x400", "OnSize 484x361",
                              "OnMove 108,131", "OnShowWindow 1", "OnActivate 1 from none", "OnSetFocus"}));
  EXPECT_EQ(GetWindowLongPtrW(frame.GetSafeHwnd(), GWLP_WNDPROC), reinterpret_cast<LONG_PTR>(&AfxWndProc));
  EXPECT_EQ(desk.Focus(), frame.GetSafeHwnd()) << "OnActivate passed on: the default handling gave the focus";

  // Refused in OnCreate: the window goes again and the object is told once.
  LoggingWnd refused;
  refused.create_answer = -1;
  EXPECT_FALSE(refused.CreateEx(0, kClass, nullptr, WS_CHILD, 0, 0, 10, 10, frame.GetSafeHwnd(), 1));
  EXPECT_EQ(refused.log, (Calls{"OnNcCreate with handle", "OnNcCalcSize 0", "OnCreate 10x10", "OnDestroy"}));
  EXPECT_EQ(refused.GetSafeHwnd(), nullptr);
  EXPECT_EQ(refused.post_nc_destroys, 1);
  EXPECT_EQ(refused.hwnd_at_ncdestroy_end, nullptr) << "the object has let go before PostNcDestroy";
}

TEST_F(CWndRouting, TheMessageMapOfTheClassComesBeforeItsBasesAndUnhandledMessagesGoToTheDefault) {
  LoggingWnd frame;
  ASSERT_TRUE(frame.CreateEx(0, kClass, L"frame", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 500, 400, nullptr, 0));
  DerivedWnd view;
  ASSERT_TRUE(view.CreateEx(0, kClass, nullptr, WS_CHILD | WS_VISIBLE, 10, 10, 200, 100, frame.GetSafeHwnd(), 5));
  user.Wait(0);
  view.log.clear();
  user.MoveTo(view.GetSafeHwnd(), {4, 5});
  user.RightClick(view.GetSafeHwnd(), {4, 5});
  view.SetCapture();
  user.MoveTo(frame.GetSafeHwnd(), {0, 0});
  user.Press(MouseButton::Left);
  EXPECT_EQ(view.log, (Calls{"Derived::OnMouseMove 4,5", "Derived::OnRButtonDown", "Derived::OnMouseMove -10,-10",
                             "OnLButtonDown -10,-10"}))
      << "points unpack as signed values";

  // Messages of its own and commands, with their answers.
  EXPECT_EQ(view.SendMessage(WM_APP, 14), 42);
  view.log.clear();
  EXPECT_EQ(view.SendMessage(WM_COMMAND, MAKEWPARAM(100, 0), 0), 1);
  EXPECT_EQ(view.SendMessage(WM_COMMAND, MAKEWPARAM(205, 1), 0), 1) << "an accelerator is a plain command";
  EXPECT_EQ(view.SendMessage(WM_COMMAND, MAKEWPARAM(300, 0), 0), 0) << "no entry: the default answers";
  EXPECT_EQ(view.SendMessage(WM_COMMAND, MAKEWPARAM(100, 5), reinterpret_cast<LPARAM>(frame.GetSafeHwnd())), 0)
      << "a control's notification is not a menu command";
  EXPECT_EQ(view.log, (Calls{"OnHundred", "OnRange 205"}));
  AFX_CMDHANDLERINFO info;
  EXPECT_TRUE(view.OnCmdMsg(203, CN_COMMAND, nullptr, &info));
  EXPECT_EQ(info.pTarget, &view);
  EXPECT_EQ(view.log.size(), 2u) << "asking who handles a command does not run it";

  // The capture moves away: the handler learns who has it.
  frame.SetCapture();
  EXPECT_EQ(view.log.back(), "OnCaptureChanged to another");
}

TEST_F(CWndRouting, DefaultHandsTheMessageAsItArrivedToTheClassProcedure) {
  // A window of a class whose procedure records what reaches it, routed to an object.
  RecordingClass cls(L"Ostrum.Test.Recording");
  LoggingWnd wnd;
  ASSERT_TRUE(wnd.CreateEx(0, cls.Name(), nullptr, WS_POPUP, 0, 0, 100, 100, nullptr, 0));
  auto received = ReceivedMessages(wnd.GetSafeHwnd());
  EXPECT_EQ(received, (std::vector<UINT>{WM_NCCREATE, WM_NCCALCSIZE, WM_CREATE}))
      << "OnSize and OnMove do not pass on; the others do";
  t_received.clear();
  wnd.SendMessage(WM_KEYDOWN, 'Q', 0x00030001);
  ASSERT_EQ(t_received.size(), 1u);
  EXPECT_EQ(t_received[0].message, UINT{WM_KEYDOWN});
  EXPECT_EQ(t_received[0].lParam, 0x00030001) << "the original parameters";
  EXPECT_EQ(wnd.log.back(), "OnKeyDown 81 x1");
  wnd.DestroyWindow();
}

TEST_F(CWndRouting, PreTranslationAsksTheTargetThenItsParentsUpToTheTopLevelWindow) {
  LoggingWnd frame;
  ASSERT_TRUE(frame.CreateEx(0, kClass, L"frame", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 500, 400, nullptr, 0));
  LoggingWnd view;
  ASSERT_TRUE(view.CreateEx(0, kClass, nullptr, WS_CHILD | WS_VISIBLE, 10, 10, 200, 100, frame.GetSafeHwnd(), 5));
  LoggingWnd popup;  // owned by the frame: a top-level window of its own
  ASSERT_TRUE(popup.CreateEx(0, kClass, nullptr, WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, frame.GetSafeHwnd(), 0));
  view.SetFocus();
  user.Wait(0);
  for (LoggingWnd* wnd : {&frame, &view, &popup}) wnd->log_pre_translate = true;
  frame.log.clear();
  view.log.clear();
  user.Key('K');
  EXPECT_EQ(view.log, (Calls{"PreTranslate WM_KEYDOWN", "OnKeyDown 75 x1", "PreTranslate WM_CHAR", "OnChar k",
                             "PreTranslate WM_KEYUP"}));
  EXPECT_EQ(frame.log, (Calls{"PreTranslate WM_KEYDOWN", "PreTranslate WM_CHAR", "PreTranslate WM_KEYUP"}));

  view.pre_translate_answer = true;
  view.log.clear();
  frame.log.clear();
  user.Key('L');
  EXPECT_EQ(view.log, (Calls{"PreTranslate WM_KEYDOWN", "PreTranslate WM_KEYUP"}))
      << "taken before translation: neither dispatched nor typed";
  EXPECT_TRUE(frame.log.empty());

  popup.SetFocus();
  frame.log.clear();
  popup.log.clear();
  user.Key('M');
  EXPECT_EQ(popup.log.front(), "PreTranslate WM_KEYDOWN");
  EXPECT_TRUE(frame.log.empty()) << "the walk ends at the top-level window, not at its owner";
}

TEST_F(CWndRouting, TheObjectLetsGoAfterTheLastMessageAndMayDeleteItself) {
  bool deleted = false;
  auto* wnd = new SelfDeletingWnd(deleted);
  ASSERT_TRUE(wnd->CreateEx(0, kClass, nullptr, WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, nullptr, 0));
  const HWND hwnd = wnd->GetSafeHwnd();
  EXPECT_EQ(CWnd::FromHandlePermanent(hwnd), wnd);
  user.Close(hwnd);
  EXPECT_TRUE(deleted);
  EXPECT_FALSE(IsWindow(hwnd));
}

TEST_F(CWndRouting, HandlesWithoutObjectsGetTemporaryOnesAndParentsAnswerFromTheWindows) {
  LoggingWnd frame;
  ASSERT_TRUE(frame.CreateEx(0, kClass, L"frame", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 500, 400, nullptr, 0));
  const HWND bare = Child(frame.GetSafeHwnd(), {0, 0, 10, 10});
  CWnd* temporary = CWnd::FromHandle(bare);
  ASSERT_NE(temporary, nullptr);
  EXPECT_EQ(temporary->GetSafeHwnd(), bare);
  EXPECT_EQ(CWnd::FromHandle(bare), temporary) << "one per window";
  EXPECT_EQ(CWnd::FromHandlePermanent(bare), nullptr);
  EXPECT_EQ(temporary->GetParent(), &frame);
  EXPECT_EQ(CWnd::FromHandle(nullptr), nullptr);

  // With a window, the parent is the window's parent; the object link serves windowless objects.
  LoggingWnd other_frame, view;
  ASSERT_TRUE(other_frame.CreateEx(0, kClass, nullptr, WS_POPUP, 0, 0, 50, 50, nullptr, 0));
  ASSERT_TRUE(view.CreateEx(0, kClass, nullptr, WS_CHILD, 0, 0, 10, 10, frame.GetSafeHwnd(), 1));
  EXPECT_EQ(view.GetParent(), &frame);
  ::SetParent(view.GetSafeHwnd(), other_frame.GetSafeHwnd());
  EXPECT_EQ(view.GetParent(), &other_frame) << "follows the model";
  EXPECT_EQ(view.SetParent(&frame), &other_frame);
  EXPECT_EQ(::GetParent(view.GetSafeHwnd()), frame.GetSafeHwnd());

  DestroyWindow(bare);
  EXPECT_EQ(CWnd::FromHandle(bare), nullptr) << "the temporary went with its window";
}

}  // namespace
