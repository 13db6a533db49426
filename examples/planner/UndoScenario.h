#pragma once
// The planner's own undo history: host actions registered in groups, undone and redone, and a
// second history put in front of the document's for a modal step, then handed back.

namespace planner {

/// Runs the scenario on a manager of its own, without a document, and traces it.
void RunUndoScenario();

}  // namespace planner
