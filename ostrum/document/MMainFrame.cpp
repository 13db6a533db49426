#include "ostrum/document/MMainFrame.h"

#include <string>
#include <vector>

#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/foundation/platform/CommonControls.h"
#include "ostrum/foundation/platform/MessageMap.h"
#include "ostrum/foundation/platform/WindowPos.h"

IMPLEMENT_DYNCREATE(MMainFrame, CFrameWnd)

BEGIN_MESSAGE_MAP(MMainFrame, CFrameWnd)
  ON_NOTIFY_EX_RANGE(TTN_NEEDTEXTW, 0, 0xFFFF, OnToolTipText)
  ON_NOTIFY_EX_RANGE(TTN_NEEDTEXTA, 0, 0xFFFF, OnToolTipText)
END_MESSAGE_MAP()

MMainFrame::MMainFrame() = default;
MMainFrame::~MMainFrame() = default;

void MMainFrame::DoUpdateUI(MOperation&, void*) {}

void MMainFrame::GetMessageString(UINT id, CString& message) const { VarnResLoadStringEx(id, message); }

void MMainFrame::AppendAccelerators(HACCEL table) {
  const int own = m_hAccelTable ? CopyAcceleratorTableW(m_hAccelTable, nullptr, 0) : 0;
  const int added = table ? CopyAcceleratorTableW(table, nullptr, 0) : 0;
  std::vector<ACCEL> entries(static_cast<size_t>(own + added));
  if (own > 0) CopyAcceleratorTableW(m_hAccelTable, entries.data(), own);
  if (added > 0) CopyAcceleratorTableW(table, entries.data() + own, added);
  if (m_hAccelTable) DestroyAcceleratorTable(m_hAccelTable);
  m_hAccelTable = CreateAcceleratorTableW(entries.data(), static_cast<int>(entries.size()));
}

BOOL MMainFrame::OnToolTipText(UINT id, NMHDR* header, LRESULT* result) {
  if (!header) return FALSE;
  // 1. A tool named by its window.
  if (ToolTipFlags(*header) & TTF_IDISHWND) return CFrameWnd::OnToolTipText(id, header, result);
  // 2. The tip: what stands behind the first line feed of the command's string.
  std::wstring message;
  const UINT command = static_cast<UINT>(header->idFrom);
  if (command != 0 && !VarnResLoadStringEx(command, message)) return 0;
  // 3.
  CopyToolTipText(*header, ToolTipOf(message));
  // 4.
  if (result) *result = 0;
  ::SetWindowPos(header->hwndFrom, nullptr, 0, 0, 0, 0, 531);
  return 1;
}
