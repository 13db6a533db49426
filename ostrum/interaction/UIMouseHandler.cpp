#include "ostrum/interaction/UIMouseHandler.h"

#include <typeinfo>

#include "ostrum/foundation/platform/CCmdUI.h"
#include "ostrum/foundation/platform/CMenu.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Cursor.h"
#include "ostrum/foundation/platform/KeyState.h"
#include "ostrum/foundation/platform/SystemMetrics.h"
#include "ostrum/interaction/UIWnd.h"
#include "ostrum/interaction/private/MenuPlacement.h"

bool UIMouseHandler::mg_rbutton_context_menu = true;

UIMouseHandler::UIMouseHandler(const boost::shared_ptr<IPtrStrategy<UIMouse>>& strategy)
    : m_strategy(strategy ? strategy : boost::shared_ptr<IPtrStrategy<UIMouse>>(new PtrStrategy<UIMouse>)),
      m_default_mouse(nullptr, m_strategy) {}

UIMouseHandler::~UIMouseHandler() {
  _CleanUpStack();
  m_default_mouse.Destroy();
}

// ---- the stack ----

PtrHolder<UIMouse> UIMouseHandler::_GetTopMouse() const {
  return m_stack.empty() ? PtrHolder<UIMouse>(nullptr, m_strategy) : m_stack.back();
}

bool UIMouseHandler::_Holds(const UIMouse* mouse) const {
  if (mouse == m_default_mouse.m_ptr) return true;
  for (const PtrHolder<UIMouse>& holder : m_stack)
    if (holder.m_ptr == mouse) return true;
  return false;
}

void UIMouseHandler::SetDefaultMouse(UIMouse* mouse) {
  _CleanUpStack();
  m_default_mouse.Destroy();
  m_default_mouse = PtrHolder<UIMouse>(mouse, m_strategy);
}

UIMouse* UIMouseHandler::GetDefaultMouse() { return m_default_mouse.m_ptr; }

bool UIMouseHandler::SelectMouse(UIMouse* mouse, bool additional) {
  if (!mouse) return _SelectMouse(m_default_mouse, false);
  return _SelectMouse(PtrHolder<UIMouse>(mouse, m_strategy), additional);
}

bool UIMouseHandler::_SelectMouse(PtrHolder<UIMouse> holder, bool additional) {
  // An additional tool needs a tool to stand on; on an empty stack it is selected as a base.
  if (additional && !m_stack.empty()) {
    UIMouse* top = m_stack.back().m_ptr;
    if (holder.m_ptr && top && typeid(*holder.m_ptr) == typeid(*top)) {
      // Two like tools are never stacked on each other.
      holder.Destroy();
      return true;
    }
    if (top) top->OnSuspend();
    m_stack.push_back(holder);
    if (holder.m_ptr) holder.m_ptr->OnSelect();
    return true;
  }
  _CleanUpStack();
  m_stack.push_back(holder);
  if (holder.m_ptr) holder.m_ptr->OnSelect();
  return true;
}

void UIMouseHandler::_CleanUpStack() {
  while (!m_stack.empty()) {
    const std::size_t top = m_stack.size() - 1;
    if (UIMouse* mouse = m_stack[top].m_ptr) mouse->OnDeselect();
    PtrHolder<UIMouse> holder = m_stack.back();
    m_stack.pop_back();
    if (holder.m_ptr != m_default_mouse.m_ptr) holder.Destroy();
    // Each tool below is resumed for a moment before it is deselected in turn.
    if (top != 0 && !m_stack.empty())
      if (UIMouse* below = m_stack.back().m_ptr) below->OnResume();
  }
}

bool UIMouseHandler::DeselectMouse() {
  PtrHolder<UIMouse> top = _GetTopMouse();
  if (!top.m_ptr || top.m_ptr == m_default_mouse.m_ptr) return true;
  top.m_ptr->OnDeselect();
  top.Destroy();
  m_stack.pop_back();
  PtrHolder<UIMouse> below = _GetTopMouse();
  if (!below.m_ptr) return _SelectMouse(m_default_mouse, false);
  below.m_ptr->OnResume();
  return true;
}

void UIMouseHandler::ActivateAdditionalMouseStub(UIMouse* mouse) {
  if (m_stack.size() < 2) {
    PtrHolder<UIMouse> top = _GetTopMouse();
    if (!top.m_ptr) return;
    top.m_ptr->OnSuspend();
    m_stack.push_back(PtrHolder<UIMouse>(mouse, m_strategy));
    if (mouse) mouse->OnSelect();
    return;
  }
  // The one place where a tool is deleted directly, not through the strategy.
  delete mouse;
}

