#pragma once
// Critical sections of the desktop model: recursive mutual exclusion between the threads of
// the process. The owning thread may enter again and must leave as often as it entered.

#include <mutex>

#include "ostrum/foundation/platform/WinTypes.h"

/// A lock that the thread holding it may take again. It is usable from its construction on;
/// InitializeCriticalSection and DeleteCriticalSection are kept for code that calls them.
struct CRITICAL_SECTION {
  std::recursive_mutex mutex;
};
using LPCRITICAL_SECTION = CRITICAL_SECTION*;

/// Nothing to do: the lock is ready once constructed.
inline void InitializeCriticalSection(LPCRITICAL_SECTION) {}
/// Nothing to do: the lock is released with its storage. It must not be held.
inline void DeleteCriticalSection(LPCRITICAL_SECTION) {}
/// Waits until the calling thread holds the lock; a thread that holds it already enters again.
inline void EnterCriticalSection(LPCRITICAL_SECTION section) { section->mutex.lock(); }
/// Leaves once; the lock is free when the holder has left as often as it entered.
inline void LeaveCriticalSection(LPCRITICAL_SECTION section) { section->mutex.unlock(); }
/// Enters without waiting: FALSE if another thread holds the lock.
inline BOOL TryEnterCriticalSection(LPCRITICAL_SECTION section) {
  return section->mutex.try_lock() ? TRUE : FALSE;
}
