#include "ostrum/interaction/UIWnd.h"

#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MApplicationController.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/platform/Activation.h"
#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/CDC.h"
#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CView.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Capture.h"
#include "ostrum/foundation/platform/Cursor.h"
#include "ostrum/foundation/platform/Paint.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Rect.h"
#include "ostrum/foundation/platform/Resources.h"
#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WindowTree.h"
#include "ostrum/interaction/UIMouseHandler.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/scene/MSceneEx.h"

IMPLEMENT_DYNCREATE(UIWnd, CWnd)

BEGIN_MESSAGE_MAP(UIWnd, CWnd)
  ON_WM_SETCURSOR()
  ON_WM_RBUTTONDOWN()
  ON_WM_RBUTTONUP()
  ON_WM_RBUTTONDBLCLK()
  ON_WM_MOUSEMOVE()
  ON_WM_LBUTTONDOWN()
  ON_WM_LBUTTONUP()
  ON_WM_MBUTTONDOWN()
  ON_WM_CAPTURECHANGED()
  ON_WM_KEYUP()
  ON_WM_KEYDOWN()
  ON_WM_SYSKEYUP()
  ON_WM_SYSKEYDOWN()
  ON_WM_ACTIVATE()
  ON_WM_CONTEXTMENU()
  ON_WM_LBUTTONDBLCLK()
  ON_WM_NCCALCSIZE()
  ON_WM_NCPAINT()
END_MESSAGE_MAP()

namespace {

constexpr WPARAM kFromAccelerator = 0x10000;

CWnd* MainWindow() {
  CWinThread* thread = AfxGetThread();
  return thread ? thread->m_pMainWnd : nullptr;
}

}  // namespace

UIWnd::UIWnd() : m_inactive_color(GetSysColor(COLOR_WINDOW)) {
  m_accelerators = LoadAcceleratorsW(AfxGetResourceHandle(), MAKEINTRESOURCEW(kAcceleratorResource));
  m_accelerator_count = m_accelerators ? CopyAcceleratorTableW(m_accelerators, nullptr, 0) : 0;
}

UIWnd::~UIWnd() {
  if (m_accelerators) DestroyAcceleratorTable(m_accelerators);
}

bool UIWnd::Create(unsigned long /*style: every such window has the same*/, const RECT& rect, CWnd* parent,
                   unsigned id) {
  // Registered on every call, which costs nothing once the class is there: a desktop that was
  // reset forgets its classes.
  WNDCLASSW wc;
  wc.style = kClassStyle;
  wc.lpfnWndProc = DefWindowProcW;
  wc.hInstance = AfxGetInstanceHandle();
  wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  wc.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<uintptr_t>(COLOR_WINDOW + 1));
  wc.lpszClassName = L"UIWnd";
  if (!AfxRegisterClass(&wc)) return false;
  return CreateEx(0, L"UIWnd", nullptr, kStyle, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top,
                  parent ? parent->GetSafeHwnd() : nullptr, id) != FALSE;
}

bool UIWnd::GetMouseInObjectCoordinates(double* point, double* direction, long x, long y, UIObject* object) const {
  float p[3] = {0, 0, 0};
  float d[3] = {0, 0, 0};
  const bool result = GetMouseInObjectCoordinates(p, d, x, y, object);
  for (int i = 0; i < 3; ++i) {
    if (point) point[i] = p[i];
    if (direction) direction[i] = d[i];
  }
  return result;
}

bool UIWnd::GetMouseInEyeCoordinates(double* point, double* direction, long x, long y) const {
  float p[3] = {0, 0, 0};
  float d[3] = {0, 0, 0};
  const bool result = GetMouseInEyeCoordinates(p, d, x, y);
  for (int i = 0; i < 3; ++i) {
    if (point) point[i] = p[i];
    if (direction) direction[i] = d[i];
  }
  return result;
}

void UIWnd::SetMouseHandler(UIMouseHandler*) {}

// --- pointer tracking ---

void UIWnd::_OnMouseEnterWindow(unsigned flags, CPoint point) {
  UIMouseHandler* handler = _GetMouseHandler();
  if (!handler) return;
  if (handler->HasCapture()) {
    // A tool drags from another window and keeps the events: this window doesn't enter.
    handler->OnMouseMove(this, flags, point);
    return;
  }
  m_capture = true;
  SetCapture();
  handler->OnMouseEnterWindow(this);
}

