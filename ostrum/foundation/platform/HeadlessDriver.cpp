#include "ostrum/foundation/platform/HeadlessDriver.h"

#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/WinMessages.h"

namespace Ostrum::Desktop {

HeadlessDriver::HeadlessDriver() : m_backend(GetHeadlessBackend()) {}

HeadlessDriver::HeadlessDriver(HeadlessBackend& backend) : m_backend(backend) {}

void HeadlessDriver::AdvanceClock(uint32_t ms) { m_backend.AdvanceClock(ms); }

DWORD HeadlessDriver::Now() const { return static_cast<DWORD>(m_backend.GetTickCount64()); }

BOOL HeadlessDriver::InjectInput(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  return DeliverInputMessage(hwnd, message, wParam, lParam);
}

BOOL HeadlessDriver::InjectKeyPress(HWND hwnd, UINT key) {
  // Repeat count 1 in the low word; the release carries the previous-state and transition bits.
  constexpr LPARAM kPress = 0x00000001;
  constexpr LPARAM kRelease = static_cast<LPARAM>(0xC0000001u);
  return DeliverInputMessage(hwnd, WM_KEYDOWN, key, kPress) && DeliverInputMessage(hwnd, WM_KEYUP, key, kRelease)
             ? TRUE
             : FALSE;
}

}  // namespace Ostrum::Desktop
