#pragma once
// MMTransformAllocator: where transforms get their memory. Transforms are made and dropped on
// the hot path of transform queries (every composed path is a new transform), so the class-level
// operator new and operator delete keep freed blocks in a small pool per thread and hand them
// out again before going to the heap.
//
// The pool is per thread and needs no lock. A block freed on another thread than the one that
// made it simply joins the freeing thread's pool. Each thread's pool is returned to the heap
// when the thread ends; a transform freed after that goes straight to the heap. Under
// AddressSanitizer the blocks resting in a pool are poisoned, so a use after delete is still
// reported.

#include <cstddef>
#include <new>

#include "ostrum/Export.h"

class OSTRUM_API MMTransformAllocator {
 public:
  /// Memory for one transform of `size` bytes; aligned to at least 64 bytes when it comes from
  /// the pool. Throws std::bad_alloc when the heap is exhausted.
  static void* operator new(std::size_t size);
  /// As above, for a transform whose type asks for an alignment beyond the default.
  static void* operator new(std::size_t size, std::align_val_t align);
  /// Placement form, so that a transform can still be built in storage the caller provides.
  static void* operator new(std::size_t, void* where) noexcept { return where; }

  /// Returns a block from operator new; `size` is that of the dynamic type being deleted.
  static void operator delete(void* block, std::size_t size) noexcept;
  static void operator delete(void* block, std::size_t size, std::align_val_t align) noexcept;
  static void operator delete(void*, void*) noexcept {}

  /// Blocks of all sizes waiting in the calling thread's pool.
  static std::size_t GetPooledBlockCount();
  /// Gives every block of the calling thread's pool back to the heap.
  static void ReleasePooledBlocks();

 protected:
  MMTransformAllocator() = default;
  MMTransformAllocator(MMTransformAllocator const&) = default;
  MMTransformAllocator& operator=(MMTransformAllocator const&) = default;
  ~MMTransformAllocator() = default;
};
