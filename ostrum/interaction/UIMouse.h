#pragma once
// UIMouse: the base of every mouse tool (measure, move, draw, navigate). A tool is a small
// state object that gets the mouse, keyboard, command and menu events of the interactive
// window the pointer is in, while it is the current tool of its document's UIMouseHandler.
// A selected tool may bring a popup into the main window's menu bar and buttons into its main
// toolbar; they go again when it is deselected.

#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/notification/NotificationCenter.h"

class CCmdUI;
class CDC;
class CMenu;
class IMouseListener;
class UIWnd;

class OSTRUM_API UIMouse : public Ostrum::NotificationCenter::ISubject {
 public:
  /// A tool without capture, menu or buttons; `listener` (not owned, may be null) is told of
  /// the pointer's moves, entries and leaves by the default handlers.
  explicit UIMouse(IMouseListener* listener = nullptr);
  /// A copy carries the capture flag only: it has no popup, no buttons and no listener of its
  /// own.
  UIMouse(const UIMouse& other);
  UIMouse& operator=(const UIMouse& other);
  ~UIMouse() override;

  /// Asks for every mouse event, also outside the window, until ReleaseCapture.
  virtual void SetCapture();
  virtual bool GetCapture() const;
  /// The tool became current: the default brings its popup and toolbar buttons.
  virtual void OnSelect();
  /// The tool stops being current for good: the default takes its popup and buttons away.
  virtual void OnDeselect();
  /// A drag was cut off (the window lost the capture): the default releases the capture.
  virtual void OnAbort(UIWnd* wnd);
  /// Another tool went on top of this one; its popup and buttons stay. Default: nothing.
  virtual void OnSuspend();
  /// The tool on top went away and this one is current again. Default: nothing.
  virtual void OnResume();
  /// Draws the tool's overlay at the end of a paint of `wnd`; `point` is the cursor in client
  /// coordinates. Default: nothing.
  virtual void OnInvalidate(CDC& dc, UIWnd* wnd, CPoint point);
  /// The number of the tool's toolbar and bitmap resources; 0xFFFFFFFF (the default) for none.
  virtual unsigned GetToolBarID();
  /// The title of the tool's main-menu popup; null (the default) for none.
  virtual const wchar_t* GetTitle();
  /// Adds the tool's items to `menu`: a context menu opened in `wnd` at `point` (client
  /// coordinates), or the tool's main-menu popup, told by a null `wnd` and point (-1,-1).
  /// Default: nothing.
  virtual void OnAppendMenu(CMenu& menu, UIWnd* wnd, CPoint point);
  /// A command for the tool; `point` is the handler's last point. True if handled; default false.
  virtual bool OnCommand(UIWnd* wnd, unsigned id, CPoint point);
  /// The look of a command's menu item or button; true if the tool answered. Default false.
  virtual bool OnUpdateCommandUI(UIWnd* wnd, unsigned id, CCmdUI* cmd_ui, CPoint point);
  virtual void OnKeyDown(unsigned nChar, unsigned nRepCnt, unsigned nFlags);
  virtual void OnKeyUp(unsigned nChar, unsigned nRepCnt, unsigned nFlags);
  /// Default: tells the listener.
  virtual void OnMouseEnterWindow(UIWnd* wnd);
  /// Default: tells the listener.
  virtual void OnMouseLeaveWindow(UIWnd* wnd);
  /// Default: tells the listener. `flags` are MK_* bits, `point` in client coordinates.
  virtual void OnMouseMove(UIWnd* wnd, unsigned flags, CPoint point);
  /// The button operations answer whether the tool handled the event (the window then keeps it
  /// from camera navigation). The defaults keep the button flags and answer false; an override
  /// calls them to keep the flags.
  virtual bool OnLButtonDown(UIWnd* wnd, unsigned flags, CPoint point);
  virtual bool OnLButtonUp(UIWnd* wnd, unsigned flags, CPoint point);
  virtual bool OnLButtonDblClk(UIWnd* wnd, unsigned flags, CPoint point);
  virtual bool OnRButtonDown(UIWnd* wnd, unsigned flags, CPoint point);
  virtual bool OnRButtonUp(UIWnd* wnd, unsigned flags, CPoint point);
  virtual bool OnRButtonDblClk(UIWnd* wnd, unsigned flags, CPoint point);
  /// Whether the tool brings a main-menu popup when selected (default true).
  virtual bool HasDynamicMenu();
  /// Whether the window may scroll while this tool is current (default true).
  virtual bool IsScrollAllowed() const;

  /// Gives up the capture; the handler calls it after every abort.
  void ReleaseCapture();
  /// Whether the left or right button went down on this tool and not up yet.
  bool IsLeftDown() const { return m_left_down; }
  bool IsRightDown() const { return m_right_down; }

  /// The main-menu title in front of which tools put their popups ("Help" at start). Null is
  /// taken as "".
  static void SetContextPositionTitle(const wchar_t* title);
  static const wchar_t* GetContextPositionTitle();

 protected:
  /// Puts the tool's popup into the main window's menu bar (in front of the context position
  /// title, or at the end) and its toolbar resource's buttons, behind a separator, at the end of
  /// the main toolbar. Without a main frame window, menu bar or toolbar, nothing.
  void _AddContextItems();
  /// Takes out what _AddContextItems put in.
  void _RemoveContextItems();

  std::wstring m_menu_title;              ///< the popup's title in the menu bar; empty while none
  uint32_t m_first_button_command = 0;    ///< the first button's command; 0 while none
  uint32_t m_button_count = 0;            ///< toolbar entries added, separators included
  int32_t m_image_count = 0;              ///< images added to the toolbar's image list
  int32_t m_first_image = -1;             ///< index of the first added image; -1 while none
  bool m_capture = false;
  bool m_left_down = false;
  bool m_right_down = false;
  IMouseListener* m_listener = nullptr;

  static std::wstring mg_context_position_title;
};
