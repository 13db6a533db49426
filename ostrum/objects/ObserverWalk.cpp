#include "ostrum/objects/private/ObserverWalk.h"

#include <algorithm>

namespace Ostrum {

namespace {
// Innermost walk open on this thread; the object model lives on one thread, so each thread
// only needs to know of its own walks.
thread_local ObserverWalk* tl_innermost = nullptr;
}  // namespace

ObserverWalk::ObserverWalk() : m_outer(tl_innermost) { tl_innermost = this; }

ObserverWalk::~ObserverWalk() { tl_innermost = m_outer; }

bool ObserverWalk::_IsAliveAmongDead(const IObserver* observer) const {
  return std::find(m_dead.begin(), m_dead.end(), observer) == m_dead.end();
}

void ObserverWalk::_OnObserverDestroyed(const IObserver* observer) {
  for (ObserverWalk* walk = tl_innermost; walk; walk = walk->m_outer) walk->m_dead.push_back(observer);
}

}  // namespace Ostrum
