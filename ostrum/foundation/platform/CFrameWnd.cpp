#include "ostrum/foundation/platform/CFrameWnd.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "ostrum/foundation/platform/CControlBar.h"
#include "ostrum/foundation/platform/CommonControls.h"
#include "ostrum/foundation/platform/TextCalls.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowTree.h"

IMPLEMENT_DYNAMIC(CFrameWnd, CWnd)

void CFrameWnd::GetMessageString(UINT, CString& message) const { message = CString(); }

void CFrameWnd::CopyToolTipText(NMHDR& header, const std::wstring& tip) {
  if (header.code == TTN_NEEDTEXTW) {
    lstrcpynW(reinterpret_cast<TOOLTIPTEXTW&>(header).szText, tip.c_str(), 80);
    return;
  }
  char (&text)[80] = reinterpret_cast<TOOLTIPTEXTA&>(header).szText;
  // Whole characters into the first 79 bytes of a zeroed buffer: cut short or not, it ends.
  std::fill(std::begin(text), std::end(text), '\0');
  if (!tip.empty())
    ::WideCharToMultiByte(CP_THREAD_ACP, 0, tip.c_str(), static_cast<int>(tip.size()), text, 79, nullptr, nullptr);
}

UINT CFrameWnd::ToolTipFlags(const NMHDR& header) {
  return header.code == TTN_NEEDTEXTW ? reinterpret_cast<const TOOLTIPTEXTW&>(header).uFlags
                                      : reinterpret_cast<const TOOLTIPTEXTA&>(header).uFlags;
}

std::wstring CFrameWnd::ToolTipOf(const std::wstring& message) {
  const size_t feed = message.find(L'\n');
  return feed == std::wstring::npos ? std::wstring() : message.substr(feed + 1);
}

BOOL CFrameWnd::OnToolTipText(UINT, NMHDR* header, LRESULT* result) {
  if (!header) return FALSE;
  UINT_PTR id = header->idFrom;
  if (ToolTipFlags(*header) & TTF_IDISHWND) id = static_cast<UINT_PTR>(::GetDlgCtrlID(reinterpret_cast<HWND>(id)));
  CString message;
  if (id != 0) GetMessageString(static_cast<UINT>(id), message);
  CopyToolTipText(*header, ToolTipOf(message.Str()));
  if (result) *result = 0;
  ::SetWindowPos(header->hwndFrom, HWND_TOP, 0, 0, 0, 0, SWP_NOACTIVATE | SWP_NOSIZE | SWP_NOMOVE | SWP_NOOWNERZORDER);
  return TRUE;
}

// Bars outlive their frame as objects: they must not point at it afterwards.
CFrameWnd::~CFrameWnd() {
  for (CControlBar* bar : m_bars) {
    if (bar->m_pDockSite != this) continue;
    bar->m_pDockSite = nullptr;
    bar->m_nDockBarID = 0;
  }
}

CControlBar* CFrameWnd::GetControlBar(UINT id) const {
  if (!m_hWnd) return nullptr;
  for (HWND child = GetWindow(m_hWnd, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
    if (static_cast<UINT>(::GetDlgCtrlID(child)) != id) continue;
    if (auto* bar = dynamic_cast<CControlBar*>(CWnd::FromHandlePermanent(child))) return bar;
  }
  return nullptr;
}
