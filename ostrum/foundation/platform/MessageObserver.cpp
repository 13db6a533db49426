#include "ostrum/foundation/platform/MessageObserver.h"

#include <utility>

#include "ostrum/foundation/platform/private/ProcedureCall.h"
#include "ostrum/foundation/platform/private/StaticThreadLocal.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace Ostrum::Desktop {

namespace {

OSTRUM_STATIC_TLS thread_local MessageObserver t_observer = nullptr;
OSTRUM_STATIC_TLS thread_local void* t_context = nullptr;
OSTRUM_STATIC_TLS thread_local int t_depth = 0;

}  // namespace

MessageObserver SetMessageObserver(MessageObserver observer, void* context, void** old_context) {
  if (old_context) *old_context = t_context;
  t_context = context;
  return std::exchange(t_observer, observer);
}

namespace Private {

LRESULT CallProcedure(WNDPROC proc, HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, bool queued) {
  struct Nesting {
    Nesting() { ++t_depth; }
    ~Nesting() { --t_depth; }
  } nesting;
  if (t_observer) t_observer(ObservedMessage{hwnd, message, wParam, lParam, queued, t_depth}, t_context);
  return proc ? proc(hwnd, message, wParam, lParam) : 0;
}

LRESULT SendToWindow(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, bool queued) {
  auto window = WindowTable::Get().Find(hwnd);
  if (!window) return 0;
  return CallProcedure(window->proc, hwnd, message, wParam, lParam, queued);
}

}  // namespace Private

}  // namespace Ostrum::Desktop
