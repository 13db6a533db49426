#include "ostrum/foundation/platform/QueueWakeup.h"

#include <chrono>

namespace Ostrum::Desktop {

bool QueueWakeup::Wait(uint64_t timeout_ms) {
  std::unique_lock<std::mutex> lock(m_mutex);
  auto signalled = [this] { return m_signalled; };
  bool woken;
  if (timeout_ms == kForever) {
    m_condition.wait(lock, signalled);
    woken = true;
  } else {
    woken = m_condition.wait_for(lock, std::chrono::milliseconds(timeout_ms), signalled);
  }
  m_signalled = false;
  return woken;
}

void QueueWakeup::Notify() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_signalled = true;
  }
  m_condition.notify_one();
}

}  // namespace Ostrum::Desktop
