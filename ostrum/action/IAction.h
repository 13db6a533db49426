#pragma once
// Ostrum::IAction: an object that knows one thing to do later, such as putting something back.
// Undo history holds actions, and deferred tasks are actions too.

#include <cstddef>

#include "ostrum/Export.h"

namespace Ostrum {

/// Base of everything that can be undone or run later. Whoever holds an action either performs
/// it or discards it, once: after either call the holder must not touch it again.
class OSTRUM_API IAction {
 public:
  /// Does the work (the hook `_Perform`), which from then on owns the object. Called on a null
  /// action it throws std::logic_error("illegal access to nil action").
  void Perform();
  /// Disposes of the action without doing its work (the hook `_Discard`); nothing on a null
  /// action.
  void Discard();

  /// Actions that hosts create are allocated and released by the framework's allocator, so an
  /// action made by the host can be deleted by the framework.
  static void* operator new(std::size_t size);
  static void operator delete(void* pointer);

 protected:
  IAction() = default;
  IAction(const IAction&) = default;
  IAction& operator=(const IAction&) = default;
  virtual ~IAction();

  /// The work. Called at most once per registration; it must register the object again,
  /// dispose of it, or leave it to its own lifetime (as a static task does).
  virtual void _Perform() = 0;
  /// Disposes of the action unperformed; the default deletes it.
  virtual void _Discard();
};

}  // namespace Ostrum
