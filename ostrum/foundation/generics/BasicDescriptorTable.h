#pragma once
// Generic::BasicDescriptorTable: opaque 64-bit keys for objects, so that a handle can be held
// after its object has gone and then simply finds nothing.

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "ostrum/Export.h"

namespace Generic {

/// A thread-safe table from 64-bit keys to `void*`. The table never owns the objects.
///
/// A key is made of a slot index (low 32 bits) and the slot's generation (bits 32 to 62), so
/// lookup is one bounds check and one comparison. Unregistering advances the slot's generation,
/// which makes every key the table ever handed out unique for the life of the table: a stale
/// key finds nothing. A slot whose generation is used up is retired rather than wrapped. Keys
/// are never 0 and always fit a signed 64-bit integer.
class OSTRUM_API BasicDescriptorTable {
 public:
  using Key = std::uint64_t;

  /// A table with room for 64 objects before it first grows, doubling when full.
  BasicDescriptorTable();
  /// A table with room for `initial_capacity` objects before it first grows; when full it grows
  /// by `growth` slots, or doubles when `growth` is 0. The sizes only tune allocation: the table
  /// holds as many objects as memory allows.
  BasicDescriptorTable(std::size_t initial_capacity, std::size_t growth);
  ~BasicDescriptorTable();

  BasicDescriptorTable(const BasicDescriptorTable&) = delete;
  BasicDescriptorTable& operator=(const BasicDescriptorTable&) = delete;

  /// Enters `object` and answers its new key; 0 for a null object or when no slot can be had.
  /// The same object may be entered more than once and then has several keys.
  Key RegisterObject(void* object);
  /// The object entered under `key`; null if the key is 0, unknown or already unregistered.
  void* GetObjectByKey(Key key) const;
  /// Takes the entry out and answers its object; null if the key finds nothing. After this the
  /// key finds nothing for ever, so of two threads racing to unregister one key exactly one
  /// gets the object.
  void* UnregisterObject(Key key);
  /// The number of objects entered now.
  std::size_t GetCount() const;

 protected:
  /// For tests: a table whose slots retire after `generation_limit` generations instead of
  /// 2^31 - 1, so retirement can be reached quickly. A limit below 1 is taken as 1.
  BasicDescriptorTable(std::size_t initial_capacity, std::size_t growth,
                       std::uint32_t generation_limit);
  /// The number of slots allocated so far, in use, free or retired.
  std::size_t GetSlotCount() const;

 private:
  struct Slot {
    void* object = nullptr;          // null while free or retired
    std::uint32_t generation = 1;    // the generation the slot's next or current key carries
    std::uint32_t next_free = 0;     // index + 1 of the next free slot, 0 at the end of the list
  };

  bool _Grow();

  mutable std::mutex m_mutex;
  std::vector<Slot> m_slots;
  std::uint32_t m_free_head = 0;     // index + 1 of the first free slot, 0 when none is free
  std::size_t m_count = 0;
  std::size_t m_growth;
  std::uint32_t m_generation_limit;
};

}  // namespace Generic
