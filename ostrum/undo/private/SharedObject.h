#pragma once
// The lifetime templates of the undo core. Reference counts carry lifetime, owners carry the
// right to act: an object that loses its owner clears itself, so that dropping one owner
// releases a whole history, and a loop that calls foreign code sees the loss at its next check
// of the owner, however deep the call was that caused it.

#include <cstdint>
#include <utility>

namespace Ostrum::Undo::Private {

/// Base of the reference-counted objects of the undo core. The count starts at 1, owned by
/// whoever made the object; it is a plain integer, as everything here belongs to one thread.
/// Destructors may throw: the last release swallows it, so that one failing object cannot stop
/// the release of a history.
class SharedObject {
 public:
  SharedObject() = default;
  SharedObject(const SharedObject&) = delete;
  SharedObject& operator=(const SharedObject&) = delete;
  virtual ~SharedObject() noexcept(false) = default;

  void AddRef() { ++m_ref_count; }
  /// Whether `count` references are all there are: an object that only its keeper holds may be
  /// made over for another use instead of being freed and made again.
  bool HasRefCount(std::int32_t count) const { return m_ref_count == count; }
  /// Drops one reference; at zero the object is deleted.
  void Release() {
    if (--m_ref_count == 0) {
      try {
        delete this;
      } catch (...) {
      }
    }
  }

 private:
  std::int32_t m_ref_count = 1;
};

/// The smart reference to a SharedObject.
template <class T>
class SharedRef {
 public:
  /// Whether a reference made from a raw pointer takes over the count its maker holds or adds one.
  enum Mode { ADOPT, ADD_REF };

  SharedRef() = default;
  SharedRef(T* object, Mode mode) : m_object(object) {
    if (m_object && mode == ADD_REF) m_object->AddRef();
  }
  SharedRef(const SharedRef& other) : m_object(other.m_object) {
    if (m_object) m_object->AddRef();
  }
  SharedRef(SharedRef&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  template <class U>
  SharedRef(const SharedRef<U>& other) : SharedRef(other.Get(), ADD_REF) {}
  template <class U>
  SharedRef(SharedRef<U>&& other) noexcept : m_object(other.Detach()) {}
  ~SharedRef() { Reset(); }

  SharedRef& operator=(SharedRef other) noexcept {
    std::swap(m_object, other.m_object);
    return *this;
  }

  /// Releases the object (if any); the reference is empty afterwards, also while the release
  /// runs.
  void Reset() {
    if (T* object = std::exchange(m_object, nullptr)) object->Release();
  }
  /// Gives up the reference without releasing it: the caller now holds the count.
  T* Detach() { return std::exchange(m_object, nullptr); }

  T* Get() const { return m_object; }
  T* operator->() const { return m_object; }
  T& operator*() const { return *m_object; }
  explicit operator bool() const { return m_object != nullptr; }
  friend bool operator==(const SharedRef& a, const SharedRef& b) { return a.m_object == b.m_object; }

 private:
  T* m_object = nullptr;
};

/// Makes a T and adopts its initial count.
template <class T, class... Args>
SharedRef<T> MakeShared(Args&&... args) {
  return SharedRef<T>(new T(std::forward<Args>(args)...), SharedRef<T>::ADOPT);
}

/// Base of an object that acts for an owner. The owner is a plain pointer, null once disowned;
/// OnOwnerChanged is where an object clears itself when it loses its owner.
template <class T, class Owner>
class OwnedObject {
 public:
  OwnedObject(const OwnedObject&) = delete;
  OwnedObject& operator=(const OwnedObject&) = delete;
  virtual ~OwnedObject() noexcept(false) = default;

  Owner* GetOwner() const { return m_owner; }
  /// Stores `owner` and then tells OnOwnerChanged the old one; nothing if it stays the same.
  void SetOwner(Owner* owner) {
    if (owner == m_owner) return;
    Owner* old_owner = m_owner;
    m_owner = owner;
    OnOwnerChanged(old_owner);
  }

 protected:
  OwnedObject() = default;
  /// Called after every change of owner, with the owner before it.
  virtual void OnOwnerChanged(Owner* old_owner) { (void)old_owner; }

 private:
  Owner* m_owner = nullptr;
};

}  // namespace Ostrum::Undo::Private
