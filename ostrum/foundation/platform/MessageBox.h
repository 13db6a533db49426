#pragma once
// Message boxes: a modal loop that asks the user one question. The model keeps a log of every
// box shown (text, caption, style, answer), which test drivers read; the headless backend
// answers a box through the driver's responder, or ends it with its default answer.

#include <string>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

// Buttons.
constexpr UINT MB_OK = 0x0;
constexpr UINT MB_OKCANCEL = 0x1;
constexpr UINT MB_ABORTRETRYIGNORE = 0x2;
constexpr UINT MB_YESNOCANCEL = 0x3;
constexpr UINT MB_YESNO = 0x4;
constexpr UINT MB_RETRYCANCEL = 0x5;
constexpr UINT MB_TYPEMASK = 0xF;
// Icons.
constexpr UINT MB_ICONHAND = 0x10;
constexpr UINT MB_ICONERROR = MB_ICONHAND;
constexpr UINT MB_ICONQUESTION = 0x20;
constexpr UINT MB_ICONEXCLAMATION = 0x30;
constexpr UINT MB_ICONWARNING = MB_ICONEXCLAMATION;
constexpr UINT MB_ICONASTERISK = 0x40;
constexpr UINT MB_ICONINFORMATION = MB_ICONASTERISK;
constexpr UINT MB_ICONMASK = 0xF0;
// Answers.
constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDABORT = 3;
constexpr int IDRETRY = 4;
constexpr int IDIGNORE = 5;
constexpr int IDYES = 6;
constexpr int IDNO = 7;

/// Shows a box modal to `owner` (may be null) and answers the button chosen.
OSTRUM_API int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);
/// The framework's message box: modal to the thread's main window, captioned with the
/// application's name.
OSTRUM_API int AfxMessageBox(LPCWSTR text, UINT type = MB_OK, UINT help_id = 0);

namespace Ostrum::Desktop {

/// A box being shown, as the modal frame's detail (ModalKind::MessageBox).
struct MessageBoxDetail {
  std::wstring text;
  std::wstring caption;
  UINT type = MB_OK;
};

/// One box shown, as the log keeps it.
struct MessageBoxRecord {
  std::wstring text;
  std::wstring caption;
  UINT type = MB_OK;
  int answer = 0;
};

/// The boxes shown since the last call, oldest first; the log is emptied.
OSTRUM_API std::vector<MessageBoxRecord> TakeMessageBoxLog();
/// The answer a box of `type` gets when nobody answers it: the only button, else Cancel (or No
/// where there is no Cancel).
OSTRUM_API int DefaultMessageBoxAnswer(UINT type);
/// The caption of AfxMessageBox; "Ostrum" until the host names its application.
OSTRUM_API void SetApplicationName(const wchar_t* name);
OSTRUM_API const wchar_t* GetApplicationName();

}  // namespace Ostrum::Desktop
