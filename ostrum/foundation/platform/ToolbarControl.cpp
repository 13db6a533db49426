// The toolbar control's procedure and data, and the common-control helpers.

#include <algorithm>
#include <mutex>
#include <utility>
#include <unordered_map>
#include <vector>

#include "ostrum/foundation/platform/Capture.h"
#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/Paint.h"
#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/Resources.h"
#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/foundation/platform/Toolbar.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowClass.h"

namespace {

constexpr int kSeparatorWidth = 8;

struct ToolbarData {
  std::vector<TBBUTTON> buttons;
  HIMAGELIST images = nullptr;
  int button_cx = 23;  // a 16 by 15 image with its frame
  int button_cy = 22;
  int pressed = -1;    // the button under a press, while the mouse is held
};

// The data of every toolbar window, from WM_NCCREATE to WM_NCDESTROY. Only the window's thread
// touches a toolbar's data, but windows of several threads share the map.
class Toolbars {
 public:
  static Toolbars& Get() {
    static Toolbars* toolbars = new Toolbars;
    return *toolbars;
  }
  template <class F>
  auto With(HWND hwnd, F&& f) {
    std::lock_guard lock(m_mutex);
    return f(m_data[hwnd]);
  }
  void Forget(HWND hwnd) {
    std::lock_guard lock(m_mutex);
    m_data.erase(hwnd);
  }
  bool Has(HWND hwnd) {
    std::lock_guard lock(m_mutex);
    return m_data.count(hwnd) != 0;
  }

