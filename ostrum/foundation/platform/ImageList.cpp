#include "ostrum/foundation/platform/ImageList.h"

#include <mutex>
#include <unordered_map>

namespace {

using Ostrum::Desktop::BitmapPixels;

struct ImageListRecord {
  int cx = 0;
  int cy = 0;
  std::vector<BitmapPixels> images;
};

// The table of image lists; handles start at 0x50010 and step by two, never reused.
class ImageListTable {
 public:
  static ImageListTable& Get() {
    static ImageListTable* table = new ImageListTable;
    return *table;
  }
  HIMAGELIST Add(int cx, int cy) {
    std::lock_guard lock(m_mutex);
    const uintptr_t key = m_next;
    m_next += 2;
    m_lists[key] = ImageListRecord{cx, cy, {}};
    return reinterpret_cast<HIMAGELIST>(key);
  }
  template <class F>
  auto With(HIMAGELIST list, F&& f, decltype(f(std::declval<ImageListRecord&>())) none) {
    std::lock_guard lock(m_mutex);
    auto it = m_lists.find(reinterpret_cast<uintptr_t>(list));
    return it == m_lists.end() ? none : f(it->second);
  }
  bool Remove(HIMAGELIST list) {
    std::lock_guard lock(m_mutex);
    return m_lists.erase(reinterpret_cast<uintptr_t>(list)) != 0;
  }

 private:
  std::mutex m_mutex;
  std::unordered_map<uintptr_t, ImageListRecord> m_lists;
  uintptr_t m_next = 0x50010;
};

int Append(HIMAGELIST list, HBITMAP bitmap, bool masked, COLORREF mask) {
  BitmapPixels source;
  if (!Ostrum::Desktop::GetBitmapPixels(bitmap, source)) return -1;
  return ImageListTable::Get().With(
      list,
      [&](ImageListRecord& record) {
        const int count = source.width / record.cx;
        if (count < 1) return -1;
        const int first = static_cast<int>(record.images.size());
        for (int i = 0; i < count; ++i) {
          BitmapPixels image;
          image.width = record.cx;
          image.height = record.cy;
          image.pixels.assign(static_cast<std::size_t>(record.cx) * static_cast<std::size_t>(record.cy), 0);
          for (int y = 0; y < record.cy && y < source.height; ++y) {
            for (int x = 0; x < record.cx; ++x) {
              const uint32_t p = source.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(source.width) +
                                               static_cast<std::size_t>(i * record.cx + x)] & 0xFFFFFF;
              const bool transparent = masked && source.At(i * record.cx + x, y) == mask;
              image.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(record.cx) + static_cast<std::size_t>(x)] =
                  transparent ? p : (p | 0xFF000000u);
            }
          }
          record.images.push_back(std::move(image));
        }
        return first;
      },
      -1);
}

}  // namespace

HIMAGELIST ImageList_Create(int cx, int cy, UINT, int, int) {
  if (cx <= 0 || cy <= 0) return nullptr;
  return ImageListTable::Get().Add(cx, cy);
}

BOOL ImageList_Destroy(HIMAGELIST list) { return ImageListTable::Get().Remove(list) ? TRUE : FALSE; }

int ImageList_AddMasked(HIMAGELIST list, HBITMAP bitmap, COLORREF mask) { return Append(list, bitmap, true, mask); }

int ImageList_Add(HIMAGELIST list, HBITMAP bitmap, HBITMAP) { return Append(list, bitmap, false, 0); }

int ImageList_GetImageCount(HIMAGELIST list) {
  return ImageListTable::Get().With(list, [](ImageListRecord& record) { return static_cast<int>(record.images.size()); }, 0);
}

BOOL ImageList_Remove(HIMAGELIST list, int index) {
  return ImageListTable::Get().With(
      list,
      [&](ImageListRecord& record) -> BOOL {
        if (index == -1) {
          record.images.clear();
          return TRUE;
        }
        if (index < 0 || static_cast<std::size_t>(index) >= record.images.size()) return FALSE;
        record.images.erase(record.images.begin() + index);
        return TRUE;
      },
      FALSE);
}

BOOL ImageList_GetIconSize(HIMAGELIST list, int* cx, int* cy) {
  return ImageListTable::Get().With(
      list,
      [&](ImageListRecord& record) -> BOOL {
        if (cx) *cx = record.cx;
        if (cy) *cy = record.cy;
        return TRUE;
      },
      FALSE);
}

namespace Ostrum::Desktop {

bool GetImageListImage(HIMAGELIST list, int index, BitmapPixels& out) {
  return ImageListTable::Get().With(
      list,
      [&](ImageListRecord& record) {
        if (index < 0 || static_cast<std::size_t>(index) >= record.images.size()) return false;
        out = record.images[static_cast<std::size_t>(index)];
        return true;
      },
      false);
}

}  // namespace Ostrum::Desktop
