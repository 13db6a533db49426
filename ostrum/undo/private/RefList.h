#pragma once
// RefList: the singly linked list of reference-counted items that histories are made of (the
// actions of a transaction or a group, the groups of a stack). The link lives in the item, so
// registering an action or pushing a group allocates nothing for the list itself, and a whole
// transaction's list joins its parent's in constant time.

#include <utility>

#include "ostrum/undo/private/SharedObject.h"

namespace Ostrum::Undo::Private {

template <class T>
class RefList;

/// The link an item carries; an item is in at most one list at a time.
template <class T>
class RefListItem {
 private:
  friend class RefList<T>;
  T* m_list_next = nullptr;
};

/// Holds one reference to each item. The front is where items are pushed and popped: for
/// actions it is the newest, for a stack of groups its top.
template <class T>
class RefList {
 public:
  RefList() = default;
  RefList(const RefList&) = delete;
  RefList& operator=(const RefList&) = delete;
  ~RefList() { Clear(); }

  bool IsEmpty() const { return m_head == nullptr; }
  /// The first item, null for an empty list; the list keeps its reference.
  T* Front() const { return m_head; }
  /// The last item (for actions the oldest), null for an empty list.
  T* Back() const { return m_tail; }
  /// The item after `item` in its list, null at the end.
  static T* Next(const T* item) { return Link(item)->m_list_next; }

  /// Puts `item` in front, taking over the reference.
  void PushFront(SharedRef<T> item) {
    T* raw = item.Detach();
    Link(raw)->m_list_next = m_head;
    m_head = raw;
    if (!m_tail) m_tail = raw;
  }
  /// Takes the first item out with the list's reference; an empty reference for an empty list.
  SharedRef<T> PopFront() { return RemoveAfter(nullptr); }
  /// Takes out the item after `previous` (the first one for null) with the list's reference.
  SharedRef<T> RemoveAfter(T* previous) {
    T* item = previous ? Link(previous)->m_list_next : m_head;
    if (!item) return {};
    T* next = std::exchange(Link(item)->m_list_next, nullptr);
    (previous ? Link(previous)->m_list_next : m_head) = next;
    if (m_tail == item) m_tail = previous;
    return SharedRef<T>(item, SharedRef<T>::ADOPT);
  }
  /// Moves every item of `other` in front of this list's items, keeping their order.
  void SpliceFront(RefList& other) {
    if (other.IsEmpty()) return;
    Link(other.m_tail)->m_list_next = m_head;
    if (!m_tail) m_tail = other.m_tail;
    m_head = other.m_head;
    other.m_head = other.m_tail = nullptr;
  }
  void Swap(RefList& other) noexcept {
    std::swap(m_head, other.m_head);
    std::swap(m_tail, other.m_tail);
  }
  /// Releases every item, front first. The list is empty before the first release, so what a
  /// release sets off never sees a half-released list.
  void Clear() {
    if (IsEmpty()) return;
    RefList local;
    Swap(local);
    while (!local.IsEmpty()) local.PopFront();
  }

 private:
  static RefListItem<T>* Link(const T* item) {
    return static_cast<RefListItem<T>*>(const_cast<T*>(item));
  }

  T* m_head = nullptr;
  T* m_tail = nullptr;
};

}  // namespace Ostrum::Undo::Private
