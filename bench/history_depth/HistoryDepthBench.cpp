// One undoable operation on one object, done through documents whose histories already hold
// 10, 1,000, 10,000 and 100,000 steps: the cost of a step must not grow with the history. The
// floor is what such a step cannot do without: making, writing and closing one new file in the
// same directory (on the disk, then on tmpfs). After every timed run the step is undone and its
// redo history dropped, untimed, so every run meets the same depth.
//
// Also the resident memory of a history of 1,000 steps of 1 MiB of state each, against the same
// states kept in memory.
//
// Usage: bench_history_depth [rounds]  (default 201)

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "common/BlockObject.h"
#include "common/Interleaved.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MStreamUndo.h"
#include "ostrum/undo/MUndoHandler.h"
#include "ostrum/undo/Manager.h"

using ostrum_bench::BlockObject;

namespace {

class BenchDocument : public MDocument {};


bool DoChange(MDocument& document, BlockObject& object) {
  auto* op = new MOperation(MOperation::ACTION_CHANGE_LABEL);
  op->AddObject(&object);
  return document.DoOperation(op, nullptr);
}

// A document with `depth` steps of history on one object of `state_bytes` bytes.
struct History {
  History(size_t depth, size_t state_bytes) : object(state_bytes) {
    for (size_t i = 0; i < depth; ++i) DoChange(document, object);
    Ostrum::Desktop::RunUntilIdle();
  }
  // Takes the newest step back out of the history, files and all.
  void DropNewest() {
    document.UndoOperation();
    document.GetUndoManager()->ExtractRedoActions(nullptr, nullptr);
    Ostrum::Desktop::RunUntilIdle();
  }
  BenchDocument document;
  BlockObject object;
};

// The floor: a new file made, written and closed; removed untimed.
struct PlainFile {
  explicit PlainFile(std::string directory) : m_directory(std::move(directory)) {}
  void Write() {
    m_path = m_directory + "/plain_" + std::to_string(m_serial++) + ".tmp";
    const int fd = open(m_path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
    if (fd < 0 || write(fd, m_bytes, sizeof m_bytes) != static_cast<ssize_t>(sizeof m_bytes)) std::abort();
    close(fd);
  }
  void Remove() { unlink(m_path.c_str()); }

  std::string m_directory, m_path;
  unsigned long m_serial = 0;
  unsigned char m_bytes[40] = {};  // about what the undo file of the step holds
};

std::string MakeDirectory(const char* base) {
  std::string pattern = std::string(base) + "/ostrum-history-bench-XXXXXX";
  if (!mkdtemp(pattern.data())) {
    std::perror("mkdtemp");
    std::exit(1);
  }
  return pattern;
}

void UseUndoDirectory(const std::string& directory) {
  MUndoHandler::SetUndoTempDir(std::filesystem::path(directory).wstring().c_str());
}

// The process's resident set in bytes.
long long ResidentBytes() {
  std::ifstream status("/proc/self/status");
  std::string key;
  long long kib = 0;
  while (status >> key) {
    if (key == "VmRSS:") {
      status >> kib;
      return kib * 1024;
    }
    status.ignore(1 << 20, '\n');
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 201;
  Ostrum::DeferredTaskManager::ScopedSession session;
  MDocument::SetUndoDiskSpace(1LL << 40);  // nothing is trimmed: the depth stays as built
  const std::string disk = MakeDirectory("/tmp"), memory = MakeDirectory("/dev/shm");

  // 0. Resident memory first, while the heap is fresh: 1,000 steps of 1 MiB, on the disk, against
  //    the states held in memory.
  UseUndoDirectory(disk);
  constexpr size_t kSteps = 1000, kState = 1 << 20;
  const long long before_history = ResidentBytes();
  long long history_bytes = 0;
  {
    History big(kSteps, kState);
    history_bytes = ResidentBytes() - before_history;
    big.document.CleanUpUndoHandler();
    Ostrum::Desktop::RunUntilIdle();
  }
  const long long before_states = ResidentBytes();
  long long states_bytes = 0;
  {
    std::vector<std::vector<unsigned char>> states;
    std::vector<unsigned char> state(kState, 0x5a);
    for (size_t i = 0; i < kSteps; ++i) {
      state[0] = static_cast<unsigned char>(~state[0]);
      states.push_back(state);
    }
    states_bytes = ResidentBytes() - before_states;
    benchmark::DoNotOptimize(states.data());
  }
  std::printf("Resident memory, 1,000 steps of 1 MiB: history %.0f KiB (the object's own 1 MiB included), "
              "states in memory %.0f KiB\n",
              history_bytes / 1024.0, states_bytes / 1024.0);

  // 1. The depths, on the disk.
  UseUndoDirectory(disk);
  std::printf("Building histories of 10, 1,000, 10,000 and 100,000 steps...\n");
  std::vector<std::unique_ptr<History>> histories;
  for (size_t depth : {10, 1000, 10000, 100000}) histories.push_back(std::make_unique<History>(depth, 8));
  PlainFile plain_disk(disk);
  std::vector<ostrum_bench::TimedCase> depths;
  const char* names[] = {"operation, 10 steps of history", "operation, 1,000 steps of history",
                         "operation, 10,000 steps of history", "operation, 100,000 steps of history"};
  for (size_t i = 0; i < histories.size(); ++i) {
    History& h = *histories[i];
    depths.push_back({names[i], [&h] { DoChange(h.document, h.object); }, [&h] { h.DropNewest(); }});
  }
  depths.push_back({"create + write + close of one file (disk)", [&] { plain_disk.Write(); }, [&] { plain_disk.Remove(); }});
  ostrum_bench::RunInterleaved(depths, rounds);
  std::printf("One undoable operation on one object, %d rounds (disk: %s):\n", rounds, disk.c_str());
  ostrum_bench::PrintMedians(depths, 1);
  histories.clear();
  Ostrum::Desktop::RunUntilIdle();

  // 2. The same step and its floor on tmpfs.
  UseUndoDirectory(memory);
  History shallow(10, 8);
  PlainFile plain_memory(memory);
  std::vector<ostrum_bench::TimedCase> on_tmpfs = {
      {"operation, 10 steps of history (tmpfs)", [&] { DoChange(shallow.document, shallow.object); },
       [&] { shallow.DropNewest(); }},
      {"create + write + close of one file (tmpfs)", [&] { plain_memory.Write(); }, [&] { plain_memory.Remove(); }},
  };
  ostrum_bench::RunInterleaved(on_tmpfs, rounds);
  std::printf("On tmpfs (%s):\n", memory.c_str());
  ostrum_bench::PrintMedians(on_tmpfs, 1);
  shallow.document.CleanUpUndoHandler();
  Ostrum::Desktop::RunUntilIdle();

  std::printf("\nRatios (framework / floor, lower is better):\n");
  ostrum_bench::PrintRatio("100,000 steps / 10 steps (aim <= 1.2)", depths[3], depths[0]);
  ostrum_bench::PrintRatio("10,000 steps / 10 steps", depths[2], depths[0]);
  ostrum_bench::PrintRatio("1,000 steps / 10 steps", depths[1], depths[0]);
  ostrum_bench::PrintRatio("operation / one file, disk (aim <= 1.15)", depths[0], depths[4]);
  ostrum_bench::PrintRatio("operation / one file, tmpfs (aim <= 1.15)", on_tmpfs[0], on_tmpfs[1]);
  std::printf("  %-52s %8.3f   (history / states in memory)\n", "resident memory, 1,000 steps of 1 MiB",
              states_bytes > 0 ? static_cast<double>(history_bytes) / static_cast<double>(states_bytes) : 0.0);

  MUndoHandler::SetUndoTempDir(L"");
  std::error_code ignored;
  std::filesystem::remove_all(disk, ignored);
  std::filesystem::remove_all(memory, ignored);
  return 0;
}
