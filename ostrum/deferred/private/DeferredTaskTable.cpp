#include "ostrum/deferred/private/DeferredTaskTable.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace Ostrum::Private {

namespace {
// Makes the table when the library loads, as the first task would otherwise do.
[[maybe_unused]] const bool g_table_made = (DeferredTaskTable::Get(), true);
}  // namespace

// Gives a registering thread's free slots back to the shared stack when the thread ends, so
// that none is stranded with a thread that will never enter a task again.
struct ThreadSlotsHolder {
  ~ThreadSlotsHolder() { DeferredTaskTable::_GiveBack(DeferredTaskTable::t_slots); }
};

DeferredTaskTable::DeferredTaskTable() { _MakeChunkFor(0); }

bool DeferredTaskTable::_MakeChunkFor(std::uint32_t index) {
  const std::uint64_t position = std::uint64_t{index} + kFirstChunk;
  const int chunk = std::bit_width(position) - std::bit_width(kFirstChunk);
  if (m_chunks[chunk].load(std::memory_order_acquire) != nullptr) return true;
  std::lock_guard<std::mutex> lock(m_grow);
  if (m_chunks[chunk].load(std::memory_order_relaxed) != nullptr) return true;
  Slot* slots = new (std::nothrow) Slot[kFirstChunk << chunk];
  if (slots == nullptr) return false;
  // Published complete: a reader that finds the chunk finds its slots free.
  m_chunks[chunk].store(slots, std::memory_order_release);
  return true;
}

void DeferredTaskTable::_PushShared(std::uint32_t index, Slot& slot) {
  std::uint64_t top = m_shared.load(std::memory_order_relaxed);
  std::uint64_t next;
  do {
    slot.next_free.store(static_cast<std::uint32_t>(top), std::memory_order_relaxed);
    next = ((top >> 32) + 1) << 32 | (std::uint64_t{index} + 1);
  } while (!m_shared.compare_exchange_weak(top, next, std::memory_order_release, std::memory_order_relaxed));
}

std::uint32_t DeferredTaskTable::_PopShared(bool all) {
  std::uint64_t top = m_shared.load(std::memory_order_acquire);
  for (;;) {
    const auto first = static_cast<std::uint32_t>(top);
    if (first == 0) return 0;
    // The slot may be popped and handed on meanwhile; then the count has moved and this fails.
    const std::uint32_t rest = all ? 0 : _Find(first - 1)->next_free.load(std::memory_order_relaxed);
    const std::uint64_t next = ((top >> 32) + 1) << 32 | rest;
    if (m_shared.compare_exchange_weak(top, next, std::memory_order_acquire, std::memory_order_acquire)) {
      if (!all) _Find(first - 1)->next_free.store(0, std::memory_order_relaxed);
      return first;
    }
  }
}

bool DeferredTaskTable::_GrowEntries(ThreadSlots& mine) {
  const std::uint32_t capacity = std::max<std::uint32_t>(kBatch, mine.capacity * 2);
  if (capacity <= mine.capacity) return false;
  auto* entries = static_cast<Key*>(std::realloc(mine.entries, std::size_t{capacity} * sizeof(Key)));
  if (entries == nullptr) return false;
  mine.entries = entries;
  mine.capacity = capacity;
  return true;
}

bool DeferredTaskTable::_Refill(ThreadSlots& mine) {
  if (!mine.active && !mine.gone) {
    // From now on this thread keeps the slots it frees; they go back when it ends.
    thread_local ThreadSlotsHolder holder;
    mine.active = true;
  }
  if (!mine.active) {
    // 0. A thread that is ending takes one slot at a time, so that it strands nothing.
    std::uint32_t first = _PopShared(false);
    if (first == 0) {
      const std::uint64_t fresh = m_next_fresh.fetch_add(1, std::memory_order_relaxed);
      if (fresh >= kMaxSlots || !_MakeChunkFor(static_cast<std::uint32_t>(fresh))) return false;
      first = static_cast<std::uint32_t>(fresh) + 1;
    }
    const std::uint64_t state = _Find(first - 1)->state.load(std::memory_order_relaxed);
    mine.spare = (state >> 1) << 32 | (first - 1);
    mine.entries = &mine.spare;
    mine.size = 1;
    return true;
  }
  // 1. All the slots other threads freed, as the keys they will have next.
  for (std::uint32_t next = _PopShared(true); next != 0;) {
    const std::uint32_t index = next - 1;
    const Slot& slot = *_Find(index);
    next = slot.next_free.load(std::memory_order_relaxed);
    if (mine.size == mine.capacity && !_GrowEntries(mine)) {
      _PushShared(index, *_Find(index));  // memory is short: back with what is left
      continue;
    }
    mine.entries[mine.size++] = (slot.state.load(std::memory_order_relaxed) >> 1) << 32 | index;
  }
  if (mine.size != 0) return true;
  // 2. Fresh slots, a batch at a time.
  if (mine.capacity < kBatch && !_GrowEntries(mine)) return false;
  const std::uint64_t begin = m_next_fresh.fetch_add(kBatch, std::memory_order_relaxed);
  if (begin >= kMaxSlots) return false;
  const std::uint64_t end = std::min<std::uint64_t>(begin + kBatch, kMaxSlots);
  // Highest first, so that the lowest index is handed out first.
  for (std::uint64_t index = end; index-- > begin;) {
    if (!_MakeChunkFor(static_cast<std::uint32_t>(index))) continue;  // memory is short: what was made serves
    mine.entries[mine.size++] = Key{1} << 32 | index;                  // generation 1
  }
  return mine.size != 0;
}

void DeferredTaskTable::_GiveBack(ThreadSlots& mine) {
  DeferredTaskTable& table = Get();
  for (std::uint32_t i = 0; i < mine.size; ++i) {
    const auto index = static_cast<std::uint32_t>(mine.entries[i]);
    table._PushShared(index, *table._Find(index));
  }
  if (mine.entries != &mine.spare) std::free(mine.entries);
  mine.entries = nullptr;
  mine.size = 0;
  mine.capacity = 0;
  mine.active = false;
  mine.gone = true;
}

}  // namespace Ostrum::Private
