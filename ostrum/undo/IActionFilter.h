#pragma once
// Ostrum::Undo::IActionFilter: a predicate that chooses actions of a stack of undo history.

#include "ostrum/Export.h"
#include "ostrum/action/IAction.h"

namespace Ostrum::Undo {

class OSTRUM_API IActionFilter {
 public:
  virtual ~IActionFilter();

  /// Whether the walk takes this action; `id` is the name it was registered with (may be null).
  virtual bool IsActionMatched(IAction const* action, char const* id) const = 0;

  /// The process's filter that matches every action. Made on first use, never destroyed.
  static IActionFilter const* TransparentFilter();
  /// The process's filter that matches no action. Made on first use, never destroyed.
  static IActionFilter const* OpaqueFilter();

 protected:
  IActionFilter() = default;
  IActionFilter(const IActionFilter&) = default;
  IActionFilter& operator=(const IActionFilter&) = default;
};

}  // namespace Ostrum::Undo
