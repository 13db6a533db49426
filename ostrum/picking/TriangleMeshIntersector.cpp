#include "ostrum/picking/TriangleMeshIntersector.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <numeric>
#include <thread>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

// A triangle in leaf order: its three vertices (in the copied vertices) and its index in the
// mesh as given. The test reads the corners in double and takes the edges from them exactly as
// a pass over the mesh would.
struct TriangleMeshIntersector::Triangle {
  uint32_t corner[3];
  uint32_t id;
};

namespace {

constexpr int kBins = 16;
constexpr uint32_t kMaxLeaf = 8;
// What visiting a node costs, in triangle tests: a split must save more than that. Measured
// against Embree per ray, 3 keeps the tree's quality and halves the nodes that 1 gave.
constexpr float kNodeCost = 3.0f;
constexpr size_t kMaxDepth = 64;
// Nodes of up to this many triangles are split exactly rather than by bins.
constexpr uint32_t kSmallNode = 16;
// From this many triangles on, the build uses the second core: the passes over all primitives
// and their sort are shared, and the subtrees below the top are shared out, largest first.
constexpr uint32_t kParallelNode = 32768;
// The top of the tree is cut over cells of the grid down to nodes of fewer triangles than this.
constexpr uint32_t kTopNode = 64;
// From this depth on, nodes are cut where the first differing bit of their codes changes, so
// that each level takes at least one bit and no chain of lopsided cuts runs past kMaxDepth.
constexpr size_t kBalancedDepth = 32;
// The coarse cells of the grid over which the top of the tree is cut: codes shifted by this,
// 32 cells a side.
constexpr int kCellShift = 15;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// What the build moves around of each triangle: its box, and in the spare lanes the triangle's
// index in the mesh. The centre doubled, lo + hi, decides its bin.
struct alignas(16) Primitive {
  float lo[3];
  uint32_t id;
  float hi[3];
  uint32_t bin;  // its Morton code; below a node whose codes are all equal, its bin there
};
static_assert(sizeof(Primitive) == 32);

// Boxes of four lanes (the fourth is never read), grown with vector instructions where there
// are any. A NaN offered to a box (the centre of a box unbounded on both sides) is ignored.
#if defined(__SSE2__)
struct Box {
  __m128 lo = _mm_set1_ps(kInfinity);
  __m128 hi = _mm_set1_ps(-kInfinity);
  void Grow(__m128 l, __m128 h) {
    lo = _mm_min_ps(l, lo);  // the second operand wins over a NaN
    hi = _mm_max_ps(h, hi);
  }
  void Grow(const Box& o) { Grow(o.lo, o.hi); }
  void Get(float* l, float* h) const {
    _mm_storeu_ps(l, lo);
    _mm_storeu_ps(h, hi);
  }
  bool Empty() const { return _mm_comilt_ss(hi, lo); }
  float HalfArea() const {
    if (Empty()) return 0.0f;
    const __m128 d = _mm_sub_ps(hi, lo);                                        // dx dy dz
    const __m128 p = _mm_mul_ps(d, _mm_shuffle_ps(d, d, _MM_SHUFFLE(3, 0, 2, 1)));  // dx*dy dy*dz dz*dx
    const __m128 sum = _mm_add_ss(_mm_add_ss(p, _mm_shuffle_ps(p, p, _MM_SHUFFLE(3, 3, 3, 1))),
                                  _mm_shuffle_ps(p, p, _MM_SHUFFLE(3, 3, 3, 2)));
    return _mm_cvtss_f32(sum);
  }
};
inline void GrowBox(Box& box, const Primitive& p) { box.Grow(_mm_load_ps(p.lo), _mm_load_ps(p.hi)); }
inline void GrowCentre(Box& box, const Primitive& p) {
  const __m128 c = _mm_add_ps(_mm_load_ps(p.lo), _mm_load_ps(p.hi));
  box.Grow(c, c);
}
// Writes a new primitive with the box lo, hi and grows `box` by it and `centres` by its centre
// if that is finite. The box goes from registers to both (not back from memory, where it was
// just written in parts).
inline void StorePrimitive(Primitive& p, const float* l, const float* h, uint32_t id, Box& box, Box& centres) {
  const __m128 lo = _mm_setr_ps(l[0], l[1], l[2], 0.0f), hi = _mm_setr_ps(h[0], h[1], h[2], 0.0f);
  _mm_store_ps(p.lo, lo);
  _mm_store_ps(p.hi, hi);
  p.id = id;
  p.bin = 0;
  box.Grow(lo, hi);
  const __m128 c = _mm_add_ps(lo, hi);
  if ((_mm_movemask_ps(_mm_cmpeq_ps(_mm_sub_ps(c, c), _mm_setzero_ps())) & 7) == 7) centres.Grow(c, c);
}
#else
struct Box {
  float lo[4] = {kInfinity, kInfinity, kInfinity, kInfinity};
  float hi[4] = {-kInfinity, -kInfinity, -kInfinity, -kInfinity};
  void Grow(const float* l, const float* h) {
    for (int a = 0; a < 3; ++a) {
      lo[a] = l[a] < lo[a] ? l[a] : lo[a];
      hi[a] = h[a] > hi[a] ? h[a] : hi[a];
    }
  }
  void Grow(const Box& o) { Grow(o.lo, o.hi); }
  void Get(float* l, float* h) const {
    std::copy(lo, lo + 4, l);
    std::copy(hi, hi + 4, h);
  }
  bool Empty() const { return hi[0] < lo[0]; }
  float HalfArea() const {
    if (Empty()) return 0.0f;
    const float dx = hi[0] - lo[0], dy = hi[1] - lo[1], dz = hi[2] - lo[2];
    return dx * dy + dy * dz + dz * dx;
  }
};
inline void GrowBox(Box& box, const Primitive& p) { box.Grow(p.lo, p.hi); }
inline void GrowCentre(Box& box, const Primitive& p) {
  const float c[3] = {p.lo[0] + p.hi[0], p.lo[1] + p.hi[1], p.lo[2] + p.hi[2]};
  box.Grow(c, c);
}
inline void StorePrimitive(Primitive& p, const float* l, const float* h, uint32_t id, Box& box, Box& centres) {
  std::copy(l, l + 3, p.lo);
  std::copy(h, h + 3, p.hi);
  p.id = id;
  p.bin = 0;
  box.Grow(l, h);
  const float c[3] = {l[0] + h[0], l[1] + h[1], l[2] + h[2]};
  if (c[0] - c[0] == 0.0f && c[1] - c[1] == 0.0f && c[2] - c[2] == 0.0f) centres.Grow(c, c);
}
#endif

// Where a primitive's (doubled) centre lies on a grid of 1024 cubic cells a side over the box of
// the finite centres: its 30-bit Morton code (x, y, z bits interleaved, x highest). Centres
// outside the grid (infinite ones) go to the nearest cell, NaN coordinates to the first.
struct MortonGrid {
  float origin[3] = {0.0f, 0.0f, 0.0f};
  float scale = 0.0f;  // 0 when the finite centres are one point or there are none: every code 0

