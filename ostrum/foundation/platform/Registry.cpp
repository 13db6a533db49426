#include "ostrum/foundation/platform/Registry.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <cwctype>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <vector>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/private/Utf8.h"

namespace {

enum class Root { User, Machine, Classes };

struct Value {
  std::wstring name;
  DWORD type = REG_NONE;
  std::vector<BYTE> data;
};

struct Node {
  std::wstring name;
  std::vector<std::unique_ptr<Node>> children;  // in order of making
  std::vector<Value> values;
};

using Path = std::vector<std::wstring>;

bool SameName(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (std::towlower(a[i]) != std::towlower(b[i])) return false;
  return true;
}

Path Split(LPCWSTR text) {
  Path path;
  if (!text) return path;
  std::wstring part;
  for (const wchar_t* c = text; *c; ++c) {
    if (*c == L'\\') {
      if (!part.empty()) path.push_back(part);
      part.clear();
    } else {
      part += *c;
    }
  }
  if (!part.empty()) path.push_back(part);
  return path;
}

struct Handle {
  Root root;
  Path path;
};

// The registry: two trees, the open handles, and where it is kept. Never destroyed (static
// objects may use it at exit).
class Store {
 public:
  static Store& Get() {
    static Store* store = new Store;
    return *store;
  }
  std::mutex mutex;
  Node user, machine;
  std::map<uintptr_t, Handle> handles;
  uintptr_t next_handle = 0x1000;
  bool machine_writable = false;
  std::string directory;

  // The handle's root and path, or false for an unknown handle.
  bool Resolve(HKEY key, Handle& out) const {
    const auto value = reinterpret_cast<uintptr_t>(key);
    if (key == HKEY_CLASSES_ROOT) out = {Root::Classes, {}};
    else if (key == HKEY_CURRENT_USER) out = {Root::User, {}};
    else if (key == HKEY_LOCAL_MACHINE) out = {Root::Machine, {}};
    else {
      auto it = handles.find(value);
      if (it == handles.end()) return false;
      out = it->second;
    }
    return true;
  }

  static Node* Child(Node& node, const std::wstring& name) {
    for (auto& child : node.children)
      if (SameName(child->name, name)) return child.get();
    return nullptr;
  }
  static Node* Find(Node& root, const Path& path) {
    Node* node = &root;
    for (const std::wstring& part : path)
      if (!(node = Child(*node, part))) return nullptr;
    return node;
  }
  static Node* Make(Node& root, const Path& path) {
    Node* node = &root;
    for (const std::wstring& part : path) {
      Node* next = Child(*node, part);
      if (!next) {
        node->children.push_back(std::make_unique<Node>());
        next = node->children.back().get();
        next->name = part;
      }
      node = next;
    }
    return node;
  }
  static Path Classes(const Path& path) {
    Path full{L"Software", L"Classes"};
    full.insert(full.end(), path.begin(), path.end());
    return full;
  }

  // The tree and path a read of `root`/`path` goes to: the user's classes before the machine's.
  Node* Read(Root root, const Path& path) {
    switch (root) {
      case Root::User: return Find(user, path);
      case Root::Machine: return Find(machine, path);
      case Root::Classes:
        if (Node* node = Find(user, Classes(path))) return node;
        return Find(machine, Classes(path));
    }
    return nullptr;
  }
  // Where a write goes, made if missing; null with `status` when it may not be written. A key
  // of the classes view that the user has is the user's; any other is the machine's.
  Node* Write(Root root, const Path& path, LSTATUS& status) {
    status = ERROR_SUCCESS;
    if (root == Root::User) return Make(user, path);
    if (root == Root::Classes && Find(user, Classes(path))) return Make(user, Classes(path));
    if (!machine_writable) {
      status = ERROR_ACCESS_DENIED;
      return nullptr;
    }
    return Make(machine, root == Root::Classes ? Classes(path) : path);
  }

  HKEY NewHandle(Root root, Path path) {
    const uintptr_t value = next_handle;
    next_handle += 4;
    handles[value] = {root, std::move(path)};
    return reinterpret_cast<HKEY>(value);
  }

