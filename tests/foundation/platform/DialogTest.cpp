// Dialogs, dialog bars and help: modal dialogs with their own loop that the driver ends,
// modeless dialogs, data exchange with validation, resizable dialogs, bars docked into a
// frame, and help requests recorded for the driver.

#include <gtest/gtest.h>

#include <string>

#include "support/DesktopFixture.h"
#include "support/DialogView.h"
#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/CDataExchange.h"
#include "ostrum/foundation/platform/CDialog.h"
#include "ostrum/foundation/platform/CDialogBar.h"
#include "ostrum/foundation/platform/CDlgResize.h"
#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CWinApp.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Help.h"
#include "ostrum/foundation/platform/MessageBox.h"

namespace {

using Ostrum::Desktop::DialogControl;
using Ostrum::Desktop::DialogTemplate;
using Ostrum::Desktop::ModalFrame;

constexpr UINT IDD_SCREW = 300;
constexpr UINT IDD_BAR = 301;
constexpr int IDC_NAME = 1001;
constexpr int IDC_LENGTH = 1002;

// A dialog asking for a screw's name and length.
class ScrewDialog : public CDialog {
 public:
  explicit ScrewDialog(CWnd* parent = nullptr) : CDialog(IDD_SCREW, parent) {}
  CString name = L"screw";
  int length = 30;
  int init_calls = 0;

  BOOL OnInitDialog() override {
    ++init_calls;
    return CDialog::OnInitDialog();
  }

 protected:
  void DoDataExchange(CDataExchange* dx) override {
    DDX_Text(dx, IDC_NAME, name);
    DDX_Text(dx, IDC_LENGTH, length);
  }
};

class Dialogs : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    DialogTemplate screw;
    screw.caption = L"Screw";
    screw.width = 200;
    screw.height = 120;
    screw.controls = {
        {L"EDIT", IDC_NAME, L"", {10, 10, 190, 30}, 0},
        {L"EDIT", IDC_LENGTH, L"", {10, 40, 190, 60}, 0},
        {L"BUTTON", IDOK, L"OK", {10, 80, 90, 110}, 0},
        {L"BUTTON", IDCANCEL, L"Cancel", {110, 80, 190, 110}, 0},
    };
    Ostrum::Desktop::SetDialogTemplate(IDD_SCREW, screw);
    DialogTemplate bar;
    bar.width = 300;
    bar.height = 40;
    bar.controls = {{L"EDIT", IDC_NAME, L"", {5, 5, 150, 35}, 0}};
    Ostrum::Desktop::SetDialogTemplate(IDD_BAR, bar);

    WNDCLASSW wc;
    wc.lpfnWndProc = DefWindowProcW;
    wc.lpszClassName = kFrameClass;
    ASSERT_TRUE(AfxRegisterClass(&wc));
    ASSERT_TRUE(main_frame.CreateEx(0, kFrameClass, L"main", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 600, 400,
                                    nullptr, 0));
    AfxGetThread()->m_pMainWnd = &main_frame;
  }
  void TearDown() override {
    AfxGetThread()->m_pMainWnd = nullptr;
    DesktopTest::TearDown();
  }

  static constexpr const wchar_t* kFrameClass = L"Ostrum.Test.DialogFrame";
  CFrameWnd main_frame;
};

