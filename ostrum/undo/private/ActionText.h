#pragma once
// ActionText: the text a transaction or a step shows the user ("Move screw"), held as an
// immutable counted string. A host gives every step of one kind the same text, so a controller
// hands the same string to all of them instead of copying the text per transaction; a text is
// never changed in place, only replaced, so steps that share one are never affected by each
// other.

#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <new>
#include <utility>

namespace Ostrum::Undo::Private {

class ActionText {
 public:
  ActionText() = default;
  ActionText(const ActionText& other) : m_block(other.m_block) {
    if (m_block) ++m_block->refs;
  }
  ActionText(ActionText&& other) noexcept : m_block(std::exchange(other.m_block, nullptr)) {}
  ActionText& operator=(ActionText other) noexcept {
    std::swap(m_block, other.m_block);
    return *this;
  }
  ~ActionText() { Reset(); }

  /// A new text holding a copy of `text` (null or "" give the empty text, which allocates
  /// nothing). Throws std::bad_alloc.
  static ActionText Copy(wchar_t const* text) {
    ActionText made;
    const std::size_t size = text ? std::wcslen(text) : 0;
    if (size == 0) return made;
    void* memory = ::operator new(sizeof(Block) + (size + 1) * sizeof(wchar_t));
    Block* block = new (memory) Block;
    block->size = size;
    wchar_t* chars = block->Chars();
    std::wmemcpy(chars, text, size);
    chars[size] = L'\0';
    made.m_block = block;
    return made;
  }

  /// The text, "" for the empty one; valid while this reference (or another to the same text)
  /// lives.
  wchar_t const* c_str() const { return m_block ? m_block->Chars() : L""; }
  bool empty() const { return m_block == nullptr; }
  /// Whether this text reads `text` (null reads as "").
  bool Equals(wchar_t const* text) const {
    if (!text || *text == L'\0') return m_block == nullptr;
    return m_block && std::wcsncmp(m_block->Chars(), text, m_block->size + 1) == 0;
  }
  void Reset() {
    if (Block* block = std::exchange(m_block, nullptr); block && --block->refs == 0) {
      block->~Block();
      ::operator delete(block);
    }
  }
  void swap(ActionText& other) noexcept { std::swap(m_block, other.m_block); }

 private:
  // The characters follow the block in the same allocation. The count is a plain integer: a
  // text belongs to the thread of its manager, as everything of its history does.
  struct Block {
    std::int32_t refs = 1;
    std::size_t size = 0;
    wchar_t* Chars() { return reinterpret_cast<wchar_t*>(this + 1); }
  };
  static_assert(alignof(Block) >= alignof(wchar_t));

  Block* m_block = nullptr;
};

}  // namespace Ostrum::Undo::Private