void UIWnd::_OnMouseLeaveWindow(unsigned flags, CPoint point) {
  UIMouseHandler* handler = _GetMouseHandler();
  if (!handler) return;
  if (handler->HasCapture()) {
    // The tool holds on: it sees the moves outside the window.
    handler->OnMouseMove(this, flags, point);
    return;
  }
  handler->OnMouseLeaveWindow(this);
  m_capture = false;
  if (CWnd::GetCapture() == this) ::ReleaseCapture();
}

void UIWnd::_OnMouseMove(unsigned flags, CPoint point) {
  if (UIMouseHandler* handler = _GetMouseHandler()) handler->OnMouseMove(this, flags, point);
}

void UIWnd::_OnMouseAbort() {
  if (UIMouseHandler* handler = _GetMouseHandler()) handler->OnAbort(this);
  m_capture = false;
  // Only our own capture: after a theft the new owner keeps what it took.
  if (CWnd::GetCapture() == this) ::ReleaseCapture();
}

void UIWnd::OnMouseMove(UINT flags, CPoint point) {
  // Systems send a move at the place of a press without any movement: dropped.
  if (point == m_left_down_point) return;
  m_left_down_point = CPoint(kNoPoint, kNoPoint);
  if (point == m_right_down_point) return;
  m_right_down_point = CPoint(kNoPoint, kNoPoint);
  if (!_GetMouseHandler()) {
    Default();
    return;
  }
  CRect client;
  GetClientRect(&client);
  POINT screen = point;
  ClientToScreen(&screen);
  const bool under_pointer = client.PtInRect(point) && ::WindowFromPoint(screen) == m_hWnd;
  if (m_capture) {
    if (under_pointer)
      _OnMouseMove(flags, point);
    else
      _OnMouseLeaveWindow(flags, point);
    return;
  }
  if (client.PtInRect(point) && _IsAppActive() && ::WindowFromPoint(screen) == m_hWnd)
    _OnMouseEnterWindow(flags, point);
  else
    Default();
}

BOOL UIWnd::OnSetCursor(CWnd*, UINT, UINT) {
  // Every cursor query counts as a move without buttons, so enter and leave work also for a
  // window that gets no WM_MOUSEMOVE.
  POINT point;
  ::GetCursorPos(&point);
  ScreenToClient(&point);
  UIWnd::OnMouseMove(0, CPoint(point));
  return static_cast<BOOL>(Default());
}

void UIWnd::OnCaptureChanged(CWnd* window) {
  Default();
  if (window == this) return;
  if (m_capture) {
    // Capture taken by anything else (a dialog, a menu, another application) aborts the tool.
    POINT point;
    ::GetCursorPos(&point);
    ScreenToClient(&point);
    _OnMouseAbort();
  }
  m_capture = false;
}

bool UIWnd::_CheckCapture(unsigned flags, CPoint point) {
  if (!m_capture) return false;
  UIMouseHandler* handler = _GetMouseHandler();
  if (!handler) return false;
  if (handler->HasCapture()) return true;
  CRect client;
  GetClientRect(&client);
  if (client.PtInRect(point)) return true;
  // A click outside is a leave.
  _OnMouseLeaveWindow(flags, point);
  return m_capture;
}

// --- buttons ---

void UIWnd::OnLButtonDown(UINT flags, CPoint point) {
  Default();
  m_left_down_point = point;
  m_left_handled = false;
  if (!_CheckCapture(flags, point)) return;
  ActivateView();
  if (m_capture) m_left_handled = _GetMouseHandler()->OnLButtonDown(this, flags, point);
}

void UIWnd::OnLButtonUp(UINT flags, CPoint point) {
  Default();
  m_left_up_handled = false;
  if (!_CheckCapture(flags, point)) return;
  const bool handled = _GetMouseHandler()->OnLButtonUp(this, flags, point);
  m_left_handled = handled || m_left_handled;
  m_left_up_handled = m_left_handled;
}

void UIWnd::OnLButtonDblClk(UINT flags, CPoint point) {
  Default();
  if (!_GetMouseHandler() || !_CheckCapture(flags, point)) return;
  const bool handled = _GetMouseHandler()->OnLButtonDblClk(this, flags, point);
  m_left_handled = handled || m_left_up_handled;
}

void UIWnd::OnRButtonDown(UINT flags, CPoint point) {
  Default();
  m_right_down_point = point;
  m_right_handled = false;
  if (!_CheckCapture(flags, point)) return;
  _TellParentView();  // the view becomes active; the focus stays where it is
  if (m_capture) m_right_handled = _GetMouseHandler()->OnRButtonDown(this, flags, point);
}

