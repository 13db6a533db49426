#pragma once
// The message queue of one thread, behind the calls of MessageQueue.h and Timer.h.
//
// Posted messages, input and their status bits are shared with other threads and guarded by the
// queue's lock; timers and the quit request belong to the owning thread and are unlocked.

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "ostrum/foundation/platform/QueueWakeup.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop::Private {

struct QueuedMessage {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
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
  /// Appends input of the QS_ kind `kind`; false if the thread has ended.
  bool PutInput(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, UINT kind);
  /// The owning thread has ended: later posts fail and what waits is dropped.
  void Close();

  // --- owning thread only ---
  void SetQuit(int exit_code);
  /// The next message that matches, by the queue's order; false if none waits. With `remove`
  /// the message leaves the queue (a timer restarts its period).
  bool Take(MSG& out, const MessageFilter& filter, bool remove);
  /// GetQueueStatus.
  DWORD Status(UINT flags);
  /// The earliest due time of a timer that matches; IDesktopBackend::kNoDeadline if none.
  uint64_t NextTimerDue(const MessageFilter& filter) const;
  bool HasTimers() const { return !m_timers.empty(); }
  UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapse_ms, TIMERPROC proc);
  bool KillTimer(HWND hwnd, UINT_PTR id);
  /// Whether the timer exists and calls `proc`: DispatchMessageW calls only live timers' procedures.
  bool HasTimerProc(HWND hwnd, UINT_PTR id, TIMERPROC proc) const;
  /// Drops the timers of a window that is being destroyed and what was posted or input to it.
  void ForgetWindow(HWND hwnd);

 private:
  struct Timer {
    HWND hwnd;
    UINT_PTR id;
    UINT elapse;
    TIMERPROC proc;
    uint64_t due;
    bool reported;  // counted in GetQueueStatus's low word since it came due
  };
  struct Input {
    QueuedMessage message;
    UINT kind;
  };

  void _UpdatePresentLocked();
  void _MarkSeen();
  static uint64_t _Now();

  const DWORD m_thread_id;
  QueueWakeup m_wakeup;

  std::mutex m_mutex;
  std::deque<QueuedMessage> m_posted;  // guarded by m_mutex
  std::deque<Input> m_input;           // guarded by m_mutex
  UINT m_input_counts[4] = {};         // per input kind (key, move, button, raw); guarded
  bool m_closed = false;               // guarded
  // Kinds waiting now and kinds arrived since the last look, readable without the lock so that
  // the status query of an idle loop costs two atomic loads.
  std::atomic<UINT> m_present{0};
  std::atomic<UINT> m_arrived{0};

  std::vector<Timer> m_timers;  // owning thread only
  UINT_PTR m_next_thread_timer_id = 0x7FF0;
  bool m_quit = false;
  int m_quit_code = 0;
};

/// The calling thread's queue, made on first use. It lives until the thread ends; then the
/// thread's windows are taken out of the window table without messages.
ThreadQueue& CurrentQueue();
/// The queue of a thread while it lives; null if the thread has none or has ended.
std::shared_ptr<ThreadQueue> FindQueue(DWORD thread_id);
/// The calling thread's queue as a shared pointer, for the window table's records.
std::shared_ptr<ThreadQueue> CurrentQueueShared();

}  // namespace Ostrum::Desktop::Private
