#include "ostrum/foundation/platform/CDlgResize.h"

#include "ostrum/foundation/platform/Dialog.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowTree.h"

BEGIN_MESSAGE_MAP(CDlgResize, CDialog)
  ON_WM_SIZE()
END_MESSAGE_MAP()

CDlgResize::CDlgResize(UINT template_id, CWnd* parent) : CDialog(template_id, parent) { m_extra_style = kResizeStyle; }

CDlgResize::~CDlgResize() = default;

void CDlgResize::AddControl(int id, UINT how) {
  for (Anchor& anchor : m_anchors) {
    if (anchor.id == id) {
      anchor.how = how;
      return;
    }
  }
  m_anchors.push_back({id, how, RECT{}});
}

BOOL CDlgResize::OnInitDialog() {
  RECT client;
  GetClientRect(&client);
  m_initial_client = SIZE{client.right - client.left, client.bottom - client.top};
  for (Anchor& anchor : m_anchors) {
    HWND control = ::GetDlgItem(m_hWnd, anchor.id);
    if (!control) continue;
    ::GetWindowRect(control, &anchor.initial);
    ::ScreenToClient(m_hWnd, reinterpret_cast<POINT*>(&anchor.initial.left));
    ::ScreenToClient(m_hWnd, reinterpret_cast<POINT*>(&anchor.initial.right));
  }
  m_laid_out = true;
  return CDialog::OnInitDialog();
}

void CDlgResize::OnSize(UINT type, int cx, int cy) {
  Default();
  // Sizes before WM_INITDIALOG (the window's making) have no layout to follow yet.
  if (!m_laid_out || type == 1 /* SIZE_MINIMIZED */) return;
  const int dx = cx - m_initial_client.cx, dy = cy - m_initial_client.cy;
  for (const Anchor& anchor : m_anchors) {
    HWND control = ::GetDlgItem(m_hWnd, anchor.id);
    if (!control) continue;
    RECT r = anchor.initial;
    if (anchor.how & RESIZE_MOVE_X) {
      r.left += dx;
      r.right += dx;
    } else if (anchor.how & RESIZE_SIZE_X) {
      r.right += dx;
    }
    if (anchor.how & RESIZE_MOVE_Y) {
      r.top += dy;
      r.bottom += dy;
    } else if (anchor.how & RESIZE_SIZE_Y) {
      r.bottom += dy;
    }
    ::MoveWindow(control, r.left, r.top, r.right - r.left, r.bottom - r.top, TRUE);
  }
}
