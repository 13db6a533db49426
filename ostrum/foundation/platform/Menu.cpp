#include "ostrum/foundation/platform/Menu.h"

#include <algorithm>
#include <cwctype>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "ostrum/foundation/platform/IDesktopBackend.h"
#include "ostrum/foundation/platform/Input.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/ModalLoop.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowStyles.h"
#include "ostrum/foundation/platform/private/ResetHooks.h"
#include "ostrum/foundation/platform/private/WindowTable.h"

namespace {

using Ostrum::Desktop::MenuItemView;

struct MenuRecord {
  bool popup = false;
  std::vector<MenuItemView> items;
};

// The table of menus. Handles start at 0x20010 and step by two, never reused. No procedure or
// backend call runs under its lock.
class MenuTable {
 public:
  static MenuTable& Get() {
    static MenuTable* table = new MenuTable;  // never destroyed: menus may go at exit
    return *table;
  }

  HMENU Create(bool popup) {
    std::lock_guard lock(m_mutex);
    const uintptr_t key = m_next;
    m_next += 2;
    m_menus[key].popup = popup;
    return reinterpret_cast<HMENU>(key);
  }

  template <class F>
  decltype(auto) Locked(F&& f) {
    std::lock_guard lock(m_mutex);
    return f(*this);
  }

  MenuRecord* Find(HMENU menu) {
    auto it = m_menus.find(reinterpret_cast<uintptr_t>(menu));
    return it == m_menus.end() ? nullptr : &it->second;
  }

  // Destroys a menu and the popups below it; the lock is held.
  void DestroyTree(HMENU menu) {
    auto it = m_menus.find(reinterpret_cast<uintptr_t>(menu));
    if (it == m_menus.end()) return;
    std::vector<HMENU> popups;
    for (const MenuItemView& item : it->second.items)
      if (item.submenu) popups.push_back(item.submenu);
    m_menus.erase(it);
    for (HMENU popup : popups) DestroyTree(popup);
  }

  // Whether `inner` is `outer` or lies below it; the lock is held.
  bool Contains(HMENU outer, HMENU inner) {
    if (outer == inner) return true;
    const MenuRecord* record = Find(outer);
    if (!record) return false;
    for (const MenuItemView& item : record->items)
      if (item.submenu && Contains(item.submenu, inner)) return true;
    return false;
  }

  void Clear() {
    std::lock_guard lock(m_mutex);
    m_menus.clear();
  }

 private:
  std::mutex m_mutex;
  std::unordered_map<uintptr_t, MenuRecord> m_menus;
  uintptr_t m_next = 0x20010;
};

const bool g_reset_registered = Ostrum::Desktop::Private::AddResetHook([] { MenuTable::Get().Clear(); });

// An item found by position or by command (depth first through the popups, as the desktop
// searches); the lock is held.
struct Found {
  MenuRecord* owner = nullptr;
  std::size_t index = 0;
};

std::optional<Found> FindItem(MenuTable& table, HMENU menu, UINT item, UINT flags) {
  MenuRecord* record = table.Find(menu);
  if (!record) return std::nullopt;
  if (flags & MF_BYPOSITION) {
    if (item >= record->items.size()) return std::nullopt;
    return Found{record, item};
  }
  for (std::size_t i = 0; i < record->items.size(); ++i) {
    const MenuItemView& entry = record->items[i];
    if (entry.submenu) {
      if (auto inner = FindItem(table, entry.submenu, item, flags)) return inner;
    } else if (!(entry.flags & MF_SEPARATOR) && entry.id == item) {
      return Found{record, i};
    }
  }
  return std::nullopt;
}

// Builds an item from the arguments of InsertMenuW and ModifyMenuW; false for a popup handle
// that is no menu or would hold `menu` itself.
bool MakeItem(MenuTable& table, HMENU menu, UINT flags, UINT_PTR id_or_popup, LPCWSTR text, MenuItemView& out) {
  out.flags = flags & (MF_GRAYED | MF_DISABLED | MF_CHECKED | MF_POPUP | MF_SEPARATOR);
  if (flags & MF_SEPARATOR) {
    out.flags = MF_SEPARATOR;
    return true;
  }
  if (flags & MF_POPUP) {
    HMENU popup = reinterpret_cast<HMENU>(id_or_popup);
    if (!table.Find(popup) || table.Contains(popup, menu)) return false;
    out.submenu = popup;
  } else {
    out.id = static_cast<UINT>(id_or_popup);
  }
  out.text = text ? text : L"";
  return true;
}

BOOL Fail(DWORD code) {
  SetLastError(code);
  return FALSE;
}

}  // namespace

