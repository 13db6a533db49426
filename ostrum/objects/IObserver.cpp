#include "ostrum/objects/IObserver.h"

#include "ostrum/objects/private/ObserverWalk.h"

IObserver::~IObserver() {
  Ostrum::ObserverWalk::_OnObserverDestroyed(this);
  // Each signal detaches this observer from its subject, and the subject's Detach erases the
  // very entry being called; always take the first entry, and erase it here should the
  // subject not have done so, so that the walk ends.
  while (!m_destroy_signals.empty()) {
    auto first = m_destroy_signals.begin();
    void* key = first->first;
    std::function<void(IObserver*)> signal = std::move(first->second);
    signal(this);
    auto again = m_destroy_signals.find(key);
    if (again != m_destroy_signals.end()) m_destroy_signals.erase(again);
  }
}

void IObserver::Update(const MOperation&) {}

void IObserver::OnSubjectDestroyed(const MSubject*) {}

void IObserver::ConnectDestroySignal(void* key, std::function<void(IObserver*)> signal) {
  m_destroy_signals.emplace(key, std::move(signal));
}

void IObserver::DisonnectDestroySignal(void* key) { m_destroy_signals.erase(key); }
