// The built-in checks. Each builds what it needs in the scratch repository, compares what the
// framework answers with the same values computed another way (matrix products written out,
// inverses applied, the worked example of the camera's projection), and says what differed.

#include "ostrum/checks/SelfCheck.h"

#include <cmath>
#include <cstdio>
#include <list>
#include <memory>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/coordinates/private/ScratchRepository.h"
#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/objects/IRender.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/scene/MCamera.h"
#include "ostrum/scene/MCameraMemento.h"

namespace Ostrum {

namespace {

using Point = MMPoint3d<double>;

// A scene object for the camera: a box given in millimetres.
class BoxObject : public IRender {
 public:
  BoxObject(MTransformRepositoryEx& repository, Point min, Point max)
      : m_repository(repository), m_min(min), m_max(max) {}
  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long, const MCoordinateSystem* system) const override {
    M3DBoundingBox<float> own{MMPoint3d<float>(m_min), MMPoint3d<float>(m_max)};
    if (system) m_repository.GetTransform(m_repository.GetSystemMm(), *system).TransformBoundingBox(own);
    box.Extend(own);
  }

 private:
  MTransformRepositoryEx& m_repository;
  Point m_min, m_max;
};

std::wstring Text(const Point& p) {
  wchar_t buffer[96];
  std::swprintf(buffer, 96, L"(%.9g, %.9g, %.9g)", p.x, p.y, p.z);
  return buffer;
}

// Collects the outcome of one check: the first difference found is its failure.
class Check {
 public:
  explicit Check(const wchar_t* name) { m_result.name = name; }
  void Near(const wchar_t* what, const Point& expected, const Point& found, double tolerance) {
    if (!m_result.failure.empty()) return;
    const Point d = found - expected;
    if (std::isfinite(d.x) && std::isfinite(d.y) && std::isfinite(d.z) &&
        std::fabs(d.x) <= tolerance && std::fabs(d.y) <= tolerance && std::fabs(d.z) <= tolerance)
      return;
    m_result.failure = std::wstring(what) + L": expected " + Text(expected) + L", found " + Text(found);
  }
  void True(const wchar_t* what, bool holds) {
    if (m_result.failure.empty() && !holds) m_result.failure = what;
  }
  SelfCheckResult Done() {
    m_result.passed = m_result.failure.empty();
    return m_result;
  }

