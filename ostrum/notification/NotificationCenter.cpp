#include "ostrum/notification/NotificationCenter.h"

#include <algorithm>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

namespace Ostrum {

// Out of line so that the subject mark has one home for its type information.
NotificationCenter::ISubject::~ISubject() = default;

// What a center holds. The observer map is the truth; the cache only saves the look-up of a
// type's list by its name on every delivery.
//
// Invariants:
//   - no list in the observer map or in a pending map is empty;
//   - the observer map changes only outside a delivery of this center (entries added during
//     one wait in the innermost delivery's m_pending), except that entries leave it;
//   - every delivery's m_next is an entry of its m_list or its end; a removal steps it on
//     before it erases that entry, so no delivery keeps an iterator to an erased entry.
struct NotificationCenter::Implementation {
  struct Entry : _ObserverCall {
    Entry(_ObserverCall const& call, ISubject const* subject) : _ObserverCall(call), m_subject(subject) {}
    ISubject const* m_subject;  // the subject filter: null lets every sender through
  };
  using List = std::list<Entry>;
  // Transparent comparison, so that a look-up by a type's name allocates no string.
  using ObserverMap = std::map<std::string, List, std::less<>>;

  // A frame on the stack of _NotifyObservers.
  struct Delivery {
    Implementation* m_center;  // null once the center has gone
    Delivery* m_outer;
    ObserverMap m_pending;     // observers added while this is the innermost delivery
    List* m_list;              // null once the list walked has left the map
    List::iterator m_next;
  };

  // One slot of the cache from the address of a type's name to its list in the observer map.
  // A slot is good while its generation is the center's; m_list null means "no observers".
  struct CacheSlot {
    char const* m_name = nullptr;
    List* m_list = nullptr;
    std::uint64_t m_generation = 0;
  };

  List* FindList(char const* type_name);
  List* LookUpAndCache(char const* type_name);
  void Append(ObserverMap& map, char const* type_name, Entry&& entry);
  void Merge(ObserverMap& pending, ObserverMap& target);
  template <class Matches>
  void RemoveFromMap(ObserverMap& map, ObserverMap::iterator at, Matches const& matches);
  void ListCreatedOrErased() { ++m_generation; }
  [[gnu::noinline]] void Deliver(List& list, _BaseNotification& notification);

  ObserverMap m_observers;
  Delivery* m_delivery = nullptr;

  // Open addressing over a power-of-two table, filled at most to half; slots are never
  // emptied, only refreshed, and there is one per type name address seen.
  std::vector<CacheSlot> m_cache;
  std::size_t m_cache_mask = 0;  // size - 1, once there are slots
  std::size_t m_cache_used = 0;
  std::uint64_t m_generation = 1;
};

namespace {

// Spreads the address of a name over the table (Fibonacci hashing: a multiply, no division).
inline std::size_t CacheIndex(char const* name, std::size_t mask) {
  auto bits = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(name));
  return static_cast<std::size_t>((bits * 0x9E3779B97F4A7C15ull) >> 40) & mask;
}

}  // namespace

// A type's name reaches the center as the address typeid gives for it, the same on every
// call from the same program or library: the address is the key that is cheap to compare.
// The same type seen from two libraries has two addresses, and so two slots for one list.
inline auto NotificationCenter::Implementation::FindList(char const* type_name) -> List* {
  if (m_cache_mask) {
    std::size_t const mask = m_cache_mask;
    for (std::size_t i = CacheIndex(type_name, mask);; i = (i + 1) & mask) {
      CacheSlot const& slot = m_cache[i];
      if (slot.m_name == type_name) {
        if (slot.m_generation == m_generation) return slot.m_list;
        break;
      }
      if (!slot.m_name) break;
    }
  }
  return LookUpAndCache(type_name);
}

auto NotificationCenter::Implementation::LookUpAndCache(char const* type_name) -> List* {
  auto found = m_observers.find(type_name);
  List* list = found == m_observers.end() ? nullptr : &found->second;
  if ((m_cache_used + 1) * 2 > m_cache.size()) {
    std::vector<CacheSlot> old = std::move(m_cache);
    m_cache.assign(std::max<std::size_t>(16, old.size() * 2), CacheSlot());
    m_cache_mask = m_cache.size() - 1;
    m_cache_used = 0;
    for (CacheSlot const& slot : old) {
      if (!slot.m_name) continue;
      std::size_t i = CacheIndex(slot.m_name, m_cache_mask);
      while (m_cache[i].m_name) i = (i + 1) & m_cache_mask;
      m_cache[i] = slot;
      ++m_cache_used;
    }
  }
  std::size_t const mask = m_cache_mask;
  std::size_t i = CacheIndex(type_name, mask);
  while (m_cache[i].m_name && m_cache[i].m_name != type_name) i = (i + 1) & mask;
  if (!m_cache[i].m_name) ++m_cache_used;
  m_cache[i] = CacheSlot{type_name, list, m_generation};
  return list;
}

void NotificationCenter::Implementation::Append(ObserverMap& map, char const* type_name, Entry&& entry) {
  auto at = map.find(type_name);
  if (at == map.end()) {
    at = map.emplace(type_name, List()).first;
    if (&map == &m_observers) ListCreatedOrErased();
  }
  at->second.push_back(std::move(entry));
}

