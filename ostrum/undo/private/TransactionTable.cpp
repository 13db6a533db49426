#include "ostrum/undo/private/TransactionTable.h"

#include <bit>
#include <mutex>
#include <new>

namespace Ostrum::Undo::Private {

namespace {

// A key: the slot in bits 0..19, the table in bits 20..38, the slot's generation in bits
// 39..62. Generations start at 1, so a key is never 0, and bit 63 stays clear, so a key read as
// a signed 64-bit number is never negative.
constexpr int kSlotBits = 20;
constexpr int kTableBits = 19;
constexpr std::uint64_t kSlotMask = (std::uint64_t{1} << kSlotBits) - 1;
constexpr std::uint64_t kTableMask = (std::uint64_t{1} << kTableBits) - 1;
constexpr int kGenerationShift = kSlotBits + kTableBits;
// A slot whose generation reaches this is retired rather than wrapped: no key comes back.
constexpr std::uint32_t kGenerationLimit = (std::uint32_t{1} << 24) - 1;

constexpr TransactionTable::Key MakeKey(std::uint32_t table, std::uint32_t slot, std::uint32_t generation) {
  return (static_cast<std::uint64_t>(generation) << kGenerationShift) |
         (static_cast<std::uint64_t>(table) << kSlotBits) | slot;
}

class TableFull : public std::bad_alloc {
 public:
  const char* what() const noexcept override { return "bad allocation"; }
};

}  // namespace

// The tables of the process by index, in chunks that never move (a lookup reads them without a
// lock), and the tables given back, which the next controller takes over. Made on first use and
// never destroyed: stale handles may be looked up by static objects at exit.
class TransactionTableDirectory {
 public:
  static constexpr std::uint32_t kChunkSize = 1024;
  static constexpr std::uint32_t kChunkCount = (kTableMask + 1) / kChunkSize;

  static TransactionTableDirectory& Instance() {
    static auto* directory = new TransactionTableDirectory;
    return *directory;
  }

  TransactionTable* Find(std::uint32_t index) const {
    const auto* chunk = m_chunks[index / kChunkSize].load(std::memory_order_acquire);
    return chunk ? chunk[index % kChunkSize].load(std::memory_order_acquire) : nullptr;
  }

  TransactionTable* Acquire() {
    std::lock_guard<std::mutex> guard(m_mutex);
    if (TransactionTable* table = m_spare) {
      m_spare = table->m_next_spare;
      table->m_next_spare = nullptr;
      return table;
    }
    if (m_count > kTableMask) return nullptr;
    const std::uint32_t index = m_count;
    auto*& chunk_slot = m_owned_chunks[index / kChunkSize];
    if (!chunk_slot) {
      chunk_slot = new (std::nothrow) std::atomic<TransactionTable*>[kChunkSize];
      if (!chunk_slot) return nullptr;
      for (std::uint32_t i = 0; i < kChunkSize; ++i) chunk_slot[i].store(nullptr, std::memory_order_relaxed);
      m_chunks[index / kChunkSize].store(chunk_slot, std::memory_order_release);
    }
    auto* table = new (std::nothrow) TransactionTable(index);
    if (!table) return nullptr;
    chunk_slot[index % kChunkSize].store(table, std::memory_order_release);
    ++m_count;
    return table;
  }

  void Release(TransactionTable* table) {
    std::lock_guard<std::mutex> guard(m_mutex);
    table->m_next_spare = m_spare;
    m_spare = table;
  }

 private:
  std::mutex m_mutex;
  std::atomic<std::atomic<TransactionTable*>*> m_chunks[kChunkCount] = {};
  std::atomic<TransactionTable*>* m_owned_chunks[kChunkCount] = {};  // the same, for the writer
  std::uint32_t m_count = 0;
  TransactionTable* m_spare = nullptr;
};

TransactionTable* TransactionTable::Acquire() { return TransactionTableDirectory::Instance().Acquire(); }

void TransactionTable::Release(TransactionTable* table) {
  if (table) TransactionTableDirectory::Instance().Release(table);
}

TransactionTable::Slot* TransactionTable::_SlotAt(std::uint32_t slot) const {
  // Chunk c starts at kFirstChunk * (2^c - 1).
  const std::uint32_t chunk = static_cast<std::uint32_t>(std::bit_width(slot / kFirstChunk + 1)) - 1;
  if (chunk >= kChunks) return nullptr;
  Slot* slots = m_chunks[chunk].load(std::memory_order_acquire);
  return slots ? slots + (slot - kFirstChunk * ((1u << chunk) - 1)) : nullptr;
}

bool TransactionTable::_Grow() {
  const std::uint32_t chunk = static_cast<std::uint32_t>(std::bit_width(m_slot_count / kFirstChunk + 1)) - 1;
  if (chunk >= kChunks || m_slot_count > kSlotMask) return false;
  if (!m_chunks[chunk].load(std::memory_order_relaxed)) {
    Slot* slots = new (std::nothrow) Slot[kFirstChunk << chunk];
    if (!slots) return false;
    m_chunks[chunk].store(slots, std::memory_order_release);
  }
  ++m_slot_count;
  return true;
}

TransactionTable::Key TransactionTable::Register(void* object) {
  if (!object) return 0;
  std::uint32_t index;
  if (m_free_head != 0) {
    index = m_free_head - 1;
  } else {
    if (!_Grow()) return 0;
    index = m_slot_count - 1;
  }
  Slot* slot = _SlotAt(index);
  if (m_free_head != 0) m_free_head = slot->next_free;
  slot->next_free = 0;
  slot->object.store(object, std::memory_order_release);
  return MakeKey(m_index, index, slot->generation.load(std::memory_order_relaxed));
}

void TransactionTable::Unregister(Key key) {
  const auto index = static_cast<std::uint32_t>(key & kSlotMask);
  const auto generation = static_cast<std::uint32_t>(key >> kGenerationShift);
  if (((key >> kSlotBits) & kTableMask) != m_index || index >= m_slot_count) return;
  Slot* slot = _SlotAt(index);
  if (slot->generation.load(std::memory_order_relaxed) != generation ||
      !slot->object.load(std::memory_order_relaxed))
    return;
  slot->object.store(nullptr, std::memory_order_relaxed);
  // The new generation is published before the slot can carry another object (see Lookup).
  slot->generation.store(generation + 1, std::memory_order_release);
  if (generation + 1 < kGenerationLimit) {
    slot->next_free = m_free_head;
    m_free_head = index + 1;
  }
  // Otherwise the slot is retired: it stays empty and off the free list.
}

void* TransactionTable::Lookup(Key key) {
  if (key == 0) return nullptr;
  const TransactionTable* table =
      TransactionTableDirectory::Instance().Find(static_cast<std::uint32_t>((key >> kSlotBits) & kTableMask));
  if (!table) return nullptr;
  const Slot* slot = table->_SlotAt(static_cast<std::uint32_t>(key & kSlotMask));
  if (!slot) return nullptr;
  const auto generation = static_cast<std::uint32_t>(key >> kGenerationShift);
  // The object counts only if the slot carried this key's generation before and after it was
  // read: an object stored for a later key is stored after that key's generation, so reading it
  // means reading the later generation too.
  if (slot->generation.load(std::memory_order_acquire) != generation) return nullptr;
  void* object = slot->object.load(std::memory_order_acquire);
  if (slot->generation.load(std::memory_order_relaxed) != generation) return nullptr;
  return object;
}

void ThrowTableFull() { throw TableFull(); }

}  // namespace Ostrum::Undo::Private
