#pragma once
// Memory for an action's entry and the group it may start, in one allocation. Most steps hold
// one action, and registering it then costs one allocation instead of two: the first entry of a
// transaction is made with room for the group that its commit makes. Either object may die first;
// the memory goes with the second. Every object allocated here carries, in front of it, a
// header naming its block (none for an object alone).

#include <cstddef>
#include <cstdint>
#include <new>

namespace Ostrum::Undo::Private::Paired {

struct Block {
  std::int32_t live;  // objects made in the block and not yet destroyed
};

struct alignas(16) Header {
  Block* block;  // null for an object allocated alone
};

constexpr std::size_t Round(std::size_t size) { return (size + 15) / 16 * 16; }
constexpr std::size_t kBlockSize = Round(sizeof(Block));

/// Memory for one object alone.
inline void* AllocateAlone(std::size_t size) {
  auto* header = static_cast<Header*>(::operator new(sizeof(Header) + size));
  header->block = nullptr;
  return header + 1;
}

/// Memory for a first object of `first` bytes, with room after it for one of `second` bytes,
/// which goes to `second_room`; the room counts once something is made in it (Adopt).
inline void* AllocatePair(std::size_t first, std::size_t second, void** second_room) {
  auto* bytes = static_cast<unsigned char*>(::operator new(kBlockSize + 2 * sizeof(Header) + Round(first) + second));
  auto* block = new (bytes) Block{1};
  auto* first_header = new (bytes + kBlockSize) Header{block};
  auto* second_header = new (bytes + kBlockSize + sizeof(Header) + Round(first)) Header{block};
  *second_room = second_header + 1;
  return first_header + 1;
}

/// Counts the object just made in a room of AllocatePair.
inline void Adopt(void* room) { ++(static_cast<Header*>(room) - 1)->block->live; }

/// Gives back the memory of a destroyed object: its own, or its share of a block.
inline void Free(void* object) {
  if (!object) return;
  Header* header = static_cast<Header*>(object) - 1;
  if (!header->block)
    ::operator delete(header);
  else if (--header->block->live == 0)
    ::operator delete(header->block);
}

}  // namespace Ostrum::Undo::Private::Paired
