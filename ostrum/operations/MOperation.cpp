#include "ostrum/operations/MOperation.h"

#include <algorithm>
#include <cwctype>
#include <typeinfo>
#include <unordered_set>
#include <utility>

#include <boost/container/small_vector.hpp>

#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/objects/IObject.h"
#include "ostrum/objects/IObserver.h"
#include "ostrum/objects/MDefinedObject.h"
#include "ostrum/objects/MSubject.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/objects/private/SubjectCast.h"
#include "ostrum/operations/private/ObserverCollection.h"

MDocument* MOperation::mgp_document = nullptr;

MOperationCore::~MOperationCore() = default;

namespace {

// The base action table: the flags an action sets (or none), its inverse and the id of its text.
struct ActionEntry {
  uint32_t action;
  bool sets_flags;
  uint32_t flags;
  uint32_t inverse;
  uint32_t text_id;
};

constexpr ActionEntry kActions[] = {
    {MOperation::ACTION_ADD, true, 0x370008, 1, 352},
    {MOperation::ACTION_REMOVE, true, 0x770008, 0, 353},
    {MOperation::ACTION_COPY, false, 0, 2, 778},
    {MOperation::ACTION_DELETE, true, 0x340000, 0, 353},
    {MOperation::ACTION_CHANGE_LABEL, true, 0x370008, 4, 356},
    {MOperation::ACTION_REVERSIBLE_FORWARD, true, 0x37000A, 6, 354},
    {MOperation::ACTION_REVERSIBLE_BACKWARD, true, 0x37000A, 5, 355},
    // A refresh first sets 0x60000 and then 0x700000 over it; only the second stands.
    {MOperation::ACTION_REFRESH, true, 0x700000, 7, 358},
    {MOperation::ACTION_REFRESH_ALL, true, 0x700000, 8, 358},
    {MOperation::ACTION_RUN_ONCE, true, 0x340000, 400, 357},
};

// Text id of actions without an entry.
constexpr uint32_t kDefaultTextID = 358;

const ActionEntry* FindAction(uint32_t action) {
  for (const ActionEntry& entry : kActions)
    if (entry.action == action) return &entry;
  return nullptr;
}

// Remembers what it was shown, to keep lists free of duplicates in first-sight order: a linear
// search on the stack for the few items of most operations, a hash set once there are many,
// so that large operations are not quadratic and small ones do not allocate.
template <class T>
class FirstSight {
 public:
  /// True the first time `item` is shown.
  bool Insert(T item) {
    if (!m_hashed.empty()) return m_hashed.insert(item).second;
    if (std::find(m_few.begin(), m_few.end(), item) != m_few.end()) return false;
    m_few.push_back(item);
    if (m_few.size() > kLinearLimit) m_hashed.insert(m_few.begin(), m_few.end());
    return true;
  }

 private:
  static constexpr size_t kLinearLimit = 16;
  boost::container::small_vector<T, kLinearLimit + 1> m_few;
  std::unordered_set<T> m_hashed;
};

// Substitutes the object name for each "%s" of a format and "%" for "%%"; the formats come
// from the host's string table and take just the one argument.
void FormatWithName(const std::wstring& format, const std::wstring& name, std::wstring& out) {
  out.clear();
  out.reserve(format.size() + name.size());
  for (size_t i = 0; i < format.size(); ++i) {
    if (format[i] == L'%' && i + 1 < format.size()) {
      if (format[i + 1] == L's') {
        out += name;
        ++i;
        continue;
      }
      if (format[i + 1] == L'%') {
        out += L'%';
        ++i;
        continue;
      }
    }
    out += format[i];
  }
}

}  // namespace

MOperation::MOperation() = default;

MOperation::MOperation(uint32_t action) { SetAction(action); }

MOperation::~MOperation() = default;

uint32_t MOperation::GetActionTextID(uint32_t action) {
  const ActionEntry* entry = FindAction(action);
  return entry ? entry->text_id : kDefaultTextID;
}

bool MOperation::Reverse() {
  if (!CanBeReversed()) return false;
  m_core.m_action = GetInverseAction();
  return true;
}

void MOperation::SetAction(uint32_t action) {
  const ActionEntry* entry = FindAction(action);
  if (entry && entry->sets_flags) SetFlags(entry->flags);
  _SetAction(action);
}

uint32_t MOperation::GetInverseAction() {
  const ActionEntry* entry = FindAction(GetAction());
  return entry ? entry->inverse : GetAction();
}

