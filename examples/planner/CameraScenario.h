#pragma once
// The planner's camera: a 640 by 480 window on the plan, where the implant's corners land
// before and after a rotation and a zoom, a pixel brought back into the screw's system, and
// the framework's built-in checks.

namespace planner {

/// Runs the scenario on the application's repository and traces it.
void RunCameraScenario();

}  // namespace planner
