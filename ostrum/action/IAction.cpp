#include "ostrum/action/IAction.h"

#include <new>
#include <stdexcept>

#include "ostrum/action/private/OpaquePointer.h"

namespace Ostrum {

using Private::Opaque;

IAction::~IAction() = default;

void IAction::Perform() {
  if (!Opaque(this)) throw std::logic_error("illegal access to nil action");
  _Perform();
}

void IAction::Discard() {
  if (!Opaque(this)) return;
  _Discard();
}

void IAction::_Discard() { delete this; }

void* IAction::operator new(std::size_t size) { return ::operator new(size); }

void IAction::operator delete(void* pointer) { ::operator delete(pointer); }

}  // namespace Ostrum
