#include "ostrum/foundation/platform/IDesktopBackend.h"

#include <atomic>

#include "ostrum/foundation/platform/HeadlessBackend.h"

namespace Ostrum::Desktop {

IDesktopBackend::~IDesktopBackend() = default;

namespace {
std::atomic<IDesktopBackend*> g_backend{nullptr};
}

IDesktopBackend& GetDesktopBackend() {
  IDesktopBackend* backend = g_backend.load(std::memory_order_acquire);
  return backend ? *backend : GetHeadlessBackend();
}

void SetDesktopBackend(IDesktopBackend* backend) { g_backend.store(backend, std::memory_order_release); }

}  // namespace Ostrum::Desktop
