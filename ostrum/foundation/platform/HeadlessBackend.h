#pragma once
// HeadlessBackend: the default backend of the desktop model. Nothing is shown anywhere, and
// time is the model's own: the clock moves only when told to, so runs are repeatable.

#include <atomic>
#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/IDesktopBackend.h"

namespace Ostrum::Desktop {

class OSTRUM_API HeadlessBackend : public IDesktopBackend {
 public:
  /// A backend whose clock starts at `start_tick` milliseconds.
  explicit HeadlessBackend(uint64_t start_tick = 0);

  uint64_t GetTickCount64() override;
  /// A wait for a timer lets the model time pass at once: the clock jumps to `deadline`. A wait
  /// without deadline blocks until another thread posts or delivers input.
  void WaitForMessage(uint64_t deadline, QueueWakeup& wakeup) override;

  /// Moves the clock forward by `ms`. Timers that come due wait in their queues until a
  /// message loop retrieves them.
  void AdvanceClock(uint64_t ms);
  /// Moves the clock to `tick`; nothing happens if the clock is there already or beyond.
  void AdvanceClockTo(uint64_t tick);

 private:
  std::atomic<uint64_t> m_now;
};

/// The process's headless backend, in use unless the host set another.
OSTRUM_API HeadlessBackend& GetHeadlessBackend();

}  // namespace Ostrum::Desktop
