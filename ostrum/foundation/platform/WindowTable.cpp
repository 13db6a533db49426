#include "ostrum/foundation/platform/private/WindowTable.h"

#include <algorithm>
#include <cwctype>
#include <map>
#include <mutex>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"

namespace Ostrum::Desktop::Private {

namespace {

// Class atoms are taken from the range the desktop gives registered classes.
constexpr ATOM kFirstAtom = 0xC000;
// Handles start well above small integers that hand-made test windows use, and step by two as
// on the desktop. They are never reused.
constexpr uintptr_t kFirstHandle = 0x10010;

std::wstring Fold(LPCWSTR name) {
  std::wstring folded(name);
  for (wchar_t& c : folded) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return folded;
}

HINSTANCE OrProgram(HINSTANCE instance) { return instance ? instance : GetModuleHandleW(nullptr); }

struct ClassRecord {
  ATOM atom;
  std::wstring name;
  std::wstring folded;
  HINSTANCE instance;
  UINT style;
  WNDPROC proc;
  int class_extra, window_extra;
  HICON icon, icon_small;
  HCURSOR cursor;
  HBRUSH background;
  LPCWSTR menu_resource;  // a resource number, or points into menu_name
  std::wstring menu_name;
  std::size_t windows = 0;
};

}  // namespace

struct WindowTable::Impl {
  mutable std::mutex mutex;
  std::map<ATOM, ClassRecord> classes;
  WindowStore store;
  ATOM next_atom = kFirstAtom;
  uintptr_t next_handle = kFirstHandle;
  uint64_t next_order = 0;

  // The class a name or atom means for `instance`: the module's own first, then a global class.
  ClassRecord* FindClass(LPCWSTR name, HINSTANCE instance, bool allow_global) {
    instance = OrProgram(instance);
    if (IS_INTRESOURCE(name)) {
      auto it = classes.find(static_cast<ATOM>(reinterpret_cast<uintptr_t>(name)));
      if (it == classes.end()) return nullptr;
      ClassRecord& record = it->second;
      return record.instance == instance || (allow_global && (record.style & CS_GLOBALCLASS)) ? &record
                                                                                            : nullptr;
    }
    const std::wstring folded = Fold(name);
    ClassRecord* global = nullptr;
    for (auto& [atom, record] : classes) {
      if (record.folded != folded) continue;
      if (record.instance == instance) return &record;
      if (allow_global && (record.style & CS_GLOBALCLASS)) global = &record;
    }
    return global;
  }

  WindowRecord* FindWindow(HWND hwnd) { return store.Find(hwnd); }
  const WindowRecord* FindWindow(HWND hwnd) const { return store.Find(hwnd); }

