#include "ostrum/foundation/platform/HeadlessBackend.h"

#include <utility>

#include "ostrum/foundation/platform/ModalLoop.h"

namespace Ostrum::Desktop {

namespace {

constexpr int64_t PackScreen(int cx, int cy) {
  return (static_cast<int64_t>(cx) << 32) | static_cast<int64_t>(static_cast<uint32_t>(cy));
}

}  // namespace

HeadlessBackend::HeadlessBackend(uint64_t start_tick) : m_now(start_tick), m_screen(PackScreen(1920, 1080)) {}

uint64_t HeadlessBackend::GetTickCount64() { return m_now.load(std::memory_order_acquire); }

void HeadlessBackend::WaitForMessage(uint64_t deadline, QueueWakeup& wakeup) {
  if (deadline == kNoDeadline) {
    wakeup.Wait(QueueWakeup::kForever);
    return;
  }
  AdvanceClockTo(deadline);
}

RECT HeadlessBackend::GetScreenRect() {
  const int64_t screen = m_screen.load(std::memory_order_acquire);
  return RECT{0, 0, static_cast<LONG>(screen >> 32), static_cast<LONG>(static_cast<int32_t>(screen & 0xFFFFFFFF))};
}

void HeadlessBackend::SetScreenSize(int cx, int cy) { m_screen.store(PackScreen(cx, cy), std::memory_order_release); }

bool HeadlessBackend::OnModalIdle(ModalFrame& frame) {
  ModalResponder responder;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    responder = m_responder;
  }
  // The responder runs without the lock: it may run loops that reach here again.
  if (responder && responder(frame)) return true;
  frame.unanswered = true;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_unanswered.push_back(frame.description);
  }
  EndModalFrame(frame, frame.default_answer);
  return true;
}

void HeadlessBackend::OnMenuBarChanged(HWND, HMENU) { ++m_menu_bar_changes; }

void HeadlessBackend::OnToolbarChanged(HWND) { ++m_toolbar_changes; }

void HeadlessBackend::SetModalResponder(ModalResponder responder) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_responder = std::move(responder);
}

std::vector<std::wstring> HeadlessBackend::TakeUnansweredModals() {
  std::lock_guard<std::mutex> lock(m_mutex);
  return std::exchange(m_unanswered, {});
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