// Moves the lists of `pending` to the ends of the lists of the same types in `target`. Nodes
// move, nothing is allocated, so the end of a delivery cannot fail.
void NotificationCenter::Implementation::Merge(ObserverMap& pending, ObserverMap& target) {
  for (auto it = pending.begin(); it != pending.end();) {
    auto next = std::next(it);
    auto at = target.find(it->first);
    if (at != target.end()) {
      at->second.splice(at->second.end(), it->second);
    } else {
      target.insert(pending.extract(it));
      if (&target == &m_observers) ListCreatedOrErased();
    }
    it = next;
  }
  pending.clear();
}

// Erases the matching entries of the list at `at`, and the list when it empties. In the
// observer map, every delivery walking that list is kept off the erased entries first.
template <class Matches>
void NotificationCenter::Implementation::RemoveFromMap(ObserverMap& map, ObserverMap::iterator at, Matches const& matches) {
  bool const walked = &map == &m_observers;
  List& list = at->second;
  for (auto it = list.begin(); it != list.end();) {
    if (!matches(*it)) {
      ++it;
      continue;
    }
    if (walked) {
      for (Delivery* d = m_delivery; d; d = d->m_outer)
        if (d->m_list == &list && d->m_next == it) ++d->m_next;
    }
    it = list.erase(it);
  }
  if (!list.empty()) return;
  if (walked) {
    for (Delivery* d = m_delivery; d; d = d->m_outer)
      if (d->m_list == &list) d->m_list = nullptr;  // that delivery ends at its next check
    ListCreatedOrErased();
  }
  map.erase(at);
}

NotificationCenter::NotificationCenter() : m_impl(new Implementation) {}

NotificationCenter::~NotificationCenter() {
  // The deliveries still on the stack must neither go on nor touch the implementation when
  // they end; their pending maps are theirs and go with them.
  for (Implementation::Delivery* d = m_impl->m_delivery; d; d = d->m_outer) d->m_center = nullptr;
  delete m_impl;
  m_impl = nullptr;
}

NotificationCenter& NotificationCenter::GetDefaultCenter() {
  static NotificationCenter* const center = new NotificationCenter;
  return *center;
}

void NotificationCenter::RemoveObservers() { _RemoveObservers(_ObserverRef(), _AnySubject(), nullptr); }

void NotificationCenter::RemoveObservers(ISubject const* subject) { _RemoveObservers(_ObserverRef(), subject, nullptr); }

void NotificationCenter::_AddObserver(_ObserverCall const& call, ISubject const* subject, char const* type_name) {
  if (!m_impl || !type_name) return;
  Implementation& impl = *m_impl;
  Implementation::ObserverMap& target = impl.m_delivery ? impl.m_delivery->m_pending : impl.m_observers;
  impl.Append(target, type_name, Implementation::Entry(call, subject));
}

void NotificationCenter::_RemoveObservers(_ObserverRef const& observer, ISubject const* subject,
                                          char const* type_name) {
  if (!m_impl) return;
  Implementation& impl = *m_impl;
  bool const any_observer = observer == _ObserverRef();
  bool const any_subject = subject == _AnySubject();
  auto matches = [&](Implementation::Entry const& entry) {
    return (any_observer || static_cast<_ObserverRef const&>(entry) == observer) &&
           (any_subject || entry.m_subject == subject);
  };
  auto remove_from = [&](Implementation::ObserverMap& map) {
    if (type_name && *type_name) {
      auto at = map.find(type_name);
      if (at != map.end()) impl.RemoveFromMap(map, at, matches);
      return;
    }
    for (auto at = map.begin(); at != map.end();) impl.RemoveFromMap(map, at++, matches);
  };
  // 1. What waits in the deliveries, from the innermost out; 2. the observer map.
  for (Implementation::Delivery* d = impl.m_delivery; d; d = d->m_outer) remove_from(d->m_pending);
  remove_from(impl.m_observers);
}

// The walk of one list, out of line so that a type without observers costs only the look-up.
// `this` may be destroyed by an observer: after each call only the frame is trusted.
void NotificationCenter::Implementation::Deliver(List& list, _BaseNotification& notification) {
  Delivery delivery{this, m_delivery, {}, &list, list.begin()};
  m_delivery = &delivery;

  // The end of the delivery, also when an observer throws: unless the center has gone, what
  // was added meanwhile moves out to the enclosing delivery, or into the observer map.
  struct End {
    Delivery& d;
    ~End() {
      if (!d.m_center) return;
      if (!d.m_pending.empty())
        d.m_center->Merge(d.m_pending, d.m_outer ? d.m_outer->m_pending : d.m_center->m_observers);
      d.m_center->m_delivery = d.m_outer;
    }
  } const end{delivery};

  while (delivery.m_next != delivery.m_list->end()) {
    Entry& entry = *delivery.m_next;
    ++delivery.m_next;  // first, so that the entry may remove itself
    if (entry.m_subject && entry.m_subject != notification.subject) continue;
    if (!entry.InvokeObserver(notification)) break;
    // The center may have gone, and with it `this`; or the list may have left the map.
    if (!delivery.m_center || !delivery.m_list) break;
  }
}

void NotificationCenter::_NotifyObservers(_BaseNotification& notification, char const* type_name) {
  if (!m_impl || !type_name) return;
  // Without a list nobody is called, so nobody can add or remove anything: no frame needed.
  if (Implementation::List* list = m_impl->FindList(type_name)) m_impl->Deliver(*list, notification);
}

}  // namespace Ostrum
