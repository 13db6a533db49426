#include "ostrum/persistence/MSCObjectFactory.h"

#include <map>
#include <mutex>

namespace Ostrum {

namespace {

struct Record {
  MSCObjectFactory::Creator m_default_creator;
  std::map<std::wstring, MSCObjectFactory::Creator> m_parent_creators;
};

struct Registry {
  std::recursive_mutex m_lock;
  std::map<std::wstring, Record> m_records;
  std::wstring const m_any_parent;
};

// Made on first use, so that a host's static object may register before main; never destroyed,
// so that one unregistering at exit finds it still there.
Registry& TheRegistry() {
  static Registry* const registry = new Registry();
  return *registry;
}

}  // namespace

std::wstring const& MSCObjectFactory::AnyParentTag() { return TheRegistry().m_any_parent; }

void MSCObjectFactory::RegisterCreatorForTag(Creator creator, std::wstring const& tag, std::wstring const& parent_tag) {
  Registry& registry = TheRegistry();
  std::lock_guard const lock(registry.m_lock);
  Record& record = registry.m_records[tag];
  if (parent_tag == registry.m_any_parent)
    record.m_default_creator = std::move(creator);
  else
    record.m_parent_creators[parent_tag] = std::move(creator);
}

void MSCObjectFactory::UnregisterCreatorForTag(std::wstring const& tag, std::wstring const& parent_tag) {
  Registry& registry = TheRegistry();
  std::lock_guard const lock(registry.m_lock);
  auto const it = registry.m_records.find(tag);
  if (it == registry.m_records.end()) return;
  Record& record = it->second;
  if (parent_tag == registry.m_any_parent)
    record.m_default_creator.clear();
  else
    record.m_parent_creators.erase(parent_tag);
  if (record.m_default_creator.empty() && record.m_parent_creators.empty()) registry.m_records.erase(it);
}

ISAXPersist* MSCObjectFactory::CreateObjectForTag(std::wstring const& tag, std::wstring const& parent_tag) {
  Registry& registry = TheRegistry();
  std::lock_guard const lock(registry.m_lock);
  auto const it = registry.m_records.find(tag);
  if (it == registry.m_records.end()) return nullptr;
  Record const& record = it->second;
  auto const specific = record.m_parent_creators.find(parent_tag);
  // The creator runs under the lock; a copy keeps it whole should it unregister itself.
  Creator const creator = specific != record.m_parent_creators.end() ? specific->second : record.m_default_creator;
  return creator.empty() ? nullptr : creator();
}

}  // namespace Ostrum
