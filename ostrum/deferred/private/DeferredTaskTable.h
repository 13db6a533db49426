#pragma once
// The process's table of waiting deferred tasks, and the conversion between its keys and the
// DeferredTask handles given out.
//
// The table is reached from every thread: a session's thread enters and takes its own tasks,
// any thread may look a handle up or discard it. No lock lies on the way of a task. Each slot
// has one state word, its generation and whether it holds a task; taking a task is one
// compare-and-swap of that word from "holds, generation g" to "free, generation g + 1", so of
// any number of threads racing for a key exactly one gets the action, and the key finds
// nothing afterwards. A thread that enters tasks keeps the slots it frees in a free list of its
// own; slots freed by other threads go to a shared stack that registering threads draw from.

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "ostrum/deferred/DeferredTask.h"
#include "ostrum/foundation/platform/private/StaticThreadLocal.h"

namespace Ostrum {
class IAction;
}

namespace Ostrum::Private {

/// Keys are made of a slot index (low 32 bits) and the slot's generation (bits 32 to 62), so a
/// key is never 0 and fits a signed 64-bit integer. Every take advances the slot's generation:
/// no key is handed out twice for the life of the process. A slot whose generation is used up
/// is retired rather than wrapped. Slots are never freed or moved, so a stale key is always safe
/// to look up. Made with room for 1024 tasks at load, never destroyed.
class DeferredTaskTable {
 public:
  using Key = std::uint64_t;

  static DeferredTaskTable& Get() {
    // Never destroyed: handles are used by static objects' destructors at exit.
    static DeferredTaskTable* const table = new DeferredTaskTable;
    return *table;
  }

  DeferredTaskTable(const DeferredTaskTable&) = delete;
  DeferredTaskTable& operator=(const DeferredTaskTable&) = delete;

  /// Enters `action` and answers its new key; 0 for a null action or when no slot can be had.
  Key Register(IAction* action) {
    if (action == nullptr) return 0;
    ThreadSlots& mine = t_slots;
    if (mine.size == 0 && !_Refill(mine)) return 0;
    // Only this thread holds the free slot, and the entry is the slot's next key: nothing of
    // the slot needs reading, and nobody else writes its word until it is published.
    const Key key = mine.entries[--mine.size];
    Slot& slot = *_Find(static_cast<std::uint32_t>(key));
    slot.action.store(action, std::memory_order_relaxed);
    slot.state.store(_LiveState(key), std::memory_order_release);
    return key;
  }

  /// Takes the entry out and answers its action; null if the key finds nothing. Of threads
  /// racing for one key exactly one gets the action; afterwards the key finds nothing for ever.
  IAction* Take(Key key) {
    const auto index = static_cast<std::uint32_t>(key);
    const std::uint64_t live = _LiveState(key);
    Slot* slot = _Find(index);
    if (slot == nullptr) return nullptr;
    std::uint64_t state = slot->state.load(std::memory_order_acquire);
    if (state != live) return nullptr;
    // Read while the word says the slot holds this key's task: the action cannot change before
    // the word does, and the word never comes back to this value.
    IAction* action = slot->action.load(std::memory_order_relaxed);
    const std::uint64_t generation = live >> 1;
    const std::uint64_t next = generation < kMaxGeneration ? (generation + 1) << 1 : kRetired;
    if (!slot->state.compare_exchange_strong(state, next, std::memory_order_acq_rel, std::memory_order_relaxed))
      return nullptr;
    if (next != kRetired) _Release((generation + 1) << 32 | index, *slot);
    return action;
  }

  /// Whether the key's task still waits: neither taken for running nor discarded.
  bool Contains(Key key) const {
    const Slot* slot = _Find(static_cast<std::uint32_t>(key));
    return slot != nullptr && slot->state.load(std::memory_order_acquire) == _LiveState(key);
  }

