// Replaces the global operator new and delete of the test program (the framework's library
// calls them too) with counting forwards to malloc and free. The array, nothrow and sized forms
// of the standard library call these; the aligned forms are not counted.

#include "AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::ptrdiff_t> g_live{0};
std::atomic<std::size_t> g_total{0};
}  // namespace

std::ptrdiff_t AllocationCount::Live() { return g_live.load(); }
std::size_t AllocationCount::Total() { return g_total.load(); }

void* operator new(std::size_t size) {
  void* block = std::malloc(size ? size : 1);
  if (!block) throw std::bad_alloc();
  ++g_live;
  ++g_total;
  return block;
}

void operator delete(void* block) noexcept {
  if (!block) return;
  --g_live;
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