const wchar_t* MOperation::GetActionString() const {
  // 1. The format of the action.
  std::wstring format = const_cast<MOperation*>(this)->_GetActionString();

  // 2, 3. The name: the first object's type name, "Object" once another run-time type shows
  // up, and a plural "s" for more than one object.
  std::wstring name;
  const std::vector<IObject*>& objects = m_core.m_objects;
  if (!objects.empty()) {
    const std::type_info& first_type = typeid(*objects.front());
    name = objects.front()->GetUserInterfaceTypeName();
    for (size_t i = 1; i < objects.size(); ++i) {
      if (typeid(*objects[i]) != first_type) {
        name = L"Object";
        break;
      }
    }
    if (objects.size() > 1) name += L's';
  }

  // 4. Without objects, drop the "%s" and close the gap it leaves.
  if (objects.empty()) {
    size_t at = format.find(L"%s");
    if (at != std::wstring::npos) {
      std::wstring left = format.substr(0, at);
      std::wstring right = format.substr(at + 2);
      while (!left.empty() && std::iswspace(left.back())) left.pop_back();
      size_t skip = 0;
      while (skip < right.size() && std::iswspace(right[skip])) ++skip;
      right.erase(0, skip);
      if (left.empty())
        format = right;
      else if (right.empty())
        format = left;
      else
        format = left + L' ' + right;
      if (format.empty()) VarnResLoadStringEx(383, format);
    }
  }

  // 5. One text for the whole process, made once.
  static std::wstring text;
  FormatWithName(format, name, text);
  return text.c_str();
}

namespace {

// Lists up to this long are searched for duplicates; longer ones built by AddObject get a set.
constexpr size_t kSearchedObjects = 16;

}  // namespace

bool MOperation::AddObject(IObject* object) {
  if (!object) return false;
  std::vector<IObject*>& objects = m_core.m_objects;
  std::unique_ptr<std::unordered_set<IObject*>>& index = m_object_index.set;
  if (m_object_index.list_handed_out || (!index && objects.size() < kSearchedObjects)) {
    if (std::find(objects.begin(), objects.end(), object) != objects.end()) return false;
    objects.push_back(object);
    return true;
  }
  if (!index) index = std::make_unique<std::unordered_set<IObject*>>(objects.begin(), objects.end());
  if (!index->insert(object).second) return false;
  try {
    objects.push_back(object);
  } catch (...) {
    index->erase(object);
    throw;
  }
  return true;
}

bool MOperation::RemoveObject(IObject* object) {
  std::vector<IObject*>& objects = m_core.m_objects;
  auto it = std::find(objects.begin(), objects.end(), object);
  if (it == objects.end()) return false;
  objects.erase(it);
  // A list copied from one filled by hand may hold the object twice: the set is made again.
  m_object_index.set.reset();
  return true;
}

bool MOperation::Save(MFile& file) {
  uint32_t action = m_core.m_action;
  return file.WRITE(&action, 1) == 1;
}

bool MOperation::Load(MFile& file) {
  // MFile leaves the bytes of a short read in the target; a truncated record must not leave a
  // half-overwritten action behind, so the action is taken only once it was read whole.
  uint32_t action = 0;
  if (file.READ(&action, 1) != 1) return false;
  m_core.m_action = action;
  return true;
}

const wchar_t* MOperation::_GetActionString() { return _LoadActionString(GetActionTextID(GetAction())); }

const wchar_t* MOperation::_LoadActionString(uint32_t text_id) {
  if (!VarnResLoadStringEx(text_id, m_action_text)) m_action_text.clear();
  return m_action_text.c_str();
}

bool MOperation::_DoOperation() {
  bool result = true;
  for (IObject* object : m_core.m_objects) result &= object->DoOperation(*this);
  return result;
}

bool MOperation::_UndoOperation() {
  bool result = true;
  for (IObject* object : m_core.m_objects) result &= object->UndoOperation(*this);
  return result;
}

bool MOperation::_RedoOperation() {
  bool result = true;
  for (IObject* object : m_core.m_objects) result &= object->RedoOperation(*this);
  return result;
}

bool MOperation::_PrepareOperation() {
  bool result = true;
  for (IObject* object : m_core.m_objects) result &= object->PrepareOperation(this);
  return result;
}

void MOperation::_SaveState(MStreamUndoOut& out) {
  // An object listed twice (a list filled by hand) writes its state once.
  FirstSight<IObject*> written;
  for (IObject* object : m_core.m_objects)
    if (written.Insert(object)) object->SaveState(this, out);
}

void MOperation::_LoadState(MStreamUndoIn& in) {
  for (IObject* object : m_core.m_objects) object->LoadState(this, in);
}

void MOperation::ChangeLabel(const wchar_t* label) {
  SetAction(ACTION_CHANGE_LABEL);
  m_label = label ? label : L"";
}

void MOperation::GetObjects(std::vector<IObject*>& list, bool) const {
  FirstSight<IObject*> seen;
  for (IObject* listed : list) seen.Insert(listed);
  auto add = [&](IObject* object) {
    if (seen.Insert(object)) list.push_back(object);
  };
  for (IObject* object : m_core.m_objects) {
    add(object);
    MSubject* subject = Ostrum::Private::SubjectCast::Of(object);
    if (!subject || subject->GetNumberOfObservers() == 0) continue;
    for (auto it = subject->GetBeginIt(); it != subject->GetEndIt(); ++it)
      if (auto* observer_object = dynamic_cast<IObject*>(*it)) add(observer_object);
  }
}

