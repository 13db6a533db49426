// Routing of a window's messages into its CWnd: AfxWndProc, WindowProc, OnWndMsg with the
// message map, the default handling, pre-translation and the object's modal loop.

#include <vector>

#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/CommonControls.h"
#include "ostrum/foundation/platform/ModalLoop.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/foundation/platform/private/CWndLink.h"
#include "ostrum/foundation/platform/private/ThreadQueue.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

using Ostrum::Desktop::Private::CurrentInput;
using Ostrum::Desktop::Private::CurrentMessage;

LRESULT CALLBACK AfxWndProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  CWnd* wnd = CWnd::FromHandlePermanent(hwnd);
  if (!wnd) return DefWindowProcW(hwnd, message, wParam, lParam);
  std::vector<CurrentMessage>& current = CurrentInput().current;
  current.push_back(CurrentMessage{hwnd, message, wParam, lParam});
  struct Pop {
    std::vector<CurrentMessage>& stack;
    ~Pop() { stack.pop_back(); }
  } pop{current};
  const LRESULT result = wnd->WindowProc(message, wParam, lParam);
  if (message == WM_NCDESTROY && CWnd::FromHandlePermanent(hwnd) == wnd) {
    // The window's last message: the object lets go, then may delete itself.
    wnd->Detach();
    wnd->PostNcDestroy();
  }
  return result;
}

BOOL AfxRegisterClass(WNDCLASSW* wc) {
  if (!wc || !wc->lpszClassName) return FALSE;
  WNDCLASSEXW existing;
  if (GetClassInfoExW(wc->hInstance, wc->lpszClassName, &existing)) return TRUE;
  return RegisterClassW(wc) != 0 ? TRUE : FALSE;
}

namespace Ostrum::Desktop {

CWnd* WindowObjectOf(HWND hwnd) { return CWnd::FromHandle(hwnd); }

}  // namespace Ostrum::Desktop

BEGIN_MESSAGE_MAP(CWnd, CCmdTarget)
END_MESSAGE_MAP()

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  LRESULT result = 0;
  if (!OnWndMsg(message, wParam, lParam, &result)) result = DefWindowProc(message, wParam, lParam);
  return result;
}

BOOL CWnd::OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) {
  LRESULT answer = 0;
  if (message == WM_COMMAND) {
    if (!OnCommand(wParam, lParam)) return FALSE;
    answer = 1;
  } else if (message == WM_NOTIFY) {
    if (!OnNotify(wParam, lParam, &answer)) return FALSE;
  } else {
    const ::Ostrum::Desktop::MessageMapEntry* entry = FindMessageEntry(message, 0, 0);
    if (!entry) return FALSE;
    answer = entry->thunk(*this, wParam, lParam);
  }
  if (result) *result = answer;
  return TRUE;
}

LRESULT CWnd::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  if (m_super_proc) return CallWindowProcW(m_super_proc, m_hWnd, message, wParam, lParam);
  return ::DefWindowProcW(m_hWnd, message, wParam, lParam);
}

LRESULT CWnd::Default() {
  const std::vector<CurrentMessage>& current = CurrentInput().current;
  if (current.empty()) return 0;
  const CurrentMessage message = current.back();
  return DefWindowProc(message.message, message.wParam, message.lParam);
}

BOOL CWnd::OnCommand(WPARAM wParam, LPARAM lParam) {
  const UINT id = LOWORD(wParam);
  // Menus and accelerators (no control in lParam) are plain commands.
  const int code = lParam == 0 ? static_cast<int>(CN_COMMAND) : static_cast<int>(HIWORD(wParam));
  return OnCmdMsg(id, code, nullptr, nullptr);
}

BOOL CWnd::OnNotify(WPARAM, LPARAM lParam, LRESULT* result) {
  auto* header = reinterpret_cast<NMHDR*>(lParam);
  if (!header) return FALSE;
  const UINT code = LOWORD(header->code);
  // Entries name the control that sends (a tool-tip, say) by its own id, not the tool it asks about.
  const UINT id = static_cast<UINT>(::GetDlgCtrlID(header->hwndFrom));
  LRESULT ignored = 0;
  ::Ostrum::Desktop::Crackers::NotifyArguments args{header, result ? result : &ignored};
  // Entries of the class and its bases in turn, until one handles it.
  for (const ::Ostrum::Desktop::MessageMap* map = GetMessageMap(); map; map = map->base ? map->base() : nullptr)
    for (const ::Ostrum::Desktop::MessageMapEntry* entry = map->entries; entry->thunk; ++entry)
      if (entry->message == WM_NOTIFY && entry->code == code && id >= entry->first_id && id <= entry->last_id &&
          entry->thunk(*this, id, reinterpret_cast<LPARAM>(&args)))
        return TRUE;
  return FALSE;
}

