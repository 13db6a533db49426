#pragma once
// What the desktop model holds of one window. Records live in the window table and are read
// and changed only under its lock; only the owning thread changes them.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ostrum/foundation/platform/WinTypes.h"

class CWnd;

namespace Ostrum::Desktop::Private {

class ThreadQueue;
struct WindowImage;

struct WindowRecord {
  // What the window is and who handles it.
  ATOM atom = 0;
  WNDPROC proc = nullptr;
  std::shared_ptr<ThreadQueue> queue;
  DWORD thread_id = 0;
  HINSTANCE instance = nullptr;
  UINT class_style = 0;        // the class's CS_ bits, cursor and brush when the window was made
  HCURSOR class_cursor = nullptr;
  HBRUSH class_brush = nullptr;
  uint64_t order = 0;  // creation order: ties in walks are never broken by hashing

  // Place in the tree. A child window has a parent; a top-level window may have an owner.
  // Message-only windows have neither and are in no z-order.
  HWND parent = nullptr;
  HWND owner = nullptr;
  bool message_only = false;
  std::vector<HWND> children;  // top of the z-order first

  // Appearance. Visibility and the enabled state are the WS_VISIBLE and WS_DISABLED bits.
  DWORD style = 0;
  DWORD ex_style = 0;
  UINT_PTR id = 0;        // a child window's control id
  HMENU menu = nullptr;   // a top-level window's menu bar
  std::wstring text;
  LONG_PTR user_data = 0;
  RECT window{};          // in the parent's client coordinates; screen coordinates for a top-level
  RECT insets{};          // the client area's distances from the window's four edges (WM_NCCALCSIZE)

  // Painting: one update rectangle in client coordinates (empty: nothing to paint).
  RECT update{};
  bool erase_pending = false;
  bool frame_pending = false;

  // What device contexts drew: made at the first drawing or read-back, sized to `window`.
  std::shared_ptr<WindowImage> image;

  CWnd* object = nullptr;  // the attached framework object
  bool destroying = false;

  bool IsVisibleSelf() const;
  bool IsDisabledSelf() const;
  /// The client rectangle in the parent's client coordinates.
  RECT ClientInParent() const;
};

}  // namespace Ostrum::Desktop::Private
