#include "ostrum/objects/MSubject.h"

#include <boost/container/small_vector.hpp>

#include "ostrum/objects/IObserver.h"
#include "ostrum/objects/private/ObserverWalk.h"

namespace {
// Observer counts are small; a copy on the stack keeps Notify free of allocation.
using ObserverCopy = boost::container::small_vector<IObserver*, 8>;
}  // namespace

MSubject::~MSubject() {
  _NotifyObserversOfDestruction();
  DetachAll();
}

void MSubject::Attach(IObserver* observer) {
  if (!m_observers) m_observers = new ObserverSet;
  m_observers->insert(observer);
  observer->ConnectDestroySignal(this, [this](IObserver* dying) { _OnObserverDestroying(dying); });
}

void MSubject::Detach(IObserver* observer) {
  if (!m_observers) return;
  auto it = m_observers->find(observer);
  if (it == m_observers->end()) return;
  observer->DisonnectDestroySignal(this);
  m_observers->erase(it);
  if (m_observers->empty()) {
    delete m_observers;
    m_observers = nullptr;
  }
}

void MSubject::DetachAll() {
  if (!m_observers) return;
  // Take the set down first, so that a re-entrant call finds this subject unlinked.
  ObserverSet* observers = m_observers;
  m_observers = nullptr;
  for (IObserver* observer : *observers) observer->DisonnectDestroySignal(this);
  delete observers;
}

void MSubject::Notify(const MOperation& operation) const {
  if (!m_observers) return;
  ObserverCopy copy(m_observers->begin(), m_observers->end());
  Ostrum::ObserverWalk walk;
  for (IObserver* observer : copy)
    if (walk.IsAlive(observer)) observer->Update(operation);
}

void MSubject::_NotifyObserversOfDestruction() const {
  if (!m_observers) return;
  ObserverCopy copy(m_observers->begin(), m_observers->end());
  Ostrum::ObserverWalk walk;
  for (IObserver* observer : copy)
    if (walk.IsAlive(observer)) observer->OnSubjectDestroyed(this);
}

void MSubject::_OnObserverDestroying(IObserver* observer) { Detach(observer); }