HMENU CreateMenu() { return MenuTable::Get().Create(false); }

HMENU CreatePopupMenu() { return MenuTable::Get().Create(true); }

BOOL DestroyMenu(HMENU menu) {
  return MenuTable::Get().Locked([&](MenuTable& table) {
    if (!table.Find(menu)) return Fail(ERROR_INVALID_MENU_HANDLE);
    table.DestroyTree(menu);
    return TRUE;
  });
}

BOOL IsMenu(HMENU menu) {
  return MenuTable::Get().Locked([&](MenuTable& table) { return table.Find(menu) ? TRUE : FALSE; });
}

int GetMenuItemCount(HMENU menu) {
  return MenuTable::Get().Locked([&](MenuTable& table) {
    const MenuRecord* record = table.Find(menu);
    if (!record) {
      SetLastError(ERROR_INVALID_MENU_HANDLE);
      return -1;
    }
    return static_cast<int>(record->items.size());
  });
}

UINT GetMenuItemID(HMENU menu, int position) {
  return MenuTable::Get().Locked([&](MenuTable& table) -> UINT {
    const MenuRecord* record = table.Find(menu);
    if (!record || position < 0 || static_cast<std::size_t>(position) >= record->items.size()) return 0xFFFFFFFF;
    const MenuItemView& item = record->items[static_cast<std::size_t>(position)];
    return item.submenu ? 0xFFFFFFFF : item.id;
  });
}

HMENU GetSubMenu(HMENU menu, int position) {
  return MenuTable::Get().Locked([&](MenuTable& table) -> HMENU {
    const MenuRecord* record = table.Find(menu);
    if (!record || position < 0 || static_cast<std::size_t>(position) >= record->items.size()) return nullptr;
    return record->items[static_cast<std::size_t>(position)].submenu;
  });
}

int GetMenuStringW(HMENU menu, UINT item, LPWSTR buffer, int max_count, UINT flags) {
  const std::optional<std::wstring> text = MenuTable::Get().Locked([&](MenuTable& table) -> std::optional<std::wstring> {
    auto found = FindItem(table, menu, item, flags);
    if (!found) return std::nullopt;
    return found->owner->items[found->index].text;
  });
  if (!text) {
    if (buffer && max_count > 0) buffer[0] = L'\0';
    return 0;
  }
  if (!buffer) return static_cast<int>(text->size());
  if (max_count <= 0) return 0;
  const std::size_t copied = std::min(text->size(), static_cast<std::size_t>(max_count - 1));
  std::copy_n(text->data(), copied, buffer);
  buffer[copied] = L'\0';
  return static_cast<int>(copied);
}

UINT GetMenuState(HMENU menu, UINT item, UINT flags) {
  return MenuTable::Get().Locked([&](MenuTable& table) -> UINT {
    auto found = FindItem(table, menu, item, flags);
    if (!found) return 0xFFFFFFFF;
    const MenuItemView& entry = found->owner->items[found->index];
    if (!entry.submenu) return entry.flags;
    const MenuRecord* popup = table.Find(entry.submenu);
    const UINT count = popup ? static_cast<UINT>(popup->items.size()) : 0;
    return (entry.flags & 0xFF) | (count << 8);
  });
}

BOOL InsertMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR id_or_popup, LPCWSTR text) {
  return MenuTable::Get().Locked([&](MenuTable& table) {
    MenuRecord* record = table.Find(menu);
    if (!record) return Fail(ERROR_INVALID_MENU_HANDLE);
    MenuItemView item;
    if (!MakeItem(table, menu, flags, id_or_popup, text, item)) return Fail(ERROR_INVALID_MENU_HANDLE);
    if (flags & MF_BYPOSITION) {
      const std::size_t at = std::min<std::size_t>(position, record->items.size());
      record->items.insert(record->items.begin() + static_cast<std::ptrdiff_t>(at), std::move(item));
      return TRUE;
    }
    auto found = FindItem(table, menu, position, MF_BYCOMMAND);
    if (!found) return Fail(ERROR_MENU_ITEM_NOT_FOUND);
    auto& items = found->owner->items;
    items.insert(items.begin() + static_cast<std::ptrdiff_t>(found->index), std::move(item));
    return TRUE;
  });
}

BOOL AppendMenuW(HMENU menu, UINT flags, UINT_PTR id_or_popup, LPCWSTR text) {
  return InsertMenuW(menu, 0xFFFFFFFF, flags | MF_BYPOSITION, id_or_popup, text);
}

