#pragma once
// IRender: the interface of everything that can draw itself, in a 3D scene, in 2D over a
// scene, or in a coordinate system. Every default draws nothing.

#include "ostrum/Export.h"

class CDC;
class IVRender;
class IVRender2D;
class MCoordinateSystem;
class MSceneEx;
template <class T> class M3DBoundingBox;

class OSTRUM_API IRender {
 public:
  virtual ~IRender();

  virtual void Render(IVRender& renderer, const MSceneEx& scene);
  virtual void Render(IVRender2D& renderer, const MSceneEx& scene);
  virtual void Render(IVRender2D& renderer, const MCoordinateSystem& system);
  virtual void Render(IVRender& renderer, const MCoordinateSystem& system);
  /// Draws a cheap version while the view moves.
  virtual void RenderFast(IVRender& renderer, const MSceneEx& scene);
  virtual void RenderFast(IVRender& renderer, const MCoordinateSystem& system);
  virtual void RenderGDI(CDC& dc, const MCoordinateSystem& system);
  virtual void RenderGDIBitmap(CDC& dc, const MSceneEx& scene);
  virtual void RenderGDIScreen(CDC& dc, const MSceneEx& scene);
  /// Frees what the renderer keeps for this object (buffers); it is rebuilt on the next draw.
  virtual void DestroyRenderOptimisations();
  /// Extends `box` by this object in `sceneID`, expressed in `system` (null: the object's own).
  virtual void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long sceneID,
                              const MCoordinateSystem* system) const;
  /// True by default.
  virtual bool IsVisible(unsigned long long sceneID) const;

  /// The bounding box in the object's own system.
  void GetBoundingBox(M3DBoundingBox<float>& box, unsigned long long sceneID) const {
    GetBoundingBox(box, sceneID, nullptr);
  }
};
