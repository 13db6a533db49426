// Long random runs of what a host does to its document (adding subtrees, removing, restoring,
// retracting and deleting objects, selecting, undoing and redoing) against a small model of the
// registry (its two lists in order), the tree (the parent and the ordered children of every
// object), the selection, the hooks each object was told and the undo history, compared after
// every step. The model says what the database's verbs do, by plain means.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ostrum/database/MObjectList.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/operations/UIOperation.h"
#include "support/DatabaseHost.h"

namespace {

using namespace db_test;

using Items = std::vector<Item*>;

// A step of the undo history: what it did, to whom.
struct Step {
  uint32_t action;
  Items objects;
  bool Names(const Item* item) const { return std::find(objects.begin(), objects.end(), item) != objects.end(); }
};

bool Contains(const Items& list, const Item* item) { return std::find(list.begin(), list.end(), item) != list.end(); }
bool Erase(Items& list, const Item* item) {
  auto it = std::find(list.begin(), list.end(), item);
  if (it == list.end()) return false;
  list.erase(it);
  return true;
}
// Before the first of lower priority: descending priority, the newest last among equals.
void InsertByPriority(Items& list, Item* item) {
  auto it = std::find_if(list.begin(), list.end(), [&](const Item* o) { return o->GetPriority() < item->GetPriority(); });
  list.insert(it, item);
}

// What the document should hold.
class Model {
 public:
  explicit Model(UIObject* root) : m_root(root) {}

  Items live, removed, selected;
  std::map<Item*, UIObject*> parent;  // every item alive, null: outside the tree
  std::map<const UIObject*, Items> children;
  std::map<Item*, int> removes, restores;
  std::vector<Step> undo, redo;

  bool IsRemoved(const Item* item) const { return Contains(removed, item); }

  // --- the tree ---
  UIObject* ParentOf(const UIObject* object) const {
    if (object == m_root) return nullptr;
    auto it = parent.find(static_cast<Item*>(const_cast<UIObject*>(object)));
    return it == parent.end() ? nullptr : it->second;
  }
  void Move(Item* item, UIObject* to) {
    for (UIObject* up = to; up; up = ParentOf(up))
      if (up == item) return;  // below itself: refused
    if (UIObject* from = parent[item]) Erase(children[from], item);
    parent[item] = to;
    if (to) InsertByPriority(children[to], item);
  }
  Items PreOrder(const UIObject* object) {
    Items out;
    for (Item* child : children[object]) {
      out.push_back(child);
      for (Item* below : PreOrder(child)) out.push_back(below);
    }
    return out;
  }

  // --- the registry's verbs ---
  void ListRegister(Item* item) {
    if (!Contains(live, item) && !Contains(removed, item)) removed.push_back(item);
  }
  bool ListRemove(Item* item) {
    if (!Erase(live, item)) return false;
    removed.push_back(item);
    ++removes[item];
    return true;
  }
  bool ListRestore(Item* item) {
    if (!Erase(removed, item)) return false;
    live.push_back(item);
    ++restores[item];
    return true;
  }

  // --- the database's verbs ---
  void Register(Item* item) {
    ListRegister(item);
    for (Item* child : Items(children[item])) Register(child);
  }
  void Remove(Item* item) {
    ListRemove(item);
    for (Item* below : PreOrder(item)) ListRemove(below);
    if (parent[item]) Move(item, nullptr);
    Erase(selected, item);
  }
  bool Restore(Item* item, UIObject* to) {
    if (!ListRestore(item)) return false;
    for (Item* below : PreOrder(item)) ListRestore(below);
    Move(item, to ? to : m_root);
    return true;
  }
  void Add(Item* item) {
    Register(item);
    Restore(item, nullptr);
  }
  // The object leaves the tree and the selection whichever list held it; a deleted one also
  // lets go of its children, which stay removed.
  void Retract(Item* item) {
    if (!IsRemoved(item)) Remove(item);
    if (parent[item]) Move(item, nullptr);
    Erase(selected, item);
    Erase(live, item) || Erase(removed, item);
  }
  void Delete(Item* item) {
    Retract(item);
    Destroy(item);
  }
  // The object dies with no child below it; a new object may take its address.
  void Destroy(Item* item) {
    for (Item* child : Items(children[item])) Move(child, nullptr);
    parent.erase(item);
    children.erase(item);
    removes.erase(item);
    restores.erase(item);
  }
  void Select(Item* item) {
    if (!Contains(selected, item)) InsertByPriority(selected, item);
  }

  // --- the history ---
  void Record(uint32_t action, const Items& objects) {
    undo.push_back({action, objects});
    redo.clear();
  }
  void Forget(const Item* item) {
    for (auto* stack : {&undo, &redo})
      stack->erase(std::remove_if(stack->begin(), stack->end(), [&](const Step& s) { return s.Names(item); }),
                   stack->end());
  }
  void Undo() {
    if (undo.empty()) return;
    Step step = undo.back();
    undo.pop_back();
    for (Item* item : step.objects)
      if (step.action == MOperation::ACTION_ADD)
        Remove(item);
      else
        Restore(item, nullptr);
    redo.push_back(step);
  }
  void Redo() {
    if (redo.empty()) return;
    Step step = redo.back();
    redo.pop_back();
    for (Item* item : step.objects)
      if (step.action == MOperation::ACTION_ADD)
        Restore(item, nullptr);
      else
        Remove(item);
    undo.push_back(step);
  }