TEST_F(Dialogs, AModalDialogIsFilledFromItsMembersAndReadBackWhenTheUserClicksOk) {
  ScrewDialog dialog;
  HWND seen = nullptr;
  desk.ExpectModal("screw dialog", [&](ModalFrame& frame) {
    EXPECT_EQ(frame.kind, Ostrum::Desktop::ModalKind::Dialog);
    EXPECT_EQ(static_cast<Ostrum::Desktop::DialogDetail*>(frame.detail)->template_id, IDD_SCREW);
    DialogView view(frame);
    seen = view.Hwnd();
    EXPECT_EQ(view.Text(IDC_NAME), L"screw");
    EXPECT_EQ(view.Text(IDC_LENGTH), L"30");
    EXPECT_FALSE(IsWindowEnabled(main_frame.GetSafeHwnd())) << "the owner waits for the dialog";
    EXPECT_TRUE(IsWindowVisible(view.Hwnd()));
    EXPECT_EQ(GetWindow(view.Hwnd(), GW_OWNER), main_frame.GetSafeHwnd());
    view.SetText(IDC_NAME, L"cortical");
    view.SetText(IDC_LENGTH, L" 42");
    // A real click on the button: press and release inside it.
    user.Click(view.Item(IDOK), {5, 5});
  });
  EXPECT_EQ(dialog.DoModal(), IDOK);
  EXPECT_EQ(dialog.init_calls, 1);
  EXPECT_EQ(dialog.name.Str(), L"cortical");
  EXPECT_EQ(dialog.length, 42);
  EXPECT_EQ(dialog.GetSafeHwnd(), nullptr);
  EXPECT_FALSE(IsWindow(seen)) << "the dialog's window goes with its loop";
  EXPECT_TRUE(IsWindowEnabled(main_frame.GetSafeHwnd()));
  EXPECT_FALSE(dialog.IsModal());
}

TEST_F(Dialogs, InputThatDoesNotValidateKeepsTheDialogOpenAndTheMembersOfTheFailedField) {
  ScrewDialog dialog;
  desk.ExpectModal("screw dialog", [&](ModalFrame& frame) {
    DialogView view(frame);
    view.SetText(IDC_LENGTH, L"long");
    view.Click(IDOK);
    EXPECT_FALSE(frame.ended) << "a length that is no number refuses OK";
    EXPECT_EQ(dialog.length, 30);
    view.SetText(IDC_LENGTH, L"35");
    view.Click(IDOK);
    EXPECT_TRUE(frame.ended);
  });
  EXPECT_EQ(dialog.DoModal(), IDOK);
  EXPECT_EQ(dialog.length, 35);
}

TEST_F(Dialogs, TheWaysOutOfAModalDialogGiveTheirResults) {
  {
    ScrewDialog dialog;
    desk.ExpectModal("cancel", [](ModalFrame& frame) { DialogView(frame).Click(IDCANCEL); });
    EXPECT_EQ(dialog.DoModal(), IDCANCEL);
  }
  {
    ScrewDialog dialog;
    desk.ExpectModal("close box", [](ModalFrame& frame) { SendMessageW(frame.window, WM_CLOSE, 0, 0); });
    EXPECT_EQ(dialog.DoModal(), IDCANCEL) << "closing the dialog cancels it";
  }
  {
    ScrewDialog dialog;
    desk.ExpectModal("ended by the program", [&](ModalFrame&) { dialog.EndModalLoop(1); });
    EXPECT_EQ(dialog.DoModal(), 1);
    EXPECT_EQ(dialog.name.Str(), L"screw") << "no data exchange without OK";
  }
  {
    ScrewDialog dialog;
    EXPECT_EQ(dialog.DoModal(), IDCANCEL) << "nobody answers: the default answer";
    const auto unanswered = Ostrum::Desktop::GetHeadlessBackend().TakeUnansweredModals();
    ASSERT_EQ(unanswered.size(), 1u);
    EXPECT_EQ(unanswered[0], L"dialog 300 \"Screw\"");
  }
  {
    CDialog missing(999);
    EXPECT_EQ(missing.DoModal(), -1) << "no template, no dialog and no loop";
  }
}

TEST_F(Dialogs, AModalDialogOpenedFromAModalDialogReturnsFirst) {
  ScrewDialog outer, inner;
  std::string order;
  desk.ExpectModal("outer", [&](ModalFrame& frame) {
    desk.ExpectModal("inner", [&](ModalFrame& inner_frame) {
      // Ending the outer one first only marks it: the inner loop returns first.
      outer.EndModalLoop(IDOK);
      order += "inner ends;";
      DialogView(inner_frame).Click(IDCANCEL);
    });
    EXPECT_EQ(inner.DoModal(), IDCANCEL);
    order += "inner returned;";
    EXPECT_TRUE(frame.ended);
  });
  EXPECT_EQ(outer.DoModal(), IDOK);
  EXPECT_EQ(order, "inner ends;inner returned;");
}

