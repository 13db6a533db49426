// An undoable operation whose object saves 1 KiB, 1 MiB and 64 MiB of state, done, undone and
// redone through the document, against the floor of the same bytes going through plain
// write and read in the same directory, and against Qt's QUndoStack keeping the same state in
// memory. One round of the document writes the undo file (do) and the redo file (first undo),
// reads the undo file (undo) and the redo file (redo), and removes both when the history is
// cleaned up; the floor does exactly that with two files.
//
// Also the small case: an undoable operation with 16 bytes of state against creating, writing,
// closing and removing one file.
//
// Timed round by round, interleaved, after an untimed warm-up; the floor's files take fresh
// names every time, as the document's do. Usage: bench_undo_disk [rounds]  (default 31)

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <QUndoStack>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "common/Interleaved.h"
#include "common/BlockObject.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MStreamUndo.h"
#include "ostrum/undo/MUndoHandler.h"

using ostrum_bench::BlockObject;

namespace {

std::string g_directory;

class BenchDocument : public MDocument {};


using Session = Ostrum::DeferredTaskManager::ScopedSession;

bool DoChange(BlockObject& object) {
  auto* op = new MOperation(MOperation::ACTION_CHANGE_LABEL);
  op->AddObject(&object);
  return op->DoOperation(nullptr);
}

void WriteFile(const std::string& path, const std::vector<unsigned char>& bytes) {
  const int fd = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  close(fd);
}

void ReadFile(const std::string& path, std::vector<unsigned char>& bytes) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t n = read(fd, bytes.data() + done, bytes.size() - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  close(fd);
}

// Fresh names for the floor's files, as the document's temporary files have.
std::string FreshName(const char* stem) {
  static unsigned long serial = 0;
  return g_directory + "/" + stem + std::to_string(serial++) + ".tmp";
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

// One size: do, undo, redo through the document, then the history emptied and its files
// removed; the same bytes through two plain files; QUndoStack holding them in memory.
void CompareAt(size_t size, int rounds, std::vector<std::string>& lines) {
  Session session;
  BenchDocument doc;
  BlockObject object(size);
  std::vector<unsigned char> bytes(size, 0x5a), qt_bytes(size, 0x5a);
  QUndoStack stack;
  std::vector<ostrum_bench::TimedCase> cases = {
      {"document: do, undo, redo, clean-up", [&] {
         DoChange(object);
         doc.UndoOperation();
         doc.RedoOperation();
         doc.CleanUpUndoHandler();
       }, [] { Ostrum::Desktop::RunUntilIdle(); }},
      {"plain files: write two, read two, remove", [&] {
         const std::string undo = FreshName("plain_undo"), redo = FreshName("plain_redo");
         WriteFile(undo, bytes);
         bytes[0] = static_cast<unsigned char>(~bytes[0]);
         WriteFile(redo, bytes);
         ReadFile(undo, bytes);
         ReadFile(redo, bytes);
         unlink(undo.c_str());
         unlink(redo.c_str());
       }},
      {"QUndoStack in memory", [&] {
         stack.push(new BlockCommand(qt_bytes));
         stack.undo();
         stack.redo();
         stack.clear();
       }},
  };
  const int n = size >= (64u << 20) ? std::max(5, rounds / 4) : rounds;
  ostrum_bench::RunInterleaved(cases, n);
  std::printf("State of %zu bytes, %d rounds:\n", size, n);
  ostrum_bench::PrintMedians(cases, 1);
  char line[256];
  std::snprintf(line, sizeof line, "  %-52s %8.3f", (std::to_string(size) + " bytes: document / plain files").c_str(),
                cases[0].median_seconds / cases[1].median_seconds);
  lines.push_back(line);
  std::snprintf(line, sizeof line, "  %-52s %8.3f", (std::to_string(size) + " bytes: document / QUndoStack").c_str(),
                cases[0].median_seconds / cases[2].median_seconds);
  lines.push_back(line);
}

// The small case: one undoable operation of a few bytes, its history emptied at once.
void CompareSmall(int rounds, std::vector<std::string>& lines) {
  Session session;
  BenchDocument doc;
  BlockObject object(8);
  const std::vector<unsigned char> bytes(16, 0x5a);
  std::string path;
  std::vector<ostrum_bench::TimedCase> cases = {
      {"operation of 16 bytes, history emptied", [&] {
         DoChange(object);
         doc.CleanUpUndoHandler();
       }, [] { Ostrum::Desktop::RunUntilIdle(); }},
      {"one file made, written, closed and removed", [&] {
         path = FreshName("plain_small");
         WriteFile(path, bytes);
         unlink(path.c_str());
       }},
  };
  ostrum_bench::RunInterleaved(cases, rounds * 8);
  std::printf("Small step, %d rounds:\n", rounds * 8);
  ostrum_bench::PrintMedians(cases, 1);
  char line[256];
  std::snprintf(line, sizeof line, "  %-52s %8.3f", "16 bytes: operation / one file made and removed",
                cases[0].median_seconds / cases[1].median_seconds);
  lines.push_back(line);
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 31;
  char pattern[] = "/tmp/ostrum-undo-bench-XXXXXX";
  if (!mkdtemp(pattern)) {
    std::perror("mkdtemp");
    return 1;
  }
  g_directory = pattern;
  MUndoHandler::SetUndoTempDir(std::filesystem::path(g_directory).wstring().c_str());
  std::vector<std::string> lines;
  for (size_t size : {size_t{1} << 10, size_t{1} << 20, size_t{64} << 20}) CompareAt(size, rounds, lines);
  CompareSmall(rounds, lines);
  std::printf("\nRatios of medians (framework / floor, lower is better):\n");
  for (const std::string& line : lines) std::printf("%s\n", line.c_str());
  MUndoHandler::SetUndoTempDir(L"");
  std::error_code ignored;
  std::filesystem::remove_all(g_directory, ignored);
  return 0;
}
