#pragma once
// The planner's document through its life: a plan made, saved to its project file, closed and
// opened again, with the plan back in place and the history empty.

namespace planner {

/// Runs the scenario in a directory of its own and traces it.
void RunLifecycleScenario();

}  // namespace planner
