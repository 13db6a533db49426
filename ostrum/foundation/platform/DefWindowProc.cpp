// DefWindowProcW: the desktop's default handling of messages, in one table. Every extension of
// the model adds its messages here.
//
//   WM_NCCREATE      stores the window text from CREATESTRUCTW; TRUE
//   WM_NCCALCSIZE    the client area inside the frame the styles give (see FrameInsets)
//   WM_SETTEXT, WM_GETTEXT, WM_GETTEXTLENGTH   the window text
//   WM_SETCURSOR     asks the parent first (TRUE stops there); then, for the window under the
//                    cursor, the class cursor in the client area, the arrow on the frame
//   WM_MOUSEACTIVATE asks the parent first (a nonzero answer stands); MA_ACTIVATE
//   WM_ACTIVATE      an activated window takes the focus
//   WM_ERASEBKGND    fills the client area through the DC in wParam with the class's background
//                    brush: TRUE (erased) if the class has one, else 0
//   WM_PAINT         BeginPaint and EndPaint: the update rectangle is validated
//   WM_RBUTTONUP     sends WM_CONTEXTMENU (this window, the point on the screen) to the window
//   WM_CONTEXTMENU, WM_MOUSEWHEEL, WM_MOUSEHWHEEL   a child passes them to its parent
//   WM_SYSKEYDOWN    Alt+F4 sends WM_SYSCOMMAND SC_CLOSE to the top-level window
//   WM_SYSCOMMAND    SC_CLOSE sends WM_CLOSE
//   WM_CLOSE         DestroyWindow
//   WM_CANCELMODE    releases the capture if this window holds it
//   anything else    0

#include <algorithm>
#include <string>

#include "ostrum/foundation/platform/Capture.h"
#include "ostrum/foundation/platform/Cursor.h"
#include "ostrum/foundation/platform/DeviceContext.h"
#include "ostrum/foundation/platform/KeyState.h"
#include "ostrum/foundation/platform/Paint.h"
#include "ostrum/foundation/platform/SystemMetrics.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/platform/private/InputState.h"
#include "ostrum/foundation/platform/private/ProcedureCall.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::WindowChange;
using Ostrum::Desktop::Private::SendToWindow;
using Ostrum::Desktop::Private::WindowRecord;
using Ostrum::Desktop::Private::WindowStore;
using Ostrum::Desktop::Private::WindowTable;

namespace {

// What DefWindowProcW needs of a window, copied under the lock.
struct Facts {
  bool found = false;
  HWND parent = nullptr;
  DWORD style = 0;
  DWORD ex_style = 0;
  HCURSOR class_cursor = nullptr;
  HBRUSH class_brush = nullptr;
};

Facts FactsOf(HWND hwnd) {
  return WindowTable::Get().Locked([&](const WindowStore& store) {
    Facts facts;
    if (const WindowRecord* record = store.Find(hwnd)) {
      facts = Facts{true, record->parent, record->style, record->ex_style, record->class_cursor, record->class_brush};
    }
    return facts;
  });
}

// The frame the styles give, as a 96-DPI desktop draws it: a sizing frame (with its padding),
// a dialog frame or a thin border, a caption above, and the client edges of the extended styles.
RECT FrameInsets(DWORD style, DWORD ex_style) {
  int edge = 0;
  if (style & WS_THICKFRAME) {
    edge = GetSystemMetrics(SM_CXFRAME) + GetSystemMetrics(SM_CXPADDEDBORDER);
  } else if (style & WS_DLGFRAME) {
    edge = GetSystemMetrics(SM_CXFIXEDFRAME);
  } else if (style & WS_BORDER) {
    edge = GetSystemMetrics(SM_CXBORDER);
  }
  if (ex_style & WS_EX_CLIENTEDGE) edge += GetSystemMetrics(SM_CXEDGE);
  if (ex_style & WS_EX_STATICEDGE) edge += GetSystemMetrics(SM_CXBORDER);
  RECT insets{edge, edge, edge, edge};
  if ((style & WS_CAPTION) == WS_CAPTION) insets.top += GetSystemMetrics(SM_CYCAPTION);
  return insets;
}

LRESULT CalculateClient(HWND hwnd, WPARAM wParam, LPARAM lParam) {
  if (!lParam) return 0;
  // Both forms start with the rectangle to shrink.
  RECT* rect = wParam ? &reinterpret_cast<NCCALCSIZE_PARAMS*>(lParam)->rgrc[0] : reinterpret_cast<RECT*>(lParam);
  const Facts facts = FactsOf(hwnd);
  const RECT insets = FrameInsets(facts.style, facts.ex_style);
  rect->left += insets.left;
  rect->top += insets.top;
  rect->right = std::max(rect->left, rect->right - insets.right);
  rect->bottom = std::max(rect->top, rect->bottom - insets.bottom);
  return 0;
}

void StoreText(HWND hwnd, LPCWSTR text) {
  WindowTable::Get().Locked([&](WindowStore& store) {
    if (WindowRecord* record = store.Find(hwnd)) record->text = text && !IS_INTRESOURCE(text) ? text : L"";
  });
}

LRESULT CopyText(HWND hwnd, WPARAM size, LPARAM lParam) {
  auto* buffer = reinterpret_cast<LPWSTR>(lParam);
  if (!buffer || size == 0) return 0;
  const std::wstring text = WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    return record ? record->text : std::wstring();
  });
  const std::size_t length = std::min<std::size_t>(text.size(), size - 1);
  std::copy_n(text.begin(), length, buffer);
  buffer[length] = L'\0';
  return static_cast<LRESULT>(length);
}

