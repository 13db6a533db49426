#include "ostrum/foundation/platform/CMenu.h"

#include <vector>

#include "ostrum/foundation/platform/CWnd.h"

CMenu::~CMenu() {
  if (m_hMenu) ::DestroyMenu(m_hMenu);
}

BOOL CMenu::CreateMenu() {
  if (m_hMenu) return FALSE;
  m_hMenu = ::CreateMenu();
  return m_hMenu ? TRUE : FALSE;
}

BOOL CMenu::CreatePopupMenu() {
  if (m_hMenu) return FALSE;
  m_hMenu = ::CreatePopupMenu();
  return m_hMenu ? TRUE : FALSE;
}

BOOL CMenu::DestroyMenu() {
  if (!m_hMenu) return FALSE;
  const BOOL done = ::DestroyMenu(m_hMenu);
  m_hMenu = nullptr;
  return done;
}

BOOL CMenu::Attach(HMENU menu) {
  if (m_hMenu || !menu) return FALSE;
  m_hMenu = menu;
  return TRUE;
}

HMENU CMenu::Detach() {
  HMENU menu = m_hMenu;
  m_hMenu = nullptr;
  return menu;
}

BOOL CMenu::AppendMenu(UINT flags, UINT_PTR id, LPCWSTR text) { return ::AppendMenuW(m_hMenu, flags, id, text); }

BOOL CMenu::InsertMenu(UINT position, UINT flags, UINT_PTR id, LPCWSTR text) {
  return ::InsertMenuW(m_hMenu, position, flags, id, text);
}

BOOL CMenu::ModifyMenu(UINT position, UINT flags, UINT_PTR id, LPCWSTR text) {
  return ::ModifyMenuW(m_hMenu, position, flags, id, text);
}

BOOL CMenu::RemoveMenu(UINT position, UINT flags) { return ::RemoveMenu(m_hMenu, position, flags); }

BOOL CMenu::DeleteMenu(UINT position, UINT flags) { return ::DeleteMenu(m_hMenu, position, flags); }

UINT CMenu::GetMenuItemCount() const { return static_cast<UINT>(::GetMenuItemCount(m_hMenu)); }

UINT CMenu::GetMenuItemID(int position) const { return ::GetMenuItemID(m_hMenu, position); }

HMENU CMenu::GetSubMenuHandle(int position) const { return ::GetSubMenu(m_hMenu, position); }

int CMenu::GetMenuString(UINT item, LPWSTR buffer, int max_count, UINT flags) const {
  return ::GetMenuStringW(m_hMenu, item, buffer, max_count, flags);
}

int CMenu::GetMenuString(UINT item, CString& text, UINT flags) const {
  const int length = ::GetMenuStringW(m_hMenu, item, nullptr, 0, flags);
  std::vector<wchar_t> buffer(static_cast<std::size_t>(length) + 1, L'\0');
  const int copied = ::GetMenuStringW(m_hMenu, item, buffer.data(), length + 1, flags);
  text = CString(std::wstring(buffer.data(), static_cast<std::size_t>(copied)));
  return copied;
}

UINT CMenu::GetMenuState(UINT item, UINT flags) const { return ::GetMenuState(m_hMenu, item, flags); }

UINT CMenu::CheckMenuItem(UINT item, UINT flags) { return ::CheckMenuItem(m_hMenu, item, flags); }

UINT CMenu::EnableMenuItem(UINT item, UINT flags) { return static_cast<UINT>(::EnableMenuItem(m_hMenu, item, flags)); }

BOOL CMenu::TrackPopupMenu(UINT flags, int x, int y, CWnd* owner, LPCRECT rect) {
  return ::TrackPopupMenu(m_hMenu, flags, x, y, 0, owner ? owner->GetSafeHwnd() : nullptr, rect);
}
