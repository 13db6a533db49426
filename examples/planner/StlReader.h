#pragma once
// The planner's reader of STL meshes, binary and ASCII. Every size and number is checked
// before it is used: a truncated, oversized or malformed file is refused with a message and
// leaves the mesh empty; nothing in a file can make the reader read out of bounds.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace planner {

/// Triangles as three corners each (x, y, z, in the file's units), with one normal per corner
/// (the file's facet normal, or the face's own when the file gives none).
struct StlMesh {
  std::string name;
  std::vector<float> positions;
  std::vector<float> normals;
  std::size_t TriangleCount() const { return positions.size() / 9; }
};

/// The largest mesh the planner reads, in triangles.
constexpr std::size_t kMaxStlTriangles = 20'000'000;

/// Reads `size` bytes of an STL file; false, with `error` saying why, for anything that is not
/// a whole, finite STL mesh of at least one triangle.
bool ReadStl(const unsigned char* data, std::size_t size, StlMesh& mesh, std::string& error);
/// Reads the STL file at `path` (at most kMaxStlTriangles triangles' worth of bytes).
bool ReadStlFile(const std::string& path, StlMesh& mesh, std::string& error);
/// Writes `mesh` as a binary STL file; false if the file cannot be written.
bool WriteStlBinary(const std::string& path, const StlMesh& mesh);

}  // namespace planner
