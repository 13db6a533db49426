#include "ostrum/foundation/platform/Dialog.h"

#include <map>
#include <mutex>

#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/Capture.h"
#include "ostrum/foundation/platform/Cursor.h"
#include "ostrum/foundation/platform/Focus.h"
#include "ostrum/foundation/platform/MessageBox.h"
#include "ostrum/foundation/platform/ModalLoop.h"
#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/platform/private/ResetHooks.h"

namespace Ostrum::Desktop {

namespace {

// The templates of the process; never destroyed, as the model's other tables.
struct TemplateTable {
  std::mutex mutex;
  std::map<UINT, std::shared_ptr<const DialogTemplate>> templates;
};

TemplateTable& Templates() {
  static TemplateTable* table = new TemplateTable;
  return *table;
}

[[maybe_unused]] const bool g_reset_registered = Private::AddResetHook([] {
  std::lock_guard<std::mutex> lock(Templates().mutex);
  Templates().templates.clear();
});

// A push button: a press inside captures the mouse, and the release inside clicks, which
// the parent hears as WM_COMMAND with BN_CLICKED, as on the desktop.
LRESULT CALLBACK ButtonProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_LBUTTONDOWN:
      SetCapture(hwnd);
      return 0;
    case WM_LBUTTONUP: {
      if (GetCapture() != hwnd) return 0;
      ReleaseCapture();
      RECT client;
      GetClientRect(hwnd, &client);
      const POINT at{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
      if (PtInRect(&client, at)) {
        const int id = GetDlgCtrlID(hwnd);
        SendMessageW(GetParent(hwnd), WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(hwnd));
      }
      return 0;
    }
    default:
      return DefWindowProcW(hwnd, message, wParam, lParam);
  }
}

// An edit control keeps its text as the window text; typed characters are appended (no caret
// is modelled) and the parent hears EN_CHANGE.
LRESULT CALLBACK EditProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_CHAR) {
    const int length = GetWindowTextLengthW(hwnd);
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    GetWindowTextW(hwnd, text.data(), length + 1);
    text.resize(static_cast<size_t>(length));
    if (wParam == 8) {
      if (!text.empty()) text.pop_back();
    } else if (wParam >= 32) {
      text += static_cast<wchar_t>(wParam);
    } else {
      return 0;
    }
    SetWindowTextW(hwnd, text.c_str());
    SendMessageW(GetParent(hwnd), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(hwnd), EN_CHANGE), reinterpret_cast<LPARAM>(hwnd));
    return 0;
  }
  if (message == WM_LBUTTONDOWN) SetFocus(hwnd);
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

void Register(LPCWSTR name, WNDPROC proc) {
  WNDCLASSEXW existing;
  if (GetClassInfoExW(nullptr, name, &existing)) return;
  WNDCLASSEXW wc;
  wc.lpfnWndProc = proc;
  wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  wc.hbrBackground = reinterpret_cast<HBRUSH>(uintptr_t{16});  // COLOR_BTNFACE + 1
  wc.lpszClassName = name;
  RegisterClassExW(&wc);
}

}  // namespace

void SetDialogTemplate(UINT id, DialogTemplate dialog) {
  auto shared = std::make_shared<const DialogTemplate>(std::move(dialog));
  std::lock_guard<std::mutex> lock(Templates().mutex);
  Templates().templates[id] = std::move(shared);
}

std::shared_ptr<const DialogTemplate> FindDialogTemplate(UINT id) {
  std::lock_guard<std::mutex> lock(Templates().mutex);
  auto it = Templates().templates.find(id);
  return it == Templates().templates.end() ? nullptr : it->second;
}

void RegisterDialogClasses() {
  static const bool registered = [] {
    // Dialogs are framework windows: their messages reach the CDialog, and what it leaves goes
    // to DefDlgProcW.
    WNDCLASSW dialog;
    dialog.lpfnWndProc = DefDlgProcW;
    dialog.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    dialog.hbrBackground = reinterpret_cast<HBRUSH>(uintptr_t{16});  // COLOR_BTNFACE + 1
    dialog.lpszClassName = WC_DIALOG;
    AfxRegisterClass(&dialog);
    Register(L"BUTTON", ButtonProc);
    Register(L"EDIT", EditProc);
    Register(L"STATIC", DefWindowProcW);
    return true;
  }();
  (void)registered;
}

void CreateDialogControls(HWND dialog, const DialogTemplate& dialog_template) {
  RegisterDialogClasses();
  for (const DialogControl& control : dialog_template.controls) {
    const RECT& r = control.rect;
    CreateWindowExW(0, control.class_name.c_str(), control.text.c_str(), control.style | WS_CHILD | WS_VISIBLE, r.left,
                    r.top, r.right - r.left, r.bottom - r.top, dialog,
                    reinterpret_cast<HMENU>(static_cast<uintptr_t>(control.id)), nullptr, nullptr);
  }
}

}  // namespace Ostrum::Desktop

LRESULT CALLBACK DefDlgProcW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_CLOSE) {
    SendMessageW(hwnd, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(hwnd, IDCANCEL)));
    return 0;
  }
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

HWND GetDlgItem(HWND dialog, int id) {
  if (!dialog) return nullptr;
  for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
    if (GetDlgCtrlID(child) == id) return child;
  return nullptr;
}

BOOL SetDlgItemTextW(HWND dialog, int id, LPCWSTR text) {
  HWND item = GetDlgItem(dialog, id);
  return item ? SetWindowTextW(item, text) : FALSE;
}

UINT GetDlgItemTextW(HWND dialog, int id, LPWSTR buffer, int size) {
  HWND item = GetDlgItem(dialog, id);
  if (!item) {
    if (buffer && size > 0) buffer[0] = L'\0';
    return 0;
  }
  return static_cast<UINT>(GetWindowTextW(item, buffer, size));
}

BOOL EndDialog(HWND dialog, INT_PTR result) {
  if (!IsWindow(dialog)) return FALSE;
  for (std::size_t depth = 0; Ostrum::Desktop::ModalFrame* frame = Ostrum::Desktop::GetModalFrame(depth); ++depth) {
    if (frame->window == dialog) {
      Ostrum::Desktop::EndModalFrame(*frame, static_cast<int>(result));
      return TRUE;
    }
  }
  ShowWindow(dialog, SW_HIDE);
  return TRUE;
}