  // ---- keeping it in a directory ----
  static void Hex(std::ostream& out, const std::wstring& text) {
    static const char* digits = "0123456789abcdef";
    out << text.size() << ':';
    for (wchar_t c : text)
      for (int shift = 28; shift >= 0; shift -= 4) out << digits[(static_cast<uint32_t>(c) >> shift) & 0xF];
  }
  static bool Unhex(std::istream& in, std::wstring& text) {
    size_t size = 0;
    char colon = 0;
    if (!(in >> size >> colon) || colon != ':' || size > 65536) return false;
    text.clear();
    for (size_t i = 0; i < size; ++i) {
      uint32_t c = 0;
      for (int d = 0; d < 8; ++d) {
        const int ch = in.get();
        int v = ch >= '0' && ch <= '9' ? ch - '0' : ch >= 'a' && ch <= 'f' ? ch - 'a' + 10 : -1;
        if (v < 0) return false;
        c = c << 4 | static_cast<uint32_t>(v);
      }
      if (c > 0x10FFFF) return false;
      text += static_cast<wchar_t>(c);
    }
    return true;
  }
  static void Save(std::ostream& out, char root, const Node& node, Path& path) {
    out << "K " << root << ' ' << path.size();
    for (const std::wstring& part : path) out << ' ', Hex(out, part);
    out << ' ' << node.values.size();
    for (const Value& value : node.values) {
      out << ' ';
      Hex(out, value.name);
      out << ' ' << value.type << ' ' << value.data.size() << ':';
      static const char* digits = "0123456789abcdef";
      for (BYTE b : value.data) out << digits[b >> 4] << digits[b & 0xF];
    }
    out << '\n';
    for (const auto& child : node.children) {
      path.push_back(child->name);
      Save(out, root, *child, path);
      path.pop_back();
    }
  }
  void Persist() {
    if (directory.empty()) return;
    std::ostringstream text;
    text << "ostrum-registry 1\n";
    Path path;
    for (const auto& child : user.children) path = {child->name}, Save(text, 'U', *child, path);
    for (const auto& child : machine.children) path = {child->name}, Save(text, 'M', *child, path);
    const std::string file = directory + "/registry", aside = file + ".new";
    const std::string bytes = text.str();
    const int fd = ::open(aside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) return;
    bool ok = true;
    for (size_t done = 0; done < bytes.size() && ok;) {
      const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
      ok = n > 0;
      if (ok) done += static_cast<size_t>(n);
    }
    ok = ::fsync(fd) == 0 && ok;
    ok = ::close(fd) == 0 && ok;
    if (ok) ::rename(aside.c_str(), file.c_str());
    else ::unlink(aside.c_str());
  }
  // Reads what Persist wrote; false (and nothing changed) for anything else.
  bool Load(const std::string& file) {
    std::ifstream in(file);
    if (!in) return true;  // nothing kept yet
    std::string header;
    if (!std::getline(in, header) || header != "ostrum-registry 1") return false;
    Node new_user, new_machine;
    std::string line;
    while (std::getline(in, line)) {
      std::istringstream fields(line);
      std::string tag;
      char root = 0;
      size_t depth = 0;
      if (!(fields >> tag >> root >> depth) || tag != "K" || (root != 'U' && root != 'M') || depth == 0 || depth > 512)
        return false;
      Path path(depth);
      for (std::wstring& part : path) {
        fields.get();
        if (!Unhex(fields, part) || part.empty()) return false;
      }
      Node* node = Make(root == 'U' ? new_user : new_machine, path);
      size_t values = 0;
      if (!(fields >> values) || values > 4096) return false;
      for (size_t i = 0; i < values; ++i) {
        Value value;
        size_t size = 0;
        char colon = 0;
        fields.get();
        if (!Unhex(fields, value.name) || !(fields >> value.type >> size >> colon) || colon != ':' || size > (1u << 20))
          return false;
        value.data.resize(size);
        for (BYTE& b : value.data) {
          char hi = 0, lo = 0;
          if (!fields.get(hi) || !fields.get(lo)) return false;
          auto nibble = [](char c) { return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1; };
          if (nibble(hi) < 0 || nibble(lo) < 0) return false;
          b = static_cast<BYTE>(nibble(hi) << 4 | nibble(lo));
        }
        node->values.push_back(std::move(value));
      }
    }
    user = std::move(new_user);
    machine = std::move(new_machine);
    return true;
  }
};

Value* FindValue(Node& node, const std::wstring& name) {
  for (Value& value : node.values)
    if (SameName(value.name, name)) return &value;
  return nullptr;
}

void SetString(Node& node, const std::wstring& name, DWORD type, const std::vector<BYTE>& data) {
  Value* value = FindValue(node, name);
  if (!value) {
    node.values.push_back({name, type, {}});
    value = &node.values.back();
  }
  value->type = type;
  value->data = data;
}

std::vector<BYTE> StringBytes(LPCWSTR text) {
  std::vector<BYTE> bytes;
  const std::wstring s = text ? text : L"";
  for (wchar_t c : s) {
    const auto u = static_cast<uint16_t>(c > 0xFFFF ? 0xFFFD : c);  // stored as UTF-16 units
    bytes.push_back(static_cast<BYTE>(u & 0xFF));
    bytes.push_back(static_cast<BYTE>(u >> 8));
  }
  bytes.push_back(0);
  bytes.push_back(0);
  return bytes;
}

std::wstring BytesString(const std::vector<BYTE>& bytes) {
  std::wstring text;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const wchar_t c = static_cast<wchar_t>(bytes[i] | bytes[i + 1] << 8);
    if (c == 0) break;
    text += c;
  }
  return text;
}

}  // namespace