  explicit MortonGrid(const Box& finite_centres) {
    float lo[4], hi[4];
    finite_centres.Get(lo, hi);
    double extent = 0.0;
    for (int a = 0; a < 3; ++a) {
      origin[a] = lo[a];
      extent = std::max(extent, static_cast<double>(hi[a]) - static_cast<double>(lo[a]));  // 0 if empty
    }
    if (extent > 0.0) scale = static_cast<float>(std::min(1024.0 / extent, double{std::numeric_limits<float>::max()}));
  }
  // Ten bits spread to every third place.
  static uint32_t Spread(uint32_t v) {
    v = (v * 0x00010001u) & 0xFF0000FFu;
    v = (v * 0x00000101u) & 0x0F00F00Fu;
    v = (v * 0x00000011u) & 0xC30C30C3u;
    return (v * 0x00000005u) & 0x49249249u;
  }
  uint32_t operator()(const Primitive& p) const {
    uint32_t code = 0;
    for (int a = 0; a < 3; ++a) {
      const float f = (p.lo[a] + p.hi[a] - origin[a]) * scale;
      const uint32_t cell = f > 0.0f ? static_cast<uint32_t>(std::min(f, 1023.0f)) : 0u;
      code |= Spread(cell) << (2 - a);
    }
    return code;
  }
};

// The bins of one node: the boxes of their primitives and of their primitives' (doubled)
// centres, so that the split gives both children both boxes without another pass.
struct Bins {
  std::array<Box, kBins> box;
  std::array<Box, kBins> centres;
  std::array<uint32_t, kBins> count{};

