#include "ostrum/foundation/generics/BasicDescriptorTable.h"

#include <algorithm>
#include <exception>

namespace Generic {

namespace {

constexpr std::size_t kDefaultCapacity = 64;
// Generations live in bits 32..62, so a key is never negative as a signed 64-bit value.
constexpr std::uint32_t kMaxGeneration = 0x7FFFFFFFu;
// Slot indices are 32 bits; index + 1 must also fit, for the free list.
constexpr std::size_t kMaxSlots = 0xFFFFFFFEu;

constexpr BasicDescriptorTable::Key MakeKey(std::uint32_t index, std::uint32_t generation) {
  return (static_cast<BasicDescriptorTable::Key>(generation) << 32) | index;
}

}  // namespace

BasicDescriptorTable::BasicDescriptorTable() : BasicDescriptorTable(kDefaultCapacity, 0) {}

BasicDescriptorTable::BasicDescriptorTable(std::size_t initial_capacity, std::size_t growth)
    : BasicDescriptorTable(initial_capacity, growth, kMaxGeneration) {}

BasicDescriptorTable::BasicDescriptorTable(std::size_t initial_capacity, std::size_t growth,
                                           std::uint32_t generation_limit)
    : m_growth(growth),
      m_generation_limit(std::clamp<std::uint32_t>(generation_limit, 1, kMaxGeneration)) {
  try {
    m_slots.reserve(std::min(initial_capacity, kMaxSlots));
  } catch (const std::exception&) {
    // Too large a first reservation is only a missed optimisation: the table grows on demand.
  }
}

BasicDescriptorTable::~BasicDescriptorTable() = default;

bool BasicDescriptorTable::_Grow() {
  const std::size_t size = m_slots.size();
  if (size >= kMaxSlots) return false;
  if (size == m_slots.capacity()) {
    std::size_t step = m_growth != 0 ? m_growth : std::max<std::size_t>(size, kDefaultCapacity);
    std::size_t target = std::min(kMaxSlots, size + std::max<std::size_t>(step, 1));
    try {
      m_slots.reserve(target);
    } catch (const std::exception&) {
      return false;
    }
  }
  m_slots.emplace_back();  // cannot throw: capacity is there
  return true;
}

BasicDescriptorTable::Key BasicDescriptorTable::RegisterObject(void* object) {
  if (object == nullptr) return 0;
  std::lock_guard<std::mutex> lock(m_mutex);
  std::uint32_t index;
  if (m_free_head != 0) {
    index = m_free_head - 1;
    m_free_head = m_slots[index].next_free;
  } else {
    if (!_Grow()) return 0;
    index = static_cast<std::uint32_t>(m_slots.size() - 1);
  }
  Slot& slot = m_slots[index];
  slot.object = object;
  slot.next_free = 0;
  ++m_count;
  return MakeKey(index, slot.generation);
}

void* BasicDescriptorTable::GetObjectByKey(Key key) const {
  const auto index = static_cast<std::uint32_t>(key);
  const auto generation = static_cast<std::uint32_t>(key >> 32);
  std::lock_guard<std::mutex> lock(m_mutex);
  if (index >= m_slots.size()) return nullptr;
  const Slot& slot = m_slots[index];
  // A free or retired slot holds null, so its stale keys find nothing whatever they carry.
  return slot.generation == generation ? slot.object : nullptr;
}

void* BasicDescriptorTable::UnregisterObject(Key key) {
  const auto index = static_cast<std::uint32_t>(key);
  const auto generation = static_cast<std::uint32_t>(key >> 32);
  std::lock_guard<std::mutex> lock(m_mutex);
  if (index >= m_slots.size()) return nullptr;
  Slot& slot = m_slots[index];
  if (slot.object == nullptr || slot.generation != generation) return nullptr;
  void* object = slot.object;
  slot.object = nullptr;
  --m_count;
  if (slot.generation < m_generation_limit) {
    ++slot.generation;
    slot.next_free = m_free_head;
    m_free_head = index + 1;
  }
  // Otherwise the slot is retired: it stays null and off the free list, so no key it carried
  // can ever come back.
  return object;
}

std::size_t BasicDescriptorTable::GetCount() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_count;
}

std::size_t BasicDescriptorTable::GetSlotCount() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_slots.size();
}

}  // namespace Generic