 private:
  std::mutex m_mutex;
  std::unordered_map<HWND, ToolbarData> m_data;
};

int IndexOf(const ToolbarData& data, int id) {
  for (std::size_t i = 0; i < data.buttons.size(); ++i)
    if (!(data.buttons[i].fsStyle & TBSTYLE_SEP) && data.buttons[i].idCommand == id) return static_cast<int>(i);
  return -1;
}

RECT ItemRect(const ToolbarData& data, int index) {
  int x = 0;
  for (int i = 0; i < index; ++i) {
    const TBBUTTON& b = data.buttons[static_cast<std::size_t>(i)];
    x += (b.fsStyle & TBSTYLE_SEP) ? (b.iBitmap > 0 ? b.iBitmap : kSeparatorWidth) : data.button_cx;
  }
  const TBBUTTON& b = data.buttons[static_cast<std::size_t>(index)];
  const int width = (b.fsStyle & TBSTYLE_SEP) ? (b.iBitmap > 0 ? b.iBitmap : kSeparatorWidth) : data.button_cx;
  return RECT{x, 0, x + width, data.button_cy};
}

int ButtonAt(const ToolbarData& data, POINT pt) {
  for (std::size_t i = 0; i < data.buttons.size(); ++i) {
    const RECT rect = ItemRect(data, static_cast<int>(i));
    if (PtInRect(&rect, pt)) return (data.buttons[i].fsStyle & TBSTYLE_SEP) ? -1 : static_cast<int>(i);
  }
  return -1;
}

void Changed(HWND hwnd) {
  InvalidateRect(hwnd, nullptr, TRUE);
  Ostrum::Desktop::GetDesktopBackend().OnToolbarChanged(hwnd);
}

LRESULT CALLBACK ToolbarProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  Toolbars& toolbars = Toolbars::Get();
  switch (message) {
    case WM_NCCREATE:
      toolbars.With(hwnd, [](ToolbarData&) { return 0; });
      break;
    case WM_NCDESTROY:
      toolbars.Forget(hwnd);
      break;
    case TB_BUTTONSTRUCTSIZE:
      return 0;
    case TB_SETBUTTONSIZE:
      toolbars.With(hwnd, [&](ToolbarData& d) {
        d.button_cx = LOWORD(static_cast<uintptr_t>(lParam));
        d.button_cy = HIWORD(static_cast<uintptr_t>(lParam));
        return 0;
      });
      return TRUE;
    case TB_BUTTONCOUNT:
      return toolbars.With(hwnd, [](ToolbarData& d) { return static_cast<LRESULT>(d.buttons.size()); });
    case TB_INSERTBUTTONW:
    case TB_ADDBUTTONSW: {
      const auto* buttons = reinterpret_cast<const TBBUTTON*>(lParam);
      if (!buttons) return FALSE;
      toolbars.With(hwnd, [&](ToolbarData& d) {
        if (message == TB_ADDBUTTONSW) {
          d.buttons.insert(d.buttons.end(), buttons, buttons + wParam);
        } else {
          // An index past the end (or -1) appends, as the control does.
          const std::size_t at = static_cast<int>(wParam) < 0 ? d.buttons.size() : std::min<std::size_t>(wParam, d.buttons.size());
          d.buttons.insert(d.buttons.begin() + static_cast<std::ptrdiff_t>(at), *buttons);
        }
        return 0;
      });
      Changed(hwnd);
      return TRUE;
    }
    case TB_DELETEBUTTON: {
      const bool done = toolbars.With(hwnd, [&](ToolbarData& d) {
        if (wParam >= d.buttons.size()) return false;
        d.buttons.erase(d.buttons.begin() + static_cast<std::ptrdiff_t>(wParam));
        return true;
      });
      if (done) Changed(hwnd);
      return done ? TRUE : FALSE;
    }
    case TB_GETBUTTON:
      return toolbars.With(hwnd, [&](ToolbarData& d) -> LRESULT {
        if (wParam >= d.buttons.size() || !lParam) return FALSE;
        *reinterpret_cast<TBBUTTON*>(lParam) = d.buttons[wParam];
        return TRUE;
      });
    case TB_COMMANDTOINDEX:
      return toolbars.With(hwnd, [&](ToolbarData& d) { return static_cast<LRESULT>(IndexOf(d, static_cast<int>(wParam))); });
    case TB_GETITEMRECT:
      return toolbars.With(hwnd, [&](ToolbarData& d) -> LRESULT {
        if (wParam >= d.buttons.size() || !lParam) return FALSE;
        *reinterpret_cast<RECT*>(lParam) = ItemRect(d, static_cast<int>(wParam));
        return TRUE;
      });
    case TB_SETIMAGELIST: {
      const LRESULT old = toolbars.With(hwnd, [&](ToolbarData& d) {
        return reinterpret_cast<LRESULT>(std::exchange(d.images, reinterpret_cast<HIMAGELIST>(lParam)));
      });
      Changed(hwnd);
      return old;
    }
    case TB_GETIMAGELIST:
      return toolbars.With(hwnd, [](ToolbarData& d) { return reinterpret_cast<LRESULT>(d.images); });
    case TB_ENABLEBUTTON:
    case TB_CHECKBUTTON: {
      const BYTE bit = message == TB_ENABLEBUTTON ? TBSTATE_ENABLED : TBSTATE_CHECKED;
      const bool done = toolbars.With(hwnd, [&](ToolbarData& d) {
        const int index = IndexOf(d, static_cast<int>(wParam));
        if (index < 0) return false;
        BYTE& state = d.buttons[static_cast<std::size_t>(index)].fsState;
        state = LOWORD(static_cast<uintptr_t>(lParam)) ? (state | bit) : (state & ~bit);
        return true;
      });
      if (done) Changed(hwnd);
      return done ? TRUE : FALSE;
    }
    case TB_ISBUTTONENABLED:
    case TB_ISBUTTONCHECKED: {
      const BYTE bit = message == TB_ISBUTTONENABLED ? TBSTATE_ENABLED : TBSTATE_CHECKED;
      return toolbars.With(hwnd, [&](ToolbarData& d) -> LRESULT {
        const int index = IndexOf(d, static_cast<int>(wParam));
        return index >= 0 && (d.buttons[static_cast<std::size_t>(index)].fsState & bit) ? TRUE : FALSE;
      });
    }
    case WM_LBUTTONDOWN: {
      const POINT pt{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
      const bool pressed = toolbars.With(hwnd, [&](ToolbarData& d) {
        const int index = ButtonAt(d, pt);
        d.pressed = index >= 0 && (d.buttons[static_cast<std::size_t>(index)].fsState & TBSTATE_ENABLED) ? index : -1;
        return d.pressed >= 0;
      });
      if (pressed) SetCapture(hwnd);
      return 0;
    }
    case WM_LBUTTONUP: {
      const POINT pt{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
      // A click is a press and a release on the same enabled button.
      const int command = toolbars.With(hwnd, [&](ToolbarData& d) {
        const int pressed = std::exchange(d.pressed, -1);
        return pressed >= 0 && ButtonAt(d, pt) == pressed ? d.buttons[static_cast<std::size_t>(pressed)].idCommand : 0;
      });
      if (GetCapture() == hwnd) ReleaseCapture();
      if (command) {
        if (HWND parent = GetParent(hwnd))
          SendMessageW(parent, WM_COMMAND, MAKEWPARAM(command, 0), reinterpret_cast<LPARAM>(hwnd));
      }
      return 0;
    }
    case WM_CAPTURECHANGED:
      toolbars.With(hwnd, [](ToolbarData& d) { return d.pressed = -1; });
      return 0;
    default:
      break;
  }
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

}  // namespace

void InitCommonControls() {
  static const bool registered = [] {
    WNDCLASSEXW wc;
    wc.style = CS_GLOBALCLASS | CS_DBLCLKS;
    wc.lpfnWndProc = ToolbarProc;
    wc.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<uintptr_t>(COLOR_BTNFACE + 1));
    wc.lpszClassName = TOOLBARCLASSNAMEW;
    return RegisterClassExW(&wc) != 0;
  }();
  (void)registered;
}

HBITMAP CreateMappedBitmap(HINSTANCE module, INT_PTR id, UINT, COLORMAP* map, int count) {
  Ostrum::Desktop::BitmapPixels pixels;
  if (!Ostrum::Desktop::Resources::ReadBitmap(module, static_cast<UINT>(id), pixels)) return nullptr;
  for (int y = 0; y < pixels.height; ++y) {
    for (int x = 0; x < pixels.width; ++x) {
      const COLORREF colour = pixels.At(x, y);
      for (int i = 0; map && i < count; ++i) {
        if (map[i].from != colour) continue;
        const COLORREF to = map[i].to;
        pixels.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.width) + static_cast<std::size_t>(x)] =
            ((to & 0xFF) << 16) | (to & 0xFF00) | ((to >> 16) & 0xFF);
        break;
      }
    }
  }
  return Ostrum::Desktop::CreateBitmapFromPixels(pixels);
}

namespace Ostrum::Desktop {

std::wstring DescribeToolbar(HWND toolbar) {
  if (!Toolbars::Get().Has(toolbar)) return {};
  const std::vector<TBBUTTON> buttons = Toolbars::Get().With(toolbar, [](ToolbarData& d) { return d.buttons; });
  std::wstring out;
  for (std::size_t i = 0; i < buttons.size(); ++i) {
    if (i) out += L"|";
    const TBBUTTON& b = buttons[i];
    if (b.fsStyle & TBSTYLE_SEP) {
      out += L"-";
      continue;
    }
    out += std::to_wstring(b.idCommand) + L"[" + std::to_wstring(b.iBitmap) + L"]";
    if (!(b.fsState & TBSTATE_ENABLED)) out += L"~";
    if (b.fsState & TBSTATE_CHECKED) out += L"*";
  }
  return out;
}

}  // namespace Ostrum::Desktop
