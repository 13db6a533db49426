#include "ostrum/foundation/core/StringResources.h"

#include <mutex>
#include <shared_mutex>
#include <unordered_map>

namespace {

struct StringTable {
  std::shared_mutex mutex;
  std::unordered_map<unsigned int, std::wstring> texts;
};

// Made on first use and never destroyed, so that code running during static destruction
// (tasks discarded at exit) still finds a table.
StringTable& Table() {
  static StringTable* table = new StringTable;
  return *table;
}

}  // namespace

bool VarnResLoadStringEx(unsigned int id, std::wstring& text) {
  StringTable& table = Table();
  std::shared_lock lock(table.mutex);
  auto it = table.texts.find(id);
  if (it == table.texts.end()) {
    text.clear();
    return false;
  }
  text = it->second;
  return true;
}

bool VarnResLoadStringEx(unsigned int id, CString& text) {
  return VarnResLoadStringEx(id, text.Str());
}

CString VarnResLoadStringEx(unsigned int id) {
  std::wstring text;
  VarnResLoadStringEx(id, text);
  return CString(std::move(text));
}

void VarnResSetString(unsigned int id, const wchar_t* text) {
  if (text == nullptr) {
    VarnResRemoveString(id);
    return;
  }
  VarnResSetString(id, std::wstring(text));
}

void VarnResSetString(unsigned int id, const std::wstring& text) {
  StringTable& table = Table();
  std::unique_lock lock(table.mutex);
  table.texts.insert_or_assign(id, text);
}

bool VarnResRemoveString(unsigned int id) {
  StringTable& table = Table();
  std::unique_lock lock(table.mutex);
  return table.texts.erase(id) != 0;
}

void VarnResClearStrings() {
  StringTable& table = Table();
  std::unique_lock lock(table.mutex);
  table.texts.clear();
}
