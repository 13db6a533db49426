#include "ostrum/foundation/platform/private/ThreadQueue.h"

#include <algorithm>
#include <unordered_map>

#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Timer.h"
#include "ostrum/foundation/platform/private/DesktopInput.h"
#include "ostrum/foundation/platform/private/InputRouting.h"
#include "ostrum/foundation/platform/private/Painting.h"
#include "ostrum/foundation/platform/private/StaticThreadLocal.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace Ostrum::Desktop::Private {

namespace {

constexpr UINT kInputKinds[4] = {QS_KEY, QS_MOUSEMOVE, QS_MOUSEBUTTON, QS_RAWINPUT};

int InputSlot(UINT kind) {
  for (int slot = 0; slot < 4; ++slot)
    if (kInputKinds[slot] == kind) return slot;
  return 3;
}

MSG ToMsg(const QueuedMessage& m) { return MSG{m.hwnd, m.message, m.wParam, m.lParam, m.time, m.pt}; }

// Live queues by thread number, for PostThreadMessageW. Never destroyed: threads may end
// after static destructors have started.
struct Registry {
  std::mutex mutex;
  std::unordered_map<DWORD, std::weak_ptr<ThreadQueue>> queues;
};

Registry& GetRegistry() {
  static Registry* registry = new Registry;
  return *registry;
}

// The calling thread's queue while its holder lives: a plain pointer, so that reaching the
// queue is one load once the thread has one.
OSTRUM_STATIC_TLS thread_local ThreadQueue* t_queue = nullptr;

// The thread's share of the model: made on the thread's first call that needs a queue, and
// taken down when the thread ends.
struct ThreadHolder {
  std::shared_ptr<ThreadQueue> queue;

  ThreadHolder() : queue(std::make_shared<ThreadQueue>(GetCurrentThreadId())) {
    Registry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    registry.queues[queue->GetThreadId()] = queue;
  }

  ~ThreadHolder() {
    t_queue = nullptr;
    // No procedure can run for the thread's windows any more: they leave the table without
    // messages, and CWnd objects still attached lose their handles.
    for (CWnd* object : WindowTable::Get().ForgetThread(queue->GetThreadId())) object->m_hWnd = nullptr;
    ForgetThreadInput(queue->GetThreadId());
    queue->Close();
    Registry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    registry.queues.erase(queue->GetThreadId());
  }
};

ThreadHolder& Holder() {
  thread_local ThreadHolder holder;
  return holder;
}

}  // namespace

bool MessageFilter::Matches(HWND target, UINT message) const {
  if (hwnd == HWND_THREAD_MESSAGES) {
    if (target != nullptr) return false;
  } else if (hwnd != nullptr && target != hwnd) {
    return false;
  }
  if (min == 0 && max == 0) return true;
  return message >= min && message <= max;
}

ThreadQueue::ThreadQueue(DWORD thread_id) : m_thread_id(thread_id) {}

uint64_t ThreadQueue::_Now() { return GetDesktopBackend().GetTickCount64(); }

void ThreadQueue::_UpdatePresentLocked() {
  UINT bits = m_posted.empty() ? 0 : QS_POSTMESSAGE | QS_ALLPOSTMESSAGE;
  for (int slot = 0; slot < 4; ++slot)
    if (m_input_counts[slot] != 0) bits |= kInputKinds[slot];
  m_present.store(bits, std::memory_order_release);
}

void ThreadQueue::_Wake() {
  // The owning thread is not waiting while it posts to itself.
  if (GetCurrentThreadId() == m_thread_id) return;
  m_wakeup.Notify();
  GetDesktopBackend().WakeThread(m_thread_id);
}

bool ThreadQueue::Post(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, bool first) {
  const POINT pt = CursorPosition();
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closed) {
      SetLastError(hwnd ? ERROR_INVALID_WINDOW_HANDLE : ERROR_INVALID_THREAD_ID);
      return false;
    }
    if (m_posted.size() >= POSTED_MESSAGE_QUOTA) {
      SetLastError(ERROR_NOT_ENOUGH_QUOTA);
      return false;
    }
    const QueuedMessage queued{hwnd, message, wParam, lParam, static_cast<DWORD>(_Now()), pt};
    if (first) {
      m_posted.push_front(queued);
    } else {
      m_posted.push_back(queued);
    }
    _UpdatePresentLocked();
    m_arrived.fetch_or(QS_POSTMESSAGE | QS_ALLPOSTMESSAGE, std::memory_order_acq_rel);
  }
  _Wake();
  return true;
}

