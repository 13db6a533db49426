#pragma once
// The process-wide table in which open transactions are registered, and ReferredObject, the
// base of an owned object that can be reached by key while it has an owner.

#include <cstdint>

#include "ostrum/foundation/generics/BasicDescriptorTable.h"
#include "ostrum/undo/private/SharedObject.h"

namespace Ostrum::Undo::Private {

/// The table of open transactions; made on first use, never destroyed (stale handles may be
/// used by static objects at exit). The table locks each of its operations itself.
Generic::BasicDescriptorTable& GetTransactionTable();

/// Throws the std::bad_alloc of a table that cannot take another key; its text is
/// "bad allocation".
[[noreturn]] void ThrowTableFull();

/// An owned object that is registered in the transaction table exactly while it has an owner.
/// Its key, cast to `Handle*`, is the handle the public interface gives out; a key that has
/// been unregistered finds nothing, so an old handle is harmless.
template <class T, class Owner, class Handle>
class ReferredObject : public OwnedObject<T, Owner> {
 public:
  ~ReferredObject() noexcept(false) override {
    if (m_key) GetTransactionTable().UnregisterObject(static_cast<Generic::BasicDescriptorTable::Key>(m_key));
  }

  /// The handle, null while the object has no owner.
  Handle* GetHandle() const { return reinterpret_cast<Handle*>(static_cast<std::uintptr_t>(m_key)); }
  /// The object a handle refers to, null for a stale or null handle.
  static T* FromHandle(const Handle* handle) {
    return static_cast<T*>(static_cast<ReferredObject*>(
        GetTransactionTable().GetObjectByKey(reinterpret_cast<std::uintptr_t>(handle))));
  }

 protected:
  ReferredObject() = default;

  /// Registers on gaining an owner (throwing std::bad_alloc, disowned, when the table is full)
  /// and unregisters on losing it.
  void OnOwnerChanged(Owner* old_owner) override {
    if (!old_owner) {
      const auto key = GetTransactionTable().RegisterObject(static_cast<ReferredObject*>(this));
      if (key == 0) {
        this->SetOwner(nullptr);
        ThrowTableFull();
      }
      m_key = static_cast<std::int64_t>(key);
    } else if (!this->GetOwner()) {
      GetTransactionTable().UnregisterObject(static_cast<Generic::BasicDescriptorTable::Key>(m_key));
      m_key = 0;
    }
  }

 private:
  std::int64_t m_key = 0;
};

}  // namespace Ostrum::Undo::Private
