#pragma once
// A host as the database meets it: a document with a real MDataBase, handed over by
// _SetDataBasePointer as a host's _CreateContents does, the real undo manager writing its files
// into an undo directory of the test's own, and Item, a tree object that answers the database's
// questions as UIObject does and logs the registry's hooks and its own death. The tree, the
// registry and the selection read as short texts, so that a check compares all of one at once.

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>

#include "objects/ObjectTreeSupport.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/undo/Manager.h"
#include "support/CallLog.h"
#include "support/TestDocument.h"
#include "support/UndoDirectory.h"

namespace db_test {

using tree_test::Narrow;

// A labelled node (tree_test::Node) of a host: selected when the database says so, with a box of
// geometry in its own system (empty unless set). It logs "<name>: OnRemove", "<name>: OnRestore"
// and "<name>: ~" into its log.
class Item : public tree_test::Node {
 public:
  explicit Item(const std::string& name, CallLog* log = nullptr, int32_t priority = 0)
      : Node(name, nullptr, priority), m_log(log) {}
  ~Item() override { Log("~"); }

  int removes = 0, restores = 0;
  M3DBoundingBox<float> box;

  void OnRemove() override {
    ++removes;
    Log("OnRemove");
  }
  void OnRestore() override {
    ++restores;
    Log("OnRestore");
  }
  bool IsSelected() const override { return UIObject::IsSelected(); }
  using UIObject::GetBoundingBox;
  void GetBoundingBox(M3DBoundingBox<float>& out, unsigned long long, const MCoordinateSystem*) const override {
    out = box;
  }
  using UIObject::_GetVisibility;

 private:
  void Log(const char* what) const { LogCall(m_log, Name() + ": " + what); }
  CallLog* m_log;
};

// Another class of host object, for what tells objects apart by their class.
class Marker : public Item {
 public:
  using Item::Item;
};

// The database of the host, with the protected walk over every registered object opened up.
class HostDataBase : public MDataBase {
 public:
  using MDataBase::_GetNumRegisteredObjects;
  using MDataBase::_GetRegisteredObject;
};

// The host's document. Its database lives as long as it does and is the one MDocument answers;
// when the document goes, its history goes first (its steps name the database's objects), then
// whatever waits in the garbage, then the database with every object it holds.
class DatabaseDocument : public TestDocument {
 public:
  explicit DatabaseDocument(CallLog* log = nullptr) : TestDocument(log) {
    _SetDataBasePointer(&m_database);
    SetDocLoaded(true);
  }
  ~DatabaseDocument() override {
    CleanUpUndoHandler();
    MDataBase::RecycleGarbage();
    _SetDataBasePointer(nullptr);
  }
  HostDataBase& db() { return m_database; }

 private:
  HostDataBase m_database;
};

// The children of `object` and below, by label: "a(b c) d".
inline std::string TreeText(const UIObject& object) {
  std::string text;
  for (const UIObject* child : object.GetChildren()) {
    if (!text.empty()) text += ' ';
    text += Narrow(child->GetLabel());
    if (child->GetNumChildren(false)) text += "(" + TreeText(*child) + ")";
  }
  return text;
}

// Labels in order, space separated.
template <typename List>
std::string Labels(const List& list) {
  std::string text;
  for (const auto* object : list) {
    if (!text.empty()) text += ' ';
    text += Narrow(dynamic_cast<const UIObject*>(object)->GetLabel());
  }
  return text;
}

struct DatabaseHost : testing::Test {
  ~DatabaseHost() override {
    doc.CleanUpUndoHandler();
    Ostrum::Desktop::RunUntilIdle();
  }

  bool Do(MOperation* operation) { return doc.DoOperation(operation, nullptr); }
  /// An operation of `action` on `objects`, as the host builds one.
  static UIOperation* Op(uint32_t action, std::initializer_list<IObject*> objects = {}) {
    auto* operation = new UIOperation(action);
    for (IObject* object : objects) operation->AddObject(object);
    return operation;
  }
  /// A new item, below `parent` if one is given (before it enters the database).
  Item* New(const std::string& name, int32_t priority = 0, UIObject* parent = nullptr) {
    auto* item = new Item(name, &log, priority);
    if (parent) item->MoveToParent(parent);
    return item;
  }
  Ostrum::Undo::Manager& manager() { return *doc.GetUndoManager(); }

  std::string Tree() { return TreeText(db.GetRootUIObject()); }
  std::string Selection() { return Labels(db.GetUIObjectListSelected()); }
  /// The registry: "live | removed", each in its order.
  std::string Registry() {
    std::string live, removed;
    for (size_t i = 0; i < db.GetNumObjects(); ++i) live += (live.empty() ? "" : " ") + Label(db.GetObjectW(i));
    for (size_t i = 0; i < db.GetNumRemovedObjects(); ++i)
      removed += (removed.empty() ? "" : " ") + Label(db.GetRemovedObject(i));
    return live + " | " + removed;
  }
  static std::string Label(const IObject* object) { return Narrow(dynamic_cast<const UIObject*>(object)->GetLabel()); }

  Ostrum::DeferredTaskManager::ScopedSession session;
  PrivateUndoDirectory undo_directory;
  CallLog log;
  DatabaseDocument doc{&log};
  HostDataBase& db = doc.db();
};

}  // namespace db_test
