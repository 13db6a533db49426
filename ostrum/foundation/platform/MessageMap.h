#pragma once
// Message maps: per class, a static table from messages and commands to member functions, with
// the base class's table behind it. Each entry holds a thunk made for its handler's exact
// signature: the cracker of the message unpacks wParam and lParam into the handler's arguments
// (points as two signed 16-bit values) and packs its answer, so a handler of the wrong type
// does not compile and no member pointer is ever cast.
//
//   class CMyView : public CWnd {
//     DECLARE_MESSAGE_MAP()
//     void OnMouseMove(UINT flags, CPoint point);
//   };
//   BEGIN_MESSAGE_MAP(CMyView, CWnd)
//     ON_WM_MOUSEMOVE()
//     ON_COMMAND(ID_EDIT_UNDO, OnUndo)
//   END_MESSAGE_MAP()
//
// Later parts of the model add crackers and ON_ macros for their messages; the mechanism stays.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CCmdTarget;
class CWnd;
struct CREATESTRUCTW;
struct NMHDR;

namespace Ostrum::Desktop {

/// Calls an entry's handler on `target` with the message's parameters and answers the
/// procedure's result.
using MessageThunk = LRESULT (*)(CCmdTarget& target, WPARAM wParam, LPARAM lParam);

struct MessageMapEntry {
  UINT message;    ///< the window message; WM_COMMAND or WM_NOTIFY for command and notify entries
  UINT code;       ///< their notification code (CN_COMMAND for menus and accelerators; the low
                   ///< word of a WM_NOTIFY's code)
  UINT first_id;   ///< their ids, first to last
  UINT last_id;
  MessageThunk thunk;  ///< null ends the table
};

struct MessageMap {
  const MessageMap* (*base)();     ///< the base class's map, null at the root
  const MessageMapEntry* entries;  ///< ends with an entry whose thunk is null
};

/// The window of a handle as the handlers receive it (CWnd::FromHandle); defined with CWnd.
OSTRUM_API CWnd* WindowObjectOf(HWND hwnd);

/// The thunk of `Handler` for messages unpacked by `Cracker`.
template <class Cracker, auto Handler>
LRESULT Thunk(CCmdTarget& target, WPARAM wParam, LPARAM lParam) {
  return Cracker::Call(target, Handler, wParam, lParam);
}

namespace Crackers {

/// void (UINT flags, CPoint point): mouse moves, presses, releases and double clicks.
struct Mouse {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(UINT, CPoint), WPARAM w, LPARAM l) {
    (static_cast<C&>(t).*h)(static_cast<UINT>(w), CPoint(GET_X_LPARAM(l), GET_Y_LPARAM(l)));
    return 0;
  }
};
/// BOOL (UINT flags, short delta, CPoint screen_point): the wheel.
struct Wheel {
  template <class C>
  static LRESULT Call(CCmdTarget& t, BOOL (C::*h)(UINT, short, CPoint), WPARAM w, LPARAM l) {
    return (static_cast<C&>(t).*h)(LOWORD(w), static_cast<short>(HIWORD(w)), CPoint(GET_X_LPARAM(l), GET_Y_LPARAM(l)));
  }
};
/// void (): WM_PAINT, WM_NCPAINT, WM_DESTROY, WM_NCDESTROY, WM_CLOSE.
struct Void {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(), WPARAM, LPARAM) {
    (static_cast<C&>(t).*h)();
    return 0;
  }
};
/// BOOL (CDC*): WM_ERASEBKGND, the context in wParam (CDC::FromHandle, so CDC.h must be
/// included where the map is written).
struct EraseBkgnd {
  template <class C, class D>
  static LRESULT Call(CCmdTarget& t, BOOL (C::*h)(D*), WPARAM w, LPARAM) {
    return (static_cast<C&>(t).*h)(D::FromHandle(reinterpret_cast<HDC>(w)));
  }
};
/// int (CREATESTRUCTW*): WM_CREATE and WM_NCCREATE answer the handler's value.
struct Create {
  template <class C>
  static LRESULT Call(CCmdTarget& t, int (C::*h)(CREATESTRUCTW*), WPARAM, LPARAM l) {
    return (static_cast<C&>(t).*h)(reinterpret_cast<CREATESTRUCTW*>(l));
  }
};
/// void (UINT type, int cx, int cy): WM_SIZE.
struct Size {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(UINT, int, int), WPARAM w, LPARAM l) {
    (static_cast<C&>(t).*h)(static_cast<UINT>(w), LOWORD(static_cast<uintptr_t>(l)), HIWORD(static_cast<uintptr_t>(l)));
    return 0;
  }
};
/// void (int x, int y): WM_MOVE, signed.
struct Move {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(int, int), WPARAM, LPARAM l) {
    (static_cast<C&>(t).*h)(GET_X_LPARAM(l), GET_Y_LPARAM(l));
    return 0;
  }
};
/// BOOL (CWnd* window, UINT hit, UINT message): WM_SETCURSOR.
struct SetCursor {
  template <class C>
  static LRESULT Call(CCmdTarget& t, BOOL (C::*h)(CWnd*, UINT, UINT), WPARAM w, LPARAM l) {
    return (static_cast<C&>(t).*h)(WindowObjectOf(reinterpret_cast<HWND>(w)), LOWORD(static_cast<uintptr_t>(l)),
                                   HIWORD(static_cast<uintptr_t>(l)));
  }
};
/// int (CWnd* top, UINT hit, UINT message): WM_MOUSEACTIVATE.
struct MouseActivate {
  template <class C>
  static LRESULT Call(CCmdTarget& t, int (C::*h)(CWnd*, UINT, UINT), WPARAM w, LPARAM l) {
    return (static_cast<C&>(t).*h)(WindowObjectOf(reinterpret_cast<HWND>(w)), LOWORD(static_cast<uintptr_t>(l)),
                                   HIWORD(static_cast<uintptr_t>(l)));
  }
};
/// void (CWnd*) with the window in lParam: WM_CAPTURECHANGED.
struct WindowInLParam {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(CWnd*), WPARAM, LPARAM l) {
    (static_cast<C&>(t).*h)(WindowObjectOf(reinterpret_cast<HWND>(l)));
    return 0;
  }
};
/// void (CWnd*) with the window in wParam: WM_SETFOCUS, WM_KILLFOCUS.
struct WindowInWParam {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(CWnd*), WPARAM w, LPARAM) {
    (static_cast<C&>(t).*h)(WindowObjectOf(reinterpret_cast<HWND>(w)));
    return 0;
  }
};
/// void (UINT state, CWnd* other, BOOL minimized): WM_ACTIVATE.
struct Activate {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(UINT, CWnd*, BOOL), WPARAM w, LPARAM l) {
    (static_cast<C&>(t).*h)(LOWORD(w), WindowObjectOf(reinterpret_cast<HWND>(l)), HIWORD(w));
    return 0;
  }
};
/// void (BOOL active, DWORD thread): WM_ACTIVATEAPP.
struct ActivateApp {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(BOOL, DWORD), WPARAM w, LPARAM l) {
    (static_cast<C&>(t).*h)(static_cast<BOOL>(w), static_cast<DWORD>(l));
    return 0;
  }
};
/// void (UINT key, UINT repeat, UINT flags): key and character messages.
struct Key {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(UINT, UINT, UINT), WPARAM w, LPARAM l) {
    (static_cast<C&>(t).*h)(static_cast<UINT>(w), LOWORD(static_cast<uintptr_t>(l)), HIWORD(static_cast<uintptr_t>(l)));
    return 0;
  }
};
/// void (CWnd* window, CPoint screen_point): WM_CONTEXTMENU.
struct ContextMenu {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(CWnd*, CPoint), WPARAM w, LPARAM l) {
    (static_cast<C&>(t).*h)(WindowObjectOf(reinterpret_cast<HWND>(w)), CPoint(GET_X_LPARAM(l), GET_Y_LPARAM(l)));
    return 0;
  }
};
/// void (BOOL calc_valid_rects, NCCALCSIZE_PARAMS*): WM_NCCALCSIZE (with FALSE, only the first
/// rectangle is there).
struct NcCalcSize {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(BOOL, NCCALCSIZE_PARAMS*), WPARAM w, LPARAM l) {
    (static_cast<C&>(t).*h)(static_cast<BOOL>(w), reinterpret_cast<NCCALCSIZE_PARAMS*>(l));
    return 0;
  }
};
/// void (BOOL, UINT): WM_SHOWWINDOW.
struct BoolUint {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(BOOL, UINT), WPARAM w, LPARAM l) {
    (static_cast<C&>(t).*h)(static_cast<BOOL>(w), static_cast<UINT>(l));
    return 0;
  }
};
/// void (BOOL): WM_ENABLE.
struct Bool {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(BOOL), WPARAM w, LPARAM) {
    (static_cast<C&>(t).*h)(static_cast<BOOL>(w));
    return 0;
  }
};
/// void (UINT_PTR id): WM_TIMER.
struct Timer {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(UINT_PTR), WPARAM w, LPARAM) {
    (static_cast<C&>(t).*h)(static_cast<UINT_PTR>(w));
    return 0;
  }
};
/// void (UINT id, LPARAM): WM_SYSCOMMAND.
struct SysCommand {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(UINT, LPARAM), WPARAM w, LPARAM l) {
    (static_cast<C&>(t).*h)(static_cast<UINT>(w), l);
    return 0;
  }
};
/// void (UINT why, CWnd* who): WM_ENTERIDLE.
struct EnterIdle {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(UINT, CWnd*), WPARAM w, LPARAM l) {
    (static_cast<C&>(t).*h)(static_cast<UINT>(w), WindowObjectOf(reinterpret_cast<HWND>(l)));
    return 0;
  }
};
/// LRESULT (WPARAM, LPARAM): ON_MESSAGE, as it comes.
struct Raw {
  template <class C>
  static LRESULT Call(CCmdTarget& t, LRESULT (C::*h)(WPARAM, LPARAM), WPARAM w, LPARAM l) {
    return (static_cast<C&>(t).*h)(w, l);
  }
};
/// void (): ON_COMMAND.
struct Command {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(), WPARAM, LPARAM) {
    (static_cast<C&>(t).*h)();
    return 1;
  }
};
/// void (UINT id): ON_COMMAND_RANGE, with the command's id.
struct CommandRange {
  template <class C>
  static LRESULT Call(CCmdTarget& t, void (C::*h)(UINT), WPARAM w, LPARAM) {
    (static_cast<C&>(t).*h)(static_cast<UINT>(w));
    return 1;
  }
};

