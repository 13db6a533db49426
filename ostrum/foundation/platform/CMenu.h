#pragma once
// CMenu: the framework's object for a menu handle of the desktop model.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CObject.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/foundation/platform/Menu.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CWnd;

/// Holds a menu handle; each member is the Win32 call of the same name (Menu.h) on it, with its
/// contract. The object owns what it holds: the destructor destroys an attached menu, so a
/// menu handed to another menu or a window is Detach()ed first.
class OSTRUM_API CMenu : public CObject {
 public:
  CMenu() = default;
  CMenu(const CMenu&) = delete;
  CMenu& operator=(const CMenu&) = delete;
  /// Destroys the attached menu, if any.
  ~CMenu() override;

  HMENU GetSafeHmenu() const { return m_hMenu; }
  operator HMENU() const { return m_hMenu; }  // NOLINT: as on the desktop

  /// Makes a new menu bar or popup and attaches it; FALSE if the object holds one already.
  BOOL CreateMenu();
  BOOL CreatePopupMenu();
  /// Destroys the attached menu (with its popups) and lets go of the handle.
  BOOL DestroyMenu();
  /// Holds `menu` from now on; FALSE if the object holds one already or `menu` is none.
  BOOL Attach(HMENU menu);
  /// Lets go of the menu, which lives on; answers its handle.
  HMENU Detach();

  BOOL AppendMenu(UINT flags, UINT_PTR id = 0, LPCWSTR text = nullptr);
  BOOL InsertMenu(UINT position, UINT flags, UINT_PTR id = 0, LPCWSTR text = nullptr);
  BOOL ModifyMenu(UINT position, UINT flags, UINT_PTR id = 0, LPCWSTR text = nullptr);
  BOOL RemoveMenu(UINT position, UINT flags);
  BOOL DeleteMenu(UINT position, UINT flags);
  UINT GetMenuItemCount() const;
  UINT GetMenuItemID(int position) const;
  /// The popup's handle at `position`, or null (it stays owned by this menu).
  HMENU GetSubMenuHandle(int position) const;
  int GetMenuString(UINT item, LPWSTR buffer, int max_count, UINT flags) const;
  int GetMenuString(UINT item, CString& text, UINT flags) const;
  UINT GetMenuState(UINT item, UINT flags) const;
  UINT CheckMenuItem(UINT item, UINT flags);
  UINT EnableMenuItem(UINT item, UINT flags);
  /// ::TrackPopupMenu with `owner`'s window.
  BOOL TrackPopupMenu(UINT flags, int x, int y, CWnd* owner, LPCRECT rect = nullptr);

  HMENU m_hMenu = nullptr;
};
