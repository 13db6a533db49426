// CFrameWnd's docking of control bars: fixed docking on the four edges, laid out at once.
#include <algorithm>

#include "ostrum/foundation/platform/CControlBar.h"
#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/Dialog.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/WindowTree.h"

namespace {

UINT EdgeOf(DWORD align) {
  if (align & CBRS_ALIGN_TOP) return AFX_IDW_DOCKBAR_TOP;
  if (align & CBRS_ALIGN_BOTTOM) return AFX_IDW_DOCKBAR_BOTTOM;
  if (align & CBRS_ALIGN_LEFT) return AFX_IDW_DOCKBAR_LEFT;
  if (align & CBRS_ALIGN_RIGHT) return AFX_IDW_DOCKBAR_RIGHT;
  return AFX_IDW_DOCKBAR_TOP;
}

}  // namespace

void CFrameWnd::DockControlBar(CControlBar* bar, UINT dock_bar_id, const RECT*) {
  if (!bar) return;
  if (bar->m_pDockSite && bar->m_pDockSite != this) bar->m_pDockSite->RemoveControlBar(bar);
  bar->m_pDockSite = this;
  bar->m_nDockBarID = dock_bar_id ? dock_bar_id : EdgeOf(bar->m_dwDockStyle ? bar->m_dwDockStyle : m_dock_style);
  if (std::find(m_bars.begin(), m_bars.end(), bar) == m_bars.end()) m_bars.push_back(bar);
  // A bar made without this frame as its parent moves in as a child (GetParent would answer
  // the owner of a popup bar).
  if (bar->m_hWnd && m_hWnd && ::GetAncestor(bar->m_hWnd, GA_PARENT) != m_hWnd) {
    ::SetWindowLongPtrW(bar->m_hWnd, GWL_STYLE,
                        static_cast<LONG_PTR>((bar->GetStyle() & ~(WS_POPUP | WS_BORDER)) | WS_CHILD));
    bar->SetParent(this);
  }
  RecalcLayout();
}

void CFrameWnd::ShowControlBar(CControlBar* bar, BOOL show, BOOL) {
  if (!bar || !bar->m_hWnd) return;
  bar->ShowWindow(show ? SW_SHOWNOACTIVATE : SW_HIDE);
  if (bar->m_pDockSite == this) RecalcLayout();
}

void CFrameWnd::RemoveControlBar(CControlBar* bar) {
  auto it = std::find(m_bars.begin(), m_bars.end(), bar);
  if (it == m_bars.end()) return;
  m_bars.erase(it);
  if (bar->m_pDockSite == this) {
    bar->m_pDockSite = nullptr;
    bar->m_nDockBarID = 0;
  }
  RecalcLayout();
}

void CFrameWnd::RecalcLayout(BOOL) {
  if (!m_hWnd) return;
  RECT free;
  ::GetClientRect(m_hWnd, &free);
  for (CControlBar* bar : m_bars) {
    if (!bar->m_hWnd || !bar->IsWindowVisible() || ::GetAncestor(bar->m_hWnd, GA_PARENT) != m_hWnd) continue;
    const int extent = bar->GetDockedExtent();
    RECT r = free;
    switch (bar->m_nDockBarID) {
      case AFX_IDW_DOCKBAR_BOTTOM:
        r.top = std::max(free.top, free.bottom - extent);
        free.bottom = r.top;
        break;
      case AFX_IDW_DOCKBAR_LEFT:
        r.right = std::min(free.right, free.left + extent);
        free.left = r.right;
        break;
      case AFX_IDW_DOCKBAR_RIGHT:
        r.left = std::max(free.left, free.right - extent);
        free.right = r.left;
        break;
      default:
        r.bottom = std::min(free.bottom, free.top + extent);
        free.top = r.bottom;
        break;
    }
    ::MoveWindow(bar->m_hWnd, r.left, r.top, r.right - r.left, r.bottom - r.top, TRUE);
  }
  if (HWND pane = ::GetDlgItem(m_hWnd, static_cast<int>(AFX_IDW_PANE_FIRST)))
    ::MoveWindow(pane, free.left, free.top, free.right - free.left, free.bottom - free.top, TRUE);
}
