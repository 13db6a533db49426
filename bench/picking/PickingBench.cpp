// One pick on meshes of 100k, 1M and 4M triangles: the framework's mesh helper against a pass
// over every triangle and against Embree, per ray, timed interleaved; and the time each takes
// to build its structure. The mesh is a bumpy closed surface, as a scanned bone would be; the
// rays come from all around and aim at points of it, so that nearly all of them hit.

#include <embree3/rtcore.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "common/Interleaved.h"
#include "ostrum/picking/TriangleMeshIntersector.h"

namespace {

using Ostrum::TriangleMeshIntersector;
using P = MMPoint3d<double>;

struct Mesh {
  std::vector<float> vertices;
  std::vector<uint32_t> indices;
  size_t Triangles() const { return indices.size() / 3; }
};

// About 4 * bands^2 triangles.
Mesh BumpySphere(int bands) {
  Mesh mesh;
  const int around = 2 * bands;
  for (int i = 0; i <= bands; ++i)
    for (int j = 0; j < around; ++j) {
      const double theta = std::numbers::pi * i / bands, phi = 2 * std::numbers::pi * j / around;
      const double r = 50.0 * (1.0 + 0.05 * std::sin(7 * theta) * std::cos(5 * phi));
      mesh.vertices.insert(mesh.vertices.end(), {float(r * std::sin(theta) * std::cos(phi)),
                                                 float(r * std::sin(theta) * std::sin(phi)), float(r * std::cos(theta))});
    }
  const auto at = [&](int i, int j) { return static_cast<uint32_t>(i * around + j % around); };
  for (int i = 0; i < bands; ++i)
    for (int j = 0; j < around; ++j)
      mesh.indices.insert(mesh.indices.end(),
                          {at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j), at(i + 1, j + 1), at(i, j + 1)});
  return mesh;
}

std::vector<TriangleMeshIntersector::Ray> Rays(size_t count) {
  std::mt19937 rng(7);
  std::normal_distribution<double> normal;
  std::vector<TriangleMeshIntersector::Ray> rays;
  for (size_t i = 0; i < count; ++i) {
    P from(normal(rng), normal(rng), normal(rng)), to(normal(rng), normal(rng), normal(rng));
    from = from * (200.0 / from.Length());
    to = to * (45.0 / to.Length());
    rays.push_back({from, to - from});
  }
  return rays;
}

// The floor: every triangle, the same test in double.
bool BruteForce(const Mesh& mesh, const TriangleMeshIntersector::Ray& ray, double& best) {
  best = std::numeric_limits<double>::infinity();
  const P& o = ray.origin;
  const P& d = ray.direction;
  const float* v = mesh.vertices.data();
  for (size_t i = 0; i < mesh.Triangles(); ++i) {
    const uint32_t* c = &mesh.indices[3 * i];
    const P v0(v[3 * c[0]], v[3 * c[0] + 1], v[3 * c[0] + 2]);
    const P e1 = P(v[3 * c[1]], v[3 * c[1] + 1], v[3 * c[1] + 2]) - v0;
    const P e2 = P(v[3 * c[2]], v[3 * c[2] + 1], v[3 * c[2] + 2]) - v0;
    const P p(d.y * e2.z - d.z * e2.y, d.z * e2.x - d.x * e2.z, d.x * e2.y - d.y * e2.x);
    const double det = e1.x * p.x + e1.y * p.y + e1.z * p.z;
    if (det == 0.0) continue;
    const double inv = 1.0 / det;
    const P s = o - v0;
    const double u = (s.x * p.x + s.y * p.y + s.z * p.z) * inv;
    if (u < 0.0 || u > 1.0) continue;
    const P q(s.y * e1.z - s.z * e1.y, s.z * e1.x - s.x * e1.z, s.x * e1.y - s.y * e1.x);
    const double w = (d.x * q.x + d.y * q.y + d.z * q.z) * inv;
    if (w < 0.0 || u + w > 1.0) continue;
    const double t = (e2.x * q.x + e2.y * q.y + e2.z * q.z) * inv;
    if (t >= 0.0 && t < best) best = t;
  }
  return best < std::numeric_limits<double>::infinity();
}

struct Embree {
  RTCDevice device = rtcNewDevice("threads=1");
  RTCScene scene = nullptr;
  ~Embree() {
    if (scene) rtcReleaseScene(scene);
    rtcReleaseDevice(device);
  }
  void Build(const Mesh& mesh) {
    if (scene) rtcReleaseScene(scene);
    scene = rtcNewScene(device);
    RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    const size_t vertices = mesh.vertices.size() / 3;
    auto* v = static_cast<float*>(
        rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 3 * sizeof(float), vertices));
    std::copy(mesh.vertices.begin(), mesh.vertices.end(), v);
    auto* i = static_cast<unsigned*>(rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                                            3 * sizeof(unsigned), mesh.Triangles()));
    std::copy(mesh.indices.begin(), mesh.indices.end(), i);
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(scene, geometry);
    rtcReleaseGeometry(geometry);
    rtcCommitScene(scene);
  }
  bool Nearest(const TriangleMeshIntersector::Ray& ray, float& t) const {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit hit{};
    hit.ray.org_x = float(ray.origin.x), hit.ray.org_y = float(ray.origin.y), hit.ray.org_z = float(ray.origin.z);
    hit.ray.dir_x = float(ray.direction.x), hit.ray.dir_y = float(ray.direction.y), hit.ray.dir_z = float(ray.direction.z);
    hit.ray.tnear = 0.0f;
    hit.ray.tfar = std::numeric_limits<float>::infinity();
    hit.ray.mask = ~0u;
    hit.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(scene, &context, &hit);
    t = hit.ray.tfar;
    return hit.hit.geomID != RTC_INVALID_GEOMETRY_ID;
  }
};

