// The model as a whole: what a backend is told, and the reset that isolates tests.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "support/CallLog.h"
#include "support/DesktopFixture.h"
#include "ostrum/foundation/platform/HeadlessDriver.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/TickCount.h"

namespace {

using Ostrum::Desktop::WindowChange;
using Ostrum::Desktop::WindowView;

// A headless backend that writes down what the model tells it.
class RecordingBackend : public Ostrum::Desktop::HeadlessBackend {
 public:
  explicit RecordingBackend(HWND only) : HeadlessBackend(Ostrum::Desktop::GetHeadlessBackend().GetTickCount64()), m_only(only) {}

  void OnWindowChanged(HWND hwnd, WindowChange what, const WindowView& view) override {
    if (m_only && hwnd != m_only) return;
    static const char* const kNames[] = {"created", "destroyed", "geometry", "shown", "hidden", "text", "zorder", "enabled"};
    std::string entry = kNames[static_cast<int>(what)];
    if (what == WindowChange::Geometry) {
      entry += " " + std::to_string(view.window.right - view.window.left) + "x" +
               std::to_string(view.window.bottom - view.window.top) + " client at " +
               std::to_string(view.client.left) + "," + std::to_string(view.client.top);
    }
    if (what == WindowChange::Text) entry += " " + std::string(view.text.begin(), view.text.end());
    if (what == WindowChange::Enabled) entry += view.enabled ? " yes" : " no";
    log.push_back(entry);
  }
  void OnCaptureChanged(HWND owner) override { log.push_back(owner ? "capture" : "capture released"); }
  void OnCursorChanged(HCURSOR shape) override {
    log.push_back("cursor " + std::to_string(Ostrum::Desktop::SystemCursorId(shape)));
  }
  void SetOnly(HWND only) { m_only = only; }

  CallLog log;

 private:
  HWND m_only;
};

class DesktopModel : public DesktopTest {};

TEST_F(DesktopModel, TheBackendIsToldWhatChangesOfWindowsItMayShow) {
  RecordingBackend backend(nullptr);
  Ostrum::Desktop::SetDesktopBackend(&backend);
  struct Restore {
    ~Restore() { Ostrum::Desktop::SetDesktopBackend(nullptr); }
  } restore;
  const HWND message_only =
      CreateWindowExW(0, kWindowClass, nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
  EXPECT_TRUE(backend.log.empty()) << "message-only windows are never shown";
  const HWND frame = Frame({100, 100, 600, 500});
  const HWND view = Child(frame, {0, 0, 20, 20});
  backend.SetOnly(frame);
  backend.log.clear();
  MoveWindow(frame, 50, 60, 300, 200, TRUE);
  SetWindowTextW(frame, L"screw");
  SetCapture(view);
  ReleaseCapture();
  EnableWindow(frame, FALSE);
  EnableWindow(frame, TRUE);
  SetCursor(LoadCursorW(nullptr, IDC_CROSS));
  ShowWindow(frame, SW_HIDE);
  DestroyWindow(frame);
  EXPECT_EQ(backend.log, (Calls{"geometry 300x200 client at 58,91", "text screw", "capture", "capture released",
                                "enabled no", "enabled yes", "cursor 32515", "hidden", "destroyed"}));
  DestroyWindow(message_only);
}

TEST_F(DesktopModel, InputFromAnotherThreadWakesTheThreadThatOwnsTheWindowUnderTheCursor) {
  const HWND frame = Frame({100, 100, 600, 500});
  user.Wait(0);
  POINT inside{50, 60};
  ClientToScreen(frame, &inside);
  std::atomic<bool> waiting{false};
  std::thread backend_thread([&] {
    while (!waiting.load()) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    Ostrum::Desktop::InputMouseMove(inside);
    Ostrum::Desktop::InputMouseButton(MouseButton::Left, true);
  });
  waiting = true;
  MSG msg;
  std::vector<UINT> taken;
  // Blocks in the headless wait (no timer is set) until the records arrive.
  while (taken.empty() || taken.back() != WM_LBUTTONDOWN) {
    if (GetMessageW(&msg, nullptr, 0, 0) != 1) break;
    taken.push_back(msg.message);
    DispatchMessageW(&msg);
  }
  backend_thread.join();
  EXPECT_EQ(taken, (std::vector<UINT>{WM_MOUSEMOVE, WM_LBUTTONDOWN}));
  EXPECT_EQ(msg.hwnd, frame);
  EXPECT_EQ(msg.lParam, MAKELPARAM(50, 60));
  EXPECT_LT(GetAsyncKeyState(VK_LBUTTON), 0);
  Ostrum::Desktop::InputMouseButton(MouseButton::Left, false);
}

TEST_F(DesktopModel, ResetPutsTheDesktopBackAndKeepsTheClockAndMessageOnlyWindows) {
  const HWND frame = Frame();
  const HWND view = Child(frame, {0, 0, 50, 50});
  const HWND popup = Frame({0, 0, 10, 10}, WS_POPUP | WS_VISIBLE, frame);
  const HWND machinery =
      CreateWindowExW(0, kWindowClass, nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
  SetFocus(view);
  SetCapture(view);
  user.MoveTo(view, {10, 10});
  user.SwapButtons(true);
  user.KeyDown(VK_SHIFT);
  user.Press(MouseButton::Right);
  Ostrum::Desktop::HeadlessDriver driver;
  driver.SetScreenSize(800, 600);
  SetCursor(LoadCursorW(nullptr, IDC_WAIT));
  user.SetAutoPump(false);
  user.KeyDown('Q');  // still queued
  PostQuitMessage(1);
  const DWORD clock = GetTickCount();

  Ostrum::Desktop::Testing::ResetModel();
  for (HWND gone : {frame, view, popup}) EXPECT_FALSE(IsWindow(gone));
  EXPECT_TRUE(IsWindow(machinery)) << "message-only windows outlive a reset";
  EXPECT_EQ(desk.Capture(), nullptr);
  EXPECT_EQ(desk.Focus(), nullptr);
  EXPECT_EQ(desk.Active(), nullptr);
  EXPECT_EQ(desk.Foreground(), nullptr);
  EXPECT_EQ(desk.CursorPos(), (POINT{0, 0}));
  EXPECT_EQ(desk.CursorShape(), 32512);
  EXPECT_EQ(GetSystemMetrics(SM_SWAPBUTTON), 0);
  EXPECT_EQ(GetSystemMetrics(SM_CXSCREEN), 1920);
  for (UINT vk : {VK_SHIFT, VK_LBUTTON, VK_RBUTTON, UINT{'Q'}}) {
    EXPECT_EQ(GetKeyState(static_cast<int>(vk)), 0) << vk;
    EXPECT_EQ(GetAsyncKeyState(static_cast<int>(vk)), 0) << vk;
  }
  MSG msg;
  EXPECT_FALSE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) << "no input, quit or paint left";
  EXPECT_EQ(GetTickCount(), clock);

  // A new window after the reset takes the foreground as at the start.
  const HWND fresh = Frame();
  EXPECT_EQ(desk.Foreground(), fresh);
  DestroyWindow(machinery);
}

}  // namespace
