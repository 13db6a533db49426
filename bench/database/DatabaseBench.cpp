// The cost of a document's everyday operations as the plan grows: with 100 and with 100,000
// objects in the database, one undoable add, one remove and its undo, one selection change,
// and a full walk filtered by visibility in the default scene. Each size runs its cases round
// by round (see common/Interleaved.h); at the end the per-operation and per-object costs of
// both sizes and their ratios. A ratio near 1 means the cost does not grow with the plan.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

#include "common/Interleaved.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/objects/UIObjectFilters.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/undo/MUndoHandler.h"

namespace {

constexpr size_t kFanOut = 10;
constexpr int kRounds = 201;
constexpr int kSelections = 10;

// The host's document: it makes the database and owns it.
class PlanDocument : public MDocument {
 public:
  PlanDocument() : m_database(new MDataBase) { _SetDataBasePointer(m_database); }
  ~PlanDocument() override {
    CleanUpUndoHandler();
    _SetDataBasePointer(nullptr);
    delete m_database;
  }
  MDataBase& Database() { return *m_database; }

 private:
  MDataBase* m_database;
};

bool Send(MOperation* operation, UIObject* object) {
  operation->AddObject(object);
  return operation->DoOperation(nullptr);
}

struct SizeResult {
  size_t objects;
  std::vector<ostrum_bench::TimedCase> cases;
};

// The plan: `count` objects, level by level under the root (object i's children are
// 10i+1 .. 10i+10), three in four visible.
SizeResult Measure(size_t count) {
  Ostrum::DeferredTaskManager::ScopedSession session;
  PlanDocument document;
  MDataBase& database = document.Database();
  std::vector<UIObject*> objects(count);
  for (size_t i = 0; i < count; ++i) {
    auto* object = new UIObject;
    object->SetVisible(i % 4 != 0);
    database.AddObject(object);
    if (i >= kFanOut) object->MoveToParent(objects[(i - kFanOut) / kFanOut]);
    objects[i] = object;
  }
  // Leaves to remove, the last 50 objects in turn: each comes back as a leaf under the root.
  size_t next_leaf = 0;
  size_t next_selected = 0;
  size_t sink = 0;

  // The operations run together, the walk on its own: a walk of 100,000 objects between two
  // operations would leave them cold caches that a walk of 100 does not.
  SizeResult result{count, {}};
  result.cases = {
      {"undoable add", [&] { sink += Send(new MOperation(MOperation::ACTION_ADD), new UIObject); }},
      {"remove and its undo", [&] {
         UIObject* leaf = objects[count - 1 - next_leaf++ % 50];
         sink += Send(new MOperation(MOperation::ACTION_REMOVE), leaf);
         sink += document.UndoOperation();
       }},
      {"selection change", [&] {
         // Ten objects spread over the plan, each selected and deselected.
         for (int i = 0; i < kSelections; ++i) {
           UIObject* object = objects[(next_selected += 7919) % count];
           sink += Send(new UIOperation(UIOperation::ACTION_SELECT), object);
           sink += Send(new UIOperation(UIOperation::ACTION_DESELECT), object);
         }
       }},
      // The same ten objects every time: their memory stays in the caches at any size, so
      // what grows above and not here is the cost of reaching a cold object, not of a lookup.
      {"selection change, the same ten objects", [&] {
         for (int i = 0; i < kSelections; ++i) {
           UIObject* object = objects[(i + 1) * 7919 % count];
           sink += Send(new UIOperation(UIOperation::ACTION_SELECT), object);
           sink += Send(new UIOperation(UIOperation::ACTION_DESELECT), object);
         }
       }},
  };
  ostrum_bench::RunInterleaved(result.cases, kRounds);
  std::vector<ostrum_bench::TimedCase> walk = {
      {"walk filtered by visibility", [&] {
         const UIObjectFilterVisible visible;
         size_t n = 0;
         for (UIObjectIterator it = database.GetBeginUIObject(); it != database.GetEndUIObject(); ++it)
           n += visible.IsObjectMatched(it);
         sink += n;
       }},
  };
  ostrum_bench::RunInterleaved(walk, count > 1000 ? 21 : kRounds);
  result.cases.push_back(walk[0]);
  // Objects removed and restored go under the root; the history's files go with the session.
  Ostrum::Desktop::RunUntilIdle();
  benchmark::DoNotOptimize(sink);
  return result;
}

// What a case's median stands for: an operation (a pair for remove and undo, ten pairs for a
// selection case), or a walk over every object.
double PerUnit(const ostrum_bench::TimedCase& c, size_t objects) {
  if (c.name.rfind("walk", 0) == 0) return c.median_seconds / static_cast<double>(objects);
  if (c.name.rfind("selection", 0) == 0) return c.median_seconds / (2 * kSelections);
  return c.median_seconds;
}

void Print(const SizeResult& size) {
  std::printf("With %zu objects:\n", size.objects);
  for (const ostrum_bench::TimedCase& c : size.cases) {
    const bool walk = c.name.rfind("walk", 0) == 0;
    std::printf("  %-44s %12.2f %s\n", c.name.c_str(), (walk ? 1e9 : 1e6) * PerUnit(c, size.objects),
                walk ? "ns per object" : (c.name.rfind("remove", 0) == 0 ? "us per remove and undo" : "us per operation"));
  }
}

}  // namespace

int main() {
  // The undo files go to a directory of this run, removed at the end.
  const std::filesystem::path directory = std::filesystem::temp_directory_path() / ("ostrum-bench-db-" + std::to_string(::getpid()));
  std::filesystem::create_directories(directory);
  MUndoHandler::SetUndoTempDir((directory.wstring() + L"/").c_str());

  const SizeResult small = Measure(100);
  const SizeResult large = Measure(100000);
  Print(small);
  Print(large);

  std::printf("\nRatios (100,000 objects / 100 objects; per operation, per object for the walk):\n");
  for (size_t i = 0; i < small.cases.size(); ++i) {
    const double ratio = PerUnit(large.cases[i], large.objects) / PerUnit(small.cases[i], small.objects);
    std::printf("  %-44s %8.3f   (aim <= 1.5)\n", small.cases[i].name.c_str(), ratio);
  }
  std::filesystem::remove_all(directory);
  return 0;
}
