#include "ostrum/objects/UIObjectIterator.h"

#include <boost/make_shared.hpp>

#include "ostrum/objects/UIObject.h"

UIObjectIterator& UIObjectIterator::operator++() {
  _GoNext();
  Flush();
  return *this;
}

UIObjectIterator UIObjectIterator::operator++(int) {
  UIObjectIterator copy(*this);
  ++*this;
  return copy;
}

void UIObjectIterator::Flush() {
  while (m_current && !IsValid()) _GoNext();
}

void UIObjectIterator::_GoNext() {
  if (!m_current) return;
  // 1. Into the first child: this place is kept as the frame to come back to.
  if (m_current->GetNumChildren(false) != 0) {
    m_parent = boost::make_shared<UIObjectIterator>(*this);
    m_current = m_current->GetChild(0);
    m_index = 0;
    return;
  }
  // 2. To the next sibling, as the parent steps its children.
  if (UIObject* parent = m_current->GetParent())
    parent->IncrementIterator(*this);
  else
    m_current = nullptr;
  // 3. Climbing back while a level has ended.
  while (m_parent && !m_current) {
    _ReturnToParent();
    if (UIObject* parent = m_current->GetParent())
      parent->IncrementIterator(*this);
    else
      m_current = nullptr;
  }
}

void UIObjectIterator::_ReturnToParent() {
  // Copied out first: the frame may be the last owner of itself.
  const boost::shared_ptr<UIObjectIterator> frame = m_parent;
  m_current = frame->m_current;
  m_index = frame->m_index;
  m_parent = frame->m_parent;
}

bool UIObjectIteratorSelected::IsValid() { return UIObjectIterator::IsValid() && _GetCurrent()->IsSelected(); }
