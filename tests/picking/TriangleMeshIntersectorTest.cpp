// The mesh helper of pickable objects against a pass over every triangle: random meshes and
// rays, rays along edges and through vertices of a grid, meshes that change, and bad input.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "ostrum/picking/TriangleMeshIntersector.h"

namespace {

using Ostrum::TriangleMeshIntersector;
using Ray = TriangleMeshIntersector::Ray;
using Hit = TriangleMeshIntersector::Hit;
using P = MMPoint3d<double>;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Mesh {
  std::vector<double> vertices;
  std::vector<uint32_t> indices;
  size_t VertexCount() const { return vertices.size() / 3; }
  size_t TriangleCount() const { return indices.size() / 3; }
  P Vertex(uint32_t i) const { return P(vertices[3 * i], vertices[3 * i + 1], vertices[3 * i + 2]); }
};

// The reference: every triangle, the textbook test (with the same roundings as the helper, so
// that hits on shared edges and vertices agree to the bit).
struct Reference {
  double t;
  uint32_t triangle;
};
std::vector<Reference> BruteForce(const Mesh& mesh, const Ray& ray) {
  std::vector<Reference> hits;
  for (uint32_t i = 0; i < mesh.TriangleCount(); ++i) {
    const uint32_t* c = &mesh.indices[3 * i];
    if (c[0] >= mesh.VertexCount() || c[1] >= mesh.VertexCount() || c[2] >= mesh.VertexCount()) continue;
    const P v0 = mesh.Vertex(c[0]), e1 = mesh.Vertex(c[1]) - v0, e2 = mesh.Vertex(c[2]) - v0;
    const P& d = ray.direction;
    const P p(d.y * e2.z - d.z * e2.y, d.z * e2.x - d.x * e2.z, d.x * e2.y - d.y * e2.x);
    const double det = e1.x * p.x + e1.y * p.y + e1.z * p.z;
    if (!(det != 0.0) || !std::isfinite(det)) continue;
    const double inv_det = 1.0 / det;
    const P s = ray.origin - v0;
    const double u = (s.x * p.x + s.y * p.y + s.z * p.z) * inv_det;
    if (u < 0.0 || u > 1.0) continue;
    const P q(s.y * e1.z - s.z * e1.y, s.z * e1.x - s.x * e1.z, s.x * e1.y - s.y * e1.x);
    const double v = (d.x * q.x + d.y * q.y + d.z * q.z) * inv_det;
    if (v < 0.0 || u + v > 1.0) continue;
    const double t = (e2.x * q.x + e2.y * q.y + e2.z * q.z) * inv_det;
    if (t >= ray.t_min && t <= ray.t_max) hits.push_back({t, i});
  }
  std::sort(hits.begin(), hits.end(),
            [](const Reference& a, const Reference& b) { return a.t != b.t ? a.t < b.t : a.triangle < b.triangle; });
  return hits;
}

bool Close(double a, double b) { return std::abs(a - b) <= 1e-9 * std::max({1.0, std::abs(a), std::abs(b)}); }

// Compares nearest and all hits of one ray; the triangle must agree where the nearest is unique.
void ExpectSameAsBruteForce(const TriangleMeshIntersector& fast, const Mesh& mesh, const Ray& ray) {
  const std::vector<Reference> expected = BruteForce(mesh, ray);
  Hit hit;
  const bool found = fast.Nearest(ray, hit);
  ASSERT_EQ(found, !expected.empty());
  if (!found) return;
  EXPECT_TRUE(Close(hit.t, expected[0].t)) << hit.t << " against " << expected[0].t;
  const bool unique = expected.size() == 1 || !Close(expected[1].t, expected[0].t);
  if (unique) {
    EXPECT_EQ(hit.triangle, expected[0].triangle);
  }
  const P at = ray.origin + ray.direction * hit.t;
  EXPECT_TRUE(Close(hit.point.x, at.x) && Close(hit.point.y, at.y) && Close(hit.point.z, at.z));

  std::vector<Hit> all;
  ASSERT_EQ(fast.All(ray, all), expected.size());
  for (size_t i = 0; i < all.size(); ++i) EXPECT_TRUE(Close(all[i].t, expected[i].t));
}

Mesh RandomSoup(std::mt19937& rng, size_t triangles, double size) {
  std::uniform_real_distribution<double> where(-1.0, 1.0), offset(-size, size);
  Mesh mesh;
  for (size_t i = 0; i < triangles; ++i) {
    const P centre(where(rng), where(rng), where(rng));
    for (int k = 0; k < 3; ++k) {
      mesh.vertices.insert(mesh.vertices.end(),
                           {centre.x + offset(rng), centre.y + offset(rng), centre.z + offset(rng)});
      mesh.indices.push_back(static_cast<uint32_t>(3 * i + k));
    }
  }
  return mesh;
}

// A closed-ish surface: a sphere of latitude and longitude bands, vertices shared.
Mesh Sphere(int bands, double radius) {
  Mesh mesh;
  for (int i = 0; i <= bands; ++i)
    for (int j = 0; j < 2 * bands; ++j) {
      const double theta = std::numbers::pi * i / bands, phi = std::numbers::pi * j / bands;
      mesh.vertices.insert(mesh.vertices.end(), {radius * std::sin(theta) * std::cos(phi),
                                                 radius * std::sin(theta) * std::sin(phi), radius * std::cos(theta)});
    }
  const auto at = [&](int i, int j) { return static_cast<uint32_t>(i * 2 * bands + (j % (2 * bands))); };
  for (int i = 0; i < bands; ++i)
    for (int j = 0; j < 2 * bands; ++j)
      mesh.indices.insert(mesh.indices.end(), {at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j), at(i + 1, j + 1),
                                               at(i, j + 1)});
  return mesh;
}

