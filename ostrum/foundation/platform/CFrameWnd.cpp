#include "ostrum/foundation/platform/CFrameWnd.h"

#include "ostrum/foundation/platform/CControlBar.h"

// Bars outlive their frame as objects: they must not point at it afterwards.
CFrameWnd::~CFrameWnd() {
  for (CControlBar* bar : m_bars) {
    if (bar->m_pDockSite != this) continue;
    bar->m_pDockSite = nullptr;
    bar->m_nDockBarID = 0;
  }
}
