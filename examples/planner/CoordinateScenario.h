#pragma once
// The planner's coordinate systems at work: its objects placed in systems of their own, moved
// under one another, and the transforms between them with the cache's counts.

namespace planner {

/// Runs the scenario on the document's repository of coordinate systems and traces it.
void RunCoordinateScenario();

}  // namespace planner