double Seconds(const std::function<void()>& body) {
  const auto start = std::chrono::steady_clock::now();
  body();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
  // "--build-only BANDS ROUNDS": only builds the helper's structure, for profiling the build.
  if (argc == 4 && std::string(argv[1]) == "--build-only") {
    const Mesh mesh = BumpySphere(std::atoi(argv[2]));
    std::vector<double> times;
    for (int round = 0; round < std::atoi(argv[3]); ++round) {
      TriangleMeshIntersector helper;
      times.push_back(Seconds([&] {
        helper.SetMesh(mesh.vertices.data(), mesh.vertices.size() / 3, mesh.indices.data(), mesh.Triangles());
      }));
    }
    std::sort(times.begin(), times.end());
    std::printf("%zu triangles: build median %.1f ms, best %.1f ms\n", mesh.Triangles(), 1e3 * times[times.size() / 2],
                1e3 * times.front());
    return 0;
  }
  constexpr size_t kRays = 2000, kBruteRays = 4;
  const std::vector<TriangleMeshIntersector::Ray> rays = Rays(kRays);
  std::printf("One pick (nearest hit of one ray), per ray; build once per mesh. Embree runs on one thread.\n");
  for (const int bands : {158, 500, 1000}) {
    const Mesh mesh = BumpySphere(bands);
    TriangleMeshIntersector helper;
    Embree embree;
    // Builds: the median of three.
    std::vector<double> ours, theirs;
    for (int round = 0; round < 3; ++round) {
      ours.push_back(Seconds([&] {
        helper.SetMesh(mesh.vertices.data(), mesh.vertices.size() / 3, mesh.indices.data(), mesh.Triangles());
      }));
      theirs.push_back(Seconds([&] { embree.Build(mesh); }));
    }
    std::sort(ours.begin(), ours.end());
    std::sort(theirs.begin(), theirs.end());

    size_t hits = 0, disagreements = 0;
    for (const auto& ray : rays) {
      TriangleMeshIntersector::Hit hit;
      float t = 0;
      const bool a = helper.Nearest(ray, hit), b = embree.Nearest(ray, t);
      hits += a ? 1 : 0;
      if (a != b || (a && std::abs(hit.t - t) > 1e-4 * std::max(1.0, hit.t))) ++disagreements;
    }
    double sink = 0;
    std::vector<ostrum_bench::TimedCase> cases{
        {"helper", [&] {
           TriangleMeshIntersector::Hit hit;
           for (const auto& ray : rays)
             if (helper.Nearest(ray, hit)) sink += hit.t;
         }},
        {"embree", [&] {
           float t = 0;
           for (const auto& ray : rays)
             if (embree.Nearest(ray, t)) sink += t;
         }},
        {"brute force", [&] {
           double t = 0;
           for (size_t i = 0; i < kBruteRays; ++i)
             if (BruteForce(mesh, rays[i], t)) sink += t;
         }}};
    ostrum_bench::RunInterleaved(cases, bands >= 1000 ? 5 : 9);
    const double helper_ray = cases[0].median_seconds / kRays, embree_ray = cases[1].median_seconds / kRays,
                 brute_ray = cases[2].median_seconds / kBruteRays;
    const TriangleMeshIntersector::Stats stats = helper.GetStats();
    std::printf("\n%zu triangles (%zu hits of %zu rays; %zu disagree with Embree beyond float precision)\n",
                mesh.Triangles(), hits, kRays, disagreements);
    std::printf("  build: helper %8.1f ms   embree %8.1f ms   (helper/embree %.2f; aim at 1M <= 150 ms)\n",
                1e3 * ours[1], 1e3 * theirs[1], ours[1] / theirs[1]);
    std::printf("  structure: %zu nodes, %zu leaves, depth %zu\n", stats.nodes, stats.leaves, stats.depth);
    std::printf("  per ray: helper %8.2f us   embree %8.2f us   brute force %10.1f us\n", 1e6 * helper_ray,
                1e6 * embree_ray, 1e6 * brute_ray);
    std::printf("  ratios: brute force / helper %10.0fx (aim >= 1000x)   helper / embree %6.2fx (aim <= 10x)\n",
                brute_ray / helper_ray, helper_ray / embree_ray);
    if (sink == 42.0) std::printf(" ");
  }
  return 0;
}