/// The arguments of a notify entry's handler, behind its thunk's lParam.
struct NotifyArguments {
  ::NMHDR* header;
  LRESULT* result;
};
/// BOOL (UINT id, NMHDR*, LRESULT*): ON_NOTIFY_EX_RANGE, answering whether it handled the
/// notification (false lets the search go on).
struct NotifyEx {
  template <class C>
  static LRESULT Call(CCmdTarget& t, BOOL (C::*h)(UINT, ::NMHDR*, LRESULT*), WPARAM w, LPARAM l) {
    const auto* args = reinterpret_cast<const NotifyArguments*>(l);
    return (static_cast<C&>(t).*h)(static_cast<UINT>(w), args->header, args->result);
  }
};

}  // namespace Crackers

}  // namespace Ostrum::Desktop

/// The command notification code of menus and accelerators in a command entry.
constexpr UINT CN_COMMAND = 0;

/// Declares a class's message map; the class derives from CCmdTarget and defines the map with
/// BEGIN_MESSAGE_MAP ... END_MESSAGE_MAP.
#define DECLARE_MESSAGE_MAP()                                               \
 protected:                                                                 \
  static const ::Ostrum::Desktop::MessageMap* GetThisMessageMap();          \
  const ::Ostrum::Desktop::MessageMap* GetMessageMap() const override;

