#pragma once
// UIMouseHandler: the stack of mouse tools of one document. The top tool gets every event the
// document's interactive windows pass on; the handler settles which tool is current, in which
// order tools hear that they are selected, deselected, suspended and resumed, when a window
// refuses a tool, who frees a tool, and how the right button's context menu is built.

#include <vector>

#include <boost/shared_ptr.hpp>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/interaction/PtrHolder.h"
#include "ostrum/interaction/UIMouse.h"

class CCmdUI;
class CDC;
class CMenu;
class UIWnd;

class OSTRUM_API UIMouseHandler {
 public:
  /// A handler whose tools are disposed of by `strategy`; null means a PtrStrategy, which
  /// deletes them. The stack starts empty and there is no default tool.
  explicit UIMouseHandler(const boost::shared_ptr<IPtrStrategy<UIMouse>>& strategy = {});
  /// Copies share the tools, the default tool and the strategy: only one of them may unwind
  /// its stack.
  UIMouseHandler(const UIMouseHandler&) = default;
  UIMouseHandler& operator=(const UIMouseHandler&) = default;
  /// Deselects and frees the tools on the stack, then frees the default tool.
  virtual ~UIMouseHandler();

  // --- events: each goes to the top tool; with no tool it is dropped (false) ---
  /// Keys go to the top tool without a window test.
  virtual void OnKeyDown(unsigned nChar, unsigned nRepCnt, unsigned nFlags);
  virtual void OnKeyUp(unsigned nChar, unsigned nRepCnt, unsigned nFlags);
  /// A button event in `wnd` at `point` (client coordinates): if the window refuses the top
  /// tool it shows the not-supported cursor and the tool hears nothing (false); otherwise the
  /// window and point are recorded and the tool's answer returned.
  virtual bool OnLButtonDown(UIWnd* wnd, unsigned flags, CPoint point);
  virtual bool OnLButtonUp(UIWnd* wnd, unsigned flags, CPoint point);
  virtual bool OnLButtonDblClk(UIWnd* wnd, unsigned flags, CPoint point);
  virtual bool OnRButtonDown(UIWnd* wnd, unsigned flags, CPoint point);
  virtual bool OnRButtonUp(UIWnd* wnd, unsigned flags, CPoint point);
  virtual bool OnRButtonDblClk(UIWnd* wnd, unsigned flags, CPoint point);
  /// As the button events, but the window hears MouseIsMoving first, refused or not.
  virtual void OnMouseMove(UIWnd* wnd, unsigned flags, CPoint point);
  /// As the button events, recording only the window.
  virtual void OnMouseEnterWindow(UIWnd* wnd);
  virtual void OnMouseLeaveWindow(UIWnd* wnd);
  /// A drag was cut off: the tool's OnAbort, then its capture is released whatever OnAbort did
  /// (unless the window refuses the tool).
  virtual void OnAbort(UIWnd* wnd);
  /// A command for the top tool, with the last recorded point; the window is recorded even
  /// when there is no tool.
  virtual bool OnCommand(UIWnd* wnd, unsigned id);
  virtual bool OnUpdateCommandUI(UIWnd* wnd, CCmdUI* cmd_ui);
  /// The right button's context menu at `point` (screen coordinates): window and point are
  /// recorded (the point stays in screen coordinates); if context menus are enabled, the menu
  /// of the top tool and the window is shown (_ShowContextMenu).
  virtual void OnContextMenu(UIWnd* wnd, CPoint point);
  /// The top tool's overlay, with the cursor in `wnd`'s client coordinates.
  virtual void OnInvalidate(CDC& dc, UIWnd* wnd);

