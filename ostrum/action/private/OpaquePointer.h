#pragma once
// Opaque: a pointer the compiler must treat as unknown.

namespace Ostrum::Private {

/// `pointer`, passed through an empty asm statement. The compiler may assume that `this` is
/// never null and drop a plain comparison; through this the check survives for callers that
/// call a member on a null pointer or handle.
template <typename T>
T* Opaque(T* pointer) {
  asm("" : "+r"(pointer));
  return pointer;
}

}  // namespace Ostrum::Undo::Private
