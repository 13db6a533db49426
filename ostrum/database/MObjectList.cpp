#include "ostrum/database/MObjectList.h"

#include <utility>

#include "ostrum/objects/IObject.h"
#include "ostrum/objects/MSubject.h"
#include "ostrum/objects/private/SubjectCast.h"
#include "ostrum/operations/MOperation.h"

namespace {

// The objects deleted from any list, waiting for the next recycling. Never destroyed: a static
// object's destructor may still delete into it at exit.
std::vector<IObject*>& Garbage() {
  static auto* garbage = new std::vector<IObject*>;
  return *garbage;
}

}  // namespace

// ---- the ordered lists ----

void MObjectList::Slots::_Compact(Index& where) const {
  std::size_t to = 0;
  for (IObject* object : m_items) {
    if (!object) continue;
    where[object].slot = to;
    m_items[to++] = object;
  }
  m_items.resize(to);
  m_holes = 0;
}

IObject* MObjectList::Slots::At(std::size_t index, Index& where) const {
  if (m_holes) _Compact(where);
  return m_items[index];
}

std::vector<IObject*> MObjectList::Slots::TakeAll() {
  std::vector<IObject*> objects;
  objects.reserve(Count());
  for (IObject* object : m_items)
    if (object) objects.push_back(object);
  m_items.clear();
  m_holes = 0;
  return objects;
}

// ---- the verbs ----

MObjectList::~MObjectList() { ClearList(true, true); }

bool MObjectList::IsObjectRemoved(const IObject* object) const {
  auto it = m_where.find(object);
  return it != m_where.end() && it->second.removed;
}

bool MObjectList::RegisterObject(IObject* object) {
  if (!object || IsObjectRegistered(object)) return true;
  m_where[object] = {true, m_removed.Append(object)};
  return true;
}

bool MObjectList::RemoveObject(IObject* object, bool call_hook) {
  auto it = m_where.find(object);
  if (it == m_where.end() || it->second.removed) return false;
  m_live.Erase(it->second.slot, m_where);
  it->second = {true, m_removed.Append(object)};
  if (call_hook) object->OnRemove();
  return true;
}

bool MObjectList::RestoreObject(IObject* object) {
  auto it = m_where.find(object);
  if (it == m_where.end() || !it->second.removed) return false;
  m_removed.Erase(it->second.slot, m_where);
  it->second = {false, m_live.Append(object)};
  object->OnRestore();
  return true;
}

bool MObjectList::_Take(IObject* object) {
  auto it = m_where.find(object);
  if (it == m_where.end()) return false;
  (it->second.removed ? m_removed : m_live).Erase(it->second.slot, m_where);
  m_where.erase(it);
  return true;
}

bool MObjectList::RetractObject(IObject* object) { return _Take(object); }

bool MObjectList::DeleteObject(IObject* object) {
  if (!_Take(object)) return false;
  Garbage().push_back(object);
  return true;
}

void MObjectList::ClearList(bool live, bool removed) {
  // Emptied first: an object's destructor never meets a list that still holds it.
  std::vector<IObject*> objects;
  if (live) objects = m_live.TakeAll();
  if (removed) {
    std::vector<IObject*> gone = m_removed.TakeAll();
    objects.insert(objects.end(), gone.begin(), gone.end());
  }
  for (IObject* object : objects) m_where.erase(object);
  for (IObject* object : objects) delete object;
}

IObject* MObjectList::GetRegisteredObject(std::size_t index) const {
  const std::size_t live = GetNumObjects();
  return index < live ? GetObjectW(index) : GetRemovedObject(index - live);
}

void MObjectList::RecycleGarbage() {
  std::vector<IObject*> objects;
  objects.swap(Garbage());
  for (IObject* object : objects) {
    if (MSubject* subject = Ostrum::Private::SubjectCast::Of(object)) {
      // The observers hear of the deletion while the object still exists.
      MOperation deletion(MOperation::ACTION_DELETE);
      deletion.AddObject(object);
      deletion.RemoveFlags(MOperation::FLAG_CAN_BE_UNDONE);
      subject->Notify(deletion);
    }
    delete object;
  }
}

std::size_t MObjectList::GetGarbageCount() { return Garbage().size(); }

const std::vector<IObject*>& MObjectList::_GetGarbage() { return Garbage(); }
