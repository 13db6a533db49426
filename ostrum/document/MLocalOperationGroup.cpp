#include "ostrum/document/MLocalOperationGroup.h"

#include "ostrum/operations/MOperation.h"

MLocalOperationGroup::~MLocalOperationGroup() {
  if (m_handle == -1) return;
  if (m_abort)
    MOperation::AbortOperationGroup(m_handle);
  else
    MOperation::EndOperationGroup(m_handle);
}

void MLocalOperationGroup::Begin(long long handle, bool) {
  if (m_handle == -1) m_handle = handle;
}

void MLocalOperationGroup::End(bool abort) {
  if (abort)
    MOperation::AbortOperationGroup(m_handle);
  else
    MOperation::EndOperationGroup(m_handle);
}