 private:
  UIObject* m_root;
};

struct RegistryModel : DatabaseHost, testing::WithParamInterface<unsigned> {
  ~RegistryModel() override {
    // The host's own objects leave the tree and die before the document.
    for (Item* item : owned) {
      while (item->GetNumChildren(false)) item->RemoveChild(item->GetChild(0));
      delete item;
    }
  }

  // The first difference between the document and the model, or "".
  std::string Difference(Model& model, const Items& alive) {
    std::ostringstream out;
    // Pointers are compared and named without being followed: a list may hold a dead object.
    auto name_of = [&](const void* object) -> std::string {
      for (Item* item : alive)
        if (object == static_cast<IObject*>(item) || object == static_cast<UIObject*>(item)) return item->Name();
      return "(dead)";
    };
    auto list = [&](const char* what, size_t count, auto get, const Items& expected) {
      bool same = count == expected.size();
      for (size_t i = 0; same && i < count; ++i) same = get(i) == expected[i];
      if (same) return;
      out << what << " is \"";
      for (size_t i = 0; i < count; ++i) out << (i ? " " : "") << name_of(get(i));
      out << "\", not \"" << Labels(expected) << "\"; ";
    };
    list("the live list", db.GetNumObjects(), [&](size_t i) { return db.GetObjectW(i); }, model.live);
    list("the removed list", db.GetNumRemovedObjects(), [&](size_t i) { return db.GetRemovedObject(i); }, model.removed);
    list("the selection", db.GetUIObjectListSelected().size(), [&](size_t i) { return db.GetUIObjectListSelected()[i]; },
         model.selected);
    list("the root's children", db.GetRootUIObject().GetNumChildren(false),
         [&](size_t i) { return db.GetRootUIObject().GetChild(i); }, model.children[&db.GetRootUIObject()]);
    for (Item* item : alive) {
      const std::string name = item->Name();
      if (item->GetParent() != model.parent[item]) out << name << " has the wrong parent; ";
      list(("the children of " + name).c_str(), item->GetNumChildren(false), [&](size_t i) { return item->GetChild(i); },
           model.children[item]);
      if (item->IsSelected() != Contains(model.selected, item)) out << name << " answers IsSelected wrongly; ";
      if (item->IsRegistered() != (Contains(model.live, item) || model.IsRemoved(item)))
        out << name << " answers IsRegistered wrongly; ";
      if (item->removes != model.removes[item] || item->restores != model.restores[item])
        out << name << " was told OnRemove " << item->removes << " and OnRestore " << item->restores << " times, not "
            << model.removes[item] << " and " << model.restores[item] << "; ";
    }
    if (manager().CanUndo() != !model.undo.empty() || manager().CanRedo() != !model.redo.empty())
      out << "the history has " << (manager().CanUndo() ? "" : "no ") << "undo and " << (manager().CanRedo() ? "" : "no ")
          << "redo, the model " << model.undo.size() << " and " << model.redo.size() << " steps; ";
    if (MObjectList::GetGarbageCount() != 0) out << "the garbage was not recycled; ";
    return out.str();
  }

  static UIOperation* OpOf(uint32_t action, const Items& objects) {
    auto* operation = new UIOperation(action);
    for (Item* item : objects) operation->AddObject(item);
    return operation;
  }

