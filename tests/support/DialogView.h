#pragma once
// DialogView: what a test does in a dialog of the desktop model, as a user filling it in
// would: set and read the text of its items, and click its buttons (the BN_CLICKED command a
// click on a button sends). For a click through the mouse, use the fixture's user on the
// button's window.
//
//   desk.ExpectModal("screw dialog", [](Ostrum::Desktop::ModalFrame& frame) {
//     DialogView dialog(frame);
//     dialog.SetText(IDC_LENGTH, L"40");
//     dialog.Click(IDOK);
//   });

#include <string>

#include "ostrum/foundation/platform/Dialog.h"
#include "ostrum/foundation/platform/ModalLoop.h"
#include "ostrum/foundation/platform/Window.h"

class DialogView {
 public:
  explicit DialogView(HWND dialog) : m_dialog(dialog) {}
  /// The dialog of a modal frame of kind Dialog.
  explicit DialogView(const Ostrum::Desktop::ModalFrame& frame) : m_dialog(frame.window) {}

  HWND Hwnd() const { return m_dialog; }
  HWND Item(int id) const { return GetDlgItem(m_dialog, id); }
  void SetText(int id, const std::wstring& text) const { SetDlgItemTextW(m_dialog, id, text.c_str()); }
  std::wstring Text(int id) const {
    wchar_t buffer[256];
    GetDlgItemTextW(m_dialog, id, buffer, 256);
    return buffer;
  }
  /// The command a click on button `id` gives its dialog.
  void Click(int id) const {
    SendMessageW(m_dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(Item(id)));
  }

 private:
  HWND m_dialog;
};
