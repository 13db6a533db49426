// CWnd's data exchange and the DDX_ calls of the model's controls.
#include "ostrum/foundation/platform/CDataExchange.h"

#include <cwchar>
#include <string>

#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/Dialog.h"

namespace {

HWND Control(CDataExchange* dx, int id) {
  return dx && dx->m_pDlgWnd ? ::GetDlgItem(dx->m_pDlgWnd->GetSafeHwnd(), id) : nullptr;
}

std::wstring ReadText(HWND control) {
  const int length = GetWindowTextLengthW(control);
  std::wstring text(static_cast<size_t>(length) + 1, L'\0');
  GetWindowTextW(control, text.data(), length + 1);
  text.resize(static_cast<size_t>(length));
  return text;
}

// Reads a whole number or fails the pass; surrounding blanks are allowed.
template <class T, class Parse>
void ExchangeNumber(CDataExchange* dx, int id, T& value, Parse parse, const wchar_t* format) {
  HWND control = Control(dx, id);
  if (!control) return;
  if (!dx->m_bSaveAndValidate) {
    wchar_t text[64];
    std::swprintf(text, 64, format, value);
    SetWindowTextW(control, text);
    return;
  }
  const std::wstring text = ReadText(control);
  wchar_t* end = nullptr;
  const T parsed = parse(text.c_str(), &end);
  while (end && *end == L' ') ++end;
  if (end == text.c_str() || !end || *end != L'\0') {
    dx->Fail();
    return;
  }
  value = parsed;
}

}  // namespace

void DDX_Text(CDataExchange* dx, int id, CString& value) {
  HWND control = Control(dx, id);
  if (!control) return;
  if (dx->m_bSaveAndValidate)
    value = CString(ReadText(control));
  else
    SetWindowTextW(control, value.GetString());
}

void DDX_Text(CDataExchange* dx, int id, int& value) {
  ExchangeNumber(dx, id, value, [](const wchar_t* s, wchar_t** end) { return static_cast<int>(std::wcstol(s, end, 10)); },
                 L"%d");
}

void DDX_Text(CDataExchange* dx, int id, double& value) {
  ExchangeNumber(dx, id, value, [](const wchar_t* s, wchar_t** end) { return std::wcstod(s, end); }, L"%g");
}

BOOL CWnd::UpdateData(BOOL save) {
  CDataExchange dx(this, save);
  DoDataExchange(&dx);
  return dx.HasFailed() ? FALSE : TRUE;
}

void CWnd::DoDataExchange(CDataExchange*) {}

CWnd* CWnd::GetDlgItem(int id) const { return FromHandle(::GetDlgItem(m_hWnd, id)); }