LRESULT TextLength(HWND hwnd) {
  return WindowTable::Get().Locked([&](const WindowStore& store) {
    const WindowRecord* record = store.Find(hwnd);
    return record ? static_cast<LRESULT>(record->text.size()) : 0;
  });
}

LRESULT ChooseCursor(HWND hwnd, WPARAM wParam, LPARAM lParam) {
  const Facts facts = FactsOf(hwnd);
  if (facts.parent && SendToWindow(facts.parent, WM_SETCURSOR, wParam, lParam)) return TRUE;
  // Only the window under the cursor shows its own; its parents were asked on the way up.
  if (reinterpret_cast<HWND>(wParam) != hwnd) return FALSE;
  const int hit = static_cast<SHORT>(LOWORD(static_cast<uintptr_t>(lParam)));
  if (hit == HTCLIENT) {
    if (!facts.class_cursor) return FALSE;
    SetCursor(facts.class_cursor);
    return TRUE;
  }
  if (hit == HTERROR || hit == HTNOWHERE) return FALSE;
  SetCursor(LoadCursorW(nullptr, IDC_ARROW));
  return TRUE;
}

LRESULT EraseBackground(HWND hwnd, HDC hdc) {
  const Facts facts = FactsOf(hwnd);
  if (!facts.class_brush) return FALSE;
  RECT client{};
  if (hdc && GetClientRect(hwnd, &client)) FillRect(hdc, &client, facts.class_brush);
  return TRUE;
}

}  // namespace

LRESULT DefWindowProcW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_NCCREATE:
      if (const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam)) StoreText(hwnd, create->lpszName);
      return TRUE;
    case WM_NCCALCSIZE:
      return CalculateClient(hwnd, wParam, lParam);
    case WM_SETTEXT:
      if (!FactsOf(hwnd).found) return FALSE;
      StoreText(hwnd, reinterpret_cast<LPCWSTR>(lParam));
      Ostrum::Desktop::Private::NotifyWindowChanged(hwnd, WindowChange::Text);
      return TRUE;
    case WM_GETTEXT:
      return CopyText(hwnd, wParam, lParam);
    case WM_GETTEXTLENGTH:
      return TextLength(hwnd);
    case WM_SETCURSOR:
      return ChooseCursor(hwnd, wParam, lParam);
    case WM_MOUSEACTIVATE: {
      const Facts facts = FactsOf(hwnd);
      if (facts.parent) {
        if (const LRESULT answer = SendToWindow(facts.parent, WM_MOUSEACTIVATE, wParam, lParam)) return answer;
      }
      return MA_ACTIVATE;
    }
    case WM_ACTIVATE:
      if (LOWORD(wParam) != WA_INACTIVE && !(FactsOf(hwnd).style & WS_MINIMIZE))
        Ostrum::Desktop::Private::MoveFocus(hwnd);
      return 0;
    case WM_ERASEBKGND:
      return EraseBackground(hwnd, reinterpret_cast<HDC>(wParam));
    case WM_PAINT: {
      PAINTSTRUCT paint;
      BeginPaint(hwnd, &paint);
      EndPaint(hwnd, &paint);
      return 0;
    }
    case WM_RBUTTONUP: {
      POINT pt{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
      ClientToScreen(hwnd, &pt);
      SendToWindow(hwnd, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(hwnd), MAKELPARAM(pt.x, pt.y));
      return 0;
    }
    case WM_CONTEXTMENU:
    case WM_MOUSEWHEEL:
    case WM_MOUSEHWHEEL: {
      const Facts facts = FactsOf(hwnd);
      if (facts.parent && (facts.style & WS_CHILD)) return SendToWindow(facts.parent, message, wParam, lParam);
      return 0;
    }
    case WM_SYSKEYDOWN:
      if (wParam == VK_F4 && (lParam & (1 << 29)))
        SendToWindow(GetAncestor(hwnd, GA_ROOT), WM_SYSCOMMAND, SC_CLOSE, 0);
      return 0;
    case WM_SYSCOMMAND:
      if ((wParam & 0xFFF0) == SC_CLOSE) SendToWindow(hwnd, WM_CLOSE, 0, 0);
      return 0;
    case WM_CLOSE:
      DestroyWindow(hwnd);
      return 0;
    case WM_CANCELMODE:
      if (GetCapture() == hwnd) ReleaseCapture();
      return 0;
    default:
      return 0;
  }
}