namespace {

// A set of pointers by open addressing in one array: no allocation per entry, as a node-based
// set would make for each observer of a large operation.
class PointerSet {
 public:
  /// True the first time `item` is inserted.
  bool Insert(const void* item) {
    if (!item) return !std::exchange(m_has_null, true);
    if (2 * (m_count + 1) > m_slots.size()) _Grow();
    const size_t mask = m_slots.size() - 1;
    for (size_t i = Hash(item) & mask;; i = (i + 1) & mask) {
      if (m_slots[i] == item) return false;
      if (!m_slots[i]) {
        m_slots[i] = item;
        ++m_count;
        return true;
      }
    }
  }
  bool IsEmpty() const { return m_count == 0 && !m_has_null; }

 private:
  static size_t Hash(const void* item) {
    const auto bits = reinterpret_cast<uintptr_t>(item);
    return static_cast<size_t>((bits >> 4) * 0x9E3779B97F4A7C15ull >> 20);
  }
  void _Grow() {
    std::vector<const void*> old(std::max<size_t>(64, 2 * m_slots.size()), nullptr);
    old.swap(m_slots);
    m_count = 0;
    for (const void* item : old)
      if (item) Insert(item);
  }

  std::vector<const void*> m_slots;
  size_t m_count = 0;
  bool m_has_null = false;
};

// Up to this many observers a collection searches the list it fills; beyond, a hash set of it.
constexpr size_t kLinearObservers = 16;

// The list itself serves as the record of what was seen while it is short, so the few observers
// of most operations are neither copied nor hashed; a mask of one bit per pointer hash spares
// most searches of observers not seen yet. Only long lists pay for a hash set.
template <class List>
void CollectObserversInto(const std::vector<IObject*>& objects, List& list) {
  PointerSet hashed;  // allocates nothing while unused
  if (list.size() > kLinearObservers)
    for (IObserver* observer : list) hashed.Insert(observer);
  uint64_t maybe_seen = 0;
  for (IObserver* observer : list) maybe_seen |= uint64_t{1} << ((reinterpret_cast<uintptr_t>(observer) >> 4) & 63);
  Ostrum::Private::SubjectCast::Entry* const cache = Ostrum::Private::SubjectCast::ThreadCache();
  for (IObject* object : objects) {
    MSubject* subject = Ostrum::Private::SubjectCast::Of(object, cache);
    if (!subject || subject->GetNumberOfObservers() == 0) continue;
    for (auto it = subject->GetBeginIt(); it != subject->GetEndIt(); ++it) {
      IObserver* const observer = *it;
      if (!hashed.IsEmpty()) {
        if (hashed.Insert(observer)) list.push_back(observer);
        continue;
      }
      const uint64_t bit = uint64_t{1} << ((reinterpret_cast<uintptr_t>(observer) >> 4) & 63);
      if ((maybe_seen & bit) && std::find(list.begin(), list.end(), observer) != list.end()) continue;
      maybe_seen |= bit;
      list.push_back(observer);
      if (list.size() > kLinearObservers)
        for (IObserver* seen : list) hashed.Insert(seen);
    }
  }
}

}  // namespace

void MOperation::GetObservers(std::vector<IObserver*>& list) const { CollectObserversInto(m_core.m_objects, list); }

void Ostrum::Private::CollectObservers(const MOperation& operation, ObserverBuffer& list) {
  CollectObserversInto(operation.GetObjectList(), list);
}

void MOperation::StoreObservers() {
  const std::vector<IObject*>& objects = m_core.m_objects;
  m_stored_observers.clear();
  m_stored_observers.resize(objects.size());
  for (size_t i = 0; i < objects.size(); ++i) {
    auto* defined = dynamic_cast<MDefinedObject*>(objects[i]);
    if (!defined) continue;
    std::vector<IObject*>& row = m_stored_observers[i];
    row.clear();
    for (size_t d = 0; d < defined->GetNumberOfDefiningObjects(); ++d)
      if (auto* tree_object = dynamic_cast<UIObject*>(defined->GetDefiningObject(d))) row.push_back(tree_object);
  }
}

void MOperation::RestoreObservers() {
  const std::vector<IObject*>& objects = m_core.m_objects;
  if (m_stored_observers.size() != objects.size()) return;
  for (size_t i = 0; i < m_stored_observers.size(); ++i) {
    auto* observer = dynamic_cast<IObserver*>(objects[i]);
    for (IObject* entry : m_stored_observers[i]) {
      auto* subject = dynamic_cast<MSubject*>(entry);
      if (subject && observer) subject->Attach(observer);
    }
  }
}
