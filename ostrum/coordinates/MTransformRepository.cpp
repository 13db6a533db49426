#include "ostrum/coordinates/MTransformRepository.h"

#include <algorithm>

#include "ostrum/coordinates/ITransformRepositoryNotifyDelete.h"
#include "ostrum/coordinates/private/RepositoryLoad.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

MTransformRepository* MTransformRepository::mgp_instance = nullptr;

namespace {

// The listeners belong to the class, so that one survives the deletion of a repository and
// hears of the next. A function-local vector is ready whenever the first listener subscribes.
std::vector<ITransformRepositoryNotifyDelete*>& Subscribers() {
  static std::vector<ITransformRepositoryNotifyDelete*> subscribers;
  return subscribers;
}

}  // namespace

MTransformRepository::MTransformRepository() {
  mgp_instance = this;
  auto* root = new Node(nullptr, static_cast<MMTransform*>(nullptr), nullptr);
  root->m_repository = this;
  m_absolute_world.SetInternalSystem(root);
  for (Path* path : {&m_from_path, &m_to_path, &m_walk_from, &m_walk_to}) path->reserve(kMaxDepth + 1);
  m_concat_list.reserve(kMaxDepth + 1);
}

MTransformRepository::~MTransformRepository() {
  // What remains of an application repository is this class alone now.
  m_application = false;
  // 1. What nobody holds goes first, so that listeners see only the systems in use.
  DeleteUnreferencedSystems();
  // 2. Listeners drop their handles; the root is still there. They are called over a copy, so
  //    that one may unsubscribe while being told.
  std::vector<ITransformRepositoryNotifyDelete*> const listeners = Subscribers();
  for (ITransformRepositoryNotifyDelete* listener : listeners) listener->TransformRepositoryWasDeleted();
  // 3. Empty the cache and let go of the nodes still held: their handles will delete them
  //    later, and they must not report to this repository then.
  _CacheInvalidate();
  for (Node* node : m_systems) node->m_repository = nullptr;
  m_systems.clear();
  m_absolute_world.GetInternalSystem()->m_repository = nullptr;
  if (mgp_instance == this) mgp_instance = nullptr;
  // 4. The root goes with the last handle on the tree, here unless a host still holds one.
  m_absolute_world.SetUndefined();
}

bool MTransformRepository::IsCoordinateSystemDefault(MCoordinateSystem const& system) const {
  return system == m_absolute_world;
}

MTransformRepository::Node* MTransformRepository::_CreateNewSystem(MMTransform const& t,
                                                                  MCoordinateSystem const& parent,
                                                                  wchar_t const* label) {
  auto* node = new Node(parent.GetInternalSystem(), t, label);
  node->m_repository = this;
  m_systems.push_back(node);
  return node;
}

MCoordinateSystem MTransformRepository::CreateNewSystem(MMTransform const& t,
                                                        MCoordinateSystem const& parent,
                                                        wchar_t const* label) {
  return MCoordinateSystem(_CreateNewSystem(t, parent, label));
}

MCoordinateSystem MTransformRepository::CreateNewSystemNotSaved(MMTransform const& t,
                                                                MCoordinateSystem const& parent,
                                                                wchar_t const* label) {
  Node* node = _CreateNewSystem(t, parent, label);
  node->SetDontSave();
  return MCoordinateSystem(node);
}

MCoordinateSystem MTransformRepository::CloneSystem(MCoordinateSystem const& system,
                                                    ICoordinateSystemDefault const* defaults) {
  Node const* node = system.GetInternalSystem();
  if (!node) return MCoordinateSystem();
  if (!defaults) defaults = this;
  // The label is the unit the system shows, inherited or its own.
  std::wstring const unit = system.GetUnit();
  Node* clone;
  if (defaults->IsCoordinateSystemDefault(system)) {
    clone = _CreateNewSystem(MMTransformMatrix(), system, unit.c_str());
  } else {
    MCoordinateSystem const parent(node->GetTo());
    clone = _CreateNewSystem(GetTransform(system, parent), parent, unit.c_str());
  }
  if (!node->IsMustSave()) clone->SetDontSave();
  return MCoordinateSystem(clone);
}

void MTransformRepository::SetDependentCoordinateSystem(MCoordinateSystem const& system,
                                                        MCoordinateSystem const& parent) {
  Node* node = system.GetInternalSystem();
  if (!node) return;
  node->SetDependent(parent.GetInternalSystem());
  _CacheInvalidate();
}

MCoordinateSystem MTransformRepository::GetDependentCoordinateSystem(
    MCoordinateSystem const& system) const {
  if (Node const* node = system.GetInternalSystem()) return MCoordinateSystem(node->GetTo());
  MTransformRepository const* instance = mgp_instance ? mgp_instance : this;
  return instance->GetAbsoluteWorld();
}

MMTransform* MTransformRepository::AccessTransform(MCoordinateSystem const& system) {
  _CacheInvalidate();
  Node const* node = system.GetInternalSystem();
  return node ? node->GetTransform() : nullptr;
}

MMTransformMatrix* MTransformRepository::AccessTransformMatrix(MCoordinateSystem const& system) {
  return dynamic_cast<MMTransformMatrix*>(AccessTransform(system));
}

