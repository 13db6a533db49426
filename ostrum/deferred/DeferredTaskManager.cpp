#include "ostrum/deferred/DeferredTaskManager.h"

#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "ostrum/deferred/private/DeferredTaskTable.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/TickCount.h"
#include "ostrum/foundation/platform/Timer.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/private/StaticThreadLocal.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"

namespace Ostrum {

namespace {

using Key = Private::DeferredTaskTable::Key;

constexpr wchar_t kWindowClass[] = L"OSTRUM_DTM_MessageOnlyWindowClass";
/// Runs the posted queue: one message serves every task registered before it arrives.
constexpr UINT kRunPostedMessage = WM_APP + 0x100;
/// The one-shot timer of the idle queue.
constexpr UINT_PTR kIdleTimer = 1;
constexpr UINT kIdleDelayMs = 10;

struct Entry {
  Key key;
  DWORD expiry;  // GetTickCount value, 0 for none
};

// Tasks by ascending priority, equal priorities in order of arrival. The bucket used last is
// remembered, since bursts of tasks usually share a priority.
struct PostedQueue {
  std::map<unsigned int, std::vector<Entry>> buckets;
  unsigned int last_priority = 0;
  std::vector<Entry>* last_bucket = nullptr;

  void Add(unsigned int priority, Entry entry) {
    if (!last_bucket || priority != last_priority) {
      last_bucket = &buckets[priority];
      last_priority = priority;
    }
    last_bucket->push_back(entry);
  }
};

using IdleQueue = std::vector<Entry>;

// A queue that has been run keeps its storage for the next burst, up to this many entries, so
// that a steady stream of bursts does not allocate and fault in fresh memory each time.
constexpr std::size_t kKeptCapacity = std::size_t{1} << 18;

struct Session {
  HWND m_window = nullptr;   // owned
  PostedQueue* m_posted = nullptr;
  IdleQueue* m_idle = nullptr;
  uint64_t m_serial = 0;     // tells this session from a later one on the same thread
  std::unique_ptr<PostedQueue> m_spare_posted;
  std::unique_ptr<IdleQueue> m_spare_idle;

  ~Session();

  PostedQueue* NewPosted() { return m_spare_posted ? m_spare_posted.release() : new PostedQueue; }
  IdleQueue* NewIdle() { return m_spare_idle ? m_spare_idle.release() : new IdleQueue; }