  void Merge(const Bins& o) {
    for (int b = 0; b < kBins; ++b) {
      box[b].Grow(o.box[b]);
      centres[b].Grow(o.centres[b]);
      count[b] += o.count[b];
    }
  }
};

// Where a primitive's centre falls along the node's split axis.
struct Binner {
  int axis = 0;
  float origin = 0.0f;
  float scale = 0.0f;
  int operator()(const Primitive& p) const {
    const float f = (p.lo[axis] + p.hi[axis] - origin) * scale;
    // A NaN centre (a box unbounded on both sides of the axis) goes to the first bin.
    return f > 0.0f ? static_cast<int>(std::min(f, static_cast<float>(kBins - 1))) : 0;
  }
};

// Bins primitives [begin, end) and notes each one's bin in it. Two sets of bins take the
// primitives in turn, so that neighbours falling into one bin (the usual case in a mesh) do not
// wait for each other.
void BinRange(Primitive* p, uint32_t begin, uint32_t end, const Binner& bin_of, Bins& out) {
  uint32_t i = begin;
  if (end - begin >= 256) {
   Bins second;
   for (; i + 1 < end; i += 2) {
    const int a = bin_of(p[i]), b = bin_of(p[i + 1]);
    p[i].bin = static_cast<uint32_t>(a);
    p[i + 1].bin = static_cast<uint32_t>(b);
    GrowBox(out.box[a], p[i]);
    GrowCentre(out.centres[a], p[i]);
    ++out.count[a];
    GrowBox(second.box[b], p[i + 1]);
    GrowCentre(second.centres[b], p[i + 1]);
    ++second.count[b];
   }
   out.Merge(second);
  }
  for (; i < end; ++i) {
    const int a = bin_of(p[i]);
    p[i].bin = static_cast<uint32_t>(a);
    GrowBox(out.box[a], p[i]);
    GrowCentre(out.centres[a], p[i]);
    ++out.count[a];
  }
}

// Moves the primitives of [begin, end) whose bin (as BinRange noted it) is below `split` to the
// front, without a branch on the side (the sides of a mesh's neighbours alternate too often to
// predict); answers where the back part starts.
uint32_t PartitionRange(Primitive* p, uint32_t begin, uint32_t end, uint32_t split) {
  uint32_t j = begin;
  for (uint32_t i = begin; i < end; ++i) {
    const Primitive here = p[i];
    const bool left = here.bin < split;
    p[i] = p[j];
    p[j] = here;
    j += left ? 1 : 0;
  }
  return j;
}

// Runs body(0) on a second thread and body(1) on this one, and waits for both.
template <class Body>
void OnBothCores(const Body& body) {
  std::thread other([&] { body(0); });
  body(1);
  other.join();
}

// Runs body(0) and body(1) on two threads when `both`, otherwise body(0) alone.
template <class Body>
void ForParts(bool both, const Body& body) {
  if (both)
    OnBothCores(body);
  else
    body(0);
}

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

// The Moller-Trumbore test in double on the corners c0, c1, c2; true with t, u, v for a hit
// with t in [t_min, t_max].
inline bool HitTriangle(const PreparedRay& r, const double* c0, const double* c1, const double* c2, double t_min,
                        double t_max, double& t, double& u, double& v) {
  const double e1[3] = {c1[0] - c0[0], c1[1] - c0[1], c1[2] - c0[2]};
  const double e2[3] = {c2[0] - c0[0], c2[1] - c0[1], c2[2] - c0[2]};
  const double p[3] = {r.d[1] * e2[2] - r.d[2] * e2[1], r.d[2] * e2[0] - r.d[0] * e2[2],
                       r.d[0] * e2[1] - r.d[1] * e2[0]};
  const double det = e1[0] * p[0] + e1[1] * p[1] + e1[2] * p[2];
  // Parallel to the plane, or products past the range of double: no hit to trust.
  if (!(std::abs(det) > 0.0 && std::abs(det) < std::numeric_limits<double>::infinity())) return false;
  const double inv_det = 1.0 / det;
  const double s[3] = {r.o[0] - c0[0], r.o[1] - c0[1], r.o[2] - c0[2]};
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

// A node still to be built: the primitives [begin, end) below it, their box and the box of
// their (doubled) centres. Primitives come sorted by the Morton code of their centre, which
// each carries in `bin`; once a node's primitives all share one code (`one_cell`), the node and
// everything below it is split by binned centres, whose partition reuses `bin`, and `centres`
// is known (an empty box is found again from the primitives).
struct Task {
  uint32_t node, begin, end;
  size_t depth;
  Box box, centres;
  bool one_cell = false;
};

// How a node is split, as the sweep over its bins finds it.
struct Split {
  int bin = 0;  // 0: no split found (every centre in one bin)
  float cost = std::numeric_limits<float>::infinity();
  Box left, right, left_centres, right_centres;
};

// The split axis and bins of a node's centres: the axis where they spread most.
Binner BinnerOf(const Box& centres) {
  Binner bin_of;
  float lo[4], hi[4];
  centres.Get(lo, hi);
  for (int a = 1; a < 3; ++a)
    if (hi[a] - lo[a] > hi[bin_of.axis] - lo[bin_of.axis]) bin_of.axis = a;
  bin_of.origin = lo[bin_of.axis];
  const float extent = hi[bin_of.axis] - bin_of.origin;
  bin_of.scale = extent > 0.0f ? static_cast<float>(kBins) / extent * 0.99999f : 0.0f;
  return bin_of;
}

// The cheapest cut between entries [0, size) (bins, or runs of cells) by the surface area
// heuristic, from each entry's box and number of primitives, and with kCentres the box of its
// centres too: a sweep from the right, then one from the left. Bin 0 when no cut separates any
// primitives.
template <bool kCentres>
Split SweepCuts(const Box* boxes, const Box* centres, const uint32_t* counts, uint32_t size, uint32_t n) {
  Split best;
  std::array<Box, kBins> right_box, right_centres;
  std::array<uint32_t, kBins> right_count{};
  Box box, centre_box;
  uint32_t running = 0;
  for (uint32_t r = size - 1; r > 0; --r) {
    box.Grow(boxes[r]);
    if constexpr (kCentres) centre_box.Grow(centres[r]);
    running += counts[r];
    right_box[r] = box;
    if constexpr (kCentres) right_centres[r] = centre_box;
    right_count[r] = running;
  }
  box = Box{};
  centre_box = Box{};
  running = 0;
  for (uint32_t r = 0; r + 1 < size; ++r) {
    box.Grow(boxes[r]);
    if constexpr (kCentres) centre_box.Grow(centres[r]);
    running += counts[r];
    if (running == 0 || running == n) continue;
    const float cost = box.HalfArea() * static_cast<float>(running) +
                       right_box[r + 1].HalfArea() * static_cast<float>(right_count[r + 1]);
    if (cost < best.cost) {
      best.cost = cost;
      best.bin = static_cast<int>(r + 1);
      best.left = box;
      best.right = right_box[r + 1];
      if constexpr (kCentres) {
        best.left_centres = centre_box;
        best.right_centres = right_centres[r + 1];
      }
    }
  }
  return best;
}

// Sweeps the bins for the cheapest split by the surface area heuristic.
Split Sweep(const Bins& bins, uint32_t n) {
  return SweepCuts<true>(bins.box.data(), bins.centres.data(), bins.count.data(), kBins, n);
}

// The runs of a node's cells or primitives: their boxes and numbers of primitives.
struct Runs {
  std::array<Box, kBins> box;
  std::array<uint32_t, kBins> count{};
};

// The cut between runs of a node's cells or primitives (in the order of their codes): the
// cheapest by the surface area heuristic, or where the first differing bit changes when
// `halve` (deep in the tree) or when no cost could be compared (boxes past the range of float).
Split CutRuns(const Runs& bins, uint32_t runs, uint32_t n, bool halve) {
  Split split;
  if (!halve) split = SweepCuts<false>(bins.box.data(), nullptr, bins.count.data(), runs, n);
  if (split.bin == 0) {
    split.bin = static_cast<int>(runs / 2);
    for (uint32_t r = 0; r < runs; ++r) (r < runs / 2 ? split.left : split.right).Grow(bins.box[r]);
  }
  return split;
}

// A coarse cell of the grid: its code (the primitives' codes shifted by kCellShift), the run
// [begin, end) of the sorted primitives in it and their box.
struct Cell {
  uint32_t code, begin, end;
  Box box;
};

// The cells of the sorted primitives [begin, end), in order.
void AppendCells(const Primitive* p, uint32_t begin, uint32_t end, std::vector<Cell>& cells) {
  for (uint32_t i = begin; i < end;) {
    const uint32_t code = p[i].bin >> kCellShift;
    const uint64_t below = uint64_t{code + 1} << kCellShift;
    Box a, b;
    uint32_t j = i;
    for (; j + 1 < end && p[j + 1].bin < below; j += 2) {
      GrowBox(a, p[j]);
      GrowBox(b, p[j + 1]);
    }
    if (j < end && p[j].bin < below) GrowBox(a, p[j++]);
    a.Grow(b);
    cells.push_back({code, i, j, a});
    i = j;
  }
}

// The cells of all `count` sorted primitives; with `both`, each thread finds those of one half
// and a cell cut by the middle is joined again.
std::vector<Cell> CellsOf(const Primitive* p, uint32_t count, bool both) {
  std::vector<Cell> halves[2];
  const uint32_t middle = both ? count / 2 : count;
  ForParts(both, [&](int k) { AppendCells(p, k == 0 ? 0 : middle, k == 0 ? middle : count, halves[k]); });
  std::vector<Cell>& cells = halves[0];
  size_t from = 0;
  if (!cells.empty() && !halves[1].empty() && cells.back().code == halves[1].front().code) {
    cells.back().end = halves[1].front().end;
    cells.back().box.Grow(halves[1].front().box);
    from = 1;
  }
  cells.insert(cells.end(), halves[1].begin() + static_cast<std::ptrdiff_t>(from), halves[1].end());
  return std::move(cells);
}

// The builder: primitives in one array, in Morton order, that each split cuts in two ranges
// (only the binned split of equal codes and the exact split of sorted centres reorder a range),
// so that the triangles of each subtree, and in the end of each leaf, lie side by side. Node is
// the intersector's node type.
template <class Node>
class Builder {
 public:
  explicit Builder(Primitive* primitives) : m_p(primitives) {}

  // Builds the subtrees of `tasks` (each task's node already exists in `nodes`) into `nodes`;
  // answers the depth reached.
  size_t BuildSerial(std::vector<Task>& tasks, std::vector<Node>& nodes) const {
    size_t depth = 0;
    while (!tasks.empty()) {
      const Task task = tasks.back();
      tasks.pop_back();
      depth = std::max(depth, task.depth);
      Task children[2];
      if (!SplitTask(task, nodes, children)) continue;
      tasks.push_back(children[1]);
      tasks.push_back(children[0]);
    }
    return depth;
  }

  // Splits `task`: writes its node (a leaf, or an inner node whose two children are appended
  // to `nodes`), and answers whether there are children, with their tasks.
  bool SplitTask(const Task& task, std::vector<Node>& nodes, Task* children) const {
    Node& node = nodes[task.node];
    float lo[4], hi[4];
    task.box.Get(lo, hi);
    std::copy(lo, lo + 3, node.lo);
    std::copy(hi, hi + 3, node.hi);
    const uint32_t n = task.end - task.begin;
    if (n <= 3 || task.depth >= kMaxDepth) {
      node.first = task.begin;
      node.count = n;
      return false;
    }
    if (n <= kSmallNode) return SplitSmall(task, nodes, children);
    if (!task.one_cell && m_p[task.begin].bin != m_p[task.end - 1].bin)
      return SplitMorton(task, nodes, children);
    // One Morton cell: bins over the centres, as far down as the node goes.
    Box centres = task.centres;
    if (centres.Empty())
      for (uint32_t i = task.begin; i < task.end; ++i) GrowCentre(centres, m_p[i]);
    const Binner bin_of = BinnerOf(centres);
    Split split;
    if (bin_of.scale > 0.0f) {
      Bins bins;
      BinRange(m_p, task.begin, task.end, bin_of, bins);
      split = Sweep(bins, n);
    }
    // A split pays for itself against one more box test per triangle; small nodes may stay.
    if (n <= kMaxLeaf && (split.bin == 0 || split.cost + kNodeCost * task.box.HalfArea() >= task.box.HalfArea() * static_cast<float>(n))) {
      node.first = task.begin;
      node.count = n;
      return false;
    }
    uint32_t middle;
    if (split.bin == 0) {
      // Every centre in one place: halve the range (the halves keep the node's boxes).
      middle = task.begin + n / 2;
      split.left = split.right = task.box;
      split.left_centres = split.right_centres = centres;
    } else {
      middle = PartitionRange(m_p, task.begin, task.end, static_cast<uint32_t>(split.bin));
    }
    const uint32_t left_index = static_cast<uint32_t>(nodes.size());
    nodes[task.node].first = left_index;
    nodes[task.node].count = 0;
    nodes.push_back(Node{});
    nodes.push_back(Node{});
    children[0] = {left_index, task.begin, middle, task.depth + 1, split.left, split.left_centres, true};
    children[1] = {left_index + 1, middle, task.end, task.depth + 1, split.right, split.right_centres, true};
    return true;
  }

 private:
  // Splits a node whose primitives do not all share one Morton code. Below the codes' common
  // prefix, the next bits (up to four, the first of which differs) cut the node's range into up
  // to 16 runs lying side by side in the array, each a cell of the grid; the surface area
  // heuristic picks the cut between two runs, so no primitive moves.
  bool SplitMorton(const Task& task, std::vector<Node>& nodes, Task* children) const {
    const uint32_t differ = m_p[task.begin].bin ^ m_p[task.end - 1].bin;
    const int high = std::bit_width(differ) - 1;
    const int shift = std::max(high - 3, 0);
    const uint32_t runs = 2u << (high - shift);
    // Run r holds the codes below (base + r + 1) << shift; the runs' ends are found in the pass
    // that boxes them, in two chains.
    const uint32_t base = (m_p[task.begin].bin >> shift) & ~(runs - 1);
    uint32_t bound[kBins + 1];
    Runs bins;
    bound[0] = task.begin;
    for (uint32_t r = 0, i = task.begin; r < runs; ++r) {
      Box a, b;
      const uint64_t below = uint64_t{base + r + 1} << shift;
      for (; i + 1 < task.end && m_p[i + 1].bin < below; i += 2) {
        GrowBox(a, m_p[i]);
        GrowBox(b, m_p[i + 1]);
      }
      if (i < task.end && m_p[i].bin < below) GrowBox(a, m_p[i++]);
      a.Grow(b);
      bins.box[r] = a;
      bins.count[r] = i - bound[r];
      bound[r + 1] = i;
    }
    const Split split = CutRuns(bins, runs, task.end - task.begin, task.depth >= kBalancedDepth);
    const uint32_t middle = bound[split.bin];
    const uint32_t left_index = static_cast<uint32_t>(nodes.size());
    nodes[task.node].first = left_index;
    nodes[task.node].count = 0;
    nodes.push_back(Node{});
    nodes.push_back(Node{});
    children[0] = {left_index, task.begin, middle, task.depth + 1, split.left, Box{}};
    children[1] = {left_index + 1, middle, task.end, task.depth + 1, split.right, Box{}};
    return true;
  }

  // A small node is split exactly: every place between two of its primitives is tried, in the
  // order of their Morton codes where these differ, otherwise sorted by centre along the axis
  // where the centres spread most. Cheaper here than bins, which would mostly be empty.
  bool SplitSmall(const Task& task, std::vector<Node>& nodes, Task* children) const {
    Primitive* p = m_p + task.begin;
    const uint32_t n = task.end - task.begin;
    if (!task.one_cell && p[0].bin != p[n - 1].bin) return SweepSmall(task, nodes, children);
    Box centres;
    for (uint32_t i = 0; i < n; ++i) GrowCentre(centres, p[i]);
    float lo[4], hi[4];
    centres.Get(lo, hi);
    int axis = 0;
    for (int a = 1; a < 3; ++a)
      if (hi[a] - lo[a] > hi[axis] - lo[axis]) axis = a;
    // Insertion sort by centre, keeping the order of equal centres; NaN centres go first.
    float key[kSmallNode];
    for (uint32_t i = 0; i < n; ++i) {
      const Primitive here = p[i];
      float k = here.lo[axis] + here.hi[axis];
      if (k != k) k = -kInfinity;
      uint32_t j = i;
      for (; j > 0 && key[j - 1] > k; --j) {
        key[j] = key[j - 1];
        p[j] = p[j - 1];
      }
      key[j] = k;
      p[j] = here;
    }
    Box running;
    if (!(hi[axis] > lo[axis])) {
      // Every centre in one place: no place is better than another, so halve.
      Node& node = nodes[task.node];
      if (n <= kMaxLeaf) {
        node.first = task.begin;
        node.count = n;
        return false;
      }
      const uint32_t middle = n / 2;
      Box left;
      for (uint32_t i = 0; i < middle; ++i) GrowBox(left, p[i]);
      for (uint32_t i = middle; i < n; ++i) GrowBox(running, p[i]);
      const uint32_t left_index = static_cast<uint32_t>(nodes.size());
      node.first = left_index;
      node.count = 0;
      nodes.push_back(Node{});
      nodes.push_back(Node{});
      children[0] = {left_index, task.begin, task.begin + middle, task.depth + 1, left, Box{}, task.one_cell};
      children[1] = {left_index + 1, task.begin + middle, task.end, task.depth + 1, running, Box{}, task.one_cell};
      return true;
    }
    return SweepSmall(task, nodes, children);
  }

  // Splits a small node at the cheapest place between two of its primitives in their order.
  bool SweepSmall(const Task& task, std::vector<Node>& nodes, Task* children) const {
    const Primitive* p = m_p + task.begin;
    const uint32_t n = task.end - task.begin;
    Box right[kSmallNode];
    Box running;
    for (uint32_t i = n - 1; i > 0; --i) {
      GrowBox(running, p[i]);
      right[i] = running;
    }
    running = Box{};
    float best_cost = kInfinity;
    uint32_t best = 0;
    Box best_left;
    for (uint32_t i = 1; i < n; ++i) {
      GrowBox(running, p[i - 1]);
      const float cost = running.HalfArea() * static_cast<float>(i) + right[i].HalfArea() * static_cast<float>(n - i);
      if (cost < best_cost) {
        best_cost = cost;
        best = i;
        best_left = running;
      }
    }
    Node& node = nodes[task.node];
    if (best == 0 || (n <= kMaxLeaf && best_cost + kNodeCost * task.box.HalfArea() >= task.box.HalfArea() * static_cast<float>(n))) {
      node.first = task.begin;
      node.count = n;
      return false;
    }
    const uint32_t left_index = static_cast<uint32_t>(nodes.size());
    node.first = left_index;
    node.count = 0;
    nodes.push_back(Node{});
    nodes.push_back(Node{});
    // The children find their own centres. box; they are in one cell if this node is.
    children[0] = {left_index, task.begin, task.begin + best, task.depth + 1, best_left, Box{}, task.one_cell};
    children[1] = {left_index + 1, task.begin + best, task.end, task.depth + 1, right[best], Box{}, task.one_cell};
    return true;
  }

  Primitive* m_p;
};

// The float below `low` and above `high` (one coordinate of a box), widened so that a box of
// such floats holds every point the double test can compute on the triangle: the rounding to
// float is at most 2^-24 relative and the margin is 2e-6 relative plus 1e-30. Values past the
// range of float become the largest float or infinite, still on the outer side.
template <class T>
inline void WidenedBounds(T low, T high, float& lo, float& hi) {
  constexpr float kMax = std::numeric_limits<float>::max();
  const float l = low < -kMax ? -kInfinity : low > kMax ? kMax : static_cast<float>(low);
  const float h = high > kMax ? kInfinity : high < -kMax ? -kMax : static_cast<float>(high);
  lo = l - (std::abs(l) * 2e-6f + 1e-30f);
  hi = h + (std::abs(h) * 2e-6f + 1e-30f);
}

// The triangles of `indices` [begin, end) that can be hit, with their boxes, written to `out`
// in order; the boxes of them and of their finite centres grow `box` and `centres`. Answers how
// many.
template <class T>
uint32_t MakePrimitives(const T* vertices, size_t vertex_count, const uint32_t* indices, size_t begin, size_t end,
                        Primitive* out, Box& box, Box& centres) {
  uint32_t made = 0;
  for (size_t i = begin; i < end; ++i) {
    const uint32_t* corner = indices + 3 * i;
    if (corner[0] >= vertex_count || corner[1] >= vertex_count || corner[2] >= vertex_count) continue;
    const T* c[3] = {vertices + 3 * static_cast<size_t>(corner[0]), vertices + 3 * static_cast<size_t>(corner[1]),
                     vertices + 3 * static_cast<size_t>(corner[2])};
    // x - x is 0 for a finite x and NaN otherwise.
    T zero = 0;
    for (int k = 0; k < 3; ++k) zero += (c[k][0] - c[k][0]) + (c[k][1] - c[k][1]) + (c[k][2] - c[k][2]);
    if (!(zero == 0)) continue;
    double e1[3], e2[3];
    for (int a = 0; a < 3; ++a) {
      e1[a] = static_cast<double>(c[1][a]) - static_cast<double>(c[0][a]);
      e2[a] = static_cast<double>(c[2][a]) - static_cast<double>(c[0][a]);
    }
    const double n[3] = {e1[1] * e2[2] - e1[2] * e2[1], e1[2] * e2[0] - e1[0] * e2[2], e1[0] * e2[1] - e1[1] * e2[0]};
    if (n[0] == 0.0 && n[1] == 0.0 && n[2] == 0.0) continue;  // no area: never hit
    float lo[3], hi[3];
    for (int a = 0; a < 3; ++a)
      WidenedBounds(std::min(std::min(c[0][a], c[1][a]), c[2][a]), std::max(std::max(c[0][a], c[1][a]), c[2][a]),
                    lo[a], hi[a]);
    StorePrimitive(out[made++], lo, hi, static_cast<uint32_t>(i), box, centres);
  }
  return made;
}

// Sorts `keys` by their upper 32 bits, of which only the low 30 (a Morton code) are set,
// keeping the order of equal codes: three passes of ten bits, each counted and then scattered
// by both threads when `both` (each its half, the first half's keys of a digit before the
// second's). `scratch` holds as many keys; answers which of the two holds the result.
uint64_t* SortByCode(uint64_t* keys, uint64_t* scratch, size_t n, bool both) {
  constexpr int kDigitBits = 10;
  constexpr uint32_t kDigits = 1u << kDigitBits;
  const size_t half = both ? n / 2 : n;
  std::vector<uint32_t> counts(2 * kDigits);
  for (int shift = 32; shift < 62; shift += kDigitBits) {
    const auto digit = [shift](uint64_t key) { return static_cast<uint32_t>(key >> shift) & (kDigits - 1); };
    std::fill(counts.begin(), counts.end(), 0u);
    ForParts(both, [&](int k) {
      uint32_t* count = counts.data() + k * kDigits;
      for (size_t i = k == 0 ? 0 : half, end = k == 0 ? half : n; i < end; ++i) ++count[digit(keys[i])];
    });
    // Every key in one digit: this pass would move nothing.
    if (counts[digit(keys[0])] + counts[kDigits + digit(keys[0])] == n) continue;
    uint32_t start = 0;
    for (uint32_t d = 0; d < kDigits; ++d) {
      const uint32_t first = counts[d], second = counts[kDigits + d];
      counts[d] = start;
      counts[kDigits + d] = start + first;
      start += first + second;
    }
    ForParts(both, [&](int k) {
      uint32_t* next = counts.data() + k * kDigits;
      for (size_t i = k == 0 ? 0 : half, end = k == 0 ? half : n; i < end; ++i) scratch[next[digit(keys[i])]++] = keys[i];
    });
    std::swap(keys, scratch);
  }
  return keys;
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
  m_vertices.clear();
  m_vertices.shrink_to_fit();
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
  // Indices are 32 bits: vertices past that are never named.
  vertex_count = std::min<size_t>(vertex_count, size_t{std::numeric_limits<uint32_t>::max()} + 1);
  const bool both = triangle_count >= kParallelNode;

  // The triangles that can be hit, with their boxes: the first half of the mesh from the front
  // of the array, the second half after it; the second moves down if the first left a gap.
  // The array is not value-initialised: each element is written once.
  std::unique_ptr<Primitive[]> primitives(new Primitive[triangle_count]);
  const size_t half = both ? triangle_count / 2 : triangle_count;
  uint32_t made[2] = {0, 0};
  Box boxes[2], centres[2];
  ForParts(both, [&](int k) {
    const size_t begin = k == 0 ? 0 : half, end = k == 0 ? half : triangle_count;
    made[k] = MakePrimitives(vertices, vertex_count, indices, begin, end, primitives.get() + begin, boxes[k], centres[k]);
  });
  if (both && made[0] < half) std::memmove(primitives.get() + made[0], primitives.get() + half, made[1] * sizeof(Primitive));
  const uint32_t count = made[0] + made[1];
  if (count == 0) return;
  boxes[0].Grow(boxes[1]);
  centres[0].Grow(centres[1]);

  // The primitives in the order of the Morton codes of their centres, each code in `bin`:
  // neighbours in space lie side by side, and every node below is a range of them.
  {
    const MortonGrid grid(centres[0]);
    std::unique_ptr<uint64_t[]> keys(new uint64_t[count]), scratch(new uint64_t[count]);
    const uint32_t middle = both ? count / 2 : count;
    ForParts(both, [&](int k) {
      for (uint32_t i = k == 0 ? 0 : middle, end = k == 0 ? middle : count; i < end; ++i)
        keys[i] = uint64_t{grid(primitives[i])} << 32 | i;
    });
    const uint64_t* sorted = SortByCode(keys.get(), scratch.get(), count, both);
    std::unique_ptr<Primitive[]> in_order(new Primitive[count]);
    ForParts(both, [&](int k) {
      for (uint32_t i = k == 0 ? 0 : middle, end = k == 0 ? middle : count; i < end; ++i) {
        in_order[i] = primitives[static_cast<uint32_t>(sorted[i])];
        in_order[i].bin = static_cast<uint32_t>(sorted[i] >> 32);
      }
    });
    primitives = std::move(in_order);
  }

  // The vertices, in double (exact for float input), for the test to read.
  m_vertices.resize(3 * vertex_count);
  std::transform(vertices, vertices + 3 * vertex_count, m_vertices.begin(), [](T v) { return static_cast<double>(v); });

  // The top of the tree, over the coarse cells of the grid (found by both threads in one pass):
  // cut between runs of cells as the nodes below are cut between runs of primitives, on this
  // thread, down to single cells or nodes of few primitives. These become the subtrees.
  const std::vector<Cell> cells = CellsOf(primitives.get(), count, both);
  std::vector<Node> top(1);
  top.reserve(2 * cells.size());
  std::vector<Task> subtrees;
  size_t depth = 1;
  {
    struct CellTask {
      uint32_t node, first, end;  // cells [first, end)
      size_t depth;
      Box box;
    };
    std::vector<CellTask> stack{{0, 0, static_cast<uint32_t>(cells.size()), 1, boxes[0]}};
    while (!stack.empty()) {
      const CellTask task = stack.back();
      stack.pop_back();
      depth = std::max(depth, task.depth);
      const uint32_t begin = cells[task.first].begin, end = cells[task.end - 1].end;
      if (task.end - task.first == 1 || end - begin < kTopNode) {
        subtrees.push_back({task.node, begin, end, task.depth, task.box, Box{}});
        continue;
      }
      const uint32_t differ = cells[task.first].code ^ cells[task.end - 1].code;
      const int high = static_cast<int>(std::bit_width(differ)) - 1;
      const int shift = std::max(high - 3, 0);
      const uint32_t runs = 2u << (high - shift);
      const uint32_t base = (cells[task.first].code >> shift) & ~(runs - 1);
      Runs bins;
      uint32_t bound[kBins + 1];
      bound[0] = task.first;
      for (uint32_t r = 0, c = task.first; r < runs; ++r) {
        const uint64_t below = uint64_t{base + r + 1} << shift;
        for (; c < task.end && cells[c].code < below; ++c) {
          bins.box[r].Grow(cells[c].box);
          bins.count[r] += cells[c].end - cells[c].begin;
        }
        bound[r + 1] = c;
      }
      const Split split = CutRuns(bins, runs, end - begin, task.depth >= kBalancedDepth);
      const uint32_t left = static_cast<uint32_t>(top.size());
      float lo[4], hi[4];
      task.box.Get(lo, hi);
      top[task.node] = Node{{lo[0], lo[1], lo[2]}, left, {hi[0], hi[1], hi[2]}, 0};
      top.emplace_back();
      top.emplace_back();
      stack.push_back({left + 1, bound[split.bin], task.end, task.depth + 1, split.right});
      stack.push_back({left, task.first, bound[split.bin], task.depth + 1, split.left});
    }
  }

  // The subtrees: shared out between the threads, largest first, to the one with less work so
  // far. This thread builds its subtrees one after the other into the top's nodes; the other
  // builds its own into nodes of its own (a subtree's root first), appended when both are done.
  std::vector<uint32_t> order(subtrees.size());
  std::iota(order.begin(), order.end(), 0u);
  std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
    return subtrees[a].end - subtrees[a].begin > subtrees[b].end - subtrees[b].begin;
  });
  std::vector<uint32_t> share[2];
  uint64_t load[2] = {0, 0};
  for (const uint32_t s : order) {
    const int k = both && load[1] < load[0] ? 1 : 0;
    share[k].push_back(s);
    load[k] += subtrees[s].end - subtrees[s].begin;
  }
  const Builder<Node> builder(primitives.get());
  // About 2.2 nodes a leaf of 4 to 5 triangles; more only costs a copy.
  top.reserve(top.size() + static_cast<size_t>(load[0]) / 2 + 16);
  std::vector<Node> other;
  other.reserve(static_cast<size_t>(load[1]) / 2 + 16);
  std::vector<uint32_t> other_start(subtrees.size(), 0), other_end(subtrees.size(), 0);
  size_t thread_depth[2] = {0, 0};
  ForParts(both, [&](int k) {
    std::vector<Task> tasks;
    for (const uint32_t s : share[k]) {
      Task root = subtrees[s];
      if (k == 1) {
        other_start[s] = static_cast<uint32_t>(other.size());
        other.emplace_back();
        root.node = other_start[s];
      }
      tasks.assign(1, root);
      thread_depth[k] = std::max(thread_depth[k], builder.BuildSerial(tasks, k == 0 ? top : other));
      if (k == 1) other_end[s] = static_cast<uint32_t>(other.size());
    }
  });

