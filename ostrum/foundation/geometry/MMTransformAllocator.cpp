#include "ostrum/foundation/geometry/MMTransformAllocator.h"

#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
#define OSTRUM_POOL_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OSTRUM_POOL_ASAN 1
#endif
#endif

#ifdef OSTRUM_POOL_ASAN
#include <sanitizer/asan_interface.h>
#define OSTRUM_POISON(p, n) ASAN_POISON_MEMORY_REGION((p), (n))
#define OSTRUM_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION((p), (n))
#else
#define OSTRUM_POISON(p, n) ((void)(p), (void)(n))
#define OSTRUM_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace {

// Blocks come in size classes of 64 bytes up to 512; a matrix transform takes the fifth.
// Larger or more strictly aligned requests bypass the pool.
constexpr std::size_t kGranule = 64;
constexpr std::size_t kClassCount = 8;
constexpr std::size_t kLargestPooled = kGranule * kClassCount;
constexpr std::align_val_t kBlockAlign{kGranule};
// A thread keeps at most this many idle blocks per class; the rest go back to the heap, so a
// burst of transforms does not pin its memory for the life of the thread.
constexpr std::uint32_t kMaxIdlePerClass = 128;

struct FreeBlock {
  FreeBlock* next;
};

// Trivially destructible on purpose: it stays readable during thread and process tear-down,
// after the closer below has run, so a late delete sees `closed` and uses the heap.
struct ThreadPool {
  FreeBlock* heads[kClassCount];
  std::uint32_t counts[kClassCount];
  bool closed;
  bool closer_armed;
};
// The initial-exec model spares the lookup of the library's thread storage on every call; the
// pool is small enough for the static thread storage that remains when the library is loaded
// late.
thread_local ThreadPool t_pool __attribute__((tls_model("initial-exec"))){};

void ReleaseAll(ThreadPool& pool) {
  for (std::size_t c = 0; c < kClassCount; ++c) {
    FreeBlock* block = pool.heads[c];
    while (block) {
      OSTRUM_UNPOISON(block, (c + 1) * kGranule);
      FreeBlock* next = block->next;
      ::operator delete(block, (c + 1) * kGranule, kBlockAlign);
      block = next;
    }
    pool.heads[c] = nullptr;
    pool.counts[c] = 0;
  }
}

// Gives the thread's pool back when the thread ends. It is touched only when a block first
// enters the pool, which makes the run time register its destructor for this thread.
struct ThreadPoolCloser {
  bool armed = false;
  ~ThreadPoolCloser() {
    ReleaseAll(t_pool);
    t_pool.closed = true;
  }
};
thread_local ThreadPoolCloser t_closer;

constexpr bool IsPooled(std::size_t size, std::size_t align) {
  return size != 0 && size <= kLargestPooled && align <= kGranule;
}
constexpr std::size_t ClassOf(std::size_t size) { return (size - 1) / kGranule; }

void* Take(std::size_t size) {
  std::size_t const c = ClassOf(size);
  ThreadPool& pool = t_pool;
  if (FreeBlock* block = pool.heads[c]) {
    OSTRUM_UNPOISON(block, (c + 1) * kGranule);
    pool.heads[c] = block->next;
    --pool.counts[c];
    return block;
  }
  return ::operator new((c + 1) * kGranule, kBlockAlign);
}

void Give(void* p, std::size_t size) {
  std::size_t const c = ClassOf(size);
  ThreadPool& pool = t_pool;
  if (pool.closed || pool.counts[c] >= kMaxIdlePerClass) {
    ::operator delete(p, (c + 1) * kGranule, kBlockAlign);
    return;
  }
  if (!pool.closer_armed) {
    pool.closer_armed = true;
    t_closer.armed = true;
  }
  auto* block = static_cast<FreeBlock*>(p);
  block->next = pool.heads[c];
  pool.heads[c] = block;
  ++pool.counts[c];
  OSTRUM_POISON(block, (c + 1) * kGranule);
}

}  // namespace

void* MMTransformAllocator::operator new(std::size_t size) {
  if (IsPooled(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__)) return Take(size);
  return ::operator new(size);
}

void* MMTransformAllocator::operator new(std::size_t size, std::align_val_t align) {
  if (IsPooled(size, static_cast<std::size_t>(align))) return Take(size);
  return ::operator new(size, align);
}

void MMTransformAllocator::operator delete(void* block, std::size_t size) noexcept {
  if (!block) return;
  if (IsPooled(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__))
    Give(block, size);
  else
    ::operator delete(block, size);
}

void MMTransformAllocator::operator delete(void* block, std::size_t size,
                                           std::align_val_t align) noexcept {
  if (!block) return;
  if (IsPooled(size, static_cast<std::size_t>(align)))
    Give(block, size);
  else
    ::operator delete(block, size, align);
}

std::size_t MMTransformAllocator::GetPooledBlockCount() {
  std::size_t total = 0;
  for (std::uint32_t n : t_pool.counts) total += n;
  return total;
}

void MMTransformAllocator::ReleasePooledBlocks() { ReleaseAll(t_pool); }