  void Recycle(std::unique_ptr<PostedQueue> queue) {
    if (m_spare_posted) return;
    // Buckets of priorities seen once are not kept.
    if (queue->buckets.size() > 4) queue->buckets.clear();
    for (auto& bucket : queue->buckets) {
      bucket.second.clear();
      if (bucket.second.capacity() > kKeptCapacity) bucket.second.shrink_to_fit();
    }
    queue->last_bucket = nullptr;
    m_spare_posted = std::move(queue);
  }
  void Recycle(std::unique_ptr<IdleQueue> queue) {
    if (m_spare_idle || queue->capacity() > kKeptCapacity) return;
    queue->clear();
    m_spare_idle = std::move(queue);
  }
};

LRESULT CALLBACK WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

// What the library sets up at load and takes down at unload: the window class.
struct Module {
  Module() {
    WNDCLASSEXW wc;
    wc.lpfnWndProc = WindowProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = kWindowClass;
    RegisterClassExW(&wc);
  }
  ~Module() { UnregisterClassW(kWindowClass, GetModuleHandleW(nullptr)); }
};

Module g_module;

// The thread-local slot of the sessions. Every registration reads it, so it is a plain
// thread_local in the static block rather than a slot of the TlsAlloc family, which costs a
// chain of lookups per read.
OSTRUM_STATIC_TLS thread_local Session* t_session = nullptr;
OSTRUM_STATIC_TLS thread_local uint64_t t_sessions_started = 0;

Session* CurrentSession() { return t_session; }

bool IsLive(uint64_t serial) {
  Session* session = CurrentSession();
  return session && session->m_serial == serial;
}

IAction* Take(Key key) { return Private::DeferredTaskTable::Get().Take(key); }

// A task is performed unless it is reached at or after its expiry.
void RunOrExpire(IAction* action, DWORD expiry) {
  if (expiry == 0 || GetTickCount() < expiry) {
    action->Perform();
  } else {
    action->Discard();
  }
}

// Discards a task where nothing can be done about its failure to go.
void DiscardQuietly(IAction* action) {
  try {
    action->Discard();
  } catch (...) {
  }
}

Session::~Session() {
  // No task is performed any more; a task whose Discard does work does it here.
  if (m_idle) {
    std::unique_ptr<IdleQueue> idle(std::exchange(m_idle, nullptr));
    for (const Entry& entry : *idle)
      if (IAction* action = Take(entry.key)) DiscardQuietly(action);
  }
  if (m_posted) {
    std::unique_ptr<PostedQueue> posted(std::exchange(m_posted, nullptr));
    for (auto& bucket : posted->buckets)
      for (const Entry& entry : bucket.second)
        if (IAction* action = Take(entry.key)) DiscardQuietly(action);
  }
  if (m_window) DestroyWindow(m_window);
}

void RunPostedQueue() {
  Session* session = CurrentSession();
  if (!session || !session->m_posted) return;
  const uint64_t serial = session->m_serial;
  // 1. Detached first: a task registered from here on makes a new queue and message.
  std::unique_ptr<PostedQueue> queue(std::exchange(session->m_posted, nullptr));
  // 2. All of it in this one message, without yielding to input. A key already taken out was
  //    discarded by its holder. If a task throws, the rest of the queue is neither run nor
  //    discarded: their handles stay valid for their holders.
  for (auto& bucket : queue->buckets) {
    for (const Entry& entry : bucket.second) {
      IAction* action = Take(entry.key);
      if (!action) continue;
      if (IsLive(serial)) {
        RunOrExpire(action, entry.expiry);
      } else {
        action->Discard();  // a task ended the session: what is left goes as at the end
      }
    }
  }
  // 3. Done with the queue.
  if (IsLive(serial)) CurrentSession()->Recycle(std::move(queue));
}

void RunIdleQueue() {
  Session* session = CurrentSession();
  if (!session || !session->m_idle) return;
  const uint64_t serial = session->m_serial;
  // 1. Detached first, so that an idle task registered by a task makes a new queue.
  std::unique_ptr<IdleQueue> queue(std::exchange(session->m_idle, nullptr));
  // 2.-3. One task at a time; after each, yield if anything waits in the thread's queue. The
  //       queue's own summary is looked at first: when it shows nothing waiting and nothing
  //       arrived, no timer and nothing to paint, GetQueueStatus would answer 0 and change
  //       nothing, so it is asked only otherwise.
  const Desktop::Private::ThreadQueue& thread_queue = Desktop::Private::CurrentQueue();
  auto something_waits = [&thread_queue] {
    return thread_queue.MayHaveEvents() && GetQueueStatus(QS_ALLEVENTS) != 0;
  };
  std::size_t next = 0;
  bool yielded = false;
  while (next < queue->size()) {
    const Entry entry = (*queue)[next++];
    if (IAction* action = Take(entry.key)) {
      if (IsLive(serial)) {
        RunOrExpire(action, entry.expiry);
      } else {
        action->Discard();
      }
    }
    if (next < queue->size() && something_waits()) {
      yielded = true;
      break;
    }
  }
  // 4. Gone through: done with the queue.
  if (!yielded) {
    if (IsLive(serial)) CurrentSession()->Recycle(std::move(queue));
    return;
  }
  // 5. Stopped early: keep what still waits, and come back 10 ms later at the earliest.
  IdleQueue rest;
  for (std::size_t i = next; i < queue->size(); ++i)
    if (Private::DeferredTaskTable::Get().Contains((*queue)[i].key)) rest.push_back((*queue)[i]);
  if (!IsLive(serial)) {
    for (const Entry& entry : rest)
      if (IAction* action = Take(entry.key)) action->Discard();
    return;
  }
  session = CurrentSession();
  session->Recycle(std::move(queue));
  if (!session->m_idle) {
    session->m_idle = session->NewIdle();
    session->m_idle->swap(rest);
  } else {
    // A task of this run registered idle tasks: nothing is dropped, the unfinished entries go
    // first and the new ones after them, in one queue.
    rest.insert(rest.end(), session->m_idle->begin(), session->m_idle->end());
    session->m_idle->swap(rest);
  }
  SetTimer(session->m_window, kIdleTimer, kIdleDelayMs, nullptr);
}

LRESULT CALLBACK WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == kRunPostedMessage) {
    RunPostedQueue();
    return 0;
  }
  if (message == WM_TIMER) {
    if (wParam == kIdleTimer) {
      KillTimer(hwnd, kIdleTimer);  // one shot: the next idle task sets it again
      RunIdleQueue();
    }
    return 0;
  }
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

}  // namespace

void DeferredTaskManager::StartDeferredTaskManagerSession() {
  if (CurrentSession()) return;
  auto session = std::make_unique<Session>();
  session->m_window = CreateWindowExW(0, kWindowClass, nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                      GetModuleHandleW(nullptr), nullptr);
  // Without its window a session could never run a task: the thread stays without one.
  if (!session->m_window) return;
  session->m_serial = ++t_sessions_started;
  t_session = session.release();
}

void DeferredTaskManager::EndDeferredTaskManagerSession() {
  Session* session = CurrentSession();
  if (!session) return;
  // Cleared first: what the discarded tasks register finds no session and stays with them.
  t_session = nullptr;
  delete session;
}

DeferredTask* DeferredTaskManager::RegisterTask(IAction* action, unsigned int priority, unsigned int timeout) {
  Session* session = CurrentSession();
  if (!session) return nullptr;
  const Key key = Private::DeferredTaskTable::Get().Register(action);
  if (key == 0) return nullptr;
  const DWORD expiry = timeout == 0 ? 0 : GetTickCount() + timeout;
  if (priority == IDLE_PRIORITY) {
    if (!session->m_idle) {
      session->m_idle = session->NewIdle();
      SetTimer(session->m_window, kIdleTimer, kIdleDelayMs, nullptr);
    }
    session->m_idle->push_back({key, expiry});
  } else {
    if (!session->m_posted) {
      // One message per burst. If the queue cannot take it, the task would never run: it is
      // not registered, and the action stays with the caller.
      if (!PostMessageW(session->m_window, kRunPostedMessage, 0, 0)) {
        Take(key);
        return nullptr;
      }
      session->m_posted = session->NewPosted();
    }
    session->m_posted->Add(priority, {key, expiry});
  }
  return Private::ToHandle(key);
}

}  // namespace Ostrum
