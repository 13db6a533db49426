#include "ostrum/foundation/platform/CFrameWnd.h"

#include "ostrum/foundation/platform/CControlBar.h"
#include "ostrum/foundation/platform/WindowTree.h"

CFrameWnd::~CFrameWnd() = default;

CControlBar* CFrameWnd::GetControlBar(UINT id) const {
  if (!m_hWnd) return nullptr;
  for (HWND child = GetWindow(m_hWnd, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
    if (static_cast<UINT>(::GetDlgCtrlID(child)) != id) continue;
    if (auto* bar = dynamic_cast<CControlBar*>(CWnd::FromHandlePermanent(child))) return bar;
  }
  return nullptr;
}
