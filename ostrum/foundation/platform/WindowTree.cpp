// The tree of windows: the store's walks (z-order, hit test, coordinates) and the calls that
// read it.

#include "ostrum/foundation/platform/WindowTree.h"

#include <algorithm>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace Ostrum::Desktop::Private {

bool WindowRecord::IsVisibleSelf() const { return (style & WS_VISIBLE) != 0 && !destroying; }

bool WindowRecord::IsDisabledSelf() const { return (style & WS_DISABLED) != 0; }

RECT WindowRecord::ClientInParent() const {
  return RECT{window.left + insets.left, window.top + insets.top, window.right - insets.right,
              window.bottom - insets.bottom};
}

WindowRecord* WindowStore::Find(HWND hwnd) {
  auto it = windows.find(reinterpret_cast<uintptr_t>(hwnd));
  return it == windows.end() ? nullptr : &it->second;
}

const WindowRecord* WindowStore::Find(HWND hwnd) const {
  auto it = windows.find(reinterpret_cast<uintptr_t>(hwnd));
  return it == windows.end() ? nullptr : &it->second;
}

std::vector<HWND>& WindowStore::SiblingsOf(const WindowRecord& record) {
  if (record.parent)
    if (WindowRecord* parent = Find(record.parent)) return parent->children;
  return top_levels;
}

HWND WindowStore::Root(HWND hwnd) const {
  for (const WindowRecord* record = Find(hwnd); record && record->parent; record = Find(hwnd)) hwnd = record->parent;
  return hwnd;
}

bool WindowStore::IsVisible(HWND hwnd) const {
  const WindowRecord* record = Find(hwnd);
  if (!record || record->message_only) return false;
  for (; record; record = record->parent ? Find(record->parent) : nullptr)
    if (!record->IsVisibleSelf()) return false;
  return true;
}

bool WindowStore::IsEnabled(HWND hwnd) const {
  const WindowRecord* record = Find(hwnd);
  if (!record) return false;
  for (; record; record = record->parent ? Find(record->parent) : nullptr)
    if (record->IsDisabledSelf()) return false;
  return true;
}

POINT WindowStore::ClientOrigin(HWND hwnd) const {
  POINT origin{};
  for (const WindowRecord* record = Find(hwnd); record; record = record->parent ? Find(record->parent) : nullptr) {
    const RECT client = record->ClientInParent();
    origin.x += client.left;
    origin.y += client.top;
  }
  return origin;
}

RECT WindowStore::WindowOnScreen(HWND hwnd) const {
  const WindowRecord* record = Find(hwnd);
  if (!record) return RECT{};
  RECT rect = record->window;
  if (record->parent) {
    const POINT origin = ClientOrigin(record->parent);
    OffsetRect(&rect, origin.x, origin.y);
  }
  return rect;
}

bool WindowStore::IsSelfOrAncestor(HWND ancestor, HWND hwnd) const {
  for (const WindowRecord* record = Find(hwnd); record; record = record->parent ? Find(record->parent) : nullptr) {
    if (hwnd == ancestor) return true;
    hwnd = record->parent;
  }
  return false;
}

// The child of `parent` under a screen point that lies in the parent's client area, searched
// top down; a disabled child is looked through, so the parent answers for it.
HWND WindowStore::_ChildFromPoint(HWND parent, POINT screen) const {
  const WindowRecord* record = Find(parent);
  const POINT origin = ClientOrigin(parent);
  const POINT local{screen.x - origin.x, screen.y - origin.y};
  for (HWND child : record->children) {
    const WindowRecord* c = Find(child);
    if (!c || !c->IsVisibleSelf() || c->IsDisabledSelf() || !PtInRect(&c->window, local)) continue;
    const RECT client = c->ClientInParent();
    if (!PtInRect(&client, local)) return child;  // on its frame
    const HWND deeper = _ChildFromPoint(child, screen);
    return deeper ? deeper : child;
  }
  return nullptr;
}

HWND WindowStore::WindowFromPoint(POINT screen) const {
  for (HWND top : top_levels) {
    const WindowRecord* record = Find(top);
    if (!record || !record->IsVisibleSelf() || !PtInRect(&record->window, screen)) continue;
    const RECT client = record->ClientInParent();
    if (!PtInRect(&client, screen)) return top;
    const HWND child = _ChildFromPoint(top, screen);
    return child ? child : top;
  }
  return nullptr;
}

void WindowStore::_Preorder(HWND hwnd, std::vector<HWND>& out) const {
  out.push_back(hwnd);
  if (const WindowRecord* record = Find(hwnd))
    for (HWND child : record->children) _Preorder(child, out);
}

void WindowStore::CollectPreorder(DWORD thread_id, std::vector<HWND>& out) const {
  for (HWND top : top_levels) {
    const WindowRecord* record = Find(top);
    if (record && record->thread_id == thread_id) _Preorder(top, out);
  }
}

void WindowStore::Raise(HWND hwnd) {
  WindowRecord* record = Find(hwnd);
  if (!record || record->message_only) return;
  std::vector<HWND>& siblings = SiblingsOf(*record);
  auto it = std::find(siblings.begin(), siblings.end(), hwnd);
  if (it != siblings.end()) std::rotate(siblings.begin(), it, it + 1);
}

}  // namespace Ostrum::Desktop::Private

using Ostrum::Desktop::Private::FindOwnWindowOrFail;
using Ostrum::Desktop::Private::WindowRecord;
using Ostrum::Desktop::Private::WindowStore;
using Ostrum::Desktop::Private::WindowTable;

