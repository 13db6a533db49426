#pragma once
// The planner's mouse tools: a measuring tool and a move tool driven headless through the
// desktop model as a user would drive them (press, drag, release, right-click menu), with the
// menu bar and toolbar each brings while selected.

namespace planner {

/// Runs the scenario and traces it.
void RunMouseToolScenario();

}  // namespace planner