  // Takes a window out of the table and out of its z-order list; its children are gone already
  // (or, at the end of a thread, go in the same sweep).
  CWnd* Erase(HWND hwnd) {
    auto it = store.windows.find(reinterpret_cast<uintptr_t>(hwnd));
    if (it == store.windows.end()) return nullptr;
    WindowRecord& record = it->second;
    if (!record.message_only) std::erase(store.SiblingsOf(record), hwnd);
    for (HWND child : record.children)
      if (WindowRecord* orphan = store.Find(child)) orphan->parent = nullptr;
    for (HWND top : store.top_levels)
      if (WindowRecord* owned = store.Find(top); owned && owned->owner == hwnd) owned->owner = nullptr;
    CWnd* object = record.object;
    auto cls = classes.find(record.atom);
    if (cls != classes.end() && cls->second.windows > 0) --cls->second.windows;
    store.windows.erase(it);
    return object;
  }
};

WindowTable::WindowTable() : m_impl(std::make_unique<Impl>()) {}

std::mutex& WindowTable::_Mutex() const { return m_impl->mutex; }

WindowStore& WindowTable::_Store() const { return m_impl->store; }

WindowTable& WindowTable::Get() {
  static WindowTable* table = new WindowTable;
  return *table;
}

ATOM WindowTable::RegisterClass(const WNDCLASSEXW& wc) {
  if (!wc.lpfnWndProc || !wc.lpszClassName || IS_INTRESOURCE(wc.lpszClassName) || !*wc.lpszClassName) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  const HINSTANCE instance = OrProgram(wc.hInstance);
  if (m_impl->FindClass(wc.lpszClassName, instance, false)) {
    SetLastError(ERROR_CLASS_ALREADY_EXISTS);
    return 0;
  }
  if (m_impl->next_atom == 0) {  // the atom range is used up (the counter wrapped)
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
  }
  const ATOM atom = m_impl->next_atom++;
  ClassRecord record{atom, wc.lpszClassName, Fold(wc.lpszClassName), instance, wc.style, wc.lpfnWndProc,
                     wc.cbClsExtra, wc.cbWndExtra, wc.hIcon, wc.hIconSm, wc.hCursor, wc.hbrBackground,
                     nullptr, {}, 0};
  if (wc.lpszMenuName && IS_INTRESOURCE(wc.lpszMenuName)) {
    record.menu_resource = wc.lpszMenuName;
  } else if (wc.lpszMenuName) {
    record.menu_name = wc.lpszMenuName;
  }
  auto& stored = m_impl->classes.emplace(atom, std::move(record)).first->second;
  if (!stored.menu_name.empty()) stored.menu_resource = stored.menu_name.c_str();
  return atom;
}

bool WindowTable::UnregisterClass(LPCWSTR name, HINSTANCE instance) {
  if (!name) {
    SetLastError(ERROR_CLASS_DOES_NOT_EXIST);
    return false;
  }
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  ClassRecord* record = m_impl->FindClass(name, instance, false);
  if (!record) {
    SetLastError(ERROR_CLASS_DOES_NOT_EXIST);
    return false;
  }
  if (record->windows > 0) {
    SetLastError(ERROR_CLASS_HAS_WINDOWS);
    return false;
  }
  m_impl->classes.erase(record->atom);
  return true;
}

ATOM WindowTable::GetClassInfo(HINSTANCE instance, LPCWSTR name, WNDCLASSEXW& out) const {
  if (!name) {
    SetLastError(ERROR_CLASS_DOES_NOT_EXIST);
    return 0;
  }
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  const ClassRecord* record = m_impl->FindClass(name, instance, true);
  if (!record) {
    SetLastError(ERROR_CLASS_DOES_NOT_EXIST);
    return 0;
  }
  out.style = record->style;
  out.lpfnWndProc = record->proc;
  out.cbClsExtra = record->class_extra;
  out.cbWndExtra = record->window_extra;
  out.hInstance = record->instance;
  out.hIcon = record->icon;
  out.hIconSm = record->icon_small;
  out.hCursor = record->cursor;
  out.hbrBackground = record->background;
  out.lpszMenuName = record->menu_resource;
  out.lpszClassName = name;  // the caller's own string, as the desktop does
  return record->atom;
}

std::optional<ClassForCreate> WindowTable::ReserveClass(LPCWSTR name, HINSTANCE instance) {
  if (!name) return std::nullopt;
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  ClassRecord* record = m_impl->FindClass(name, instance, true);
  if (!record) return std::nullopt;
  ++record->windows;
  return ClassForCreate{record->atom, record->proc, record->style, record->cursor, record->background};
}

HWND WindowTable::AddWindow(WindowRecord window) {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  const uintptr_t value = m_impl->next_handle;
  m_impl->next_handle += 2;
  const HWND hwnd = reinterpret_cast<HWND>(value);
  window.order = m_impl->next_order++;
  WindowRecord& record = m_impl->store.windows.emplace(value, std::move(window)).first->second;
  // A new window comes to the top of its siblings.
  if (!record.message_only) {
    std::vector<HWND>& siblings = m_impl->store.SiblingsOf(record);
    siblings.insert(siblings.begin(), hwnd);
  }
  return hwnd;
}

std::optional<WindowInfo> WindowTable::Find(HWND hwnd) const {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  const WindowRecord* record = m_impl->FindWindow(hwnd);
  if (!record) return std::nullopt;
  return WindowInfo{record->proc, record->thread_id, record->queue, record->parent, record->destroying};
}

bool WindowTable::BeginDestroy(HWND hwnd) {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  WindowRecord* record = m_impl->FindWindow(hwnd);
  if (!record || record->destroying) return false;
  record->destroying = true;
  return true;
}

std::vector<HWND> WindowTable::ChildrenOf(HWND hwnd) const {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  const WindowRecord* record = m_impl->FindWindow(hwnd);
  return record ? record->children : std::vector<HWND>{};
}

std::vector<HWND> WindowTable::OwnedBy(HWND hwnd) const {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  std::vector<HWND> owned;
  for (HWND top : m_impl->store.top_levels) {
    const WindowRecord* record = m_impl->FindWindow(top);
    if (record && record->owner == hwnd) owned.push_back(top);
  }
  return owned;
}

CWnd* WindowTable::RemoveWindow(HWND hwnd) {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  return m_impl->Erase(hwnd);
}

std::vector<CWnd*> WindowTable::ForgetThread(DWORD thread_id) {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  std::vector<HWND> gone;
  for (const auto& [value, record] : m_impl->store.windows)
    if (record.thread_id == thread_id) gone.push_back(reinterpret_cast<HWND>(value));
  std::vector<CWnd*> objects;
  for (HWND hwnd : gone)
    if (CWnd* object = m_impl->Erase(hwnd)) objects.push_back(object);
  return objects;
}

std::wstring WindowTable::ClassNameOf(HWND hwnd) const {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  const WindowRecord* record = m_impl->FindWindow(hwnd);
  if (!record) return {};
  auto it = m_impl->classes.find(record->atom);
  return it == m_impl->classes.end() ? std::wstring() : it->second.name;
}

bool WindowTable::Attach(HWND hwnd, CWnd* object) {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  WindowRecord* record = m_impl->FindWindow(hwnd);
  if (!record || (record->object && record->object != object)) return false;
  record->object = object;
  return true;
}

CWnd* WindowTable::Detach(HWND hwnd) {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  WindowRecord* record = m_impl->FindWindow(hwnd);
  if (!record) return nullptr;
  CWnd* object = record->object;
  record->object = nullptr;
  return object;
}

CWnd* WindowTable::ObjectOf(HWND hwnd) const {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  const WindowRecord* record = m_impl->FindWindow(hwnd);
  return record ? record->object : nullptr;
}

bool WindowTable::SetParent(HWND hwnd, HWND parent) {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  WindowStore& store = m_impl->store;
  WindowRecord* record = store.Find(hwnd);
  if (!record || record->message_only) return false;
  if (parent && !store.Find(parent)) return false;
  // A window cannot become its own ancestor: destruction walks down the tree.
  if (parent && store.IsSelfOrAncestor(hwnd, parent)) return false;
  if (record->parent == parent) return true;
  std::erase(store.SiblingsOf(*record), hwnd);
  record->parent = parent;
  if (parent) {
    record->owner = nullptr;
  }
  std::vector<HWND>& siblings = store.SiblingsOf(*record);
  siblings.insert(siblings.begin(), hwnd);
  return true;
}

WNDPROC WindowTable::SetProc(HWND hwnd, WNDPROC proc) {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  WindowRecord* record = m_impl->FindWindow(hwnd);
  if (!record) return nullptr;
  WNDPROC old = record->proc;
  record->proc = proc;
  return old;
}

std::optional<WindowInfo> FindWindowOrFail(HWND hwnd) {
  auto window = WindowTable::Get().Find(hwnd);
  if (!window) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return window;
}

std::optional<WindowInfo> FindOwnWindowOrFail(HWND hwnd) {
  auto window = FindWindowOrFail(hwnd);
  if (window && window->thread_id != GetCurrentThreadId()) {
    SetLastError(ERROR_ACCESS_DENIED);
    return std::nullopt;
  }
  return window;
}

}  // namespace Ostrum::Desktop::Private
