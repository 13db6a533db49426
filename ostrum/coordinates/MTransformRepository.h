#pragma once
// MTransformRepository: the one rooted tree of coordinate systems and the transform query.
//
// Every node has one parent and carries the transform from itself into that parent; the root
// is the absolute world, held by the repository and not counted among the systems. The
// repository owns all nodes; hosts hold MCoordinateSystem handles, which keep the nodes alive.
// The last repository constructed is the process-wide one (GetInstance), through which the
// handles move and convert.
//
// GetTransform(from, to) takes coordinates of `from` into coordinates of `to`. It finds the path
// through the nearest common ancestor, composes the transforms along it, and keeps the result
// in a cache of 20 slots, slot 0 the most recently used. A request for the opposite direction
// of a cached pair turns that entry round in place. Every change that can alter a transform
// (moving a system, writing or replacing its transform, the death of a node) empties the cache.
//
// User-interface thread only; the const queries change the cache.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/coordinates/ICoordinateSystemDefault.h"
#include "ostrum/coordinates/MCoordinateSystem.h"
#include "ostrum/coordinates/MTransformRepositoryCoordinateSystem.h"
#include "ostrum/coordinates/TransformCacheEntry.h"
#include "ostrum/foundation/markup/ISAXPersist.h"

class ITransformRepositoryNotifyDelete;
namespace Ostrum::Private {
class ScratchRepositoryScope;
struct RepositoryLoad;
}  // namespace Ostrum::Private
class MMTransform;
class MMTransformMatrix;

class OSTRUM_API MTransformRepository : public ISAXPersist, public ICoordinateSystemDefault {
 public:
  /// Number of slots of the transform cache; also the slot number that means "not found".
  static constexpr std::int16_t kCacheSize = 20;
  /// Paths longer than this many nodes below the root are not searched: a system must lie at
  /// most kMaxDepth - 1 levels below the absolute world.
  static constexpr int kMaxDepth = 20;

  /// Becomes the process-wide repository; makes the root, held by the absolute-world handle.
  MTransformRepository();
  MTransformRepository(MTransformRepository const&) = delete;
  MTransformRepository& operator=(MTransformRepository const&) = delete;
  /// Deletes the unreferenced systems, tells every subscriber TransformRepositoryWasDeleted (in
  /// order of subscription), empties the cache and releases the root. Nodes still held by
  /// handles are left to those handles and no longer belong to any repository. Stops being the
  /// process-wide repository.
  ~MTransformRepository() override;

  /// The process-wide repository, null if there is none.
  static MTransformRepository* GetInstance() { return mgp_instance; }
  /// True for the application's repository (MTransformRepositoryEx) from the start of its
  /// constructor's body to the start of this class's destructor: what a run-time cast to it
  /// would answer, for the price of a load.
  bool _IsApplicationRepository() const { return m_application; }

  /// The handle on the root.
  MCoordinateSystem const& GetAbsoluteWorld() const { return m_absolute_world; }
  /// True for the absolute world only; the application's repository adds its unit systems.
  bool IsCoordinateSystemDefault(MCoordinateSystem const& system) const override;

  /// A new system below `parent` (undefined: below no node, treated as a child of the world)
  /// with a copy of `t` as its transform into the parent, and `label` (null: none, so the
  /// unit is inherited). The returned handle is the system's first reference.
  MCoordinateSystem CreateNewSystem(MMTransform const& t, MCoordinateSystem const& parent,
                                    wchar_t const* label = nullptr);
  /// The same, marked to be left out when the tree is written.
  MCoordinateSystem CreateNewSystemNotSaved(MMTransform const& t, MCoordinateSystem const& parent,
                                            wchar_t const* label = nullptr);
  /// A copy of `system` that starts where it is. For a default system (as `defaults` says;
  /// null: this repository) the copy is its child with an identity transform, since a second
  /// world beside the first makes no sense; otherwise it is a sibling with the same transform
  /// into the common parent. The copy carries the system's unit as its label, and is not saved
  /// when the system is not.
  MCoordinateSystem CloneSystem(MCoordinateSystem const& system,
                                ICoordinateSystemDefault const* defaults = nullptr);

