#pragma once
// What the harnesses share: a host's reader that takes the plan's elements as a host does
// (staging what it makes and handing it to the database at the commit), and descriptions of
// the repository and the database that a refused file must leave exactly as they were.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/foundation/markup/MSAXReader.h"
#include "ostrum/objects/UIObject.h"

namespace fuzz {

// A tree object of a plan: "Label", "System" and "Children".
struct Part : UIObject, ISAXPersist {
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    if (tag == L"Label") {
      std::wstring label;
      reader.ReadValue(label);
      SetLabel(label.c_str());
      return true;
    }
    if (tag == L"System") return _ReadCoordinateSystem(reader);
    return _HandleTagChildrenIDs(tag, reader);
  }
};

// "Transforms" to the repository, "Holder" a handle, "Part" a tree object. The parts are
// staged here; at the commit those without a parent enter the database (when there is one),
// which then owns them and their subtrees. Whatever is still staged goes with the handler.
class PlanHandler : public ISAXPersist {
 public:
  explicit PlanHandler(MDataBase* db = nullptr) : m_db(db) {}

  std::vector<std::unique_ptr<MCoordinateSystem>> holders;
  std::vector<std::unique_ptr<Part>> parts;
  std::size_t committed = 0;  // parts handed to the database

  ~PlanHandler() override {
    // Out of the tree before they die, children first.
    for (auto it = parts.rbegin(); it != parts.rend(); ++it) (*it)->MoveToParent(nullptr);
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
  void InitAfterLoading() override {
    if (!m_db) return;
    for (auto const& part : parts)
      if (!part->GetParent()) m_db->AddObject(part.get());
    committed = parts.size();
    for (auto& part : parts) part.release();
    parts.clear();
  }

 private:
  MDataBase* m_db;
};

inline std::string Narrow(wchar_t const* text) {
  std::string out;
  for (; text && *text; ++text) out += *text < 0x80 ? static_cast<char>(*text) : '?';
  return out;
}

inline std::string Describe(MTransformRepositoryEx const& rep) {
  std::ostringstream s;
  s << rep.GetAbsoluteWorld().GetInternalSystem()->GetWeight() << (rep.IsGUIInch() ? " inch" : " mm") << " "
    << Narrow(rep.GetAbsoluteWorld().GetInternalSystem()->GetLabel().c_str());
  for (auto const* node : rep.GetSystems())
    s << " [" << node << " " << node->GetTo() << " " << node->GetWeight() << " " << Narrow(node->GetLabel().c_str())
      << " " << node->GetTransform() << "]";
  s << " ui " << rep.GetSystemUI().GetInternalSystem() << " mm " << rep.GetSystemMm().GetInternalSystem();
  return s.str();
}

// Every registered object with its place, state and system, then the tree below the root.
inline std::string Describe(MDataBase const& db) {
  std::ostringstream s;
  for (std::size_t i = 0; i < db.GetNumObjects(); ++i) {
    auto const* object = dynamic_cast<UIObject const*>(db.GetObjectW(i));
    if (!object) continue;
    s << "[" << object << " " << Narrow(object->GetLabel()) << " in " << object->GetParent() << " "
      << (object->IsRemoved() ? "removed" : "live") << " " << object->GetCoordinateSystem().GetInternalSystem()
      << "]";
  }
  struct Walk {
    static void Tree(std::ostringstream& s, UIObject const& o) {
      for (UIObject const* child : o.GetChildren()) {
        s << " " << child << "(";
        Tree(s, *child);
        s << ")";
      }
    }
  };
  Walk::Tree(s, db.GetRootUIObject());
  return s.str();
}

inline void Require(bool condition, char const* what) {
  if (!condition) {
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
  }
}

}  // namespace fuzz
