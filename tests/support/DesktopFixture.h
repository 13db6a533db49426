#pragma once
// The desktop fixture of every test folder: `user` acts at the screen through Input.h as a
// person would (pumping what waits after each action), `desk` inspects the model and answers
// its modal loops, and the model is reset around each test.
//
//   class ToolTest : public DesktopTest {};
//   TEST_F(ToolTest, HoverTakesCapture) {
//     HWND frame = Frame();
//     HWND view = Child(frame, {10, 10, 210, 110});
//     user.MoveTo(view, {5, 5});
//     EXPECT_EQ(desk.Capture(), view);
//   }

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <initializer_list>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "MessageTrace.h"
#include "ostrum/foundation/platform/Activation.h"
#include "ostrum/foundation/platform/Capture.h"
#include "ostrum/foundation/platform/Cursor.h"
#include "ostrum/foundation/platform/Focus.h"
#include "ostrum/foundation/platform/GdiObjects.h"
#include "ostrum/foundation/platform/HeadlessBackend.h"
#include "ostrum/foundation/platform/Input.h"
#include "ostrum/foundation/platform/KeyState.h"
#include "ostrum/foundation/platform/Menu.h"
#include "ostrum/foundation/platform/Toolbar.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/foundation/platform/ModalLoop.h"
#include "ostrum/foundation/platform/Paint.h"
#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/ResetModel.h"
#include "ostrum/foundation/platform/SystemMetrics.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WindowImage.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowTree.h"

using Ostrum::Desktop::MouseButton;

// Points and rectangles compare and print in test expectations.
inline bool operator==(const RECT& a, const RECT& b) { return EqualRect(&a, &b) != FALSE; }
inline bool operator==(const POINT& a, const POINT& b) { return a.x == b.x && a.y == b.y; }
inline std::ostream& operator<<(std::ostream& out, const RECT& r) {
  return out << "{" << r.left << "," << r.top << "," << r.right << "," << r.bottom << "}";
}
inline std::ostream& operator<<(std::ostream& out, const POINT& p) { return out << "(" << p.x << "," << p.y << ")"; }

/// How IUserDriver::Drag moves.
struct DragOptions {
  MouseButton button = MouseButton::Left;
  int steps = 4;  ///< moves between the press and the release
};

/// What a user does at the screen. The headless driver below acts through Input.h; a desktop
/// backend's tests drive real input through the same calls.
class IUserDriver {
 public:
  virtual ~IUserDriver() = default;
  /// Moves the cursor to a point in `wnd`'s client coordinates (null: screen coordinates).
  virtual void MoveTo(HWND wnd, POINT point) = 0;
  virtual void Press(MouseButton button) = 0;
  virtual void Release(MouseButton button) = 0;
  virtual void Wheel(int delta) = 0;
  virtual void KeyDown(UINT vk) = 0;
  virtual void KeyUp(UINT vk) = 0;
  /// Text typed through an input method: WM_CHAR only.
  virtual void Type(std::wstring_view text) = 0;
  virtual void SwitchToOtherApp() = 0;
  virtual void Activate(HWND top) = 0;
  virtual void Resize(HWND top, int cx, int cy) = 0;
  virtual void Close(HWND top) = 0;
  virtual void SwapButtons(bool swap) = 0;
  /// Lets `ms` of model time pass, running what comes due.
  virtual void Wait(uint32_t ms) = 0;