  /// Hangs `system` below `parent`, keeping its transform: the system and its subtree move in
  /// space. Empties the cache. Nothing happens when `parent` is the system itself or lies below
  /// it.
  virtual void SetDependentCoordinateSystem(MCoordinateSystem const& system,
                                            MCoordinateSystem const& parent);
  /// The parent of a defined system (undefined for the root); for an undefined handle, the
  /// absolute world of the process-wide repository.
  virtual MCoordinateSystem GetDependentCoordinateSystem(MCoordinateSystem const& system) const;

  /// The system's transform into its parent, for writing at once: the cache is emptied now, so
  /// the pointer is not to be kept across queries.
  MMTransform* AccessTransform(MCoordinateSystem const& system);
  /// The same as a matrix; null when the transform is of another kind.
  MMTransformMatrix* AccessTransformMatrix(MCoordinateSystem const& system);
  /// Gives the system a copy of `t` as its transform into the parent. Empties the cache.
  void ReplaceTransform(MMTransform const& t, MCoordinateSystem const& system);
  /// Sets the system's label (null empties it). The cache stays.
  void SetUnit(MCoordinateSystem const& system, wchar_t const* unit);

  /// Takes over all systems of `other`: its top systems hang below this root, deeper ones keep
  /// their parents, handles made from `other` stay valid. `other` is left empty and may then
  /// be deleted. The cache stays.
  void Import(MTransformRepository& other);
  /// False when some system lies kMaxDepth or more levels below the root.
  bool Sanity() const;
  /// Systems in the list, the root not counted.
  std::size_t GetNumberOfSystems() const { return m_systems.size(); }
  /// The systems in order of creation, the root not included; the repository owns them.
  std::vector<MTransformRepositoryCoordinateSystem*> const& GetSystems() const { return m_systems; }

  /// Adds a listener of every repository's deletion and of the next one's creation, unless it
  /// is there already. The listeners belong to the class; the caller keeps ownership.
  static void SubscribeNotifyDelete(ITransformRepositoryNotifyDelete* listener);
  /// Removes the listener if it is there.
  static void UnsubscribeNotifyDelete(ITransformRepositoryNotifyDelete* listener);

  /// Deletes every system that no handle reaches (weight 0), keeping the order of the others.
  void DeleteUnreferencedSystems();
  /// True when `ancestor` lies above `system` on its way to the absolute world, as
  /// GetDependentCoordinateSystem sees it. No system depends on itself.
  bool IsCoordinateSystemDependent(MCoordinateSystem const& system,
                                   MCoordinateSystem const& ancestor) const;
  /// Hangs every direct child of `gone` below `keep` without moving it in space (matrix
  /// transforms are corrected by the transform from `gone` into `keep`); `gone` stays, without
  /// children. A child that is `keep` or lies above it stays where it is. The cache is not
  /// emptied: no system moves.
  void MergeCoordinateSystems(MCoordinateSystem const& keep, MCoordinateSystem const& gone);

  // --- the transform query ---

