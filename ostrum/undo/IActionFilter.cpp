#include "ostrum/undo/IActionFilter.h"

namespace Ostrum::Undo {

namespace {

class TransparentActionFilter final : public IActionFilter {
 public:
  bool IsActionMatched(IAction const*, char const*) const override { return true; }
};

class OpaqueActionFilter final : public IActionFilter {
 public:
  bool IsActionMatched(IAction const*, char const*) const override { return false; }
};

}  // namespace

IActionFilter::~IActionFilter() = default;

// The stock filters are made once and kept, so that a call without a filter allocates nothing.
IActionFilter const* IActionFilter::TransparentFilter() {
  static const IActionFilter* filter = new TransparentActionFilter;
  return filter;
}

IActionFilter const* IActionFilter::OpaqueFilter() {
  static const IActionFilter* filter = new OpaqueActionFilter;
  return filter;
}

}  // namespace Ostrum::Undo
