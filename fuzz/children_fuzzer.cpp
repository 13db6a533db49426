// "Children" lists, labels and the systems of tree objects, read by a host into a database that
// already holds a plan: an accepted file gives a tree without loops with every object of the
// file in the database, a refused one leaves database and repository exactly as they were.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  MTransformRepositoryEx* rep = MTransformRepositoryEx::CreateInstance();
  {
    MDataBase db;
    // The plan already open: a part with a system of its own and a child.
    MMTransformMatrix t;
    t.MakeTranslation(4, 5, 6);
    auto* a = new fuzz::Part;
    a->SetLabel(L"a");
    a->SetCoordinateSystem(rep->CreateNewSystem(t, rep->GetSystemMm(), L"own"));
    auto* b = new fuzz::Part;
    b->SetLabel(L"b");
    b->SetCoordinateSystem(a->GetCoordinateSystem());
    b->MoveToParent(a);
    db.AddObject(a);
    std::string const db_before = fuzz::Describe(db);
    std::string const rep_before = fuzz::Describe(*rep);
    std::size_t const objects_before = db.GetNumObjects();

    std::size_t committed = 0;
    bool read;
    {
      fuzz::PlanHandler handler(&db);
      MSAXReader reader;
      read = reader.ReadMemory(std::string_view(reinterpret_cast<char const*>(data), size), handler);
      committed = handler.committed;
      fuzz::Require(!read || handler.parts.empty(), "parts left staged after an accepted file");
      for (auto const& part : handler.parts)
        fuzz::Require(part->GetParent() == nullptr, "a refused file moved an object");
    }
    if (!read) {
      fuzz::Require(fuzz::Describe(db) == db_before, "a refused file changed the database");
      fuzz::Require(fuzz::Describe(*rep) == rep_before, "a refused file changed the repository");
    } else {
      fuzz::Require(rep->Sanity(), "an accepted file left a tree too deep");
      fuzz::Require(a->GetParent() == &db.GetRootUIObject() && b->GetParent() == a, "the open plan was moved");
      // Every object reaches the root: no object is its own ancestor, none was lost.
      for (std::size_t i = 0; i < db.GetNumObjects(); ++i) {
        auto const* object = dynamic_cast<UIObject const*>(db.GetObjectW(i));
        std::size_t steps = 0;
        UIObject const* p = object;
        for (; p && p != &db.GetRootUIObject(); p = p->GetParent())
          fuzz::Require(++steps <= db.GetNumObjects() + 1, "objects in a loop");
        fuzz::Require(p == &db.GetRootUIObject(), "an object of the file outside the tree");
      }
      fuzz::Require(db.GetNumObjects() == objects_before + committed, "objects of the file lost or doubled");
    }
  }
  MTransformRepositoryEx::DeleteInstance();
  return 0;
}
