#include "ostrum/picking/TriangleMeshIntersector.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <thread>
#include <utility>

namespace Ostrum {

// A node's box in float, widened outwards; `count` 0 marks an inner node whose children are
// nodes `first` and `first` + 1, otherwise the node is a leaf of `count` triangles from `first`.
struct TriangleMeshIntersector::Node {
  float lo[3];
  uint32_t first;
  float hi[3];
  uint32_t count;
};
static_assert(sizeof(float) * 6 + sizeof(uint32_t) * 2 == 32);

// A triangle as the test needs it: one corner and the two edges from it, in double.
struct TriangleMeshIntersector::Triangle {
  double v0[3];
  double e1[3];
  double e2[3];
  uint32_t id;
};

namespace {

constexpr int kBins = 16;
constexpr uint32_t kMaxLeaf = 8;
constexpr size_t kMaxDepth = 64;
// From this many triangles on, the build uses a second thread.
constexpr uint32_t kParallelBuild = 50000;

// A box of four lanes, x, y, z and a fourth the build uses to carry a primitive's index: four
// lanes let the compiler grow a box with two vector instructions.
struct alignas(16) Box {
  float lo[4] = {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity(),
                 std::numeric_limits<float>::infinity(), 0.0f};
  float hi[4] = {-std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                 -std::numeric_limits<float>::infinity(), 0.0f};

