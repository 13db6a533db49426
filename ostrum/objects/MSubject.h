#pragma once
// MSubject: what observers watch. Costs one null pointer until the first observer attaches.

#include <cstddef>
#include <set>

#include "ostrum/Export.h"

class IObserver;
class MOperation;

class OSTRUM_API MSubject {
 public:
  using ObserverSet = std::set<IObserver*>;

  MSubject() = default;
  /// A copy starts with no observers: links are not copied.
  MSubject(const MSubject&) {}
  /// Assignment keeps this subject's own observers.
  MSubject& operator=(const MSubject&) { return *this; }
  /// Tells each observer OnSubjectDestroyed, then detaches them all.
  virtual ~MSubject();

  /// Links `observer` to this subject; attaching twice holds it once. Not owned.
  virtual void Attach(IObserver* observer);
  /// Unlinks `observer`; nothing if it is not attached.
  virtual void Detach(IObserver* observer);
  /// Unlinks every observer.
  virtual void DetachAll();
  /// Calls Update(operation) on each observer, in ascending pointer order, over a copy of the
  /// set: observers may attach or detach meanwhile; one destroyed meanwhile is skipped.
  virtual void Notify(const MOperation& operation) const;

  /// Number of observers, 0 while there is no set.
  size_t GetNumberOfObservers() const { return m_observers ? m_observers->size() : 0; }
  /// Iterators over the observers. They need a set: look at GetNumberOfObservers first.
  ObserverSet::const_iterator GetBeginIt() const { return m_observers->begin(); }
  ObserverSet::const_iterator GetEndIt() const { return m_observers->end(); }

 private:
  void _NotifyObserversOfDestruction() const;
  void _OnObserverDestroying(IObserver* observer);

  ObserverSet* m_observers = nullptr;
};
