#pragma once
// Counts the heap blocks that this test program takes through operator new, so that a test can
// tell whether an object holds memory or an operation allocates.

#include <cstddef>

namespace AllocationCount {
/// Blocks allocated and not yet freed.
std::ptrdiff_t Live();
/// Blocks allocated since the program started.
std::size_t Total();
}  // namespace AllocationCount
