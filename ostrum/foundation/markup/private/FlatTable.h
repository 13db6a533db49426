#pragma once
// FlatTable: the table a read keeps per element or per object (reference numbers, the roles of
// the objects taking part, handles read, parents claimed), as one array with open addressing.
//
// A read of a large plan makes hundreds of thousands of entries; node-based hash tables spent
// more time allocating, rehashing and freeing their nodes than the parser spent on the file.
// Keys are pointers or non-zero integers; the zero key marks a free slot and is never stored.
// Entries are never erased one by one: a table is filled during a read and dropped whole.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

namespace Ostrum::Markup::Private {

template <typename Key, typename Value>
class FlatTable {
 public:
  FlatTable() = default;
  FlatTable(FlatTable const&) = delete;
  FlatTable& operator=(FlatTable const&) = delete;

  std::size_t Size() const { return m_size; }

  /// The value under `key`, null when there is none.
  Value* Find(Key key) const {
    if (m_size == 0) return nullptr;
    for (std::size_t i = Home(key);; i = (i + 1) & m_mask) {
      Slot& slot = m_slots[i];
      if (slot.key == key) return &slot.value;
      if (slot.key == Key{}) return nullptr;
    }
  }

  /// The value under `key`, made from `value` if there was none; true when it was made.
  /// `key` must not be the zero key.
  std::pair<Value*, bool> Insert(Key key, Value value) {
    if (!m_slots || 2 * (m_size + 1) > m_mask + 1) Grow();
    for (std::size_t i = Home(key);; i = (i + 1) & m_mask) {
      Slot& slot = m_slots[i];
      if (slot.key == key) return {&slot.value, false};
      if (slot.key == Key{}) {
        slot.key = key;
        slot.value = std::move(value);
        ++m_size;
        return {&slot.value, true};
      }
    }
  }

  Value& operator[](Key key) { return *Insert(key, Value{}).first; }

  /// Room for `count` entries without growing.
  void Reserve(std::size_t count) {
    while (!m_slots || 2 * count > m_mask + 1) Grow();
  }

  /// Calls `f(key, value)` for every entry, in no particular order.
  template <typename F>
  void ForEach(F&& f) const {
    if (m_size == 0) return;
    for (std::size_t i = 0; i <= m_mask; ++i)
      if (m_slots[i].key != Key{}) f(m_slots[i].key, m_slots[i].value);
  }

  /// Drops every entry and the memory.
  void Clear() {
    m_slots.reset();
    m_mask = kEmptyMask;
    m_size = 0;
  }

 private:
  struct Slot {
    Key key{};
    Value value{};
  };
  // An empty table has no slots; the first insertion makes 16.
  static constexpr std::size_t kEmptyMask = 7;

  // Fibonacci hashing: the high bits of the product mix all bits of the key.
  static std::uint64_t Mix(std::uint64_t bits) { return (bits * 0x9E3779B97F4A7C15ull) >> 32; }

  std::size_t Home(Key key) const {
    if constexpr (std::is_pointer_v<Key>) {
      // Objects made one after the other share a page and are mostly looked up one after the
      // other: the page picks a block of 256 slots at random and the place in the page the slot
      // in the block, so such lookups stay within a few cache lines instead of one miss each.
      auto const address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(key));
      return static_cast<std::size_t>(Mix(address >> 12) ^ ((address >> 4) & 0xFF)) & m_mask;
    } else {
      return static_cast<std::size_t>(Mix(static_cast<std::uint64_t>(key))) & m_mask;
    }
  }

  void Grow() {
    std::size_t const capacity = m_slots ? 2 * (m_mask + 1) : 2 * (kEmptyMask + 1);
    std::unique_ptr<Slot[]> old = std::move(m_slots);
    std::size_t const old_capacity = old ? m_mask + 1 : 0;
    m_slots = std::make_unique<Slot[]>(capacity);
    m_mask = capacity - 1;
    for (std::size_t i = 0; i < old_capacity; ++i) {
      if (old[i].key == Key{}) continue;
      std::size_t j = Home(old[i].key);
      while (m_slots[j].key != Key{}) j = (j + 1) & m_mask;
      m_slots[j] = std::move(old[i]);
    }
  }

  std::unique_ptr<Slot[]> m_slots;
  std::size_t m_mask = kEmptyMask;
  std::size_t m_size = 0;
};

}  // namespace Ostrum::Markup::Private
