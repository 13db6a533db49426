#pragma once

namespace planner {

/// Operations of the planner's document done, undone and redone with their state in undo files
/// on disk; a group undone as one step; the temporary steps of a drag purged at its end; and the
/// disk budget trimming the oldest steps.
void RunDocumentUndoScenario();

}  // namespace planner
