#include "ostrum/foundation/platform/CControlBar.h"

#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CWinThread.h"

CControlBar::~CControlBar() {
  if (m_pDockSite) m_pDockSite->RemoveControlBar(this);
  delete m_pDockContext;
}

void CControlBar::EnableDocking(DWORD dock_style) {
  m_dwDockStyle = dock_style & CBRS_ALIGN_ANY;
  if (!m_pDockContext) m_pDockContext = new CDockContext(this);
}

CFrameWnd* CControlBar::GetDockingFrame() const {
  if (m_pDockSite) return m_pDockSite;
  for (CWnd* parent = GetParent(); parent; parent = parent->GetParent())
    if (auto* frame = dynamic_cast<CFrameWnd*>(parent)) return frame;
  return dynamic_cast<CFrameWnd*>(AfxGetThread()->m_pMainWnd);
}

BOOL CControlBar::IsVisible() const { return m_hWnd && IsWindowVisible(); }
