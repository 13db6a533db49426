#pragma once
// Collection of the observers of an operation's objects into a caller's buffer, so that the
// pipeline's publish stage can gather them on the stack instead of the heap.

#include <cstddef>
#include <vector>

class IObserver;
class MOperation;

namespace Ostrum::Private {

/// A list of observers held on the stack up to 16 entries and on the heap beyond. Its
/// push_back is inline, as the pipeline calls it once per observer of every operation.
class ObserverBuffer {
 public:
  ObserverBuffer() = default;
  ObserverBuffer(const ObserverBuffer&) = delete;
  ObserverBuffer& operator=(const ObserverBuffer&) = delete;

  IObserver** begin() { return m_data; }
  IObserver** end() { return m_data + m_size; }
  IObserver* const* begin() const { return m_data; }
  IObserver* const* end() const { return m_data + m_size; }
  std::size_t size() const { return m_size; }
  bool empty() const { return m_size == 0; }
  [[gnu::always_inline]] void push_back(IObserver* observer) {
    if (m_size == m_capacity) _Grow();
    m_data[m_size++] = observer;
  }

 private:
  [[gnu::noinline]] void _Grow() {
    std::vector<IObserver*> grown(m_capacity * 2);
    for (std::size_t i = 0; i < m_size; ++i) grown[i] = m_data[i];
    m_heap.swap(grown);
    m_data = m_heap.data();
    m_capacity = m_heap.size();
  }

  static constexpr std::size_t kOnStack = 16;
  IObserver* m_few[kOnStack];
  IObserver** m_data = m_few;
  std::size_t m_size = 0;
  std::size_t m_capacity = kOnStack;
  std::vector<IObserver*> m_heap;
};

/// Appends the observers of `operation`'s objects to `list`, without duplicates, in order of
/// first sight (what MOperation::GetObservers gives).
void CollectObservers(const MOperation& operation, ObserverBuffer& list);

}  // namespace Ostrum::Private
