#include "ostrum/objects/MDefinedObject.h"

#include <algorithm>

MDefinedObject::~MDefinedObject() { delete m_defining; }

void MDefinedObject::AttachDefiningObject(MDefinedObject* object) {
  if (!m_defining) m_defining = new std::vector<MDefinedObject*>;
  if (std::find(m_defining->begin(), m_defining->end(), object) == m_defining->end())
    m_defining->push_back(object);
}

void MDefinedObject::DetachDefiningObject(MDefinedObject* object) {
  if (!m_defining) return;
  auto it = std::find(m_defining->begin(), m_defining->end(), object);
  if (it == m_defining->end()) return;
  m_defining->erase(it);
  if (m_defining->empty()) {
    delete m_defining;
    m_defining = nullptr;
  }
}

void MDefinedObject::DetachAllDefiningObjects() {
  delete m_defining;
  m_defining = nullptr;
}
