#include "ostrum/foundation/frameadapter/MessageHandlerChain.h"

#include <algorithm>

namespace MFCA::Private {

bool DispatcherList::Append(void* dispatcher) {
  if (!dispatcher || Contains(dispatcher)) return false;
  m_items.push_back(dispatcher);
  return true;
}

bool DispatcherList::Remove(void* dispatcher) {
  auto it = std::find(m_items.begin(), m_items.end(), dispatcher);
  if (!dispatcher || it == m_items.end()) return false;
  if (m_walking) {
    *it = nullptr;  // the walk's places stay; the hole goes when the last walk ends
    m_holes = true;
  } else {
    m_items.erase(it);
  }
  return true;
}

bool DispatcherList::Contains(const void* dispatcher) const {
  return dispatcher && std::find(m_items.begin(), m_items.end(), dispatcher) != m_items.end();
}

std::size_t DispatcherList::GetCount() const {
  return static_cast<std::size_t>(std::count_if(m_items.begin(), m_items.end(), [](void* d) { return d != nullptr; }));
}

void DispatcherList::_Compact() {
  m_items.erase(std::remove(m_items.begin(), m_items.end(), nullptr), m_items.end());
  m_holes = false;
}

}  // namespace MFCA::Private
