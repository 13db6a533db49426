#pragma once
// MCameraMemento: a snapshot of a camera (its eye's transform into the render world, its view
// volume, rotation centre and projection) from which MCamera::ApplyMemento restores it. Only
// MCamera::CreateMemento makes one; the caller owns it.

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMPoint3d.h"
#include "ostrum/scene/IVViewVolume.h"

class MCamera;
class MMTransform;

class OSTRUM_API MCameraMemento {
 public:
  /// Member by member: the copy shares the transform with its source, so only one of the two
  /// may be destroyed.
  MCameraMemento(const MCameraMemento&) = default;
  MCameraMemento& operator=(const MCameraMemento&) = default;
  /// Deletes the transform.
  ~MCameraMemento();

  /// Keeps a copy of `transform` in place of the one held.
  void SetEyeWorld(const MMTransform& transform);
  /// The transform from the eye to the render world; the memento must hold one.
  const MMTransform& GetEyeWorld() const { return *m_eye_world; }
  void SetViewVolume(const IVViewVolume& volume) { m_volume = volume; }
  const IVViewVolume& GetViewVolume() const { return m_volume; }
  void SetRotationCenter(MMPoint3d<double> center) { m_rotation_center = center; }
  MMPoint3d<double> GetRotationCenter() const { return m_rotation_center; }
  void SetPerpsective(bool perspective) { m_perspective = perspective; }
  bool GetPerspective() const { return m_perspective; }

 private:
  friend class MCamera;
  MCameraMemento() = default;

  MMTransform* m_eye_world = nullptr;
  IVViewVolume m_volume;
  MMPoint3d<double> m_rotation_center;
  bool m_perspective = false;
};
