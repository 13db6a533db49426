#pragma once
// Dialogs of the desktop model: templates that the host registers by id, the built-in classes
// of a dialog and its controls (the dialog class "#32770", "BUTTON", "EDIT", "STATIC"), and the
// Win32 calls on dialog items. CDialog and CDialogBar build their windows from here.

#include <memory>
#include <string>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

constexpr UINT WM_INITDIALOG = 0x0110;
/// Help asked for a command (F1 on a menu item or a bar); lParam is the help context, or 0.
constexpr UINT WM_COMMANDHELP = 0x0365;
/// Which help context lies under a point (Shift+F1); the answer is the context, 0 for none.
constexpr UINT WM_HELPHITTEST = 0x0366;
/// The notification code of a button click in WM_COMMAND's high word.
constexpr UINT BN_CLICKED = 0;
/// The notification code of an edit control whose text changed.
constexpr UINT EN_CHANGE = 0x0300;
/// The class name of dialog windows.
#define WC_DIALOG (L"#32770")

namespace Ostrum::Desktop {

/// One control of a dialog template. Rectangles are pixels in the dialog's client area (the
/// model has no dialog units).
struct DialogControl {
  std::wstring class_name;  ///< L"BUTTON", L"EDIT", L"STATIC" or any registered class
  UINT id = 0;
  std::wstring text;
  RECT rect{};
  DWORD style = 0;  ///< WS_CHILD and WS_VISIBLE are always added
};

/// A dialog's layout, as the host's resources hold it.
struct DialogTemplate {
  std::wstring caption;
  int width = 0;   ///< client width in pixels
  int height = 0;  ///< client height in pixels
  /// The style of a dialog window: a popup with caption and dialog frame unless set. A dialog
  /// bar makes its window a child whatever this says.
  DWORD style = 0;
  std::vector<DialogControl> controls;
};

/// Registers `dialog` as the template `id`, replacing one of that id. Process-wide; the model's
/// reset forgets all templates.
OSTRUM_API void SetDialogTemplate(UINT id, DialogTemplate dialog);
/// The template `id`, or null if the host registered none.
OSTRUM_API std::shared_ptr<const DialogTemplate> FindDialogTemplate(UINT id);

/// A dialog in a modal loop, as the frame's detail (ModalKind::Dialog).
struct DialogDetail {
  UINT template_id = 0;
  HWND dialog = nullptr;
};

/// Makes sure the built-in dialog and control classes are registered; called by everything
/// that makes dialogs. The dialog class's procedure is DefDlgProcW.
OSTRUM_API void RegisterDialogClasses();
/// Makes the template's controls as children of `dialog`, in template order.
OSTRUM_API void CreateDialogControls(HWND dialog, const DialogTemplate& dialog_template);

}  // namespace Ostrum::Desktop

/// The default handling of a dialog window: WM_CLOSE becomes the command IDCANCEL; the rest
/// goes to DefWindowProcW.
OSTRUM_API LRESULT CALLBACK DefDlgProcW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
/// The child of `dialog` with the control id `id`, or null.
OSTRUM_API HWND GetDlgItem(HWND dialog, int id);
OSTRUM_API BOOL SetDlgItemTextW(HWND dialog, int id, LPCWSTR text);
/// Copies the item's text (cut to `size` - 1 characters); answers the characters copied.
OSTRUM_API UINT GetDlgItemTextW(HWND dialog, int id, LPWSTR buffer, int size);
/// Ends the modal loop of `dialog` with `result` (a modeless dialog is hidden instead). FALSE
/// for a window that is not there.
OSTRUM_API BOOL EndDialog(HWND dialog, INT_PTR result);
