// Update rectangles and the painting stage: the queue's WM_PAINT, BeginPaint/EndPaint and the
// calls that invalidate and validate.

#include "ostrum/foundation/platform/Paint.h"

#include <vector>

#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/private/Painting.h"
#include "ostrum/foundation/platform/private/ProcedureCall.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace Ostrum::Desktop::Private {

namespace {

RECT ClientArea(const WindowRecord& record) {
  const RECT client = record.ClientInParent();
  return RECT{0, 0, client.right - client.left, client.bottom - client.top};
}

// Sets a window's update rectangle, keeping its thread's count of windows to paint. Runs on the
// owning thread, under the table's lock.
void SetUpdate(WindowRecord& record, const RECT& update) {
  const bool was = !IsRectEmpty(&record.update);
  const bool now = !IsRectEmpty(&update);
  record.update = now ? update : RECT{};
  if (!now) {
    record.erase_pending = false;
    record.frame_pending = false;
  }
  if (was != now && record.queue) record.queue->AddPaintWindows(now ? 1 : -1);
}

void Descendants(const WindowStore& store, HWND hwnd, std::vector<HWND>& out) {
  if (const WindowRecord* record = store.Find(hwnd)) {
    for (HWND child : record->children) {
      out.push_back(child);
      Descendants(store, child, out);
    }
  }
}

// One rectangle per window: what is left of `update` once `valid` is taken out, as the
// smallest rectangle around it. Only a band across the whole width or height shrinks it.
RECT Subtract(RECT update, const RECT& valid) {
  if (valid.left <= update.left && valid.right >= update.right) {
    if (valid.top <= update.top && valid.bottom >= update.bottom) return RECT{};
    if (valid.top <= update.top && valid.bottom > update.top) update.top = valid.bottom;
    else if (valid.bottom >= update.bottom && valid.top < update.bottom) update.bottom = valid.top;
  } else if (valid.top <= update.top && valid.bottom >= update.bottom) {
    if (valid.left <= update.left && valid.right > update.left) update.left = valid.right;
    else if (valid.right >= update.right && valid.left < update.right) update.right = valid.left;
  }
  return update;
}

}  // namespace

void InvalidateWindow(HWND hwnd, const RECT* rect, unsigned flags) {
  WindowTable::Get().Locked([&](WindowStore& store) {
    auto add = [&](HWND target, const RECT* part) {
      WindowRecord* record = store.Find(target);
      if (!record || !store.IsVisible(target)) return;
      const RECT client = ClientArea(*record);
      RECT area = client;
      if (part && !IntersectRect(&area, part, &client)) return;
      if (IsRectEmpty(&area)) return;
      RECT update;
      UnionRect(&update, &record->update, &area);
      SetUpdate(*record, update);
      if (flags & kInvalidateErase) record->erase_pending = true;
      if (flags & kInvalidateFrame) record->frame_pending = true;
    };
    add(hwnd, rect);
    if (flags & kInvalidateChildren) {
      std::vector<HWND> below;
      Descendants(store, hwnd, below);
      for (HWND child : below) add(child, nullptr);
    }
  });
}

void ValidateWindow(HWND hwnd, bool children) {
  WindowTable::Get().Locked([&](WindowStore& store) {
    std::vector<HWND> targets{hwnd};
    if (children) Descendants(store, hwnd, targets);
    for (HWND target : targets)
      if (WindowRecord* record = store.Find(target)) SetUpdate(*record, RECT{});
  });
}

HWND NextWindowToPaint(DWORD thread_id, const MessageFilter& filter) {
  return WindowTable::Get().Locked([&](const WindowStore& store) -> HWND {
    std::vector<HWND> order;
    store.CollectPreorder(thread_id, order);
    for (HWND hwnd : order) {
      const WindowRecord* record = store.Find(hwnd);
      if (record && !IsRectEmpty(&record->update) && store.IsVisible(hwnd) && filter.Matches(hwnd, WM_PAINT))
        return hwnd;
    }
    return nullptr;
  });
}

}  // namespace Ostrum::Desktop::Private

