// A depth-first walk of a tree of 100,000 objects (fan-out 10) with UIObjectIterator, plain and
// filtered by visibility, against a recursive walk over std::vector children that calls the
// same virtual on each object; and the insertion by priority into a list of 1,000 against
// std::vector's insert at upper_bound. Timed round by round; the ratios of the medians at the
// end.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

#include "common/Interleaved.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/objects/UIObjectFilters.h"

namespace {

constexpr size_t kObjects = 100000;
constexpr size_t kFanOut = 10;

// The floor's node: children in a vector and the same kind of virtual answer.
struct PlainNode {
  virtual ~PlainNode() = default;
  virtual bool IsVisible(unsigned long long) const { return visible; }
  std::vector<PlainNode*> children;
  bool visible = true;
};

// Visits every node, asking each the virtual: the count of visible ones.
size_t PlainWalk(const PlainNode& node) {
  size_t count = 0;
  for (const PlainNode* child : node.children) {
    count += child->IsVisible(0xFFFFFFFF);
    count += PlainWalk(*child);
  }
  return count;
}

// Walks only the objects visible in the default scene. Iterators are values with a
// non-virtual destructor by design, which the warning about such bases does not know.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class VisibleIterator : public UIObjectIterator {
 public:
  explicit VisibleIterator(const UIObjectIterator& walk) : UIObjectIterator(walk) { Flush(); }

 protected:
  bool IsValid() override { return _GetCurrent()->IsVisible(0xFFFFFFFF); }
};

}  // namespace

int main() {
  // The same shape twice, level by level: node i's children are 10i+1 .. 10i+10.
  std::vector<std::unique_ptr<UIObject>> objects(kObjects);
  std::vector<std::unique_ptr<PlainNode>> plain(kObjects);
  UIObject root;
  PlainNode plain_root;
  std::mt19937 random(1);
  for (size_t i = 0; i < kObjects; ++i) {
    objects[i] = std::make_unique<UIObject>();
    plain[i] = std::make_unique<PlainNode>();
    const bool visible = random() % 4 != 0;
    objects[i]->SetVisible(visible);
    plain[i]->visible = visible;
    const size_t parent = i < kFanOut ? SIZE_MAX : (i - kFanOut) / kFanOut;
    objects[i]->MoveToParent(parent == SIZE_MAX ? &root : objects[parent].get());
    (parent == SIZE_MAX ? plain_root : *plain[parent]).children.push_back(plain[i].get());
  }

  size_t sink = 0;
  std::vector<ostrum_bench::TimedCase> walks = {
      // Both visit every object and ask it IsVisible.
      {"UIObjectIterator walk", [&] {
         size_t n = 0;
         for (auto it = root.Begin(); it != root.End(); ++it) n += it->IsVisible(0xFFFFFFFF);
         sink += n;
       }},
      {"recursive walk over std::vector children", [&] { sink += PlainWalk(plain_root); }},
      // The iterator whose IsValid asks IsVisible, against the same recursive walk.
      {"UIObjectIterator walk, visible only", [&] {
         size_t n = 0;
         for (VisibleIterator it(root.Begin()); it != root.End(); ++it) ++n;
         sink += n;
       }},
  };
  ostrum_bench::RunInterleaved(walks, 21);
  std::printf("Depth-first walk of %zu objects, fan-out %zu:\n", kObjects, kFanOut);
  ostrum_bench::PrintMedians(walks, kObjects);

  // Insertion by priority: 1,000 objects of random priorities into an empty list, each run.
  std::vector<std::unique_ptr<UIObject>> items(1000);
  std::vector<int32_t> priorities(items.size());
  for (size_t i = 0; i < items.size(); ++i) {
    items[i] = std::make_unique<UIObject>();
    priorities[i] = static_cast<int32_t>(random() % 100);
    items[i]->SetPriority(priorities[i]);
  }
  std::vector<ostrum_bench::TimedCase> inserts = {
      {"UIObjectList::AddBasedOnPriority, 1,000", [&] {
         UIObjectList list;
         for (auto& item : items) list.AddBasedOnPriority(item.get());
         sink += list.size();
       }},
      {"std::vector insert at upper_bound, 1,000", [&] {
         std::vector<const UIObject*> list;
         for (auto& item : items) {
           const int32_t p = item->GetPriority();
           list.insert(std::upper_bound(list.begin(), list.end(), p,
                                        [](int32_t v, const UIObject* o) { return v > o->GetPriority(); }),
                       item.get());
         }
         sink += list.size();
       }},
  };
  ostrum_bench::RunInterleaved(inserts, 101);
  std::printf("Insertion by priority:\n");
  ostrum_bench::PrintMedians(inserts, 1000);

  std::printf("\nRatios (framework time / floor time, lower is better):\n");
  ostrum_bench::PrintRatio("walk (aim <= 2)", walks[0], walks[1]);
  ostrum_bench::PrintRatio("walk filtered by visibility (aim <= 3)", walks[2], walks[1]);
  ostrum_bench::PrintRatio("insertion by priority", inserts[0], inserts[1]);
  for (auto& object : objects) object->MoveToParent(nullptr);
  benchmark::DoNotOptimize(sink);
  return 0;
}
