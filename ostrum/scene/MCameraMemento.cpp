#include "ostrum/scene/MCameraMemento.h"

#include "ostrum/foundation/geometry/MMTransform.h"

MCameraMemento::~MCameraMemento() { delete m_eye_world; }

void MCameraMemento::SetEyeWorld(const MMTransform& transform) {
  MMTransform* copy = transform.Clone();
  delete m_eye_world;
  m_eye_world = copy;
}
