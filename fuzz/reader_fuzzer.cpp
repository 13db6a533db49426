// The markup reader on any bytes: it refuses or reads, never crashes, and keeps its promise of
// all or nothing to the handlers: a refused read initialises nobody and calls back every
// refusal action registered, an accepted one initialises and takes nothing back.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"
#include "ostrum/foundation/markup/MStreamTextIn.h"

namespace {

struct Counts {
  int inits = 0, registered = 0, taken_back = 0;
};

// Takes every element but "No"; what else it does depends on the name's length, so that the
// fuzzer reaches each of the reader's services: resolution, hand-over to helpers the reader
// owns, refusal actions, refusal itself (an element "Refuse", or a reference to number 13
// that some element defines).
struct Everything : ISAXPersist {
  explicit Everything(Counts& c) : counts(c) {}
  Counts& counts;
  bool wants_13 = false;

  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    std::wstring value;
    reader.ReadValue(value);
    MStreamTextIn numbers(reader.GetValueUTF8());
    double number = 0;
    numbers >> number;
    reader.GetParentTag(3);
    if (tag == L"Refuse") reader.Refuse(L"asked to");
    switch (tag.size() % 4) {
      case 0:
        reader.AddToReferenceResolver(this);
        wants_13 = wants_13 || value == L"13";
        break;
      case 1:
        if (reader.GetElementId() % 2) reader.DelegateElement(new Everything(counts), true);
        break;
      case 2:
        ++counts.registered;
        reader.AddRefusalAction([c = &counts] { ++c->taken_back; });
        break;
      default:
        break;
    }
    return tag != L"No";
  }
  void ResolveReferences(MSAXReader& reader) override {
    if (wants_13 && reader.FindReference(13)) reader.Refuse(L"13 is defined");
  }
  void InitAfterLoading() override { ++counts.inits; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Counts counts;
  Everything handler(counts);
  MSAXReader reader;
  bool const read = reader.ReadMemory(std::string_view(reinterpret_cast<char const*>(data), size), handler);
  if (read) {
    fuzz::Require(counts.inits >= 1 && counts.taken_back == 0, "an accepted read took back or did not initialise");
    fuzz::Require(reader.GetError().empty(), "an accepted read with an error");
  } else {
    fuzz::Require(counts.inits == 0, "a refused read initialised a handler");
    fuzz::Require(counts.taken_back == counts.registered, "a refused read did not take everything back");
    fuzz::Require(!reader.GetError().empty(), "a refused read without a reason");
  }
  return 0;
}