bool ThreadQueue::PutInput(RawInput record) {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closed) {
      SetLastError(ERROR_INVALID_WINDOW_HANDLE);
      return false;
    }
    const bool is_move = record.kind == RawKind::Mouse && record.message == WM_MOUSEMOVE;
    if (is_move && !m_input.empty() && m_input.back().kind == RawKind::Mouse &&
        m_input.back().message == WM_MOUSEMOVE) {
      // The desktop keeps one move between other events: the last position counts.
      RawInput& last = m_input.back();
      last.screen = record.screen;
      last.time = record.time;
      last.keys = record.keys;
    } else {
      record.serial = m_next_serial++;
      ++m_input_counts[InputSlot(record.qs_kind)];
      m_input.push_back(record);
    }
    _UpdatePresentLocked();
    m_arrived.fetch_or(record.qs_kind, std::memory_order_acq_rel);
  }
  _Wake();
  return true;
}

void ThreadQueue::Close() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = true;
    m_posted.clear();
    m_input.clear();
    std::fill(std::begin(m_input_counts), std::end(m_input_counts), 0u);
    _UpdatePresentLocked();
  }
  m_timers.clear();
}

void ThreadQueue::DropInput() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_input.clear();
  std::fill(std::begin(m_input_counts), std::end(m_input_counts), 0u);
  _UpdatePresentLocked();
}

void ThreadQueue::SetQuit(int exit_code) {
  m_quit = true;
  m_quit_code = exit_code;
}

void ThreadQueue::_MarkSeen() {
  if (m_arrived.load(std::memory_order_relaxed) != 0) m_arrived.store(0, std::memory_order_release);
  m_paint_arrived = false;
  if (m_timers.empty()) return;
  const uint64_t now = _Now();
  for (Timer& timer : m_timers)
    if (timer.due <= now) timer.reported = true;
}

bool ThreadQueue::Take(MSG& out, const MessageFilter& filter, bool remove) {
  _MarkSeen();
  if (_TakePosted(out, filter, remove)) return true;
  if (_TakeInput(out, filter, remove)) return true;
  if (m_quit) {
    out = MSG{nullptr, WM_QUIT, static_cast<WPARAM>(m_quit_code), 0, static_cast<DWORD>(_Now()), CursorPosition()};
    if (remove) m_quit = false;
    return true;
  }
  if (_TakePaint(out, filter)) return true;
  return _TakeTimer(out, filter, remove);
}

bool ThreadQueue::_TakePosted(MSG& out, const MessageFilter& filter, bool remove) {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (auto it = m_posted.begin(); it != m_posted.end(); ++it) {
    if (!filter.Matches(it->hwnd, it->message)) continue;
    out = ToMsg(*it);
    if (remove) {
      m_posted.erase(it);
      _UpdatePresentLocked();
    }
    return true;
  }
  return false;
}

std::optional<RawInput> ThreadQueue::_InputAfter(uint64_t serial) {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (const RawInput& record : m_input)
    if (record.serial > serial) return record;
  return std::nullopt;
}

void ThreadQueue::_RemoveInput(uint64_t serial) {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (auto it = m_input.begin(); it != m_input.end(); ++it) {
    if (it->serial != serial) continue;
    --m_input_counts[InputSlot(it->qs_kind)];
    m_input.erase(it);
    _UpdatePresentLocked();
    return;
  }
}

bool ThreadQueue::_TakeInput(MSG& out, const MessageFilter& filter, bool remove) {
  // Records are copied out one at a time and routed without the queue's lock: routing reads
  // the window table and, on removal, sends messages whose procedures may post or pump.
  uint64_t after = 0;
  while (std::optional<RawInput> record = _InputAfter(after)) {
    after = record->serial;
    RoutedInput routed = ResolveInput(*record);
    const bool matches = routed.has_message && filter.Matches(routed.msg.hwnd, routed.msg.message);
    if (!remove) {
      if (matches) {
        out = routed.msg;
        return true;
      }
      continue;
    }
    if (routed.has_message && !matches) continue;  // waits for a retrieval that wants it
    _RemoveInput(record->serial);
    if (!CarryOutInput(*record, routed) || !routed.has_message) continue;
    out = routed.msg;
    return true;
  }
  return false;
}

bool ThreadQueue::_TakePaint(MSG& out, const MessageFilter& filter) {
  if (m_paint_windows <= 0) return false;
  const HWND hwnd = NextWindowToPaint(m_thread_id, filter);
  if (!hwnd) return false;
  out = MSG{hwnd, WM_PAINT, 0, 0, static_cast<DWORD>(_Now()), CursorPosition()};
  return true;
}

bool ThreadQueue::_TakeTimer(MSG& out, const MessageFilter& filter, bool remove) {
  if (m_timers.empty()) return false;
  const uint64_t now = _Now();
  Timer* next = nullptr;
  for (Timer& timer : m_timers) {
    if (timer.due > now || !filter.Matches(timer.hwnd, WM_TIMER)) continue;
    if (!next || timer.due < next->due) next = &timer;
  }
  if (!next) return false;
  out = MSG{next->hwnd, WM_TIMER, next->id, reinterpret_cast<LPARAM>(next->proc), static_cast<DWORD>(now),
            CursorPosition()};
  if (remove) {
    next->due = now + next->elapse;
    next->reported = false;
  }
  return true;
}

