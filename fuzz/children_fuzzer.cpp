// "Children" lists and the systems of tree objects: an accepted file gives a tree without
// loops, a refused one moves no object.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  MTransformRepositoryEx::CreateInstance();
  {
    fuzz::PlanHandler handler;
    MSAXReader reader;
    bool const read = reader.ReadMemory(std::string_view(reinterpret_cast<char const*>(data), size), handler);
    for (auto const& part : handler.parts) {
      if (!read) fuzz::Require(part->GetParent() == nullptr, "a refused file moved an object");
      // A walk up must end: no object is its own ancestor.
      std::size_t steps = 0;
      for (UIObject const* p = part.get(); p; p = p->GetParent())
        fuzz::Require(++steps <= handler.parts.size() + 1, "objects in a loop");
    }
  }
  MTransformRepositoryEx::DeleteInstance();
  return 0;
}
