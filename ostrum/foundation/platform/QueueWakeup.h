#pragma once
// QueueWakeup: how a thread that waits for its message queue is woken when another thread puts
// something into it.

#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "ostrum/Export.h"

namespace Ostrum::Desktop {

/// A one-bit signal with memory: a Notify that comes before the Wait is not lost.
class OSTRUM_API QueueWakeup {
 public:
  /// Wait's argument for no time limit.
  static constexpr uint64_t kForever = ~uint64_t{0};

  QueueWakeup() = default;
  QueueWakeup(const QueueWakeup&) = delete;
  QueueWakeup& operator=(const QueueWakeup&) = delete;

  /// Blocks until Notify was called (since the last Wait returned) or `timeout_ms` of real time
  /// have passed. True if woken by Notify; the signal is consumed.
  bool Wait(uint64_t timeout_ms);
  /// Wakes the waiting thread, or the next Wait if none waits. Callable from any thread.
  void Notify();

 private:
  std::mutex m_mutex;
  std::condition_variable m_condition;
  bool m_signalled = false;
};

}  // namespace Ostrum::Desktop
