#pragma once
// UIWnd: the base of every window in which the user works with the mouse tools: a child window
// inside a view that turns the raw message stream into the calls of the document's mouse
// handler. It tracks hover by capture: when the pointer enters, the window takes the mouse
// capture and keeps it while the pointer stays inside, which is how it learns of the leave
// without a timer. It filters repeated moves, shows in a thin frame whether it is the active
// window, and passes every message through the application's window chain.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/Accelerator.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/foundation/platform/CRect.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/GdiObjects.h"

class CMenu;
class IVDisplaySurface;
class MOperation;
class UIMouse;
class UIMouseHandler;
class UIObject;

class OSTRUM_API UIWnd : public CWnd {
  DECLARE_DYNCREATE(UIWnd)
  DECLARE_MESSAGE_MAP()

 public:
  /// The message a window sends its parent view when it is clicked or activated: wParam is the
  /// window's control id, lParam the window.
  static constexpr UINT WM_UIWND_ACTIVATED = WM_USER + 1000;
  /// The window style every such window gets, whatever Create is given: WS_CHILD, WS_VISIBLE,
  /// WS_CLIPSIBLINGS and WS_CLIPCHILDREN.
  static constexpr DWORD kStyle = 0x56000000;
  /// The class style of the "UIWnd" window class: CS_VREDRAW, CS_HREDRAW, CS_DBLCLKS, CS_OWNDC.
  static constexpr UINT kClassStyle = 43;
  /// The value of a press point while no press is stored; no mouse position equals it.
  static constexpr LONG kNoPoint = 0x7FFFFFFF;
  /// The resource id of the accelerator table in the application's resources.
  static constexpr UINT kAcceleratorResource = 128;

  UIWnd();
  ~UIWnd() override;

  /// Registers the "UIWnd" class on the first call and makes the child window. `style` is
  /// ignored: every such window gets kStyle, no extended style and no title.
  bool Create(unsigned long style, const RECT& rect, CWnd* parent, unsigned id);

  void SetActiveColor(COLORREF color) { m_active_color = color; }
  COLORREF GetActiveColor() const { return m_active_color; }
  void SetInactiveColor(COLORREF color) { m_inactive_color = color; }
  COLORREF GetInactiveColor() const { return m_inactive_color; }
  /// Whether the pointer is inside and the window holds the capture for it.
  bool HasCapture() const { return m_capture; }
  /// Double-precision forms of the float overloads: each output that isn't null gets three
  /// components; the result is the float overload's.
  bool GetMouseInObjectCoordinates(double* point, double* direction, long x, long y, UIObject* object) const;
  bool GetMouseInEyeCoordinates(double* point, double* direction, long x, long y) const;
  /// Kept for compatibility; the handler always comes from the active document.
  void SetMouseHandler(UIMouseHandler* handler);

  // --- hooks a derived window may replace ---
  virtual void _OnMouseLeaveWindow(unsigned flags, CPoint point);
  virtual void _OnMouseEnterWindow(unsigned flags, CPoint point);
  virtual void _OnMouseMove(unsigned flags, CPoint point);
  /// The tool's abort: the capture is gone.
  virtual void _OnMouseAbort();
  /// The surface a 3D window draws into; none here.
  virtual IVDisplaySurface* GetDisplaySurface();
  /// The pointer's ray in an object's or the eye's coordinates; none here (false).
  virtual bool GetMouseInObjectCoordinates(float* point, float* direction, long x, long y, UIObject* object) const;
  virtual bool GetMouseInEyeCoordinates(float* point, float* direction, long x, long y) const;
  /// Stores whether this is the active window and redraws the frame at once.
  virtual void SetActive(bool active);
  virtual bool IsActive() const;
  /// Whether this window lets `mouse` have its events; a refused tool gets none and the user
  /// sees the not-supported cursor. The default accepts every tool.
  virtual bool IsMouseSupported(UIMouse& mouse) const;
  /// Told of every pointer move over this window for `mouse`, before the support test. The
  /// default does nothing.
  virtual void MouseIsMoving(UIMouse& mouse);
  /// Adds the window's own items to a context menu, behind those of `mouse`; `point` in client
  /// coordinates. The default adds none.
  virtual void OnAppendMenu(UIMouse& mouse, CMenu& menu, CPoint point);
  /// Carries out an operation for this window; whether the window dealt with it. The host's
  /// views pass their operations on to their windows; the base deals with none.
  virtual bool DoOperation(MOperation& operation);
  /// Brings the window up to date after an operation; the base does nothing.
  virtual void DoUpdateUI(MOperation& operation, void* hint);
  virtual void StartFastRendering();
  virtual void StopFastRendering();
  /// Marks the drawing surface invalid and invalidates the client area with erasing.
  virtual void InvalidateDisplaySurface();
  virtual void SetActiveScene(const unsigned long long& id);
  /// The scene shown here; a scene no longer in the database is replaced by the first one
  /// there, and with none at all the answer is 0xFFFFFFFF.
  virtual unsigned long long GetActiveScene() const;
  virtual bool IsObjectVisible(const UIObject* object) const;
  /// Shows the not-supported cursor (IDC_NO).
  virtual void SetCursorMouseNotSupported();
  /// Makes the parent view the active view of the main frame, tells it with
  /// WM_UIWND_ACTIVATED and gives this window the focus.
  virtual void ActivateView();