BOOL CWnd::PreTranslateMessage(MSG*) { return FALSE; }

BOOL CWnd::WalkPreTranslateTree(HWND stop, MSG* msg) {
  if (!msg) return FALSE;
  for (HWND hwnd = msg->hwnd; hwnd; hwnd = ::GetParent(hwnd)) {
    if (CWnd* wnd = FromHandlePermanent(hwnd); wnd && wnd->PreTranslateMessage(msg)) return TRUE;
    if (hwnd == stop) break;
  }
  return FALSE;
}

int CWnd::RunModalLoop(DWORD flags) {
  Ostrum::Desktop::ModalFrame frame;
  frame.kind = Ostrum::Desktop::ModalKind::Window;
  frame.window = m_hWnd;
  frame.owner = ::GetParent(m_hWnd);
  if (!frame.owner) frame.owner = ::GetWindow(m_hWnd, GW_OWNER);
  frame.send_enter_idle = !(flags & MLF_NOIDLEMSG);
  frame.default_answer = m_modal_result;
  CString title;
  GetWindowText(title);
  frame.description = L"modal window \"" + title.Str() + L"\"";
  return Ostrum::Desktop::RunModalLoop(frame);
}

void CWnd::EndModalLoop(int result) {
  m_modal_result = result;
  for (std::size_t depth = 0; Ostrum::Desktop::ModalFrame* frame = Ostrum::Desktop::GetModalFrame(depth); ++depth) {
    if (frame->window == m_hWnd) {
      Ostrum::Desktop::EndModalFrame(*frame, result);
      return;
    }
  }
}

int CWnd::OnCreate(CREATESTRUCTW*) { return static_cast<int>(Default()); }
int CWnd::OnNcCreate(CREATESTRUCTW*) { return static_cast<int>(Default()); }
void CWnd::OnDestroy() { Default(); }
void CWnd::OnNcDestroy() { Default(); }
void CWnd::OnSize(UINT, int, int) { Default(); }
void CWnd::OnMove(int, int) { Default(); }
void CWnd::OnPaint() { Default(); }
void CWnd::OnNcPaint() { Default(); }
BOOL CWnd::OnEraseBkgnd(CDC*) { return static_cast<BOOL>(Default()); }
void CWnd::OnNcCalcSize(BOOL, NCCALCSIZE_PARAMS*) { Default(); }
void CWnd::OnClose() { Default(); }
void CWnd::OnShowWindow(BOOL, UINT) { Default(); }
void CWnd::OnEnable(BOOL) { Default(); }
void CWnd::OnTimer(UINT_PTR) { Default(); }
void CWnd::OnSysCommand(UINT, LPARAM) { Default(); }
void CWnd::OnEnterIdle(UINT, CWnd*) { Default(); }
BOOL CWnd::OnSetCursor(CWnd*, UINT, UINT) { return static_cast<BOOL>(Default()); }
int CWnd::OnMouseActivate(CWnd*, UINT, UINT) { return static_cast<int>(Default()); }
void CWnd::OnMouseMove(UINT, CPoint) { Default(); }
void CWnd::OnLButtonDown(UINT, CPoint) { Default(); }
void CWnd::OnLButtonUp(UINT, CPoint) { Default(); }
void CWnd::OnLButtonDblClk(UINT, CPoint) { Default(); }
void CWnd::OnRButtonDown(UINT, CPoint) { Default(); }
void CWnd::OnRButtonUp(UINT, CPoint) { Default(); }
void CWnd::OnRButtonDblClk(UINT, CPoint) { Default(); }
void CWnd::OnMButtonDown(UINT, CPoint) { Default(); }
void CWnd::OnMButtonUp(UINT, CPoint) { Default(); }
void CWnd::OnMButtonDblClk(UINT, CPoint) { Default(); }
BOOL CWnd::OnMouseWheel(UINT, short, CPoint) { return static_cast<BOOL>(Default()); }
void CWnd::OnCaptureChanged(CWnd*) { Default(); }
void CWnd::OnSetFocus(CWnd*) { Default(); }
void CWnd::OnKillFocus(CWnd*) { Default(); }
void CWnd::OnActivate(UINT, CWnd*, BOOL) { Default(); }
void CWnd::OnActivateApp(BOOL, DWORD) { Default(); }
void CWnd::OnKeyDown(UINT, UINT, UINT) { Default(); }
void CWnd::OnKeyUp(UINT, UINT, UINT) { Default(); }
void CWnd::OnSysKeyDown(UINT, UINT, UINT) { Default(); }
void CWnd::OnSysKeyUp(UINT, UINT, UINT) { Default(); }
void CWnd::OnChar(UINT, UINT, UINT) { Default(); }
void CWnd::OnContextMenu(CWnd*, CPoint) { Default(); }