  /// The transform from `from` coordinates into `to` coordinates, owned by the cache. The
  /// reference stays valid, at the same value, until the cache is emptied, the entry is pushed
  /// out by 20 newer pairs, or the opposite direction is asked for: then the same object shows
  /// the inverse. An undefined handle counts as the absolute world. Keep a copy
  /// (CreateTransform) to hold it longer.
  MMTransform const& GetTransform(MCoordinateSystem const& from, MCoordinateSystem const& to) const;
  /// The same, as a matrix; throws std::bad_cast when the composed transform is none (the query
  /// composes matrices, so it always is one).
  MMTransformMatrix const& GetTransformMatrix(MCoordinateSystem const& from,
                                              MCoordinateSystem const& to) const;
  /// Counts of transform queries since construction or the last reset.
  struct CacheStatistics {
    std::uint64_t hits = 0;           ///< found in the direction asked for
    std::uint64_t reversed_hits = 0;  ///< found the other way round and turned in place
    std::uint64_t misses = 0;         ///< composed along the path and added
  };
  CacheStatistics const& GetCacheStatistics() const { return m_statistics; }
  void ResetCacheStatistics() { m_statistics = CacheStatistics(); }
  // --- the repository in a project file ---
  //
  // Written as "CoordinateSystems" (a "CoordinateSystem" per saved node, in list order, each
  // with its number, "To", "Label" and "TransformMatrix") and "World" (the root's element).
  // Read back into this running repository: the nodes of the file are staged and enter the
  // list only when the whole file has been read, resolved and checked (no loops, no system
  // deeper than kMaxDepth - 1, no unknown reference), so a refused file leaves the repository
  // as it was. The staged nodes are held by nobody: handles read in the same file give them
  // their weight when the load completes, and nodes no handle reaches are deleted then.

  /// Writes nothing: the application repository writes the tree (MTransformRepositoryEx).
  bool Write(MSAXWriter& writer) const override;
  /// "CoordinateSystems" and "World" (true); a "CoordinateSystem" inside "World" is taken by
  /// the root's stand-in, any other by a new staged node. Other tags are not the repository's.
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override;
  /// The file's number of the world comes to mean the root (so that references to it resolve
  /// to the running root).
  void ResolveReferences(MSAXReader& reader) override;
  /// The commit: the staged nodes join the list in file order, the root takes the label of
  /// the "World" element. Nothing when no load is under way.
  void InitAfterLoading() override;
  /// True while a file is being read into the repository.
  bool IsLoading() const { return m_load != nullptr; }

  /// A copy of GetTransform(from, to), owned by the caller.
  MMTransform const* CreateTransform(MCoordinateSystem const& from, MCoordinateSystem const& to) const;
  /// The same, writable.
  MMTransform* ComputeNewTransform(MCoordinateSystem const& from, MCoordinateSystem const& to) const;

 protected:
  using Path = std::vector<MTransformRepositoryCoordinateSystem const*>;

  /// Marks this repository as the application's one (see _IsApplicationRepository); called
  /// first in that class's constructor.
  void _MarkApplicationRepository() { m_application = true; }
  /// Sets the label of the root.
  void _SetAbsoluteWorldUnit(wchar_t const* unit);

  /// Writes "CoordinateSystems" with a "CoordinateSystem" for each node not marked DontSave, in
  /// list order, then "World" with the root's element. True unless writing failed.
  bool _WriteCoordinateSystems(MSAXWriter& writer) const;
  /// The load of `reader` into this repository, begun now if none is under way (the repository
  /// then asks for resolution, a check and a refusal action). Null, and the file refused, when
  /// another file is being read into it.
  Ostrum::Private::RepositoryLoad* _BeginLoad(MSAXReader& reader);
  /// The load under way, or null.
  Ostrum::Private::RepositoryLoad* _GetLoad() const { return m_load.get(); }
  /// Checks the staged nodes as a whole (run after every reference is resolved): false, with
  /// the file refused, for a loop, a system too deep or a "World" element with a parent.
  virtual bool _CheckLoad(MSAXReader& reader);
  /// Moves the staged nodes into the list and gives the root the world's label; the load state
  /// stays for the caller, which ends it with _EndLoad.
  void _CommitLoadedSystems();
  /// Ends the load: the handles read take their nodes (counted now) and give up what they held
  /// before, the load state goes and nodes nobody holds are deleted.
  void _EndLoad();
  /// Called by _EndLoad once the handles read count: a derived repository takes over the
  /// systems the file gave its own handles. Nothing here.
  virtual void _TakeOverLoadedSystems(Ostrum::Private::RepositoryLoad& load);
  /// Takes back a refused load: staged nodes deleted, handles read given back what they held.
  void _AbandonLoad();
  /// Tells every subscriber TransformRepositoryWokeUpAgain, in order.
  void _NotifyWokeUp();

