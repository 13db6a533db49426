#pragma once
// The process's table of waiting deferred tasks, and the conversion between its keys and the
// DeferredTask handles given out.

#include <cstdint>

#include "ostrum/deferred/DeferredTask.h"
#include "ostrum/foundation/generics/BasicDescriptorTable.h"

namespace Ostrum::Private {

/// The table whose entries are the IAction* of tasks neither run nor discarded yet. Made with
/// room for 1024 tasks at load, never destroyed. Its own lock makes every operation atomic, so
/// whoever takes a key out owns the action.
Generic::BasicDescriptorTable& DeferredTaskTable();

inline DeferredTask* ToHandle(Generic::BasicDescriptorTable::Key key) {
  return reinterpret_cast<DeferredTask*>(static_cast<uintptr_t>(key));
}

inline Generic::BasicDescriptorTable::Key ToKey(const DeferredTask* task) {
  return static_cast<Generic::BasicDescriptorTable::Key>(reinterpret_cast<uintptr_t>(task));
}

}  // namespace Ostrum::Private
