#pragma once
// Ostrum::TriangleMeshIntersector: where a line of sight meets a triangle mesh, for pickable
// objects whose geometry is a mesh of up to millions of triangles (bones, skin, implants).
//
// SetMesh copies the mesh (the vertices in double, the triangles as their three vertex indices)
// and builds a bounding volume hierarchy over it once (triangles ordered by the Morton code of
// their centre, nodes cut between runs of grid cells by the surface area heuristic; nodes of
// 32 bytes, the two children of a node side by side; a large mesh is built on two threads), so
// a query costs microseconds instead of a pass over every triangle. Intersections are computed
// in double precision with the Moller-Trumbore test on the copied corners, exactly as a pass
// over all triangles would compute them; the boxes are widened outwards so that no hit is ever
// lost to rounding. Queries are const and may run on several threads at once.
//
// Bad input never crashes or hangs: triangles with an index past the vertices or a corner that
// is NaN or infinite, and degenerate triangles (no area), are never hit; an empty mesh and a
// ray with a NaN, an infinite or a zero direction have no hits.
//
//   Ostrum::TriangleMeshIntersector mesh;
//   mesh.SetMesh(vertices, vertex_count, indices, triangle_count);  // xyz per vertex, 3 per triangle
//   Ostrum::TriangleMeshIntersector::Hit hit;
//   if (mesh.Nearest({origin, direction}, hit)) use(hit.triangle, hit.point);
//
// A mesh that changes is handed over again with SetMesh; Clear drops mesh and structure.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMPoint3d.h"

namespace Ostrum {

class OSTRUM_API TriangleMeshIntersector {
 public:
  /// The points origin + t * direction for t from t_min to t_max (both included). A line of
  /// sight through a window point, which has no front, takes t_min = -infinity.
  struct Ray {
    MMPoint3d<double> origin;
    MMPoint3d<double> direction;
    double t_min = 0.0;
    double t_max = std::numeric_limits<double>::infinity();
  };

  struct Hit {
    double t = 0.0;          ///< the ray's parameter at the hit
    uint32_t triangle = 0;   ///< index of the triangle in the mesh as given
    double u = 0.0, v = 0.0; ///< barycentric: the hit is (1-u-v) * c0 + u * c1 + v * c2
    MMPoint3d<double> point; ///< origin + t * direction
  };

  /// Statistics of the structure, for tools and benchmarks.
  struct Stats {
    size_t triangles = 0;  ///< triangles that can be hit
    size_t nodes = 0;
    size_t leaves = 0;
    size_t depth = 0;
  };

  TriangleMeshIntersector();
  ~TriangleMeshIntersector();
  TriangleMeshIntersector(TriangleMeshIntersector&&) noexcept;
  TriangleMeshIntersector& operator=(TriangleMeshIntersector&&) noexcept;
  TriangleMeshIntersector(const TriangleMeshIntersector&) = delete;
  TriangleMeshIntersector& operator=(const TriangleMeshIntersector&) = delete;

  /// Copies the mesh and builds the structure: `vertices` holds x, y, z of each of
  /// `vertex_count` vertices, `indices` three vertex indices per each of `triangle_count`
  /// triangles. Replaces any earlier mesh. Null arrays with a count of 0 give an empty mesh.
  void SetMesh(const double* vertices, size_t vertex_count, const uint32_t* indices, size_t triangle_count);
  void SetMesh(const float* vertices, size_t vertex_count, const uint32_t* indices, size_t triangle_count);
  /// Drops the mesh and its structure: nothing is hit until the next SetMesh.
  void Clear();

  /// The nearest hit: the smallest t within the ray's range (of hits at the same t, the one of
  /// the lowest triangle index). False, with `hit` untouched, if there is none.
  bool Nearest(const Ray& ray, Hit& hit) const;
  /// Every hit within the ray's range, by t and then triangle index, appended to `hits`
  /// (a triangle crossed on a shared edge is reported by each triangle). Answers how many.
  size_t All(const Ray& ray, std::vector<Hit>& hits) const;

  Stats GetStats() const;

 private:
  struct Node;
  struct Triangle;
  template <class T>
  void _SetMesh(const T* vertices, size_t vertex_count, const uint32_t* indices, size_t triangle_count);

  std::vector<Node> m_nodes;
  std::vector<Triangle> m_triangles;  // in leaf order
  std::vector<double> m_vertices;     // x, y, z of each vertex
  size_t m_depth = 0;
};

}  // namespace Ostrum
