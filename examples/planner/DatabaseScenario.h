#pragma once
// The planner's plan in a database: a second scene, parts added by operations, one part shown
// only in one scene, a selection, a part removed with its screws and brought back by undo and
// redo, a part deleted for good (its observer told as it dies), and a scene's colour changed
// and undone.

namespace planner {

/// Runs the scenario on a document of its own and traces it.
void RunDatabaseScenario();

}  // namespace planner
