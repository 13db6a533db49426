#include "ostrum/foundation/platform/WindowClass.h"

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::Private::WindowTable;

ATOM RegisterClassExW(const WNDCLASSEXW* wc) {
  if (!wc || wc->cbSize != sizeof(WNDCLASSEXW)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  return WindowTable::Get().RegisterClass(*wc);
}

ATOM RegisterClassW(const WNDCLASSW* wc) {
  if (!wc) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  WNDCLASSEXW ex;
  ex.style = wc->style;
  ex.lpfnWndProc = wc->lpfnWndProc;
  ex.cbClsExtra = wc->cbClsExtra;
  ex.cbWndExtra = wc->cbWndExtra;
  ex.hInstance = wc->hInstance;
  ex.hIcon = wc->hIcon;
  ex.hCursor = wc->hCursor;
  ex.hbrBackground = wc->hbrBackground;
  ex.lpszMenuName = wc->lpszMenuName;
  ex.lpszClassName = wc->lpszClassName;
  return WindowTable::Get().RegisterClass(ex);
}

BOOL UnregisterClassW(LPCWSTR class_name, HINSTANCE instance) {
  return WindowTable::Get().UnregisterClass(class_name, instance) ? TRUE : FALSE;
}

BOOL GetClassInfoExW(HINSTANCE instance, LPCWSTR class_name, WNDCLASSEXW* wc) {
  if (!wc) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return WindowTable::Get().GetClassInfo(instance, class_name, *wc);
}