TEST_F(Dialogs, AModelessDialogLivesBesideItsOwnerAndHidesWhenEnded) {
  ScrewDialog dialog;
  ASSERT_TRUE(dialog.Create(IDD_SCREW, &main_frame));
  EXPECT_FALSE(dialog.Create()) << "one window per dialog";
  DialogView view(dialog.GetSafeHwnd());
  EXPECT_EQ(view.Text(IDC_NAME), L"screw") << "filled by OnInitDialog";
  EXPECT_FALSE(IsWindowVisible(dialog.GetSafeHwnd())) << "the template does not say visible";
  EXPECT_TRUE(IsWindowEnabled(main_frame.GetSafeHwnd()));
  dialog.ShowWindow(SW_SHOW);
  // Typing goes to the focused edit control.
  dialog.GetDlgItem(IDC_NAME)->SetFocus();
  EXPECT_EQ(desk.Focus(), view.Item(IDC_NAME));
  user.Type(L"s!");
  EXPECT_EQ(view.Text(IDC_NAME), L"screws!");
  EXPECT_TRUE(dialog.UpdateData(TRUE));
  EXPECT_EQ(dialog.name.Str(), L"screws!");
  dialog.length = 12;
  dialog.UpdateData(FALSE);
  EXPECT_EQ(view.Text(IDC_LENGTH), L"12");
  view.Click(IDOK);
  EXPECT_TRUE(IsWindow(dialog.GetSafeHwnd()));
  EXPECT_FALSE(IsWindowVisible(dialog.GetSafeHwnd())) << "a modeless dialog ends by hiding";
  EXPECT_TRUE(dialog.DestroyWindow());
  EXPECT_EQ(dialog.GetSafeHwnd(), nullptr);
}

TEST_F(Dialogs, AResizableDialogMovesAndSizesTheControlsItWasToldAbout) {
  CDlgResize dialog(IDD_SCREW);
  dialog.AddControl(IDC_NAME, CDlgResize::RESIZE_SIZE_X);
  dialog.AddControl(IDOK, CDlgResize::RESIZE_MOVE_X | CDlgResize::RESIZE_MOVE_Y);
  dialog.AddControl(IDC_LENGTH, CDlgResize::RESIZE_SIZE_X | CDlgResize::RESIZE_SIZE_Y);
  desk.ExpectModal("resized", [&](ModalFrame& frame) {
    EXPECT_TRUE(GetWindowLongPtrW(frame.window, GWL_STYLE) & WS_THICKFRAME);
    RECT window;
    GetWindowRect(frame.window, &window);
    user.Resize(frame.window, window.right - window.left + 50, window.bottom - window.top + 20);
    auto place = [&](int id) {
      RECT r;
      GetWindowRect(GetDlgItem(frame.window, id), &r);
      ScreenToClient(frame.window, reinterpret_cast<POINT*>(&r.left));
      ScreenToClient(frame.window, reinterpret_cast<POINT*>(&r.right));
      return r;
    };
    EXPECT_EQ(place(IDC_NAME), (RECT{10, 10, 240, 30}));
    EXPECT_EQ(place(IDC_LENGTH), (RECT{10, 40, 240, 80}));
    EXPECT_EQ(place(IDOK), (RECT{60, 100, 140, 130}));
    EXPECT_EQ(place(IDCANCEL), (RECT{110, 80, 190, 110})) << "not told about: stays";
    DialogView(frame).Click(IDOK);
  });
  EXPECT_EQ(dialog.DoModal(), IDOK);
}

