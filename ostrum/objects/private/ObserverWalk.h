#pragma once
// ObserverWalk: guards a walk over a copy of observers against observers that die during the
// walk (an observer's Update may destroy another observer, or the subject). While a walk is
// open on this thread, every observer that is destroyed is recorded in it, and the walk skips
// it. Walks nest; one costs nothing on the heap until an observer dies during it.

#include <boost/container/small_vector.hpp>

#include "ostrum/Export.h"

class IObserver;

namespace Ostrum {

class ObserverWalk {
 public:
  ObserverWalk();
  ObserverWalk(const ObserverWalk&) = delete;
  ObserverWalk& operator=(const ObserverWalk&) = delete;
  ~ObserverWalk();

  /// False once `observer` has been destroyed since this walk was opened.
  bool IsAlive(const IObserver* observer) const { return m_dead.empty() || _IsAliveAmongDead(observer); }

  /// Records the death of `observer` in every walk open on this thread.
  static void _OnObserverDestroyed(const IObserver* observer);

 private:
  bool _IsAliveAmongDead(const IObserver* observer) const;

  ObserverWalk* m_outer;
  boost::container::small_vector<const IObserver*, 4> m_dead;
};

}  // namespace Ostrum