  /// Every message goes through the application's window chain, which ends in the window's
  /// own handling; a button press first activates the view.
  BOOL OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) override;
  /// The window's accelerators first.
  BOOL PreTranslateMessage(MSG* msg) override;

  /// The last frame the window drew in OnNcPaint into its window image, in window coordinates,
  /// with a count of frames drawn. The pixels are the truth (Ostrum::Desktop::GetWindowPixel);
  /// this summary stays for derived windows and hosts that ask what was drawn last.
  struct Frame {
    CRect rect;
    COLORREF color = 0;
    int width = 0;
    int count = 0;  ///< frames drawn so far
  };
  const Frame& GetDrawnFrame() const { return m_drawn_frame; }

 protected:
  /// The active document's mouse handler; null without an active document.
  UIMouseHandler* _GetMouseHandler();
  /// Whether the foreground window belongs to the user-interface thread.
  bool _IsAppActive();
  /// Turns an accelerator key into WM_COMMAND (keys) or WM_SYSCOMMAND (others) to the main
  /// window, with wParam = command | 0x10000; whether it was one.
  bool _ProcessAccelerator(MSG* msg);
  /// The gate before a button event: whether the event goes to the tool.
  bool _CheckCapture(unsigned flags, CPoint point);

  BOOL OnSetCursor(CWnd* window, UINT hit, UINT message);
  void OnRButtonDown(UINT flags, CPoint point);
  void OnRButtonUp(UINT flags, CPoint point);
  void OnRButtonDblClk(UINT flags, CPoint point);
  void OnMouseMove(UINT flags, CPoint point);
  void OnLButtonDown(UINT flags, CPoint point);
  void OnLButtonUp(UINT flags, CPoint point);
  void OnMButtonDown(UINT flags, CPoint point);
  void OnCaptureChanged(CWnd* window);
  void OnKeyUp(UINT key, UINT repeat, UINT flags);
  void OnKeyDown(UINT key, UINT repeat, UINT flags);
  void OnSysKeyUp(UINT key, UINT repeat, UINT flags);
  void OnSysKeyDown(UINT key, UINT repeat, UINT flags);
  void OnActivate(UINT state, CWnd* other, BOOL minimized);
  void OnContextMenu(CWnd* window, CPoint point);
  void OnLButtonDblClk(UINT flags, CPoint point);
  void OnNcCalcSize(BOOL calc_valid_rects, NCCALCSIZE_PARAMS* params);
  void OnNcPaint();

  bool m_active = false;
  bool m_capture = false;
  COLORREF m_inactive_color;
  COLORREF m_active_color = 0xFF0000;
  int32_t m_frame_width = 1;
  int32_t m_accelerator_count = 0;
  HACCEL m_accelerators = nullptr;
  bool m_display_invalid = false;
  unsigned long long m_active_scene = 0xFFFFFFFF;
  bool m_left_handled = false;
  bool m_right_handled = false;
  CPoint m_left_down_point{kNoPoint, kNoPoint};
  CPoint m_right_down_point{kNoPoint, kNoPoint};
  bool m_left_up_handled = false;
  bool m_right_up_handled = false;

 private:
  // The ways back into CWnd's own handling for the application's message chain.
  BOOL _OnWndMsgBase(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result);
  BOOL _OnCommandBase(WPARAM wParam, LPARAM lParam);
  BOOL _OnNotifyBase(WPARAM wParam, LPARAM lParam, LRESULT* result);
  void _OnDrawBase();
  /// Sends WM_UIWND_ACTIVATED to the parent and makes it the main frame's active view if it is
  /// a view; answers whether there was a parent.
  bool _TellParentView();

  Frame m_drawn_frame;
};
