#pragma once
// MUndoHandler: the older stack of undo blocks on disk. Its process-wide undo directory is
// also where the document's undo files go.

#include "ostrum/Export.h"
#include "ostrum/foundation/core/MFileName.h"

// For now only the process-wide undo directory; the stack of blocks itself comes later.
class OSTRUM_API MUndoHandler {
 public:
  /// The directory of the process's undo files, as a directory name (ending in '/'). Empty,
  /// meaning the system's temporary directory, until the host sets one.
  static MFileName mg_temp_directory;

  /// The directory of the process's undo files; empty for the system's temporary directory.
  static MFileName const& GetUndoTempDir();
  /// Sets the directory of undo files made from now on; null or empty means the system's
  /// temporary directory. The directory is not created or checked here. Not thread-safe: set
  /// it before any document does work.
  static void SetUndoTempDir(wchar_t const* path);
};