TEST_F(Dialogs, ABarDockedAtTheBottomTakesItsHeightFromTheFrameAndThePaneGetsTheRest) {
  CWnd pane;
  ASSERT_TRUE(pane.CreateEx(0, kFrameClass, nullptr, WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, main_frame.GetSafeHwnd(),
                            AFX_IDW_PANE_FIRST));
  RECT client;
  main_frame.GetClientRect(&client);
  CDialogBar bar;
  ASSERT_TRUE(bar.Create(&main_frame, IDD_BAR, CBRS_ALIGN_BOTTOM | CBRS_BORDER_TOP, IDD_BAR));
  EXPECT_FALSE(bar.IsVisible()) << "the style does not say visible";
  EXPECT_EQ(bar.GetDockingFrame(), &main_frame) << "its parent frame, before any docking";
  bar.EnableDocking(CBRS_ALIGN_BOTTOM);
  ASSERT_NE(bar.m_pDockContext, nullptr);
  main_frame.DockControlBar(&bar, AFX_IDW_DOCKBAR_BOTTOM);
  main_frame.ShowControlBar(&bar, TRUE, FALSE);
  EXPECT_TRUE(bar.IsVisible());
  auto place = [&](HWND hwnd) {
    RECT r;
    GetWindowRect(hwnd, &r);
    ScreenToClient(main_frame.GetSafeHwnd(), reinterpret_cast<POINT*>(&r.left));
    ScreenToClient(main_frame.GetSafeHwnd(), reinterpret_cast<POINT*>(&r.right));
    return r;
  };
  EXPECT_EQ(place(bar.GetSafeHwnd()), (RECT{0, client.bottom - 40, client.right, client.bottom}));
  EXPECT_EQ(place(pane.GetSafeHwnd()), (RECT{0, 0, client.right, client.bottom - 40}));
  main_frame.ShowControlBar(&bar, FALSE, FALSE);
  EXPECT_FALSE(bar.IsVisible());
  EXPECT_EQ(place(pane.GetSafeHwnd()), client) << "a hidden bar leaves its room to the pane";
  main_frame.RemoveControlBar(&bar);
  EXPECT_TRUE(main_frame.GetControlBars().empty());
  EXPECT_EQ(bar.m_pDockSite, nullptr);
}

TEST_F(Dialogs, ABarWithoutParentIsOwnedByTheMainWindowWhichDocksItWhenAsked) {
  CDialogBar bar;
  ASSERT_TRUE(bar.Create(nullptr, IDD_BAR, CBRS_ALIGN_BOTTOM | WS_VISIBLE, IDD_BAR));
  EXPECT_TRUE(bar.IsVisible());
  EXPECT_EQ(GetWindow(bar.GetSafeHwnd(), GW_OWNER), main_frame.GetSafeHwnd());
  EXPECT_EQ(bar.GetDockingFrame(), &main_frame) << "the main window, as the frame of a bar without one";
  EXPECT_EQ(GetAncestor(bar.GetSafeHwnd(), GA_PARENT), nullptr);
  main_frame.DockControlBar(&bar, AFX_IDW_DOCKBAR_BOTTOM);
  EXPECT_EQ(GetAncestor(bar.GetSafeHwnd(), GA_PARENT), main_frame.GetSafeHwnd()) << "docking makes it a child";
  EXPECT_TRUE(GetWindowLongPtrW(bar.GetSafeHwnd(), GWL_STYLE) & WS_CHILD);
}

TEST_F(Dialogs, HelpGoesToTheApplicationAndIsRecordedForTheDriver) {
  EXPECT_EQ(AfxGetApp(), nullptr);
  {
    CWinApp app;
    EXPECT_EQ(AfxGetApp(), &app);
    app.WinHelp(0x2012C);
    app.WinHelp(0, HELP_FINDER);
    const auto requests = Ostrum::Desktop::TakeHelpRequests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].context, 0x2012Cu);
    EXPECT_EQ(requests[0].command, HELP_CONTEXT);
    EXPECT_EQ(requests[1].command, HELP_FINDER);
    EXPECT_TRUE(Ostrum::Desktop::TakeHelpRequests().empty()) << "taking empties the log";
  }
  EXPECT_EQ(AfxGetApp(), nullptr);
}

}  // namespace
