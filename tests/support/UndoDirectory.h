#pragma once
// PrivateUndoDirectory: an empty undo directory of the test's own, set for the process while it
// lives and removed with everything in it at the end, so that a test can count its undo files
// and leaves none behind.

#include <stdlib.h>

#include <filesystem>

#include "ostrum/undo/MUndoHandler.h"

struct PrivateUndoDirectory {
  PrivateUndoDirectory() {
    char pattern[] = "/tmp/ostrum-undo-test-XXXXXX";
    path = mkdtemp(pattern);
    Set(path);
  }
  ~PrivateUndoDirectory() {
    MUndoHandler::SetUndoTempDir(L"");
    std::filesystem::remove_all(path);
  }
  PrivateUndoDirectory(const PrivateUndoDirectory&) = delete;
  PrivateUndoDirectory& operator=(const PrivateUndoDirectory&) = delete;

  /// Makes `directory` the process's undo directory.
  static void Set(const std::filesystem::path& directory) {
    MUndoHandler::SetUndoTempDir(directory.wstring().c_str());
  }

  std::filesystem::path path;
};