void ThreadQueue::AddPaintWindows(int delta) {
  if (delta > 0 && m_paint_windows == 0) m_paint_arrived = true;
  m_paint_windows += delta;
  if (m_paint_windows < 0) m_paint_windows = 0;
}

DWORD ThreadQueue::Status(UINT flags) {
  UINT present = m_present.load(std::memory_order_acquire);
  // Looked at before it is cleared: an idle loop asks after every task, mostly of an empty queue.
  UINT arrived = m_arrived.load(std::memory_order_acquire);
  if (arrived != 0) arrived = m_arrived.exchange(0, std::memory_order_acq_rel);
  if (!m_timers.empty()) {
    const uint64_t now = _Now();
    for (Timer& timer : m_timers) {
      if (timer.due > now) continue;
      present |= QS_TIMER;
      if (!timer.reported) {
        arrived |= QS_TIMER;
        timer.reported = true;
      }
    }
  }
  if (m_paint_windows > 0) {
    present |= QS_PAINT;
    if (m_paint_arrived) arrived |= QS_PAINT;
  }
  m_paint_arrived = false;
  present &= flags;
  arrived &= present;
  return (present << 16) | arrived;
}

uint64_t ThreadQueue::NextTimerDue(const MessageFilter& filter) const {
  uint64_t next = IDesktopBackend::kNoDeadline;
  for (const Timer& timer : m_timers)
    if (filter.Matches(timer.hwnd, WM_TIMER)) next = std::min(next, timer.due);
  return next;
}

UINT_PTR ThreadQueue::SetTimer(HWND hwnd, UINT_PTR id, UINT elapse_ms, TIMERPROC proc) {
  const UINT elapse = std::clamp(elapse_ms, USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM);
  const uint64_t due = _Now() + elapse;
  auto existing = std::find_if(m_timers.begin(), m_timers.end(),
                               [&](const Timer& t) { return t.hwnd == hwnd && t.id == id; });
  if (existing != m_timers.end()) {
    *existing = Timer{hwnd, id, elapse, proc, due, false};
  } else {
    if (!hwnd) {
      // A thread timer gets an id of the model's choice, one not in use.
      do {
        id = m_next_thread_timer_id++;
        if (id == 0) id = m_next_thread_timer_id++;
      } while (std::any_of(m_timers.begin(), m_timers.end(),
                           [&](const Timer& t) { return t.hwnd == nullptr && t.id == id; }));
    }
    m_timers.push_back(Timer{hwnd, id, elapse, proc, due, false});
  }
  return hwnd ? (id ? id : 1) : id;
}

bool ThreadQueue::KillTimer(HWND hwnd, UINT_PTR id) {
  auto it = std::find_if(m_timers.begin(), m_timers.end(),
                         [&](const Timer& t) { return t.hwnd == hwnd && t.id == id; });
  if (it == m_timers.end()) return false;
  m_timers.erase(it);
  return true;
}

bool ThreadQueue::HasTimerProc(HWND hwnd, UINT_PTR id, TIMERPROC proc) const {
  return std::any_of(m_timers.begin(), m_timers.end(),
                     [&](const Timer& t) { return t.hwnd == hwnd && t.id == id && t.proc == proc; });
}

void ThreadQueue::ForgetWindow(HWND hwnd) {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::erase_if(m_posted, [&](const QueuedMessage& m) { return m.hwnd == hwnd; });
    for (auto it = m_input.begin(); it != m_input.end();) {
      if (it->hwnd == hwnd) {
        --m_input_counts[InputSlot(it->qs_kind)];
        it = m_input.erase(it);
      } else {
        ++it;
      }
    }
    _UpdatePresentLocked();
  }
  std::erase_if(m_timers, [&](const Timer& t) { return t.hwnd == hwnd; });
}

ThreadQueue& CurrentQueue() {
  if (ThreadQueue* queue = t_queue) return *queue;
  ThreadQueue& queue = *Holder().queue;
  t_queue = &queue;
  return queue;
}

std::shared_ptr<ThreadQueue> CurrentQueueShared() { return Holder().queue; }

std::shared_ptr<ThreadQueue> FindQueue(DWORD thread_id) {
  Registry& registry = GetRegistry();
  std::lock_guard<std::mutex> lock(registry.mutex);
  auto it = registry.queues.find(thread_id);
  return it == registry.queues.end() ? nullptr : it->second.lock();
}

}  // namespace Ostrum::Desktop::Private

namespace Ostrum::Desktop::Private {

ThreadInput& CurrentInput() { return CurrentQueue().Input(); }

}  // namespace Ostrum::Desktop::Private