  // One array: the top with the first thread's subtrees, then the other's in the order it built
  // them, with child indices moved.
  m_nodes = std::move(top);
  m_nodes.reserve(m_nodes.size() + other.size());
  for (const uint32_t s : share[1]) {
    // Local index k past the root goes to base + k.
    const uint32_t base = static_cast<uint32_t>(m_nodes.size()) - 1 - other_start[s];
    Node root = other[other_start[s]];
    if (root.count == 0) root.first += base;
    m_nodes[subtrees[s].node] = root;
    for (uint32_t i = other_start[s] + 1; i < other_end[s]; ++i) {
      Node node = other[i];
      if (node.count == 0) node.first += base;
      m_nodes.push_back(node);
    }
  }
  m_depth = std::max({depth, thread_depth[0], thread_depth[1]});

  // The triangles in leaf order.
  m_triangles.resize(count);
  ForParts(both, [&](int k) {
    const uint32_t begin = k == 0 ? 0 : count / 2, end = k == 0 && both ? count / 2 : count;
    for (uint32_t i = begin; i < end; ++i) {
      const uint32_t id = primitives[i].id;
      const uint32_t* corner = indices + 3 * static_cast<size_t>(id);
      m_triangles[i] = Triangle{{corner[0], corner[1], corner[2]}, id};
    }
  });
}

