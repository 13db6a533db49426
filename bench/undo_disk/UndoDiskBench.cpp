// An undoable operation whose object saves 1 KiB, 1 MiB and 64 MiB of state, done, undone and
// redone through the document, against the floor of the same bytes going through plain
// write and read in the same directory, and against Qt's QUndoStack keeping the same state in
// memory. One round of the document writes the undo file (do) and the redo file (first undo),
// reads the undo file (undo) and the redo file (redo), and removes both when the history is
// cleaned up; the floor does exactly that with two files.
//
// Also the small case: an undoable operation with 16 bytes of state against creating, writing,
// closing and removing one file.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <QUndoStack>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "common/RatioReport.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MStreamUndo.h"
#include "ostrum/undo/MUndoHandler.h"

namespace {

std::string g_directory;

class BenchDocument : public MDocument {};

// Its whole state is one block of bytes; the operation turns every byte over.
class BlockObject : public MObject {
 public:
  explicit BlockObject(size_t size) : bytes(size, 0x5a) {}
  std::vector<unsigned char> bytes;

  using MObject::LoadState;
  using MObject::SaveState;
  bool PrepareOperation(MOperation*) override { return true; }
  bool DoOperation(MOperation&) override {
    bytes[0] = static_cast<unsigned char>(~bytes[0]);
    return true;
  }
  bool UndoOperation(MOperation&) override { return true; }
  bool RedoOperation(MOperation&) override { return true; }
  void SaveState(const MOperation*, MStreamUndoOut& out) override {
    out << static_cast<long long>(bytes.size());
    out.WriteBuffer(bytes.data(), static_cast<int>(bytes.size()));
  }
  void LoadState(const MOperation*, MStreamUndoIn& in) override {
    long long size = 0;
    in >> size;
    bytes.resize(static_cast<size_t>(size));
    in.GetMFile()->READ(bytes.data(), bytes.size());
  }
};

using Session = Ostrum::DeferredTaskManager::ScopedSession;

bool DoChange(BlockObject& object) {
  auto* op = new MOperation(MOperation::ACTION_CHANGE_LABEL);
  op->AddObject(&object);
  return op->DoOperation(nullptr);
}

// Do, undo, redo, then the history is emptied and its files removed.
void BM_Document(benchmark::State& state) {
  Session session;
  BenchDocument doc;
  BlockObject object(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    DoChange(object);
    doc.UndoOperation();
    doc.RedoOperation();
    doc.CleanUpUndoHandler();
    Ostrum::Desktop::RunUntilIdle();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * 4);
}

void WriteFile(const std::string& path, const std::vector<unsigned char>& bytes) {
  const int fd = open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  close(fd);
}

void ReadFile(const std::string& path, std::vector<unsigned char>& bytes) {
  const int fd = open(path.c_str(), O_RDONLY);
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t n = read(fd, bytes.data() + done, bytes.size() - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  close(fd);
}

// The floor: two files written whole, read back whole, removed.
void BM_PlainFiles(benchmark::State& state) {
  std::vector<unsigned char> bytes(static_cast<size_t>(state.range(0)), 0x5a);
  const std::string undo = g_directory + "/plain_undo.tmp", redo = g_directory + "/plain_redo.tmp";
  for (auto _ : state) {
    WriteFile(undo, bytes);
    bytes[0] = static_cast<unsigned char>(~bytes[0]);
    WriteFile(redo, bytes);
    ReadFile(undo, bytes);
    ReadFile(redo, bytes);
    unlink(undo.c_str());
    unlink(redo.c_str());
    benchmark::DoNotOptimize(bytes.data());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * 4);
}

// Qt's stack keeps both states in memory: the command copies the state before and after.
class BlockCommand : public QUndoCommand {
 public:
  explicit BlockCommand(std::vector<unsigned char>& bytes) : m_bytes(bytes), m_before(bytes) {}
  void redo() override {
    if (m_after.empty()) {
      m_bytes[0] = static_cast<unsigned char>(~m_bytes[0]);
      m_after = m_bytes;
    } else {
      m_bytes = m_after;
    }
  }
  void undo() override { m_bytes = m_before; }

 private:
  std::vector<unsigned char>& m_bytes;
  std::vector<unsigned char> m_before, m_after;
};

void BM_QUndoStack(benchmark::State& state) {
  std::vector<unsigned char> bytes(static_cast<size_t>(state.range(0)), 0x5a);
  QUndoStack stack;
  for (auto _ : state) {
    stack.push(new BlockCommand(bytes));
    stack.undo();
    stack.redo();
    stack.clear();
    benchmark::DoNotOptimize(bytes.data());
  }
}

// The small case: one undoable operation of a few bytes, its history emptied at once.
void BM_DocumentSmall(benchmark::State& state) {
  Session session;
  BenchDocument doc;
  BlockObject object(8);
  for (auto _ : state) {
    DoChange(object);
    doc.CleanUpUndoHandler();
    Ostrum::Desktop::RunUntilIdle();
  }
}

void BM_PlainFileSmall(benchmark::State& state) {
  const std::vector<unsigned char> bytes(16, 0x5a);
  const std::string path = g_directory + "/plain_small.tmp";
  for (auto _ : state) {
    WriteFile(path, bytes);
    unlink(path.c_str());
  }
}

constexpr int64_t kKiB = 1024, kMiB = 1024 * 1024;

BENCHMARK(BM_Document)->Arg(kKiB)->Arg(kMiB)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Document)->Arg(64 * kMiB)->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainFiles)->Arg(kKiB)->Arg(kMiB)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainFiles)->Arg(64 * kMiB)->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QUndoStack)->Arg(kKiB)->Arg(kMiB)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_QUndoStack)->Arg(64 * kMiB)->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DocumentSmall)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainFileSmall)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  char pattern[] = "/tmp/ostrum-undo-bench-XXXXXX";
  if (!mkdtemp(pattern)) {
    std::perror("mkdtemp");
    return 1;
  }
  g_directory = pattern;
  MUndoHandler::SetUndoTempDir(std::filesystem::path(g_directory).wstring().c_str());
  const int result = ostrum_bench::RunWithRatios(
      argc, argv,
      {{"1 KiB: document / plain files", "BM_Document/1024", "BM_PlainFiles/1024"},
       {"1 MiB: document / plain files", "BM_Document/1048576", "BM_PlainFiles/1048576"},
       {"64 MiB: document / plain files", "BM_Document/67108864/iterations:5", "BM_PlainFiles/67108864/iterations:5"},
       {"1 KiB: document / QUndoStack in memory", "BM_Document/1024", "BM_QUndoStack/1024"},
       {"1 MiB: document / QUndoStack in memory", "BM_Document/1048576", "BM_QUndoStack/1048576"},
       {"64 MiB: document / QUndoStack in memory", "BM_Document/67108864/iterations:5",
        "BM_QUndoStack/67108864/iterations:5"},
       {"16 bytes: operation / one file made and removed", "BM_DocumentSmall", "BM_PlainFileSmall"}});
  MUndoHandler::SetUndoTempDir(L"");
  std::error_code ignored;
  std::filesystem::remove_all(g_directory, ignored);
  return result;
}
