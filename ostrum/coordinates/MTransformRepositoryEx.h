#pragma once
// MTransformRepositoryEx: the application's repository, with the systems everything else hangs
// from, in the units the program works in:
//
//   absolute world = system STL   "stl units"  model data as stored: MUnit::GetIE() per mm
//   system mm = render world      "mm"         below STL, scale MUnit::GetIE()
//   system UI                     "ui"         below mm, scale 1.0 (millimetres) or 25.4
//                                              (inches); labelled "mm" or "inch" once set
//
// These are the default systems: none of them can be moved under another. The document makes
// the process-wide instance (CreateInstance) and deletes it (DeleteInstance).

#include <cstdint>
#include <set>

#include "ostrum/Export.h"
#include "ostrum/coordinates/MTransformRepository.h"

namespace Ostrum::Private {
class ScratchRepositoryScope;
}  // namespace Ostrum::Private

class OSTRUM_API MTransformRepositoryEx : public MTransformRepository {
 public:
  /// Makes a new process-wide instance and tells the subscribers TransformRepositoryWokeUpAgain.
  /// The caller (the document) deletes it with DeleteInstance.
  static MTransformRepositoryEx* CreateInstance();
  /// Deletes the process-wide instance if there is one; afterwards there is none.
  static void DeleteInstance();
  /// The process-wide repository when it is an application repository, otherwise null. Cheap:
  /// cameras and objects ask for it on every use.
  static MTransformRepositoryEx* GetInstance();

  /// Destroys the unit systems' handles, then the tree as MTransformRepository does.
  ~MTransformRepositoryEx() override;

  MCoordinateSystem const& GetSystemMm() const { return m_system_mm; }
  /// System STL is the absolute world.
  MCoordinateSystem const& GetSystemStl() const { return GetAbsoluteWorld(); }
  MCoordinateSystem const& GetSystemUI() const { return m_system_ui; }
  /// The system of the 3D windows and cameras: the millimetre system.
  MCoordinateSystem const& GetSystemRenderWorld() const { return m_system_mm; }

  /// True for the world (system STL), system mm (the render world) and system UI.
  bool IsCoordinateSystemDefault(MCoordinateSystem const& system) const override;
  /// As the base; throws MTransformRepositoryException(RepExceptionDefaultSystem) when `system`
  /// is a default system. A default system may be the new parent.
  void SetDependentCoordinateSystem(MCoordinateSystem const& system,
                                    MCoordinateSystem const& parent) override;
  /// The parent of a defined system; for an undefined handle, system mm of the instance.
  MCoordinateSystem GetDependentCoordinateSystem(MCoordinateSystem const& system) const override;
  /// Whether the repository is written with the project: true.
  virtual bool CanBeSaved() const { return true; }

  /// The eye system of a camera whose window system is `window`: the window's parent.
  MCoordinateSystem GetEyeFromWindow(MCoordinateSystem const& window) const;

  /// The user interface works in millimetres: system UI scales by 1 and is labelled "mm".
  /// Empties the cache.
  void SetGUIUnitMm();
  /// The user interface works in inches: system UI scales by 25.4 and is labelled "inch".
  /// Empties the cache.
  void SetGUIUnitInch();
  bool IsGUIInch() const { return m_inch; }
  bool IsGUIMm() const { return !m_inch; }
  /// STL units in one unit of the user interface, truncated: 10000 or 254000.
  std::int32_t GetSystemUIToStl() const;
  /// STL units in one millimetre, truncated: MUnit::GetIE().
  std::int32_t GetSystemMmToStl() const;

  /// Version of the repository's layout, for the host: 1.0.
  std::uint8_t GetVersionMajor() const { return m_version_major; }
  std::uint8_t GetVersionMinor() const { return m_version_minor; }
  /// A flag for the host, false at first; it can only be set.
  bool GetFlagLoadTransfromRep() const { return m_load_flag; }
  void SetFlagLoadTransfromRep() { m_load_flag = true; }

  // --- the repository in a project file ---

  /// Writes "Transforms": the systems and the world, then the references "SystemUI",
  /// "SystemMM", "SystemSTL" and the inch flag "SystemUIinMM" ("true" when the user interface
  /// works in inches, whatever the name says).
  bool Write(MSAXWriter& writer) const override;
  /// The base's tags, then "SystemUI" (the node the file gives becomes system UI),
  /// "SystemSTL" (must be the world), "SystemMM" (the file's millimetre system comes to mean
  /// the running one, whose scale stays) and "SystemUIinMM" (the inch flag). Each at most once.
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override;
  /// As the base, and the file's number of the millimetre system comes to mean the running one.
  void ResolveReferences(MSAXReader& reader) override;
  /// The commit: the staged nodes join the list, system UI and the inch flag are taken over,
  /// every handle read in the file counts from now on, and nodes nobody holds are deleted.
  void InitAfterLoading() override;

  /// Remembers a handle whose reference was resolved while loading, so that it starts to count
  /// when loading completes. The handle must live until then.
  void AddResolvedCoordinateSystem(MCoordinateSystem* handle) { m_resolved.insert(handle); }

 protected:
  /// Builds the default systems; becomes the process-wide repository. Hosts use CreateInstance.
  MTransformRepositoryEx();
  friend class Ostrum::Private::ScratchRepositoryScope;

 private:
  void _SetVersionLatest() { _SetVersion(1, 0); }
  void _SetVersion(std::uint8_t major, std::uint8_t minor) {
    m_version_major = major;
    m_version_minor = minor;
  }
  void _SetGUIUnit(bool inch);
  bool _CheckLoad(MSAXReader& reader) override;
  void _TakeOverLoadedSystems(Ostrum::Private::RepositoryLoad& load) override;

  bool m_load_flag = false;
  bool m_inch = false;
  MCoordinateSystem m_system_mm;
  MCoordinateSystem m_system_ui;
  std::uint8_t m_version_minor = 0;
  std::uint8_t m_version_major = 1;
  std::set<MCoordinateSystem*> m_resolved;
};
