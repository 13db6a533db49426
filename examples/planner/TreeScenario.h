#pragma once
// The planner's object tree: an implant with its screws and a landmark, a screw moved to
// another parent keeping its place, an object hidden in one scene, a filtered walk, and what a
// renderer is asked to draw.

namespace planner {

/// Runs the scenario on the document's repository of coordinate systems and traces it.
void RunTreeScenario();

}  // namespace planner
