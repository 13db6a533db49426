#include "ostrum/operations/MOperation.h"

#include <algorithm>
#include <cwctype>
#include <typeinfo>
#include <unordered_set>

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

// One entry of the base action table: the flags the action sets (or none) and its inverse.
struct ActionEntry {
  bool sets_flags;
  uint32_t flags;
  uint32_t inverse;
};

bool LookUpAction(uint32_t action, ActionEntry& entry) {
  switch (action) {
    case MOperation::ACTION_ADD: entry = {true, 0x370008, 1}; return true;
    case MOperation::ACTION_REMOVE: entry = {true, 0x770008, 0}; return true;
    case MOperation::ACTION_COPY: entry = {false, 0, 2}; return true;
    case MOperation::ACTION_DELETE: entry = {true, 0x340000, 0}; return true;
    case MOperation::ACTION_CHANGE_LABEL: entry = {true, 0x370008, 4}; return true;
    case MOperation::ACTION_REVERSIBLE_FORWARD: entry = {true, 0x37000A, 6}; return true;
    case MOperation::ACTION_REVERSIBLE_BACKWARD: entry = {true, 0x37000A, 5}; return true;
    // A refresh first sets 0x60000 and then 0x700000 over it; only the second stands.
    case MOperation::ACTION_REFRESH: entry = {true, 0x700000, 7}; return true;
    case MOperation::ACTION_REFRESH_ALL: entry = {true, 0x700000, 8}; return true;
    case MOperation::ACTION_RUN_ONCE: entry = {true, 0x340000, 400}; return true;
    default: return false;
  }
}

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
  switch (action) {
    case ACTION_ADD: return 352;
    case ACTION_REMOVE: return 353;
    case ACTION_COPY: return 778;
    case ACTION_DELETE: return 353;
    case ACTION_CHANGE_LABEL: return 356;
    case ACTION_REVERSIBLE_FORWARD: return 354;
    case ACTION_REVERSIBLE_BACKWARD: return 355;
    case ACTION_RUN_ONCE: return 357;
    default: return 358;
  }
}

bool MOperation::Reverse() {
  if (!CanBeReversed()) return false;
  m_core.m_action = GetInverseAction();
  return true;
}

void MOperation::SetAction(uint32_t action) {
  ActionEntry entry;
  if (LookUpAction(action, entry) && entry.sets_flags) SetFlags(entry.flags);
  _SetAction(action);
}

uint32_t MOperation::GetInverseAction() {
  ActionEntry entry;
  return LookUpAction(GetAction(), entry) ? entry.inverse : GetAction();
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

bool MOperation::AddObject(IObject* object) {
  if (!object) return false;
  std::vector<IObject*>& objects = m_core.m_objects;
  if (std::find(objects.begin(), objects.end(), object) != objects.end()) return false;
  objects.push_back(object);
  return true;
}

bool MOperation::RemoveObject(IObject* object) {
  std::vector<IObject*>& objects = m_core.m_objects;
  auto it = std::find(objects.begin(), objects.end(), object);
  if (it == objects.end()) return false;
  objects.erase(it);
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

const wchar_t* MOperation::_GetActionString() {
  if (!VarnResLoadStringEx(GetActionTextID(GetAction()), m_action_text)) m_action_text.clear();
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
  std::unordered_set<IObject*> written;
  for (IObject* object : m_core.m_objects)
    if (written.insert(object).second) object->SaveState(this, out);
}

void MOperation::_LoadState(MStreamUndoIn& in) {
  for (IObject* object : m_core.m_objects) object->LoadState(this, in);
}

void MOperation::ChangeLabel(const wchar_t* label) {
  SetAction(ACTION_CHANGE_LABEL);
  m_label = label ? label : L"";
}

void MOperation::GetObjects(std::vector<IObject*>& list, bool) const {
  auto add = [&list](IObject* object) {
    if (std::find(list.begin(), list.end(), object) == list.end()) list.push_back(object);
  };
  for (IObject* object : m_core.m_objects) {
    add(object);
    auto* subject = dynamic_cast<MSubject*>(object);
    if (!subject || subject->GetNumberOfObservers() == 0) continue;
    for (auto it = subject->GetBeginIt(); it != subject->GetEndIt(); ++it)
      if (auto* observer_object = dynamic_cast<IObject*>(*it)) add(observer_object);
  }
}

namespace {

template <class List>
void CollectObserversInto(const std::vector<IObject*>& objects, List& list) {
  // Large operations would make a linear search for duplicates quadratic; past a handful of
  // observers a hash set of those seen keeps it linear.
  constexpr size_t kLinearLimit = 16;
  std::unordered_set<IObserver*> seen;
  for (IObject* object : objects) {
    MSubject* subject = Ostrum::Private::SubjectCast::Of(object);
    if (!subject || subject->GetNumberOfObservers() == 0) continue;
    for (auto it = subject->GetBeginIt(); it != subject->GetEndIt(); ++it) {
      IObserver* observer = *it;
      if (seen.empty() && list.size() < kLinearLimit) {
        if (std::find(list.begin(), list.end(), observer) == list.end()) list.push_back(observer);
        continue;
      }
      if (seen.empty()) seen.insert(list.begin(), list.end());
      if (seen.insert(observer).second) list.push_back(observer);
    }
  }
}

}  // namespace

void MOperation::GetObservers(std::vector<IObserver*>& list) const { CollectObserversInto(m_core.m_objects, list); }

void Ostrum::Private::CollectObservers(const MOperation& operation,
                                       boost::container::small_vector_base<IObserver*>& list) {
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
