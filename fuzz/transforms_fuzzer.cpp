// "Transforms" read into a running repository that has systems of its own: a refused file
// leaves it exactly as it was, an accepted one leaves a sane tree.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  MTransformRepositoryEx* rep = MTransformRepositoryEx::CreateInstance();
  MMTransformMatrix t;
  t.MakeTranslation(1, 2, 3);
  MCoordinateSystem own = rep->CreateNewSystem(t, rep->GetSystemUI(), L"own");
  std::string const before = fuzz::Describe(*rep);
  bool read;
  {
    fuzz::PlanHandler handler;
    MSAXReader reader;
    read = reader.ReadMemory(std::string_view(reinterpret_cast<char const*>(data), size), handler);
    if (read) {
      fuzz::Require(rep->Sanity(), "an accepted file left a tree too deep");
      for (auto const& holder : handler.holders) rep->GetTransform(*holder, rep->GetSystemMm());
    } else {
      fuzz::Require(fuzz::Describe(*rep) == before, "a refused file changed the repository");
    }
  }
  own.SetUndefined();
  MTransformRepositoryEx::DeleteInstance();
  return 0;
}
