// Window classes, message-only windows and their life, and CWnd objects attached to windows.

#include <gtest/gtest.h>

#include <thread>

#include "RecordingWindow.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"

namespace {

using Messages = std::vector<UINT>;

TEST(WindowClass, RegisteredByNameWithoutRegardToCase) {
  RecordingClass cls(L"Model.Class.A");
  ASSERT_NE(cls.Atom(), 0);

  WNDCLASSEXW again;
  again.lpfnWndProc = RecordingProc;
  again.lpszClassName = L"model.class.a";
  SetLastError(0);
  EXPECT_EQ(RegisterClassExW(&again), 0);
  EXPECT_EQ(GetLastError(), ERROR_CLASS_ALREADY_EXISTS);

  // Another module may have a class of the same name.
  again.hInstance = reinterpret_cast<HINSTANCE>(uintptr_t{0x7000000});
  const ATOM other = RegisterClassExW(&again);
  EXPECT_NE(other, 0);
  EXPECT_TRUE(UnregisterClassW(L"MODEL.CLASS.A", again.hInstance));

  WNDCLASSEXW info;
  EXPECT_EQ(GetClassInfoExW(nullptr, L"MODEL.CLASS.A", &info), cls.Atom());
  EXPECT_EQ(info.lpfnWndProc, &RecordingProc);
  EXPECT_EQ(info.hInstance, GetModuleHandleW(nullptr)) << "a null module is the program's own";
  EXPECT_EQ(GetClassInfoExW(nullptr, L"no such class", &info), 0);
  EXPECT_EQ(GetLastError(), ERROR_CLASS_DOES_NOT_EXIST);
}

TEST(Window, MessageOnlyWindowLifeAndMessages) {
  RecordingClass cls(L"Model.Life");
  HWND hwnd = CreateWindowExW(0, cls.Name(), L"title", 0, 1, 2, 3, 4, HWND_MESSAGE, nullptr, nullptr, nullptr);
  ASSERT_NE(hwnd, nullptr);
  EXPECT_TRUE(IsWindow(hwnd));
  EXPECT_EQ(GetParent(hwnd), nullptr) << "a message-only window has no parent";
  EXPECT_EQ(GetWindowThreadProcessId(hwnd, nullptr), GetCurrentThreadId());
  wchar_t name[64];
  EXPECT_EQ(GetClassNameW(hwnd, name, 64), 10);
  EXPECT_STREQ(name, L"Model.Life");

  ASSERT_EQ(ReceivedMessages(), (Messages{WM_NCCREATE, WM_NCCALCSIZE, WM_CREATE, WM_SIZE, WM_MOVE}));

  EXPECT_FALSE(UnregisterClassW(cls.Name(), nullptr)) << "a class with windows stays";
  EXPECT_EQ(GetLastError(), ERROR_CLASS_HAS_WINDOWS);

  t_received.clear();
  EXPECT_TRUE(DestroyWindow(hwnd));
  EXPECT_EQ(ReceivedMessages(), (Messages{WM_DESTROY, WM_NCDESTROY}));
  EXPECT_FALSE(IsWindow(hwnd));
  EXPECT_FALSE(DestroyWindow(hwnd));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);

  HWND next = cls.MessageOnly();
  EXPECT_NE(next, hwnd) << "handles are never reused";
  EXPECT_TRUE(DestroyWindow(next));
}

TEST(Window, ProcedureCanRefuseCreation) {
  RecordingClass cls(L"Model.Refuse");
  t_reaction = [](HWND, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
    if (message == WM_NCCREATE) return FALSE;
    return std::nullopt;
  };
  EXPECT_EQ(cls.MessageOnly(), nullptr);
  EXPECT_EQ(ReceivedMessages(), (Messages{WM_NCCREATE, WM_NCDESTROY}));

  t_received.clear();
  t_reaction = [](HWND, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
    if (message == WM_CREATE) return -1;
    return std::nullopt;
  };
  EXPECT_EQ(cls.MessageOnly(), nullptr);
  EXPECT_EQ(ReceivedMessages(), (Messages{WM_NCCREATE, WM_NCCALCSIZE, WM_CREATE, WM_DESTROY, WM_NCDESTROY}));
  t_reaction = nullptr;
  EXPECT_TRUE(UnregisterClassW(cls.Name(), nullptr)) << "refused windows do not hold their class";
}

