#pragma once
// MScene: a named way of looking at a document: its label, its id, its background and light
// colours and how its camera may move. The scene manager makes and owns scenes.

#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/M3DBoundingBox.h"
#include "ostrum/foundation/geometry/MColor.h"
#include "ostrum/foundation/markup/ISAXPersist.h"

class OSTRUM_API MScene : public ISAXPersist {
 public:
  /// The id of the scene labelled "Default", and of rendering without a scene.
  static constexpr unsigned long long DEFAULT_SCENE_ID = 0xFFFFFFFF;

  /// A scene of id 0 until its manager gives it one; colours unset, camera lock mode 0.
  explicit MScene(const std::wstring& label);
  MScene(const MScene&) = default;
  MScene& operator=(const MScene&) = default;
  ~MScene() override;

  unsigned long long GetSceneID() const { return m_id; }
  operator unsigned long long() const { return m_id; }  // NOLINT: a scene stands for its id
  const std::wstring& GetLabel() const { return m_label; }
  virtual void SetLabel(const std::wstring& label);

  const MColor& GetBackgroundColor() const { return m_background; }
  void SetBackgroundColor(const MColor& color) { m_background = color; }
  const MColor& GetLightAmbient() const { return m_ambient; }
  void SetLightAmbient(const MColor& color) { m_ambient = color; }
  const MColor& GetLightDiffuse() const { return m_diffuse; }
  void SetLightDiffuse(const MColor& color) { m_diffuse = color; }
  const MColor& GetLightSpecular() const { return m_specular; }
  void SetLightSpecular(const MColor& color) { m_specular = color; }
  /// How the camera of a window showing the scene may move; the host gives the values their
  /// meaning (0: freely).
  int32_t GetCameraLockMode() const { return m_camera_lock_mode; }
  void SetCameraLockMode(int32_t mode) { m_camera_lock_mode = mode; }

  /// The box of what the scene shows, in the render world (millimetres), as last computed.
  const M3DBoundingBox<float>& GetBoundingBox() const {
    _UpdateBoundingBox();
    return m_bounding_box;
  }

  bool IsPersistent() const override { return m_persistent; }
  void SetPersistent(bool persistent) override { m_persistent = persistent; }

 protected:
  friend class MSceneManager;
  virtual void SetSceneID(unsigned long long id) { m_id = id; }
  /// Brings the bounding box up to date; the base class keeps it as it is.
  virtual void _UpdateBoundingBox() const;

  mutable M3DBoundingBox<float> m_bounding_box;

 private:
  std::wstring m_label;
  unsigned long long m_id = 0;
  MColor m_background, m_ambient, m_diffuse, m_specular;
  int32_t m_camera_lock_mode = 0;
  bool m_persistent = true;
};
