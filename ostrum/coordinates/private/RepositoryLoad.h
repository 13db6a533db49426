#pragma once
// What a repository stages while a project file is read into it. Nothing of it reaches the
// repository's list, its root or its unit systems before the file has been read and checked
// as a whole; a refused file leaves only this behind, and it is taken back.

#include <cstdint>
#include <utility>
#include <vector>

#include "ostrum/coordinates/MCoordinateSystem.h"
#include "ostrum/coordinates/MTransformRepositoryCoordinateSystem.h"

class MSAXReader;

namespace Ostrum::Private {

struct RepositoryLoad {
  using Node = MTransformRepositoryCoordinateSystem;

  MSAXReader* reader = nullptr;
  /// The nodes of "CoordinateSystem" elements in file order, in no list and held by nobody.
  std::vector<Node*> staged;
  /// The node that takes the "World" element; only its label reaches the root.
  Node* world = nullptr;
  std::uint32_t world_id = 0;
  /// The number "SystemMM" gives the millimetre system in the file; it is made to mean the
  /// running program's millimetre node.
  std::uint32_t mm_id = 0;
  /// Every handle read in this file, with the node it held before (still counted).
  std::vector<std::pair<MCoordinateSystem*, Node*>> handles;
  /// "SystemUI" and "SystemSTL" as read.
  MCoordinateSystem system_ui, system_stl;
  bool read_ui = false, read_stl = false, read_mm = false, read_inch = false;
  bool inch = false;
};

}  // namespace Ostrum::Private