 private:
  // A slot's state word: generation << 1, plus kLive while it holds a task. 0 is a retired
  // slot: generation 0 is never part of a key.
  static constexpr std::uint64_t kLive = 1;
  static constexpr std::uint64_t kRetired = 0;
  static constexpr std::uint64_t kMaxGeneration = 0x7FFFFFFFu;
  // Slot indices are 32 bits; index + 1 must also fit, for the free lists.
  static constexpr std::uint64_t kMaxSlots = 0xFFFFFFFFu;
  // Chunk k holds kFirstChunk << k slots, so 23 chunks reach every 32-bit index.
  static constexpr std::uint64_t kFirstChunk = 1024;
  static constexpr int kChunks = 23;
  // Fresh slots a registering thread takes at a time when no freed slot is left.
  static constexpr std::uint32_t kBatch = 64;

  struct Slot {
    std::atomic<std::uint64_t> state{1u << 1};  // free, generation 1
    std::atomic<IAction*> action{nullptr};
    std::atomic<std::uint32_t> next_free{0};  // index + 1 of the next slot on the shared stack
  };

  // The calling thread's free slots, as the keys they will have next: a stack in an array, so
  // that registering reads no slot. Only a thread that has entered tasks keeps one of its own;
  // the other threads give what they take back to the shared stack. Zero at start.
  struct ThreadSlots {
    Key* entries;            // owned (or `&spare`), freed when the thread ends
    std::uint32_t size;
    std::uint32_t capacity;  // of an owned array
    Key spare;               // the one entry of a thread that is ending
    bool active;             // keeps its own free slots (the thread has entered tasks)
    bool gone;               // the thread is ending: its free slots were given back
  };
  OSTRUM_STATIC_TLS static inline thread_local ThreadSlots t_slots{};

  DeferredTaskTable();

  static std::uint64_t _LiveState(Key key) { return (key >> 32) << 1 | kLive; }

  Slot* _Find(std::uint32_t index) const {
    const std::uint64_t position = std::uint64_t{index} + kFirstChunk;
    const int chunk = std::bit_width(position) - std::bit_width(kFirstChunk);
    Slot* base = m_chunks[chunk].load(std::memory_order_acquire);
    return base == nullptr ? nullptr : base + (position - (kFirstChunk << chunk));
  }

  // `key` is the slot's next key.
  void _Release(Key key, Slot& slot) {
    ThreadSlots& mine = t_slots;
    if (mine.size < mine.capacity || (mine.active && _GrowEntries(mine))) {
      mine.entries[mine.size++] = key;
    } else {
      _PushShared(static_cast<std::uint32_t>(key), slot);
    }
  }

  /// Gives the calling thread free slots, from the shared stack or fresh; false if none is left.
  bool _Refill(ThreadSlots& mine);
  void _PushShared(std::uint32_t index, Slot& slot);
  /// Takes the whole shared stack, or only its first slot; 0 if empty, else index + 1 of the first.
  std::uint32_t _PopShared(bool all);
  /// Makes room for more entries; false if memory is short (the slot then goes to the shared stack).
  static bool _GrowEntries(ThreadSlots& mine);
  bool _MakeChunkFor(std::uint32_t index);
  /// The thread ends: its free slots go to the shared stack.
  static void _GiveBack(ThreadSlots& mine);

  std::atomic<Slot*> m_chunks[kChunks] = {};
  std::mutex m_grow;                          // only while a chunk is made
  std::atomic<std::uint64_t> m_next_fresh{0};  // the first slot never handed out
  // Freed slots of threads without a list of their own: a count in the high 32 bits, bumped by
  // every change so that a pop cannot be fooled by a slot that left and came back; index + 1 of
  // the top slot in the low 32 bits.
  std::atomic<std::uint64_t> m_shared{0};

  friend struct ThreadSlotsHolder;
};

inline DeferredTask* ToHandle(DeferredTaskTable::Key key) {
  return reinterpret_cast<DeferredTask*>(static_cast<uintptr_t>(key));
}

inline DeferredTaskTable::Key ToKey(const DeferredTask* task) {
  return static_cast<DeferredTaskTable::Key>(reinterpret_cast<uintptr_t>(task));
}

}  // namespace Ostrum::Private