// A flat grid in z = height with vertices on integers, two triangles per cell.
Mesh Grid(int n, double height) {
  Mesh mesh;
  for (int y = 0; y <= n; ++y)
    for (int x = 0; x <= n; ++x) mesh.vertices.insert(mesh.vertices.end(), {double(x), double(y), height});
  const auto at = [&](int x, int y) { return static_cast<uint32_t>(y * (n + 1) + x); };
  for (int y = 0; y < n; ++y)
    for (int x = 0; x < n; ++x)
      mesh.indices.insert(mesh.indices.end(),
                          {at(x, y), at(x + 1, y), at(x + 1, y + 1), at(x, y), at(x + 1, y + 1), at(x, y + 1)});
  return mesh;
}

TriangleMeshIntersector Build(const Mesh& mesh) {
  TriangleMeshIntersector fast;
  fast.SetMesh(mesh.vertices.data(), mesh.VertexCount(), mesh.indices.data(), mesh.TriangleCount());
  return fast;
}

TEST(TriangleMeshIntersector, FindsWhatAPassOverEveryTriangleFindsOnRandomMeshesAndRays) {
  std::mt19937 rng(20261123);
  std::uniform_real_distribution<double> where(-1.5, 1.5);
  const std::vector<Mesh> meshes = {RandomSoup(rng, 3000, 0.1), RandomSoup(rng, 500, 0.8), Sphere(40, 1.0),
                                    RandomSoup(rng, 7, 0.5)};
  for (const Mesh& mesh : meshes) {
    const TriangleMeshIntersector fast = Build(mesh);
    size_t with_area = 0;  // the sphere's poles have triangles without area, never hit
    for (size_t i = 0; i < mesh.TriangleCount(); ++i) {
      const P v0 = mesh.Vertex(mesh.indices[3 * i]), e1 = mesh.Vertex(mesh.indices[3 * i + 1]) - v0,
              e2 = mesh.Vertex(mesh.indices[3 * i + 2]) - v0;
      with_area += (e1.y * e2.z - e1.z * e2.y != 0 || e1.z * e2.x - e1.x * e2.z != 0 || e1.x * e2.y - e1.y * e2.x != 0);
    }
    EXPECT_EQ(fast.GetStats().triangles, with_area);
    for (int i = 0; i < 300; ++i) {
      Ray ray;
      ray.origin = P(where(rng) * 3, where(rng) * 3, where(rng) * 3);
      ray.direction = P(where(rng), where(rng), where(rng)) - ray.origin;
      if (i % 3 == 1) ray.t_min = -kInf;  // a line of sight: hits behind the origin too
      if (i % 5 == 2) ray.t_max = 0.6;
      ExpectSameAsBruteForce(fast, mesh, ray);
    }
  }
}

