#include "ostrum/coordinates/MTransformRepositoryCoordinateSystem.h"

#include <vector>

#include "ostrum/coordinates/MTransformRepository.h"
#include "ostrum/foundation/geometry/MMTransform.h"

namespace {

using Node = MTransformRepositoryCoordinateSystem;

// True when `to` is `node` or lies below it: hanging `node` there would close a loop, and
// every walk to the root (weights, paths, units) would never end.
bool WouldCloseLoop(Node const* node, Node const* to) {
  for (Node const* p = to; p; p = p->GetTo())
    if (p == node) return true;
  return false;
}

}  // namespace

Node::MTransformRepositoryCoordinateSystem() = default;

Node::MTransformRepositoryCoordinateSystem(Node* to, MMTransform* t, wchar_t const* label)
    : m_to(to), m_transform(t) {
  SetUnit(label);
}

Node::MTransformRepositoryCoordinateSystem(Node* to, MMTransform const& t, wchar_t const* label)
    : Node(to, t.Clone(), label) {}

Node::MTransformRepositoryCoordinateSystem(Node const& other)
    : ISAXReference(),
      ISAXPersist(),
      m_to(other.m_to),
      m_transform(other.m_transform ? other.m_transform->Clone() : nullptr),
      m_label(other.m_label) {}

Node& Node::operator=(Node const& other) {
  if (this == &other) return *this;
  delete m_transform;
  m_transform = other.m_transform ? other.m_transform->Clone() : nullptr;
  if (!WouldCloseLoop(this, other.m_to)) SetDependent(other.m_to);
  return *this;
}

Node::~MTransformRepositoryCoordinateSystem() {
  delete m_transform;
  // The owning repository drops the node from its list and empties its cache. The process-wide
  // repository empties its cache too when it is another one: queries go through it, so it may
  // hold this node as a key, and a later node at the same address must not find that entry.
  MTransformRepository* const instance = MTransformRepository::GetInstance();
  if (m_repository) m_repository->_DeleteSystem(this);
  if (instance && instance != m_repository) instance->_DeleteSystem(this);
}

void Node::SetDependent(Node* to) {
  if (to == m_to || WouldCloseLoop(this, to)) return;
  // The new chain takes the weight before the old one gives it up, so that a new parent that
  // lies on the old chain cannot die on the way. A node nobody holds moves no weight and so
  // kills nothing.
  Node* const old = m_to;
  if (m_weight && to) to->AddRef(m_weight);
  m_to = to;
  if (m_weight && old) old->Release(m_weight);
}

void Node::ReplaceTransform(MMTransform* t) {
  if (t == m_transform) return;
  delete m_transform;
  m_transform = t;
}

void Node::SetUnit(wchar_t const* label) {
  if (label)
    m_label = label;
  else
    m_label.clear();
}

std::wstring const& Node::GetUnit() const {
  for (Node const* p = this; p; p = p->m_to)
    if (!p->m_label.empty()) return p->m_label;
  static std::wstring const none;
  return none;
}

bool Node::ChildOf(Node const* parent, bool direct) const {
  for (Node const* p = this;; p = p->m_to) {
    if (p->m_to == parent) return true;
    if (direct || !p->m_to) return false;
  }
}

Node* Node::GetChildOfDependent(Node const* ancestor) const {
  for (Node const* p = this; p; p = p->m_to)
    if (p->m_to == ancestor) return const_cast<Node*>(p);
  return nullptr;
}

void Node::_DeleteDeadChain() const {
  // Weights never grow towards the leaves, so the dead nodes are this one and an unbroken run
  // above it. Parents go first; a child's destructor never reads its parent.
  std::vector<Node const*> dead;
  for (Node const* p = this; p && p->m_weight == 0; p = p->m_to) dead.push_back(p);
  for (auto it = dead.rbegin(); it != dead.rend(); ++it) delete *it;
}
