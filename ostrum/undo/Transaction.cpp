#include "ostrum/undo/Transaction.h"

#include "ostrum/action/private/OpaquePointer.h"
#include "ostrum/undo/private/TransactionHandler.h"

namespace Ostrum::Undo {

namespace {

// A handle is a key, never an address, and callers may hold a null one.
Private::Transaction* Find(const Transaction* handle) {
  return Private::Transaction::FromHandle(Ostrum::Private::Opaque(handle));
}

}  // namespace

bool Transaction::IsValid() const { return Find(this) != nullptr; }

bool Transaction::IsPrimary() const {
  Private::Transaction* tx = Find(this);
  return tx && tx->GetOwner()->GetPrimary() == tx;
}

bool Transaction::IsCurrent() const {
  Private::Transaction* tx = Find(this);
  return tx && tx->GetOwner()->GetCurrent() == tx;
}

wchar_t const* Transaction::GetActionString() const {
  Private::Transaction* tx = Find(this);
  return tx ? tx->GetActionString() : nullptr;
}

bool Transaction::SetActionString(wchar_t const* action_string) {
  if (Private::Transaction* tx = Find(this); tx && action_string)
    tx->SetActionText(tx->GetOwner()->ShareText(action_string));
  return true;
}

bool Transaction::Commit() {
  Private::Transaction* tx = Find(this);
  if (!tx) return false;
  tx->GetOwner()->Commit(tx);
  return true;
}

bool Transaction::Rollback() {
  Private::Transaction* tx = Find(this);
  return tx && tx->GetOwner()->Rollback(tx);
}

bool Transaction::Terminate() {
  Private::Transaction* tx = Find(this);
  if (!tx) return false;
  tx->GetOwner()->Terminate(tx);
  return true;
}

}  // namespace Ostrum::Undo