  std::set<Item*> owned;  // retracted: the host's own
};

TEST_P(RegistryModel, RandomHostActionsAgreeWithTheModelAfterEveryStep) {
  const unsigned seed = GetParam();
  std::mt19937 random(seed);
  auto chance = [&](int percent) { return std::uniform_int_distribution<int>(0, 99)(random) < percent; };
  auto pick = [&](const Items& from) { return from[std::uniform_int_distribution<size_t>(0, from.size() - 1)(random)]; };
  Model model(&db.GetRootUIObject());
  Items alive;  // every item not destroyed
  int made = 0;
  auto make = [&](UIObject* parent) {
    Item* item = New("i" + std::to_string(made++), std::uniform_int_distribution<int>(-1, 1)(random), parent);
    alive.push_back(item);
    model.parent[item] = nullptr;
    if (parent) model.Move(item, parent);
    return item;
  };
  auto registered = [&] {
    Items all = model.live;
    all.insert(all.end(), model.removed.begin(), model.removed.end());
    return all;
  };

  // What the host does, and how often.
  enum Action { kAddNew, kAddAgain, kRemove, kRestore, kRetract, kDestroy, kDelete, kSelect, kDeselect, kDeselectAll, kUndo, kRedo };
  int done[kRedo + 1] = {};
  std::discrete_distribution<int> choose({12, 6, 16, 7, 4, 2, 5, 9, 5, 2, 18, 14});

  for (int step = 0; step < 4000; ++step) {
    Action action = static_cast<Action>(choose(random));
    // What cannot be done now becomes an undo.
    const Items all = registered();
    if ((action == kAddNew && all.size() >= 40) || (action == kAddAgain && model.removed.empty() && owned.empty()) ||
        ((action == kRemove || action == kRetract || action == kDelete || action == kSelect) && all.empty()) ||
        (action == kRestore && model.removed.empty()) || (action == kDestroy && owned.empty()) ||
        (action == kDeselect && model.selected.empty()))
      action = kUndo;
    std::string what;
    bool wrong_answer = false;
    switch (action) {
      case kAddNew:
      case kAddAgain: {
        // A new subtree (and sometimes a single object beside it); or a removed object, or one
        // the host retracted earlier, which is registered anew.
        Items objects;
        if (action == kAddNew) {
          Items family{make(nullptr)};
          for (int i = std::uniform_int_distribution<int>(0, 3)(random); i > 0; --i) family.push_back(make(pick(family)));
          objects.push_back(family[0]);
          if (chance(20)) objects.push_back(make(nullptr));
        } else if (!owned.empty() && (model.removed.empty() || chance(50))) {
          objects.push_back(*owned.begin());
          owned.erase(owned.begin());
        } else {
          objects.push_back(pick(model.removed));
        }
        what = "add " + Labels(objects);
        Do(OpOf(MOperation::ACTION_ADD, objects));
        for (Item* item : objects) model.Add(item);
        model.Record(MOperation::ACTION_ADD, objects);
        break;
      }
      case kRemove: {
        // Mostly live objects; sometimes two at once, one perhaps below the other.
        Items objects{pick(chance(85) && !model.live.empty() ? model.live : all)};
        if (Item* second = pick(all); chance(30) && second != objects[0]) objects.push_back(second);
        what = "remove " + Labels(objects);
        Do(OpOf(MOperation::ACTION_REMOVE, objects));
        for (Item* item : objects) model.Remove(item);
        model.Record(MOperation::ACTION_REMOVE, objects);
        break;
      }
      case kRestore: {
        Item* item = pick(model.removed);
        Item* parent = chance(50) && !model.live.empty() ? pick(model.live) : nullptr;
        what = "restore " + item->Name() + " below " + (parent ? parent->Name() : "the root");
        wrong_answer = db.RestoreObject(item, parent) != model.Restore(item, parent);
        break;
      }
      case kRetract: {
        Item* item = pick(all);
        what = "retract " + item->Name();
        doc.RemoveAllOperationsForObject(item);  // the history forgets what the host takes
        model.Forget(item);
        wrong_answer = !db.RetractObject(item);
        model.Retract(item);
        owned.insert(item);
        break;
      }
      case kDestroy: {
        // The host destroys an object it took, once its children are out of it.
        Item* item = *owned.begin();
        what = "destroy " + item->Name();
        owned.erase(owned.begin());
        while (item->GetNumChildren(false)) item->RemoveChild(item->GetChild(0));
        model.Destroy(item);
        Erase(alive, item);
        delete item;
        break;
      }
      case kDelete: {
        Item* item = pick(all);
        what = "delete " + item->Name();
        doc.RemoveAllOperationsForObject(item);
        model.Forget(item);
        model.Delete(item);
        Erase(alive, item);
        Do(Op(MOperation::ACTION_DELETE, {item}));
        break;
      }
      case kSelect: {
        Item* item = pick(chance(90) && !model.live.empty() ? model.live : all);
        what = "select " + item->Name();
        Do(Op(UIOperation::ACTION_SELECT, {item}));
        model.Select(item);
        break;
      }
      case kDeselect: {
        Item* item = pick(model.selected);
        what = "deselect " + item->Name();
        Do(Op(UIOperation::ACTION_DESELECT, {item}));
        Erase(model.selected, item);
        break;
      }
      case kDeselectAll:
        what = "deselect all";
        Do(Op(UIOperation::ACTION_DESELECT_ALL));
        model.selected.clear();
        break;
      case kUndo:
        what = "undo";
        wrong_answer = !doc.UndoOperation();
        model.Undo();
        break;
      case kRedo:
        what = "redo";
        wrong_answer = !doc.RedoOperation();
        model.Redo();
        break;
    }
    const std::string difference = (wrong_answer ? "the database answered wrongly; " : "") + Difference(model, alive);
    if (!difference.empty()) {
      ADD_FAILURE() << "seed " << seed << ", step " << step << " (" << what << "): " << difference;
      return;
    }
    ++done[action];
  }
  // Every kind of step was taken.
  for (int count : done) EXPECT_GT(count, 0) << "seed " << seed;
}

INSTANTIATE_TEST_SUITE_P(Seeds, RegistryModel, testing::Values(1u, 2u, 3u),
                         [](const auto& info) { return "Seed" + std::to_string(info.param); });

}  // namespace
