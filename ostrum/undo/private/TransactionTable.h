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

/// An owned object that can be reached by key while it has an owner. The key is taken when the
/// handle is first asked for, so objects whose handle nobody sees never touch the table (and
/// its lock); it is given back when the owner goes. The key, cast to `Handle*`, is the handle
/// the public interface gives out; a key that has been given back finds nothing, so an old
/// handle is harmless.
template <class T, class Owner, class Handle>
class ReferredObject : public OwnedObject<T, Owner> {
 public:
  ~ReferredObject() noexcept(false) override { _Unregister(); }

  /// The handle, registering the object on first use; null while the object has no owner.
  /// Throws std::bad_alloc when the table cannot take another key.
  Handle* GetHandle() const {
    if (m_key == 0 && this->GetOwner()) {
      m_key = GetTransactionTable().RegisterObject(const_cast<ReferredObject*>(this));
      if (m_key == 0) ThrowTableFull();
    }
    return reinterpret_cast<Handle*>(static_cast<std::uintptr_t>(m_key));
  }
  /// The object a handle refers to, null for a stale or null handle.
  static T* FromHandle(const Handle* handle) {
    return static_cast<T*>(static_cast<ReferredObject*>(
        GetTransactionTable().GetObjectByKey(reinterpret_cast<std::uintptr_t>(handle))));
  }

 protected:
  ReferredObject() = default;

  /// Losing the owner gives the key back: from then on the handle is stale.
  void OnOwnerChanged(Owner*) override {
    if (!this->GetOwner()) _Unregister();
  }

 private:
  void _Unregister() {
    if (m_key) GetTransactionTable().UnregisterObject(m_key);
    m_key = 0;
  }

  mutable Generic::BasicDescriptorTable::Key m_key = 0;
};

}  // namespace Ostrum::Undo::Private
