#include "ostrum/foundation/platform/HeadlessBackend.h"

namespace Ostrum::Desktop {

HeadlessBackend::HeadlessBackend(uint64_t start_tick) : m_now(start_tick) {}

uint64_t HeadlessBackend::GetTickCount64() { return m_now.load(std::memory_order_acquire); }

void HeadlessBackend::WaitForMessage(uint64_t deadline, QueueWakeup& wakeup) {
  if (deadline == kNoDeadline) {
    wakeup.Wait(QueueWakeup::kForever);
    return;
  }
  AdvanceClockTo(deadline);
}

void HeadlessBackend::AdvanceClock(uint64_t ms) { m_now.fetch_add(ms, std::memory_order_acq_rel); }

void HeadlessBackend::AdvanceClockTo(uint64_t tick) {
  uint64_t now = m_now.load(std::memory_order_acquire);
  // Several threads may move the clock; it only ever goes forward.
  while (now < tick && !m_now.compare_exchange_weak(now, tick, std::memory_order_acq_rel)) {
  }
}

HeadlessBackend& GetHeadlessBackend() {
  // Never destroyed: clocks are read by static objects' destructors at exit.
  static HeadlessBackend* backend = new HeadlessBackend;
  return *backend;
}

}  // namespace Ostrum::Desktop