  void Click(HWND wnd, POINT point, MouseButton button = MouseButton::Left) {
    MoveTo(wnd, point);
    Press(button);
    Release(button);
  }
  void DoubleClick(HWND wnd, POINT point) {
    Click(wnd, point);
    Press(MouseButton::Left);
    Release(MouseButton::Left);
  }
  void RightClick(HWND wnd, POINT point) { Click(wnd, point, MouseButton::Right); }
  /// Press at `from`, `steps` moves on the straight line, release at `to`.
  void Drag(HWND wnd, POINT from, POINT to, DragOptions options = {}) {
    MoveTo(wnd, from);
    Press(options.button);
    for (int i = 1; i <= options.steps; ++i)
      MoveTo(wnd, POINT{from.x + (to.x - from.x) * i / options.steps, from.y + (to.y - from.y) * i / options.steps});
    Release(options.button);
  }
  void Key(UINT vk) {
    KeyDown(vk);
    KeyUp(vk);
  }
  /// Keys pressed in order and released in reverse: Chord({VK_CONTROL, 'Z'}).
  void Chord(std::initializer_list<UINT> keys) {
    for (UINT vk : keys) KeyDown(vk);
    for (auto it = std::rbegin(keys); it != std::rend(keys); ++it) KeyUp(*it);
  }
  /// A key held while the guard lives: auto shift = user.Hold(VK_SHIFT);
  class Held {
   public:
    Held(IUserDriver& user, UINT vk) : m_user(user), m_vk(vk) { m_user.KeyDown(vk); }
    ~Held() { m_user.KeyUp(m_vk); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

   private:
    IUserDriver& m_user;
    UINT m_vk;
  };
  [[nodiscard]] Held Hold(UINT vk) { return Held(*this, vk); }
};

/// The user of the headless desktop: each action pumps what waits unless told not to.
class HeadlessUser : public IUserDriver {
 public:
  /// A hand does not move to where the cursor is already: nothing happens then.
  void MoveTo(HWND wnd, POINT point) override {
    if (wnd) ClientToScreen(wnd, &point);
    POINT now;
    GetCursorPos(&now);
    if (now.x == point.x && now.y == point.y) return;
    Ostrum::Desktop::InputMouseMove(point);
    Settle();
  }
  void Press(MouseButton button) override {
    Ostrum::Desktop::InputMouseButton(button, true);
    Settle();
  }
  void Release(MouseButton button) override {
    Ostrum::Desktop::InputMouseButton(button, false);
    Settle();
  }
  void Wheel(int delta) override {
    Ostrum::Desktop::InputMouseWheel(delta);
    Settle();
  }
  void KeyDown(UINT vk) override {
    Ostrum::Desktop::InputKey(vk, true);
    Settle();
  }
  void KeyUp(UINT vk) override {
    Ostrum::Desktop::InputKey(vk, false);
    Settle();
  }
  void Type(std::wstring_view text) override {
    Ostrum::Desktop::InputText(text);
    Settle();
  }
  void SwitchToOtherApp() override {
    Ostrum::Desktop::InputActivate(nullptr);
    Settle();
  }
  void Activate(HWND top) override {
    Ostrum::Desktop::InputActivate(top);
    Settle();
  }
  void Resize(HWND top, int cx, int cy) override {
    Ostrum::Desktop::InputResize(top, cx, cy);
    Settle();
  }
  void Close(HWND top) override {
    Ostrum::Desktop::InputCloseRequest(top);
    Settle();
  }
  void SwapButtons(bool swap) override { SwapMouseButton(swap ? TRUE : FALSE); }
  void Wait(uint32_t ms) override { Ostrum::Desktop::RunFor(ms); }

  /// With false, actions only queue their input; Pump dispatches it.
  void SetAutoPump(bool pump) { m_auto_pump = pump; }
  int Pump() { return Ostrum::Desktop::PumpWaitingMessages(); }

 private:
  void Settle() {
    if (m_auto_pump) Pump();
  }
  bool m_auto_pump = true;
};

/// What the test sees of the desktop, and the answers it gives to modal loops.
class DesktopInspector {
 public:
  using Answer = std::function<void(Ostrum::Desktop::ModalFrame&)>;

  HWND Capture() const { return GetCapture(); }
  HWND Focus() const { return GetFocus(); }
  HWND Active() const { return GetActiveWindow(); }
  HWND Foreground() const { return GetForegroundWindow(); }
  /// The IDC_ number of the cursor shown, 0 for none or another cursor.
  WORD CursorShape() const { return Ostrum::Desktop::SystemCursorId(GetCursor()); }
  POINT CursorPos() const {
    POINT pt;
    GetCursorPos(&pt);
    return pt;
  }
  RECT UpdateRect(HWND wnd) const {
    RECT rect{};
    GetUpdateRect(wnd, &rect, FALSE);
    return rect;
  }
  /// What the window drew, frame included (window coordinates); empty for no window.
  Ostrum::Desktop::BitmapPixels Pixels(HWND wnd) const {
    Ostrum::Desktop::BitmapPixels pixels;
    Ostrum::Desktop::GetWindowImage(wnd, pixels);
    return pixels;
  }
  /// One pixel of it as COLORREF; CLR_INVALID outside.
  COLORREF Pixel(HWND wnd, POINT at) const { return Ostrum::Desktop::GetWindowPixel(wnd, at); }

  /// The menu bar of a frame as the user reads it (see Ostrum::Desktop::DescribeMenu).
  std::string MenuBar(HWND frame) const { return Narrow(Ostrum::Desktop::DescribeMenu(GetMenu(frame))); }
  /// A toolbar as the user sees it (see Ostrum::Desktop::DescribeToolbar).
  std::string Toolbar(HWND toolbar) const { return Narrow(Ostrum::Desktop::DescribeToolbar(toolbar)); }
  /// The next popup menu shown is answered by choosing the command with this text (with or
  /// without its "&"); a menu without it fails the test and is dismissed. The popup as it was
  /// shown goes to `shown` if given.
  void ExpectPopupMenu(std::wstring choice, std::string* shown = nullptr) {
    ExpectModal("popup menu choosing " + Narrow(choice), [choice, shown](Ostrum::Desktop::ModalFrame& frame) {
      auto* detail = frame.kind == Ostrum::Desktop::ModalKind::PopupMenu
                         ? static_cast<Ostrum::Desktop::PopupMenuDetail*>(frame.detail)
                         : nullptr;
      if (shown && detail) *shown = Narrow(Ostrum::Desktop::DescribeMenu(detail->menu));
      if (!Ostrum::Desktop::ChoosePopupMenuItem(frame, choice)) {
        ADD_FAILURE() << "the popup has no enabled command " << Narrow(choice) << ": " << Narrow(frame.description);
        Ostrum::Desktop::EndModalFrame(frame, 0);
      }
    });
  }
  static std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

