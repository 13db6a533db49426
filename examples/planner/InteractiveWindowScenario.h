#pragma once
// The planner's two views of one plan, side by side: two interactive windows in one view, a user
// moving across them (enter, move, a drag from one into the other, leave, click), the calls each
// window gave the measuring tool, and a picture of both windows with the active one's frame.

#include <string>

namespace planner {

/// Runs the scenario and traces it; with a path, writes the picture of the two windows there
/// as a PNG file.
void RunInteractiveWindowScenario(const std::string& windows_png);

}  // namespace planner
