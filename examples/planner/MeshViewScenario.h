#pragma once

#include <string>

namespace planner {

/// Reads the STL file at `stl_path` (showing on the way that broken copies of it are refused),
/// shows it in a 3D window drawn with OpenGL, turns and zooms it by scripted right-button
/// drags, and writes the window's picture before and after to `png_prefix`-before.png and
/// `png_prefix`-after.png. False if the mesh, the renderer or a picture failed.
bool RunMeshViewScenario(const std::string& stl_path, const std::string& png_prefix);

}  // namespace planner
