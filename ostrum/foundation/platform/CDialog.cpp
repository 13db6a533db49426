#include "ostrum/foundation/platform/CDialog.h"

#include <string>

#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/MessageBox.h"
#include "ostrum/foundation/platform/ModalLoop.h"
#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/WindowTree.h"

BEGIN_MESSAGE_MAP(CDialog, CWnd)
  ON_MESSAGE(WM_INITDIALOG, HandleInitDialog)
END_MESSAGE_MAP()

CDialog::CDialog(UINT template_id, CWnd* parent) : m_nIDHelp(template_id), m_pParentWnd(parent) {}

CDialog::~CDialog() = default;

HWND CDialog::_OwnerOf(CWnd* parent) {
  HWND owner = parent ? parent->GetSafeHwnd() : nullptr;
  if (!owner) {
    CWnd* main = AfxGetThread()->m_pMainWnd;
    owner = main ? main->GetSafeHwnd() : nullptr;
  }
  return owner && IsWindow(owner) ? GetAncestor(owner, GA_ROOT) : nullptr;
}

BOOL CDialog::_CreateFromTemplate(HWND owner) {
  if (m_hWnd) return FALSE;
  auto dialog_template = Ostrum::Desktop::FindDialogTemplate(m_nIDHelp);
  if (!dialog_template) return FALSE;
  Ostrum::Desktop::RegisterDialogClasses();
  DWORD style = dialog_template->style ? dialog_template->style : (WS_POPUP | WS_CAPTION | WS_SYSMENU);
  const bool visible = style & WS_VISIBLE;
  style = (style & ~WS_VISIBLE) | m_extra_style;
  RECT owner_rect{0, 0, 0, 0};
  if (owner) ::GetWindowRect(owner, &owner_rect);
  const int x = owner_rect.left + 40, y = owner_rect.top + 40;
  const int cx = dialog_template->width, cy = dialog_template->height;
  if (!CreateEx(0, WC_DIALOG, dialog_template->caption.c_str(), style, x, y, cx, cy, owner, 0)) return FALSE;
  // The template gives the client size: the frame the styles gave is added around it.
  RECT client, window;
  GetClientRect(&client);
  GetWindowRect(&window);
  const int frame_x = (window.right - window.left) - (client.right - client.left);
  const int frame_y = (window.bottom - window.top) - (client.bottom - client.top);
  if (frame_x || frame_y) MoveWindow(x, y, cx + frame_x, cy + frame_y, FALSE);
  Ostrum::Desktop::CreateDialogControls(m_hWnd, *dialog_template);
  SendMessage(WM_INITDIALOG, 0, 0);
  if (visible && m_hWnd) ShowWindow(SW_SHOW);
  return m_hWnd != nullptr;
}

BOOL CDialog::Create(UINT template_id, CWnd* parent) {
  if (m_hWnd) return FALSE;
  m_nIDHelp = template_id;
  m_pParentWnd = parent;
  return Create();
}

BOOL CDialog::Create() { return _CreateFromTemplate(_OwnerOf(m_pParentWnd)); }

INT_PTR CDialog::DoModal() {
  const HWND owner = _OwnerOf(m_pParentWnd);
  if (!_CreateFromTemplate(owner)) return -1;
  Ostrum::Desktop::DialogDetail detail{m_nIDHelp, m_hWnd};
  Ostrum::Desktop::ModalFrame frame;
  frame.kind = Ostrum::Desktop::ModalKind::Dialog;
  frame.owner = owner;
  frame.window = m_hWnd;
  frame.default_answer = IDCANCEL;
  frame.detail = &detail;
  CString caption;
  GetWindowText(caption);
  frame.description = L"dialog " + std::to_wstring(m_nIDHelp) + L" \"" + caption.Str() + L"\"";
  // OnInitDialog may already have ended the dialog; a dialog shown for no time still shows.
  ShowWindow(SW_SHOW);
  m_modal = true;
  const int result = Ostrum::Desktop::RunModalLoop(frame);
  m_modal = false;
  // The owner was enabled again by the loop before the dialog goes.
  if (m_hWnd) DestroyWindow();
  return result;
}

void CDialog::EndDialog(int result) {
  if (m_modal)
    EndModalLoop(result);
  else if (m_hWnd)
    ShowWindow(SW_HIDE);
}

BOOL CDialog::OnInitDialog() {
  UpdateData(FALSE);
  return TRUE;
}

void CDialog::OnOK() {
  if (!UpdateData(TRUE)) return;
  EndDialog(IDOK);
}

void CDialog::OnCancel() { EndDialog(IDCANCEL); }

LRESULT CDialog::HandleInitDialog(WPARAM, LPARAM) { return OnInitDialog(); }

BOOL CDialog::OnCommand(WPARAM wParam, LPARAM lParam) {
  // The message map and the command routing first, so that a derived dialog may take IDOK and
  // IDCANCEL itself.
  if (CWnd::OnCommand(wParam, lParam)) return TRUE;
  if (HIWORD(wParam) != BN_CLICKED) return FALSE;
  switch (LOWORD(wParam)) {
    case IDOK:
      OnOK();
      return TRUE;
    case IDCANCEL:
      OnCancel();
      return TRUE;
    default:
      return FALSE;
  }
}
