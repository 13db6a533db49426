#pragma once
// MLocker: a scope that holds a lock counter up. The document's undo lock and window lock are
// such counters: re-entrant flags on the document's thread, not thread locks.

#include <cstdint>

class MLocker {
 public:
  /// One unsigned 32-bit count; locked while above 0. Not atomic.
  class Counter {
   public:
    uint32_t GetCount() const { return m_count; }
    bool IsLocked() const { return m_count > 0; }

   private:
    friend class MLocker;
    uint32_t m_count = 0;
  };

  /// Increments `counter` for the life of this object.
  explicit MLocker(Counter& counter) : m_counter(counter) { ++m_counter.m_count; }
  MLocker(const MLocker&) = delete;
  MLocker& operator=(const MLocker&) = delete;
  ~MLocker() { --m_counter.m_count; }

 private:
  Counter& m_counter;
};