 private:
  SelfCheckResult m_result;
};

MMTransformMatrix Placement(double rx, double ry, double rz, double tx, double ty, double tz) {
  MMTransformMatrix m;
  m.MakeRotationXYZ(rx, ry, rz);
  MMTransformMatrix t;
  t.MakeTranslation(tx, ty, tz);
  m.PreMultiply(t);
  return m;
}

Point Apply(const MMTransform& t, const Point& p) {
  Point out;
  t.Transform(out, p);
  return out;
}

const Point kProbes[] = {{0, 0, 0}, {1, 2, 3}, {-40.5, 12.25, 7}, {100, -3, 0.5}};

// A chain of four systems below the millimetre system, each placed in its parent.
struct Chain {
  explicit Chain(MTransformRepositoryEx& repository) {
    MCoordinateSystem parent = repository.GetSystemMm();
    for (int i = 0; i < 4; ++i) {
      placements[i] = Placement(10.0 * (i + 1), -7.0 * i, 33.0 - 5 * i, i, 2.0 * i - 3, 0.5 * i);
      systems[i] = repository.CreateNewSystem(placements[i], parent);
      parent = systems[i];
    }
  }
  // The leaf's points in millimetres, by the placements applied one after the other.
  Point LeafToMm(Point p) const {
    for (int i = 3; i >= 0; --i) p = Apply(placements[i], p);
    return p;
  }
  MMTransformMatrix placements[4];
  MCoordinateSystem systems[4];
};

SelfCheckResult CheckChainProduct(MTransformRepositoryEx& repository) {
  Check check(L"repository: a query equals the product along the path");
  Chain chain(repository);
  for (const Point& p : kProbes) {
    const Point found = Apply(repository.GetTransform(chain.systems[3], repository.GetSystemMm()), p);
    check.Near(L"leaf to millimetres", chain.LeafToMm(p), found, 1e-9);
  }
  return check.Done();
}

SelfCheckResult CheckReverse(MTransformRepositoryEx& repository) {
  Check check(L"repository: a transform and its reverse compose to the identity");
  Chain chain(repository);
  for (const Point& p : kProbes) {
    const Point there = Apply(repository.GetTransform(chain.systems[3], chain.systems[0]), p);
    const Point back = Apply(repository.GetTransform(chain.systems[0], chain.systems[3]), there);
    check.Near(L"leaf to first and back", p, back, 1e-9);
  }
  return check.Done();
}

SelfCheckResult CheckCacheAfterMove(MTransformRepositoryEx& repository) {
  Check check(L"repository: the cache follows a moved system");
  Chain chain(repository);
  const Point p(3, -4, 5);
  Apply(repository.GetTransform(chain.systems[3], repository.GetSystemMm()), p);  // now cached
  const MMTransformMatrix moved = Placement(-12, 80, 5, 40, 0, -9);
  repository.ReplaceTransform(moved, chain.systems[1]);
  chain.placements[1] = moved;
  check.Near(L"after a system in the middle moved", chain.LeafToMm(p),
             Apply(repository.GetTransform(chain.systems[3], repository.GetSystemMm()), p), 1e-9);
  chain.systems[2].Translate(Point(1, 2, 3));
  check.True(L"a moved system answers its new place",
             std::fabs(Apply(repository.GetTransform(chain.systems[2], chain.systems[1]), Point()).x -
                       Apply(chain.placements[2], Point()).x - 1) < 1e-9);
  return check.Done();
}

// A camera on the scratch repository with a window of w by h pixels.
std::unique_ptr<MCamera> MakeCamera(int w, int h) {
  auto camera = std::make_unique<MCamera>();
  camera->Reset();
  camera->SetWindowRect(CRect(0, 0, w, h));
  return camera;
}

Point ToWindow(MTransformRepositoryEx& repository, const MCamera& camera, const Point& world) {
  return Apply(repository.GetTransform(repository.GetSystemRenderWorld(), camera.GetCoordinateSystemWindow()), world);
}

Point ToEye(MTransformRepositoryEx& repository, const MCamera& camera, const Point& world) {
  return Apply(repository.GetTransform(repository.GetSystemRenderWorld(), camera.GetCoordinateSystemEye()), world);
}

SelfCheckResult CheckProjectionExample(MTransformRepositoryEx& repository) {
  Check check(L"camera: the projection of a 200 by 100 window");
  auto camera = MakeCamera(200, 100);
  check.True(L"a reset camera has both systems", camera->AreCoordinateSystemsValid());
  check.Near(L"(-1, -1, -1) in the window", Point(50, 100, ToWindow(repository, *camera, Point(-1, -1, -1)).z),
             ToWindow(repository, *camera, Point(-1, -1, -1)), 1e-9);
  check.Near(L"(1, 1, 1) in the window", Point(150, 0, ToWindow(repository, *camera, Point(1, 1, 1)).z),
             ToWindow(repository, *camera, Point(1, 1, 1)), 1e-9);
  return check.Done();
}

SelfCheckResult CheckRotations(MTransformRepositoryEx& repository) {
  Check check(L"camera: rotations and their inverses");
  auto camera = MakeCamera(640, 480);
  BoxObject box(repository, Point(-5, -5, -5), Point(5, 5, 5));
  std::list<IRender*> objects{&box};
  camera->SetRotationCenter(Point());
  camera->SetRotation(0, 0, 90);
  check.Near(L"SetRotation(0, 0, 90) of (1, 0, 0)", Point(0, 1, 0), ToEye(repository, *camera, Point(1, 0, 0)), 1e-12);
  camera->SetRotation(0, 0, 0);
  camera->StartRotation(objects, 0xFFFFFFFF);
  for (int i = 0; i < 4; ++i) camera->Rotate(objects, 0, 0, 90);
  check.Near(L"four quarter turns", Point(1, 2, 3), ToEye(repository, *camera, Point(1, 2, 3)), 1e-9);
  camera->Rotate(objects, 37, 0, 0);
  camera->Rotate(objects, -37, 0, 0);
  camera->Rotate(objects, 0, -21.5f, 0);
  camera->Rotate(objects, 0, 21.5f, 0);
  check.Near(L"turns undone by their opposites", Point(1, 2, 3), ToEye(repository, *camera, Point(1, 2, 3)), 1e-9);
  camera->RotateWorldZ(objects, 0, 90, 0);
  check.Near(L"RotateWorldZ(0, 90, 0) of (1, 0, 0)", Point(0, -1, 0), ToEye(repository, *camera, Point(1, 0, 0)),
             1e-9);
  return check.Done();
}

SelfCheckResult CheckMouseRoundTrip(MTransformRepositoryEx& repository) {
  Check check(L"camera: a pixel into an object and back");
  for (const bool perspective : {false, true}) {
    auto camera = MakeCamera(640, 480);
    camera->SetPerspective(perspective);
    BoxObject box(repository, Point(-50, -40, -30), Point(60, 45, 35));
    std::list<IRender*> objects{&box};
    camera->Unzoom(objects, 0xFFFFFFFF);
    camera->StartRotation(objects, 0xFFFFFFFF);
    camera->Rotate(objects, 25, -40, 15);
    const MCoordinateSystem object_system =
        repository.CreateNewSystem(Placement(15, 30, -45, 12, -8, 20), repository.GetSystemMm());
    UIObject object;
    object.SetCoordinateSystem(object_system);
    const long pixels[][2] = {{0, 0}, {320, 240}, {17, 463}, {639, 1}};
    for (const auto& pixel : pixels) {
      // The ray through the pixel in the object's system; a point on it goes back to the pixel.
      float point[3], direction[3];
      camera->GetMouseInObjectCoordinates(point, direction, pixel[0], pixel[1], &object);
      const Point on_ray(point[0] + 0.375 * direction[0], point[1] + 0.375 * direction[1],
                         point[2] + 0.375 * direction[2]);
      const Point back = Apply(repository.GetTransform(object_system, camera->GetCoordinateSystemWindow()), on_ray);
      check.Near(perspective ? L"perspective: pixel and back" : L"parallel: pixel and back",
                 Point(static_cast<double>(pixel[0]), static_cast<double>(pixel[1]), back.z), back, 1e-3);
    }
  }
  return check.Done();
}

SelfCheckResult CheckMemento(MTransformRepositoryEx& repository) {
  Check check(L"camera: a memento restores the view exactly");
  auto camera = MakeCamera(400, 300);
  BoxObject box(repository, Point(0, 0, 0), Point(10, 10, 10));
  std::list<IRender*> objects{&box};
  camera->Unzoom(objects, 0xFFFFFFFF);
  std::unique_ptr<MCameraMemento> memento(camera->CreateMemento());
  const Point probe(1, 2, 3);
  const Point before = ToWindow(repository, *camera, probe);
  camera->StartRotation(objects, 0xFFFFFFFF);
  camera->Rotate(objects, 45, 34, 56);
  camera->Zoom(3.4f);
  camera->TranslateView(17, -9);
  camera->ApplyMemento(memento.get(), false);
  check.Near(L"a point in the window after the memento", before, ToWindow(repository, *camera, probe), 1.5e-8);
  return check.Done();
}

SelfCheckResult CheckUnzoom(MTransformRepositoryEx& repository) {
  Check check(L"camera: unzoom fits the scene in the window");
  auto camera = MakeCamera(200, 100);
  BoxObject box(repository, Point(-5, -5, -5), Point(5, 5, 5));
  std::list<IRender*> objects{&box};
  camera->Unzoom(objects, 0xFFFFFFFF);
  check.True(L"not zoomed in after unzoom", !camera->IsZoomedIn());
  for (int corner = 0; corner < 8; ++corner) {
    const Point p((corner & 1) ? 5 : -5, (corner & 2) ? 5 : -5, (corner & 4) ? 5 : -5);
    const Point w = ToWindow(repository, *camera, p);
    check.True(L"a corner of the box lies outside the window", w.x > 0 && w.x < 200 && w.y > 0 && w.y < 100);
  }
  return check.Done();
}

}  // namespace

std::vector<SelfCheckResult> SelfCheck::Run() {
  std::vector<SelfCheckResult> results;
  Ostrum::Private::ScratchRepositoryScope scratch;
  MTransformRepositoryEx& repository = scratch.Repository();
  for (auto check : {CheckChainProduct, CheckReverse, CheckCacheAfterMove, CheckProjectionExample, CheckRotations,
                     CheckMouseRoundTrip, CheckMemento, CheckUnzoom})
    results.push_back(check(repository));
  return results;
}

bool SelfCheck::AllPassed(const std::vector<SelfCheckResult>& results) {
  for (const SelfCheckResult& result : results)
    if (!result.passed) return false;
  return true;
}

}  // namespace Ostrum