  /// The first slot from 0 on that holds the pair (from, to), or kCacheSize; true if found.
  bool _CanGetTransformFromCache(std::int16_t& slot, MCoordinateSystem const& from,
                                 MCoordinateSystem const& to) const;
  /// Stores `t`, taking ownership, as the transform of (from, to) in the slot "cache next"
  /// names, and answers the slot. "Cache next" rises with each entry and stays at the last
  /// slot once it gets there, which then holds the least recently used entry. A pair already
  /// cached keeps its transform and `t` is deleted.
  std::int16_t _AddTransformToCache(MCoordinateSystem const& from, MCoordinateSystem const& to,
                                    MMTransform* t) const;
  /// Moves the entry of `slot` to slot 0, the ones before it one slot down.
  void _PutTransformOnTopOfCache(std::int16_t slot) const;
  /// Empties every slot; "cache next" stays.
  void _CacheInvalidate();
  /// The slot itself, and "cache next".
  TransformCacheEntry const& _GetCacheSlot(std::int16_t slot) const;
  std::uint16_t _GetCacheNext() const { return m_cache_next; }

  /// `path` = the nodes from `system` up to the root, the root included (just the root for an
  /// undefined handle). A node without a parent ends the walk as if the root were its parent.
  /// False when the walk met kMaxDepth nodes below the root; the path then ends with them.
  bool _FillInPathToWorld(Path& path, MCoordinateSystem const& system) const;
  /// The nodes whose transforms lead from `from` and from `to` up to their nearest common
  /// ancestor, each list starting at its own end and without nodes whose transform is the
  /// identity, except the node next to the ancestor on either side of a fork. False (and the
  /// lists untouched) when either system lies too deep.
  bool _FillInShortestPath(Path& from_path, Path& to_path, MCoordinateSystem const& from,
                           MCoordinateSystem const& to) const;
  /// A node below `parent`'s node with a copy of `t`, added to the list but held by no handle,
  /// so its weight is 0 and DeleteUnreferencedSystems removes it unless a handle comes first.
  MTransformRepositoryCoordinateSystem* _CreateNewSystem(MMTransform const& t,
                                                         MCoordinateSystem const& parent,
                                                         wchar_t const* label);
  /// The composition of the transforms of `path` (near end first in the list, so it acts
  /// first), then `*extra` if `extra` is not null; a new transform owned by the caller.
  static MMTransform* _ConcatPathTransforms(Path& path, MMTransform** extra);

 private:
  friend class MTransformRepositoryCoordinateSystem;
  friend class MCoordinateSystem;
  using Node = MTransformRepositoryCoordinateSystem;

  // -1 for the root, the index in the list, -2 if absent.
  std::int16_t _GetIndex(Node const* node) const;
  // Told by a dying node: empties the cache and drops the node from the list if it is there.
  void _DeleteSystem(Node* node);