// Large meshes are built on two threads, which share out the passes, the sort and the subtrees;
// what they build must answer as the pass over every triangle does. The primitives are ordered
// by the Morton code of their centre on a grid over the finite centres, so the meshes also hold
// what the grid handles apart: in the soup, triangles reaching past the range of float on both
// sides of an axis (no finite centre: the first cell); in the clumped soup, 3000 triangles in one
// cell (equal codes), triangles unbounded on one side (centres at infinity: the last cells, and
// boxes whose areas cannot be compared); in the stretched soup, one triangle so far out that the
// grid is stretched over it and every other triangle shares one code; and a pile of one
// triangle repeated (every centre in one place).
TEST(TriangleMeshIntersector, LargeMeshesBuiltOnTwoThreadsFindWhatAPassOverEveryTriangleFinds) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> where(-1.5, 1.5);
  Mesh soup = RandomSoup(rng, 40000, 0.05);
  for (size_t i = 0; i < soup.vertices.size(); i += 9 * 997) {  // every 997th triangle
    soup.vertices[i] = -1e300;
    soup.vertices[i + 3] = 1e300;
  }
  Mesh clumped = RandomSoup(rng, 40000, 0.02);
  for (size_t i = 0; i < 9 * 3000; ++i) clumped.vertices[i] = 0.3 + 1e-6 * clumped.vertices[i];
  // Slivers from the plane y = 0 past the range of float, standing aside (a line of sight near
  // one gives the test in double hits outside the sliver's box, which no tree can find).
  for (size_t t = 3000; t < clumped.TriangleCount(); t += 1013)
    for (size_t k = 9 * t; k < 9 * t + 9; k += 3) {
      clumped.vertices[k] = 40.0 + 0.01 * clumped.vertices[k];
      clumped.vertices[k + 1] = k == 9 * t ? 1e39 : 0.0;
      clumped.vertices[k + 2] = 40.0 + 0.01 * clumped.vertices[k + 2];
    }
  Mesh stretched = RandomSoup(rng, 40000, 0.05);
  for (size_t i = stretched.vertices.size() - 9; i < stretched.vertices.size(); ++i) stretched.vertices[i] += 1e30;
  Mesh pile;
  for (uint32_t i = 0; i < 40000; ++i) {
    pile.vertices.insert(pile.vertices.end(), {0, 0, 0, 1, 0, 0, 0, 1, 0});
    pile.indices.insert(pile.indices.end(), {3 * i, 3 * i + 1, 3 * i + 2});
  }
  const char* names[] = {"sphere", "soup", "clumped", "stretched", "pile"};
  int which = 0;
  for (const Mesh& mesh : {Sphere(130, 1.0), soup, clumped, stretched, pile}) {
    SCOPED_TRACE(names[which++]);
    ASSERT_GE(mesh.TriangleCount(), 40000u);
    const TriangleMeshIntersector fast = Build(mesh);
    const TriangleMeshIntersector::Stats stats = fast.GetStats();
    EXPECT_EQ(stats.nodes, 2 * stats.leaves - 1);
    EXPECT_LE(stats.depth, 64u);
    for (int i = 0; i < 60; ++i) {
      Ray ray;
      ray.origin = P(where(rng) * 3, where(rng) * 3, where(rng) * 3);
      ray.direction = P(where(rng), where(rng), where(rng)) * 0.5 - ray.origin;
      if (i % 2 == 1) ray.t_min = -kInf;
      if (i % 3 == 2) ray.direction = P(0.3, 0.3, 0.3) + P(where(rng), where(rng), where(rng)) * 1e-6 - ray.origin;
      ExpectSameAsBruteForce(fast, mesh, ray);
    }
  }
}