void UIWnd::OnRButtonUp(UINT flags, CPoint point) {
  m_right_up_handled = false;
  if (_CheckCapture(flags, point)) {
    const bool handled = _GetMouseHandler()->OnRButtonUp(this, flags, point);
    m_right_handled = handled || m_right_handled;
    m_right_up_handled = m_right_handled;
    return;
  }
  // Only here: the desktop's own context-menu message must not come behind a tool's back.
  Default();
}

void UIWnd::OnRButtonDblClk(UINT flags, CPoint point) {
  Default();
  if (!_CheckCapture(flags, point)) return;
  const bool handled = _GetMouseHandler()->OnRButtonDblClk(this, flags, point);
  m_right_handled = handled || m_right_up_handled;
}

void UIWnd::OnMButtonDown(UINT flags, CPoint point) {
  Default();
  if (_CheckCapture(flags, point)) ActivateView();  // the middle button reaches no tool
}

void UIWnd::OnContextMenu(CWnd*, CPoint point) {
  UIMouseHandler* handler = _GetMouseHandler();
  if (!handler) {
    Default();
    return;
  }
  if (m_capture) handler->OnContextMenu(this, point);
}

// --- keys ---

void UIWnd::OnKeyDown(UINT key, UINT repeat, UINT flags) {
  if (UIMouseHandler* handler = _GetMouseHandler()) handler->OnKeyDown(key, repeat, flags);
  Default();
}

void UIWnd::OnKeyUp(UINT key, UINT repeat, UINT flags) {
  if (UIMouseHandler* handler = _GetMouseHandler()) handler->OnKeyUp(key, repeat, flags);
  Default();
}

void UIWnd::OnSysKeyDown(UINT, UINT, UINT) {
  // During a drag the key is dropped, so Alt doesn't open the menu.
  if (UIMouseHandler::IsButtonDown()) return;
  // The capture change that follows clears m_capture, with an abort.
  if (m_capture) ::ReleaseCapture();
  Default();
}

void UIWnd::OnSysKeyUp(UINT, UINT, UINT) {
  if (UIMouseHandler::IsButtonDown()) return;
  if (m_capture) ::ReleaseCapture();
  Default();
}

BOOL UIWnd::PreTranslateMessage(MSG* msg) {
  if (_ProcessAccelerator(msg)) return TRUE;
  return CWnd::PreTranslateMessage(msg);
}

bool UIWnd::_ProcessAccelerator(MSG* msg) {
  WORD command = 0;
  if (!IsAccelerator(m_accelerators, m_accelerator_count, msg, &command)) return false;
  CWnd* main = MainWindow();
  if (main) {
    // 0x10000 in wParam marks the command as coming from an accelerator.
    const UINT message = msg->message == WM_KEYDOWN ? WM_COMMAND : WM_SYSCOMMAND;
    main->SendMessage(message, static_cast<WPARAM>(command) | kFromAccelerator, 0);
  }
  return true;
}

bool UIWnd::_IsAppActive() {
  const HWND foreground = ::GetForegroundWindow();
  if (!foreground) return false;
  static const DWORD ui_thread = GetCurrentThreadId();
  return GetWindowThreadProcessId(foreground, nullptr) == ui_thread;
}

// --- activation ---

void UIWnd::OnActivate(UINT, CWnd*, BOOL) { Default(); }

bool UIWnd::_TellParentView() {
  CWnd* parent = GetParent();
  if (!parent) return false;
  if (parent->IsKindOf(RUNTIME_CLASS(CView))) {
    CWnd* main = MainWindow();
    if (main && main->IsKindOf(RUNTIME_CLASS(CFrameWnd)))
      static_cast<CFrameWnd*>(main)->SetActiveView(static_cast<CView*>(parent));
  }
  parent->SendMessage(WM_UIWND_ACTIVATED, static_cast<WPARAM>(GetDlgCtrlID()), reinterpret_cast<LPARAM>(this));
  return true;
}

void UIWnd::ActivateView() {
  _TellParentView();
  SetFocus();
}

