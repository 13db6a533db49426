#pragma once

#include <string>

namespace planner {

/// Object sensitivity in a 3D window: the mesh at `stl_path` as a pickable bone model with
/// three screws in front of it; the pointer goes over nothing, the bone, a screw, the bone and
/// nothing again, and each move prints the modes it switched off and on and what one pick
/// there cost. Headless on the recording renderer. False if the mesh could not be read.
bool RunSensitivityScenario(const std::string& stl_path);

}  // namespace planner
