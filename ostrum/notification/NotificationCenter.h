#pragma once
// The notification center: typed notifications from anybody to anybody who asked for them,
// without the two knowing each other. A notification is any class; its type, known at compile
// time, chooses the observers, and the sender (an ISubject, or nobody) may narrow them down.
// The templates below are the whole front: they reduce every call to a few members of the
// library keyed by the run-time name of the notification's type.
//
// Delivery walks the live list of observers, not a copy. Observers may add and remove
// themselves and each other, send further notifications and even destroy the center while
// they are called:
//   - an observer added during a delivery is called from the next delivery on, whatever type
//     it was added for;
//   - an observer removed during a delivery is not called again, in that delivery or in any
//     delivery that encloses it;
//   - a center destroyed during a delivery ends every delivery that runs on it.
//
// The center belongs to the main thread; it takes no lock.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <typeinfo>

#include "ostrum/Export.h"

namespace Ostrum {

class OSTRUM_API NotificationCenter {
 public:
  /// Base of everything that can send a notification. It holds no data; a subject that dies
  /// is not removed from the center by itself.
  class OSTRUM_API ISubject {
   protected:
    ISubject() = default;
    ISubject(const ISubject&) = default;
    /// Assignment leaves the subject as it is: identity is not copied.
    ISubject& operator=(const ISubject&) { return *this; }
    virtual ~ISubject();
  };

  /// The identity of an observer: its address as it was handed over, never dereferenced. The
  /// null reference stands, in a removal, for every observer.
  class _ObserverRef {
   public:
    /// From the observer's address (null: every observer, in a removal).
    _ObserverRef(void const* observer = nullptr) : m_observer(observer) {}
    bool operator==(_ObserverRef const& other) const { return m_observer == other.m_observer; }
    bool operator!=(_ObserverRef const& other) const { return m_observer != other.m_observer; }

   private:
    void const* m_observer;
  };

  /// What a delivery hands to each observer's invoker: the sender (or null) and the
  /// notification object.
  struct _BaseNotification {
    ISubject const* subject;
    void const* notification;
  };

  /// The invocation of one observer: its identity, an invoker, and the functor the invoker
  /// runs, kept by value. The functor is copied byte by byte with the call.
  class _ObserverCall : public _ObserverRef {
   public:
    /// Calls the functor; answers whether the delivery goes on.
    using Invoker = bool (*)(void* functor, _BaseNotification& notification);
    /// Bytes of functor storage: room for an object pointer and a pointer to member.
    static constexpr std::size_t _FUNCTOR_SIZE = 40;

    /// Keeps a copy of `functor`, which must be trivially copyable and fit the storage.
    template <class Functor>
    _ObserverCall(_ObserverRef observer, Invoker invoker, Functor const& functor)
        : _ObserverRef(observer), m_invoker(invoker) {
      static_assert(std::is_trivially_copyable_v<Functor>, "the functor is copied byte by byte");
      static_assert(sizeof(Functor) <= _FUNCTOR_SIZE, "the functor does not fit the storage");
      static_assert(alignof(Functor) <= alignof(void*), "the functor needs a stricter alignment");
      std::memcpy(m_functor, &functor, sizeof(Functor));
    }

    /// Calls the invoker with the stored functor; answers what it answers. The invoker no
    /// longer reads the storage once the observer runs, so an observer may remove the entry
    /// that called it.
    bool InvokeObserver(_BaseNotification& notification) { return m_invoker(m_functor, notification); }

   private:
    Invoker m_invoker;
    alignas(void*) unsigned char m_functor[_FUNCTOR_SIZE] = {};
  };

  NotificationCenter();
  /// Ends every delivery still running on this center (the observers after the current one
  /// are not called) and drops all entries.
  ~NotificationCenter();
  NotificationCenter(NotificationCenter const&) = delete;
  NotificationCenter& operator=(NotificationCenter const&) = delete;

  /// The process-wide center, made on first use and never destroyed, so that static objects
  /// may still remove themselves at exit.
  static NotificationCenter& GetDefaultCenter();