LSTATUS RegCreateKeyW(HKEY key, LPCWSTR subkey, PHKEY result) {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  Handle handle;
  if (!result || !store.Resolve(key, handle)) return ERROR_INVALID_HANDLE;
  Path path = handle.path;
  for (std::wstring& part : Split(subkey)) path.push_back(std::move(part));
  if (!store.Read(handle.root, path)) {
    LSTATUS status;
    if (!store.Write(handle.root, path, status)) return status;
    store.Persist();
  }
  *result = store.NewHandle(handle.root, std::move(path));
  return ERROR_SUCCESS;
}

LSTATUS RegOpenKeyW(HKEY key, LPCWSTR subkey, PHKEY result) {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  Handle handle;
  if (!result || !store.Resolve(key, handle)) return ERROR_INVALID_HANDLE;
  Path path = handle.path;
  for (std::wstring& part : Split(subkey)) path.push_back(std::move(part));
  if (!path.empty() && !store.Read(handle.root, path)) return ERROR_FILE_NOT_FOUND;
  *result = store.NewHandle(handle.root, std::move(path));
  return ERROR_SUCCESS;
}

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subkey, DWORD, REGSAM, PHKEY result) { return RegOpenKeyW(key, subkey, result); }

LSTATUS RegCloseKey(HKEY key) {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  if (key == HKEY_CLASSES_ROOT || key == HKEY_CURRENT_USER || key == HKEY_LOCAL_MACHINE) return ERROR_SUCCESS;
  return store.handles.erase(reinterpret_cast<uintptr_t>(key)) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS RegSetValueW(HKEY key, LPCWSTR subkey, DWORD type, LPCWSTR data, DWORD) {
  if (type != REG_SZ) return ERROR_INVALID_PARAMETER;
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  Handle handle;
  if (!store.Resolve(key, handle)) return ERROR_INVALID_HANDLE;
  Path path = handle.path;
  for (std::wstring& part : Split(subkey)) path.push_back(std::move(part));
  LSTATUS status;
  Node* node = store.Write(handle.root, path, status);
  if (!node) return status;
  SetString(*node, L"", REG_SZ, StringBytes(data));
  store.Persist();
  return ERROR_SUCCESS;
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  Handle handle;
  if (!store.Resolve(key, handle)) return ERROR_INVALID_HANDLE;
  if (!data && size) return ERROR_INVALID_PARAMETER;
  LSTATUS status;
  Node* node = store.Write(handle.root, handle.path, status);
  if (!node) return status;
  // A string comes as the caller's characters; it is kept as the registry keeps strings.
  std::vector<BYTE> bytes(data, data + size);
  if (type == REG_SZ) {
    std::wstring text(size / sizeof(wchar_t), L'\0');
    if (!text.empty()) std::memcpy(text.data(), data, text.size() * sizeof(wchar_t));
    bytes = StringBytes(text.c_str());
  }
  SetString(*node, name ? name : L"", type, bytes);
  store.Persist();
  return ERROR_SUCCESS;
}

LSTATUS RegQueryValueW(HKEY key, LPCWSTR subkey, LPWSTR data, PLONG size) {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  Handle handle;
  if (!store.Resolve(key, handle)) return ERROR_INVALID_HANDLE;
  Path path = handle.path;
  for (std::wstring& part : Split(subkey)) path.push_back(std::move(part));
  Node* node = store.Read(handle.root, path);
  if (!node) return ERROR_FILE_NOT_FOUND;
  const Value* value = FindValue(*node, L"");
  const std::wstring text = value ? BytesString(value->data) : std::wstring();
  const LONG needed = static_cast<LONG>((text.size() + 1) * sizeof(wchar_t));
  if (!size) return ERROR_INVALID_PARAMETER;
  if (!data) {
    *size = needed;
    return ERROR_SUCCESS;
  }
  if (*size < needed) {
    *size = needed;
    return ERROR_MORE_DATA;
  }
  text.copy(data, text.size());
  data[text.size()] = L'\0';
  *size = needed;
  return ERROR_SUCCESS;
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, BYTE* data, LPDWORD size) {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  Handle handle;
  if (!store.Resolve(key, handle)) return ERROR_INVALID_HANDLE;
  Node* node = store.Read(handle.root, handle.path);
  const Value* value = node ? FindValue(*node, name ? name : L"") : nullptr;
  if (!value) return ERROR_FILE_NOT_FOUND;
  if (type) *type = value->type;
  if (!size) return data ? ERROR_INVALID_PARAMETER : ERROR_SUCCESS;
  std::vector<BYTE> bytes = value->data;
  if (value->type == REG_SZ) {  // back as the caller's characters, with the terminator
    const std::wstring text = BytesString(value->data);
    bytes.assign(reinterpret_cast<const BYTE*>(text.c_str()),
                 reinterpret_cast<const BYTE*>(text.c_str() + text.size() + 1));
  }
  const DWORD needed = static_cast<DWORD>(bytes.size());
  if (data && *size < needed) {
    *size = needed;
    return ERROR_MORE_DATA;
  }
  if (data) std::copy(bytes.begin(), bytes.end(), data);
  *size = needed;
  return ERROR_SUCCESS;
}

LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD size) {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  Handle handle;
  if (!store.Resolve(key, handle)) return ERROR_INVALID_HANDLE;
  // The classes view lists the user's keys, then the machine's that the user has not.
  std::vector<std::wstring> names;
  auto add = [&](Node* node) {
    if (!node) return;
    for (const auto& child : node->children) {
      bool seen = false;
      for (const std::wstring& n : names) seen = seen || SameName(n, child->name);
      if (!seen) names.push_back(child->name);
    }
  };
  if (handle.root == Root::Classes) {
    add(Store::Find(store.user, Store::Classes(handle.path)));
    add(Store::Find(store.machine, Store::Classes(handle.path)));
  } else {
    add(store.Read(handle.root, handle.path));
  }
  if (index >= names.size()) return ERROR_NO_MORE_ITEMS;
  if (!name || size <= names[index].size()) return ERROR_MORE_DATA;
  names[index].copy(name, names[index].size());
  name[names[index].size()] = L'\0';
  return ERROR_SUCCESS;
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subkey) {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  Handle handle;
  if (!store.Resolve(key, handle)) return ERROR_INVALID_HANDLE;
  Path path = handle.path;
  for (std::wstring& part : Split(subkey)) path.push_back(std::move(part));
  if (path.empty()) return ERROR_ACCESS_DENIED;
  // The copy a write would reach: for the classes view, the user's if it has one.
  Node* root = nullptr;
  Path full = path;
  if (handle.root == Root::User || (handle.root == Root::Classes && Store::Find(store.user, Store::Classes(path)))) {
    root = &store.user;
    if (handle.root == Root::Classes) full = Store::Classes(path);
  } else {
    if (!store.machine_writable) return Store::Find(store.machine, handle.root == Root::Classes ? Store::Classes(path) : path)
                                           ? ERROR_ACCESS_DENIED
                                           : ERROR_FILE_NOT_FOUND;
    root = &store.machine;
    if (handle.root == Root::Classes) full = Store::Classes(path);
  }
  const std::wstring last = full.back();
  full.pop_back();
  Node* parent = Store::Find(*root, full);
  Node* node = parent ? Store::Child(*parent, last) : nullptr;
  if (!node) return ERROR_FILE_NOT_FOUND;
  if (!node->children.empty()) return ERROR_ACCESS_DENIED;
  for (auto it = parent->children.begin(); it != parent->children.end(); ++it)
    if (it->get() == node) {
      parent->children.erase(it);
      break;
    }
  store.Persist();
  return ERROR_SUCCESS;
}

namespace Ostrum::Desktop {

bool SetRegistryDirectory(const std::wstring& directory) {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  if (directory.empty()) {
    store.directory.clear();
    return true;
  }
  std::string native;
  for (wchar_t c : directory) Ostrum::Desktop::Private::AppendUtf8(native, static_cast<uint32_t>(c));
  ::mkdir(native.c_str(), 0700);
  struct stat info;
  if (::stat(native.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return false;
  if (!store.Load(native + "/registry")) return false;
  store.directory = native;
  return true;
}

void SetMachineRegistryWritable(bool writable) {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  store.machine_writable = writable;
}

void ClearRegistry() {
  Store& store = Store::Get();
  std::lock_guard lock(store.mutex);
  store.user = Node();
  store.machine = Node();
  store.handles.clear();
}

}  // namespace Ostrum::Desktop
