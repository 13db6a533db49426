#pragma once
// What the harnesses share: a handler that takes the plan's elements as a host does, and a
// description of the repository that a refused file must leave as it was.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/markup/MSAXReader.h"
#include "ostrum/objects/UIObject.h"

namespace fuzz {

// "Transforms" to the repository, "Holder" a handle, "Part" a tree object with "Children" and
// "System"; everything made is staged here and dropped after the read.
class PlanHandler : public ISAXPersist {
 public:
  struct Part : UIObject, ISAXPersist {
    bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
      if (tag == L"System") return _ReadCoordinateSystem(reader);
      return _HandleTagChildrenIDs(tag, reader);
    }
  };

  std::vector<std::unique_ptr<MCoordinateSystem>> holders;
  std::vector<std::unique_ptr<Part>> parts;

  ~PlanHandler() override {
    // Out of the tree before they die, children first.
    for (auto& part : parts) part->MoveToParent(nullptr);
  }
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    if (tag == L"Plan") return true;
    if (tag == L"Transforms") {
      reader.DelegateElement(MTransformRepositoryEx::GetInstance());
      return true;
    }
    if (tag == L"Holder") {
      holders.push_back(std::make_unique<MCoordinateSystem>());
      return holders.back()->ReadCoordinateSystem(reader) || !reader.IsRefused();
    }
    if (tag == L"Part") {
      parts.push_back(std::make_unique<Part>());
      reader.DelegateElement(parts.back().get());
      return true;
    }
    return false;
  }
};

inline std::string Describe(MTransformRepositoryEx const& rep) {
  std::ostringstream s;
  s << rep.GetAbsoluteWorld().GetInternalSystem()->GetWeight() << (rep.IsGUIInch() ? " inch" : " mm");
  for (auto const* node : rep.GetSystems())
    s << " [" << node << " " << node->GetTo() << " " << node->GetWeight() << " " << node->GetLabel().size() << "]";
  s << " ui " << rep.GetSystemUI().GetInternalSystem() << " mm " << rep.GetSystemMm().GetInternalSystem();
  return s.str();
}

inline void Require(bool condition, char const* what) {
  if (!condition) {
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
  }
}

}  // namespace fuzz