BOOL UIWnd::OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) {
  // A click activates the view before anything else, even if the chain swallows it.
  if (message == WM_LBUTTONDOWN || message == WM_RBUTTONDOWN) ActivateView();
  long long answer = result ? static_cast<long long>(*result) : 0;
  const int handled = Ostrum::MApplicationController::GetInstance()->ProcessWndMessage(
      *this, message, static_cast<unsigned long long>(wParam), static_cast<long long>(lParam), &answer);
  if (result) *result = static_cast<LRESULT>(answer);
  return handled;
}

BOOL UIWnd::_OnWndMsgBase(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) {
  return CWnd::OnWndMsg(message, wParam, lParam, result);
}
BOOL UIWnd::_OnCommandBase(WPARAM wParam, LPARAM lParam) { return CWnd::OnCommand(wParam, lParam); }
BOOL UIWnd::_OnNotifyBase(WPARAM wParam, LPARAM lParam, LRESULT* result) {
  return CWnd::OnNotify(wParam, lParam, result);
}
void UIWnd::_OnDrawBase() { CWnd::OnPaint(); }

// --- frame ---

void UIWnd::OnNcCalcSize(BOOL, NCCALCSIZE_PARAMS* params) {
  if (params) InflateRect(&params->rgrc[0], -m_frame_width, -m_frame_width);
}

void UIWnd::OnNcPaint() {
  if (m_frame_width == 0) return;
  // The frame lies around the client area: the client rectangle grown by the frame on the
  // right and bottom is the window's rectangle in window coordinates, and an inside-frame pen
  // of the frame's width covers exactly the non-client band.
  CWindowDC dc(this);
  CRect rect;
  GetClientRect(&rect);
  rect.right += 2 * m_frame_width;
  rect.bottom += 2 * m_frame_width;
  const COLORREF color = m_active ? m_active_color : m_inactive_color;
  CPen pen(PS_INSIDEFRAME, m_frame_width, color);
  CPen* old_pen = dc.SelectObject(&pen);
  CGdiObject* old_brush = dc.SelectStockObject(NULL_BRUSH);
  dc.Rectangle(&rect);
  dc.SelectObject(old_brush);
  dc.SelectObject(old_pen);
  m_drawn_frame.rect = rect;
  m_drawn_frame.color = color;
  m_drawn_frame.width = m_frame_width;
  ++m_drawn_frame.count;
}

void UIWnd::SetActive(bool active) {
  m_active = active;
  OnNcPaint();
}

bool UIWnd::IsActive() const { return m_active; }

// --- scene and hooks ---

void UIWnd::SetActiveScene(const unsigned long long& id) { m_active_scene = id; }

unsigned long long UIWnd::GetActiveScene() const {
  MDataBase* database = MDocument::GetActiveDocument() ? MDocument::GetDataBase() : nullptr;
  if (database && database->GetScene(static_cast<std::size_t>(m_active_scene))) return m_active_scene;
  // The scene is gone: the window heals itself with the first scene there is.
  if (!database) return 0xFFFFFFFF;
  const std::vector<MSceneEx*> scenes = database->GetScenes();
  if (scenes.empty() || !scenes.front()) return 0xFFFFFFFF;
  const unsigned long long first = scenes.front()->GetSceneID();
  const_cast<UIWnd*>(this)->SetActiveScene(first);
  return m_active_scene;
}

bool UIWnd::IsObjectVisible(const UIObject* object) const {
  return object && object->IsVisible(GetActiveScene());
}

void UIWnd::InvalidateDisplaySurface() {
  m_display_invalid = true;
  Invalidate(TRUE);
}

IVDisplaySurface* UIWnd::GetDisplaySurface() { return nullptr; }
bool UIWnd::GetMouseInObjectCoordinates(float*, float*, long, long, UIObject*) const { return false; }
bool UIWnd::GetMouseInEyeCoordinates(float*, float*, long, long) const { return false; }
bool UIWnd::DoOperation(MOperation&) { return false; }
void UIWnd::DoUpdateUI(MOperation&, void*) {}
void UIWnd::StartFastRendering() {}
void UIWnd::StopFastRendering() {}

bool UIWnd::IsMouseSupported(UIMouse&) const { return true; }

void UIWnd::MouseIsMoving(UIMouse&) {}

void UIWnd::OnAppendMenu(UIMouse&, CMenu&, CPoint) {}

void UIWnd::SetCursorMouseNotSupported() { SetCursor(LoadCursorW(nullptr, IDC_NO)); }

UIMouseHandler* UIWnd::_GetMouseHandler() {
  MDocument* document = MDocument::GetActiveDocument();
  return document ? document->GetMouseHandler() : nullptr;
}