TEST(Window, UnknownClassOrParentFails) {
  EXPECT_EQ(CreateWindowExW(0, L"Model.Missing", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr),
            nullptr);
  EXPECT_EQ(GetLastError(), ERROR_CANNOT_FIND_WND_CLASS);
  RecordingClass cls(L"Model.Orphan");
  EXPECT_EQ(cls.Child(reinterpret_cast<HWND>(uintptr_t{0x4})), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
  HWND by_atom = CreateWindowExW(0, MAKEINTATOM(cls.Atom()), nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                 nullptr, nullptr);
  EXPECT_NE(by_atom, nullptr) << "a class can be named by its atom";
  DestroyWindow(by_atom);
}

TEST(Window, DestroyingAParentDestroysItsChildrenInside) {
  RecordingClass cls(L"Model.Tree");
  HWND parent = CreateWindowExW(0, cls.Name(), nullptr, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
  HWND child = cls.Child(parent);
  HWND grandchild = cls.Child(child);
  ASSERT_TRUE(parent && child && grandchild);
  EXPECT_EQ(GetParent(grandchild), child);
  PostMessageW(child, WM_APP, 0, 0);
  t_received.clear();

  EXPECT_TRUE(DestroyWindow(parent));
  std::vector<std::pair<HWND, UINT>> order;
  for (const Received& r : t_received) order.emplace_back(r.hwnd, r.message);
  const std::vector<std::pair<HWND, UINT>> expected{
      {parent, WM_DESTROY}, {child, WM_DESTROY}, {grandchild, WM_DESTROY}, {grandchild, WM_NCDESTROY},
      {child, WM_NCDESTROY}, {parent, WM_NCDESTROY}};
  EXPECT_EQ(order, expected);
  EXPECT_FALSE(IsWindow(child) || IsWindow(grandchild));
  MSG msg;
  EXPECT_FALSE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) << "what was posted to a destroyed window is dropped";
}

TEST(Window, OnlyTheOwningThreadDestroysOrSendsTo) {
  RecordingClass cls(L"Model.Owner");
  HWND hwnd = cls.MessageOnly();
  BOOL destroyed = TRUE;
  LRESULT sent = 1;
  DWORD error = 0;
  std::thread([&] {
    destroyed = DestroyWindow(hwnd);
    error = GetLastError();
    sent = SendMessageW(hwnd, WM_USER, 0, 0);
  }).join();
  EXPECT_FALSE(destroyed);
  EXPECT_EQ(error, ERROR_ACCESS_DENIED);
  EXPECT_EQ(sent, 0);
  EXPECT_TRUE(IsWindow(hwnd));
  t_received.clear();
  t_reaction = [](HWND, UINT message, WPARAM wParam, LPARAM) -> std::optional<LRESULT> {
    if (message == WM_USER) return static_cast<LRESULT>(wParam * 2);
    return std::nullopt;
  };
  EXPECT_EQ(SendMessageW(hwnd, WM_USER, 21, 0), 42) << "a send on the owning thread calls at once";
  EXPECT_TRUE(DestroyWindow(hwnd));
}

TEST(Window, WindowsOfAnEndedThreadAreGone) {
  RecordingClass cls(L"Model.Ended");
  HWND hwnd = nullptr;
  std::thread([&] { hwnd = cls.MessageOnly(); }).join();
  ASSERT_NE(hwnd, nullptr);
  EXPECT_FALSE(IsWindow(hwnd));
  EXPECT_FALSE(PostMessageW(hwnd, WM_APP, 0, 0));
  EXPECT_TRUE(UnregisterClassW(cls.Name(), nullptr));
}

TEST(CWnd, AttachedObjectFollowsItsWindow) {
  RecordingClass cls(L"Model.CWnd");
  CWnd frame;
  ASSERT_TRUE(frame.CreateEx(0, cls.Name(), L"frame", 0, 0, 0, 100, 100, nullptr, 0));
  HWND frame_hwnd = frame.GetSafeHwnd();
  EXPECT_EQ(CWnd::FromHandlePermanent(frame_hwnd), &frame);
  EXPECT_FALSE(frame.CreateEx(0, cls.Name(), nullptr, 0, 0, 0, 0, 0, nullptr, 0)) << "one window per object";

  auto view = std::make_unique<CWnd>();
  ASSERT_TRUE(view->CreateEx(0, cls.Name(), L"view", WS_CHILD, 0, 0, 10, 10, frame_hwnd, 1));
  EXPECT_EQ(view->GetParent(), &frame);
  EXPECT_EQ(GetParent(view->GetSafeHwnd()), frame_hwnd);

  // Destroying the frame's window takes the child along; both objects lose their handles.
  HWND view_hwnd = view->GetSafeHwnd();
  EXPECT_TRUE(frame.DestroyWindow());
  EXPECT_EQ(frame.GetSafeHwnd(), nullptr);
  EXPECT_EQ(view->GetSafeHwnd(), nullptr);
  EXPECT_EQ(CWnd::FromHandlePermanent(view_hwnd), nullptr);
  view.reset();  // no window left to destroy

  // An object destroyed with its window still attached destroys the window.
  HWND kept;
  {
    CWnd temporary;
    ASSERT_TRUE(temporary.CreateEx(0, cls.Name(), nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, 0));
    kept = temporary.GetSafeHwnd();
  }
  EXPECT_FALSE(IsWindow(kept));

  // Detached, the window lives on and can be attached to another object.
  CWnd first, second;
  ASSERT_TRUE(first.CreateEx(0, cls.Name(), nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, 0));
  HWND hwnd = first.GetSafeHwnd();
  EXPECT_FALSE(second.Attach(hwnd)) << "a window has one object";
  EXPECT_EQ(first.Detach(), hwnd);
  EXPECT_TRUE(IsWindow(hwnd));
  EXPECT_TRUE(second.Attach(hwnd));
  EXPECT_EQ(CWnd::FromHandlePermanent(hwnd), &second);
  EXPECT_TRUE(DestroyWindow(hwnd));
  EXPECT_EQ(second.GetSafeHwnd(), nullptr);
}

TEST(CWnd, HandSetHandleIsNotTheTablesAndParentsLinkWithoutWindows) {
  // The document pipeline joins frame and view objects that have no model window.
  CWnd parent, child;
  child.SetParent(&parent);
  EXPECT_EQ(child.GetParent(), &parent);
  child.m_hWnd = reinterpret_cast<HWND>(uintptr_t{1});
  EXPECT_EQ(CWnd::FromHandlePermanent(child.m_hWnd), nullptr);
  EXPECT_FALSE(child.DestroyWindow());
  child.m_hWnd = nullptr;
}

}  // namespace
