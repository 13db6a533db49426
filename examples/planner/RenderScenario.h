#pragma once
// The planner's picture of its plan: the implant and a screw as lit meshes, the implant's
// outline and a measurement as lines, labels, drawn offscreen by the OpenGL renderer through
// the framework's render interfaces and written into a PNG file.

#include <string>

namespace planner {

/// Draws the plan seen by a 640 by 480 camera and writes it to `png_path`; traces what it did
/// (and why not, when no OpenGL renderer can start). True when the file was written.
bool RunRenderScenario(const std::string& png_path);

}  // namespace planner