  /// Calls `(observer->*member_function)(notification)` for every notification of exactly the
  /// type `Notification` sent from `subject`, or from any sender when `subject` is null. Entries
  /// are called in the order they were added; adding the same one twice calls it twice. Added
  /// during a delivery, it is called from the next delivery on. The observer is not owned and
  /// must be removed before it dies. A null observer or member function adds nothing.
  template <class Observer, class Target, class Notification>
    requires std::convertible_to<Observer*, Target*>
  void AddObserver(Observer* observer, void (Target::*member_function)(Notification const&),
                   ISubject const* subject = nullptr) {
    if (!observer || !member_function) return;
    _MemberCall<Target, Notification> const functor{observer, member_function};
    _AddObserver(_ObserverCall(_ObserverRef(observer), &_MemberCall<Target, Notification>::Invoke, functor),
                 subject, typeid(Notification).name());
  }

  /// Delivers `notification` from `subject` (null: from nobody) to the observers of its static
  /// type, in order, before it returns. An observer's exception ends the delivery and passes
  /// to the caller. A notification class may end a delivery early: if it has a member
  /// `bool CanContinueDelivery() const`, it is asked after each observer.
  template <class Notification>
  void NotifyObservers(ISubject const* subject, Notification const& notification) {
    _BaseNotification base{subject, &notification};
    _NotifyObservers(base, typeid(Notification).name());
  }

  /// Removes every entry, also those added during a delivery that is still running.
  void RemoveObservers();
  /// Removes the entries registered with the subject filter `subject`, of every type and
  /// observer; null removes those registered for any sender. Other filters are kept.
  void RemoveObservers(ISubject const* subject);
  /// Removes `observer`'s entries of every type; with `subject`, only those registered with
  /// that subject filter. A null reference matches every observer. An observer that is itself
  /// an ISubject names itself as `_ObserverRef(this)`: a bare pointer to an ISubject chooses the
  /// removal by subject filter above.
  void RemoveObservers(_ObserverRef observer, ISubject const* subject = _AnySubject()) {
    _RemoveObservers(observer, subject, nullptr);
  }
  /// Removes the entries for notifications of type `Notification`: all of them, or those of
  /// `observer` (null: of every observer), with `subject` only those of that subject filter.
  template <class Notification>
  void RemoveObservers(_ObserverRef observer = _ObserverRef(), ISubject const* subject = _AnySubject()) {
    _RemoveObservers(observer, subject, typeid(Notification).name());
  }

 private:
  struct OSTRUM_LOCAL Implementation;

  // The functor an entry keeps: the observer, already converted to the class of the member
  // function, and the member function.
  template <class Target, class Notification>
  struct _MemberCall {
    Target* observer;
    void (Target::*member_function)(Notification const&);

    static bool Invoke(void* functor, _BaseNotification& base) {
      // Read into locals first: the entry, and with it the storage, may go while the observer
      // runs. The storage holds a _MemberCall since the entry's call was made from one.
      _MemberCall const& call = *std::launder(static_cast<_MemberCall const*>(functor));
      Target* const observer = call.observer;
      auto const member_function = call.member_function;
      Notification const& notification = *static_cast<Notification const*>(base.notification);
      (observer->*member_function)(notification);
      if constexpr (requires { { notification.CanContinueDelivery() } -> std::convertible_to<bool>; })
        return notification.CanContinueDelivery();
      else
        return true;
    }
  };

  /// In a removal, the subject filter that matches every subject filter.
  static ISubject const* _AnySubject() { return reinterpret_cast<ISubject const*>(std::intptr_t{-1}); }

  /// Appends `call` with the filter `subject` to the observers of `type_name`, or, during a
  /// delivery, to those waiting for the end of the innermost one.
  void _AddObserver(_ObserverCall const& call, ISubject const* subject, char const* type_name);
  /// Removes the entries that match all three; a null observer, _AnySubject() and a null or
  /// empty type name match everything.
  void _RemoveObservers(_ObserverRef const& observer, ISubject const* subject, char const* type_name);
  /// Delivers `notification` to the observers of `type_name`.
  void _NotifyObservers(_BaseNotification& notification, char const* type_name);

  Implementation* m_impl;
};

}  // namespace Ostrum
