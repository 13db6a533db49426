#pragma once
// IObserver: what is told of changes of a subject. The link to each subject is known on both
// sides: the observer keeps one destroy signal per subject, called when the observer dies, so
// that either side may die first.

#include <functional>
#include <map>

#include "ostrum/Export.h"

class MOperation;
class MSubject;

class OSTRUM_API IObserver {
 public:
  IObserver() = default;
  /// A copy starts unlinked: it observes nothing.
  IObserver(const IObserver&) {}
  /// Assignment keeps this observer's own links.
  IObserver& operator=(const IObserver&) { return *this; }
  /// Calls every destroy signal, which detaches this observer from each of its subjects.
  virtual ~IObserver();

  /// Told of an operation that changed a subject. Does nothing by default.
  virtual void Update(const MOperation& operation);
  /// Told that a subject died; the link is already being taken down. Does nothing by default.
  virtual void OnSubjectDestroyed(const MSubject* subject);

  /// Enters `signal` under `key` (a subject); an entry already under that key stays.
  void ConnectDestroySignal(void* key, std::function<void(IObserver*)> signal);
  /// Erases the entry of `key`; nothing if there is none.
  void DisonnectDestroySignal(void* key);

 private:
  std::map<void*, std::function<void(IObserver*)>> m_destroy_signals;
};