  void Grow(const Box& o) {
    for (int a = 0; a < 4; ++a) lo[a] = o.lo[a] < lo[a] ? o.lo[a] : lo[a];
    for (int a = 0; a < 4; ++a) hi[a] = o.hi[a] > hi[a] ? o.hi[a] : hi[a];
  }
  bool Empty() const { return lo[0] > hi[0]; }
  float HalfArea() const {
    if (Empty()) return 0.0f;
    const float dx = hi[0] - lo[0], dy = hi[1] - lo[1], dz = hi[2] - lo[2];
    return dx * dy + dy * dz + dz * dx;
  }
};

// A float below (or above) the double, widened by a relative margin so that a box built from
// the floats holds every point the double test can compute on the triangle; values past the
// range of float become infinite.
float Below(double value) {
  constexpr double kMax = std::numeric_limits<float>::max();
  const double widened = value - (std::abs(value) * 1e-6 + 1e-30);
  if (widened <= -kMax) return -std::numeric_limits<float>::infinity();
  if (widened >= kMax) return std::numeric_limits<float>::max();
  return std::nextafter(static_cast<float>(widened), -std::numeric_limits<float>::infinity());
}
float Above(double value) {
  constexpr double kMax = std::numeric_limits<float>::max();
  const double widened = value + (std::abs(value) * 1e-6 + 1e-30);
  if (widened >= kMax) return std::numeric_limits<float>::infinity();
  if (widened <= -kMax) return -std::numeric_limits<float>::max();
  return std::nextafter(static_cast<float>(widened), std::numeric_limits<float>::infinity());
}

// What the build keeps of each triangle: its box, with its place in the list of triangles in
// the box's fourth lane. The build moves these, not indices to them, so that it reads memory in
// order; the centre of a box (lo + hi) / 2 decides its bin.
struct Primitive {
  Box box;
  uint32_t Index() const {
    uint32_t index;
    std::memcpy(&index, &box.lo[3], sizeof index);
    return index;
  }
  void SetIndex(uint32_t index) {
    std::memcpy(&box.lo[3], &index, sizeof index);
    box.hi[3] = box.lo[3];
  }
  float Centre(int axis) const { return 0.5f * (box.lo[axis] + box.hi[axis]); }
  Box CentreBox() const {
    Box c;
    for (int a = 0; a < 3; ++a) c.lo[a] = c.hi[a] = Centre(a);
    return c;
  }
};
static_assert(sizeof(Primitive) == 32);

struct Bin {
  Box box;
  uint32_t count = 0;
};

// The ray prepared for box tests: per axis the inverse direction, or for an axis the ray runs
// parallel to, the origin that must lie inside the slab.
struct PreparedRay {
  double o[3];
  double d[3];
  double inv[3];
  bool parallel[3];
};

// Enters the box: the interval of t inside it, clipped to [t0, t1]; false if empty.
inline bool EnterBox(const PreparedRay& r, const float* lo, const float* hi, double t0, double t1, double& enter) {
  for (int a = 0; a < 3; ++a) {
    if (r.parallel[a]) {
      if (r.o[a] < lo[a] || r.o[a] > hi[a]) return false;
      continue;
    }
    double near_t = (static_cast<double>(lo[a]) - r.o[a]) * r.inv[a];
    double far_t = (static_cast<double>(hi[a]) - r.o[a]) * r.inv[a];
    if (near_t > far_t) std::swap(near_t, far_t);
    t0 = std::max(t0, near_t);
    t1 = std::min(t1, far_t);
    if (t0 > t1) return false;
  }
  enter = t0;
  return true;
}

// The Moller-Trumbore test in double; true with t, u, v for a hit with t in [t_min, t_max].
inline bool HitTriangle(const PreparedRay& r, const double* v0, const double* e1, const double* e2, double t_min,
                        double t_max, double& t, double& u, double& v) {
  const double p[3] = {r.d[1] * e2[2] - r.d[2] * e2[1], r.d[2] * e2[0] - r.d[0] * e2[2],
                       r.d[0] * e2[1] - r.d[1] * e2[0]};
  const double det = e1[0] * p[0] + e1[1] * p[1] + e1[2] * p[2];
  // Parallel to the plane, or products past the range of double: no hit to trust.
  if (!(std::abs(det) > 0.0 && std::abs(det) < std::numeric_limits<double>::infinity())) return false;
  const double inv_det = 1.0 / det;
  const double s[3] = {r.o[0] - v0[0], r.o[1] - v0[1], r.o[2] - v0[2]};
  u = (s[0] * p[0] + s[1] * p[1] + s[2] * p[2]) * inv_det;
  if (!(u >= 0.0 && u <= 1.0)) return false;  // also NaN, from products past the range of double
  const double q[3] = {s[1] * e1[2] - s[2] * e1[1], s[2] * e1[0] - s[0] * e1[2], s[0] * e1[1] - s[1] * e1[0]};
  v = (r.d[0] * q[0] + r.d[1] * q[1] + r.d[2] * q[2]) * inv_det;
  if (!(v >= 0.0 && u + v <= 1.0)) return false;
  t = (e2[0] * q[0] + e2[1] * q[1] + e2[2] * q[2]) * inv_det;
  return t >= t_min && t <= t_max;
}

bool Prepare(const TriangleMeshIntersector::Ray& ray, PreparedRay& r) {
  for (int a = 0; a < 3; ++a) {
    r.o[a] = ray.origin[a];
    r.d[a] = ray.direction[a];
    if (!std::isfinite(r.o[a]) || !std::isfinite(r.d[a])) return false;
    r.parallel[a] = r.d[a] == 0.0;
    r.inv[a] = r.parallel[a] ? 0.0 : 1.0 / r.d[a];
  }
  if (r.parallel[0] && r.parallel[1] && r.parallel[2]) return false;
  return !std::isnan(ray.t_min) && !std::isnan(ray.t_max) && ray.t_min <= ray.t_max;
}

}  // namespace

TriangleMeshIntersector::TriangleMeshIntersector() = default;
TriangleMeshIntersector::~TriangleMeshIntersector() = default;
TriangleMeshIntersector::TriangleMeshIntersector(TriangleMeshIntersector&&) noexcept = default;
TriangleMeshIntersector& TriangleMeshIntersector::operator=(TriangleMeshIntersector&&) noexcept = default;

void TriangleMeshIntersector::Clear() {
  m_nodes.clear();
  m_nodes.shrink_to_fit();
  m_triangles.clear();
  m_triangles.shrink_to_fit();
  m_depth = 0;
}

void TriangleMeshIntersector::SetMesh(const double* vertices, size_t vertex_count, const uint32_t* indices,
                                      size_t triangle_count) {
  _SetMesh(vertices, vertex_count, indices, triangle_count);
}

void TriangleMeshIntersector::SetMesh(const float* vertices, size_t vertex_count, const uint32_t* indices,
                                      size_t triangle_count) {
  _SetMesh(vertices, vertex_count, indices, triangle_count);
}

template <class T>
void TriangleMeshIntersector::_SetMesh(const T* vertices, size_t vertex_count, const uint32_t* indices,
                                       size_t triangle_count) {
  Clear();
  if (!vertices || !indices || vertex_count == 0 || triangle_count == 0) return;
  if (triangle_count > std::numeric_limits<uint32_t>::max()) triangle_count = std::numeric_limits<uint32_t>::max();

  // The triangles that can be hit, with their boxes.
  std::vector<Triangle> triangles;
  std::vector<Primitive> primitives;
  triangles.reserve(triangle_count);
  primitives.reserve(triangle_count);
  for (size_t i = 0; i < triangle_count; ++i) {
    const uint32_t* corner = indices + 3 * i;
    if (corner[0] >= vertex_count || corner[1] >= vertex_count || corner[2] >= vertex_count) continue;
    double c[3][3];
    bool finite = true;
    for (int k = 0; k < 3; ++k)
      for (int a = 0; a < 3; ++a) {
        c[k][a] = static_cast<double>(vertices[3 * static_cast<size_t>(corner[k]) + a]);
        finite = finite && std::isfinite(c[k][a]);
      }
    if (!finite) continue;
    Triangle tri;
    for (int a = 0; a < 3; ++a) {
      tri.v0[a] = c[0][a];
      tri.e1[a] = c[1][a] - c[0][a];
      tri.e2[a] = c[2][a] - c[0][a];
    }
    const double n[3] = {tri.e1[1] * tri.e2[2] - tri.e1[2] * tri.e2[1], tri.e1[2] * tri.e2[0] - tri.e1[0] * tri.e2[2],
                         tri.e1[0] * tri.e2[1] - tri.e1[1] * tri.e2[0]};
    if (n[0] == 0.0 && n[1] == 0.0 && n[2] == 0.0) continue;  // no area: never hit
    tri.id = static_cast<uint32_t>(i);
    Primitive prim;
    for (int a = 0; a < 3; ++a) {
      prim.box.lo[a] = Below(std::min({c[0][a], c[1][a], c[2][a]}));
      prim.box.hi[a] = Above(std::max({c[0][a], c[1][a], c[2][a]}));
    }
    prim.SetIndex(static_cast<uint32_t>(triangles.size()));
    triangles.push_back(tri);
    primitives.push_back(prim);
  }
  if (triangles.empty()) return;

  const uint32_t count = static_cast<uint32_t>(triangles.size());
  m_nodes.reserve(count);
  m_nodes.push_back(Node{});

  // Each task is a node with the range of primitives below it, its box and the box of their
  // centres; the parent's bins give the first and its partition the second, so each node reads
  // its primitives twice: once to bin them, once to partition them.
  struct Task {
    uint32_t node, begin, end;
    size_t depth;
    Box box, centres;
  };
  Task root{0, 0, count, 1, Box{}, Box{}};
  for (const Primitive& prim : primitives) {
    root.box.Grow(prim.box);
    root.centres.Grow(prim.CentreBox());
  }
  // Builds the tasks' subtrees into `nodes` (whose node 0 is the first task's); with
  // `split_once`, stops after the first split and leaves the two children in `tasks`.
  const auto build = [&](std::vector<Task>& tasks, std::vector<Node>& nodes, size_t& depth, bool split_once) {
  while (!tasks.empty()) {
    const Task task = tasks.back();
    tasks.pop_back();
    depth = std::max(depth, task.depth);
    Node& node = nodes[task.node];
    std::copy(task.box.lo, task.box.lo + 3, node.lo);
    std::copy(task.box.hi, task.box.hi + 3, node.hi);
    const uint32_t n = task.end - task.begin;
    const auto make_leaf = [&] {
      Node& leaf = nodes[task.node];
      leaf.first = task.begin;
      leaf.count = n;
    };
    if (n <= 3 || task.depth >= kMaxDepth) {
      make_leaf();
      continue;
    }

    // Bin the centres along the axis where they spread most and sweep for the cheapest split.
    int axis = 0;
    for (int a = 1; a < 3; ++a)
      if (task.centres.hi[a] - task.centres.lo[a] > task.centres.hi[axis] - task.centres.lo[axis]) axis = a;
    const float origin = task.centres.lo[axis];
    const float extent = task.centres.hi[axis] - origin;
    const float scale = extent > 0.0f ? static_cast<float>(kBins) / extent * 0.99999f : 0.0f;
    const auto bin_of = [&](const Primitive& prim) {
      return std::min(kBins - 1, static_cast<int>((prim.Centre(axis) - origin) * scale));
    };
    int best_split = 0;
    float best_cost = std::numeric_limits<float>::infinity();
    Box best_left, best_right, best_left_centres, best_right_centres;
    if (scale > 0.0f) {
      std::array<Bin, kBins> bins{};
      for (uint32_t i = task.begin; i < task.end; ++i) {
        const Primitive& prim = primitives[i];
        Bin& bin = bins[static_cast<size_t>(bin_of(prim))];
        bin.box.Grow(prim.box);
        ++bin.count;
      }
      std::array<Box, kBins> right_box;
      std::array<uint32_t, kBins> right_count{};
      Box box;
      uint32_t running = 0;
      for (int b = kBins - 1; b > 0; --b) {
        box.Grow(bins[b].box);
        running += bins[b].count;
        right_box[b] = box;
        right_count[b] = running;
      }
      box = Box{};
      running = 0;
      for (int b = 0; b < kBins - 1; ++b) {
        box.Grow(bins[b].box);
        running += bins[b].count;
        if (running == 0 || running == n) continue;
        const float cost = box.HalfArea() * static_cast<float>(running) +
                           right_box[b + 1].HalfArea() * static_cast<float>(right_count[b + 1]);
        if (cost < best_cost) {
          best_cost = cost;
          best_split = b + 1;
          best_left = box;
          best_right = right_box[b + 1];
        }
      }
    }
    // A split pays for itself against one more box test per triangle; small nodes may stay.
    if (n <= kMaxLeaf && (best_split == 0 || best_cost >= task.box.HalfArea() * static_cast<float>(n))) {
      make_leaf();
      continue;
    }
    uint32_t middle;
    if (best_split == 0) {
      // Every centre in one place: halve the range (the halves keep the node's boxes).
      middle = task.begin + n / 2;
      best_left = best_right = task.box;
      best_left_centres = best_right_centres = task.centres;
    } else {
      // Partition, and gather the boxes of the two sides' centres on the way.
      // The two boxes live in locals so that they stay in registers.
      Primitive* p = primitives.data();
      uint32_t i = task.begin, j = task.end;
      float left_lo[3], left_hi[3], right_lo[3], right_hi[3];
      for (int a = 0; a < 3; ++a) {
        left_lo[a] = right_lo[a] = std::numeric_limits<float>::infinity();
        left_hi[a] = right_hi[a] = -std::numeric_limits<float>::infinity();
      }
      const auto grow = [](float* lo, float* hi, const Primitive& prim) {
        for (int a = 0; a < 3; ++a) {
          const float c = prim.Centre(a);
          lo[a] = c < lo[a] ? c : lo[a];
          hi[a] = c > hi[a] ? c : hi[a];
        }
      };
      for (;;) {
        while (i < j && bin_of(p[i]) < best_split) grow(left_lo, left_hi, p[i++]);
        while (i < j && bin_of(p[j - 1]) >= best_split) grow(right_lo, right_hi, p[--j]);
        if (i >= j) break;
        std::swap(p[i], p[j - 1]);
      }
      middle = i;
      std::copy(left_lo, left_lo + 3, best_left_centres.lo);
      std::copy(left_hi, left_hi + 3, best_left_centres.hi);
      std::copy(right_lo, right_lo + 3, best_right_centres.lo);
      std::copy(right_hi, right_hi + 3, best_right_centres.hi);
    }
    const uint32_t left_index = static_cast<uint32_t>(nodes.size());
    nodes[task.node].first = left_index;
    nodes[task.node].count = 0;
    nodes.push_back(Node{});
    nodes.push_back(Node{});
    tasks.push_back({left_index + 1, middle, task.end, task.depth + 1, best_right, best_right_centres});
    tasks.push_back({left_index, task.begin, middle, task.depth + 1, best_left, best_left_centres});
    if (split_once) return;
  }
  };

  std::vector<Task> tasks{root};
  build(tasks, m_nodes, m_depth, count >= kParallelBuild);
  if (!tasks.empty() && count >= kParallelBuild) {
    // The two halves of a large mesh are built side by side; the right one into nodes of its
    // own, appended afterwards with their child indices moved.
    std::vector<Task> right_tasks{tasks.front()};  // the right child was pushed first
    tasks.erase(tasks.begin());
    const uint32_t right_root = right_tasks.front().node;
    right_tasks.front().node = 0;
    std::vector<Node> right_nodes(1);
    right_nodes.reserve(count / 2);
    size_t right_depth = 0;
    std::thread right([&] { build(right_tasks, right_nodes, right_depth, false); });
    build(tasks, m_nodes, m_depth, false);
    right.join();
    m_depth = std::max(m_depth, right_depth);
    const uint32_t base = static_cast<uint32_t>(m_nodes.size()) - 1;  // local index k >= 1 goes to base + k
    for (Node& node : right_nodes)
      if (node.count == 0) node.first += base;
    m_nodes[right_root] = right_nodes.front();
    m_nodes.insert(m_nodes.end(), right_nodes.begin() + 1, right_nodes.end());
  }

  m_triangles.resize(count);
  for (uint32_t i = 0; i < count; ++i) m_triangles[i] = triangles[primitives[i].Index()];
  m_nodes.shrink_to_fit();
}

bool TriangleMeshIntersector::Nearest(const Ray& ray, Hit& hit) const {
  PreparedRay r;
  if (m_nodes.empty() || !Prepare(ray, r)) return false;
  double best_t = ray.t_max;
  uint32_t best_id = std::numeric_limits<uint32_t>::max();
  const Triangle* best = nullptr;
  double best_u = 0.0, best_v = 0.0;

  uint32_t stack[kMaxDepth * 2 + 2];
  size_t top = 0;
  double enter = 0.0;
  if (!EnterBox(r, m_nodes[0].lo, m_nodes[0].hi, ray.t_min, best_t, enter)) return false;
  stack[top++] = 0;
  while (top > 0) {
    const Node& node = m_nodes[stack[--top]];
    if (node.count > 0) {
      for (uint32_t i = node.first; i < node.first + node.count; ++i) {
        const Triangle& tri = m_triangles[i];
        double t, u, v;
        if (!HitTriangle(r, tri.v0, tri.e1, tri.e2, ray.t_min, best_t, t, u, v)) continue;
        if (best && t == best_t && tri.id > best_id) continue;  // equal t: the lower index stays
        best_t = t;
        best_id = tri.id;
        best = &tri;
        best_u = u;
        best_v = v;
      }
      continue;
    }
    // Visit the nearer child first; a child entered beyond the best hit is skipped.
    const Node& left = m_nodes[node.first];
    const Node& right = m_nodes[node.first + 1];
    double enter_left = 0.0, enter_right = 0.0;
    const bool hit_left = EnterBox(r, left.lo, left.hi, ray.t_min, best_t, enter_left);
    const bool hit_right = EnterBox(r, right.lo, right.hi, ray.t_min, best_t, enter_right);
    if (hit_left && hit_right) {
      if (enter_left <= enter_right) {
        stack[top++] = node.first + 1;
        stack[top++] = node.first;
      } else {
        stack[top++] = node.first;
        stack[top++] = node.first + 1;
      }
    } else if (hit_left) {
      stack[top++] = node.first;
    } else if (hit_right) {
      stack[top++] = node.first + 1;
    }
  }
  if (!best) return false;
  hit.t = best_t;
  hit.triangle = best_id;
  hit.u = best_u;
  hit.v = best_v;
  hit.point = MMPoint3d<double>(r.o[0] + best_t * r.d[0], r.o[1] + best_t * r.d[1], r.o[2] + best_t * r.d[2]);
  return true;
}

size_t TriangleMeshIntersector::All(const Ray& ray, std::vector<Hit>& hits) const {
  PreparedRay r;
  if (m_nodes.empty() || !Prepare(ray, r)) return 0;
  const size_t first_new = hits.size();
  uint32_t stack[kMaxDepth * 2 + 2];
  size_t top = 0;
  stack[top++] = 0;
  while (top > 0) {
    const Node& node = m_nodes[stack[--top]];
    double enter = 0.0;
    if (!EnterBox(r, node.lo, node.hi, ray.t_min, ray.t_max, enter)) continue;
    if (node.count == 0) {
      stack[top++] = node.first + 1;
      stack[top++] = node.first;
      continue;
    }
    for (uint32_t i = node.first; i < node.first + node.count; ++i) {
      const Triangle& tri = m_triangles[i];
      Hit h;
      if (!HitTriangle(r, tri.v0, tri.e1, tri.e2, ray.t_min, ray.t_max, h.t, h.u, h.v)) continue;
      h.triangle = tri.id;
      h.point = MMPoint3d<double>(r.o[0] + h.t * r.d[0], r.o[1] + h.t * r.d[1], r.o[2] + h.t * r.d[2]);
      hits.push_back(h);
    }
  }
  std::sort(hits.begin() + static_cast<std::ptrdiff_t>(first_new), hits.end(), [](const Hit& a, const Hit& b) {
    return a.t != b.t ? a.t < b.t : a.triangle < b.triangle;
  });
  return hits.size() - first_new;
}

TriangleMeshIntersector::Stats TriangleMeshIntersector::GetStats() const {
  Stats stats;
  stats.triangles = m_triangles.size();
  stats.nodes = m_nodes.size();
  for (const Node& node : m_nodes) stats.leaves += node.count > 0 ? 1 : 0;
  stats.depth = m_depth;
  return stats;
}

}  // namespace Ostrum