TEST(TriangleMeshIntersector, RaysThroughVerticesAndAlongEdgesOfAGridAreNotLost) {
  const Mesh mesh = Grid(12, 2.0);
  const TriangleMeshIntersector fast = Build(mesh);
  // Straight down through every vertex, every edge's midpoint and every diagonal's midpoint.
  for (int y2 = 0; y2 <= 24; ++y2)
    for (int x2 = 0; x2 <= 24; ++x2) {
      Ray ray{P(x2 / 2.0, y2 / 2.0, 10.0), P(0, 0, -1)};
      Hit hit;
      ASSERT_TRUE(fast.Nearest(ray, hit)) << x2 / 2.0 << ", " << y2 / 2.0;
      EXPECT_EQ(hit.t, 8.0);
      EXPECT_EQ(hit.point.z, 2.0);
      ExpectSameAsBruteForce(fast, mesh, ray);
    }
  // Slanted rays through vertices, from both sides of the plane.
  for (int k = 0; k < 12; ++k) {
    ExpectSameAsBruteForce(fast, mesh, Ray{P(k - 3.0, k + 1.0, 7.0), P(3.0, -1.0, -5.0)});
    ExpectSameAsBruteForce(fast, mesh, Ray{P(k + 0.5, 6.0, -1.0), P(0.0, -0.25, 1.0)});
  }
  // In the plane, along an edge: the plane is seen edge-on and nothing is hit.
  Hit hit;
  EXPECT_FALSE(fast.Nearest(Ray{P(-1.0, 3.0, 2.0), P(1.0, 0.0, 0.0)}, hit));
  EXPECT_FALSE(fast.Nearest(Ray{P(-1.0, -1.0, 2.0), P(1.0, 1.0, 0.0)}, hit));
  // Outside the grid, and pointing away.
  EXPECT_FALSE(fast.Nearest(Ray{P(13.5, 5.0, 10.0), P(0, 0, -1)}, hit));
  EXPECT_FALSE(fast.Nearest(Ray{P(5.0, 5.0, 10.0), P(0, 0, 1)}, hit));
  // A range that ends just before the plane, and one that ends on it.
  EXPECT_FALSE(fast.Nearest(Ray{P(5.5, 5.5, 10.0), P(0, 0, -1), 0.0, std::nextafter(8.0, 0.0)}, hit));
  EXPECT_TRUE(fast.Nearest(Ray{P(5.5, 5.5, 10.0), P(0, 0, -1), 0.0, 8.0}, hit));
}

TEST(TriangleMeshIntersector, OfHitsAtOneDepthTheLowestTriangleWinsAndAllListsEach) {
  // The same triangle three times, and a shared edge crossed by the ray.
  const Mesh mesh{{0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0}, {0, 1, 2, 1, 3, 2, 0, 1, 2, 0, 1, 2}};
  const TriangleMeshIntersector fast = Build(mesh);
  Hit hit;
  ASSERT_TRUE(fast.Nearest(Ray{P(0.25, 0.25, 1), P(0, 0, -1)}, hit));
  EXPECT_EQ(hit.triangle, 0u);
  EXPECT_EQ(hit.u, 0.25);
  EXPECT_EQ(hit.v, 0.25);
  std::vector<Hit> all{Hit{}};  // what was in the vector stays in front
  EXPECT_EQ(fast.All(Ray{P(0.25, 0.25, 1), P(0, 0, -1)}, all), 3u);
  ASSERT_EQ(all.size(), 4u);
  EXPECT_EQ((std::vector<uint32_t>{all[1].triangle, all[2].triangle, all[3].triangle}),
            (std::vector<uint32_t>{0, 2, 3}));
  // The diagonal from (1,0) to (0,1) is shared by triangles 0 and 1 (and the copies).
  ASSERT_TRUE(fast.Nearest(Ray{P(0.5, 0.5, 1), P(0, 0, -1)}, hit));
  EXPECT_EQ(hit.triangle, 0u);
  all.clear();
  EXPECT_EQ(fast.All(Ray{P(0.5, 0.5, 1), P(0, 0, -1)}, all), 4u);
}

