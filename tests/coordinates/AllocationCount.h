#pragma once
// Counts the heap allocations of this test program, so that a query can be shown to allocate
// nothing.

namespace coordinates_test {

/// Calls of the global operator new so far.
long AllocationCount();

}  // namespace coordinates_test