  // The query on nodes. These are hidden from the library's interface so that the query calls
  // them directly and can inline them.
  // The slot of a cached pair, or kCacheSize.
  OSTRUM_LOCAL std::int16_t _FindInCache(Node const* from, Node const* to) const;
  // The entry at `slot`, and the slot of entry `index` (see m_used).
  OSTRUM_LOCAL int _EntryAtSlot(int slot) const;
  OSTRUM_LOCAL std::int16_t _SlotOfEntry(int index) const;
  // The entry holding the pair (from, to), or -1.
  OSTRUM_LOCAL int _FindEntry(Node const* from, Node const* to) const;
  // Enters entry `index`, which holds a transform, into the index of pairs, or takes it out.
  OSTRUM_LOCAL void _IndexInsert(int index) const;
  OSTRUM_LOCAL void _IndexErase(int index) const;
  // Brings entry `index` to slot 0: the same few stores whatever its slot was.
  void _Touch(int index) const {
    m_used[index] = ++m_clock;
    m_top = static_cast<std::int8_t>(index);
  }
  // Stores `t` for a pair not cached in entry `index`, which stands at the slot "cache next"
  // names, and advances "cache next"; the entry keeps its slot.
  OSTRUM_LOCAL void _StoreAtNext(int index, Node const* from, Node const* to, MMTransform* t) const;
  // Composes the transform of a pair that is not cached and stores it at "cache next"; answers
  // its entry.
  OSTRUM_LOCAL int _ComputeIntoCache(Node const* from, Node const* to) const;
  // The same by copies of the node transforms, for a path that must keep a transform's kind.
  OSTRUM_LOCAL int _ComputeIntoCacheByCopies(int index, Node const* from, Node const* to) const;
  // Fills m_concat_list with the path's transforms, the far end first, as Concat takes them.
  OSTRUM_LOCAL void _FillConcatList(Path const& path) const;
  OSTRUM_LOCAL bool _PathToWorld(Path& path, Node const* node) const;
  OSTRUM_LOCAL bool _ShortestPath(Path& from_path, Path& to_path, Node const* from, Node const* to) const;
  OSTRUM_LOCAL static MMTransform* _Concat(Path const& path, MMTransform** extra,
                                           std::vector<MMTransform*>& list);

  std::vector<Node*> m_systems;
  MCoordinateSystem m_absolute_world;
  // The entries stay where they are, so a transform handed out keeps its address. The slots
  // are their order by last use: m_used[i] is the tick of the query that last brought entry i
  // to the top (0: never), the most recent first, entries never used last in their own order.
  // A hit thus stores one tick whatever its slot, and only the slow paths (a miss, and the
  // slot-numbered interface) work the order out. m_top is the entry at slot 0.
  mutable TransformCacheEntry m_cache[kCacheSize];
  mutable std::uint64_t m_used[kCacheSize] = {};
  mutable std::uint64_t m_clock = 0;
  mutable std::int8_t m_top = 0;
  // True when some pair may be cached in both directions, which only _AddTransformToCache can
  // bring about; until the next invalidation the query then prefers the direction asked for
  // over a reverse it met first.
  mutable bool m_both_directions = false;
  // The entries that hold a transform, by their pair taken without direction: open addressing
  // over 64 buckets, each the number of an entry or -1. One probe sequence finds a pair, or
  // its reverse, whatever its slot.
  struct PairIndex {
    static constexpr int kBuckets = 64;
    PairIndex() { Clear(); }
    void Clear() {
      for (std::int8_t& bucket : buckets) bucket = -1;
    }
    std::int8_t buckets[kBuckets];
  };
  mutable PairIndex m_pair_index;
  mutable std::uint16_t m_cache_next = 0;
  // Set by the application's repository, see _IsApplicationRepository.
  bool m_application = false;
  mutable CacheStatistics m_statistics;
  // Working lists of the query, kept so that a miss allocates nothing but its result.
  mutable Path m_from_path, m_to_path, m_walk_from, m_walk_to;
  mutable std::vector<MMTransform*> m_concat_list;
  // The file being read into the repository, if any.
  std::unique_ptr<Ostrum::Private::RepositoryLoad> m_load;

  static MTransformRepository* mgp_instance;

  // The built-in checks run on a scratch repository of their own: they set the process's
  // instance and listeners aside and bring them back (private/ScratchRepository.h).
  friend class Ostrum::Private::ScratchRepositoryScope;
  OSTRUM_LOCAL static void _SwapProcessState(MTransformRepository*& instance,
                                             std::vector<ITransformRepositoryNotifyDelete*>& listeners);
};
