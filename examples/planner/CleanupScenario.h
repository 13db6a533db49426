#pragma once
// The planner's clean-up work, scheduled through the deferred-task manager.

namespace planner {

/// Schedules clean-up tasks (posted ones with priorities, idle ones, one discarded, one that
/// expires, an old undo step handed to the deferred discard), runs the headless message loop
/// until idle and traces what ran at which time of the model clock.
void RunCleanupScenario();

}  // namespace planner
