#include "ostrum/foundation/platform/HeadlessDriver.h"

#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/WindowImage.h"
#include "ostrum/foundation/platform/private/InputRouting.h"

namespace Ostrum::Desktop {

HeadlessDriver::HeadlessDriver() : m_backend(GetHeadlessBackend()) {}

HeadlessDriver::HeadlessDriver(HeadlessBackend& backend) : m_backend(backend) {}

void HeadlessDriver::AdvanceClock(uint32_t ms) { m_backend.AdvanceClock(ms); }

DWORD HeadlessDriver::Now() const { return static_cast<DWORD>(m_backend.GetTickCount64()); }

void HeadlessDriver::SetScreenSize(int cx, int cy) { m_backend.SetScreenSize(cx, cy); }

BOOL HeadlessDriver::InjectInput(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  return DeliverInputMessage(hwnd, message, wParam, lParam);
}

BOOL HeadlessDriver::InjectKeyPress(HWND hwnd, UINT key) {
  if (!hwnd) return FALSE;
  return Private::QueueKey(hwnd, key, true) && Private::QueueKey(hwnd, key, false) ? TRUE : FALSE;
}

COLORREF HeadlessDriver::PixelAt(HWND hwnd, POINT point) const { return GetWindowPixel(hwnd, point); }

bool HeadlessDriver::Image(HWND hwnd, BitmapPixels& out) const { return GetWindowImage(hwnd, out); }

bool HeadlessDriver::Screenshot(HWND hwnd, BitmapPixels& out) const { return ComposeWindowImage(hwnd, out); }

bool HeadlessDriver::WritePng(HWND hwnd, const std::string& path) const {
  BitmapPixels pixels;
  return ComposeWindowImage(hwnd, pixels) && Ostrum::Desktop::WritePng(pixels, path);
}

}  // namespace Ostrum::Desktop
