#pragma once
// MSAXPersistHelper<T>: an element handler that works for one object of type T.

#include <type_traits>

#include "ostrum/Export.h"
#include "ostrum/objects/ISAXPersistHelper.h"

class UIObject;

template <typename T>
class MSAXPersistHelper : public ISAXPersistHelper {
 public:
  /// Works for `object`, which it does not own.
  explicit MSAXPersistHelper(T* object) : m_object(object) {}
  MSAXPersistHelper(MSAXPersistHelper const& other) = default;
  MSAXPersistHelper& operator=(MSAXPersistHelper const& other) = default;

  /// The object it works for.
  T* GetObjectW() const { return m_object; }
  /// The object's identity part, or null when the object has none (or there is no object).
  ISAXReference* GetObjectReference() override {
    if constexpr (std::is_convertible_v<T*, ISAXReference*>)
      return m_object ? static_cast<ISAXReference*>(m_object) : nullptr;
    else
      return dynamic_cast<ISAXReference*>(m_object);
  }

 protected:
  T* m_object;
};

// The library's one instance; its type information lives in the library.
extern template class OSTRUM_API MSAXPersistHelper<UIObject>;
