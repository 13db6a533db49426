#pragma once
// MLocalOperationGroup: an operation group that ends with its scope. Built on a handle from
// MOperation::BeginOperationGroup, it ends the group when it dies (or aborts it, if so asked),
// unless the group was ended already or the handle is -1 (no group).

#include "ostrum/Export.h"

class OSTRUM_API MLocalOperationGroup {
 public:
  MLocalOperationGroup(long long handle, bool abort) : m_handle(handle), m_abort(abort) {}
  MLocalOperationGroup(const MLocalOperationGroup&) = delete;
  MLocalOperationGroup& operator=(const MLocalOperationGroup&) = delete;
  /// Aborts the group if the abort flag is set, ends it otherwise; nothing for the handle -1.
  ~MLocalOperationGroup();

  /// Takes `handle` only if the group holds none (-1); the flag is not taken.
  void Begin(long long handle, bool abort);
  /// Aborts (`abort`) or ends the group now, whatever the flag of the constructor said; the
  /// handle becomes -1, so the destructor does nothing more.
  void End(bool abort);
  /// Holds `handle` and `abort` from now on, ending nothing.
  void Reset(long long handle, bool abort) {
    m_handle = handle;
    m_abort = abort;
  }
  long long GetHandle() const { return m_handle; }

 private:
  long long m_handle;
  bool m_abort;
};
