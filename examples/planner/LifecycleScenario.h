#pragma once
// The planner's document through its life: a plan made, saved to its project file, closed and
// opened again, with the plan back in place and the history empty.

#include <string>

namespace planner {

/// Runs the scenario in a directory of its own and traces it.
void RunLifecycleScenario();
/// Opens the project file at `path` in this run (a fresh one) and traces the plan found in it.
void RunOpenPlan(const std::wstring& path);

}  // namespace planner
