#include "CameraScenario.h"

#include <cstdio>
#include <list>
#include <string>

#include "PlannerTrace.h"
#include "ostrum/checks/SelfCheck.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/scene/MCamera.h"

namespace planner {

namespace {

// A part with a box in its own system: 10 by 4 by 4 mm for the implant, a thin rod for a screw.
class BoxPart : public UIObject {
 public:
  BoxPart(const wchar_t* label, MMPoint3d<float> size) : m_size(size) { SetLabel(label); }
  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long, const MCoordinateSystem* system) const override {
    box = M3DBoundingBox<float>(MMPoint3d<float>(), m_size);
    MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
    if (system && repository) repository->GetTransform(GetCoordinateSystem(), *system).TransformBoundingBox(box);
  }
  MMPoint3d<float> Size() const { return m_size; }

 private:
  MMPoint3d<float> m_size;
};

std::wstring Pixel(const MMPoint3d<double>& p) {
  wchar_t text[64];
  std::swprintf(text, 64, L"(%.1f, %.1f)", p.x, p.y);
  return text;
}

std::wstring Point3(const float* p) {
  wchar_t text[80];
  std::swprintf(text, 80, L"(%.2f, %.2f, %.2f)", p[0], p[1], p[2]);
  return text;
}

void TraceCorners(const MCamera& camera, const BoxPart& part) {
  MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
  const MMTransform& to_window = repository->GetTransform(part.GetCoordinateSystem(), camera.GetCoordinateSystemWindow());
  std::wstring line;
  for (int corner = 0; corner < 8; ++corner) {
    const MMPoint3d<float> s = part.Size();
    const MMPoint3d<double> p((corner & 1) ? s.x : 0, (corner & 2) ? s.y : 0, (corner & 4) ? s.z : 0);
    line += (corner ? L" " : L"") + Pixel(to_window(p));
  }
  Trace(L"the implant's corners in the window: " + line);
}

}  // namespace

void RunCameraScenario() {
  MTransformRepositoryEx* repository = MTransformRepositoryEx::GetInstance();
  if (!repository) return;
  Heading(L"a camera on the plan: a 640 by 480 window");
  MMTransformMatrix placement;
  placement.MakeTranslation(40, 0, 0);
  BoxPart implant(L"implant A", MMPoint3d<float>(10, 4, 4));
  implant.SetCoordinateSystem(repository->CreateNewSystem(placement, repository->GetSystemMm()));
  BoxPart screw(L"screw 1", MMPoint3d<float>(1, 1, 12));
  placement.MakeRotationXYZ(0, 90, 0);
  screw.SetCoordinateSystem(repository->CreateNewSystem(placement, implant.GetCoordinateSystem()));
  std::list<IRender*> plan{&implant, &screw};

  MCamera camera;
  camera.Reset();
  camera.SetWindowRect(CRect(0, 0, 640, 480));
  camera.Unzoom(plan, UIObject::DEFAULT_SCENE_ID);
  Trace(L"unzoomed on the plan: zoom factor " + std::to_wstring(camera.GetZoomFactor()));
  TraceCorners(camera, implant);

  camera.StartRotation(plan, UIObject::DEFAULT_SCENE_ID);
  camera.Rotate(plan, 0, 30, 0);
  Trace(L"turned by 30 degrees about the eye's y axis, around the plan's centre:");
  TraceCorners(camera, implant);
  camera.SetZoomCenter(CPoint(320, 240));
  camera.Zoom(2.0f);
  Trace(L"zoomed by 2 about the window's centre: zoom factor " + std::to_wstring(camera.GetZoomFactor()) +
        (camera.IsZoomedIn() ? L", zoomed in" : L""));
  TraceCorners(camera, implant);

  float point[3], direction[3];
  camera.GetMouseInObjectCoordinates(point, direction, 320, 240, &screw);
  Trace(L"pixel (320, 240) in the screw's system: the ray from " + Point3(point) + L" along " + Point3(direction));

  Heading(L"the framework's built-in checks");
  const std::vector<Ostrum::SelfCheckResult> results = Ostrum::SelfCheck::Run();
  for (const Ostrum::SelfCheckResult& result : results)
    Trace((result.passed ? L"passed  " : L"FAILED  ") + result.name + (result.passed ? L"" : L": " + result.failure));
  Trace(Ostrum::SelfCheck::AllPassed(results) ? L"all checks passed" : L"some checks failed");
}

}  // namespace planner