BOOL ModifyMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR id_or_popup, LPCWSTR text) {
  return MenuTable::Get().Locked([&](MenuTable& table) {
    if (!table.Find(menu)) return Fail(ERROR_INVALID_MENU_HANDLE);
    auto found = FindItem(table, menu, position, flags);
    if (!found) return Fail(ERROR_MENU_ITEM_NOT_FOUND);
    MenuItemView item;
    if (!MakeItem(table, menu, flags, id_or_popup, text, item)) return Fail(ERROR_INVALID_MENU_HANDLE);
    MenuItemView& slot = found->owner->items[found->index];
    const HMENU old_popup = slot.submenu;
    slot = std::move(item);
    if (old_popup && old_popup != slot.submenu) table.DestroyTree(old_popup);
    return TRUE;
  });
}

namespace {

BOOL TakeOut(HMENU menu, UINT position, UINT flags, bool destroy_popup) {
  return MenuTable::Get().Locked([&](MenuTable& table) {
    if (!table.Find(menu)) return Fail(ERROR_INVALID_MENU_HANDLE);
    auto found = FindItem(table, menu, position, flags);
    if (!found) return Fail(ERROR_MENU_ITEM_NOT_FOUND);
    auto& items = found->owner->items;
    const HMENU popup = items[found->index].submenu;
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(found->index));
    if (popup && destroy_popup) table.DestroyTree(popup);
    return TRUE;
  });
}

}  // namespace

BOOL RemoveMenu(HMENU menu, UINT position, UINT flags) { return TakeOut(menu, position, flags, false); }

BOOL DeleteMenu(HMENU menu, UINT position, UINT flags) { return TakeOut(menu, position, flags, true); }

DWORD CheckMenuItem(HMENU menu, UINT item, UINT flags) {
  return MenuTable::Get().Locked([&](MenuTable& table) -> DWORD {
    auto found = FindItem(table, menu, item, flags);
    if (!found) return 0xFFFFFFFF;
    MenuItemView& entry = found->owner->items[found->index];
    const DWORD before = entry.flags & MF_CHECKED;
    entry.flags = (entry.flags & ~MF_CHECKED) | (flags & MF_CHECKED);
    return before;
  });
}

BOOL EnableMenuItem(HMENU menu, UINT item, UINT flags) {
  return MenuTable::Get().Locked([&](MenuTable& table) -> BOOL {
    auto found = FindItem(table, menu, item, flags);
    if (!found) return -1;
    MenuItemView& entry = found->owner->items[found->index];
    const BOOL before = static_cast<BOOL>(entry.flags & (MF_GRAYED | MF_DISABLED));
    entry.flags = (entry.flags & ~(MF_GRAYED | MF_DISABLED)) | (flags & (MF_GRAYED | MF_DISABLED));
    return before;
  });
}

HMENU GetMenu(HWND hwnd) {
  using Ostrum::Desktop::Private::WindowStore;
  using Ostrum::Desktop::Private::WindowTable;
  return WindowTable::Get().Locked([&](const WindowStore& store) -> HMENU {
    const auto* record = store.Find(hwnd);
    return record && !(record->style & WS_CHILD) ? record->menu : nullptr;
  });
}

BOOL SetMenu(HWND hwnd, HMENU menu) {
  using Ostrum::Desktop::Private::WindowStore;
  using Ostrum::Desktop::Private::WindowTable;
  if (menu && !IsMenu(menu)) return Fail(ERROR_INVALID_MENU_HANDLE);
  const BOOL done = WindowTable::Get().Locked([&](WindowStore& store) -> BOOL {
    auto* record = store.Find(hwnd);
    if (!record) return Fail(ERROR_INVALID_WINDOW_HANDLE);
    if (record->style & WS_CHILD) return Fail(ERROR_INVALID_PARAMETER);
    record->menu = menu;
    return TRUE;
  });
  if (done) Ostrum::Desktop::GetDesktopBackend().OnMenuBarChanged(hwnd, menu);
  return done;
}

BOOL DrawMenuBar(HWND hwnd) {
  if (!IsWindow(hwnd)) return Fail(ERROR_INVALID_WINDOW_HANDLE);
  Ostrum::Desktop::GetDesktopBackend().OnMenuBarChanged(hwnd, GetMenu(hwnd));
  return TRUE;
}