  // --- the stack ---
  /// Unwinds the stack (deselecting every tool), frees the present default tool, and takes
  /// `mouse` (owned, may be null) as the default. The new default is not selected.
  void SetDefaultMouse(UIMouse* mouse);
  UIMouse* GetDefaultMouse();
  /// Makes `mouse` (owned from here on) current. Not additional: the stack is unwound first.
  /// Additional: it goes on top and the tool below is suspended, unless the top is of the same
  /// class, in which case `mouse` is freed at once and must not be used again. Null selects the
  /// default tool anew (as not additional). Always true.
  bool SelectMouse(UIMouse* mouse, bool additional);
  /// Deselects and frees the top tool and resumes the one below, or selects the default tool
  /// if none is below. Nothing if the stack is empty or the default tool is on top. Always true.
  bool DeselectMouse();
  /// Puts a transient tool (owned) on top of a stack of one, whatever its class; on a stack of
  /// two or more it is deleted at once; on an empty stack nothing happens and the caller keeps it.
  void ActivateAdditionalMouseStub(UIMouse* mouse);
  /// DeselectMouse().
  void DeactivateAdditionalMouseStub();
  /// The top tool; null on an empty stack.
  const UIMouse* GetCurrentMouse() const;
  /// The tool that would be current after DeselectMouse: the one below the top, else the default.
  const UIMouse* GetDeselectMouse() const;
  /// Whether a tool stands above another.
  bool IsCurrentMouseAdditional() const;
  /// Whether the top tool asked for the capture.
  bool HasCapture() const;
  /// The point of the last event (client coordinates, screen coordinates after a context
  /// menu); false before the first event.
  bool GetLastMousePosition(CPoint& point) const;
  bool IsWindowOfLastEvent(UIWnd* wnd) const;

  /// The logical buttons now, from the physical state and the button swap.
  static bool IsLButtonDown();
  static bool IsRButtonDown();
  /// Either button down, swap or not.
  static bool IsButtonDown();
  /// Whether the right button opens context menus (true at start).
  static bool IsRButtonContextMenuEnabled();
  static void EnableRButtonContextMenu(bool enable);

 protected:
  /// Shows the context menu of `mouse` and `wnd` at `point` (client coordinates): an empty
  /// popup is filled by _InitContextMenu and tracked on the main window; a chosen command comes
  /// back through OnCommand.
  virtual void _ShowContextMenu(UIMouse* mouse, UIWnd* wnd, CPoint point);
  /// Fills `menu`: the tool's items, a separator, the window's items; then access keys. False
  /// if the menu stayed empty.
  bool _InitContextMenu(CMenu& menu, UIMouse* mouse, UIWnd* wnd, CPoint point);
  /// A copy of the top holder, or a holder of null with the handler's strategy.
  PtrHolder<UIMouse> _GetTopMouse() const;
  bool _SelectMouse(PtrHolder<UIMouse> holder, bool additional);
  /// Deselects the tools from the top down, resuming each one below for a moment, and frees
  /// all but the default tool.
  void _CleanUpStack();
  /// Access keys for `menu`'s items (but those in `excluded`): old "&"s go; the first
  /// character of a text not in the used list gets the key, and the character *behind* it joins
  /// the list; "&&" stays and drops the character behind it. Texts are read by command, up to
  /// 160 characters.
  static void _AssignMenuMnemonics(CMenu& menu, const std::vector<unsigned>& excluded);
  /// The first top-level entry of `menu` titled `title`, ignoring "&", "." and case; 0xFFFFFFFF
  /// if none.
  static unsigned _FindMenuPosition(CMenu& menu, const wchar_t* title);

  CPoint m_last_point;
  UIWnd* m_last_wnd = nullptr;
  boost::shared_ptr<IPtrStrategy<UIMouse>> m_strategy;
  PtrHolder<UIMouse> m_default_mouse;
  std::vector<PtrHolder<UIMouse>> m_stack;

  static bool mg_rbutton_context_menu;

 private:
  template <class Event>
  bool _Dispatch(UIWnd* wnd, CPoint point, bool record_point, Event&& event);
  bool _Holds(const UIMouse* mouse) const;
};