void UIMouseHandler::DeactivateAdditionalMouseStub() { DeselectMouse(); }

const UIMouse* UIMouseHandler::GetCurrentMouse() const { return m_stack.empty() ? nullptr : m_stack.back().m_ptr; }

const UIMouse* UIMouseHandler::GetDeselectMouse() const {
  return m_stack.size() >= 2 ? m_stack[m_stack.size() - 2].m_ptr : m_default_mouse.m_ptr;
}

bool UIMouseHandler::IsCurrentMouseAdditional() const { return m_stack.size() > 1; }

bool UIMouseHandler::HasCapture() const {
  const UIMouse* top = GetCurrentMouse();
  return top && top->GetCapture();
}

bool UIMouseHandler::GetLastMousePosition(CPoint& point) const {
  if (!m_last_wnd) return false;
  point = m_last_point;
  return true;
}

bool UIMouseHandler::IsWindowOfLastEvent(UIWnd* wnd) const { return m_last_wnd == wnd; }

// ---- events ----

template <class Event>
bool UIMouseHandler::_Dispatch(UIWnd* wnd, CPoint point, bool record_point, Event&& event) {
  PtrHolder<UIMouse> top = _GetTopMouse();
  if (!top.m_ptr) return false;
  if (!wnd->IsMouseSupported(*top.m_ptr)) {
    wnd->SetCursorMouseNotSupported();
    return false;
  }
  m_last_wnd = wnd;
  if (record_point) m_last_point = point;
  return event(*top.m_ptr);
}

void UIMouseHandler::OnKeyDown(unsigned nChar, unsigned nRepCnt, unsigned nFlags) {
  if (UIMouse* top = _GetTopMouse().m_ptr) top->OnKeyDown(nChar, nRepCnt, nFlags);
}

void UIMouseHandler::OnKeyUp(unsigned nChar, unsigned nRepCnt, unsigned nFlags) {
  if (UIMouse* top = _GetTopMouse().m_ptr) top->OnKeyUp(nChar, nRepCnt, nFlags);
}

bool UIMouseHandler::OnLButtonDown(UIWnd* wnd, unsigned flags, CPoint point) {
  return _Dispatch(wnd, point, true, [&](UIMouse& m) { return m.OnLButtonDown(wnd, flags, point); });
}

bool UIMouseHandler::OnLButtonUp(UIWnd* wnd, unsigned flags, CPoint point) {
  return _Dispatch(wnd, point, true, [&](UIMouse& m) { return m.OnLButtonUp(wnd, flags, point); });
}

bool UIMouseHandler::OnLButtonDblClk(UIWnd* wnd, unsigned flags, CPoint point) {
  return _Dispatch(wnd, point, true, [&](UIMouse& m) { return m.OnLButtonDblClk(wnd, flags, point); });
}

bool UIMouseHandler::OnRButtonDown(UIWnd* wnd, unsigned flags, CPoint point) {
  return _Dispatch(wnd, point, true, [&](UIMouse& m) { return m.OnRButtonDown(wnd, flags, point); });
}

bool UIMouseHandler::OnRButtonUp(UIWnd* wnd, unsigned flags, CPoint point) {
  return _Dispatch(wnd, point, true, [&](UIMouse& m) { return m.OnRButtonUp(wnd, flags, point); });
}

bool UIMouseHandler::OnRButtonDblClk(UIWnd* wnd, unsigned flags, CPoint point) {
  return _Dispatch(wnd, point, true, [&](UIMouse& m) { return m.OnRButtonDblClk(wnd, flags, point); });
}

void UIMouseHandler::OnMouseMove(UIWnd* wnd, unsigned flags, CPoint point) {
  if (UIMouse* top = _GetTopMouse().m_ptr) wnd->MouseIsMoving(*top);
  _Dispatch(wnd, point, true, [&](UIMouse& m) {
    m.OnMouseMove(wnd, flags, point);
    return false;
  });
}

void UIMouseHandler::OnMouseEnterWindow(UIWnd* wnd) {
  _Dispatch(wnd, CPoint(), false, [&](UIMouse& m) {
    m.OnMouseEnterWindow(wnd);
    return false;
  });
}

void UIMouseHandler::OnMouseLeaveWindow(UIWnd* wnd) {
  _Dispatch(wnd, CPoint(), false, [&](UIMouse& m) {
    m.OnMouseLeaveWindow(wnd);
    return false;
  });
}

