#include "ostrum/foundation/platform/Resources.h"

#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <tuple>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/private/ResetHooks.h"

namespace {

using Key = std::tuple<uintptr_t, uintptr_t, UINT>;  // module, type, id

// The resources of every module. Data blocks are never freed: a reader may hold a pointer from
// LockResource for as long as it likes, as with a loaded module on the desktop.
class ResourceTable {
 public:
  static ResourceTable& Get() {
    static ResourceTable* table = new ResourceTable;
    return *table;
  }

  void Set(Key key, std::vector<BYTE> bytes) {
    std::lock_guard lock(m_mutex);
    m_blocks.push_back(std::make_unique<std::vector<BYTE>>(std::move(bytes)));
    m_entries[key] = m_blocks.back().get();
  }
  bool Remove(Key key) {
    std::lock_guard lock(m_mutex);
    return m_entries.erase(key) != 0;
  }
  const std::vector<BYTE>* Find(Key key) {
    std::lock_guard lock(m_mutex);
    auto it = m_entries.find(key);
    return it == m_entries.end() ? nullptr : it->second;
  }
  void Clear() {
    std::lock_guard lock(m_mutex);
    m_entries.clear();
  }

 private:
  std::mutex m_mutex;
  std::map<Key, const std::vector<BYTE>*> m_entries;
  std::vector<std::unique_ptr<std::vector<BYTE>>> m_blocks;
};

const bool g_reset_registered = Ostrum::Desktop::Private::AddResetHook([] { ResourceTable::Get().Clear(); });

uintptr_t ModuleKey(HMODULE module) {
  return reinterpret_cast<uintptr_t>(module ? module : GetModuleHandleW(nullptr));
}

void PutWord(std::vector<BYTE>& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<BYTE>(value >> (8 * i)));
}

}  // namespace

HRSRC FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type) {
  if (!IS_INTRESOURCE(name) || !IS_INTRESOURCE(type)) {
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return nullptr;
  }
  const Key key{ModuleKey(module), reinterpret_cast<uintptr_t>(type), static_cast<UINT>(reinterpret_cast<uintptr_t>(name))};
  const std::vector<BYTE>* block = ResourceTable::Get().Find(key);
  if (!block) SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
  // The handle is the block itself: blocks are never freed.
  return reinterpret_cast<HRSRC>(const_cast<std::vector<BYTE>*>(block));
}

HGLOBAL LoadResource(HMODULE, HRSRC resource) {
  if (!resource) return nullptr;
  auto* block = reinterpret_cast<std::vector<BYTE>*>(resource);
  return block->data();
}

LPVOID LockResource(HGLOBAL data) { return data; }

DWORD SizeofResource(HMODULE, HRSRC resource) {
  return resource ? static_cast<DWORD>(reinterpret_cast<std::vector<BYTE>*>(resource)->size()) : 0;
}

namespace Ostrum::Desktop::Resources {

void SetResource(HMODULE module, LPCWSTR type, UINT id, std::vector<BYTE> bytes) {
  ResourceTable::Get().Set(Key{ModuleKey(module), reinterpret_cast<uintptr_t>(type), id}, std::move(bytes));
}

void SetToolbar(HMODULE module, UINT id, int width, int height, const std::vector<UINT>& commands) {
  std::vector<BYTE> bytes;
  PutWord(bytes, 1, 2);
  PutWord(bytes, static_cast<uint32_t>(width), 2);
  PutWord(bytes, static_cast<uint32_t>(height), 2);
  PutWord(bytes, static_cast<uint32_t>(commands.size()), 2);
  for (UINT command : commands) PutWord(bytes, command, 2);
  SetResource(module, RT_TOOLBAR, id, std::move(bytes));
}

void SetAccelerators(HMODULE module, UINT id, const std::vector<ACCEL>& entries) {
  std::vector<BYTE> bytes;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const uint32_t last = i + 1 == entries.size() ? 0x80 : 0;
    PutWord(bytes, entries[i].fVirt | last, 2);
    PutWord(bytes, entries[i].key, 2);
    PutWord(bytes, entries[i].cmd, 2);
    PutWord(bytes, 0, 2);
  }
  SetResource(module, RT_ACCELERATOR, id, std::move(bytes));
}

void SetBitmap(HMODULE module, UINT id, const BitmapPixels& pixels) {
  BITMAPINFOHEADER header;
  header.biWidth = pixels.width;
  header.biHeight = pixels.height;
  header.biSizeImage = static_cast<DWORD>(pixels.pixels.size() * 4);
  std::vector<BYTE> bytes(sizeof header);
  std::memcpy(bytes.data(), &header, sizeof header);
  for (int y = pixels.height - 1; y >= 0; --y)
    for (int x = 0; x < pixels.width; ++x)
      PutWord(bytes, pixels.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.width) + static_cast<std::size_t>(x)], 4);
  SetResource(module, RT_BITMAP, id, std::move(bytes));
}

bool Remove(HMODULE module, LPCWSTR type, UINT id) {
  return ResourceTable::Get().Remove(Key{ModuleKey(module), reinterpret_cast<uintptr_t>(type), id});
}

bool ReadBitmap(HMODULE module, UINT id, BitmapPixels& out) {
  HRSRC resource = FindResourceW(module, MAKEINTRESOURCEW(static_cast<WORD>(id)), RT_BITMAP);
  if (!resource) return false;
  const auto* bytes = static_cast<const BYTE*>(LockResource(LoadResource(module, resource)));
  const DWORD size = SizeofResource(module, resource);
  BITMAPINFOHEADER header;
  if (size < sizeof header) return false;
  std::memcpy(&header, bytes, sizeof header);
  const int bpp = header.biBitCount;
  if (header.biCompression != BI_RGB || (bpp != 32 && bpp != 24) || header.biWidth <= 0 || header.biHeight == 0) return false;
  const int width = header.biWidth;
  const int height = header.biHeight < 0 ? -header.biHeight : header.biHeight;
  const std::size_t stride = (static_cast<std::size_t>(width) * static_cast<std::size_t>(bpp / 8) + 3) & ~std::size_t{3};
  if (size < header.biSize + stride * static_cast<std::size_t>(height)) return false;
  out.width = width;
  out.height = height;
  out.pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
  const BYTE* rows = bytes + header.biSize;
  for (int row = 0; row < height; ++row) {
    const int y = header.biHeight > 0 ? height - 1 - row : row;
    const BYTE* p = rows + stride * static_cast<std::size_t>(row);
    for (int x = 0; x < width; ++x, p += bpp / 8)
      out.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] =
          static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16);
  }
  return true;
}

}  // namespace Ostrum::Desktop::Resources
