#pragma once
// The benchmarks' object whose whole state is one block of bytes; its operation turns the first
// byte over, so what an undoable step costs is writing and reading the block.

#include <cstddef>
#include <vector>

#include "ostrum/foundation/core/MFile.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MStreamUndo.h"

namespace ostrum_bench {

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

}  // namespace ostrum_bench