  /// The next modal loop that waits for an answer gets `answer`, which should end it (through
  /// EndModalFrame, or input that ends it). Expectations are met in order; one left at the end
  /// of the test fails it, and so does a loop nobody answered.
  void ExpectModal(std::string what, Answer answer) { m_expected.emplace_back(std::move(what), std::move(answer)); }

  /// Called by the fixture: the headless backend asks here.
  void Install() {
    Ostrum::Desktop::GetHeadlessBackend().SetModalResponder([this](Ostrum::Desktop::ModalFrame& frame) {
      if (m_expected.empty()) return false;
      Answer answer = std::move(m_expected.front().second);
      m_expected.pop_front();
      answer(frame);
      return true;
    });
  }
  /// Called by the fixture at the end of the test.
  void Verify() {
    for (const std::wstring& description : Ostrum::Desktop::GetHeadlessBackend().TakeUnansweredModals())
      ADD_FAILURE() << "a modal loop nobody answered: " << std::string(description.begin(), description.end());
    for (const auto& expected : m_expected) ADD_FAILURE() << "an expected modal loop did not come: " << expected.first;
    m_expected.clear();
  }

 private:
  std::deque<std::pair<std::string, Answer>> m_expected;
};

/// Per-window reactions of the fixture's window class: a reaction answers a result instead of
/// DefWindowProcW's, or nothing to leave the message to it.
using Reaction = std::function<std::optional<LRESULT>(HWND, UINT, WPARAM, LPARAM)>;
inline thread_local std::unordered_map<HWND, Reaction> t_reactions;

inline LRESULT CALLBACK FixtureWindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  auto it = t_reactions.find(hwnd);
  if (it != t_reactions.end()) {
    Reaction reaction = it->second;  // may be replaced while it runs
    if (auto result = reaction(hwnd, message, wParam, lParam)) return *result;
  }
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

class DesktopTest : public ::testing::Test {
 protected:
  /// The fixture's window classes: DefWindowProcW with the arrow cursor and a background brush,
  /// one with double clicks and one without.
  static constexpr const wchar_t* kWindowClass = L"Ostrum.Test.Window";
  static constexpr const wchar_t* kPlainClass = L"Ostrum.Test.PlainWindow";

  void SetUp() override {
    Ostrum::Desktop::Testing::ResetModel();
    RegisterClasses();
    t_reactions.clear();
    desk.Install();
  }
  void TearDown() override {
    desk.Verify();
    // Reactions may refer to the test's locals, which are gone: the windows die without them.
    t_reactions.clear();
    Ostrum::Desktop::Testing::ResetModel();
  }

  /// A visible top-level window at `rect` (screen coordinates), active once made.
  HWND Frame(RECT rect = {100, 100, 600, 500}, DWORD style = WS_OVERLAPPEDWINDOW | WS_VISIBLE, HWND owner = nullptr,
             const wchar_t* cls = kWindowClass) {
    return CreateWindowExW(0, cls, L"frame", style, rect.left, rect.top, rect.right - rect.left,
                           rect.bottom - rect.top, owner, nullptr, nullptr, nullptr);
  }
  /// A visible child window at `rect` in the parent's client coordinates.
  HWND Child(HWND parent, RECT rect, UINT id = 0, DWORD style = WS_CHILD | WS_VISIBLE, const wchar_t* cls = kWindowClass) {
    return CreateWindowExW(0, cls, L"child", style, rect.left, rect.top, rect.right - rect.left,
                           rect.bottom - rect.top, parent, reinterpret_cast<HMENU>(static_cast<uintptr_t>(id)),
                           nullptr, nullptr);
  }
  /// Gives `hwnd` a reaction to its messages (see Reaction).
  static void React(HWND hwnd, Reaction reaction) { t_reactions[hwnd] = std::move(reaction); }
  /// Makes `hwnd` answer `result` to `message` without the default handling.
  static void Answer(HWND hwnd, UINT message, LRESULT result) {
    React(hwnd, [message, result](HWND, UINT m, WPARAM, LPARAM) -> std::optional<LRESULT> {
      if (m == message) return result;
      return std::nullopt;
    });
  }

  HeadlessUser user;
  DesktopInspector desk;

 private:
  static void RegisterClasses() {
    static const bool registered = [] {
      for (const wchar_t* name : {kWindowClass, kPlainClass}) {
        WNDCLASSEXW wc;
        wc.style = name == kWindowClass ? CS_DBLCLKS : 0;
        wc.lpfnWndProc = FixtureWindowProc;
        wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
        wc.hbrBackground = reinterpret_cast<HBRUSH>(uintptr_t{6});  // COLOR_WINDOW + 1
        wc.lpszClassName = name;
        RegisterClassExW(&wc);
      }
      return true;
    }();
    (void)registered;
  }
};
