#pragma once
// MSAXUIObjectChildren: the "Children" element of a UIObject, which records its children as
// references: one "Child" element per child to be saved, in the order of the parent's children,
// whose text is the child's reference number. The children's own elements stand elsewhere in
// the file; the tree is rebuilt from the references once the whole file is in.
//
// Reading is checked as a whole before anything moves: a reference no element defined, one to
// something that is no tree object, an object given as its own child, a child claimed by two
// parents (or twice by one) and a loop of parents refuse the file. Only InitAfterLoading, the
// commit, moves the children under their parent.

#include <cstddef>
#include <string>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/objects/MSAXPersistHelper.h"
#include "ostrum/objects/UIObject.h"

class OSTRUM_API MSAXUIObjectChildren : public MSAXPersistHelper<UIObject> {
 public:
  /// The child list of `object`.
  explicit MSAXUIObjectChildren(UIObject* object);
  ~MSAXUIObjectChildren() override;

  /// Empties the list read.
  void SetDefaults() override;
  /// "Child": its number joins the list (an empty text or 0, a child that could not be saved,
  /// is passed over); a text that is no number refuses the file. False for other tags.
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override;
  void HandleEndTag(std::wstring const& tag) override;
  /// Each number becomes its object; see the class comment for what refuses the file.
  void ResolveReferences(MSAXReader& reader) override;
  /// Moves each child under the object, in file order (MoveToParent sorts by priority).
  void InitAfterLoading() override;
  /// A "Child" for each child of the object whose MustBeSavedInRoot is true, in order. True
  /// unless writing failed.
  bool Write(MSAXWriter& writer) const override;
  /// Whether some child of the object is to be saved.
  virtual bool HasChildrenToSave() const;

  /// The slots: reference numbers while reading, the children after ResolveReferences.
  std::vector<UIObject*> const& GetChildrenRead() const { return m_children; }

 private:
  std::vector<UIObject*> m_children;
};
