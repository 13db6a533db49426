#pragma once
// MTransformRepositoryCoordinateSystem: one node of the tree of coordinate systems. It holds
// the transform from itself into its parent (its "To", the system it depends on) and a weight.
//
// The weight of a node is the number of MCoordinateSystem handles on it plus those on every
// node below it, so adding or removing a handle walks the chain up to the root. A node is born
// with weight 0 (its parent's weight is not touched) and deletes itself at the moment its
// weight falls to 0. Children do not hold their parent as such: a node whose children nobody
// holds dies, and leaves those children (weight 0, never held) to the repository's
// DeleteUnreferencedSystems.
//
// Hosts hold handles, not nodes; the repository owns all nodes.

#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/markup/ISAXPersist.h"

class MMTransform;
class MSAXReader;
class MSAXWriter;
class MTransformRepository;
class MTransformRepositoryEx;

class OSTRUM_API MTransformRepositoryCoordinateSystem : public ISAXPersist {
 public:
  /// A node with no parent, no transform, an empty label.
  MTransformRepositoryCoordinateSystem();
  /// A node below `to` (null: none) that takes ownership of `t` (null: no transform). A null
  /// label leaves the label empty.
  MTransformRepositoryCoordinateSystem(MTransformRepositoryCoordinateSystem* to, MMTransform* t,
                                       wchar_t const* label);
  /// A node below `to` with a clone of `t`.
  MTransformRepositoryCoordinateSystem(MTransformRepositoryCoordinateSystem* to, MMTransform const& t,
                                       wchar_t const* label);
  /// Same parent, a clone of the transform, the same label; weight 0, saved.
  MTransformRepositoryCoordinateSystem(MTransformRepositoryCoordinateSystem const& other);
  /// Takes the other's parent and a clone of its transform, moving this node's own weight from
  /// the old parent chain to the new one. Label, the not-saved mark and the weight stay.
  MTransformRepositoryCoordinateSystem& operator=(MTransformRepositoryCoordinateSystem const& other);
  /// Deletes the transform and takes the node out of its repository's list, which empties the
  /// transform cache. Touches neither the parent's weight nor the children.
  ~MTransformRepositoryCoordinateSystem() override;

  /// The parent, null for the absolute world.
  MTransformRepositoryCoordinateSystem* GetTo() const { return m_to; }
  /// The same as GetTo.
  MTransformRepositoryCoordinateSystem* GetDependent() const { return m_to; }
  /// The transform from this node into its parent, owned by the node; null for the world.
  MMTransform* GetTransform() const { return m_transform; }
  /// Handles on this node and on all nodes below it.
  std::uint32_t GetWeight() const { return m_weight; }
  /// True: the node is left out when the tree is written.
  bool GetDontSave() const { return m_dont_save; }
  bool IsMustSave() const { return !m_dont_save; }
  /// Marks the node as not saved; the mark is never cleared.
  void SetDontSave() { m_dont_save = true; }

  /// Hangs the node (and its subtree, whose transforms stay) below `to`: the node's weight
  /// leaves the old parent chain, which may die of it, and enters the new one. Nothing
  /// happens when `to` is already the parent, or is this node or lies below it (that would
  /// close a loop). Does not touch any transform cache.
  void SetDependent(MTransformRepositoryCoordinateSystem* to);
  /// Deletes the transform and takes ownership of `t`. Does not touch any transform cache.
  void ReplaceTransform(MMTransform* t);
  /// Sets the label; null empties it.
  void SetUnit(wchar_t const* label);
  /// The first non-empty label on the way from this node to the root (empty if there is none).
  std::wstring const& GetUnit() const;
  /// The node's own label, possibly empty.
  std::wstring const& GetLabel() const { return m_label; }

  // --- the node's element (see MTransformRepository for the whole) ---

  /// Before its element is read: gives up its weight in its parent chain (a node being loaded
  /// has none), forgets parent, transform and label.
  void SetDefaults() override;
  /// "To" (the reference to the parent), "Label" and "TransformMatrix" (sixteen numbers, row by
  /// row; an empty text is the identity). A second one of either, a reference or a number that
  /// cannot be read refuse the file; other tags are not the node's.
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override;
  /// The parent's number becomes the node; a number no element defined, or one that names no
  /// coordinate system, refuses the file.
  void ResolveReferences(MSAXReader& reader) override;
  /// Writes "CoordinateSystem" with the node's number, "To", "Label" (when not empty) and
  /// "TransformMatrix" (when the transform is a matrix).
  bool Write(MSAXWriter& writer) const override;

  /// True when `parent` is the parent (`direct`) or any node above this one.
  bool ChildOf(MTransformRepositoryCoordinateSystem const* parent, bool direct) const;
  /// This node or the node above it whose parent is `ancestor`; null if the chain ends first.
  MTransformRepositoryCoordinateSystem* GetChildOfDependent(
      MTransformRepositoryCoordinateSystem const* ancestor) const;
  /// True when `ancestor` lies above this node; a node does not depend on itself.
  bool IsDependentOn(MTransformRepositoryCoordinateSystem const* ancestor) const {
    return GetChildOfDependent(ancestor) != nullptr;
  }

  /// Adds `n` to the weight of this node and of every node above it.
  void AddRef(std::uint32_t n) const {
    for (MTransformRepositoryCoordinateSystem const* p = this; p; p = p->m_to) p->m_weight += n;
  }
  /// Takes `n` from the weight of this node and of every node above it; every node whose
  /// weight is then 0 is deleted, the highest first and this one last.
  void Release(std::uint32_t n) const {
    for (MTransformRepositoryCoordinateSystem const* p = this; p; p = p->m_to) p->m_weight -= n;
    if (m_weight == 0) _DeleteDeadChain();
  }

 private:
  friend class MTransformRepository;
  friend class MTransformRepositoryEx;
  static constexpr std::uint8_t kLoadTo = 1, kLoadLabel = 2, kLoadMatrix = 4, kLoadStaged = 8;

  // Deletes this node and the nodes above it whose weight is 0, from the top down.
  void _DeleteDeadChain() const;

  // The parent and the weight sit together: handle copies walk exactly these two fields.
  MTransformRepositoryCoordinateSystem* m_to = nullptr;
  mutable std::uint32_t m_weight = 0;
  bool m_dont_save = false;
  // While the node's element is read: which of its parts came already (kLoad* bits), and
  // whether it is staged by a load rather than in a repository's list.
  std::uint8_t m_load_flags = 0;
  MMTransform* m_transform = nullptr;
  std::wstring m_label;
  // The repository whose list holds the node, told when it dies; null for a node in no list.
  MTransformRepository* m_repository = nullptr;
};
