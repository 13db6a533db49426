#pragma once
// The message queue of one thread, behind the calls of MessageQueue.h and Timer.h, with the
// thread's input state (ThreadInput).
//
// Posted messages, raw input and their status bits are shared with other threads and guarded
// by the queue's lock; timers, paint requests, the quit request and the input state belong to
// the owning thread and are unlocked.

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "ostrum/foundation/platform/QueueWakeup.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/WinTypes.h"
#include "ostrum/foundation/platform/private/RawInput.h"
#include "ostrum/foundation/platform/private/ThreadInput.h"

namespace Ostrum::Desktop::Private {

struct QueuedMessage {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};

/// Which messages a retrieval takes: GetMessageW's window and number filters.
struct MessageFilter {
  HWND hwnd = nullptr;
  UINT min = 0;
  UINT max = 0;
  bool Matches(HWND target, UINT message) const;
};

class ThreadQueue {
 public:
  explicit ThreadQueue(DWORD thread_id);
  ThreadQueue(const ThreadQueue&) = delete;
  ThreadQueue& operator=(const ThreadQueue&) = delete;

  DWORD GetThreadId() const { return m_thread_id; }
  QueueWakeup& Wakeup() { return m_wakeup; }

  // --- any thread ---
  /// Appends a posted message (or puts it first, for the characters of a translated key); false
  /// with the last error set if the queue is full or the thread has ended.
  bool Post(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, bool first = false);
  /// Appends a raw input record; a mouse move right behind another one that waits replaces it.
  /// False if the thread has ended.
  bool PutInput(RawInput record);
  /// The owning thread has ended: later posts fail and what waits is dropped.
  void Close();

  // --- owning thread only ---
  ThreadInput& Input() { return m_input_state; }
  void SetQuit(int exit_code);
  /// Forgets a quit request that was not retrieved.
  void CancelQuit() { m_quit = false; }
  /// The next message that matches, by the queue's order: posted, input, quit, paint, timer;
  /// false if none waits. Input is routed here, with the sends routing makes; with `remove`
  /// the message leaves the queue (a timer restarts its period; WM_PAINT stays until the window
  /// is validated).
  bool Take(MSG& out, const MessageFilter& filter, bool remove);
  /// GetQueueStatus.
  DWORD Status(UINT flags);
  /// False when Status would answer 0 whatever the flags and change nothing: no message waits
  /// or arrived since the last look, no timer is set, no window needs painting. Costs two
  /// atomic loads, for a loop that asks after every small piece of work.
  bool MayHaveEvents() const {
    return (m_present.load(std::memory_order_relaxed) | m_arrived.load(std::memory_order_relaxed)) != 0 ||
           !m_timers.empty() || m_paint_windows > 0 || m_paint_arrived;
  }
  /// The earliest due time of a timer that matches; IDesktopBackend::kNoDeadline if none.
  uint64_t NextTimerDue(const MessageFilter& filter) const;
  bool HasTimers() const { return !m_timers.empty(); }
  UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapse_ms, TIMERPROC proc);
  bool KillTimer(HWND hwnd, UINT_PTR id);
  /// Whether the timer exists and calls `proc`: DispatchMessageW calls only live timers' procedures.
  bool HasTimerProc(HWND hwnd, UINT_PTR id, TIMERPROC proc) const;
  /// Drops the timers of a window that is being destroyed and what was posted or input to it.
  void ForgetWindow(HWND hwnd);
  /// Counts windows of the thread whose update rectangle became non-empty (+1) or empty (-1).
  void AddPaintWindows(int delta);
  /// Drops the raw input that waits.
  void DropInput();

 private:
  struct Timer {
    HWND hwnd;
    UINT_PTR id;
    UINT elapse;
    TIMERPROC proc;
    uint64_t due;
    bool reported;  // counted in GetQueueStatus's low word since it came due
  };

  bool _TakePosted(MSG& out, const MessageFilter& filter, bool remove);
  bool _TakeInput(MSG& out, const MessageFilter& filter, bool remove);
  bool _TakePaint(MSG& out, const MessageFilter& filter);
  bool _TakeTimer(MSG& out, const MessageFilter& filter, bool remove);
  std::optional<RawInput> _InputAfter(uint64_t serial);
  void _RemoveInput(uint64_t serial);
  void _UpdatePresentLocked();
  void _MarkSeen();
  void _Wake();
  static uint64_t _Now();

  const DWORD m_thread_id;
  QueueWakeup m_wakeup;

  std::mutex m_mutex;
  std::deque<QueuedMessage> m_posted;  // guarded by m_mutex
  std::deque<RawInput> m_input;        // guarded, in order of serial
  UINT m_input_counts[4] = {};         // per input kind (key, move, button, raw); guarded
  uint64_t m_next_serial = 1;          // guarded
  bool m_closed = false;               // guarded
  // Kinds waiting now and kinds arrived since the last look, readable without the lock so that
  // the status query of an idle loop costs two atomic loads.
  std::atomic<UINT> m_present{0};
  std::atomic<UINT> m_arrived{0};

  std::vector<Timer> m_timers;  // owning thread only
  UINT_PTR m_next_thread_timer_id = 0x7FF0;
  bool m_quit = false;
  int m_quit_code = 0;
  int m_paint_windows = 0;       // windows with a non-empty update rectangle
  bool m_paint_arrived = false;  // since the last look
  ThreadInput m_input_state;
};

/// The calling thread's queue, made on first use. It lives until the thread ends; then the
/// thread's windows are taken out of the window table without messages.
ThreadQueue& CurrentQueue();
/// The queue of a thread while it lives; null if the thread has none or has ended.
std::shared_ptr<ThreadQueue> FindQueue(DWORD thread_id);
/// The calling thread's queue as a shared pointer, for the window table's records.
std::shared_ptr<ThreadQueue> CurrentQueueShared();

}  // namespace Ostrum::Desktop::Private