#define BEGIN_MESSAGE_MAP(theClass, baseClass)                                                      \
  const ::Ostrum::Desktop::MessageMap* theClass::GetMessageMap() const { return GetThisMessageMap(); } \
  const ::Ostrum::Desktop::MessageMap* theClass::GetThisMessageMap() {                             \
    using ThisClass [[maybe_unused]] = theClass;                                                                   \
    using TheBaseClass [[maybe_unused]] = baseClass;                                                               \
    static const ::Ostrum::Desktop::MessageMapEntry entries[] = {
#define END_MESSAGE_MAP()                                                              \
  {0, 0, 0, 0, nullptr}};                                                              \
  static const ::Ostrum::Desktop::MessageMap map{&TheBaseClass::GetThisMessageMap, entries}; \
  return &map;                                                                         \
  }

#define OSTRUM_MAP_ENTRY(message, cracker, handler) \
  {message, 0, 0, 0, &::Ostrum::Desktop::Thunk<::Ostrum::Desktop::Crackers::cracker, &ThisClass::handler>},

#define ON_WM_CREATE() OSTRUM_MAP_ENTRY(WM_CREATE, Create, OnCreate)
#define ON_WM_NCCREATE() OSTRUM_MAP_ENTRY(WM_NCCREATE, Create, OnNcCreate)
#define ON_WM_DESTROY() OSTRUM_MAP_ENTRY(WM_DESTROY, Void, OnDestroy)
#define ON_WM_NCDESTROY() OSTRUM_MAP_ENTRY(WM_NCDESTROY, Void, OnNcDestroy)
#define ON_WM_SIZE() OSTRUM_MAP_ENTRY(WM_SIZE, Size, OnSize)
#define ON_WM_MOVE() OSTRUM_MAP_ENTRY(WM_MOVE, Move, OnMove)
#define ON_WM_PAINT() OSTRUM_MAP_ENTRY(WM_PAINT, Void, OnPaint)
#define ON_WM_ERASEBKGND() OSTRUM_MAP_ENTRY(WM_ERASEBKGND, EraseBkgnd, OnEraseBkgnd)
#define ON_WM_NCPAINT() OSTRUM_MAP_ENTRY(WM_NCPAINT, Void, OnNcPaint)
#define ON_WM_NCCALCSIZE() OSTRUM_MAP_ENTRY(WM_NCCALCSIZE, NcCalcSize, OnNcCalcSize)
#define ON_WM_CLOSE() OSTRUM_MAP_ENTRY(WM_CLOSE, Void, OnClose)
#define ON_WM_SHOWWINDOW() OSTRUM_MAP_ENTRY(WM_SHOWWINDOW, BoolUint, OnShowWindow)
#define ON_WM_ENABLE() OSTRUM_MAP_ENTRY(WM_ENABLE, Bool, OnEnable)
#define ON_WM_TIMER() OSTRUM_MAP_ENTRY(WM_TIMER, Timer, OnTimer)
#define ON_WM_SYSCOMMAND() OSTRUM_MAP_ENTRY(WM_SYSCOMMAND, SysCommand, OnSysCommand)
#define ON_WM_ENTERIDLE() OSTRUM_MAP_ENTRY(WM_ENTERIDLE, EnterIdle, OnEnterIdle)
#define ON_WM_SETCURSOR() OSTRUM_MAP_ENTRY(WM_SETCURSOR, SetCursor, OnSetCursor)
#define ON_WM_MOUSEACTIVATE() OSTRUM_MAP_ENTRY(WM_MOUSEACTIVATE, MouseActivate, OnMouseActivate)
#define ON_WM_MOUSEMOVE() OSTRUM_MAP_ENTRY(WM_MOUSEMOVE, Mouse, OnMouseMove)
#define ON_WM_LBUTTONDOWN() OSTRUM_MAP_ENTRY(WM_LBUTTONDOWN, Mouse, OnLButtonDown)
#define ON_WM_LBUTTONUP() OSTRUM_MAP_ENTRY(WM_LBUTTONUP, Mouse, OnLButtonUp)
#define ON_WM_LBUTTONDBLCLK() OSTRUM_MAP_ENTRY(WM_LBUTTONDBLCLK, Mouse, OnLButtonDblClk)
#define ON_WM_RBUTTONDOWN() OSTRUM_MAP_ENTRY(WM_RBUTTONDOWN, Mouse, OnRButtonDown)
#define ON_WM_RBUTTONUP() OSTRUM_MAP_ENTRY(WM_RBUTTONUP, Mouse, OnRButtonUp)
#define ON_WM_RBUTTONDBLCLK() OSTRUM_MAP_ENTRY(WM_RBUTTONDBLCLK, Mouse, OnRButtonDblClk)
#define ON_WM_MBUTTONDOWN() OSTRUM_MAP_ENTRY(WM_MBUTTONDOWN, Mouse, OnMButtonDown)
#define ON_WM_MBUTTONUP() OSTRUM_MAP_ENTRY(WM_MBUTTONUP, Mouse, OnMButtonUp)
#define ON_WM_MBUTTONDBLCLK() OSTRUM_MAP_ENTRY(WM_MBUTTONDBLCLK, Mouse, OnMButtonDblClk)
#define ON_WM_MOUSEWHEEL() OSTRUM_MAP_ENTRY(WM_MOUSEWHEEL, Wheel, OnMouseWheel)
#define ON_WM_CAPTURECHANGED() OSTRUM_MAP_ENTRY(WM_CAPTURECHANGED, WindowInLParam, OnCaptureChanged)
#define ON_WM_SETFOCUS() OSTRUM_MAP_ENTRY(WM_SETFOCUS, WindowInWParam, OnSetFocus)
#define ON_WM_KILLFOCUS() OSTRUM_MAP_ENTRY(WM_KILLFOCUS, WindowInWParam, OnKillFocus)
#define ON_WM_ACTIVATE() OSTRUM_MAP_ENTRY(WM_ACTIVATE, Activate, OnActivate)
#define ON_WM_ACTIVATEAPP() OSTRUM_MAP_ENTRY(WM_ACTIVATEAPP, ActivateApp, OnActivateApp)
#define ON_WM_KEYDOWN() OSTRUM_MAP_ENTRY(WM_KEYDOWN, Key, OnKeyDown)
#define ON_WM_KEYUP() OSTRUM_MAP_ENTRY(WM_KEYUP, Key, OnKeyUp)
#define ON_WM_SYSKEYDOWN() OSTRUM_MAP_ENTRY(WM_SYSKEYDOWN, Key, OnSysKeyDown)
#define ON_WM_SYSKEYUP() OSTRUM_MAP_ENTRY(WM_SYSKEYUP, Key, OnSysKeyUp)
#define ON_WM_CHAR() OSTRUM_MAP_ENTRY(WM_CHAR, Key, OnChar)
#define ON_WM_CONTEXTMENU() OSTRUM_MAP_ENTRY(WM_CONTEXTMENU, ContextMenu, OnContextMenu)
/// Any message, to a handler LRESULT (WPARAM, LPARAM).
#define ON_MESSAGE(message, handler) OSTRUM_MAP_ENTRY(message, Raw, handler)
/// A command (menu, accelerator, control with code 0) to a handler void ().
/// A WM_NOTIFY with the code `code` from the controls `first` to `last`.
#define ON_NOTIFY_EX_RANGE(code, first, last, handler)                                         \
  {WM_NOTIFY, static_cast<UINT>(LOWORD(code)), static_cast<UINT>(first), static_cast<UINT>(last), \
   &::Ostrum::Desktop::Thunk<::Ostrum::Desktop::Crackers::NotifyEx, &ThisClass::handler>},

#define ON_COMMAND(id, handler)                                                             \
  {WM_COMMAND, CN_COMMAND, static_cast<UINT>(id), static_cast<UINT>(id),                    \
   &::Ostrum::Desktop::Thunk<::Ostrum::Desktop::Crackers::Command, &ThisClass::handler>},
/// Commands first..last to a handler void (UINT id).
#define ON_COMMAND_RANGE(first, last, handler)                                              \
  {WM_COMMAND, CN_COMMAND, static_cast<UINT>(first), static_cast<UINT>(last),               \
   &::Ostrum::Desktop::Thunk<::Ostrum::Desktop::Crackers::CommandRange, &ThisClass::handler>},