using Ostrum::Desktop::Private::FindOwnWindowOrFail;
using Ostrum::Desktop::Private::WindowRecord;
using Ostrum::Desktop::Private::WindowStore;
using Ostrum::Desktop::Private::WindowTable;

BOOL InvalidateRect(HWND hwnd, const RECT* rect, BOOL erase) {
  if (!FindOwnWindowOrFail(hwnd)) return FALSE;
  Ostrum::Desktop::Private::InvalidateWindow(hwnd, rect, erase ? unsigned{Ostrum::Desktop::Private::kInvalidateErase} : 0u);
  return TRUE;
}

BOOL ValidateRect(HWND hwnd, const RECT* rect) {
  if (!FindOwnWindowOrFail(hwnd)) return FALSE;
  if (!rect) {
    Ostrum::Desktop::Private::ValidateWindow(hwnd, false);
    return TRUE;
  }
  WindowTable::Get().Locked([&](WindowStore& store) {
    if (WindowRecord* record = store.Find(hwnd)) {
      if (IsRectEmpty(&record->update)) return;
      Ostrum::Desktop::Private::SetUpdate(*record, Ostrum::Desktop::Private::Subtract(record->update, *rect));
    }
  });
  return TRUE;
}

BOOL GetUpdateRect(HWND hwnd, LPRECT rect, BOOL) {
  RECT update{};
  const bool found = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    if (record) update = record->update;
    return record != nullptr;
  });
  if (rect) *rect = update;
  return found && !IsRectEmpty(&update) ? TRUE : FALSE;
}

BOOL UpdateWindow(HWND hwnd) {
  if (!FindOwnWindowOrFail(hwnd)) return FALSE;
  const bool pending = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    return record && !IsRectEmpty(&record->update) && store.IsVisible(hwnd);
  });
  if (pending) Ostrum::Desktop::Private::SendToWindow(hwnd, WM_PAINT, 0, 0);
  return TRUE;
}

BOOL RedrawWindow(HWND hwnd, const RECT* rect, HRGN, UINT flags) {
  if (!FindOwnWindowOrFail(hwnd)) return FALSE;
  if (flags & RDW_INVALIDATE) InvalidateRect(hwnd, rect, (flags & RDW_ERASE) ? TRUE : FALSE);
  if (flags & RDW_VALIDATE) ValidateRect(hwnd, rect);
  if (flags & (RDW_UPDATENOW | RDW_ERASENOW)) UpdateWindow(hwnd);
  return TRUE;
}

HDC BeginPaint(HWND hwnd, LPPAINTSTRUCT paint) {
  if (!paint || !FindOwnWindowOrFail(hwnd)) return nullptr;
  struct Pending {
    RECT update{};
    bool erase = false;
    bool frame = false;
  };
  // 1. What is to be painted is taken and the window validated, so that what the messages
  //    below invalidate makes a new paint.
  const Pending pending = WindowTable::Get().Locked([&](WindowStore& store) {
    Pending taken;
    if (WindowRecord* record = store.Find(hwnd)) {
      taken = Pending{record->update, record->erase_pending, record->frame_pending};
      Ostrum::Desktop::Private::SetUpdate(*record, RECT{});
    }
    return taken;
  });
  // 2. The frame, then the background.
  if (pending.frame) Ostrum::Desktop::Private::SendToWindow(hwnd, WM_NCPAINT, 1, 0);
  bool erased = true;
  if (pending.erase && IsWindow(hwnd)) erased = Ostrum::Desktop::Private::SendToWindow(hwnd, WM_ERASEBKGND, 0, 0) != 0;
  *paint = PAINTSTRUCT{};
  paint->fErase = erased ? FALSE : TRUE;
  paint->rcPaint = pending.update;
  return paint->hdc;
}

BOOL EndPaint(HWND, const PAINTSTRUCT*) { return TRUE; }