void UIMouseHandler::OnAbort(UIWnd* wnd) {
  _Dispatch(wnd, CPoint(), false, [&](UIMouse& m) {
    m.OnAbort(wnd);
    // Capture goes also when an override forgot the base; a tool that left the handler
    // during its abort is gone and is not touched again.
    if (_Holds(&m)) m.ReleaseCapture();
    return false;
  });
}

bool UIMouseHandler::OnCommand(UIWnd* wnd, unsigned id) {
  m_last_wnd = wnd;
  UIMouse* top = _GetTopMouse().m_ptr;
  return top && top->OnCommand(wnd, id, m_last_point);
}

bool UIMouseHandler::OnUpdateCommandUI(UIWnd* wnd, CCmdUI* cmd_ui) {
  m_last_wnd = wnd;
  UIMouse* top = _GetTopMouse().m_ptr;
  return top && cmd_ui && top->OnUpdateCommandUI(wnd, cmd_ui->m_nID, cmd_ui, m_last_point);
}

void UIMouseHandler::OnInvalidate(CDC& dc, UIWnd* wnd) {
  UIMouse* top = _GetTopMouse().m_ptr;
  if (!top || !wnd->IsMouseSupported(*top)) return;
  CPoint point;
  GetCursorPos(&point);
  wnd->ScreenToClient(&point);
  top->OnInvalidate(dc, wnd, point);
}

// ---- the context menu ----

void UIMouseHandler::OnContextMenu(UIWnd* wnd, CPoint point) {
  UIMouse* top = _GetTopMouse().m_ptr;
  if (!top) return;
  m_last_wnd = wnd;
  m_last_point = point;
  if (!mg_rbutton_context_menu) return;
  CPoint client = point;
  if (wnd) wnd->ScreenToClient(&client);
  _ShowContextMenu(top, wnd, client);
}

void UIMouseHandler::_ShowContextMenu(UIMouse* mouse, UIWnd* wnd, CPoint point) {
  CMenu menu;
  menu.CreatePopupMenu();
  if (!_InitContextMenu(menu, mouse, wnd, point)) return;
  if (wnd) wnd->ClientToScreen(&point);
  CWinThread* thread = AfxGetThread();
  menu.TrackPopupMenu(0, point.x, point.y, thread ? thread->m_pMainWnd : nullptr);
}

bool UIMouseHandler::_InitContextMenu(CMenu& menu, UIMouse* mouse, UIWnd* wnd, CPoint point) {
  // 1.
  const UINT before = menu.GetMenuItemCount();
  mouse->OnAppendMenu(menu, wnd, point);
  const UINT split = menu.GetMenuItemCount();
  const bool tool_added = split != before;
  // 2.
  if (wnd) wnd->OnAppendMenu(*mouse, menu, point);
  const bool window_added = menu.GetMenuItemCount() != split;
  // 3. The tool's items, a separator, the window's items.
  if (tool_added && window_added) menu.InsertMenu(split, MF_BYPOSITION | MF_SEPARATOR);
  // 4, 5.
  if (static_cast<int>(menu.GetMenuItemCount()) < 1) return false;
  _AssignMenuMnemonics(menu, {});
  return true;
}

void UIMouseHandler::_AssignMenuMnemonics(CMenu& menu, const std::vector<unsigned>& excluded) {
  Ostrum::Interaction::Private::AssignMenuMnemonics(menu.GetSafeHmenu(), excluded);
}

unsigned UIMouseHandler::_FindMenuPosition(CMenu& menu, const wchar_t* title) {
  return Ostrum::Interaction::Private::FindMenuPosition(menu.GetSafeHmenu(), title);
}

// ---- button state ----

bool UIMouseHandler::IsLButtonDown() {
  return GetAsyncKeyState(GetSystemMetrics(SM_SWAPBUTTON) ? VK_RBUTTON : VK_LBUTTON) != 0;
}

bool UIMouseHandler::IsRButtonDown() {
  return GetAsyncKeyState(GetSystemMetrics(SM_SWAPBUTTON) ? VK_LBUTTON : VK_RBUTTON) != 0;
}

bool UIMouseHandler::IsButtonDown() {
  if (GetAsyncKeyState(VK_LBUTTON) != 0) return true;
  return GetAsyncKeyState(VK_RBUTTON) != 0;
}

bool UIMouseHandler::IsRButtonContextMenuEnabled() { return mg_rbutton_context_menu; }

void UIMouseHandler::EnableRButtonContextMenu(bool enable) { mg_rbutton_context_menu = enable; }
