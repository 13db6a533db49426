#pragma once
// The document's share of its undo files: how many bytes they hold on disk now, and the undo or
// redo run in which a step could not go ahead. The document and every wrapper of its history
// share it, so that a wrapper that outlives its document (it is disposed of at idle time) still
// has somewhere to account for its files.

#include <cstdint>

#include "ostrum/document/MDocument.h"

namespace Ostrum::Undo {
class Transaction;
}

class OSTRUM_LOCAL MDocument::_UndoRedo::UndoFiles {
 public:
  /// Bytes of the undo and redo files of the document's steps that are on disk now: what the
  /// disk budget bounds. Files are counted from their writing to their removal.
  std::int64_t bytes = 0;
  /// The run (its primary transaction) in which a step could not go ahead; the steps after it
  /// are left as they are, and the document takes the run back. Null while nothing failed.
  Ostrum::Undo::Transaction* failed_run = nullptr;
};