bool TriangleMeshIntersector::Nearest(const Ray& ray, Hit& hit) const {
  PreparedRay r;
  if (m_nodes.empty() || !Prepare(ray, r)) return false;
  double best_t = ray.t_max;
  uint32_t best_id = std::numeric_limits<uint32_t>::max();
  bool found = false;
  double best_u = 0.0, best_v = 0.0;
  const double* vertices = m_vertices.data();

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
        if (!HitTriangle(r, vertices + 3 * static_cast<size_t>(tri.corner[0]),
                         vertices + 3 * static_cast<size_t>(tri.corner[1]),
                         vertices + 3 * static_cast<size_t>(tri.corner[2]), ray.t_min, best_t, t, u, v))
          continue;
        if (found && t == best_t && tri.id > best_id) continue;  // equal t: the lower index stays
        best_t = t;
        best_id = tri.id;
        found = true;
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
  if (!found) return false;
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
  const double* vertices = m_vertices.data();
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
      if (!HitTriangle(r, vertices + 3 * static_cast<size_t>(tri.corner[0]),
                       vertices + 3 * static_cast<size_t>(tri.corner[1]),
                       vertices + 3 * static_cast<size_t>(tri.corner[2]), ray.t_min, ray.t_max, h.t, h.u, h.v))
        continue;
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