namespace {

// Runs `f` on the window's record under the lock; false with ERROR_INVALID_WINDOW_HANDLE if
// there is no such window.
template <class F>
bool ReadWindow(HWND hwnd, F&& f) {
  const bool found = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    if (record) f(store, *record);
    return record != nullptr;
  });
  if (!found) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return found;
}

HWND Neighbour(const std::vector<HWND>& list, HWND hwnd, int step) {
  auto it = std::find(list.begin(), list.end(), hwnd);
  if (it == list.end()) return nullptr;
  const auto index = (it - list.begin()) + step;
  return index >= 0 && index < static_cast<std::ptrdiff_t>(list.size()) ? list[static_cast<std::size_t>(index)]
                                                                        : nullptr;
}

}  // namespace

HWND GetWindow(HWND hwnd, UINT relation) {
  HWND answer = nullptr;
  ReadWindow(hwnd, [&](const WindowStore& store, const WindowRecord& record) {
    if (relation == GW_CHILD) {
      answer = record.children.empty() ? nullptr : record.children.front();
      return;
    }
    if (relation == GW_OWNER) {
      answer = record.owner;
      return;
    }
    if (record.message_only) return;
    const std::vector<HWND>& siblings =
        record.parent && store.Find(record.parent) ? store.Find(record.parent)->children : store.top_levels;
    if (siblings.empty()) return;
    switch (relation) {
      case GW_HWNDFIRST:
        answer = siblings.front();
        break;
      case GW_HWNDLAST:
        answer = siblings.back();
        break;
      case GW_HWNDNEXT:
        answer = Neighbour(siblings, hwnd, 1);
        break;
      case GW_HWNDPREV:
        answer = Neighbour(siblings, hwnd, -1);
        break;
      default:
        break;
    }
  });
  return answer;
}

HWND GetTopWindow(HWND hwnd) {
  if (hwnd) return GetWindow(hwnd, GW_CHILD);
  return WindowTable::Get().Locked(
      [](const WindowStore& store) { return store.top_levels.empty() ? nullptr : store.top_levels.front(); });
}

HWND GetAncestor(HWND hwnd, UINT relation) {
  HWND answer = nullptr;
  ReadWindow(hwnd, [&](const WindowStore& store, const WindowRecord& record) {
    switch (relation) {
      case GA_PARENT:
        answer = record.parent;
        break;
      case GA_ROOT:
        answer = store.Root(hwnd);
        break;
      case GA_ROOTOWNER: {
        answer = store.Root(hwnd);
        for (const WindowRecord* top = store.Find(answer); top && top->owner; top = store.Find(answer))
          answer = top->owner;
        break;
      }
      default:
        break;
    }
  });
  return answer;
}

BOOL IsChild(HWND parent, HWND hwnd) {
  if (!parent || parent == hwnd) return FALSE;
  return WindowTable::Get().Locked([&](const WindowStore& store) { return store.IsSelfOrAncestor(parent, hwnd); })
             ? TRUE
             : FALSE;
}

HWND SetParent(HWND hwnd, HWND parent) {
  auto window = FindOwnWindowOrFail(hwnd);
  if (!window) return nullptr;
  if (parent && !Ostrum::Desktop::Private::FindWindowOrFail(parent)) return nullptr;
  const HWND old = window->parent;
  if (!WindowTable::Get().SetParent(hwnd, parent)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  return old;
}

HWND WindowFromPoint(POINT screen) {
  return WindowTable::Get().Locked([&](const WindowStore& store) { return store.WindowFromPoint(screen); });
}

BOOL GetWindowRect(HWND hwnd, LPRECT rect) {
  if (!rect) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return ReadWindow(hwnd, [&](const WindowStore& store, const WindowRecord&) { *rect = store.WindowOnScreen(hwnd); })
             ? TRUE
             : FALSE;
}

BOOL GetClientRect(HWND hwnd, LPRECT rect) {
  if (!rect) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return ReadWindow(hwnd,
                    [&](const WindowStore&, const WindowRecord& record) {
                      const RECT client = record.ClientInParent();
                      *rect = RECT{0, 0, std::max(0, client.right - client.left),
                                   std::max(0, client.bottom - client.top)};
                    })
             ? TRUE
             : FALSE;
}

int MapWindowPoints(HWND from, HWND to, LPPOINT points, UINT count) {
  POINT shift{};
  const bool ok = WindowTable::Get().Locked([&](const WindowStore& store) {
    if ((from && !store.Find(from)) || (to && !store.Find(to))) return false;
    const POINT a = from ? store.ClientOrigin(from) : POINT{};
    const POINT b = to ? store.ClientOrigin(to) : POINT{};
    shift = POINT{a.x - b.x, a.y - b.y};
    return true;
  });
  if (!ok) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return 0;
  }
  for (UINT i = 0; points && i < count; ++i) {
    points[i].x += shift.x;
    points[i].y += shift.y;
  }
  return static_cast<int>(MAKELONG(static_cast<WORD>(shift.x), static_cast<WORD>(shift.y)));
}

BOOL ClientToScreen(HWND hwnd, LPPOINT point) {
  if (!point || !hwnd || !IsWindow(hwnd)) {
    SetLastError(point ? ERROR_INVALID_WINDOW_HANDLE : ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  MapWindowPoints(hwnd, nullptr, point, 1);
  return TRUE;
}

BOOL ScreenToClient(HWND hwnd, LPPOINT point) {
  if (!point || !hwnd || !IsWindow(hwnd)) {
    SetLastError(point ? ERROR_INVALID_WINDOW_HANDLE : ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  MapWindowPoints(nullptr, hwnd, point, 1);
  return TRUE;
}
