#pragma once
// MCoordinateSystem: the value that stands for a coordinate system. It is a handle on a node of
// the process-wide repository and counts as one reference on that node and on every node above
// it, so copying or destroying a handle walks the chain up to the root: objects keep handles as
// members and hand out const references rather than copies.
//
// A handle is undefined when it refers to no node. Handles compare equal when they refer to the
// same node. A handle that outlives its repository is invalid; holders that must survive a
// repository subscribe to ITransformRepositoryNotifyDelete and drop their handles when told.
//
// The moving operations change the node's transform into its parent, so everything that lives
// in the system moves with it; each change applies after the transform already there. Angles
// are degrees here.

#include <string>

#include "ostrum/Export.h"
#include "ostrum/coordinates/ICoordinateSystem.h"
#include "ostrum/coordinates/ITransformable.h"
#include "ostrum/coordinates/MTransformRepositoryCoordinateSystem.h"
#include "ostrum/foundation/markup/ISAXPersist.h"

class MMTransform;
class MMTransformMatrix;
class MSAXReader;
class MSAXWriter;
class MTransformRepository;
class MTransformRepositoryEx;

class OSTRUM_API MCoordinateSystem : public ICoordinateSystem, public ISAXPersist, public ITransformable {
 public:
  /// An undefined handle.
  MCoordinateSystem() = default;
  /// A handle on the same node; one more reference up the chain.
  MCoordinateSystem(MCoordinateSystem const& other)
      : ISAXReference(), ICoordinateSystem(), ISAXPersist(), ITransformable(), m_system(other.m_system) {
    if (m_system) m_system->AddRef(1);
  }
  /// Takes over the other's reference, leaving it undefined; no walk up the chain.
  MCoordinateSystem(MCoordinateSystem&& other) noexcept
      : ISAXReference(), ICoordinateSystem(), ISAXPersist(), ITransformable(), m_system(other.m_system) {
    other.m_system = nullptr;
  }
  /// Gives up the reference; the node dies with its last reference, and so may nodes above it.
  ~MCoordinateSystem() override {
    if (m_system) m_system->Release(1);
  }
  /// Refers to the other's node. The new reference is taken before the old one is given up,
  /// so assigning a handle on a node to the node's only handle is harmless.
  MCoordinateSystem& operator=(MCoordinateSystem const& other) {
    SetInternalSystem(other.m_system);
    return *this;
  }

  /// Takes over the other's reference, leaving it undefined, and gives up the own one.
  MCoordinateSystem& operator=(MCoordinateSystem&& other) noexcept {
    if (this != &other) {
      MTransformRepositoryCoordinateSystem* const old = m_system;
      m_system = other.m_system;
      other.m_system = nullptr;
      if (old) old->Release(1);
    }
    return *this;
  }

  /// Refers to `system` (null: undefined), as operator= does.
  void SetInternalSystem(MTransformRepositoryCoordinateSystem* system) {
    if (system) system->AddRef(1);
    MTransformRepositoryCoordinateSystem* const old = m_system;
    m_system = system;
    if (old) old->Release(1);
  }
  /// The node, null when undefined. The repository owns it.
  MTransformRepositoryCoordinateSystem* GetInternalSystem() const { return m_system; }
  /// Gives up the reference and becomes undefined.
  void SetUndefined() { SetInternalSystem(nullptr); }
  bool IsDefined() const { return m_system != nullptr; }

  /// Same node; two undefined handles are equal.
  bool operator==(MCoordinateSystem const& other) const { return m_system == other.m_system; }
  bool operator!=(MCoordinateSystem const& other) const { return m_system != other.m_system; }

  /// The unit of the system: its label or the nearest label above it. The handle must be
  /// defined.
  std::wstring const& GetUnit() const { return m_system->GetUnit(); }
  /// True when `parent` is this system's parent (`direct`) or any system above it; false when
  /// either handle is undefined.
  bool ChildOf(MCoordinateSystem const& parent, bool direct) const;

  // --- moving the system; the handle must be defined, and the cache of the process-wide
  //     repository is emptied. Rotate and Rescale take degrees and hide the forms of
  //     ITransformable, which a caller holding an ITransformable still reaches ---

  /// Applies `m` after the present transform.
  void Transform(MMTransformMatrix const& m);
  /// The same; `t` must be a matrix, otherwise std::bad_cast is thrown.
  void Transform(MMTransform const& t) override;
  /// Moves by `d`, in parent coordinates.
  void Translate(MMPoint3d<double> d) override;
  /// Turns about `center` (parent coordinates) by x, then y, then z degrees about the axes.
  void Rotate(MMPoint3d<double> center, float x, float y, float z);
  /// Turns by `angle` degrees about the line through `center` along `axis` (right-handed).
  void Rotate(MMPoint3d<double> center, MMPoint3d<double> axis, float angle);
  /// Scales by sx, sy, sz along the parent's axes, keeping `center` fixed.
  void Rescale(MMPoint3d<double> center, float sx, float sy, float sz);
  bool CanTranslate() const override { return true; }
  bool CanRotate() const override { return true; }
  bool CanRescale() const override { return true; }

  // --- the handle in a project file: a reference to its node (format with the repository) ---

  /// Writes the element `tag` whose text is the number of the node (0 when undefined).
  bool WriteCoordinateSystem(wchar_t const* tag, MSAXWriter& writer) const;
  /// Reads the element being offered as the reference to this handle's system. The handle
  /// takes the system once the whole file is in (the application repository counts it then);
  /// the system it had until then is given up only if the read succeeds. Refuses the file
  /// (false) without an application repository, when the handle is read twice in one file or
  /// the text is no reference number; an empty text is false and leaves the handle alone.
  bool ReadCoordinateSystem(MSAXReader& reader);
  /// Nothing: a handle has no element of its own.
  void SetDefaults() override {}
  /// Turns the number read into the node; a number no element defined refuses the file.
  void ResolveReferences(MSAXReader& reader) override;
  void InitAfterLoading() override {}
  /// True, writing nothing: a handle is written as a reference by WriteCoordinateSystem.
  bool Write(MSAXWriter& writer) const override;

  // --- conversion into this system, through the process-wide repository ---

  /// out = `in` taken from `source` into this system. A null `source` means the millimetre
  /// system; an undefined one, the absolute world.
  void GetPoint3dCoordinateSystemToThis(MMPoint3d<double>& out, MMPoint3d<double> const& in,
                                        ICoordinateSystem const* source) const override;
  /// The same for a vector, which keeps the scale but not the translation. A null or
  /// undefined `source` means the millimetre system.
  void GetVector3dCoordinateSystemToThis(MMPoint3d<double>& out, MMPoint3d<double> const& in,
                                         ICoordinateSystem const* source) const override;

 private:
  friend class MTransformRepository;
  friend class MTransformRepositoryEx;

  /// A handle on `system` (null: undefined); for the repository.
  explicit MCoordinateSystem(MTransformRepositoryCoordinateSystem* system) : m_system(system) {
    if (m_system) m_system->AddRef(1);
  }

  // The node of the matrix to change, taken through the process-wide repository so that its
  // cache is emptied; null when the node's transform is no matrix.
  MMTransformMatrix* _AccessMatrix() const;

  MTransformRepositoryCoordinateSystem* m_system = nullptr;
};
