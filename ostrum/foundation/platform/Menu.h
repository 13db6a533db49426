#pragma once
// Menus of the desktop model: trees of items (commands, separators and popups) behind menu
// handles, a window's menu bar, and popup menus tracked in a modal loop. Handles are never
// reused, so an old handle answers IsMenu with FALSE. The table is process-wide; the calls
// that show a menu (DrawMenuBar, TrackPopupMenu) belong to the window's thread.

#include <string>
#include <string_view>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

// How an item is named, and what it is.
constexpr UINT MF_BYCOMMAND = 0x0000;
constexpr UINT MF_BYPOSITION = 0x0400;
constexpr UINT MF_STRING = 0x0000;
constexpr UINT MF_ENABLED = 0x0000;
constexpr UINT MF_GRAYED = 0x0001;
constexpr UINT MF_DISABLED = 0x0002;
constexpr UINT MF_UNCHECKED = 0x0000;
constexpr UINT MF_CHECKED = 0x0008;
constexpr UINT MF_POPUP = 0x0010;
constexpr UINT MF_SEPARATOR = 0x0800;

// TrackPopupMenu's flags.
constexpr UINT TPM_LEFTBUTTON = 0x0000;
constexpr UINT TPM_RIGHTBUTTON = 0x0002;
constexpr UINT TPM_LEFTALIGN = 0x0000;
constexpr UINT TPM_NONOTIFY = 0x0080;   ///< no WM_INITMENUPOPUP, no WM_COMMAND
constexpr UINT TPM_RETURNCMD = 0x0100;  ///< answer the chosen id instead of posting WM_COMMAND

/// A new, empty menu bar; null only if the table is full.
OSTRUM_API HMENU CreateMenu();
/// A new, empty popup menu.
OSTRUM_API HMENU CreatePopupMenu();
/// Destroys the menu and, recursively, the popups its items open. A menu that is a window's
/// menu bar stays the window's (as on the desktop, the caller must not do that).
OSTRUM_API BOOL DestroyMenu(HMENU menu);
OSTRUM_API BOOL IsMenu(HMENU menu);
/// The number of items; -1 with ERROR_INVALID_MENU_HANDLE for no menu.
OSTRUM_API int GetMenuItemCount(HMENU menu);
/// The command id of the item at `position`: 0 for a separator, 0xFFFFFFFF for a popup or no
/// item.
OSTRUM_API UINT GetMenuItemID(HMENU menu, int position);
/// The popup opened by the item at `position`, or null.
OSTRUM_API HMENU GetSubMenu(HMENU menu, int position);
/// Copies the item's text (at most `max_count` - 1 characters and the final zero) and answers
/// the characters copied; with a null buffer, answers the text's length. An item found by
/// command is searched depth first through the popups. 0 for no item.
OSTRUM_API int GetMenuStringW(HMENU menu, UINT item, LPWSTR buffer, int max_count, UINT flags);
/// The item's MF_ flags (for a popup, the item count in the high byte); 0xFFFFFFFF for none.
OSTRUM_API UINT GetMenuState(HMENU menu, UINT item, UINT flags);
/// Inserts an item before `position` (by position: 0xFFFFFFFF or past the end appends; by
/// command: before the item with that id). With MF_POPUP, `id_or_popup` is the popup's handle,
/// which the menu then owns; otherwise it is the command id. The text is copied.
OSTRUM_API BOOL InsertMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR id_or_popup, LPCWSTR text);
OSTRUM_API BOOL AppendMenuW(HMENU menu, UINT flags, UINT_PTR id_or_popup, LPCWSTR text);
/// Replaces an item; a popup the item opened and no longer opens is destroyed.
OSTRUM_API BOOL ModifyMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR id_or_popup, LPCWSTR text);
/// Takes an item out; a popup it opened is not destroyed (the caller keeps its handle).
OSTRUM_API BOOL RemoveMenu(HMENU menu, UINT position, UINT flags);
/// Takes an item out and destroys a popup it opened.
OSTRUM_API BOOL DeleteMenu(HMENU menu, UINT position, UINT flags);
/// Sets MF_CHECKED or MF_UNCHECKED; answers the check state before, 0xFFFFFFFF for no item.
OSTRUM_API DWORD CheckMenuItem(HMENU menu, UINT item, UINT flags);
/// Sets MF_ENABLED, MF_GRAYED or MF_DISABLED; answers the state before, -1 for no item.
OSTRUM_API BOOL EnableMenuItem(HMENU menu, UINT item, UINT flags);

/// The window's menu bar, or null.
OSTRUM_API HMENU GetMenu(HWND hwnd);
/// Gives a top-level window its menu bar (null removes it; the old one is not destroyed) and
/// tells the backend. FALSE for a child window or no window.
OSTRUM_API BOOL SetMenu(HWND hwnd, HMENU menu);
/// Shows the window's menu bar as it is now: the backend is told.
OSTRUM_API BOOL DrawMenuBar(HWND hwnd);
/// Shows a popup menu at a screen point, owned by `owner`, in a modal loop (ModalKind::PopupMenu,
/// its detail a PopupMenuDetail) until the user chooses or dismisses it. The owner first gets
/// WM_INITMENUPOPUP. With TPM_RETURNCMD the answer is the chosen id (0: none); otherwise the
/// chosen id is posted to the owner as WM_COMMAND after the loop and the answer is TRUE if
/// one was chosen. An empty menu is not shown (0).
OSTRUM_API BOOL TrackPopupMenu(HMENU menu, UINT flags, int x, int y, int reserved, HWND owner, const RECT* rect);

namespace Ostrum::Desktop {

struct ModalFrame;

/// One item as a user sees it.
struct MenuItemView {
  UINT flags = 0;          ///< MF_ bits: MF_POPUP, MF_SEPARATOR, MF_GRAYED, MF_CHECKED...
  UINT id = 0;             ///< the command id; 0 for separators and popups
  std::wstring text;
  HMENU submenu = nullptr;
};

/// The items of a menu, in order; empty for no menu.
OSTRUM_API std::vector<MenuItemView> GetMenuItems(HMENU menu);
/// The menu in one line, as a user reads it: items joined by "|" at the top and by "," inside
/// popups, a command as "text id", a separator as "-", a popup as "text>[items]", a grayed or
/// disabled command with a trailing "~", a checked one with a trailing "*". For example
/// "&File>[&Open 57601]|Measure>[&Distance 4001,-,&Angle 4002]|&Help>[]".
OSTRUM_API std::wstring DescribeMenu(HMENU menu);

/// What a popup-menu frame shows: its detail (ModalFrame::detail).
struct PopupMenuDetail {
  HMENU menu = nullptr;
  UINT flags = 0;
  POINT screen{};  ///< where it opens
  HWND owner = nullptr;
};

/// The user picks the command whose text is `text` in the popup that `frame` shows (its
/// popups searched too; with or without its "&"): the frame ends with the command's id. False
/// if the frame is no popup menu or no enabled command has that text.
OSTRUM_API bool ChoosePopupMenuItem(ModalFrame& frame, std::wstring_view text);
/// The user picks the command `id`; false as above.
OSTRUM_API bool ChoosePopupMenuCommand(ModalFrame& frame, UINT id);
/// The user dismisses the popup without a choice.
OSTRUM_API void DismissPopupMenu(ModalFrame& frame);

}  // namespace Ostrum::Desktop
