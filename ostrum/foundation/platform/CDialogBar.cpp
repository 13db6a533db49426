#include "ostrum/foundation/platform/CDialogBar.h"

#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Dialog.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/WindowTree.h"

CDialogBar::~CDialogBar() = default;

BOOL CDialogBar::Create(CWnd* parent, UINT template_id, UINT style, UINT id) {
  if (m_hWnd) return FALSE;
  auto dialog_template = Ostrum::Desktop::FindDialogTemplate(template_id);
  if (!dialog_template) return FALSE;
  Ostrum::Desktop::RegisterDialogClasses();
  m_template_id = template_id;
  m_dwStyle = style & 0xFFFF;
  m_extent = dialog_template->height;
  const DWORD visible = style & WS_VISIBLE;
  HWND parent_hwnd = parent ? parent->GetSafeHwnd() : nullptr;
  int width = dialog_template->width;
  BOOL made;
  if (parent_hwnd) {
    RECT client;
    ::GetClientRect(parent_hwnd, &client);
    if (client.right > width) width = client.right;
    made = CreateEx(0, WC_DIALOG, dialog_template->caption.c_str(), WS_CHILD | WS_CLIPCHILDREN, 0, 0, width,
                    m_extent, parent_hwnd, id);
  } else {
    CWnd* main = AfxGetThread()->m_pMainWnd;
    made = CreateEx(0, WC_DIALOG, dialog_template->caption.c_str(), WS_POPUP | WS_BORDER, 0, 0, width, m_extent,
                    main ? main->GetSafeHwnd() : nullptr, 0);
  }
  if (!made) return FALSE;
  Ostrum::Desktop::CreateDialogControls(m_hWnd, *dialog_template);
  UpdateData(FALSE);
  if (visible) ShowWindow(SW_SHOWNOACTIVATE);
  return TRUE;
}