BOOL TrackPopupMenu(HMENU menu, UINT flags, int x, int y, int, HWND owner, const RECT*) {
  using namespace Ostrum::Desktop;
  const int count = GetMenuItemCount(menu);
  if (count < 0) return FALSE;
  if (!IsWindow(owner)) return Fail(ERROR_INVALID_WINDOW_HANDLE);
  if (count == 0) return FALSE;
  if (!(flags & TPM_NONOTIFY)) SendMessageW(owner, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu), MAKELPARAM(0, FALSE));
  PopupMenuDetail detail{menu, flags, POINT{x, y}, owner};
  ModalFrame frame;
  frame.kind = ModalKind::PopupMenu;
  frame.owner = owner;
  frame.default_answer = 0;
  frame.description = L"popup menu " + DescribeMenu(menu);
  frame.detail = &detail;
  const int chosen = RunModalLoop(frame);
  const UINT id = chosen > 0 ? static_cast<UINT>(chosen) : 0;
  if (flags & TPM_RETURNCMD) return static_cast<BOOL>(id);
  // The desktop delivers the command only after the menu has gone.
  if (id && !(flags & TPM_NONOTIFY) && IsWindow(owner)) PostMessageW(owner, WM_COMMAND, MAKEWPARAM(static_cast<int>(id), 0), 0);
  return id ? TRUE : FALSE;
}

namespace Ostrum::Desktop {

std::vector<MenuItemView> GetMenuItems(HMENU menu) {
  return MenuTable::Get().Locked([&](MenuTable& table) {
    const MenuRecord* record = table.Find(menu);
    return record ? record->items : std::vector<MenuItemView>{};
  });
}

namespace {

void Describe(HMENU menu, const wchar_t* joint, std::wstring& out) {
  bool first = true;
  for (const MenuItemView& item : GetMenuItems(menu)) {
    if (!first) out += joint;
    first = false;
    if (item.flags & MF_SEPARATOR) {
      out += L"-";
    } else if (item.submenu) {
      out += item.text + L">[";
      Describe(item.submenu, L",", out);
      out += L"]";
    } else {
      out += item.text + L" " + std::to_wstring(item.id);
      if (item.flags & (MF_GRAYED | MF_DISABLED)) out += L"~";
      if (item.flags & MF_CHECKED) out += L"*";
    }
  }
}

// The text as shown, without the "&" of the access key ("&&" shows one "&").
std::wstring Shown(const std::wstring& text) {
  std::wstring shown;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'&' && i + 1 < text.size()) ++i;
    else if (text[i] == L'&') continue;
    shown += text[i];
  }
  return shown;
}

// The first enabled command of the menu or its popups that `match` accepts.
template <class Match>
std::optional<UINT> FindCommand(HMENU menu, const Match& match) {
  for (const MenuItemView& item : GetMenuItems(menu)) {
    if (item.submenu) {
      if (auto inner = FindCommand(item.submenu, match)) return inner;
    } else if (!(item.flags & (MF_SEPARATOR | MF_GRAYED | MF_DISABLED)) && match(item)) {
      return item.id;
    }
  }
  return std::nullopt;
}

PopupMenuDetail* DetailOf(ModalFrame& frame) {
  return frame.kind == ModalKind::PopupMenu ? static_cast<PopupMenuDetail*>(frame.detail) : nullptr;
}

}  // namespace

std::wstring DescribeMenu(HMENU menu) {
  std::wstring out;
  Describe(menu, L"|", out);
  return out;
}

bool ChoosePopupMenuItem(ModalFrame& frame, std::wstring_view text) {
  PopupMenuDetail* detail = DetailOf(frame);
  if (!detail) return false;
  auto id = FindCommand(detail->menu, [&](const MenuItemView& item) { return item.text == text || Shown(item.text) == text; });
  if (!id) return false;
  EndModalFrame(frame, static_cast<int>(*id));
  return true;
}

bool ChoosePopupMenuCommand(ModalFrame& frame, UINT id) {
  PopupMenuDetail* detail = DetailOf(frame);
  if (!detail || !FindCommand(detail->menu, [&](const MenuItemView& item) { return item.id == id; })) return false;
  EndModalFrame(frame, static_cast<int>(id));
  return true;
}

bool InputMenuCommand(HWND frame, UINT id) {
  HMENU bar = GetMenu(frame);
  if (!bar || !FindCommand(bar, [&](const MenuItemView& item) { return item.id == id; })) return false;
  return PostMessageW(frame, WM_COMMAND, MAKEWPARAM(static_cast<int>(id), 0), 0) != FALSE;
}

void DismissPopupMenu(ModalFrame& frame) {
  if (DetailOf(frame)) EndModalFrame(frame, 0);
}

}  // namespace Ostrum::Desktop
