#include "ostrum/deferred/private/DeferredTaskTable.h"

#include <algorithm>
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

bool DeferredTaskTable::_Refill(ThreadSlots& mine) {
  if (!mine.active && !mine.gone) {
    // From now on this thread keeps the slots it frees; they go back when it ends.
    thread_local ThreadSlotsHolder holder;
    mine.active = true;
  }
  // 1. Slots other threads freed. A thread that is ending takes one at a time, so that it
  //    strands nothing.
  if (const std::uint32_t first = _PopShared(mine.active)) {
    mine.head = first;
    return true;
  }
  // 2. Fresh slots, a batch at a time.
  const std::uint32_t wanted = mine.active ? kBatch : 1;
  const std::uint64_t begin = m_next_fresh.fetch_add(wanted, std::memory_order_relaxed);
  if (begin >= kMaxSlots) return false;
  const std::uint64_t end = std::min<std::uint64_t>(begin + wanted, kMaxSlots);
  std::uint32_t head = 0;
  for (std::uint64_t index = end; index-- > begin;) {
    if (!_MakeChunkFor(static_cast<std::uint32_t>(index))) break;  // memory is short: what was made serves
    _Find(static_cast<std::uint32_t>(index))->next_free.store(head, std::memory_order_relaxed);
    head = static_cast<std::uint32_t>(index) + 1;
  }
  mine.head = head;
  return head != 0;
}

void DeferredTaskTable::_GiveBack(ThreadSlots& mine) {
  DeferredTaskTable& table = Get();
  while (mine.head != 0) {
    const std::uint32_t index = mine.head - 1;
    Slot& slot = *table._Find(index);
    mine.head = slot.next_free.load(std::memory_order_relaxed);
    table._PushShared(index, slot);
  }
  mine.active = false;
  mine.gone = true;
}

}  // namespace Ostrum::Private
