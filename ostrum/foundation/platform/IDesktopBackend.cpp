#include "ostrum/foundation/platform/IDesktopBackend.h"

#include <atomic>

#include "ostrum/foundation/platform/HeadlessBackend.h"
#include "ostrum/foundation/platform/private/InputState.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace Ostrum::Desktop {

IDesktopBackend::~IDesktopBackend() = default;

void IDesktopBackend::WakeThread(DWORD) {}
void IDesktopBackend::PollEvents() {}
void IDesktopBackend::OnWindowChanged(HWND, WindowChange, const WindowView&) {}
void IDesktopBackend::OnCursorChanged(HCURSOR) {}
void IDesktopBackend::OnCaptureChanged(HWND) {}
void IDesktopBackend::OnMenuBarChanged(HWND, HMENU) {}
void IDesktopBackend::OnToolbarChanged(HWND) {}
void IDesktopBackend::OnModalBegin(ModalFrame&) {}
bool IDesktopBackend::OnModalIdle(ModalFrame&) { return false; }
void IDesktopBackend::OnModalEnd(ModalFrame&) {}

namespace {
std::atomic<IDesktopBackend*> g_backend{nullptr};
}

IDesktopBackend& GetDesktopBackend() {
  IDesktopBackend* backend = g_backend.load(std::memory_order_acquire);
  return backend ? *backend : GetHeadlessBackend();
}

void SetDesktopBackend(IDesktopBackend* backend) { g_backend.store(backend, std::memory_order_release); }

}  // namespace Ostrum::Desktop

namespace Ostrum::Desktop::Private {

void NotifyWindowChanged(HWND hwnd, WindowChange change) {
  WindowView view;
  const bool shown = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    if (!record || record->message_only) return false;
    view.parent = record->parent;
    view.owner = record->owner;
    view.style = record->style;
    view.ex_style = record->ex_style;
    view.window = store.WindowOnScreen(hwnd);
    const POINT origin = store.ClientOrigin(hwnd);
    const RECT client = record->ClientInParent();
    view.client = RECT{origin.x, origin.y, origin.x + (client.right - client.left),
                       origin.y + (client.bottom - client.top)};
    view.visible = store.IsVisible(hwnd);
    view.enabled = store.IsEnabled(hwnd);
    view.text = record->text;
    return true;
  });
  if (shown) GetDesktopBackend().OnWindowChanged(hwnd, change, view);
}

}  // namespace Ostrum::Desktop::Private