void MTransformRepository::ReplaceTransform(MMTransform const& t, MCoordinateSystem const& system) {
  Node* node = system.GetInternalSystem();
  if (!node) return;
  node->ReplaceTransform(t.Clone());
  _CacheInvalidate();
}

void MTransformRepository::SetUnit(MCoordinateSystem const& system, wchar_t const* unit) {
  if (Node* node = system.GetInternalSystem()) node->SetUnit(unit);
}

void MTransformRepository::Import(MTransformRepository& other) {
  if (&other == this) return;
  Node* const other_root = other.m_absolute_world.GetInternalSystem();
  Node* const root = m_absolute_world.GetInternalSystem();
  for (Node* node : other.m_systems) {
    if (node->GetTo() == other_root) node->SetDependent(root);
    node->m_repository = this;
  }
  m_systems.insert(m_systems.end(), other.m_systems.begin(), other.m_systems.end());
  other.m_systems.clear();
}

bool MTransformRepository::Sanity() const {
  for (Node const* node : m_systems)
    if (!_PathToWorld(m_walk_from, node)) return false;
  return true;
}

void MTransformRepository::SubscribeNotifyDelete(ITransformRepositoryNotifyDelete* listener) {
  auto& subscribers = Subscribers();
  if (std::find(subscribers.begin(), subscribers.end(), listener) == subscribers.end())
    subscribers.push_back(listener);
}

void MTransformRepository::UnsubscribeNotifyDelete(ITransformRepositoryNotifyDelete* listener) {
  auto& subscribers = Subscribers();
  auto it = std::find(subscribers.begin(), subscribers.end(), listener);
  if (it != subscribers.end()) subscribers.erase(it);
}

void MTransformRepository::_SwapProcessState(MTransformRepository*& instance,
                                             std::vector<ITransformRepositoryNotifyDelete*>& listeners) {
  std::swap(mgp_instance, instance);
  Subscribers().swap(listeners);
}

void MTransformRepository::DeleteUnreferencedSystems() {
  std::vector<Node*> keep, gone;
  for (Node* node : m_systems) (node->GetWeight() ? keep : gone).push_back(node);
  if (gone.empty()) return;
  // Each dying node takes itself out of the list and empties the cache.
  for (Node* node : gone) delete node;
  m_systems = std::move(keep);
}

bool MTransformRepository::IsCoordinateSystemDependent(MCoordinateSystem const& system,
                                                       MCoordinateSystem const& ancestor) const {
  // Every step climbs one node of a tree without loops, plus the steps an undefined handle
  // takes to the top; a longer walk can only circle between two repositories' worlds.
  std::size_t steps_left = m_systems.size() + 3;
  MCoordinateSystem current = system;
  while (current != m_absolute_world && steps_left-- > 0) {
    MCoordinateSystem parent = GetDependentCoordinateSystem(current);
    if (parent == ancestor) return true;
    current = std::move(parent);
  }
  return false;
}

void MTransformRepository::MergeCoordinateSystems(MCoordinateSystem const& keep,
                                                  MCoordinateSystem const& gone) {
  Node* const k = keep.GetInternalSystem();
  Node* const g = gone.GetInternalSystem();
  if (k == g || !k || !g) return;
  // 1. The transform from `gone` into `keep`: a child's transform into `gone`, followed by it,
  //    is the child's transform into `keep`.
  MMTransform* const m = ComputeNewTransform(gone, keep);
  MMTransformMatrix const* const matrix = m->AsMatrix();
  // 2. Move the children. Their weight moves from `gone`'s chain to `keep`'s, and `gone` is held
  //    by the caller's handle, so nothing dies on the way.
  std::vector<Node*> const systems = m_systems;
  for (Node* node : systems) {
    if (node->GetTo() != g || node == k || k->IsDependentOn(node)) continue;
    node->SetDependent(k);
    auto* own = dynamic_cast<MMTransformMatrix*>(node->GetTransform());
    if (matrix && own) own->PreMultiply(*matrix);
  }
  delete m;
}

void MTransformRepository::_SetAbsoluteWorldUnit(wchar_t const* unit) {
  m_absolute_world.GetInternalSystem()->SetUnit(unit);
}

void MTransformRepository::_NotifyWokeUp() {
  std::vector<ITransformRepositoryNotifyDelete*> const listeners = Subscribers();
  for (ITransformRepositoryNotifyDelete* listener : listeners) listener->TransformRepositoryWokeUpAgain();
}

std::int16_t MTransformRepository::_GetIndex(Node const* node) const {
  if (node == m_absolute_world.GetInternalSystem()) return -1;
  auto it = std::find(m_systems.begin(), m_systems.end(), node);
  return it == m_systems.end() ? -2 : static_cast<std::int16_t>(it - m_systems.begin());
}

void MTransformRepository::_DeleteSystem(Node* node) {
  _CacheInvalidate();
  auto it = std::find(m_systems.begin(), m_systems.end(), node);
  if (it == m_systems.end()) return;
  m_systems.erase(it);
  // Children of the dying node are held by nobody (else it could not die). They stay until
  // DeleteUnreferencedSystems; until then they count as children of the world instead of
  // pointing at freed memory.
  for (Node* other : m_systems)
    if (other->m_to == node) other->m_to = nullptr;
}
