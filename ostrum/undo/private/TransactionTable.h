#pragma once
// The table in which open transactions are registered, and ReferredObject, the base of an owned
// object that can be reached by key while it has an owner.
//
// Every controller has a table of its own, and a key names the table as well as the slot in it,
// so any key can be looked up from anywhere. A table is written only by the thread of its
// controller (the one thread every use of a transaction belongs to), so taking and giving back
// keys needs no lock; a lookup, from whatever thread, reads the slot through atomics and checks
// the slot's generation before and after reading the object, so it finds either the object
// registered under that very key or nothing.

#include <atomic>
#include <cstdint>

#include "ostrum/undo/private/SharedObject.h"

namespace Ostrum::Undo::Private {

class TransactionTable {
 public:
  using Key = std::uint64_t;

  /// A table for a new controller: one a controller gave back, or a new one. Tables are never
  /// freed (a stale key of any age may still be looked up), only handed on; the keys a table
  /// gives out stay unique across all its owners.
  static TransactionTable* Acquire();
  /// Gives a table back; every key it holds must have been unregistered.
  static void Release(TransactionTable* table);

  /// Enters `object` and answers its new key; 0 when no slot can be had. Owner thread only.
  Key Register(void* object);
  /// Takes the entry of `key` out; nothing if it finds nothing. Owner thread only. After this
  /// the key finds nothing for ever.
  void Unregister(Key key);
  /// The object entered under `key` in whichever table it names; null for 0, for a key never
  /// given out and for one unregistered. Any thread.
  static void* Lookup(Key key);

  TransactionTable(const TransactionTable&) = delete;
  TransactionTable& operator=(const TransactionTable&) = delete;

 private:
  struct Slot {
    std::atomic<void*> object{nullptr};        // null while free or retired
    std::atomic<std::uint32_t> generation{1};  // the generation the slot's next or current key carries
    std::uint32_t next_free = 0;               // index + 1 of the next free slot; owner only
  };
  // Slots live in chunks that never move, so a reader on another thread never meets storage
  // being reallocated: chunk c holds kFirstChunk << c slots.
  static constexpr int kChunks = 16;
  static constexpr std::uint32_t kFirstChunk = 16;

  explicit TransactionTable(std::uint32_t index) : m_index(index) {}
  Slot* _SlotAt(std::uint32_t slot) const;
  bool _Grow();

  const std::uint32_t m_index;                 // this table's place in the directory of tables
  std::atomic<Slot*> m_chunks[kChunks] = {};
  std::uint32_t m_slot_count = 0;              // slots made so far; owner only
  std::uint32_t m_free_head = 0;               // index + 1 of the first free slot; owner only
  TransactionTable* m_next_spare = nullptr;    // in the list of tables given back

  friend class TransactionTableDirectory;
};

/// Throws the std::bad_alloc of a table that cannot take another key; its text is
/// "bad allocation".
[[noreturn]] void ThrowTableFull();

/// An owned object that can be reached by key while it has an owner. The key is taken when the
/// handle is first asked for, so objects whose handle nobody sees never touch the table; it is
/// given back when the owner goes. The key, cast to `Handle*`, is the handle the public
/// interface gives out; a key that has been given back finds nothing, so an old handle is
/// harmless. `T` says which table through `GetTransactionTable()` of its owner.
template <class T, class Owner, class Handle>
class ReferredObject : public OwnedObject<T, Owner> {
 public:
  ~ReferredObject() noexcept(false) override { _Unregister(); }

  /// The handle, registering the object on first use; null while the object has no owner.
  /// Throws std::bad_alloc when the table cannot take another key.
  Handle* GetHandle() const {
    if (m_key == 0 && this->GetOwner()) {
      TransactionTable* table = this->GetOwner()->GetTransactionTable();
      if (!table || (m_key = table->Register(const_cast<ReferredObject*>(this))) == 0) ThrowTableFull();
      m_table = table;
    }
    return reinterpret_cast<Handle*>(static_cast<std::uintptr_t>(m_key));
  }
  /// The object a handle refers to, null for a stale or null handle.
  static T* FromHandle(const Handle* handle) {
    return static_cast<T*>(static_cast<ReferredObject*>(
        TransactionTable::Lookup(reinterpret_cast<std::uintptr_t>(handle))));
  }

 protected:
  ReferredObject() = default;

  /// Losing the owner gives the key back: from then on the handle is stale.
  void OnOwnerChanged(Owner*) override {
    if (!this->GetOwner()) _Unregister();
  }

 private:
  void _Unregister() {
    if (m_key) m_table->Unregister(m_key);
    m_key = 0;
    m_table = nullptr;
  }

  mutable TransactionTable::Key m_key = 0;
  mutable TransactionTable* m_table = nullptr;  // where m_key was taken
};

}  // namespace Ostrum::Undo::Private
