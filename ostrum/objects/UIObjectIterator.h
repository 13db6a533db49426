#pragma once
// UIObjectIterator: a depth-first walk of a subtree of UIObjects (pre-order, the start object
// itself not included), and the base of filtered walks. UIObjectIteratorSelected walks only the
// selected objects.

#include <cstddef>

#include <boost/shared_ptr.hpp>

#include "ostrum/Export.h"

class UIObject;

// The destructor is not virtual although IsValid is: iterators, also derived ones, are values
// and are never deleted through a base pointer (a frame is a copy of the base part only).
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A value: copies share the frames of the levels above them (one allocation per descent, a
/// reference count per copy), so a copy taken halfway walks the rest on its own.
class OSTRUM_API UIObjectIterator {
 public:
  /// The end.
  UIObjectIterator() = default;
  UIObjectIterator(const UIObjectIterator&) = default;
  UIObjectIterator& operator=(const UIObjectIterator&) = default;
  ~UIObjectIterator() = default;

  /// Compares the objects stood on only, so every end equals every end.
  bool operator!=(const UIObjectIterator& other) const { return m_current != other.m_current; }
  bool operator==(const UIObjectIterator& other) const { return m_current == other.m_current; }
  /// One step on, then on past what IsValid refuses.
  UIObjectIterator& operator++();
  UIObjectIterator operator++(int);
  operator UIObject*() const { return m_current; }  // NOLINT: implicit by design
  UIObject& operator*() const { return *m_current; }
  UIObject* operator->() const { return m_current; }
  /// Steps on while the object stood on is refused by IsValid (its children are still walked).
  void Flush();

 protected:
  friend class UIObject;
  /// Stands on `object`, with no frames above.
  explicit UIObjectIterator(UIObject* object) : m_current(object) {}
  /// Whether the object stood on belongs to the walk; true here.
  virtual bool IsValid() { return true; }
  /// The pre-order step: into the first child, else to the next sibling, climbing back up as
  /// the levels end.
  void _GoNext();

 private:
  void _ReturnToParent();

  UIObject* m_current = nullptr;
  // Where m_current stands in its parent's children, when known: the step to the next sibling
  // then needs no search of the parent's list.
  std::size_t m_index = 0;
  boost::shared_ptr<UIObjectIterator> m_parent;

 public:
  /// For UIObject::IncrementIterator: the object stood on, and its place among its siblings.
  UIObject* _GetCurrent() const { return m_current; }
  std::size_t _GetIndexHint() const { return m_index; }
  void _SetCurrent(UIObject* object, std::size_t index) {
    m_current = object;
    m_index = index;
  }
};

/// Walks only the selected objects, but through unselected ones to their selected children.
class OSTRUM_API UIObjectIteratorSelected : public UIObjectIterator {
 public:
  UIObjectIteratorSelected() = default;
  /// The same place as `walk`, flushed to the first selected object from there.
  explicit UIObjectIteratorSelected(const UIObjectIterator& walk) : UIObjectIterator(walk) { Flush(); }

 protected:
  bool IsValid() override;
};

#pragma GCC diagnostic pop
