#pragma once
// HeadlessBackend: the default backend of the desktop model. Nothing is shown anywhere, and
// time is the model's own: the clock moves only when told to, so runs are repeatable. Modal
// loops never block: the test driver's responder answers them, or they end with their default
// answer and are logged as unanswered.

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/IDesktopBackend.h"

namespace Ostrum::Desktop {

class OSTRUM_API HeadlessBackend : public IDesktopBackend {
 public:
  /// Answers a modal frame that has nothing more to do: true if it acted (it ended the frame, or
  /// queued input that will), false to leave the frame unanswered.
  using ModalResponder = std::function<bool(ModalFrame&)>;

  /// A backend whose clock starts at `start_tick` milliseconds.
  explicit HeadlessBackend(uint64_t start_tick = 0);

  uint64_t GetTickCount64() override;
  /// A wait for a timer lets the model time pass at once: the clock jumps to `deadline`. A wait
  /// without deadline blocks until another thread posts or delivers input.
  void WaitForMessage(uint64_t deadline, QueueWakeup& wakeup) override;
  RECT GetScreenRect() override;
  /// Asks the responder; if it does not act, ends the frame with its default answer, marks it
  /// unanswered and logs its description. Always true: a headless loop never waits.
  bool OnModalIdle(ModalFrame& frame) override;
  /// Counted, for tests that check a menu bar or toolbar was shown again after a change.
  void OnMenuBarChanged(HWND frame, HMENU bar) override;
  void OnToolbarChanged(HWND bar) override;

  /// Moves the clock forward by `ms`. Timers that come due wait in their queues until a
  /// message loop retrieves them.
  void AdvanceClock(uint64_t ms);
  /// Moves the clock to `tick`; nothing happens if the clock is there already or beyond.
  void AdvanceClockTo(uint64_t tick);
  /// The screen's size from now on (1920 by 1080 at first).
  void SetScreenSize(int cx, int cy);
  /// The responder asked by OnModalIdle; null for none.
  void SetModalResponder(ModalResponder responder);
  /// The descriptions of the frames ended unanswered since the last call, in order; the log
  /// is emptied.
  std::vector<std::wstring> TakeUnansweredModals();
  /// How often a menu bar was shown again (SetMenu, DrawMenuBar) and a toolbar changed, since
  /// the process started.
  uint64_t GetMenuBarChangeCount() const { return m_menu_bar_changes.load(); }
  uint64_t GetToolbarChangeCount() const { return m_toolbar_changes.load(); }

 private:
  std::atomic<uint64_t> m_now;
  std::atomic<int64_t> m_screen;
  std::atomic<uint64_t> m_menu_bar_changes{0};
  std::atomic<uint64_t> m_toolbar_changes{0};  // width in the high half, height in the low half
  std::mutex m_mutex;
  ModalResponder m_responder;
  std::vector<std::wstring> m_unanswered;
};

/// The process's headless backend, in use unless the host set another.
OSTRUM_API HeadlessBackend& GetHeadlessBackend();

}  // namespace Ostrum::Desktop