TEST(TriangleMeshIntersector, BadInputIsNeverHitAndNeverBreaksTheRest) {
  Hit hit;
  const Ray down{P(0.2, 0.2, 1), P(0, 0, -1)};
  TriangleMeshIntersector empty;
  EXPECT_FALSE(empty.Nearest(down, hit));
  empty.SetMesh(static_cast<const double*>(nullptr), 0, nullptr, 0);
  EXPECT_FALSE(empty.Nearest(down, hit));
  std::vector<Hit> all;
  EXPECT_EQ(empty.All(down, all), 0u);

  // One good triangle among an index past the end, NaN and infinite corners, a point, a line.
  const Mesh mesh{{0, 0, 0, 1, 0, 0, 0, 1, 0, kNaN, 0, 0, kInf, 1, 1, 2, 2, 2, 3, 3, 3},
                  {0, 1, 7, 3, 1, 2, 4, 1, 2, 5, 5, 5, 5, 6, 5, 0, 1, 2, 0, 1, 99}};
  const TriangleMeshIntersector fast = Build(mesh);
  EXPECT_EQ(fast.GetStats().triangles, 1u);
  ASSERT_TRUE(fast.Nearest(down, hit));
  EXPECT_EQ(hit.triangle, 5u) << "indices keep their place in the mesh as given";

  // Rays that cannot hit: NaN or infinite parts, no direction, an empty range.
  const Hit untouched{42.0, 7, 0, 0, P()};
  for (const Ray& bad : {Ray{P(kNaN, 0, 1), P(0, 0, -1)}, Ray{P(0.2, 0.2, 1), P(0, kNaN, -1)},
                         Ray{P(0.2, 0.2, kInf), P(0, 0, -1)}, Ray{P(0.2, 0.2, 1), P(0, 0, 0)},
                         Ray{P(0.2, 0.2, 1), P(0, 0, -1), 2.0, 1.0}, Ray{P(0.2, 0.2, 1), P(0, 0, -1), kNaN, kInf}}) {
    hit = untouched;
    EXPECT_FALSE(fast.Nearest(bad, hit));
    EXPECT_EQ(hit.t, 42.0) << "a miss leaves the hit alone";
    EXPECT_EQ(fast.All(bad, all), 0u);
  }

  // Huge and tiny coordinates (past the range of float, products past that of double) build and
  // answer like any others.
  const Mesh far{{1e300, 1e300, -1, -1e300, 1e300, -1, 0, -1e300, -1, 1e-300, 0, 1, 0, 1e-300, 1, 0, 0, 1,
                  1e150, 1e150, 0, -1e150, 1e150, 0, 0, -1e150, 0},
                 {0, 1, 2, 3, 4, 5, 6, 7, 8}};
  const TriangleMeshIntersector both = Build(far);
  ASSERT_TRUE(both.Nearest(Ray{P(0, 0, 5), P(0, 0, -1)}, hit));
  EXPECT_EQ(hit.triangle, 2u);
  EXPECT_EQ(hit.t, 5.0);
  ExpectSameAsBruteForce(both, far, Ray{P(0, 0, 5), P(0, 0, -1)});
  // Many triangles at one place: the build halves what it cannot split and stops.
  Mesh pile;
  for (uint32_t i = 0; i < 5000; ++i) {
    pile.vertices.insert(pile.vertices.end(), {0, 0, 0, 1, 0, 0, 0, 1, 0});
    pile.indices.insert(pile.indices.end(), {3 * i, 3 * i + 1, 3 * i + 2});
  }
  const TriangleMeshIntersector piled = Build(pile);
  ASSERT_TRUE(piled.Nearest(down, hit));
  EXPECT_EQ(hit.triangle, 0u);
  EXPECT_EQ(piled.All(down, all), 5000u);
}

TEST(TriangleMeshIntersector, AChangedMeshIsHandedOverAgainAndFloatMeshesMatchDoubleOnes) {
  Mesh mesh = Grid(4, 0.0);
  TriangleMeshIntersector fast = Build(mesh);
  const Ray down{P(1.5, 1.5, 5), P(0, 0, -1)};
  Hit hit;
  ASSERT_TRUE(fast.Nearest(down, hit));
  EXPECT_EQ(hit.t, 5.0);
  for (size_t i = 2; i < mesh.vertices.size(); i += 3) mesh.vertices[i] = 3.0;  // the surface rises
  fast.SetMesh(mesh.vertices.data(), mesh.VertexCount(), mesh.indices.data(), mesh.TriangleCount());
  ASSERT_TRUE(fast.Nearest(down, hit));
  EXPECT_EQ(hit.t, 2.0);
  fast.Clear();
  EXPECT_FALSE(fast.Nearest(down, hit));
  EXPECT_EQ(fast.GetStats().nodes, 0u);

  std::vector<float> floats(mesh.vertices.begin(), mesh.vertices.end());
  TriangleMeshIntersector from_floats;
  from_floats.SetMesh(floats.data(), mesh.VertexCount(), mesh.indices.data(), mesh.TriangleCount());
  ExpectSameAsBruteForce(from_floats, mesh, down);
  ExpectSameAsBruteForce(from_floats, mesh, Ray{P(0.3, 3.1, 9), P(0.1, -0.2, -1)});
}

}  // namespace
