#include "ostrum/objects/MSAXUIObjectChildren.h"

#include <memory>
#include <string_view>
#include <vector>

#include "ostrum/foundation/markup/MSAXReader.h"
#include "ostrum/foundation/markup/MSAXWriter.h"
#include "ostrum/foundation/markup/MStreamTextIn.h"
#include "ostrum/foundation/markup/private/FlatTable.h"
#include "ostrum/objects/UIObject.h"

namespace {

std::uint32_t NumberOf(UIObject const* slot) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(slot));
}

// The parents every child list of one file gives, checked as a whole once all are resolved.
struct ChildClaims {
  Ostrum::Markup::Private::FlatTable<UIObject const*, UIObject const*> parent_of;

  // The parent an object will have once the lists are applied.
  UIObject const* FutureParent(UIObject const* object) const {
    UIObject const* const* const claimed = parent_of.Find(object);
    return claimed ? *claimed : object->GetParent();
  }

  // True when following the future parents from any claimed child never comes back round:
  // each object is walked once (0 unseen, 1 on the walk under way, 2 known to end).
  bool FreeOfLoops() const {
    Ostrum::Markup::Private::FlatTable<UIObject const*, int> state;
    state.Reserve(parent_of.Size());
    std::vector<UIObject const*> walk;
    bool free = true;
    parent_of.ForEach([&](UIObject const* child, UIObject const*) {
      if (!free) return;
      walk.clear();
      for (UIObject const* p = child; p; p = FutureParent(p)) {
        int& s = state[p];
        if (s == 1) {
          free = false;
          return;
        }
        if (s == 2) break;
        s = 1;
        walk.push_back(p);
      }
      for (UIObject const* w : walk) state[w] = 2;
    });
    return free;
  }
};

int const kClaimsKey = 0;

}  // namespace

MSAXUIObjectChildren::MSAXUIObjectChildren(UIObject* object) : MSAXPersistHelper<UIObject>(object) {}

MSAXUIObjectChildren::~MSAXUIObjectChildren() = default;

void MSAXUIObjectChildren::SetDefaults() { m_children.clear(); }

bool MSAXUIObjectChildren::HandleTag(std::wstring const& tag, MSAXReader& reader) {
  if (tag != L"Child") return false;
  std::string_view const text = reader.GetValueUTF8();
  if (text.empty()) return true;
  MStreamTextIn in(text);
  std::uint32_t id = 0;
  in >> id;
  if (!in || !in.AtEnd()) {
    reader.Refuse(L"\"Child\" holds no reference number");
    return false;
  }
  if (id == 0) return true;
  m_children.push_back(reinterpret_cast<UIObject*>(static_cast<std::uintptr_t>(id)));
  reader.AddToReferenceResolver(this);
  return true;
}

void MSAXUIObjectChildren::HandleEndTag(std::wstring const& /*tag*/) {}

void MSAXUIObjectChildren::ResolveReferences(MSAXReader& reader) {
  std::shared_ptr<void>& data = reader.GetLoadData(&kClaimsKey);
  if (!data) {
    auto claims = std::make_shared<ChildClaims>();
    reader.AddLoadCheck([&reader, claims = claims.get()] {
      if (claims->FreeOfLoops()) return true;
      reader.Refuse(L"objects that are their own ancestors");
      return false;
    });
    data = std::move(claims);
  }
  auto& claims = *static_cast<ChildClaims*>(data.get());
  for (UIObject*& slot : m_children) {
    std::uint32_t const id = NumberOf(slot);
    auto* const child = dynamic_cast<UIObject*>(reader.FindReference(id));
    if (!child) {
      reader.Refuse(L"a child " + std::to_wstring(id) + L" that is no object of the file");
      return;
    }
    if (child == m_object) {
      reader.Refuse(L"an object that is its own child");
      return;
    }
    if (!claims.parent_of.Insert(child, m_object).second) {
      reader.Refuse(L"an object claimed as a child twice");
      return;
    }
    slot = child;
  }
}

void MSAXUIObjectChildren::InitAfterLoading() {
  for (UIObject* child : m_children) child->MoveToParent(m_object);
}

bool MSAXUIObjectChildren::Write(MSAXWriter& writer) const {
  std::size_t const count = m_object->GetNumChildren(false);
  for (std::size_t i = 0; i < count; ++i) {
    UIObject* const child = m_object->GetChild(i);
    if (child->MustBeSavedInRoot()) writer.WriteReference(L"Child", child);
  }
  return writer.IsGood();
}

bool MSAXUIObjectChildren::HasChildrenToSave() const {
  std::size_t const count = m_object->GetNumChildren(false);
  for (std::size_t i = 0; i < count; ++i)
    if (m_object->GetChild(i)->MustBeSavedInRoot()) return true;
  return false;
}
