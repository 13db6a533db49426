#include "ostrum/undo/IAction.h"

#include <new>
#include <stdexcept>

namespace Ostrum {

namespace {

// The compiler may assume that `this` is never null and drop a plain comparison; the value is
// passed through an empty asm statement so that the check survives for callers that break the
// rule.
template <typename T>
bool IsNull(T* pointer) {
  asm("" : "+r"(pointer));
  return pointer == nullptr;
}

}  // namespace

IAction::~IAction() = default;

void IAction::Perform() {
  if (IsNull(this)) throw std::logic_error("illegal access to nil action");
  _Perform();
}

void IAction::Discard() {
  if (IsNull(this)) return;
  _Discard();
}

void IAction::_Discard() { delete this; }

void* IAction::operator new(std::size_t size) { return ::operator new(size); }

void IAction::operator delete(void* pointer) { ::operator delete(pointer); }

}  // namespace Ostrum
