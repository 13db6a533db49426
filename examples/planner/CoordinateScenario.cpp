#include "CoordinateScenario.h"

#include <cstdio>
#include <memory>
#include <string>

#include "PlannerTrace.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/coordinates/MTransformRepositoryException.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

namespace planner {

namespace {

std::wstring Point(MMPoint3d<double> const& p) {
  wchar_t buffer[96];
  std::swprintf(buffer, 96, L"(%.3f, %.3f, %.3f)", p.x, p.y, p.z);
  return buffer;
}

MMTransformMatrix Translation(double x, double y, double z) {
  MMTransformMatrix m;
  m.MakeTranslation(x, y, z);
  return m;
}

// Where the origin of `system` lies in `in`.
std::wstring OriginIn(MTransformRepository const& rep, MCoordinateSystem const& system,
                      MCoordinateSystem const& in) {
  return Point(rep.GetTransform(system, in)(MMPoint3d<double>()));
}

void TraceCache(MTransformRepository const& rep) {
  MTransformRepository::CacheStatistics const& s = rep.GetCacheStatistics();
  Trace(L"transform cache: " + std::to_wstring(s.hits) + L" hits, " + std::to_wstring(s.reversed_hits) +
        L" turned round, " + std::to_wstring(s.misses) + L" misses");
}

}  // namespace

void RunCoordinateScenario() {
  // The document made the process-wide repository; without a document the planner makes one.
  MTransformRepositoryEx* rep = MTransformRepositoryEx::GetInstance();
  bool const own = rep == nullptr;
  if (own) rep = MTransformRepositoryEx::CreateInstance();
  rep->ResetCacheStatistics();
  MCoordinateSystem const& mm = rep->GetSystemMm();
  MCoordinateSystem const& stl = rep->GetSystemStl();

  Heading(L"coordinate systems: placing the plan's objects");
  Trace(L"world in \"" + stl.GetUnit() + L"\", render world in \"" + mm.GetUnit() + L"\", " +
        std::to_wstring(rep->GetSystemMmToStl()) + L" STL units per millimetre");
  {
    MCoordinateSystem implant = rep->CreateNewSystem(Translation(10, 0, 5), mm, L"implant A");
    implant.Rotate({10, 0, 5}, 0.f, 0.f, 30.f);
    MCoordinateSystem screw = rep->CreateNewSystem(Translation(0, 0, 12), implant, L"screw 1");
    MCoordinateSystem landmark = rep->CreateNewSystem(Translation(40, 0, 0), mm, L"landmark");
    for (MCoordinateSystem const* s : {&implant, &screw, &landmark})
      Trace(s->GetUnit() + L" at " + OriginIn(*rep, *s, mm) + L" mm, held by " +
            std::to_wstring(s->GetInternalSystem()->GetWeight()) + L" handle(s) on it and below");
    Trace(L"screw 1 seen from the landmark: " + OriginIn(*rep, screw, landmark));
    Trace(L"the landmark seen from screw 1: " + OriginIn(*rep, landmark, screw));
    Trace(L"screw 1 in STL units: " + OriginIn(*rep, screw, stl));

    Heading(L"coordinate systems: screw 1 goes under the landmark and keeps its place");
    std::unique_ptr<MMTransform> keep(rep->ComputeNewTransform(screw, landmark));
    rep->SetDependentCoordinateSystem(screw, landmark);
    rep->ReplaceTransform(*keep, screw);
    Trace(L"screw 1 at " + OriginIn(*rep, screw, mm) + L" mm, " + OriginIn(*rep, screw, landmark) +
          L" in the landmark");
    Trace(L"weights: implant A " + std::to_wstring(implant.GetInternalSystem()->GetWeight()) +
          L", landmark " + std::to_wstring(landmark.GetInternalSystem()->GetWeight()));

    Heading(L"coordinate systems: implant A goes under the landmark as it is");
    rep->SetDependentCoordinateSystem(implant, landmark);
    Trace(L"implant A at " + OriginIn(*rep, implant, mm) + L" mm: moved with the landmark's offset");
    try {
      rep->SetDependentCoordinateSystem(mm, landmark);
    } catch (MTransformRepositoryException const& e) {
      std::string const what = e.what();
      Trace(L"moving the millimetre system is refused: " + std::wstring(what.begin(), what.end()));
    }

    Heading(L"coordinate systems: three frames of a render loop");
    for (int frame = 0; frame < 3; ++frame)
      for (MCoordinateSystem const* s : {&implant, &screw, &landmark}) rep->GetTransform(*s, mm);
    TraceCache(*rep);
    rep->SetGUIUnitInch();
    Trace(L"user interface in inches: " + std::to_wstring(rep->GetSystemUIToStl()) + L" STL units per inch");
    rep->SetGUIUnitMm();
    for (MCoordinateSystem const* s : {&implant, &screw, &landmark}) rep->GetTransform(*s, mm);
    TraceCache(*rep);
  }
  Trace(L"the objects' handles are gone; systems left: " + std::to_wstring(rep->GetNumberOfSystems()));
  if (own) MTransformRepositoryEx::DeleteInstance();
}

}  // namespace planner
