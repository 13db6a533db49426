// The markup reader on any bytes: it refuses or reads, never crashes, and a refusal reaches no
// handler's InitAfterLoading.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"

namespace {

struct Everything : ISAXPersist {
  int inits = 0;
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    std::wstring value;
    reader.ReadValue(value);
    reader.GetParentTag(3);
    if (tag.size() % 3 == 0) reader.AddToReferenceResolver(this);
    return tag != L"No";
  }
  void ResolveReferences(MSAXReader& reader) override { reader.FindReference(1); }
  void InitAfterLoading() override { ++inits; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Everything handler;
  MSAXReader reader;
  bool const read = reader.ReadMemory(std::string_view(reinterpret_cast<char const*>(data), size), handler);
  fuzz::Require(read == (handler.inits == 1), "a refused read initialised its handler");
  return 0;
}
