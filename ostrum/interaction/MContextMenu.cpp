#include "ostrum/interaction/MContextMenu.h"

#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/foundation/platform/Menu.h"

MContextMenu::~MContextMenu() { m_menu.DestroyMenu(); }

int MContextMenu::CreateMenu() {
  HMENU const menu = ::CreatePopupMenu();
  const int attached = m_menu.Attach(menu);
  if (!attached) ::DestroyMenu(menu);  // the object holds one already: the new one would be lost
  return attached;
}

int MContextMenu::AppendItem(unsigned id, CString text) {
  return ::AppendMenuW(m_menu.GetSafeHmenu(), 0, id, text.GetString());
}

int MContextMenu::AppendItem(unsigned id, unsigned string_id) {
  CString text;
  if (!VarnResLoadStringEx(string_id, text)) return 0;
  return AppendItem(id, text);
}

int MContextMenu::AppendSeparator() { return ::AppendMenuW(m_menu.GetSafeHmenu(), MF_SEPARATOR, 0, nullptr); }

int MContextMenu::InsertItem(unsigned position, unsigned flags, unsigned id, CString text) {
  return ::InsertMenuW(m_menu.GetSafeHmenu(), position, flags, id, text.GetString());
}

int MContextMenu::InsertItem(unsigned position, unsigned flags, unsigned id, unsigned string_id) {
  CString text;
  if (!VarnResLoadStringEx(string_id, text)) return 0;
  return InsertItem(position, flags, id, text);
}

int MContextMenu::InsertSeparator(unsigned position, unsigned flags) {
  return ::InsertMenuW(m_menu.GetSafeHmenu(), position, flags, 0, nullptr);
}

unsigned MContextMenu::GetItemsCount() { return static_cast<unsigned>(::GetMenuItemCount(m_menu.GetSafeHmenu())); }

int MContextMenu::DisplayMenu(unsigned flags, CPoint point, CWnd* wnd) {
  return m_menu.TrackPopupMenu(flags, point.x, point.y, wnd, nullptr);
}
