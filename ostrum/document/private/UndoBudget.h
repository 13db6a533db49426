#pragma once
// The disk budget of a document's undo files: the oldest steps go, whole groups at a time,
// until the files on disk fit in it.

#include <cstdint>

namespace Ostrum::Undo {
class Manager;
}

namespace Ostrum::Private {

/// When `bytes_on_disk` exceeds `budget`, takes whole groups out of `manager`'s history until
/// what stays fits: the oldest undo groups first (all but the top one when `keep_top_undo`,
/// the step about to be undone), then, if still over, the redo groups farthest from the
/// present. Their files go at once. Nothing while the manager is busy or stands in a
/// substitution chain.
void TrimUndoFiles(Ostrum::Undo::Manager& manager, std::int64_t bytes_on_disk, long long budget, bool keep_top_undo);

}  // namespace Ostrum::Private
